// Shared helpers of the container utilities (vectorutils.cpp,
// matrixutils.cpp, statistics.cpp): one set of templates over the element
// types of the toolkit's containers, so that the real, complex, integer,
// float and unsigned members of a family are one body each.
//
// Read first: numeric containers are 1-based with the length in element 0;
// a matrix m[j][i] is column j, row i. Lengths are read clamped (a NaN or
// negative length reads as 0) and the row count of a matrix is that of its
// shortest column, so a damaged container shortens a loop but never sends
// it out of bounds. New containers come from the exported constructors, so
// they are freed by the matching Free... call.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <utility>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/containers/container_access.h"

namespace qvx::vu {

// ---- lengths ---------------------------------------------------------------

// The toolkit's short size readers (container_access.h); Rows is the
// shortest column, so a ragged matrix never leads past the end of a column.
using qvx::Cols;
using qvx::Len;
using qvx::Rows;

// MatrixVector (and VectorMatrix): mv[0][0][0] holds the count.
template <class T>
inline int32_t MVLen(T *const *const *mv) {
  return MVLengthOf(mv);
}

// ---- construction through the exported constructors ----------------------

template <class T>
struct Kind;
template <>
struct Kind<double> {
  static double *Vec(int32_t n) { return Vector(n); }
  static double **Mat(int32_t c, int32_t r) { return Matrix(c, r); }
  static void FreeMat(double **m) { FreeMatrix(m); }
};
template <>
struct Kind<Complex> {
  static Complex *Vec(int32_t n) { return VectorC(n); }
  static Complex **Mat(int32_t c, int32_t r) { return MatrixC(c, r); }
  static void FreeMat(Complex **m) { FreeMatrixC(m); }
};
template <>
struct Kind<int32_t> {
  static int32_t *Vec(int32_t n) { return VectorL(n); }
  static int32_t **Mat(int32_t c, int32_t r) { return MatrixL(c, r); }
  static void FreeMat(int32_t **m) { FreeMatrixL(m); }
};
template <>
struct Kind<float> {
  static float *Vec(int32_t n) { return VectorF(n); }
  static float **Mat(int32_t c, int32_t r) { return MatrixF(c, r); }
  static void FreeMat(float **m) { FreeMatrixF(m); }
};
template <>
struct Kind<uint32_t> {
  static uint32_t *Vec(int32_t n) { return VectorUInt32(n); }
  static uint32_t **Mat(int32_t c, int32_t r) { return MatrixUInt32(c, r); }
  static void FreeMat(uint32_t **m) { FreeMatrixUInt32(m); }
};

// A matrix whose shape is what was asked for (the guarded constructors may
// fall back to 1 by 1); null when it could not be had.
template <class T>
T **NewMat(int32_t c, int32_t r) {
  if (c < 0) c = 0;
  if (r < 0) r = 0;
  T **m = Kind<T>::Mat(c, r);
  if (m && (Cols(m) != c || (c > 0 && Rows(m) != r))) {
    Kind<T>::FreeMat(m);
    return nullptr;
  }
  return m;
}
template <class T>
T **NewMat0(int32_t c, int32_t r) {
  T **m = NewMat<T>(c, r);
  if (m)
    for (int32_t j = 1; j <= c; ++j)
      for (int32_t i = 1; i <= r; ++i) m[j][i] = T{};
  return m;
}
// The fall-back of a function that returns a matrix: 1 by 1 holding zero
// (for the types without a guarded constructor, possibly null).
template <class T>
T **Fallback() {
  T **m = NewMat0<T>(1, 1);
  return m ? m : Kind<T>::Mat(1, 1);
}
template <class T>
T **OrFallback(T **m) {
  return m ? m : Fallback<T>();
}
// A vector of length n, or one of length 0 when n can't be had.
template <class T>
T *NewVec(int32_t n) {
  if (n < 0) n = 0;
  T *v = Kind<T>::Vec(n);
  if (v && Len(v) != n) {
    std::free(v);
    v = Kind<T>::Vec(0);
  }
  return v;
}

template <class T>
T *CopyVec(const T *v) {
  int32_t n = Len(v);
  T *out = NewVec<T>(n);
  if (out && Len(out) == n)
    for (int32_t i = 1; i <= n; ++i) out[i] = v[i];
  return out;
}
template <class T>
T **CopyMat(T *const *m) {
  int32_t c = Cols(m), r = Rows(m);
  T **out = NewMat<T>(c, r);
  if (!out) return Fallback<T>();
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) out[j][i] = m[j][i];
  return out;
}

