// Containers: self-describing heap arrays that the whole toolkit passes around.
//
// Numeric vectors keep their length in element 0 and their data in 1..n.
// A matrix is an array of c + 1 pointers: pointer 0 leads to a one-element
// block holding c, pointers 1..c to columns, each a vector of its own, so
// m[j][i] is row i, column j. Text vectors are 0-based and end with an owned
// empty string. Guarded constructors never return null: a failed allocation
// gives a length-0 vector or a 1 by 1 zero matrix.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "common/boundary.h"
#include "libquorvex.h"

namespace {

// A size that would not fit the address range becomes a request that fails.
constexpr std::size_t kFailingRequest = 0xffffffffu;

std::size_t VectorBytes(int32_t n, std::size_t element) {
  if (n < 0) return kFailingRequest;
  return (static_cast<std::size_t>(n) + 1) * element;
}

// Column counts below -1 or above 0x3ffffffe cannot be allocated.
std::size_t PointerArrayBytes(int32_t cols) {
  if (cols < -1 || cols > 0x3ffffffe) return kFailingRequest;
  return (static_cast<std::size_t>(cols) + 1) * sizeof(void *);
}

template <class T>
T *RawVector(int32_t n) {
  if (n < 0) return nullptr;
  std::size_t bytes = VectorBytes(n, sizeof(T));
  if (bytes == kFailingRequest) return nullptr;
  return static_cast<T *>(std::malloc(bytes));
}

// Guarded vector: falls back to a valid vector of length 0.
template <class T>
T *GuardedVector(int32_t n, T length) {
  T *v = RawVector<T>(n);
  if (!v) {
    v = static_cast<T *>(std::malloc(sizeof(T)));
    if (!v) return nullptr;  // nothing left to fall back on
    v[0] = T{};
    return v;
  }
  v[0] = length;
  return v;
}

template <class T>
void FreeColumns(T **m, int32_t cols) {
  for (int32_t j = 0; j <= cols; ++j) std::free(m[j]);
  std::free(m);
}

template <class T>
T FromCount(int32_t n) {
  if constexpr (std::is_same_v<T, Complex>) return Complex{static_cast<double>(n), 0.0};
  else return static_cast<T>(n);
}

template <class T>
int32_t CountOf(const T *cell) {
  if constexpr (std::is_same_v<T, Complex>) return static_cast<int32_t>(cell[0].re);
  else return static_cast<int32_t>(cell[0]);
}

enum class OnFailure { kFault, kOneByOneZero, kNoColumns };

// Generic matrix builder: a header cell holding the column count and one
// separately allocated vector a column. Guarded forms check every column's
// length afterwards and fall back to a 1 by 1 zero matrix.
template <class T, class MakeColumn>
T **BuildMatrix(int32_t cols, int32_t rows, MakeColumn makeColumn, OnFailure onFailure) {
  std::size_t bytes = PointerArrayBytes(cols);
  T **m = bytes == kFailingRequest ? nullptr : static_cast<T **>(std::malloc(bytes));
  if (m && cols < 0) cols = 0;
  if (m) {
    m[0] = static_cast<T *>(std::malloc(sizeof(T)));
    if (!m[0]) {
      std::free(m);
      m = nullptr;
    }
  }
  if (!m) {
    if (onFailure == OnFailure::kOneByOneZero) {
      T **one = BuildMatrix<T>(1, 1, makeColumn, OnFailure::kFault);
      if (one && one[1] && CountOf(one[1]) == 1) one[1][1] = T{};
      return one;
    }
    if (onFailure == OnFailure::kNoColumns) return BuildMatrix<T>(0, rows, makeColumn, OnFailure::kFault);
    return nullptr;
  }
  m[0][0] = FromCount<T>(cols);
  for (int32_t j = 1; j <= cols; ++j) m[j] = makeColumn(rows);
  for (int32_t j = 1; j <= cols; ++j) {
    if (!m[j] || CountOf(m[j]) != (rows < 0 ? 0 : rows)) {
      FreeColumns(m, cols);
      if (onFailure == OnFailure::kOneByOneZero) {
        T **one = BuildMatrix<T>(1, 1, makeColumn, OnFailure::kFault);
        if (one && one[1] && CountOf(one[1]) == 1) one[1][1] = T{};
        return one;
      }
      return nullptr;
    }
  }
  return m;
}

}  // namespace

