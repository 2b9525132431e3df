// Containers to and from files: exact text layout, line and column counts,
// round trips of every form, and readers handed missing, truncated or
// malformed files (run under the sanitizers, these also prove that nothing
// is read outside the data). Each test works in a fresh temporary folder.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>

#include "libquorvex.h"

namespace {

namespace fs = std::filesystem;

class TextFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/qvx-textfiles-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = pattern;
  }
  void TearDown() override { fs::remove_all(dir_); }

  std::string Path(const std::string &name) const { return (dir_ / name).string(); }
  void Put(const std::string &name, const std::string &content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
  }
  std::string Get(const std::string &name) const {
    std::ifstream in(Path(name), std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }

  fs::path dir_;
};

double **Sample(int32_t cols, int32_t rows) {
  double **m = Matrix(cols, rows);
  for (int32_t j = 1; j <= cols; ++j)
    for (int32_t i = 1; i <= rows; ++i) m[j][i] = (j - 0.5) * std::pow(-10.0, i) / 3.0;
  return m;
}

void ExpectSameMatrix(double **want, double **got, double tol) {
  ASSERT_EQ(got[0][0], want[0][0]);
  for (int32_t j = 1; j <= static_cast<int32_t>(want[0][0]); ++j) {
    ASSERT_EQ(got[j][0], want[j][0]) << "column " << j;
    for (int32_t i = 1; i <= static_cast<int32_t>(want[j][0]); ++i)
      EXPECT_NEAR(got[j][i], want[j][i], tol * std::fabs(want[j][i])) << j << "," << i;
  }
}

// ---- layout and counts ---------------------------------------------------------

TEST_F(TextFiles, MatrixLayoutRunsAlongColumnsAndEndsWithoutLineEnd) {
  double **m = Matrix(2, 2);
  m[1][1] = 1;
  m[2][1] = 2;
  m[1][2] = 3;
  m[2][2] = -4.5;
  ASSERT_EQ(WriteMatrix(Path("m.txt").c_str(), m), 1);
  EXPECT_EQ(Get("m.txt"), "1.000000000000E+00 2.000000000000E+00\n3.000000000000E+00 -4.500000000000E+00");
  FreeMatrix(m);

  double *v = Vector2(0.25, 8);
  ASSERT_EQ(WriteVector(Path("v.txt").c_str(), v), 1);
  EXPECT_EQ(Get("v.txt"), "2.500000000000E-01\n8.000000000000E+00");
  FreeVector(v);

  int32_t **l = MatrixL(3, 1);
  l[1][1] = -7, l[2][1] = 0, l[3][1] = 2147483647;
  ASSERT_EQ(WriteMatrixL(Path("l.txt").c_str(), l), 1);
  EXPECT_EQ(Get("l.txt"), "-7 0 2147483647");
  FreeMatrixL(l);
}

TEST_F(TextFiles, RowAndColumnCounts) {
  struct Case {
    const char *content;
    int32_t rows, cols, stringRows;
  };
  const Case cases[] = {
      {"1 2\n3 4", 2, 2, 2},          {"1 2\n3 4\n", 2, 2, 2},      {"1 2\r\n3 4\r\n", 2, 2, 2},
      {"1 2 3\n4\n\n5 6", 2, 3, 4},   {"\n\n1\t2\n", 1, 2, 3},     {"", 0, 0, 0},
      {"   \n", 0, 0, 1},
  };
  for (const auto &c : cases) {
    Put("f.txt", c.content);
    std::string p = Path("f.txt");
    EXPECT_EQ(NRows(p.c_str()), c.rows) << c.content;
    EXPECT_EQ(NCols(p.c_str()), c.cols) << c.content;
    EXPECT_EQ(StringRows(p.c_str()), c.stringRows) << c.content;
  }
  Put("s.txt", "a b\nc d e\n");
  EXPECT_EQ(StringCols(Path("s.txt").c_str()), 3);
  for (auto count : {NRows, NCols, StringRows, StringCols}) {
    EXPECT_EQ(count(Path("missing.txt").c_str()), 0);
    EXPECT_EQ(count(nullptr), 0);
  }
}

