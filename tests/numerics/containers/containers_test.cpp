// Containers: lengths in element 0, column pointers, text terminators, the
// fall-backs of the guarded constructors, copies that must be deep and
// in-place copies that must not overrun. Leaks and out-of-bounds accesses
// are left for the sanitizers to report.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "libquorvex.h"

namespace {

int Cols(double **m) { return static_cast<int>(m[0][0]); }
int Rows(double **m) { return static_cast<int>(m[1][0]); }

double *VectorOf(std::initializer_list<double> values) {
  double *v = Vector(static_cast<int32_t>(values.size()));
  int i = 1;
  for (double x : values) v[i++] = x;
  return v;
}

// m[j][i] = 10 * j + i, so a swapped index shows at once.
double **Numbered(int32_t cols, int32_t rows) {
  double **m = Matrix(cols, rows);
  for (int j = 1; j <= cols; ++j)
    for (int i = 1; i <= rows; ++i) m[j][i] = 10.0 * j + i;
  return m;
}

// ---- constructors and fall-backs -----------------------------------------

TEST(Containers, VectorKeepsLengthInElementZero) {
  double *v = Vector(5);
  EXPECT_EQ(v[0], 5.0);
  FreeVector(v);
  double *e = Vector(0);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e[0], 0.0);
  FreeVector(e);
  Complex *c = VectorC(3);
  EXPECT_EQ(c[0].re, 3.0);
  EXPECT_EQ(c[0].im, 0.0);
  FreeVectorC(c);
}

TEST(Containers, MatrixColumnsAreVectors) {
  double **m = Matrix(3, 4);
  EXPECT_EQ(m[0][0], 3.0);
  for (int j = 1; j <= 3; ++j) EXPECT_EQ(m[j][0], 4.0);
  FreeMatrix(m);
}

TEST(Containers, GuardedVectorsFallBackToLengthZero) {
  double *v = Vector(-5);
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v[0], 0.0);
  FreeVector(v);
  Complex *c = Vector0C(-1);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c[0].re, 0.0);
  FreeVectorC(c);
  int32_t *l = VectorL(-3);
  ASSERT_NE(l, nullptr);
  EXPECT_EQ(l[0], 0);
  FreeVectorL(l);
  // The unguarded kinds report the failure instead.
  EXPECT_EQ(VectorI(-1), nullptr);
  EXPECT_EQ(VectorF(-1), nullptr);
  EXPECT_EQ(Vector0(-1), nullptr);
}

TEST(Containers, HugeMatrixFallsBackToOneByOneZero) {
  double **m = Matrix(0x3fffffff, 2);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m[0][0], 1.0);
  EXPECT_EQ(m[1][0], 1.0);
  EXPECT_EQ(m[1][1], 0.0);
  FreeMatrix(m);
}

TEST(Containers, MatrixSizingGuards) {
  struct Case { int32_t cols, rows, wantCols, wantRows; } cases[] = {
      {0x3fffffff, 2, 1, 1},  // column count past the guard
      {-2, 3, 1, 1},
      {-1, 3, 0, 0},          // -1 passes the guard and makes no columns
      {0, 5, 0, 0},
      {3, -1, 3, 0},          // columns fall back to length 0 each
  };
  for (const Case &k : cases) {
    SCOPED_TRACE(testing::Message() << k.cols << " x " << k.rows);
    double **m = Matrix(k.cols, k.rows);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(Cols(m), k.wantCols);
    if (k.wantCols) {
      EXPECT_EQ(Rows(m), k.wantRows);
    }
    if (k.wantCols == 1 && k.wantRows == 1) {
      EXPECT_EQ(m[1][1], 0.0);
    }
    FreeMatrix(m);

    Complex **c = MatrixC(k.cols, k.rows);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c[0][0].re, k.wantCols);
    FreeMatrixC(c);
    int32_t **l = MatrixL(k.cols, k.rows);
    ASSERT_NE(l, nullptr);
    EXPECT_EQ(l[0][0], k.wantCols);
    FreeMatrixL(l);
  }
  // Zero-filled forms give no columns; unguarded ones give null.
  double **z = Matrix0(0x3fffffff, 1);
  ASSERT_NE(z, nullptr);
  EXPECT_EQ(Cols(z), 0);
  FreeMatrix(z);
  double **zc = Matrix0(2, -1);  // a failed column, not the pointer array
  ASSERT_NE(zc, nullptr);
  EXPECT_EQ(Cols(zc), 0);
  FreeMatrix(zc);
  EXPECT_EQ(MatrixI(0x3fffffff, 1), nullptr);
  EXPECT_EQ(MatrixF(2, -1), nullptr);
  EXPECT_EQ(MatrixUInt32(-5, 1), nullptr);
}

