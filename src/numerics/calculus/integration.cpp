// Quadrature: Simpson's rule on sampled data and on functions (fixed and
// adaptive), the trapezoid rule, Gauss-Legendre and Gauss-Laguerre nodes and
// weights, sums and products of series, Monte Carlo integration, Metropolis
// sampling and von Neumann rejection.
//
// Functions of the "P" (parametric) forms take a plain C callback with a
// `void *` passed through unchanged, so that a caller can integrate a
// function that needs data of its own without any global state. Random
// methods draw from the caller's Ran2 state cell: the same seed gives the
// same sequence, and two threads with two cells never interfere.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/calculus/calculus.h"

namespace qvx::calculus {

// Nodes (ascending) and weights of the n-point Gauss-Legendre rule on
// [-1, 1]: Newton's iteration on P_n from Tricomi's asymptotic estimate of
// the zeros (good to O(n^-4), so two or three steps suffice), the
// polynomial by its three-term recurrence with the coefficients tabulated
// once; weights 2 / ((1 - x^2) P_n'^2).
void LegendreRule(int32_t n, double *x, double *w) {
  if (n <= 0) return;
  std::vector<double> a(n + 1), b(n + 1);  // P_j = a_j z P_{j-1} - b_j P_{j-2}
  for (int32_t j = 1; j <= n; ++j) {
    a[j] = (2.0 * j - 1.0) / j;
    b[j] = (j - 1.0) / j;
  }
  // P_n(z) in p1 and P_{n-1}(z) in p2.
  auto legendre = [&](double z, double &p1, double &p2) {
    p1 = 1.0;
    p2 = 0.0;
    for (int32_t j = 1; j <= n; ++j) {
      const double p3 = p2;
      p2 = p1;
      p1 = a[j] * z * p2 - b[j] * p3;
    }
  };
  const int32_t half = (n + 1) / 2;
  const double nd = n, shrink = 1.0 - 1.0 / (8.0 * nd * nd) + 1.0 / (8.0 * nd * nd * nd);
  for (int32_t i = 1; i <= half; ++i) {
    double z = shrink * std::cos(3.141592653589793 * (4.0 * i - 1.0) / (4.0 * nd + 2.0));
    double p1, p2;
    for (int iter = 0; iter < 100; ++iter) {
      legendre(z, p1, p2);
      const double dp = nd * (z * p1 - p2) / (z * z - 1.0);
      const double step = p1 / dp;
      z -= step;
      // Newton converges quadratically: once a step is this small the next
      // would not change z.
      if (!(std::fabs(step) > 1e-13)) break;
    }
    legendre(z, p1, p2);  // the derivative at the converged node, for the weight
    const double dp = nd * (z * p1 - p2) / (z * z - 1.0);
    const double weight = 2.0 / ((1.0 - z * z) * dp * dp);
    x[i - 1] = -z;
    x[n - i] = z;
    w[i - 1] = w[n - i] = weight;
  }
  if (n % 2 == 1) x[half - 1] = 0.0;
}

}  // namespace qvx::calculus

