// Matrix utilities: columns and rows taken out, inserted, removed, swapped,
// shifted, reversed and sorted; matrices augmented, joined and resized;
// rows as elements of sets; real and imaginary parts; MatrixVector edits.
//
// Read first: m[j][i] is column j, row i, both 1-based. Nearly every member
// here is one call of Remap, which builds a new matrix from a list of
// source columns and a list of source rows (0 meaning "a zero line"), so
// the bounds are checked in one place. Shapes that do not fit give a 1 by 1
// zero matrix; positions outside the matrix give a copy.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <vector>

#include "numerics/utilities/vectorutils.h"

namespace {

using namespace qvx::vu;
using Lines = std::vector<int32_t>;

// out[j][i] = m[colSrc[j - 1]][rowSrc[i - 1]], zero where either source is 0.
template <class T>
T **Remap(T *const *m, const Lines &colSrc, const Lines &rowSrc) {
  const int32_t c = static_cast<int32_t>(colSrc.size()), r = static_cast<int32_t>(rowSrc.size());
  const int32_t mc = Cols(m), mr = Rows(m);
  T **out = NewMat<T>(c, r);
  if (!out) return Fallback<T>();
  for (int32_t j = 1; j <= c; ++j) {
    int32_t sj = colSrc[static_cast<std::size_t>(j - 1)];
    for (int32_t i = 1; i <= r; ++i) {
      int32_t si = rowSrc[static_cast<std::size_t>(i - 1)];
      out[j][i] = sj >= 1 && sj <= mc && si >= 1 && si <= mr ? m[sj][si] : T{};
    }
  }
  return out;
}

Lines Identity(int32_t n) {
  Lines x(static_cast<std::size_t>(std::max(n, 0)));
  std::iota(x.begin(), x.end(), 1);
  return x;
}
// 1..n with k zero lines (new lines) before position pos.
Lines WithGap(int32_t n, int32_t pos, int32_t k) {
  Lines x = Identity(n);
  pos = std::clamp(pos, 1, n + 1);
  x.insert(x.begin() + (pos - 1), static_cast<std::size_t>(k), 0);
  return x;
}
Lines Without(int32_t n, const std::vector<char> &drop) {
  Lines x;
  for (int32_t i = 1; i <= n; ++i)
    if (!drop[static_cast<std::size_t>(i)]) x.push_back(i);
  return x;
}
Lines Swapped(int32_t n, int32_t a, int32_t b) {
  Lines x = Identity(n);
  if (a >= 1 && a <= n && b >= 1 && b <= n) std::swap(x[static_cast<std::size_t>(a - 1)], x[static_cast<std::size_t>(b - 1)]);
  return x;
}
Lines Reversed(int32_t n) {
  Lines x = Identity(n);
  std::reverse(x.begin(), x.end());
  return x;
}
// Line i of the result comes from line i - k (circularly).
Lines Shifted(int32_t n, int32_t k) {
  Lines x = Identity(n);
  if (n > 1) {
    int64_t s = ((static_cast<int64_t>(k) % n) + n) % n;
    for (int32_t i = 0; i < n; ++i) x[static_cast<std::size_t>((i + s) % n)] = i + 1;
  }
  return x;
}

// ---- combining ---------------------------------------------------------------

// [a b] (pad: missing rows become zeros; otherwise row counts must agree).
template <class T>
T **BesideT(T *const *a, T *const *b, bool pad) {
  return GuardMat<T>([&]() -> T ** {
    int32_t ca = Cols(a), cb = Cols(b), ra = Rows(a), rb = Rows(b);
    if (ca == 0) return CopyMat(b);
    if (cb == 0) return CopyMat(a);
    if (!pad && ra != rb) return Fallback<T>();
    int32_t r = std::max(ra, rb);
    T **out = NewMat0<T>(ca + cb, r);
    if (!out) return Fallback<T>();
    for (int32_t j = 1; j <= ca; ++j) std::copy(a[j] + 1, a[j] + 1 + ra, out[j] + 1);
    for (int32_t j = 1; j <= cb; ++j) std::copy(b[j] + 1, b[j] + 1 + rb, out[ca + j] + 1);
    return out;
  });
}

// [a; b] (pad: missing columns become zeros; otherwise column counts must agree).
template <class T>
T **BelowT(T *const *a, T *const *b, bool pad) {
  return GuardMat<T>([&]() -> T ** {
    int32_t ca = Cols(a), cb = Cols(b), ra = Rows(a), rb = Rows(b);
    if (ca == 0) return CopyMat(b);
    if (cb == 0) return CopyMat(a);
    if (!pad && ca != cb) return Fallback<T>();
    int32_t c = std::max(ca, cb);
    T **out = NewMat0<T>(c, ra + rb);
    if (!out) return Fallback<T>();
    for (int32_t j = 1; j <= ca; ++j) std::copy(a[j] + 1, a[j] + 1 + ra, out[j] + 1);
    for (int32_t j = 1; j <= cb; ++j) std::copy(b[j] + 1, b[j] + 1 + rb, out[j] + 1 + ra);
    return out;
  });
}

// v as a new column before column pos, cut or zero-padded to the rows of m.
template <class T>
T **InsertColT(T *const *m, const T *v, int32_t pos) {
  return GuardMat<T>([&]() -> T ** {
    int32_t c = Cols(m), r = c ? Rows(m) : Len(v), n = Len(v);
    pos = std::clamp(pos, 1, c + 1);
    T **out = Remap(m, WithGap(c, pos, 1), Identity(r));
    if (Cols(out) == c + 1)
      for (int32_t i = 1; i <= r && i <= n; ++i) out[pos][i] = v[i];
    return out;
  });
}

// v as a new row before row pos, cut or zero-padded to the columns of m.
template <class T>
T **InsertRowT(T *const *m, const T *v, int32_t pos) {
  return GuardMat<T>([&]() -> T ** {
    int32_t c = Cols(m), r = Rows(m), n = Len(v);
    if (c == 0) c = n, r = 0;
    pos = std::clamp(pos, 1, r + 1);
    T **out = Remap(m, Identity(c), WithGap(r, pos, 1));
    if (Rows(out) == r + 1 && Cols(out) == c)
      for (int32_t j = 1; j <= c && j <= n; ++j) out[j][pos] = v[j];
    return out;
  });
}

template <class T>
T **SwapColsT(T *const *m, int32_t a, int32_t b) {
  return GuardMat<T>([&] { return Remap(m, Swapped(Cols(m), a, b), Identity(Rows(m))); });
}
template <class T>
T **SwapRowsT(T *const *m, int32_t a, int32_t b) {
  return GuardMat<T>([&] { return Remap(m, Identity(Cols(m)), Swapped(Rows(m), a, b)); });
}
template <class T>
T **InvertColsT(T *const *m) {
  return GuardMat<T>([&] { return Remap(m, Reversed(Cols(m)), Identity(Rows(m))); });
}
template <class T>
T **InvertRowsT(T *const *m) {
  return GuardMat<T>([&] { return Remap(m, Identity(Cols(m)), Reversed(Rows(m))); });
}
template <class T>
T **ShiftColT(T *const *m, int32_t k) {
  return GuardMat<T>([&] { return Remap(m, Shifted(Cols(m), k), Identity(Rows(m))); });
}
template <class T>
T **ShiftRowT(T *const *m, int32_t k) {
  return GuardMat<T>([&] { return Remap(m, Identity(Cols(m)), Shifted(Rows(m), k)); });
}
// The shape cols by rows, m cut or zero-padded into it. The new matrix is
// made before anything else, so an absurd shape fails cheaply.
template <class T>
T **ExtendT(T *const *m, int32_t cols, int32_t rows) {
  T **out = NewMat0<T>(std::max(cols, 0), std::max(rows, 0));
  if (!out) return Fallback<T>();
  const int32_t c = std::min(Cols(m), Cols(out)), r = std::min(Rows(m), Rows(out));
  for (int32_t j = 1; j <= c; ++j) std::copy(m[j] + 1, m[j] + 1 + r, out[j] + 1);
  return out;
}

// ---- sorting ------------------------------------------------------------------

// Rows reordered so that column `col` ascends; equal keys keep their order
// (the position breaks ties, which makes the plain sort stable).
template <class T>
T **SortByColumnT(T *const *m, int32_t col) {
  return GuardMat<T>([&]() -> T ** {
    int32_t c = Cols(m), r = Rows(m);
    if (col < 1 || col > c) return CopyMat(m);
    if (c == 1) {  // one column: the values themselves are the rows
      T **out = CopyMat(m);
      if (Rows(out) != r) return out;
      T *first = out[1] + 1, *last = first + r;
      if constexpr (std::is_floating_point_v<T>) {
        // NaNs moved to the end first, so the sort proper can use plain <.
        last = std::partition(first, last, [](T x) { return !std::isnan(x); });
        std::sort(first, last);
      } else {
        std::sort(first, last, [](const T &a, const T &b) { return Less(a, b); });
      }
      return out;
    }
    std::vector<std::pair<T, int32_t>> keyed;
    keyed.reserve(static_cast<std::size_t>(r));
    for (int32_t i = 1; i <= r; ++i) keyed.emplace_back(m[col][i], i);
    std::sort(keyed.begin(), keyed.end(), [](const auto &a, const auto &b) {
      if (Less(a.first, b.first)) return true;
      if (Less(b.first, a.first)) return false;
      return a.second < b.second;
    });
    Lines rows;
    rows.reserve(keyed.size());
    for (const auto &k : keyed) rows.push_back(k.second);
    return Remap(m, Identity(c), rows);
  });
}

// Lexicographic order of rows (by column 1, then 2, ...).
template <class T>
bool RowLess(T *const *m, int32_t c, int32_t a, int32_t b) {
  for (int32_t j = 1; j <= c; ++j) {
    if (Less(m[j][a], m[j][b])) return true;
    if (Less(m[j][b], m[j][a])) return false;
  }
  return false;
}
template <class T>
bool RowSame(T *const *m, int32_t c, int32_t a, int32_t b) {
  for (int32_t j = 1; j <= c; ++j)
    if (!Matches(m[j][a], m[j][b])) return false;
  return true;
}

// Row indices of m in lexicographic order (stable).
template <class T>
Lines SortedRows(T *const *m) {
  int32_t c = Cols(m);
  Lines rows = Identity(Rows(m));
  std::stable_sort(rows.begin(), rows.end(), [&](int32_t a, int32_t b) { return RowLess(m, c, a, b); });
  return rows;
}

template <class T>
T **SortRowsT(T *const *m) {
  return GuardMat<T>([&] { return Remap(m, Identity(Cols(m)), SortedRows(m)); });
}

// Columns in lexicographic order of their elements (row 1 first).
template <class T>
T **SortColsT(T *const *m) {
  return GuardMat<T>([&] {
    int32_t c = Cols(m), r = Rows(m);
    Lines cols = Identity(c);
    std::stable_sort(cols.begin(), cols.end(), [&](int32_t a, int32_t b) {
      for (int32_t i = 1; i <= r; ++i) {
        if (Less(m[a][i], m[b][i])) return true;
        if (Less(m[b][i], m[a][i])) return false;
      }
      return false;
    });
    return Remap(m, cols, Identity(r));
  });
}

// ---- duplicates and sets of rows ---------------------------------------------

// Keeps the first of each group of equal rows, in the order of m.
Lines DistinctRows(double **m) {
  int32_t c = Cols(m), r = Rows(m);
  Lines sorted = SortedRows(m);
  std::vector<char> drop(static_cast<std::size_t>(r) + 1, 0);
  for (std::size_t k = 1; k < sorted.size(); ++k)
    if (RowSame(m, c, sorted[k - 1], sorted[k])) drop[static_cast<std::size_t>(sorted[k])] = 1;
  return Without(r, drop);
}

using Row = std::vector<double>;

bool RowVecLess(const Row &a, const Row &b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](double x, double y) { return Less(x, y); });
}
bool RowVecSame(const Row &a, const Row &b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](double x, double y) { return Matches(x, y); });
}

