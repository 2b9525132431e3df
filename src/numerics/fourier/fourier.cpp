// Fourier transforms of vectors, matrices and N-dimensional blocks, their
// domains, padding to a power of two, shifts, centring and convolution.
//
// Read first: every transform of this family is centred and unitary. For n
// points the origin sits at element n/2 + 1 (1-based) of both the data and
// its transform, and forward and inverse are each divided by sqrt(n). FFTV
// is the reference, a radix-2 transform whose results are fixed to the last
// bit (its kernel and the any-length transform are in fourier_kernel.cpp).
// FFTV itself transforms powers of two only; the matrix and N-D forms take
// any length. A frequency domain for n samples of spacing dx has spacing
// 1 / (n dx), and forward means direction -1.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/fourier/fourier_internal.h"

namespace qvx::fourier {

double **EmptyDataSet() { return Matrix(2, 0); }
Complex **EmptyDataSetC() { return MatrixC(2, 0); }

}  // namespace qvx::fourier

using namespace qvx::fourier;

namespace {

// ---- small local helpers ------------------------------------------------------

std::vector<Complex> ToVec(const Complex *v, int32_t n) { return std::vector<Complex>(v + 1, v + 1 + n); }

Complex *FromVec(const std::vector<Complex> &a) {
  const int32_t n = static_cast<int32_t>(a.size());
  Complex *out = VectorC(n);
  if (Got(out, n) && n > 0) std::memcpy(out + 1, a.data(), sizeof(Complex) * n);
  return out;
}

double *FromVecRe(const std::vector<Complex> &a) {
  const int32_t n = static_cast<int32_t>(a.size());
  double *out = Vector(n);
  if (Got(out, n))
    for (int32_t i = 0; i < n; ++i) out[i + 1] = a[i].re;
  return out;
}

// Sample spacing of an abscissa vector, from its end points.
template <class T>
double SpacingOf(const T *x, int32_t n) {
  return n >= 2 ? (Re(x[n]) - Re(x[1])) / (n - 1) : 0.0;
}

// Centred index (1-based) of n points.
inline int32_t Centre(int32_t n) { return n / 2 + 1; }

// A new vector of n elements from the exported constructor for T.
template <class T>
T *NewVectorOf(int32_t n) {
  return Elem<T>::Vec(n);
}

// The elements from the centre element to the end: the non-negative half of
// a centred domain or spectrum.
template <class T>
T *PositiveHalf(const T *x) {
  const int32_t n = LengthOf(x);
  const int32_t m = n > 0 ? n - Centre(n) + 1 : 0;
  T *out = NewVectorOf<T>(m);
  if (!Got(out, m)) return out;
  for (int32_t i = 1; i <= m; ++i) out[i] = x[Centre(n) + i - 1];
  return out;
}

// x moved so that its centre element is the origin (real parts only).
template <class T>
T *CentredOnMiddle(const T *x) {
  const int32_t n = LengthOf(x);
  T *out = NewVectorOf<T>(n);
  if (!Got(out, n)) return out;
  for (int32_t i = 1; i <= n; ++i) out[i] = WithRe(x[i], Re(x[i]) - Re(x[Centre(n)]));
  return out;
}

// The centred grid with the spacing of x (its end points), or with the
// spacing of its frequency domain, 1 / (n dx), when frequency is set.
template <class T>
T *CentredGrid(const T *x, bool frequency) {
  const int32_t n = LengthOf(x);
  T *out = NewVectorOf<T>(n);
  if (!Got(out, n)) return out;
  const double dx = SpacingOf(x, n);
  if (frequency) {
    const double df = dx != 0.0 ? 1.0 / (n * dx) : 0.0;
    for (int32_t i = 1; i <= n; ++i) out[i] = FromRe<T>((i - Centre(n)) * df);
  } else {
    for (int32_t i = 1; i <= n; ++i) out[i] = FromRe<T>((i - Centre(n)) * dx);
  }
  return out;
}

// A periodic grid of n points: x2 is the first point of the next period, so
// element n/2 + 1 is the midpoint for even n.
template <class T>
T *PeriodicGrid(double x1, double x2, int32_t n) {
  if (n < 0) n = 0;
  T *out = NewVectorOf<T>(n);
  if (!Got(out, n)) return out;
  const double dx = n > 0 ? (x2 - x1) / n : 0.0;
  for (int32_t i = 1; i <= n; ++i) out[i] = FromRe<T>(x1 + (i - 1) * dx);
  return out;
}

// Applies the FFTV kernel to a strided line of a matrix or N-D block: any
// length, the exact radix-2 kernel for powers of two.
void TransformLine(std::vector<Complex> &line, int32_t direction) { CentredTransform(line, direction); }

double Intensity(Complex z) { return z.re * z.re + z.im * z.im; }
// The weight of a sample in a centroid: its magnitude, or its intensity for
// a complex sample.
double CentroidWeight(double y) { return std::fabs(y); }
double CentroidWeight(Complex z) { return Intensity(z); }

// Centroid (1-based, fractional index) of weights w over [i1, i2]; 0 when
// the weights sum to zero or are not finite.
template <class W>
double CentroidIndex(int32_t i1, int32_t i2, W weight) {
  double sw = 0.0, swi = 0.0;
  for (int32_t i = i1; i <= i2; ++i) {
    const double w = weight(i);
    sw += w;
    swi += w * i;
  }
  if (!(sw > 0.0) || !std::isfinite(swi)) return 0.0;
  return swi / sw;
}

// Shift of a whole number of samples that brings the centroid to the
// centre element.
int32_t ShiftToCentre(double centroid, int32_t n) {
  if (centroid <= 0.0) return 0;
  return static_cast<int32_t>(std::lround(Centre(n) - centroid));
}

template <class T>
void RotateInto(const T *v, T *out, int32_t n, int32_t shift) {
  // out[i] = v[i - shift], circularly (1-based).
  int64_t s = shift % n;
  if (s < 0) s += n;
  for (int32_t i = 1; i <= n; ++i) {
    int64_t src = i - s;
    if (src < 1) src += n;
    out[i] = v[src];
  }
}

// v rotated circularly so that its centroid lands on the centre element.
template <class T>
T *RotatedToCentroid(const T *v) {
  const int32_t n = LengthOf(v);
  T *out = NewVectorOf<T>(n);
  if (!Got(out, n) || n == 0) return out;
  const double c = CentroidIndex(1, n, [&](int32_t i) { return CentroidWeight(v[i]); });
  RotateInto(v, out, n, ShiftToCentre(c, n));
  return out;
}

template <class T>
T **OrEmptySet(T **m) {
  return m ? m : Elem<T>::EmptySet();
}

// Centred zero padding or central cropping of n values into m.
void PadInto(const Complex *v, int32_t n, Complex *out, int32_t m) {
  for (int32_t i = 1; i <= m; ++i) out[i] = Complex{0, 0};
  const int32_t offset = Centre(m) - Centre(n);
  for (int32_t j = 1; j <= n; ++j) {
    const int64_t i = static_cast<int64_t>(j) + offset;
    if (i >= 1 && i <= m) out[i] = v[j];
  }
}

}  // namespace

