// Adaptive sampling of an expression text. The samples are checked against
// the function computed here: the ends are hit exactly, the abscissas rise,
// every final interval meets the tolerance it was refined to, a pole or a
// complex region is sampled without harm, and the scope the text is read
// in comes out as it went in.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/session.h"
#include "libquorvex.h"

namespace {

using qvx::test::Session;

struct Sample {
  double x;
  std::complex<double> z;
};

// The set as a list; frees it.
std::vector<Sample> Samples(double **set) {
  std::vector<Sample> out;
  if (!set) return out;
  const int n = static_cast<int>(set[1][0]);
  for (int i = 1; i <= n; ++i) out.push_back({set[1][i], {set[2][i], 0.0}});
  FreeMatrix(set);
  return out;
}
std::vector<Sample> Samples(Complex **set) {
  std::vector<Sample> out;
  if (!set) return out;
  const int n = static_cast<int>(set[1][0].re);
  for (int i = 1; i <= n; ++i) out.push_back({set[1][i].re, {set[2][i].re, set[2][i].im}});
  FreeMatrixC(set);
  return out;
}

std::vector<Sample> Auto(const char *text, double x1, double x2, int n, double tol, Environment *env) {
  return Samples(AutoSample1D(text, x1, x2, n, tol, env));
}

void ExpectRisingFromTo(const std::vector<Sample> &s, double x1, double x2) {
  ASSERT_GE(s.size(), 3u);
  EXPECT_EQ(s.front().x, x1);
  EXPECT_EQ(s.back().x, x2);
  for (std::size_t k = 1; k < s.size(); ++k) ASSERT_LT(s[k - 1].x, s[k].x) << k;
  EXPECT_LE(s.size(), 16384u);
}

// Largest gap between samples whose |x| lies in [lo, hi].
double WidestGap(const std::vector<Sample> &s, double lo, double hi) {
  double widest = 0;
  for (std::size_t k = 1; k < s.size(); ++k) {
    const double m = std::fabs(0.5 * (s[k - 1].x + s[k].x));
    if (m >= lo && m <= hi) widest = std::max(widest, s[k].x - s[k - 1].x);
  }
  return widest;
}

TEST(AutoSample, StraightLinesNeedOnePassAndTheCountIsClamped) {
  Session s;
  struct Case {
    int n;
    std::size_t points;  // the first samples and one midpoint each
  } cases[] = {{1, 5}, {3, 5}, {4, 7}, {10, 19}, {4096, 8191}, {100000, 8191}};
  for (const Case &c : cases) {
    const std::vector<Sample> line = Auto("3*t-1", -2, 5, c.n, 1e-3, s.env());
    EXPECT_EQ(line.size(), c.points) << c.n;
    ExpectRisingFromTo(line, -2, 5);
    for (const Sample &p : line) EXPECT_NEAR(p.z.real(), 3 * p.x - 1, 1e-12);
  }
  // Reversed ends are sampled in rising order.
  ExpectRisingFromTo(Auto("t", 1, -1, 5, 0, s.env()), -1, 1);
}

// After refinement every interval passes the test its parent passed: the
// midpoint lies within tolerance times the spread of the first samples of
// the chord. A smaller tolerance only adds points.
TEST(AutoSample, EveryIntervalMeetsTheTolerance) {
  Session s;
  const auto f = [](double x) { return std::sin(5 * x) + 0.1 * x * x; };
  std::size_t previous = 0;
  for (double tol : {1e-2, 1e-3, 1e-4, 1e-5}) {
    const std::vector<Sample> samples = Auto("sin(5*t)+0.1*t^2", 0, 3, 8, tol, s.env());
    ExpectRisingFromTo(samples, 0, 3);
    double lo = INFINITY, hi = -INFINITY;
    for (int i = 0; i < 8; ++i) {
      const double v = f(3.0 * i / 7);
      lo = std::min(lo, v);
      hi = std::max(hi, v);
    }
    const double limit = tol * (hi - lo);
    double worst = 0;
    for (std::size_t k = 0; k < samples.size(); ++k) {
      EXPECT_NEAR(samples[k].z.real(), f(samples[k].x), 1e-12) << samples[k].x;
      if (k == 0) continue;
      const Sample &a = samples[k - 1], &b = samples[k];
      worst = std::max(worst, std::fabs(f(0.5 * (a.x + b.x)) - 0.5 * (a.z.real() + b.z.real())));
    }
    EXPECT_LE(worst, limit) << "tolerance " << tol;
    EXPECT_GT(samples.size(), previous) << "tolerance " << tol;
    previous = samples.size();
  }
}

TEST(AutoSample, PointsGatherWhereTheCurveBends) {
  Session s;
  const std::vector<Sample> kink = Auto("abs(t-0.3)", -1, 1, 6, 1e-3, s.env());
  ExpectRisingFromTo(kink, -1, 1);
  double nearest = INFINITY;
  for (const Sample &p : kink) {
    EXPECT_NEAR(p.z.real(), std::fabs(p.x - 0.3), 1e-12);
    nearest = std::min(nearest, std::fabs(p.x - 0.3));
  }
  EXPECT_LT(nearest, 1e-3) << "the kink is closed in on";
  double widestNear = 0, widestFar = 0;
  for (std::size_t k = 1; k < kink.size(); ++k) {
    double &widest = std::fabs(kink[k].x - 0.3) < 0.05 ? widestNear : widestFar;
    widest = std::max(widest, kink[k].x - kink[k - 1].x);
  }
  EXPECT_LT(widestNear, widestFar);
}

// Across a pole the samples stay ordered and bounded in number, finite
// values are right, and the gaps shrink towards the pole. A sample that
// falls on the pole itself is not finite but does not spoil the rest.
TEST(AutoSample, PolesAreSampledWithoutHarm) {
  Session s;
  for (int n : {4, 5}) {
    const std::vector<Sample> pole = Auto("1/t", -1, 1, n, 1e-3, s.env());
    ExpectRisingFromTo(pole, -1, 1);
    int nonFinite = 0;
    for (const Sample &p : pole) {
      if (!std::isfinite(p.z.real())) {
        ++nonFinite;
        EXPECT_EQ(p.x, 0.0) << "only the pole itself may fail";
        continue;
      }
      EXPECT_NEAR(p.z.real(), 1 / p.x, 1e-12 * std::fabs(1 / p.x)) << p.x;
    }
    EXPECT_EQ(nonFinite, n == 5 ? 1 : 0) << n;
    EXPECT_LT(WidestGap(pole, 0, 0.05), WidestGap(pole, 0.5, 1)) << n;
  }
}

// The root of a negative number is imaginary: the complex samples carry
// both parts, and the real samples the real part.
TEST(AutoSample, ComplexRegionsCarryBothParts) {
  Session s;
  const std::vector<Sample> c = Samples(AutoSample1DC("sqrt(t)", -1, 1, 6, 1e-3, s.env()));
  ExpectRisingFromTo(c, -1, 1);
  for (const Sample &p : c) {
    const std::complex<double> want = std::sqrt(std::complex<double>(p.x, 0.0));
    EXPECT_NEAR(p.z.real(), want.real(), 1e-12) << p.x;
    EXPECT_NEAR(p.z.imag(), want.imag(), 1e-12) << p.x;
  }
  EXPECT_LT(WidestGap(c, 0, 0.05), WidestGap(c, 0.5, 1)) << "both parts bend at 0";
  const std::vector<Sample> r = Auto("sqrt(t)", -1, 1, 6, 1e-3, s.env());
  ExpectRisingFromTo(r, -1, 1);
  for (const Sample &p : r) EXPECT_NEAR(p.z.real(), p.x > 0 ? std::sqrt(p.x) : 0.0, 1e-12) << p.x;
}

TEST(AutoSample, TheScopeIsOnlyRead) {
  Session s;
  Environment *env = s.env();
  s.Run("a=2");
  s.Run("m=0,m.k=3");
  const int32_t historyCount = GetHistory(env)->count;
  char *before = PrintTopLevelEnvironment(env, 0, 0);
  // The scope's values are used; its unknown stays unknown.
  for (const Sample &p : Auto("a*t+m.k", 0, 1, 5, 0, env)) EXPECT_NEAR(p.z.real(), 2 * p.x + 3, 1e-12);
  char *after = PrintTopLevelEnvironment(env, 0, 0);
  EXPECT_STREQ(before, after);
  FreeString(before);
  FreeString(after);
  EXPECT_EQ(GetHistory(env)->count, historyCount);
  EXPECT_EQ(s.Run("t"), "t");
  // Without a scope the text is read in a fresh one.
  for (const Sample &p : Auto("t^2", 0, 1, 5, 0, nullptr)) EXPECT_NEAR(p.z.real(), p.x * p.x, 1e-12);
}

TEST(AutoSample, CancelledOrUnsampleableGivesAnEmptySet) {
  Session s;
  Environment *env = s.env();
  SetCancelFlag(env, 1);
  EXPECT_TRUE(Auto("t", 0, 1, 5, 0, env).empty());
  EXPECT_TRUE(Samples(AutoSample1DC("t", 0, 1, 5, 0, env)).empty());
  EXPECT_EQ(GetCancelFlag(env), 1) << "the sampler never resets the flag";
  SetCancelFlag(env, 0);
  EXPECT_EQ(Auto("t", 0, 1, 5, 0, env).size(), 9u);

  for (const char *bad : {"u=t", "t+", ""}) EXPECT_TRUE(Auto(bad, 0, 1, 5, 0, env).empty()) << bad;
  EXPECT_TRUE(Auto("t", NAN, 1, 5, 0, env).empty());
  EXPECT_TRUE(Auto("t", 0, INFINITY, 5, 0, env).empty());
  // Both ends equal: nothing to refine, and nothing breaks.
  const std::vector<Sample> point = Auto("t^2", 0.5, 0.5, 4, 0, env);
  for (const Sample &p : point) {
    EXPECT_EQ(p.x, 0.5);
    EXPECT_DOUBLE_EQ(p.z.real(), 0.25);
  }
}

}  // namespace
