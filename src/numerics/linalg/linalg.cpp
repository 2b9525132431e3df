// Dense linear algebra on the toolkit containers: element-wise and product
// arithmetic, LU decomposition (Crout's method with implicit scaling and
// partial pivoting), solving, determinants and inverses.
//
// Read first: m[j][i] is row i, column j, both 1-based, and every column is a
// separately allocated Vector. Functions without "IP" return new containers
// and never null; an input whose shape does not fit gives the same fall-back
// a failed allocation gives (a 1 by 1 zero matrix, a vector of length 0),
// and in-place functions leave their arguments alone. The LU index vector
// holds n + 1 entries: the pivot rows, then the interchange parity, which
// starts at -1 and flips at each interchange.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "common/boundary.h"
#include "common/complex.h"
#include "libquorvex.h"
#include "numerics/linalg/linalg_internal.h"

namespace qvx::la {
namespace {

// ---- element arithmetic over double and Complex ---------------------------

inline double Add(double a, double b) { return a + b; }
inline Complex Add(Complex a, Complex b) { return Complex{a.re + b.re, a.im + b.im}; }
inline double Sub(double a, double b) { return a - b; }
inline Complex Sub(Complex a, Complex b) { return Complex{a.re - b.re, a.im - b.im}; }
inline double Mul(double a, double b) { return a * b; }
inline Complex Mul(Complex a, Complex b) { return MulFour(a, b); }
inline double Conj(double a) { return a; }
inline Complex Conj(Complex a) { return Complex{a.re, -a.im}; }
inline double AbsSq(double a) { return a * a; }
inline double AbsSq(Complex a) { return a.re * a.re + a.im * a.im; }
inline double Scale(double a, double s) { return a * s; }
inline Complex Scale(Complex a, double s) { return Complex{a.re * s, a.im * s}; }
template <class T> inline T Zero() { return T{}; }
template <class T> inline T One();
template <> inline double One<double>() { return 1.0; }
template <> inline Complex One<Complex>() { return Complex{1.0, 0.0}; }

// ---- allocation with shape check ------------------------------------------

template <class T> T **NewMatrix(int32_t c, int32_t r);
template <> double **NewMatrix<double>(int32_t c, int32_t r) { return Matrix(c, r); }
template <> Complex **NewMatrix<Complex>(int32_t c, int32_t r) { return MatrixC(c, r); }
template <class T> T **FallbackMatrix();
template <> double **FallbackMatrix<double>() { return BadMatrix(); }
template <> Complex **FallbackMatrix<Complex>() { return BadMatrixC(); }
template <class T> T *NewVector(int32_t n);
template <> double *NewVector<double>(int32_t n) { return Vector(n); }
template <> Complex *NewVector<Complex>(int32_t n) { return VectorC(n); }

template <class T>
void FreeMatrixT(T **m) {
  if constexpr (std::is_same_v<T, Complex>) FreeMatrixC(m);
  else FreeMatrix(m);
}

template <class T> T ToT(double x) { return x; }
template <class T> T ToT(const cplx &z) { return ToC(z); }

// True when m really has c columns of r rows (a failed allocation comes
// back smaller, and must then be returned untouched).
template <class T>
bool Fits(T **m, int32_t c, int32_t r) {
  return m && ColsOf(m) == c && (c == 0 || RowsOf(m) == r);
}
template <class T>
bool FitsV(T *v, int32_t n) { return v && LengthOf(v) == n; }

template <class T>
T **ElementWise(T **a, T **b, bool subtract) {
  int32_t c = ColsOf(a), r = RowsOf(a);
  if (!a || !b || ColsOf(b) != c || RowsOf(b) != r) return FallbackMatrix<T>();
  T **m = NewMatrix<T>(c, r);
  if (!Fits(m, c, r)) return m;
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i)
      m[j][i] = subtract ? Sub(a[j][i], b[j][i]) : Add(a[j][i], b[j][i]);
  return m;
}

template <class T>
T *ElementWiseV(const T *a, const T *b, bool subtract) {
  int32_t n = LengthOf(a);
  if (!a || !b || LengthOf(b) != n) return NewVector<T>(0);
  T *v = NewVector<T>(n);
  if (!FitsV(v, n)) return v;
  for (int32_t i = 1; i <= n; ++i) v[i] = subtract ? Sub(a[i], b[i]) : Add(a[i], b[i]);
  return v;
}

// Product a b: column j of the result is a times column j of b, formed as a
// sum of columns of a so that the inner loop runs down contiguous columns.
template <class T>
T **Product(T **a, T **b) {
  int32_t ac = ColsOf(a), ar = RowsOf(a), bc = ColsOf(b), br = RowsOf(b);
  if (!a || !b || ac != br || ac == 0 || bc == 0) return FallbackMatrix<T>();
  T **m = NewMatrix<T>(bc, ar);
  if (!Fits(m, bc, ar)) return m;
  for (int32_t j = 1; j <= bc; ++j) {
    T *out = m[j];
    for (int32_t i = 1; i <= ar; ++i) out[i] = Zero<T>();
    for (int32_t k = 1; k <= ac; ++k) {
      T s = b[j][k];
      const T *col = a[k];
      for (int32_t i = 1; i <= ar; ++i) out[i] = Add(out[i], Mul(col[i], s));
    }
  }
  return m;
}

template <class T>
T **Transposed(T **m, bool conjugate) {
  int32_t c = ColsOf(m), r = RowsOf(m);
  if (!m || c == 0 || r == 0) return FallbackMatrix<T>();
  T **t = NewMatrix<T>(r, c);
  if (!Fits(t, r, c)) return t;
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) t[i][j] = conjugate ? Conj(m[j][i]) : m[j][i];
  return t;
}

template <class T>
void TransposeInto(T **m, T **t, bool conjugate) {
  int32_t c = ColsOf(m), r = RowsOf(m);
  if (!m || !t || ColsOf(t) != r || RowsOf(t) != c) return;
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) t[i][j] = conjugate ? Conj(m[j][i]) : m[j][i];
}