extern "C" {

QVX_API void Free(void *p) noexcept { std::free(p); }

QVX_API void FreeString(char *text) noexcept { qvx::WipeAndFree(text); }

QVX_API char *CopyS(const char *text) noexcept { return qvx::DupText(text); }

// ---- vectors -------------------------------------------------------------

QVX_API double *Vector(int32_t n) noexcept { return GuardedVector<double>(n, static_cast<double>(n)); }

QVX_API Complex *VectorC(int32_t n) noexcept {
  return GuardedVector<Complex>(n, Complex{static_cast<double>(n), 0.0});
}

QVX_API int32_t *VectorL(int32_t n) noexcept { return GuardedVector<int32_t>(n, n); }

QVX_API int32_t *VectorI(int32_t n) noexcept {
  int32_t *v = RawVector<int32_t>(n);
  if (v) v[0] = n;
  return v;
}

QVX_API float *VectorF(int32_t n) noexcept {
  float *v = RawVector<float>(n);
  if (v) v[0] = static_cast<float>(n);
  return v;
}

QVX_API uint32_t *VectorUInt32(int32_t n) noexcept {
  uint32_t *v = RawVector<uint32_t>(n);
  if (v) v[0] = static_cast<uint32_t>(n);
  return v;
}

QVX_API double *Vector0(int32_t n) noexcept {
  double *v = RawVector<double>(n);
  if (!v) return nullptr;
  v[0] = n;
  for (int32_t i = 1; i <= n; ++i) v[i] = 0.0;
  return v;
}

QVX_API Complex *Vector0C(int32_t n) noexcept {
  Complex *v = VectorC(n);
  if (!v) return v;
  int32_t len = static_cast<int32_t>(v[0].re);
  for (int32_t i = 1; i <= len; ++i) v[i] = Complex{0.0, 0.0};
  return v;
}

QVX_API int32_t *Vector0L(int32_t n) noexcept {
  int32_t *v = VectorL(n);
  if (!v) return v;
  for (int32_t i = 1; i <= v[0]; ++i) v[i] = 0;
  return v;
}

QVX_API void FreeVector(double *v) noexcept { std::free(v); }
QVX_API void FreeVectorC(Complex *v) noexcept { std::free(v); }
QVX_API void FreeVectorL(int32_t *v) noexcept { std::free(v); }

// ---- matrices ------------------------------------------------------------

QVX_API double **Matrix(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<double>(cols, rows, Vector, OnFailure::kOneByOneZero);
}
QVX_API Complex **MatrixC(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<Complex>(cols, rows, VectorC, OnFailure::kOneByOneZero);
}
QVX_API int32_t **MatrixL(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<int32_t>(cols, rows, VectorL, OnFailure::kOneByOneZero);
}
QVX_API int32_t **MatrixI(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<int32_t>(cols, rows, VectorI, OnFailure::kFault);
}
QVX_API float **MatrixF(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<float>(cols, rows, VectorF, OnFailure::kFault);
}
QVX_API uint32_t **MatrixUInt32(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<uint32_t>(cols, rows, VectorUInt32, OnFailure::kFault);
}
QVX_API double **Matrix0(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<double>(cols, rows, Vector0, OnFailure::kNoColumns);
}
QVX_API Complex **Matrix0C(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<Complex>(cols, rows, Vector0C, OnFailure::kNoColumns);
}
QVX_API int32_t **Matrix0L(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<int32_t>(cols, rows, Vector0L, OnFailure::kOneByOneZero);
}

QVX_API void FreeMatrix(double **m) noexcept {
  if (!m) return;
  FreeColumns(m, m[0] ? static_cast<int32_t>(m[0][0]) : -1);
}
QVX_API void FreeMatrixC(Complex **m) noexcept {
  if (!m) return;
  FreeColumns(m, m[0] ? static_cast<int32_t>(m[0][0].re) : -1);
}
QVX_API void FreeMatrixF(float **m) noexcept {
  if (!m) return;
  FreeColumns(m, m[0] ? static_cast<int32_t>(m[0][0]) : -1);
}
QVX_API void FreeMatrixI(int32_t **m) noexcept {
  if (!m) return;
  FreeColumns(m, m[0] ? m[0][0] : -1);
}
QVX_API void FreeMatrixL(int32_t **m) noexcept { FreeMatrixI(m); }
QVX_API void FreeMatrixUInt32(uint32_t **m) noexcept {
  if (!m) return;
  FreeColumns(m, m[0] ? static_cast<int32_t>(m[0][0]) : -1);
}

// ---- text vectors --------------------------------------------------------

// n strings "0" and the empty terminator at n, so the length scans right.
QVX_API char **StringVector(int32_t n) noexcept {
  if (n < 0) n = 0;
  char **v = static_cast<char **>(std::malloc((static_cast<std::size_t>(n) + 1) * sizeof(char *)));
  if (!v) return nullptr;
  for (int32_t i = 0; i < n; ++i) v[i] = qvx::DupText("0", 1);
  v[n] = qvx::DupText("", 0);
  return v;
}

QVX_API char **StringVectorNULL(int32_t n) noexcept {
  if (n < 0) n = 0;
  char **v = static_cast<char **>(std::malloc((static_cast<std::size_t>(n) + 1) * sizeof(char *)));
  if (!v) return nullptr;
  for (int32_t i = 0; i < n; ++i) v[i] = nullptr;
  v[n] = qvx::DupText("", 0);
  return v;
}

QVX_API int32_t StringVectorLength(char **v) noexcept {
  if (!v) return 0;
  int32_t n = 0;
  while (v[n] && v[n][0] != '\0') ++n;
  return n;
}

// Wipes every string, the terminator included, before freeing.
QVX_API void FreeStringVector(char **v) noexcept {
  if (!v) return;
  int32_t n = StringVectorLength(v);
  for (int32_t i = 0; i <= n; ++i) qvx::WipeAndFree(v[i]);
  std::free(v);
}

}  // extern "C"