namespace {

using namespace qvx::calculus;

// Simpson panel over [x0, x2] with an interior sample x1 anywhere inside:
// the value at the midpoint m comes from the three-point Lagrange form, and
// Simpson's weights are applied to f0, f(m), f2. This integrates the parabola
// through the three samples exactly. A panel with an empty sub-interval falls
// back to the trapezoid rule on its two halves.
double SimpsonPanel(double x0, double x1, double x2, double f0, double f1, double f2) {
  if (!(x1 > x0) || !(x2 > x1)) return 0.5 * ((x1 - x0) * (f0 + f1) + (x2 - x1) * (f1 + f2));
  const double m = 0.5 * (x0 + x2);
  const double l0 = (m - x2) * (m - x1) / ((x1 - x0) * (x2 - x0));
  const double l1 = -(m - x2) * (m - x0) / ((x2 - x1) * (x1 - x0));
  const double l2 = (m - x1) * (m - x0) / ((x2 - x0) * (x2 - x1));
  const double fm = l0 * f0 + l1 * f1 + l2 * f2;
  return (x2 - x0) * (f0 + 4.0 * fm + f2) / 6.0;
}

// Integral over the last interval [x1, x2] of the parabola through three
// samples, for the interval an even count of points leaves over.
double SimpsonLastInterval(double x0, double x1, double x2, double f0, double f1, double f2) {
  if (!(x1 > x0) || !(x2 > x1)) return 0.5 * (x2 - x1) * (f1 + f2);
  const double m = 0.5 * (x1 + x2);
  const double l0 = (m - x1) * (m - x2) / ((x0 - x1) * (x0 - x2));
  const double l1 = (m - x0) * (m - x2) / ((x1 - x0) * (x1 - x2));
  const double l2 = (m - x0) * (m - x1) / ((x2 - x0) * (x2 - x1));
  const double fm = l0 * f0 + l1 * f1 + l2 * f2;
  return (x2 - x1) * (f1 + 4.0 * fm + f2) / 6.0;
}

// Simpson's rule over samples lo..hi of (x(i), f(i)), one part at a time.
template <class X, class F>
double SimpsonSamples(int32_t lo, int32_t hi, X x, F f) {
  const int32_t points = hi - lo + 1;
  if (points < 2) return 0.0;
  if (points == 2) return 0.5 * (x(hi) - x(lo)) * (f(lo) + f(hi));
  const int32_t end = points % 2 ? hi : hi - 1;
  double sum = 0.0;
  for (int32_t i = lo; i + 2 <= end; i += 2) sum += SimpsonPanel(x(i), x(i + 1), x(i + 2), f(i), f(i + 1), f(i + 2));
  if (end != hi) sum += SimpsonLastInterval(x(hi - 2), x(hi - 1), x(hi), f(hi - 2), f(hi - 1), f(hi));
  return sum;
}

// Samples in [a, b] (a <= b) of ascending abscissas read through x(i).
template <class X>
void IndexRange(int32_t n, double a, double b, X x, int32_t &lo, int32_t &hi) {
  const int32_t k = LastAtOrBelow(n, a, x);
  lo = k >= 1 && x(k) == a ? k : k + 1;
  hi = LastAtOrBelow(n, b, x);
}

// Integral over [lo, hi] of the parabola through three samples (Simpson's
// rule on its values at lo, the midpoint and hi, exact for a parabola).
double ParabolaIntegral(double x0, double x1, double x2, double f0, double f1, double f2, double lo,
                        double hi) {
  if (!(x1 > x0) || !(x2 > x1)) return 0.5 * (hi - lo) * (f1 + (lo < x1 ? f0 : f2));
  auto value = [&](double t) {
    return f0 * (t - x1) * (t - x2) / ((x0 - x1) * (x0 - x2)) + f1 * (t - x0) * (t - x2) / ((x1 - x0) * (x1 - x2)) +
           f2 * (t - x0) * (t - x1) / ((x2 - x0) * (x2 - x1));
  };
  return (hi - lo) * (value(lo) + 4.0 * value(0.5 * (lo + hi)) + value(hi)) / 6.0;
}

// Running integral of samples 1..n: out(1) = 0 and each interval adds the
// integral of the parabola through it and its nearest third sample.
template <class X, class F, class Out>
void RunningIntegral(int32_t n, X x, F f, Out out) {
  if (n >= 1) out(1, 0.0);
  double total = 0.0;
  for (int32_t i = 1; i < n; ++i) {
    double piece;
    if (n == 2) {
      piece = 0.5 * (x(2) - x(1)) * (f(1) + f(2));
    } else {
      const int32_t k = i + 2 <= n ? i : i - 1;  // parabola through k, k+1, k+2
      piece = ParabolaIntegral(x(k), x(k + 1), x(k + 2), f(k), f(k + 1), f(k + 2), x(i), x(i + 1));
    }
    total += piece;
    out(i + 1, total);
  }
}

// Neumaier's variant of Kahan summation: the rounding error of every
// addition is carried along, also when the new term is the larger one.
struct CompensatedSum {
  double sum = 0.0, carry = 0.0;
  void Add(double x) {
    const double t = sum + x;
    if (std::fabs(sum) >= std::fabs(x))
      carry += (sum - t) + x;
    else
      carry += (x - t) + sum;
    sum = t;
  }
  double Value() const { return sum + carry; }
};

// ---- adaptive Gauss-Kronrod -------------------------------------------------

// The 15-point Kronrod extension of the 7-point Gauss-Legendre rule: nodes
// (descending, the last one 0) and weights, as tabulated by Piessens et al.
constexpr double kXgk[8] = {0.991455371120812639206854697526329, 0.949107912342758524526189684047851,
                            0.864864423359769072789712788640926, 0.741531185599394439863864773280788,
                            0.586087235467691130294144845693013, 0.405845151377397166906606412076961,
                            0.207784955007898467600689403773245, 0.0};
constexpr double kWgk[8] = {0.022935322010529224963732008058970, 0.063092092629978553290700663189204,
                            0.104790010322250183839876322541518, 0.140653259715525918745189590510238,
                            0.169004726639267902826583426598550, 0.190350578064785409913256402421014,
                            0.204432940075298892414161999234649, 0.209482141084727828012999174891714};
// Gauss weights of the nodes kXgk[1], kXgk[3], kXgk[5], kXgk[7].
constexpr double kWg[4] = {0.129484966168869693270611432679082, 0.279705391489276667901467771423780,
                           0.381830050505118944950369775488975, 0.417959183673469387755102040816327};

inline double Magnitude(double x) { return std::fabs(x); }
inline double Magnitude(Complex z) { return std::hypot(z.re, z.im); }
inline double Plus(double a, double b) { return a + b; }
inline Complex Plus(Complex a, Complex b) { return Add(a, b); }
inline double Minus(double a, double b) { return a - b; }
inline Complex Minus(Complex a, Complex b) { return Sub(a, b); }
inline double Times(double a, double s) { return a * s; }
inline Complex Times(Complex a, double s) { return Scale(a, s); }

template <class T>
struct Piece {
  double a, b;
  T value;
  double error;
};

template <class T, class G>
Piece<T> Kronrod15(G g, double a, double b) {
  const double c = 0.5 * (a + b), h = 0.5 * (b - a);
  T fc = g(c);
  T kronrod = Times(fc, kWgk[7]), gauss = Times(fc, kWg[3]);
  for (int j = 0; j < 7; ++j) {
    const T f1 = g(c - h * kXgk[j]), f2 = g(c + h * kXgk[j]);
    const T both = Plus(f1, f2);
    kronrod = Plus(kronrod, Times(both, kWgk[j]));
    if (j % 2 == 1) gauss = Plus(gauss, Times(both, kWg[j / 2]));
  }
  Piece<T> p{a, b, Times(kronrod, h), Magnitude(Times(Minus(kronrod, gauss), h))};
  if (!std::isfinite(p.error)) p.error = HUGE_VAL;
  return p;
}

// Globally adaptive Gauss-Kronrod 7/15: the piece with the largest error
// estimate is halved until the total estimate is within max(tol, tol |I|)
// or 2000 pieces exist. Infinite limits are mapped onto finite ones by
// x = a + t/(1-t), x = b - t/(1-t) or x = t/(1-t^2).
template <class T, class F>
T AdaptiveKronrod(F f, double a, double b, double tol) {
  if (std::isnan(a) || std::isnan(b)) return Times(T{}, 0.0 / 0.0);
  if (a == b) return T{};
  if (a > b) return Times(AdaptiveKronrod<T>(f, b, a, tol), -1.0);
  if (!(tol > 0.0)) tol = 1e-10;
  std::function<T(double)> g;
  double lo = a, hi = b;
  if (std::isinf(a) && std::isinf(b)) {
    g = [&f](double t) {
      const double d = 1.0 - t * t;
      return Times(f(t / d), (1.0 + t * t) / (d * d));
    };
    lo = -1.0;
    hi = 1.0;
  } else if (std::isinf(b)) {
    g = [&f, a](double t) { return Times(f(a + t / (1.0 - t)), 1.0 / ((1.0 - t) * (1.0 - t))); };
    lo = 0.0;
    hi = 1.0;
  } else if (std::isinf(a)) {
    g = [&f, b](double t) { return Times(f(b - t / (1.0 - t)), 1.0 / ((1.0 - t) * (1.0 - t))); };
    lo = 0.0;
    hi = 1.0;
  } else {
    g = [&f](double x) { return f(x); };
  }
  auto worse = [](const Piece<T> &p, const Piece<T> &q) { return p.error < q.error; };
  std::vector<Piece<T>> heap{Kronrod15<T>(g, lo, hi)};
  T total = heap[0].value;
  double error = heap[0].error;
  for (int pieces = 1; pieces < 2000; ++pieces) {
    if (error <= std::max(tol, tol * Magnitude(total))) break;
    std::pop_heap(heap.begin(), heap.end(), worse);
    const Piece<T> top = heap.back();
    heap.pop_back();
    const double mid = 0.5 * (top.a + top.b);
    if (!(mid > top.a && mid < top.b)) {  // cannot be split further
      heap.push_back(top);
      std::push_heap(heap.begin(), heap.end(), worse);
      break;
    }
    const Piece<T> left = Kronrod15<T>(g, top.a, mid), right = Kronrod15<T>(g, mid, top.b);
    heap.push_back(left);
    std::push_heap(heap.begin(), heap.end(), worse);
    heap.push_back(right);
    std::push_heap(heap.begin(), heap.end(), worse);
    // Recompute the sums from the pieces now and then, so that rounding in
    // the running updates does not build up.
    if (pieces % 64 == 0) {
      total = T{};
      error = 0.0;
      for (const auto &p : heap) {
        total = Plus(total, p.value);
        error += p.error;
      }
    } else {
      total = Plus(total, Minus(Plus(left.value, right.value), top.value));
      error += left.error + right.error - top.error;
    }
  }
  total = T{};
  for (const auto &p : heap) total = Plus(total, p.value);
  return total;
}

// ---- Gauss rules ------------------------------------------------------------

template <class G>
double GaussLegendreSum(const std::vector<double> &x, const std::vector<double> &w, double a, double b, G g) {
  const double c = 0.5 * (a + b), h = 0.5 * (b - a);
  double s = 0.0;
  for (std::size_t i = 0; i < x.size(); ++i) s += w[i] * g(c + h * x[i]);
  return s * h;
}

// Draws in (0, 1) from the caller's Ran2 cell (a private one when null).
double Uniform(int32_t *seed, int32_t &own) { return Ran2(seed ? seed : &own); }


}  // namespace