std::vector<Row> RowSet(double **m) {
  std::vector<Row> rows;
  int32_t c = Cols(m), r = Rows(m);
  for (int32_t i = 1; i <= r; ++i) {
    Row x(static_cast<std::size_t>(c));
    for (int32_t j = 1; j <= c; ++j) x[static_cast<std::size_t>(j - 1)] = m[j][i];
    rows.push_back(std::move(x));
  }
  std::sort(rows.begin(), rows.end(), RowVecLess);
  rows.erase(std::unique(rows.begin(), rows.end(), RowVecSame), rows.end());
  return rows;
}

double **FromRows(const std::vector<Row> &rows, int32_t c) {
  int32_t r = static_cast<int32_t>(rows.size());
  double **out = NewMat<double>(c, r);
  if (!out) return Fallback<double>();
  for (int32_t i = 1; i <= r; ++i)
    for (int32_t j = 1; j <= c; ++j) out[j][i] = rows[static_cast<std::size_t>(i - 1)][static_cast<std::size_t>(j - 1)];
  return out;
}

enum class SetOp { kUnion, kIntersection, kDifference, kSymmetric };

// Rows as elements: the result's rows ascend and are distinct. An operand
// with no columns is the empty set; otherwise column counts must agree.
double **RowSetOperation(double **a, double **b, SetOp op) {
  return GuardMat<double>([&] {
    int32_t ca = Cols(a), cb = Cols(b);
    if (ca && cb && ca != cb) return Fallback<double>();
    int32_t c = ca ? ca : cb;
    std::vector<Row> x = RowSet(a), y = RowSet(b), out;
    auto sink = std::back_inserter(out);
    switch (op) {
      case SetOp::kUnion: std::set_union(x.begin(), x.end(), y.begin(), y.end(), sink, RowVecLess); break;
      case SetOp::kIntersection:
        std::set_intersection(x.begin(), x.end(), y.begin(), y.end(), sink, RowVecLess);
        break;
      case SetOp::kDifference: std::set_difference(x.begin(), x.end(), y.begin(), y.end(), sink, RowVecLess); break;
      case SetOp::kSymmetric:
        std::set_symmetric_difference(x.begin(), x.end(), y.begin(), y.end(), sink, RowVecLess);
        break;
    }
    return FromRows(out, c);
  });
}

