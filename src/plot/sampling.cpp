// Sampling functions onto grids: the Discretize family (uniform,
// geometrically graded, adaptive, N-dimensional, spherical grids, ODE
// solutions), grids of numbers (Range, PrimeNumbersRange), expansions of a
// function (Chebyshev, trigonometric resampling by the discrete Fourier
// transform, spherical harmonics), the Nystrom solution of Fredholm
// equations of the second kind, and adaptive sampling of an expression text.
//
// Callbacks are plain function pointers, some with a params pointer passed
// through unchanged. Uniform grids include both ends: point i of n is
// x1 + (i - 1)(x2 - x1)/(n - 1), the last exactly x2 and a single point x1.
// AutoSample1D(C) is the one member that reaches the script engine: it
// evaluates its text in a scratch copy of the caller's scope through the
// plot sampler, and polls the caller's cancel flag before every sample.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "common/complex.h"
#include "libquorvex.h"
#include "numerics/calculus/calculus.h"
#include "numerics/interpolation/interpolation_internal.h"
#include "objects/environment.h"
#include "plot/plot.h"

namespace {

using namespace qvx::interp;
using qvx::Guard;
using qvx::MulFour;

Complex Cx(double re, double im) { return Complex{re, im}; }
Complex Add(Complex a, Complex b) { return Complex{a.re + b.re, a.im + b.im}; }
Complex Scale(Complex a, double s) { return Complex{a.re * s, a.im * s}; }

constexpr int32_t kMaxSystem = 2000;         // largest Nystrom system
constexpr int64_t kMaxTrigWork = int64_t{1} << 27;  // (m + n) * m of DiscretizeDFT
constexpr int64_t kMaxSieveSpan = int64_t{1} << 27;
constexpr int32_t kAutoPasses = 14;
constexpr int32_t kMaxAutoPoints = 16384;

// A 1D set over n points of the uniform grid, ordinates from f.
template <class F>
double **SampleSet(double x1, double x2, int32_t n, F f) {
  if (n < 1 || !std::isfinite(x1) || !std::isfinite(x2)) return NewSet(0);
  double **out = NewSet(n);
  if (Points(out) != n) return out;
  for (int32_t i = 1; i <= n; ++i) {
    const double x = GridPoint(x1, x2, n, i);
    out[1][i] = x;
    out[2][i] = f(x);
  }
  return out;
}

template <class F>
Complex **SampleSetC(double x1, double x2, int32_t n, F f) {
  if (n < 1 || !std::isfinite(x1) || !std::isfinite(x2)) return NewSetC(0);
  Complex **out = NewSetC(n);
  if (Points(out) != n) return out;
  for (int32_t i = 1; i <= n; ++i) {
    const double x = GridPoint(x1, x2, n, i);
    out[1][i] = Cx(x, 0.0);
    out[2][i] = f(x);
  }
  return out;
}

template <class F>
double *SampleValues(double x1, double x2, int32_t n, F f) {
  if (n < 1 || !std::isfinite(x1) || !std::isfinite(x2)) return NewVector(0);
  double *out = NewVector(n);
  if (Len(out) == n)
    for (int32_t i = 1; i <= n; ++i) out[i] = f(GridPoint(x1, x2, n, i));
  return out;
}

template <class F>
Complex *SampleValuesC(double x1, double x2, int32_t n, F f) {
  if (n < 1 || !std::isfinite(x1) || !std::isfinite(x2)) return NewVectorC(0);
  Complex *out = NewVectorC(n);
  if (Len(out) == n)
    for (int32_t i = 1; i <= n; ++i) out[i] = f(GridPoint(x1, x2, n, i));
  return out;
}

// Abscissas from x1 to x2 whose n - 1 intervals grow geometrically, the
// last being `ratio` times the first; a bad ratio gives the uniform grid.
std::vector<double> GradedGrid(double x1, double x2, int32_t n, double ratio) {
  std::vector<double> x(static_cast<size_t>(n));
  if (n == 1) {
    x[0] = x1;
    return x;
  }
  const double q = (n > 2 && ratio > 0.0 && std::isfinite(ratio)) ? std::pow(ratio, 1.0 / (n - 2)) : 1.0;
  std::vector<double> partial(static_cast<size_t>(n), 0.0);
  double step = 1.0;
  for (int32_t k = 1; k < n; ++k) {
    partial[k] = partial[k - 1] + step;
    step *= q;
  }
  for (int32_t k = 0; k < n; ++k) x[k] = x1 + (x2 - x1) * (partial[k] / partial[n - 1]);
  x[n - 1] = x2;
  return x;
}

// Points of an N-dimensional box: dims (VectorL) points per axis, the last
// axis running fastest. False when the sizes do not fit together or the
// grid would be too large.
bool BoxGrid(const double *lower, const double *upper, const int32_t *dims, int32_t *d, int64_t *count) {
  *d = Len(dims);
  *count = 0;
  if (*d < 1 || Len(lower) < *d || Len(upper) < *d) return false;
  int64_t n = 1;
  for (int32_t k = 1; k <= *d; ++k) {
    if (dims[k] < 1) return false;
    n *= dims[k];
    if (n * *d >= kMaxElements) return false;
  }
  *count = n;
  return true;
}

// Coordinates of grid point p (0-based) into r[1..d].
void BoxPoint(const double *lower, const double *upper, const int32_t *dims, int32_t d, int64_t p, double *r) {
  for (int32_t k = d; k >= 1; --k) {
    const int32_t i = static_cast<int32_t>(p % dims[k]);
    p /= dims[k];
    r[k] = GridPoint(lower[k], upper[k], dims[k], i + 1);
  }
}

// Gaussian elimination with partial pivoting on a dense row-major system
// (a is n by n, b the right side, overwritten by the solution). False for
// a singular matrix.
template <class T, class AbsF>
bool SolveDense(std::vector<T> &a, std::vector<T> &b, int32_t n, AbsF abs, T (*div)(T, T), T (*sub)(T, T),
                T (*mul)(T, T)) {
  for (int32_t c = 0; c < n; ++c) {
    int32_t pivot = c;
    for (int32_t r = c + 1; r < n; ++r)
      if (abs(a[static_cast<size_t>(r) * n + c]) > abs(a[static_cast<size_t>(pivot) * n + c])) pivot = r;
    if (!(abs(a[static_cast<size_t>(pivot) * n + c]) > 0.0)) return false;
    if (pivot != c) {
      for (int32_t k = 0; k < n; ++k) std::swap(a[static_cast<size_t>(c) * n + k], a[static_cast<size_t>(pivot) * n + k]);
      std::swap(b[c], b[pivot]);
    }
    const T p = a[static_cast<size_t>(c) * n + c];
    for (int32_t r = c + 1; r < n; ++r) {
      const T f = div(a[static_cast<size_t>(r) * n + c], p);
      for (int32_t k = c; k < n; ++k)
        a[static_cast<size_t>(r) * n + k] = sub(a[static_cast<size_t>(r) * n + k], mul(f, a[static_cast<size_t>(c) * n + k]));
      b[r] = sub(b[r], mul(f, b[c]));
    }
  }
  for (int32_t r = n - 1; r >= 0; --r) {
    T s = b[r];
    for (int32_t k = r + 1; k < n; ++k) s = sub(s, mul(a[static_cast<size_t>(r) * n + k], b[k]));
    b[r] = div(s, a[static_cast<size_t>(r) * n + r]);
  }
  return true;
}

double RDiv(double a, double b) { return a / b; }
double RSub(double a, double b) { return a - b; }
double RMul(double a, double b) { return a * b; }
Complex CDiv(Complex a, Complex b) { return qvx::DivSmith(a, b); }
Complex CSub(Complex a, Complex b) { return Complex{a.re - b.re, a.im - b.im}; }
Complex CMul(Complex a, Complex b) { return MulFour(a, b); }

// Gauss-Legendre nodes and weights on [a, b].
void GaussRule(double a, double b, int32_t n, std::vector<double> *t, std::vector<double> *w) {
  t->assign(static_cast<size_t>(n), 0.0);
  w->assign(static_cast<size_t>(n), 0.0);
  qvx::calculus::LegendreRule(n, t->data(), w->data());
  const double half = 0.5 * (b - a), mid = 0.5 * (a + b);
  for (int32_t i = 0; i < n; ++i) {
    (*t)[i] = mid + half * (*t)[i];
    (*w)[i] *= half;
  }
}

// Composite Simpson weights for m equally spaced points of spacing h: an odd
// interval count ends with the three-eighths rule on the last three
// intervals; two points get the trapezoid.
std::vector<double> SimpsonWeights(int32_t m, double h) {
  std::vector<double> w(static_cast<size_t>(m), 0.0);
  if (m == 2) {
    w[0] = w[1] = 0.5 * h;
    return w;
  }
  if (m < 2) return w;
  const int32_t intervals = m - 1;
  const int32_t simpson = intervals % 2 == 0 ? intervals : intervals - 3;
  for (int32_t k = 0; k + 2 <= simpson; k += 2) {
    w[k] += h / 3.0;
    w[k + 1] += 4.0 * h / 3.0;
    w[k + 2] += h / 3.0;
  }
  if (simpson != intervals) {
    const int32_t s = simpson;
    w[s] += 3.0 * h / 8.0;
    w[s + 1] += 9.0 * h / 8.0;
    w[s + 2] += 9.0 * h / 8.0;
    w[s + 3] += 3.0 * h / 8.0;
  }
  return w;
}

// Angular integral of a grid of values m[j][i] (column j: phi_j =
// 2 pi (j - 1)/nPhi; row i: the polar coordinate). The phi direction is
// periodic, so its trapezoid rule is the plain mean times 2 pi.
double SphericalIntegral(double **values, bool cosineGrid) {
  const int32_t nPhi = Cols(values), nTheta = Rows(values);
  if (nPhi < 1 || nTheta < 2) return kNaN;
  const double h = (cosineGrid ? 2.0 : kPi) / (nTheta - 1);
  const std::vector<double> w = SimpsonWeights(nTheta, h);
  double total = 0.0;
  for (int32_t i = 1; i <= nTheta; ++i) {
    double ring = 0.0;
    for (int32_t j = 1; j <= nPhi; ++j) ring += values[j][i];
    const double weight = cosineGrid ? 1.0 : std::sin(kPi * (i - 1) / (nTheta - 1));
    total += w[i - 1] * weight * ring;
  }
  return total * (2.0 * kPi / nPhi);
}

template <class F>
double **SphericalGrid(F f, void *params, double radius, int32_t nTheta, int32_t nPhi, bool cosineGrid) {
  if (!f || nTheta < 2 || nPhi < 1 || !std::isfinite(radius)) return NewMatrix(0, 0);
  qvx::OwnedMatrix grid(NewMatrix(nPhi, nTheta));
  double **out = grid.get();
  if (Cols(out) != nPhi) return grid.release();
  const qvx::OwnedVector point(NewVector(3));
  double *r = point.get();
  if (Len(r) != 3) {
    grid.reset();
    return NewMatrix(0, 0);
  }
  for (int32_t i = 1; i <= nTheta; ++i) {
    double c, s;
    if (cosineGrid) {
      c = GridPoint(1.0, -1.0, nTheta, i);
      s = std::sqrt(std::max(0.0, 1.0 - c * c));
    } else {
      const double theta = kPi * (i - 1) / (nTheta - 1);
      c = std::cos(theta);
      s = std::sin(theta);
    }
    for (int32_t j = 1; j <= nPhi; ++j) {
      const double phi = 2.0 * kPi * (j - 1) / nPhi;
      r[1] = radius * s * std::cos(phi);
      r[2] = radius * s * std::sin(phi);
      r[3] = radius * c;
      out[j][i] = f(r, params);
    }
  }
  return grid.release();
}

// ---- adaptive sampling of an expression text ------------------------------------------

struct ScratchCloser {
  void operator()(Environment *e) const { TerminateEnvironment(e); }
};

struct Sample {
  double x;
  Complex z;
};

// Samples of the text, refined where the midpoint of an interval strays
// from the chord by more than tolerance times the spread of the first
// samples. Empty when the text can't be sampled or the work was cancelled.
std::vector<Sample> AutoSample(const char *text, double x1, double x2, int32_t n, double tolerance,
                               Environment *env, bool *ok) {
  *ok = false;
  std::vector<Sample> out;
  if (!text || !std::isfinite(x1) || !std::isfinite(x2)) return out;
  if (x1 > x2) std::swap(x1, x2);
  n = std::clamp(n, 3, 4096);
  if (!(tolerance > 0.0)) tolerance = 1e-3;
  std::unique_ptr<Environment, ScratchCloser> scratch(qvx::NewPlotScratch(env));
  if (!scratch) return out;
  std::string prepared;
  if (!qvx::PrepareTextForSampling(text, scratch.get(), &prepared)) return out;
  qvx::PlotVariable variable;
  if (!qvx::PrepareVariable(prepared, scratch.get(), &variable)) return out;
  const unsigned char *cancel = env ? env->cancelFlag : nullptr;
  const qvx::OwnedMatrix firstSamples(qvx::SampleForPlot(n, scratch.get(), prepared, x1, x2, variable.name, cancel));
  double **first = firstSamples.get();
  if (!first) return out;
  out.reserve(static_cast<size_t>(n) * 2);
  double lo = INFINITY, hi = -INFINITY;
  for (int32_t k = 1; k <= n; ++k) {
    const Sample s{first[k][qvx::kRowX], Cx(first[k][qvx::kRowRe], first[k][qvx::kRowIm])};
    out.push_back(s);
    for (double v : {s.z.re, s.z.im})
      if (std::isfinite(v)) {
        lo = std::min(lo, v);
        hi = std::max(hi, v);
      }
  }
  const double scale = hi > lo ? hi - lo : (std::isfinite(hi) ? std::max(std::fabs(hi), 1.0) : 1.0);
  const double limit = tolerance * scale;
  const double minWidth = (x2 - x1) * 1e-9;
  // Intervals still to be checked, by their left index into `out`; each
  // pass checks them all and inserts the midpoints it evaluated.
  std::vector<char> open(out.size() - 1, 1);
  for (int32_t pass = 0; pass < kAutoPasses; ++pass) {
    std::vector<Sample> next;
    std::vector<char> nextOpen;
    next.reserve(out.size() * 2);
    bool any = false;
    int32_t inserted = 0;
    for (size_t k = 0; k + 1 < out.size(); ++k) {
      next.push_back(out[k]);
      if (!open[k]) {
        nextOpen.push_back(0);
        continue;
      }
      const Sample &a = out[k], &b = out[k + 1];
      if (b.x - a.x <= minWidth || static_cast<int32_t>(out.size()) + inserted >= kMaxAutoPoints) {
        nextOpen.push_back(0);
        continue;
      }
      const double xm = 0.5 * (a.x + b.x);
      double **m = qvx::SampleForPlot(1, scratch.get(), prepared, xm, xm, variable.name, cancel);
      if (!m) return std::vector<Sample>();
      const Sample mid{xm, Cx(m[1][qvx::kRowRe], m[1][qvx::kRowIm])};
      FreeMatrix(m);
      auto strays = [&](double va, double vm, double vb) {
        if (!std::isfinite(va) || !std::isfinite(vb)) return false;
        if (!std::isfinite(vm)) return true;
        return std::fabs(vm - 0.5 * (va + vb)) > limit;
      };
      const bool refine = strays(a.z.re, mid.z.re, b.z.re) || strays(a.z.im, mid.z.im, b.z.im);
      next.push_back(mid);
      ++inserted;
      nextOpen.push_back(refine ? 1 : 0);
      nextOpen.push_back(refine ? 1 : 0);
      any = any || refine;
    }
    next.push_back(out.back());
    out.swap(next);
    open.swap(nextOpen);
    if (!any) break;
  }
  *ok = true;
  return out;
}

// Normalised associated Legendre function of cos(theta) scaled so that
// P * e^(i m phi) is the orthonormal spherical harmonic (m >= 0), by the
// stable three-term recurrence in l from the closed form at l = m.
double NormalisedLegendre(int32_t l, int32_t m, double theta) {
  const double x = std::cos(theta), s = std::sin(theta);
  double pmm = 1.0 / std::sqrt(4.0 * kPi);
  for (int32_t k = 1; k <= m; ++k) pmm *= -std::sqrt((2.0 * k + 1.0) / (2.0 * k)) * s;
  if (l == m) return pmm;
  double pm1 = x * std::sqrt(2.0 * m + 3.0) * pmm;
  if (l == m + 1) return pm1;
  double p2 = pmm, p1 = pm1, p = 0.0;
  for (int32_t ll = m + 2; ll <= l; ++ll) {
    const double a = std::sqrt((4.0 * ll * ll - 1.0) / (static_cast<double>(ll) * ll - static_cast<double>(m) * m));
    const double b = std::sqrt((static_cast<double>(ll - 1) * (ll - 1) - static_cast<double>(m) * m) /
                               (4.0 * (ll - 1.0) * (ll - 1.0) - 1.0));
    p = a * (x * p1 - b * p2);
    p2 = p1;
    p1 = p;
  }
  return p;
}

}  // namespace

