// The plot generators: an expression text in, BMP images out.
//
// Nothing is compiled. The text is normalised and simplified once in a
// scratch copy of the caller's scope (so the caller's tables are never
// touched), evaluated once to learn what it is (a function of one unknown,
// a constant, a matrix of data), and then every sample is an ordinary
// evaluation of the text with the unknown bound to a numeric object whose
// value is changed in place between samples. Speed comes from sampling
// fewer points than the picture has columns and interpolating linearly.
//
// The caller's cancel flag is polled before every sample: the scratch copy
// has a flag of its own, so another thread's SetCancelFlag on the caller's
// scope reaches the sampling only through that poll.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/boundary.h"
#include "common/owned.h"
#include "engine/evaluate.h"
#include "engine/normalise.h"
#include "engine/program.h"
#include "text/scan.h"
#include "libquorvex.h"
#include "math/algebra.h"
#include "math/series.h"
#include "objects/environment.h"
#include "objects/object.h"
#include "objects/tensor.h"
#include "plot/plot.h"

namespace qvx {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwoPi = 6.283185307179586;
constexpr int64_t kMaxSurfaceSamples = int64_t{1} << 20;

// ---- the scratch scope ---------------------------------------------------------

struct ScopeCloser {
  void operator()(Environment *e) const { TerminateEnvironment(e); }
};
using Scratch = std::unique_ptr<Environment, ScopeCloser>;

Scratch MakeScratch(Environment *source) {
  Environment *e = source ? CopyEnvironment(source, nullptr, 0, 0) : InitializeTopLevelEnvironment(nullptr);
  if (e) e->updateHistory = 0;
  return Scratch(e);
}

// Normalises and screens a text in the scratch scope. Assignments and
// control statements are refused: a plot must not change any state.
bool NormaliseForPlot(const char *input, Environment *scratch, std::string *text) {
  if (!input) return false;
  text->assign(input);
  // Literals go into the scratch scope's tables, where they die with it.
  const LiteralSink sink = NewLiteralSink(scratch);
  NormaliseText(*text, &sink);
  int32_t quotes = 0, placed = 0, assignment = 0, list = 0, expression = 0;
  if (!ScreenSyntax(*text, &quotes, &placed, &assignment, &list, &expression)) return false;
  return !assignment && !text->empty() && !IsControlStatement(*text) && !ContainsErrorSentinel(*text);
}

bool Simplify(std::string *text, Environment *scratch) {
  SimplifyExpressionText(*text, 0, 0, scratch);
  return !text->empty() && !ContainsErrorSentinel(*text);
}

bool HasTopLevelComma(std::string_view text) {
  int32_t pos = -1;
  return FindFirstTopLevel(text, kOpenParenBlockSquare, kCloseParenBlockSquare, ",", &pos) == 0 && pos >= 0;
}

// The title of a picture: the text with its literals put back at the
// scope's precision, without blanks.
std::string TitleOf(std::string text, Environment *scratch, Environment *source) {
  const int32_t digits = source ? source->significantDigits : scratch->significantDigits;
  RestoreLiterals(text, digits > 0 ? digits : 15, scratch);
  text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
  return text;
}

bool Cancelled(Environment *scratch, const unsigned char *cancel) {
  return (cancel && *cancel) || CancelRequested(scratch);
}

// ---- sampling ------------------------------------------------------------------------

// A numeric binding of a name in the scratch scope. The table owns the
// object; it is looked up at each sample, so an expression that deletes or
// rebinds the name makes the samples NaN instead of writing to freed memory.
class Binding {
 public:
  Binding(Environment *env, std::string name) : env_(env), name_(std::move(name)) {
    Object *o = NewNumericValueObject(0.0, 0.0, env);
    if (!o) return;
    if (RBSTNode *n = RBSTFind(env->objectTable.root, name_.c_str())) {
      if (n->value) FreeObject(static_cast<Object *>(n->value));
      n->value = o;
    } else {
      RBSTInsert(&env->objectTable, env->objectTable.root, name_.c_str(), o);
    }
  }
  bool Set(double re, double im) {
    RBSTNode *n = RBSTFind(env_->objectTable.root, name_.c_str());
    auto *o = n ? static_cast<Object *>(n->value) : nullptr;
    if (!o || o->tag != kTagNumeric || !o->payload) return false;
    Numeric(o)->re = re;
    Numeric(o)->im = im;
    return true;
  }