extern "C" {

QVX_API Complex SimpsonIntegral1DC(Complex **set, double a, double b) noexcept {
  if (std::isnan(a) || std::isnan(b)) return Complex{NAN, NAN};
  double sign = 1.0;
  if (a > b) {
    std::swap(a, b);
    sign = -1.0;
  }
  const int32_t n = Points(set);
  auto x = [set](int32_t i) { return set[1][i].re; };
  int32_t lo, hi;
  IndexRange(n, a, b, x, lo, hi);
  const double re = SimpsonSamples(lo, hi, x, [set](int32_t i) { return set[2][i].re; });
  const double im = SimpsonSamples(lo, hi, x, [set](int32_t i) { return set[2][i].im; });
  return Complex{sign * re, sign * im};
}

QVX_API double SimpsonIntegral1D(double **set, double a, double b) noexcept {
  if (std::isnan(a) || std::isnan(b)) return NAN;
  double sign = 1.0;
  if (a > b) {
    std::swap(a, b);
    sign = -1.0;
  }
  auto x = [set](int32_t i) { return set[1][i]; };
  int32_t lo, hi;
  IndexRange(Points(set), a, b, x, lo, hi);
  return sign * SimpsonSamples(lo, hi, x, [set](int32_t i) { return set[2][i]; });
}

QVX_API double TrapezoidIntegral1D(double **set, double a, double b) noexcept {
  if (std::isnan(a) || std::isnan(b)) return NAN;
  double sign = 1.0;
  if (a > b) {
    std::swap(a, b);
    sign = -1.0;
  }
  int32_t lo, hi;
  IndexRange(Points(set), a, b, [set](int32_t i) { return set[1][i]; }, lo, hi);
  CompensatedSum s;
  for (int32_t i = lo; i < hi; ++i) s.Add(0.5 * (set[1][i + 1] - set[1][i]) * (set[2][i] + set[2][i + 1]));
  return sign * s.Value();
}

QVX_API double IntegralD(double **set) noexcept {
  const int32_t n = Points(set);
  return SimpsonSamples(1, n, [set](int32_t i) { return set[1][i]; }, [set](int32_t i) { return set[2][i]; });
}

QVX_API double SimpsonIntegral1(RealFn f, double a, double b, int32_t n) noexcept {
  if (!f || n < 1) return 0.0;
  if (n % 2) ++n;  // Simpson needs an even number of intervals
  const double h = (b - a) / n;
  CompensatedSum s;
  s.Add(f(a));
  s.Add(f(b));
  for (int32_t i = 1; i < n; ++i) s.Add((i % 2 ? 4.0 : 2.0) * f(a + i * h));
  return s.Value() * h / 3.0;
}

QVX_API double SimpsonIntegralAdaptiveSub(RealFn f, double a, double b, double tol, double whole, double fa,
                                          double fm, double fb, int32_t depth) noexcept {
  if (!f) return 0.0;
  const double m = 0.5 * (a + b);
  const double lm = 0.5 * (a + m), rm = 0.5 * (m + b);
  const double flm = f(lm), frm = f(rm);
  const double left = (m - a) * (fa + 4.0 * flm + fm) / 6.0;
  const double right = (b - m) * (fm + 4.0 * frm + fb) / 6.0;
  const double delta = left + right - whole;
  if (depth <= 0 || !(lm > a && rm < b) || std::fabs(delta) <= 15.0 * tol || !std::isfinite(delta))
    return left + right + delta / 15.0;  // Richardson extrapolation of the two Simpson estimates
  return SimpsonIntegralAdaptiveSub(f, a, m, 0.5 * tol, left, fa, flm, fm, depth - 1) +
         SimpsonIntegralAdaptiveSub(f, m, b, 0.5 * tol, right, fm, frm, fb, depth - 1);
}

QVX_API double SimpsonIntegralAdaptive(RealFn f, double a, double b, double tol) noexcept {
  if (!f) return 0.0;
  if (std::isnan(a) || std::isnan(b)) return NAN;
  if (a == b) return 0.0;
  if (!(tol > 0.0)) tol = 1e-10;
  const double fa = f(a), fb = f(b), fm = f(0.5 * (a + b));
  const double whole = (b - a) * (fa + 4.0 * fm + fb) / 6.0;
  return SimpsonIntegralAdaptiveSub(f, a, b, tol, whole, fa, fm, fb, 50);
}

QVX_API double TrapezoidIntegral(RealFn f, double a, double b, int32_t n) noexcept {
  if (!f || n < 1) return 0.0;
  const double h = (b - a) / n;
  CompensatedSum s;
  s.Add(0.5 * f(a));
  s.Add(0.5 * f(b));
  for (int32_t i = 1; i < n; ++i) s.Add(f(a + i * h));
  return s.Value() * h;
}

QVX_API Complex TrapezoidIntegralC(ComplexFn f, double a, double b, int32_t n) noexcept {
  if (!f || n < 1) return Complex{0.0, 0.0};
  const double h = (b - a) / n;
  CompensatedSum re, im;
  for (int32_t i = 0; i <= n; ++i) {
    const Complex v = f(i == n ? b : a + i * h);
    const double w = i == 0 || i == n ? 0.5 : 1.0;
    re.Add(w * v.re);
    im.Add(w * v.im);
  }
  return Complex{re.Value() * h, im.Value() * h};
}

QVX_API double Integral(RealFn f, double a, double b, double tol) noexcept {
  if (!f) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] { return AdaptiveKronrod<double>(f, a, b, tol); });
}