// ---- round trips -----------------------------------------------------------------

TEST_F(TextFiles, RealMatricesRoundTripInTextAndBinary) {
  double **m = Sample(3, 4);
  ASSERT_EQ(WriteMatrix(Path("m.txt").c_str(), m), 1);
  ASSERT_EQ(WriteMatrixBin(Path("m.bin").c_str(), m), 1);
  double **t = LoadMatrix(Path("m.txt").c_str());
  double **b = LoadMatrixBin(Path("m.bin").c_str());
  ExpectSameMatrix(m, t, 1e-12);  // 13 significant digits in text
  ExpectSameMatrix(m, b, 0.0);    // bit for bit in binary
  EXPECT_EQ(Get("m.bin").size(), 8u + 12 * 8);
  FreeMatrix(m), FreeMatrix(t), FreeMatrix(b);

  double *v = Vector3(1.0 / 3, -2e-300, 7e300);
  WriteVector(Path("v.txt").c_str(), v);
  WriteVectorBin(Path("v.bin").c_str(), v);
  double *tv = LoadVector(Path("v.txt").c_str()), *bv = LoadVectorBin(Path("v.bin").c_str());
  ASSERT_EQ(tv[0], 3.0);
  ASSERT_EQ(bv[0], 3.0);
  for (int i = 1; i <= 3; ++i) {
    EXPECT_NEAR(tv[i], v[i], 1e-12 * std::fabs(v[i]));
    EXPECT_EQ(bv[i], v[i]);
  }
  FreeVector(v), FreeVector(tv), FreeVector(bv);
}

TEST_F(TextFiles, IntegerContainersRoundTrip) {
  int32_t **m = MatrixL(2, 3);
  for (int j = 1; j <= 2; ++j)
    for (int i = 1; i <= 3; ++i) m[j][i] = (i - 2) * 1000003 * j;
  for (auto [name, write, load] : {std::tuple{"l.txt", &WriteMatrixL, &LoadMatrixL},
                                   std::tuple{"l.bin", &WriteMatrixLBin, &LoadMatrixLBin}}) {
    ASSERT_EQ(write(Path(name).c_str(), m), 1);
    int32_t **back = load(Path(name).c_str());
    EXPECT_EQ(EqualMatricesL(m, back), 1) << name;
    EXPECT_EQ(back[0][0], 2) << name;
    FreeMatrixL(back);
  }
  FreeMatrixL(m);
  int32_t *v = Vector3L(-1, 0, 5);
  WriteVectorLBin(Path("v.bin").c_str(), v);
  WriteVectorL(Path("v.txt").c_str(), v);
  int32_t *a = LoadVectorLBin(Path("v.bin").c_str()), *b = LoadVectorL(Path("v.txt").c_str());
  EXPECT_EQ(EqualVectorsL(v, a) && a[0] == 3, 1);
  EXPECT_EQ(EqualVectorsL(v, b) && b[0] == 3, 1);
  FreeVectorL(v), FreeVectorL(a), FreeVectorL(b);
}

