// Coulomb wave functions F_L(eta, x), G_L(eta, x) and their derivatives, for
// real L >= 0, real eta and x > 0, normalised by the Wronskian F'G - FG' = 1.
//
// Beyond the turning point x_tp = eta + sqrt(eta^2 + L(L+1)) Steed's method
// applies: CF1 gives F'/F (and, from the signs of its denominators, the sign
// of F), CF2 gives (G' + iF')/(G + iF), and the Wronskian fixes the scale.
// Inside the turning point CF2 stops converging, so F comes from its power
// series and G, which grows inward, is integrated inward from the turning
// point with the Adams-Bashforth-Moulton predictor-corrector (stable in that
// direction). eta = 0 reduces to Riccati-Bessel functions.
#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>

#include "libquorvex.h"
#include "numerics/transcendental/transcendental.h"

namespace {

using Cx = std::complex<double>;
using qvx::kPi;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();
constexpr int kMaxIterations = 10000;
constexpr double kEps = 1e-16;
constexpr double kTiny = 1e-300;
// Per-step product of the step in ln x and the local growth rate.
constexpr double kStepRate = 0.002;
constexpr int kMaxSteps = 400000;

void Store(double *p, double v) {
  if (p) *p = v;
}

void StoreAll(double *a, double *b, double *c, double *d, double v) {
  Store(a, v); Store(b, v); Store(c, v); Store(d, v);
}

bool BadArguments(double eta, double x, double L) {
  return std::isnan(eta) || std::isnan(x) || std::isnan(L) || std::isinf(eta) ||
         std::isinf(L) || !(x > 0.0) || !(L >= 0.0) || L > 1e6;
}

double TurningPoint(double eta, double L) { return eta + std::sqrt(eta * eta + L * (L + 1.0)); }

// CF1 for F'/F; *sign receives the sign of F. False when it does not converge.
bool ContinuedFraction1(double eta, double x, double L, double *ratio, int *sign) {
  const double xi = 1.0 / x;
  auto S = [&](double n) { return n * xi + eta / n; };
  double f = S(L + 1.0);
  if (std::fabs(f) < kTiny) f = kTiny;
  double c = f, d = 0.0;
  int s = 1;
  for (int k = 1; k <= kMaxIterations; ++k) {
    double n = L + k;
    double a = -(1.0 + eta * eta / (n * n));
    double b = S(n) + S(n + 1.0);
    d = b + a * d;
    if (std::fabs(d) < kTiny) d = kTiny;
    c = b + a / c;
    if (std::fabs(c) < kTiny) c = kTiny;
    d = 1.0 / d;
    double del = c * d;
    f *= del;
    if (d < 0.0) s = -s;
    if (std::fabs(del - 1.0) < kEps) {
      *ratio = f;
      *sign = s;
      return true;
    }
  }
  return false;
}

// CF2 for H'/H with H = G + iF, modified Lentz on the complex fraction.
bool ContinuedFraction2(double eta, double x, double L, Cx *ratio) {
  const Cx a(L + 1.0, eta), cc(-L, eta);
  const Cx tiny(1e-300, 0.0);
  Cx f = tiny, C = f, D = 0.0;
  for (int k = 1; k <= kMaxIterations; ++k) {
    Cx an = (a + double(k - 1)) * (cc + double(k - 1));
    Cx bn(2.0 * (x - eta), 2.0 * k);
    D = bn + an * D;
    if (std::abs(D) < 1e-300) D = tiny;
    C = bn + an / C;
    if (std::abs(C) < 1e-300) C = tiny;
    D = 1.0 / D;
    Cx del = C * D;
    f *= del;
    if (std::abs(del - 1.0) < kEps) {
      *ratio = Cx(0.0, 1.0 - eta / x) + Cx(0.0, 1.0 / x) * f;
      return true;
    }
  }
  return false;
}

// The Coulomb equation in s = ln x: u_s = w, w_s = w + (L(L+1) + 2 eta x - x^2) u,
// with w = x du/dx. Integrated from (x0, u0, du0) to x1 by the four-step
// Adams-Bashforth-Moulton method started with classical Runge-Kutta steps.
void IntegrateABM(double eta, double L, double x0, double u0, double du0, double x1, double *u1,
                  double *du1) {
  const double ll = L * (L + 1.0);
  auto Q = [&](double s) {
    double xx = std::exp(s);
    return ll + 2.0 * eta * xx - xx * xx;
  };
  const double s0 = std::log(x0), s1 = std::log(x1), span = s1 - s0;
  if (span == 0.0) {
    *u1 = u0;
    *du1 = du0;
    return;
  }
  // Growth (or oscillation) rate per unit s, largest at an end or at the
  // extremum of Q.
  double rate = 1.0;
  for (double s : {s0, s1, 0.5 * (s0 + s1)}) rate = std::max(rate, std::sqrt(std::fabs(Q(s)) + 0.25) + 0.5);
  if (eta > 0.0) {
    double xe = eta;  // extremum of 2 eta x - x^2
    if (xe > std::min(x0, x1) && xe < std::max(x0, x1))
      rate = std::max(rate, std::sqrt(std::fabs(Q(std::log(xe))) + 0.25) + 0.5);
  }
  int n = static_cast<int>(std::ceil(std::fabs(span) * rate / kStepRate));
  n = std::clamp(n, 8, kMaxSteps);
  const double h = span / n;
  double fu[4], fw[4];  // derivative history, newest last
  double s = s0, u = u0, w = x0 * du0;
  auto deriv = [&](double ss, double uu, double ww, double *du, double *dw) {
    *du = ww;
    *dw = ww + Q(ss) * uu;
  };
  deriv(s, u, w, &fu[0], &fw[0]);
  int step = 0;
  for (; step < 3 && step < n; ++step) {
    double k1u, k1w, k2u, k2w, k3u, k3w, k4u, k4w;
    deriv(s, u, w, &k1u, &k1w);
    deriv(s + 0.5 * h, u + 0.5 * h * k1u, w + 0.5 * h * k1w, &k2u, &k2w);
    deriv(s + 0.5 * h, u + 0.5 * h * k2u, w + 0.5 * h * k2w, &k3u, &k3w);
    deriv(s + h, u + h * k3u, w + h * k3w, &k4u, &k4w);
    u += h / 6.0 * (k1u + 2 * k2u + 2 * k3u + k4u);
    w += h / 6.0 * (k1w + 2 * k2w + 2 * k3w + k4w);
    s = s0 + (step + 1) * h;
    deriv(s, u, w, &fu[step + 1], &fw[step + 1]);
  }
  for (; step < n; ++step) {
    double pu = u + h / 24.0 * (55 * fu[3] - 59 * fu[2] + 37 * fu[1] - 9 * fu[0]);
    double pw = w + h / 24.0 * (55 * fw[3] - 59 * fw[2] + 37 * fw[1] - 9 * fw[0]);
    double sn = s0 + (step + 1) * h, gu, gw;
    deriv(sn, pu, pw, &gu, &gw);
    u += h / 24.0 * (9 * gu + 19 * fu[3] - 5 * fu[2] + fu[1]);
    w += h / 24.0 * (9 * gw + 19 * fw[3] - 5 * fw[2] + fw[1]);
    s = sn;
    for (int i = 0; i < 3; ++i) {
      fu[i] = fu[i + 1];
      fw[i] = fw[i + 1];
    }
    deriv(s, u, w, &fu[3], &fw[3]);
    if (!std::isfinite(u)) break;
  }
  *u1 = u;
  *du1 = w / x1;
}

// log C_L(eta) = L ln 2 - pi eta / 2 + Re ln Gamma(L + 1 + i eta) - ln Gamma(2L + 2).
double LogNormalisation(double eta, double L) {
  return L * std::log(2.0) - 0.5 * kPi * eta +
         qvx::LogGammaComplexAccurate(Cx(L + 1.0, eta)).real() - qvx::LogGammaAccurate(2.0 * L + 2.0);
}

// Power series of F (derivative = false) or F' about the origin.
double FSeriesCore(double eta, double x, double L, bool derivative) {
  double a0 = 1.0, a1 = eta / (L + 1.0);
  double xn = x;  // x^n for n = 1
  double sum = derivative ? (L + 1.0) : 1.0;
  sum += (derivative ? (L + 2.0) : 1.0) * a1 * xn;
  double prev2 = a0, prev1 = a1;
  double biggest = std::max(std::fabs(sum), 1.0);
  double lastSize = std::fabs(a1 * xn);
  for (int n = 2; n < kMaxIterations; ++n) {
    double an = (2.0 * eta * prev1 - prev2) / (n * (n + 2.0 * L + 1.0));
    xn *= x;
    double term = (derivative ? (n + L + 1.0) : 1.0) * an * xn;
    sum += term;
    biggest = std::max(biggest, std::fabs(term));
    prev2 = prev1;
    prev1 = an;
    // A single coefficient can vanish (2 eta a1 = a0, say): stop only when
    // two consecutive ones are negligible, which ends the recurrence too.
    double size = std::fabs(an * xn);
    if (size < 1e-17 * biggest && lastSize < 1e-17 * biggest) break;
    lastSize = size;
    if (!std::isfinite(sum)) return kNaN;
  }
  double lnPow = derivative ? L * std::log(x) : (L + 1.0) * std::log(x);
  return sum * std::exp(LogNormalisation(eta, L) + lnPow);
}

}  // namespace

