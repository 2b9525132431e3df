// Numerical derivatives: of functions (Ridders' extrapolation, central
// differences of any order, Fornberg's finite-difference weights), of
// sampled data in one and two dimensions (uneven spacing allowed), of
// periodic samples (high-order differences and the spectral derivative),
// and the vector calculus operators at a point in Cartesian, cylindrical
// and spherical coordinates, with the line and surface integrals.
//
// Derivatives of sampled data use Fornberg's weights on the three nearest
// samples, which reduce to the familiar three-point formulas on an even
// grid and stay second-order accurate on an uneven one; at the ends the
// stencil is one-sided.
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <functional>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/calculus/calculus.h"

namespace {

using namespace qvx::calculus;

constexpr double kPi = 3.141592653589793;

// ---- functions of one variable ---------------------------------------------

// Ridders' method: central differences of shrinking step (by 1.4 each
// round) extrapolated to zero step in a Neville tableau; stops when the
// error estimate grows. order 1 uses (f(x+h) - f(x-h)) / 2h, order 2 the
// second difference; both have error series in h^2.
template <class F>
double Ridders(F f, double x, double h, int order) {
  if (std::isnan(x)) return NAN;
  if (!(h > 0.0) || !std::isfinite(h)) h = 0.05 * std::max(1.0, std::fabs(x));
  constexpr int kTable = 10;
  constexpr double kShrink = 1.4, kShrink2 = kShrink * kShrink, kSafe = 2.0;
  const double fx = order == 2 ? f(x) : 0.0;
  auto difference = [&](double step) {
    return order == 1 ? (f(x + step) - f(x - step)) / (2.0 * step)
                      : (f(x + step) - 2.0 * fx + f(x - step)) / (step * step);
  };
  double a[kTable][kTable];
  a[0][0] = difference(h);
  double best = a[0][0], error = HUGE_VAL;
  for (int i = 1; i < kTable; ++i) {
    h /= kShrink;
    a[0][i] = difference(h);
    double factor = kShrink2;
    for (int j = 1; j <= i; ++j) {
      a[j][i] = (a[j - 1][i] * factor - a[j - 1][i - 1]) / (factor - 1.0);
      factor *= kShrink2;
      const double e = std::max(std::fabs(a[j][i] - a[j - 1][i]), std::fabs(a[j][i] - a[j - 1][i - 1]));
      if (e <= error) {
        error = e;
        best = a[j][i];
      }
    }
    if (std::fabs(a[i][i] - a[i - 1][i - 1]) >= kSafe * error) break;
  }
  return best;
}

template <class F>
double *AtEach(const double *x, F derivative) {
  const int32_t n = Len(x);
  double *out = Vector(n);
  if (Len(out) == n)
    for (int32_t i = 1; i <= n; ++i) out[i] = derivative(x[i]);
  return out;
}

// Fornberg's algorithm (B. Fornberg, 1988): weights c[j][k] of the k-th
// derivative at z from values at nodes x[0..n-1], for k = 0..m.
std::vector<std::vector<double>> FornbergWeights(const double *x, int32_t n, int32_t m, double z) {
  std::vector<std::vector<double>> c(n, std::vector<double>(m + 1, 0.0));
  if (n == 0) return c;
  double c1 = 1.0, c4 = x[0] - z;
  c[0][0] = 1.0;
  for (int32_t i = 1; i < n; ++i) {
    const int32_t mn = std::min(i, m);
    double c2 = 1.0;
    const double c5 = c4;
    c4 = x[i] - z;
    for (int32_t j = 0; j < i; ++j) {
      const double c3 = x[i] - x[j];
      c2 *= c3;
      if (j == i - 1) {
        for (int32_t k = mn; k >= 1; --k) c[i][k] = c1 * (k * c[i - 1][k - 1] - c5 * c[i - 1][k]) / c2;
        c[i][0] = -c1 * c5 * c[i - 1][0] / c2;
      }
      for (int32_t k = mn; k >= 1; --k) c[j][k] = (c4 * c[j][k] - k * c[j][k - 1]) / c3;
      c[j][0] = c4 * c[j][0] / c3;
    }
    c1 = c2;
  }
  return c;
}

// ---- sampled data ----------------------------------------------------------

// Derivative of the given order (0..2) at every sample of values v(i) over
// abscissas x(i), i = 1..n, from the three nearest samples.
template <class T, class X, class V, class Out>
void SampledDerivative(int32_t n, int order, X x, V v, Out out) {
  for (int32_t i = 1; i <= n; ++i) {
    if (order == 0) {
      out(i, v(i));
      continue;
    }
    if (n < 2 || (n == 2 && order == 2)) {
      out(i, T{});
      continue;
    }
    const int32_t m = std::min<int32_t>(3, n);
    const int32_t first = std::clamp<int32_t>(i - 1, 1, n - m + 1);
    double nodes[3];
    for (int32_t k = 0; k < m; ++k) nodes[k] = x(first + k);
    const auto w = FornbergWeights(nodes, m, order, x(i));
    T s{};
    for (int32_t k = 0; k < m; ++k) s += w[k][order] * v(first + k);
    out(i, s);
  }
}

using Cd = std::complex<double>;
inline Cd ToStd(Complex z) { return Cd(z.re, z.im); }
inline Complex FromStd(Cd z) { return Complex{z.real(), z.imag()}; }

// The real and complex 1D data sets share one body: a complex set keeps its
// abscissas in the real parts and is differentiated in std::complex.
template <class T>
struct SetKind;
template <>
struct SetKind<double> {
  using D = double;
  static double *Vec(int32_t n) { return Vector(n); }
  static double **Mat(int32_t c, int32_t r) { return Matrix(c, r); }
  static double X(double x) { return x; }
  static double In(double y) { return y; }
  static double Out(double d) { return d; }
};
template <>
struct SetKind<Complex> {
  using D = Cd;
  static Complex *Vec(int32_t n) { return VectorC(n); }
  static Complex **Mat(int32_t c, int32_t r) { return MatrixC(c, r); }
  static double X(Complex x) { return x.re; }
  static Cd In(Complex y) { return ToStd(y); }
  static Complex Out(Cd d) { return FromStd(d); }
};

// The data set with its ordinates replaced by their first derivative.
template <class T>
T **DerivativeSet(T **set) {
  using K = SetKind<T>;
  const int32_t n = Points(set);
  T **out = K::Mat(2, n);
  if (Points(out) != n) return out;
  qvx::GuardVoid([&] {
    // Abscissas copied; a complex one loses its imaginary part.
    for (int32_t i = 1; i <= n; ++i) out[1][i] = K::Out(K::X(set[1][i]));
    SampledDerivative<typename K::D>(n, 1, [set](int32_t i) { return K::X(set[1][i]); },
                                     [set](int32_t i) { return K::In(set[2][i]); },
                                     [out](int32_t i, typename K::D d) { out[2][i] = K::Out(d); });
  });
  return out;
}

// The derivative of the given order of the ordinates, as a vector.
template <class T>
T *DerivativeValues(T **set, int order) {
  using K = SetKind<T>;
  const int32_t n = Points(set);
  T *out = K::Vec(n);
  if (Len(out) != n) return out;
  qvx::GuardVoid([&] {
    SampledDerivative<typename K::D>(n, order, [set](int32_t i) { return K::X(set[1][i]); },
                                     [set](int32_t i) { return K::In(set[2][i]); },
                                     [out](int32_t i, typename K::D d) { out[i] = K::Out(d); });
  });
  return out;
}

// Periodic derivative of uniform samples (index wraps), fourth-order
// central differences.
template <class V, class Out>
void CyclicDerivative(int32_t n, int order, double dx, V v, Out out) {
  auto at = [&](int32_t i) { return v(((i - 1) % n + n) % n + 1); };
  for (int32_t i = 1; i <= n; ++i) {
    double d;
    if (order == 0)
      d = at(i);
    else if (order == 1)
      d = (-at(i + 2) + 8.0 * at(i + 1) - 8.0 * at(i - 1) + at(i - 2)) / (12.0 * dx);
    else
      d = (-at(i + 2) + 16.0 * at(i + 1) - 30.0 * at(i) + 16.0 * at(i - 1) - at(i - 2)) / (12.0 * dx * dx);
    out(i, d);
  }
}

// In-place discrete Fourier transform (sign -1 forward, +1 backward,
// unnormalised): iterative radix-2 Cooley-Tukey for powers of two, the
// direct sum with a table of roots of unity otherwise.
void Transform(std::vector<Cd> &a, int sign) {
  const std::size_t n = a.size();
  if (n < 2) return;
  if ((n & (n - 1)) == 0) {
    for (std::size_t i = 1, j = 0; i < n; ++i) {
      std::size_t bit = n >> 1;
      for (; j & bit; bit >>= 1) j ^= bit;
      j ^= bit;
      if (i < j) std::swap(a[i], a[j]);
    }
    for (std::size_t len = 2; len <= n; len <<= 1) {
      const double angle = sign * 2.0 * kPi / static_cast<double>(len);
      for (std::size_t i = 0; i < n; i += len)
        for (std::size_t k = 0; k < len / 2; ++k) {
          const Cd w = std::polar(1.0, angle * static_cast<double>(k));
          const Cd u = a[i + k], t = a[i + k + len / 2] * w;
          a[i + k] = u + t;
          a[i + k + len / 2] = u - t;
        }
    }
    return;
  }
  std::vector<Cd> roots(n), out(n);
  for (std::size_t k = 0; k < n; ++k) roots[k] = std::polar(1.0, sign * 2.0 * kPi * static_cast<double>(k) / n);
  for (std::size_t k = 0; k < n; ++k) {
    Cd s = 0.0;
    for (std::size_t j = 0; j < n; ++j) s += a[j] * roots[(j * k) % n];
    out[k] = s;
  }
  a.swap(out);
}

// ---- 2D sets ---------------------------------------------------------------

struct Grid {
  double **values = nullptr;
  const double *xs = nullptr, *ys = nullptr;
  int32_t nx = 0, ny = 0;
};

Grid ReadGrid(double ***set) {
  Grid g;
  if (MVLengthOf(set) < 3) return g;
  if (!set[1] || !set[2] || !set[3] || Cols(set[2]) < 1 || Cols(set[3]) < 1) return g;
  g.values = set[1];
  g.xs = set[2][1];
  g.ys = set[3][1];
  g.nx = std::min(Cols(g.values), Len(g.xs));
  g.ny = std::min(Rows(g.values), Len(g.ys));
  return g;
}

// Partial derivative of the given orders of a grid, into a new matrix.
double **GridDerivative(const Grid &g, int orderX, int orderY, bool cyclic) {
  double **out = Matrix(g.nx, g.ny);
  if (Cols(out) != g.nx || Rows(out) != g.ny) return out;
  std::vector<double> row(g.nx + 1), col(g.ny + 1);
  const double dx = g.nx > 1 ? g.xs[2] - g.xs[1] : 1.0, dy = g.ny > 1 ? g.ys[2] - g.ys[1] : 1.0;
  // Along x (the outer index), row by row; then along y in place.
  for (int32_t i = 1; i <= g.ny; ++i) {
    auto v = [&](int32_t j) { return g.values[j][i]; };
    auto put = [&](int32_t j, double d) { row[j] = d; };
    if (cyclic)
      CyclicDerivative(g.nx, orderX, dx, v, put);
    else
      SampledDerivative<double>(g.nx, orderX, [&](int32_t j) { return g.xs[j]; }, v, put);
    for (int32_t j = 1; j <= g.nx; ++j) out[j][i] = row[j];
  }
  for (int32_t j = 1; j <= g.nx; ++j) {
    auto v = [&](int32_t i) { return out[j][i]; };
    auto put = [&](int32_t i, double d) { col[i] = d; };
    if (cyclic)
      CyclicDerivative(g.ny, orderY, dy, v, put);
    else
      SampledDerivative<double>(g.ny, orderY, [&](int32_t i) { return g.ys[i]; }, v, put);
    for (int32_t i = 1; i <= g.ny; ++i) out[j][i] = col[i];
  }
  return out;
}

// A new 2D set over the grid's abscissas and ordinates holding `values`
// (taken over).
double ***WrapGrid(const Grid &g, double **values) {
  double ***out = MatrixVector(3);
  if (!out) {
    FreeMatrix(values);
    return nullptr;
  }
  out[1] = values;
  out[2] = Matrix(1, g.nx);
  out[3] = Matrix(1, g.ny);
  for (int32_t j = 1; j <= g.nx && Rows(out[2]) == g.nx; ++j) out[2][1][j] = g.xs[j];
  for (int32_t i = 1; i <= g.ny && Rows(out[3]) == g.ny; ++i) out[3][1][i] = g.ys[i];
  return out;
}

double ***Derivative2DSet(double ***set, int32_t orderX, int32_t orderY, bool cyclic) {
  const Grid g = ReadGrid(set);
  const bool valid = orderX >= 0 && orderX <= 2 && orderY >= 0 && orderY <= 2;
  const Grid use = valid ? g : Grid{};
  return qvx::Guard(static_cast<double ***>(nullptr),
                    [&] { return WrapGrid(use, GridDerivative(use, orderX, orderY, cyclic)); });
}

// ---- vector calculus at a point --------------------------------------------

using Point = std::vector<double>;  // Vector layout: length in element 0

Point ToPoint(const double *r) {
  const int32_t n = Len(r);
  Point p(n + 1);
  p[0] = n;
  for (int32_t i = 1; i <= n; ++i) p[i] = r[i];
  return p;
}

double StepFor(double h, double x) { return h > 0.0 && std::isfinite(h) ? h : 1e-3 * std::max(1.0, std::fabs(x)); }

// Partial derivative of order 1 or 2 of g at p in coordinate i, by
// fourth-order central differences.
template <class G>
double Partial(G g, const Point &p, int32_t i, double h, int order) {
  h = StepFor(h, p[i]);
  Point q = p;
  auto at = [&](double offset) {
    q[i] = p[i] + offset;
    return g(q);
  };
  const double f2 = at(2.0 * h), f1 = at(h), m1 = at(-h), m2 = at(-2.0 * h);
  if (order == 1) return (-f2 + 8.0 * f1 - 8.0 * m1 + m2) / (12.0 * h);
  const double f0 = at(0.0);
  return (-f2 + 16.0 * f1 - 30.0 * f0 + 16.0 * m1 - m2) / (12.0 * h * h);
}

// Component c of a vector field, as a scalar function of a point.
struct Component {
  VectorFieldFn f;
  void *params;
  int32_t c;
  double operator()(const Point &p) const {
    std::vector<double> out(p.size(), 0.0);
    out[0] = p[0];
    f(p.data(), out.data(), params);
    return out[c];
  }
};

// A failed Vector-returning body falls back to a valid vector of length 0.
double *OrEmpty(double *v) { return v ? v : Vector(0); }

bool ThreeD(const double *r) { return Len(r) == 3; }

double *NewVector3(double a, double b, double c) {
  double *v = Vector(3);
  if (Len(v) == 3) {
    v[1] = a;
    v[2] = b;
    v[3] = c;
  }
  return v;
}

// Derivative of curve or surface points by fourth-order central
// differences in the parameter.
template <class Eval>
void ParameterDerivative(Eval eval, double t, double h, std::vector<double> &d) {
  const int32_t n = static_cast<int32_t>(d.size()) - 1;
  std::vector<double> a(n + 1), b(n + 1), c(n + 1), e(n + 1);
  a[0] = b[0] = c[0] = e[0] = n;
  eval(t + 2.0 * h, a.data());
  eval(t + h, b.data());
  eval(t - h, c.data());
  eval(t - 2.0 * h, e.data());
  for (int32_t i = 1; i <= n; ++i) d[i] = (-a[i] + 8.0 * b[i] - 8.0 * c[i] + e[i]) / (12.0 * h);
}

}  // namespace