TEST_F(TextFiles, ComplexMatricesUseFourPartFiles) {
  Complex **m = MatrixC(2, 2);
  m[1][1] = {3, 4}, m[2][1] = {-1, 0}, m[1][2] = {0, -2}, m[2][2] = {1e-5, 1};
  ASSERT_EQ(WriteMatrixC(Path("z.dat").c_str(), m), 1);
  EXPECT_EQ(Get("z_MODULUS.dat").substr(0, 18), "5.000000000000E+00");
  EXPECT_EQ(Get("z_PHASE.dat").substr(19, 18), "3.141592653590E+00");  // arg(-1)
  EXPECT_TRUE(fs::exists(Path("z_REAL.dat")) && fs::exists(Path("z_IMAGINARY.dat")));
  Complex **back = LoadMatrixC(Path("z.dat").c_str());
  ASSERT_EQ(back[0][0].re, 2.0);
  for (int j = 1; j <= 2; ++j)
    for (int i = 1; i <= 2; ++i) {
      EXPECT_NEAR(back[j][i].re, m[j][i].re, 1e-12);
      EXPECT_NEAR(back[j][i].im, m[j][i].im, 1e-12);
    }
  ASSERT_EQ(WriteMatrixCBin(Path("z.bin").c_str(), m), 1);
  Complex **bin = LoadMatrixCBin(Path("z.bin").c_str());
  EXPECT_EQ(EqualMatricesC(m, bin), 1);
  FreeMatrixC(bin), FreeMatrixC(back);

  // Without its imaginary file a complex matrix reads as real.
  fs::remove(Path("z_IMAGINARY.dat"));
  back = LoadMatrixC(Path("z.dat").c_str());
  EXPECT_EQ(back[1][1].re, 3.0);
  EXPECT_EQ(back[1][1].im, 0.0);
  FreeMatrixC(back), FreeMatrixC(m);

  Complex *v = VectorC(2);
  v[1] = {1, 2}, v[2] = {-3, 0.5};
  WriteVectorC(Path("v").c_str(), v);
  WriteVectorCBin(Path("v.bin").c_str(), v);
  Complex *tv = LoadVectorC(Path("v").c_str()), *bv = LoadVectorCBin(Path("v.bin").c_str());
  EXPECT_TRUE(fs::exists(Path("v_PHASE")));
  EXPECT_EQ(EqualVectorsC(v, tv) && tv[0].re == 2, 1);
  EXPECT_EQ(EqualVectorsC(v, bv) && bv[0].re == 2, 1);
  FreeVectorC(v), FreeVectorC(tv), FreeVectorC(bv);
}

TEST_F(TextFiles, DataSetsOneSampleALine) {
  Complex **d = MatrixC(2, 3);
  for (int i = 1; i <= 3; ++i) d[1][i] = {0.5 * i, 0}, d[2][i] = {1.0 * i, -1.0 * i};
  double *err = Vector2(0.1, 0.2);  // shorter than the set: the last error is 0
  ASSERT_EQ(WriteMatrix1DCErr(Path("e.txt").c_str(), d, err), 1);
  EXPECT_EQ(NCols(Path("e.txt").c_str()), 4);
  EXPECT_NE(Get("e.txt").rfind(" 0.000000000000E+00"), std::string::npos);
  ASSERT_EQ(WriteMatrix1DC(Path("d.txt").c_str(), d), 1);
  Complex **back = LoadMatrix1DC(Path("d.txt").c_str());
  EXPECT_EQ(EqualMatricesC(d, back), 1);
  FreeMatrixC(back), FreeMatrixC(d), FreeVector(err);

  // Two sets sharing abscissas: "x y1 y2" a line.
  double ***vm = VectorMatrix0(2, 2, 3);
  for (int i = 1; i <= 3; ++i)
    for (int s = 1; s <= 2; ++s) vm[s][1][i] = i, vm[s][2][i] = 10.0 * s + i;
  ASSERT_EQ(WriteVectorMatrix1D(Path("s.txt").c_str(), vm), 1);
  EXPECT_EQ(NCols(Path("s.txt").c_str()), 3);
  double ***sets = LoadVectorMatrix1D(Path("s.txt").c_str());
  ASSERT_EQ(sets[0][0][0], 2.0);
  for (int s = 1; s <= 2; ++s) EXPECT_EQ(EqualMatrices(vm[s], sets[s]), 1);
  FreeVectorMatrix(sets), FreeVectorMatrix(vm);

  Complex ***cvm = VectorMatrixC(2, 2, 2);
  for (int s = 1; s <= 2; ++s)
    for (int i = 1; i <= 2; ++i) cvm[s][1][i] = {1.0 * i, 0}, cvm[s][2][i] = {1.0 * s, -2.0 * i};
  ASSERT_EQ(WriteVectorMatrix1DC(Path("c.txt").c_str(), cvm), 1);
  EXPECT_EQ(NCols(Path("c.txt").c_str()), 5);
  Complex ***cback = LoadVectorMatrix1DC(Path("c.txt").c_str());
  ASSERT_EQ(cback[0][0][0].re, 2.0);
  for (int s = 1; s <= 2; ++s) EXPECT_EQ(EqualMatricesC(cvm[s], cback[s]), 1);
  FreeVectorMatrixC(cback), FreeVectorMatrixC(cvm);
}