extern "C" {

// Spherical Bessel functions j_L, y_L and derivatives through the cylinder
// core at order L + 1/2.
QVX_API void CoulombWaveFuncBesselSph(double x, double L, double *j, double *y, double *jp,
                                      double *yp) noexcept {
  if (std::isnan(x) || std::isnan(L) || !(x > 0.0) || !(L >= 0.0)) {
    StoreAll(j, y, jp, yp, kNaN);
    return;
  }
  double J, Y, Jp, Yp;
  BesselFuncSub(x, L + 0.5, &J, &Y, &Jp, &Yp);
  double f = std::sqrt(0.5 * kPi / x);
  Store(j, f * J);
  Store(y, f * Y);
  Store(jp, f * (Jp - 0.5 * J / x));
  Store(yp, f * (Yp - 0.5 * Y / x));
}

// eta = 0: F = x j_L(x), G = -x y_L(x).
QVX_API int32_t CoulombWaveFuncBess(double x, double L, double *F, double *G, double *Fp,
                                    double *Gp) noexcept {
  double j, y, jp, yp;
  CoulombWaveFuncBesselSph(x, L, &j, &y, &jp, &yp);
  if (std::isnan(j)) {
    StoreAll(F, G, Fp, Gp, kNaN);
    return -1;
  }
  Store(F, x * j);
  Store(G, -x * y);
  Store(Fp, j + x * jp);
  Store(Gp, -(y + x * yp));
  return 0;
}

QVX_API double CoulombWaveFuncFPF(double eta, double x, double L) noexcept {
  if (BadArguments(eta, x, L)) return kNaN;
  double f;
  int sign;
  return ContinuedFraction1(eta, x, L, &f, &sign) ? f : kNaN;
}

QVX_API Complex CoulombWaveFuncHPH(double eta, double x, double L) noexcept {
  if (BadArguments(eta, x, L)) return Complex{kNaN, kNaN};
  Cx r;
  if (!ContinuedFraction2(eta, x, L, &r)) return Complex{kNaN, kNaN};
  return Complex{r.real(), r.imag()};
}

// Steed's method: F = sign / sqrt(q (1 + gamma^2)), gamma = (f - p)/q,
// G = gamma F, F' = f F, G' = p G - q F.
QVX_API int32_t CoulombWaveFuncCF(double eta, double x, double L, double *F, double *G,
                                  double *Fp, double *Gp) noexcept {
  double f;
  int sign;
  Cx pq;
  if (BadArguments(eta, x, L) || !ContinuedFraction1(eta, x, L, &f, &sign) ||
      !ContinuedFraction2(eta, x, L, &pq)) {
    StoreAll(F, G, Fp, Gp, kNaN);
    return -1;
  }
  double p = pq.real(), q = pq.imag();
  double gamma = (f - p) / q;
  double fv = sign / std::sqrt(q * (1.0 + gamma * gamma));
  double gv = gamma * fv;
  Store(F, fv);
  Store(G, gv);
  Store(Fp, f * fv);
  Store(Gp, p * gv - q * fv);
  return 0;
}

QVX_API double CoulombWaveFuncFSeries(double eta, double x, double L) noexcept {
  if (BadArguments(eta, x, L)) return kNaN;
  return FSeriesCore(eta, x, L, false);
}

QVX_API double CoulombWaveFuncFPrimeSeries(double eta, double x, double L) noexcept {
  if (BadArguments(eta, x, L)) return kNaN;
  return FSeriesCore(eta, x, L, true);
}

// F and F' from the series at a small start point, integrated outward to x.
QVX_API int32_t CoulombWaveFuncIntegrateF0ABM(double eta, double x, double L, double *F,
                                              double *Fp) noexcept {
  if (BadArguments(eta, x, L) || std::isinf(x) || x > 1e4) {
    Store(F, kNaN);
    Store(Fp, kNaN);
    return -1;
  }
  double x0 = std::min(x, 0.5 * std::min(1.0, std::max(TurningPoint(eta, L), 0.25)));
  double u0 = FSeriesCore(eta, x0, L, false), du0 = FSeriesCore(eta, x0, L, true);
  double u, du;
  IntegrateABM(eta, L, x0, u0, du0, x, &u, &du);
  Store(F, u);
  Store(Fp, du);
  return std::isfinite(u) ? 0 : -1;
}

// G and G' from Steed's values at the turning point (or at x = 1 for a
// negligible barrier), integrated to x; inward G is the growing solution.
QVX_API int32_t CoulombWaveFuncIntegrateG0ABM(double eta, double x, double L, double *G,
                                              double *Gp) noexcept {
  if (BadArguments(eta, x, L) || std::isinf(x) || x > 1e4) {
    Store(G, kNaN);
    Store(Gp, kNaN);
    return -1;
  }
  double x0 = std::max(TurningPoint(eta, L), 1.0);
  double g0, gp0;
  if (CoulombWaveFuncCF(eta, x0, L, nullptr, &g0, nullptr, &gp0) != 0) {
    Store(G, kNaN);
    Store(Gp, kNaN);
    return -1;
  }
  double u, du;
  IntegrateABM(eta, L, x0, g0, gp0, x, &u, &du);
  Store(G, u);
  Store(Gp, du);
  return std::isnan(u) ? -1 : 0;
}

QVX_API double CoulombWaveFuncIntegrateFABM(double eta, double x, double L) noexcept {
  double f;
  CoulombWaveFuncIntegrateF0ABM(eta, x, L, &f, nullptr);
  return f;
}

QVX_API double CoulombWaveFuncIntegrateFPrimeABM(double eta, double x, double L) noexcept {
  double fp;
  CoulombWaveFuncIntegrateF0ABM(eta, x, L, nullptr, &fp);
  return fp;
}

QVX_API double CoulombWaveFuncIntegrateGABM(double eta, double x, double L) noexcept {
  double g;
  CoulombWaveFuncIntegrateG0ABM(eta, x, L, &g, nullptr);
  return g;
}

QVX_API double CoulombWaveFuncIntegrateGPrimeABM(double eta, double x, double L) noexcept {
  double gp;
  CoulombWaveFuncIntegrateG0ABM(eta, x, L, nullptr, &gp);
  return gp;
}

// Inside the turning point: F from its series, G integrated inward.
QVX_API int32_t CoulombWaveFuncNear(double eta, double x, double L, double *F, double *G,
                                    double *Fp, double *Gp) noexcept {
  if (BadArguments(eta, x, L)) {
    StoreAll(F, G, Fp, Gp, kNaN);
    return -1;
  }
  Store(F, FSeriesCore(eta, x, L, false));
  Store(Fp, FSeriesCore(eta, x, L, true));
  if (!G && !Gp) return 0;
  return CoulombWaveFuncIntegrateG0ABM(eta, x, L, G, Gp);
}

// F, G, F', G' by the method that suits the region; 0 on success, -1 with
// NaN outputs when the arguments are outside the domain or nothing converges.
QVX_API int32_t CoulombWaveFunc(double eta, double x, double L, double *F, double *G, double *Fp,
                                double *Gp) noexcept {
  if (x == 0.0 && !std::isnan(eta) && std::isfinite(L) && L >= 0.0) {
    Store(F, 0.0);
    Store(G, kInf);
    Store(Fp, L == 0.0 ? std::exp(LogNormalisation(eta, 0.0)) : 0.0);
    Store(Gp, -kInf);
    return 0;
  }
  if (BadArguments(eta, x, L) || std::isinf(x)) {
    StoreAll(F, G, Fp, Gp, kNaN);
    return -1;
  }
  if (eta == 0.0) return CoulombWaveFuncBess(x, L, F, G, Fp, Gp);
  if (x >= TurningPoint(eta, L)) return CoulombWaveFuncCF(eta, x, L, F, G, Fp, Gp);
  return CoulombWaveFuncNear(eta, x, L, F, G, Fp, Gp);
}

QVX_API double CoulombWaveFuncF(double eta, double x, double L) noexcept {
  double f;
  CoulombWaveFunc(eta, x, L, &f, nullptr, nullptr, nullptr);
  return f;
}

QVX_API double CoulombWaveFuncG(double eta, double x, double L) noexcept {
  double g;
  CoulombWaveFunc(eta, x, L, nullptr, &g, nullptr, nullptr);
  return g;
}

}  // extern "C"