extern "C" {

// ---- domains and number grids --------------------------------------------------------

QVX_API double *DiscretizeDomain(double x1, double x2, int32_t n) noexcept {
  return SampleValues(x1, x2, n, [](double x) { return x; });
}

QVX_API Complex *DiscretizeDomainC(double x1, double x2, int32_t n) noexcept {
  return SampleValuesC(x1, x2, n, [](double x) { return Cx(x, 0.0); });
}

QVX_API void DiscretizeDomainIP(double *v, double x1, double x2) noexcept {
  const int32_t n = Len(v);
  for (int32_t i = 1; i <= n; ++i) v[i] = GridPoint(x1, x2, n, i);
}

QVX_API double **DiscretizeDomainN(const double *lower, const double *upper, const int32_t *dims) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    int32_t d = 0;
    int64_t count = 0;
    if (!BoxGrid(lower, upper, dims, &d, &count)) return NewMatrix(0, 0);
    double **out = NewMatrix(d, static_cast<int32_t>(count));
    if (Cols(out) != d) return out;
    std::vector<double> r(static_cast<size_t>(d) + 1);
    for (int64_t p = 0; p < count; ++p) {
      BoxPoint(lower, upper, dims, d, p, r.data());
      for (int32_t k = 1; k <= d; ++k) out[k][p + 1] = r[k];
    }
    return out;
  });
}

