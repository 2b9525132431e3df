// The gamma family and what stands on it: log-gamma (real and complex),
// digamma, the incomplete beta function and Student's t distribution,
// factorials and their products and ratios, binomials, Pascal rows and the
// Bernoulli numbers.
//
// GammaLn uses the six-term Lanczos series (first coefficient
// 1.000000000190015, scale 2.5066282746310005), good to about 2e-10 and
// cheap: the language's gamma-based functions rest on its values.
// Everything else here normalises with the nine-term Lanczos series (g = 7),
// good to about 1e-15, so that binomials of integers come out as integers.
#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <limits>

#include "libquorvex.h"
#include "numerics/transcendental/transcendental.h"

namespace {

using qvx::kPi;
using Cx = std::complex<double>;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();
constexpr double kLnPi = 1.1447298858494002;
constexpr double kLnSqrt2Pi = 0.91893853320467274178;
constexpr int kMaxIterations = 10000;
constexpr int kFactorialTableSize = 171;  // 170! is the last finite double

// n! for n = 0..170, accumulated in extended precision so that each entry
// is the correctly rounded factorial (exact up to 22!).
const std::array<double, kFactorialTableSize> &FactorialTable() {
  static const std::array<double, kFactorialTableSize> table = [] {
    std::array<double, kFactorialTableSize> t{};
    long double f = 1.0L;
    t[0] = 1.0;
    for (int i = 1; i < kFactorialTableSize; ++i) {
      f *= i;
      t[i] = static_cast<double>(f);
    }
    return t;
  }();
  return table;
}

// Lanczos coefficients for g = 7, n = 9.
constexpr double kLanczos[9] = {0.99999999999980993,  676.5203681218851,
                                -1259.1392167224028,  771.32342877765313,
                                -176.61502916214059,  12.507343278686905,
                                -0.13857109526572012, 9.9843695780195716e-6,
                                1.5056327351493116e-7};

// log(sin(pi z)) for complex z; far from the real axis the exponential form
// avoids overflow of sinh and cosh.
Cx LogSinPi(Cx z) {
  double x = z.real(), y = z.imag();
  if (std::fabs(y) > 30.0) {
    // sin(pi z) ~ e^{pi|y|} e^{-i pi x sgn y} / (2i sgn y)
    double s = y > 0 ? 1.0 : -1.0;
    return Cx(kPi * std::fabs(y) - std::log(2.0),
              -s * kPi * x + (s > 0 ? 0.5 : -0.5) * kPi);
  }
  Cx v(qvx::SinPi(x) * std::cosh(kPi * y), qvx::CosPi(x) * std::sinh(kPi * y));
  return std::log(v);
}

// Regularised incomplete beta I_x(a, b) with y = 1 - x given separately so
// that values of x close to 1 keep their precision.
double IncompleteBeta(double a, double b, double x, double y) {
  if (std::isnan(a) || std::isnan(b) || std::isnan(x) || !(a > 0.0) || !(b > 0.0)) return kNaN;
  if (x < 0.0 || x > 1.0) return kNaN;
  if (x == 0.0) return 0.0;
  if (y == 0.0) return 1.0;
  double lnFront = qvx::LogGammaAccurate(a + b) - qvx::LogGammaAccurate(a) -
                   qvx::LogGammaAccurate(b) + a * std::log(x) + b * std::log(y);
  double front = std::exp(lnFront);
  if (x < (a + 1.0) / (a + b + 2.0)) return front * BetaFuncCF(a, b, x) / a;
  return 1.0 - front * BetaFuncCF(b, a, y) / b;
}

}  // namespace

namespace qvx {

double LogGammaAccurate(double x) noexcept {
  if (std::isnan(x)) return kNaN;
  if (std::isinf(x)) return kInf;
  if (x < 0.5) {
    if (x == std::floor(x)) return kInf;
    return kLnPi - std::log(std::fabs(SinPi(x))) - LogGammaAccurate(1.0 - x);
  }
  double z = x - 1.0;
  double sum = kLanczos[0];
  for (int k = 1; k < 9; ++k) sum += kLanczos[k] / (z + k);
  double t = z + 7.5;
  return kLnSqrt2Pi + (z + 0.5) * std::log(t) - t + std::log(sum);
}

Cx LogGammaComplexAccurate(Cx z) noexcept {
  if (z.real() < 0.5) {
    return Cx(kLnPi, 0.0) - LogSinPi(z) - LogGammaComplexAccurate(1.0 - z);
  }
  Cx w = z - 1.0;
  Cx sum = kLanczos[0];
  for (int k = 1; k < 9; ++k) sum += kLanczos[k] / (w + static_cast<double>(k));
  Cx t = w + 7.5;
  return kLnSqrt2Pi + (w + 0.5) * std::log(t) - t + std::log(sum);
}

}  // namespace qvx