TEST_F(TextFiles, MatrixVectorsInEveryForm) {
  double ***mv = MatrixVector(3);
  mv[1] = Sample(2, 3), mv[2] = Sample(1, 1), mv[3] = Sample(4, 2);
  ASSERT_EQ(WriteMatrixVector(Path("b.txt").c_str(), mv), 1);
  ASSERT_EQ(WriteMatrixVectorBin(Path("b.bin").c_str(), mv), 1);
  ASSERT_EQ(WriteMV(Path("b.mv").c_str(), mv), 1);
  EXPECT_EQ(LoadMatrixVectorSize(Path("b.txt").c_str()), 3);
  EXPECT_EQ(NRows(Path("b.txt").c_str()), 3);  // the first block
  EXPECT_NE(Get("b.txt").back(), '\n');       // no final line end
  for (auto load : {LoadMatrixVector, LoadMatrixVectorBin, LoadMV}) {
    double ***back = load(Path(load == LoadMatrixVector ? "b.txt" : load == LoadMV ? "b.mv" : "b.bin").c_str());
    ASSERT_EQ(back[0][0][0], 3.0);
    for (int t = 1; t <= 3; ++t) ExpectSameMatrix(mv[t], back[t], 1e-12);
    FreeMatrixVector(back);
  }
  EXPECT_EQ(LoadMVSize(Path("b.mv").c_str()), 3);
  int32_t *specs = LoadMVSpecs(Path("b.mv").c_str());
  int32_t want[] = {7, 3, 2, 3, 1, 1, 4, 2};
  ASSERT_EQ(specs[0], 7);
  for (int i = 1; i <= 7; ++i) EXPECT_EQ(specs[i], want[i]) << i;
  FreeVectorL(specs);

  ASSERT_EQ(WriteMatrixVectorFiles(Path("part.txt").c_str(), mv), 1);
  double **third = LoadMatrix(Path("part_3.txt").c_str());
  ExpectSameMatrix(mv[3], third, 1e-12);
  FreeMatrix(third);

  // As a VectorMatrix every element takes the largest shape, zero-padded.
  double ***vm = LoadVectorMatrix(Path("b.txt").c_str());
  for (int t = 1; t <= 3; ++t) {
    ASSERT_EQ(vm[t][0][0], 4.0);
    for (int j = 1; j <= 4; ++j) ASSERT_EQ(vm[t][j][0], 3.0);
  }
  EXPECT_NEAR(vm[2][1][1], mv[2][1][1], 1e-12);
  EXPECT_EQ(vm[2][2][1], 0.0);
  EXPECT_EQ(vm[2][1][2], 0.0);
  ASSERT_EQ(WriteVM(Path("b.vm").c_str(), vm), 1);
  double ***vm2 = LoadVM(Path("b.vm").c_str());
  for (int t = 1; t <= 3; ++t) ExpectSameMatrix(vm[t], vm2[t], 1e-12);
  FreeVectorMatrix(vm2), FreeVectorMatrix(vm), FreeMatrixVector(mv);
}