// ---- text matrices ---------------------------------------------------------------

// A StringMatrix built from the columns `cols` (0-based) and the rows `rows`
// of m; null when m is empty or an allocation fails.
char ***RemapS(char ***m, const Lines &cols, const Lines &rows) {
  int32_t c = static_cast<int32_t>(cols.size()), r = static_cast<int32_t>(rows.size());
  if (c == 0 || r == 0) return StringMatrix(0, 0);
  char ***out = StringMatrix(c, r);
  if (!out || StringMatrixCols(out) != c || StringMatrixRows(out) != r) {
    FreeStringMatrix(out);
    return nullptr;
  }
  for (int32_t j = 0; j < c; ++j)
    for (int32_t i = 0; i < r; ++i) {
      char *text = CopyS(m[cols[static_cast<std::size_t>(j)]][rows[static_cast<std::size_t>(i)]]);
      if (!text) continue;  // keeps the "0" already there
      FreeString(out[j][i]);
      out[j][i] = text;
    }
  return out;
}

// 0-based lines 0..n-1 without `skip`.
Lines AllBut(int32_t n, int32_t skip) {
  Lines x;
  for (int32_t i = 0; i < n; ++i)
    if (i != skip) x.push_back(i);
  return x;
}

Lines ZeroBased(int32_t n) {
  Lines x = Identity(n);
  for (auto &i : x) --i;
  return x;
}

