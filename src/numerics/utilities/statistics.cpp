// Reductions and statistics of vectors and matrices: extremes and their
// positions, means, standard deviations, covariance and correlation,
// moments and widths of sampled profiles, norms and normalisations,
// histograms.
//
// Read first: a reduction of nothing (an empty vector or window) is NaN for
// a floating result, 0 for an integer one and position 0 for a position.
// Extremes skip NaN elements; sums do not (a NaN in the data gives NaN).
// A profile (Moment, FWHM, Norm...Window) is a vector of samples at the
// abscissas 1..n, or a 1D set (suffix D) with its own abscissas; a Window is
// the index range [i1, i2], clamped to the vector and taken in either order.
// Sample statistics divide by n - 1 and need two values.
#include <algorithm>
#include <cmath>
#include <vector>

#include "numerics/utilities/vectorutils.h"

namespace {

using namespace qvx::vu;

// ---- extremes ---------------------------------------------------------------

// Position of the first largest (or smallest) key(v[i]) in [i1, i2]; NaN
// keys are skipped. 0 when there is none.
template <class T, class Key>
int32_t ExtremePos(const T *v, int32_t i1, int32_t i2, bool wantMax, Key key) {
  if (!Window(Len(v), i1, i2)) return 0;
  int32_t best = 0;
  double bestKey = 0.0;
  for (int32_t i = i1; i <= i2; ++i) {
    double k = key(v[i]);
    if (std::isnan(k)) continue;
    if (best == 0 || (wantMax ? k > bestKey : k < bestKey)) best = i, bestKey = k;
  }
  return best;
}

template <class T>
double Plain(const T &x) {
  return static_cast<double>(x);
}
double Modulus(const Complex &z) { return AbsC(z.re, z.im); }
double AbsOf(const double &x) { return std::fabs(x); }

template <class T>
T NothingOf() {
  if constexpr (std::is_same_v<T, Complex>) return Complex{NAN, NAN};
  else if constexpr (std::is_floating_point_v<T>) return static_cast<T>(NAN);
  else return T{};
}

template <class T, class Key>
T ExtremeOf(const T *v, bool wantMax, Key key) {
  int32_t p = ExtremePos(v, 1, Len(v), wantMax, key);
  return p ? v[p] : NothingOf<T>();
}

// Over all columns of a matrix; the first extreme in column order.
template <class T, class Key>
T ExtremeOfMatrix(T *const *m, bool wantMax, Key key) {
  int32_t c = Cols(m), r = Rows(m);
  bool found = false;
  T best = NothingOf<T>();
  for (int32_t j = 1; j <= c; ++j) {
    int32_t p = ExtremePos(m[j], 1, r, wantMax, key);
    if (p && (!found || (wantMax ? key(m[j][p]) > key(best) : key(m[j][p]) < key(best)))) best = m[j][p], found = true;
  }
  return best;
}

// ---- sums -------------------------------------------------------------------

double MeanOf(const double *v) {
  int32_t n = Len(v);
  if (n == 0) return NAN;
  double s = 0.0;
  for (int32_t i = 1; i <= n; ++i) s += v[i];
  return s / n;
}

// Sample variance by the two-pass algorithm with the correction term of
// Chan, Golub and LeVeque: the second sum removes most of the rounding
// error of the mean.
double VarianceOf(const double *v) {
  int32_t n = Len(v);
  if (n < 2) return NAN;
  double mean = MeanOf(v), s2 = 0.0, s1 = 0.0;
  for (int32_t i = 1; i <= n; ++i) {
    double d = v[i] - mean;
    s2 += d * d;
    s1 += d;
  }
  return std::max(0.0, (s2 - s1 * s1 / n) / (n - 1));
}

// Sums of products of deviations of two vectors of equal length >= 2:
// sab, saa, sbb. False when the lengths differ or are too short.
bool Deviations(const double *a, const double *b, double *sab, double *saa, double *sbb) {
  int32_t n = Len(a);
  if (n < 2 || Len(b) != n) return false;
  double ma = MeanOf(a), mb = MeanOf(b);
  *sab = *saa = *sbb = 0.0;
  for (int32_t i = 1; i <= n; ++i) {
    double da = a[i] - ma, db = b[i] - mb;
    *sab += da * db;
    *saa += da * da;
    *sbb += db * db;
  }
  return true;
}

// Euclidean norm of mag(i) over [i1, i2], scaled by the largest magnitude
// so that neither squares of large values overflow nor small ones vanish.
template <class Mag>
double ScaledNorm(int32_t i1, int32_t i2, Mag mag) {
  double scale = 0.0;
  for (int32_t i = i1; i <= i2; ++i) {
    double a = mag(i);
    if (std::isnan(a)) return NAN;
    scale = std::max(scale, a);
  }
  if (scale == 0.0 || std::isinf(scale)) return scale;
  double s = 0.0;
  for (int32_t i = i1; i <= i2; ++i) {
    double q = mag(i) / scale;
    s += q * q;
  }
  return scale * std::sqrt(s);
}

// ---- profiles -----------------------------------------------------------

// Normalised moment sum x(i)^k w(i) / sum w(i) over [i1, i2]; NaN when the
// weights sum to 0 or the range is empty.
template <class X, class W>
double MomentOf(int32_t i1, int32_t i2, int32_t k, X x, W w) {
  double num = 0.0, den = 0.0;
  for (int32_t i = i1; i <= i2; ++i) {
    double wi = w(i);
    num += std::pow(x(i), k) * wi;
    den += wi;
  }
  return i1 <= i2 && den != 0.0 ? num / den : NAN;
}

double Index(int32_t i) { return i; }

// Full width at half maximum of the highest peak of p over [i1, i2], in
// index units: the half-maximum crossings on either side of the peak are
// found by linear interpolation between the samples around them. NaN when
// the peak is not positive or a side never falls below half of it.
template <class P>
double WidthAtHalfMaximum(int32_t i1, int32_t i2, P p) {
  int32_t peak = 0;
  double top = 0.0;
  for (int32_t i = i1; i <= i2; ++i) {
    double y = p(i);
    if (!std::isnan(y) && (peak == 0 || y > top)) peak = i, top = y;
  }
  if (peak == 0 || !(top > 0.0) || std::isinf(top)) return NAN;
  double half = 0.5 * top, left = NAN, right = NAN;
  for (int32_t i = peak - 1; i >= i1; --i)
    if (p(i) < half) {
      double a = p(i), b = p(i + 1);
      left = i + (half - a) / (b - a);
      break;
    }
  for (int32_t i = peak + 1; i <= i2; ++i)
    if (p(i) < half) {
      double a = p(i - 1), b = p(i);
      right = (i - 1) + (a - half) / (a - b);
      break;
    }
  return right - left;
}

// v divided by the largest magnitude found in [i1, i2]; a copy when that is
// 0, infinite or there is none.
template <class T>
T *ScaledByWindowMax(const T *v, int32_t i1, int32_t i2) {
  T *out = CopyVec(v);
  int32_t n = Len(out);
  if (!Window(Len(v), i1, i2)) return out;
  int32_t p = ExtremePos(v, i1, i2, true, [](const T &x) { return Magnitude(x); });
  double scale = p ? Magnitude(v[p]) : 0.0;
  if (!(scale > 0.0) || std::isinf(scale)) return out;
  for (int32_t i = 1; i <= n; ++i) {
    if constexpr (std::is_same_v<T, Complex>) out[i] = Complex{v[i].re / scale, v[i].im / scale};
    else out[i] = v[i] / scale;
  }
  return out;
}

// Bin of x among n equal bins over [low, high]; high falls in the last bin.
// 0 outside (or NaN).
int32_t BinOf(double x, double low, double high, int32_t n) {
  if (!(x >= low && x <= high)) return 0;
  double t = (x - low) / (high - low) * n;
  int32_t k = t >= n ? n : static_cast<int32_t>(t) + 1;
  return std::clamp(k, 1, n);
}

}  // namespace

