// Signal analysis on top of the Fourier kernels: edge tapers (the Dampen
// family), DC removal, phase extraction, unwrapping and fitting, analytic
// signal and envelope, spectra and time-bandwidth products, smoothing and
// spectral filters, Fourier series, short-time Fourier transform and the
// Wigner-Ville distribution.
//
// Read first: transforms here are the centred, unitary ones of fourier.cpp
// (origin at element n/2 + 1, forward direction -1), and a data set is a
// two-column matrix (abscissas, ordinates). The taper of the Dampen family
// covers the k outermost samples of one edge; with s running from 1 at the
// outermost sample to 1/k next to the untouched interior, the factors are
// cosine 0.5 (1 + cos(pi s)), linear 1 - s, Gaussian exp(-4.5 s^2),
// exponential exp(-5 s), and zero.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/fourier/fourier_internal.h"

namespace qvx::fourier {

void UnwrapInPlace(double *p, int32_t n) {
  constexpr double kTwoPi = 6.283185307179586476925;
  double offset = 0.0;
  for (int32_t i = 1; i < n; ++i) {
    const double jump = (p[i] + offset) - p[i - 1];
    if (!std::isfinite(jump)) {
      p[i] += offset;
      continue;
    }
    offset -= kTwoPi * std::round(jump / kTwoPi);
    p[i] += offset;
  }
}

std::vector<double> WeightedPolyFit(const std::vector<double> &x, const std::vector<double> &y,
                                    const std::vector<double> &w, int32_t degree) {
  const int32_t m = degree + 1;
  std::vector<double> coef(m > 0 ? m : 0, 0.0);
  if (m < 1) return coef;
  // Centre and scale x so the normal equations stay well conditioned, then
  // expand the polynomial in u = (x - mid) / half back into powers of x.
  double lo = HUGE_VAL, hi = -HUGE_VAL;
  for (size_t i = 0; i < x.size(); ++i)
    if (w[i] > 0.0) {
      lo = std::min(lo, x[i]);
      hi = std::max(hi, x[i]);
    }
  if (!(hi >= lo)) return coef;
  const double mid = 0.5 * (lo + hi);
  const double half = hi > lo ? 0.5 * (hi - lo) : 1.0;
  std::vector<double> a(static_cast<size_t>(m) * (m + 1), 0.0);  // augmented, row-major
  std::vector<double> pw(m);
  for (size_t i = 0; i < x.size(); ++i) {
    if (!(w[i] > 0.0) || !std::isfinite(y[i])) continue;
    const double u = (x[i] - mid) / half;
    pw[0] = 1.0;
    for (int32_t k = 1; k < m; ++k) pw[k] = pw[k - 1] * u;
    for (int32_t r = 0; r < m; ++r) {
      for (int32_t c = 0; c < m; ++c) a[r * (m + 1) + c] += w[i] * pw[r] * pw[c];
      a[r * (m + 1) + m] += w[i] * pw[r] * y[i];
    }
  }
  // Gaussian elimination with partial pivoting.
  for (int32_t c = 0; c < m; ++c) {
    int32_t p = c;
    for (int32_t r = c + 1; r < m; ++r)
      if (std::fabs(a[r * (m + 1) + c]) > std::fabs(a[p * (m + 1) + c])) p = r;
    if (!(std::fabs(a[p * (m + 1) + c]) > 1e-300)) return coef;
    if (p != c)
      for (int32_t k = 0; k <= m; ++k) std::swap(a[c * (m + 1) + k], a[p * (m + 1) + k]);
    for (int32_t r = c + 1; r < m; ++r) {
      const double f = a[r * (m + 1) + c] / a[c * (m + 1) + c];
      for (int32_t k = c; k <= m; ++k) a[r * (m + 1) + k] -= f * a[c * (m + 1) + k];
    }
  }
  std::vector<double> b(m);
  for (int32_t r = m - 1; r >= 0; --r) {
    double s = a[r * (m + 1) + m];
    for (int32_t k = r + 1; k < m; ++k) s -= a[r * (m + 1) + k] * b[k];
    b[r] = s / a[r * (m + 1) + r];
  }
  // sum_k b_k ((x - mid)/half)^k expanded by the binomial theorem.
  std::vector<double> binom(m, 0.0);
  for (int32_t k = 0; k < m; ++k) {
    binom.assign(m, 0.0);
    binom[0] = 1.0;
    for (int32_t t = 1; t <= k; ++t)
      for (int32_t q = t; q >= 1; --q) binom[q] += binom[q - 1];
    const double scale = b[k] / std::pow(half, k);
    for (int32_t q = 0; q <= k; ++q) coef[q] += scale * binom[q] * std::pow(-mid, k - q);
  }
  return coef;
}

namespace {

bool ParseNumber(const std::string &word, double &out) {
  if (word.empty() || word.size() > 64) return false;
  char *end = nullptr;
  const double v = std::strtod(word.c_str(), &end);
  if (end != word.c_str() + word.size() || !std::isfinite(v)) return false;
  out = v;
  return true;
}

std::string Lower(std::string s) {
  for (char &c : s)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return s;
}

}  // namespace

FilterShape ParseFilterShape(const std::string &text) {
  FilterShape shape;
  FilterShape::Kind kind = FilterShape::kNone;
  bool haveLow = false, haveHigh = false, haveCentre = false, haveWidth = false;
  size_t pos = 0;
  while (pos < text.size()) {
    size_t end = text.find_first_of("\r\n", pos);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(pos, end - pos);
    pos = end + 1;
    const size_t hash = line.find('#');
    if (hash != std::string::npos) line.resize(hash);
    // Two words: a key and its value, separated by blanks or '='.
    for (char &c : line)
      if (c == '=' || c == '\t' || c == ':') c = ' ';
    const size_t k0 = line.find_first_not_of(' ');
    if (k0 == std::string::npos) continue;
    const size_t k1 = line.find(' ', k0);
    if (k1 == std::string::npos) continue;
    const size_t v0 = line.find_first_not_of(' ', k1);
    if (v0 == std::string::npos) continue;
    const size_t v1 = line.find(' ', v0);
    const std::string key = Lower(line.substr(k0, k1 - k0));
    const std::string value = line.substr(v0, v1 == std::string::npos ? std::string::npos : v1 - v0);
    double x = 0.0;
    if (key == "type") {
      const std::string t = Lower(value);
      if (t == "lowpass") kind = FilterShape::kLowPass;
      else if (t == "highpass") kind = FilterShape::kHighPass;
      else if (t == "bandpass") kind = FilterShape::kBandPass;
      else if (t == "bandstop") kind = FilterShape::kBandStop;
      else if (t == "supergaussian") kind = FilterShape::kSuperGaussian;
    } else if (!ParseNumber(value, x)) {
      continue;
    } else if (key == "low") {
      shape.low = x;
      haveLow = true;
    } else if (key == "high") {
      shape.high = x;
      haveHigh = true;
    } else if (key == "centre" || key == "center") {
      shape.centre = x;
      haveCentre = true;
    } else if (key == "width") {
      shape.width = x;
      haveWidth = true;
    } else if (key == "order") {
      shape.order = (x >= 1.0 && x <= 64.0) ? static_cast<int32_t>(x) : 0;
    }
  }
  bool usable = false;
  switch (kind) {
    case FilterShape::kLowPass: usable = haveHigh && shape.high >= 0.0; break;
    case FilterShape::kHighPass: usable = haveLow && shape.low >= 0.0; break;
    case FilterShape::kBandPass:
    case FilterShape::kBandStop: usable = haveLow && haveHigh && shape.low >= 0.0 && shape.low <= shape.high; break;
    case FilterShape::kSuperGaussian: usable = haveWidth && shape.width > 0.0 && shape.order >= 1; break;
    case FilterShape::kNone: break;
  }
  if (!haveCentre) shape.centre = 0.0;
  shape.kind = usable ? kind : FilterShape::kNone;
  return shape;
}

double FilterGain(const FilterShape &shape, double f) {
  const double a = std::fabs(f);
  switch (shape.kind) {
    case FilterShape::kLowPass: return a <= shape.high ? 1.0 : 0.0;
    case FilterShape::kHighPass: return a >= shape.low ? 1.0 : 0.0;
    case FilterShape::kBandPass: return (a >= shape.low && a <= shape.high) ? 1.0 : 0.0;
    case FilterShape::kBandStop: return (a >= shape.low && a <= shape.high) ? 0.0 : 1.0;
    case FilterShape::kSuperGaussian: {
      const double u = (f - shape.centre) / shape.width;
      return std::exp(-std::pow(u * u, shape.order));
    }
    case FilterShape::kNone: break;
  }
  return 1.0;
}

}  // namespace qvx::fourier