template <class T>
void TransposeSquare(T **m, bool conjugate) {
  int32_t n;
  if (!IsSquare(m, n)) return;
  for (int32_t j = 1; j <= n; ++j) {
    if (conjugate) m[j][j] = Conj(m[j][j]);
    for (int32_t i = j + 1; i <= n; ++i) {
      T x = m[j][i];
      m[j][i] = conjugate ? Conj(m[i][j]) : m[i][j];
      m[i][j] = conjugate ? Conj(x) : x;
    }
  }
}

template <class T>
T **Identity(int32_t n) {
  if (n < 0) n = 0;
  T **m = NewMatrix<T>(n, n);
  if (!Fits(m, n, n)) return m;
  for (int32_t j = 1; j <= n; ++j)
    for (int32_t i = 1; i <= n; ++i) m[j][i] = i == j ? One<T>() : Zero<T>();
  return m;
}

template <class T>
T **Diagonal(const T *v) {
  int32_t n = LengthOf(v);
  T **m = Identity<T>(n);
  if (!Fits(m, n, n)) return m;
  for (int32_t i = 1; i <= n; ++i) m[i][i] = v[i];
  return m;
}

template <class T>
T **TriDiagonal(const T *sub, const T *diag, const T *super) {
  int32_t n = LengthOf(diag);
  if (!diag || LengthOf(sub) < n || LengthOf(super) < n) return FallbackMatrix<T>();
  T **m = NewMatrix<T>(n, n);
  if (!Fits(m, n, n)) return m;
  for (int32_t j = 1; j <= n; ++j)
    for (int32_t i = 1; i <= n; ++i) m[j][i] = Zero<T>();
  for (int32_t i = 1; i <= n; ++i) {
    m[i][i] = diag[i];
    if (i > 1) m[i - 1][i] = sub[i];    // row i, column i - 1
    if (i < n) m[i + 1][i] = super[i];  // row i, column i + 1
  }
  return m;
}

// Euclidean norm of data[1..n] without overflow: scaled sum of squares.
template <class T>
double Norm2(const T *v, int32_t n) {
  double scale = 0.0, ssq = 1.0;
  for (int32_t i = 1; i <= n; ++i) {
    double parts[2];
    int np;
    if constexpr (std::is_same_v<T, Complex>) {
      parts[0] = v[i].re;
      parts[1] = v[i].im;
      np = 2;
    } else {
      parts[0] = v[i];
      np = 1;
    }
    for (int k = 0; k < np; ++k) {
      double x = std::fabs(parts[k]);
      if (x == 0.0) continue;
      if (std::isnan(x)) return x;
      if (scale < x) {
        ssq = 1.0 + ssq * (scale / x) * (scale / x);
        scale = x;
      } else {
        ssq += (x / scale) * (x / scale);
      }
    }
  }
  return scale * std::sqrt(ssq);
}

template <class T>
T *Normalized(const T *v) {
  int32_t n = LengthOf(v);
  T *out = NewVector<T>(n);
  if (!v || !FitsV(out, n)) return out;
  double norm = Norm2(v, n);
  for (int32_t i = 1; i <= n; ++i) out[i] = norm > 0.0 ? Scale(v[i], 1.0 / norm) : v[i];
  return out;
}

template <class T>
T **NormalizedColumns(T **m) {
  int32_t c = ColsOf(m), r = RowsOf(m);
  if (!m) return FallbackMatrix<T>();
  T **out = NewMatrix<T>(c, r);
  if (!Fits(out, c, r)) return out;
  for (int32_t j = 1; j <= c; ++j) {
    double norm = Norm2(m[j], r);
    for (int32_t i = 1; i <= r; ++i) out[j][i] = norm > 0.0 ? Scale(m[j][i], 1.0 / norm) : m[j][i];
  }
  return out;
}

template <class T>
T *Unit(int32_t n, int32_t k) {
  if (n < 0) n = 0;
  T *v = NewVector<T>(n);
  if (!FitsV(v, n)) return v;
  for (int32_t i = 1; i <= n; ++i) v[i] = i == k ? One<T>() : Zero<T>();
  return v;
}

// a := a b for a square b whose size is the column count of a.
template <class T>
void MultiplyInPlace(T **a, T **b) {
  int32_t c = ColsOf(a), r = RowsOf(a), n;
  if (!a || !IsSquare(b, n) || n != c || r == 0) return;
  std::vector<T> row(static_cast<size_t>(c));
  for (int32_t i = 1; i <= r; ++i) {
    for (int32_t j = 1; j <= c; ++j) {
      T s = Zero<T>();
      for (int32_t k = 1; k <= c; ++k) s = Add(s, Mul(a[k][i], b[j][k]));
      row[j - 1] = s;
    }
    for (int32_t j = 1; j <= c; ++j) a[j][i] = row[j - 1];
  }
}

// ---- LU ------------------------------------------------------------------

inline double Magnitude(double x) { return std::fabs(x); }
inline double Magnitude(const cplx &z) { return std::hypot(z.real(), z.imag()); }
inline bool IsZero(double x) { return x == 0.0; }
inline bool IsZero(const cplx &z) { return z.real() == 0.0 && z.imag() == 0.0; }
inline cplx MulX(const cplx &a, const cplx &b) {
  return cplx(a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real());
}
inline double MulX(double a, double b) { return a * b; }
inline cplx Recip(const cplx &z) { return FromC(DivC(Complex{1.0, 0.0}, ToC(z))); }
inline double Recip(double x) { return 1.0 / x; }
inline cplx DivX(const cplx &a, const cplx &b) { return FromC(DivC(ToC(a), ToC(b))); }
inline double DivX(double a, double b) { return a / b; }

