// Containers: self-describing heap arrays that the whole toolkit passes around.
//
// Numeric vectors keep their length in element 0 and their data in 1..n.
// A matrix is an array of c + 1 pointers: pointer 0 leads to a one-element
// block holding c, pointers 1..c to columns, each a vector of its own, so
// m[j][i] is row i, column j. A MatrixVector adds one more level of header
// (mv[0][0][0] is its length); a VectorMatrix is a MatrixVector whose
// elements are matrices of vectors. Text vectors are 0-based and end with an
// owned empty string; a StringMatrix is a 0-based array of them ending with a
// one-pointer block that leads to an empty string.
//
// Guarded constructors never return null: a failed allocation gives a
// length-0 vector or a 1 by 1 zero matrix. The unguarded ones (suffix I, F,
// UInt32, and the zero-filled Vector0) return null instead of faulting.
// Lengths read back from a container are clamped to [0, INT32_MAX], so a
// corrupted or NaN length cell can shorten a loop but never run it wild.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/containers/container_access.h"

namespace {

// ---- lengths -------------------------------------------------------------

using qvx::ColsOf;
using qvx::LengthOf;

template <class T>
T FromCount(int32_t n) {
  if constexpr (std::is_same_v<T, Complex>) return Complex{static_cast<double>(n), 0.0};
  else return static_cast<T>(n);
}

// ---- vectors -------------------------------------------------------------

// n + 1 elements; null for a negative n or a failed allocation.
template <class T>
T *RawVector(int32_t n) {
  if (n < 0) return nullptr;
  T *v = static_cast<T *>(std::malloc((static_cast<std::size_t>(n) + 1) * sizeof(T)));
  if (v) v[0] = FromCount<T>(n);
  return v;
}

// Guarded vector: falls back to a valid vector of length 0.
template <class T>
T *GuardedVector(int32_t n) {
  T *v = RawVector<T>(n);
  return v ? v : RawVector<T>(0);
}

template <class T>
void ZeroData(T *v) {
  int32_t n = LengthOf(v);
  for (int32_t i = 1; i <= n; ++i) v[i] = T{};
}

template <class T>
T *ZeroVector(int32_t n, bool guarded) {
  T *v = guarded ? GuardedVector<T>(n) : RawVector<T>(n);
  if (v) ZeroData(v);
  return v;
}

// Stores the k values of a small constructor when the vector really has
// room for them (it may be the length-0 fall-back).
template <class T, class... Args>
T *SmallVector(Args... values) {
  constexpr int32_t k = sizeof...(Args);
  T *v = GuardedVector<T>(k);
  if (v && LengthOf(v) == k) {
    T data[] = {static_cast<T>(values)...};
    for (int32_t i = 0; i < k; ++i) v[i + 1] = data[i];
  }
  return v;
}

template <class T>
T *CopyVectorT(const T *v, bool guarded) {
  int32_t n = LengthOf(v);
  T *out = guarded ? GuardedVector<T>(n) : RawVector<T>(n);
  if (!out || LengthOf(out) != n) return out;
  if (n) std::memcpy(out + 1, v + 1, static_cast<std::size_t>(n) * sizeof(T));
  return out;
}

// In-place copy of the common length: a destination of matching shape gets
// every element; a mismatched one is neither overrun nor over-read.
template <class T>
void CopyInto(T *destination, const T *source) {
  if (!destination || !source) return;
  int32_t n = LengthOf(source);
  int32_t room = LengthOf(destination);
  if (room < n) n = room;
  if (n) std::memmove(destination + 1, source + 1, static_cast<std::size_t>(n) * sizeof(T));
}

// ---- matrices ------------------------------------------------------------

enum class OnFailure { kNull, kOneByOneZero, kNoColumns };

template <class T>
void FreeColumns(T **m, int32_t cols) {
  for (int32_t j = 0; j <= cols; ++j) std::free(m[j]);
  std::free(m);
}

template <class T>
void FreeMatrixT(T **m) {
  if (!m) return;
  FreeColumns(m, ColsOf(m));
}

// Column counts below -1 or above 0x3ffffffe cannot be sized; -1 makes a
// matrix without columns.
bool ColumnCountFits(int32_t cols) { return cols >= -1 && cols <= 0x3ffffffe; }

// The header alone: the pointer array and the block holding cols. Slots
// 1..cols are set to null.
template <class T>
T **MatrixHeader(int32_t cols) {
  if (!ColumnCountFits(cols)) return nullptr;
  if (cols < 0) cols = 0;
  T **m = static_cast<T **>(std::malloc((static_cast<std::size_t>(cols) + 1) * sizeof(T *)));
  if (!m) return nullptr;
  m[0] = RawVector<T>(0);
  if (!m[0]) {
    std::free(m);
    return nullptr;
  }
  m[0][0] = FromCount<T>(cols);
  for (int32_t j = 1; j <= cols; ++j) m[j] = nullptr;
  return m;
}

template <class T>
T **Fallback(OnFailure onFailure) {
  if (onFailure == OnFailure::kNoColumns) return MatrixHeader<T>(0);
  if (onFailure != OnFailure::kOneByOneZero) return nullptr;
  T **one = MatrixHeader<T>(1);
  if (!one) return nullptr;
  one[1] = RawVector<T>(1);
  if (!one[1]) {
    FreeMatrixT(one);
    return nullptr;
  }
  one[1][1] = T{};
  return one;
}

// Every column is made by makeColumn(rows); afterwards each length is
// compared with the request, and any difference (a column that failed and
// fell back to length 0, or a null one) drops the whole matrix for the
// fall-back of its kind.
template <class T, class MakeColumn>
T **BuildMatrix(int32_t cols, int32_t rows, MakeColumn makeColumn, OnFailure onFailure) {
  T **m = MatrixHeader<T>(cols);
  if (!m) return Fallback<T>(onFailure);
  int32_t c = ColsOf(m);
  int32_t want = rows < 0 ? 0 : rows;
  bool ok = true;
  for (int32_t j = 1; j <= c && ok; ++j) {
    m[j] = makeColumn(rows);
    ok = m[j] && LengthOf(m[j]) == want;
  }
  if (ok) return m;
  FreeColumns(m, c);
  return Fallback<T>(onFailure);
}

template <class T>
T **CopyMatrixT(T *const *m, OnFailure onFailure) {
  if (!m) return Fallback<T>(onFailure);
  int32_t c = ColsOf(m);
  T **out = MatrixHeader<T>(c);
  if (!out) return Fallback<T>(onFailure);
  for (int32_t j = 1; j <= c; ++j) {
    int32_t r = LengthOf(m[j]);
    out[j] = CopyVectorT<T>(m[j], false);
    if (!out[j] || LengthOf(out[j]) != r) {
      FreeColumns(out, c);
      return Fallback<T>(onFailure);
    }
  }
  return out;
}

template <class T>
void CopyMatrixInto(T **destination, T *const *source) {
  if (!destination || !source) return;
  int32_t c = ColsOf(source), room = ColsOf(destination);
  if (room < c) c = room;
  for (int32_t j = 1; j <= c; ++j) CopyInto(destination[j], source[j]);
}

// A one-column matrix holding a copy of v.
template <class T>
T **MatrixOfVector(const T *v) {
  int32_t n = LengthOf(v);
  T **m = BuildMatrix<T>(1, n, GuardedVector<T>, OnFailure::kOneByOneZero);
  if (m && LengthOf(m[1]) == n) CopyInto(m[1], v);
  return m;
}

// ---- matrix vectors ------------------------------------------------------
//
// mv[0] is a one-pointer block leading to a one-element block holding n;
// slots 1..n hold matrices.

template <class T>
T ***MatrixVectorT(int32_t n) {
  if (n < 0) return nullptr;
  T ***mv = static_cast<T ***>(std::malloc((static_cast<std::size_t>(n) + 1) * sizeof(T **)));
  if (!mv) return nullptr;
  mv[0] = static_cast<T **>(std::malloc(sizeof(T *)));
  if (!mv[0] || !(mv[0][0] = RawVector<T>(0))) {
    std::free(mv[0]);
    std::free(mv);
    return nullptr;
  }
  mv[0][0][0] = FromCount<T>(n);
  for (int32_t t = 1; t <= n; ++t) mv[t] = nullptr;
  return mv;
}

template <class T>
int32_t MatrixVectorLength(T *const *const *mv) {
  return qvx::MVLengthOf(mv);
}

template <class T>
void FreeMatrixVectorT(T ***mv) {
  if (!mv) return;
  int32_t n = MatrixVectorLength(mv);
  for (int32_t t = 1; t <= n; ++t) FreeMatrixT(mv[t]);
  if (mv[0]) std::free(mv[0][0]);
  std::free(mv[0]);
  std::free(mv);
}

template <class T>
T ***CopyMatrixVectorT(T *const *const *mv, OnFailure kind) {
  int32_t n = MatrixVectorLength(mv);
  T ***out = MatrixVectorT<T>(n);
  if (!out) return nullptr;
  for (int32_t t = 1; t <= n; ++t)
    if (mv[t]) out[t] = CopyMatrixT<T>(mv[t], kind);
  return out;
}

// A VectorMatrix(m, n, k): the MatrixVector header over m elements, each a
// matrix of n columns (vectors) of length k.
template <class T>
T ***VectorMatrixT(int32_t m, int32_t n, int32_t k, bool zero) {
  T ***vm = MatrixVectorT<T>(m);
  if (!vm) return nullptr;
  auto column = zero ? +[](int32_t r) { return ZeroVector<T>(r, false); } : RawVector<T>;
  for (int32_t a = 1; a <= m; ++a) {
    vm[a] = BuildMatrix<T>(n, k, column, OnFailure::kNull);
    if (!vm[a]) {
      FreeMatrixVectorT(vm);
      return nullptr;
    }
  }
  return vm;
}

// Element (j, i) of matrix t becomes element t of vector (j, i).
template <class T>
T ***ConvertMVVMT(T *const *const *mv) {
  int32_t n = MatrixVectorLength(mv);
  int32_t c = n ? ColsOf(mv[1]) : 0;
  int32_t r = c ? LengthOf(mv[1][1]) : 0;
  T ***vm = VectorMatrixT<T>(c, r, n, true);
  if (!vm) return nullptr;
  for (int32_t t = 1; t <= n; ++t) {
    T *const *source = mv[t];
    int32_t sc = ColsOf(source);
    for (int32_t j = 1; j <= c && j <= sc; ++j) {
      int32_t sr = LengthOf(source[j]);
      for (int32_t i = 1; i <= r && i <= sr; ++i) vm[j][i][t] = source[j][i];
    }
  }
  return vm;
}

// Element t of vector (a, b) becomes element (a, b) of matrix t.
template <class T>
T ***ConvertVMMVT(T *const *const *vm) {
  int32_t m = MatrixVectorLength(vm);
  int32_t n = m ? ColsOf(vm[1]) : 0;
  int32_t k = n ? LengthOf(vm[1][1]) : 0;
  T ***mv = MatrixVectorT<T>(k);
  if (!mv) return nullptr;
  for (int32_t t = 1; t <= k; ++t) {
    mv[t] = BuildMatrix<T>(m, n, [](int32_t r) { return ZeroVector<T>(r, false); }, OnFailure::kNull);
    if (!mv[t]) {
      FreeMatrixVectorT(mv);
      return nullptr;
    }
  }
  for (int32_t a = 1; a <= m; ++a) {
    int32_t sn = ColsOf(vm[a]);
    for (int32_t b = 1; b <= n && b <= sn; ++b) {
      int32_t sk = LengthOf(vm[a][b]);
      for (int32_t t = 1; t <= k && t <= sk; ++t) mv[t][a][b] = vm[a][b][t];
    }
  }
  return mv;
}

// ---- comparisons ---------------------------------------------------------

// Equal when hypot(x, y) is 0 or the difference is at most 1e-15 of it.
bool NearlyEqual(double x, double y) {
  double h = std::hypot(x, y);
  return h == 0.0 || std::fabs(x - y) / h <= 1e-15;
}

template <class T>
bool SameElement(T x, T y) {
  if constexpr (std::is_same_v<T, Complex>) return NearlyEqual(x.re, y.re) && NearlyEqual(x.im, y.im);
  else if constexpr (std::is_floating_point_v<T>) return NearlyEqual(x, y);
  else return x == y;
}

// The length comes from the first argument; a second one that is shorter
// cannot match it.
template <class T>
int32_t EqualVectorsT(const T *a, const T *b) {
  if (!a || !b) return a == b;
  int32_t n = LengthOf(a);
  if (LengthOf(b) < n) return 0;
  for (int32_t i = 1; i <= n; ++i)
    if (!SameElement(a[i], b[i])) return 0;
  return 1;
}

template <class T>
int32_t EqualMatricesT(T *const *a, T *const *b) {
  if (!a || !b) return a == b;
  int32_t c = ColsOf(a);
  if (ColsOf(b) < c) return 0;
  for (int32_t j = 1; j <= c; ++j)
    if (!EqualVectorsT<T>(a[j], b[j])) return 0;
  return 1;
}

// ---- text ----------------------------------------------------------------

char **NewStringArray(int32_t n) {
  if (n < 0) n = 0;
  return static_cast<char **>(std::malloc((static_cast<std::size_t>(n) + 1) * sizeof(char *)));
}

// A one-pointer block leading to an owned empty string.
char **EmptyStringVector() {
  char **v = NewStringArray(0);
  if (!v) return nullptr;
  v[0] = qvx::DupText("", 0);
  if (!v[0]) {
    std::free(v);
    return nullptr;
  }
  return v;
}

// A real matrix of the shape of m (rows from column 1) holding part(z).
template <class F>
double **RealFormOfMatrix(Complex **m, F part) {
  int32_t c = ColsOf(m);
  int32_t r = c ? LengthOf(m[1]) : 0;
  double **out = Matrix(c, r);
  if (ColsOf(out) != c) return out;
  for (int32_t j = 1; j <= c; ++j) {
    int32_t rows = LengthOf(m[j]) < r ? LengthOf(m[j]) : r;
    for (int32_t i = 1; i <= r; ++i) out[j][i] = i <= rows ? part(m[j][i]) : 0.0;
  }
  return out;
}

}  // namespace

