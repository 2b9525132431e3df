// Interpolation of sampled data: one- and two-dimensional data sets,
// vectors and matrices resampled by straight lines, parabolas, cubics,
// splines and bicubic patches; smoothing (moving averages and Reinsch's
// smoothing spline); cropping and down-sampling.
//
// Two things to know first. Data sets keep their abscissas ascending: the
// interval search is a binary search and trusts that order (a set out of
// order gives meaningless values, never an access outside it). And the
// "index domain" forms (the V, M, Cols and Rows members) treat element k of
// a vector as the sample at position k, so resampling m elements to n keeps
// both ends and spreads the rest evenly: new element k sits at the old
// position 1 + (k - 1)(m - 1)/(n - 1).
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/calculus/calculus.h"
#include "numerics/interpolation/interpolation_internal.h"

namespace qvx::interp {

// ---- constructors that never hand out a fall-back block -------------------------

double *NewVector(int32_t n) {
  if (n < 0 || n >= kMaxElements) n = 0;
  double *v = Vector(n);
  if (v && Len(v) == n) return v;
  FreeVector(v);
  return Vector(0);
}

Complex *NewVectorC(int32_t n) {
  if (n < 0 || n >= kMaxElements) n = 0;
  Complex *v = VectorC(n);
  if (v && Len(v) == n) return v;
  FreeVectorC(v);
  return VectorC(0);
}

namespace {
// The constructor's result when every length cell reads as requested, else
// the empty matrix of the same kind.
template <class T, class Make, class Release>
T **CheckedMatrix(int32_t cols, int32_t rows, Make make, Release release) {
  if (cols < 0 || rows < 0 || int64_t{cols} * (int64_t{rows} + 1) >= kMaxElements) cols = rows = 0;
  T **m = make(cols, rows);
  bool ok = m && m[0] && Len(m[0]) == cols;
  for (int32_t j = 1; ok && j <= cols; ++j) ok = m[j] && Len(m[j]) == rows;
  if (ok) return m;
  release(m);
  return make(0, 0);
}
}  // namespace

double **NewMatrix(int32_t cols, int32_t rows) {
  return CheckedMatrix<double>(cols, rows, Matrix, FreeMatrix);
}

Complex **NewMatrixC(int32_t cols, int32_t rows) {
  return CheckedMatrix<Complex>(cols, rows, MatrixC, FreeMatrixC);
}

int32_t **NewMatrixL(int32_t cols, int32_t rows) {
  return CheckedMatrix<int32_t>(cols, rows, MatrixL, FreeMatrixL);
}

double **NewSet(int32_t n) {
  if (n < 0) n = 0;
  double **m = NewMatrix(2, n);
  if (Cols(m) == 2) return m;
  FreeMatrix(m);
  return NewMatrix(2, 0);
}

Complex **NewSetC(int32_t n) {
  if (n < 0) n = 0;
  Complex **m = NewMatrixC(2, n);
  if (Cols(m) == 2) return m;
  FreeMatrixC(m);
  return NewMatrixC(2, 0);
}

double ***NewSet2D(int32_t nx, int32_t ny) {
  if (nx < 0 || ny < 0 || int64_t{nx} * ny >= kMaxElements) nx = ny = 0;
  double ***s = MatrixVector2D(nx, ny);
  int32_t a = 0, b = 0;
  if (s && Set2DSizes(s, &a, &b) && a == nx && b == ny) return s;
  FreeMatrixVector(s);
  return MatrixVector2D(0, 0);
}

Complex ***NewSet2DC(int32_t nx, int32_t ny) {
  if (nx < 0 || ny < 0 || int64_t{nx} * ny >= kMaxElements) nx = ny = 0;
  Complex ***s = MatrixVectorC(3);
  if (!s) return nullptr;
  s[1] = NewMatrixC(nx, ny);
  s[2] = NewMatrixC(1, nx);
  s[3] = NewMatrixC(1, ny);
  const bool ok = Cols(s[1]) == nx && Cols(s[2]) == 1 && Cols(s[3]) == 1 && Len(s[2][1]) == nx &&
                  Len(s[3][1]) == ny;
  if (!ok) {
    FreeMatrixC(s[1]);
    FreeMatrixC(s[2]);
    FreeMatrixC(s[3]);
    s[1] = MatrixC(0, 0);
    s[2] = MatrixC(1, 0);
    s[3] = MatrixC(1, 0);
  }
  return s;
}

bool Set2DSizes(double ***set, int32_t *nx, int32_t *ny) {
  *nx = *ny = 0;
  if (MVLengthOf(set) < 3) return false;
  double **v = set[1], **xs = set[2], **ys = set[3];
  if (!v || !xs || !ys || Cols(xs) < 1 || Cols(ys) < 1 || !xs[1] || !ys[1]) return false;
  const int32_t a = Len(xs[1]), b = Len(ys[1]);
  if (Cols(v) < a) return false;
  if (a > 0 && Rows(v) < b) return false;
  *nx = a;
  *ny = b;
  return true;
}

int32_t IntervalOf(const double *x, int32_t n, double t) {
  // The last abscissa at or below t, kept inside 0..n-2.
  const int32_t k = calculus::LastAtOrBelow(n, t, [&](int32_t i) { return x[i - 1]; });
  return std::clamp(k - 1, 0, n - 2);
}

double LinearAt(const double *x, const double *y, int32_t n, double t) {
  int32_t hint = -1;
  return LinearAtNear(x, y, n, t, &hint);
}

double LinearAtNear(const double *x, const double *y, int32_t n, double t, int32_t *hint) {
  if (n <= 0 || std::isnan(t)) return kNaN;
  if (n == 1) return y[0];
  const int32_t k = IntervalNear(x, n, t, hint);
  const double h = x[k + 1] - x[k];
  if (!(h != 0.0)) return y[k];
  const double s = (t - x[k]) / h;
  return y[k] + s * (y[k + 1] - y[k]);
}

}  // namespace qvx::interp

