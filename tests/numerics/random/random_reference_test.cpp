// The base-2 Niederreiter sequence against GSL's generator of the same
// construction, bit for bit, and Poisson frequencies against GSL's
// probabilities.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include <gsl/gsl_qrng.h>
#include <gsl/gsl_randist.h>

#include "libquorvex.h"

namespace {

TEST(Niederreiter, MatchesTheReferenceSequence) {
  for (int dim : {1, 2, 3, 5, 8, 12}) {
    gsl_qrng *q = gsl_qrng_alloc(gsl_qrng_niederreiter_2, dim);
    const int n = 1100;  // crosses 1024, where the Gray code uses bit 10
    double **m = Niederreiter(dim, n);
    ASSERT_EQ(m[0][0], dim);
    ASSERT_EQ(m[1][0], n);
    std::vector<double> point(dim);
    for (int i = 1; i <= n; ++i) {
      gsl_qrng_get(q, point.data());
      for (int d = 1; d <= dim; ++d) ASSERT_EQ(m[d][i], point[d - 1]) << "dim " << dim << " point " << i;
    }
    // Single points by index agree with the sequence.
    for (int i : {0, 1, 2, 7, 513, 1099}) {
      double *p = Niederreiter1(dim, i);
      for (int d = 1; d <= dim; ++d) ASSERT_EQ(p[d], m[d][i + 1]);
      FreeVector(p);
    }
    FreeMatrix(m);
    gsl_qrng_free(q);
  }
}

TEST(Niederreiter, ConstructionSteps) {
  // The irreducible polynomials over GF(2), in code order.
  int32_t *p = NiederreiterSetfld2(12);
  const std::vector<int32_t> expected{2, 3, 7, 11, 13, 19, 25, 31, 37, 41, 47, 55};
  EXPECT_EQ(std::vector<int32_t>(p + 1, p + 13), expected);
  Free(p);
  EXPECT_EQ(NiederreiterPlyMul2(3, 3), 5u);    // (x + 1)^2 = x^2 + 1 over GF(2)
  EXPECT_EQ(NiederreiterPlyMul2(7, 11), 49u);  // (x^2+x+1)(x^3+x+1) = x^5+x^4+1
  EXPECT_EQ(NiederreiterPlyMul2(uint64_t{1} << 40, uint64_t{1} << 30), 0u);
  int32_t *v = NiederreiterCalcV2(3, 1, 10);
  ASSERT_EQ(v[0], 11);
  EXPECT_EQ(v[1], 1);  // v[0] = 1 at deg pb = 0
  Free(v);
  v = NiederreiterCalcV2(0, 1, 10);
  EXPECT_EQ(v[0], 0);
  Free(v);
  // Direction numbers of dimension 1 (polynomial x) are the powers of two
  // from the top bit down: the van der Corput sequence.
  int32_t **c = NiederreiterCalcC2(2);
  for (int r = 1; r <= 31; ++r) EXPECT_EQ(c[1][r], 1 << (31 - r));
  FreeMatrixL(c);
  double **none = Niederreiter(0, 10);
  EXPECT_EQ(none[0][0], 0);
  FreeMatrix(none);
  double *neg = Niederreiter1(3, -1);
  EXPECT_EQ(neg[0], 0);
  FreeVector(neg);
}

TEST(PoissonDeviates, FrequenciesFollowTheDistribution) {
  for (double mean : {4.0, 30.0}) {
    int32_t seed = -77;
    const int n = 40000;
    std::vector<int> count(200, 0);
    for (int i = 0; i < n; ++i) {
      const double k = PoissonRandomNumber(mean, &seed);
      if (k < 200) ++count[static_cast<int>(k)];
    }
    for (int k = 0; k < 200; ++k) {
      const double expected = n * gsl_ran_poisson_pdf(k, mean);
      if (expected < 50) continue;
      EXPECT_NEAR(count[k], expected, 5 * std::sqrt(expected)) << "mean " << mean << " k " << k;
    }
  }
}

}  // namespace