extern "C" {

QVX_API double GammaLn(double x) noexcept {
  static const double cof[6] = {76.18009172947146,     -86.50532032941677,
                                24.01409824083091,     -1.231739572450155,
                                0.1208650973866179e-2, -0.5395239384953e-5};
  if (std::isnan(x)) return kNaN;
  if (std::isinf(x)) return kInf;
  if (x <= 0.0) {
    // log|Gamma| by the reflection; the poles give +inf.
    if (x == std::floor(x)) return kInf;
    return kLnPi - std::log(std::fabs(qvx::SinPi(x))) - GammaLn(1.0 - x);
  }
  double y = x, tmp = x + 5.5;
  tmp -= (x + 0.5) * std::log(tmp);
  double ser = 1.000000000190015;
  for (double c : cof) ser += c / ++y;
  return -tmp + std::log(2.5066282746310005 * ser / x);
}

// Complex log-gamma: the reflection for a negative real part, otherwise the
// Lanczos series. The imaginary part is the phase of Gamma up to multiples of
// 2 pi, which is all that exp of sums of these values needs.
QVX_API Complex GammaLnC(Complex z) noexcept {
  if (std::isnan(z.re) || std::isnan(z.im)) return Complex{kNaN, kNaN};
  if (z.re < 0.0) {
    if (z.im == 0.0 && z.re == std::floor(z.re)) return Complex{kInf, 0.0};
    Cx r = Cx(kLnPi, 0.0) - LogSinPi(Cx(z.re, z.im));
    Complex g = GammaLnC(Complex{1.0 - z.re, -z.im});
    return Complex{r.real() - g.re, r.imag() - g.im};
  }
  if (z.re == 0.0 && z.im == 0.0) return Complex{kInf, 0.0};
  Cx v = qvx::LogGammaComplexAccurate(Cx(z.re, z.im));
  return Complex{v.real(), v.imag()};
}

// psi(x): upward recurrence to x >= 10, then the asymptotic series with the
// Bernoulli numbers; reflection for negative x.
QVX_API double DigammaFunc(double x) noexcept {
  if (std::isnan(x) || x == -kInf) return kNaN;
  if (x == kInf) return kInf;
  if (x <= 0.0) {
    if (x == std::floor(x)) return kNaN;
    return DigammaFunc(1.0 - x) - kPi * qvx::CosPi(x) / qvx::SinPi(x);
  }
  double acc = 0.0;
  while (x < 10.0) {
    acc -= 1.0 / x;
    x += 1.0;
  }
  double r = 1.0 / (x * x);
  double tail = r * (1.0 / 12 - r * (1.0 / 120 - r * (1.0 / 252 - r * (1.0 / 240 -
                r * (1.0 / 132 - r * (691.0 / 32760 - r / 12.0))))));
  return acc + std::log(x) - 0.5 / x - tail;
}

// Continued fraction of the incomplete beta function, modified Lentz.
QVX_API double BetaFuncCF(double a, double b, double x) noexcept {
  constexpr double eps = 1e-16, tiny = 1e-300;
  if (std::isnan(a) || std::isnan(b) || std::isnan(x)) return kNaN;
  double qab = a + b, qap = a + 1.0, qam = a - 1.0;
  double c = 1.0, d = 1.0 - qab * x / qap;
  if (std::fabs(d) < tiny) d = tiny;
  d = 1.0 / d;
  double h = d;
  for (int m = 1; m <= kMaxIterations; ++m) {
    int m2 = 2 * m;
    double aa = m * (b - m) * x / ((qam + m2) * (a + m2));
    d = 1.0 + aa * d;
    if (std::fabs(d) < tiny) d = tiny;
    c = 1.0 + aa / c;
    if (std::fabs(c) < tiny) c = tiny;
    d = 1.0 / d;
    h *= d * c;
    aa = -(a + m) * (qab + m) * x / ((a + m2) * (qap + m2));
    d = 1.0 + aa * d;
    if (std::fabs(d) < tiny) d = tiny;
    c = 1.0 + aa / c;
    if (std::fabs(c) < tiny) c = tiny;
    d = 1.0 / d;
    double del = d * c;
    h *= del;
    if (std::fabs(del - 1.0) < eps) return h;
  }
  return h;  // not converged within the cap: the best estimate
}

QVX_API double BetaFuncI(double a, double b, double x) noexcept {
  return IncompleteBeta(a, b, x, 1.0 - x);
}

// Two-sided p-value of Student's t: P(|T| >= |t|) with dof degrees of freedom.
QVX_API double StudentPValue(double t, double dof) noexcept {
  if (std::isnan(t) || std::isnan(dof) || !(dof > 0.0)) return kNaN;
  if (std::isinf(t)) return 0.0;
  if (std::isinf(dof)) return std::erfc(std::fabs(t) / std::sqrt(2.0));
  double at = std::fabs(t);
  if (at > 1e100) {  // t^2 would overflow: x = dof / t^2 directly
    double x = dof / at / at;
    return IncompleteBeta(0.5 * dof, 0.5, x, 1.0 - x);
  }
  double t2 = at * at, den = dof + t2;
  return IncompleteBeta(0.5 * dof, 0.5, dof / den, t2 / den);
}

// The |t| whose two-sided p-value is p, by bracketing and bisection on the
// monotone StudentPValue.
QVX_API double StudentCriticalValue(double p, double dof) noexcept {
  if (std::isnan(p) || std::isnan(dof) || !(dof > 0.0) || p > 1.0) return kNaN;
  if (p <= 0.0) return kInf;
  if (p == 1.0) return 0.0;
  double lo = 0.0, hi = 1.0;
  int guard = 0;
  while (StudentPValue(hi, dof) > p && guard++ < 2100) {
    lo = hi;
    hi *= 2.0;
    if (std::isinf(hi)) return kInf;
  }
  for (int i = 0; i < 200 && hi - lo > 4e-16 * hi; ++i) {
    double mid = 0.5 * (lo + hi);
    if (StudentPValue(mid, dof) > p) lo = mid;
    else hi = mid;
  }
  // A p-value that drops from above p straight to 0 has underflowed: the
  // true |t| lies beyond the range of doubles.
  if (StudentPValue(hi, dof) == 0.0 && StudentPValue(lo, dof) > 2.0 * p) return kInf;
  return 0.5 * (lo + hi);
}

QVX_API double Factorial(int32_t n) noexcept {
  if (n < 0) return kNaN;
  if (n >= kFactorialTableSize) return kInf;
  return FactorialTable()[n];
}

QVX_API double FactorialLn(int32_t n) noexcept {
  if (n < 0) return kNaN;
  if (n < kFactorialTableSize) return std::log(FactorialTable()[n]);
  return qvx::LogGammaAccurate(n + 1.0);
}

QVX_API double FactorialRatioLn(int32_t n, int32_t m) noexcept {
  if (n < 0 || m < 0) return kNaN;
  return FactorialLn(n) - FactorialLn(m);
}

// n!/m!: a direct product for short ranges, logarithms otherwise.
QVX_API double FactorialRatio(int32_t n, int32_t m) noexcept {
  if (n < 0 || m < 0) return kNaN;
  if (n < kFactorialTableSize && m < kFactorialTableSize)
    return FactorialTable()[n] / FactorialTable()[m];
  int64_t lo = std::min(n, m), hi = std::max(n, m);
  double r;
  if (hi - lo <= 300) {
    long double p = 1.0L;
    for (int64_t k = lo + 1; k <= hi; ++k) p *= static_cast<long double>(k);
    r = static_cast<double>(p);
  } else {
    r = std::exp(FactorialLn(static_cast<int32_t>(hi)) - FactorialLn(static_cast<int32_t>(lo)));
  }
  return n >= m ? r : 1.0 / r;
}

// Products of factorials over a VectorL (length in element 0).
QVX_API double FactorialProductLn(const int32_t *v) noexcept {
  if (!v || v[0] < 0) return kNaN;
  double s = 0.0;
  for (int32_t i = 1; i <= v[0]; ++i) s += FactorialLn(v[i]);
  return s;
}

QVX_API double FactorialProduct(const int32_t *v) noexcept {
  if (!v || v[0] < 0) return kNaN;
  double p = 1.0;
  for (int32_t i = 1; i <= v[0]; ++i) p *= Factorial(v[i]);
  return p;
}

QVX_API double FactorialProduct3(int32_t a, int32_t b, int32_t c) noexcept {
  return Factorial(a) * Factorial(b) * Factorial(c);
}

QVX_API double FactorialProductRatioLn(const int32_t *num, const int32_t *den) noexcept {
  return FactorialProductLn(num) - FactorialProductLn(den);
}

// Product of the numerator factorials over that of the denominator ones,
// through logarithms so that huge partial products cannot overflow.
QVX_API double FactorialProductRatio(const int32_t *num, const int32_t *den) noexcept {
  double l = FactorialProductRatioLn(num, den);
  if (std::isnan(l)) return kNaN;
  // Small all-table cases: exact quotient of the products when finite.
  double pn = FactorialProduct(num), pd = FactorialProduct(den);
  if (std::isfinite(pn) && std::isfinite(pd) && pd != 0.0) return pn / pd;
  return std::exp(l);
}

// Trailing decimal zeros of n!: the number of factors 5 in 1..n.
QVX_API int32_t FactorialZeros(int32_t n) noexcept {
  if (n < 0) return -1;
  int32_t count = 0;
  for (int64_t p = 5; p <= n; p *= 5) count += static_cast<int32_t>(n / p);
  return count;
}

// Binomial coefficient by the multiplicative formula; each partial product
// is itself a binomial, so extended precision keeps it exact to 2^64.
QVX_API double Comb(int32_t n, int32_t k) noexcept {
  if (n < 0) return kNaN;
  if (k < 0 || k > n) return 0.0;
  int32_t kk = std::min(k, n - k);
  if (kk > 1000) return std::round(std::exp(FactorialLn(n) - FactorialLn(k) - FactorialLn(n - k)));
  long double r = 1.0L;
  for (int32_t i = 1; i <= kk; ++i) r = r * (n - kk + i) / i;
  return static_cast<double>(std::round(r));
}

// Ordered selections n!/(n-k)!.
QVX_API double Perm(int32_t n, int32_t k) noexcept {
  if (n < 0) return kNaN;
  if (k < 0 || k > n) return 0.0;
  return FactorialRatio(n, n - k);
}

// Row n of Pascal's triangle as a Vector of n + 1 binomials.
QVX_API double *Pascal(int32_t n) noexcept {
  if (n < 0 || n > (1 << 24)) return Vector(0);
  double *v = Vector(n + 1);
  if (!v || v[0] != n + 1) return v;
  long double c = 1.0L;
  v[1] = 1.0;
  for (int32_t i = 1; i <= n; ++i) {
    c = c * (n - i + 1) / i;
    v[i + 1] = static_cast<double>(std::round(c));
  }
  return v;
}

// B_n with B_1 = -1/2: exact fractions up to n = 20, then
// B_2k = (-1)^(k+1) 2 (2k)! zeta(2k) / (2 pi)^(2k).
QVX_API double BernoulliNumber(int32_t n) noexcept {
  static const double small[11] = {1.0,           1.0 / 6,          -1.0 / 30,
                                   1.0 / 42,      -1.0 / 30,        5.0 / 66,
                                   -691.0 / 2730, 7.0 / 6,          -3617.0 / 510,
                                   43867.0 / 798, -174611.0 / 330};
  if (n < 0) return kNaN;
  if (n == 1) return -0.5;
  if (n % 2) return 0.0;
  if (n <= 20) return small[n / 2];
  double zeta = 0.0;
  for (int j = 1; j < 100; ++j) {
    double term = std::pow(static_cast<double>(j), -n);
    zeta += term;
    if (term < 1e-18) break;
  }
  double sign = (n / 2) % 2 ? 1.0 : -1.0;
  double lnMag = std::log(2.0) + FactorialLn(n) + std::log(zeta) - n * std::log(2.0 * kPi);
  if (n < kFactorialTableSize)
    return sign * 2.0 * Factorial(n) * zeta / std::pow(2.0 * kPi, n);
  return sign * std::exp(lnMag);
}

}  // extern "C"
