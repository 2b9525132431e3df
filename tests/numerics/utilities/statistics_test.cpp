// Statistics and profile measures against closed forms: sample spreads that
// a one-pass formula would lose to cancellation, norms that a plain sum of
// squares would overflow, widths and moments of sampled Gaussians, the
// edges of histogram bins, and the NaN / empty conventions of reductions.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "libquorvex.h"

namespace {

using Values = std::vector<double>;

double *VectorOf(const Values &x) {
  double *v = Vector(static_cast<int32_t>(x.size()));
  for (std::size_t i = 0; i < x.size(); ++i) v[i + 1] = x[i];
  return v;
}
Values Take(double *v) {
  Values x(v + 1, v + 1 + static_cast<int>(v[0]));
  FreeVector(v);
  return x;
}

// Samples of exp(-(i - centre)^2 / (2 sigma^2)) at i = 1..n.
double *Gaussian(int n, double centre, double sigma) {
  double *v = Vector(n);
  for (int i = 1; i <= n; ++i) v[i] = std::exp(-0.5 * std::pow((i - centre) / sigma, 2));
  return v;
}

const double kFwhmPerSigma = 2.0 * std::sqrt(2.0 * std::log(2.0));

TEST(Statistics, SampleSpreadSurvivesALargeOffset) {
  // Sample variance of {2, 4, 4, 4, 5, 5, 7, 9} is 32/7; the offset 1e9
  // leaves it unchanged but ruins sum(x^2) - n mean^2.
  for (double offset : {0.0, 1e9}) {
    SCOPED_TRACE(offset);
    Values x{2, 4, 4, 4, 5, 5, 7, 9};
    for (double &xi : x) xi += offset;
    double *v = VectorOf(x);
    EXPECT_NEAR(StandardDeviation(v), std::sqrt(32.0 / 7.0), 1e-6);
    EXPECT_NEAR(Covariance(v, v), 32.0 / 7.0, 1e-5);
    FreeVector(v);
  }
  double *one = VectorOf({3});
  EXPECT_TRUE(std::isnan(StandardDeviation(one)));
  FreeVector(one);
}

TEST(Statistics, CovarianceAndCorrelation) {
  double *a = VectorOf({1, 2, 3, 4});
  double *up = VectorOf({3, 5, 7, 9});     // 2a + 1
  double *down = VectorOf({0, -1, -2, -3});
  double *flat = VectorOf({2, 2, 2, 2});
  double *shorter = VectorOf({1, 2, 3});
  EXPECT_NEAR(Covariance(a, up), 2.0 * 5.0 / 3.0, 1e-14);  // var(a) = 5/3
  EXPECT_DOUBLE_EQ(CorrelationCoefficient(a, up), 1.0);
  EXPECT_DOUBLE_EQ(CorrelationCoefficient(a, down), -1.0);
  EXPECT_TRUE(std::isnan(CorrelationCoefficient(a, flat)));
  EXPECT_TRUE(std::isnan(Covariance(a, shorter)));
  EXPECT_TRUE(std::isnan(Covariance(nullptr, nullptr)));
  double *w = VectorOf({0, 0, 1, 3});
  EXPECT_DOUBLE_EQ(WeightedMean(a, w), (3.0 + 12.0) / 4.0);
  EXPECT_DOUBLE_EQ(WeightedMeanWindow(a, w, 3, 1), 3.0);  // window in either order
  EXPECT_TRUE(std::isnan(WeightedMeanWindow(a, w, 1, 2)));  // weights sum to 0
  for (double *v : {a, up, down, flat, shorter, w}) FreeVector(v);
}

TEST(Statistics, WidthsOfSampledPeaks) {
  // A triangle crosses half its height exactly half-way between samples.
  double *tri = VectorOf({0, 1, 2, 3, 2, 1, 0});
  EXPECT_DOUBLE_EQ(FWHM(tri), 3.0);
  EXPECT_DOUBLE_EQ(FWHMWindow(tri, 7, 2), 3.0);
  EXPECT_TRUE(std::isnan(FWHMWindow(tri, 4, 7)));  // the left side is cut off
  FreeVector(tri);

  struct Case {
    double centre, sigma;
  } cases[] = {{150, 10}, {140.3, 4.7}, {150, 22}};  // tails far inside 1..300
  for (const Case &c : cases) {
    SCOPED_TRACE(c.sigma);
    double *g = Gaussian(300, c.centre, c.sigma);
    // Linear interpolation of a smooth peak: error well below a sample.
    EXPECT_NEAR(FWHM(g), kFwhmPerSigma * c.sigma, 0.02 * c.sigma);
    Complex *z = VectorC(300);
    for (int i = 1; i <= 300; ++i) z[i] = Complex{g[i] * 0.6, -g[i] * 0.8};
    EXPECT_NEAR(FWHMC(z), FWHM(g), 1e-9);
    // The intensity |z|^2 is a Gaussian narrower by root 2.
    EXPECT_NEAR(FWHMIntensityC(z), kFwhmPerSigma * c.sigma / std::sqrt(2.0), 0.02 * c.sigma);
    // Centroid and spread by moments.
    double m1 = Moment(g, 1), m2 = Moment(g, 2);
    EXPECT_NEAR(m1, c.centre, 1e-6);
    EXPECT_NEAR(m2 - m1 * m1, c.sigma * c.sigma, 1e-3 * c.sigma * c.sigma);
    EXPECT_NEAR(MomentAbsC(z, 1), c.centre, 1e-6);
    FreeVectorC(z);
    FreeVector(g);
  }
  double *negative = VectorOf({-1, -2, -1});
  EXPECT_TRUE(std::isnan(FWHM(negative)));
  FreeVector(negative);
}

TEST(Statistics, MomentsOfDataSets) {
  // Abscissas 0.5 apart over [-10, 20]; a Gaussian of sigma 1.5 at 2.
  const int n = 61;
  double **set = Matrix(2, n);
  Complex **cset = MatrixC(2, n);
  for (int i = 1; i <= n; ++i) {
    double x = -10 + 0.5 * (i - 1), y = std::exp(-0.5 * std::pow((x - 2) / 1.5, 2));
    set[1][i] = x, set[2][i] = y;
    cset[1][i] = Complex{x, 0}, cset[2][i] = Complex{0, y};
  }
  double m1 = MomentD(set, 1), m2 = MomentD(set, 2);
  EXPECT_NEAR(m1, 2.0, 1e-9);
  EXPECT_NEAR(m2 - m1 * m1, 2.25, 1e-6);
  EXPECT_NEAR(MomentDC(cset, 1), 2.0, 1e-9);  // |y|^2: same centre
  double c1 = MomentDC(cset, 1);
  EXPECT_NEAR(MomentDC(cset, 2) - c1 * c1, 2.25 / 2, 1e-6);
  EXPECT_NEAR(MomentWindowD(set, 0, 0, 1e9), 1.0, 1e-15);
  EXPECT_NEAR(MomentWindowD(set, 1, 5, -1), 2.0, 1e-12);  // a window symmetric about the centre
  EXPECT_TRUE(std::isnan(MomentWindowD(set, 1, 30, 40)));  // nothing inside
  double **unit = NormalizeD(set);
  EXPECT_NEAR(unit[2][25], 1.0 / (1.5 * std::sqrt(2 * M_PI)), 1e-6);  // area 1: the peak of the density
  FreeMatrix(unit);
  FreeMatrix(set);
  FreeMatrixC(cset);
}

TEST(Statistics, HistogramBinEdges) {
  double *v = VectorOf({0, 0.25, 0.5, 0.999, 1, -0.1, 1.1, NAN});
  // Bins [0, .25), [.25, .5), [.5, .75), [.75, 1]: 1 at the top goes in the last.
  EXPECT_EQ(Take(Histogram(v, 0, 1, 4)), (Values{1, 1, 1, 2}));
  EXPECT_EQ(Take(Histogram(v, 1, 0, 4)), Values{});
  double **h = HistogramD(v, 2);  // range [-0.1, 1.1]
  EXPECT_NEAR(h[1][1], 0.2, 1e-15);
  EXPECT_NEAR(h[1][2], 0.8, 1e-15);
  EXPECT_EQ(h[2][1] + h[2][2], 7.0);
  FreeMatrix(h);
  double *same = VectorOf({3, 3});
  h = HistogramD(same, 1);
  EXPECT_EQ(h[1][1], 3.0);
  EXPECT_EQ(h[2][1], 2.0);
  FreeMatrix(h);
  EXPECT_EQ(GetNPts(v, 1, 0), 5);
  FreeVector(same);
  FreeVector(v);
}

TEST(Statistics, ExtremesSkipNaNAndTakeTheFirstOfTies) {
  double *v = VectorOf({NAN, -7, 3, 7, -7, 7});
  EXPECT_EQ(MaxPos(v), 4);
  EXPECT_EQ(MinPos(v), 2);
  EXPECT_EQ(MaxPosAbs(v), 2);
  EXPECT_EQ(MinPosAbs(v), 3);
  EXPECT_EQ(MinAbs(v), 3.0);
  EXPECT_EQ(MinWindow(v, 6, 3), -7.0);
  int32_t pos = -1;
  EXPECT_EQ(GetMin(v, &pos), -7.0);
  EXPECT_EQ(pos, 2);
  EXPECT_EQ(MostFrequent(v), -7.0);  // -7 and 7 both twice: the smaller
  FreeVector(v);
  double *nans = VectorOf({NAN, NAN});
  EXPECT_EQ(MaxPos(nans), 0);
  EXPECT_TRUE(std::isnan(MostFrequent(nans)));
  FreeVector(nans);

  Complex *z = VectorC(3);
  z[1] = {3, 4}, z[2] = {-6, 0}, z[3] = {0, 1};
  EXPECT_EQ(MaxC(z).re, -6.0);
  EXPECT_EQ(MinC(z).im, 1.0);
  EXPECT_EQ(MaxPosAbsC(z), 2);
  EXPECT_DOUBLE_EQ(MeanAbsC(z), 4.0);
  FreeVectorC(z);

  int32_t **l = MatrixL(2, 2);
  l[1][1] = 4, l[1][2] = -9, l[2][1] = 8, l[2][2] = 0;
  EXPECT_EQ(MaxML(l), 8);
  EXPECT_EQ(MinML(l), -9);
  EXPECT_EQ(MinL(l[1]), -9);
  EXPECT_EQ(MinPosL(l[1]), 2);
  FreeMatrixL(l);
  EXPECT_EQ(MaxL(nullptr), 0);
  EXPECT_TRUE(std::isnan(MaxM(nullptr)));
  EXPECT_TRUE(std::isnan(MaxC(nullptr).re));
}

TEST(Statistics, NormsScaleAwayOverflow) {
  double *big = VectorOf({3e300, 4e300});
  EXPECT_DOUBLE_EQ(Norm(big), 5e300);
  FreeVector(big);
  double *tiny = VectorOf({3e-300, -4e-300, 0});
  EXPECT_DOUBLE_EQ(Norm(tiny), 5e-300);
  EXPECT_DOUBLE_EQ(NormWindow(tiny, 3, 2), 4e-300);
  FreeVector(tiny);
  Complex *z = VectorC(2);
  z[1] = {3e200, 0}, z[2] = {0, -4e200};
  EXPECT_DOUBLE_EQ(NormC(z), 5e200);
  Complex *unit = NormalizeVMaxC(z);
  EXPECT_DOUBLE_EQ(unit[2].im, -1.0);
  EXPECT_DOUBLE_EQ(unit[1].re, 0.75);
  FreeVectorC(unit);
  FreeVectorC(z);
  double *v = VectorOf({1, -4, 2});
  EXPECT_EQ(Take(NormalizeVMax(v)), (Values{0.25, -1, 0.5}));
  EXPECT_EQ(Take(NormalizeWindowV(v, 3, 3)), (Values{0.5, -2, 1}));
  double *zero = VectorOf({0, 0});
  EXPECT_EQ(Take(NormalizeVMax(zero)), (Values{0, 0}));
  FreeVector(zero);
  FreeVector(v);
}

TEST(Statistics, ElementWiseOverColumns) {
  double **m = Matrix(3, 2);  // rows (1, 2, 3) and (4, 4, 4)
  m[1][1] = 1, m[2][1] = 2, m[3][1] = 3;
  m[1][2] = m[2][2] = m[3][2] = 4;
  EXPECT_EQ(Take(MeanV(m)), (Values{2, 4}));
  EXPECT_EQ(Take(StandardDeviationV(m)), (Values{1, 0}));
  EXPECT_EQ(MaxM(m), 4.0);
  EXPECT_EQ(MinM(m), 1.0);
  FreeMatrix(m);
}

}  // namespace
