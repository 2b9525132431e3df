// Matrix utilities: every reshaping member checked against the source
// column and row each element must come from, so that a wrong direction of
// a shift or swap, an off-by-one at either end or a lost imaginary part
// shows up; shapes that do not fit give the 1 by 1 zero matrix, positions
// outside the matrix give a copy. Every result is freed, so a block built
// and dropped on some path is reported by the leak checker.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "libquorvex.h"

namespace {

using Lines = std::vector<int32_t>;
using Grid = std::vector<std::vector<double>>;  // grid[j - 1][i - 1]: column j, row i

// Element (j, i) of the test matrix; 0 is kept for zero lines.
double Source(int32_t j, int32_t i) { return 10.0 * j + i; }

double **Make(int32_t cols, int32_t rows) {
  double **m = Matrix(cols, rows);
  for (int32_t j = 1; j <= cols; ++j)
    for (int32_t i = 1; i <= rows; ++i) m[j][i] = Source(j, i);
  return m;
}
Complex **MakeC(int32_t cols, int32_t rows) {
  Complex **m = MatrixC(cols, rows);
  for (int32_t j = 1; j <= cols; ++j)
    for (int32_t i = 1; i <= rows; ++i) m[j][i] = Complex{Source(j, i), -Source(j, i)};
  return m;
}

// Takes a result and frees it.
Grid Take(double **m) {
  Grid g(static_cast<std::size_t>(m[0][0]));
  for (std::size_t j = 0; j < g.size(); ++j)
    g[j].assign(m[j + 1] + 1, m[j + 1] + 1 + static_cast<int32_t>(m[j + 1][0]));
  FreeMatrix(m);
  return g;
}
// Real parts of a complex result; the imaginary part must be their negative.
Grid TakeC(Complex **m) {
  Grid g(static_cast<std::size_t>(m[0][0].re));
  for (std::size_t j = 0; j < g.size(); ++j) {
    const Complex *col = m[j + 1];
    for (int32_t i = 1; i <= static_cast<int32_t>(col[0].re); ++i) {
      EXPECT_EQ(col[i].im, -col[i].re) << "column " << j + 1 << " row " << i;
      g[j].push_back(col[i].re);
    }
  }
  FreeMatrixC(m);
  return g;
}
// What a result must hold: element (j, i) from source column cols[j - 1]
// and source row rows[i - 1], or 0 where either is 0.
Grid Expected(const Lines &cols, const Lines &rows) {
  Grid g;
  for (int32_t sj : cols) {
    g.emplace_back();
    for (int32_t si : rows) g.back().push_back(sj && si ? Source(sj, si) : 0.0);
  }
  return g;
}
const Grid kFallback{{0.0}};

struct Case {
  std::string name;
  std::function<double **(double **)> edit;
  Lines cols, rows;
};

TEST(MatrixUtilities, EditsTakeEachElementFromTheRightLine) {
  // The test matrix has 3 columns and 4 rows.
  const Lines all3{1, 2, 3}, all4{1, 2, 3, 4};
  const std::vector<Case> cases = {
      {"RemoveCol first", [](double **m) { return RemoveCol(m, 1); }, {2, 3}, all4},
      {"RemoveCol last", [](double **m) { return RemoveCol(m, 3); }, {1, 2}, all4},
      {"RemoveCol outside", [](double **m) { return RemoveCol(m, 4); }, all3, all4},
      {"RemoveCol zero", [](double **m) { return RemoveCol(m, 0); }, all3, all4},
      {"RemoveRow first", [](double **m) { return RemoveRow(m, 1); }, all3, {2, 3, 4}},
      {"RemoveRow last", [](double **m) { return RemoveRow(m, 4); }, all3, {1, 2, 3}},
      {"RemoveRow outside", [](double **m) { return RemoveRow(m, 5); }, all3, all4},
      {"RemoveRows", [](double **m) {
         int32_t *rows = VectorL(3);
         rows[1] = 4, rows[2] = 2, rows[3] = 9;
         double **out = RemoveRows(m, rows);
         FreeVectorL(rows);
         return out;
       }, all3, {1, 3}},
      {"SwapCols ends", [](double **m) { return SwapCols(m, 1, 3); }, {3, 2, 1}, all4},
      {"SwapCols outside", [](double **m) { return SwapCols(m, 1, 4); }, all3, all4},
      {"SwapRows ends", [](double **m) { return SwapRows(m, 4, 1); }, all3, {4, 2, 3, 1}},
      {"InvertCols", [](double **m) { return InvertCols(m); }, {3, 2, 1}, all4},
      {"InvertRows", [](double **m) { return InvertRows(m); }, all3, {4, 3, 2, 1}},
      // Line i goes to line i + k, circularly.
      {"ShiftCol +1", [](double **m) { return ShiftCol(m, 1); }, {3, 1, 2}, all4},
      {"ShiftCol -1", [](double **m) { return ShiftCol(m, -1); }, {2, 3, 1}, all4},
      {"ShiftCol full turn", [](double **m) { return ShiftCol(m, 3); }, all3, all4},
      {"ShiftCol +4", [](double **m) { return ShiftCol(m, 4); }, {3, 1, 2}, all4},
      {"ShiftRow +2", [](double **m) { return ShiftRow(m, 2); }, all3, {3, 4, 1, 2}},
      {"ShiftRow -5", [](double **m) { return ShiftRow(m, -5); }, all3, {2, 3, 4, 1}},
      {"ExtendMatrix cut and pad", [](double **m) { return ExtendMatrix(m, 2, 6); }, {1, 2}, {1, 2, 3, 4, 0, 0}},
      {"ExtendMatrix grow", [](double **m) { return ExtendMatrix(m, 4, 4); }, {1, 2, 3, 0}, all4},
  };
  for (const Case &c : cases) {
    double **m = Make(3, 4);
    EXPECT_EQ(Take(c.edit(m)), Expected(c.cols, c.rows)) << c.name;
    // The source is left alone.
    EXPECT_EQ(Take(m), Expected(all3, all4)) << c.name;
  }
}

TEST(MatrixUtilities, ComplexEditsKeepBothParts) {
  const Lines all2{1, 2}, all3{1, 2, 3};
  struct ComplexCase {
    std::string name;
    std::function<Complex **(Complex **)> edit;
    Lines cols, rows;
  };
  const std::vector<ComplexCase> cases = {
      {"SwapColsC", [](Complex **m) { return SwapColsC(m, 2, 1); }, {2, 1}, all3},
      {"SwapRowsC", [](Complex **m) { return SwapRowsC(m, 1, 3); }, all2, {3, 2, 1}},
      {"InvertColsC", [](Complex **m) { return InvertColsC(m); }, {2, 1}, all3},
      {"InvertRowsC", [](Complex **m) { return InvertRowsC(m); }, all2, {3, 2, 1}},
      {"ShiftColC", [](Complex **m) { return ShiftColC(m, 1); }, {2, 1}, all3},
      {"ShiftRowC", [](Complex **m) { return ShiftRowC(m, -1); }, all2, {2, 3, 1}},
      {"ExtendMatrixC", [](Complex **m) { return ExtendMatrixC(m, 3, 2); }, {1, 2, 0}, {1, 2}},
  };
  for (const ComplexCase &c : cases) {
    Complex **m = MakeC(2, 3);
    EXPECT_EQ(TakeC(c.edit(m)), Expected(c.cols, c.rows)) << c.name;
    FreeMatrixC(m);
  }
}

TEST(MatrixUtilities, InsertionsAreCutOrPaddedToFit) {
  double *shortCol = Vector(2);
  shortCol[1] = 1, shortCol[2] = 2;
  double *longRow = Vector(5);
  for (int32_t k = 1; k <= 5; ++k) longRow[k] = -k;
  double **m = Make(2, 3);

  Grid g = Take(InsertCol(m, shortCol, 2));
  EXPECT_EQ(g, (Grid{{11, 12, 13}, {1, 2, 0}, {21, 22, 23}}));
  g = Take(InsertCol(m, shortCol, 99));  // past the end: appended
  EXPECT_EQ(g, (Grid{{11, 12, 13}, {21, 22, 23}, {1, 2, 0}}));
  g = Take(InsertCol(m, shortCol, -3));  // before the start: first
  EXPECT_EQ(g, (Grid{{1, 2, 0}, {11, 12, 13}, {21, 22, 23}}));
  g = Take(InsertRow(m, longRow, 1));
  EXPECT_EQ(g, (Grid{{-1, 11, 12, 13}, {-2, 21, 22, 23}}));
  g = Take(InsertRow(m, longRow, 4));
  EXPECT_EQ(g, (Grid{{11, 12, 13, -1}, {21, 22, 23, -2}}));
  g = Take(AppendMatrix(m, shortCol));
  EXPECT_EQ(g, (Grid{{11, 12, 13, 1}, {21, 22, 23, 2}}));

  double **b = Make(1, 3);
  g = Take(InsertMatrix(m, b, 2));
  EXPECT_EQ(g, (Grid{{11, 12, 13}, {11, 12, 13}, {21, 22, 23}}));
  FreeMatrix(b);

  FreeMatrix(m);
  FreeVector(shortCol);
  FreeVector(longRow);
}

TEST(MatrixUtilities, AugmentNeedsMatchingShapesJoinPads) {
  double **a = Make(2, 3), **tall = Make(1, 4), **wide = Make(3, 1);
  EXPECT_EQ(Take(AugmentMatrixH(a, a)), Expected({1, 2, 1, 2}, {1, 2, 3}));
  EXPECT_EQ(Take(AugmentMatrixH(a, tall)), kFallback);
  EXPECT_EQ(Take(JoinMatrixH(a, tall)), (Grid{{11, 12, 13, 0}, {21, 22, 23, 0}, {11, 12, 13, 14}}));
  EXPECT_EQ(Take(AugmentMatrixV(a, a)), Expected({1, 2}, {1, 2, 3, 1, 2, 3}));
  EXPECT_EQ(Take(AugmentMatrixV(a, wide)), kFallback);
  EXPECT_EQ(Take(JoinMatrixV(a, wide)), (Grid{{11, 12, 13, 11}, {21, 22, 23, 21}, {0, 0, 0, 31}}));

  double **none = Matrix(0, 0);
  EXPECT_EQ(Take(AugmentMatrixH(none, a)), Expected({1, 2}, {1, 2, 3}));
  EXPECT_EQ(Take(AugmentMatrixV(a, none)), Expected({1, 2}, {1, 2, 3}));
  FreeMatrix(none);
  FreeMatrix(a);
  FreeMatrix(tall);
  FreeMatrix(wide);
}

TEST(MatrixUtilities, ColAndRowCopyOrGiveNothingOutside) {
  double **m = Make(3, 2);
  struct Probe {
    double *v;
    std::vector<double> want;
  };
  for (Probe p : {Probe{Col(m, 1), {11, 12}}, Probe{Col(m, 3), {31, 32}}, Probe{Col(m, 0), {}},
                  Probe{Col(m, 4), {}}, Probe{Row(m, 2), {12, 22, 32}}, Probe{Row(m, 3), {}},
                  Probe{Row(m, -1), {}}}) {
    EXPECT_EQ(std::vector<double>(p.v + 1, p.v + 1 + static_cast<int32_t>(p.v[0])), p.want);
    FreeVector(p.v);
  }
  FreeMatrix(m);
}

// A column shorter than the others limits the rows every edit reads, so no
// edit reads past the end of that column (the address sanitizer checks).
TEST(MatrixUtilities, RaggedMatrixReadsOnlyItsShortestColumn) {
  double **m = Make(3, 4);
  FreeVector(m[2]);
  m[2] = Vector(2);
  m[2][1] = 21, m[2][2] = 22;
  EXPECT_EQ(Take(InvertRows(m)), Expected({1, 2, 3}, {2, 1}));
  EXPECT_EQ(Take(RemoveCol(m, 1)), Expected({2, 3}, {1, 2}));
  EXPECT_EQ(Take(ShiftRow(m, 1)), Expected({1, 2, 3}, {2, 1}));
  FreeMatrix(m);
}

}  // namespace