using namespace qvx::fourier;

namespace {

inline int32_t Centre(int32_t n) { return n / 2 + 1; }
inline double Intensity(Complex z) { return z.re * z.re + z.im * z.im; }

template <class T>
T *VectorFrom(const std::vector<T> &a) {
  const int32_t n = static_cast<int32_t>(a.size());
  T *out = Elem<T>::Vec(n);
  if (Got(out, n) && n > 0) std::memcpy(out + 1, a.data(), sizeof(T) * n);
  return out;
}

// A data set from abscissas and (real or complex) ordinates.
template <class T>
T **DataSet(const std::vector<double> &x, const std::vector<T> &y) {
  const int32_t n = static_cast<int32_t>(x.size());
  T **out = Elem<T>::Mat(2, n);
  if (!Got(out, 2, n)) return out;
  for (int32_t i = 0; i < n; ++i) {
    out[1][i + 1] = FromRe<T>(x[i]);
    out[2][i + 1] = y[i];
  }
  return out;
}

// Abscissas and ordinates of a data set, 0-based.
struct Samples {
  std::vector<double> x;
  std::vector<Complex> y;
};
bool ReadDataSet(Complex **data, Samples &s) {
  const int32_t n = DataSetRows(data);
  if (n < 0) return false;
  s.x.resize(n);
  s.y.resize(n);
  for (int32_t i = 0; i < n; ++i) {
    s.x[i] = data[1][i + 1].re;
    s.y[i] = data[2][i + 1];
  }
  return true;
}
bool ReadDataSet(double **data, Samples &s) {
  const int32_t n = DataSetRows(data);
  if (n < 0) return false;
  s.x.resize(n);
  s.y.resize(n);
  for (int32_t i = 0; i < n; ++i) {
    s.x[i] = data[1][i + 1];
    s.y[i] = Complex{data[2][i + 1], 0.0};
  }
  return true;
}

double Spacing(const std::vector<double> &x) {
  const size_t n = x.size();
  return n >= 2 ? (x[n - 1] - x[0]) / static_cast<double>(n - 1) : 0.0;
}

// Frequencies of the centred transform of n samples of spacing dx.
std::vector<double> Frequencies(int32_t n, double dx) {
  std::vector<double> f(n, 0.0);
  if (dx == 0.0 || !std::isfinite(dx)) return f;
  const double df = 1.0 / (n * dx);
  for (int32_t i = 0; i < n; ++i) f[i] = (i + 1 - Centre(n)) * df;
  return f;
}

// Applies a gain per frequency to the ordinates: centred transform forward,
// multiply, and back.
template <class G>
std::vector<Complex> FilterOrdinates(const Samples &s, G gain) {
  std::vector<Complex> a = s.y;
  const int32_t n = static_cast<int32_t>(a.size());
  if (n == 0) return a;
  const std::vector<double> f = Frequencies(n, Spacing(s.x));
  CentredTransform(a, -1);
  for (int32_t i = 0; i < n; ++i) {
    const double g = gain(f[i]);
    a[i] = Complex{a[i].re * g, a[i].im * g};
  }
  CentredTransform(a, 1);
  return a;
}

// ---- the Dampen family ---------------------------------------------------------

enum class Taper { kCosine, kLinear, kGauss, kExp, kZero, kFit };

double TaperFactor(Taper t, double s) {
  switch (t) {
    case Taper::kCosine: return 0.5 * (1.0 + std::cos(kPi * s));
    case Taper::kLinear: return 1.0 - s;
    case Taper::kGauss: return std::exp(-4.5 * s * s);
    case Taper::kExp: return std::exp(-5.0 * s);
    case Taper::kZero:
    case Taper::kFit: break;
  }
  return 0.0;
}

// Tapers the k outermost samples of one edge of a copy of v. The fit form
// replaces them by the cubic that starts at 0 with zero slope at the
// outermost sample and meets the first untouched sample in value and slope
// (cubic Hermite interpolation).
double *Dampen(const double *v, int32_t k, bool right, Taper taper) {
  const int32_t n = LengthOf(v);
  double *out = Vector(n);
  if (!Got(out, n)) return out;
  for (int32_t i = 1; i <= n; ++i) out[i] = v[i];
  if (k <= 0 || n == 0) return out;
  k = std::min(k, n);
  auto at = [&](int32_t r) -> double & { return out[right ? n + 1 - r : r]; };  // r: 1 at the edge
  if (taper == Taper::kFit) {
    if (k + 1 > n) {
      for (int32_t r = 1; r <= n; ++r) at(r) = 0.0;
      return out;
    }
    const double y1 = at(k + 1);
    const double slope = k + 2 <= n ? at(k + 2) - y1 : 0.0;  // per sample, away from the edge
    for (int32_t r = 1; r <= k; ++r) {
      const double t = static_cast<double>(r - 1) / k;
      const double h01 = t * t * (3.0 - 2.0 * t);
      const double h11 = t * t * (t - 1.0);
      at(r) = y1 * h01 + slope * k * h11;
    }
    return out;
  }
  for (int32_t r = 1; r <= k; ++r) {
    const double s = static_cast<double>(k + 1 - r) / k;
    at(r) *= TaperFactor(taper, s);
  }
  return out;
}

}  // namespace

