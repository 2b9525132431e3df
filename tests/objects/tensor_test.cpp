// The Tensor record: construction, item replacement, the bridge to MatrixC,
// the stream form on both stream kinds, the shape rules of the combining
// operations and the in-place operations that must leave a refused value
// untouched.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

#include "libquorvex.h"

static_assert(offsetof(Tensor, rank) == 0);
static_assert(offsetof(Tensor, length) == 4);
static_assert(offsetof(Tensor, items) == 8);

namespace {

struct T {  // owner
  Tensor *t;
  explicit T(Tensor *p) : t(p) {}
  ~T() { TensorFree(t); }
};

Complex &At(Tensor *t, std::initializer_list<int> index) {
  for (int i : index) t = static_cast<Tensor *>(t->items[i]);
  return *static_cast<Complex *>(t->items[0]);
}

// A rank 2 Tensor from rows of real values.
Tensor *FromRows(std::vector<std::vector<double>> rows) {
  int r = static_cast<int>(rows.size()), c = static_cast<int>(rows[0].size());
  Complex **m = MatrixC(c, r);
  for (int i = 0; i < r; ++i)
    for (int j = 0; j < c; ++j) m[j + 1][i + 1] = Complex{rows[i][j], 0.0};
  Tensor *t = TensorFromMatrixC(m);
  FreeMatrixC(m);
  return t;
}

Tensor *Zero(std::vector<int32_t> dims) {
  std::vector<int32_t> list{static_cast<int32_t>(dims.size())};
  list.insert(list.end(), dims.begin(), dims.end());
  return TensorZero(list.data(), static_cast<int32_t>(dims.size()));
}

std::vector<int> ShapeOf(const Tensor *t) {
  std::vector<int> s;
  while (t && t->rank > 0) {
    s.push_back(t->length);
    t = static_cast<Tensor *>(t->items[0]);
  }
  return s;
}

TEST(Tensor, ZeroCopyAndSetItem) {
  T z(Zero({2, 3}));
  EXPECT_EQ(ShapeOf(z.t), (std::vector<int>{2, 3}));
  EXPECT_EQ(At(z.t, {1, 2}).re, 0.0);
  int32_t none[] = {0};
  T scalar(TensorZero(none, 0));
  EXPECT_EQ(scalar.t->rank, 0);
  EXPECT_EQ(scalar.t->length, 1);

  T copy(TensorCopy(scalar.t));  // a rank 0 copy has a cell of its own
  EXPECT_NE(copy.t->items[0], scalar.t->items[0]);
  EXPECT_EQ(TensorCopy(nullptr), nullptr);

  At(copy.t, {}) = Complex{5.0, -1.0};
  T row(Zero({3}));
  void *cell = static_cast<Tensor *>(row.t->items[1])->items[0];
  EXPECT_EQ(TensorSetItem(row.t, 1, copy.t), 1);  // rank 1: the value moves, the cell stays
  EXPECT_EQ(static_cast<Tensor *>(row.t->items[1])->items[0], cell);
  EXPECT_EQ(At(row.t, {1}).im, -1.0);

  EXPECT_EQ(TensorSetItem(z.t, 0, copy.t), 0);   // wrong rank
  EXPECT_EQ(TensorSetItem(z.t, 2, row.t), 0);    // index past the end
  EXPECT_EQ(TensorSetItem(z.t, -1, row.t), 0);
  T shortRow(Zero({2}));
  EXPECT_EQ(TensorSetItem(z.t, 0, shortRow.t), 0);  // would make the block ragged
  EXPECT_EQ(TensorSetItem(z.t, 1, row.t), 1);
  EXPECT_EQ(At(z.t, {1, 1}).re, 5.0);
  EXPECT_EQ(At(z.t, {0, 1}).re, 0.0);
}

TEST(Tensor, MatrixConversionKeepsRowsFirst) {
  T t(FromRows({{1, 2, 3}, {4, 5, 6}}));
  EXPECT_EQ(ShapeOf(t.t), (std::vector<int>{2, 3}));
  EXPECT_EQ(At(t.t, {1, 0}).re, 4.0);
  Complex **m = TensorToMatrixC(t.t);
  EXPECT_EQ(m[0][0].re, 3.0);     // columns
  EXPECT_EQ(m[3][2].re, 6.0);     // row 2, column 3
  FreeMatrixC(m);
  T v(Zero({3}));
  EXPECT_EQ(TensorToMatrixC(v.t), nullptr);
}

TEST(Tensor, StreamFormRoundTripsOnMemFileAndFile) {
  T t(FromRows({{1, -2}, {3.5, 4}}));
  At(t.t, {0, 1}).im = 0.25;
  MemFile *mem = MemOpen(4);
  TensorWrite(t.t, mem, 0);
  // rank, length, then per row rank, length, then per cell 0, 1, re, im.
  EXPECT_EQ(MemGetBufPos(mem), 8u + 2 * (8 + 2 * (8 + 16)));
  int32_t head[2];
  std::memcpy(head, mem->buffer, 8);
  EXPECT_EQ(head[0], 2);
  EXPECT_EQ(head[1], 2);
  MemSetBufPos(mem, 0);
  T back(TensorRead(mem, 0));
  ASSERT_NE(back.t, nullptr);
  EXPECT_EQ(At(back.t, {0, 1}).im, 0.25);
  EXPECT_EQ(At(back.t, {1, 0}).re, 3.5);

  // Every truncation of the stream reads as null, without reading past it.
  uint32_t full = 8 + 2 * (8 + 2 * (8 + 16));
  for (uint32_t cut = 0; cut < full; cut += 3) {
    MemFile *part = MemWrapperOpen(mem->buffer, cut ? cut : 1);
    Tensor *r = TensorRead(part, 0);
    EXPECT_EQ(r, nullptr) << cut;
    TensorFree(r);
    MemWrapperClose(part);
  }
  // A huge length field is refused before anything is allocated.
  int32_t bad[2] = {3, 0x7fffffff};
  MemFile *damaged = MemWrapperOpen(reinterpret_cast<unsigned char *>(bad), 8);
  EXPECT_EQ(TensorRead(damaged, 0), nullptr);
  MemWrapperClose(damaged);
  MemClose(mem);

  FILE *f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  TensorWrite(t.t, f, 1);
  std::rewind(f);
  T fromFile(TensorRead(f, 1));
  std::fclose(f);
  ASSERT_NE(fromFile.t, nullptr);
  EXPECT_EQ(At(fromFile.t, {1, 1}).re, 4.0);
}

TEST(Tensor, ShapeRulesOfCombiningOperations) {
  T a(FromRows({{1, 2}, {3, 4}}));
  T b(FromRows({{0, 1}, {1, 0}}));
  T v(Zero({2}));
  At(v.t, {0}) = Complex{1, 0};
  At(v.t, {1}) = Complex{2, 0};
  T wide(FromRows({{1, 2, 3}, {4, 5, 6}}));

  T ab(TensorMultiply(a.t, b.t));
  EXPECT_EQ(At(ab.t, {0, 0}).re, 2.0);
  EXPECT_EQ(At(ab.t, {1, 1}).re, 3.0);
  T av(TensorMultiply(a.t, v.t));  // a vector on the right is a column
  EXPECT_EQ(ShapeOf(av.t), (std::vector<int>{2, 1}));
  EXPECT_EQ(At(av.t, {1, 0}).re, 11.0);
  T va(TensorMultiply(v.t, a.t));  // on the left, a row
  EXPECT_EQ(ShapeOf(va.t), (std::vector<int>{1, 2}));
  EXPECT_EQ(At(va.t, {0, 1}).re, 10.0);
  T vv(TensorMultiply(v.t, v.t));
  EXPECT_EQ(vv.t->rank, 0);
  EXPECT_EQ(At(vv.t, {}).re, 5.0);
  EXPECT_EQ(TensorMultiply(wide.t, a.t), nullptr);  // 3 against 2
  T aw(TensorMultiply(a.t, wide.t));
  EXPECT_EQ(ShapeOf(aw.t), (std::vector<int>{2, 3}));

  EXPECT_EQ(TensorAdd(a.t, wide.t), nullptr);
  EXPECT_EQ(TensorSubtract(a.t, v.t), nullptr);
  T d(TensorSubtract(a.t, b.t));
  EXPECT_EQ(At(d.t, {0, 1}).re, 1.0);

  T sum(TensorDirectAdd(a.t, wide.t));
  EXPECT_EQ(ShapeOf(sum.t), (std::vector<int>{4, 5}));
  EXPECT_EQ(At(sum.t, {1, 1}).re, 4.0);
  EXPECT_EQ(At(sum.t, {3, 4}).re, 6.0);
  EXPECT_EQ(At(sum.t, {0, 3}).re, 0.0);
  T sumv(TensorDirectAdd(a.t, v.t));  // v raised to a 1 by 2 row
  EXPECT_EQ(ShapeOf(sumv.t), (std::vector<int>{3, 4}));
  EXPECT_EQ(At(sumv.t, {2, 3}).re, 2.0);

  T kron(TensorDirectMultiply(a.t, wide.t));
  EXPECT_EQ(ShapeOf(kron.t), (std::vector<int>{4, 6}));
  EXPECT_EQ(At(kron.t, {3, 5}).re, 24.0);  // a(1,1) * wide(1,2)
  EXPECT_EQ(At(kron.t, {1, 4}).re, 2.0 * 5.0);

  T s(TensorScale(a.t, 0.0, 2.0));
  EXPECT_EQ(At(s.t, {1, 0}).im, 6.0);
  EXPECT_EQ(TensorAdd(nullptr, a.t), nullptr);
}

TEST(Tensor, TransposeSwapsCellsOrRebuilds) {
  T a(FromRows({{1, 2}, {3, 4}}));
  At(a.t, {0, 1}).im = 1.0;
  void *cell = static_cast<Tensor *>(a.t->items[0])->items[1];
  EXPECT_EQ(TensorTranspose(a.t, 1), a.t);
  EXPECT_EQ(static_cast<Tensor *>(a.t->items[1])->items[0], cell);  // the cell itself moved
  EXPECT_EQ(At(a.t, {1, 0}).re, 2.0);
  EXPECT_EQ(At(a.t, {1, 0}).im, -1.0);

  T w(FromRows({{1, 2, 3}, {4, 5, 6}}));
  TensorTranspose(w.t, 0);
  EXPECT_EQ(ShapeOf(w.t), (std::vector<int>{3, 2}));
  EXPECT_EQ(At(w.t, {2, 1}).re, 6.0);
  EXPECT_EQ(At(w.t, {0, 1}).re, 4.0);

  TensorConjugate(a.t);
  EXPECT_EQ(At(a.t, {1, 0}).im, 1.0);
}

TEST(Tensor, InvertRefusesSingularAndNonFiniteValues) {
  T a(FromRows({{4, 7}, {2, 6}}));
  EXPECT_EQ(TensorInvert(a.t), 1);
  EXPECT_NEAR(At(a.t, {0, 0}).re, 0.6, 1e-15);
  EXPECT_NEAR(At(a.t, {0, 1}).re, -0.7, 1e-15);

  // Exactly singular matrices are refused and keep their values.
  T zero(Zero({2, 2}));
  EXPECT_EQ(TensorInvert(zero.t), 0);
  EXPECT_EQ(At(zero.t, {1, 1}).re, 0.0);
  T singular(FromRows({{1, 2}, {2, 4}}));
  EXPECT_EQ(TensorInvert(singular.t), 0);
  EXPECT_EQ(At(singular.t, {1, 1}).re, 4.0);
  T nan(FromRows({{1, NAN}, {0, 1}}));
  EXPECT_EQ(TensorInvert(nan.t), 0);
  EXPECT_EQ(At(nan.t, {0, 0}).re, 1.0);
  T wide(FromRows({{1, 2, 3}, {4, 5, 6}}));
  EXPECT_EQ(TensorInvert(wide.t), 0);

  int32_t none[] = {0};
  T s(TensorZero(none, 0));
  EXPECT_EQ(TensorInvert(s.t), 0);  // 1 / 0
  At(s.t, {}) = Complex{0.0, 2.0};
  EXPECT_EQ(TensorInvert(s.t), 1);
  EXPECT_EQ(At(s.t, {}).im, -0.5);
}

TEST(Tensor, DeterminantTraceAndEigen) {
  T a(FromRows({{2, 1}, {1, 2}}));
  T det(TensorDeterminant(a.t));
  EXPECT_EQ(det.t->rank, 0);
  EXPECT_NEAR(At(det.t, {}).re, 3.0, 1e-15);
  T tr(TensorTrace(a.t));
  EXPECT_EQ(At(tr.t, {}).re, 4.0);

  // A rank 3 list of two matrices gives a list of two determinants.
  T list(Zero({2, 2, 2}));
  TensorSetItem(list.t, 0, a.t);
  TensorSetItem(list.t, 1, a.t);
  T dets(TensorDeterminant(list.t));
  EXPECT_EQ(ShapeOf(dets.t), (std::vector<int>{2}));
  EXPECT_NEAR(At(dets.t, {1}).re, 3.0, 1e-15);

  T values(TensorEigenvalues(a.t));
  EXPECT_EQ(ShapeOf(values.t), (std::vector<int>{2}));
  EXPECT_NEAR(At(values.t, {0}).re, 3.0, 1e-14);
  EXPECT_NEAR(At(values.t, {1}).re, 1.0, 1e-14);
  T vectors(TensorEigenvectors(a.t));
  // Item 0 is the eigenvector of 3: (1, 1) / sqrt(2).
  EXPECT_NEAR(At(vectors.t, {0, 0}).re, std::sqrt(0.5), 1e-14);
  EXPECT_NEAR(At(vectors.t, {0, 1}).re, std::sqrt(0.5), 1e-14);
  EXPECT_NEAR(std::fabs(At(vectors.t, {1, 0}).re), std::sqrt(0.5), 1e-14);
  EXPECT_NEAR(At(vectors.t, {1, 0}).re, -At(vectors.t, {1, 1}).re, 1e-14);

  T wide(FromRows({{1, 2, 3}, {4, 5, 6}}));
  EXPECT_EQ(TensorDeterminant(wide.t), nullptr);
  EXPECT_EQ(TensorEigenvalues(wide.t), nullptr);
  T v(Zero({3}));
  EXPECT_EQ(TensorTrace(v.t), nullptr);
}

TEST(Tensor, MalformedRecordsAreRefused) {
  // A hand-made ragged block: row 1 shorter than row 0.
  T good(FromRows({{1, 2}, {3, 4}}));
  T shortRow(Zero({1}));
  Tensor *keep = static_cast<Tensor *>(good.t->items[1]);
  good.t->items[1] = shortRow.t;
  EXPECT_EQ(TensorCopy(good.t), nullptr);
  EXPECT_EQ(TensorAdd(good.t, good.t), nullptr);
  EXPECT_EQ(TensorInvert(good.t), 0);
  good.t->items[1] = keep;
}

}  // namespace