TEST(Containers, ZeroFilledConstructorsAreZero) {
  double **m = Matrix0(3, 2);
  Complex **c = Matrix0C(2, 2);
  int32_t **l = Matrix0L(2, 3);
  for (int j = 1; j <= 2; ++j)
    for (int i = 1; i <= 2; ++i) {
      EXPECT_EQ(m[j][i], 0.0);
      EXPECT_EQ(c[j][i].im, 0.0);
      EXPECT_EQ(l[j][i], 0);
    }
  FreeMatrix(m);
  FreeMatrixC(c);
  FreeMatrixL(l);
}

TEST(Containers, SmallConstructorsStoreTheirValues) {
  double *s = VectorS(2.5);
  EXPECT_EQ(s[0], 1);
  EXPECT_EQ(s[1], 2.5);
  double *v3 = Vector3(1, 2, 3);
  EXPECT_EQ(v3[0], 3);
  EXPECT_EQ(v3[3], 3);
  double *v6 = Vector6(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(v6[0], 6);
  EXPECT_EQ(v6[6], 6);
  int32_t *l7 = Vector7L(7, 6, 5, 4, 3, 2, 1);
  EXPECT_EQ(l7[0], 7);
  EXPECT_EQ(l7[7], 1);
  int32_t *l3 = Vector3L(-1, 0, 1);
  EXPECT_EQ(l3[1], -1);
  double **ms = MatrixS(-4);
  EXPECT_EQ(Cols(ms), 1);
  EXPECT_EQ(ms[1][1], -4);
  double *cell = AllocDouble(0.5);
  int32_t *icell = AllocInt(-9);
  EXPECT_EQ(*cell + *icell, -8.5);
  Complex z = ComplexR(1, -1);
  Complex *zc = CopyC(&z);
  EXPECT_EQ(zc->im, -1);
  FreeVector(s);
  FreeVector(v3);
  FreeVector(v6);
  FreeVectorL(l7);
  FreeVectorL(l3);
  FreeMatrix(ms);
  Free(cell);
  Free(icell);
  Free(zc);
}

TEST(Containers, VectorVFreesFilledSlots) {
  void **v = VectorV(3);
  EXPECT_EQ(*static_cast<int32_t *>(v[0]), 3);
  EXPECT_EQ(v[2], nullptr);
  v[1] = AllocDouble(1);
  v[3] = AllocInt(3);
  FreeVectorV(v);
}

// ---- copies --------------------------------------------------------------

TEST(Containers, CopiesAreDeep) {
  double *v = VectorOf({1, 2, 3});
  double *cv = CopyVector(v);
  cv[2] = 99;
  EXPECT_EQ(v[2], 2);
  EXPECT_EQ(cv[0], 3);

  double **m = Numbered(2, 3);
  m[2][0] = 1;  // a column shrunk in place keeps its own length in the copy
  double **cm = CopyMatrix(m);
  EXPECT_EQ(Cols(cm), 2);
  EXPECT_EQ(cm[1][0], 3);
  EXPECT_EQ(cm[2][0], 1);
  EXPECT_EQ(cm[1][3], 13);
  cm[1][1] = -1;
  EXPECT_EQ(m[1][1], 11);

  double *col = CopyVector(m[1]);  // columns are vectors
  EXPECT_EQ(col[3], 13);

  double **one = MatrixV(v);
  EXPECT_EQ(Cols(one), 1);
  EXPECT_EQ(one[1][3], 3);

  FreeVector(v);
  FreeVector(cv);
  FreeVector(col);
  FreeMatrix(m);
  FreeMatrix(cm);
  FreeMatrix(one);
}

TEST(Containers, IntegerAndFloatCopies) {
  int32_t **l = Matrix0L(2, 2);
  l[2][1] = 7;
  int32_t **cl = CopyMatrixL(l);
  EXPECT_EQ(EqualMatricesL(l, cl), 1);
  cl[2][1] = 8;
  EXPECT_EQ(EqualMatricesL(l, cl), 0);
  float **f = MatrixF(1, 2);
  f[1][1] = 0.5f;
  f[1][2] = 1.5f;
  float **cf = CopyMatrixF(f);
  EXPECT_EQ(EqualMatricesF(f, cf), 1);
  uint32_t **u = MatrixUInt32(1, 1);
  u[1][1] = 0xffffffffu;
  uint32_t **cu = CopyMatrixUInt32(u);
  EXPECT_EQ(cu[1][1], 0xffffffffu);
  FreeMatrixL(l);
  FreeMatrixL(cl);
  FreeMatrixF(f);
  FreeMatrixF(cf);
  FreeMatrixUInt32(u);
  FreeMatrixUInt32(cu);
}

TEST(Containers, InPlaceCopiesTakeArgumentsInTheirOrder) {
  double *a = VectorOf({1, 2, 3});
  double *b = VectorOf({7, 8, 9});
  CopyVectorIP(a, b);  // source first
  EXPECT_EQ(b[3], 3);
  b[1] = 5;
  VectorCopy(a, b);  // destination first
  EXPECT_EQ(a[1], 5);
  FreeVector(a);
  FreeVector(b);
}

TEST(Containers, InPlaceCopiesStopAtTheShorterVector) {
  double *longer = VectorOf({1, 2, 3, 4, 5});
  double *shorter = VectorOf({-1, -2});
  CopyVectorIP(longer, shorter);  // would write past the end otherwise
  EXPECT_EQ(shorter[2], 2);
  EXPECT_EQ(shorter[0], 2);
  VectorCopy(longer, shorter);  // would read past the end otherwise
  EXPECT_EQ(longer[3], 3);
  double **big = Numbered(3, 4), **small = Matrix0(2, 2);
  CopyMatrixIP(big, small);
  EXPECT_EQ(small[2][2], 22);
  MatrixCopy(big, small);
  EXPECT_EQ(big[3][4], 34);
  FreeVector(longer);
  FreeVector(shorter);
  FreeMatrix(big);
  FreeMatrix(small);
}

// ---- comparisons ---------------------------------------------------------

TEST(Containers, EqualVectorsUsesRelativeTolerance) {
  struct Case { double x, y; int32_t equal; } cases[] = {
      {1.0, 1.0 + 2.2e-16, 1},       // 16th significant digit
      {1.0, 1.0 + 1e-14, 0},
      {0.0, 0.0, 1},
      {0.0, 1e-300, 0},              // relative, not absolute
      {-1e300, -1e300 * (1 + 4e-16), 1},
  };
  for (const Case &k : cases) {
    double *a = VectorOf({3, k.x}), *b = VectorOf({3, k.y});
    EXPECT_EQ(EqualVectors(a, b), k.equal) << k.x << " vs " << k.y;
    FreeVector(a);
    FreeVector(b);
  }
}

TEST(Containers, EqualVectorsTakesLengthFromFirst) {
  double *two = VectorOf({1, 2}), *three = VectorOf({1, 2, 3}), *empty = Vector(0);
  EXPECT_EQ(EqualVectors(two, three), 1);
  EXPECT_EQ(EqualVectors(three, two), 0);  // second too short to match
  EXPECT_EQ(EqualVectors(empty, three), 1);
  Complex *c = Vector0C(2), *d = Vector0C(2);
  d[2].im = 1e-20;
  EXPECT_EQ(EqualVectorsC(c, d), 0);
  int32_t *i = Vector3L(1, 2, 3), *j = Vector3L(1, 2, 4);
  EXPECT_EQ(EqualVectorsL(i, j), 0);
  j[3] = 3;
  EXPECT_EQ(EqualVectorsI(i, j), 1);
  FreeVector(two);
  FreeVector(three);
  FreeVector(empty);
  FreeVectorC(c);
  FreeVectorC(d);
  FreeVectorL(i);
  FreeVectorL(j);
}

TEST(Containers, EqualMatricesAndRows) {
  double **a = Numbered(3, 2), **b = CopyMatrix(a);
  EXPECT_EQ(EqualMatrices(a, b), 1);
  b[3][2] *= 1 + 1e-13;
  EXPECT_EQ(EqualMatrices(a, b), 0);
  Complex **c = Matrix0C(2, 2), **d = CopyMatrixC(c);
  EXPECT_EQ(EqualMatricesC(c, d), 1);

  double **m = Matrix0(2, 3);
  m[1][1] = m[1][3] = 4;
  m[2][1] = m[2][3] = -1;
  EXPECT_EQ(EqualRows(m, 1, 3), 1);
  EXPECT_EQ(EqualRows(m, 1, 2), 0);
  EXPECT_EQ(EqualRows(m, 1, 4), 0);  // no row 4
  FreeMatrix(a);
  FreeMatrix(b);
  FreeMatrixC(c);
  FreeMatrixC(d);
  FreeMatrix(m);
}

// ---- matrix vectors and vector matrices ----------------------------------

TEST(Containers, MatrixVector2DHasThreeElements) {
  double ***mv = MatrixVector2D(4, 5);
  EXPECT_EQ(mv[0][0][0], 3);
  EXPECT_EQ(Cols(mv[1]), 4);
  EXPECT_EQ(Rows(mv[1]), 5);
  EXPECT_EQ(Cols(mv[2]), 1);
  EXPECT_EQ(Rows(mv[2]), 4);
  EXPECT_EQ(Rows(mv[3]), 5);
  double ***copy = CopyMatrixVector(mv);
  copy[1][4][5] = 1;
  EXPECT_EQ(mv[1][4][5], 0);
  FreeMatrixVector(mv);
  FreeMatrixVector(copy);
}

TEST(Containers, ConversionsBetweenMatrixVectorAndVectorMatrix) {
  double ***mv = MatrixVector(3);
  for (int t = 1; t <= 3; ++t) {
    mv[t] = Numbered(2, 4);
    mv[t][2][3] += 100 * t;
  }
  double ***vm = ConvertMVVM(mv);
  ASSERT_NE(vm, nullptr);
  EXPECT_EQ(vm[0][0][0], 2);     // columns of each matrix
  EXPECT_EQ(vm[1][0][0], 4);     // rows
  EXPECT_EQ(vm[2][3][0], 3);     // one entry per matrix
  EXPECT_EQ(vm[2][3][2], 223);
  double ***back = ConvertVMMV(vm);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back[0][0][0], 3);
  for (int t = 1; t <= 3; ++t) EXPECT_EQ(EqualMatrices(mv[t], back[t]), 1) << t;

  Complex ***mvc = MatrixVectorC(1);
  mvc[1] = Matrix0C(2, 2);
  mvc[1][2][1] = ComplexR(0, 5);
  Complex ***vmc = ConvertMVVMC(mvc);
  EXPECT_EQ(vmc[2][1][1].im, 5);
  Complex ***backc = ConvertVMMVC(vmc);
  EXPECT_EQ(EqualMatricesC(backc[1], mvc[1]), 1);

  FreeMatrixVector(mv);
  FreeVectorMatrix(vm);
  FreeMatrixVector(back);
  FreeMatrixVectorC(mvc);
  FreeVectorMatrixC(vmc);
  FreeMatrixVectorC(backc);
}