QVX_API double *Range(double first, double last, double step) noexcept {
  if (!std::isfinite(first) || !std::isfinite(last) || !std::isfinite(step) || step == 0.0) return NewVector(0);
  const double span = (last - first) / step;
  if (span < -1e-9) return NewVector(0);
  // A relative slack lets a last value that the steps reach up to rounding
  // belong to the range.
  const double count = std::floor(span + 1e-9 * std::max(1.0, std::fabs(span))) + 1.0;
  if (count >= static_cast<double>(kMaxElements)) return NewVector(0);
  const int32_t n = static_cast<int32_t>(count);
  double *out = NewVector(n);
  if (Len(out) == n)
    for (int32_t i = 1; i <= n; ++i) out[i] = first + (i - 1) * step;
  return out;
}

QVX_API int32_t *PrimeNumbersRange(int32_t low, int32_t high) noexcept {
  // Segmented sieve of Eratosthenes: the primes up to sqrt(high) strike out
  // their multiples in [low, high] only.
  return Guard(static_cast<int32_t *>(nullptr), [&]() -> int32_t * {
    low = std::max(low, 2);
    if (high < low || int64_t{high} - low + 1 > kMaxSieveSpan) return Vector0L(0);
    const int32_t root = static_cast<int32_t>(std::sqrt(static_cast<double>(high))) + 1;
    std::vector<char> small(static_cast<size_t>(root) + 1, 1);
    std::vector<char> segment(static_cast<size_t>(int64_t{high} - low + 1), 1);
    for (int64_t p = 2; p <= root; ++p) {
      if (!small[p]) continue;
      for (int64_t q = p * p; q <= root; q += p) small[q] = 0;
      int64_t start = std::max(p * p, (int64_t{low} + p - 1) / p * p);
      for (int64_t q = start; q <= high; q += p) segment[q - low] = 0;
    }
    int32_t count = 0;
    for (char c : segment) count += c;
    int32_t *out = VectorL(count);
    if (!out || out[0] != count) {
      FreeVectorL(out);
      return Vector0L(0);
    }
    int32_t k = 0;
    for (size_t i = 0; i < segment.size(); ++i)
      if (segment[i]) out[++k] = static_cast<int32_t>(low + static_cast<int64_t>(i));
    return out;
  });
}

