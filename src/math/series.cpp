// sum, prod, int and root: the functions of the language that run an
// expression many times, and the number commands primefactors and hmstime.
//
// Read series.h first. The flow of every function is the same:
//  1. The arguments are read into `Argument`s: a text each (the variable slot
//     keeps the name as written) and, when it is a number, its value. The
//     object handler reads them from the evaluated call; the split handler
//     evaluates the pieces of its text.
//  2. The expression is read symbolically with its variable unbound (a value
//     the variable had is set aside by the Sampler), which gives the text
//     that is sampled and the list of its unknowns.
//  3. Whatever can't be reduced to numbers answers with the call text
//     "name(" + arguments + ")", imaginary text "0".
// The numeric work: sums and products over integer steps, adaptive Simpson's
// rule on 256 panels, Simpson's rule on a fixed grid (SimpsonIntegral1DC of
// the numerical library), bisection and the Newton-Raphson iteration with an
// exact derivative (DifferentiateText). All loops poll the cancel flag.
#include "math/series.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "common/boundary.h"
#include "common/complex.h"
#include "common/guards.h"
#include "objects/evaluator.h"
#include "objects/held.h"
#include "objects/print.h"
#include "text/classify.h"
#include "text/operators.h"
#include "text/sentinels.h"
#include "text/scan.h"
#include "math/deriv.h"
#include "text/textarith.h"
#include "persistence/rbst.h"

namespace qvx {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr Complex kNaNPair{kNaN, kNaN};
// The largest grid of the fixed-grid integral; more points than this would
// need gigabytes for the samples and is treated like an out-of-range count.
constexpr int32_t kMaxGridPoints = 1 << 24;
// Integers are exact in a double up to here: beyond it a step of one does
// not move, so limits this large are out of range for sum and prod.
constexpr double kMaxExactInteger = 9007199254740992.0;

bool Finite(Complex z) { return std::isfinite(z.re) && std::isfinite(z.im); }
// IsNearlyEqual(v, 0) holds for NaN as well; a failed sample must not pass
// for a zero.
bool NearlyZero(double v) { return !std::isnan(v) && IsNearlyEqual(v, 0.0); }
Complex Add(Complex a, Complex b) { return {a.re + b.re, a.im + b.im}; }
Complex Scale(Complex a, double s) { return {a.re * s, a.im * s}; }

bool IsIdentifierByte(unsigned char c) { return std::isalnum(c) || c == '_' || c >= 0x80 || c == 1; }

// A literal placeholder left by normalisation: a name of bytes 128..255.
bool IsPlaceholder(std::string_view text) {
  if (text.empty()) return false;
  for (unsigned char c : text)
    if (c < 0x80) return false;
  return true;
}

// A name as the user wrote it (not a literal that normalisation replaced).
bool IsWrittenName(std::string_view text) { return IsPlainSymbol(text) && !IsPlaceholder(text); }

// The scope that can take bindings: a scalar's borrowed scope leads to the
// scope that holds the scalar.
Environment *BindingScope(Environment *env) {
  Environment *s = env;
  for (int guard = 0; s && s->isScalar && s->ownerObject && guard < 1024; ++guard)
    s = static_cast<Object *>(s->ownerObject)->parentEnvironment;
  return s && !s->isScalar ? s : nullptr;
}

RBSTNode *FindNode(Environment *scope, const std::string &name) {
  if (!scope || scope->isScalar || !scope->objectTable.root) return nullptr;
  return RBSTFind(scope->objectTable.root, name.c_str());
}

bool IsBound(std::string_view name, Environment *env) {
  int32_t owned = 0;
  Object *o = Evaluator().variable(name, env, &owned);
  if (!o) return false;
  if (!owned) return true;
  const bool unbound = o->tag == kTagAlgebraic && AlgebraicText(o) && name == AlgebraicText(o);
  FreeObject(o);
  return !unbound;
}

// Reads one value of a text: NaN when it is empty or not a number.
double PartValue(const std::string &text) {
  double v = 0.0;
  return !text.empty() && TestNumericString(text, &v) ? v : kNaN;
}

Complex ValueOf(std::string_view text, Object *o, Environment *env) {
  if (!o) return kNaNPair;
  if (o->tag == kTagNumeric) return {Numeric(o)->re, Numeric(o)->im};
  const ComplexText z = ObjectToComplexText(text, o, env);
  return {PartValue(z.re), PartValue(z.im)};
}

// Round half away from zero: floor, then up when the rest is at least 0.5,
// mirrored for negative values.
double RoundLimit(double x) {
  if (x < 0.0) return -RoundLimit(-x);
  const double f = std::floor(x);
  return x - f >= 0.5 ? f + 1.0 : f;
}

// The abscissa as a typed number would give it: through its 15-digit text.
double Through15Digits(double x) {
  if (std::fabs(x) < 1e15 && x == std::floor(x)) return x;  // integers print exactly
  char *t = DoubleString(x, 15);
  double v = x;
  if (t && !TestNumericString(t, &v)) v = x;
  FreeString(t);
  return v;
}

}  // namespace

// ---------------------------------------------------------------------------
// Unknowns.