extern "C" {

// ---- the transforms -------------------------------------------------------------

QVX_API void FFTV(Complex *v, int32_t direction) noexcept {
  const int32_t n = LengthOf(v);
  if (n < 1) return;
  // Only a power of two is transformed in place. For any other n the
  // transform is taken on a copy resampled to the next power of two and its
  // central n points form a new vector that the caller never receives (v
  // comes by value), so v keeps its values and no work is spent on it:
  // FFTVErr hands that result back instead.
  if (!IsPowerOfTwo(n)) return;
  qvx::GuardVoid([&] { CentredRadix2(v + 1, n, direction); });
}

QVX_API int32_t FFTVErr(Complex *v, int32_t direction) noexcept {
  return qvx::Guard(int32_t{-1}, [&]() -> int32_t {
    const int32_t n = LengthOf(v);
    if (n < 1) return -1;
    if (IsPowerOfTwo(n)) {
      CentredRadix2(v + 1, n, direction);
      return 0;
    }
    const int32_t big = NextPowerOfTwo(n);
    if (big == 0) return -1;
    std::vector<Complex> work = Resample(v + 1, n, big);
    CentredRadix2(work.data(), big, direction);
    const int32_t first = (big - n) / 2;
    std::memcpy(v + 1, work.data() + first, sizeof(Complex) * n);
    return 1;
  });
}

QVX_API Complex *DFT(const Complex *v, int32_t direction) noexcept {
  return GuardVC([&]() -> Complex * {
    const int32_t n = LengthOf(v);
    const int32_t sign = direction < 0 ? -1 : 1;
    // The table of the n roots of unity; the exponent (j - c)(k - c) is
    // reduced modulo n before the lookup.
    std::vector<Complex> root(n);
    for (int32_t m = 0; m < n; ++m) root[m] = RootOfUnity(m, n, sign);
    Complex *out = VectorC(n);
    if (!Got(out, n) || n == 0) return out;
    const int64_t c = n / 2;
    const double scale = std::sqrt(static_cast<double>(n));
    for (int32_t k = 0; k < n; ++k) {
      double sr = 0.0, si = 0.0;
      for (int32_t j = 0; j < n; ++j) {
        int64_t m = ((j - c) * (k - c)) % n;
        if (m < 0) m += n;
        const Complex z = MulFour(v[j + 1], root[m]);
        sr += z.re;
        si += z.im;
      }
      out[k + 1] = Complex{sr / scale, si / scale};
    }
    return out;
  });
}

QVX_API void FFTCols(Complex **m, int32_t direction) noexcept {
  qvx::GuardVoid([&] {
    const int32_t cols = ColsOf(m), rows = RowsOf(m);
    if (rows < 1) return;
    std::vector<Complex> line(rows);
    for (int32_t j = 1; j <= cols; ++j) {
      if (IsPowerOfTwo(rows)) {
        CentredRadix2(m[j] + 1, rows, direction);
        continue;
      }
      std::copy(m[j] + 1, m[j] + 1 + rows, line.begin());
      TransformLine(line, direction);
      std::copy(line.begin(), line.end(), m[j] + 1);
    }
  });
}

QVX_API void FFTRows(Complex **m, int32_t direction) noexcept {
  qvx::GuardVoid([&] {
    const int32_t cols = ColsOf(m), rows = RowsOf(m);
    if (cols < 1) return;
    std::vector<Complex> line(cols);
    for (int32_t i = 1; i <= rows; ++i) {
      for (int32_t j = 1; j <= cols; ++j) line[j - 1] = m[j][i];
      TransformLine(line, direction);
      for (int32_t j = 1; j <= cols; ++j) m[j][i] = line[j - 1];
    }
  });
}

QVX_API void FFTM(Complex **m, int32_t direction) noexcept {
  FFTCols(m, direction);
  FFTRows(m, direction);
}

QVX_API int32_t FFTNGetNPts(const int32_t *dims) noexcept {
  const int32_t rank = LengthOf(dims);
  if (rank < 1) return 0;
  int64_t total = 1;
  for (int32_t d = 1; d <= rank; ++d) {
    if (dims[d] < 1) return 0;
    total *= dims[d];
    if (total > INT32_MAX) return 0;
  }
  return static_cast<int32_t>(total);
}

QVX_API void FFTND(Complex *data, const int32_t *dims, int32_t direction) noexcept {
  qvx::GuardVoid([&] {
    const int32_t total = FFTNGetNPts(dims);
    if (total < 1 || LengthOf(data) < total) return;
    const int32_t rank = LengthOf(dims);
    Complex *a = data + 1;
    // Row-major: dims[rank] is the fastest index. Along axis d the stride is
    // the product of the later lengths.
    int64_t stride = 1;
    for (int32_t d = rank; d >= 1; --d) {
      const int32_t len = dims[d];
      const int64_t block = stride * len;
      if (len > 1) {
        std::vector<Complex> line(len);
        for (int64_t outer = 0; outer < total; outer += block)
          for (int64_t inner = 0; inner < stride; ++inner) {
            Complex *base = a + outer + inner;
            if (stride == 1 && IsPowerOfTwo(len)) {
              CentredRadix2(base, len, direction);
              continue;
            }
            for (int32_t k = 0; k < len; ++k) line[k] = base[k * stride];
            TransformLine(line, direction);
            for (int32_t k = 0; k < len; ++k) base[k * stride] = line[k];
          }
      }
      stride = block;
    }
  });
}

QVX_API void FFTNShift(Complex *data, const int32_t *dims) noexcept {
  qvx::GuardVoid([&] {
    const int32_t total = FFTNGetNPts(dims);
    if (total < 1 || LengthOf(data) < total) return;
    const int32_t rank = LengthOf(dims);
    // Each axis is rotated by half its length: element k goes to k + n/2.
    std::vector<Complex> out(total);
    std::vector<int32_t> index(rank + 1, 0);
    for (int32_t flat = 0; flat < total; ++flat) {
      int64_t target = 0;
      for (int32_t d = 1; d <= rank; ++d) target = target * dims[d] + (index[d] + dims[d] / 2) % dims[d];
      out[target] = data[flat + 1];
      for (int32_t d = rank; d >= 1; --d) {
        if (++index[d] < dims[d]) break;
        index[d] = 0;
      }
    }
    std::copy(out.begin(), out.end(), data + 1);
  });
}

QVX_API double *FFTNDomainChange(const double *spacing, const int32_t *dims) noexcept {
  const int32_t rank = LengthOf(dims);
  const int32_t have = LengthOf(spacing);
  double *out = Vector(rank);
  if (!Got(out, rank)) return out;
  for (int32_t d = 1; d <= rank; ++d) {
    const double dx = d <= have ? spacing[d] : 0.0;
    out[d] = (dims[d] > 0 && dx != 0.0) ? 1.0 / (dims[d] * dx) : 0.0;
  }
  return out;
}

// ---- domains ----------------------------------------------------------------------

QVX_API double *CenterDomain(const double *x) noexcept { return CentredOnMiddle(x); }
QVX_API Complex *CenterDomainC(const Complex *x) noexcept { return CentredOnMiddle(x); }

QVX_API double *ReferenceDomain(const double *x, double reference) noexcept {
  const int32_t n = LengthOf(x);
  double *out = Vector(n);
  if (!Got(out, n)) return out;
  for (int32_t i = 1; i <= n; ++i) out[i] = x[i] - x[Centre(n)] + reference;
  return out;
}

QVX_API double *CenterDomainFFT(const double *x) noexcept { return CentredGrid(x, false); }
QVX_API Complex *CenterDomainFFTC(const Complex *x) noexcept { return CentredGrid(x, false); }

QVX_API Complex *CenteredFFTDomainC(int32_t n, double dx) noexcept {
  if (n < 0) n = 0;
  Complex *out = VectorC(n);
  if (!Got(out, n)) return out;
  for (int32_t i = 1; i <= n; ++i) out[i] = Complex{(i - Centre(n)) * dx, 0.0};
  return out;
}

QVX_API double *FFTDomainChange(const double *x) noexcept { return CentredGrid(x, true); }
QVX_API Complex *FFTDomainChangeC(const Complex *x) noexcept { return CentredGrid(x, true); }

QVX_API double *PositiveDomain(const double *x) noexcept { return PositiveHalf(x); }
QVX_API Complex *PositiveDomainC(const Complex *x) noexcept { return PositiveHalf(x); }

QVX_API double *DiscretizeDomainFFT(double x1, double x2, int32_t n) noexcept {
  return PeriodicGrid<double>(x1, x2, n);
}
QVX_API Complex *DiscretizeDomainFFTC(double x1, double x2, int32_t n) noexcept {
  return PeriodicGrid<Complex>(x1, x2, n);
}

QVX_API Complex **DiscretizeFFTN(Complex (*f)(double x, void *context), void *context, double x1, double x2,
                                 int32_t n) noexcept {
  if (!f || n < 1) return EmptyDataSetC();
  Complex **out = MatrixC(2, n);
  if (!Got(out, 2, n)) return out;
  const double dx = (x2 - x1) / n;
  for (int32_t i = 1; i <= n; ++i) {
    const double x = x1 + (i - 1) * dx;
    out[1][i] = Complex{x, 0.0};
    out[2][i] = f(x, context);
  }
  return out;
}

QVX_API Complex **DiscretizeFFT(Complex (*f)(double x, void *context), void *context, double x1, double x2,
                                int32_t n) noexcept {
  const int32_t big = n < 1 ? 0 : NextPowerOfTwo(n);
  if (big == 0) return EmptyDataSetC();
  return DiscretizeFFTN(f, context, x1, x2, big);
}

// ---- padding and formatting ---------------------------------------------------------

QVX_API Complex *ZeroPadVC(const Complex *v, int32_t n) noexcept {
  if (n < 0) n = 0;
  Complex *out = VectorC(n);
  if (!Got(out, n)) return out;
  PadInto(v, LengthOf(v), out, n);
  return out;
}

QVX_API Complex *ZeroPadFFT(const Complex *v) noexcept {
  const int32_t big = NextPowerOfTwo(LengthOf(v));
  return ZeroPadVC(v, LengthOf(v) == 0 ? 0 : big);
}

QVX_API Complex *FormatZeroPadFFT(const Complex *v, int32_t factor) noexcept {
  const int32_t n = LengthOf(v);
  if (factor < 1) factor = 1;
  const int32_t big = NextPowerOfTwo(static_cast<int64_t>(n) * factor);
  return ZeroPadVC(v, n == 0 ? 0 : big);
}

QVX_API Complex *FormatFFT(const Complex *v) noexcept {
  return GuardVC([&]() -> Complex * {
    const int32_t n = LengthOf(v);
    if (n == 0) return VectorC(0);
    const int32_t big = NextPowerOfTwo(n);
    if (big == 0) return VectorC(0);
    if (big == n) return FromVec(ToVec(v, n));
    return FromVec(Resample(v + 1, n, big));
  });
}

}  // extern "C"