extern "C" {

QVX_API double Derivative(RealFn f, double x, double h) noexcept {
  return f ? Ridders([f](double t) { return f(t); }, x, h, 1) : 0.0;
}

QVX_API double DerivativeP(RealFnP f, void *params, double x, double h) noexcept {
  return f ? Ridders([f, params](double t) { return f(t, params); }, x, h, 1) : 0.0;
}

QVX_API double *DerivativeV(RealFn f, const double *x, double h) noexcept {
  if (!f) return Vector(0);
  return AtEach(x, [&](double t) { return Derivative(f, t, h); });
}

QVX_API double *DerivativePV(RealFnP f, void *params, const double *x, double h) noexcept {
  if (!f) return Vector(0);
  return AtEach(x, [&](double t) { return DerivativeP(f, params, t, h); });
}

QVX_API double Derivative2(RealFn f, double x, double h) noexcept {
  return f ? Ridders([f](double t) { return f(t); }, x, h, 2) : 0.0;
}

QVX_API double Derivative2P(RealFnP f, void *params, double x, double h) noexcept {
  return f ? Ridders([f, params](double t) { return f(t, params); }, x, h, 2) : 0.0;
}

QVX_API double *Derivative2V(RealFn f, const double *x, double h) noexcept {
  if (!f) return Vector(0);
  return AtEach(x, [&](double t) { return Derivative2(f, t, h); });
}

QVX_API double *Derivative2PV(RealFnP f, void *params, const double *x, double h) noexcept {
  if (!f) return Vector(0);
  return AtEach(x, [&](double t) { return Derivative2P(f, params, t, h); });
}

QVX_API double DerivativeN(RealFn f, double x, int32_t order, double h) noexcept {
  if (!f || order < 0 || order > 12) return NAN;
  if (order == 0) return f(x);
  // Central difference sum_k (-1)^k C(n, k) f(x + (n/2 - k) h) / h^n; the
  // default step balances truncation (h^2) against rounding (eps / h^n).
  if (!(h > 0.0) || !std::isfinite(h)) h = std::pow(2.2e-16, 1.0 / (order + 2)) * std::max(1.0, std::fabs(x));
  double sum = 0.0, binomial = 1.0;
  for (int32_t k = 0; k <= order; ++k) {
    sum += (k % 2 ? -binomial : binomial) * f(x + (0.5 * order - k) * h);
    binomial = binomial * (order - k) / (k + 1);
  }
  return sum / std::pow(h, order);
}

QVX_API double *DerivativeWeights(int32_t order, const double *nodes, double x0) noexcept {
  const int32_t n = Len(nodes);
  double *out = Vector(order < 0 ? 0 : n);
  const int32_t m = Len(out);
  if (m == 0) return out;
  const bool ok = qvx::Guard(false, [&] {
    const auto c = FornbergWeights(nodes + 1, m, order, x0);
    for (int32_t j = 0; j < m; ++j) out[j + 1] = c[j][order];
    return true;
  });
  if (!ok) out[0] = 0.0;
  return out;
}

QVX_API double **Derivative1D(double **set) noexcept { return DerivativeSet(set); }
QVX_API Complex **Derivative1DC(Complex **set) noexcept { return DerivativeSet(set); }
QVX_API double *Gradient1D(double **set) noexcept { return DerivativeValues(set, 1); }
QVX_API Complex *Gradient1DC(Complex **set) noexcept { return DerivativeValues(set, 1); }
QVX_API double *Laplacian1D(double **set) noexcept { return DerivativeValues(set, 2); }
QVX_API Complex *Laplacian1DC(Complex **set) noexcept { return DerivativeValues(set, 2); }

QVX_API double *DerivativeDCyclic(const double *v, double dx) noexcept {
  const int32_t n = Len(v);
  double *out = Vector(n);
  if (Len(out) != n || n == 0) return out;
  CyclicDerivative(n, 1, dx, [v](int32_t i) { return v[i]; }, [out](int32_t i, double d) { out[i] = d; });
  return out;
}

QVX_API double *DerivativeSpectral(const double *v, double period) noexcept {
  const int32_t n = Len(v);
  double *out = Vector(n);
  if (Len(out) != n || n == 0) return out;
  const bool ok = qvx::Guard(false, [&] {
    // Multiply the k-th Fourier coefficient by i 2 pi k / period, with k
    // taken in (-n/2, n/2); the Nyquist term of an even n has no defined
    // derivative for real data and is dropped.
    std::vector<Cd> a(n);
    for (int32_t i = 0; i < n; ++i) a[i] = v[i + 1];
    Transform(a, -1);
    for (int32_t k = 0; k < n; ++k) {
      const int32_t wave = k <= (n - 1) / 2 ? k : k - n;
      a[k] = (2 * k == n) ? Cd(0.0) : a[k] * Cd(0.0, 2.0 * kPi * wave / period);
    }
    Transform(a, 1);
    for (int32_t i = 0; i < n; ++i) out[i + 1] = a[i].real() / n;
    return true;
  });
  if (!ok)
    for (int32_t i = 1; i <= n; ++i) out[i] = NAN;
  return out;
}

QVX_API double ***Derivative2D(double ***set, int32_t orderX, int32_t orderY) noexcept {
  return Derivative2DSet(set, orderX, orderY, false);
}

QVX_API double ***Derivative2DCyclic(double ***set, int32_t orderX, int32_t orderY) noexcept {
  return Derivative2DSet(set, orderX, orderY, true);
}

QVX_API double ***PartialDerivativeX2D(double ***set) noexcept { return Derivative2DSet(set, 1, 0, false); }
QVX_API double ***PartialDerivativeY2D(double ***set) noexcept { return Derivative2DSet(set, 0, 1, false); }
QVX_API double ***PartialDerivative2X2D(double ***set) noexcept { return Derivative2DSet(set, 2, 0, false); }
QVX_API double ***PartialDerivative2Y2D(double ***set) noexcept { return Derivative2DSet(set, 0, 2, false); }
QVX_API double ***PartialDerivativeMixed2D(double ***set) noexcept { return Derivative2DSet(set, 1, 1, false); }

QVX_API double ***Gradient2D(double ***set) noexcept {
  const Grid g = ReadGrid(set);
  double ***out = MatrixVector(2);
  if (!out) return nullptr;
  out[1] = qvx::Guard(static_cast<double **>(nullptr), [&] { return GridDerivative(g, 1, 0, false); });
  out[2] = qvx::Guard(static_cast<double **>(nullptr), [&] { return GridDerivative(g, 0, 1, false); });
  if (!out[1]) out[1] = Matrix(0, 0);
  if (!out[2]) out[2] = Matrix(0, 0);
  return out;
}

QVX_API double ***Laplacian2D(double ***set) noexcept {
  const Grid g = ReadGrid(set);
  return qvx::Guard(static_cast<double ***>(nullptr), [&] {
    double **xx = GridDerivative(g, 2, 0, false), **yy = GridDerivative(g, 0, 2, false);
    if (Cols(xx) == g.nx && Rows(xx) == g.ny && Cols(yy) == g.nx && Rows(yy) == g.ny)
      for (int32_t j = 1; j <= g.nx; ++j)
        for (int32_t i = 1; i <= g.ny; ++i) xx[j][i] += yy[j][i];
    FreeMatrix(yy);
    return WrapGrid(g, xx);
  });
}

QVX_API double *Grad(ScalarFieldFn f, void *params, const double *r, double h) noexcept {
  const int32_t n = Len(r);
  double *out = Vector(f ? n : 0);
  if (Len(out) == 0) return out;
  qvx::GuardVoid([&] {
    const Point p = ToPoint(r);
    auto g = [&](const Point &q) { return f(q.data(), params); };
    for (int32_t i = 1; i <= n; ++i) out[i] = Partial(g, p, i, h, 1);
  });
  return out;
}

QVX_API double *GradCyl(ScalarFieldFn f, void *params, const double *r, double h) noexcept {
  if (!f || !ThreeD(r)) return Vector(0);
  return OrEmpty(qvx::Guard(static_cast<double *>(nullptr), [&] {
           const Point p = ToPoint(r);
           auto g = [&](const Point &q) { return f(q.data(), params); };
           return NewVector3(Partial(g, p, 1, h, 1), Partial(g, p, 2, h, 1) / p[1], Partial(g, p, 3, h, 1));
         }));
}

QVX_API double *GradSph(ScalarFieldFn f, void *params, const double *r, double h) noexcept {
  if (!f || !ThreeD(r)) return Vector(0);
  return OrEmpty(qvx::Guard(static_cast<double *>(nullptr), [&] {
           const Point p = ToPoint(r);
           auto g = [&](const Point &q) { return f(q.data(), params); };
           return NewVector3(Partial(g, p, 1, h, 1), Partial(g, p, 2, h, 1) / p[1],
                             Partial(g, p, 3, h, 1) / (p[1] * std::sin(p[2])));
         }));
}

QVX_API double Div(VectorFieldFn f, void *params, const double *r, double h) noexcept {
  const int32_t n = Len(r);
  if (!f || n == 0) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    const Point p = ToPoint(r);
    double s = 0.0;
    for (int32_t i = 1; i <= n; ++i) s += Partial(Component{f, params, i}, p, i, h, 1);
    return s;
  });
}

