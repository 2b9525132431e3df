// findroots, findpeaks, complexroots and polyfit: the commands that search
// an expression or a set of points and answer with arrays.
//
// findroots and findpeaks take the abscissas of the adaptive grid of
// series.h (Cash-Karp steps of y' = f(x) decide how fine it must be), sample
// the expression itself there, and hand the samples to the toolkit's
// searches on data: roots are sign changes refined on the local cubic,
// peaks interior maxima refined on a parabola. Each is then refined on the
// expression: a root by bisection of its cell down to neighbouring doubles,
// a peak by Brent's minimisation of -f. Both see only what the grid
// resolves: two roots closer than its spacing, or a singularity between two
// samples, can be missed.
//
// polyfit is least squares. With equal weights the toolkit's polynomial fit
// (Householder QR) does it; unequal weights w_i scale row i of the
// Vandermonde system by sqrt(w_i), which the polynomial fit can't express,
// so that system is solved through the singular value decomposition. Either
// way the errors are the square roots of the diagonal of s^2 (A'WA)^-1, s^2
// the weighted residual variance, so that scaling all weights alike changes
// nothing.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "common/owned.h"
#include "math/command_arguments.h"
#include "math/commands.h"
#include "math/series.h"
#include "numerics/containers/container_access.h"
#include "objects/array.h"
#include "persistence/rbst.h"
#include "text/sentinels.h"
#include "text/textarith.h"