QVX_API double IntegralP(RealFnP f, void *params, double a, double b, double tol) noexcept {
  if (!f) return 0.0;
  return qvx::Guard(static_cast<double>(NAN),
                    [&] { return AdaptiveKronrod<double>([&](double x) { return f(x, params); }, a, b, tol); });
}

QVX_API Complex IntegralPC(ComplexFnP f, void *params, double a, double b, double tol) noexcept {
  if (!f) return Complex{0.0, 0.0};
  return qvx::Guard(Complex{NAN, NAN},
                    [&] { return AdaptiveKronrod<Complex>([&](double x) { return f(x, params); }, a, b, tol); });
}

QVX_API double Integral2(RealFn2 f, void *params, double ax, double bx, double ay, double by, int32_t n) noexcept {
  if (!f || n < 1) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    std::vector<double> x(n), w(n);
    LegendreRule(n, x.data(), w.data());
    return GaussLegendreSum(x, w, ax, bx, [&](double u) {
      return GaussLegendreSum(x, w, ay, by, [&](double v) { return f(u, v, params); });
    });
  });
}

QVX_API double IntegralV(ScalarFieldFn f, void *params, const double *lower, const double *upper,
                         int32_t n) noexcept {
  const int32_t dim = std::min(Len(lower), Len(upper));
  if (!f || n < 1 || dim == 0) return 0.0;
  if (std::pow(static_cast<double>(n), dim) > 1e9) return NAN;  // beyond any sensible budget
  return qvx::Guard(static_cast<double>(NAN), [&] {
    // Tensor product of the n-point Gauss-Legendre rule: n^dim evaluations,
    // walked by an odometer over the node indices.
    std::vector<double> x(n), w(n);
    LegendreRule(n, x.data(), w.data());
    std::vector<int32_t> index(dim, 0);
    std::vector<double> r(dim + 1);
    r[0] = dim;
    double scale = 1.0;
    for (int32_t d = 0; d < dim; ++d) scale *= 0.5 * (upper[d + 1] - lower[d + 1]);
    CompensatedSum s;
    for (;;) {
      double weight = 1.0;
      for (int32_t d = 0; d < dim; ++d) {
        const double c = 0.5 * (lower[d + 1] + upper[d + 1]), h = 0.5 * (upper[d + 1] - lower[d + 1]);
        r[d + 1] = c + h * x[index[d]];
        weight *= w[index[d]];
      }
      s.Add(weight * f(r.data(), params));
      int32_t d = 0;
      while (d < dim && ++index[d] == n) index[d++] = 0;
      if (d == dim) break;
    }
    return s.Value() * scale;
  });
}