// Every column of a StringMatrix must hold the rows of the first, or the
// rows are cut to the shortest.
int32_t RowsS(char ***m) {
  int32_t c = StringMatrixCols(m), r = StringMatrixRows(m);
  for (int32_t j = 1; j < c; ++j) r = std::min(r, StringVectorLength(m[j]));
  return r;
}

char ***GuardS(auto &&body) noexcept {
  try {
    return body();
  } catch (...) {
    return nullptr;
  }
}

// One part (re or im) of every element of a complex matrix.
template <double Complex::*Part>
double **PartOf(Complex **m) {
  int32_t c = Cols(m), r = Rows(m);
  double **out = NewMat<double>(c, r);
  if (!out) return Fallback<double>();
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) out[j][i] = m[j][i].*Part;
  return out;
}

// ---- MatrixVector ---------------------------------------------------------------

// A new MatrixVector of copies of the given matrices (null slots stay null).
double ***MVOf(const std::vector<double **> &items) {
  int32_t n = static_cast<int32_t>(items.size());
  double ***out = MatrixVector(n);
  if (!out) return nullptr;
  for (int32_t t = 1; t <= n; ++t) {
    double **m = items[static_cast<std::size_t>(t - 1)];
    out[t] = m ? CopyMatrix(m) : nullptr;
  }
  return out;
}