namespace {

using namespace qvx::interp;
using qvx::Guard;

// ---- small kernels ------------------------------------------------------------------

Complex Cx(double re, double im) { return Complex{re, im}; }

// Abscissas and ordinates of a 1D set as 0-based pointers.
struct RealSet {
  const double *x = nullptr;
  const double *y = nullptr;
  int32_t n = 0;
};
RealSet View(double **set) {
  RealSet s;
  s.n = Points(set);
  if (s.n > 0) {
    s.x = set[1] + 1;
    s.y = set[2] + 1;
  }
  return s;
}

// A complex set split into 0-based arrays of abscissas and of the two parts.
struct ComplexSet {
  std::vector<double> x, re, im;
  int32_t n = 0;
};
ComplexSet Split(Complex **set) {
  ComplexSet s;
  s.n = Points(set);
  s.x.resize(static_cast<size_t>(s.n));
  s.re.resize(static_cast<size_t>(s.n));
  s.im.resize(static_cast<size_t>(s.n));
  for (int32_t i = 0; i < s.n; ++i) {
    s.x[i] = set[1][i + 1].re;
    s.re[i] = set[2][i + 1].re;
    s.im[i] = set[2][i + 1].im;
  }
  return s;
}

// The three-point Lagrange form through (x0, y0), (x1, y1), (x2, y2) at t.
double Parabola(double x0, double y0, double x1, double y1, double x2, double y2, double t) {
  const double d01 = x0 - x1, d02 = x0 - x2, d12 = x1 - x2;
  if (d01 == 0.0 || d02 == 0.0 || d12 == 0.0) return kNaN;
  return y0 * (t - x1) * (t - x2) / (d01 * d02) - y1 * (t - x0) * (t - x2) / (d01 * d12) +
         y2 * (t - x0) * (t - x1) / (d02 * d12);
}

// Neville's algorithm on the m points starting at 0-based index first.
double Neville(const double *x, const double *y, int32_t first, int32_t m, double t) {
  std::vector<double> p(y + first, y + first + m);
  for (int32_t level = 1; level < m; ++level) {
    for (int32_t i = 0; i + level < m; ++i) {
      const double xa = x[first + i], xb = x[first + i + level];
      if (xa == xb) return kNaN;
      p[i] = ((t - xb) * p[i] + (xa - t) * p[i + 1]) / (xa - xb);
    }
  }
  return m > 0 ? p[0] : kNaN;
}

// First index of a window of m consecutive points (0-based, n >= m) that is
// centred on t as well as the ends allow.
int32_t WindowStart(const double *x, int32_t n, int32_t m, double t) {
  const int32_t k = IntervalOf(x, n, t);  // t in [x[k], x[k+1]]
  int32_t first = k - (m - 2) / 2;
  if (m % 2 == 1 && k + 1 < n && std::fabs(t - x[k + 1]) < std::fabs(t - x[k])) ++first;
  return std::clamp(first, 0, n - m);
}

// Local polynomial of m points (m = 3 parabolic, 4 cubic) through the
// nearest samples; fewer samples lower the degree.
double LocalPolynomial(const RealSet &s, int32_t m, double t) {
  if (s.n <= 0 || std::isnan(t)) return kNaN;
  m = std::min(m, s.n);
  return Neville(s.x, s.y, WindowStart(s.x, s.n, m, t), m, t);
}

// Natural cubic spline of 0-based samples, evaluated at many points.
class Spline {
 public:
  Spline(const double *x, const double *y, int32_t n) : x_(x), y_(y), n_(n), d2_(static_cast<size_t>(n)) {
    if (n >= 3) {
      std::vector<double> scratch(static_cast<size_t>(n));
      qvx::calculus::NaturalSplineSecondDerivatives(x, y, n, d2_.data(), scratch.data());
    }
  }
  double operator()(double t) const {
    if (n_ <= 0 || std::isnan(t)) return kNaN;
    if (n_ == 1) return y_[0];
    if (n_ == 2) return LinearAt(x_, y_, n_, t);
    return qvx::calculus::SplineValue(x_, y_, d2_.data(), IntervalNear(x_, n_, t, &hint_), t);
  }

 private:
  const double *x_;
  const double *y_;
  int32_t n_;
  std::vector<double> d2_;
  mutable int32_t hint_ = -1;  // interval of the last query
};

// Positions 0..m-1 of the index domain.
std::vector<double> Positions(int32_t m) {
  std::vector<double> p(static_cast<size_t>(m));
  for (int32_t i = 0; i < m; ++i) p[i] = i + 1.0;
  return p;
}

// Old position of new element k of n drawn from m.
double IndexPosition(int32_t m, int32_t n, int32_t k) { return GridPoint(1.0, m, n, k); }

// Linear value at position t (1-based) of m samples read through get.
template <class Get>
double LinearIndex(int32_t m, double t, Get get) {
  if (m <= 0) return kNaN;
  if (m == 1) return get(1);
  int32_t k = static_cast<int32_t>(std::floor(t));
  k = std::clamp(k, 1, m - 1);
  const double s = t - k;
  return get(k) + s * (get(k + 1) - get(k));
}

// Round half away from zero into int32, saturating.
int32_t RoundToInt(double v) {
  if (std::isnan(v)) return 0;
  const double r = std::round(v);
  if (r >= 2147483647.0) return INT32_MAX;
  if (r <= -2147483648.0) return INT32_MIN;
  return static_cast<int32_t>(r);
}

// Moving average of 0-based values over [i - m, i + m], cut at the ends;
// non-finite values are left out of each mean.
void MovingAverage(const double *in, int32_t n, int32_t m, double *out) {
  for (int32_t i = 0; i < n; ++i) {
    double sum = 0.0;
    int32_t count = 0;
    const int32_t lo = std::max(0, i - m), hi = std::min(n - 1, i + m);
    for (int32_t k = lo; k <= hi; ++k)
      if (std::isfinite(in[k])) {
        sum += in[k];
        ++count;
      }
    out[i] = count ? sum / count : kNaN;
  }
}

// Fills non-finite 0-based values by straight lines between the finite
// neighbours on both sides; before the first and after the last finite
// value the nearest finite one is repeated. All non-finite: unchanged.
void FillGaps(double *v, int32_t n) {
  int32_t previous = -1;
  for (int32_t i = 0; i < n; ++i) {
    if (!std::isfinite(v[i])) continue;
    if (previous < 0) {
      for (int32_t k = 0; k < i; ++k) v[k] = v[i];
    } else if (i - previous > 1) {
      for (int32_t k = previous + 1; k < i; ++k)
        v[k] = v[previous] + (v[i] - v[previous]) * (k - previous) / static_cast<double>(i - previous);
    }
    previous = i;
  }
  if (previous >= 0)
    for (int32_t k = previous + 1; k < n; ++k) v[k] = v[previous];
}

// ---- bicubic patches ------------------------------------------------------------------

// The weight matrix of bicubic interpolation: coefficients c[i][j] of
// t^i u^j from the values, the two first derivatives and the cross
// derivative at the four corners (counter-clockwise from the lower left),
// derivatives scaled by the cell sides.
constexpr int kBicubicWeights[16][16] = {
    {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},     {0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0},
    {-3, 0, 0, 3, 0, 0, 0, 0, -2, 0, 0, -1, 0, 0, 0, 0},  {2, 0, 0, -2, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0},
    {0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},     {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0},
    {0, 0, 0, 0, -3, 0, 0, 3, 0, 0, 0, 0, -2, 0, 0, -1},  {0, 0, 0, 0, 2, 0, 0, -2, 0, 0, 0, 0, 1, 0, 0, 1},
    {-3, 3, 0, 0, -2, -1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},  {0, 0, 0, 0, 0, 0, 0, 0, -3, 3, 0, 0, -2, -1, 0, 0},
    {9, -9, 9, -9, 6, 3, -3, -6, 6, -6, -3, 3, 4, 2, 1, 2}, {-6, 6, -6, 6, -4, -2, 2, 4, -3, 3, 3, -3, -2, -1, -1, -2},
    {2, -2, 0, 0, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},    {0, 0, 0, 0, 0, 0, 0, 0, 2, -2, 0, 0, 1, 1, 0, 0},
    {-6, 6, -6, 6, -3, -3, 3, 3, -4, 4, 2, -2, -2, -2, -1, -1}, {4, -4, 4, -4, 2, 2, -2, -2, 2, -2, -2, 2, 1, 1, 1, 1}};

// y, y1, y2, y12: 0-based arrays of the four corners; c[i][j], i, j in 0..3.
void BicubicCoefficientsRaw(const double *y, const double *y1, const double *y2, const double *y12, double d1,
                            double d2, double c[4][4]) {
  double x[16];
  for (int i = 0; i < 4; ++i) {
    x[i] = y[i];
    x[i + 4] = y1[i] * d1;
    x[i + 8] = y2[i] * d2;
    x[i + 12] = y12[i] * d1 * d2;
  }
  double cl[16];
  for (int i = 0; i < 16; ++i) {
    double s = 0.0;
    for (int k = 0; k < 16; ++k) s += kBicubicWeights[i][k] * x[k];
    cl[i] = s;
  }
  int l = 0;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) c[i][j] = cl[l++];
}