namespace {

// The index of the ")" that closes the "(" at `open`, or npos.
std::size_t ClosingParenthesis(std::string_view text, std::size_t open) {
  int32_t depth = 0;
  bool inString = false;
  for (std::size_t i = open; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') inString = !inString;
    if (inString) continue;
    if (c == '(') ++depth;
    if (c == ')' && --depth == 0) return i;
  }
  return std::string_view::npos;
}

struct UnknownScan {
  Environment *env;
  std::vector<std::string> unknowns, bound;
  std::vector<std::string_view> local;  // variables of enclosing sum, prod, int
};

// The variable slot of a call of sum, prod or int with these arguments, or
// an empty view when the call has none.
std::string_view VariableOfCall(std::string_view name, const std::vector<std::string_view> &pieces) {
  const std::size_t n = pieces.size();
  const bool slot = ((name == "sum" || name == "prod") && n == 4) || (name == "int" && (n == 4 || n == 5));
  return slot && IsWrittenName(pieces[1]) ? pieces[1] : std::string_view();
}

void Scan(std::string_view text, UnknownScan &scan, int32_t depth) {
  const std::size_t n = text.size();
  bool inString = false;
  for (std::size_t i = 0; i < n;) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c == '"') inString = !inString;
    if (inString || c == '"') {
      ++i;
      continue;
    }
    if (std::isdigit(c) || (c == '.' && i + 1 < n && std::isdigit(static_cast<unsigned char>(text[i + 1])))) {
      // A number, with its exponent: "2e-3" holds no name "e".
      while (i < n && (std::isdigit(static_cast<unsigned char>(text[i])) || text[i] == '.')) ++i;
      if (i < n && (text[i] == 'e' || text[i] == 'E')) {
        std::size_t j = i + 1;
        if (j < n && (text[j] == '+' || text[j] == '-')) ++j;
        if (j < n && std::isdigit(static_cast<unsigned char>(text[j]))) {
          while (j < n && std::isdigit(static_cast<unsigned char>(text[j]))) ++j;
          i = j;
        }
      }
      continue;
    }
    if (!IsIdentifierByte(c)) {
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j < n && IsIdentifierByte(static_cast<unsigned char>(text[j]))) ++j;
    const std::string_view name = text.substr(i, j - i);
    const bool member = i > 0 && text[i - 1] == '.';
    const bool call = j < n && text[j] == '(';
    i = j;
    if (call && !member && depth < 64) {
      // The variable of a nested sum, prod or int is bound inside its own
      // expression: sum(sum(n*m,n,1,3),m,1,2) has the one unknown m.
      const std::size_t close = ClosingParenthesis(text, j);
      if (close == std::string_view::npos) continue;
      std::vector<std::string_view> pieces;
      SplitArgumentList(text.substr(j + 1, close - j - 1), kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1,
                        &pieces);
      const std::string_view variable = VariableOfCall(name, pieces);
      if (variable.empty()) continue;  // an ordinary call: its arguments are scanned in place
      scan.local.push_back(variable);
      Scan(pieces[0], scan, depth + 1);
      scan.local.pop_back();
      for (std::size_t k = 2; k < pieces.size(); ++k) Scan(pieces[k], scan, depth + 1);
      i = close + 1;
      continue;
    }
    if (member || call || name == "i" || name == "this" || !IsPlainSymbol(name)) continue;
    if (std::find(scan.local.begin(), scan.local.end(), name) != scan.local.end()) continue;
    const std::string key(name);
    if (std::find(scan.unknowns.begin(), scan.unknowns.end(), key) != scan.unknowns.end() ||
        std::find(scan.bound.begin(), scan.bound.end(), key) != scan.bound.end())
      continue;
    (IsBound(name, scan.env) ? scan.bound : scan.unknowns).push_back(key);
  }
}

}  // namespace

std::vector<std::string> CollectUnknowns(std::string_view text, Environment *env, int32_t *boundCount) {
  UnknownScan scan{env, {}, {}, {}};
  Scan(text, scan, 0);
  if (boundCount) *boundCount = static_cast<int32_t>(scan.bound.size());
  return std::move(scan.unknowns);
}

// ---------------------------------------------------------------------------
// The sampler.

Sampler::Sampler(Environment *env, std::string_view variable) : env_(env), name_(variable) {
  Environment *scope = BindingScope(env);
  if (!scope) return;
  if (name_.empty()) {
    // A constant expression: nothing to bind, every sample evaluates as is.
    object_ = NewNumericValueObject(0.0, 0.0, scope);
    bound_ = true;
    return;
  }
  // The binding goes where the name already lives, so that it is the one the
  // evaluator finds; a new name goes into the nearest scope.
  holder_ = scope;
  for (Environment *e = scope; e; e = ParentOf(e)) {
    RBSTNode *n = FindNode(e, name_);
    if (n && n->value) {
      holder_ = e;
      saved_ = static_cast<Object *>(n->value);
      n->value = nullptr;  // set aside: the name reads as unbound until Bind
      break;
    }
  }
  object_ = NewNumericValueObject(0.0, 0.0, holder_);
}

void Sampler::Bind() {
  if (!object_ || bound_) return;
  bound_ = true;
  if (name_.empty()) return;
  RBSTInsert(&holder_->objectTable, holder_->objectTable.root, name_.c_str(), object_);
}

bool Sampler::Holds() const {
  if (name_.empty()) return true;
  const RBSTNode *n = FindNode(holder_, name_);
  return n && n->value == object_;
}

bool Sampler::Cancelled() const { return CancelRequested(env_); }

Complex Sampler::At(std::string_view text, double x) {
  if (!object_ || !bound_ || !Holds()) return kNaNPair;
  NumericValue *v = Numeric(object_);
  v->re = x;
  v->im = 0.0;
  // Like a loop pass, each sample gets the evaluation budget of one text.
  BeginEvaluationBudget(text.size());
  int32_t owned = 0;
  Object *result = Evaluator().operand(text, env_, &owned);
  const Held held(result, owned);
  const Complex z = ValueOf(text, held.object, env_);
  return z;
}

Sampler::~Sampler() {
  if (!object_) return;
  if (name_.empty()) {
    FreeObject(object_);
    return;
  }
  RBSTNode *n = FindNode(holder_, name_);
  if (!bound_) {
    FreeObject(object_);  // never entered in a table
  } else if (n && n->value == object_) {
    n->value = nullptr;
    FreeObject(object_);
  }
  // Otherwise the expression deleted or rebound the name and the table has
  // already disposed of the object.
  n = FindNode(holder_, name_);
  if (saved_) {
    RBSTInsert(&holder_->objectTable, holder_->objectTable.root, name_.c_str(), saved_);
  } else if (n && !n->value) {
    RBSTDelete(&holder_->objectTable, holder_->objectTable.root, name_.c_str());
  }
}