// ---- sampling functions ----------------------------------------------------------------

QVX_API double *DiscretizeV(RealFn f, const double *x) noexcept {
  const int32_t n = f ? Len(x) : 0;
  double *out = NewVector(n);
  if (Len(out) == n)
    for (int32_t i = 1; i <= n; ++i) out[i] = f(x[i]);
  return out;
}

QVX_API double **Discretize1D(RealFn f, double x1, double x2, int32_t n) noexcept {
  if (!f) return NewSet(0);
  return SampleSet(x1, x2, n, f);
}

QVX_API Complex **Discretize1DC(ComplexFn f, double x1, double x2, int32_t n) noexcept {
  if (!f) return NewSetC(0);
  return SampleSetC(x1, x2, n, f);
}

QVX_API double *DiscretizeN1(RealFn f, double x1, double x2, int32_t n) noexcept {
  if (!f) return NewVector(0);
  return SampleValues(x1, x2, n, f);
}

QVX_API Complex *DiscretizeC(ComplexFn f, double x1, double x2, int32_t n) noexcept {
  if (!f) return NewVectorC(0);
  return SampleValuesC(x1, x2, n, f);
}

QVX_API Complex **DiscretizeCC(ComplexFnZ f, Complex z1, Complex z2, int32_t n) noexcept {
  if (!f || n < 1) return NewSetC(0);
  Complex **out = NewSetC(n);
  if (Points(out) != n) return out;
  for (int32_t i = 1; i <= n; ++i) {
    const Complex z = Cx(GridPoint(z1.re, z2.re, n, i), GridPoint(z1.im, z2.im, n, i));
    out[1][i] = z;
    out[2][i] = f(z);
  }
  return out;
}

