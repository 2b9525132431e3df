// Containers: lengths in element 0, column pointers, text terminators and
// the fall-backs of the guarded constructors.
#include <gtest/gtest.h>

#include "libquorvex.h"

TEST(Containers, VectorKeepsLengthInElementZero) {
  double *v = Vector(5);
  EXPECT_EQ(v[0], 5.0);
  FreeVector(v);
  double *e = Vector(0);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e[0], 0.0);
  FreeVector(e);
}

TEST(Containers, MatrixColumnsAreVectors) {
  double **m = Matrix(3, 4);
  EXPECT_EQ(m[0][0], 3.0);
  for (int j = 1; j <= 3; ++j) EXPECT_EQ(m[j][0], 4.0);
  FreeMatrix(m);
}

TEST(Containers, HugeMatrixFallsBackToOneByOneZero) {
  double **m = Matrix(0x3fffffff, 2);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m[0][0], 1.0);
  EXPECT_EQ(m[1][0], 1.0);
  EXPECT_EQ(m[1][1], 0.0);
  FreeMatrix(m);
}

TEST(Containers, StringVectorScansToFirstEmptyString) {
  char **s = StringVector(3);
  EXPECT_EQ(StringVectorLength(s), 3);
  EXPECT_STREQ(s[0], "0");
  FreeStringVector(s);
}