QVX_API double DivCyl(VectorFieldFn f, void *params, const double *r, double h) noexcept {
  if (!f || !ThreeD(r)) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    const Point p = ToPoint(r);
    const Component fr{f, params, 1}, fphi{f, params, 2}, fz{f, params, 3};
    const double rho = p[1];
    auto rhoFr = [&](const Point &q) { return q[1] * fr(q); };
    return Partial(rhoFr, p, 1, h, 1) / rho + Partial(fphi, p, 2, h, 1) / rho + Partial(fz, p, 3, h, 1);
  });
}

QVX_API double DivSph(VectorFieldFn f, void *params, const double *r, double h) noexcept {
  if (!f || !ThreeD(r)) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    const Point p = ToPoint(r);
    const Component fr{f, params, 1}, ft{f, params, 2}, fp{f, params, 3};
    const double rad = p[1], s = std::sin(p[2]);
    auto r2Fr = [&](const Point &q) { return q[1] * q[1] * fr(q); };
    auto sinFt = [&](const Point &q) { return std::sin(q[2]) * ft(q); };
    return Partial(r2Fr, p, 1, h, 1) / (rad * rad) + Partial(sinFt, p, 2, h, 1) / (rad * s) +
           Partial(fp, p, 3, h, 1) / (rad * s);
  });
}

