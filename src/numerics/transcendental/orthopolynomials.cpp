// Associated Legendre functions, generalised Laguerre polynomials, the
// hydrogen wave function built from them, and Wigner 3j symbols.
//
// Legendre and Laguerre values climb by their three-term recurrences from a
// closed form at the lowest degree. Single 3j symbols use Racah's sum; whole
// families over j1 use the Schulten-Gordon recursion, run inward from both
// ends (each direction is stable while the values grow) and matched where
// the backward run peaks, then normalised by sum (2 j1 + 1) X^2 = 1.
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/containers/container_access.h"
#include "numerics/transcendental/transcendental.h"

namespace {

using qvx::kPi;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
// Degrees beyond this would make the recurrences run for seconds.
constexpr int32_t kMaxDegree = 10000000;

// True when 2v is an integer (v is an integer or a half integer).
bool IsHalfInteger(double v) { return std::isfinite(v) && 2.0 * v == std::floor(2.0 * v); }
bool IsInteger(double v) { return std::isfinite(v) && v == std::floor(v); }

// log n! for a non-negative integral double.
double LnFact(double n) { return FactorialLn(static_cast<int32_t>(n)); }

}  // namespace

extern "C" {

// P_l^m(x) with the Condon-Shortley phase: the closed form
// (-1)^m (2m-1)!! (1-x^2)^{m/2} at degree |m|, then the recurrence in l.
// A negative m uses P_l^{-m} = (-1)^m (l-m)!/(l+m)! P_l^m.
QVX_API double LegendreFunc(double x, int32_t l, int32_t m) noexcept {
  if (std::isnan(x)) return kNaN;
  if (m == INT32_MIN) return 0.0;  // |m| > l for every l
  const int32_t mm = std::abs(m);
  if (l < 0 || mm > l || std::fabs(x) > 1.0) return 0.0;
  if (l > kMaxDegree) return kNaN;
  double pmm = 1.0;
  if (mm > 0) {
    double somx2 = std::sqrt((1.0 - x) * (1.0 + x)), fact = 1.0;
    for (int32_t i = 1; i <= mm; ++i) {
      pmm *= -fact * somx2;
      fact += 2.0;
    }
  }
  double result;
  if (l == mm) {
    result = pmm;
  } else {
    double pmmp1 = x * (2.0 * mm + 1.0) * pmm;
    for (int32_t ll = mm + 2; ll <= l; ++ll) {
      double pll = (x * (2.0 * ll - 1.0) * pmmp1 - (ll + mm - 1.0) * pmm) / (ll - mm);
      pmm = pmmp1;
      pmmp1 = pll;
    }
    result = pmmp1;
  }
  if (m < 0 && result != 0.0) {
    double ratio = std::exp(FactorialLn(l - mm) - FactorialLn(l + mm));
    result *= (mm % 2 ? -ratio : ratio);
  }
  return result;
}

QVX_API double LegendrePolynomial(double x, int32_t l) noexcept { return LegendreFunc(x, l, 0); }

// Generalised Laguerre polynomial L_n^alpha(x) by its upward recurrence.
QVX_API double LaguerreFunc(double x, int32_t n, double alpha) noexcept {
  if (std::isnan(x) || std::isnan(alpha)) return kNaN;
  if (n < 0) return 0.0;
  if (n > kMaxDegree) return kNaN;
  double prev = 1.0;
  if (n == 0) return prev;
  double cur = 1.0 + alpha - x;
  for (int32_t k = 1; k < n; ++k) {
    double next = ((2.0 * k + 1.0 + alpha - x) * cur - (k + alpha) * prev) / (k + 1.0);
    prev = cur;
    cur = next;
  }
  return cur;
}

// Bound state psi_nlm(r, theta, phi) of hydrogen in atomic units (Bohr
// radius 1): R_nl(r) Y_lm(theta, phi), both normalised to 1.
QVX_API Complex HydrogenWaveFunc(int32_t n, int32_t l, int32_t m, double r, double theta,
                                 double phi) noexcept {
  const Complex bad{kNaN, kNaN};
  if (n < 1 || l < 0 || l >= n || m < -l || m > l || !(r >= 0.0) || std::isnan(theta) ||
      std::isnan(phi) || n > kMaxDegree)
    return bad;
  if (std::isinf(r)) return Complex{0.0, 0.0};
  double rho = 2.0 * r / n;
  double lnNorm = 0.5 * (3.0 * std::log(2.0 / n) + FactorialLn(n - l - 1) -
                         std::log(2.0 * n) - FactorialLn(n + l));
  double radial = std::exp(lnNorm - 0.5 * rho) * std::pow(rho, l) *
                  LaguerreFunc(rho, n - l - 1, 2.0 * l + 1.0);
  int32_t am = std::abs(m);
  double lnY = 0.5 * (std::log((2.0 * l + 1.0) / (4.0 * kPi)) + FactorialLn(l - am) -
                      FactorialLn(l + am));
  // Y_l^m with |m|, then Y_l^{-m} = (-1)^m conj(Y_l^m).
  double angular = std::exp(lnY) * LegendreFunc(std::cos(theta), l, am);
  double v = radial * angular;
  double c = std::cos(am * phi), s = std::sin(am * phi);
  if (m < 0) {
    double sign = am % 2 ? -1.0 : 1.0;
    return Complex{sign * v * c, -sign * v * s};
  }
  return Complex{v * c, v * s};
}

// Racah's closed sum for one 3j symbol; arguments are integers or half
// integers. Selection rules that fail give 0, non-half-integers NaN.
QVX_API double Wigner3J(double j1, double j2, double j3, double m1, double m2,
                        double m3) noexcept {
  const double args[6] = {j1, j2, j3, m1, m2, m3};
  for (double a : args)
    if (!IsHalfInteger(a) || std::fabs(a) > 1e6) return kNaN;
  if (j1 < 0 || j2 < 0 || j3 < 0) return kNaN;
  if (!IsInteger(j1 + m1) || !IsInteger(j2 + m2) || !IsInteger(j3 + m3)) return kNaN;
  if (m1 + m2 + m3 != 0.0) return 0.0;
  if (std::fabs(m1) > j1 || std::fabs(m2) > j2 || std::fabs(m3) > j3) return 0.0;
  if (j3 < std::fabs(j1 - j2) || j3 > j1 + j2 || !IsInteger(j1 + j2 + j3)) return 0.0;
  // Racah's alternating sum cancels badly for large j; there the recursion
  // over j1 gives the symbol to full precision.
  if (j1 + j2 + j3 > 40.0) {
    double first = 0.0, value = kNaN;
    double *all = Wigner3JSymbols(j2, j3, m2, m3, &first);
    if (all && all[0] > 0) {
      int32_t index = static_cast<int32_t>(j1 - first + 0.5) + 1;
      if (index >= 1 && index <= qvx::LengthOf(all)) value = all[index];
      else value = 0.0;  // below max(|j2 - j3|, |m1|): forbidden
    }
    FreeVector(all);
    return value;
  }

  return qvx::Guard(kNaN, [&] {
    double lnOuter = 0.5 * (LnFact(j1 + j2 - j3) + LnFact(j1 - j2 + j3) + LnFact(-j1 + j2 + j3) -
                            LnFact(j1 + j2 + j3 + 1) + LnFact(j1 + m1) + LnFact(j1 - m1) +
                            LnFact(j2 + m2) + LnFact(j2 - m2) + LnFact(j3 + m3) + LnFact(j3 - m3));
    double kmin = std::max({0.0, j2 - j3 - m1, j1 - j3 + m2});
    double kmax = std::min({j1 + j2 - j3, j1 - m1, j2 + m2});
    // Sum the alternating terms relative to the largest one.
    std::vector<double> lnTerms;
    double lnMax = -std::numeric_limits<double>::infinity();
    for (double k = kmin; k <= kmax; k += 1.0) {
      double lt = -(LnFact(k) + LnFact(j3 - j2 + k + m1) + LnFact(j3 - j1 + k - m2) +
                    LnFact(j1 + j2 - j3 - k) + LnFact(j1 - k - m1) + LnFact(j2 - k + m2));
      lnTerms.push_back(lt);
      lnMax = std::max(lnMax, lt);
    }
    if (lnTerms.empty()) return 0.0;
    double sum = 0.0;
    double sign = std::fmod(kmin, 2.0) == 0.0 ? 1.0 : -1.0;
    for (double lt : lnTerms) {
      sum += sign * std::exp(lt - lnMax);
      sign = -sign;
    }
    double phase = std::fmod(std::fabs(j1 - j2 - m3), 2.0) == 0.0 ? 1.0 : -1.0;
    return phase * sum * std::exp(lnOuter + lnMax);
  });
}

// (j j 0; m -m 0) = (-1)^(j-m) / sqrt(2j + 1).
QVX_API double Wigner3JSymbolSpecial1(double j, double m) noexcept {
  if (!IsHalfInteger(j) || !IsHalfInteger(m) || j < 0 || !IsInteger(j - m)) return kNaN;
  if (std::fabs(m) > j) return 0.0;
  double sign = std::fmod(std::fabs(j - m), 2.0) == 0.0 ? 1.0 : -1.0;
  return sign / std::sqrt(2.0 * j + 1.0);
}

// (j1 j2 j3; 0 0 0): zero for odd J = j1 + j2 + j3, otherwise the closed form
// (-1)^g sqrt((J-2j1)!(J-2j2)!(J-2j3)!/(J+1)!) g!/((g-j1)!(g-j2)!(g-j3)!), g = J/2.
QVX_API double Wigner3JSymbolSpecial2(int32_t j1, int32_t j2, int32_t j3) noexcept {
  if (j1 < 0 || j2 < 0 || j3 < 0) return kNaN;
  int64_t J = static_cast<int64_t>(j1) + j2 + j3;
  if (J % 2) return 0.0;
  if (j3 < std::abs(j1 - j2) || j3 > static_cast<int64_t>(j1) + j2) return 0.0;
  int32_t g = static_cast<int32_t>(J / 2);
  double ln = 0.5 * (FactorialLn(static_cast<int32_t>(J - 2 * j1)) +
                     FactorialLn(static_cast<int32_t>(J - 2 * j2)) +
                     FactorialLn(static_cast<int32_t>(J - 2 * j3)) -
                     FactorialLn(static_cast<int32_t>(J + 1))) +
              FactorialLn(g) - FactorialLn(g - j1) - FactorialLn(g - j2) - FactorialLn(g - j3);
  return (g % 2 ? -1.0 : 1.0) * std::exp(ln);
}

// All (j1 j2 j3; 0 0 0) for j1 = |j2 - j3| .. j2 + j3, as a Vector; *j1min
// receives the first j1.
QVX_API double *Wigner3JSymbolsSpecial(int32_t j2, int32_t j3, int32_t *j1min) noexcept {
  if (j2 < 0 || j3 < 0 || static_cast<int64_t>(j2) + j3 > 1000000) return Vector(0);
  int32_t lo = std::abs(j2 - j3), hi = j2 + j3;
  if (j1min) *j1min = lo;
  double *v = Vector(hi - lo + 1);
  if (!v || v[0] != hi - lo + 1) return v;
  for (int32_t j1 = lo; j1 <= hi; ++j1) v[j1 - lo + 1] = Wigner3JSymbolSpecial2(j1, j2, j3);
  return v;
}

// All (j1 j2 j3; m1 m2 m3) with m1 = -m2 - m3 for j1 from max(|j2-j3|, |m1|)
// to j2 + j3, by the Schulten-Gordon three-term recursion in j1.
QVX_API double *Wigner3JSymbols(double j2, double j3, double m2, double m3,
                                double *j1min) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&]() -> double * {
    const double m1 = -m2 - m3;
    if (!IsHalfInteger(j2) || !IsHalfInteger(j3) || !IsHalfInteger(m2) || !IsHalfInteger(m3) ||
        j2 < 0 || j3 < 0 || !IsInteger(j2 + m2) || !IsInteger(j3 + m3) || std::fabs(m2) > j2 ||
        std::fabs(m3) > j3 || j2 + j3 > 1e6)
      return Vector(0);
    const double lo = std::max(std::fabs(j2 - j3), std::fabs(m1)), hi = j2 + j3;
    if (j1min) *j1min = lo;
    if (lo > hi) return Vector(0);
    const int32_t n = static_cast<int32_t>(hi - lo + 0.5) + 1;
    if (m2 == 0.0 && m3 == 0.0 && IsInteger(j2) && IsInteger(j3)) {
      int32_t first;
      return Wigner3JSymbolsSpecial(static_cast<int32_t>(j2), static_cast<int32_t>(j3), &first);
    }
    std::vector<double> fwd(n), bwd(n);  // before the Vector: a throw leaks nothing
    double *out = Vector(n);
    if (!out || out[0] != n) return out;
    auto A = [&](double j1) {
      double t = (j1 * j1 - (j2 - j3) * (j2 - j3)) * ((j2 + j3 + 1) * (j2 + j3 + 1) - j1 * j1) *
                 (j1 * j1 - m1 * m1);
      return t > 0.0 ? std::sqrt(t) : 0.0;
    };
    auto B = [&](double j1) {
      return -(2 * j1 + 1) * (j2 * (j2 + 1) * m1 - j3 * (j3 + 1) * m1 - j1 * (j1 + 1) * (m3 - m2));
    };
    if (n == 1) {
      double sign = std::fmod(std::fabs(j2 - j3 - m1), 2.0) == 0.0 ? 1.0 : -1.0;
      out[1] = sign / std::sqrt(2 * lo + 1);
      return out;
    }
    // Forward from j1min, where A(j1min) = 0 removes the lower term. At
    // j1min = 0 (j2 = j3, m1 = 0) the recursion says nothing about j1 = 1,
    // but there is no barrier at the low end either: the backward run alone
    // is stable all the way down.
    if (lo > 0.0) {
      fwd[0] = 1.0;
      fwd[1] = -B(lo) / (lo * A(lo + 1));
      for (int32_t i = 1; i + 1 < n; ++i) {
        double j1 = lo + i;
        fwd[i + 1] = -(B(j1) * fwd[i] + (j1 + 1) * A(j1) * fwd[i - 1]) / (j1 * A(j1 + 1));
        if (std::fabs(fwd[i + 1]) > 1e200)
          for (int32_t k = 0; k <= i + 1; ++k) fwd[k] *= 1e-200;
      }
    }
    // Backward from j1max, where A(j1max + 1) = 0 removes the upper term.
    bwd[n - 1] = 1.0;
    bwd[n - 2] = -B(hi) / ((hi + 1) * A(hi));
    for (int32_t i = n - 2; i >= 1; --i) {
      double j1 = lo + i;
      bwd[i - 1] = -(j1 * A(j1 + 1) * bwd[i + 1] + B(j1) * bwd[i]) / ((j1 + 1) * A(j1));
      if (std::fabs(bwd[i - 1]) > 1e200)
        for (int32_t k = i - 1; k < n; ++k) bwd[k] *= 1e-200;
    }
    // Match where the backward run stops growing (it is stable up to there),
    // but no lower than where the forward run stops growing.
    int32_t pb = n - 1;
    while (pb > 0 && std::fabs(bwd[pb - 1]) >= std::fabs(bwd[pb])) --pb;
    int32_t pf = 0;
    while (pf + 1 < n && std::fabs(fwd[pf + 1]) >= std::fabs(fwd[pf])) ++pf;
    int32_t p = pf <= pb ? pb : (pf + pb) / 2;
    if (lo == 0.0) {
      fwd = bwd;
      p = 0;
    } else if (fwd[p] == 0.0) {  // fall back to the largest product in range
      double best = -1.0;
      for (int32_t i = 0; i < n; ++i)
        if (std::fabs(fwd[i] * bwd[i]) > best) { best = std::fabs(fwd[i] * bwd[i]); p = i; }
    }
    double ratio = bwd[p] / fwd[p];
    double norm = 0.0;
    for (int32_t i = 0; i < n; ++i) {
      double v = i <= p ? fwd[i] * ratio : bwd[i];
      out[i + 1] = v;
      norm += (2 * (lo + i) + 1) * v * v;
    }
    double sign = std::fmod(std::fabs(j2 - j3 - m1), 2.0) == 0.0 ? 1.0 : -1.0;
    double scale = 1.0 / std::sqrt(norm);
    if ((out[n] < 0.0) != (sign < 0.0)) scale = -scale;
    for (int32_t i = 1; i <= n; ++i) out[i] *= scale;
    return out;
  });
}

}  // extern "C"