// Value and the two first derivatives at (t, u) in the unit cell.
double BicubicEvaluate(const double c[4][4], double t, double u, double d1, double d2, double *g1, double *g2) {
  double value = 0.0, a1 = 0.0, a2 = 0.0;
  for (int i = 3; i >= 0; --i) {
    value = t * value + ((c[i][3] * u + c[i][2]) * u + c[i][1]) * u + c[i][0];
    a2 = t * a2 + (3.0 * c[i][3] * u + 2.0 * c[i][2]) * u + c[i][1];
    a1 = u * a1 + (3.0 * c[3][i] * t + 2.0 * c[2][i]) * t + c[1][i];
  }
  if (g1) *g1 = d1 != 0.0 ? a1 / d1 : kNaN;
  if (g2) *g2 = d2 != 0.0 ? a2 / d2 : kNaN;
  return value;
}

// Catmull-Rom patch: the bicubic Hermite cell between the middle four of a
// 4 by 4 block of unit-spaced samples p[a][b] (a along x, b along y, the
// cell spanning a, b in 1..2), derivatives by central differences.
double CatmullRomCell(const double p[4][4], double t, double u) {
  double y[4], y1[4], y2[4], y12[4];
  const int ca[4] = {1, 2, 2, 1}, cb[4] = {1, 1, 2, 2};  // counter-clockwise corners
  for (int k = 0; k < 4; ++k) {
    const int a = ca[k], b = cb[k];
    y[k] = p[a][b];
    y1[k] = 0.5 * (p[a + 1][b] - p[a - 1][b]);
    y2[k] = 0.5 * (p[a][b + 1] - p[a][b - 1]);
    y12[k] = 0.25 * (p[a + 1][b + 1] - p[a + 1][b - 1] - p[a - 1][b + 1] + p[a - 1][b - 1]);
  }
  double c[4][4];
  BicubicCoefficientsRaw(y, y1, y2, y12, 1.0, 1.0, c);
  return BicubicEvaluate(c, t, u, 1.0, 1.0, nullptr, nullptr);
}

// ---- smoothing spline ---------------------------------------------------------------------

// Reinsch's smoothing spline of 0-based samples with unit weights: the
// values g minimise sum (y - g)^2 + lambda * integral of g''^2. With the
// band matrices Q (n by n-2) and R (n-2 by n-2) of Green and Silverman,
// gamma solves (R + lambda Q'Q) gamma = Q'y and g = y - lambda Q gamma; the
// system is symmetric positive definite with two bands on each side, solved
// by a banded Cholesky (LDL') factorisation.
std::vector<double> ReinschSmooth(const double *x, const double *y, int32_t n, double lambda) {
  std::vector<double> g(y, y + n);
  if (n < 3 || !(lambda > 0.0)) return g;
  const int32_t m = n - 2;
  std::vector<double> h(static_cast<size_t>(n - 1));
  for (int32_t i = 0; i + 1 < n; ++i) {
    h[i] = x[i + 1] - x[i];
    if (!(h[i] > 0.0)) return g;  // abscissas must increase strictly
  }
  // Column k (0..m-1) of Q has entries at rows k, k+1, k+2.
  auto q0 = [&](int32_t k) { return 1.0 / h[k]; };
  auto q1 = [&](int32_t k) { return -1.0 / h[k] - 1.0 / h[k + 1]; };
  auto q2 = [&](int32_t k) { return 1.0 / h[k + 1]; };
  // Bands of A = R + lambda Q'Q: a0 diagonal, a1 first, a2 second off-diagonal.
  std::vector<double> a0(m), a1(m, 0.0), a2(m, 0.0), rhs(m);
  for (int32_t k = 0; k < m; ++k) {
    a0[k] = (h[k] + h[k + 1]) / 3.0 + lambda * (q0(k) * q0(k) + q1(k) * q1(k) + q2(k) * q2(k));
    if (k + 1 < m) a1[k] = h[k + 1] / 6.0 + lambda * (q1(k) * q0(k + 1) + q2(k) * q1(k + 1));
    if (k + 2 < m) a2[k] = lambda * q2(k) * q0(k + 2);
    rhs[k] = q0(k) * y[k] + q1(k) * y[k + 1] + q2(k) * y[k + 2];
  }
  // LDL' of the pentadiagonal matrix: L has unit diagonal and bands l1, l2.
  std::vector<double> d(m), l1(m, 0.0), l2(m, 0.0);
  for (int32_t k = 0; k < m; ++k) {
    double dk = a0[k];
    if (k >= 1) dk -= l1[k - 1] * l1[k - 1] * d[k - 1];
    if (k >= 2) dk -= l2[k - 2] * l2[k - 2] * d[k - 2];
    d[k] = dk;
    if (!(dk != 0.0)) return g;
    if (k + 1 < m) {
      double e = a1[k];
      if (k >= 1) e -= l1[k - 1] * l2[k - 1] * d[k - 1];
      l1[k] = e / dk;
    }
    if (k + 2 < m) l2[k] = a2[k] / dk;
  }
  std::vector<double> z(rhs);
  for (int32_t k = 0; k < m; ++k) {
    if (k >= 1) z[k] -= l1[k - 1] * z[k - 1];
    if (k >= 2) z[k] -= l2[k - 2] * z[k - 2];
  }
  for (int32_t k = 0; k < m; ++k) z[k] /= d[k];
  for (int32_t k = m - 1; k >= 0; --k) {
    if (k + 1 < m) z[k] -= l1[k] * z[k + 1];
    if (k + 2 < m) z[k] -= l2[k] * z[k + 2];
  }
  for (int32_t k = 0; k < m; ++k) {
    g[k] -= lambda * q0(k) * z[k];
    g[k + 1] -= lambda * q1(k) * z[k];
    g[k + 2] -= lambda * q2(k) * z[k];
  }
  return g;
}

// Unwraps 0-based phases in place (jumps above pi removed by whole turns).
void UnwrapPhase(std::vector<double> &p) {
  double offset = 0.0;
  for (size_t i = 1; i < p.size(); ++i) {
    const double raw = p[i];
    const double d = raw + offset - p[i - 1];
    if (std::fabs(d) > kPi) offset -= 2.0 * kPi * std::round(d / (2.0 * kPi));
    p[i] = raw + offset;
  }
}

// ---- resampling helpers shared by several members ---------------------------------------

// A new 1D set of n points spread over the abscissas of s, values from f.
template <class F>
double **ResampleSet(const RealSet &s, int32_t n, F f) {
  if (s.n <= 0 || n < 1) return NewSet(0);
  double **out = NewSet(n);
  if (Points(out) != n) return out;
  for (int32_t i = 1; i <= n; ++i) {
    const double t = GridPoint(s.x[0], s.x[s.n - 1], n, i);
    out[1][i] = t;
    out[2][i] = f(t);
  }
  return out;
}

// A new 1D set at the given abscissas, values from f.
template <class F>
double **SetAt(const double *xs, F f) {
  const int32_t n = Len(xs);
  double **out = NewSet(n);
  if (Points(out) != n) return out;
  for (int32_t i = 1; i <= n; ++i) {
    out[1][i] = xs[i];
    out[2][i] = f(xs[i]);
  }
  return out;
}