QVX_API double *Curl(VectorFieldFn f, void *params, const double *r, double h) noexcept {
  if (!f || !ThreeD(r)) return Vector(0);
  return OrEmpty(qvx::Guard(static_cast<double *>(nullptr), [&] {
           const Point p = ToPoint(r);
           const Component fx{f, params, 1}, fy{f, params, 2}, fz{f, params, 3};
           return NewVector3(Partial(fz, p, 2, h, 1) - Partial(fy, p, 3, h, 1),
                             Partial(fx, p, 3, h, 1) - Partial(fz, p, 1, h, 1),
                             Partial(fy, p, 1, h, 1) - Partial(fx, p, 2, h, 1));
         }));
}

QVX_API double *CurlCyl(VectorFieldFn f, void *params, const double *r, double h) noexcept {
  if (!f || !ThreeD(r)) return Vector(0);
  return OrEmpty(qvx::Guard(static_cast<double *>(nullptr), [&] {
           const Point p = ToPoint(r);
           const Component fr{f, params, 1}, fphi{f, params, 2}, fz{f, params, 3};
           const double rho = p[1];
           auto rhoFphi = [&](const Point &q) { return q[1] * fphi(q); };
           return NewVector3(Partial(fz, p, 2, h, 1) / rho - Partial(fphi, p, 3, h, 1),
                             Partial(fr, p, 3, h, 1) - Partial(fz, p, 1, h, 1),
                             (Partial(rhoFphi, p, 1, h, 1) - Partial(fr, p, 2, h, 1)) / rho);
         }));
}