namespace {

template <class T>
T **ZeroPadDataSet(T **data, int32_t n) {
  const int32_t rows = DataSetRows(data);
  if (rows < 0 || n < 0) return nullptr;
  T **out = Elem<T>::Mat(2, n);
  if (!Got(out, 2, n)) return out;
  auto abscissa = [&](int32_t i) { return Re(data[1][i]); };
  const double dx = rows >= 2 ? (abscissa(rows) - abscissa(1)) / (rows - 1) : 0.0;
  const double x0 = rows >= 1 ? abscissa(Centre(rows)) : 0.0;
  const int32_t offset = Centre(n) - Centre(rows);
  for (int32_t i = 1; i <= n; ++i) {
    const int64_t j = static_cast<int64_t>(i) - offset;
    const double x = x0 + (i - Centre(n)) * dx;
    out[1][i] = FromRe<T>(x);
    out[2][i] = (j >= 1 && j <= rows) ? data[2][j] : T{};
  }
  return out;
}

}  // namespace

extern "C" {

QVX_API double **ZeroPad1D(double **data, int32_t n) noexcept { return OrEmptySet(ZeroPadDataSet(data, n)); }
QVX_API Complex **ZeroPad1DC(Complex **data, int32_t n) noexcept { return OrEmptySet(ZeroPadDataSet(data, n)); }

// ---- shifts ----------------------------------------------------------------------------

QVX_API Complex *Shift0C(const Complex *v, int32_t shift) noexcept {
  const int32_t n = LengthOf(v);
  Complex *out = VectorC(n);
  if (!Got(out, n)) return out;
  for (int32_t i = 1; i <= n; ++i) {
    const int64_t j = static_cast<int64_t>(i) - shift;
    out[i] = (j >= 1 && j <= n) ? v[j] : Complex{0, 0};
  }
  return out;
}

}  // extern "C"