// ---- element traits ------------------------------------------------------

inline bool IsNaN(double x) { return std::isnan(x); }
inline bool IsNaN(float x) { return std::isnan(x); }
inline bool IsNaN(const Complex &z) { return std::isnan(z.re) || std::isnan(z.im); }
template <class T>
bool IsNaN(const T &) {
  return false;
}

inline bool Same(double a, double b) { return a == b; }
inline bool Same(float a, float b) { return a == b; }
inline bool Same(const Complex &a, const Complex &b) { return a.re == b.re && a.im == b.im; }
inline bool Same(int32_t a, int32_t b) { return a == b; }
inline bool Same(uint32_t a, uint32_t b) { return a == b; }

// A strict weak order for sorting: NaN after every number (plain < on NaN
// would break std::sort), complex numbers by real part, then imaginary.
inline bool Less(double a, double b) { return a < b || (!std::isnan(a) && std::isnan(b)); }
inline bool Less(float a, float b) { return a < b || (!std::isnan(a) && std::isnan(b)); }
inline bool Less(int32_t a, int32_t b) { return a < b; }
inline bool Less(uint32_t a, uint32_t b) { return a < b; }
inline bool Less(const Complex &a, const Complex &b) {
  if (Less(a.re, b.re)) return true;
  if (Less(b.re, a.re)) return false;
  return Less(a.im, b.im);
}

inline double Magnitude(double x) { return std::fabs(x); }
inline double Magnitude(const Complex &z) { return AbsC(z.re, z.im); }

// Clamps a window [i1, i2] of positions to [1, n], ordering its ends.
inline bool Window(int32_t n, int32_t &i1, int32_t &i2) {
  if (i1 > i2) std::swap(i1, i2);
  if (i1 < 1) i1 = 1;
  if (i2 > n) i2 = n;
  return i1 <= i2;
}

// ---- std::vector bridges ---------------------------------------------------

template <class T>
std::vector<T> ToStd(const T *v) {
  int32_t n = Len(v);
  return n ? std::vector<T>(v + 1, v + 1 + n) : std::vector<T>();
}
// A new container holding x; length 0 when it could not be had.
template <class T>
T *FromStd(const std::vector<T> &x) {
  const int32_t n = x.size() > static_cast<std::size_t>(INT32_MAX - 1) ? -1 : static_cast<int32_t>(x.size());
  T *out = NewVec<T>(n);
  if (out && Len(out) == n)
    for (int32_t i = 0; i < n; ++i) out[i + 1] = x[static_cast<std::size_t>(i)];
  return out;
}

// Exception barriers of the exports that return a new container: a throw
// (std::bad_alloc) gives the fall-back container of the type.
template <class T, class F>
T *GuardVec(F &&body) noexcept {
  try {
    return body();
  } catch (...) {
    return NewVec<T>(0);
  }
}
template <class T, class F>
T **GuardMat(F &&body) noexcept {
  try {
    return body();
  } catch (...) {
    return Fallback<T>();
  }
}

// Equality for searches: NaN matches NaN, so a NaN can be found and removed.
template <class T>
bool Matches(const T &a, const T &b) {
  return Same(a, b) || (IsNaN(a) && IsNaN(b));
}

}  // namespace qvx::vu