// Right-looking elimination on a row-major block. It forms the same
// multipliers as Crout's column-by-column order (the sums differ only in
// their order of rounding) and picks the same pivots: the largest scaled
// candidate, the last of equal ones.
template <class U>
double LUFactor(std::vector<U> &a, int32_t n, std::vector<int32_t> &perm, bool *replaced = nullptr) {
  perm.assign(static_cast<size_t>(n), 0);
  std::vector<double> vv(static_cast<size_t>(n));
  const size_t N = static_cast<size_t>(n);
  for (size_t i = 0; i < N; ++i) {
    double big = 0.0;
    for (size_t j = 0; j < N; ++j) big = std::max(big, Magnitude(a[i * N + j]));
    vv[i] = big > 0.0 ? 1.0 / big : 1.0;  // a zero row never wins a pivot anyway
  }
  double parity = 1.0;
  for (size_t k = 0; k < N; ++k) {
    double big = 0.0;
    size_t imax = k;
    for (size_t i = k; i < N; ++i) {
      double dum = vv[i] * Magnitude(a[i * N + k]);
      if (dum >= big) {
        big = dum;
        imax = i;
      }
    }
    if (imax != k) {
      std::swap_ranges(a.begin() + imax * N, a.begin() + imax * N + N, a.begin() + k * N);
      parity = -parity;
      vv[imax] = vv[k];
    }
    perm[k] = static_cast<int32_t>(imax);
    U &pivot = a[k * N + k];
    if (IsZero(pivot)) {
      pivot = U(1.0e-20);
      if (replaced) *replaced = true;
    }
    U r = Recip(pivot);
    const U *pk = &a[k * N];
    for (size_t i = k + 1; i < N; ++i) {
      U *pi = &a[i * N];
      U l = MulX(pi[k], r);
      pi[k] = l;
      if (IsZero(l)) continue;
      if constexpr (std::is_same_v<U, double>) {
        for (size_t j = k + 1; j < N; ++j) pi[j] -= l * pk[j];
      } else {
        for (size_t j = k + 1; j < N; ++j) pi[j] -= MulX(l, pk[j]);
      }
    }
  }
  return parity;
}

// Forward and back substitution for one right-hand side b[1..n] (1-based),
// with the row interchanges of perm. Leading zeros of b are skipped in the
// forward pass: the first non-zero element starts the inner sums.
template <class U, class B>
void LUBackSub(const std::vector<U> &a, int32_t n, const std::vector<int32_t> &perm, B *b) {
  const size_t N = static_cast<size_t>(n);
  std::vector<U> x(N);
  for (size_t i = 0; i < N; ++i) x[i] = U(b[i + 1]);
  long ii = -1;
  for (size_t i = 0; i < N; ++i) {
    size_t ip = static_cast<size_t>(perm[i]);
    U sum = x[ip];
    x[ip] = x[i];
    if (ii >= 0) {
      const U *row = &a[i * N];
      for (size_t j = static_cast<size_t>(ii); j < i; ++j) sum -= MulX(row[j], x[j]);
    } else if (!IsZero(sum)) {
      ii = static_cast<long>(i);
    }
    x[i] = sum;
  }
  for (size_t i = N; i-- > 0;) {
    const U *row = &a[i * N];
    U sum = x[i];
    for (size_t j = i + 1; j < N; ++j) sum -= MulX(row[j], x[j]);
    x[i] = DivX(sum, row[i]);
  }
  for (size_t i = 0; i < N; ++i) b[i + 1] = B(x[i]);
}

inline double CastOut(double x) { return x; }

// Square size used by the LU family: the leading square block of a matrix
// that is not square.
template <class T>
int32_t LUSize(T **a) {
  return a ? std::min(ColsOf(a), RowsOf(a)) : 0;
}

template <class T>
int32_t *IndexVector(int32_t n, const std::vector<int32_t> &perm, double parity) {
  int32_t *index = VectorL(n + 1);
  if (LengthOf(index) != n + 1) return index;
  for (int32_t i = 0; i < n; ++i) index[i + 1] = perm[static_cast<size_t>(i)] + 1;
  index[n + 1] = static_cast<int32_t>(-parity);  // starts at -1, flips per swap
  return index;
}

struct RealLU {
  using U = double;
  static void Load(double **a, int32_t n, std::vector<U> &d) { ToRows(a, n, n, d); }
  static void Store(const std::vector<U> &d, int32_t n, double **a) { FromRows(d, n, n, a); }
};
struct ComplexLU {
  using U = cplx;
  static void Load(Complex **a, int32_t n, std::vector<U> &d) { ToRowsC(a, n, n, d); }
  static void Store(const std::vector<U> &d, int32_t n, Complex **a) { FromRowsC(d, n, n, a); }
};

inline cplx In(const Complex &z) { return FromC(z); }
inline double In(double x) { return x; }

template <class T, class Traits>
int32_t *Decompose(T **a) {
  int32_t n = LUSize(a);
  std::vector<typename Traits::U> d;
  std::vector<int32_t> perm;
  Traits::Load(a, n, d);
  double parity = LUFactor(d, n, perm);
  Traits::Store(d, n, a);
  return IndexVector<T>(n, perm, parity);
}

// Solves for every column of b in place, after factoring a (overwritten).
template <class T, class Traits>
void Solve(T **a, T **b) {
  int32_t n = LUSize(a);
  if (n == 0 || !b || RowsOf(b) < n) return;
  std::vector<typename Traits::U> d;
  std::vector<int32_t> perm;
  Traits::Load(a, n, d);
  LUFactor(d, n, perm);
  Traits::Store(d, n, a);
  int32_t c = ColsOf(b);
  using U = typename Traits::U;
  for (int32_t j = 1; j <= c; ++j) LUBackSub(d, n, perm, reinterpret_cast<U *>(b[j]));
}

// With strict set, a matrix that needs a replacement pivot is left alone
// and the result is false.
template <class T, class Traits>
bool Invert(T **a, bool strict = false) {
  int32_t n;
  if (!IsSquare(a, n)) return false;
  std::vector<typename Traits::U> d;
  std::vector<int32_t> perm;
  Traits::Load(a, n, d);
  bool replaced = false;
  LUFactor(d, n, perm, &replaced);
  if (strict && replaced) return false;
  using U = typename Traits::U;
  for (int32_t j = 1; j <= n; ++j) {
    U *col = reinterpret_cast<U *>(a[j]);  // Complex and std::complex share layout
    for (int32_t i = 1; i <= n; ++i) col[i] = U(i == j ? 1.0 : 0.0);
    LUBackSub(d, n, perm, col);
  }
  return true;
}