extern "C" {

QVX_API double *DampenLeft(const double *v, int32_t k) noexcept { return Dampen(v, k, false, Taper::kCosine); }
QVX_API double *DampenLeftLinear(const double *v, int32_t k) noexcept { return Dampen(v, k, false, Taper::kLinear); }
QVX_API double *DampenLeftGauss(const double *v, int32_t k) noexcept { return Dampen(v, k, false, Taper::kGauss); }
QVX_API double *DampenLeftZero(const double *v, int32_t k) noexcept { return Dampen(v, k, false, Taper::kZero); }
QVX_API double *DampenLeftFit(const double *v, int32_t k) noexcept { return Dampen(v, k, false, Taper::kFit); }
QVX_API double *DampenRight(const double *v, int32_t k) noexcept { return Dampen(v, k, true, Taper::kCosine); }
QVX_API double *DampenRightLinear(const double *v, int32_t k) noexcept { return Dampen(v, k, true, Taper::kLinear); }
QVX_API double *DampenRightGauss(const double *v, int32_t k) noexcept { return Dampen(v, k, true, Taper::kGauss); }
QVX_API double *DampenRightExp(const double *v, int32_t k) noexcept { return Dampen(v, k, true, Taper::kExp); }
QVX_API double *DampenRightFit(const double *v, int32_t k) noexcept { return Dampen(v, k, true, Taper::kFit); }

// ---- DC, phase and unwrapping ------------------------------------------------------

QVX_API double *RemoveDCWindow(const double *v, int32_t i1, int32_t i2) noexcept {
  const int32_t n = LengthOf(v);
  double *out = Vector(n);
  if (!Got(out, n)) return out;
  i1 = std::max(i1, 1);
  i2 = std::min(i2, n);
  double sum = 0.0;
  for (int32_t i = i1; i <= i2; ++i) sum += v[i];
  const double mean = i2 >= i1 ? sum / (i2 - i1 + 1) : 0.0;
  for (int32_t i = 1; i <= n; ++i) out[i] = v[i] - mean;
  return out;
}

QVX_API double *RemoveDC(const double *v) noexcept { return RemoveDCWindow(v, 1, LengthOf(v)); }

QVX_API Complex *RemoveDCC(const Complex *v) noexcept {
  const int32_t n = LengthOf(v);
  Complex *out = VectorC(n);
  if (!Got(out, n) || n == 0) return out;
  double sr = 0.0, si = 0.0;
  for (int32_t i = 1; i <= n; ++i) {
    sr += v[i].re;
    si += v[i].im;
  }
  for (int32_t i = 1; i <= n; ++i) out[i] = Complex{v[i].re - sr / n, v[i].im - si / n};
  return out;
}

QVX_API double *Phase(const Complex *v) noexcept {
  const int32_t n = LengthOf(v);
  double *out = Vector(n);
  if (!Got(out, n)) return out;
  for (int32_t i = 1; i <= n; ++i) out[i] = std::atan2(v[i].im, v[i].re);
  return out;
}

QVX_API double **UnwrapM(double **m) noexcept {
  const int32_t cols = ColsOf(m), rows = RowsOf(m);
  double **out = Matrix(cols, rows);
  if (!Got(out, cols, rows)) return out;
  for (int32_t j = 1; j <= cols; ++j) {
    for (int32_t i = 1; i <= rows; ++i) out[j][i] = m[j][i];
    UnwrapInPlace(out[j] + 1, rows);
  }
  return out;
}

QVX_API double *UnwrapVWindow(const double *v, int32_t i1, int32_t i2) noexcept {
  const int32_t n = LengthOf(v);
  double *out = Vector(n);
  if (!Got(out, n)) return out;
  for (int32_t i = 1; i <= n; ++i) out[i] = v[i];
  i1 = std::max(i1, 1);
  i2 = std::min(i2, n);
  if (i2 > i1) UnwrapInPlace(out + i1, i2 - i1 + 1);
  return out;
}

}  // extern "C"