std::vector<double **> MVItems(double ***mv) {
  std::vector<double **> x;
  for (int32_t t = 1, n = MVLen(mv); t <= n; ++t) x.push_back(mv[t]);
  return x;
}

template <class F>
double ***GuardMV(F &&body) noexcept {
  try {
    return body();
  } catch (...) {
    return MatrixVector(0);
  }
}

}  // namespace

extern "C" {

// ---- columns and rows ------------------------------------------------------------

QVX_API double *Col(double **m, int32_t j) noexcept {
  if (j < 1 || j > Cols(m)) return NewVec<double>(0);
  int32_t r = Rows(m);
  double *out = NewVec<double>(r);
  for (int32_t i = 1, n = Len(out); i <= n; ++i) out[i] = m[j][i];
  return out;
}
QVX_API double *Row(double **m, int32_t i) noexcept {
  if (i < 1 || i > Rows(m)) return NewVec<double>(0);
  int32_t c = Cols(m);
  double *out = NewVec<double>(c);
  for (int32_t j = 1, n = Len(out); j <= n; ++j) out[j] = m[j][i];
  return out;
}

QVX_API double **AugmentMatrixH(double **a, double **b) noexcept { return BesideT(a, b, false); }
QVX_API Complex **AugmentMatrixHC(Complex **a, Complex **b) noexcept { return BesideT(a, b, false); }
QVX_API int32_t **AugmentMatrixHL(int32_t **a, int32_t **b) noexcept { return BesideT(a, b, false); }
QVX_API double **AugmentMatrixV(double **a, double **b) noexcept { return BelowT(a, b, false); }
QVX_API Complex **AugmentMatrixVC(Complex **a, Complex **b) noexcept { return BelowT(a, b, false); }
QVX_API int32_t **AugmentMatrixVL(int32_t **a, int32_t **b) noexcept { return BelowT(a, b, false); }
QVX_API double **JoinMatrixH(double **a, double **b) noexcept { return BesideT(a, b, true); }
QVX_API int32_t **JoinMatrixHL(int32_t **a, int32_t **b) noexcept { return BesideT(a, b, true); }
QVX_API double **JoinMatrixV(double **a, double **b) noexcept { return BelowT(a, b, true); }
QVX_API int32_t **JoinMatrixVL(int32_t **a, int32_t **b) noexcept { return BelowT(a, b, true); }

QVX_API double **AppendMatrix(double **m, const double *row) noexcept { return InsertRowT(m, row, Rows(m) + 1); }

QVX_API double **ExtendMatrix(double **m, int32_t cols, int32_t rows) noexcept { return ExtendT(m, cols, rows); }
QVX_API Complex **ExtendMatrixC(Complex **m, int32_t cols, int32_t rows) noexcept { return ExtendT(m, cols, rows); }
QVX_API float **ExtendMatrixF(float **m, int32_t cols, int32_t rows) noexcept { return ExtendT(m, cols, rows); }
QVX_API int32_t **ExtendMatrixI(int32_t **m, int32_t cols, int32_t rows) noexcept { return ExtendT(m, cols, rows); }
QVX_API int32_t **ExtendMatrixL(int32_t **m, int32_t cols, int32_t rows) noexcept { return ExtendT(m, cols, rows); }

QVX_API double **InsertCol(double **m, const double *v, int32_t pos) noexcept { return InsertColT(m, v, pos); }
QVX_API Complex **InsertColC(Complex **m, const Complex *v, int32_t pos) noexcept { return InsertColT(m, v, pos); }
QVX_API double **InsertRow(double **m, const double *v, int32_t pos) noexcept { return InsertRowT(m, v, pos); }
QVX_API Complex **InsertRowC(Complex **m, const Complex *v, int32_t pos) noexcept { return InsertRowT(m, v, pos); }

// The columns of b before column pos of a, cut or zero-padded to a's rows.
QVX_API double **InsertMatrix(double **a, double **b, int32_t pos) noexcept {
  return GuardMat<double>([&] {
    int32_t ca = Cols(a), cb = Cols(b), r = ca ? Rows(a) : Rows(b);
    if (ca == 0) return CopyMat(b);
    pos = std::clamp(pos, 1, ca + 1);
    double **out = Remap(a, WithGap(ca, pos, cb), Identity(r));
    if (Cols(out) == ca + cb)
      for (int32_t j = 1, rb = Rows(b); j <= cb; ++j)
        for (int32_t i = 1; i <= r && i <= rb; ++i) out[pos + j - 1][i] = b[j][i];
    return out;
  });
}

QVX_API double **RemoveCol(double **m, int32_t j) noexcept {
  return GuardMat<double>([&] {
    int32_t c = Cols(m);
    std::vector<char> drop(static_cast<std::size_t>(c) + 1, 0);
    if (j >= 1 && j <= c) drop[static_cast<std::size_t>(j)] = 1;
    return Remap(m, Without(c, drop), Identity(Rows(m)));
  });
}
QVX_API double **RemoveRow(double **m, int32_t i) noexcept {
  return GuardMat<double>([&] {
    int32_t r = Rows(m);
    std::vector<char> drop(static_cast<std::size_t>(r) + 1, 0);
    if (i >= 1 && i <= r) drop[static_cast<std::size_t>(i)] = 1;
    return Remap(m, Identity(Cols(m)), Without(r, drop));
  });
}
// The rows listed in `rows` (a VectorL) removed; unknown rows are ignored.
QVX_API double **RemoveRows(double **m, const int32_t *rows) noexcept {
  return GuardMat<double>([&] {
    int32_t r = Rows(m);
    std::vector<char> drop(static_cast<std::size_t>(r) + 1, 0);
    for (int32_t k = 1, n = Len(rows); k <= n; ++k)
      if (rows[k] >= 1 && rows[k] <= r) drop[static_cast<std::size_t>(rows[k])] = 1;
    return Remap(m, Identity(Cols(m)), Without(r, drop));
  });
}

QVX_API double **RemoveDuplicateRows(double **m) noexcept {
  return GuardMat<double>([&] { return Remap(m, Identity(Cols(m)), DistinctRows(m)); });
}
// Columns compared as wholes; the first of each group of equal columns stays.
QVX_API double **RemoveDuplicateCols(double **m) noexcept {
  return GuardMat<double>([&] {
    int32_t c = Cols(m), r = Rows(m);
    Lines keep;
    for (int32_t j = 1; j <= c; ++j) {
      bool seen = std::any_of(keep.begin(), keep.end(), [&](int32_t k) {
        for (int32_t i = 1; i <= r; ++i)
          if (!Matches(m[j][i], m[k][i])) return false;
        return true;
      });
      if (!seen) keep.push_back(j);
    }
    return Remap(m, keep, Identity(r));
  });
}

QVX_API double **InvertCols(double **m) noexcept { return InvertColsT(m); }
QVX_API Complex **InvertColsC(Complex **m) noexcept { return InvertColsT(m); }
QVX_API double **InvertRows(double **m) noexcept { return InvertRowsT(m); }
QVX_API Complex **InvertRowsC(Complex **m) noexcept { return InvertRowsT(m); }

QVX_API double **SwapCols(double **m, int32_t a, int32_t b) noexcept { return SwapColsT(m, a, b); }
QVX_API Complex **SwapColsC(Complex **m, int32_t a, int32_t b) noexcept { return SwapColsT(m, a, b); }
QVX_API double **SwapRows(double **m, int32_t a, int32_t b) noexcept { return SwapRowsT(m, a, b); }
QVX_API Complex **SwapRowsC(Complex **m, int32_t a, int32_t b) noexcept { return SwapRowsT(m, a, b); }
QVX_API int32_t **SwapRowsL(int32_t **m, int32_t a, int32_t b) noexcept { return SwapRowsT(m, a, b); }

QVX_API double **ShiftCol(double **m, int32_t k) noexcept { return ShiftColT(m, k); }
QVX_API Complex **ShiftColC(Complex **m, int32_t k) noexcept { return ShiftColT(m, k); }
QVX_API double **ShiftRow(double **m, int32_t k) noexcept { return ShiftRowT(m, k); }
QVX_API Complex **ShiftRowC(Complex **m, int32_t k) noexcept { return ShiftRowT(m, k); }

// ---- sorting ------------------------------------------------------------------

QVX_API double **SortMatrix(double **m, int32_t col) noexcept { return SortByColumnT(m, col); }
QVX_API int32_t **SortMatrixL(int32_t **m, int32_t col) noexcept { return SortByColumnT(m, col); }
QVX_API uint32_t **SortMatrixUInt32(uint32_t **m, int32_t col) noexcept { return SortByColumnT(m, col); }
QVX_API Complex **SortMatrix1DC(Complex **set) noexcept { return SortByColumnT(set, 1); }
QVX_API double **SortMatrixRows(double **m) noexcept { return SortRowsT(m); }
QVX_API double **SortMatrixCols(double **m) noexcept { return SortColsT(m); }
QVX_API Complex **SortMatrixColsC(Complex **m) noexcept { return SortColsT(m); }

// Copies of the matrices of mv in ascending order of keys (stable); keys
// of another length than mv leave the order as it is.
QVX_API double ***SortMatrixVector(double ***mv, const double *keys) noexcept {
  return GuardMV([&] {
    std::vector<double **> items = MVItems(mv);
    if (Len(keys) == static_cast<int32_t>(items.size())) {
      Lines order = Identity(static_cast<int32_t>(items.size()));
      std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) { return Less(keys[a], keys[b]); });
      std::vector<double **> sorted;
      for (int32_t t : order) sorted.push_back(mv[t]);
      items = sorted;
    }
    return MVOf(items);
  });
}