extern "C" {

QVX_API void Free(void *p) noexcept { std::free(p); }

QVX_API void FreeString(char *text) noexcept { qvx::WipeAndFree(text); }

QVX_API char *CopyS(const char *text) noexcept { return qvx::DupText(text); }

// ---- vectors -------------------------------------------------------------

QVX_API double *Vector(int32_t n) noexcept { return GuardedVector<double>(n); }
QVX_API Complex *VectorC(int32_t n) noexcept { return GuardedVector<Complex>(n); }
QVX_API int32_t *VectorL(int32_t n) noexcept { return GuardedVector<int32_t>(n); }
QVX_API int32_t *VectorI(int32_t n) noexcept { return RawVector<int32_t>(n); }
QVX_API float *VectorF(int32_t n) noexcept { return RawVector<float>(n); }
QVX_API uint32_t *VectorUInt32(int32_t n) noexcept { return RawVector<uint32_t>(n); }
QVX_API double *Vector0(int32_t n) noexcept { return ZeroVector<double>(n, false); }
QVX_API Complex *Vector0C(int32_t n) noexcept { return ZeroVector<Complex>(n, true); }
QVX_API int32_t *Vector0L(int32_t n) noexcept { return ZeroVector<int32_t>(n, true); }

QVX_API double *VectorS(double x) noexcept { return SmallVector<double>(x); }
QVX_API int32_t *Vector1L(int32_t i) noexcept { return SmallVector<int32_t>(i); }
QVX_API double *Vector2(double x, double y) noexcept { return SmallVector<double>(x, y); }
QVX_API double *Vector3(double x, double y, double z) noexcept { return SmallVector<double>(x, y, z); }
QVX_API int32_t *Vector3L(int32_t i, int32_t j, int32_t k) noexcept { return SmallVector<int32_t>(i, j, k); }
QVX_API double *Vector6(double a, double b, double c, double d, double e, double f) noexcept {
  return SmallVector<double>(a, b, c, d, e, f);
}
QVX_API int32_t *Vector7L(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e, int32_t f,
                          int32_t g) noexcept {
  return SmallVector<int32_t>(a, b, c, d, e, f, g);
}

// n null pointers after a header block holding n as a 32-bit integer.
QVX_API void **VectorV(int32_t n) noexcept {
  if (n < 0) n = 0;
  void **v = static_cast<void **>(std::malloc((static_cast<std::size_t>(n) + 1) * sizeof(void *)));
  if (!v) {
    n = 0;
    v = static_cast<void **>(std::malloc(sizeof(void *)));
    if (!v) return nullptr;
  }
  int32_t *header = RawVector<int32_t>(0);
  if (!header) {
    std::free(v);
    return nullptr;
  }
  header[0] = n;
  v[0] = header;
  for (int32_t i = 1; i <= n; ++i) v[i] = nullptr;
  return v;
}

QVX_API double *AllocDouble(double x) noexcept {
  double *p = static_cast<double *>(std::malloc(sizeof(double)));
  if (p) *p = x;
  return p;
}

QVX_API int32_t *AllocInt(int32_t i) noexcept {
  int32_t *p = static_cast<int32_t *>(std::malloc(sizeof(int32_t)));
  if (p) *p = i;
  return p;
}

QVX_API void FreeVector(double *v) noexcept { std::free(v); }
QVX_API void FreeVectorC(Complex *v) noexcept { std::free(v); }
QVX_API void FreeVectorL(int32_t *v) noexcept { std::free(v); }

// The header block holds the count as a 32-bit integer; every slot up to it
// is freed, then the array.
QVX_API void FreeVectorV(void **v) noexcept {
  if (!v) return;
  int32_t n = LengthOf(static_cast<int32_t *>(v[0]));
  for (int32_t i = 0; i <= n; ++i) std::free(v[i]);
  std::free(v);
}

// ---- matrices ------------------------------------------------------------

QVX_API double **Matrix(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<double>(cols, rows, GuardedVector<double>, OnFailure::kOneByOneZero);
}
QVX_API Complex **MatrixC(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<Complex>(cols, rows, GuardedVector<Complex>, OnFailure::kOneByOneZero);
}
QVX_API int32_t **MatrixL(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<int32_t>(cols, rows, GuardedVector<int32_t>, OnFailure::kOneByOneZero);
}
QVX_API int32_t **MatrixI(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<int32_t>(cols, rows, RawVector<int32_t>, OnFailure::kNull);
}
QVX_API float **MatrixF(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<float>(cols, rows, RawVector<float>, OnFailure::kNull);
}
QVX_API uint32_t **MatrixUInt32(int32_t cols, int32_t rows) noexcept {
  return BuildMatrix<uint32_t>(cols, rows, RawVector<uint32_t>, OnFailure::kNull);
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

QVX_API double **MatrixS(double x) noexcept {
  double **m = Matrix(1, 1);
  if (m) m[1][1] = x;  // the fall-back is 1 by 1 as well
  return m;
}

QVX_API double **MatrixV(const double *v) noexcept { return MatrixOfVector(v); }
QVX_API Complex **MatrixVC(const Complex *v) noexcept { return MatrixOfVector(v); }

QVX_API void FreeMatrix(double **m) noexcept { FreeMatrixT(m); }
QVX_API void FreeMatrixC(Complex **m) noexcept { FreeMatrixT(m); }
QVX_API void FreeMatrixF(float **m) noexcept { FreeMatrixT(m); }
QVX_API void FreeMatrixI(int32_t **m) noexcept { FreeMatrixT(m); }
QVX_API void FreeMatrixL(int32_t **m) noexcept { FreeMatrixT(m); }
QVX_API void FreeMatrixUInt32(uint32_t **m) noexcept { FreeMatrixT(m); }

// ---- matrix vectors and vector matrices ----------------------------------

QVX_API double ***MatrixVector(int32_t n) noexcept { return MatrixVectorT<double>(n); }
QVX_API Complex ***MatrixVectorC(int32_t n) noexcept { return MatrixVectorT<Complex>(n); }
QVX_API int32_t ***MatrixVectorL(int32_t n) noexcept { return MatrixVectorT<int32_t>(n); }

// Values (nx by ny), then the nx abscissas and the ny ordinates, each as a
// one-column matrix; all zero.
QVX_API double ***MatrixVector2D(int32_t nx, int32_t ny) noexcept {
  double ***mv = MatrixVectorT<double>(3);
  if (!mv) return nullptr;
  mv[1] = Matrix0(nx, ny);
  mv[2] = Matrix0(1, nx);
  mv[3] = Matrix0(1, ny);
  if (!mv[1] || !mv[2] || !mv[3]) {
    FreeMatrixVectorT(mv);
    return nullptr;
  }
  return mv;
}

QVX_API void FreeMatrixVector(double ***mv) noexcept { FreeMatrixVectorT(mv); }
QVX_API void FreeMatrixVectorC(Complex ***mv) noexcept { FreeMatrixVectorT(mv); }
QVX_API void FreeMatrixVectorL(int32_t ***mv) noexcept { FreeMatrixVectorT(mv); }

QVX_API double ***VectorMatrix(int32_t m, int32_t n, int32_t k) noexcept {
  return VectorMatrixT<double>(m, n, k, false);
}
QVX_API Complex ***VectorMatrixC(int32_t m, int32_t n, int32_t k) noexcept {
  return VectorMatrixT<Complex>(m, n, k, false);
}
QVX_API double ***VectorMatrix0(int32_t m, int32_t n, int32_t k) noexcept {
  return VectorMatrixT<double>(m, n, k, true);
}
QVX_API void FreeVectorMatrix(double ***vm) noexcept { FreeMatrixVectorT(vm); }
QVX_API void FreeVectorMatrixC(Complex ***vm) noexcept { FreeMatrixVectorT(vm); }

QVX_API double ***ConvertMVVM(double ***mv) noexcept { return ConvertMVVMT<double>(mv); }
QVX_API Complex ***ConvertMVVMC(Complex ***mv) noexcept { return ConvertMVVMT<Complex>(mv); }
QVX_API double ***ConvertVMMV(double ***vm) noexcept { return ConvertVMMVT<double>(vm); }
QVX_API Complex ***ConvertVMMVC(Complex ***vm) noexcept { return ConvertVMMVT<Complex>(vm); }

// A new MatrixVector whose element t is a copy of element order[t] of mv; an
// index out of range gives a 1 by 1 zero matrix there.
QVX_API double ***ReorderMV(double ***mv, const int32_t *order) noexcept {
  int32_t n = LengthOf(order), have = MatrixVectorLength(mv);
  double ***out = MatrixVectorT<double>(n);
  if (!out) return nullptr;
  for (int32_t t = 1; t <= n; ++t) {
    int32_t from = order[t];
    out[t] = from >= 1 && from <= have && mv[from] ? CopyMatrixT<double>(mv[from], OnFailure::kOneByOneZero)
                                                   : Matrix0(1, 1);
  }
  return out;
}

// ---- copies --------------------------------------------------------------

QVX_API double *CopyVector(const double *v) noexcept { return CopyVectorT(v, true); }
QVX_API Complex *CopyVectorC(const Complex *v) noexcept { return CopyVectorT(v, true); }
QVX_API float *CopyVectorF(const float *v) noexcept { return CopyVectorT(v, false); }
QVX_API int32_t *CopyVectorI(const int32_t *v) noexcept { return CopyVectorT(v, false); }
QVX_API int32_t *CopyVectorL(const int32_t *v) noexcept { return CopyVectorT(v, true); }

QVX_API double **CopyMatrix(double **m) noexcept { return CopyMatrixT(m, OnFailure::kOneByOneZero); }
QVX_API Complex **CopyMatrixC(Complex **m) noexcept { return CopyMatrixT(m, OnFailure::kOneByOneZero); }
QVX_API float **CopyMatrixF(float **m) noexcept { return CopyMatrixT(m, OnFailure::kNull); }
QVX_API int32_t **CopyMatrixI(int32_t **m) noexcept { return CopyMatrixT(m, OnFailure::kNull); }
QVX_API int32_t **CopyMatrixL(int32_t **m) noexcept { return CopyMatrixT(m, OnFailure::kOneByOneZero); }
QVX_API uint32_t **CopyMatrixUInt32(uint32_t **m) noexcept { return CopyMatrixT(m, OnFailure::kNull); }

QVX_API double ***CopyMatrixVector(double ***mv) noexcept {
  return CopyMatrixVectorT<double>(mv, OnFailure::kOneByOneZero);
}
QVX_API Complex ***CopyMatrixVectorC(Complex ***mv) noexcept {
  return CopyMatrixVectorT<Complex>(mv, OnFailure::kOneByOneZero);
}

// A heap cell holding a copy of *z (zero for null); freed with Free.
QVX_API Complex *CopyC(const Complex *z) noexcept {
  Complex *cell = static_cast<Complex *>(std::malloc(sizeof(Complex)));
  if (cell) *cell = z ? *z : Complex{0.0, 0.0};
  return cell;
}

// In place, source first: the length comes from the source.
QVX_API void CopyVectorIP(const double *source, double *destination) noexcept { CopyInto(destination, source); }
QVX_API void CopyVectorIPC(const Complex *source, Complex *destination) noexcept {
  CopyInto(destination, source);
}
QVX_API void CopyVectorIPL(const int32_t *source, int32_t *destination) noexcept {
  CopyInto(destination, source);
}
QVX_API void CopyMatrixIP(double **source, double **destination) noexcept { CopyMatrixInto(destination, source); }
QVX_API void CopyMatrixIPC(Complex **source, Complex **destination) noexcept {
  CopyMatrixInto(destination, source);
}
QVX_API void CopyMatrixIPL(int32_t **source, int32_t **destination) noexcept {
  CopyMatrixInto(destination, source);
}

// In place, destination first: the length comes from the destination.
QVX_API void VectorCopy(double *destination, const double *source) noexcept { CopyInto(destination, source); }
QVX_API void VectorCopyC(Complex *destination, const Complex *source) noexcept {
  CopyInto(destination, source);
}
QVX_API void VectorCopyF(float *destination, const float *source) noexcept { CopyInto(destination, source); }
QVX_API void VectorCopyI(int32_t *destination, const int32_t *source) noexcept {
  CopyInto(destination, source);
}
QVX_API void VectorCopyL(int32_t *destination, const int32_t *source) noexcept {
  CopyInto(destination, source);
}
QVX_API void MatrixCopy(double **destination, double **source) noexcept { CopyMatrixInto(destination, source); }
QVX_API void MatrixCopyC(Complex **destination, Complex **source) noexcept {
  CopyMatrixInto(destination, source);
}
QVX_API void MatrixCopyF(float **destination, float **source) noexcept { CopyMatrixInto(destination, source); }
QVX_API void MatrixCopyI(int32_t **destination, int32_t **source) noexcept {
  CopyMatrixInto(destination, source);
}
QVX_API void MatrixCopyL(int32_t **destination, int32_t **source) noexcept {
  CopyMatrixInto(destination, source);
}

// ---- comparisons ---------------------------------------------------------

QVX_API int32_t EqualVectors(const double *a, const double *b) noexcept { return EqualVectorsT(a, b); }
QVX_API int32_t EqualVectorsC(const Complex *a, const Complex *b) noexcept { return EqualVectorsT(a, b); }
QVX_API int32_t EqualVectorsF(const float *a, const float *b) noexcept { return EqualVectorsT(a, b); }
QVX_API int32_t EqualVectorsI(const int32_t *a, const int32_t *b) noexcept { return EqualVectorsT(a, b); }
QVX_API int32_t EqualVectorsL(const int32_t *a, const int32_t *b) noexcept { return EqualVectorsT(a, b); }
QVX_API int32_t EqualMatrices(double **a, double **b) noexcept { return EqualMatricesT(a, b); }
QVX_API int32_t EqualMatricesC(Complex **a, Complex **b) noexcept { return EqualMatricesT(a, b); }
QVX_API int32_t EqualMatricesF(float **a, float **b) noexcept { return EqualMatricesT(a, b); }
QVX_API int32_t EqualMatricesI(int32_t **a, int32_t **b) noexcept { return EqualMatricesT(a, b); }
QVX_API int32_t EqualMatricesL(int32_t **a, int32_t **b) noexcept { return EqualMatricesT(a, b); }

// Rows r1 and r2 of m agree in every column, with the floating tolerance.
QVX_API int32_t EqualRows(double **m, int32_t r1, int32_t r2) noexcept {
  if (!m) return 0;
  int32_t c = ColsOf(m);
  for (int32_t j = 1; j <= c; ++j) {
    int32_t rows = LengthOf(m[j]);
    if (r1 < 1 || r2 < 1 || r1 > rows || r2 > rows) return 0;
    if (!NearlyEqual(m[j][r1], m[j][r2])) return 0;
  }
  return 1;
}

// ---- arithmetic forms over containers ------------------------------------

QVX_API double *AbsCV(const Complex *v) noexcept {
  int32_t n = LengthOf(v);
  double *out = Vector(n);
  if (LengthOf(out) != n) return out;
  for (int32_t i = 1; i <= n; ++i) out[i] = AbsC(v[i].re, v[i].im);
  return out;
}

QVX_API double **AbsCM(Complex **m) noexcept {
  return RealFormOfMatrix(m, [](Complex z) { return AbsC(z.re, z.im); });
}

QVX_API double **ReM(Complex **m) noexcept {
  return RealFormOfMatrix(m, [](Complex z) { return z.re; });
}

// Row i of the result is the sum over j of m[j][i] v[j]; terms beyond the
// shorter of v and the column count are left out.
QVX_API double *MulMV(double **m, const double *v) noexcept {
  int32_t c = ColsOf(m);
  int32_t r = c ? LengthOf(m[1]) : 0;
  if (LengthOf(v) < c) c = LengthOf(v);
  double *out = Vector0(r);
  if (!out) return Vector(0);
  for (int32_t i = 1; i <= r; ++i) {
    double sum = 0.0;
    for (int32_t j = 1; j <= c; ++j)
      if (i <= LengthOf(m[j])) sum += m[j][i] * v[j];
    out[i] = sum;
  }
  return out;
}

// One console line for each row, the columns along it.
QVX_API void PrintMatrix(double **m) noexcept {
  int32_t c = ColsOf(m);
  int32_t r = c ? LengthOf(m[1]) : 0;
  for (int32_t i = 1; i <= r; ++i) {
    for (int32_t j = 1; j <= c; ++j) std::printf("%.3E ", i <= LengthOf(m[j]) ? m[j][i] : 0.0);
    std::printf("\n");
  }
}

// ---- text vectors --------------------------------------------------------

// n strings "0" and the empty terminator at n, so the length scans right.
QVX_API char **StringVector(int32_t n) noexcept {
  char **v = NewStringArray(n);
  if (!v) return nullptr;
  if (n < 0) n = 0;
  for (int32_t i = 0; i < n; ++i) v[i] = qvx::DupText("0", 1);
  v[n] = qvx::DupText("", 0);
  return v;
}

QVX_API char **StringVectorNULL(int32_t n) noexcept {
  char **v = NewStringArray(n);
  if (!v) return nullptr;
  if (n < 0) n = 0;
  for (int32_t i = 0; i < n; ++i) v[i] = nullptr;
  v[n] = qvx::DupText("", 0);
  return v;
}

// Takes the two texts as they are: the vector owns them from now on.
QVX_API char **StringVector2(char *a, char *b) noexcept {
  char **v = NewStringArray(2);
  if (!v) return nullptr;
  v[0] = a;
  v[1] = b;
  v[2] = qvx::DupText("", 0);
  return v;
}

QVX_API char **StringVector3(const char *a, const char *b, const char *c) noexcept {
  char **v = NewStringArray(3);
  if (!v) return nullptr;
  v[0] = qvx::DupText(a);
  v[1] = qvx::DupText(b);
  v[2] = qvx::DupText(c);
  v[3] = qvx::DupText("", 0);
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

QVX_API char **CopyStringVector(char **v) noexcept {
  int32_t n = StringVectorLength(v);
  char **out = StringVectorNULL(n);
  if (!out) return nullptr;
  for (int32_t i = 0; i < n; ++i) out[i] = qvx::DupText(v[i]);
  return out;
}

QVX_API int32_t EqualVectorsS(char **a, char **b) noexcept {
  if (!a || !b) return a == b;
  int32_t n = StringVectorLength(a);
  if (StringVectorLength(b) < n) return 0;
  for (int32_t i = 0; i < n; ++i)
    if (std::strcmp(a[i], b[i]) != 0) return 0;
  return 1;
}

// The elements joined into one owned text with the separator between them.
QVX_API char *StringSV(char **v, const char *separator) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&]() -> char * {
    std::string text;
    int32_t n = StringVectorLength(v);
    for (int32_t i = 0; i < n; ++i) {
      if (i && separator) text += separator;
      text += v[i];
    }
    return qvx::DupText(text.data(), text.size());
  });
}