// The block form cannot hold an empty matrix; the MV and binary forms can.
TEST_F(TextFiles, EmptyMatricesSurviveTheHeadedForms) {
  double ***mv = MatrixVector(3);
  mv[1] = Sample(2, 2), mv[2] = Matrix(0, 0), mv[3] = Sample(1, 2);
  WriteMV(Path("e.mv").c_str(), mv);
  WriteMatrixVectorBin(Path("e.bin").c_str(), mv);
  for (auto load : {LoadMV, LoadMatrixVectorBin}) {
    double ***back = load(Path(load == LoadMV ? "e.mv" : "e.bin").c_str());
    ASSERT_EQ(back[0][0][0], 3.0);
    EXPECT_EQ(back[2][0][0], 0.0);
    ExpectSameMatrix(mv[3], back[3], 1e-12);
    FreeMatrixVector(back);
  }
  FreeMatrixVector(mv);
}

TEST_F(TextFiles, ComplexAndIntegerMatrixVectors) {
  Complex ***c = MatrixVectorC(2);
  c[1] = MatrixC(1, 2), c[2] = MatrixC(2, 1);
  c[1][1][1] = {1, -1}, c[1][1][2] = {2, 0}, c[2][1][1] = {0, 3}, c[2][2][1] = {-4, 4};
  ASSERT_EQ(WriteMatrixVectorC(Path("c.txt").c_str(), c), 1);
  Complex ***back = LoadMatrixVectorC(Path("c.txt").c_str());
  ASSERT_EQ(back[0][0][0].re, 2.0);
  for (int t = 1; t <= 2; ++t) EXPECT_EQ(EqualMatricesC(c[t], back[t]), 1) << t;
  FreeMatrixVectorC(back);
  ASSERT_EQ(WriteVectorMatrixBinC(Path("c.bin").c_str(), c), 1);
  Complex ***vm = LoadVectorMatrixBinC(Path("c.bin").c_str());
  EXPECT_EQ(vm[1][0][0].re, 2.0);  // widened to two columns
  EXPECT_EQ(vm[1][1][2].re, 2.0);
  EXPECT_EQ(vm[2][1][2].re, 0.0);  // and to two rows
  FreeVectorMatrixC(vm), FreeMatrixVectorC(c);

  int32_t ***l = MatrixVectorL(2);
  l[1] = MatrixL(1, 1), l[2] = MatrixL(2, 2);
  l[1][1][1] = 9, l[2][1][1] = 1, l[2][2][1] = 2, l[2][1][2] = 3, l[2][2][2] = -4;
  ASSERT_EQ(WriteMatrixVectorL(Path("l.txt").c_str(), l), 1);
  EXPECT_EQ(Get("l.txt"), "9\n\n1 2\n3 -4");
  int32_t ***lb = LoadMatrixVectorL(Path("l.txt").c_str());
  for (int t = 1; t <= 2; ++t) EXPECT_EQ(EqualMatricesL(l[t], lb[t]), 1);
  FreeMatrixVectorL(lb), FreeMatrixVectorL(l);
}

TEST_F(TextFiles, OneMatrixAfterAnotherOnAStream) {
  double **a = Sample(2, 2), **b = Sample(3, 1);
  std::FILE *f = std::fopen(Path("s.txt").c_str(), "w+");
  ASSERT_EQ(WriteOneMatrix(f, a), 1);
  std::fputc('\n', f);
  ASSERT_EQ(WriteOneMatrix(f, b), 1);
  std::rewind(f);
  double **a2 = LoadOneMatrix(f), **b2 = LoadOneMatrix(f), **none = LoadOneMatrix(f);
  std::fclose(f);
  ExpectSameMatrix(a, a2, 1e-12);
  ExpectSameMatrix(b, b2, 1e-12);
  EXPECT_EQ(none[0][0], 0.0);
  for (double **m : {a, b, a2, b2, none}) FreeMatrix(m);
}

