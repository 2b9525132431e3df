// Private helpers of the interpolation and sampling files.
//
// Inputs are read through the defensive size readers of calculus.h: a
// damaged length cell reads as 0 and a data set is as long as its shorter
// column. Every constructor here checks the shape it got back, because the
// guarded container constructors fall back silently (a vector of length 0,
// a 1 by 1 matrix) when memory runs out; the helpers then hand out the
// empty result of the same kind instead, so that no caller writes past a
// fall-back block.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "libquorvex.h"
#include "numerics/calculus/calculus.h"

namespace qvx::interp {

using qvx::Cols;
using qvx::Len;
using calculus::Points;
using qvx::Rows;

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kPi = 3.141592653589793;

// Largest number of elements any result of these families is allowed to
// have; larger requests give the empty result.
inline constexpr int64_t kMaxElements = int64_t{1} << 28;

double *NewVector(int32_t n);    // Vector(n), or Vector(0) when n is bad or memory fails
Complex *NewVectorC(int32_t n);  // likewise
double **NewMatrix(int32_t cols, int32_t rows);     // Matrix(0, 0) on failure
Complex **NewMatrixC(int32_t cols, int32_t rows);   // MatrixC(0, 0) on failure
int32_t **NewMatrixL(int32_t cols, int32_t rows);   // MatrixL(0, 0) on failure
double **NewSet(int32_t n);      // Matrix(2, n); the empty set (2 columns, 0 rows) on failure
Complex **NewSetC(int32_t n);
// A 2D set (MatrixVector2D) of nx by ny, or the empty 0 by 0 one.
double ***NewSet2D(int32_t nx, int32_t ny);
// The complex 2D set: a MatrixVectorC of 3 (values, abscissas in the real
// parts, ordinates likewise), or the empty one.
Complex ***NewSet2DC(int32_t nx, int32_t ny);

// Sizes of a 2D set: 0 unless all three matrices are there and agree.
bool Set2DSizes(double ***set, int32_t *nx, int32_t *ny);

// The i-th (1-based) of n points spread evenly from x1 to x2; the last is x2
// exactly, and a single point is x1.
inline double GridPoint(double x1, double x2, int32_t n, int32_t i) {
  if (n <= 1) return x1;
  if (i == n) return x2;
  return x1 + (i - 1) * ((x2 - x1) / (n - 1));
}

// Index k in 0..n-2 of the interval [x[k], x[k+1]] used for t among the
// ascending 0-based abscissas x (n >= 2): the end intervals cover
// everything outside.
int32_t IntervalOf(const double *x, int32_t n, double t);

// IntervalOf starting from a guess: when queries ascend, the interval of
// the previous one or its successor is usually right, which spares the
// binary search. *hint is updated.
inline int32_t IntervalNear(const double *x, int32_t n, double t, int32_t *hint) {
  int32_t k = *hint;
  if (k >= 0 && k <= n - 2 && !(t < x[k])) {
    if (k == n - 2 || t < x[k + 1]) return k;
    if (k + 1 == n - 2 || t < x[k + 2]) return *hint = k + 1;
  }
  return *hint = IntervalOf(x, n, t);
}

// Straight-line value at t of the 0-based samples (x, y); the end segments
// extend beyond the abscissas. One sample gives its value everywhere.
double LinearAt(const double *x, const double *y, int32_t n, double t);
double LinearAtNear(const double *x, const double *y, int32_t n, double t, int32_t *hint);

}  // namespace qvx::interp
