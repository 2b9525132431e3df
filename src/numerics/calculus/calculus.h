// Private helpers shared by the calculus files of the toolkit (integration,
// ODE, differentiation, root finding).
//
// Containers are read through the toolkit's size readers
// (numerics/containers/container_access.h): a length cell that is NaN or
// negative reads as 0, and a 1D or 1DC data set is as long as the shorter of
// its two columns, so a malformed container shortens a loop but never sends
// it outside its blocks.
#pragma once

#include <cmath>
#include <cstdint>

#include "common/complex.h"
#include "libquorvex.h"
#include "numerics/containers/container_access.h"

namespace qvx::calculus {

using qvx::DivSmith;
using qvx::MulFour;
using qvx::MVLengthOf;

// The toolkit's short size readers; Rows is the shortest column, so that
// every m[j][1..rows] exists.
using qvx::Cols;
using qvx::Len;
using qvx::Rows;

// Number of points of a 1D / 1DC data set: 0 unless both columns exist.
inline int32_t Points(double *const *set) {
  if (Cols(set) < 2 || !set[1] || !set[2]) return 0;
  const int32_t a = Len(set[1]), b = Len(set[2]);
  return a < b ? a : b;
}
inline int32_t Points(Complex *const *set) {
  if (Cols(set) < 2 || !set[1] || !set[2]) return 0;
  const int32_t a = Len(set[1]), b = Len(set[2]);
  return a < b ? a : b;
}

inline Complex Cx(double re, double im) { return Complex{re, im}; }
inline Complex Add(Complex a, Complex b) { return Complex{a.re + b.re, a.im + b.im}; }
inline Complex Sub(Complex a, Complex b) { return Complex{a.re - b.re, a.im - b.im}; }
inline Complex Scale(Complex a, double s) { return Complex{a.re * s, a.im * s}; }
inline double Abs(Complex a) { return std::hypot(a.re, a.im); }

// Index in 1..n of the last element at or below x in an ascending sequence
// read through get(i); 0 when x lies below the first element, is NaN, or
// the sequence is empty.
template <class Get>
int32_t LastAtOrBelow(int32_t n, double x, Get get) {
  if (n <= 0 || std::isnan(x) || get(1) > x) return 0;
  int32_t lo = 1, hi = n;  // invariant: get(lo) <= x
  while (lo < hi) {
    const int32_t mid = lo + (hi - lo + 1) / 2;
    if (get(mid) <= x)
      lo = mid;
    else
      hi = mid - 1;
  }
  return lo;
}

// Second derivatives of the natural cubic spline through (x[i], y[i]),
// i = 0..n-1, into d2 (zero at both ends); scratch holds n doubles.
// Abscissas must increase strictly; equal neighbours give a zero slope.
void NaturalSplineSecondDerivatives(const double *x, const double *y, int32_t n, double *d2,
                                    double *scratch);
// Value at t of that spline on the interval [x[k], x[k+1]].
double SplineValue(const double *x, const double *y, const double *d2, int32_t k, double t);

// Nodes (ascending) and weights of the n-point Gauss-Legendre rule on
// [-1, 1], into x[0..n-1] and w[0..n-1].
void LegendreRule(int32_t n, double *x, double *w);

}  // namespace qvx::calculus