extern "C" {

// ---- extremes ---------------------------------------------------------------

QVX_API Complex MaxC(const Complex *v) noexcept { return ExtremeOf(v, true, Modulus); }
QVX_API Complex MinC(const Complex *v) noexcept { return ExtremeOf(v, false, Modulus); }
QVX_API float MaxF(const float *v) noexcept { return ExtremeOf(v, true, Plain<float>); }
QVX_API float MinF(const float *v) noexcept { return ExtremeOf(v, false, Plain<float>); }
QVX_API int32_t MaxI(const int32_t *v) noexcept { return ExtremeOf(v, true, Plain<int32_t>); }
QVX_API int32_t MinI(const int32_t *v) noexcept { return ExtremeOf(v, false, Plain<int32_t>); }
QVX_API int32_t MaxL(const int32_t *v) noexcept { return ExtremeOf(v, true, Plain<int32_t>); }
QVX_API int32_t MinL(const int32_t *v) noexcept { return ExtremeOf(v, false, Plain<int32_t>); }
QVX_API double MaxM(double **m) noexcept { return ExtremeOfMatrix(m, true, Plain<double>); }
QVX_API double MinM(double **m) noexcept { return ExtremeOfMatrix(m, false, Plain<double>); }
QVX_API Complex MaxMC(Complex **m) noexcept { return ExtremeOfMatrix(m, true, Modulus); }
QVX_API Complex MinMC(Complex **m) noexcept { return ExtremeOfMatrix(m, false, Modulus); }
QVX_API int32_t MaxML(int32_t **m) noexcept { return ExtremeOfMatrix(m, true, Plain<int32_t>); }
QVX_API int32_t MinML(int32_t **m) noexcept { return ExtremeOfMatrix(m, false, Plain<int32_t>); }

QVX_API int32_t MaxPos(const double *v) noexcept { return ExtremePos(v, 1, Len(v), true, Plain<double>); }
QVX_API int32_t MinPos(const double *v) noexcept { return ExtremePos(v, 1, Len(v), false, Plain<double>); }
QVX_API int32_t MaxPosAbs(const double *v) noexcept { return ExtremePos(v, 1, Len(v), true, AbsOf); }
QVX_API int32_t MinPosAbs(const double *v) noexcept { return ExtremePos(v, 1, Len(v), false, AbsOf); }
QVX_API int32_t MaxPosAbsC(const Complex *v) noexcept { return ExtremePos(v, 1, Len(v), true, Modulus); }
QVX_API int32_t MinPosL(const int32_t *v) noexcept { return ExtremePos(v, 1, Len(v), false, Plain<int32_t>); }

QVX_API double GetMin(const double *v, int32_t *pos) noexcept {
  int32_t p = ExtremePos(v, 1, Len(v), false, Plain<double>);
  if (pos) *pos = p;
  return p ? v[p] : NAN;
}
QVX_API double MinAbs(const double *v) noexcept {
  int32_t p = ExtremePos(v, 1, Len(v), false, AbsOf);
  return p ? std::fabs(v[p]) : NAN;
}
QVX_API double MinWindow(const double *v, int32_t i1, int32_t i2) noexcept {
  int32_t p = ExtremePos(v, i1, i2, false, Plain<double>);
  return p ? v[p] : NAN;
}

// The value that occurs most often (NaN left out); the smallest of equally
// frequent values.
QVX_API double MostFrequent(const double *v) noexcept {
  return qvx::Guard(static_cast<double>(NAN), [&] {
    std::vector<double> x;
    for (int32_t i = 1, n = Len(v); i <= n; ++i)
      if (!std::isnan(v[i])) x.push_back(v[i]);
    std::sort(x.begin(), x.end());
    double best = NAN;
    std::size_t bestRun = 0;
    for (std::size_t i = 0; i < x.size();) {
      std::size_t j = i;
      while (j < x.size() && x[j] == x[i]) ++j;
      if (j - i > bestRun) bestRun = j - i, best = x[i];
      i = j;
    }
    return best;
  });
}

// ---- means and spreads -----------------------------------------------------------

QVX_API double MeanAbs(const double *v) noexcept {
  int32_t n = Len(v);
  double s = 0.0;
  for (int32_t i = 1; i <= n; ++i) s += std::fabs(v[i]);
  return n ? s / n : NAN;
}
QVX_API double MeanAbsC(const Complex *v) noexcept {
  int32_t n = Len(v);
  double s = 0.0;
  for (int32_t i = 1; i <= n; ++i) s += AbsC(v[i].re, v[i].im);
  return n ? s / n : NAN;
}

QVX_API double StandardDeviation(const double *v) noexcept { return std::sqrt(VarianceOf(v)); }

// Element-wise over the columns of m (several vectors of one length): the
// vector of row means, and of row sample standard deviations.
QVX_API double *MeanV(double **m) noexcept {
  int32_t c = Cols(m), r = Rows(m);
  double *out = NewVec<double>(r);
  for (int32_t i = 1, n = Len(out); i <= n; ++i) {
    double s = 0.0;
    for (int32_t j = 1; j <= c; ++j) s += m[j][i];
    out[i] = s / c;
  }
  return out;
}
QVX_API double *StandardDeviationV(double **m) noexcept {
  return GuardVec<double>([&] {
    int32_t c = Cols(m), r = Rows(m);
    double *out = NewVec<double>(r);
    std::vector<double> row(static_cast<std::size_t>(c) + 1);
    row[0] = c;
    for (int32_t i = 1, n = Len(out); i <= n; ++i) {
      for (int32_t j = 1; j <= c; ++j) row[static_cast<std::size_t>(j)] = m[j][i];
      out[i] = std::sqrt(VarianceOf(row.data()));
    }
    return out;
  });
}

// Element-wise mean of the matrices of a MatrixVector, all of the shape of
// the first; a 1 by 1 zero matrix when the shapes differ or there are none.
QVX_API double **MeanM(double ***mv) noexcept {
  int32_t n = MVLen(mv);
  if (n == 0 || !mv[1]) return Fallback<double>();
  int32_t c = Cols(mv[1]), r = Rows(mv[1]);
  for (int32_t t = 2; t <= n; ++t)
    if (!mv[t] || Cols(mv[t]) != c || Rows(mv[t]) != r) return Fallback<double>();
  double **out = NewMat0<double>(c, r);
  if (!out) return Fallback<double>();
  for (int32_t t = 1; t <= n; ++t)
    for (int32_t j = 1; j <= c; ++j)
      for (int32_t i = 1; i <= r; ++i) out[j][i] += mv[t][j][i];
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) out[j][i] /= n;
  return out;
}

