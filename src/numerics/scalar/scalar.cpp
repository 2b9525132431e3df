// Scalar maths: complex value pairs, the rounding family, small reductions,
// factorisation helpers and the base random generator.
//
// Several forms here are kept exactly because results depend on their
// rounding: the product of two complex numbers uses three multiplications,
// the modulus divides twice by the larger part, Floor truncates toward zero
// and Round sends halves away from zero. Ran2 is a combined L'Ecuyer
// generator whose shuffle state is not carried between calls, so an unseeded
// call always reads table entry 0: its output is the first stream delayed by
// one step and shifted by a constant, and stored seeds replay it exactly.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/boundary.h"
#include "common/complex.h"
#include "common/modular.h"
#include "libquorvex.h"
#include "numerics/containers/container_access.h"

namespace {

using qvx::LengthOf;
using qvx::MulMod;
using qvx::MulThree;
using qvx::PowModExact;

constexpr double kPi = 3.14159265358979323846;

// Relative equality used throughout: equal when hypot(x, y) is 0 or the
// difference is at most 1e-15 of it.
bool NearlyEqual(double x, double y) {
  double h = std::hypot(x, y);
  return h == 0.0 || std::fabs(x - y) / h <= 1e-15;
}

Complex Make(double re, double im) { return Complex{re, im}; }

Complex Polar(double modulus, double angle) {
  return Make(modulus * std::cos(angle), modulus * std::sin(angle));
}

// The result of a division by zero: each part is infinite with the sign of
// its numerator, or NaN when that numerator is zero.
double DividedByZero(double numerator) {
  if (numerator > 0.0) return HUGE_VAL;
  if (numerator < 0.0) return -HUGE_VAL;
  return std::nan("");
}

// ---- Ran2 state ----------------------------------------------------------
//
// The shuffle table and the two words the generator writes are kept per
// thread, so hosts that drive separate Environments from separate threads
// never race; within one thread the sequence is the same as with a single
// shared table.
constexpr int kTable = 32;
constexpr int32_t kM1 = 2147483563, kA1 = 40014, kQ1 = 53668;
constexpr int32_t kM2 = 2147483399, kA2 = 40692, kQ2 = 52774;
constexpr int32_t kMM1 = kM1 - 1;
constexpr double kDivisor = 1.0 + kMM1 / static_cast<double>(kTable);  // 67108862.3125
constexpr double kScale = 4.656613057391769e-10;
constexpr double kLargest = 0.99999988;

thread_local int32_t tShuffle[kTable];
thread_local int32_t tSecondStream;
thread_local int32_t tLastOutput;

// One round of a stream: state * a - (state / q) * m, wrapping in 32 bits
// like the multiplication it stands for; the exact value lies in (-m, m).
int32_t Advance(int32_t state, int32_t a, int32_t q, int32_t m) {
  uint32_t product = static_cast<uint32_t>(state) * static_cast<uint32_t>(a);
  uint32_t k = static_cast<uint32_t>(state / q);
  int32_t next = static_cast<int32_t>(product - k * static_cast<uint32_t>(m));
  if (next < 0) next = static_cast<int32_t>(static_cast<uint32_t>(next) + static_cast<uint32_t>(m));
  return next;
}

// ---- factorisation -------------------------------------------------------

// Deterministic Miller-Rabin: the first twelve primes as bases decide every
// 64-bit number.
bool IsPrime(uint64_t n) {
  if (n < 2) return false;
  static const uint64_t kBases[] = {2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37};
  for (uint64_t p : kBases) {
    if (n % p == 0) return n == p;
  }
  uint64_t d = n - 1;
  int s = 0;
  while ((d & 1) == 0) {
    d >>= 1;
    ++s;
  }
  for (uint64_t a : kBases) {
    uint64_t x = PowModExact(a, d, n);
    if (x == 1 || x == n - 1) continue;
    bool composite = true;
    for (int r = 1; r < s; ++r) {
      x = MulMod(x, x, n);
      if (x == n - 1) {
        composite = false;
        break;
      }
    }
    if (composite) return false;
  }
  return true;
}

uint64_t Gcd64(uint64_t a, uint64_t b) {
  while (b) {
    uint64_t t = a % b;
    a = b;
    b = t;
  }
  return a;
}

// Pollard's rho with Brent's cycle detection; n is odd, composite and has no
// factor below the trial-division bound.
uint64_t RhoFactor(uint64_t n) {
  for (uint64_t c = 1;; ++c) {
    uint64_t y = 2, x = 2, g = 1, q = 1, ys = 2;
    uint64_t r = 1;
    auto f = [&](uint64_t v) { return (MulMod(v, v, n) + c) % n; };
    do {
      x = y;
      for (uint64_t i = 0; i < r; ++i) y = f(y);
      uint64_t k = 0;
      do {
        ys = y;
        for (uint64_t i = 0; i < std::min<uint64_t>(128, r - k); ++i) {
          y = f(y);
          q = MulMod(q, x > y ? x - y : y - x, n);
        }
        g = Gcd64(q, n);
        k += 128;
      } while (k < r && g == 1);
      r <<= 1;
    } while (g == 1);
    if (g == n) {
      do {
        ys = f(ys);
        g = Gcd64(x > ys ? x - ys : ys - x, n);
      } while (g == 1);
    }
    if (g != n) return g;
  }
}

void CollectFactors(uint64_t n, std::vector<uint64_t> &out) {
  if (n == 1) return;
  if (IsPrime(n)) {
    out.push_back(n);
    return;
  }
  uint64_t d = RhoFactor(n);
  CollectFactors(d, out);
  CollectFactors(n / d, out);
}

bool LessNaNLast(double a, double b) {
  if (std::isnan(a)) return false;
  if (std::isnan(b)) return true;
  return a < b;
}

// The modulus of (large, small), large >= small > 0: the square of the
// smaller part divided twice by the larger, which fixes the last bit the way
// stored results expect. Where that square overflows or leaves the normal
// range the form would lose the value altogether, and the ratio is squared
// instead.
double ScaledModulus(double large, double small) {
  double square = small * small;
  double ratio2 = std::isnormal(square) ? square / large / large : (small / large) * (small / large);
  return large * std::sqrt(ratio2 + 1.0);
}

}  // namespace