TEST(Containers, VectorMatrixShapeAndReorder) {
  double ***vm = VectorMatrix0(2, 3, 4);
  EXPECT_EQ(vm[0][0][0], 2);
  EXPECT_EQ(vm[2][0][0], 3);
  EXPECT_EQ(vm[2][3][0], 4);
  EXPECT_EQ(vm[2][3][4], 0);
  FreeVectorMatrix(vm);
  EXPECT_EQ(VectorMatrix(-1, 1, 1), nullptr);

  double ***mv = MatrixVector(2);
  mv[1] = MatrixS(1);
  mv[2] = MatrixS(2);
  int32_t *order = Vector3L(2, 1, 9);
  double ***r = ReorderMV(mv, order);
  EXPECT_EQ(r[0][0][0], 3);
  EXPECT_EQ(r[1][1][1], 2);
  EXPECT_EQ(r[2][1][1], 1);
  EXPECT_EQ(r[3][1][1], 0);  // out of range
  FreeMatrixVector(mv);
  FreeMatrixVector(r);
  FreeVectorL(order);
  int32_t ***ml = MatrixVectorL(1);
  ml[1] = MatrixL(1, 1);
  FreeMatrixVectorL(ml);
}

// ---- forms over containers -----------------------------------------------

TEST(Containers, MulMVSumsAlongColumns) {
  double **m = Numbered(2, 3);  // row i is (10 + i, 20 + i)
  double *v = VectorOf({1, -1});
  double *p = MulMV(m, v);
  ASSERT_EQ(p[0], 3);
  for (int i = 1; i <= 3; ++i) EXPECT_EQ(p[i], -10);
  FreeVector(p);
  FreeVector(v);
  FreeMatrix(m);
}