Complex SampleAtReal(Environment *env, std::string_view expression, double value) {
  const std::vector<std::string> unknowns = CollectUnknowns(expression, env);
  Sampler s(env, unknowns.empty() ? std::string_view() : std::string_view(unknowns.front()));
  s.Bind();
  return s.At(expression, value);
}

namespace {

// The grid of n samples from x1 to x2 into a 1DC set.
Complex **SampleGrid(Sampler &f, int32_t n, double x1, double x2) {
  if (n < 1 || n > kMaxGridPoints) return nullptr;
  Complex **m = MatrixC(2, n);
  if (!m || static_cast<int32_t>(m[0][0].re) != 2 || static_cast<int32_t>(m[1][0].re) != n ||
      static_cast<int32_t>(m[2][0].re) != n) {
    FreeMatrixC(m);
    return nullptr;
  }
  const double step = n > 1 ? (x2 - x1) / (n - 1) : 0.0;
  bool stopped = false;
  for (int32_t k = 1; k <= n; ++k) {
    const double x = Through15Digits(x1 + (k - 1) * step);
    m[1][k] = {x, 0.0};
    stopped = stopped || f.Cancelled();
    m[2][k] = stopped ? kNaNPair : f.At(x);
  }
  return m;
}

}  // namespace

Complex **SampleOnGrid(int32_t n, Environment *env, std::string_view expression, double x1, double x2) {
  return Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    const std::vector<std::string> unknowns = CollectUnknowns(expression, env);
    Sampler s(env, unknowns.empty() ? std::string_view() : std::string_view(unknowns.front()));
    s.Bind();
    s.SetText(expression);
    return SampleGrid(s, n, x1, x2);
  });
}

double *ReV(const Complex *v) {
  const int32_t n = v ? std::max(0, static_cast<int32_t>(v[0].re)) : 0;
  double *out = Vector(n);
  if (!out || static_cast<int32_t>(out[0]) != n) return out;
  for (int32_t i = 1; i <= n; ++i) out[i] = v[i].re;
  return out;
}

// ---------------------------------------------------------------------------
// Adaptive Simpson's rule.

Complex AdaptiveSimpsonPanel(Sampler &f, double a, double b, double tol, Complex whole, Complex f0, Complex f1,
                             Complex fm, double minimumWidth) {
  // A panel this narrow is dropped, not replaced by its estimate: the depth
  // is bounded at 16 bisections of a first panel.
  if (b - a <= minimumWidth || f.Cancelled()) return {0.0, 0.0};
  const double m = (a + b) / 2;
  const Complex fl = f.At((a + m) / 2);
  const Complex fr = f.At((m + b) / 2);
  const double w = (b - a) / 12;
  const Complex left{(f0.re + 4 * fl.re + fm.re) * w, (f0.im + 4 * fl.im + fm.im) * w};
  const Complex right{(fm.re + 4 * fr.re + f1.re) * w, (fm.im + 4 * fr.im + f1.im) * w};
  const Complex s = Add(left, right);
  if (NearlyZero(s.re) && NearlyZero(s.im) && NearlyZero(whole.re) && NearlyZero(whole.im))
    return {0.0, 0.0};
  const double e = std::hypot(s.re - whole.re, s.im - whole.im);
  const double r = e / std::hypot(std::hypot(s.re, s.im), std::hypot(whole.re, whole.im));
  if (r > 2 * tol) {
    const Complex rightPart = AdaptiveSimpsonPanel(f, m, b, tol, right, fm, f1, fr, minimumWidth);
    const Complex leftPart = AdaptiveSimpsonPanel(f, a, m, tol, left, f0, fm, fl, minimumWidth);
    return Add(rightPart, leftPart);
  }
  // Richardson's correction of the two-panel estimate.
  return {s.re + (s.re - whole.re) / 15, s.im + (s.im - whole.im) / 15};
}

Complex AdaptiveSimpson(Sampler &f, double a, double b, double tol) {
  const double h = (b - a) * 0.00390625;
  const double minimumWidth = h * 1.52587890625e-05;
  Complex f0 = f.At(a);
  if (!Finite(f0)) return f0;
  Complex total{0.0, 0.0};
  double x0 = a;
  for (int panel = 0; panel < 256 && !f.Cancelled(); ++panel) {
    const double x1 = x0 + h;
    const Complex f1 = f.At(x1);
    const Complex fm = f.At(x0 + h / 2);
    const Complex whole{(f0.re + 4 * fm.re + f1.re) * (h / 6), (f0.im + 4 * fm.im + f1.im) * (h / 6)};
    total = Add(total, AdaptiveSimpsonPanel(f, x0, x1, tol, whole, f0, f1, fm, minimumWidth));
    if (std::isnan(total.re) || std::isnan(total.im)) break;  // a failed sample: no total to find
    x0 = x1;
    f0 = f1;
  }
  return total;
}

Complex AdaptiveSimpson(Environment *env, std::string_view expression, double a, double b, double tol) {
  return Guard(kNaNPair, [&] {
    const std::vector<std::string> unknowns = CollectUnknowns(expression, env);
    Sampler s(env, unknowns.empty() ? std::string_view() : std::string_view(unknowns.front()));
    s.Bind();
    s.SetText(expression);
    return AdaptiveSimpson(s, a, b, tol);
  });
}

// ---------------------------------------------------------------------------
// The adaptive grid of findroots and findpeaks.

