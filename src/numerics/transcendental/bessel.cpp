// Bessel functions of real order (J, Y, I, K) and the Airy functions.
//
// The cores follow Steed's method: a continued fraction (CF1)
// gives J'/J (or I'/I) at the requested order, a downward recurrence takes the
// unnormalised values to an order mu in [-1/2, 1/2], and there either Temme's
// series (x < 2, with the gamma factors of BesselGammas) or the complex
// continued fraction CF2 and the Wronskian fix the normalisation; Y and K then
// climb back up by their stable upward recurrence. Every loop is capped
// (10000 iterations), orders are capped, and arguments where the fractions
// cannot converge fall back to the Hankel asymptotic form or to NaN.
//
// The public functions return a Complex because they extend the cores to
// negative arguments (factor e^{i pi order}) and negative orders (reflection).
#include <cmath>
#include <limits>

#include "libquorvex.h"
#include "numerics/transcendental/transcendental.h"

namespace {

using qvx::kPi;

constexpr int kMaxIterations = 10000;
constexpr double kEps = 1e-16;
constexpr double kTiny = 1e-30;
constexpr double kTemmeLimit = 2.0;
// Beyond this order the downward recurrence would run too long; such orders
// only survive the underflow test below, otherwise the answer is NaN.
constexpr double kMaxOrder = 1e7;
// From this argument on CF1 would need more than the iteration cap.
constexpr double kAsymptoticArgument = 5000.0;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

void Store(double *p, double v) {
  if (p) *p = v;
}

void StoreAll(double *a, double *b, double *c, double *d, double v) {
  Store(a, v); Store(b, v); Store(c, v); Store(d, v);
}

// Chebyshev sum on [-1, 1] (Clenshaw), first coefficient halved.
double Chebyshev(const double *c, int m, double x) {
  double d = 0.0, dd = 0.0, y2 = 2.0 * x;
  for (int j = m - 1; j >= 1; --j) {
    double sv = d;
    d = y2 * d - dd + c[j];
    dd = sv;
  }
  return x * d - dd + 0.5 * c[0];
}

// Estimate of log J_nu(x) (or log I_nu(x)) for nu well above x: the leading
// term of the power series with Stirling's form of Gamma(nu + 1). Used only
// to decide that the value underflows.
bool SeriesUnderflows(double x, double nu) {
  if (nu < 50.0 || x >= nu) return false;
  double logTerm = nu * std::log(0.5 * x) - (nu + 0.5) * std::log(nu + 1.0) + (nu + 1.0) -
                   0.5 * std::log(2.0 * kPi);
  return logTerm < -760.0;
}

// Hankel's asymptotic expansion of J and Y for large x; false when the terms
// stop decreasing before reaching double precision (order too large).
bool HankelJY(double x, double nu, double *j, double *y) {
  double mu = 4.0 * nu * nu;
  double p = 1.0, q = 0.0, term = 1.0, last = kInf;
  bool converged = false;
  for (int k = 1; k < 200; ++k) {
    double odd = 2.0 * k - 1.0;
    term *= (mu - odd * odd) / (8.0 * k * x);
    double mag = std::fabs(term);
    if (mag > last) break;
    last = mag;
    // Odd k feed Q with signs + - + ..., even k feed P with signs - + - ...
    if (k % 2) q += (((k - 1) / 2) % 2 ? -term : term);
    else p += ((k / 2) % 2 ? -term : term);
    if (mag < 1e-17 * std::fabs(p)) { converged = true; break; }
  }
  // Terms that turned to grow early still leave a usable value when the
  // smallest one is tiny.
  if (!converged && last > 1e-10 * (std::fabs(p) + std::fabs(q))) return false;
  // chi = x - (nu/2 + 1/4) pi, reduced with the exact sine and cosine of pi.
  double s = std::sin(x), c = std::cos(x);
  double phase = 0.5 * nu + 0.25;
  double cp = qvx::CosPi(phase), sp = qvx::SinPi(phase);
  double cosChi = c * cp + s * sp, sinChi = s * cp - c * sp;
  double scale = std::sqrt(2.0 / (kPi * x));
  *j = scale * (p * cosChi - q * sinChi);
  *y = scale * (p * sinChi + q * cosChi);
  return true;
}

}  // namespace