template <class U>
U DetDirect(const U m[3][3], int32_t n) {
  if (n == 1) return m[0][0];
  if (n == 2) return MulX(m[0][0], m[1][1]) - MulX(m[0][1], m[1][0]);
  return MulX(m[0][0], MulX(m[1][1], m[2][2]) - MulX(m[1][2], m[2][1])) -
         MulX(m[0][1], MulX(m[1][0], m[2][2]) - MulX(m[1][2], m[2][0])) +
         MulX(m[0][2], MulX(m[1][0], m[2][1]) - MulX(m[1][1], m[2][0]));
}

template <class T, class Traits>
typename Traits::U Determinant(T **a) {
  using U = typename Traits::U;
  int32_t c = ColsOf(a);
  if (!a) return U(0.0);
  if (c == 0) return U(1.0);  // the empty product
  int32_t n;
  if (!IsSquare(a, n)) return U(0.0);
  if (n <= 3) {
    U m[3][3];
    for (int32_t i = 0; i < n; ++i)
      for (int32_t j = 0; j < n; ++j) m[i][j] = In(a[j + 1][i + 1]);
    return DetDirect(m, n);
  }
  std::vector<U> d;
  std::vector<int32_t> perm;
  Traits::Load(a, n, d);
  U det = U(LUFactor(d, n, perm));
  for (int32_t i = 0; i < n; ++i) det = MulX(det, d[static_cast<size_t>(i) * n + i]);
  return det;
}

// Compact band LU (the band form of Crout's elimination with pivoting).
// a: m1 + m2 + 1 columns of n rows, a[k][i] = element (i, i + k - m1 - 1);
// al: m1 columns of n rows receive the multipliers.
template <class U, class T>
double BandDecompose(T **a, int32_t m1, int32_t m2, T **al, int32_t *index) {
  int32_t n = RowsOf(a);
  int32_t mm = m1 + m2 + 1;
  if (!a || !al || !index || m1 < 0 || m2 < 0 || m1 >= n || m2 >= n || ColsOf(a) != mm || n == 0 ||
      (m1 > 0 && (ColsOf(al) < m1 || RowsOf(al) < n)) || LengthOf(index) < n)
    return 1.0;
  auto A = [&](int32_t i, int32_t k) -> T & { return a[k][i]; };
  auto AL = [&](int32_t i, int32_t k) -> T & { return al[k][i]; };
  int32_t l = m1;
  for (int32_t i = 1; i <= m1; ++i) {
    for (int32_t j = m1 + 2 - i; j <= mm; ++j) A(i, j - l) = A(i, j);
    l--;
    for (int32_t j = mm - l; j <= mm; ++j) A(i, j) = T{};
  }
  double d = 1.0;
  l = m1;
  for (int32_t k = 1; k <= n; ++k) {
    U dum = In(A(k, 1));
    int32_t i = k;
    if (l < n) l++;
    for (int32_t j = k + 1; j <= l; ++j) {
      if (Magnitude(In(A(j, 1))) > Magnitude(dum)) {
        dum = In(A(j, 1));
        i = j;
      }
    }
    index[k] = i;
    if (IsZero(dum)) A(k, 1) = ToT<T>(U(1.0e-20));
    if (i != k) {
      d = -d;
      for (int32_t j = 1; j <= mm; ++j) std::swap(A(k, j), A(i, j));
    }
    for (i = k + 1; i <= l; ++i) {
      U q = DivX(In(A(i, 1)), In(A(k, 1)));
      if (m1 > 0) AL(k, i - k) = ToT<T>(q);
      for (int32_t j = 2; j <= mm; ++j) A(i, j - 1) = ToT<T>(In(A(i, j)) - MulX(q, In(A(k, j))));
      A(i, mm) = T{};
    }
  }
  return d;
}

template <class U, class T>
void BandSolve(T **a, int32_t m1, int32_t m2, T **al, const int32_t *index, T *b) {
  int32_t n = RowsOf(a);
  int32_t mm = m1 + m2 + 1;
  if (!a || !index || !b || m1 < 0 || m2 < 0 || m1 >= n || m2 >= n || ColsOf(a) != mm || n == 0 ||
      (m1 > 0 && (!al || ColsOf(al) < m1 || RowsOf(al) < n)) || LengthOf(index) < n ||
      LengthOf(b) < n)
    return;
  int32_t l = m1;
  for (int32_t k = 1; k <= n; ++k) {
    int32_t i = index[k];
    if (i < 1 || i > n) return;  // not an index vector of BanDec
    if (i != k) std::swap(b[k], b[i]);
    if (l < n) l++;
    for (i = k + 1; i <= l; ++i) b[i] = ToT<T>(In(b[i]) - MulX(In(al[i - k][k]), In(b[k])));
  }
  l = 1;
  for (int32_t i = n; i >= 1; --i) {
    U dum = In(b[i]);
    for (int32_t k = 2; k <= l; ++k) dum -= MulX(In(a[k][i]), In(b[k + i - 1]));
    b[i] = ToT<T>(DivX(dum, In(a[1][i])));
    if (l < mm) l++;
  }
}

// Single forward and back sweep of the tridiagonal system (no pivoting).
template <class U, class T>
void TriSolve(const T *a, const T *b, const T *c, const T *r, T *u) {
  int32_t n = LengthOf(b);
  if (!a || !b || !c || !r || !u || n == 0 || LengthOf(a) < n || LengthOf(c) < n ||
      LengthOf(r) < n || LengthOf(u) < n)
    return;
  std::vector<U> gam(static_cast<size_t>(n) + 1);
  U bet = In(b[1]);
  u[1] = ToT<T>(DivX(In(r[1]), bet));
  for (int32_t j = 2; j <= n; ++j) {
    gam[j] = DivX(In(c[j - 1]), bet);
    bet = In(b[j]) - MulX(In(a[j]), gam[j]);
    u[j] = ToT<T>(DivX(In(r[j]) - MulX(In(a[j]), In(u[j - 1])), bet));
  }
  for (int32_t j = n - 1; j >= 1; --j) u[j] = ToT<T>(In(u[j]) - MulX(gam[j + 1], In(u[j + 1])));
}