namespace {

struct StepContext {
  Sampler *f;
  bool failed;
};

// y' = f(x) for the embedded Runge-Kutta step: the running integral of the
// expression, whose step control places points where the expression bends.
void IntegrandRhs(double t, const Complex *, Complex *dydt, void *params) {
  auto *c = static_cast<StepContext *>(params);
  Complex v = kNaNPair;
  try {
    v = c->f->At(t);
  } catch (...) {
    c->failed = true;
  }
  if (!Finite(v)) c->failed = true;
  dydt[1] = v;
}

}  // namespace

Complex **BuildAdaptiveGrid(Environment *env, std::string_view expression, double a, double b) {
  if (!(b > a) || !std::isfinite(a) || !std::isfinite(b)) return nullptr;
  return Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    const std::vector<std::string> unknowns = CollectUnknowns(expression, env);
    Sampler f(env, unknowns.empty() ? std::string_view() : std::string_view(unknowns.front()));
    if (!f.Ready()) return nullptr;
    f.Bind();
    f.SetText(expression);
    // Ends that are singular move inward until the expression is finite.
    const double eps = (b - a) * 1e-6;
    while (a < b && !Finite(f.At(a)) && !f.Cancelled()) a += eps;
    while (b > a && !Finite(f.At(b)) && !f.Cancelled()) b -= eps;
    if (!(b > a) || f.Cancelled()) return nullptr;

    // Cash-Karp steps of y' = f(x) from a to b, every accepted x stored with
    // f(x). The error of a step is measured against |y| + |h f| + 1e-30.
    // Tight enough that the natural spline through the points stays within
    // about 1e-4 of a smooth expression, its ends included.
    constexpr double kTolerance = 1e-10;
    constexpr int32_t kMaxSteps = 100000;
    std::vector<Complex> xs, fs;
    StepContext context{&f, false};
    Complex y[2] = {{1.0, 0.0}, {0.0, 0.0}};  // a VectorC of one element
    Complex error[2] = {{1.0, 0.0}, {0.0, 0.0}};
    double x = a, h = (b - a) / 100;
    Complex fx = f.At(x);
    xs.push_back({x, 0.0});
    fs.push_back(fx);
    for (int32_t steps = 0; x < b && steps < kMaxSteps; ++steps) {
      if (f.Cancelled()) return nullptr;
      if (x + h > b) h = b - x;
      Complex *next = RungeKuttaCashKarpC(IntegrandRhs, &context, x, y, h, error);
      const bool stepped = next && static_cast<int32_t>(next[0].re) == 1;
      const Complex ny = stepped ? next[1] : kNaNPair;
      FreeVectorC(next);
      if (context.failed || !stepped || !Finite(ny)) return nullptr;
      const double scale = std::hypot(y[1].re, y[1].im) + std::fabs(h) * std::hypot(fx.re, fx.im) + 1e-30;
      const double ratio = std::hypot(error[1].re, error[1].im) / scale / kTolerance;
      if (ratio > 1.0) {
        h *= std::max(0.1, 0.9 * std::pow(ratio, -0.25));
        if (x + h == x) return nullptr;  // no progress possible
        continue;
      }
      x += h;
      y[1] = ny;
      fx = f.At(x);
      if (!Finite(fx)) return nullptr;
      xs.push_back({x, 0.0});
      fs.push_back(fx);
      h *= ratio > 1.89e-4 ? 0.9 * std::pow(ratio, -0.2) : 5.0;
    }
    const int32_t stored = static_cast<int32_t>(xs.size());
    Complex **set = MatrixC(2, stored);
    if (!set || static_cast<int32_t>(set[1][0].re) != stored || static_cast<int32_t>(set[2][0].re) != stored) {
      FreeMatrixC(set);
      return nullptr;
    }
    // The last step is cut short to land on b; its width says nothing about
    // the expression and is left out of the smallest spacing.
    double spacing = b - a;
    for (int32_t i = 1; i <= stored; ++i) {
      set[1][i] = xs[static_cast<std::size_t>(i - 1)];
      set[2][i] = fs[static_cast<std::size_t>(i - 1)];
      if (i > 1 && (i < stored || stored == 2)) spacing = std::min(spacing, set[1][i].re - set[1][i - 1].re);
    }
    if (stored < 2) return set;
    spacing = std::max(spacing, eps);
    const double points = std::min(std::round((b - a) / spacing + 1) * 10, 100000.0);
    Complex **grid = SplineInterpolation1DC(set, static_cast<int32_t>(points));
    FreeMatrixC(set);
    return grid;
  });
}

// ---------------------------------------------------------------------------
// The functions.