namespace qvx {

double SinPi(double x) noexcept {
  if (!std::isfinite(x)) return kNaN;
  double r = std::fmod(x, 2.0);  // (-2, 2), sign of x
  if (r < 0) r += 2.0;
  if (r == 0.0 || r == 1.0) return 0.0;
  if (r == 0.5) return 1.0;
  if (r == 1.5) return -1.0;
  if (r > 1.0) return -std::sin(kPi * (r - 1.0));
  return std::sin(kPi * r);
}

double CosPi(double x) noexcept { return SinPi(x + 0.5); }

}  // namespace qvx

extern "C" {

// The gamma factors of Temme's series for |x| <= 1/2, by their Chebyshev
// expansions: gam1 = (1/G(1-x) - 1/G(1+x))/(2x), gam2 = (1/G(1-x) + 1/G(1+x))/2,
// gampl = 1/G(1+x), gammi = 1/G(1-x).
QVX_API void BesselGammas(double x, double *gam1, double *gam2, double *gampl,
                          double *gammi) noexcept {
  static const double c1[] = {-1.142022680371168e0, 6.5165112670737e-3, 3.087090173086e-4,
                              -3.4706269649e-6,     6.9437664e-9,       3.67795e-11,
                              -1.356e-13};
  static const double c2[] = {1.843740587300905e0, -7.68528408447867e-2, 1.2719271366546e-3,
                              -4.9717367042e-6,    -3.31261198e-8,       2.423096e-10,
                              -1.702e-13,          -1.49e-15};
  double xx = 8.0 * x * x - 1.0;
  double g1 = Chebyshev(c1, 7, xx);
  double g2 = Chebyshev(c2, 8, xx);
  Store(gam1, g1);
  Store(gam2, g2);
  Store(gampl, g2 - x * g1);
  Store(gammi, g2 + x * g1);
}

QVX_API void BesselFuncSub(double x, double order, double *j, double *y, double *jprime,
                           double *yprime) noexcept {
  const double xnu = order;
  if (!(x > 0.0) || !(xnu >= 0.0) || std::isnan(x) || !std::isfinite(xnu)) {
    StoreAll(j, y, jprime, yprime, kNaN);
    return;
  }
  if (std::isinf(x)) {
    StoreAll(j, y, jprime, yprime, 0.0);
    return;
  }
  if (SeriesUnderflows(x, xnu)) {
    Store(j, 0.0); Store(jprime, 0.0); Store(y, -kInf); Store(yprime, kInf);
    return;
  }
  if (x - xnu >= kAsymptoticArgument || xnu > kMaxOrder) {
    double j0, y0, j1, y1;
    if (HankelJY(x, xnu, &j0, &y0) && HankelJY(x, xnu + 1.0, &j1, &y1)) {
      Store(j, j0); Store(y, y0);
      Store(jprime, xnu / x * j0 - j1);
      Store(yprime, xnu / x * y0 - y1);
    } else {
      StoreAll(j, y, jprime, yprime, kNaN);
    }
    return;
  }

  const int nl = x < kTemmeLimit ? static_cast<int>(xnu + 0.5)
                                 : std::max(0, static_cast<int>(xnu - x + 1.5));
  const double xmu = xnu - nl, xmu2 = xmu * xmu;
  const double xi = 1.0 / x, xi2 = 2.0 * xi, w = xi2 / kPi;

  // CF1: J'_nu / J_nu by the modified Lentz method; the signs of the
  // denominators give the sign of J_nu.
  int isign = 1;
  double h = xnu * xi;
  if (h < kTiny) h = kTiny;
  double b = xi2 * xnu, d = 0.0, c = h;
  int i = 0;
  for (; i < kMaxIterations; ++i) {
    b += xi2;
    d = b - d;
    if (std::fabs(d) < kTiny) d = kTiny;
    c = b - 1.0 / c;
    if (std::fabs(c) < kTiny) c = kTiny;
    d = 1.0 / d;
    double del = c * d;
    h *= del;
    if (d < 0.0) isign = -isign;
    if (std::fabs(del - 1.0) <= kEps) break;
  }
  if (i >= kMaxIterations) {
    StoreAll(j, y, jprime, yprime, kNaN);
    return;
  }

  // Downward recurrence to mu, rescaled so that long runs cannot overflow.
  double rjl = isign * kTiny, rjpl = h * rjl;
  const double rjl1 = rjl, rjp1 = rjpl;
  double fact = xnu * xi;
  int rescale = 0;
  for (int l = nl - 1; l >= 0; --l) {
    double t = fact * rjl + rjpl;
    fact -= xi;
    rjpl = fact * t - rjl;
    rjl = t;
    if (std::fabs(rjl) > 1e250) {
      rjl = std::ldexp(rjl, -800);
      rjpl = std::ldexp(rjpl, -800);
      rescale += 800;
    }
  }
  if (rjl == 0.0) rjl = kEps;
  const double f = rjpl / rjl;

  double rjmu, rymu, rymup, ry1;
  if (x < kTemmeLimit) {
    // Temme's series for Y_mu and Y_mu+1.
    double x2 = 0.5 * x, pimu = kPi * xmu;
    double fct = std::fabs(pimu) < kEps ? 1.0 : pimu / std::sin(pimu);
    double dd = -std::log(x2), e = xmu * dd;
    double fct2 = std::fabs(e) < kEps ? 1.0 : std::sinh(e) / e;
    double gam1, gam2, gampl, gammi;
    BesselGammas(xmu, &gam1, &gam2, &gampl, &gammi);
    double ff = 2.0 / kPi * fct * (gam1 * std::cosh(e) + gam2 * fct2 * dd);
    e = std::exp(e);
    double p = e / (gampl * kPi);
    double q = 1.0 / (e * kPi * gammi);
    double pimu2 = 0.5 * pimu;
    double fct3 = std::fabs(pimu2) < kEps ? 1.0 : std::sin(pimu2) / pimu2;
    double r = kPi * pimu2 * fct3 * fct3;
    double cc = 1.0, dsq = -x2 * x2;
    double sum = ff + r * q, sum1 = p;
    for (int k = 1; k <= kMaxIterations; ++k) {
      ff = (k * ff + p + q) / (k * static_cast<double>(k) - xmu2);
      cc *= dsq / k;
      p /= k - xmu;
      q /= k + xmu;
      double del = cc * (ff + r * q);
      sum += del;
      sum1 += cc * p - k * del;
      if (std::fabs(del) < (1.0 + std::fabs(sum)) * kEps) break;
    }
    rymu = -sum;
    ry1 = -sum1 * xi2;
    rymup = xmu * xi * rymu - ry1;
    rjmu = w / (rymup - f * rymu);
  } else {
    // CF2: p + iq = (J' + iY')/(J + iY) at mu, by Steed's algorithm.
    double a = 0.25 - xmu2, p = -0.5 * xi, q = 1.0;
    double br = 2.0 * x, bi = 2.0;
    double fct = a * xi / (p * p + q * q);
    double cr = br + q * fct, ci = bi + p * fct;
    double den = br * br + bi * bi;
    double dr = br / den, di = -bi / den;
    double dlr = cr * dr - ci * di, dli = cr * di + ci * dr;
    double t = p * dlr - q * dli;
    q = p * dli + q * dlr;
    p = t;
    int k = 1;
    for (; k < kMaxIterations; ++k) {
      a += 2 * k;
      bi += 2.0;
      dr = a * dr + br;
      di = a * di + bi;
      if (std::fabs(dr) + std::fabs(di) < kTiny) dr = kTiny;
      fct = a / (cr * cr + ci * ci);
      cr = br + cr * fct;
      ci = bi - ci * fct;
      if (std::fabs(cr) + std::fabs(ci) < kTiny) cr = kTiny;
      den = dr * dr + di * di;
      dr /= den;
      di /= -den;
      dlr = cr * dr - ci * di;
      dli = cr * di + ci * dr;
      t = p * dlr - q * dli;
      q = p * dli + q * dlr;
      p = t;
      if (std::fabs(dlr - 1.0) + std::fabs(dli) <= kEps) break;
    }
    if (k >= kMaxIterations) {
      StoreAll(j, y, jprime, yprime, kNaN);
      return;
    }
    double gam = (p - f) / q;
    rjmu = std::sqrt(w / ((p - f) * gam + q));
    rjmu = std::copysign(rjmu, rjl);
    rymu = rjmu * gam;
    rymup = rymu * (p + q / gam);
    ry1 = xmu * xi * rymu - rymup;
  }
  double scale = rjmu / rjl;
  Store(j, std::ldexp(rjl1 * scale, -rescale));
  Store(jprime, std::ldexp(rjp1 * scale, -rescale));
  for (int k = 1; k <= nl; ++k) {
    double t = (xmu + k) * xi2 * ry1 - rymu;
    rymu = ry1;
    ry1 = t;
  }
  Store(y, rymu);
  Store(yprime, xnu * xi * rymu - ry1);
}

QVX_API void BesselModFuncSub(double x, double order, double *i, double *k, double *iprime,
                              double *kprime) noexcept {
  const double xnu = order;
  if (!(x > 0.0) || !(xnu >= 0.0) || std::isnan(x) || !std::isfinite(xnu)) {
    StoreAll(i, k, iprime, kprime, kNaN);
    return;
  }
  // Past 745 e^x overflows and e^-x underflows whatever the order.
  if (x > 745.0) {
    Store(i, kInf); Store(iprime, kInf); Store(k, 0.0); Store(kprime, -0.0);
    return;
  }
  if (SeriesUnderflows(x, xnu)) {
    Store(i, 0.0); Store(iprime, 0.0); Store(k, kInf); Store(kprime, -kInf);
    return;
  }
  if (xnu > kMaxOrder) {
    StoreAll(i, k, iprime, kprime, kNaN);
    return;
  }
  const int nl = static_cast<int>(xnu + 0.5);
  const double xmu = xnu - nl, xmu2 = xmu * xmu;
  const double xi = 1.0 / x, xi2 = 2.0 * xi;

  // CF1: I'_nu / I_nu; all terms positive, no sign to track.
  double h = xnu * xi;
  if (h < kTiny) h = kTiny;
  double b = xi2 * xnu, d = 0.0, c = h;
  int it = 0;
  for (; it < kMaxIterations; ++it) {
    b += xi2;
    d = 1.0 / (b + d);
    c = b + 1.0 / c;
    double del = c * d;
    h *= del;
    if (std::fabs(del - 1.0) < kEps) break;
  }
  if (it >= kMaxIterations) {
    StoreAll(i, k, iprime, kprime, kNaN);
    return;
  }
  double ril = kTiny, ripl = h * ril;
  const double ril1 = ril, rip1 = ripl;
  double fact = xnu * xi;
  int rescale = 0;
  for (int l = nl - 1; l >= 0; --l) {
    double t = fact * ril + ripl;
    fact -= xi;
    ripl = fact * t + ril;
    ril = t;
    if (ril > 1e250) {
      ril = std::ldexp(ril, -800);
      ripl = std::ldexp(ripl, -800);
      rescale += 800;
    }
  }
  const double f = ripl / ril;

  // K is carried as K e^x on the CF2 branch (and I as I e^-x) so that the
  // normalisation cannot underflow for large x.
  double rkmu, rk1, expScale = 0.0;
  if (x < kTemmeLimit) {
    double x2 = 0.5 * x, pimu = kPi * xmu;
    double fct = std::fabs(pimu) < kEps ? 1.0 : pimu / std::sin(pimu);
    double dd = -std::log(x2), e = xmu * dd;
    double fct2 = std::fabs(e) < kEps ? 1.0 : std::sinh(e) / e;
    double gam1, gam2, gampl, gammi;
    BesselGammas(xmu, &gam1, &gam2, &gampl, &gammi);
    double ff = fct * (gam1 * std::cosh(e) + gam2 * fct2 * dd);
    double sum = ff;
    e = std::exp(e);
    double p = 0.5 * e / gampl, q = 0.5 / (e * gammi), cc = 1.0, dsq = x2 * x2;
    double sum1 = p;
    for (int n = 1; n <= kMaxIterations; ++n) {
      ff = (n * ff + p + q) / (n * static_cast<double>(n) - xmu2);
      cc *= dsq / n;
      p /= n - xmu;
      q /= n + xmu;
      double del = cc * ff;
      sum += del;
      sum1 += cc * (p - n * ff);
      if (std::fabs(del) < std::fabs(sum) * kEps) break;
    }
    rkmu = sum;
    rk1 = sum1 * xi2;
  } else {
    // Steed's CF2 in Temme's normalisation.
    double bb = 2.0 * (1.0 + x), dd = 1.0 / bb, hh = dd, delh = dd;
    double q1 = 0.0, q2 = 1.0, a1 = 0.25 - xmu2, q = a1, cc = a1, a = -a1;
    double s = 1.0 + q * delh;
    for (int n = 1; n < kMaxIterations; ++n) {
      a -= 2 * n;
      cc = -a * cc / (n + 1.0);
      double qnew = (q1 - bb * q2) / a;
      q1 = q2;
      q2 = qnew;
      q += cc * qnew;
      bb += 2.0;
      dd = 1.0 / (bb + a * dd);
      delh = (bb * dd - 1.0) * delh;
      hh += delh;
      double dels = q * delh;
      s += dels;
      if (std::fabs(dels / s) < kEps) break;
    }
    hh = a1 * hh;
    rkmu = std::sqrt(kPi / (2.0 * x)) / s;
    rk1 = rkmu * (xmu + x + 0.5 - hh) * xi;
    expScale = x;
  }
  double rkmup = xmu * xi * rkmu - rk1;
  double rimu = xi / (f * rkmu - rkmup);
  double iScale = expScale > 0.0 ? std::exp(expScale) : 1.0;
  double kScale = expScale > 0.0 ? std::exp(-expScale) : 1.0;
  Store(i, std::ldexp(rimu * ril1 / ril, -rescale) * iScale);
  Store(iprime, std::ldexp(rimu * rip1 / ril, -rescale) * iScale);
  for (int n = 1; n <= nl; ++n) {
    double t = (xmu + n) * xi2 * rk1 + rkmu;
    rkmu = rk1;
    rk1 = t;
  }
  Store(k, rkmu * kScale);
  Store(kprime, (xnu * xi * rkmu - rk1) * kScale);
}

// J_order(x) by its power series; for small x, or as a check of the cores.
QVX_API double BesselFuncSeries(double x, double order) noexcept {
  if (std::isnan(x) || !std::isfinite(order)) return kNaN;
  if (x == 0.0) return order == 0.0 ? 1.0 : (order > 0.0 ? 0.0 : kNaN);
  double half = 0.5 * x;
  // 1/Gamma(order + 1), zero at the poles of Gamma.
  double arg = order + 1.0, lead;
  if (arg <= 0.0 && arg == std::floor(arg)) {
    lead = 0.0;
  } else if (arg < 170.0) {
    lead = std::pow(half, order) / std::tgamma(arg);
  } else {
    lead = std::exp(order * std::log(std::fabs(half)) - qvx::LogGammaAccurate(arg));
  }
  double term = lead, sum = lead, q = -half * half;
  // With an integer negative order the leading terms vanish; start where
  // k + order + 1 is positive.
  for (int k = 1; k < kMaxIterations; ++k) {
    double denom = k * (k + order);
    if (denom == 0.0) {
      // Order -k: the series restarts at term k with (x/2)^(2k+order)/(k!(k+order)!).
      term = std::pow(q, k) * std::pow(half, order) /
             (std::tgamma(k + 1.0) * std::tgamma(k + order + 1.0));
      sum = term;
      continue;
    }
    term *= q / denom;
    sum += term;
    if (sum != 0.0 && std::fabs(term) <= 1e-17 * std::fabs(sum)) break;
  }
  return sum;
}

}  // extern "C"