// Modified Gram-Schmidt on the columns; a column that vanishes against the
// earlier ones (to 1e-12 of its length) is left as zeros.
template <class T>
T **Orthonormalize(T **a) {
  int32_t c = ColsOf(a), r = RowsOf(a);
  if (!a) return FallbackMatrix<T>();
  T **q = NewMatrix<T>(c, r);
  if (!Fits(q, c, r)) return q;
  for (int32_t j = 1; j <= c; ++j) {
    for (int32_t i = 1; i <= r; ++i) q[j][i] = a[j][i];
    double original = Norm2(q[j], r);
    for (int32_t k = 1; k < j; ++k) {
      T s = Zero<T>();
      for (int32_t i = 1; i <= r; ++i) s = Add(s, Mul(Conj(q[k][i]), q[j][i]));
      for (int32_t i = 1; i <= r; ++i) q[j][i] = Sub(q[j][i], Mul(q[k][i], s));
    }
    double norm = Norm2(q[j], r);
    bool keep = norm > 1e-12 * original;
    for (int32_t i = 1; i <= r; ++i) q[j][i] = keep ? Scale(q[j][i], 1.0 / norm) : Zero<T>();
  }
  return q;
}

template <class T>
T **Power(T **a, int32_t p, void (*invert)(T **)) {
  int32_t n;
  if (!IsSquare(a, n)) return FallbackMatrix<T>();
  T **result = Identity<T>(n);
  if (!Fits(result, n, n)) return result;
  if (p == 0) return result;
  T **base = Transposed(a, false);  // any copy will do; transpose back below
  if (!Fits(base, n, n)) {
    FreeMatrixT(base);
    return result;
  }
  TransposeSquare(base, false);
  if (p < 0) invert(base);
  int64_t e = p < 0 ? -static_cast<int64_t>(p) : p;
  // Binary powering: result and base stay n by n throughout.
  while (e > 0) {
    if (e & 1) MultiplyInPlace(result, base);
    e >>= 1;
    if (e > 0) {
      T **sq = Product(base, base);
      FreeMatrixT(base);
      base = sq;
      if (!Fits(base, n, n)) break;
    }
  }
  FreeMatrixT(base);
  return result;
}


}  // namespace

bool InvertComplexStrict(Complex **a) {
  try {
    return Invert<Complex, ComplexLU>(a, true);
  } catch (...) {
    return false;
  }
}

}  // namespace qvx::la

using namespace qvx::la;

extern "C" {

// ---- arithmetic ------------------------------------------------------------

QVX_API double **AddM(double **a, double **b) noexcept { return ElementWise(a, b, false); }
QVX_API Complex **AddMC(Complex **a, Complex **b) noexcept { return ElementWise(a, b, false); }
QVX_API double **SubM(double **a, double **b) noexcept { return ElementWise(a, b, true); }
QVX_API Complex **SubMC(Complex **a, Complex **b) noexcept { return ElementWise(a, b, true); }
QVX_API double *AddV(const double *a, const double *b) noexcept { return ElementWiseV(a, b, false); }
QVX_API Complex *AddVC(const Complex *a, const Complex *b) noexcept { return ElementWiseV(a, b, false); }
QVX_API double *SubV(const double *a, const double *b) noexcept { return ElementWiseV(a, b, true); }
QVX_API Complex *SubVC(const Complex *a, const Complex *b) noexcept { return ElementWiseV(a, b, true); }
QVX_API double **MulM(double **a, double **b) noexcept { return Product(a, b); }
QVX_API Complex **MulMC(Complex **a, Complex **b) noexcept { return Product(a, b); }

// Row vector times matrix: result[j] = sum over i of v[i] m[j][i].
QVX_API double *MulVM(const double *v, double **m) noexcept {
  int32_t r = RowsOf(m), c = ColsOf(m);
  if (!v || !m || LengthOf(v) != r || c == 0) return Vector(0);
  double *out = Vector(c);
  if (!FitsV(out, c)) return out;
  for (int32_t j = 1; j <= c; ++j) {
    double s = 0.0;
    for (int32_t i = 1; i <= r; ++i) s += v[i] * m[j][i];
    out[j] = s;
  }
  return out;
}

// a (b v), without forming a b.
QVX_API double *MulMMV(double **a, double **b, const double *v) noexcept {
  if (!a || !b || !v || ColsOf(b) != LengthOf(v) || ColsOf(a) != RowsOf(b)) return Vector(0);
  double *bv = MulMV(b, v);
  if (LengthOf(bv) != RowsOf(b)) return bv;
  double *out = MulMV(a, bv);
  FreeVector(bv);
  return out;
}

// u' m v; 0 when the shapes do not fit.
QVX_API double MulVMV(const double *u, double **m, const double *v) noexcept {
  int32_t r = RowsOf(m), c = ColsOf(m);
  if (!u || !m || !v || LengthOf(u) != r || LengthOf(v) != c) return 0.0;
  double s = 0.0;
  for (int32_t j = 1; j <= c; ++j) {
    double t = 0.0;
    for (int32_t i = 1; i <= r; ++i) t += u[i] * m[j][i];
    s += t * v[j];
  }
  return s;
}

// Inner products over vectors of equal length (0 otherwise); the complex one
// conjugates its first argument.
QVX_API double InnerP(const double *a, const double *b) noexcept {
  int32_t n = LengthOf(a);
  if (!a || !b || LengthOf(b) != n) return 0.0;
  double s = 0.0;
  for (int32_t i = 1; i <= n; ++i) s += a[i] * b[i];
  return s;
}
QVX_API Complex InnerPC(const Complex *a, const Complex *b) noexcept {
  int32_t n = LengthOf(a);
  Complex s{0.0, 0.0};
  if (!a || !b || LengthOf(b) != n) return s;
  for (int32_t i = 1; i <= n; ++i) {
    s.re += a[i].re * b[i].re + a[i].im * b[i].im;
    s.im += a[i].re * b[i].im - a[i].im * b[i].re;
  }
  return s;
}
QVX_API double DotP(const double *a, const double *b) noexcept { return InnerP(a, b); }

// m[j][i] = a[i] b[j]: length(a) rows, length(b) columns.
QVX_API double **OuterP(const double *a, const double *b) noexcept {
  int32_t r = LengthOf(a), c = LengthOf(b);
  if (!a || !b) return BadMatrix();
  double **m = Matrix(c, r);
  if (!Fits(m, c, r)) return m;
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) m[j][i] = a[i] * b[j];
  return m;
}