QVX_API double Integral2D(double ***set) noexcept {
  if (MVLengthOf(set) < 3) return 0.0;
  double **values = set[1];
  const double *xs = set[2] && Cols(set[2]) >= 1 ? set[2][1] : nullptr;
  const double *ys = set[3] && Cols(set[3]) >= 1 ? set[3][1] : nullptr;
  const int32_t nx = std::min(Cols(values), Len(xs)), ny = std::min(Rows(values), Len(ys));
  if (nx < 2 || ny < 2) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    std::vector<double> column(nx + 1);
    for (int32_t j = 1; j <= nx; ++j)
      column[j] = SimpsonSamples(1, ny, [ys](int32_t i) { return ys[i]; }, [&](int32_t i) { return values[j][i]; });
    return SimpsonSamples(1, nx, [xs](int32_t j) { return xs[j]; }, [&](int32_t j) { return column[j]; });
  });
}

QVX_API double **Integrator(double **set) noexcept {
  const int32_t n = Points(set);
  double **out = Matrix(2, n);
  if (Points(out) != n) return out;
  for (int32_t i = 1; i <= n; ++i) out[1][i] = set[1][i];
  RunningIntegral(n, [set](int32_t i) { return set[1][i]; }, [set](int32_t i) { return set[2][i]; },
                  [out](int32_t i, double v) { out[2][i] = v; });
  return out;
}

