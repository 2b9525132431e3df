// Shared helpers of the linear algebra files (linalg.cpp, linalg_eigen.cpp).
//
// The public containers are arrays of separately allocated 1-based columns:
// m[j][i] is row i, column j. The heavy routines copy a matrix into one
// contiguous 0-based row-major block (DenseRows) so that the inner loops run
// over consecutive memory, and copy the result back at the end.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <vector>

#include "libquorvex.h"
#include "numerics/containers/container_access.h"
#include "numerics/linalg/linalg.h"

namespace qvx::la {

using cplx = std::complex<double>;

using qvx::ColsOf;
using qvx::LengthOf;
using qvx::RowsOf;

template <class T>
inline bool IsSquare(T *const *m, int32_t &n) {
  n = ColsOf(m);
  return n > 0 && RowsOf(m) == n;
}

// Row-major 0-based copy: d[i * cols + j] = m[j + 1][i + 1].
template <class T, class U>
inline void ToRows(T *const *m, int32_t rows, int32_t cols, std::vector<U> &d) {
  d.assign(static_cast<size_t>(rows) * cols, U());
  for (int32_t j = 0; j < cols; ++j) {
    const T *col = m[j + 1];
    for (int32_t i = 0; i < rows; ++i) d[static_cast<size_t>(i) * cols + j] = U(col[i + 1]);
  }
}
inline void ToRowsC(Complex *const *m, int32_t rows, int32_t cols, std::vector<cplx> &d) {
  d.assign(static_cast<size_t>(rows) * cols, cplx());
  for (int32_t j = 0; j < cols; ++j) {
    const Complex *col = m[j + 1];
    for (int32_t i = 0; i < rows; ++i)
      d[static_cast<size_t>(i) * cols + j] = cplx(col[i + 1].re, col[i + 1].im);
  }
}
template <class T, class U>
inline void FromRows(const std::vector<U> &d, int32_t rows, int32_t cols, T **m) {
  for (int32_t j = 0; j < cols; ++j) {
    T *col = m[j + 1];
    for (int32_t i = 0; i < rows; ++i) col[i + 1] = T(d[static_cast<size_t>(i) * cols + j]);
  }
}
inline void FromRowsC(const std::vector<cplx> &d, int32_t rows, int32_t cols, Complex **m) {
  for (int32_t j = 0; j < cols; ++j) {
    Complex *col = m[j + 1];
    for (int32_t i = 0; i < rows; ++i) {
      const cplx &z = d[static_cast<size_t>(i) * cols + j];
      col[i + 1] = Complex{z.real(), z.imag()};
    }
  }
}

inline Complex ToC(cplx z) { return Complex{z.real(), z.imag()}; }
inline cplx FromC(Complex z) { return cplx(z.re, z.im); }

// Fall-back results for inputs whose shapes do not fit: the same containers
// a failed allocation gives, so callers need no extra test.
inline double **BadMatrix() { return Matrix0(1, 1); }
inline Complex **BadMatrixC() { return Matrix0C(1, 1); }

}  // namespace qvx::la
