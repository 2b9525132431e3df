// Reading the sizes of the toolkit's self-describing containers: a vector
// keeps its length in element 0, a matrix its column count in the header
// column and each column its own length. Damaged headers (negative, NaN,
// huge) read as empty or as the largest int32, never as a wild size.
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
inline int32_t LengthOf(const Complex *v) { return v ? LengthOf(&v[0].re) : 0; }
inline int32_t LengthOf(const int32_t *v) { return v && v[0] > 0 ? v[0] : 0; }

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

}  // namespace qvx