namespace {

// Runs a core at |x| and |order|: for J/Y (modified = false) or I/K.
struct CorePair {
  double first, second;  // J,Y or I,K
};

CorePair RunCore(double x, double nu, bool modified) {
  double a, b;
  if (x == 0.0) {
    double zeroValue = nu == 0.0 ? 1.0 : 0.0;
    return modified ? CorePair{zeroValue, kInf} : CorePair{zeroValue, -kInf};
  }
  if (modified) BesselModFuncSub(x, nu, &a, &b, nullptr, nullptr);
  else BesselFuncSub(x, nu, &a, &b, nullptr, nullptr);
  return {a, b};
}

enum class Kind { J, Y, I, K };

// A product of a real value with (c, s) that leaves an exact zero part zero
// (0 * inf must not turn into NaN when the phase is real).
Complex Rotate(double v, double c, double s) {
  return Complex{c == 0.0 ? 0.0 : v * c, s == 0.0 ? 0.0 : v * s};
}

Complex BesselPublic(double x, double order, Kind kind) {
  if (std::isnan(x) || std::isnan(order) || std::isinf(order)) return Complex{kNaN, kNaN};
  const double ax = std::fabs(x), nu = std::fabs(order);
  const bool modified = kind == Kind::I || kind == Kind::K;
  CorePair v = RunCore(ax, nu, modified);
  double value;
  if (order >= 0.0) {
    value = (kind == Kind::J || kind == Kind::I) ? v.first : v.second;
  } else {
    // Reflection formulas; SinPi/CosPi are exact at integers, so J_-n stays
    // (-1)^n J_n without a trace of Y.
    double s = qvx::SinPi(nu), c = qvx::CosPi(nu);
    auto mix = [](double a, double ca, double b, double cb) {
      return (ca == 0.0 ? 0.0 : a * ca) + (cb == 0.0 ? 0.0 : b * cb);
    };
    switch (kind) {
      case Kind::J: value = mix(v.first, c, v.second, -s); break;
      case Kind::Y: value = mix(v.first, s, v.second, c); break;
      case Kind::I: value = mix(v.first, 1.0, v.second, 2.0 / kPi * s); break;
      default: value = v.second; break;
    }
  }
  if (x < 0.0) return Rotate(value, qvx::CosPi(order), qvx::SinPi(order));
  return Complex{value, 0.0};
}

}  // namespace