QVX_API double *CrossP(const double *a, const double *b) noexcept {
  if (LengthOf(a) != 3 || LengthOf(b) != 3) return Vector(0);
  return Vector3(a[2] * b[3] - a[3] * b[2], a[3] * b[1] - a[1] * b[3], a[1] * b[2] - a[2] * b[1]);
}

// Every element increased by x.
QVX_API double **IncM(double **m, double x) noexcept {
  int32_t c = ColsOf(m), r = RowsOf(m);
  if (!m) return BadMatrix();
  double **out = Matrix(c, r);
  if (!Fits(out, c, r)) return out;
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) out[j][i] = m[j][i] + x;
  return out;
}
QVX_API double *IncV(const double *v, double x) noexcept {
  int32_t n = LengthOf(v);
  double *out = Vector(n);
  if (!v || !FitsV(out, n)) return out;
  for (int32_t i = 1; i <= n; ++i) out[i] = v[i] + x;
  return out;
}

// Integer powers by repeated squaring; a negative power inverts first.
QVX_API double **PowM(double **a, int32_t p) noexcept {
  return qvx::Guard(static_cast<double **>(nullptr), [&] { return Power<double>(a, p, InvertM); });
}
QVX_API Complex **PowMC(Complex **a, int32_t p) noexcept {
  return qvx::Guard(static_cast<Complex **>(nullptr), [&] { return Power<Complex>(a, p, InvertMC); });
}

QVX_API double **Kronecker(double **a, double **b) noexcept {
  int32_t ac = ColsOf(a), ar = RowsOf(a), bc = ColsOf(b), br = RowsOf(b);
  if (!a || !b || (int64_t)ac * bc > 0x3ffffffe || (int64_t)ar * br > 0x3ffffffe) return BadMatrix();
  double **m = Matrix(ac * bc, ar * br);
  if (!Fits(m, ac * bc, ar * br)) return m;
  for (int32_t ja = 1; ja <= ac; ++ja)
    for (int32_t jb = 1; jb <= bc; ++jb)
      for (int32_t ia = 1; ia <= ar; ++ia)
        for (int32_t ib = 1; ib <= br; ++ib)
          m[(ja - 1) * bc + jb][(ia - 1) * br + ib] = a[ja][ia] * b[jb][ib];
  return m;
}

QVX_API double **Transpose(double **m) noexcept { return Transposed(m, false); }
QVX_API Complex **TransposeC(Complex **m) noexcept { return Transposed(m, false); }
QVX_API Complex **Adjoint(Complex **m) noexcept { return Transposed(m, true); }
QVX_API double **IdentityMatrix(int32_t n) noexcept { return Identity<double>(n); }
QVX_API double **DiagonalMatrix(const double *v) noexcept { return Diagonal(v); }
QVX_API Complex **DiagonalMatrixC(const Complex *v) noexcept { return Diagonal(v); }

// The matrices of a MatrixVector along the diagonal, zeros elsewhere.
QVX_API double **BlockDiagonalMatrix(double ***blocks) noexcept {
  if (!blocks || !blocks[0] || !blocks[0][0]) return BadMatrix();
  int32_t k = LengthOf(blocks[0][0]);
  int64_t c = 0, r = 0;
  for (int32_t t = 1; t <= k; ++t) {
    c += ColsOf(blocks[t]);
    r += RowsOf(blocks[t]);
  }
  if (c > 0x3ffffffe || r > 0x3ffffffe) return BadMatrix();
  double **m = Matrix0(static_cast<int32_t>(c), static_cast<int32_t>(r));
  if (!Fits(m, static_cast<int32_t>(c), static_cast<int32_t>(r))) return m;
  int32_t oc = 0, orow = 0;
  for (int32_t t = 1; t <= k; ++t) {
    int32_t bc = ColsOf(blocks[t]), br = RowsOf(blocks[t]);
    for (int32_t j = 1; j <= bc; ++j)
      for (int32_t i = 1; i <= br; ++i) m[oc + j][orow + i] = blocks[t][j][i];
    oc += bc;
    orow += br;
  }
  return m;
}

// sub[2..n] below the diagonal, diag[1..n], super[1..n-1] above it.
QVX_API double **TriDiagonalMatrix(const double *sub, const double *diag, const double *super) noexcept {
  return TriDiagonal(sub, diag, super);
}
QVX_API Complex **TriDiagonalMatrixC(const Complex *sub, const Complex *diag, const Complex *super) noexcept {
  return TriDiagonal(sub, diag, super);
}

// The columns of a followed by those of b; the row counts must agree.
QVX_API double **CombineMatrices(double **a, double **b) noexcept {
  int32_t ac = ColsOf(a), bc = ColsOf(b), r = RowsOf(a);
  if (!a || !b || RowsOf(b) != r || ac + bc == 0) return BadMatrix();
  double **m = Matrix(ac + bc, r);
  if (!Fits(m, ac + bc, r)) return m;
  for (int32_t j = 1; j <= ac; ++j) std::memcpy(m[j] + 1, a[j] + 1, sizeof(double) * r);
  for (int32_t j = 1; j <= bc; ++j) std::memcpy(m[ac + j] + 1, b[j] + 1, sizeof(double) * r);
  return m;
}
QVX_API int32_t **CombineMatricesL(int32_t **a, int32_t **b) noexcept {
  int32_t ac = ColsOf(a), bc = ColsOf(b), r = RowsOf(a);
  if (!a || !b || RowsOf(b) != r || ac + bc == 0) return Matrix0L(1, 1);
  int32_t **m = MatrixL(ac + bc, r);
  if (!m || ColsOf(m) != ac + bc || RowsOf(m) != r) return m;
  for (int32_t j = 1; j <= ac; ++j) std::memcpy(m[j] + 1, a[j] + 1, sizeof(int32_t) * r);
  for (int32_t j = 1; j <= bc; ++j) std::memcpy(m[ac + j] + 1, b[j] + 1, sizeof(int32_t) * r);
  return m;
}