TEST_F(TextFiles, TextContainers) {
  char **v = StringVector3("alpha", "beta gamma", "delta");
  ASSERT_EQ(WriteStringVector(Path("v.txt").c_str(), v), 1);
  EXPECT_EQ(Get("v.txt"), "alpha\nbeta gamma\ndelta");
  char **back = LoadStringVector(Path("v.txt").c_str());
  EXPECT_EQ(EqualVectorsS(v, back) && StringVectorLength(back) == 3, 1);
  char **two = LoadStringVectorN(Path("v.txt").c_str(), 2);
  EXPECT_EQ(StringVectorLength(two), 2);
  FreeStringVector(two), FreeStringVector(back), FreeStringVector(v);

  // Empty lines would end a StringVector early: they are left out.
  Put("gaps.txt", "a\n\nb\r\n");
  char **gaps = LoadStringVector(Path("gaps.txt").c_str());
  ASSERT_EQ(StringVectorLength(gaps), 2);
  EXPECT_STREQ(gaps[1], "b");
  FreeStringVector(gaps);

  Put("m.txt", "a b c\nd\n\ne f\n");
  char ***m = LoadStringMatrix(Path("m.txt").c_str());
  ASSERT_EQ(StringMatrixCols(m), 3);
  ASSERT_EQ(StringMatrixRows(m), 3);
  EXPECT_STREQ(m[0][1], "d");
  EXPECT_STREQ(m[1][2], "f");
  EXPECT_STREQ(m[2][1], "0");  // a cell the short line lacks
  ASSERT_EQ(WriteStringMatrix(Path("m2.txt").c_str(), m), 1);
  EXPECT_EQ(Get("m2.txt"), "a b c\nd 0 0\ne f 0");
  FreeStringMatrix(m);
}

TEST_F(TextFiles, WholeFiles) {
  const unsigned char bytes[] = {0, 1, 255, 0, 10};
  ASSERT_EQ(WriteByteArray(Path("b").c_str(), bytes, 5), 1);
  int32_t n = -1;
  unsigned char *back = LoadFileToByteArray(Path("b").c_str(), &n);
  ASSERT_EQ(n, 5);
  EXPECT_EQ(0, std::memcmp(back, bytes, 5));
  Free(back);

  ASSERT_EQ(WriteS(Path("t").c_str(), "first"), 1);
  ASSERT_EQ(WriteString(Path("t").c_str(), "+second"), 1);
  char *text = LoadFileToString(Path("t").c_str());
  EXPECT_STREQ(text, "first+second\n");
  FreeString(text);

  ASSERT_EQ(Write(Path("x").c_str(), -0.1), 1);
  EXPECT_EQ(Get("x"), "-1.000000000000E-01");
  EXPECT_EQ(WriteMatrix(Path("no/such/folder/m.txt").c_str(), nullptr), 0);
  EXPECT_EQ(WriteS(nullptr, "x"), 0);
}

// ---- damaged and missing input -------------------------------------------------------

TEST_F(TextFiles, MissingFilesGiveEmptyResults) {
  std::string p = Path("missing");
  const char *q = p.c_str();
  EXPECT_EQ(LoadFileToString(q), nullptr);
  int32_t n = 5;
  EXPECT_EQ(LoadFileToByteArray(q, &n), nullptr);
  EXPECT_EQ(n, 0);
  auto expectEmptyVector = [](auto *v) {
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v[0], 0);
    Free(v);
  };
  expectEmptyVector(LoadVector(q));
  expectEmptyVector(LoadVectorBin(q));
  expectEmptyVector(LoadVectorL(q));
  expectEmptyVector(LoadVectorLBin(q));
  expectEmptyVector(LoadMVSpecs(q));
  for (double **m : {LoadMatrix(q), LoadMatrixBin(q)}) {
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m[0][0], 0.0);
    FreeMatrix(m);
  }
  Complex **c = LoadMatrixC(q);
  EXPECT_EQ(c[0][0].re, 0.0);
  FreeMatrixC(c);
  for (double ***mv : {LoadMatrixVector(q), LoadMatrixVectorBin(q), LoadMV(q), LoadVectorMatrix(q), LoadVM(q),
                       LoadVectorMatrix1D(q)}) {
    ASSERT_NE(mv, nullptr);
    EXPECT_EQ(mv[0][0][0], 0.0);
    FreeMatrixVector(mv);
  }
  char **s = LoadStringVector(q);
  EXPECT_EQ(StringVectorLength(s), 0);
  FreeStringVector(s);
  EXPECT_EQ(LoadMatrixVectorSize(q), 0);
  EXPECT_EQ(LoadMVSize(q), 0);
}