 private:
  Environment *env_;
  std::string name_;
};

double PartValue(const std::string &text) {
  double v = 0.0;
  return TestNumericString(text, &v) ? v : kNaN;
}

// One value of the text. False when the result is not a scalar at all,
// which ends a sampling.
bool EvaluateSample(std::string_view text, Environment *env, Complex *z) {
  *z = {kNaN, kNaN};
  BeginEvaluationBudget(text.size());
  int32_t owned = 0;
  Object *result = EvaluateExpression(text, env, &owned);
  const Held held(result, owned);
  const Object *o = held.object;
  if (!o) return true;
  bool scalar = true;
  if (o->tag == kTagNumeric && o->payload) {
    *z = {Numeric(o)->re, Numeric(o)->im};
  } else if (o->tag == kTagAlgebraic || o->tag == kTagSplit || o->tag == kTagBignum) {
    const ComplexText t = ObjectToComplexText(text, o, env);
    // An empty part reads 0 beside a number, but a result of two empty
    // parts is no number at all.
    if (!t.re.empty() || !t.im.empty()) {
      z->re = t.re.empty() ? 0.0 : PartValue(t.re);
      z->im = t.im.empty() ? 0.0 : PartValue(t.im);
    }
  } else {
    scalar = false;
  }
  return scalar;
}

// A new Matrix(n, 6) filled with NaN (row 2 zero), or null.
double **NewPlotSamples(int32_t n) {
  if (n < 1 || n > kMaxPictureSide) return nullptr;
  double **m = Matrix(n, 6);
  if (!m || static_cast<int32_t>(m[0][0]) != n || !m[1] || static_cast<int32_t>(m[1][0]) != 6) {
    FreeMatrix(m);
    return nullptr;
  }
  for (int32_t k = 1; k <= n; ++k) {
    std::fill(m[k] + 1, m[k] + 7, kNaN);
    m[k][kRowZero] = 0.0;
  }
  return m;
}

// Removes jumps of more than half a period between neighbouring finite
// values by whole periods; non-finite values are kept and skipped.
void UnwrapRow(double **m, int32_t row, double period) {
  const int32_t n = static_cast<int32_t>(m[0][0]);
  double offset = 0.0, previous = kNaN;
  for (int32_t k = 1; k <= n; ++k) {
    const double v = m[k][row];
    if (!std::isfinite(v)) continue;
    if (std::isfinite(previous)) {
      const double d = v - previous;
      if (std::fabs(d) > period / 2) offset -= period * std::round(d / period);
    }
    previous = v;
    m[k][row] = v + offset;
  }
}

void FillPolarRows(double **m) {
  const int32_t n = static_cast<int32_t>(m[0][0]);
  for (int32_t k = 1; k <= n; ++k) {
    m[k][kRowModulus] = std::hypot(m[k][kRowRe], m[k][kRowIm]);
    m[k][kRowPhase] = std::atan2(m[k][kRowIm], m[k][kRowRe]);
  }
  UnwrapRow(m, kRowPhase, kTwoPi);
}

// A new PlotSamples of `width` columns spread evenly over the abscissas of
// `s` (ascending), rows 3 to 6 interpolated linearly. At an abscissa of the
// source the source value is taken as it is, so a gap stays a gap only
// between its neighbours.
double **Stretch(double **s, int32_t width) {
  const int32_t n = static_cast<int32_t>(s[0][0]);
  double **out = NewPlotSamples(width);
  if (!out) return nullptr;
  const double a = s[1][kRowX], b = s[n][kRowX];
  int32_t i = 1;
  for (int32_t j = 1; j <= width; ++j) {
    const double x = width > 1 ? (j == width ? b : a + (j - 1) * (b - a) / (width - 1)) : a;
    out[j][kRowX] = x;
    while (i < n - 1 && s[i + 1][kRowX] <= x) ++i;
    const int32_t k = std::min(i + 1, n);
    const double x0 = s[i][kRowX], x1 = s[k][kRowX];
    const double u = x1 > x0 ? std::clamp((x - x0) / (x1 - x0), 0.0, 1.0) : 0.0;
    for (int32_t row = kRowRe; row <= kRowPhase; ++row) {
      const double v0 = s[i][row], v1 = s[k][row];
      out[j][row] = u == 0.0 ? v0 : u == 1.0 ? v1 : v0 + (v1 - v0) * u;
    }
  }
  return out;
}

// A temporary name that no scope table holds and the text doesn't use.
std::string FreeName(std::string_view base, std::string_view text, Environment *env,
                     const std::vector<std::string> &taken) {
  std::string name(base);
  for (int guard = 0; guard < 64; ++guard) {
    name += '_';
    if (!FindObjectInScopes(name.c_str(), env) && text.find(name) == std::string_view::npos &&
        std::find(taken.begin(), taken.end(), name) == taken.end())
      break;
  }
  return name;
}


// ---- pictures ------------------------------------------------------------------------

// Takes both pictures.
PlotBitmapPair *EncodePair(uint32_t **first, uint32_t **second) {
  const OwnedPicture ownedFirst(first), ownedSecond(second);
  PlotBitmapPair *pair = nullptr;
  if (first && second) {
    pair = static_cast<PlotBitmapPair *>(std::malloc(sizeof(PlotBitmapPair)));
    if (pair) {
      pair->first = EncodeBitmap(first);
      pair->second = EncodeBitmap(second);
      if (!pair->first || !pair->second) {
        std::free(pair->first);
        std::free(pair->second);
        std::free(pair);
        pair = nullptr;
      }
    }
  }
  return pair;
}

struct CurveRequest {
  const double *lower = nullptr;
  const double *upper = nullptr;
  int32_t samples = 0;
  int32_t width = 0;
  int32_t height = 0;
  Font *font = nullptr;
};

// Both pictures of a PlotSamples matrix, stretched to the width when it has
// fewer columns. Takes the matrix.
PlotBitmapPair *RenderPair(double **samples, bool stretch, const CurveRequest &r, const std::string &title) {
  OwnedMatrix s(samples);
  if (stretch) {
    s.reset(Stretch(s.get(), r.width));
    if (!s) return nullptr;
  }
  auto bound = [](const double *v, int k, double fallback) { return v ? v[k] : fallback; };
  const double inf = std::numeric_limits<double>::infinity();
  OwnedPicture first(RenderCurve(s.get(), r.height, kRealColour, kImaginaryColour, 0, 0, r.font,
                                 bound(r.lower, 0, -inf), bound(r.upper, 0, inf), bound(r.lower, 1, -inf),
                                 bound(r.upper, 1, inf)));
  OwnedPicture second(RenderCurve(s.get(), r.height, kModulusColour, kPhaseColour, 0, 1, r.font,
                                  bound(r.lower, 2, -inf), bound(r.upper, 2, inf), bound(r.lower, 3, -inf),
                                  bound(r.upper, 3, inf)));
  s.reset();
  if (first) DrawTitle(first.get(), title, r.font);
  if (second) DrawTitle(second.get(), title, r.font);
  return EncodePair(first.release(), second.release());
}

PlotBitmapPair *FunctionPlot(const std::string &text, const std::string &title, double x1, double x2,
                             const CurveRequest &r, Environment *scratch, const unsigned char *cancel) {
  PlotVariable variable;
  if (!PrepareVariable(text, scratch, &variable)) return nullptr;
  const bool direct = r.samples >= r.width;
  const int32_t n = direct ? r.samples : std::max(r.samples, 2);
  double **s = SampleForPlot(n, scratch, text, x1, x2, variable.name, cancel);
  if (!s) return nullptr;
  return RenderPair(s, !direct, r, title);
}

// The abscissas and values of a matrix of data: one row (or one column) is
// values over 1..n; otherwise row 1 holds the abscissas and row 2 the values.
bool MatrixData(const Object *o, std::vector<double> *xs, std::vector<Complex> *ys) {
  const auto *t = static_cast<const Tensor *>(o->payload);
  std::vector<int32_t> shape;
  if (!t || !TensorShape(t, shape) || shape.empty() || shape.size() > 2) return false;
  std::vector<Complex> values;
  TensorFlatten(t, values);
  const int32_t rows = shape[0], cols = shape.size() == 2 ? shape[1] : 1;
  if (rows < 1 || cols < 1 || values.size() != static_cast<std::size_t>(rows) * cols) return false;
  if (shape.size() == 1 || rows == 1 || cols == 1) {
    for (std::size_t k = 0; k < values.size(); ++k) xs->push_back(static_cast<double>(k + 1));
    *ys = values;
    return true;
  }
  for (int32_t c = 0; c < cols; ++c) {
    xs->push_back(values[static_cast<std::size_t>(c)].re);
    ys->push_back(values[static_cast<std::size_t>(cols + c)]);
  }
  return true;
}

// Index (1-based) of the last abscissa at or below x, 0 below the first.
int32_t LastAtOrBelow(const std::vector<double> &xs, double x) {
  return static_cast<int32_t>(std::upper_bound(xs.begin(), xs.end(), x) - xs.begin());
}

PlotBitmapPair *DataPlot(const Object *matrix, const std::string &title, double x1, double x2,
                         const CurveRequest &r) {
  std::vector<double> xs;
  std::vector<Complex> ys;
  if (!MatrixData(matrix, &xs, &ys) || xs.empty()) return nullptr;
  const int32_t n = static_cast<int32_t>(xs.size());
  int32_t i1 = 1, i2 = n;
  if (std::is_sorted(xs.begin(), xs.end())) {
    i1 = std::max(1, LastAtOrBelow(xs, x1));
    i2 = std::max(1, LastAtOrBelow(xs, x2));
    if (i1 == i2) {
      if (i2 < n) ++i2;
      else if (i1 > 1) --i1;
    }
  }
  const int32_t span = i2 - i1 + 1;
  if (span > kMaxPictureSide) return nullptr;
  double **s = NewPlotSamples(span);
  if (!s) return nullptr;
  for (int32_t k = 1; k <= span; ++k) {
    s[k][kRowX] = xs[static_cast<std::size_t>(i1 + k - 2)];
    s[k][kRowRe] = ys[static_cast<std::size_t>(i1 + k - 2)].re;
    s[k][kRowIm] = ys[static_cast<std::size_t>(i1 + k - 2)].im;
  }
  FillPolarRows(s);
  return RenderPair(s, span < r.samples && span > 1, r, title);
}

// What a plotted text turned out to be, after its one evaluation.
struct Evaluated {
  std::string text;   // normalised and simplified
  std::string title;
  Object *value = nullptr;
  int32_t owned = 0;
  Environment *scope = nullptr;
  ~Evaluated() {
    if (owned && value) FreeObject(value);
  }
};

bool EvaluateOnce(const char *input, Environment *scratch, Environment *source, Evaluated *out) {
  out->scope = scratch;
  if (!NormaliseForPlot(input, scratch, &out->text) || !Simplify(&out->text, scratch)) return false;
  if (HasTopLevelComma(out->text)) out->text = "[" + out->text + "]";
  out->title = TitleOf(out->text, scratch, source);
  BeginEvaluationBudget(out->text.size());
  out->value = EvaluateExpression(out->text, scratch, &out->owned);
  if (!out->value) return false;
  if (out->value->tag == kTagAlgebraic && AlgebraicText(out->value) && ContainsErrorSentinel(AlgebraicText(out->value)))
    return false;
  return true;
}

// An array becomes a matrix through its "matrix" method, called on a
// temporary name in the scratch scope.
bool ArrayToMatrix(Evaluated *e) {
  const std::string name = FreeName("array", e->text, e->scope, {});
  Object *copy = e->owned ? e->value : CopyObject(e->value, e->scope, 0);
  e->value = nullptr;
  e->owned = 0;
  if (!copy) return false;
  RBSTInsert(&e->scope->objectTable, e->scope->objectTable.root, name.c_str(), copy);
  const std::string call = name + ".matrix()";
  BeginEvaluationBudget(call.size());
  e->value = EvaluateExpression(call, e->scope, &e->owned);
  return e->value && e->value->tag == kTagMatrix;
}

// The unknowns of a surface plot, sorted so that the first is the
// horizontal axis; missing ones get temporary names.
bool SurfaceVariables(const std::string &text, Environment *scratch, int32_t wanted, std::vector<std::string> *names) {
  *names = CollectUnknowns(text, scratch);
  if (static_cast<int32_t>(names->size()) > wanted) return false;
  std::sort(names->begin(), names->end());
  while (static_cast<int32_t>(names->size()) < wanted) names->push_back(FreeName("x", text, scratch, *names));
  return true;
}

bool SurfaceSizes(int32_t *nx, int32_t *ny) {
  *nx = std::max(*nx, 2);
  *ny = std::max(*ny, 2);
  return int64_t{*nx} * *ny <= kMaxSurfaceSamples;
}

// Real and imaginary parts of the text over a grid; `complexPlane` binds one
// variable to x + i*y instead of two real ones.
PlotBitmapPair *SurfacePlot(const char *text, double x1, double x2, double y1, double y2, int32_t nx, int32_t ny,
                            int32_t width, int32_t height, Font *font, Environment *env, bool complexPlane) {
  if (x1 > x2) std::swap(x1, x2);
  if (y1 > y2) std::swap(y1, y2);
  if (!SurfaceSizes(&nx, &ny)) return nullptr;
  Scratch scratch = MakeScratch(env);
  if (!scratch) return nullptr;
  Evaluated e;
  if (!EvaluateOnce(text, scratch.get(), env, &e) || !IsScalarTag(e.value->tag)) return nullptr;
  std::vector<std::string> names;
  if (!SurfaceVariables(e.text, scratch.get(), complexPlane ? 1 : 2, &names)) return nullptr;
  Binding bx(scratch.get(), names[0]);
  std::unique_ptr<Binding> by(complexPlane ? nullptr : new Binding(scratch.get(), names[1]));
  const OwnedMatrix ownedRe(Matrix0(nx, ny)), ownedIm(Matrix0(nx, ny));
  double **re = ownedRe.get();
  double **im = ownedIm.get();
  const bool sized = re && im && static_cast<int32_t>(re[0][0]) == nx && static_cast<int32_t>(re[1][0]) == ny &&
                     static_cast<int32_t>(im[0][0]) == nx && static_cast<int32_t>(im[1][0]) == ny;
  const unsigned char *cancel = env ? env->cancelFlag : nullptr;
  bool stopped = !sized;
  for (int32_t i = 1; i <= nx && !stopped; ++i) {
    const double x = x1 + (i - 1) * (x2 - x1) / (nx - 1);
    for (int32_t j = 1; j <= ny && !stopped; ++j) {
      if (Cancelled(scratch.get(), cancel)) {
        stopped = true;
        break;
      }
      const double y = y1 + (j - 1) * (y2 - y1) / (ny - 1);
      Complex z{kNaN, kNaN};
      const bool set = complexPlane ? bx.Set(x, y) : bx.Set(x, 0.0) && by->Set(y, 0.0);
      if (set) EvaluateSample(e.text, scratch.get(), &z);
      re[i][j] = z.re;
      im[i][j] = z.im;
    }
  }
  PlotBitmapPair *pair = nullptr;
  if (!stopped) {
    uint32_t **first = RenderSurface(re, x1, x2, y1, y2, width, height, kRealColour, font);
    uint32_t **second = RenderSurface(im, x1, x2, y1, y2, width, height, kImaginaryColour, font);
    if (first) DrawTitle(first, "real part of " + e.title, font);
    if (second) DrawTitle(second, "imaginary part of " + e.title, font);
    pair = EncodePair(first, second);
  }
  return pair;
}

// ---- Fourier plots -----------------------------------------------------------------------

// Transform lengths: a power of two from 16 up to the largest picture side.
int32_t FourierLength(int32_t samples) {
  int32_t n = 16;
  while (n < samples && n < kMaxPictureSide) n *= 2;
  return n;
}

// The one-unknown function of `text` sampled on the grid of a transform of
// length n over [x1, x2): x1 + (k - 1)(x2 - x1)/n, the end excluded as one
// period. Null for anything but a scalar function, or when cancelled.
double **SampleFunctionText(const char *text, double x1, double x2, int32_t n, bool periodic, Environment *env,
                            std::string *title) {
  Scratch scratch = MakeScratch(env);
  if (!scratch) return nullptr;
  Evaluated e;
  if (!EvaluateOnce(text, scratch.get(), env, &e)) return nullptr;
  if (!IsScalarTag(e.value->tag) && e.value->tag != kTagBignum) return nullptr;
  PlotVariable variable;
  if (!PrepareVariable(e.text, scratch.get(), &variable)) return nullptr;
  *title = e.title;
  const double last = periodic ? x2 - (x2 - x1) / n : x2;
  return SampleForPlot(n, scratch.get(), e.text, x1, last, variable.name, env ? env->cancelFlag : nullptr);
}

// The samples of rows 3 and 4 as a VectorC, non-finite values read as 0 so
// that one bad sample does not turn the whole transform into NaN.
Complex *SignalVector(double **s, int32_t n) {
  Complex *v = VectorC(n);
  if (!v || static_cast<int32_t>(v[0].re) != n) {
    FreeVectorC(v);
    return nullptr;
  }
  for (int32_t k = 1; k <= n; ++k) {
    const double re = s[k][kRowRe], im = s[k][kRowIm];
    v[k] = {std::isfinite(re) ? re : 0.0, std::isfinite(im) ? im : 0.0};
  }
  return v;
}

// One curve picture (real and imaginary part) of a PlotSamples matrix,
// resampled linearly to the width of the picture.
uint32_t **RenderRealImaginary(double **s, const CurveRequest &r, const std::string &title) {
  const int32_t n = static_cast<int32_t>(s[0][0]);
  OwnedMatrix wide(n != r.width && n > 1 ? Stretch(s, r.width) : nullptr);
  const double inf = std::numeric_limits<double>::infinity();
  OwnedPicture m(RenderCurve(wide ? wide.get() : s, r.height, kRealColour, kImaginaryColour, 0, 0, r.font, -inf,
                             inf, -inf, inf));
  wide.reset();
  if (m) DrawTitle(m.get(), title, r.font);
  return m.release();
}

PlotBitmapPair *FourierPair(double **signal, double **second, const CurveRequest &r, const std::string &firstTitle,
                            const std::string &secondTitle) {
  OwnedPicture a(RenderRealImaginary(signal, r, firstTitle));
  OwnedPicture b(RenderRealImaginary(second, r, secondTitle));
  return EncodePair(a.release(), b.release());
}

}  // namespace