namespace {

// Circular shift by s samples (any real s) through the phase ramp of the
// plain DFT; y(t) = x(t - s). The Nyquist bin of an even length takes the
// real part of its factor so that real data stays real.
std::vector<Complex> ShiftSamples(std::vector<Complex> a, double s) {
  const int32_t n = static_cast<int32_t>(a.size());
  if (n < 2 || s == 0.0) return a;
  Transform(a, -1);
  for (int32_t k = 0; k < n; ++k) {
    const int32_t kk = k <= (n - 1) / 2 ? k : k - n;
    Complex f;
    if (2 * k == n) f = Complex{std::cos(kPi * s), 0.0};
    else f = Expi(-2.0 * kPi * kk * s / n);
    a[k] = MulFour(a[k], f);
  }
  Transform(a, 1);
  for (auto &z : a) z = Complex{z.re / n, z.im / n};
  return a;
}

}  // namespace

extern "C" {

QVX_API double *ShiftCont(const double *v, double shift) noexcept {
  return GuardV([&]() -> double * {
    const int32_t n = LengthOf(v);
    if (!std::isfinite(shift)) shift = 0.0;
    std::vector<Complex> a(n);
    for (int32_t i = 0; i < n; ++i) a[i] = Complex{v[i + 1], 0.0};
    return FromVecRe(ShiftSamples(std::move(a), shift));
  });
}

QVX_API Complex **ShiftCont1DC(Complex **data, double distance) noexcept {
  return GuardDataSetC([&]() -> Complex ** {
    const int32_t n = DataSetRows(data);
    if (n < 0) return EmptyDataSetC();
    const double dx = SpacingOf(data[1], n);
    const double s = (dx != 0.0 && std::isfinite(distance / dx)) ? distance / dx : 0.0;
    std::vector<Complex> a = ShiftSamples(ToVec(data[2], n), s);
    Complex **out = MatrixC(2, n);
    if (!Got(out, 2, n)) return out;
    for (int32_t i = 1; i <= n; ++i) {
      out[1][i] = data[1][i];
      out[2][i] = a[i - 1];
    }
    return out;
  });
}

// ---- centring of distributions -----------------------------------------------------------

QVX_API double *CenterDistr(const double *v) noexcept { return RotatedToCentroid(v); }
QVX_API Complex *CenterDistrC(const Complex *v) noexcept { return RotatedToCentroid(v); }

QVX_API Complex *CenterDistr0C(const Complex *v) noexcept {
  const int32_t n = LengthOf(v);
  if (n == 0) return VectorC(0);
  const double c = CentroidIndex(1, n, [&](int32_t i) { return Intensity(v[i]); });
  return Shift0C(v, ShiftToCentre(c, n));
}

QVX_API Complex *CenterDistrWindowC(const Complex *v, int32_t i1, int32_t i2) noexcept {
  const int32_t n = LengthOf(v);
  Complex *out = VectorC(n);
  if (!Got(out, n) || n == 0) return out;
  i1 = std::max(i1, 1);
  i2 = std::min(i2, n);
  const double c = CentroidIndex(i1, i2, [&](int32_t i) { return Intensity(v[i]); });
  RotateInto(v, out, n, ShiftToCentre(c, n));
  return out;
}

}  // extern "C"