// ---- sets of rows ---------------------------------------------------------------

QVX_API double **UnionM(double **a, double **b) noexcept { return RowSetOperation(a, b, SetOp::kUnion); }
QVX_API double **IntersectionM(double **a, double **b) noexcept {
  return RowSetOperation(a, b, SetOp::kIntersection);
}
QVX_API double **ComplementM(double **a, double **b) noexcept { return RowSetOperation(a, b, SetOp::kDifference); }
QVX_API double **SymmetricDifferenceM(double **a, double **b) noexcept {
  return RowSetOperation(a, b, SetOp::kSymmetric);
}

// For a matrix whose rows are subsets of 1..n (as from GenerateCombinations),
// the complementary subsets: row i lists ascending the numbers of 1..n that
// row i of m lacks. Rows with fewer missing numbers are padded with zeros.
QVX_API double **ComplementaryM(double **m, int32_t n) noexcept {
  return GuardMat<double>([&] {
    int32_t c = Cols(m), r = Rows(m);
    if (n < 0) n = 0;
    std::vector<std::vector<double>> rows;
    std::size_t width = 0;
    std::vector<char> present(static_cast<std::size_t>(n) + 1);
    for (int32_t i = 1; i <= r; ++i) {
      std::fill(present.begin(), present.end(), 0);
      for (int32_t j = 1; j <= c; ++j) {
        double x = m[j][i];
        if (x >= 1.0 && x <= n && x == std::floor(x)) present[static_cast<std::size_t>(x)] = 1;
      }
      std::vector<double> row;
      for (int32_t k = 1; k <= n; ++k)
        if (!present[static_cast<std::size_t>(k)]) row.push_back(k);
      width = std::max(width, row.size());
      rows.push_back(std::move(row));
    }
    double **out = NewMat0<double>(static_cast<int32_t>(width), r);
    if (!out) return Fallback<double>();
    for (int32_t i = 1; i <= r; ++i) {
      const auto &row = rows[static_cast<std::size_t>(i - 1)];
      for (std::size_t k = 0; k < row.size(); ++k) out[k + 1][i] = row[k];
    }
    return out;
  });
}

