// Shared helpers of the Fourier files (fourier_kernel.cpp, fourier.cpp,
// fourier_analysis.cpp).
//
// Two transform kernels live here. CentredRadix2 is the centred, unitary
// radix-2 transform behind FFTV: its twiddle factors come from the stage
// recurrence w <- w + w * (wpr, wpi), and its butterflies must keep their
// exact arithmetic, since results are defined to the last bit. Transform is
// the plain (uncentred, unscaled) DFT of any length that the analysis
// functions use: radix-2 for powers of two, Bluestein's chirp-z algorithm
// otherwise. Vectors passed to the kernels are 0-based.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "common/boundary.h"
#include "common/complex.h"
#include "libquorvex.h"
#include "numerics/containers/container_access.h"

namespace qvx::fourier {

// ---- container access ------------------------------------------------------

using qvx::ColsOf;
using qvx::LengthOf;
using qvx::RowsOf;

// Rows of a data set (two columns: abscissas, ordinates), or -1 when the
// matrix has fewer than two columns.
template <class T>
inline int32_t DataSetRows(T *const *m) {
  return ColsOf(m) >= 2 ? RowsOf(m) : -1;
}

// Vectors that came back from a constructor with the length asked for; a
// failed allocation gives a length-0 vector, which the caller returns as is.
inline bool Got(const double *v, int32_t n) { return LengthOf(v) == n; }
inline bool Got(const Complex *v, int32_t n) { return LengthOf(v) == n; }
template <class T>
inline bool Got(T *const *m, int32_t c, int32_t r) {
  return ColsOf(m) == c && (c == 0 || RowsOf(m) == r);
}

// An empty data set: the fall-back of the functions that return one.
double **EmptyDataSet();
Complex **EmptyDataSetC();

// Real and complex domains, data sets and vectors share one body each. A
// complex abscissa keeps its value in the real part; WithRe replaces that
// part and leaves the imaginary one.
template <class T>
struct Elem;
template <>
struct Elem<double> {
  static double *Vec(int32_t n) { return Vector(n); }
  static double **Mat(int32_t c, int32_t r) { return Matrix(c, r); }
  static double **EmptySet() { return EmptyDataSet(); }
  static double Re(double x) { return x; }
  static double WithRe(double, double r) { return r; }
};
template <>
struct Elem<Complex> {
  static Complex *Vec(int32_t n) { return VectorC(n); }
  static Complex **Mat(int32_t c, int32_t r) { return MatrixC(c, r); }
  static Complex **EmptySet() { return EmptyDataSetC(); }
  static double Re(const Complex &z) { return z.re; }
  static Complex WithRe(const Complex &z, double r) { return Complex{r, z.im}; }
};
template <class T>
inline double Re(const T &x) {
  return Elem<T>::Re(x);
}
template <class T>
inline T WithRe(const T &x, double r) {
  return Elem<T>::WithRe(x, r);
}
// The element whose real part is r and imaginary part 0.
template <class T>
inline T FromRe(double r) {
  return Elem<T>::WithRe(T{}, r);
}

// Run a body that may throw; on failure give the fall-back container (made
// only then, so it never leaks on success).
template <class F>
Complex *GuardVC(F &&body) {
  Complex *r = qvx::Guard(static_cast<Complex *>(nullptr), std::forward<F>(body));
  return r ? r : VectorC(0);
}
template <class F>
double *GuardV(F &&body) {
  double *r = qvx::Guard(static_cast<double *>(nullptr), std::forward<F>(body));
  return r ? r : Vector(0);
}
template <class F>
Complex **GuardDataSetC(F &&body) {
  Complex **r = qvx::Guard(static_cast<Complex **>(nullptr), std::forward<F>(body));
  return r ? r : EmptyDataSetC();
}
template <class F>
double **GuardDataSet(F &&body) {
  double **r = qvx::Guard(static_cast<double **>(nullptr), std::forward<F>(body));
  return r ? r : EmptyDataSet();
}

// ---- complex helpers -------------------------------------------------------

constexpr double kPi = 3.14159265358979323846;

inline Complex Expi(double angle) { return Complex{std::cos(angle), std::sin(angle)}; }
using qvx::MulFour;

// e^(s 2 pi i m / n) for m reduced modulo n first, so large products of
// indices keep full accuracy.
inline Complex RootOfUnity(int64_t m, int64_t n, int32_t sign) {
  m %= n;
  if (m < 0) m += n;
  return Expi(sign * 2.0 * kPi * static_cast<double>(m) / static_cast<double>(n));
}

// ---- sizes -----------------------------------------------------------------

inline bool IsPowerOfTwo(int64_t n) { return n > 0 && (n & (n - 1)) == 0; }
// Smallest power of two >= n (1 for n <= 1), or 0 when it exceeds 2^30.
inline int32_t NextPowerOfTwo(int64_t n) {
  int64_t p = 1;
  while (p < n) p <<= 1;
  return p > (int64_t(1) << 30) ? 0 : static_cast<int32_t>(p);
}

// ---- kernels ---------------------------------------------------------------

// The FFTV transform of a 0-based block whose length is a power of two:
// swap halves, radix-2 with recurrence twiddles, swap halves, divide by
// sqrt(n). direction is the sign in the exponent.
void CentredRadix2(Complex *a, int32_t n, int32_t direction);

// Unscaled, uncentred DFT of any length: a[k] <- sum_j a[j] e^(s 2 pi i jk/n)
// with s the sign of direction.
void Transform(std::vector<Complex> &a, int32_t direction);

// The centred, unitary DFT of any length: equal to CentredRadix2 for a power
// of two up to rounding. Element n/2 (0-based) is the origin.
void CentredTransform(std::vector<Complex> &a, int32_t direction);

// Linear interpolation of a uniformly sampled complex vector onto m points
// spanning the same range (first and last samples kept).
std::vector<Complex> Resample(const Complex *a, int32_t n, int32_t m);

// ---- small numerical helpers ------------------------------------------------

// Unwraps a phase sequence in place: jumps above pi are taken as wraps.
void UnwrapInPlace(double *p, int32_t n);

// Weighted least-squares polynomial of the given degree through (x, y);
// coefficients from the constant term up. Falls back to zeros when the
// normal equations are singular.
std::vector<double> WeightedPolyFit(const std::vector<double> &x, const std::vector<double> &y,
                                    const std::vector<double> &w, int32_t degree);

// ---- the filter description file -------------------------------------------

struct FilterShape {
  enum Kind { kNone, kLowPass, kHighPass, kBandPass, kBandStop, kSuperGaussian } kind = kNone;
  double low = 0.0;     // lower edge (band filters) or cut-off (high-pass)
  double high = 0.0;    // upper edge (band filters) or cut-off (low-pass)
  double centre = 0.0;  // super-Gaussian centre
  double width = 0.0;   // super-Gaussian half width at 1/e
  int32_t order = 1;    // super-Gaussian order (1 is a Gaussian)
};

// Parses the text of a filter description. Unknown lines are skipped;
// anything that does not give a usable filter leaves kind at kNone.
FilterShape ParseFilterShape(const std::string &text);

// Gain of the filter at frequency f (1 for kNone).
double FilterGain(const FilterShape &shape, double f);

}  // namespace qvx::fourier