QVX_API double *CurlSph(VectorFieldFn f, void *params, const double *r, double h) noexcept {
  if (!f || !ThreeD(r)) return Vector(0);
  return OrEmpty(qvx::Guard(static_cast<double *>(nullptr), [&] {
           const Point p = ToPoint(r);
           const Component fr{f, params, 1}, ft{f, params, 2}, fp{f, params, 3};
           const double rad = p[1], s = std::sin(p[2]);
           auto sinFp = [&](const Point &q) { return std::sin(q[2]) * fp(q); };
           auto rFp = [&](const Point &q) { return q[1] * fp(q); };
           auto rFt = [&](const Point &q) { return q[1] * ft(q); };
           return NewVector3((Partial(sinFp, p, 2, h, 1) - Partial(ft, p, 3, h, 1)) / (rad * s),
                             (Partial(fr, p, 3, h, 1) / s - Partial(rFp, p, 1, h, 1)) / rad,
                             (Partial(rFt, p, 1, h, 1) - Partial(fr, p, 2, h, 1)) / rad);
         }));
}

QVX_API double Lapl(ScalarFieldFn f, void *params, const double *r, double h) noexcept {
  const int32_t n = Len(r);
  if (!f || n == 0) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    const Point p = ToPoint(r);
    auto g = [&](const Point &q) { return f(q.data(), params); };
    double s = 0.0;
    for (int32_t i = 1; i <= n; ++i) s += Partial(g, p, i, h, 2);
    return s;
  });
}