TEST(Containers, PrintMatrixWritesOneLineARow) {
  double **m = Numbered(2, 5);
  testing::internal::CaptureStdout();
  PrintMatrix(m);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out.substr(0, out.find('\n')), "1.100E+01 2.100E+01 ");
  size_t lines = 0;
  for (char ch : out) lines += ch == '\n';
  EXPECT_EQ(lines, 5u);
  FreeMatrix(m);
}

TEST(Containers, RealFormsOfComplexContainers) {
  Complex *v = VectorC(2);
  v[1] = ComplexR(3, -4);
  v[2] = ComplexR(0, 0);
  double *a = AbsCV(v);
  EXPECT_EQ(a[1], 5);
  EXPECT_EQ(a[2], 0);
  Complex **m = MatrixVC(v);
  double **am = AbsCM(m), **re = ReM(m);
  EXPECT_EQ(am[1][1], 5);
  EXPECT_EQ(re[1][1], 3);
  FreeVectorC(v);
  FreeVector(a);
  FreeMatrixC(m);
  FreeMatrix(am);
  FreeMatrix(re);
}

// ---- text containers -----------------------------------------------------

TEST(Containers, StringVectorScansToFirstEmptyString) {
  char **s = StringVector(3);
  EXPECT_EQ(StringVectorLength(s), 3);
  EXPECT_STREQ(s[0], "0");
  // An empty string in the middle ends the vector there.
  char *saved = s[1];
  s[1] = CopyS("");
  EXPECT_EQ(StringVectorLength(s), 1);
  FreeString(s[1]);
  s[1] = saved;
  FreeStringVector(s);
  char **empty = StringVector(0);
  EXPECT_EQ(StringVectorLength(empty), 0);
  EXPECT_STREQ(empty[0], "");
  FreeStringVector(empty);
}