namespace {

enum class Function { Sum, Prod, Int, Root };

const char *NameOf(Function f) {
  switch (f) {
    case Function::Sum: return "sum";
    case Function::Prod: return "prod";
    case Function::Int: return "int";
    case Function::Root: return "root";
  }
  return "";
}

struct Argument {
  std::string text;        // joined value text; the name in the variable slot
  std::string source;      // the text as written (object handler), may be empty
  bool numeric = false;
  bool pending = false;    // `text` is still to be evaluated
  Complex value{0.0, 0.0};
};

// What a function answers: a number, a text pair, or a sentinel.
struct Outcome {
  bool isNumber = false;
  Complex value{0.0, 0.0};
  ComplexText text;
};

Outcome Number(Complex z) {
  Outcome o;
  o.isNumber = true;
  o.value = z;
  return o;
}
Outcome Texts(std::string re) {
  Outcome o;
  o.text = {std::move(re), "0"};
  return o;
}

// Evaluates a pending argument in place. False when it gave a sentinel,
// which then stands in its text.
bool Resolve(Argument &a, Environment *env) {
  if (!a.pending) return !HasErrorSentinel(a.text);
  a.pending = false;
  int32_t owned = 0;
  Object *result = Evaluator().operand(a.text, env, &owned);
  const Held held(result, owned);
  const Object *o = held.object;
  if (o && o->tag == kTagNumeric) {
    a.numeric = true;
    a.value = {Numeric(o)->re, Numeric(o)->im};
    a.text = JoinComplexText(NumberText(a.value.re), NumberText(a.value.im));
  } else {
    const ComplexText z = o ? ObjectToComplexText(a.text, o, env) : ComplexText{std::string(kSentinelInvalidExpression), "0"};
    if (HasErrorSentinel(z.re) || HasErrorSentinel(z.im)) {
      a.text = HasErrorSentinel(z.re) ? z.re : z.im;
    } else {
      a.numeric = IsNumericPair(z, &a.value.re, &a.value.im);
      a.text = JoinComplexText(z.re, z.im);
    }
  }
  return !HasErrorSentinel(a.text);
}

// "name(a,b,...)" of the arguments as they stand now; a sentinel in one of
// them is passed on instead.
Outcome CallTextOf(const char *name, const std::vector<Argument> &args) {
  std::string out(name);
  out += '(';
  for (std::size_t k = 0; k < args.size(); ++k) {
    if (HasErrorSentinel(args[k].text)) return Texts(args[k].text);
    if (k) out += ',';
    out += args[k].text;
  }
  out += ')';
  return Texts(std::move(out));
}

// Resolves every argument except the variable slot; a sentinel ends it.
bool ResolveAll(std::vector<Argument> &args, int32_t variableSlot, Environment *env, Outcome *failure) {
  for (std::size_t k = 0; k < args.size(); ++k) {
    if (static_cast<int32_t>(k) == variableSlot) continue;
    if (!Resolve(args[k], env)) {
      *failure = Texts(args[k].text);
      return false;
    }
  }
  return true;
}

// Whether the expression can be sampled over its variable: exactly one
// unknown, which is the variable when the call names one.
bool Samplable(const std::vector<std::string> &unknowns, const std::string &variable) {
  return unknowns.size() == 1 && (variable.empty() || unknowns.front() == variable);
}

// The sum or product over the integers between two limits.
Outcome SeriesCore(std::vector<Argument> &args, Environment *env, bool product) {
  const char *name = product ? "prod" : "sum";
  const bool explicitVariable = args.size() == 4;
  Outcome failure;
  const int32_t lo = explicitVariable ? 2 : 1;
  for (int32_t k = lo; k <= lo + 1; ++k)
    if (!Resolve(args[static_cast<std::size_t>(k)], env)) return Texts(args[static_cast<std::size_t>(k)].text);
  if (explicitVariable && !IsWrittenName(args[1].text)) {
    if (!ResolveAll(args, -1, env, &failure)) return failure;
    return CallTextOf(name, args);
  }
  // The expression is read with the variable unbound.
  Sampler sampler(env, explicitVariable ? std::string_view(args[1].text) : std::string_view());
  if (!Resolve(args[0], env)) return Texts(args[0].text);
  const Argument &a1 = args[static_cast<std::size_t>(lo)], &a2 = args[static_cast<std::size_t>(lo + 1)];
  if (!a1.numeric || !a2.numeric) return CallTextOf(name, args);
  const double i1 = RoundLimit(a1.value.re), i2 = RoundLimit(a2.value.re);
  if (!(std::fabs(i1) <= kMaxExactInteger) || !(std::fabs(i2) <= kMaxExactInteger)) return CallTextOf(name, args);
  const double first = std::min(i1, i2);
  const double count = std::fabs(i2 - i1) + 1;
  const std::vector<std::string> unknowns = CollectUnknowns(args[0].text, env);
  if (unknowns.empty()) {
    if (!args[0].numeric) return CallTextOf(name, args);
    Complex z = args[0].value;
    if (product) {
      // v^N from the polar form; a real value keeps a real power.
      if (z.im == 0.0) {
        z = {std::pow(z.re, count), 0.0};
      } else {
        const double r = std::pow(std::hypot(z.re, z.im), count), t = std::atan2(z.im, z.re) * count;
        z = {r * std::cos(t), r * std::sin(t)};
      }
    } else {
      z = Scale(z, count);
    }
    return Finite(z) ? Number(z) : CallTextOf(name, args);
  }
  if (!Samplable(unknowns, explicitVariable ? args[1].text : std::string())) return CallTextOf(name, args);
  // The implicit form binds its single unknown.
  Sampler implicitSampler(env, explicitVariable ? std::string_view() : std::string_view(unknowns.front()));
  Sampler &f = explicitVariable ? sampler : implicitSampler;
  if (!f.Ready()) return CallTextOf(name, args);
  f.Bind();
  f.SetText(args[0].text);
  // Sums four terms at a time, in order; products term by term.
  Complex total = product ? Complex{1.0, 0.0} : Complex{0.0, 0.0};
  Complex group[4];
  int filled = 0;
  for (double k = 0; k < count; ++k) {
    if (f.Cancelled()) break;
    const Complex z = f.At(first + k);
    if (product) {
      total = MulFour(total, z);
      if (std::isnan(total.re) || std::isnan(total.im)) break;  // nothing can recover it
      continue;
    }
    group[filled++] = z;
    if (filled == 4) {
      total.re += group[0].re + group[1].re + group[2].re + group[3].re;
      total.im += group[0].im + group[1].im + group[2].im + group[3].im;
      filled = 0;
      if (std::isnan(total.re) || std::isnan(total.im)) break;
    }
  }
  for (int k = 0; k < filled; ++k) total = Add(total, group[k]);
  if (!Finite(total)) return CallTextOf(name, args);
  return Number(total);
}

Outcome IntegralCore(std::vector<Argument> &args, Environment *env) {
  const std::size_t n = args.size();
  Outcome failure;
  // The form: adaptive (tolerance), fixed grid (the point count's slot).
  bool explicitVariable = false, grid = false;
  double tol = 1e-6;
  if (n == 3) {
    tol = 1e-6;
  } else if (n == 4 && IsWrittenName(args[1].text)) {
    explicitVariable = true;
    tol = 1e-9;
  } else if (n == 4) {
    // A name in the third slot sends the call to the explicit-variable form,
    // which finds no variable name in the second slot and answers with a
    // "sum(" text.
    const std::string_view third = args[2].source.empty() ? std::string_view(args[2].text) : args[2].source;
    if (IsWrittenName(third) && IsBound(third, env)) {
      if (!ResolveAll(args, -1, env, &failure)) return failure;
      return CallTextOf("sum", args);
    }
    grid = true;
  } else {
    explicitVariable = grid = true;
    if (!IsWrittenName(args[1].text)) {
      if (!ResolveAll(args, -1, env, &failure)) return failure;
      return CallTextOf("int", args);
    }
  }
  const int32_t variableSlot = explicitVariable ? 1 : -1;
  const std::size_t lo = explicitVariable ? 2 : 1;
  for (std::size_t k = lo; k < n; ++k)
    if (!Resolve(args[k], env)) return Texts(args[k].text);
  Sampler sampler(env, explicitVariable ? std::string_view(args[1].text) : std::string_view());
  if (!ResolveAll(args, variableSlot, env, &failure)) return failure;
  const Argument &a1 = args[lo], &a2 = args[lo + 1];
  if (!a1.numeric || !a2.numeric || (grid && !args[lo + 2].numeric)) return CallTextOf("int", args);
  const double x1 = a1.value.re, x2 = a2.value.re;
  if (!std::isfinite(x1) || !std::isfinite(x2)) return CallTextOf("int", args);
  const std::vector<std::string> unknowns = CollectUnknowns(args[0].text, env);
  const bool constant = unknowns.empty();
  if (!constant && !Samplable(unknowns, explicitVariable ? args[1].text : std::string()))
    return CallTextOf("int", args);
  if (constant && !grid) {
    if (!args[0].numeric) return CallTextOf("int", args);
    const Complex z = Scale(args[0].value, x2 - x1);
    return Finite(z) ? Number(z) : CallTextOf("int", args);
  }
  Sampler implicitSampler(env, explicitVariable || constant ? std::string_view() : std::string_view(unknowns.front()));
  Sampler &f = explicitVariable ? sampler : implicitSampler;
  if (!f.Ready()) return CallTextOf("int", args);
  f.Bind();
  f.SetText(args[0].text);
  Complex result{0.0, 0.0};
  if (grid) {
    const double wanted = RoundLimit(args[lo + 2].value.re);
    if (!(wanted >= 1.0) || !(wanted <= kMaxGridPoints)) return CallTextOf("int", args);
    int32_t points = static_cast<int32_t>(wanted);
    if (points % 2 == 0) ++points;
    if (!Finite(f.At(std::min(x1, x2)))) return CallTextOf("int", args);
    Complex **set = SampleGrid(f, points, std::min(x1, x2), std::max(x1, x2));
    if (!set) return CallTextOf("int", args);
    result = SimpsonIntegral1DC(set, std::min(x1, x2), std::max(x1, x2));
    FreeMatrixC(set);
    if (x2 < x1) result = Scale(result, -1.0);
  } else {
    // A singular point at the lower limit would poison every panel.
    if (!Finite(f.At(x1))) return CallTextOf("int", args);
    result = AdaptiveSimpson(f, std::min(x1, x2), std::max(x1, x2), tol);
    if (x2 < x1) result = Scale(result, -1.0);
  }
  if (!Finite(result)) return CallTextOf("int", args);
  return Number(result);
}

Outcome RootCore(std::vector<Argument> &args, Environment *env) {
  Outcome failure;
  if (!ResolveAll(args, -1, env, &failure)) return failure;
  for (std::size_t k = 1; k < args.size(); ++k)
    if (!args[k].numeric) return CallTextOf("root", args);
  const std::vector<std::string> unknowns = CollectUnknowns(args[0].text, env);
  if (unknowns.size() != 1) return CallTextOf("root", args);
  const std::string &variable = unknowns.front();
  std::string derivative;
  if (args.size() == 2) {
    // The exact derivative, found while the variable is still unbound.
    derivative = DifferentiateText(args[0].text, variable, env);
    if (HasErrorSentinel(derivative)) return CallTextOf("root", args);
    SimplifyExpressionText(derivative, 0, 0, env);
  }
  Sampler f(env, variable);
  if (!f.Ready()) return CallTextOf("root", args);
  f.Bind();
  f.SetText(args[0].text);
  double answer = 0.0;
  if (args.size() == 3) {
    // Bisection: the root is taken to be bracketed by the limits.
    double lo = std::min(args[1].value.re, args[2].value.re), hi = std::max(args[1].value.re, args[2].value.re);
    double flo = f.At(lo).re;
    for (int32_t round = 1;; ++round) {
      if (round > 9999 || f.Cancelled()) {
        answer = 0.0;
        break;
      }
      const double mid = (hi + lo) / 2;
      const double v = f.At(mid).re;
      // The last condition ends an interval that no longer shrinks (two
      // neighbouring doubles far from 0, where 1e-12 is below their spacing).
      if (NearlyZero(v) || (hi - lo) / 2 <= 1e-12 || mid == lo || mid == hi) {
        answer = mid;
        break;
      }
      if (!(flo * v < 0.0)) {
        lo = mid;
        flo = v;
      } else {
        hi = mid;
      }
    }
  } else {
    // Newton-Raphson from the guess, with no report of convergence.
    double x = args[1].value.re;
    double y = f.At(x).re;
    if (!NearlyZero(y)) {
      int32_t rounds = 0;
      while (y != 0.0) {
        x = x - 1.0 / (f.At(derivative, x).re / y);
        y = f.At(x).re;
        if (++rounds >= 2000 || f.Cancelled() || std::isnan(x)) break;  // NaN stays NaN
      }
    }
    answer = x;
  }
  if (!std::isfinite(answer)) return CallTextOf("root", args);
  return Number({answer, 0.0});
}

Outcome Run(Function fn, std::vector<Argument> &args, Environment *env) {
  switch (fn) {
    case Function::Sum: return SeriesCore(args, env, false);
    case Function::Prod: return SeriesCore(args, env, true);
    case Function::Int: return IntegralCore(args, env);
    case Function::Root: return RootCore(args, env);
  }
  return Texts(std::string(kSentinelInvalidExpression));
}

bool CountFits(Function fn, std::size_t n) {
  switch (fn) {
    case Function::Sum:
    case Function::Prod: return n == 3 || n == 4;
    case Function::Int: return n >= 3 && n <= 5;
    case Function::Root: return n == 2 || n == 3;
  }
  return false;
}

ComplexText SplitCommon(Function fn, std::string_view text, Environment *env) {
  return Guard(ComplexText{std::string(kSentinelInvalidExpression), "0"}, [&] {
    if (HasErrorSentinel(text)) return ComplexText{std::string(text), "0"};
    std::vector<std::string_view> pieces;
    SplitArgumentList(text, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1, &pieces);
    if (!CountFits(fn, pieces.size())) return ComplexText{std::string(NameOf(fn)) + "(" + std::string(text) + ")", "0"};
    std::vector<Argument> args(pieces.size());
    for (std::size_t k = 0; k < pieces.size(); ++k) {
      args[k].text.assign(pieces[k]);
      args[k].source.assign(pieces[k]);
      args[k].pending = true;
    }
    // A variable slot stays a name.
    const bool named = (fn == Function::Sum || fn == Function::Prod) ? pieces.size() == 4
                       : fn == Function::Int ? (pieces.size() == 5 || (pieces.size() == 4 && IsWrittenName(pieces[1])))
                                             : false;
    if (named && IsWrittenName(pieces[1])) args[1].pending = false;
    Outcome o = Run(fn, args, env);
    if (o.isNumber) return ComplexText{NumberText(o.value.re), NumberText(o.value.im)};
    return std::move(o.text);
  });
}

// The object handler: arguments from the evaluated call, the expression's
// text chosen so that a stored value of the variable can't have been used.
Object *ObjectCommon(Function fn, ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 1;
  const int32_t count = arguments && arguments->items ? arguments->count - 1 : -1;
  if (count < 0 || !CountFits(fn, static_cast<std::size_t>(count))) {
    *owned = 0;
    return nullptr;
  }
  Object *result = Guard(static_cast<Object *>(nullptr), [&]() -> Object * {
    const std::size_t n = static_cast<std::size_t>(count);
    std::vector<Argument> args(n);
    auto sourceOf = [&](std::size_t k) {
      return arguments->texts ? arguments->texts[k] : std::string_view();
    };
    int32_t variableSlot = -1;
    if ((fn == Function::Sum || fn == Function::Prod) && n == 4) variableSlot = 1;
    if (fn == Function::Int && (n == 5 || (n == 4 && IsWrittenName(sourceOf(1))))) variableSlot = 1;
    for (std::size_t k = 0; k < n; ++k) {
      const Object *o = arguments->items[k + 1];
      Argument &a = args[k];
      a.source.assign(sourceOf(k));
      if (static_cast<int32_t>(k) == variableSlot && IsWrittenName(a.source)) {
        a.text = a.source;
        continue;
      }
      if (!o) return NewSentinelObject(kSentinelInvalidObject, env);
      switch (o->tag) {
        case kTagNumeric:
          a.numeric = true;
          a.value = {Numeric(o)->re, Numeric(o)->im};
          a.text = JoinComplexText(NumberText(a.value.re), NumberText(a.value.im));
          break;
        case kTagAlgebraic:
          if (!PassesValidityTest(o)) return NewSentinelObject(kSentinelInvalidExpression, env);
          a.text = AlgebraicText(o);
          break;
        case kTagSplit: {
          const SplitValue *s = Split(o);
          a.text = JoinComplexText(s->re ? s->re : "", s->im ? s->im : "");
          if (HasErrorSentinel(a.text)) return NewSentinelObject(kSentinelInvalidExpression, env);
          break;
        }
        default:
          return NewSentinelObject(kSentinelInvalidObject, env);
      }
    }
    // With the variable bound, the expression's value was computed with that
    // value: read it again from its source text with the variable unbound.
    if (variableSlot == 1 && IsWrittenName(args[1].text) && !args[0].source.empty() &&
        IsBound(args[1].text, env)) {
      args[0] = Argument{};
      args[0].text.assign(sourceOf(0));
      args[0].source = args[0].text;
      args[0].pending = true;
    }
    if (CancelRequested(env)) return NewSentinelObject(kSentinelAborted, env);
    Outcome o = Run(fn, args, env);
    if (o.isNumber) return NewNumericValueObject(o.value.re, o.value.im, env);
    if (HasErrorSentinel(o.text.re)) return NewSentinelObject(o.text.re, env);
    return NewSplitObjectFromTexts(DupText(o.text.re.c_str()), DupText(o.text.im.c_str()), env);
  });
  return result ? result : NewSentinelObject(kSentinelInvalidExpression, env);
}

// ---------------------------------------------------------------------------
// primefactors and hmstime.

// Reads n real numbers from the call; false when one is not a real number.
bool RealArguments(ArgumentList *arguments, int32_t n, double *out, std::vector<std::string> *texts) {
  bool real = true;
  for (int32_t k = 0; k < n; ++k) {
    const Object *o = arguments->items[k + 1];
    if (o && o->tag == kTagNumeric) {
      texts->push_back(JoinComplexText(NumberText(Numeric(o)->re), NumberText(Numeric(o)->im)));
      out[k] = Numeric(o)->re;
      real = real && Numeric(o)->im == 0.0;
    } else {
      texts->push_back(o && o->tag == kTagAlgebraic && AlgebraicText(o) ? AlgebraicText(o) : "");
      real = false;
    }
  }
  return real;
}

// Fixed arity, operands algebraic or numeric; null means go on with the call.
Object *CheckFixed(ArgumentList *arguments, int32_t n, Environment *env) {
  const int32_t count = arguments && arguments->items ? arguments->count - 1 : -1;
  if (count != n) return NewSentinelObject(kSentinelInvalidObject, env);
  for (int32_t k = 1; k <= n; ++k) {
    const Object *o = arguments->items[k];
    if (!o || (o->tag != kTagNumeric && o->tag != kTagAlgebraic)) return NewSentinelObject(kSentinelInvalidObject, env);
    if (!PassesValidityTest(o)) return NewSentinelObject(kSentinelInvalidExpression, env);
  }
  return nullptr;
}

Object *CallTextObject(const char *name, const std::vector<std::string> &texts, Environment *env) {
  std::string out(name);
  out += '(';
  for (std::size_t k = 0; k < texts.size(); ++k) {
    if (k) out += ',';
    out += texts[k];
  }
  out += ')';
  return NewAlgebraicObject(out.c_str(), env);
}

std::string Text14(double x) {
  char *t = DoubleString(x, 14);
  std::string s = t ? t : "";
  FreeString(t);
  return s;
}

// primefactors and hmstime have no meaning on text: the call stays as it is.
ComplexText NotOnText(const char *name, std::string_view text) {
  return {std::string(name) + "(" + std::string(text) + ")", "0"};
}

}  // namespace