QVX_API double Covariance(const double *a, const double *b) noexcept {
  double sab, saa, sbb;
  if (!Deviations(a, b, &sab, &saa, &sbb)) return NAN;
  return sab / (Len(a) - 1);
}

// Pearson's r; NaN when either vector is constant.
QVX_API double CorrelationCoefficient(const double *a, const double *b) noexcept {
  double sab, saa, sbb;
  if (!Deviations(a, b, &sab, &saa, &sbb) || !(saa > 0.0) || !(sbb > 0.0)) return NAN;
  return std::clamp(sab / std::sqrt(saa * sbb), -1.0, 1.0);
}

QVX_API double WeightedMeanWindow(const double *v, const double *w, int32_t i1, int32_t i2) noexcept {
  if (Len(w) != Len(v) || !Window(Len(v), i1, i2)) return NAN;
  double num = 0.0, den = 0.0;
  for (int32_t i = i1; i <= i2; ++i) num += w[i] * v[i], den += w[i];
  return den != 0.0 ? num / den : NAN;
}
QVX_API double WeightedMean(const double *v, const double *w) noexcept {
  return WeightedMeanWindow(v, w, 1, Len(v));
}

// ---- moments of profiles ----------------------------------------------------------

QVX_API double MomentWindow(const double *v, int32_t k, int32_t i1, int32_t i2) noexcept {
  if (!Window(Len(v), i1, i2)) return NAN;
  return MomentOf(i1, i2, k, Index, [&](int32_t i) { return v[i]; });
}
QVX_API double Moment(const double *v, int32_t k) noexcept { return MomentWindow(v, k, 1, Len(v)); }

