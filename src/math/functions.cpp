// The predefined mathematical functions: object and split handlers.
//
// Read functions.h first. Every function is one row of a table (name,
// argument count, symbolic family, numeric core); the handlers of all rows
// are the same two templates instantiated per row, so that each row still
// has plain function pointers to enter in the function tables.
//
// Numbers are complex throughout. A numeric core answers false when the
// arguments are numbers it doesn't take (a Bessel function of complex
// order, say); the call then keeps its text like a symbolic one. A core
// whose result is infinite or NaN answers with the call text as well, so no
// such value ever enters a numeric object.
#include "math/functions.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "common/boundary.h"
#include "common/guards.h"
#include "objects/evaluator.h"
#include "objects/print.h"
#include "text/classify.h"
#include "text/operators.h"
#include "text/sentinels.h"
#include "text/scan.h"
#include "libquorvex.h"
#include "math/deriv.h"
#include "math/series.h"
#include "text/textarith.h"

namespace qvx {
namespace {

constexpr double kPi = 3.141592653589793;
constexpr const char *kEuler = "2.71828182845904523536";

enum class Family { Odd, Even, Whole, Exp, Sqrt, Tan, Tanh };

using Core = bool (*)(const Complex *z, int32_t n, Complex *out, Environment *env);

struct FunctionRow {
  const char *name;
  int32_t minArgs, maxArgs;
  bool variadic;
  Family family;
  Core core;
};

bool Real(const Complex &z) { return IsNearlyEqual(z.im, 0.0); }

// ---------------------------------------------------------------------------
// Numeric cores.

bool CoreSin(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {std::sin(z[0].re) * std::cosh(z[0].im), std::cos(z[0].re) * std::sinh(z[0].im)};
  return true;
}
bool CoreCos(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {std::cosh(z[0].im) * std::cos(z[0].re), std::sinh(z[0].im) * (-std::sin(z[0].re))};
  return true;
}
bool CoreSinh(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {std::sinh(z[0].re) * std::cos(z[0].im), std::cosh(z[0].re) * std::sin(z[0].im)};
  return true;
}
bool CoreCosh(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {std::cosh(z[0].re) * std::cos(z[0].im), std::sinh(z[0].re) * std::sin(z[0].im)};
  return true;
}
template <Complex (*F)(double, double)>
bool CoreComplex(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = F(z[0].re, z[0].im);
  return true;
}
bool CoreLn(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {std::log(std::hypot(z[0].re, z[0].im)), std::atan2(z[0].im, z[0].re)};
  return true;
}
bool CoreLog(const Complex *z, int32_t, Complex *o, Environment *) {
  const double l10 = std::log(10.0);
  *o = {std::log(std::hypot(z[0].re, z[0].im)) / l10, std::atan2(z[0].im, z[0].re) / l10};
  return true;
}
bool CoreExp(const Complex *z, int32_t, Complex *o, Environment *) {
  const double e = std::exp(z[0].re);
  *o = {e * std::cos(z[0].im), e * std::sin(z[0].im)};
  return true;
}
bool CoreSqrt(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = SqrtC(z[0]);
  return true;
}
bool CoreAbs(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {std::hypot(z[0].re, z[0].im), 0.0};
  return true;
}
bool CoreArg(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {std::atan2(z[0].im, z[0].re), 0.0};
  return true;
}
bool CoreRe(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {z[0].re, 0.0};
  return true;
}
bool CoreIm(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {z[0].im, 0.0};
  return true;
}
bool CoreRound(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {Round(z[0].re), Round(z[0].im)};
  return true;
}
// Floor and ceiling work on the magnitude and give the sign back, so that
// floor(-1.5) is -1 and ceil(-1.5) is -2.
double SignedApply(double (*f)(double), double x) { return x < 0.0 ? -f(-x) : f(x); }
bool CoreFloor(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {SignedApply(Floor, z[0].re), SignedApply(Floor, z[0].im)};
  return true;
}
bool CoreCeil(const Complex *z, int32_t, Complex *o, Environment *) {
  *o = {SignedApply(Ceiling, z[0].re), SignedApply(Ceiling, z[0].im)};
  return true;
}
bool CoreSign(const Complex *z, int32_t, Complex *o, Environment *) {
  const double a = std::hypot(z[0].re, z[0].im);
  *o = IsNearlyEqual(a, 0.0) ? Complex{0.0, 0.0} : Complex{z[0].re / a, z[0].im / a};
  return true;
}
bool IsInteger(double x) { return std::isfinite(x) && x == std::floor(x); }
bool CoreMod(const Complex *z, int32_t, Complex *o, Environment *) {
  if (z[1].re == 0.0 && z[1].im == 0.0) return false;
  const Complex q = DivC(z[0], z[1]);
  const Complex f{SignedApply(Floor, q.re), SignedApply(Floor, q.im)};
  const Complex p = MulC(z[1], f);
  *o = {z[0].re - p.re, z[0].im - p.im};
  // Integer operands give an integer remainder, without rounding noise.
  if (IsInteger(z[0].re) && IsInteger(z[0].im) && IsInteger(z[1].re) && IsInteger(z[1].im))
    *o = {Round(o->re), Round(o->im)};
  return true;
}
bool CoreHypot(const Complex *z, int32_t, Complex *o, Environment *) {
  if (!Real(z[0]) || !Real(z[1])) return false;
  *o = {std::hypot(z[0].re, z[1].re), 0.0};
  return true;
}
bool CoreArctan2(const Complex *z, int32_t, Complex *o, Environment *) {
  const Complex y = z[0], x = z[1];
  if (Real(y) && Real(x)) {
    *o = {std::atan2(y.re, x.re), 0.0};
    return true;
  }
  const Complex q = DivC(y, x);
  Complex w = ArctanC(q.re, q.im);
  // The quadrant correction as the language defines it: +pi for a positive
  // real part of x, -pi for a negative one when y's real part isn't
  // negative, nothing when x's real part is 0.
  if (x.re > 0.0) w.re += kPi;
  else if (x.re < 0.0 && !(y.re < 0.0)) w.re -= kPi;
  *o = w;
  return true;
}
// exp of a sum of log-gamma values, split by the phase.
Complex ExpOfLog(Complex w) {
  const double m = std::exp(w.re);
  return {m * std::cos(w.im), m * std::sin(w.im)};
}
bool SmallNaturals(const Complex &a, const Complex &b) {
  return Real(a) && Real(b) && IsInteger(a.re) && IsInteger(b.re) && a.re >= 0.0 && b.re >= 0.0 && a.re < 1e15;
}
bool CoreComb(const Complex *z, int32_t, Complex *o, Environment *) {
  const Complex a = GammaLnC({z[0].re + 1.0, z[0].im});
  const Complex b = GammaLnC({z[1].re + 1.0, z[1].im});
  const Complex c = GammaLnC({z[0].re - z[1].re + 1.0, z[0].im - z[1].im});
  *o = ExpOfLog({a.re - b.re - c.re, a.im - b.im - c.im});
  if (SmallNaturals(z[0], z[1]) && std::fabs(o->re) < 9e15) *o = {Round(o->re), 0.0};
  return true;
}
bool CorePerm(const Complex *z, int32_t, Complex *o, Environment *) {
  const Complex a = GammaLnC({z[0].re + 1.0, z[0].im});
  const Complex c = GammaLnC({z[0].re - z[1].re + 1.0, z[0].im - z[1].im});
  *o = ExpOfLog({a.re - c.re, a.im - c.im});
  if (SmallNaturals(z[0], z[1]) && std::fabs(o->re) < 9e15) *o = {Round(o->re), 0.0};
  return true;
}

// The random cell of a scope: its own, else its top level's.
int32_t *SeedCell(Environment *env) {
  thread_local int32_t fallback = -1;
  if (env && env->seed) return env->seed;
  Environment *top = env ? TopLevelOf(env) : nullptr;
  return top && top->seed ? top->seed : &fallback;
}
bool CoreRand(const Complex *z, int32_t, Complex *o, Environment *env) {
  int32_t *cell = SeedCell(env);
  const double u = Ran2(cell);
  const double v = Real(z[0]) && Real(z[1]) ? 0.0 : Ran2(cell);
  *o = {z[0].re + (z[1].re - z[0].re) * u, z[0].im + (z[1].im - z[0].im) * v};
  return true;
}
bool CoreRandint(const Complex *z, int32_t, Complex *o, Environment *env) {
  int32_t *cell = SeedCell(env);
  double lo[2] = {Round(z[0].re), Round(z[0].im)}, hi[2] = {Round(z[1].re), Round(z[1].im)};
  double part[2] = {0.0, 0.0};
  for (int k = 0; k < 2; ++k) {
    if (hi[k] < lo[k]) std::swap(hi[k], lo[k]);
    if (lo[k] < INT32_MIN || hi[k] > INT32_MAX) return false;
    part[k] = lo[k] == hi[k] ? lo[k]
                             : RandomInteger(static_cast<int32_t>(lo[k]), static_cast<int32_t>(hi[k]), cell);
  }
  *o = {part[0], part[1]};
  return true;
}
bool CoreGcd(const Complex *z, int32_t, Complex *o, Environment *) {
  if (!Real(z[0]) || !Real(z[1])) return false;
  *o = {GreatestCommonDivisor(z[0].re, z[1].re), 0.0};
  return true;
}
template <Complex (*F)(double, double)>
bool CoreBessel(const Complex *z, int32_t, Complex *o, Environment *) {
  if (!Real(z[0]) || !Real(z[1])) return false;
  *o = F(z[0].re, z[1].re);
  return true;
}
bool CoreLegendre(const Complex *z, int32_t, Complex *o, Environment *) {
  if (!Real(z[0]) || !Real(z[1]) || !Real(z[2])) return false;
  const double l = Round(z[1].re), m = Round(z[2].re);
  if (!(std::fabs(l) < 1e9) || !(std::fabs(m) < 1e9)) return false;
  *o = {LegendreFunc(z[0].re, static_cast<int32_t>(l), static_cast<int32_t>(m)), 0.0};
  return true;
}
template <int Which>
bool CoreAiry(const Complex *z, int32_t, Complex *o, Environment *) {
  if (!Real(z[0])) return false;
  double ai = 0.0, bi = 0.0;
  AiryFuncSub(z[0].re, &ai, &bi, nullptr, nullptr);
  *o = {Which == 0 ? ai : bi, 0.0};
  return true;
}

// Statistics of the real and of the imaginary parts.
enum class Statistic { Mean, Variance, Median, Min, Max };
double PartStatistic(std::vector<double> v, Statistic s) {
  const std::size_t n = v.size();
  switch (s) {
    case Statistic::Mean: {
      double sum = 0.0;
      for (double x : v) sum += x;
      return sum / static_cast<double>(n);
    }
    case Statistic::Variance: {
      // The sample variance (divisor n-1); one value has variance 0.
      if (n < 2) return 0.0;
      double mean = 0.0;
      for (double x : v) mean += x;
      mean /= static_cast<double>(n);
      double sum = 0.0;
      for (double x : v) sum += (x - mean) * (x - mean);
      return sum / static_cast<double>(n - 1);
    }
    case Statistic::Median: {
      std::sort(v.begin(), v.end());
      return n % 2 ? v[n / 2] : 0.5 * (v[n / 2 - 1] + v[n / 2]);
    }
    case Statistic::Min:
      return *std::min_element(v.begin(), v.end());
    case Statistic::Max:
      return *std::max_element(v.begin(), v.end());
  }
  return 0.0;
}
template <Statistic S>
bool CoreStatistic(const Complex *z, int32_t n, Complex *o, Environment *) {
  std::vector<double> re(static_cast<std::size_t>(n)), im(static_cast<std::size_t>(n));
  for (int32_t k = 0; k < n; ++k) re[static_cast<std::size_t>(k)] = z[k].re, im[static_cast<std::size_t>(k)] = z[k].im;
  *o = {PartStatistic(std::move(re), S), PartStatistic(std::move(im), S)};
  return true;
}

// ---------------------------------------------------------------------------
// The table, in default-table order.

constexpr int32_t kMany = INT32_MAX;

constexpr FunctionRow kSpecs[] = {
    {"abs", 1, 1, false, Family::Even, CoreAbs},
    {"airya", 1, 1, false, Family::Whole, CoreAiry<0>},
    {"airyb", 1, 1, false, Family::Whole, CoreAiry<1>},
    {"arccos", 1, 1, false, Family::Whole, CoreComplex<ArccosC>},
    {"arccosh", 1, 1, false, Family::Whole, CoreComplex<ArccoshC>},
    {"arcsin", 1, 1, false, Family::Odd, CoreComplex<ArcsinC>},
    {"arcsinh", 1, 1, false, Family::Odd, CoreComplex<ArcsinhC>},
    {"arctan", 1, 1, false, Family::Odd, CoreComplex<ArctanC>},
    {"arctan2", 2, 2, false, Family::Whole, CoreArctan2},
    {"arctanh", 1, 1, false, Family::Odd, CoreComplex<ArctanhC>},
    {"arg", 1, 1, false, Family::Whole, CoreArg},
    {"besseli", 2, 2, false, Family::Whole, CoreBessel<BesselIFunc>},
    {"besselj", 2, 2, false, Family::Whole, CoreBessel<BesselJFunc>},
    {"besselk", 2, 2, false, Family::Whole, CoreBessel<BesselKFunc>},
    {"bessely", 2, 2, false, Family::Whole, CoreBessel<BesselYFunc>},
    {"ceil", 1, 1, false, Family::Whole, CoreCeil},
    {"comb", 2, 2, false, Family::Whole, CoreComb},
    {"cos", 1, 1, false, Family::Even, CoreCos},
    {"cosh", 1, 1, false, Family::Even, CoreCosh},
    {"exp", 1, 1, false, Family::Exp, CoreExp},
    {"floor", 1, 1, false, Family::Whole, CoreFloor},
    {"gcd", 2, 2, false, Family::Whole, CoreGcd},
    {"hypot", 2, 2, false, Family::Whole, CoreHypot},
    {"im", 1, 1, false, Family::Whole, CoreIm},
    {"legendre", 3, 3, false, Family::Whole, CoreLegendre},
    {"ln", 1, 1, false, Family::Whole, CoreLn},
    {"log", 1, 1, false, Family::Whole, CoreLog},
    {"max", 1, kMany, true, Family::Whole, CoreStatistic<Statistic::Max>},
    {"min", 1, kMany, true, Family::Whole, CoreStatistic<Statistic::Min>},
    {"mean", 1, kMany, true, Family::Whole, CoreStatistic<Statistic::Mean>},
    {"median", 1, kMany, true, Family::Whole, CoreStatistic<Statistic::Median>},
    {"variance", 1, kMany, true, Family::Whole, CoreStatistic<Statistic::Variance>},
    {"mod", 2, 2, false, Family::Whole, CoreMod},
    {"perm", 2, 2, false, Family::Whole, CorePerm},
    {"rand", 2, 2, false, Family::Whole, CoreRand},
    {"randint", 2, 2, false, Family::Whole, CoreRandint},
    {"re", 1, 1, false, Family::Whole, CoreRe},
    {"round", 1, 1, false, Family::Whole, CoreRound},
    {"sign", 1, 1, false, Family::Whole, CoreSign},
    {"sin", 1, 1, false, Family::Odd, CoreSin},
    {"sinh", 1, 1, false, Family::Odd, CoreSinh},
    {"sqrt", 1, 1, false, Family::Sqrt, CoreSqrt},
    {"tan", 1, 1, false, Family::Tan, CoreComplex<TanC>},
    {"tanh", 1, 1, false, Family::Tanh, CoreComplex<TanhC>},
};
constexpr std::size_t kSpecCount = sizeof(kSpecs) / sizeof(kSpecs[0]);

std::string CallText(std::string_view name, std::string_view arguments) {
  std::string out(name);
  out += '(';
  out += arguments;
  out += ')';
  return out;
}

// name(bare) with the sign of the argument in front (odd) or dropped (even).
std::string SignedCall(std::string_view name, std::string_view argument, bool keepSign) {
  const SignedText s = ReadSigned(argument);
  std::string out = CallText(name, s.bare);
  if (keepSign && s.sign < 0) out.insert(0, 1, '-');
  return out;
}

ComplexText Symbolic(const FunctionRow &row, const std::vector<std::string> &args) {
  const std::string &a = args.front();
  switch (row.family) {
    case Family::Odd:
      return {SignedCall(row.name, a, true), "0"};
    case Family::Even:
      return {SignedCall(row.name, a, false), "0"};
    case Family::Tan:
    case Family::Tanh: {
      const bool h = row.family == Family::Tanh;
      const SignedText s = ReadSigned(a);
      std::string sine = CallText(h ? "sinh" : "sin", s.bare);
      if (s.sign < 0) sine.insert(0, 1, '-');
      return {DivideTexts(sine, CallText(h ? "cosh" : "cos", s.bare)), "0"};
    }
    case Family::Exp:
      return {PowerTexts(kEuler, a), "0"};
    case Family::Sqrt:
      return {PowerTexts(a, "0.5"), "0"};
    case Family::Whole:
      break;
  }
  return {CallText(row.name, JoinTexts(args)), "0"};
}

bool Finite(const Complex &z) { return std::isfinite(z.re) && std::isfinite(z.im); }

ComplexText SplitCommon(const FunctionRow &row, std::string_view text, Environment *env) {
  if (HasErrorSentinel(text)) return {std::string(text), "0"};
  std::vector<std::string_view> pieces;
  SplitArgumentList(text, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1, &pieces);
  const int32_t n = static_cast<int32_t>(pieces.size());
  if (n < row.minArgs || n > row.maxArgs) return {CallText(row.name, text), "0"};
  std::vector<Complex> values(static_cast<std::size_t>(n));
  std::vector<ComplexText> parts;
  parts.reserve(static_cast<std::size_t>(n));
  bool numeric = true;
  for (int32_t k = 0; k < n; ++k) {
    parts.push_back(EvaluateToComplexText(pieces[static_cast<std::size_t>(k)], env));
    const ComplexText &z = parts.back();
    if (HasErrorSentinel(z.re) || HasErrorSentinel(z.im))
      return {HasErrorSentinel(z.re) ? z.re : z.im, "0"};
    numeric = numeric && IsNumericPair(z, &values[static_cast<std::size_t>(k)].re,
                                       &values[static_cast<std::size_t>(k)].im);
  }
  std::vector<std::string> args;
  args.reserve(parts.size());
  for (const ComplexText &z : parts) args.push_back(JoinComplex(z.re, z.im));
  if (numeric) {
    Complex out{0.0, 0.0};
    if (row.core(values.data(), n, &out, env)) {
      if (Finite(out)) return {NumberText(out.re), NumberText(out.im)};
      return {CallText(row.name, JoinTexts(args)), "0"};
    }
  }
  return Symbolic(row, args);
}

Object *ResultObject(const ComplexText &r, Environment *env) {
  if (HasErrorSentinel(r.re)) return NewAlgebraicObject(r.re.c_str(), env);
  double a = 0.0, b = 0.0;
  if (IsNumericPair(r, &a, &b)) return NewNumericValueObject(a, b, env);
  return NewSplitObjectFromTexts(DupText(r.re.c_str()), DupText(r.im.c_str()), env);
}

Object *ObjectCommon(const FunctionRow &row, ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 1;
  const int32_t n = arguments && arguments->items ? arguments->count - 1 : -1;
  if (n < row.minArgs || n > row.maxArgs) {
    if (row.variadic) {
      *owned = 0;
      return nullptr;
    }
    return NewSentinelObject(kSentinelInvalidObject, env);
  }
  std::vector<Complex> values(static_cast<std::size_t>(n));
  bool numeric = true;
  for (int32_t k = 0; k < n; ++k) {
    const Object *o = arguments->items[k + 1];
    if (!o) return NewSentinelObject(kSentinelInvalidObject, env);
    switch (o->tag) {
      case kTagNumeric:
        values[static_cast<std::size_t>(k)] = {Numeric(o)->re, Numeric(o)->im};
        break;
      case kTagAlgebraic:
        if (!PassesValidityTest(o)) return NewSentinelObject(kSentinelInvalidExpression, env);
        numeric = false;
        break;
      case kTagSplit: {
        const SplitValue *s = Split(o);
        numeric = false;
        if (HasErrorSentinel(JoinComplex(s->re ? s->re : "", s->im ? s->im : "")))
          return NewSentinelObject(kSentinelInvalidExpression, env);
        break;
      }
      default:
        // Matrices, strings, big numbers and the rest are not operands here.
        return NewSentinelObject(kSentinelInvalidObject, env);
    }
  }
  if (CancelRequested(env)) return NewSentinelObject(kSentinelAborted, env);
  // The arguments as text, made only when the answer is not a plain number
  // (printing every numeric argument would cost more than most cores).
  auto argumentText = [&] {
    std::vector<std::string> texts;
    texts.reserve(static_cast<std::size_t>(n));
    for (int32_t k = 0; k < n; ++k) {
      const Object *o = arguments->items[k + 1];
      if (o->tag == kTagNumeric) {
        texts.push_back(JoinComplex(NumberText(Numeric(o)->re), NumberText(Numeric(o)->im)));
      } else if (o->tag == kTagAlgebraic) {
        texts.emplace_back(AlgebraicText(o));
      } else {
        const SplitValue *s = Split(o);
        texts.push_back(JoinComplex(s->re ? s->re : "", s->im ? s->im : ""));
      }
    }
    return JoinTexts(texts);
  };
  if (numeric) {
    Complex out{0.0, 0.0};
    if (row.core(values.data(), n, &out, env)) {
      if (Finite(out)) return NewNumericValueObject(out.re, out.im, env);
      // An infinite or undefined value keeps the call as its text.
      const std::string call = CallText(row.name, argumentText());
      if (HasErrorSentinel(call)) return NewSentinelObject(kSentinelInvalidExpression, env);
      return NewAlgebraicObject(call.c_str(), env);
    }
  }
  return ResultObject(SplitCommon(row, argumentText(), env), env);
}

template <std::size_t I>
ComplexText SplitOf(std::string_view text, Environment *env) {
  return SplitCommon(kSpecs[I], text, env);
}
template <std::size_t I>
Object *ObjectOf(ArgumentList *arguments, Environment *env, int32_t *owned) {
  return ObjectCommon(kSpecs[I], arguments, env, owned);
}

struct Entry {
  std::string key;
  PredefinedFunction function;
};

// Matrices and arrays are no operands of a predefined function (element-wise
// work belongs to their methods): the handlers of the series module are
// entered behind this refusal, as the handlers above refuse them themselves.
bool HasContainerArgument(const ArgumentList *arguments) {
  if (!arguments || !arguments->items) return false;
  for (int32_t k = 1; k < arguments->count; ++k) {
    const Object *o = arguments->items[k];
    if (o && (o->tag == kTagMatrix || o->tag == kTagArray)) return true;
  }
  return false;
}

template <std::size_t I>
Object *SeriesRefusingContainers(ArgumentList *arguments, Environment *env, int32_t *owned) {
  if (HasContainerArgument(arguments)) {
    *owned = 1;
    return NewSentinelObject(kSentinelInvalidObject, env);
  }
  return SeriesFunctions()[I].object(arguments, env, owned);
}

constexpr ObjectHandler kSeriesRefusals[] = {
    SeriesRefusingContainers<0>, SeriesRefusingContainers<1>, SeriesRefusingContainers<2>,
    SeriesRefusingContainers<3>, SeriesRefusingContainers<4>, SeriesRefusingContainers<5>,
    SeriesRefusingContainers<6>, SeriesRefusingContainers<7>,
};

template <std::size_t... I>
std::vector<Entry> BuildEntries(std::index_sequence<I...>) {
  std::vector<Entry> out;
  out.reserve(sizeof...(I) + 1);
  (out.push_back(Entry{std::string(kSpecs[I].name) + (kSpecs[I].variadic ? "()" : "(" + std::to_string(kSpecs[I].minArgs) + ")"),
                       PredefinedFunction{nullptr, ObjectOf<I>, SplitOf<I>, nullptr}}),
   ...);
  out.push_back(Entry{"deriv()", PredefinedFunction{nullptr, DerivObjectHandler, nullptr, nullptr}});
  const std::span<const PredefinedFunction> series = SeriesFunctions();
  for (std::size_t k = 0; k < series.size(); ++k) {
    PredefinedFunction f = series[k];
    if (f.object && k < std::size(kSeriesRefusals)) f.object = kSeriesRefusals[k];
    out.push_back(Entry{f.key, f});
  }
  for (Entry &e : out) e.function.derive = DerivativeRule(e.key);
  return out;
}

struct Table {
  std::vector<Entry> entries;
  std::vector<PredefinedFunction> functions;
};

const Table &TheTable() {
  static const Table table = [] {
    Table t;
    t.entries = BuildEntries(std::make_index_sequence<kSpecCount>{});
    for (Entry &e : t.entries) {
      t.functions.push_back(e.function);
      t.functions.back().key = e.key.c_str();
    }
    return t;
  }();
  return table;
}

}  // namespace

std::span<const PredefinedFunction> PredefinedFunctions() { return TheTable().functions; }

const PredefinedFunction *FindPredefinedFunction(std::string_view key) {
  for (const PredefinedFunction &f : TheTable().functions)
    if (key == f.key) return &f;
  return nullptr;
}

ObjectHandler FindPredefinedHandler(std::string_view key) {
  const PredefinedFunction *f = FindPredefinedFunction(key);
  return f ? f->object : nullptr;
}

SplitHandler FindSplitHandler(std::string_view key) {
  const PredefinedFunction *f = FindPredefinedFunction(key);
  return f ? f->split : nullptr;
}

DeriveHandler FindDeriveHandler(std::string_view key) { return DerivativeRule(key); }

bool PassesValidityTest(const Object *object) {
  if (!object) return false;
  if (object->tag == kTagNumeric) return true;
  if (object->tag != kTagAlgebraic) return false;
  const char *t = AlgebraicText(object);
  if (!t || !*t) return false;
  const std::string_view text(t);
  if (HasErrorSentinel(text)) return false;
  int32_t pos = -1;
  if (FindTopLevelEquals(text, -1, &pos) == 1) return false;
  return !(FindFirstTopLevel(text, kOpenParenBlockSquare, kCloseParenBlockSquare, ",", &pos) == 0 && pos >= 0);
}

ComplexText LnSplit(std::string_view argument, Environment *env) {
  static const SplitHandler ln = FindSplitHandler("ln(1)");
  return ln(argument, env);
}

}  // namespace qvx