namespace {

// Unwrapped phase of the ordinates with intensity weights.
void PhaseAndWeights(const Samples &s, std::vector<double> &phase, std::vector<double> &w) {
  const size_t n = s.y.size();
  phase.resize(n);
  w.resize(n);
  for (size_t i = 0; i < n; ++i) {
    phase[i] = std::atan2(s.y[i].im, s.y[i].re);
    w[i] = Intensity(s.y[i]);
    if (!std::isfinite(w[i]) || !std::isfinite(s.x[i])) w[i] = 0.0;
  }
  UnwrapInPlace(phase.data(), static_cast<int32_t>(n));
  // Unwrapping fixes the phase only up to a multiple of 2 pi; take the one
  // that keeps the strongest sample in (-pi, pi], not the (often noisy)
  // first sample.
  size_t peak = 0;
  for (size_t i = 1; i < n; ++i)
    if (w[i] > w[peak]) peak = i;
  if (n > 0 && std::isfinite(phase[peak])) {
    constexpr double kTwoPi = 6.283185307179586476925;
    const double turns = std::round((phase[peak] - std::atan2(s.y[peak].im, s.y[peak].re)) / kTwoPi);
    for (double &p : phase) p -= turns * kTwoPi;
  }
}

}  // namespace

extern "C" {

QVX_API double *PolynomialFitPhase(Complex **data, int32_t degree) noexcept {
  return GuardV([&]() -> double * {
    Samples s;
    if (!ReadDataSet(data, s) || degree < 0 || degree > 30) return Vector(0);
    std::vector<double> phase, w;
    PhaseAndWeights(s, phase, w);
    return VectorFrom(WeightedPolyFit(s.x, phase, w, degree));
  });
}

QVX_API double *LinearPhase(Complex **data) noexcept {
  double *r = PolynomialFitPhase(data, 1);
  if (LengthOf(r) == 2) return r;
  FreeVector(r);
  double *zero = Vector(2);
  if (Got(zero, 2)) zero[1] = zero[2] = 0.0;
  return zero;
}

QVX_API Complex **RemoveLinearPhase(Complex **data) noexcept {
  return GuardDataSetC([&]() -> Complex ** {
    Samples s;
    if (!ReadDataSet(data, s)) return EmptyDataSetC();
    std::vector<double> phase, w;
    PhaseAndWeights(s, phase, w);
    const std::vector<double> c = WeightedPolyFit(s.x, phase, w, 1);
    for (size_t i = 0; i < s.y.size(); ++i) {
      const double p = c[0] + c[1] * s.x[i];
      s.y[i] = MulFour(s.y[i], Complex{std::cos(p), -std::sin(p)});
    }
    return DataSet(s.x, s.y);
  });
}

// ---- analytic signal and spectra ------------------------------------------------------

// x + i H[x]: the one-sided spectrum (positive frequencies doubled, negative
// ones removed, DC and Nyquist kept) transformed back.
QVX_API Complex *AnalyticSignal(const double *v) noexcept {
  return GuardVC([&]() -> Complex * {
    const int32_t n = LengthOf(v);
    std::vector<Complex> a(n);
    for (int32_t i = 0; i < n; ++i) a[i] = Complex{v[i + 1], 0.0};
    Transform(a, -1);
    for (int32_t k = 1; k < n; ++k) {
      const double g = (2 * k < n) ? 2.0 : (2 * k == n ? 1.0 : 0.0);
      a[k] = Complex{a[k].re * g, a[k].im * g};
    }
    Transform(a, 1);
    for (auto &z : a) z = Complex{z.re / n, z.im / n};
    return VectorFrom(a);
  });
}

QVX_API double *Envelope(const double *v) noexcept {
  Complex *a = AnalyticSignal(v);
  const int32_t n = LengthOf(a);
  double *out = Vector(n);
  if (Got(out, n))
    for (int32_t i = 1; i <= n; ++i) out[i] = std::hypot(a[i].re, a[i].im);
  FreeVectorC(a);
  return out;
}

QVX_API double **Spectrum(Complex **data) noexcept {
  return GuardDataSet([&]() -> double ** {
    Samples s;
    if (!ReadDataSet(data, s)) return EmptyDataSet();
    const int32_t n = static_cast<int32_t>(s.y.size());
    CentredTransform(s.y, -1);
    std::vector<double> power(n);
    for (int32_t i = 0; i < n; ++i) power[i] = Intensity(s.y[i]);
    return DataSet(Frequencies(n, Spacing(s.x)), power);
  });
}

}  // extern "C"

