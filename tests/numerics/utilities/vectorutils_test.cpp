// Vector and matrix utilities: positions at and past both ends, the
// clamping of insertions, circular shifts with negative and large offsets,
// set results (ascending, distinct, NaN-free), stable sorting with NaN, the
// fall-backs of shapes that do not fit, and text containers whose empty
// strings would end them. Leaks and out-of-bounds reads are left to the
// sanitizers, which is why every result is freed.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "libquorvex.h"

namespace {

using Values = std::vector<double>;

double *VectorOf(const Values &x) {
  double *v = Vector(static_cast<int32_t>(x.size()));
  for (std::size_t i = 0; i < x.size(); ++i) v[i + 1] = x[i];
  return v;
}
int32_t *VectorLOf(const std::vector<int32_t> &x) {
  int32_t *v = VectorL(static_cast<int32_t>(x.size()));
  for (std::size_t i = 0; i < x.size(); ++i) v[i + 1] = x[i];
  return v;
}
// Takes the vector and frees it; NaN compares equal to NaN.
Values Take(double *v) {
  Values x(v + 1, v + 1 + static_cast<int>(v[0]));
  FreeVector(v);
  return x;
}
bool SameValues(const Values &a, const Values &b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (!(a[i] == b[i] || (std::isnan(a[i]) && std::isnan(b[i])))) return false;
  return true;
}
#define EXPECT_VALUES(v, ...) EXPECT_TRUE(SameValues(Take(v), Values(__VA_ARGS__)))

// Rows of a matrix as lists, freeing it.
std::vector<Values> TakeRows(double **m) {
  int c = static_cast<int>(m[0][0]), r = c ? static_cast<int>(m[1][0]) : 0;
  std::vector<Values> rows(static_cast<std::size_t>(r));
  for (int i = 1; i <= r; ++i)
    for (int j = 1; j <= c; ++j) rows[static_cast<std::size_t>(i - 1)].push_back(m[j][i]);
  FreeMatrix(m);
  return rows;
}
double **FromRows(const std::vector<Values> &rows) {
  int r = static_cast<int>(rows.size()), c = r ? static_cast<int>(rows[0].size()) : 0;
  double **m = Matrix(c, r);
  for (int i = 1; i <= r; ++i)
    for (int j = 1; j <= c; ++j) m[j][i] = rows[static_cast<std::size_t>(i - 1)][static_cast<std::size_t>(j - 1)];
  return m;
}

std::vector<std::string> TakeStrings(char **v) {
  std::vector<std::string> x;
  for (int i = 0, n = StringVectorLength(v); i < n; ++i) x.push_back(v[i]);
  FreeStringVector(v);
  return x;
}
char **StringsOf(const std::vector<const char *> &x) {
  char **v = StringVector(static_cast<int32_t>(x.size()));
  for (std::size_t i = 0; i < x.size(); ++i) {
    FreeString(v[i]);
    v[i] = CopyS(x[i]);
  }
  return v;
}

// ---- vector edits -------------------------------------------------------------

TEST(VectorUtils, InsertionsClampAndRemovalsIgnoreOutsidePositions) {
  const Values base{1, 2, 3};
  struct Case {
    int32_t pos;
    Values inserted, removed;
  } cases[] = {
      {-5, {9, 1, 2, 3}, {1, 2, 3}}, {0, {9, 1, 2, 3}, {1, 2, 3}}, {1, {9, 1, 2, 3}, {2, 3}},
      {3, {1, 2, 9, 3}, {1, 2}},     {4, {1, 2, 3, 9}, {1, 2, 3}}, {99, {1, 2, 3, 9}, {1, 2, 3}},
  };
  double *v = VectorOf(base);
  for (const Case &c : cases) {
    SCOPED_TRACE(c.pos);
    EXPECT_VALUES(InsertElement(v, 9, c.pos), c.inserted);
    EXPECT_VALUES(RemovePosition(v, c.pos), c.removed);
  }
  EXPECT_VALUES(AugmentVector(v, 4), {1, 2, 3, 4});
  EXPECT_VALUES(ExtendVector(v, 5), {1, 2, 3, 0, 0});
  EXPECT_VALUES(ExtendVector(v, 2), {1, 2});
  EXPECT_VALUES(ExtendVector(v, -1), {});
  int32_t *positions = VectorLOf({3, 1, 3, 0, 7});
  EXPECT_VALUES(RemovePositions(v, positions), {2});
  FreeVectorL(positions);
  FreeVector(v);
}

TEST(VectorUtils, CircularShiftWrapsBothWays) {
  double *v = VectorOf({1, 2, 3, 4});
  struct Case {
    int32_t k;
    Values expected;
  } cases[] = {{0, {1, 2, 3, 4}}, {1, {4, 1, 2, 3}}, {-1, {2, 3, 4, 1}}, {4, {1, 2, 3, 4}},
               {-7, {4, 1, 2, 3}}, {INT32_MIN, {1, 2, 3, 4}}};
  for (const Case &c : cases) {
    SCOPED_TRACE(c.k);
    EXPECT_VALUES(Shift(v, c.k), c.expected);
    // The matrix form moves whole rows the same way.
    double **m = MatrixV(v);
    double **s = ShiftRow(m, c.k);
    EXPECT_VALUES(Col(s, 1), c.expected);
    FreeMatrix(s);
    FreeMatrix(m);
  }
  EXPECT_VALUES(ReverseV(v), {4, 3, 2, 1});
  int32_t *order = VectorLOf({4, 0, 1});
  EXPECT_VALUES(ReorderV(v, order), {4, NAN, 1});
  FreeVectorL(order);
  FreeVector(v);
}

TEST(VectorUtils, DuplicatesAndSearchesTreatNaNAsAValue) {
  double *v = VectorOf({3, NAN, 1, 3, NAN, 2, 1});
  EXPECT_VALUES(RemoveDuplicates(v), {3, NAN, 1, 2});
  EXPECT_EQ(Pos(v, NAN), 2);
  EXPECT_EQ(Pos(v, 7), 0);
  EXPECT_EQ(NOcc(v, 3), 2);
  EXPECT_EQ(NOcc(v, NAN), 2);
  EXPECT_VALUES(RemoveElement(v, NAN), {3, 1, 3, 2, 1});
  double *drop = VectorOf({1, 3});
  EXPECT_VALUES(RemoveElements(v, drop), {NAN, NAN, 2});
  FreeVector(drop);
  FreeVector(v);
  double *sorted = VectorOf({1, 1, 2, 5, 5, 5});
  EXPECT_VALUES(RemoveDuplicatesSorted(sorted), {1, 2, 5});
  FreeVector(sorted);
}

TEST(VectorUtils, SetOperationsAscendDistinctWithoutNaN) {
  double *a = VectorOf({3, 1, 2, 2, NAN});
  double *b = VectorOf({2, 5, 3});
  double *c = VectorOf({7, 8});
  EXPECT_VALUES(UnionV(a, b), {1, 2, 3, 5});
  EXPECT_VALUES(IntersectionV(a, b), {2, 3});
  EXPECT_VALUES(ComplementV(a, b), {1});
  EXPECT_VALUES(SymmetricDifferenceV(a, b), {1, 5});
  EXPECT_VALUES(IntersectionV(a, nullptr), {});
  EXPECT_EQ(MutuallyExclusive(a, b), 0);
  EXPECT_EQ(MutuallyExclusive(a, c), 1);
  for (double *v : {a, b, c}) FreeVector(v);
}

TEST(VectorUtils, BinarySearchOnRealParts) {
  Complex *v = VectorC(4);
  for (int i = 1; i <= 4; ++i) v[i] = Complex{10.0 * i, -1.0};
  struct Case {
    double x;
    int32_t expected;
  } cases[] = {{5, 0}, {10, 1}, {15, 1}, {40, 4}, {99, 4}, {NAN, 0}};
  for (const Case &c : cases) EXPECT_EQ(BinarySearchPosC(v, c.x), c.expected) << c.x;
  FreeVectorC(v);
}

TEST(VectorUtils, ZeroEndPointsRemovesOffsetAndDrift) {
  double *v = VectorOf({1, 5, 3, 7});  // line 1, 3, 5, 7
  EXPECT_VALUES(ZeroEndPoints(v), {0, 2, -2, 0});
  FreeVector(v);
}

// ---- text ------------------------------------------------------------------

TEST(VectorUtils, TextVectorsStayTerminated) {
  char **v = StringsOf({"a", "b", "c"});
  struct Case {
    int32_t pos;
    std::vector<std::string> inserted, removed;
  } cases[] = {{-1, {"x", "a", "b", "c"}, {"a", "b", "c"}},
               {0, {"x", "a", "b", "c"}, {"b", "c"}},
               {2, {"a", "b", "x", "c"}, {"a", "b"}},
               {3, {"a", "b", "c", "x"}, {"a", "b", "c"}}};
  for (const Case &c : cases) {
    SCOPED_TRACE(c.pos);
    EXPECT_EQ(TakeStrings(InsertElementS(v, "x", c.pos)), c.inserted);
    EXPECT_EQ(TakeStrings(RemovePositionS(v, c.pos)), c.removed);
  }
  // An empty text would end the vector early, so it is not stored.
  EXPECT_EQ(TakeStrings(InsertElementS(v, "", 1)), (std::vector<std::string>{"a", "b", "c"}));
  char **w = StringsOf({"c", "z", "a", "c"});
  EXPECT_EQ(TakeStrings(InsertElementSV(v, w, 1)), (std::vector<std::string>{"a", "c", "z", "a", "c", "b", "c"}));
  EXPECT_EQ(TakeStrings(IntersectionSV(w, v)), (std::vector<std::string>{"c", "a"}));
  int32_t *positions = VectorLOf({0, 2, 5});
  EXPECT_EQ(TakeStrings(RemovePositionsS(v, positions)), (std::vector<std::string>{"b"}));
  FreeVectorL(positions);
  FreeStringVector(w);
  FreeStringVector(v);

  char *t = RemovePositionCh("abc", 1);
  EXPECT_STREQ(t, "ac");
  FreeString(t);
  t = RemovePositionCh("abc", 3);
  EXPECT_STREQ(t, "abc");
  FreeString(t);
}

TEST(VectorUtils, TextMatrixRowsAndColumns) {
  char ***m = StringMatrix(3, 2);
  const char *texts[3][2] = {{"a", "b"}, {"c", "d"}, {"a", "b"}};
  for (int j = 0; j < 3; ++j)
    for (int i = 0; i < 2; ++i) {
      FreeString(m[j][i]);
      m[j][i] = CopyS(texts[j][i]);
    }
  char ***d = RemoveDuplicateColsS(m);
  EXPECT_EQ(StringMatrixCols(d), 2);
  EXPECT_STREQ(d[1][1], "d");
  char ***r = RemoveRowS(m, 0);
  EXPECT_EQ(StringMatrixRows(r), 1);
  EXPECT_STREQ(r[1][0], "d");
  char ***c = RemovePositionSM(m, 1);
  EXPECT_EQ(StringMatrixCols(c), 2);
  EXPECT_STREQ(c[1][0], "a");
  char **row = StringsOf({"x", "y"});
  char ***ins = InsertRowS(m, row, 1);
  ASSERT_EQ(StringMatrixRows(ins), 3);
  EXPECT_STREQ(ins[0][1], "x");
  EXPECT_STREQ(ins[2][1], "0");  // the row was one text short
  EXPECT_STREQ(ins[2][2], "b");
  for (char ***x : {d, r, c, ins, m}) FreeStringMatrix(x);
  FreeStringVector(row);
}

// ---- matrices ------------------------------------------------------------------

TEST(MatrixUtils, AugmentNeedsMatchingShapesJoinPads) {
  double **a = FromRows({{1, 2}, {3, 4}});
  double **b = FromRows({{5}, {6}, {7}});
  using Rows = std::vector<Values>;
  EXPECT_EQ(TakeRows(AugmentMatrixH(a, b)), (Rows{{0}}));  // row counts differ
  EXPECT_EQ(TakeRows(JoinMatrixH(a, b)), (Rows{{1, 2, 5}, {3, 4, 6}, {0, 0, 7}}));
  EXPECT_EQ(TakeRows(AugmentMatrixV(a, b)), (Rows{{0}}));  // column counts differ
  EXPECT_EQ(TakeRows(JoinMatrixV(a, b)), (Rows{{1, 2}, {3, 4}, {5, 0}, {6, 0}, {7, 0}}));
  EXPECT_EQ(TakeRows(AugmentMatrixV(a, a)), (Rows{{1, 2}, {3, 4}, {1, 2}, {3, 4}}));
  double *row = VectorOf({8, 9, 10});
  EXPECT_EQ(TakeRows(AppendMatrix(a, row)), (Rows{{1, 2}, {3, 4}, {8, 9}}));
  EXPECT_EQ(TakeRows(InsertCol(a, row, 1)), (Rows{{8, 1, 2}, {9, 3, 4}}));
  EXPECT_EQ(TakeRows(InsertMatrix(a, b, 2)), (Rows{{1, 5, 2}, {3, 6, 4}}));
  EXPECT_EQ(TakeRows(ExtendMatrix(a, 3, 1)), (Rows{{1, 2, 0}}));
  EXPECT_EQ(TakeRows(InvertRows(a)), (Rows{{3, 4}, {1, 2}}));
  EXPECT_EQ(TakeRows(SwapCols(a, 1, 2)), (Rows{{2, 1}, {4, 3}}));
  EXPECT_EQ(TakeRows(SwapCols(a, 1, 3)), (Rows{{1, 2}, {3, 4}}));  // unknown column: a copy
  EXPECT_EQ(TakeRows(RemoveCol(a, 2)), (Rows{{1}, {3}}));
  EXPECT_VALUES(Row(a, 2), {3, 4});
  EXPECT_VALUES(Col(a, 3), {});
  EXPECT_VALUES(JoinVectorM(a), {1, 3, 2, 4});
  FreeVector(row);
  FreeMatrix(a);
  FreeMatrix(b);
}

TEST(MatrixUtils, SortIsStableAndPutsNaNLast) {
  double **m = FromRows({{2, 1}, {NAN, 2}, {1, 3}, {2, 4}, {1, 5}});
  using Rows = std::vector<Values>;
  std::vector<Values> sorted = TakeRows(SortMatrix(m, 1));
  ASSERT_EQ(sorted.size(), 5u);
  Values order;
  for (const Values &r : sorted) order.push_back(r[1]);
  EXPECT_EQ(order, (Values{3, 5, 1, 4, 2}));
  double **rows = FromRows({{2, 9}, {1, 7}, {2, 3}});
  EXPECT_EQ(TakeRows(SortMatrixRows(rows)), (Rows{{1, 7}, {2, 3}, {2, 9}}));
  FreeMatrix(rows);
  FreeMatrix(m);

  double *v = VectorOf({3, NAN, -1, 2});
  double **col = MatrixV(v);
  double **sortedCol = SortMatrix(col, 1);
  EXPECT_VALUES(Col(sortedCol, 1), {-1, 2, 3, NAN});
  FreeMatrix(sortedCol);
  FreeMatrix(col);
  FreeVector(v);
}

TEST(MatrixUtils, RowsAsSets) {
  double **a = FromRows({{1, 2}, {3, 4}, {1, 2}});
  double **b = FromRows({{3, 4}, {5, 6}});
  using Rows = std::vector<Values>;
  EXPECT_EQ(TakeRows(UnionM(a, b)), (Rows{{1, 2}, {3, 4}, {5, 6}}));
  EXPECT_EQ(TakeRows(IntersectionM(a, b)), (Rows{{3, 4}}));
  EXPECT_EQ(TakeRows(ComplementM(a, b)), (Rows{{1, 2}}));
  EXPECT_EQ(TakeRows(SymmetricDifferenceM(a, b)), (Rows{{1, 2}, {5, 6}}));
  EXPECT_EQ(TakeRows(RemoveDuplicateRows(a)), (Rows{{1, 2}, {3, 4}}));
  double **c = FromRows({{1, 2, 3}});
  EXPECT_EQ(TakeRows(UnionM(a, c)), (Rows{{0}}));
  // Subsets of 1..4 and what each lacks.
  double **subsets = FromRows({{1, 2}, {2, 4}, {3, 3}});
  EXPECT_EQ(TakeRows(ComplementaryM(subsets, 4)), (Rows{{3, 4, 0}, {1, 3, 0}, {1, 2, 4}}));
  for (double **m : {a, b, c, subsets}) FreeMatrix(m);
}

TEST(MatrixUtils, MatrixVectorsHoldCopies) {
  double ***mv = MatrixVector(2);
  mv[1] = FromRows({{1}});
  mv[2] = FromRows({{2}});
  double *keys = VectorOf({5, 1});
  double ***sorted = SortMatrixVector(mv, keys);
  EXPECT_EQ(sorted[1][1][1], 2.0);
  double ***joined = JoinMatrixVector(mv, sorted);
  EXPECT_EQ(joined[0][0][0], 4.0);
  EXPECT_NE(joined[1], mv[1]);
  double **three = FromRows({{3}});
  double ***appended = AppendMatrixVector(mv, three);
  EXPECT_EQ(appended[3][1][1], 3.0);
  double **mean = MeanM(mv);
  EXPECT_EQ(mean[1][1], 1.5);
  FreeMatrix(mean);
  FreeMatrix(three);
  for (double ***x : {mv, sorted, joined, appended}) FreeMatrixVector(x);
  FreeVector(keys);
}

// ---- null and empty inputs -------------------------------------------------

TEST(VectorUtils, NullAndEmptyInputsGiveEmptyResults) {
  double *e = Vector(0);
  for (double *v : {static_cast<double *>(nullptr), e}) {
    for (double *r : {RemoveDuplicates(v), ReverseV(v), Shift(v, 3), RemovePosition(v, 1), UnionV(v, v),
                      ZeroEndPoints(v), JoinVector(v, v), RemoveElement(v, 1), NormalizeVMax(v),
                      Histogram(v, 0, 1, 0), ReorderV(v, nullptr), RemoveDuplicatesSorted(v)}) {
      ASSERT_NE(r, nullptr);
      EXPECT_EQ(r[0], 0.0);
      FreeVector(r);
    }
    EXPECT_VALUES(InsertElement(v, 7, 5), {7});
    EXPECT_EQ(Pos(v, 1), 0);
    EXPECT_EQ(MaxPos(v), 0);
    EXPECT_TRUE(std::isnan(StandardDeviation(v)));
    EXPECT_TRUE(std::isnan(FWHM(v)));
    EXPECT_TRUE(std::isnan(Moment(v, 1)));
    EXPECT_EQ(Norm(v), 0.0);
  }
  FreeVector(e);
  for (double **r : {SortMatrix(nullptr, 1), SortMatrixRows(nullptr), RemoveRow(nullptr, 1), InvertCols(nullptr),
                     JoinMatrixH(nullptr, nullptr), UnionM(nullptr, nullptr), ComplementaryM(nullptr, 3)}) {
    ASSERT_NE(r, nullptr);
    FreeMatrix(r);
  }
  EXPECT_EQ(TakeStrings(InsertElementS(nullptr, nullptr, 0)).size(), 0u);
  char **s = InsertElementS(nullptr, "a", 0);
  EXPECT_EQ(TakeStrings(s), (std::vector<std::string>{"a"}));
  EXPECT_EQ(RemovePositionCh(nullptr, 0), nullptr);
}

// ---- scalars and colours --------------------------------------------------------

TEST(VectorUtils, ScalarHelpers) {
  struct Wrapped {
    double x, low, high, expected;
  } wraps[] = {{370, 0, 360, 10}, {-10, 0, 360, 350}, {360, 0, 360, 0}, {-1e-18, 0, 360, 0},
               {5, -1, 1, -1},    {0.5, 1, 1, NAN}};
  for (const Wrapped &w : wraps) {
    double got = Wrap(w.x, w.low, w.high);
    if (std::isnan(w.expected)) {
      EXPECT_TRUE(std::isnan(got));
    } else {
      EXPECT_NEAR(got, w.expected, 1e-12) << w.x;
      EXPECT_LT(got, w.high);
    }
  }
  struct Magnitude {
    double x, ten, thousand;
  } magnitudes[] = {{1000, 3, 3}, {999.999, 2, 0}, {0.001, -3, -3}, {-5e-7, -7, -9}, {1, 0, 0}, {0, 0, 0}};
  for (const Magnitude &m : magnitudes) {
    EXPECT_EQ(OrderOfMagnitude10(m.x), m.ten) << m.x;
    EXPECT_EQ(OrderOfMagnitude1000(m.x), m.thousand) << m.x;
  }
  struct Clock {
    double seconds;
    const char *text;
  } clocks[] = {{0, "00:00:00"}, {3661.4, "01:01:01"}, {-59.6, "-00:01:00"}, {360000, "100:00:00"}};
  for (const Clock &c : clocks) {
    char *t = HMSTime(c.seconds);
    EXPECT_STREQ(t, c.text);
    FreeString(t);
  }
  EXPECT_EQ(HMSTime(NAN), nullptr);
  EXPECT_EQ(OverlapInterval(0, 2, 3, 1), 1.0);
  EXPECT_EQ(OverlapInterval(0, 1, 2, 3), 0.0);
  EXPECT_EQ(InsideInterval(2, 3, 1), 1);
  EXPECT_EQ(InsideInterval(NAN, 0, 1), 0);
  double a = 1, b = 2;
  Swap(&a, &b);
  EXPECT_EQ(a, 2.0);
  Swap(&a, nullptr);
  Complex *z = VectorC(2);
  z[1] = {1, 2}, z[2] = {3, 4};
  EXPECT_VALUES(RealVC(z), {1, 3});
  EXPECT_VALUES(ImV(z), {2, 4});
  FreeVectorC(z);
  Complex u = NormalizeC(Complex{3, -4});
  EXPECT_DOUBLE_EQ(u.re, 0.6);
  EXPECT_DOUBLE_EQ(u.im, -0.8);
}

TEST(VectorUtils, ColoursRoundTrip) {
  struct Known {
    int32_t colour;
    double h, s, v;
  } known[] = {{0xff0000, 0, 1, 1},       {0x00ff00, 120, 1, 1}, {0x0000ff, 240, 1, 1},
               {0x00ffff, 180, 1, 1},     {0xff00ff, 300, 1, 1}, {0x808080, 0, 0, 128.0 / 255},
               {0x000000, 0, 0, 0}};
  for (const Known &k : known) {
    SCOPED_TRACE(k.colour);
    Values hsv = Take(IntToHSV(k.colour));
    EXPECT_NEAR(hsv[0], k.h, 1e-9);
    EXPECT_NEAR(hsv[1], k.s, 1e-12);
    EXPECT_NEAR(hsv[2], k.v, 1e-12);
    EXPECT_EQ(HSVToint(k.h, k.s, k.v), k.colour);
  }
  for (int32_t c : {0x123456, 0xfedcba, 0x010203, 0xffffff})
    EXPECT_EQ(HSVToint(Take(IntToHSV(c))[0], Take(IntToHSV(c))[1], Take(IntToHSV(c))[2]), c);
  EXPECT_EQ(RGBToint(300, -5, 16), 0xff0010);
  EXPECT_VALUES(IntToRGB(0x102030), {16, 32, 48});
  EXPECT_EQ(HSVToint(-120, 1, 1), 0x0000ff);  // hue wraps
}

}  // namespace