QVX_API double LaplCyl(ScalarFieldFn f, void *params, const double *r, double h) noexcept {
  if (!f || !ThreeD(r)) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    const Point p = ToPoint(r);
    auto g = [&](const Point &q) { return f(q.data(), params); };
    const double rho = p[1];
    return Partial(g, p, 1, h, 2) + Partial(g, p, 1, h, 1) / rho + Partial(g, p, 2, h, 2) / (rho * rho) +
           Partial(g, p, 3, h, 2);
  });
}

QVX_API double LaplSph(ScalarFieldFn f, void *params, const double *r, double h) noexcept {
  if (!f || !ThreeD(r)) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    const Point p = ToPoint(r);
    auto g = [&](const Point &q) { return f(q.data(), params); };
    const double rad = p[1], s = std::sin(p[2]), c = std::cos(p[2]);
    return Partial(g, p, 1, h, 2) + 2.0 * Partial(g, p, 1, h, 1) / rad +
           (Partial(g, p, 2, h, 2) + c / s * Partial(g, p, 2, h, 1)) / (rad * rad) +
           Partial(g, p, 3, h, 2) / (rad * rad * s * s);
  });
}

QVX_API double IntegralPath(VectorFieldFn f, CurveFn curve, void *params, int32_t dim, double t0, double t1,
                            int32_t n) noexcept {
  if (!f || !curve || dim < 1 || n < 1 || t0 == t1) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    std::vector<double> x(n), w(n), r(dim + 1), d(dim + 1), field(dim + 1);
    LegendreRule(n, x.data(), w.data());
    r[0] = d[0] = field[0] = dim;
    const double c = 0.5 * (t0 + t1), half = 0.5 * (t1 - t0), step = 1e-3 * std::fabs(t1 - t0);
    auto eval = [&](double t, double *out) { curve(t, out, params); };
    double s = 0.0;
    for (int32_t k = 0; k < n; ++k) {
      const double t = c + half * x[k];
      curve(t, r.data(), params);
      ParameterDerivative(eval, t, step, d);
      std::fill(field.begin() + 1, field.end(), 0.0);
      f(r.data(), field.data(), params);
      double dot = 0.0;
      for (int32_t i = 1; i <= dim; ++i) dot += field[i] * d[i];
      s += w[k] * dot;
    }
    return s * half;
  });
}

}  // extern "C"