namespace {

// New data set with the abscissas moved so that the weighted mean abscissa
// of the points with x in [x1, x2] is 0; ordinates copied.
template <class T>
T **RecentreDataSet(T **data, double x1, double x2) {
  const int32_t n = DataSetRows(data);
  if (n < 0) return nullptr;
  T **out = Elem<T>::Mat(2, n);
  if (!Got(out, 2, n)) return out;
  auto abscissa = [&](int32_t i) { return Re(data[1][i]); };
  double sw = 0.0, swx = 0.0;
  for (int32_t i = 1; i <= n; ++i) {
    const double x = abscissa(i);
    if (!(x >= x1 && x <= x2)) continue;
    const double w = CentroidWeight(data[2][i]);
    sw += w;
    swx += w * x;
  }
  const double mean = (sw > 0.0 && std::isfinite(swx)) ? swx / sw : 0.0;
  for (int32_t i = 1; i <= n; ++i) {
    out[1][i] = WithRe(data[1][i], Re(data[1][i]) - mean);
    out[2][i] = data[2][i];
  }
  return out;
}

constexpr double kAll = HUGE_VAL;

}  // namespace

extern "C" {

QVX_API double **CenterDistribution(double **data) noexcept { return OrEmptySet(RecentreDataSet(data, -kAll, kAll)); }
QVX_API Complex **CenterDistributionC(Complex **data) noexcept {
  return OrEmptySet(RecentreDataSet(data, -kAll, kAll));
}
QVX_API Complex **CenterDistributionWindowC(Complex **data, double x1, double x2) noexcept {
  return OrEmptySet(RecentreDataSet(data, x1, x2));
}

// ---- convolution ---------------------------------------------------------------------------

QVX_API double *ConvolutionD(const double *a, const double *b) noexcept {
  const int32_t na = LengthOf(a), nb = LengthOf(b);
  const int64_t full = static_cast<int64_t>(na) + nb - 1;
  const int32_t n = (na > 0 && nb > 0 && full <= INT32_MAX) ? static_cast<int32_t>(full) : 0;
  double *out = Vector0(n);
  if (!Got(out, n)) return out;
  for (int32_t i = 1; i <= na; ++i)
    for (int32_t j = 1; j <= nb; ++j) out[i + j - 1] += a[i] * b[j];
  return out;
}

QVX_API Complex *ConvolutionC(const Complex *a, const Complex *b) noexcept {
  const int32_t na = LengthOf(a), nb = LengthOf(b);
  const int64_t full = static_cast<int64_t>(na) + nb - 1;
  const int32_t n = (na > 0 && nb > 0 && full <= INT32_MAX) ? static_cast<int32_t>(full) : 0;
  Complex *out = Vector0C(n);
  if (!Got(out, n)) return out;
  for (int32_t i = 1; i <= na; ++i)
    for (int32_t j = 1; j <= nb; ++j) {
      const Complex z = MulFour(a[i], b[j]);
      out[i + j - 1].re += z.re;
      out[i + j - 1].im += z.im;
    }
  return out;
}

}  // extern "C"