QVX_API Complex **IntegratorC(Complex **set) noexcept {
  const int32_t n = Points(set);
  Complex **out = MatrixC(2, n);
  if (Points(out) != n) return out;
  auto x = [set](int32_t i) { return set[1][i].re; };
  for (int32_t i = 1; i <= n; ++i) out[1][i] = Complex{set[1][i].re, 0.0};
  RunningIntegral(n, x, [set](int32_t i) { return set[2][i].re; }, [out](int32_t i, double v) { out[2][i].re = v; });
  RunningIntegral(n, x, [set](int32_t i) { return set[2][i].im; }, [out](int32_t i, double v) { out[2][i].im = v; });
  return out;
}

QVX_API double **GaussLegendre(int32_t n) noexcept {
  double **out = Matrix(2, n < 0 ? 0 : n);
  const int32_t m = Points(out);
  if (m > 0) LegendreRule(m, out[1] + 1, out[2] + 1);
  return out;
}

QVX_API double **GaussLaguerre(int32_t n, double alpha) noexcept {
  double **out = Matrix(2, n < 0 || !(alpha > -1.0) ? 0 : n);
  const int32_t m = Points(out);
  // Newton's iteration on the generalised Laguerre polynomial L_m^alpha,
  // started from the classical asymptotic estimates of its zeros (each from
  // the previous ones); weights Gamma(alpha+m)/Gamma(m) / (m L_m' L_{m-1}).
  double z = 0.0;
  for (int32_t i = 1; i <= m; ++i) {
    if (i == 1) {
      z = (1.0 + alpha) * (3.0 + 0.92 * alpha) / (1.0 + 2.4 * m + 1.8 * alpha);
    } else if (i == 2) {
      z += (15.0 + 6.25 * alpha) / (1.0 + 0.9 * alpha + 2.5 * m);
    } else {
      const double ai = i - 2;
      z += ((1.0 + 2.55 * ai) / (1.9 * ai) + 1.26 * ai * alpha / (1.0 + 3.5 * ai)) * (z - out[1][i - 2]) /
           (1.0 + 0.3 * alpha);
    }
    double p1 = 1.0, p2 = 0.0, dp = 1.0;
    for (int iter = 0; iter < 200; ++iter) {
      p1 = 1.0;
      p2 = 0.0;
      for (int32_t j = 1; j <= m; ++j) {
        const double p3 = p2;
        p2 = p1;
        p1 = ((2.0 * j - 1.0 + alpha - z) * p2 - (j - 1.0 + alpha) * p3) / j;
      }
      dp = (m * p1 - (m + alpha) * p2) / z;
      const double step = p1 / dp;
      z -= step;
      if (std::fabs(step) <= 1e-15 * std::max(1.0, z)) break;
    }
    p1 = 1.0;
    p2 = 0.0;
    for (int32_t j = 1; j <= m; ++j) {
      const double p3 = p2;
      p2 = p1;
      p1 = ((2.0 * j - 1.0 + alpha - z) * p2 - (j - 1.0 + alpha) * p3) / j;
    }
    dp = (m * p1 - (m + alpha) * p2) / z;
    out[1][i] = z;
    out[2][i] = -std::exp(std::lgamma(alpha + m) - std::lgamma(static_cast<double>(m))) / (dp * m * p2);
  }
  return out;
}