namespace {

// Standard deviation of a coordinate under intensity weights; -1 when the
// weights vanish.
double RmsWidth(const std::vector<double> &x, const std::vector<Complex> &y) {
  double sw = 0.0, sx = 0.0;
  for (size_t i = 0; i < x.size(); ++i) {
    sw += Intensity(y[i]);
    sx += Intensity(y[i]) * x[i];
  }
  if (!(sw > 0.0) || !std::isfinite(sw)) return -1.0;
  const double mean = sx / sw;
  double sv = 0.0;
  for (size_t i = 0; i < x.size(); ++i) sv += Intensity(y[i]) * (x[i] - mean) * (x[i] - mean);
  return std::sqrt(sv / sw);
}

// Product of the rms widths of a data set and of its transform (direction
// -1 from the time side, +1 from the spectrum side); 0 when undefined. A
// Gaussian gives the minimum, 1 / (4 pi).
double WidthProduct(Complex **data, int32_t direction) {
  Samples s;
  if (!ReadDataSet(data, s) || s.y.size() < 2) return 0.0;
  const int32_t n = static_cast<int32_t>(s.y.size());
  const double w1 = RmsWidth(s.x, s.y);
  std::vector<Complex> t = s.y;
  CentredTransform(t, direction);
  const double w2 = RmsWidth(Frequencies(n, Spacing(s.x)), t);
  if (w1 < 0.0 || w2 < 0.0) return 0.0;
  return w1 * w2;
}

}  // namespace