ComplexText SumSplit(std::string_view arguments, Environment *env) {
  return SplitCommon(Function::Sum, arguments, env);
}
ComplexText ProdSplit(std::string_view arguments, Environment *env) {
  return SplitCommon(Function::Prod, arguments, env);
}
ComplexText IntSplit(std::string_view arguments, Environment *env) {
  return SplitCommon(Function::Int, arguments, env);
}
ComplexText RootSplit(std::string_view arguments, Environment *env) {
  return SplitCommon(Function::Root, arguments, env);
}

Object *SumObject(ArgumentList *a, Environment *env, int32_t *owned) { return ObjectCommon(Function::Sum, a, env, owned); }
Object *ProdObject(ArgumentList *a, Environment *env, int32_t *owned) {
  return ObjectCommon(Function::Prod, a, env, owned);
}
Object *IntObject(ArgumentList *a, Environment *env, int32_t *owned) { return ObjectCommon(Function::Int, a, env, owned); }
Object *RootObject(ArgumentList *a, Environment *env, int32_t *owned) {
  return ObjectCommon(Function::Root, a, env, owned);
}

// "n=p1^a1*p2^a2*...*pk^ak" as a string, for a real n of at least 1.
Object *PrimeFactorsObject(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 1;
  if (Object *bad = CheckFixed(arguments, 1, env)) return bad;
  return Guard(static_cast<Object *>(nullptr), [&]() -> Object * {
    double n = 0.0;
    std::vector<std::string> texts;
    if (!RealArguments(arguments, 1, &n, &texts) || !std::isfinite(n) || !(std::trunc(n) >= 1.0))
      return CallTextObject("primefactors", texts, env);
    n = std::trunc(n);
    double **m = PrimeFactors2(n);
    std::string out = Text14(n) + "=";
    const int32_t k = m && m[0] && static_cast<int32_t>(m[0][0]) == 2 ? static_cast<int32_t>(m[1][0]) : 0;
    for (int32_t i = 1; i <= k; ++i) {
      if (i > 1) out += '*';
      out += Text14(m[1][i]) + "^" + Text14(m[2][i]);
    }
    if (k == 0) out += "1";
    FreeMatrix(m);
    return NewStringObject(out.c_str(), env);
  });
}