QVX_API double Summation(RealFn term, int32_t first, int32_t last) noexcept {
  CompensatedSum s;
  if (term)
    for (int64_t k = first; k <= last; ++k) s.Add(term(static_cast<double>(k)));
  return s.Value();
}

QVX_API double SummationP(RealFnP term, void *params, int32_t first, int32_t last) noexcept {
  CompensatedSum s;
  if (term)
    for (int64_t k = first; k <= last; ++k) s.Add(term(static_cast<double>(k), params));
  return s.Value();
}

QVX_API Complex SummationC(ComplexFn term, int32_t first, int32_t last) noexcept {
  CompensatedSum re, im;
  if (term)
    for (int64_t k = first; k <= last; ++k) {
      const Complex v = term(static_cast<double>(k));
      re.Add(v.re);
      im.Add(v.im);
    }
  return Complex{re.Value(), im.Value()};
}

QVX_API double Product(RealFn factor, int32_t first, int32_t last) noexcept {
  double p = 1.0;
  if (factor)
    for (int64_t k = first; k <= last && p != 0.0; ++k) p *= factor(static_cast<double>(k));
  return p;
}

QVX_API double ProductP(RealFnP factor, void *params, int32_t first, int32_t last) noexcept {
  double p = 1.0;
  if (factor)
    for (int64_t k = first; k <= last && p != 0.0; ++k) p *= factor(static_cast<double>(k), params);
  return p;
}