QVX_API double *DiscretizeP(RealFnP f, void *params, double x1, double x2, int32_t n) noexcept {
  if (!f) return NewVector(0);
  return SampleValues(x1, x2, n, [&](double x) { return f(x, params); });
}

QVX_API Complex *DiscretizePC(ComplexFnP f, void *params, double x1, double x2, int32_t n) noexcept {
  if (!f) return NewVectorC(0);
  return SampleValuesC(x1, x2, n, [&](double x) { return f(x, params); });
}

QVX_API double **DiscretizePN(RealFnP f, void *params, double x1, double x2, int32_t n) noexcept {
  if (!f) return NewSet(0);
  return SampleSet(x1, x2, n, [&](double x) { return f(x, params); });
}

QVX_API Complex **DiscretizePNC(ComplexFnP f, void *params, double x1, double x2, int32_t n) noexcept {
  if (!f) return NewSetC(0);
  return SampleSetC(x1, x2, n, [&](double x) { return f(x, params); });
}

QVX_API double **DiscretizeNU(RealFn f, double x1, double x2, int32_t n, double ratio) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    if (!f || n < 1 || !std::isfinite(x1) || !std::isfinite(x2)) return NewSet(0);
    double **out = NewSet(n);
    if (Points(out) != n) return out;
    const std::vector<double> x = GradedGrid(x1, x2, n, ratio);
    for (int32_t i = 1; i <= n; ++i) {
      out[1][i] = x[i - 1];
      out[2][i] = f(x[i - 1]);
    }
    return out;
  });
}

QVX_API Complex **DiscretizeNUC(ComplexFn f, double x1, double x2, int32_t n, double ratio) noexcept {
  return Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    if (!f || n < 1 || !std::isfinite(x1) || !std::isfinite(x2)) return NewSetC(0);
    Complex **out = NewSetC(n);
    if (Points(out) != n) return out;
    const std::vector<double> x = GradedGrid(x1, x2, n, ratio);
    for (int32_t i = 1; i <= n; ++i) {
      out[1][i] = Cx(x[i - 1], 0.0);
      out[2][i] = f(x[i - 1]);
    }
    return out;
  });
}

QVX_API double *DiscretizeN(ScalarFieldFn f, void *params, const double *lower, const double *upper,
                            const int32_t *dims) noexcept {
  return Guard(static_cast<double *>(nullptr), [&]() -> double * {
    int32_t d = 0;
    int64_t count = 0;
    if (!f || !BoxGrid(lower, upper, dims, &d, &count)) return NewVector(0);
    double *out = NewVector(static_cast<int32_t>(count));
    double *r = NewVector(d);
    if (Len(out) == count && Len(r) == d) {
      for (int64_t p = 0; p < count; ++p) {
        BoxPoint(lower, upper, dims, d, p, r);
        out[p + 1] = f(r, params);
      }
    }
    FreeVector(r);
    return out;
  });
}

QVX_API double ***Discretize2D(RealFn2 f, void *params, double x1, double x2, double y1, double y2, int32_t nx,
                               int32_t ny) noexcept {
  if (!f || nx < 1 || ny < 1) return NewSet2D(0, 0);
  double ***out = NewSet2D(nx, ny);
  int32_t a = 0, b = 0;
  if (!Set2DSizes(out, &a, &b) || a != nx || b != ny) return out;
  for (int32_t j = 1; j <= nx; ++j) out[2][1][j] = GridPoint(x1, x2, nx, j);
  for (int32_t i = 1; i <= ny; ++i) out[3][1][i] = GridPoint(y1, y2, ny, i);
  for (int32_t j = 1; j <= nx; ++j)
    for (int32_t i = 1; i <= ny; ++i) out[1][j][i] = f(out[2][1][j], out[3][1][i], params);
  return out;
}

QVX_API Complex ***Discretize2DC(ComplexFn2 f, void *params, double x1, double x2, double y1, double y2,
                                 int32_t nx, int32_t ny) noexcept {
  if (!f || nx < 1 || ny < 1) nx = ny = 0;
  Complex ***out = NewSet2DC(nx, ny);
  if (!out || Cols(out[1]) != nx) return out;
  for (int32_t j = 1; j <= nx; ++j) out[2][1][j] = Cx(GridPoint(x1, x2, nx, j), 0.0);
  for (int32_t i = 1; i <= ny; ++i) out[3][1][i] = Cx(GridPoint(y1, y2, ny, i), 0.0);
  for (int32_t j = 1; j <= nx; ++j)
    for (int32_t i = 1; i <= ny; ++i) out[1][j][i] = f(out[2][1][j].re, out[3][1][i].re, params);
  return out;
}

QVX_API double ***ScalarField2D(ScalarFieldFn f, void *params, double x1, double x2, double y1, double y2,
                                int32_t nx, int32_t ny) noexcept {
  if (!f || nx < 1 || ny < 1) return NewSet2D(0, 0);
  double ***out = NewSet2D(nx, ny);
  int32_t a = 0, b = 0;
  if (!Set2DSizes(out, &a, &b) || a != nx || b != ny) return out;
  const qvx::OwnedVector point(NewVector(2));
  double *r = point.get();
  if (Len(r) != 2) return out;
  for (int32_t j = 1; j <= nx; ++j) out[2][1][j] = GridPoint(x1, x2, nx, j);
  for (int32_t i = 1; i <= ny; ++i) out[3][1][i] = GridPoint(y1, y2, ny, i);
  for (int32_t j = 1; j <= nx; ++j)
    for (int32_t i = 1; i <= ny; ++i) {
      r[1] = out[2][1][j];
      r[2] = out[3][1][i];
      out[1][j][i] = f(r, params);
    }
  return out;
}