// Every column of m through f(column, rows) into a new matrix of `rows` rows.
template <class F>
double **MapColumns(double **m, int32_t rows, F f) {
  const int32_t c = Cols(m), r = Rows(m);
  if (c <= 0 || r <= 0 || rows < 1) return NewMatrix(0, 0);
  double **out = NewMatrix(c, rows);
  if (Cols(out) != c) return out;
  for (int32_t j = 1; j <= c; ++j) f(m[j], r, out[j], rows);
  return out;
}

// 2D set resampled on a uniform grid by a value function of (x, y).
template <class F>
double ***Resample2D(double ***set, int32_t nx, int32_t ny, F value) {
  int32_t sx = 0, sy = 0;
  if (!Set2DSizes(set, &sx, &sy) || sx < 1 || sy < 1 || nx < 1 || ny < 1) return NewSet2D(0, 0);
  double ***out = NewSet2D(nx, ny);
  int32_t ox = 0, oy = 0;
  if (!out || !Set2DSizes(out, &ox, &oy) || ox != nx || oy != ny) return out;
  const double *xs = set[2][1], *ys = set[3][1];
  for (int32_t j = 1; j <= nx; ++j) out[2][1][j] = GridPoint(xs[1], xs[sx], nx, j);
  for (int32_t i = 1; i <= ny; ++i) out[3][1][i] = GridPoint(ys[1], ys[sy], ny, i);
  for (int32_t j = 1; j <= nx; ++j)
    for (int32_t i = 1; i <= ny; ++i) out[1][j][i] = value(out[2][1][j], out[3][1][i]);
  return out;
}

// Bilinear value of a 2D set at (x, y); the edge cells extend outside.
double Bilinear(double ***set, int32_t nx, int32_t ny, double x, double y) {
  const double *xs = set[2][1] + 1, *ys = set[3][1] + 1;
  double **v = set[1];
  if (std::isnan(x) || std::isnan(y)) return kNaN;
  if (nx == 1 && ny == 1) return v[1][1];
  if (nx == 1) return LinearAt(ys, v[1] + 1, ny, y);
  const int32_t j = IntervalOf(xs, nx, x);
  const double hx = xs[j + 1] - xs[j];
  const double s = hx != 0.0 ? (x - xs[j]) / hx : 0.0;
  if (ny == 1) return v[j + 1][1] + s * (v[j + 2][1] - v[j + 1][1]);
  const int32_t i = IntervalOf(ys, ny, y);
  const double hy = ys[i + 1] - ys[i];
  const double u = hy != 0.0 ? (y - ys[i]) / hy : 0.0;
  const double a = v[j + 1][i + 1], b = v[j + 2][i + 1], c = v[j + 1][i + 2], d = v[j + 2][i + 2];
  return (1 - s) * (1 - u) * a + s * (1 - u) * b + (1 - s) * u * c + s * u * d;
}

// Bilinear value of matrix m (c columns, r rows) at index position (a, b).
template <class Get>
double BilinearIndex(int32_t c, int32_t r, double a, double b, Get get) {
  const int32_t j = c == 1 ? 1 : std::clamp(static_cast<int32_t>(std::floor(a)), 1, c - 1);
  const int32_t i = r == 1 ? 1 : std::clamp(static_cast<int32_t>(std::floor(b)), 1, r - 1);
  const double s = c == 1 ? 0.0 : a - j, u = r == 1 ? 0.0 : b - i;
  const int32_t j2 = c == 1 ? 1 : j + 1, i2 = r == 1 ? 1 : i + 1;
  return (1 - s) * (1 - u) * get(j, i) + s * (1 - u) * get(j2, i) + (1 - s) * u * get(j, i2) + s * u * get(j2, i2);
}

// The constructors of the two element types, for the bodies the real and
// complex twins share.
template <class T>
struct Make;
template <>
struct Make<double> {
  static double *Vec(int32_t n) { return NewVector(n); }
  static double **Mat(int32_t c, int32_t r) { return NewMatrix(c, r); }
};
template <>
struct Make<Complex> {
  static Complex *Vec(int32_t n) { return NewVectorC(n); }
  static Complex **Mat(int32_t c, int32_t r) { return NewMatrixC(c, r); }
};

template <class T>
T **CropMatrixT(T **m, int32_t c1, int32_t c2, int32_t r1, int32_t r2) {
  c1 = std::max(c1, 1);
  r1 = std::max(r1, 1);
  c2 = std::min(c2, Cols(m));
  r2 = std::min(r2, Rows(m));
  if (c1 > c2 || r1 > r2) return Make<T>::Mat(0, 0);
  T **out = Make<T>::Mat(c2 - c1 + 1, r2 - r1 + 1);
  if (Cols(out) != c2 - c1 + 1) return out;
  for (int32_t j = c1; j <= c2; ++j)
    for (int32_t i = r1; i <= r2; ++i) out[j - c1 + 1][i - r1 + 1] = m[j][i];
  return out;
}

// First old index of a centred crop of n from m (n <= m): the old element
// m/2 + 1 becomes the new element n/2 + 1.
int32_t CentredStart(int32_t m, int32_t n) { return m / 2 - n / 2 + 1; }

template <class T>
T **CropMatrixCentredT(T **m, int32_t cols, int32_t rows) {
  const int32_t c = Cols(m), r = Rows(m);
  cols = std::clamp(cols, 0, c);
  rows = std::clamp(rows, 0, r);
  if (cols == 0 || rows == 0) return Make<T>::Mat(0, 0);
  const int32_t j0 = CentredStart(c, cols), i0 = CentredStart(r, rows);
  return CropMatrixT(m, j0, j0 + cols - 1, i0, i0 + rows - 1);
}

template <class T>
T *CropVectorT(const T *v, int32_t i1, int32_t i2) {
  const int32_t n = Len(v);
  i1 = std::max(i1, 1);
  i2 = std::min(i2, n);
  if (i1 > i2) return Make<T>::Vec(0);
  T *out = Make<T>::Vec(i2 - i1 + 1);
  if (Len(out) == i2 - i1 + 1) std::copy(v + i1, v + i2 + 1, out + 1);
  return out;
}

template <class T>
T *CropVectorCentredT(const T *v, int32_t n) {
  const int32_t m = Len(v);
  n = std::clamp(n, 0, m);
  if (n == 0) return Make<T>::Vec(0);
  const int32_t i0 = CentredStart(m, n);
  return CropVectorT(v, i0, i0 + n - 1);
}

// Every factor-th element from the first; a partial last block still gives
// its first element.
template <class T>
T *DownSampleVT(const T *v, int32_t factor) {
  const int32_t n = Len(v);
  if (factor < 1) return Make<T>::Vec(0);
  const int32_t k = n / factor + (n % factor ? 1 : 0);
  T *out = Make<T>::Vec(k);
  if (Len(out) == k)
    for (int32_t i = 1; i <= k; ++i) out[i] = v[1 + (i - 1) * factor];
  return out;
}

template <class T>
T **DownSampleColsT(T **m, int32_t factor) {
  const int32_t c = Cols(m), r = Rows(m);
  if (factor < 1 || c <= 0) return Make<T>::Mat(0, 0);
  const int32_t k = r / factor + (r % factor ? 1 : 0);
  T **out = Make<T>::Mat(c, k);
  if (Cols(out) == c)
    for (int32_t j = 1; j <= c; ++j)
      for (int32_t i = 1; i <= k; ++i) out[j][i] = m[j][1 + (i - 1) * factor];
  return out;
}

}  // namespace