extern "C" {

// ---- complex constructors ------------------------------------------------

QVX_API Complex ComplexR(double re, double im) noexcept { return Make(re, im); }
QVX_API Complex ComplexP(double modulus, double phase) noexcept { return Polar(modulus, phase); }
QVX_API Complex CZ(void) noexcept { return Make(0.0, 0.0); }
QVX_API Complex C1(void) noexcept { return Make(1.0, 0.0); }
QVX_API Complex CI(void) noexcept { return Make(0.0, 1.0); }
QVX_API Complex II(void) noexcept { return Make(0.0, 1.0); }

// ---- complex arithmetic --------------------------------------------------

QVX_API Complex AddC(Complex a, Complex b) noexcept { return Make(a.re + b.re, a.im + b.im); }
QVX_API Complex SubC(Complex a, Complex b) noexcept { return Make(a.re - b.re, a.im - b.im); }

// Three multiplications (Karatsuba's trick for the imaginary part). The
// rounding differs from the four-multiplication product and results depend
// on it.
QVX_API Complex MulC(Complex x, Complex y) noexcept {
  return MulThree(x, y);
}

QVX_API Complex MulCR(Complex a, double r) noexcept { return Make(a.re * r, a.im * r); }

// Smith's method: divide through by the larger part of the denominator so
// that no intermediate overflows needlessly.
QVX_API Complex DivC(Complex x, Complex y) noexcept {
  double a = x.re, b = x.im, c = y.re, d = y.im;
  if (c == 0.0 && d == 0.0) return Make(DividedByZero(a), DividedByZero(b));
  if (std::fabs(c) >= std::fabs(d) && c != 0.0) {
    double ratio = d / c;
    double den = d * ratio + c;
    if (den == 0.0) return Make(DividedByZero(a + ratio * b), DividedByZero(b - ratio * a));
    return Make((a + ratio * b) / den, (b - ratio * a) / den);
  }
  double ratio = c / d;
  double den = c * ratio + d;
  if (den == 0.0) return Make(DividedByZero(ratio * a + b), DividedByZero(ratio * b - a));
  return Make((ratio * a + b) / den, (ratio * b - a) / den);
}

QVX_API Complex DivCR(Complex a, double r) noexcept { return Make(a.re / r, a.im / r); }
QVX_API Complex InvC(Complex z) noexcept { return DivC(Make(1.0, 0.0), z); }
QVX_API Complex ConjC(Complex z) noexcept { return Make(z.re, -z.im); }
QVX_API double RealC(Complex z) noexcept { return z.re; }
QVX_API double ImagC(Complex z) noexcept { return z.im; }

QVX_API Complex Add3C(Complex a, Complex b, Complex c) noexcept { return AddC(AddC(a, b), c); }
QVX_API Complex Mul3C(Complex a, Complex b, Complex c) noexcept { return MulC(MulC(a, b), c); }

// Sum of n complex arguments, left to right.
QVX_API Complex AddNC(int32_t n, ...) noexcept {
  Complex sum = Make(0.0, 0.0);
  va_list args;
  va_start(args, n);
  for (int32_t i = 0; i < n; ++i) sum = AddC(sum, va_arg(args, Complex));
  va_end(args);
  return sum;
}

QVX_API Complex SqrC(Complex z) noexcept { return MulC(z, z); }

// Scaled modulus; see ScaledModulus.
QVX_API double AbsC(double x, double y) noexcept {
  double a = std::fabs(x), b = std::fabs(y);
  if (a == 0.0) return b;
  if (b == 0.0) return a;
  return a >= b ? ScaledModulus(a, b) : ScaledModulus(b, a);
}

QVX_API double PhaC(double x, double y) noexcept { return std::atan2(y, x); }

// Principal complex root, computed from the larger part so that neither the
// square nor the sum loses the smaller one.
QVX_API Complex SqrtC(Complex z) noexcept {
  double x = z.re, y = z.im;
  if (x == 0.0 && y == 0.0) return Make(0.0, 0.0);
  double a = std::fabs(x), b = std::fabs(y), w;
  if (a >= b) {
    double r = y / x;
    w = std::sqrt(a) * std::sqrt(0.5 + 0.5 * std::sqrt(1.0 + r * r));
  } else {
    double r = x / y;
    w = std::sqrt(b) * std::sqrt(0.5 * std::sqrt(1.0 + r * r) + 0.5 * a / b);
  }
  if (w == 0.0) return Make(0.0, 0.0);
  if (x >= 0.0) return Make(w, y / (2.0 * w));
  return Make(b / (2.0 * w), y >= 0.0 ? w : -w);
}

// ---- exponentials, logarithms and powers ---------------------------------

QVX_API Complex ExpC(double t) noexcept { return Make(std::cos(t), std::sin(t)); }

QVX_API Complex ExpCC(double x, double y) noexcept {
  double e = std::exp(x);
  return Make(e * std::cos(y), e * std::sin(y));
}

QVX_API Complex LogC(double x, double y) noexcept {
  return Make(std::log(std::hypot(x, y)), std::atan2(y, x));
}

QVX_API Complex Log10C(double x, double y) noexcept {
  Complex l = LogC(x, y);
  const double ln10 = std::log(10.0);
  return Make(l.re / ln10, l.im / ln10);
}

QVX_API Complex PowC(Complex z, Complex w) noexcept {
  if (w.re == 0.0 && w.im == 0.0) return Make(std::pow(std::hypot(z.re, z.im), 0.0), 0.0);
  double r = AbsC(z.re, z.im);
  double p = std::atan2(z.im, z.re);
  if (!(r > 0.0)) return Make(0.0, 0.0);
  double lr = std::log(r);
  return Polar(std::exp(lr * w.re - p * w.im), lr * w.im + p * w.re);
}

QVX_API Complex PowCR(Complex z, double e) noexcept {
  if (e == 0.0) return Make(std::pow(std::hypot(z.re, z.im), 0.0), 0.0);
  double r = AbsC(z.re, z.im);
  double p = std::atan2(z.im, z.re);
  if (!(r > 0.0)) return Make(0.0, 0.0);
  return Polar(std::exp(std::log(r) * e), p * e);
}

// A non-positive base goes through ln|x| and the angle pi. A zero base has
// no logarithm; it is answered like PowC answers a zero modulus.
QVX_API Complex PowRC(double x, Complex w) noexcept {
  if (x > 0.0) return Polar(std::pow(x, w.re), w.im * std::log(x));
  if (x == 0.0) return PowC(Make(0.0, 0.0), w);
  double l = std::log(std::fabs(x));
  return Polar(std::exp(w.re * l - w.im * kPi), w.im * l + w.re * kPi);
}

// A real power that leaves the reals for a negative base and a non-integer
// exponent: |x|^y on the principal branch, angle pi*y.
QVX_API Complex PowRR(double x, double y) noexcept {
  double t = std::trunc(y);
  if (!(x > 0.0) && std::fabs(t - y) / std::hypot(t, y) > 1e-15) {
    double m = std::pow(std::fabs(x), y);
    return Make(m * std::cos(kPi * y), m * std::sin(kPi * y));
  }
  return Make(std::pow(x, y), 0.0);
}

QVX_API Complex PowIR(int32_t x, double y) noexcept { return PowRR(static_cast<double>(x), y); }

// ---- circular and hyperbolic functions -----------------------------------

QVX_API Complex SinC(double x, double y) noexcept {
  return Make(std::sin(x) * std::cosh(y), std::cos(x) * std::sinh(y));
}

QVX_API Complex CosC(double x, double y) noexcept {
  return Make(std::cos(x) * std::cosh(y), -std::sin(x) * std::sinh(y));
}

// tan z = (sin 2x + i sinh 2y) / (cos 2x + cosh 2y); far from the real axis
// both sinh and cosh overflow and the value is +-i.
QVX_API Complex TanC(double x, double y) noexcept {
  double s = std::sinh(2.0 * y), c = std::cosh(2.0 * y);
  if (std::isinf(s) || std::isinf(c)) return Make(0.0, s > 0 ? 1.0 : (s < 0 ? -1.0 : 0.0));
  double d = std::cos(2.0 * x) + c;
  return Make(std::sin(2.0 * x) / d, s / d);
}

QVX_API Complex SinhC(double x, double y) noexcept {
  return Make(std::sinh(x) * std::cos(y), std::cosh(x) * std::sin(y));
}

QVX_API Complex CoshC(double x, double y) noexcept {
  return Make(std::cosh(x) * std::cos(y), std::sinh(x) * std::sin(y));
}

// The mirror of TanC: (sinh 2x + i sin 2y) / (cosh 2x + cos 2y), +-1 far out.
QVX_API Complex TanhC(double x, double y) noexcept {
  double s = std::sinh(2.0 * x), c = std::cosh(2.0 * x);
  if (std::isinf(s) || std::isinf(c)) return Make(s > 0 ? 1.0 : (s < 0 ? -1.0 : 0.0), 0.0);
  double d = c + std::cos(2.0 * y);
  return Make(s / d, std::sin(2.0 * y) / d);
}

// arccos z = -i ln(z + i sqrt(1 - z^2)); the real part is the angle of the
// logarithm's argument, the imaginary part minus the log of its modulus.
QVX_API Complex ArccosC(double x, double y) noexcept {
  Complex s = SqrtC(Make(1.0 - x * x + y * y, -2.0 * x * y));
  double a = s.re + y, b = x - s.im;
  return Make(std::atan2(a, b), -std::log(std::hypot(b, a)));
}

// arcsin z = -i ln(i z + sqrt(1 - z^2)).
QVX_API Complex ArcsinC(double x, double y) noexcept {
  Complex s = SqrtC(Make(1.0 - x * x + y * y, -2.0 * x * y));
  double a = s.im + x, b = s.re - y;
  return Make(std::atan2(a, b), -std::log(std::hypot(b, a)));
}

// arctan z from the angles of 1 +- i z; an exact zero real part is taken as
// +0 so that both signed zeros land on the same side of the cut.
QVX_API Complex ArctanC(double x, double y) noexcept {
  if (NearlyEqual(x, 0.0)) x = 0.0;
  double re = 0.5 * (std::atan2(x, 1.0 - y) - std::atan2(-x, 1.0 + y));
  double im = 0.25 * std::log((x * x + (1.0 + y) * (1.0 + y)) / (x * x + (y - 1.0) * (y - 1.0)));
  return Make(re, im);
}

// arcsinh z = ln(z + sqrt(z^2 + 1)), evaluated on the half plane x >= 0 and
// mirrored (it is odd) so the sum never cancels.
QVX_API Complex ArcsinhC(double x, double y) noexcept {
  bool flip = x < 0.0;
  if (flip) {
    x = -x;
    y = -y;
  }
  Complex s = SqrtC(Make(x * x - y * y + 1.0, 2.0 * x * y));
  Complex r = LogC(x + s.re, y + s.im);
  return flip ? Make(-r.re, -r.im) : r;
}

// arccosh z = ln(z + sqrt(z + 1) sqrt(z - 1)): two roots, not the root of
// z^2 - 1, which fixes the branch cuts.
QVX_API Complex ArccoshC(double x, double y) noexcept {
  Complex p = MulC(SqrtC(Make(x + 1.0, y)), SqrtC(Make(x - 1.0, y)));
  return LogC(x + p.re, y + p.im);
}

// The mirror of ArctanC with the parts exchanged.
QVX_API Complex ArctanhC(double x, double y) noexcept {
  if (NearlyEqual(y, 0.0)) y = 0.0;
  double re = 0.25 * std::log(((1.0 + x) * (1.0 + x) + y * y) / ((1.0 - x) * (1.0 - x) + y * y));
  double im = 0.5 * (std::atan2(y, 1.0 - x) - std::atan2(-y, 1.0 + x));
  return Make(re, im);
}

// ---- real helpers --------------------------------------------------------

// Truncates toward zero, for negative numbers too: Floor(-1.5) is -1.
QVX_API double Floor(double x) noexcept { return std::trunc(x); }

QVX_API double FractionalPart(double x) noexcept { return x - std::trunc(x); }

// Halves go away from zero.
QVX_API double Round(double x) noexcept {
  if (x > 0.0) {
    double t = std::floor(x);
    return x - t >= 0.5 ? t + 1.0 : t;
  }
  if (x < 0.0) {
    double t = std::ceil(x);
    return t - x >= 0.5 ? t - 1.0 : t;
  }
  return x;
}

// An integer (by the relative test) stays; anything else goes to the
// truncation plus one, for negative numbers too: Ceiling(-1.5) is 0.
QVX_API double Ceiling(double x) noexcept {
  double t = std::trunc(x);
  double h = std::hypot(x, t);
  if (!(h > 0.0) || std::fabs(x - t) / h <= 1e-15) return t;
  return t + 1.0;
}

// x / |x| for finite x; infinities keep their sign rather than give NaN.
QVX_API double Sign(double x) noexcept {
  if (x == 0.0) return 0.0;
  return std::isinf(x) ? std::copysign(1.0, x) : x / std::fabs(x);
}
QVX_API double Sqr(double x) noexcept { return x * x; }
QVX_API double Sqrt(double x) noexcept { return std::sqrt(x); }
QVX_API int32_t IsINF(double x) noexcept { return std::isinf(x) ? 1 : 0; }
QVX_API int32_t IsNAN(double x) noexcept { return std::isnan(x) ? 1 : 0; }

// qsort comparator of doubles, ascending.
QVX_API int CompareFloats(const void *a, const void *b) noexcept {
  double x = *static_cast<const double *>(a), y = *static_cast<const double *>(b);
  return (x > y) - (x < y);
}

QVX_API double Min2(double a, double b) noexcept { return a < b ? a : b; }
QVX_API double Max2(double a, double b) noexcept { return a > b ? a : b; }
QVX_API double Min3(double a, double b, double c) noexcept { return Min2(Min2(a, b), c); }
QVX_API double Max3(double a, double b, double c) noexcept { return Max2(Max2(a, b), c); }
QVX_API int32_t Min2L(int32_t a, int32_t b) noexcept { return a < b ? a : b; }
QVX_API int32_t Max2L(int32_t a, int32_t b) noexcept { return a > b ? a : b; }
QVX_API int32_t Min3L(int32_t a, int32_t b, int32_t c) noexcept { return Min2L(Min2L(a, b), c); }
QVX_API int32_t Max3L(int32_t a, int32_t b, int32_t c) noexcept { return Max2L(Max2L(a, b), c); }

// ---- reductions of a Vector ----------------------------------------------
// An empty (or null) vector gives 0.

QVX_API double Min(const double *v) noexcept {
  int32_t n = LengthOf(v);
  if (n == 0) return 0.0;
  double m = v[1];
  for (int32_t i = 2; i <= n; ++i)
    if (v[i] < m) m = v[i];
  return m;
}

QVX_API double Max(const double *v) noexcept {
  int32_t n = LengthOf(v);
  if (n == 0) return 0.0;
  double m = v[1];
  for (int32_t i = 2; i <= n; ++i)
    if (v[i] > m) m = v[i];
  return m;
}

QVX_API double Mean(const double *v) noexcept {
  int32_t n = LengthOf(v);
  if (n == 0) return 0.0;
  double sum = 0.0;
  for (int32_t i = 1; i <= n; ++i) sum += v[i];
  return sum / n;
}

// The middle of a sorted copy; the mean of the two middle values for an even
// count. NaNs sort last.
QVX_API double Median(const double *v) noexcept {
  return qvx::Guard(0.0, [&]() -> double {
    int32_t n = LengthOf(v);
    if (n == 0) return 0.0;
    std::vector<double> copy(v + 1, v + 1 + n);
    auto mid = copy.begin() + n / 2;
    std::nth_element(copy.begin(), mid, copy.end(), LessNaNLast);
    double upper = *mid;
    if (n % 2) return upper;
    double lower = *std::max_element(copy.begin(), mid, LessNaNLast);
    return 0.5 * (lower + upper);
  });
}

// ---- number theory -------------------------------------------------------

// Euclid's algorithm on the truncated magnitudes. Non-finite input has no
// divisor: NaN.
QVX_API double GreatestCommonDivisor(double a, double b) noexcept {
  if (!std::isfinite(a) || !std::isfinite(b)) return std::nan("");
  a = std::fabs(std::trunc(a));
  b = std::fabs(std::trunc(b));
  while (b != 0.0) {
    double t = std::fmod(a, b);
    a = b;
    b = t;
  }
  return a;
}

// Prime factors of the integer part of n as a Matrix(2, k): column 1 the
// primes in ascending order, column 2 their exponents. Every double is an
// odd integer below 2^53 times a power of two, so the factorisation is exact
// over the whole range: the power of two is read off the exponent and the
// odd part goes to trial division, Miller-Rabin and Pollard's rho. Values
// below 2 and non-finite ones give no factors.
QVX_API double **PrimeFactors2(double n) noexcept {
  return qvx::Guard<>(static_cast<double **>(nullptr), [&]() -> double ** {
    std::vector<uint64_t> factors;
    int64_t twos = 0;
    n = std::trunc(n);
    if (std::isfinite(n) && n >= 2.0) {
      int exponent = 0;
      double mantissa = std::frexp(n, &exponent);  // n = mantissa * 2^exponent
      uint64_t odd = static_cast<uint64_t>(std::ldexp(mantissa, 53));
      twos = exponent - 53;
      while ((odd & 1) == 0) {
        odd >>= 1;
        ++twos;
      }
      for (uint64_t p = 3; p < 1000 && p * p <= odd; p += 2)
        while (odd % p == 0) {
          factors.push_back(p);
          odd /= p;
        }
      CollectFactors(odd, factors);
      std::sort(factors.begin(), factors.end());
    }
    std::vector<std::pair<uint64_t, int64_t>> pairs;
    if (twos) pairs.push_back({2, twos});
    for (uint64_t f : factors) {
      if (!pairs.empty() && pairs.back().first == f) ++pairs.back().second;
      else pairs.push_back({f, 1});
    }
    int32_t k = static_cast<int32_t>(pairs.size());
    double **m = Matrix(2, k);
    if (!m || static_cast<int32_t>(m[1][0]) != k) return m;
    for (int32_t i = 1; i <= k; ++i) {
      m[1][i] = static_cast<double>(pairs[i - 1].first);
      m[2][i] = static_cast<double>(pairs[i - 1].second);
    }
    return m;
  });
}

// ---- random numbers ------------------------------------------------------

QVX_API double Ran2(int32_t *cell) noexcept {
  if (!cell) return 0.0;
  int32_t second = 123456789;  // the second stream restarts on every call
  int32_t shuffle = 0;         // and so does the shuffle word
  if (*cell <= 0) {
    // Negation in 32 bits: the most negative value stays negative, so 1.
    int32_t seed = static_cast<int32_t>(0u - static_cast<uint32_t>(*cell));
    if (seed < 1) seed = 1;
    *cell = seed;
    second = seed;
    for (int j = kTable + 7; j >= 0; --j) {
      *cell = Advance(*cell, kA1, kQ1, kM1);
      if (j < kTable) tShuffle[j] = *cell;
    }
    shuffle = tShuffle[0];
  }
  *cell = Advance(*cell, kA1, kQ1, kM1);
  second = Advance(second, kA2, kQ2, kM2);
  tSecondStream = second;
  int j = static_cast<int>(shuffle / kDivisor);
  if (j < 0 || j >= kTable) j = 0;
  int32_t out = static_cast<int32_t>(static_cast<uint32_t>(tShuffle[j]) - static_cast<uint32_t>(second));
  tShuffle[j] = *cell;
  if (out < 1) out += kMM1;
  tLastOutput = out;
  double r = out * kScale;
  return r > kLargest ? kLargest : r;
}

QVX_API double RandomReal(double a, double b, int32_t *cell) noexcept { return a + (b - a) * Ran2(cell); }

// A uniform integer from the closed range between low and high, in either
// order.
QVX_API int32_t RandomInteger(int32_t low, int32_t high, int32_t *cell) noexcept {
  if (low > high) std::swap(low, high);
  int64_t span = static_cast<int64_t>(high) - low + 1;
  int64_t offset = static_cast<int64_t>(static_cast<double>(span) * Ran2(cell));
  if (offset >= span) offset = span - 1;
  return static_cast<int32_t>(low + offset);
}

}  // extern "C"