// ---- text matrices (0-based) ----------------------------------------------------

QVX_API char ***RemoveColS(char ***m, int32_t j) noexcept {
  return GuardS([&] { return RemapS(m, AllBut(StringMatrixCols(m), j), ZeroBased(RowsS(m))); });
}
QVX_API char ***RemovePositionSM(char ***m, int32_t pos) noexcept { return RemoveColS(m, pos); }
QVX_API char ***RemoveRowS(char ***m, int32_t i) noexcept {
  return GuardS([&] { return RemapS(m, ZeroBased(StringMatrixCols(m)), AllBut(RowsS(m), i)); });
}
// Columns compared as wholes, text by text; the first of each group stays.
QVX_API char ***RemoveDuplicateColsS(char ***m) noexcept {
  return GuardS([&] {
    int32_t c = StringMatrixCols(m), r = RowsS(m);
    Lines keep;
    for (int32_t j = 0; j < c; ++j) {
      bool seen = std::any_of(keep.begin(), keep.end(), [&](int32_t k) {
        for (int32_t i = 0; i < r; ++i)
          if (std::strcmp(m[j][i], m[k][i]) != 0) return false;
        return true;
      });
      if (!seen) keep.push_back(j);
    }
    return RemapS(m, keep, ZeroBased(r));
  });
}
// The texts of `row` as a new row before row pos (0-based) of m; a row with
// fewer texts than m has columns keeps "0" in the others.
QVX_API char ***InsertRowS(char ***m, char **row, int32_t pos) noexcept {
  return GuardS([&]() -> char *** {
    int32_t c = StringMatrixCols(m), r = RowsS(m), n = StringVectorLength(row);
    if (c == 0) {  // a matrix of one row, one column a text
      char ***out = StringMatrix(n, 1);
      if (!out || StringMatrixCols(out) != n) {
        FreeStringMatrix(out);
        return nullptr;
      }
      for (int32_t j = 0; j < n; ++j) {
        char *text = CopyS(row[j]);
        if (!text) continue;
        FreeString(out[j][0]);
        out[j][0] = text;
      }
      return out;
    }
    pos = std::clamp(pos, 0, r);
    Lines rows = ZeroBased(r);
    rows.insert(rows.begin() + pos, 0);  // filled below
    char ***out = RemapS(m, ZeroBased(c), rows);
    if (!out || StringMatrixRows(out) != r + 1) return out;
    for (int32_t j = 0; j < c; ++j) {
      char *text = CopyS(j < n ? row[j] : "0");
      if (!text) continue;
      FreeString(out[j][pos]);
      out[j][pos] = text;
    }
    return out;
  });
}