// Hours, minutes and seconds to the string "H:M:S", M and S in [0, 60).
Object *HmsTimeObject(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 1;
  if (Object *bad = CheckFixed(arguments, 3, env)) return bad;
  return Guard(static_cast<Object *>(nullptr), [&]() -> Object * {
    double v[3] = {0.0, 0.0, 0.0};
    std::vector<std::string> texts;
    if (!RealArguments(arguments, 3, v, &texts)) return CallTextObject("hmstime", texts, env);
    const double total = v[0] * 3600.0 + v[1] * 60.0 + v[2];
    if (!std::isfinite(total)) return CallTextObject("hmstime", texts, env);
    double t = std::fabs(total);
    const double h = std::floor(t / 3600.0);
    t -= h * 3600.0;
    double m = std::floor(t / 60.0);
    double s = t - m * 60.0;
    if (m >= 60.0) m = 59.0;  // rounding of t/60 at the top of an hour
    if (s < 0.0) s = 0.0;
    std::string out = total < 0.0 ? "-" : "";
    out += NumberText(h) + ":" + NumberText(m) + ":" + NumberText(s);
    return NewStringObject(out.c_str(), env);
  });
}

namespace {

ComplexText HmsTimeSplit(std::string_view text, Environment *) { return NotOnText("hmstime", text); }
ComplexText PrimeFactorsSplit(std::string_view text, Environment *) { return NotOnText("primefactors", text); }

constexpr PredefinedFunction kSeriesFunctions[] = {
    {"sum()", SumObject, SumSplit, nullptr},
    {"prod()", ProdObject, ProdSplit, nullptr},
    {"int()", IntObject, IntSplit, nullptr},
    {"root()", RootObject, RootSplit, nullptr},
    {"primefactors(1)", PrimeFactorsObject, PrimeFactorsSplit, nullptr},
    {"hmstime(3)", HmsTimeObject, HmsTimeSplit, nullptr},
};

}  // namespace

std::span<const PredefinedFunction> SeriesFunctions() { return kSeriesFunctions; }

}  // namespace qvx