namespace {

// Full linear convolution of two 0-based sequences through radix-2
// transforms of length >= na + nb - 1.
std::vector<Complex> FastConvolve(const std::vector<Complex> &a, const std::vector<Complex> &b) {
  const int64_t na = static_cast<int64_t>(a.size()), nb = static_cast<int64_t>(b.size());
  if (na == 0 || nb == 0) return {};
  const int32_t m = NextPowerOfTwo(na + nb - 1);
  if (m == 0) return {};
  std::vector<Complex> x(m, Complex{0, 0}), y(m, Complex{0, 0});
  std::copy(a.begin(), a.end(), x.begin());
  std::copy(b.begin(), b.end(), y.begin());
  Transform(x, -1);
  Transform(y, -1);
  for (int32_t k = 0; k < m; ++k) x[k] = MulFour(x[k], y[k]);
  Transform(x, 1);
  x.resize(static_cast<size_t>(na + nb - 1));
  for (auto &z : x) z = Complex{z.re / m, z.im / m};
  return x;
}

}  // namespace

extern "C" {

QVX_API Complex *ConvolutionFFTV(const Complex *a, const Complex *b) noexcept {
  return GuardVC([&]() -> Complex * {
    return FromVec(FastConvolve(ToVec(a, LengthOf(a)), ToVec(b, LengthOf(b))));
  });
}

// c(x_i) = dx sum_j a(x_j) b(x_i - x_j): b lies on a centred grid of the same
// spacing, its element nb/2 + 1 at 0, so x_i - x_j is its element
// i - j + nb/2 + 1 (zero outside). The result lies on the abscissas of a.
QVX_API double **Convolution1D(double **a, double **b) noexcept {
  const int32_t na = DataSetRows(a), nb = DataSetRows(b);
  if (na < 0 || nb < 0) return EmptyDataSet();
  double **out = Matrix(2, na);
  if (!Got(out, 2, na)) return out;
  const double dx = SpacingOf(a[1], na);
  const int32_t cb = Centre(nb);
  for (int32_t i = 1; i <= na; ++i) {
    double s = 0.0;
    for (int32_t j = 1; j <= na; ++j) {
      const int64_t k = static_cast<int64_t>(i) - j + cb;
      if (k >= 1 && k <= nb) s += a[2][j] * b[2][k];
    }
    out[1][i] = a[1][i];
    out[2][i] = s * dx;
  }
  return out;
}

QVX_API double **ConvolutionFFT(double **a, double **b) noexcept {
  return GuardDataSet([&]() -> double ** {
    const int32_t na = DataSetRows(a), nb = DataSetRows(b);
    if (na < 0 || nb < 0) return EmptyDataSet();
    std::vector<Complex> x(na), y(nb);
    for (int32_t i = 0; i < na; ++i) x[i] = Complex{a[2][i + 1], 0.0};
    for (int32_t i = 0; i < nb; ++i) y[i] = Complex{b[2][i + 1], 0.0};
    const std::vector<Complex> full = FastConvolve(x, y);
    double **out = Matrix(2, na);
    if (!Got(out, 2, na)) return out;
    const double dx = SpacingOf(a[1], na);
    // The element i (0-based) of the result is full[i + nb/2].
    for (int32_t i = 0; i < na; ++i) {
      const size_t k = static_cast<size_t>(i) + nb / 2;
      out[1][i + 1] = a[1][i + 1];
      out[2][i + 1] = k < full.size() ? full[k].re * dx : 0.0;
    }
    return out;
  });
}

// R(L) = sum_i v_i v_{i+L}, non-circular, for the lags L = k - (n/2 + 1) of
// the elements k = 1..n (so lag 0 sits at the centre), by the
// Wiener-Khinchin theorem on a transform padded to at least 2n points.
QVX_API double *Autocorrelation(const double *v) noexcept {
  return GuardV([&]() -> double * {
    const int32_t n = LengthOf(v);
    const int32_t m = NextPowerOfTwo(2 * static_cast<int64_t>(n));
    if (n == 0 || m == 0) return Vector0(n);
    std::vector<Complex> x(m, Complex{0, 0});
    for (int32_t i = 0; i < n; ++i) x[i] = Complex{v[i + 1], 0.0};
    Transform(x, -1);
    for (auto &z : x) z = Complex{Intensity(z), 0.0};
    Transform(x, 1);
    double *out = Vector(n);
    if (!Got(out, n)) return out;
    for (int32_t k = 1; k <= n; ++k) {
      const int32_t lag = k - Centre(n);
      const int32_t at = lag >= 0 ? lag : m + lag;
      out[k] = x[at].re / m;
    }
    return out;
  });
}

}  // extern "C"