QVX_API double MomentAbsWindowC(const Complex *v, int32_t k, int32_t i1, int32_t i2) noexcept {
  if (!Window(Len(v), i1, i2)) return NAN;
  return MomentOf(i1, i2, k, Index, [&](int32_t i) { return Modulus(v[i]); });
}
QVX_API double MomentAbsC(const Complex *v, int32_t k) noexcept { return MomentAbsWindowC(v, k, 1, Len(v)); }

// On a 1D set: the ordinates weigh the abscissas; the window is the range
// of abscissas [x1, x2] (either order).
QVX_API double MomentWindowD(double **set, int32_t k, double x1, double x2) noexcept {
  if (Cols(set) < 2) return NAN;
  const double lo = std::fmin(x1, x2), hi = std::fmax(x1, x2);
  const double *x = set[1], *y = set[2];
  return MomentOf(1, Rows(set), k, [&](int32_t i) { return x[i]; },
                  [&](int32_t i) { return x[i] >= lo && x[i] <= hi ? y[i] : 0.0; });
}
QVX_API double MomentD(double **set, int32_t k) noexcept {
  if (Cols(set) < 2) return NAN;
  return MomentOf(1, Rows(set), k, [&](int32_t i) { return set[1][i]; }, [&](int32_t i) { return set[2][i]; });
}
// On a 1DC set: the intensities |y|^2 weigh the abscissas.
QVX_API double MomentDC(Complex **set, int32_t k) noexcept {
  if (Cols(set) < 2) return NAN;
  return MomentOf(1, Rows(set), k, [&](int32_t i) { return set[1][i].re; },
                  [&](int32_t i) { return set[2][i].re * set[2][i].re + set[2][i].im * set[2][i].im; });
}

// ---- norms and normalisation --------------------------------------------------