// ---- adaptive sampling of a function ---------------------------------------------------

QVX_API int32_t DiscretizeAdaptiveSub(RealFn f, double a, double fa, double b, double fb, double tol,
                                      int32_t depth, double *xs, double *ys, int32_t capacity) noexcept {
  // Recursive bisection: the midpoint is kept, and both halves are split
  // again while it lies farther than tol from the chord.
  if (!xs || !ys || !f) return 0;
  int32_t count = Len(xs);
  if (count + 1 > capacity) return count;
  const double m = 0.5 * (a + b), fm = f(m);
  const bool strays = std::isfinite(fa) && std::isfinite(fb) &&
                      (!std::isfinite(fm) || std::fabs(fm - 0.5 * (fa + fb)) > tol);
  if (depth > 0 && strays && count + 3 <= capacity) {
    DiscretizeAdaptiveSub(f, a, fa, m, fm, tol, depth - 1, xs, ys, capacity);
    return DiscretizeAdaptiveSub(f, m, fm, b, fb, tol, depth - 1, xs, ys, capacity);
  }
  if (count + 2 <= capacity) {
    xs[++count] = m;
    ys[count] = fm;
  }
  xs[++count] = b;
  ys[count] = fb;
  xs[0] = ys[0] = count;
  return count;
}

QVX_API double **DiscretizeAdaptive(RealFn f, double x1, double x2, double tol, int32_t maxPoints) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    if (!f || !std::isfinite(x1) || !std::isfinite(x2) || maxPoints < 2) return NewSet(0);
    maxPoints = std::min<int32_t>(maxPoints, 1 << 22);
    if (!(tol > 0.0)) tol = 1e-6;
    std::vector<double> xs(static_cast<size_t>(maxPoints) + 1), ys(static_cast<size_t>(maxPoints) + 1);
    // Nine starting panels keep a symmetric function from hiding its shape
    // behind an exact midpoint.
    const int32_t panels = std::min<int32_t>(8, maxPoints - 1);
    xs[0] = ys[0] = 1;
    xs[1] = x1;
    ys[1] = f(x1);
    for (int32_t k = 1; k <= panels; ++k) {
      const double a = GridPoint(x1, x2, panels + 1, k), b = GridPoint(x1, x2, panels + 1, k + 1);
      const int32_t room = maxPoints - (panels - k);  // keep one slot for each later panel end
      DiscretizeAdaptiveSub(f, a, ys[Len(xs.data())], b, f(b), tol, 20, xs.data(), ys.data(), room);
    }
    const int32_t n = Len(xs.data());
    double **out = NewSet(n);
    if (Points(out) == n)
      for (int32_t i = 1; i <= n; ++i) {
        out[1][i] = xs[i];
        out[2][i] = ys[i];
      }
    return out;
  });
}

// ---- ODE solutions ----------------------------------------------------------------------

QVX_API double **DiscretizeRungeKutta1D(RealFn2 f, void *params, double x1, double x2, double y0,
                                        int32_t n) noexcept {
  // Classical fourth-order Runge-Kutta, four steps between output points.
  if (!f) return NewSet(0);
  double **out = SampleSet(x1, x2, n, [](double) { return 0.0; });
  const int32_t m = Points(out);
  if (m == 0) return out;
  double y = y0;
  out[2][1] = y;
  for (int32_t i = 2; i <= m; ++i) {
    const double a = out[1][i - 1], h = (out[1][i] - a) / 4.0;
    for (int s = 0; s < 4; ++s) {
      const double x = a + s * h;
      const double k1 = f(x, y, params), k2 = f(x + h / 2, y + h / 2 * k1, params);
      const double k3 = f(x + h / 2, y + h / 2 * k2, params), k4 = f(x + h, y + h * k3, params);
      y += h / 6.0 * (k1 + 2.0 * k2 + 2.0 * k3 + k4);
    }
    out[2][i] = y;
  }
  return out;
}

QVX_API Complex **DiscretizeRungeKutta1DC(ComplexOdeFn1 f, void *params, double x1, double x2, Complex y0,
                                          int32_t n) noexcept {
  if (!f) return NewSetC(0);
  Complex **out = SampleSetC(x1, x2, n, [](double) { return Cx(0.0, 0.0); });
  const int32_t m = Points(out);
  if (m == 0) return out;
  Complex y = y0;
  out[2][1] = y;
  for (int32_t i = 2; i <= m; ++i) {
    const double a = out[1][i - 1].re, h = (out[1][i].re - a) / 4.0;
    for (int s = 0; s < 4; ++s) {
      const double x = a + s * h;
      const Complex k1 = f(x, y, params);
      const Complex k2 = f(x + h / 2, Add(y, Scale(k1, h / 2)), params);
      const Complex k3 = f(x + h / 2, Add(y, Scale(k2, h / 2)), params);
      const Complex k4 = f(x + h, Add(y, Scale(k3, h)), params);
      y = Add(y, Scale(Add(Add(k1, Scale(k2, 2.0)), Add(Scale(k3, 2.0), k4)), h / 6.0));
    }
    out[2][i] = y;
  }
  return out;
}

// ---- expansions -------------------------------------------------------------------------