QVX_API Complex ProductC(ComplexFn factor, int32_t first, int32_t last) noexcept {
  Complex p{1.0, 0.0};
  if (factor)
    for (int64_t k = first; k <= last && (p.re != 0.0 || p.im != 0.0); ++k) p = MulFour(p, factor(static_cast<double>(k)));
  return p;
}

QVX_API double MonteCarloIntegral(ScalarFieldFn f, void *params, const double *lower, const double *upper,
                                  int32_t samples, int32_t *seed, double *error) noexcept {
  const int32_t dim = std::min(Len(lower), Len(upper));
  if (error) *error = 0.0;
  if (!f || dim == 0 || samples < 1) return 0.0;
  return qvx::Guard(static_cast<double>(NAN), [&] {
    int32_t own = -1;
    std::vector<double> r(dim + 1);
    r[0] = dim;
    double volume = 1.0;
    for (int32_t d = 1; d <= dim; ++d) volume *= upper[d] - lower[d];
    // Welford's running mean and variance of the samples.
    double mean = 0.0, m2 = 0.0;
    for (int32_t k = 1; k <= samples; ++k) {
      for (int32_t d = 1; d <= dim; ++d) r[d] = lower[d] + (upper[d] - lower[d]) * Uniform(seed, own);
      const double v = f(r.data(), params), delta = v - mean;
      mean += delta / k;
      m2 += delta * (v - mean);
    }
    if (error && samples > 1) *error = std::fabs(volume) * std::sqrt(m2 / (samples - 1) / samples);
    return volume * mean;
  });
}

QVX_API double *Metropolis1(RealFn density, double x0, double step, int32_t n, int32_t *seed) noexcept {
  double *out = Vector(n < 0 || !density ? 0 : n);
  const int32_t m = Len(out);
  if (m == 0) return out;
  int32_t own = -1;
  // Metropolis algorithm with a symmetric uniform proposal in
  // [x - step, x + step]: a move is taken with probability min(1, p'/p).
  double x = x0, p = density(x0);
  for (int32_t i = 1; i <= m; ++i) {
    const double candidate = x + step * (2.0 * Uniform(seed, own) - 1.0);
    const double q = density(candidate);
    if (std::isfinite(q) && q >= 0.0 && (q >= p || Uniform(seed, own) * p < q)) {
      x = candidate;
      p = q;
    }
    out[i] = x;
  }
  return out;
}

QVX_API double *VonNeumannRejection(RealFn density, double a, double b, double maximum, int32_t n,
                                    int32_t *seed) noexcept {
  double *out = Vector(n < 0 || !density || !(maximum > 0.0) || !(b > a) ? 0 : n);
  const int32_t m = Len(out);
  int32_t own = -1, kept = 0;
  // Uniform points under the box [a, b] x [0, maximum] are kept when they lie
  // under the density. A density that is (almost) never accepted ends the
  // search after a bounded number of tries, with fewer samples returned.
  const int64_t budget = 1000 * static_cast<int64_t>(m) + 100000;
  for (int64_t tries = 0; kept < m && tries < budget; ++tries) {
    const double x = a + (b - a) * Uniform(seed, own);
    if (maximum * Uniform(seed, own) < density(x)) out[++kept] = x;
  }
  out[0] = kept;
  return out;
}

}  // extern "C"