// ---- variables and sampling -------------------------------------------------------------

Environment *NewPlotScratch(Environment *source) {
  return Guard(static_cast<Environment *>(nullptr), [&] { return MakeScratch(source).release(); });
}

bool PrepareTextForSampling(const char *input, Environment *scratch, std::string *text) {
  if (!scratch || !text) return false;
  return Guard(false, [&] { return NormaliseForPlot(input, scratch, text) && Simplify(text, scratch); });
}

bool PrepareVariable(std::string_view text, Environment *env, PlotVariable *variable) {
  if (!env || !variable) return false;
  return Guard(false, [&] {
    const std::vector<std::string> unknowns = CollectUnknowns(text, env);
    if (unknowns.size() > 1) return false;
    variable->temporary = unknowns.empty();
    variable->name = unknowns.empty() ? FreeName("x", text, env, {}) : unknowns.front();
    return true;
  });
}

double **FourierTransformSamples(double **signal) {
  const int32_t n = signal && signal[0] ? static_cast<int32_t>(signal[0][0]) : 0;
  if (n < 2 || (n & (n - 1)) != 0 || n > kMaxPictureSide) return nullptr;
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const double dx = signal[2][kRowX] - signal[1][kRowX];
    if (!(dx > 0.0)) return nullptr;
    const OwnedVectorC owner(SignalVector(signal, n));
    Complex *v = owner.get();
    OwnedMatrix samples(v ? NewPlotSamples(n) : nullptr);
    double **t = samples.get();
    if (!t) return nullptr;
    FFTV(v, -1);
    // The centred transform puts the origin at sample n/2 + 1, abscissa xc;
    // the factor exp(-2 pi i f xc) moves it to x = 0, and dx sqrt(n) undoes
    // the unitary scaling, so that t approximates the integral of
    // s(x) exp(-2 pi i f x) dx.
    const int32_t centre = n / 2 + 1;
    const double xc = signal[centre][kRowX], df = 1.0 / (n * dx), scale = dx * std::sqrt(static_cast<double>(n));
    for (int32_t k = 1; k <= n; ++k) {
      const double f = (k - centre) * df, angle = -kTwoPi * f * xc;
      const double c = std::cos(angle), sn = std::sin(angle);
      t[k][kRowX] = f;
      t[k][kRowRe] = scale * (v[k].re * c - v[k].im * sn);
      t[k][kRowIm] = scale * (v[k].re * sn + v[k].im * c);
    }
    FillPolarRows(t);
    return samples.release();
  });
}