// ---- real and imaginary parts -------------------------------------------------

QVX_API double **RealMC(Complex **m) noexcept { return PartOf<&Complex::re>(m); }
QVX_API double **ImM(Complex **m) noexcept { return PartOf<&Complex::im>(m); }
// The real parts of a complex VectorMatrix (or MatrixVector): the same
// shape, real. Null slots stay null.
QVX_API double ***RealVMC(Complex ***vm) noexcept {
  int32_t n = MVLen(vm);
  double ***out = MatrixVector(n);
  if (!out) return nullptr;
  for (int32_t t = 1; t <= n; ++t) out[t] = vm[t] ? RealMC(vm[t]) : nullptr;
  return out;
}

// The complex 2D data set: values MatrixC(nx, ny), then the nx abscissas and
// the ny ordinates as one-column matrices; all zero.
QVX_API Complex ***MatrixVector2DC(int32_t nx, int32_t ny) noexcept {
  if (nx < 0) nx = 0;
  if (ny < 0) ny = 0;
  Complex ***mv = MatrixVectorC(3);
  if (!mv || MVLen(mv) != 3) {
    FreeMatrixVectorC(mv);
    return nullptr;
  }
  mv[1] = NewMat0<Complex>(nx, ny);
  mv[2] = NewMat0<Complex>(1, nx);
  mv[3] = NewMat0<Complex>(1, ny);
  if (!mv[1] || !mv[2] || !mv[3]) {
    FreeMatrixVectorC(mv);
    return nullptr;
  }
  return mv;
}

// ---- MatrixVector -----------------------------------------------------------------

QVX_API double ***AppendMatrixVector(double ***mv, double **m) noexcept {
  return GuardMV([&] {
    std::vector<double **> items = MVItems(mv);
    items.push_back(m);
    return MVOf(items);
  });
}
QVX_API double ***JoinMatrixVector(double ***a, double ***b) noexcept {
  return GuardMV([&] {
    std::vector<double **> items = MVItems(a), more = MVItems(b);
    items.insert(items.end(), more.begin(), more.end());
    return MVOf(items);
  });
}

}  // extern "C"
