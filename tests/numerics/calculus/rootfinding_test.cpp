// Roots, peaks and resampling of sampled data; n-th roots of complex numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "libquorvex.h"

namespace {

const double kPi = 3.141592653589793;

// A 1D set of f on n points spread evenly over [a, b].
double **Sampled(std::function<double(double)> f, double a, double b, int n) {
  double **s = Matrix(2, n);
  for (int i = 1; i <= n; ++i) {
    const double x = n > 1 ? a + (b - a) * (i - 1) / (n - 1) : a;
    s[1][i] = x;
    s[2][i] = f(x);
  }
  return s;
}

Complex **SampledC(std::function<Complex(double)> f, const std::vector<double> &xs) {
  const int n = static_cast<int>(xs.size());
  Complex **s = MatrixC(2, n);
  for (int i = 1; i <= n; ++i) {
    s[1][i] = Complex{xs[i - 1], 0.0};
    s[2][i] = f(xs[i - 1]);
  }
  return s;
}

std::vector<double> Values(double *v) {
  std::vector<double> out(v + 1, v + 1 + static_cast<int>(v[0]));
  FreeVector(v);
  return out;
}

TEST(BinarySearchPos, FindsLastElementAtOrBelow) {
  double v[] = {5, 1, 2, 2, 3, 5};
  const struct {
    double x;
    int32_t want;
  } cases[] = {{0.5, 0}, {1, 1}, {1.5, 1}, {2, 3}, {2.5, 3}, {5, 5}, {9, 5}, {NAN, 0}, {-INFINITY, 0}, {INFINITY, 5}};
  for (const auto &c : cases) EXPECT_EQ(BinarySearchPos(v, c.x), c.want) << c.x;
  double empty[] = {0};
  EXPECT_EQ(BinarySearchPos(empty, 1.0), 0);
  EXPECT_EQ(BinarySearchPos(nullptr, 1.0), 0);
}

TEST(ComplexRoots, EveryRootRaisedToNGivesZ) {
  const struct {
    Complex z;
    int n;
  } cases[] = {{{0, 8}, 3}, {{-1, 0}, 2}, {{3, -4}, 5}, {{1e-20, 1e-20}, 4}, {{2, 0}, 20}};
  for (const auto &c : cases) {
    Complex *r = ComplexRoots(c.z, c.n);
    ASSERT_EQ(r[0].re, c.n);
    const double modulus = std::pow(std::hypot(c.z.re, c.z.im), 1.0 / c.n);
    // The first root has the principal argument divided by n.
    EXPECT_NEAR(std::atan2(r[1].im, r[1].re), std::atan2(c.z.im, c.z.re) / c.n, 1e-14);
    for (int k = 1; k <= c.n; ++k) {
      double re = 1, im = 0;
      for (int p = 0; p < c.n; ++p) {
        const double t = re * r[k].re - im * r[k].im;
        im = re * r[k].im + im * r[k].re;
        re = t;
      }
      const double scale = std::hypot(c.z.re, c.z.im);
      EXPECT_NEAR(re, c.z.re, 1e-13 * scale) << k;
      EXPECT_NEAR(im, c.z.im, 1e-13 * scale) << k;
      for (int j = 1; j < k; ++j)  // the roots are distinct
        EXPECT_GT(std::hypot(r[k].re - r[j].re, r[k].im - r[j].im), 0.1 * modulus);
    }
    FreeVectorC(r);
  }
}

TEST(ComplexRoots, DegenerateArguments) {
  for (int n : {0, -3}) {
    Complex *r = ComplexRoots(Complex{1, 1}, n);
    EXPECT_EQ(r[0].re, 0.0);
    FreeVectorC(r);
  }
  Complex *r = ComplexRoots(Complex{0, 0}, 3);
  for (int k = 1; k <= 3; ++k) EXPECT_EQ(std::hypot(r[k].re, r[k].im), 0.0);
  FreeVectorC(r);
}

TEST(FindSimpleRoots, RefinedCrossingsAreAccurate) {
  double **s = Sampled([](double x) { return std::sin(x); }, 1.0, 10.0, 200);
  auto roots = Values(FindSimpleRoots1D(s, 1e-12));
  ASSERT_EQ(roots.size(), 3u);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(roots[k], (k + 1) * kPi, 1e-9);
  FreeMatrix(s);
}

TEST(FindSimpleRoots, SampleOnARootCountsOnce) {
  // x^3 - x on a grid that holds -1, 0 and 1 exactly.
  double **s = Sampled([](double x) { return x * x * x - x; }, -1.5, 1.5, 31);
  auto roots = Values(FindSimpleRoots1D(s, 1e-12));
  ASSERT_EQ(roots.size(), 3u);
  EXPECT_NEAR(roots[0], -1.0, 1e-15);
  EXPECT_NEAR(roots[1], 0.0, 1e-15);
  EXPECT_NEAR(roots[2], 1.0, 1e-15);
  FreeMatrix(s);
}

TEST(FindRoots, TouchingAndCloseRootsOnlyInFullSearch) {
  // (x - 1.03)^2 touches zero between samples; (x - 2.51)^2 - 1e-6 has two
  // roots inside one sample interval. Neither changes sign between samples.
  const std::function<double(double)> fns[] = {[](double x) { return (x - 1.03) * (x - 1.03); },
                                               [](double x) { return (x - 2.51) * (x - 2.51) - 1e-6; }};
  const std::vector<double> want[] = {{1.03}, {2.509, 2.511}};
  for (int k = 0; k < 2; ++k) {
    double **s = Sampled(fns[k], 0.0, 4.0, 41);
    EXPECT_EQ(Values(FindSimpleRoots1D(s, 1e-12)).size(), 0u);
    auto roots = Values(FindRoots1D(s, 1e-12));
    ASSERT_EQ(roots.size(), want[k].size());
    for (size_t i = 0; i < roots.size(); ++i) EXPECT_NEAR(roots[i], want[k][i], 1e-9);
    FreeMatrix(s);
  }
}

TEST(FindSimpleRoots, ComplexDataNeedsBothPartsToVanish) {
  std::vector<double> xs;
  for (int i = 0; i <= 60; ++i) xs.push_back(0.1 * i + 0.0137 * (i % 3));  // uneven spacing
  // (x - 2)(1 + i) has a root; e^{ix} has a real part that crosses zero, but no root.
  Complex **a = SampledC([](double x) { return Complex{x - 2.0, x - 2.0}; }, xs);
  Complex **b = SampledC([](double x) { return Complex{std::cos(x), std::sin(x)}; }, xs);
  auto ra = Values(FindSimpleRoots1DC(a, 1e-12));
  ASSERT_EQ(ra.size(), 1u);
  EXPECT_NEAR(ra[0], 2.0, 1e-12);
  EXPECT_EQ(Values(FindSimpleRoots1DC(b, 1e-12)).size(), 0u);
  EXPECT_EQ(Values(FindRoots1DC(b, 1e-12)).size(), 0u);
  FreeMatrixC(a);
  FreeMatrixC(b);
}

TEST(FindRootsAndPeaks, DegenerateSetsGiveEmptyResults) {
  double **empty = Matrix(2, 0), **one = Sampled([](double) { return 0.0; }, 1, 1, 1);
  double **nan = Sampled([](double x) { return std::fabs(x - 2.0) < 0.3 ? NAN : x - 4.0; }, 0, 6, 61);
  double **bad = Matrix(1, 5);  // not a 1D set
  for (int i = 1; i <= 5; ++i) bad[1][i] = i;
  EXPECT_EQ(Values(FindSimpleRoots1D(empty, 0)).size(), 0u);
  EXPECT_EQ(Values(FindRoots1D(bad, 0)).size(), 0u);
  EXPECT_EQ(Values(FindPeaks1D(nullptr)).size(), 0u);
  auto single = Values(FindRoots1D(one, 0));
  ASSERT_EQ(single.size(), 1u);  // the one sample is itself zero
  auto withNan = Values(FindRoots1D(nan, 1e-12));
  ASSERT_EQ(withNan.size(), 1u);
  EXPECT_NEAR(withNan[0], 4.0, 1e-12);
  EXPECT_EQ(Values(FindPeaks1D(nan)).size(), 0u);
  FreeMatrix(empty);
  FreeMatrix(one);
  FreeMatrix(nan);
  FreeMatrix(bad);
}

TEST(FindPeaks, InteriorMaximaRefinedAndPlateausCentred) {
  double **s = Sampled([](double x) { return std::sin(x); }, 0.0, 4 * kPi + 1.0, 400);
  auto peaks = Values(FindPeaks1D(s));
  ASSERT_EQ(peaks.size(), 2u);
  EXPECT_NEAR(peaks[0], 0.5 * kPi, 1e-4);
  EXPECT_NEAR(peaks[1], 2.5 * kPi, 1e-4);
  FreeMatrix(s);
  // A plateau peak lies at its centre; a maximum at an end is no peak.
  double **p = Matrix(2, 7);
  const double ys[] = {0, 1, 3, 3, 3, 2, 5};
  for (int i = 1; i <= 7; ++i) {
    p[1][i] = i;
    p[2][i] = ys[i - 1];
  }
  auto plateau = Values(FindPeaks1D(p));
  ASSERT_EQ(plateau.size(), 1u);
  EXPECT_EQ(plateau[0], 4.0);
  FreeMatrix(p);
  // Complex data: peaks of the modulus.
  std::vector<double> xs;
  for (int i = 0; i <= 40; ++i) xs.push_back(0.1 * i);
  Complex **c = SampledC([](double x) { return Complex{0.0, 1.0 - (x - 1.7) * (x - 1.7)}; }, xs);
  auto pc = Values(FindPeaks1DC(c));
  ASSERT_EQ(pc.size(), 1u);  // the larger values at both ends are no peaks
  EXPECT_NEAR(pc[0], 1.7, 1e-12);
  FreeMatrixC(c);
}

TEST(SplineInterpolation1DC, ReproducesStraightLinesOnUnevenData) {
  std::vector<double> xs = {0.0, 0.3, 0.35, 1.2, 2.0, 2.05, 3.5};
  Complex **s = SampledC([](double x) { return Complex{2 * x + 1, 3 - x}; }, xs);
  Complex **r = SplineInterpolation1DC(s, 11);
  ASSERT_EQ(r[0][0].re, 2);
  ASSERT_EQ(r[1][0].re, 11);
  EXPECT_EQ(r[1][1].re, 0.0);
  EXPECT_EQ(r[1][11].re, 3.5);
  for (int i = 1; i <= 11; ++i) {
    const double x = r[1][i].re;
    EXPECT_NEAR(r[2][i].re, 2 * x + 1, 1e-13);
    EXPECT_NEAR(r[2][i].im, 3 - x, 1e-13);
  }
  FreeMatrixC(r);
  FreeMatrixC(s);
}

TEST(SplineInterpolation1DC, SmoothDataAndDegenerateSizes) {
  std::vector<double> xs;
  for (int i = 0; i <= 30; ++i) xs.push_back(0.1 * i + 0.02 * std::sin(i));
  Complex **s = SampledC([](double x) { return Complex{std::sin(x), std::cos(x)}; }, xs);
  Complex **r = SplineInterpolation1DC(s, 97);
  for (int i = 10; i <= 87; ++i) {  // away from the natural end conditions
    EXPECT_NEAR(r[2][i].re, std::sin(r[1][i].re), 2e-5);
    EXPECT_NEAR(r[2][i].im, std::cos(r[1][i].re), 2e-5);
  }
  FreeMatrixC(r);
  Complex **none = SplineInterpolation1DC(s, 0);
  EXPECT_EQ(none[1][0].re, 0);
  FreeMatrixC(none);
  FreeMatrixC(s);
  Complex **single = SampledC([](double) { return Complex{4, 5}; }, {1.5});
  Complex **r1 = SplineInterpolation1DC(single, 3);
  for (int i = 1; i <= 3; ++i) EXPECT_EQ(r1[2][i].im, 5.0);
  FreeMatrixC(r1);
  FreeMatrixC(single);
}

TEST(LinearInterpolation1D, FollowsTheSegments) {
  double **s = Matrix(2, 3);
  const double xs[] = {0, 1, 4}, ys[] = {0, 2, -4};
  for (int i = 1; i <= 3; ++i) {
    s[1][i] = xs[i - 1];
    s[2][i] = ys[i - 1];
  }
  double **r = LinearInterpolation1D(s, 9);  // step 0.5
  const double want[] = {0, 1, 2, 1, 0, -1, -2, -3, -4};
  for (int i = 1; i <= 9; ++i) EXPECT_NEAR(r[2][i], want[i - 1], 1e-15) << i;
  FreeMatrix(r);
  FreeMatrix(s);
}

TEST(UnwrapV, RemovesWholePeriodJumpsAndKeepsNaN) {
  const int n = 50;
  double *wrapped = Vector(n);
  for (int i = 1; i <= n; ++i) {
    const double phase = 0.4 * i - 3.0;
    wrapped[i] = std::atan2(std::sin(phase), std::cos(phase));
  }
  wrapped[20] = NAN;
  double *u = UnwrapV(wrapped, 2 * kPi);
  const double offset = u[1] - (0.4 - 3.0);
  EXPECT_NEAR(offset, 0.0, 1e-12);
  for (int i = 1; i <= n; ++i) {
    if (i == 20)
      EXPECT_TRUE(std::isnan(u[i]));
    else
      EXPECT_NEAR(u[i], 0.4 * i - 3.0, 1e-12) << i;
  }
  FreeVector(u);
  double *same = UnwrapV(wrapped, 0.0);  // no usable period: a plain copy
  EXPECT_EQ(same[3], wrapped[3]);
  FreeVector(same);
  FreeVector(wrapped);
}

}  // namespace