QVX_API double *ChebychevExpansion(RealFn f, double a, double b, int32_t n) noexcept {
  // Chebyshev coefficients from f at the n Chebyshev nodes; c[1] is already
  // halved, so f(x) ~ sum over k of c[k + 1] T_k(y), y = (2x - a - b)/(b - a).
  return Guard(static_cast<double *>(nullptr), [&]() -> double * {
    if (!f || n < 1 || !std::isfinite(a) || !std::isfinite(b) || n > (1 << 16)) return NewVector(0);
    std::vector<double> fx(static_cast<size_t>(n));
    const double half = 0.5 * (b - a), mid = 0.5 * (a + b);
    for (int32_t k = 0; k < n; ++k) fx[k] = f(mid + half * std::cos(kPi * (k + 0.5) / n));
    double *c = NewVector(n);
    if (Len(c) != n) return c;
    for (int32_t j = 0; j < n; ++j) {
      double s = 0.0;
      for (int32_t k = 0; k < n; ++k) s += fx[k] * std::cos(kPi * j * (k + 0.5) / n);
      c[j + 1] = 2.0 * s / n;
    }
    c[1] *= 0.5;
    return c;
  });
}

QVX_API Complex *DiscretizeDFT(const Complex *v, int32_t n) noexcept {
  // Trigonometric interpolation: the m samples are taken as one period at
  // t = (k - 1)/m, their discrete Fourier coefficients (frequencies
  // -m/2..(m-1)/2, the Nyquist term of an even m split evenly between +m/2
  // and -m/2 so that the interpolant stays real for real data) are summed at
  // the n points t = (q - 1)/n. n = m gives the samples back.
  return Guard(static_cast<Complex *>(nullptr), [&]() -> Complex * {
    const int32_t m = Len(v);
    if (m <= 0 || n < 1 || (int64_t{m} + n) * m > kMaxTrigWork) return NewVectorC(0);
    std::vector<double> cm(static_cast<size_t>(m)), sm(static_cast<size_t>(m));
    for (int32_t k = 0; k < m; ++k) {
      cm[k] = std::cos(2.0 * kPi * k / m);
      sm[k] = std::sin(2.0 * kPi * k / m);
    }
    const int32_t lowest = -(m / 2);
    std::vector<Complex> coef(static_cast<size_t>(m));
    for (int32_t j = 0; j < m; ++j) {
      const int64_t freq = lowest + j;
      Complex s{0.0, 0.0};
      for (int32_t k = 0; k < m; ++k) {
        const int32_t idx = static_cast<int32_t>(((-freq * k) % m + m) % m);
        s = Add(s, MulFour(v[k + 1], Cx(cm[idx], sm[idx])));
      }
      coef[j] = Scale(s, 1.0 / m);
    }
    Complex *out = NewVectorC(n);
    if (Len(out) != n) return out;
    for (int32_t q = 0; q < n; ++q) {
      const double t = static_cast<double>(q) / n;
      Complex s{0.0, 0.0};
      for (int32_t j = 0; j < m; ++j) {
        const int64_t freq = lowest + j;
        if (m % 2 == 0 && j == 0) {
          // Nyquist: half at -m/2 and half at +m/2 gives cos(pi m t).
          s = Add(s, Scale(coef[j], std::cos(kPi * m * t)));
          continue;
        }
        // Reduce freq * q modulo n before the angle to keep it exact.
        const int64_t r = ((freq * q) % n + n) % n;
        const double angle = 2.0 * kPi * static_cast<double>(r) / n;
        s = Add(s, MulFour(coef[j], Cx(std::cos(angle), std::sin(angle))));
      }
      out[q + 1] = s;
    }
    return out;
  });
}

QVX_API Complex SphericalHarmonic(int32_t l, int32_t m, double theta, double phi) noexcept {
  // Orthonormal Y_l^m with the Condon-Shortley phase; Y_l^-m is
  // (-1)^m conj(Y_l^m). Zero for |m| > l.
  if (l < 0 || std::isnan(theta) || std::isnan(phi)) return Cx(kNaN, kNaN);
  const int32_t am = m < 0 ? -m : m;
  if (am > l) return Cx(0.0, 0.0);
  const double p = NormalisedLegendre(l, am, theta);
  Complex y = Cx(p * std::cos(am * phi), p * std::sin(am * phi));
  if (m < 0) {
    y.im = -y.im;
    if (am % 2) y = Cx(-y.re, -y.im);
  }
  return y;
}

// ---- spherical grids ------------------------------------------------------------------------

QVX_API double **DiscretizeSpherical3D(ScalarFieldFn f, void *params, double radius, int32_t nTheta,
                                       int32_t nPhi) noexcept {
  return Guard(static_cast<double **>(nullptr),
               [&] { return SphericalGrid(f, params, radius, nTheta, nPhi, false); });
}

QVX_API double **DiscretizeSphericalCS3D(ScalarFieldFn f, void *params, double radius, int32_t nTheta,
                                         int32_t nPhi) noexcept {
  return Guard(static_cast<double **>(nullptr),
               [&] { return SphericalGrid(f, params, radius, nTheta, nPhi, true); });
}

QVX_API double SimpsonIntegalSpherical3D(double **values) noexcept {
  return Guard(kNaN, [&] { return SphericalIntegral(values, false); });
}

QVX_API double SimpsonIntegalSphericalCS3D(double **values) noexcept {
  return Guard(kNaN, [&] { return SphericalIntegral(values, true); });
}

// ---- Fredholm equations of the second kind -----------------------------------------------------