namespace {

// Surface integrals: Gauss-Legendre over the parameter rectangle of
// integrand(point, normal), normal = dr/du x dr/dv (not normalised).
template <class Integrand>
double SurfaceIntegral(SurfaceFn surface, void *params, double u0, double u1, double v0, double v1, int32_t n,
                       Integrand integrand) {
  std::vector<double> x(n), w(n), r(4), du(4), dv(4), normal(4);
  LegendreRule(n, x.data(), w.data());
  r[0] = du[0] = dv[0] = normal[0] = 3;
  const double cu = 0.5 * (u0 + u1), hu = 0.5 * (u1 - u0), cv = 0.5 * (v0 + v1), hv = 0.5 * (v1 - v0);
  const double su = 1e-3 * std::fabs(u1 - u0), sv = 1e-3 * std::fabs(v1 - v0);
  double s = 0.0;
  for (int32_t a = 0; a < n; ++a)
    for (int32_t b = 0; b < n; ++b) {
      const double u = cu + hu * x[a], v = cv + hv * x[b];
      surface(u, v, r.data(), params);
      ParameterDerivative([&](double t, double *out) { surface(t, v, out, params); }, u, su, du);
      ParameterDerivative([&](double t, double *out) { surface(u, t, out, params); }, v, sv, dv);
      normal[1] = du[2] * dv[3] - du[3] * dv[2];
      normal[2] = du[3] * dv[1] - du[1] * dv[3];
      normal[3] = du[1] * dv[2] - du[2] * dv[1];
      s += w[a] * w[b] * integrand(r, normal);
    }
  return s * hu * hv;
}

}  // namespace

