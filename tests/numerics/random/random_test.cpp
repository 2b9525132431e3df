// Random deviates: the generator with its carried shuffle, the normal and
// Poisson deviates (moments), integers over wide spans, and the guards.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "libquorvex.h"

namespace {

struct Moments {
  double mean = 0, variance = 0;
};

Moments Of(const std::vector<double> &x) {
  Moments m;
  for (double v : x) m.mean += v;
  m.mean /= x.size();
  for (double v : x) m.variance += (v - m.mean) * (v - m.mean);
  m.variance /= x.size() - 1;
  return m;
}

TEST(Random, Ran22CarriesTheShuffleButStartsLikeRan2) {
  int32_t state[35] = {-17};
  int32_t cell = -17;
  EXPECT_EQ(Ran22(state), Ran2(&cell));  // identical seeding round
  std::vector<double> a, b;
  for (int i = 0; i < 20000; ++i) a.push_back(Ran22(state));
  int32_t again[35] = {-17};
  Ran22(again);
  for (int i = 0; i < 20000; ++i) b.push_back(Ran22(again));
  EXPECT_EQ(a, b);  // reproducible from the seed
  for (double x : a) ASSERT_TRUE(x > 0 && x <= 0.99999988);
  const Moments m = Of(a);
  EXPECT_NEAR(m.mean, 0.5, 0.01);
  EXPECT_NEAR(m.variance, 1.0 / 12, 0.003);
  // The carried table is really used: the table slot read varies.
  int32_t slots = 0, last = state[2];
  for (int i = 0; i < 100; ++i) {
    Ran22(state);
    slots += state[2] / 67108862 != last / 67108862;
    last = state[2];
  }
  EXPECT_GT(slots, 50);
  EXPECT_EQ(Ran22(nullptr), 0.0);
  int32_t broken[35] = {5, -3, -99};  // a damaged state stays in range
  const double x = Ran22(broken);
  EXPECT_TRUE(x > 0 && x < 1);
}

TEST(Random, NormalDeviatesHaveUnitMomentsAndIndependentParts) {
  int32_t seed = -3;
  std::vector<double> re, im;
  double cross = 0;
  for (int i = 0; i < 20000; ++i) {
    const Complex z = BoxMuller(&seed);
    re.push_back(z.re);
    im.push_back(z.im);
    cross += z.re * z.im;
  }
  for (const auto &x : {re, im}) {
    const Moments m = Of(x);
    EXPECT_NEAR(m.mean, 0, 0.03);
    EXPECT_NEAR(m.variance, 1, 0.04);
  }
  EXPECT_NEAR(cross / 20000, 0, 0.03);

  // The one-part forms are the parts of the pair from the same draws.
  int32_t s1 = -9, s2 = -9, s3 = -9;
  const Complex pair = BoxMuller(&s1);
  EXPECT_EQ(BoxMuller1(&s2), pair.re);
  EXPECT_EQ(BoxMuller2(&s3), pair.im);
  int32_t s4 = -9;
  EXPECT_DOUBLE_EQ(RandomRealNormal(10, 3, &s4), 10 + 3 * pair.re);
  EXPECT_EQ(BoxMuller1(nullptr), BoxMuller1(nullptr));  // a private, freshly seeded cell
}

TEST(Random, PoissonMomentsInBothRegimes) {
  for (double mean : {0.5, 3.0, 9.9, 10.0, 47.0, 1e6}) {
    int32_t seed = -11;
    double *v = PoissonRandomNumbers(20000, mean, &seed);
    std::vector<double> x(v + 1, v + 20001);
    FreeVector(v);
    for (double k : x) ASSERT_TRUE(k >= 0 && k == std::floor(k));
    const Moments m = Of(x);
    EXPECT_NEAR(m.mean, mean, 5 * std::sqrt(mean / 20000)) << mean;
    EXPECT_NEAR(m.variance / mean, 1, 0.05) << mean;
  }
  int32_t seed = -1;
  EXPECT_EQ(PoissonRandomNumber(0, &seed), 0);
  EXPECT_EQ(PoissonRandomNumber(-2, &seed), 0);
  EXPECT_TRUE(std::isnan(PoissonRandomNumber(NAN, &seed)));
  EXPECT_TRUE(std::isnan(PoissonRandomNumber(INFINITY, &seed)));
  double *none = PoissonRandomNumbers(-4, 2, &seed);
  EXPECT_EQ(none[0], 0);
  FreeVector(none);
}

TEST(Random, IntegersCoverTheirRange) {
  int32_t seed = -5;
  std::vector<int> seen(7, 0);
  for (int i = 0; i < 7000; ++i) {
    const int32_t k = RandomInteger2(3, -3, &seed);  // either order
    ASSERT_GE(k, -3);
    ASSERT_LE(k, 3);
    ++seen[k + 3];
  }
  for (int c : seen) EXPECT_NEAR(c, 1000, 150);
  // The full int32 span: both halves and both high bits occur.
  int negative = 0, highBit = 0;
  for (int i = 0; i < 2000; ++i) {
    const int32_t k = RandomInteger2(INT32_MIN, INT32_MAX, &seed);
    negative += k < 0;
    highBit += (k & 0x40000000) != 0;
  }
  EXPECT_NEAR(negative, 1000, 150);
  EXPECT_NEAR(highBit, 1000, 150);
  EXPECT_EQ(RandomInteger2(8, 8, &seed), 8);

  int32_t words[3] = {1, 6, -2};
  for (int i = 0; i < 100; ++i) {
    const double k = RandomIntegerP(0, words);
    ASSERT_TRUE(k >= 1 && k <= 6);
  }
  EXPECT_EQ(RandomIntegerP(0, nullptr), 0);
  // Callback shapes of Ran2: the same draw from a freshly seeded cell.
  int32_t a = -8, b = -8, c = -8;
  const double first = Ran2(&a);
  EXPECT_EQ(Ran2P(1.5, &b), first);
  EXPECT_EQ(Ran2P2(1, 2, &c), first);
  EXPECT_GT(Ran2P(0, nullptr), 0);
}

TEST(Random, UniformContainersHaveTheirShapeAndBounds) {
  int32_t seed = -21;
  double *v = RandomizeVector(1000, -2, 5, &seed);
  ASSERT_EQ(v[0], 1000);
  for (int i = 1; i <= 1000; ++i) ASSERT_TRUE(v[i] >= -2 && v[i] < 5);
  FreeVector(v);
  Complex *c = RandomizeVectorC(50, 0, 1, &seed);
  ASSERT_EQ(c[0].re, 50);
  for (int i = 1; i <= 50; ++i) ASSERT_TRUE(c[i].re > 0 && c[i].im > 0 && c[i].re != c[i].im);
  FreeVectorC(c);
  double **m = RandomizeMatrix(3, 4, 1, 2, &seed);
  ASSERT_EQ(m[0][0], 3);
  for (int j = 1; j <= 3; ++j) {
    ASSERT_EQ(m[j][0], 4);
    for (int i = 1; i <= 4; ++i) ASSERT_TRUE(m[j][i] >= 1 && m[j][i] < 2);
  }
  FreeMatrix(m);
  Complex **mc = RandomizeMatrixC(2, 2, 0, 1, &seed);
  ASSERT_EQ(mc[2][0].re, 2);
  FreeMatrixC(mc);
  double *empty = RandomizeVector(-1, 0, 1, nullptr);
  EXPECT_EQ(empty[0], 0);
  FreeVector(empty);
  double **none = RandomizeMatrix(-2, 3, 0, 1, nullptr);
  EXPECT_EQ(none[0][0], 0);
  FreeMatrix(none);
}

}  // namespace