extern "C" {

// ---- moving averages and gap filling --------------------------------------------------

QVX_API double *AdjacentAveraging(const double *v, int32_t m) noexcept {
  return Guard(static_cast<double *>(nullptr), [&]() -> double * {
    const int32_t n = Len(v);
    double *out = NewVector(n);
    if (Len(out) != n) return out;
    MovingAverage(v + 1, n, std::max(m, 0), out + 1);
    return out;
  });
}

QVX_API Complex *AdjacentAveragingC(const Complex *v, int32_t m) noexcept {
  return Guard(static_cast<Complex *>(nullptr), [&]() -> Complex * {
    const int32_t n = Len(v);
    Complex *out = NewVectorC(n);
    if (Len(out) != n) return out;
    std::vector<double> re(n), im(n), a(n), b(n);
    for (int32_t i = 0; i < n; ++i) {
      re[i] = v[i + 1].re;
      im[i] = v[i + 1].im;
    }
    MovingAverage(re.data(), n, std::max(m, 0), a.data());
    MovingAverage(im.data(), n, std::max(m, 0), b.data());
    for (int32_t i = 0; i < n; ++i) out[i + 1] = Cx(a[i], b[i]);
    return out;
  });
}

QVX_API double **AdjacentAveragingInterpolation(double **set, int32_t m, int32_t n) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const RealSet s = View(set);
    std::vector<double> smooth(static_cast<size_t>(s.n));
    MovingAverage(s.y, s.n, std::max(m, 0), smooth.data());
    int32_t hint = -1;
    return ResampleSet(s, n, [&](double t) { return LinearAtNear(s.x, smooth.data(), s.n, t, &hint); });
  });
}

QVX_API Complex **AdjacentAveragingInterpolationC(Complex **set, int32_t m, int32_t n) noexcept {
  return Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    const ComplexSet s = Split(set);
    if (s.n <= 0 || n < 1) return NewSetC(0);
    std::vector<double> a(s.n), b(s.n);
    MovingAverage(s.re.data(), s.n, std::max(m, 0), a.data());
    MovingAverage(s.im.data(), s.n, std::max(m, 0), b.data());
    Complex **out = NewSetC(n);
    if (Points(out) != n) return out;
    for (int32_t i = 1; i <= n; ++i) {
      const double t = GridPoint(s.x[0], s.x[s.n - 1], n, i);
      out[1][i] = Cx(t, 0.0);
      out[2][i] = Cx(LinearAt(s.x.data(), a.data(), s.n, t), LinearAt(s.x.data(), b.data(), s.n, t));
    }
    return out;
  });
}

QVX_API int32_t **AdjacentAveragingML(int32_t **m, int32_t radius) noexcept {
  return Guard(static_cast<int32_t **>(nullptr), [&]() -> int32_t ** {
    const int32_t c = Cols(m), r = Rows(m);
    if (c <= 0 || r <= 0) return NewMatrixL(0, 0);
    int32_t **out = NewMatrixL(c, r);
    if (Cols(out) != c) return out;
    const int32_t k = std::max(radius, 0);
    for (int32_t j = 1; j <= c; ++j)
      for (int32_t i = 1; i <= r; ++i) {
        double sum = 0.0;
        int32_t count = 0;
        for (int32_t a = std::max(1, j - k); a <= std::min(c, j + k); ++a)
          for (int32_t b = std::max(1, i - k); b <= std::min(r, i + k); ++b) {
            sum += m[a][b];
            ++count;
          }
        out[j][i] = RoundToInt(sum / count);
      }
    return out;
  });
}

QVX_API double *AdjacentInterpolation(const double *v) noexcept {
  return Guard(static_cast<double *>(nullptr), [&]() -> double * {
    const int32_t n = Len(v);
    double *out = NewVector(n);
    if (Len(out) != n) return out;
    std::copy(v + 1, v + 1 + n, out + 1);
    FillGaps(out + 1, n);
    return out;
  });
}

QVX_API Complex *AdjacentInterpolationC(const Complex *v) noexcept {
  return Guard(static_cast<Complex *>(nullptr), [&]() -> Complex * {
    const int32_t n = Len(v);
    Complex *out = NewVectorC(n);
    if (Len(out) != n) return out;
    // A sample is missing when either part is not finite; both parts of it
    // are refilled from the same neighbours.
    std::vector<double> re(n), im(n);
    for (int32_t i = 0; i < n; ++i) {
      const bool ok = std::isfinite(v[i + 1].re) && std::isfinite(v[i + 1].im);
      re[i] = ok ? v[i + 1].re : kNaN;
      im[i] = ok ? v[i + 1].im : kNaN;
    }
    FillGaps(re.data(), n);
    FillGaps(im.data(), n);
    for (int32_t i = 0; i < n; ++i) out[i + 1] = Cx(re[i], im[i]);
    return out;
  });
}

// ---- bicubic ---------------------------------------------------------------------------

QVX_API double **BicubicCoefficients(const double *y, const double *y1, const double *y2, const double *y12,
                                     double d1, double d2) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    if (Len(y) < 4 || Len(y1) < 4 || Len(y2) < 4 || Len(y12) < 4) return NewMatrix(0, 0);
    double c[4][4];
    BicubicCoefficientsRaw(y + 1, y1 + 1, y2 + 1, y12 + 1, d1, d2, c);
    double **out = NewMatrix(4, 4);
    if (Cols(out) != 4) return out;
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < 4; ++j) out[i + 1][j + 1] = c[i][j];
    return out;
  });
}

QVX_API double BicubicInterpolation(const double *y, const double *y1, const double *y2, const double *y12,
                                    double x1l, double x1u, double x2l, double x2u, double x1, double x2,
                                    double *gradient1, double *gradient2) noexcept {
  if (gradient1) *gradient1 = kNaN;
  if (gradient2) *gradient2 = kNaN;
  if (Len(y) < 4 || Len(y1) < 4 || Len(y2) < 4 || Len(y12) < 4) return kNaN;
  const double d1 = x1u - x1l, d2 = x2u - x2l;
  if (!(d1 != 0.0) || !(d2 != 0.0)) return kNaN;
  double c[4][4];
  BicubicCoefficientsRaw(y + 1, y1 + 1, y2 + 1, y12 + 1, d1, d2, c);
  return BicubicEvaluate(c, (x1 - x1l) / d1, (x2 - x2l) / d2, d1, d2, gradient1, gradient2);
}

QVX_API double BicubicInterpolationSquare(double **p, double x, double y) noexcept {
  if (Cols(p) < 4 || Rows(p) < 4) return kNaN;
  double block[4][4];
  for (int a = 0; a < 4; ++a)
    for (int b = 0; b < 4; ++b) block[a][b] = p[a + 1][b + 1];
  return CatmullRomCell(block, x, y);
}