extern "C" {

QVX_API double TimeBandwidthProduct(Complex **data) noexcept {
  return qvx::Guard(0.0, [&] { return WidthProduct(data, -1); });
}

QVX_API double TimeBandwidthProductSpectrum(Complex **spectrum) noexcept {
  return qvx::Guard(0.0, [&] { return WidthProduct(spectrum, 1); });
}

// ---- smoothing and filters --------------------------------------------------------------

// Gaussian smoothing (standard deviation sigma samples) as a product with
// the Gaussian's transform. The data is extended by mirror images at both
// ends first, so that the circular convolution does not wrap one edge onto
// the other.
QVX_API double *SmoothFFTV(const double *v, double sigma) noexcept {
  return GuardV([&]() -> double * {
    const int32_t n = LengthOf(v);
    std::vector<double> y(v ? v + 1 : nullptr, v ? v + 1 + n : nullptr);
    if (n < 2 || !(sigma > 0.0) || !std::isfinite(sigma)) return VectorFrom(y);
    const double reach = std::min(std::ceil(4.0 * sigma), static_cast<double>(n - 1));
    const int32_t pad = static_cast<int32_t>(reach);
    const int32_t m = NextPowerOfTwo(static_cast<int64_t>(n) + 2 * pad);
    if (m == 0) return VectorFrom(y);
    std::vector<Complex> a(m, Complex{0, 0});
    for (int32_t i = 0; i < m; ++i) {
      // index into the mirrored extension, reflecting about the end samples
      int64_t j = static_cast<int64_t>(i) - pad;
      if (j < 0) j = -j;
      if (j > n - 1) j = 2 * static_cast<int64_t>(n - 1) - j;
      if (j < 0 || j > n - 1) j = std::clamp<int64_t>(j, 0, n - 1);
      a[i] = Complex{y[j], 0.0};
    }
    Transform(a, -1);
    for (int32_t k = 0; k < m; ++k) {
      const double f = static_cast<double>(k <= m / 2 ? k : k - m) / m;
      const double g = std::exp(-2.0 * kPi * kPi * sigma * sigma * f * f) / m;
      a[k] = Complex{a[k].re * g, a[k].im * g};
    }
    Transform(a, 1);
    for (int32_t i = 0; i < n; ++i) y[i] = a[i + pad].re;
    return VectorFrom(y);
  });
}

QVX_API double **SmoothFFT(double **data, double width) noexcept {
  return GuardDataSet([&]() -> double ** {
    const int32_t n = DataSetRows(data);
    if (n < 0) return EmptyDataSet();
    double **out = Matrix(2, n);
    if (!Got(out, 2, n)) return out;
    const double dx = n >= 2 ? (data[1][n] - data[1][1]) / (n - 1) : 0.0;
    const double sigma = dx != 0.0 ? std::fabs(width / dx) : 0.0;
    for (int32_t i = 1; i <= n; ++i) out[1][i] = data[1][i];
    double *smooth = SmoothFFTV(data[2], sigma);
    const bool ok = LengthOf(smooth) == n;
    for (int32_t i = 1; i <= n; ++i) out[2][i] = ok ? smooth[i] : data[2][i];
    FreeVector(smooth);
    return out;
  });
}

QVX_API Complex **SuperGaussianFilter(Complex **data, double centre, double width, int32_t order) noexcept {
  return GuardDataSetC([&]() -> Complex ** {
    Samples s;
    if (!ReadDataSet(data, s)) return EmptyDataSetC();
    if (!(width > 0.0) || order < 1) return DataSet(s.x, s.y);
    FilterShape shape;
    shape.kind = FilterShape::kSuperGaussian;
    shape.centre = centre;
    shape.width = width;
    shape.order = order;
    return DataSet(s.x, FilterOrdinates(s, [&](double f) { return FilterGain(shape, f); }));
  });
}

}  // extern "C"