QVX_API double NormWindow(const double *v, int32_t i1, int32_t i2) noexcept {
  if (!Window(Len(v), i1, i2)) return Len(v) ? NAN : 0.0;
  return ScaledNorm(i1, i2, [&](int32_t i) { return std::fabs(v[i]); });
}
QVX_API double Norm(const double *v) noexcept { return Len(v) ? NormWindow(v, 1, Len(v)) : 0.0; }
QVX_API double NormC(const Complex *v) noexcept {
  return ScaledNorm(1, Len(v), [&](int32_t i) { return Modulus(v[i]); });
}

QVX_API double *NormalizeVMax(const double *v) noexcept { return ScaledByWindowMax(v, 1, Len(v)); }
QVX_API Complex *NormalizeVMaxC(const Complex *v) noexcept { return ScaledByWindowMax(v, 1, Len(v)); }
QVX_API double *NormalizeWindowV(const double *v, int32_t i1, int32_t i2) noexcept {
  return ScaledByWindowMax(v, i1, i2);
}
QVX_API Complex *NormalizeWindowVC(const Complex *v, int32_t i1, int32_t i2) noexcept {
  return ScaledByWindowMax(v, i1, i2);
}

// A 1D set whose ordinates are scaled to a unit area under the trapezoid
// rule; a copy when the area is 0 or not finite.
QVX_API double **NormalizeD(double **set) noexcept {
  double **out = CopyMat(set);
  int32_t r = Rows(out);
  if (Cols(out) < 2 || Cols(set) < 2) return out;
  double area = 0.0;
  for (int32_t i = 2; i <= r; ++i) area += 0.5 * (set[1][i] - set[1][i - 1]) * (set[2][i] + set[2][i - 1]);
  if (area == 0.0 || !std::isfinite(area)) return out;
  for (int32_t i = 1; i <= r; ++i) out[2][i] = set[2][i] / area;
  return out;
}

// ---- widths -----------------------------------------------------------------------

QVX_API double FWHMWindow(const double *v, int32_t i1, int32_t i2) noexcept {
  if (!Window(Len(v), i1, i2)) return NAN;
  return WidthAtHalfMaximum(i1, i2, [&](int32_t i) { return v[i]; });
}
QVX_API double FWHM(const double *v) noexcept { return FWHMWindow(v, 1, Len(v)); }
// Of the modulus profile |v|, and of the intensity profile |v|^2.
QVX_API double FWHMC(const Complex *v) noexcept {
  return WidthAtHalfMaximum(1, Len(v), [&](int32_t i) { return Modulus(v[i]); });
}
QVX_API double FWHMIntensityC(const Complex *v) noexcept {
  return WidthAtHalfMaximum(1, Len(v), [&](int32_t i) { return v[i].re * v[i].re + v[i].im * v[i].im; });
}

// ---- counting ---------------------------------------------------------------------

// Counts in n equal bins over [low, high] (high in the last bin); values
// outside and NaN are not counted. Length 0 for n < 1 or an empty range.
QVX_API double *Histogram(const double *v, double low, double high, int32_t n) noexcept {
  if (n < 1 || !(high > low) || !std::isfinite(high - low)) return NewVec<double>(0);
  double *out = Vector0(n);
  if (!out) return NewVec<double>(0);
  for (int32_t i = 1, m = Len(v); i <= m; ++i)
    if (int32_t k = BinOf(v[i], low, high, n)) out[k] += 1.0;
  return out;
}

// A 1D set of n bins over the range of v: bin centres and counts. A
// constant vector gets the unit range around its value.
QVX_API double **HistogramD(const double *v, int32_t n) noexcept {
  if (n < 1) {
    double **empty = NewMat<double>(2, 0);
    return empty ? empty : Fallback<double>();
  }
  int32_t pmin = ExtremePos(v, 1, Len(v), false, Plain<double>);
  int32_t pmax = ExtremePos(v, 1, Len(v), true, Plain<double>);
  double low = pmin ? v[pmin] : 0.0, high = pmax ? v[pmax] : 1.0;
  if (!(high > low) || !std::isfinite(high - low)) low -= 0.5, high += 0.5;
  double **out = NewMat0<double>(2, n);
  if (!out) return Fallback<double>();
  double width = (high - low) / n;
  for (int32_t k = 1; k <= n; ++k) out[1][k] = low + (k - 0.5) * width;
  for (int32_t i = 1, m = Len(v); i <= m; ++i)
    if (int32_t k = BinOf(v[i], low, high, n)) out[2][k] += 1.0;
  return out;
}

// The number of elements of v in [a, b] (either order).
QVX_API int32_t GetNPts(const double *v, double a, double b) noexcept {
  int32_t count = 0;
  for (int32_t i = 1, n = Len(v); i <= n; ++i) count += InsideInterval(v[i], a, b);
  return count;
}

}  // extern "C"