extern "C" {

QVX_API Complex BesselJFunc(double x, double order) noexcept {
  return BesselPublic(x, order, Kind::J);
}
QVX_API Complex BesselYFunc(double x, double order) noexcept {
  return BesselPublic(x, order, Kind::Y);
}
QVX_API Complex BesselIFunc(double x, double order) noexcept {
  return BesselPublic(x, order, Kind::I);
}
QVX_API Complex BesselKFunc(double x, double order) noexcept {
  return BesselPublic(x, order, Kind::K);
}

// Ai, Bi and their derivatives through the Bessel cores of order 1/3 and
// 2/3 at z = 2/3 |x|^{3/2}. At x = 0 the values are the short constants
// the language has always printed.
QVX_API void AiryFuncSub(double x, double *ai, double *bi, double *aiprime,
                         double *biprime) noexcept {
  const double onOverRoot3 = 1.0 / std::sqrt(3.0);
  if (std::isnan(x)) {
    StoreAll(ai, bi, aiprime, biprime, kNaN);
    return;
  }
  if (std::isinf(x)) {
    if (x > 0) {
      Store(ai, 0.0); Store(aiprime, -0.0); Store(bi, kInf); Store(biprime, kInf);
    } else {
      Store(ai, 0.0); Store(bi, 0.0); Store(aiprime, kNaN); Store(biprime, kNaN);
    }
    return;
  }
  if (x == 0.0) {
    Store(ai, 0.35502805);
    Store(bi, 0.35502805 / onOverRoot3);
    Store(aiprime, -0.2588194);
    Store(biprime, 0.2588194 / onOverRoot3);
    return;
  }
  const double ax = std::fabs(x), rootx = std::sqrt(ax);
  const double z = 2.0 / 3.0 * ax * rootx;
  double r1, r2, r3, r4;
  if (x > 0.0) {
    BesselModFuncSub(z, 1.0 / 3.0, &r1, &r2, &r3, &r4);
    Store(ai, rootx * onOverRoot3 * r2 / kPi);
    Store(bi, rootx * (r2 / kPi + 2.0 * onOverRoot3 * r1));
    BesselModFuncSub(z, 2.0 / 3.0, &r1, &r2, &r3, &r4);
    Store(aiprime, -x * onOverRoot3 * r2 / kPi);
    Store(biprime, x * (r2 / kPi + 2.0 * onOverRoot3 * r1));
  } else {
    BesselFuncSub(z, 1.0 / 3.0, &r1, &r2, &r3, &r4);
    Store(ai, 0.5 * rootx * (r1 - onOverRoot3 * r2));
    Store(bi, -0.5 * rootx * (r2 + onOverRoot3 * r1));
    BesselFuncSub(z, 2.0 / 3.0, &r1, &r2, &r3, &r4);
    Store(aiprime, 0.5 * ax * (onOverRoot3 * r2 + r1));
    Store(biprime, 0.5 * ax * (onOverRoot3 * r1 - r2));
  }
}

}  // extern "C"