namespace {

constexpr const char *kFilterFile = "fourier_filter_spec.txt";
constexpr long kFilterFileLimit = 1 << 16;

// Reads the filter file of the current directory; a missing or
// unreadable file gives no filter. Only the first 64 KiB are read.
FilterShape LoadFilterShape() {
  std::FILE *f = std::fopen(kFilterFile, "rb");
  if (!f) return FilterShape{};
  std::string text(static_cast<size_t>(kFilterFileLimit), '\0');
  const size_t got = std::fread(text.data(), 1, text.size(), f);
  std::fclose(f);
  text.resize(got);
  return ParseFilterShape(text);
}

}  // namespace

extern "C" {

QVX_API Complex **FourierFilterC(Complex **data) noexcept {
  return GuardDataSetC([&]() -> Complex ** {
    Samples s;
    if (!ReadDataSet(data, s)) return EmptyDataSetC();
    const FilterShape shape = LoadFilterShape();
    if (shape.kind == FilterShape::kNone) return DataSet(s.x, s.y);
    return DataSet(s.x, FilterOrdinates(s, [&](double f) { return FilterGain(shape, f); }));
  });
}

QVX_API double **FourierFilter(double **data) noexcept {
  return GuardDataSet([&]() -> double ** {
    Samples s;
    if (!ReadDataSet(data, s)) return EmptyDataSet();
    const FilterShape shape = LoadFilterShape();
    std::vector<Complex> y =
        shape.kind == FilterShape::kNone ? s.y : FilterOrdinates(s, [&](double f) { return FilterGain(shape, f); });
    std::vector<double> re(y.size());
    for (size_t i = 0; i < y.size(); ++i) re[i] = y[i].re;
    return DataSet(s.x, re);
  });
}

// ---- series and time-frequency forms ------------------------------------------------------

// Real Fourier series of one period sampled at n uniform points x_1 + (j-1)dx
// (period n dx): f ~ a_0/2 + sum_k a_k cos(2 pi k t / L) + b_k sin(2 pi k t / L)
// with t = x - x_1. Result: Matrix(3, terms + 1) of k, a_k, b_k.
QVX_API double **FSeries(double **data, int32_t terms) noexcept {
  return qvx::Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const int32_t n = DataSetRows(data);
    if (n < 1 || terms < 0 || terms >= (1 << 24)) return Matrix(3, 0);
    std::vector<Complex> root(n);
    for (int32_t m = 0; m < n; ++m) {
      const double angle = 2.0 * kPi * m / n;
      root[m] = Complex{std::cos(angle), std::sin(angle)};
    }
    double **out = Matrix(3, terms + 1);
    if (!Got(out, 3, terms + 1)) return out;
    for (int32_t k = 0; k <= terms; ++k) {
      double a = 0.0, b = 0.0;
      for (int32_t j = 0; j < n; ++j) {
        const Complex r = root[(static_cast<int64_t>(k) * j) % n];
        a += data[2][j + 1] * r.re;
        b += data[2][j + 1] * r.im;
      }
      out[1][k + 1] = k;
      out[2][k + 1] = 2.0 * a / n;
      out[3][k + 1] = 2.0 * b / n;
    }
    return out;
  });
}