QVX_API double **BicubicInterpolationM(double **m, int32_t cols, int32_t rows) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const int32_t c = Cols(m), r = Rows(m);
    if (c <= 0 || r <= 0 || cols < 1 || rows < 1) return NewMatrix(0, 0);
    double **out = NewMatrix(cols, rows);
    if (Cols(out) != cols) return out;
    // One sample beyond each edge is extended linearly from the last two
    // (repeated when there is only one), so the central differences of the
    // border cells become one-sided slopes.
    auto along = [&](int32_t i) { return std::clamp(i, 1, r); };
    auto column = [&](int32_t j, int32_t i) -> double {
      if (i < 1 && r >= 2) return 2.0 * m[j][1] - m[j][2];
      if (i > r && r >= 2) return 2.0 * m[j][r] - m[j][r - 1];
      return m[j][along(i)];
    };
    auto at = [&](int32_t j, int32_t i) -> double {
      if (j < 1 && c >= 2) return 2.0 * column(1, i) - column(2, i);
      if (j > c && c >= 2) return 2.0 * column(c, i) - column(c - 1, i);
      return column(std::clamp(j, 1, c), i);
    };
    for (int32_t jj = 1; jj <= cols; ++jj) {
      const double a = IndexPosition(c, cols, jj);
      const int32_t j = c == 1 ? 1 : std::clamp(static_cast<int32_t>(std::floor(a)), 1, c - 1);
      for (int32_t ii = 1; ii <= rows; ++ii) {
        const double b = IndexPosition(r, rows, ii);
        const int32_t i = r == 1 ? 1 : std::clamp(static_cast<int32_t>(std::floor(b)), 1, r - 1);
        double block[4][4];
        for (int s = 0; s < 4; ++s)
          for (int t = 0; t < 4; ++t) block[s][t] = at(j - 1 + s, i - 1 + t);
        out[jj][ii] = CatmullRomCell(block, a - j, b - i);
      }
    }
    return out;
  });
}

// ---- cropping and down-sampling ---------------------------------------------------------

QVX_API double ***Crop2D(double ***set, double x1, double x2, double y1, double y2) noexcept {
  return Guard(static_cast<double ***>(nullptr), [&]() -> double *** {
    int32_t nx = 0, ny = 0;
    if (!Set2DSizes(set, &nx, &ny)) return NewSet2D(0, 0);
    if (x1 > x2) std::swap(x1, x2);
    if (y1 > y2) std::swap(y1, y2);
    std::vector<int32_t> cols, rows;
    for (int32_t j = 1; j <= nx; ++j)
      if (set[2][1][j] >= x1 && set[2][1][j] <= x2) cols.push_back(j);
    for (int32_t i = 1; i <= ny; ++i)
      if (set[3][1][i] >= y1 && set[3][1][i] <= y2) rows.push_back(i);
    const int32_t cx = static_cast<int32_t>(cols.size()), cy = static_cast<int32_t>(rows.size());
    if (cx == 0 || cy == 0) return NewSet2D(0, 0);
    double ***out = NewSet2D(cx, cy);
    int32_t ox = 0, oy = 0;
    if (!Set2DSizes(out, &ox, &oy) || ox != cx || oy != cy) return out;
    for (int32_t a = 0; a < cx; ++a) out[2][1][a + 1] = set[2][1][cols[a]];
    for (int32_t b = 0; b < cy; ++b) out[3][1][b + 1] = set[3][1][rows[b]];
    for (int32_t a = 0; a < cx; ++a)
      for (int32_t b = 0; b < cy; ++b) out[1][a + 1][b + 1] = set[1][cols[a]][rows[b]];
    return out;
  });
}

QVX_API double **CropMatrix(double **m, int32_t c1, int32_t c2, int32_t r1, int32_t r2) noexcept {
  return CropMatrixT(m, c1, c2, r1, r2);
}
QVX_API Complex **CropMatrixC(Complex **m, int32_t c1, int32_t c2, int32_t r1, int32_t r2) noexcept {
  return CropMatrixT(m, c1, c2, r1, r2);
}
QVX_API double **CropMatrixCentered(double **m, int32_t cols, int32_t rows) noexcept {
  return CropMatrixCentredT(m, cols, rows);
}
QVX_API Complex **CropMatrixCenteredC(Complex **m, int32_t cols, int32_t rows) noexcept {
  return CropMatrixCentredT(m, cols, rows);
}
QVX_API double *CropVector(const double *v, int32_t i1, int32_t i2) noexcept { return CropVectorT(v, i1, i2); }
QVX_API Complex *CropVectorC(const Complex *v, int32_t i1, int32_t i2) noexcept { return CropVectorT(v, i1, i2); }
QVX_API double *CropVectorCentered(const double *v, int32_t n) noexcept { return CropVectorCentredT(v, n); }
QVX_API Complex *CropVectorCenteredC(const Complex *v, int32_t n) noexcept { return CropVectorCentredT(v, n); }
QVX_API double *DownSampleV(const double *v, int32_t factor) noexcept { return DownSampleVT(v, factor); }
QVX_API Complex *DownSampleVC(const Complex *v, int32_t factor) noexcept { return DownSampleVT(v, factor); }
QVX_API double **DownSampleCols(double **m, int32_t factor) noexcept { return DownSampleColsT(m, factor); }
QVX_API Complex **DownSampleColsC(Complex **m, int32_t factor) noexcept { return DownSampleColsT(m, factor); }

QVX_API double *UniformScale(const double *v, double low, double high) noexcept {
  const int32_t n = Len(v);
  double *out = NewVector(n);
  if (Len(out) != n) return out;
  double lo = INFINITY, hi = -INFINITY;
  for (int32_t i = 1; i <= n; ++i)
    if (std::isfinite(v[i])) {
      lo = std::min(lo, v[i]);
      hi = std::max(hi, v[i]);
    }
  for (int32_t i = 1; i <= n; ++i) {
    if (!std::isfinite(v[i]))
      out[i] = kNaN;
    else if (hi > lo)
      out[i] = low + (v[i] - lo) * ((high - low) / (hi - lo));
    else
      out[i] = 0.5 * (low + high);  // a constant vector goes to the middle
  }
  return out;
}

// ---- one-point evaluations ---------------------------------------------------------------

QVX_API double LinearInterpolation1(double **set, double x) noexcept {
  const RealSet s = View(set);
  return std::isnan(x) ? kNaN : LinearAt(s.x, s.y, s.n, x);
}

QVX_API Complex LinearInterpolation1C(Complex **set, double x) noexcept {
  const int32_t n = Points(set);
  if (n <= 0 || std::isnan(x)) return Cx(kNaN, kNaN);
  if (n == 1) return set[2][1];
  const int32_t k = qvx::calculus::LastAtOrBelow(n, x, [&](int32_t i) { return set[1][i].re; });
  const int32_t i = std::clamp(k, 1, n - 1);
  const double h = set[1][i + 1].re - set[1][i].re;
  const double s = h != 0.0 ? (x - set[1][i].re) / h : 0.0;
  const Complex a = set[2][i], b = set[2][i + 1];
  return Cx(a.re + s * (b.re - a.re), a.im + s * (b.im - a.im));
}

QVX_API double ParabolicInterpolation1(double **set, double x) noexcept {
  return Guard(kNaN, [&] { return LocalPolynomial(View(set), 3, x); });
}

QVX_API double CubicInterpolation1(double **set, double x) noexcept {
  return Guard(kNaN, [&] { return LocalPolynomial(View(set), 4, x); });
}

QVX_API double Lagrange(double **set, double x) noexcept {
  return Guard(kNaN, [&] {
    const RealSet s = View(set);
    if (s.n <= 0 || std::isnan(x)) return kNaN;
    return Neville(s.x, s.y, 0, s.n, x);
  });
}

QVX_API double ParabolicInterpolation11(double x1, double y1, double x2, double y2, double x3, double y3,
                                        double x) noexcept {
  return Parabola(x1, y1, x2, y2, x3, y3, x);
}