// Central differences: column j holds the derivatives by x[j] of the m
// components of f (f returns a new Vector, freed here). A step h <= 0 gives
// the cube root of the machine epsilon, scaled by |x[j]|.
QVX_API double **JacobianMatrix(double *(*f)(const double *x), const double *x, double h) noexcept {
  int32_t n = LengthOf(x);
  if (!f || !x || n == 0) return BadMatrix();
  double *f0 = f(x);
  int32_t m = LengthOf(f0);
  FreeVector(f0);
  if (m == 0) return BadMatrix();
  double **jac = Matrix0(n, m);
  double *xp = CopyVector(x);
  if (!Fits(jac, n, m) || LengthOf(xp) != n) {
    FreeVector(xp);
    return jac;
  }
  for (int32_t j = 1; j <= n; ++j) {
    double step = h > 0.0 ? h : 6.0554544523933395e-06 * std::max(1.0, std::fabs(x[j]));
    double saved = xp[j];
    xp[j] = saved + step;
    double up = xp[j];
    double *fp = f(xp);
    xp[j] = saved - step;
    double down = xp[j];
    double *fm = f(xp);
    xp[j] = saved;
    if (LengthOf(fp) >= m && LengthOf(fm) >= m)
      for (int32_t i = 1; i <= m; ++i) jac[j][i] = (fp[i] - fm[i]) / (up - down);
    FreeVector(fp);
    FreeVector(fm);
  }
  FreeVector(xp);
  return jac;
}

QVX_API double *NormalizeV(const double *v) noexcept { return Normalized(v); }
QVX_API Complex *NormalizeVC(const Complex *v) noexcept { return Normalized(v); }
QVX_API double **NormalizeM(double **m) noexcept { return NormalizedColumns(m); }
QVX_API Complex **NormalizeMC(Complex **m) noexcept { return NormalizedColumns(m); }
QVX_API double *UnitV(int32_t n, int32_t k) noexcept { return Unit<double>(n, k); }
QVX_API Complex *UnitVC(int32_t n, int32_t k) noexcept { return Unit<Complex>(n, k); }

QVX_API double EuclideanNormV(const double *v) noexcept { return Norm2(v, LengthOf(v)); }
// Frobenius norm.
QVX_API double EuclideanNormM(double **m) noexcept {
  int32_t c = ColsOf(m), r = RowsOf(m);
  double s = 0.0;
  for (int32_t j = 1; j <= c; ++j) s = std::hypot(s, Norm2(m[j], r));
  return s;
}
// Distances between containers of one shape; -1 when the shapes differ.
QVX_API double EuclideanDistV(const double *a, const double *b) noexcept {
  double *d = SubV(a, b);
  double r = (a && b && LengthOf(a) == LengthOf(b)) ? EuclideanNormV(d) : -1.0;
  FreeVector(d);
  return r;
}
QVX_API double EuclideanDistM(double **a, double **b) noexcept {
  if (!a || !b || ColsOf(a) != ColsOf(b) || RowsOf(a) != RowsOf(b)) return -1.0;
  double **d = SubM(a, b);
  double r = EuclideanNormM(d);
  FreeMatrix(d);
  return r;
}
QVX_API double EuclideanNorm2(double x, double y) noexcept { return std::hypot(x, y); }
QVX_API double EuclideanNorm3(double x, double y, double z) noexcept {
  return std::hypot(std::hypot(x, y), z);
}

// ---- in place --------------------------------------------------------------

QVX_API void AddIPM(double **a, double **b) noexcept {
  int32_t c = ColsOf(a), r = RowsOf(a);
  if (!a || !b || ColsOf(b) != c || RowsOf(b) != r) return;
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) a[j][i] += b[j][i];
}
QVX_API void MulIPM(double **a, double **b) noexcept {
  qvx::GuardVoid([&] { MultiplyInPlace(a, b); });
}
QVX_API void MulIPMC(Complex **a, Complex **b) noexcept {
  qvx::GuardVoid([&] { MultiplyInPlace(a, b); });
}
QVX_API void TransposeIP(double **m, double **t) noexcept { TransposeInto(m, t, false); }
QVX_API void TransposeIPC(Complex **m, Complex **t) noexcept { TransposeInto(m, t, false); }
QVX_API void AdjointIP(Complex **m, Complex **t) noexcept { TransposeInto(m, t, true); }
QVX_API void TransposeSquareIP(double **m) noexcept { TransposeSquare(m, false); }
QVX_API void TransposeSquareIPC(Complex **m) noexcept { TransposeSquare(m, false); }
QVX_API void AdjointSquareIP(Complex **m) noexcept { TransposeSquare(m, true); }

// The square of a square matrix, a a.
QVX_API double **Square(double **a) noexcept {
  int32_t n;
  if (!IsSquare(a, n)) return BadMatrix();
  return Product(a, a);
}

// ---- LU, solving, determinants, inverses -----------------------------------

QVX_API int32_t *LUDecomposition(double **a) noexcept {
  return qvx::Guard(static_cast<int32_t *>(nullptr), [&] { return Decompose<double, RealLU>(a); });
}
QVX_API int32_t *LUDecompositionC(Complex **a) noexcept {
  return qvx::Guard(static_cast<int32_t *>(nullptr), [&] { return Decompose<Complex, ComplexLU>(a); });
}
QVX_API void LUSolve(double **a, double **b) noexcept {
  qvx::GuardVoid([&] { Solve<double, RealLU>(a, b); });
}
QVX_API void LUSolveC(Complex **a, Complex **b) noexcept {
  qvx::GuardVoid([&] { Solve<Complex, ComplexLU>(a, b); });
}
QVX_API void LinSolve(double **a, double **b) noexcept {
  double **copy = CopyMatrix(a);
  if (copy && ColsOf(copy) == ColsOf(a)) LUSolve(copy, b);
  FreeMatrix(copy);
}
QVX_API double Det(double **a) noexcept {
  return qvx::Guard(0.0, [&] { return Determinant<double, RealLU>(a); });
}
QVX_API Complex DetC(Complex **a) noexcept {
  return qvx::Guard(Complex{0.0, 0.0}, [&] { return ToC(Determinant<Complex, ComplexLU>(a)); });
}
QVX_API void InvertM(double **a) noexcept {
  qvx::GuardVoid([&] { Invert<double, RealLU>(a); });
}
QVX_API void InvertMC(Complex **a) noexcept {
  qvx::GuardVoid([&] { Invert<Complex, ComplexLU>(a); });
}
// Inverse of a 2 by 2 matrix by the adjugate; any other shape gives the
// fall-back 1 by 1 zero.
QVX_API double **Invert2M(double **a) noexcept {
  if (ColsOf(a) != 2 || RowsOf(a) != 2) return BadMatrix();
  double **m = Matrix(2, 2);
  if (!Fits(m, 2, 2)) return m;
  double det = a[1][1] * a[2][2] - a[2][1] * a[1][2];
  m[1][1] = a[2][2] / det;
  m[2][2] = a[1][1] / det;
  m[2][1] = -a[2][1] / det;
  m[1][2] = -a[1][2] / det;
  return m;
}