TEST(Containers, StringVectorsOwnAndCopyTheirTexts) {
  char **two = StringVector2(CopyS("a"), CopyS("b"));
  char **three = StringVector3("a", "b", "c");
  EXPECT_EQ(EqualVectorsS(two, three), 1);  // first two only
  EXPECT_EQ(EqualVectorsS(three, two), 0);
  char **copy = CopyStringVector(three);
  copy[2][0] = 'z';
  EXPECT_STREQ(three[2], "c");
  char *joined = StringSV(copy, ", ");
  EXPECT_STREQ(joined, "a, b, z");
  FreeString(joined);
  char **nulls = StringVectorNULL(2);
  EXPECT_EQ(nulls[0], nullptr);
  EXPECT_STREQ(nulls[2], "");
  nulls[0] = CopyS("x");
  nulls[1] = CopyS("y");
  FreeStringVector(nulls);
  FreeStringVector(two);
  FreeStringVector(three);
  FreeStringVector(copy);
}

TEST(Containers, StringMatrixCountsColumnsAndRows) {
  char ***m = StringMatrix(2, 3);
  EXPECT_EQ(StringMatrixCols(m), 2);
  EXPECT_EQ(StringMatrixRows(m), 3);
  char ***copy = CopyStringMatrix(m);
  EXPECT_EQ(EqualMatricesS(m, copy), 1);
  FreeString(copy[1][2]);
  copy[1][2] = CopyS("q");
  EXPECT_EQ(EqualMatricesS(m, copy), 0);

  char **col = StringVector3("x", "y", "z");
  for (int32_t pos : {0, 1, 2, 99}) {
    char ***ins = InsertElementSM(m, col, pos);
    EXPECT_EQ(StringMatrixCols(ins), 3);
    int at = pos > 2 ? 2 : pos;
    EXPECT_STREQ(ins[at][0], "x") << pos;
    FreeStringMatrix(ins);
  }
  FreeStringVector(col);

  char ***none = StringMatrix(2, 0);  // no rows: no data, and nothing leaks
  EXPECT_EQ(StringMatrixCols(none), 0);
  EXPECT_EQ(StringMatrixRows(none), 0);
  FreeStringMatrix(none);
  FreeStringMatrix(m);
  FreeStringMatrix(copy);
}

TEST(Containers, StringMatrixVectorOfOneByOnes) {
  char ****v = StringMatrixVector(3);
  EXPECT_EQ(StringMatrixVectorLength(v), 3);
  EXPECT_STREQ(v[2][0][0], "0");
  char ****copy = CopyStringMatrixVector(v);
  EXPECT_EQ(StringMatrixVectorLength(copy), 3);
  EXPECT_EQ(EqualMatricesS(copy[1], v[1]), 1);
  FreeStringMatrixVector(v);
  FreeStringMatrixVector(copy);
  char ****empty = StringMatrixVector(0);
  EXPECT_EQ(StringMatrixVectorLength(empty), 0);
  FreeStringMatrixVector(empty);
}

TEST(Containers, FreesAcceptNull) {
  Free(nullptr);
  FreeString(nullptr);
  FreeVector(nullptr);
  FreeMatrix(nullptr);
  FreeMatrixVector(nullptr);
  FreeStringVector(nullptr);
  FreeStringMatrix(nullptr);
  FreeStringMatrixVector(nullptr);
  FreeVectorV(nullptr);
  EXPECT_EQ(EqualVectors(nullptr, nullptr), 1);
  EXPECT_EQ(StringVectorLength(nullptr), 0);
}

}  // namespace