QVX_API double ParabolicExtremum(double x1, double y1, double x2, double y2, double x3, double y3,
                                 double *yExtremum) noexcept {
  // Vertex of the parabola through three points (the step of Brent's
  // parabolic interpolation): x2 - ((x2-x1)^2 (y2-y3) - (x2-x3)^2 (y2-y1)) /
  // (2 ((x2-x1)(y2-y3) - (x2-x3)(y2-y1))).
  if (yExtremum) *yExtremum = kNaN;
  const double a = x2 - x1, b = x2 - x3;
  const double den = 2.0 * (a * (y2 - y3) - b * (y2 - y1));
  if (!(den != 0.0) || x1 == x3) return kNaN;  // collinear or degenerate
  const double xv = x2 - (a * a * (y2 - y3) - b * b * (y2 - y1)) / den;
  if (yExtremum) *yExtremum = Parabola(x1, y1, x2, y2, x3, y3, xv);
  return xv;
}

QVX_API double LinearInterpolation2D1(double ***set, double x, double y) noexcept {
  int32_t nx = 0, ny = 0;
  if (!Set2DSizes(set, &nx, &ny) || nx < 1 || ny < 1) return kNaN;
  return Bilinear(set, nx, ny, x, y);
}

// ---- data sets resampled ------------------------------------------------------------------

QVX_API Complex **LinearInterpolation1DC(Complex **set, int32_t n) noexcept {
  return Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    const int32_t m = Points(set);
    if (m <= 0 || n < 1) return NewSetC(0);
    Complex **out = NewSetC(n);
    if (Points(out) != n) return out;
    for (int32_t i = 1; i <= n; ++i) {
      const double t = GridPoint(set[1][1].re, set[1][m].re, n, i);
      out[1][i] = Cx(t, 0.0);
      out[2][i] = LinearInterpolation1C(set, t);
    }
    return out;
  });
}

QVX_API double **LinearInterpolationPts1D(double **set, const double *x) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const RealSet s = View(set);
    if (s.n <= 0) return NewSet(0);
    int32_t hint = -1;
    return SetAt(x, [&](double t) { return LinearAtNear(s.x, s.y, s.n, t, &hint); });
  });
}

QVX_API Complex **LinearInterpolationPts1DC(Complex **set, const double *x) noexcept {
  return Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    const int32_t n = Len(x);
    if (Points(set) <= 0) return NewSetC(0);
    Complex **out = NewSetC(n);
    if (Points(out) != n) return out;
    for (int32_t i = 1; i <= n; ++i) {
      out[1][i] = Cx(x[i], 0.0);
      out[2][i] = LinearInterpolation1C(set, x[i]);
    }
    return out;
  });
}

QVX_API double **ParabolicInterpolation1D(double **set, int32_t n) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const RealSet s = View(set);
    return ResampleSet(s, n, [&](double t) { return LocalPolynomial(s, 3, t); });
  });
}

QVX_API double **SplineInterpolation(double **set, int32_t n) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const RealSet s = View(set);
    const Spline spline(s.x, s.y, s.n);
    return ResampleSet(s, n, spline);
  });
}

QVX_API double **SplineInterpolationPts(double **set, const double *x) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const RealSet s = View(set);
    if (s.n <= 0) return NewSet(0);
    const Spline spline(s.x, s.y, s.n);
    return SetAt(x, spline);
  });
}

// ---- vectors and matrices in the index domain ---------------------------------------------

QVX_API double *LinearInterpolationV(const double *v, int32_t n) noexcept {
  const int32_t m = Len(v);
  if (m <= 0 || n < 1) return NewVector(0);
  double *out = NewVector(n);
  if (Len(out) != n) return out;
  for (int32_t k = 1; k <= n; ++k)
    out[k] = LinearIndex(m, IndexPosition(m, n, k), [&](int32_t i) { return v[i]; });
  return out;
}

QVX_API Complex *LinearInterpolationVC(const Complex *v, int32_t n) noexcept {
  const int32_t m = Len(v);
  if (m <= 0 || n < 1) return NewVectorC(0);
  Complex *out = NewVectorC(n);
  if (Len(out) != n) return out;
  for (int32_t k = 1; k <= n; ++k) {
    const double t = IndexPosition(m, n, k);
    out[k] = Cx(LinearIndex(m, t, [&](int32_t i) { return v[i].re; }),
                LinearIndex(m, t, [&](int32_t i) { return v[i].im; }));
  }
  return out;
}

QVX_API double *SplineInterpolationV(const double *v, int32_t n) noexcept {
  return Guard(static_cast<double *>(nullptr), [&]() -> double * {
    const int32_t m = Len(v);
    if (m <= 0 || n < 1) return NewVector(0);
    double *out = NewVector(n);
    if (Len(out) != n) return out;
    const std::vector<double> p = Positions(m);
    const Spline spline(p.data(), v + 1, m);
    for (int32_t k = 1; k <= n; ++k) out[k] = spline(IndexPosition(m, n, k));
    return out;
  });
}

QVX_API double **LinearInterpolationCols(double **m, int32_t rows) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    return MapColumns(m, rows, [](const double *col, int32_t r, double *out, int32_t n) {
      for (int32_t k = 1; k <= n; ++k)
        out[k] = LinearIndex(r, IndexPosition(r, n, k), [&](int32_t i) { return col[i]; });
    });
  });
}

QVX_API double **SplineInterpolationCols(double **m, int32_t rows) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const std::vector<double> p = Positions(std::max(Rows(m), 0));
    return MapColumns(m, rows, [&](const double *col, int32_t r, double *out, int32_t n) {
      const Spline spline(p.data(), col + 1, r);
      for (int32_t k = 1; k <= n; ++k) out[k] = spline(IndexPosition(r, n, k));
    });
  });
}

QVX_API double **LinearInterpolationRows(double **m, int32_t cols) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const int32_t c = Cols(m), r = Rows(m);
    if (c <= 0 || r <= 0 || cols < 1) return NewMatrix(0, 0);
    double **out = NewMatrix(cols, r);
    if (Cols(out) != cols) return out;
    for (int32_t jj = 1; jj <= cols; ++jj) {
      const double a = IndexPosition(c, cols, jj);
      for (int32_t i = 1; i <= r; ++i) out[jj][i] = LinearIndex(c, a, [&](int32_t j) { return m[j][i]; });
    }
    return out;
  });
}

QVX_API double **LinearInterpolationM(double **m, int32_t cols, int32_t rows) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const int32_t c = Cols(m), r = Rows(m);
    if (c <= 0 || r <= 0 || cols < 1 || rows < 1) return NewMatrix(0, 0);
    double **out = NewMatrix(cols, rows);
    if (Cols(out) != cols) return out;
    for (int32_t jj = 1; jj <= cols; ++jj)
      for (int32_t ii = 1; ii <= rows; ++ii)
        out[jj][ii] = BilinearIndex(c, r, IndexPosition(c, cols, jj), IndexPosition(r, rows, ii),
                                    [&](int32_t j, int32_t i) { return m[j][i]; });
    return out;
  });
}

QVX_API int32_t **LinearInterpolationML(int32_t **m, int32_t cols, int32_t rows) noexcept {
  return Guard(static_cast<int32_t **>(nullptr), [&]() -> int32_t ** {
    const int32_t c = Cols(m), r = Rows(m);
    if (c <= 0 || r <= 0 || cols < 1 || rows < 1) return NewMatrixL(0, 0);
    int32_t **out = NewMatrixL(cols, rows);
    if (Cols(out) != cols) return out;
    for (int32_t jj = 1; jj <= cols; ++jj)
      for (int32_t ii = 1; ii <= rows; ++ii)
        out[jj][ii] = RoundToInt(BilinearIndex(c, r, IndexPosition(c, cols, jj), IndexPosition(r, rows, ii),
                                               [&](int32_t j, int32_t i) { return static_cast<double>(m[j][i]); }));
    return out;
  });
}