// ---- text matrices -------------------------------------------------------

// c vectors of r strings "0", then the terminator. With no rows there is no
// data: the result is the terminator alone, since a vector without strings
// would read as the end.
QVX_API char ***StringMatrix(int32_t cols, int32_t rows) noexcept {
  if (cols < 0 || rows <= 0) cols = 0;
  char ***m = static_cast<char ***>(std::malloc((static_cast<std::size_t>(cols) + 1) * sizeof(char **)));
  if (!m) return nullptr;
  for (int32_t j = 0; j <= cols; ++j) {
    m[j] = j < cols ? StringVector(rows) : EmptyStringVector();
    if (!m[j]) {
      for (int32_t k = 0; k < j; ++k) FreeStringVector(m[k]);
      std::free(m);
      return nullptr;
    }
  }
  return m;
}

QVX_API int32_t StringMatrixCols(char ***m) noexcept {
  if (!m) return 0;
  int32_t c = 0;
  while (m[c] && m[c][0] && m[c][0][0] != '\0') ++c;
  return c;
}

QVX_API int32_t StringMatrixRows(char ***m) noexcept { return m ? StringVectorLength(m[0]) : 0; }

QVX_API void FreeStringMatrix(char ***m) noexcept {
  if (!m) return;
  int32_t c = StringMatrixCols(m);
  for (int32_t j = 0; j <= c; ++j) FreeStringVector(m[j]);  // the terminator too
  std::free(m);
}