// Short-time Fourier transform of a real signal: frames of `window` samples
// every `hop` samples, each under a periodic Hann window
// 0.5 (1 - cos(2 pi j / window)) and transformed by the centred unitary
// transform (direction -1). Column f is frame f (starting at sample
// 1 + (f - 1) hop), row i the frequency i - (window/2 + 1) in units of
// 1 / window per sample.
QVX_API Complex **STFT(const double *v, int32_t window, int32_t hop) noexcept {
  Complex **r = qvx::Guard(static_cast<Complex **>(nullptr), [&]() -> Complex ** {
    const int32_t n = LengthOf(v);
    if (window < 1 || hop < 1) return MatrixC(0, 0);
    const int32_t frames = n >= window ? 1 + (n - window) / hop : 0;
    std::vector<double> hann(window);
    for (int32_t j = 0; j < window; ++j) hann[j] = 0.5 * (1.0 - std::cos(2.0 * kPi * j / window));
    // All frames are formed before the result is allocated, so that a
    // failure on the way leaks nothing.
    std::vector<Complex> all(static_cast<size_t>(frames) * window);
    std::vector<Complex> a(window);
    for (int32_t f = 0; f < frames; ++f) {
      const int64_t start = 1 + static_cast<int64_t>(f) * hop;
      for (int32_t j = 0; j < window; ++j) a[j] = Complex{v[start + j] * hann[j], 0.0};
      CentredTransform(a, -1);
      std::copy(a.begin(), a.end(), all.begin() + static_cast<size_t>(f) * window);
    }
    Complex **out = MatrixC(frames, window);
    if (!Got(out, frames, window)) return out;
    for (int32_t f = 0; f < frames; ++f)
      std::copy_n(all.begin() + static_cast<size_t>(f) * window, window, out[f + 1] + 1);
    return out;
  });
  return r ? r : MatrixC(0, 0);
}

// Discrete Wigner-Ville distribution of a complex (typically analytic)
// signal: W(t, k) = sum_m v(t + m) conj(v(t - m)) e^(-2 pi i m k / n) over
// the lags with both samples inside. The kernel is Hermitian in m, so W is
// real. Result: Matrix(n, n), column t the time, row i the frequency
// (i - (n/2 + 1)) / (2 n) cycles per sample.
QVX_API double **WignerDistribution(const Complex *v) noexcept {
  double **r = qvx::Guard(static_cast<double **>(nullptr), [&]() -> double ** {
    const int32_t n = LengthOf(v);
    if (n > 4096) return Matrix(0, 0);  // n^2 doubles of output; refuse absurd sizes
    std::vector<Complex> k(n);
    double **out = Matrix(n, n);
    if (!Got(out, n, n)) return out;
    try {
    for (int32_t t = 0; t < n; ++t) {
      std::fill(k.begin(), k.end(), Complex{0, 0});
      const int32_t reach = std::min({t, n - 1 - t, (n - 1) / 2});
      for (int32_t m = -reach; m <= reach; ++m) {
        const Complex a = v[t + m + 1], b = v[t - m + 1];
        k[(m + n) % n] = MulFour(a, Complex{b.re, -b.im});
      }
      Transform(k, -1);
      // Row i holds the frequency index i - n/2 (0-based), found at that
      // index modulo n of the plain transform.
      for (int32_t i = 0; i < n; ++i) out[t + 1][i + 1] = k[(i - n / 2 + n) % n].re;
    }
    } catch (...) {
      FreeMatrix(out);
      throw;
    }
    return out;
  });
  return r ? r : Matrix(0, 0);
}

}  // extern "C"