TEST_F(TextFiles, MalformedTextIsReadAsFarAsItParses) {
  Put("bad.txt", "1.5x 2\n-abc\n1e --3 +4\n1e999\n");
  double **m = LoadMatrix(Path("bad.txt").c_str());
  ASSERT_EQ(m[0][0], 3.0);
  ASSERT_EQ(m[1][0], 4.0);
  EXPECT_EQ(m[1][1], 1.5);
  EXPECT_EQ(m[2][1], 2.0);
  EXPECT_EQ(m[3][1], 0.0);  // short line, padded
  EXPECT_EQ(m[1][2], 0.0);  // "-abc"
  EXPECT_EQ(m[1][3], 1.0);  // "1e"
  EXPECT_EQ(m[2][3], 0.0);  // "--3"
  EXPECT_EQ(m[3][3], 4.0);  // "+4"
  EXPECT_TRUE(std::isinf(m[1][4]));
  FreeMatrix(m);

  // A line of 100000 numbers without a final line end.
  std::string line;
  for (int i = 0; i < 100000; ++i) line += (i ? " " : "") + std::to_string(i);
  Put("long.txt", line);
  EXPECT_EQ(NCols(Path("long.txt").c_str()), 100000);
  double **wide = LoadMatrix(Path("long.txt").c_str());
  ASSERT_EQ(wide[0][0], 100000.0);
  EXPECT_EQ(wide[100000][1], 99999.0);
  FreeMatrix(wide);
}

// Every truncation of a binary file, and headers that promise more than the
// file holds, give an empty container rather than a read past the data.
TEST_F(TextFiles, TruncatedOrLyingBinaryFilesGiveEmptyContainers) {
  double ***mv = MatrixVector(2);
  mv[1] = Sample(2, 3), mv[2] = Sample(1, 2);
  WriteMatrixVectorBin(Path("full").c_str(), mv);
  WriteMatrixBin(Path("one").c_str(), mv[1]);
  std::string full = Get("full"), one = Get("one");
  for (size_t k = 0; k < full.size(); ++k) {
    Put("cut", full.substr(0, k));
    double ***back = LoadMatrixVectorBin(Path("cut").c_str());
    ASSERT_EQ(back[0][0][0], 0.0) << k;
    FreeMatrixVector(back);
  }
  for (size_t k = 0; k < one.size(); ++k) {
    Put("cut", one.substr(0, k));
    double **back = LoadMatrixBin(Path("cut").c_str());
    ASSERT_EQ(back[0][0], 0.0) << k;
    FreeMatrix(back);
  }
  FreeMatrixVector(mv);

  const std::string lies[] = {std::string("\xff\xff\xff\x7f", 4),                 // n = 2^31 - 1
                              std::string("\x00\x00\x00\x80", 4),                 // n < 0
                              std::string("\x00\x00\x01\x00\x00\x00\x01\x00", 8)};  // 65536 x 65536
  for (const auto &lie : lies) {
    Put("lie", lie);
    double *v = LoadVectorBin(Path("lie").c_str());
    EXPECT_EQ(v[0], 0.0);
    FreeVector(v);
    double **m = LoadMatrixBin(Path("lie").c_str());
    EXPECT_EQ(m[0][0], 0.0);
    FreeMatrix(m);
  }
  Put("lie.mv", "2 100000 100000 1 1\n1 2\n");
  double ***back = LoadMV(Path("lie.mv").c_str());
  EXPECT_EQ(back[0][0][0], 0.0);
  FreeMatrixVector(back);
  Put("lie.vm", "100000 100000 100000\n1\n");
  back = LoadVM(Path("lie.vm").c_str());
  EXPECT_EQ(back[0][0][0], 0.0);
  FreeVectorMatrix(back);
}

}  // namespace