QVX_API char ***CopyStringMatrix(char ***m) noexcept {
  int32_t c = StringMatrixCols(m);
  char ***out = static_cast<char ***>(std::malloc((static_cast<std::size_t>(c) + 1) * sizeof(char **)));
  if (!out) return nullptr;
  for (int32_t j = 0; j <= c; ++j) {
    out[j] = j < c ? CopyStringVector(m[j]) : EmptyStringVector();
    if (!out[j]) {
      for (int32_t k = 0; k < j; ++k) FreeStringVector(out[k]);
      std::free(out);
      return nullptr;
    }
  }
  return out;
}

QVX_API int32_t EqualMatricesS(char ***a, char ***b) noexcept {
  if (!a || !b) return a == b;
  int32_t c = StringMatrixCols(a);
  if (StringMatrixCols(b) < c) return 0;
  for (int32_t j = 0; j < c; ++j)
    if (!EqualVectorsS(a[j], b[j])) return 0;
  return 1;
}

// A copy of m with a copy of v inserted as column pos (clamped to the
// ends). An empty v would end the matrix there, so it is not inserted.
QVX_API char ***InsertElementSM(char ***m, char **v, int32_t pos) noexcept {
  int32_t c = StringMatrixCols(m);
  if (StringVectorLength(v) == 0) return CopyStringMatrix(m);
  if (pos < 0) pos = 0;
  if (pos > c) pos = c;
  char ***out = static_cast<char ***>(std::malloc((static_cast<std::size_t>(c) + 2) * sizeof(char **)));
  if (!out) return nullptr;
  for (int32_t j = 0; j <= c + 1; ++j) {
    if (j == c + 1) out[j] = EmptyStringVector();
    else if (j == pos) out[j] = CopyStringVector(v);
    else out[j] = CopyStringVector(m[j < pos ? j : j - 1]);
    if (!out[j]) {
      for (int32_t k = 0; k < j; ++k) FreeStringVector(out[k]);
      std::free(out);
      return nullptr;
    }
  }
  return out;
}