namespace qvx {
namespace {

using OwnedVector = Owned<double, FreeVector>;
using OwnedMatrix = Owned<double *, FreeMatrix>;
using OwnedMatrixC = Owned<Complex *, FreeMatrixC>;
using OwnedMatrixVector = Owned<double **, FreeMatrixVector>;

// The roots found on the grid must be zeros to this tolerance.
constexpr double kRootTolerance = 1e-12;

// ---------------------------------------------------------------------------
// findroots and findpeaks.

double RealPart(double x, void *sampler) { return static_cast<Sampler *>(sampler)->At(x).re; }
double NegatedRealPart(double x, void *sampler) { return -RealPart(x, sampler); }

// The expression's own values at the abscissas of the grid (the grid's
// values are a spline through the stepper's points, good to about 1e-4 and
// much worse where the stepper's steps grew long). Null when cancelled.
Complex **SampleAtAbscissas(Sampler &f, Complex **grid) {
  const int32_t n = RowsOf(grid);
  Complex **set = MatrixC(2, n);
  if (RowsOf(set) != n) {
    FreeMatrixC(set);
    return nullptr;
  }
  for (int32_t i = 1; i <= n; ++i) {
    if (f.Cancelled()) {
      FreeMatrixC(set);
      return nullptr;
    }
    set[1][i] = grid[1][i];
    set[2][i] = f.At(grid[1][i].re);
  }
  return set;
}

// The sampled interval [x_i, x_i+1] that holds x.
int32_t CellOf(Complex **set, double x) {
  const int32_t n = RowsOf(set);
  int32_t lo = 1, hi = n;
  while (hi - lo > 1) {
    const int32_t mid = (lo + hi) / 2;
    (set[1][mid].re <= x ? lo : hi) = mid;
  }
  return lo;
}

// A root refined on the expression itself: bisection of the sign change of
// its cell down to neighbouring doubles. A root without a sign change in its
// cell (a sample within the tolerance of zero) stays as found.
double PolishRoot(Sampler &f, Complex **set, double root) {
  const int32_t i = CellOf(set, root);
  if (i + 1 > RowsOf(set)) return root;
  const double a = set[1][i].re, b = set[1][i + 1].re;
  if (!(set[2][i].re * set[2][i + 1].re < 0.0)) return root;
  const double x = Bisection(RealPart, &f, a, b, 0.0);
  return std::isfinite(x) ? x : root;
}

// A peak refined on the expression itself: Brent's minimisation of -f
// between the samples on either side of it.
double PolishPeak(Sampler &f, Complex **set, double peak) {
  const int32_t n = RowsOf(set);
  const int32_t i = CellOf(set, peak);
  const double a = set[1][std::max(i - 1, 1)].re, c = set[1][std::min(i + 2, n)].re;
  double x = NAN;
  BrentMinimization(NegatedRealPart, &f, a, peak, c, 1e-10, &x);
  return std::isfinite(x) && x > a && x < c ? x : peak;
}

Object *SearchExpression(bool peaks, ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 1;
  const char *name = peaks ? "findpeaks" : "findroots";
  if (ArgumentCount(arguments) != 3) return NewSentinelObject(kSentinelInvalidObject, env);
  std::vector<CommandArgument> args;
  if (Object *bad = ReadArguments(arguments, env, 0, args)) return bad;
  if (!args[1].numeric || !args[2].numeric) return CallTextObject(name, args, env);
  // Complex limits bound no interval of the real line: nothing to find.
  if (args[1].value.im != 0.0 || args[2].value.im != 0.0) return RealArrayObject(nullptr, 0, env);
  const double a = std::min(args[1].value.re, args[2].value.re);
  const double b = std::max(args[1].value.re, args[2].value.re);
  if (!std::isfinite(a) || !std::isfinite(b)) return CallTextObject(name, args, env);
  const std::vector<std::string> unknowns = CollectUnknowns(args[0].text, env);
  if (unknowns.size() != 1) return CallTextObject(name, args, env);
  if (!(b > a)) return RealArrayObject(nullptr, 0, env);

  const OwnedMatrixC grid(BuildAdaptiveGrid(env, args[0].text, a, b));
  if (CancelRequested(env)) return NewSentinelObject(kSentinelAborted, env);
  // No grid: the expression is not finite somewhere on the way.
  if (!grid || RowsOf(grid.get()) < 2) return RealArrayObject(nullptr, 0, env);
  Sampler f(env, unknowns.front());
  if (!f.Ready()) return RealArrayObject(nullptr, 0, env);
  f.Bind();
  f.SetText(args[0].text);
  const OwnedMatrixC set(SampleAtAbscissas(f, grid.get()));
  if (!set) return NewSentinelObject(kSentinelAborted, env);
  const int32_t n = RowsOf(set.get());
  OwnedVector found;
  if (peaks) {
    const OwnedMatrix real(Matrix(2, n));
    if (RowsOf(real.get()) != n) return RefusedObject(env);
    for (int32_t i = 1; i <= n; ++i) {
      real.get()[1][i] = set.get()[1][i].re;
      real.get()[2][i] = set.get()[2][i].re;
    }
    found.reset(FindPeaks1D(real.get()));
  } else {
    found.reset(FindSimpleRoots1DC(set.get(), kRootTolerance));
  }
  const int32_t count = LengthOf(found.get());
  for (int32_t k = 1; k <= count; ++k) {
    if (f.Cancelled()) return NewSentinelObject(kSentinelAborted, env);
    double &x = found.get()[k];
    x = peaks ? PolishPeak(f, set.get(), x) : PolishRoot(f, set.get(), x);
  }
  return RealArrayObject(count ? found.get() + 1 : nullptr, count, env);
}

// ---------------------------------------------------------------------------
// polyfit.

struct Fit {
  std::vector<double> coefficients, errors;
  double quality = 0.0;  // coefficient of determination, weighted
};

bool AllEqual(const std::vector<double> &w) {
  return std::all_of(w.begin(), w.end(), [&](double v) { return v == w.front(); });
}

// Equal weights: the toolkit's polynomial fit.
bool FitEqualWeights(const std::vector<double> &x, const std::vector<double> &y, int32_t degree, Fit &fit) {
  const auto n = static_cast<int32_t>(x.size());
  const OwnedMatrix set(Matrix(2, n));
  if (RowsOf(set.get()) != n) return false;
  for (int32_t i = 1; i <= n; ++i) {
    set.get()[1][i] = x[static_cast<std::size_t>(i - 1)];
    set.get()[2][i] = y[static_cast<std::size_t>(i - 1)];
  }
  const OwnedMatrix result(PolynomialFit2(set.get(), degree));
  if (RowsOf(result.get()) != degree + 1 || ColsOf(result.get()) != 2) return false;
  for (int32_t j = 1; j <= degree + 1; ++j) {
    fit.coefficients.push_back(result.get()[1][j]);
    fit.errors.push_back(result.get()[2][j]);
  }
  return true;
}

// Unequal weights: the scaled Vandermonde system sqrt(W) A c = sqrt(W) y by
// the singular value decomposition, c = V S^-1 U' b. A singular value below
// the working precision of the largest means the points can't fix every
// coefficient (fewer distinct abscissas than coefficients).
bool FitWeighted(const std::vector<double> &x, const std::vector<double> &y, const std::vector<double> &w,
                 int32_t degree, Fit &fit) {
  const auto n = static_cast<int32_t>(x.size());
  const int32_t m = degree + 1;
  const OwnedMatrix a(Matrix(m, n));
  if (RowsOf(a.get()) != n || ColsOf(a.get()) != m) return false;
  std::vector<double> b(static_cast<std::size_t>(n));
  for (int32_t i = 1; i <= n; ++i) {
    const std::size_t k = static_cast<std::size_t>(i - 1);
    const double s = std::sqrt(w[k]);
    double p = s;
    for (int32_t j = 1; j <= m; ++j, p *= x[k]) a.get()[j][i] = p;
    b[k] = s * y[k];
  }
  const OwnedMatrixVector usv(SVD(a.get()));
  if (!usv || MVLengthOf(usv.get()) != 3) return false;
  double **u = usv.get()[1], **s = usv.get()[2], **v = usv.get()[3];
  if (ColsOf(u) != m || RowsOf(u) != n || RowsOf(s) != m || RowsOf(v) != m) return false;
  const double largest = s[1][1];
  if (!(largest > 0.0)) return false;
  for (int32_t t = 1; t <= m; ++t)
    if (!(s[1][t] > largest * 1e-14 * std::max(n, m))) return false;
  fit.coefficients.assign(static_cast<std::size_t>(m), 0.0);
  std::vector<double> variance(static_cast<std::size_t>(m), 0.0);
  for (int32_t t = 1; t <= m; ++t) {
    double ub = 0.0;
    for (int32_t i = 1; i <= n; ++i) ub += u[t][i] * b[static_cast<std::size_t>(i - 1)];
    for (int32_t j = 1; j <= m; ++j) {
      fit.coefficients[static_cast<std::size_t>(j - 1)] += v[t][j] * ub / s[1][t];
      variance[static_cast<std::size_t>(j - 1)] += (v[t][j] / s[1][t]) * (v[t][j] / s[1][t]);
    }
  }
  double rss = 0.0;
  for (int32_t i = 0; i < n; ++i) {
    const std::size_t k = static_cast<std::size_t>(i);
    double p = 0.0;
    for (int32_t j = m; j >= 1; --j) p = p * x[k] + fit.coefficients[static_cast<std::size_t>(j - 1)];
    rss += w[k] * (y[k] - p) * (y[k] - p);
  }
  const double s2 = n > m ? rss / (n - m) : 0.0;
  for (double &e : variance) fit.errors.push_back(std::sqrt(s2 * e));
  return true;
}

// 1 - sum w r^2 / sum w (y - mean)^2; 1 for data that the fit meets exactly.
double Determination(const std::vector<double> &x, const std::vector<double> &y, const std::vector<double> &w,
                     const std::vector<double> &c) {
  double wsum = 0.0, mean = 0.0;
  for (std::size_t i = 0; i < y.size(); ++i) {
    wsum += w[i];
    mean += w[i] * y[i];
  }
  mean /= wsum;
  double residual = 0.0, total = 0.0;
  for (std::size_t i = 0; i < y.size(); ++i) {
    double p = 0.0;
    for (std::size_t j = c.size(); j-- > 0;) p = p * x[i] + c[j];
    residual += w[i] * (y[i] - p) * (y[i] - p);
    total += w[i] * (y[i] - mean) * (y[i] - mean);
  }
  if (total == 0.0) return residual == 0.0 ? 1.0 : 0.0;
  return 1.0 - residual / total;
}

// "c0+c1*x+c2*x^2..." with the coefficients as numbers.
std::string PolynomialText(const std::vector<double> &c) {
  std::string out;
  for (std::size_t j = 0; j < c.size(); ++j) {
    std::string term = NumberText(std::fabs(c[j]));
    if (j >= 1) term += "*x";
    if (j >= 2) term += "^" + std::to_string(j);
    if (c[j] < 0.0) out += "-";
    else if (!out.empty()) out += "+";
    out += term;
  }
  return out;
}

// A member of the fit object: kind 1, public, held by the object's scope.
void AddMember(Object *holder, const char *name, Object *value) {
  if (!value) return;
  Environment *scope = holder->environment;
  value->memberKind = 1;
  value->isPublic = 1;
  value->creationDepth = 0;
  value->parentEnvironment = scope;
  RBSTInsert(&scope->objectTable, scope->objectTable.root, name, value);
}

// The method "eval" in the object's own function table, as a definition
// "eval(x)=polynomial" would leave it: parameters, and a body that returns
// the polynomial's value. eval(0) reads x where it is called from.
bool AddEvalMethod(Object *holder, int32_t parameterCount, const std::string &polynomial) {
  Environment *scope = holder->environment;
  auto *r = static_cast<FunctionRecord *>(std::calloc(1, sizeof(FunctionRecord)));
  if (!r) return false;
  r->parameterCount = parameterCount;
  r->parameters = StringVectorNULL(parameterCount);
  if (parameterCount == 1 && r->parameters) {
    std::free(r->parameters[0]);
    r->parameters[0] = DupText("x");
  }
  r->name = DupText("eval");
  r->body = DupText(("return=" + polynomial).c_str());
  r->system = 0;
  const std::string key = "eval(" + std::to_string(parameterCount) + ")";
  RBSTInsert(&scope->functionTable, scope->functionTable.root, key.c_str(), r);
  return true;
}

// An empty mutant held by `env`: its scope shares the cancel flag and the
// resources of the scope it is made in, and sees that scope's functions
// through the chain, as a mutated scalar does.
Object *NewFitObject(Environment *env) {
  Object *o = NewMutantObject(nullptr);
  if (!o) return nullptr;
  TerminateEnvironment(o->environment);
  o->parentEnvironment = env;
  o->creationDepth = env->scopeDepth;
  o->environment = CreateEnvironment(o, 0);
  if (!o->environment) {
    FreeObject(o);
    return nullptr;
  }
  return o;
}

Object *FitObject(const Fit &fit, int32_t degree, int32_t points, Environment *env) {
  Object *o = NewFitObject(env);
  if (!o) return nullptr;
  const std::string message = "polynomial of degree " + std::to_string(degree) + " fitted to " +
                              std::to_string(points) + " points";
  const auto m = static_cast<int32_t>(fit.coefficients.size());
  AddMember(o, "message", NewStringObject(message.c_str(), o->environment));
  AddMember(o, "quality", NewNumericValueObject(fit.quality, 0.0, o->environment));
  Object *parameters = RealArrayObject(fit.coefficients.data(), m, o->environment);
  Object *errors = RealArrayObject(fit.errors.data(), m, o->environment);
  const bool arrays = parameters && errors && parameters->tag == kTagArray && errors->tag == kTagArray;
  AddMember(o, "parameters", parameters);
  AddMember(o, "errors", errors);
  const std::string polynomial = PolynomialText(fit.coefficients);
  if (!arrays || !AddEvalMethod(o, 0, polynomial) || !AddEvalMethod(o, 1, polynomial)) {
    FreeObject(o);
    return nullptr;
  }
  return o;
}

}  // namespace

Object *FindRootsObject(ArgumentList *arguments, Environment *env, int32_t *owned) {
  return Guard(static_cast<Object *>(nullptr), [&] { return SearchExpression(false, arguments, env, owned); });
}

Object *FindPeaksObject(ArgumentList *arguments, Environment *env, int32_t *owned) {
  return Guard(static_cast<Object *>(nullptr), [&] { return SearchExpression(true, arguments, env, owned); });
}

Object *ComplexRootsObject(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 1;
  return Guard(static_cast<Object *>(nullptr), [&]() -> Object * {
    if (ArgumentCount(arguments) != 2) return NewSentinelObject(kSentinelInvalidObject, env);
    std::vector<CommandArgument> args;
    if (Object *bad = ReadArguments(arguments, env, 0, args)) return bad;
    if (!args[0].numeric || !args[1].numeric) return CallTextObject("complexroots", args, env);
    const Complex z = args[0].value;
    const double n = Round(args[1].value.re);
    if (!std::isfinite(z.re) || !std::isfinite(z.im) || std::isnan(n)) return CallTextObject("complexroots", args, env);
    if (n > kMaxComplexRoots) return RefusedObject(env);
    if (n < 1.0) return RealArrayObject(nullptr, 0, env);
    using OwnedVectorC = Owned<Complex, FreeVectorC>;
    const OwnedVectorC roots(ComplexRoots(z, static_cast<int32_t>(n)));
    const int32_t count = LengthOf(roots.get());
    if (count != static_cast<int32_t>(n)) return RefusedObject(env);
    return ComplexArrayObject(roots.get() + 1, count, env);
  });
}

Object *PolyFitObject(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  const int32_t count = ArgumentCount(arguments);
  // A variadic entry: another count is not this function.
  if (count != 3 && count != 4) return nullptr;
  *owned = 1;
  return Guard(static_cast<Object *>(nullptr), [&]() -> Object * {
    std::vector<CommandArgument> args;
    if (Object *bad = ReadArguments(arguments, env, count == 4 ? 0x7u : 0x3u, args)) return bad;
    const CommandArgument &k = args.back();
    // A name without a value in place of a data set, or a degree that isn't
    // known yet: the call waits for them.
    for (const CommandArgument &a : args) {
      if (&a == &k || !a.scalar) continue;
      if (a.numeric) return NewSentinelObject(kSentinelInvalidObject, env);  // a number is no data set
      return CallTextObject("polyfit", args, env);
    }
    if (!k.numeric) return CallTextObject("polyfit", args, env);
    std::vector<double> x, y, w;
    if (!ReadRealSequence(args[0].object, env, x) || !ReadRealSequence(args[1].object, env, y))
      return NewSentinelObject(kSentinelInvalidObject, env);
    if (count == 4) {
      if (!ReadRealSequence(args[2].object, env, w)) return NewSentinelObject(kSentinelInvalidObject, env);
    } else {
      w.assign(x.size(), 1.0);
    }
    if (x.size() != y.size() || w.size() != x.size()) return NewSentinelObject(kSentinelInvalidObject, env);
    const double degree = Round(k.value.re);
    const auto n = static_cast<int32_t>(x.size());
    // The fit needs as many points as coefficients; degree 64 is the
    // toolkit's limit.
    if (!(degree >= 0.0) || degree > 64.0 || n < degree + 1) return RefusedObject(env);
    for (std::size_t i = 0; i < x.size(); ++i)
      if (!std::isfinite(x[i]) || !std::isfinite(y[i]) || !std::isfinite(w[i]) || w[i] < 0.0)
        return RefusedObject(env);
    if (!std::any_of(w.begin(), w.end(), [](double v) { return v > 0.0; })) return RefusedObject(env);
    const auto d = static_cast<int32_t>(degree);
    Fit fit;
    const bool fitted = AllEqual(w) ? FitEqualWeights(x, y, d, fit) : FitWeighted(x, y, w, d, fit);
    if (!fitted || !std::all_of(fit.coefficients.begin(), fit.coefficients.end(), [](double c) { return std::isfinite(c); }))
      return RefusedObject(env);
    fit.quality = Determination(x, y, w, fit.coefficients);
    Object *o = FitObject(fit, d, n, env);
    return o ? o : RefusedObject(env);
  });
}

}  // namespace qvx
