// Quadrature on samples and functions, Gauss rules, sums and products, and
// the random methods.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include <gsl/gsl_integration.h>

#include "libquorvex.h"

namespace {

const double kPi = 3.141592653589793;

Complex **SetC(const std::vector<double> &xs, std::function<Complex(double)> f) {
  const int n = static_cast<int>(xs.size());
  Complex **s = MatrixC(2, n);
  for (int i = 1; i <= n; ++i) {
    s[1][i] = Complex{xs[i - 1], 0.0};
    s[2][i] = f(xs[i - 1]);
  }
  return s;
}

double **SetR(const std::vector<double> &xs, std::function<double(double)> f) {
  const int n = static_cast<int>(xs.size());
  double **s = Matrix(2, n);
  for (int i = 1; i <= n; ++i) {
    s[1][i] = xs[i - 1];
    s[2][i] = f(xs[i - 1]);
  }
  return s;
}

// Integrals of the quadratic q(x) = 3x^2 - x + 2 (real part) and the
// linear l(x) = 5 - 2x (imaginary part).
Complex Quad(double x) { return Complex{3 * x * x - x + 2, 5 - 2 * x}; }
double QuadPrimitive(double x) { return x * x * x - 0.5 * x * x + 2 * x; }
double LinPrimitive(double x) { return 5 * x - x * x; }

TEST(SimpsonIntegral1DC, ExactForQuadraticsOnUnevenGrids) {
  // Odd and even point counts (the even one leaves an interval over).
  const std::vector<double> grids[] = {{0, 0.1, 0.45, 0.5, 1.2, 1.9, 2.0},
                                       {0, 0.1, 0.45, 0.5, 1.2, 1.9, 2.0, 2.6},
                                       {-1, -0.2, 0.25}};
  for (const auto &xs : grids) {
    Complex **s = SetC(xs, Quad);
    const double a = xs.front(), b = xs.back();
    const Complex r = SimpsonIntegral1DC(s, a, b);
    EXPECT_NEAR(r.re, QuadPrimitive(b) - QuadPrimitive(a), 1e-12) << xs.size();
    EXPECT_NEAR(r.im, LinPrimitive(b) - LinPrimitive(a), 1e-12) << xs.size();
    // Reversed limits negate.
    const Complex back = SimpsonIntegral1DC(s, b, a);
    EXPECT_EQ(back.re, -r.re);
    EXPECT_EQ(back.im, -r.im);
    FreeMatrixC(s);
  }
  // Two samples: the trapezoid rule is all there is.
  Complex **two = SetC({-1, 0.25}, Quad);
  EXPECT_NEAR(SimpsonIntegral1DC(two, -1, 0.25).re, 1.25 * (Quad(-1).re + Quad(0.25).re) / 2, 1e-15);
  FreeMatrixC(two);
}

TEST(SimpsonIntegral1DC, LimitsSelectTheSamplesWithinThem) {
  const std::vector<double> xs = {0, 0.3, 0.5, 1.1, 1.4, 1.9, 2.0};
  Complex **s = SetC(xs, Quad);
  // 0.2 .. 1.95 covers the samples 0.3 .. 1.9 only; 0.5 .. 1.4 hits samples exactly.
  const struct {
    double a, b, from, to;
  } cases[] = {{0.2, 1.95, 0.3, 1.9}, {0.5, 1.4, 0.5, 1.4}, {-5, 5, 0, 2}};
  for (const auto &c : cases) {
    const Complex r = SimpsonIntegral1DC(s, c.a, c.b);
    EXPECT_NEAR(r.re, QuadPrimitive(c.to) - QuadPrimitive(c.from), 1e-12) << c.a;
  }
  // Fewer than two samples in range, or none at all: 0. NaN limits: NaN.
  for (auto ab : {std::pair{0.31, 0.49}, std::pair{0.31, 0.5}, std::pair{3.0, 4.0}}) {
    const Complex r = SimpsonIntegral1DC(s, ab.first, ab.second);
    EXPECT_EQ(r.re, 0.0);
    EXPECT_EQ(r.im, 0.0);
  }
  EXPECT_TRUE(std::isnan(SimpsonIntegral1DC(s, NAN, 1).re));
  FreeMatrixC(s);
  Complex **empty = MatrixC(2, 0);
  EXPECT_EQ(SimpsonIntegral1DC(empty, 0, 1).re, 0.0);
  EXPECT_EQ(SimpsonIntegral1DC(nullptr, 0, 1).re, 0.0);
  FreeMatrixC(empty);
}

TEST(SampledQuadrature, RealFormsAndRunningIntegral) {
  std::vector<double> xs;
  for (int i = 0; i <= 100; ++i) xs.push_back(kPi * i / 100 + 0.004 * std::sin(7.0 * i));
  xs.back() = kPi;
  xs.front() = 0;
  double **s = SetR(xs, [](double x) { return std::cos(x); });
  EXPECT_NEAR(SimpsonIntegral1D(s, 0, kPi / 2), 1.0, 1e-4);  // samples below pi/2 only
  EXPECT_NEAR(IntegralD(s), 0.0, 1e-6);
  EXPECT_NEAR(TrapezoidIntegral1D(s, 0, kPi), 0.0, 1e-3);
  EXPECT_NEAR(TrapezoidIntegral1D(s, kPi, 0), -TrapezoidIntegral1D(s, 0, kPi), 1e-15);
  double **run = Integrator(s);
  for (int i = 1; i <= 101; ++i) EXPECT_NEAR(run[2][i], std::sin(run[1][i]), 5e-6) << i;
  FreeMatrix(run);
  FreeMatrix(s);
  Complex **c = SetC({0, 0.5, 0.7, 2}, Quad);
  Complex **runc = IntegratorC(c);
  EXPECT_EQ(runc[2][1].re, 0.0);
  for (int i = 2; i <= 4; ++i) {
    EXPECT_NEAR(runc[2][i].re, QuadPrimitive(runc[1][i].re), 1e-12);
    EXPECT_NEAR(runc[2][i].im, LinPrimitive(runc[1][i].re), 1e-12);
  }
  FreeMatrixC(runc);
  FreeMatrixC(c);
}

TEST(GaussRules, ExactForPolynomialsUpToDegree2nMinus1) {
  for (int n : {1, 2, 3, 8, 17, 40}) {
    double **g = GaussLegendre(n);
    ASSERT_EQ(g[1][0], n);
    for (int k : {0, 1, 2 * n - 2, 2 * n - 1}) {
      if (k < 0) continue;
      double s = 0;
      for (int i = 1; i <= n; ++i) s += g[2][i] * std::pow(g[1][i], k);
      EXPECT_NEAR(s, k % 2 ? 0.0 : 2.0 / (k + 1), 1e-14) << n << " " << k;
    }
    FreeMatrix(g);
    // Gauss-Laguerre: the integral of x^k x^alpha e^-x is Gamma(k + alpha + 1).
    for (double alpha : {0.0, 0.5, 2.0}) {
      double **l = GaussLaguerre(n, alpha);
      for (int k : {0, n, 2 * n - 1}) {
        if (k > 30) continue;
        double s = 0;
        for (int i = 1; i <= n; ++i) s += l[2][i] * std::pow(l[1][i], k);
        EXPECT_NEAR(s / std::tgamma(k + alpha + 1), 1.0, 1e-11) << n << " " << k << " " << alpha;
      }
      FreeMatrix(l);
    }
  }
  for (double **e : {GaussLegendre(0), GaussLegendre(-2), GaussLaguerre(4, -1.0)}) {
    EXPECT_EQ(e[1][0], 0);
    FreeMatrix(e);
  }
}

TEST(GaussLegendre, AgreesWithGslTables) {
  for (int n = 1; n <= 20; ++n) {
    gsl_integration_glfixed_table *t = gsl_integration_glfixed_table_alloc(n);
    double **g = GaussLegendre(n);
    for (int i = 0; i < n; ++i) {
      double x, w;
      gsl_integration_glfixed_point(-1, 1, i, &x, &w, t);
      // GSL lists the nodes in its own order: find ours by value.
      int k = 1;
      for (int j = 2; j <= n; ++j)
        if (std::fabs(g[1][j] - x) < std::fabs(g[1][k] - x)) k = j;
      EXPECT_NEAR(g[1][k], x, 1e-15) << n;
      EXPECT_NEAR(g[2][k], w, 1e-14 * w) << n;
    }
    FreeMatrix(g);
    gsl_integration_glfixed_table_free(t);
  }
}

double Gaussian(double x) { return std::exp(-x * x); }
double Lorentz(double x) { return 1 / (1 + x * x); }
double SqrtFn(double x) { return std::sqrt(x); }
double Exp(double x) { return std::exp(x); }
double Sin(double x) { return std::sin(x); }

TEST(Integral, AdaptiveKronrodOnFiniteAndInfiniteRanges) {
  const struct {
    RealFn f;
    double a, b, want;
  } cases[] = {{Exp, 0, 1, std::exp(1.0) - 1},
               {Exp, 1, 0, 1 - std::exp(1.0)},
               {SqrtFn, 0, 1, 2.0 / 3},
               {Lorentz, -INFINITY, INFINITY, kPi},
               {Gaussian, 0, INFINITY, std::sqrt(kPi) / 2},
               {Gaussian, -INFINITY, 1.5, std::sqrt(kPi) / 2 * (1 + std::erf(1.5))},
               {Sin, 0, 100 * kPi, 0},
               {Sin, 2, 2, 0}};
  for (const auto &c : cases) EXPECT_NEAR(Integral(c.f, c.a, c.b, 1e-12), c.want, 1e-10) << c.a << " " << c.b;
  EXPECT_TRUE(std::isnan(Integral(Exp, NAN, 1, 1e-9)));
}

TEST(Integral, ParametricFormsPassTheirData) {
  double k = 3;
  auto f = [](double x, void *p) { return std::cos(*static_cast<double *>(p) * x); };
  EXPECT_NEAR(IntegralP(f, &k, 0, 1, 1e-12), std::sin(3.0) / 3, 1e-12);
  auto g = [](double x, void *p) {
    const double w = *static_cast<double *>(p);
    return Complex{std::cos(w * x), std::sin(w * x)};
  };
  const Complex r = IntegralPC(g, &k, 0, 1, 1e-12);
  EXPECT_NEAR(r.re, std::sin(3.0) / 3, 1e-12);
  EXPECT_NEAR(r.im, (1 - std::cos(3.0)) / 3, 1e-12);
}

TEST(SimpsonAndTrapezoid, FunctionForms) {
  auto cubic = [](double x) { return x * x * x - 2 * x; };
  EXPECT_NEAR(SimpsonIntegral1(cubic, 0, 2, 3), 0.0, 1e-14);  // n made even; exact for cubics
  EXPECT_NEAR(SimpsonIntegralAdaptive(Sin, 0, kPi, 1e-10), 2.0, 1e-9);
  EXPECT_NEAR(SimpsonIntegralAdaptive(SqrtFn, 0, 1, 1e-10), 2.0 / 3, 1e-8);
  EXPECT_EQ(SimpsonIntegralAdaptive(Sin, 1, 1, 1e-10), 0.0);
  EXPECT_NEAR(TrapezoidIntegral([](double x) { return 2 * x + 1; }, 0, 3, 7), 12.0, 1e-13);
  // The trapezoid rule is spectrally accurate on a whole period.
  const Complex c = TrapezoidIntegralC([](double x) { return Complex{std::exp(std::cos(x)), std::sin(x)}; }, 0,
                                       2 * kPi, 32);
  EXPECT_NEAR(c.re, 2 * kPi * std::cyl_bessel_i(0.0, 1.0), 1e-13);
  EXPECT_NEAR(c.im, 0.0, 1e-13);
  EXPECT_EQ(SimpsonIntegral1(nullptr, 0, 1, 4), 0.0);
  EXPECT_EQ(TrapezoidIntegral(Sin, 0, 1, 0), 0.0);
}

TEST(MultipleIntegrals, GaussProductsAndGrids) {
  auto f2 = [](double x, double y, void *) { return x * x * y + 1; };
  EXPECT_NEAR(Integral2(f2, nullptr, 0, 2, -1, 3, 3), 8.0 / 3 * 4 + 8, 1e-12);
  auto f3 = [](const double *r, void *p) { return *static_cast<double *>(p) * r[1] * r[2] * r[3]; };
  double scale = 2;
  double lo[] = {3, 0, 0, 0}, hi[] = {3, 1, 2, 3};
  EXPECT_NEAR(IntegralV(f3, &scale, lo, hi, 2), 2 * 0.5 * 2 * 4.5, 1e-12);
  // A 2D set of x y^2 on an uneven 5 by 7 grid: Simpson is exact.
  double ***set = MatrixVector2D(5, 7);
  const double xs[] = {0, 0.5, 0.6, 1.5, 2}, ys[] = {-1, -0.5, 0, 0.2, 0.7, 0.9, 1};
  for (int j = 1; j <= 5; ++j) set[2][1][j] = xs[j - 1];
  for (int i = 1; i <= 7; ++i) set[3][1][i] = ys[i - 1];
  for (int j = 1; j <= 5; ++j)
    for (int i = 1; i <= 7; ++i) set[1][j][i] = xs[j - 1] * ys[i - 1] * ys[i - 1];
  EXPECT_NEAR(Integral2D(set), 2.0 * 2.0 / 3, 1e-13);
  FreeMatrixVector(set);
  EXPECT_EQ(Integral2D(nullptr), 0.0);
}

TEST(SumsAndProducts, CompensatedAndEmptyRanges) {
  auto inverseSquare = [](double k) { return 1 / (k * k); };
  // Tail of the Basel series beyond N is 1/N - 1/(2N^2) + ...
  const double n = 100000;
  EXPECT_NEAR(Summation(inverseSquare, 1, 100000), kPi * kPi / 6 - 1 / n + 1 / (2 * n * n), 1e-14);
  EXPECT_EQ(Summation(inverseSquare, 5, 4), 0.0);
  EXPECT_EQ(Product([](double k) { return k; }, 1, 10), 3628800.0);
  EXPECT_EQ(Product([](double k) { return k; }, 3, 2), 1.0);
  double base = 2;
  auto power = [](double k, void *p) { return std::pow(*static_cast<double *>(p), k); };
  EXPECT_EQ(SummationP(power, &base, 0, 10), 2047.0);
  EXPECT_EQ(ProductP(power, &base, 1, 4), 1024.0);
  const Complex s = SummationC([](double k) { return Complex{k, -1}; }, 1, 4);
  EXPECT_EQ(s.re, 10.0);
  EXPECT_EQ(s.im, -4.0);
  const Complex i4 = ProductC([](double) { return Complex{0, 1}; }, 1, 4);  // i^4
  EXPECT_EQ(i4.re, 1.0);
  EXPECT_EQ(i4.im, 0.0);
}

TEST(RandomMethods, SeededAndStatisticallySound) {
  auto f = [](const double *r, void *) { return r[1] * r[1] + r[2]; };
  double lo[] = {2, 0, 0}, hi[] = {2, 1, 2};
  int32_t seed1 = -17, seed2 = -17;  // below 1: reseeds the generator
  double err = -1;
  const double a = MonteCarloIntegral(f, nullptr, lo, hi, 20000, &seed1, &err);
  const double b = MonteCarloIntegral(f, nullptr, lo, hi, 20000, &seed2, nullptr);
  EXPECT_EQ(a, b);  // the same seed gives the same estimate
  EXPECT_GT(err, 0.0);
  EXPECT_NEAR(a, 2.0 / 3 + 2.0, 5 * err);

  int32_t seed = -5;
  double *chain = Metropolis1([](double x) { return std::exp(-0.5 * x * x); }, 0.0, 2.0, 20000, &seed);
  ASSERT_EQ(chain[0], 20000);
  double mean = 0, square = 0;
  for (int i = 1; i <= 20000; ++i) {
    mean += chain[i] / 20000;
    square += chain[i] * chain[i] / 20000;
  }
  EXPECT_NEAR(mean, 0.0, 0.1);
  EXPECT_NEAR(square, 1.0, 0.1);
  FreeVector(chain);

  double *draws = VonNeumannRejection([](double x) { return x; }, 0, 1, 1, 5000, &seed);
  ASSERT_EQ(draws[0], 5000);
  mean = 0;
  for (int i = 1; i <= 5000; ++i) {
    ASSERT_TRUE(draws[i] >= 0 && draws[i] <= 1);
    mean += draws[i] / 5000;
  }
  EXPECT_NEAR(mean, 2.0 / 3, 0.02);
  FreeVector(draws);
  // A density that is never accepted ends with an empty sample, not a hang.
  double *none = VonNeumannRejection([](double) { return 0.0; }, 0, 1, 1, 10, &seed);
  EXPECT_EQ(none[0], 0);
  FreeVector(none);
}

}  // namespace