// ---- vectors of text matrices --------------------------------------------

// n matrices StringMatrix(1, 1), then a terminator of three levels that
// leads to an empty string.
QVX_API char ****StringMatrixVector(int32_t n) noexcept {
  if (n < 0) n = 0;
  char ****v = static_cast<char ****>(std::malloc((static_cast<std::size_t>(n) + 1) * sizeof(char ***)));
  if (!v) return nullptr;
  for (int32_t t = 0; t <= n; ++t) {
    v[t] = StringMatrix(t < n ? 1 : 0, 1);
    if (!v[t]) {
      for (int32_t k = 0; k < t; ++k) FreeStringMatrix(v[k]);
      std::free(v);
      return nullptr;
    }
  }
  return v;
}

QVX_API int32_t StringMatrixVectorLength(char ****v) noexcept {
  if (!v) return 0;
  int32_t n = 0;
  while (v[n] && v[n][0] && v[n][0][0] && v[n][0][0][0] != '\0') ++n;
  return n;
}

QVX_API void FreeStringMatrixVector(char ****v) noexcept {
  if (!v) return;
  int32_t n = StringMatrixVectorLength(v);
  for (int32_t t = 0; t <= n; ++t) FreeStringMatrix(v[t]);
  std::free(v);
}

QVX_API char ****CopyStringMatrixVector(char ****v) noexcept {
  int32_t n = StringMatrixVectorLength(v);
  char ****out = static_cast<char ****>(std::malloc((static_cast<std::size_t>(n) + 1) * sizeof(char ***)));
  if (!out) return nullptr;
  for (int32_t t = 0; t <= n; ++t) {
    out[t] = t < n ? CopyStringMatrix(v[t]) : StringMatrix(0, 1);
    if (!out[t]) {
      for (int32_t k = 0; k < t; ++k) FreeStringMatrix(out[k]);
      std::free(out);
      return nullptr;
    }
  }
  return out;
}

}  // extern "C"