double **SampleForPlot(int32_t n, Environment *env, std::string_view text, double x1, double x2,
                       const std::string &variable, const unsigned char *cancel) {
  if (!env || n < 1 || n > kMaxPictureSide || variable.empty()) return nullptr;
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    OwnedMatrix samples(NewPlotSamples(n));
    double **m = samples.get();
    if (!m) return nullptr;
    Binding binding(env, variable);
    bool scalar = true;
    for (int32_t k = 1; k <= n; ++k) {
      if (Cancelled(env, cancel)) return nullptr;
      const double x = n > 1 ? (k == n ? x2 : x1 + (k - 1) * (x2 - x1) / (n - 1)) : x1;
      m[k][kRowX] = x;
      Complex z{kNaN, kNaN};
      if (scalar && binding.Set(x, 0.0)) scalar = EvaluateSample(text, env, &z);
      m[k][kRowRe] = z.re;
      m[k][kRowIm] = z.im;
    }
    FillPolarRows(m);
    return samples.release();
  });
}

}  // namespace qvx

using namespace qvx;

extern "C" {

QVX_API PlotBitmapPair *GeneratePlotBitmaps(const char *text, double x1, double x2, int32_t samples,
                                            const double *lowerClamps, const double *upperClamps, int32_t width,
                                            int32_t height, Font *font, Environment *env) noexcept {
  if (!text || width < 1 || height < 1 || width > kMaxPictureSide || height > kMaxPictureSide) return nullptr;
  if (!std::isfinite(x1) || !std::isfinite(x2)) return nullptr;
  return Guard(static_cast<PlotBitmapPair *>(nullptr), [&]() -> PlotBitmapPair * {
    if (x1 > x2) std::swap(x1, x2);
    Scratch scratch = MakeScratch(env);
    if (!scratch) return nullptr;
    Evaluated e;
    if (!EvaluateOnce(text, scratch.get(), env, &e)) return nullptr;
    const CurveRequest request{lowerClamps, upperClamps, samples, width, height, font};
    const int32_t tag = e.value->tag;
    if (IsScalarTag(tag) || tag == kTagBignum)
      return FunctionPlot(e.text, e.title, x1, x2, request, scratch.get(), env ? env->cancelFlag : nullptr);
    if (tag == kTagArray && !ArrayToMatrix(&e)) return nullptr;
    if (e.value && e.value->tag == kTagMatrix) return DataPlot(e.value, e.title, x1, x2, request);
    return nullptr;
  });
}

QVX_API PlotBitmapPair *GeneratePlotBitmaps2D(const char *text, double x1, double x2, double y1, double y2,
                                              int32_t nx, int32_t ny, int32_t width, int32_t height, Font *font,
                                              Environment *env) noexcept {
  if (!text || !std::isfinite(x1) || !std::isfinite(x2) || !std::isfinite(y1) || !std::isfinite(y2)) return nullptr;
  return Guard(static_cast<PlotBitmapPair *>(nullptr),
               [&] { return SurfacePlot(text, x1, x2, y1, y2, nx, ny, width, height, font, env, false); });
}

QVX_API PlotBitmapPair *GeneratePlotBitmapsComplex(const char *text, double x1, double x2, double y1, double y2,
                                                   int32_t nx, int32_t ny, int32_t width, int32_t height,
                                                   Font *font, Environment *env) noexcept {
  if (!text || !std::isfinite(x1) || !std::isfinite(x2) || !std::isfinite(y1) || !std::isfinite(y2)) return nullptr;
  return Guard(static_cast<PlotBitmapPair *>(nullptr),
               [&] { return SurfacePlot(text, x1, x2, y1, y2, nx, ny, width, height, font, env, true); });
}

QVX_API unsigned char *GenerateParametricPlotBitmap(const char *text, double t1, double t2, int32_t samples,
                                                    int32_t width, int32_t height, Font *font,
                                                    Environment *env) noexcept {
  if (!text || !std::isfinite(t1) || !std::isfinite(t2)) return nullptr;
  return Guard(static_cast<unsigned char *>(nullptr), [&]() -> unsigned char * {
    if (t1 > t2) std::swap(t1, t2);
    const int32_t n = std::max(samples, 2);
    if (n > kMaxPictureSide) return nullptr;
    Scratch scratch = MakeScratch(env);
    if (!scratch) return nullptr;
    std::string whole;
    if (!NormaliseForPlot(text, scratch.get(), &whole)) return nullptr;
    std::vector<std::string> parts = SplitArgumentList(whole, kOpenParenBlockSquare, kCloseParenBlockSquare, ',', 1);
    if (parts.size() != 2) return nullptr;
    for (std::string &p : parts)
      if (!Simplify(&p, scratch.get())) return nullptr;
    PlotVariable variable;
    if (!PrepareVariable(parts[0] + "," + parts[1], scratch.get(), &variable)) return nullptr;
    const unsigned char *cancel = env ? env->cancelFlag : nullptr;
    const OwnedMatrix sx(SampleForPlot(n, scratch.get(), parts[0], t1, t2, variable.name, cancel));
    const OwnedMatrix sy(sx ? SampleForPlot(n, scratch.get(), parts[1], t1, t2, variable.name, cancel) : nullptr);
    const OwnedVector xs(Vector(n)), ys(Vector(n));
    if (!sx || !sy || !xs || !ys || static_cast<int32_t>(xs[0]) != n || static_cast<int32_t>(ys[0]) != n)
      return nullptr;
    for (int32_t k = 1; k <= n; ++k) {
      xs[k] = sx.get()[k][kRowRe];
      ys[k] = sy.get()[k][kRowRe];
    }
    const OwnedPicture m(RenderParametric(xs.get(), ys.get(), width, height, kRealColour, font));
    if (!m) return nullptr;
    DrawTitle(m.get(), TitleOf(parts[0] + "," + parts[1], scratch.get(), env), font);
    return EncodeBitmap(m.get());
  });
}

QVX_API PlotBitmapPair *GenerateFourierPlotBitmaps(const char *text, double x1, double x2, int32_t samples,
                                                   int32_t width, int32_t height, Font *font,
                                                   Environment *env) noexcept {
  if (!text || width < 1 || height < 1 || width > kMaxPictureSide || height > kMaxPictureSide) return nullptr;
  if (!std::isfinite(x1) || !std::isfinite(x2) || x1 == x2) return nullptr;
  return Guard(static_cast<PlotBitmapPair *>(nullptr), [&]() -> PlotBitmapPair * {
    if (x1 > x2) std::swap(x1, x2);
    const int32_t n = FourierLength(samples);
    std::string title;
    const OwnedMatrix signal(SampleFunctionText(text, x1, x2, n, true, env, &title));
    if (!signal) return nullptr;
    const OwnedMatrix transform(FourierTransformSamples(signal.get()));
    if (!transform) return nullptr;
    const CurveRequest r{nullptr, nullptr, n, width, height, font};
    return FourierPair(signal.get(), transform.get(), r, "Signal S: " + title, "Fourier Transform: FT[S]");
  });
}

QVX_API PlotBitmapPair *GenerateSpectrallyFilteredPlotBitmaps(const char *text, const char *filter, double x1,
                                                              double x2, int32_t samples, int32_t width,
                                                              int32_t height, Font *font,
                                                              Environment *env) noexcept {
  if (!text || !filter || width < 1 || height < 1 || width > kMaxPictureSide || height > kMaxPictureSide)
    return nullptr;
  if (!std::isfinite(x1) || !std::isfinite(x2) || x1 == x2) return nullptr;
  return Guard(static_cast<PlotBitmapPair *>(nullptr), [&]() -> PlotBitmapPair * {
    if (x1 > x2) std::swap(x1, x2);
    const int32_t n = FourierLength(samples);
    std::string title, filterTitle;
    const OwnedMatrix ownedSignal(SampleFunctionText(text, x1, x2, n, true, env, &title));
    double **signal = ownedSignal.get();
    if (!signal) return nullptr;
    // The filter is a function of frequency on the centred grid of the
    // transform, sampled in a scope of its own so that its unknown may share
    // the signal's name.
    const double df = 1.0 / (x2 - x1), fc = static_cast<double>(n / 2 + 1);
    const OwnedMatrix ownedGain(SampleFunctionText(filter, (1 - fc) * df, (n - fc) * df, n, false, env, &filterTitle));
    double **gain = ownedGain.get();
    const OwnedVectorC ownedV(gain ? SignalVector(signal, n) : nullptr);
    Complex *v = ownedV.get();
    const OwnedMatrix ownedFiltered(v ? NewPlotSamples(n) : nullptr);
    double **filtered = ownedFiltered.get();
    PlotBitmapPair *pair = nullptr;
    if (filtered) {
      FFTV(v, -1);
      for (int32_t k = 1; k <= n; ++k) {
        const double hr = gain[k][kRowRe], hi = gain[k][kRowIm];
        const Complex z = v[k];
        v[k] = {z.re * hr - z.im * hi, z.re * hi + z.im * hr};
      }
      FFTV(v, 1);
      for (int32_t k = 1; k <= n; ++k) {
        filtered[k][kRowX] = signal[k][kRowX];
        filtered[k][kRowRe] = v[k].re;
        filtered[k][kRowIm] = v[k].im;
      }
      FillPolarRows(filtered);
      const CurveRequest r{nullptr, nullptr, n, width, height, font};
      pair = FourierPair(signal, filtered, r, "Signal S: " + title,
                         "Inverse Fourier Transform of (" + filterTitle + ")*FT[S]");
    }
    return pair;
  });
}

}  // extern "C"