QVX_API double **ProximalInterpolationM(double **m, int32_t cols, int32_t rows) noexcept {
  // Nearest neighbour: each new element takes the old element at the
  // rounded position (halves rounded up).
  const int32_t c = Cols(m), r = Rows(m);
  if (c <= 0 || r <= 0 || cols < 1 || rows < 1) return NewMatrix(0, 0);
  double **out = NewMatrix(cols, rows);
  if (Cols(out) != cols) return out;
  for (int32_t jj = 1; jj <= cols; ++jj) {
    const int32_t j = std::clamp(static_cast<int32_t>(std::floor(IndexPosition(c, cols, jj) + 0.5)), 1, c);
    for (int32_t ii = 1; ii <= rows; ++ii) {
      const int32_t i = std::clamp(static_cast<int32_t>(std::floor(IndexPosition(r, rows, ii) + 0.5)), 1, r);
      out[jj][ii] = m[j][i];
    }
  }
  return out;
}

QVX_API double **ProximalInterpolationMH(double **m, int32_t cols) noexcept {
  return ProximalInterpolationM(m, cols, Rows(m));
}

QVX_API double **ProximalInterpolationMV(double **m, int32_t rows) noexcept {
  return ProximalInterpolationM(m, Cols(m), rows);
}

// ---- two-dimensional sets ----------------------------------------------------------------------

QVX_API double ***LinearInterpolation2D(double ***set, int32_t nx, int32_t ny) noexcept {
  return Guard(static_cast<double ***>(nullptr), [&]() -> double *** {
    int32_t sx = 0, sy = 0;
    Set2DSizes(set, &sx, &sy);
    return Resample2D(set, nx, ny, [&](double x, double y) { return Bilinear(set, sx, sy, x, y); });
  });
}

QVX_API double ***LinearInterpolationPts2D(double ***set, const double *x, const double *y) noexcept {
  return Guard(static_cast<double ***>(nullptr), [&]() -> double *** {
    int32_t sx = 0, sy = 0;
    const int32_t nx = Len(x), ny = Len(y);
    if (!Set2DSizes(set, &sx, &sy) || sx < 1 || sy < 1) return NewSet2D(0, 0);
    double ***out = NewSet2D(nx, ny);
    int32_t ox = 0, oy = 0;
    if (!Set2DSizes(out, &ox, &oy) || ox != nx || oy != ny) return out;
    for (int32_t j = 1; j <= nx; ++j) out[2][1][j] = x[j];
    for (int32_t i = 1; i <= ny; ++i) out[3][1][i] = y[i];
    for (int32_t j = 1; j <= nx; ++j)
      for (int32_t i = 1; i <= ny; ++i) out[1][j][i] = Bilinear(set, sx, sy, x[j], y[i]);
    return out;
  });
}

QVX_API double ***SplineInterpolation2D(double ***set, int32_t nx, int32_t ny) noexcept {
  // Bicubic spline by two passes of one-dimensional natural splines: along
  // x for every old row onto the new abscissas, then along y for every new
  // column.
  return Guard(static_cast<double ***>(nullptr), [&]() -> double *** {
    int32_t sx = 0, sy = 0;
    if (!Set2DSizes(set, &sx, &sy) || sx < 1 || sy < 1 || nx < 1 || ny < 1) return NewSet2D(0, 0);
    double ***out = NewSet2D(nx, ny);
    int32_t ox = 0, oy = 0;
    if (!Set2DSizes(out, &ox, &oy) || ox != nx || oy != ny) return out;
    const double *xs = set[2][1], *ys = set[3][1];
    for (int32_t j = 1; j <= nx; ++j) out[2][1][j] = GridPoint(xs[1], xs[sx], nx, j);
    for (int32_t i = 1; i <= ny; ++i) out[3][1][i] = GridPoint(ys[1], ys[sy], ny, i);
    std::vector<double> row(static_cast<size_t>(sx));
    std::vector<double> mid(static_cast<size_t>(nx) * sy);  // mid[j * sy + i]: new x, old y
    for (int32_t i = 1; i <= sy; ++i) {
      for (int32_t j = 1; j <= sx; ++j) row[j - 1] = set[1][j][i];
      const Spline s(xs + 1, row.data(), sx);
      for (int32_t j = 1; j <= nx; ++j) mid[static_cast<size_t>(j - 1) * sy + (i - 1)] = s(out[2][1][j]);
    }
    for (int32_t j = 1; j <= nx; ++j) {
      const Spline s(ys + 1, mid.data() + static_cast<size_t>(j - 1) * sy, sy);
      for (int32_t i = 1; i <= ny; ++i) out[1][j][i] = s(out[3][1][i]);
    }
    return out;
  });
}

// ---- smoothing splines --------------------------------------------------------------------------

QVX_API double **SmoothSpline(double **set, double lambda) noexcept {
  return Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const RealSet s = View(set);
    double **out = NewSet(s.n);
    if (Points(out) != s.n || s.n == 0) return out;
    const std::vector<double> g = ReinschSmooth(s.x, s.y, s.n, lambda);
    for (int32_t i = 0; i < s.n; ++i) {
      out[1][i + 1] = s.x[i];
      out[2][i + 1] = g[i];
    }
    return out;
  });
}

QVX_API Complex **SmoothSplineRectangular1DC(Complex **set, double lambda) noexcept {
  return Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    const ComplexSet s = Split(set);
    Complex **out = NewSetC(s.n);
    if (Points(out) != s.n || s.n == 0) return out;
    const std::vector<double> a = ReinschSmooth(s.x.data(), s.re.data(), s.n, lambda);
    const std::vector<double> b = ReinschSmooth(s.x.data(), s.im.data(), s.n, lambda);
    for (int32_t i = 0; i < s.n; ++i) {
      out[1][i + 1] = Cx(s.x[i], 0.0);
      out[2][i + 1] = Cx(a[i], b[i]);
    }
    return out;
  });
}

QVX_API Complex **SmoothSplinePolar1DC(Complex **set, double lambda) noexcept {
  // Modulus and unwrapped phase are smoothed apart, which keeps a
  // rotating phasor from being flattened towards zero.
  return Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    const ComplexSet s = Split(set);
    Complex **out = NewSetC(s.n);
    if (Points(out) != s.n || s.n == 0) return out;
    std::vector<double> modulus(s.n), phase(s.n);
    for (int32_t i = 0; i < s.n; ++i) {
      modulus[i] = std::hypot(s.re[i], s.im[i]);
      phase[i] = std::atan2(s.im[i], s.re[i]);
    }
    UnwrapPhase(phase);
    const std::vector<double> a = ReinschSmooth(s.x.data(), modulus.data(), s.n, lambda);
    const std::vector<double> b = ReinschSmooth(s.x.data(), phase.data(), s.n, lambda);
    for (int32_t i = 0; i < s.n; ++i) {
      out[1][i + 1] = Cx(s.x[i], 0.0);
      out[2][i + 1] = Cx(a[i] * std::cos(b[i]), a[i] * std::sin(b[i]));
    }
    return out;
  });
}

}  // extern "C"