QVX_API double **Fredholm2(RealFn2 kernel, RealFnP g, void *params, double lambda, double a, double b,
                           int32_t n) noexcept {
  // Nystrom's method: f(t_i) - lambda sum_j w_j K(t_i, t_j) f(t_j) = g(t_i)
  // at the n Gauss-Legendre nodes; the result holds the nodes, the weights
  // and the solution, everything FredholmInterpolation1 needs.
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    if (!kernel || !g || n < 1 || n > kMaxSystem || !std::isfinite(a) || !std::isfinite(b))
      return NewMatrix(0, 0);
    std::vector<double> t, w;
    GaussRule(a, b, n, &t, &w);
    std::vector<double> m(static_cast<size_t>(n) * n), rhs(static_cast<size_t>(n));
    for (int32_t i = 0; i < n; ++i) {
      for (int32_t j = 0; j < n; ++j)
        m[static_cast<size_t>(i) * n + j] = (i == j ? 1.0 : 0.0) - lambda * w[j] * kernel(t[i], t[j], params);
      rhs[i] = g(t[i], params);
    }
    if (!SolveDense<double>(m, rhs, n, [](double x) { return std::fabs(x); }, RDiv, RSub, RMul))
      std::fill(rhs.begin(), rhs.end(), kNaN);
    double **out = NewMatrix(3, n);
    if (Cols(out) != 3) return out;
    for (int32_t i = 0; i < n; ++i) {
      out[1][i + 1] = t[i];
      out[2][i + 1] = w[i];
      out[3][i + 1] = rhs[i];
    }
    return out;
  });
}

QVX_API Complex **Fredholm21DC(ComplexFn2 kernel, ComplexFnP g, void *params, Complex lambda, double a, double b,
                               int32_t n) noexcept {
  return Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    if (!kernel || !g || n < 1 || n > kMaxSystem || !std::isfinite(a) || !std::isfinite(b))
      return NewMatrixC(0, 0);
    std::vector<double> t, w;
    GaussRule(a, b, n, &t, &w);
    std::vector<Complex> m(static_cast<size_t>(n) * n), rhs(static_cast<size_t>(n));
    for (int32_t i = 0; i < n; ++i) {
      for (int32_t j = 0; j < n; ++j) {
        const Complex k = Scale(MulFour(lambda, kernel(t[i], t[j], params)), -w[j]);
        m[static_cast<size_t>(i) * n + j] = i == j ? Add(k, Cx(1.0, 0.0)) : k;
      }
      rhs[i] = g(t[i], params);
    }
    if (!SolveDense<Complex>(m, rhs, n, [](Complex z) { return std::hypot(z.re, z.im); }, CDiv, CSub, CMul))
      std::fill(rhs.begin(), rhs.end(), Cx(kNaN, kNaN));
    Complex **out = NewMatrixC(3, n);
    if (Cols(out) != 3) return out;
    for (int32_t i = 0; i < n; ++i) {
      out[1][i + 1] = Cx(t[i], 0.0);
      out[2][i + 1] = Cx(w[i], 0.0);
      out[3][i + 1] = rhs[i];
    }
    return out;
  });
}

QVX_API double FredholmInterpolation1(double **solution, RealFn2 kernel, RealFnP g, void *params, double lambda,
                                      double x) noexcept {
  // Nystrom interpolation: f(x) = g(x) + lambda sum_j w_j K(x, t_j) f_j,
  // as accurate as the solution at the nodes.
  const int32_t n = Cols(solution) >= 3 ? Rows(solution) : 0;
  if (!kernel || !g || n == 0) return kNaN;
  double s = 0.0;
  for (int32_t j = 1; j <= n; ++j) s += solution[2][j] * kernel(x, solution[1][j], params) * solution[3][j];
  return g(x, params) + lambda * s;
}

QVX_API Complex FredholmInterpolation1C(Complex **solution, ComplexFn2 kernel, ComplexFnP g, void *params,
                                        Complex lambda, double x) noexcept {
  int32_t n = 0;
  if (Cols(solution) >= 3) {
    n = INT32_MAX;
    for (int32_t j = 1; j <= 3; ++j) n = std::min(n, solution[j] ? Len(solution[j]) : 0);
  }
  if (!kernel || !g || n == 0) return Cx(kNaN, kNaN);
  Complex s{0.0, 0.0};
  for (int32_t j = 1; j <= n; ++j)
    s = Add(s, Scale(MulFour(kernel(x, solution[1][j].re, params), solution[3][j]), solution[2][j].re));
  return Add(g(x, params), MulFour(lambda, s));
}

// ---- expression texts -------------------------------------------------------------------------

QVX_API double **AutoSample1D(const char *text, double x1, double x2, int32_t n, double tolerance,
                              Environment *env) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    bool ok = false;
    const std::vector<Sample> s = AutoSample(text, x1, x2, n, tolerance, env, &ok);
    const int32_t m = ok ? static_cast<int32_t>(s.size()) : 0;
    double **out = NewSet(m);
    if (Points(out) == m)
      for (int32_t i = 0; i < m; ++i) {
        out[1][i + 1] = s[i].x;
        out[2][i + 1] = s[i].z.re;
      }
    return out;
  });
}

QVX_API Complex **AutoSample1DC(const char *text, double x1, double x2, int32_t n, double tolerance,
                                Environment *env) noexcept {
  return Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    bool ok = false;
    const std::vector<Sample> s = AutoSample(text, x1, x2, n, tolerance, env, &ok);
    const int32_t m = ok ? static_cast<int32_t>(s.size()) : 0;
    Complex **out = NewSetC(m);
    if (Points(out) == m)
      for (int32_t i = 0; i < m; ++i) {
        out[1][i + 1] = Cx(s[i].x, 0.0);
        out[2][i + 1] = s[i].z;
      }
    return out;
  });
}

}  // extern "C"
