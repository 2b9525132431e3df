// Reading the sizes of the toolkit's self-describing containers: a vector
// keeps its length in element 0, a matrix its column count in the header
// column and each column its own length, a MatrixVector its count in
// mv[0][0][0]. Damaged headers (negative, NaN, huge) read as empty or as the
// largest int32, never as a wild size. Every size reader of the toolkit
// goes through these, so there is one rule and one cap.
#pragma once

#include <cstdint>

#include "libquorvex.h"

namespace qvx {

inline int32_t LengthOf(const double *v) {
  if (!v) return 0;
  double x = v[0];
  if (!(x > 0.0)) return 0;
  if (x >= 2147483647.0) return INT32_MAX;
  return static_cast<int32_t>(x);
}
inline int32_t LengthOf(const float *v) {
  if (!v) return 0;
  const double x = v[0];
  return LengthOf(&x);
}
inline int32_t LengthOf(const Complex *v) { return v ? LengthOf(&v[0].re) : 0; }
inline int32_t LengthOf(const int32_t *v) { return v && v[0] > 0 ? v[0] : 0; }
inline int32_t LengthOf(const uint32_t *v) {
  return v ? (v[0] > INT32_MAX ? INT32_MAX : static_cast<int32_t>(v[0])) : 0;
}

// Column count from the header block; row count as the shortest column, so
// a ragged matrix never leads past the end of a column.
template <class T>
inline int32_t ColsOf(T *const *m) {
  return m ? LengthOf(static_cast<const T *>(m[0])) : 0;
}
template <class T>
inline int32_t RowsOf(T *const *m) {
  int32_t c = ColsOf(m);
  if (c == 0) return 0;
  int32_t r = LengthOf(static_cast<const T *>(m[1]));
  for (int32_t j = 2; j <= c && r > 0; ++j) {
    int32_t k = LengthOf(static_cast<const T *>(m[j]));
    if (k < r) r = k;
  }
  return r;
}

// Short names for the readers above, for code that reads many sizes.
template <class T>
inline int32_t Len(const T *v) {
  return LengthOf(v);
}
template <class T>
inline int32_t Cols(T *const *m) {
  return ColsOf(m);
}
template <class T>
inline int32_t Rows(T *const *m) {
  return RowsOf(m);
}

// Number of matrices of a MatrixVector (or of a VectorMatrix).
template <class T>
inline int32_t MVLengthOf(T *const *const *mv) {
  return mv && mv[0] ? LengthOf(static_cast<const T *>(mv[0][0])) : 0;
}

}  // namespace qvx