// ---- band and tridiagonal --------------------------------------------------

QVX_API double BanDec(double **a, int32_t m1, int32_t m2, double **al, int32_t *index) noexcept {
  return BandDecompose<double>(a, m1, m2, al, index);
}
QVX_API double BanDecC(Complex **a, int32_t m1, int32_t m2, Complex **al, int32_t *index) noexcept {
  return BandDecompose<cplx>(a, m1, m2, al, index);
}
QVX_API void BanSolve(double **a, int32_t m1, int32_t m2, double **al, const int32_t *index, double *b) noexcept {
  BandSolve<double>(a, m1, m2, al, index, b);
}
QVX_API void BanSolveC(Complex **a, int32_t m1, int32_t m2, Complex **al, const int32_t *index, Complex *b) noexcept {
  BandSolve<cplx>(a, m1, m2, al, index, b);
}
QVX_API void TriDiagSolve(const double *a, const double *b, const double *c, const double *r, double *u) noexcept {
  qvx::GuardVoid([&] { TriSolve<double>(a, b, c, r, u); });
}
QVX_API void TriDiagSolveC(const Complex *a, const Complex *b, const Complex *c, const Complex *r, Complex *u) noexcept {
  qvx::GuardVoid([&] { TriSolve<cplx>(a, b, c, r, u); });
}

// ---- orthonormalisation and the power method -------------------------------

QVX_API double **GramSchmidt(double **a) noexcept { return Orthonormalize(a); }
QVX_API Complex **GramSchmidtC(Complex **a) noexcept { return Orthonormalize(a); }

// n rounds of v := a v / s, where s is the element of a v of largest
// magnitude (with its sign, so a negative dominant eigenvalue comes out
// negative). v ends as the last normalised vector; the result is the last s.
QVX_API double PowerMethod(double **a, double *v, int32_t n) noexcept {
  int32_t size;
  if (n < 1 || !IsSquare(a, size) || LengthOf(v) != size) return 0.0;
  double s = 0.0;
  for (int32_t round = 0; round < n; ++round) {
    double *w = MulMV(a, v);
    if (LengthOf(w) != size) {
      FreeVector(w);
      return s;
    }
    s = 0.0;
    for (int32_t i = 1; i <= size; ++i)
      if (std::fabs(w[i]) > std::fabs(s)) s = w[i];
    for (int32_t i = 1; i <= size; ++i) v[i] = s != 0.0 ? w[i] / s : w[i];
    FreeVector(w);
  }
  return s;
}
QVX_API Complex PowerMethodC(Complex **a, Complex *v, int32_t n) noexcept {
  int32_t size;
  Complex s{0.0, 0.0};
  if (n < 1 || !IsSquare(a, size) || LengthOf(v) != size) return s;
  return qvx::Guard(s, [&] {
    std::vector<Complex> w(static_cast<size_t>(size) + 1);
    for (int32_t round = 0; round < n; ++round) {
      for (int32_t i = 1; i <= size; ++i) w[i] = Complex{0.0, 0.0};
      for (int32_t j = 1; j <= size; ++j)
        for (int32_t i = 1; i <= size; ++i) w[i] = Add(w[i], Mul(a[j][i], v[j]));
      s = Complex{0.0, 0.0};
      for (int32_t i = 1; i <= size; ++i)
        if (AbsSq(w[i]) > AbsSq(s)) s = w[i];
      bool zero = s.re == 0.0 && s.im == 0.0;
      for (int32_t i = 1; i <= size; ++i) v[i] = zero ? w[i] : DivC(w[i], s);
    }
    return s;
  });
}

}  // extern "C"

extern "C" {

// Inverse iteration: solves (a - mu I) x = x a few times from a fixed
// start vector, with mu nudged off the eigenvalue by a relative 1e-10 so that the
// factorisation stays usable; the result has unit length.
QVX_API double *EigenVector(double **a, double value) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&]() -> double * {
    int32_t n;
    if (!IsSquare(a, n)) return Vector(0);
    std::vector<double> d;
    std::vector<int32_t> perm;
    ToRows(a, n, n, d);
    double norm = 0.0;
    for (double x : d) norm = std::max(norm, std::fabs(x));
    double mu = value + 1e-10 * std::max(std::fabs(value), norm > 0.0 ? norm : 1.0);
    for (int32_t i = 0; i < n; ++i) d[static_cast<size_t>(i) * n + i] -= mu;
    LUFactor(d, n, perm);
    double *x = Vector(n);
    if (LengthOf(x) != n) return x;
    // A start with no symmetry, so it is not orthogonal to the wanted vector.
    for (int32_t i = 1; i <= n; ++i) x[i] = 1.0 + 0.5 * std::sin(1.7 * i);
    for (int round = 0; round < 3; ++round) {
      LUBackSub(d, n, perm, x);
      double s = Norm2(x, n);
      if (!(s > 0.0) || !std::isfinite(s)) break;
      for (int32_t i = 1; i <= n; ++i) x[i] /= s;
    }
    return x;
  });
}

}  // extern "C"