extern "C" {

QVX_API double IntegralSurfaceS(ScalarFieldFn f, SurfaceFn surface, void *params, double u0, double u1, double v0,
                                double v1, int32_t n) noexcept {
  if (!f || !surface || n < 1 || u0 == u1 || v0 == v1) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    return SurfaceIntegral(surface, params, u0, u1, v0, v1, n,
                           [&](const std::vector<double> &r, const std::vector<double> &nrm) {
                             return f(r.data(), params) * std::sqrt(nrm[1] * nrm[1] + nrm[2] * nrm[2] + nrm[3] * nrm[3]);
                           });
  });
}

QVX_API double IntegralSurfaceV(VectorFieldFn f, SurfaceFn surface, void *params, double u0, double u1, double v0,
                                double v1, int32_t n) noexcept {
  if (!f || !surface || n < 1 || u0 == u1 || v0 == v1) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    std::vector<double> field(4);
    return SurfaceIntegral(surface, params, u0, u1, v0, v1, n,
                           [&](const std::vector<double> &r, const std::vector<double> &nrm) {
                             field[0] = 3;
                             field[1] = field[2] = field[3] = 0.0;
                             f(r.data(), field.data(), params);
                             return field[1] * nrm[1] + field[2] * nrm[2] + field[3] * nrm[3];
                           });
  });
}

}  // extern "C"
