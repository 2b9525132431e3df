// Fitting and optimisation: polynomial least squares against GSL's linear
// fit (coefficients and standard errors), Savitzky-Golay weights against
// their published values, peak fits on synthetic data, the minimisers and
// root finders on functions with known answers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

#include <gsl/gsl_multifit.h>

#include "libquorvex.h"

namespace {

const double kPi = 3.141592653589793;

std::vector<double> Values(double *v) {
  std::vector<double> out(v + 1, v + 1 + static_cast<int>(v[0]));
  FreeVector(v);
  return out;
}

double **Sampled(std::function<double(double)> f, double a, double b, int n) {
  double **s = Matrix(2, n);
  for (int i = 1; i <= n; ++i) {
    s[1][i] = a + (b - a) * (i - 1) / (n - 1);
    s[2][i] = f(s[1][i]);
  }
  return s;
}

double Cos(double x, void *) { return std::cos(x); }
double Sin(double x, void *) { return std::sin(x); }
double Square2(double x, void *) { return x * x - 2; }
double Twice(double x, void *) { return 2 * x; }
double Flat(double, void *) { return 1.0; }
double Undefined(double, void *) { return NAN; }
double Rosenbrock(const double *p, void *) { return 100 * std::pow(p[2] - p[1] * p[1], 2) + std::pow(1 - p[1], 2); }
double Bowl(const double *p, void *) { return std::pow(p[1] - 3, 2) + std::pow(p[2] + 1, 2); }
double Decay(double x, const double *p, void *) { return p[1] * std::exp(-p[2] * x); }

TEST(PolynomialFit, AgreesWithReferenceLinearFit) {
  // A noisy cubic: coefficients and their standard errors against GSL.
  const int n = 40, p = 4;
  int32_t seed = -5;
  double **set = Sampled([&](double x) { return 1 - 2 * x + 0.5 * x * x * x + 0.1 * BoxMuller1(&seed); }, -2, 3, n);
  double **fit = PolynomialFit2(set, 3);
  gsl_matrix *X = gsl_matrix_alloc(n, p);
  gsl_vector *y = gsl_vector_alloc(n), *c = gsl_vector_alloc(p);
  gsl_matrix *cov = gsl_matrix_alloc(p, p);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < p; ++j) gsl_matrix_set(X, i, j, std::pow(set[1][i + 1], j));
    gsl_vector_set(y, i, set[2][i + 1]);
  }
  double chisq;
  gsl_multifit_linear_workspace *work = gsl_multifit_linear_alloc(n, p);
  gsl_multifit_linear(X, y, c, cov, &chisq, work);
  for (int j = 0; j < p; ++j) {
    EXPECT_NEAR(fit[1][j + 1], gsl_vector_get(c, j), 1e-12) << j;
    EXPECT_NEAR(fit[2][j + 1], std::sqrt(gsl_matrix_get(cov, j, j)), 1e-10) << j;
  }
  auto plain = Values(PolynomialFit(set, 3));
  for (int j = 0; j < p; ++j) EXPECT_EQ(plain[j], fit[1][j + 1]);
  double **curve = PolynomialFitFunc(set, 3);
  double *coefficients = PolynomialFit(set, 3);
  for (int i = 1; i <= n; ++i) {
    EXPECT_EQ(curve[1][i], set[1][i]);
    EXPECT_NEAR(curve[2][i], PolyEval(coefficients, set[1][i]), 1e-12);
  }
  FreeVector(coefficients);
  gsl_multifit_linear_free(work);
  gsl_matrix_free(X), gsl_matrix_free(cov), gsl_vector_free(y), gsl_vector_free(c);
  FreeMatrix(fit), FreeMatrix(curve), FreeMatrix(set);
}

TEST(PolynomialFit, ExactDataDegenerateInputAndHorner) {
  double *x = Vector(5), *y = Vector(5);
  for (int i = 1; i <= 5; ++i) x[i] = i, y[i] = 2 + 3 * i - i * i;  // exact quadratic
  auto c = Values(PolyFit(x, y, 2));
  EXPECT_NEAR(c[0], 2, 1e-12);
  EXPECT_NEAR(c[1], 3, 1e-12);
  EXPECT_NEAR(c[2], -1, 1e-12);
  auto fitted = Values(PolyFitFunction(x, y, 2));
  for (int i = 1; i <= 5; ++i) EXPECT_NEAR(fitted[i - 1], y[i], 1e-12);
  EXPECT_TRUE(std::isnan(Values(PolyFit(x, y, 5))[0]));  // more coefficients than points
  for (int i = 1; i <= 5; ++i) x[i] = 1;                  // one abscissa only
  EXPECT_TRUE(std::isnan(Values(PolyFit(x, y, 1))[1]));
  EXPECT_EQ(Values(PolyFit(x, y, -1)).size(), 0u);
  EXPECT_EQ(Values(PolyFit(nullptr, y, 1)).size(), 2u);
  double *poly = Vector(3);
  poly[1] = 1, poly[2] = -3, poly[3] = 2;  // 1 - 3x + 2x^2
  EXPECT_EQ(PolyEval(poly, 2), 3);
  EXPECT_EQ(PolyEval(nullptr, 2), 0);
  double **none = PolynomialFitFunc(nullptr, 2);
  EXPECT_EQ(none[1][0], 0);
  FreeMatrix(none);
  FreeVector(poly), FreeVector(x), FreeVector(y);
}

TEST(SavitzkyGolay, PublishedWeightsAndExactPolynomials) {
  const struct {
    int left, right, order, derivative;
    std::vector<double> weights;
  } table[] = {
      {2, 2, 2, 0, {-3 / 35.0, 12 / 35.0, 17 / 35.0, 12 / 35.0, -3 / 35.0}},
      {2, 2, 2, 1, {-0.2, -0.1, 0, 0.1, 0.2}},
      {3, 3, 2, 0, {-2 / 21.0, 3 / 21.0, 6 / 21.0, 7 / 21.0, 6 / 21.0, 3 / 21.0, -2 / 21.0}},
      {1, 1, 2, 2, {1, -2, 1}},
  };
  for (const auto &t : table) {
    auto w = Values(SavitzkyGolayCoefficients(t.left, t.right, t.order, t.derivative));
    ASSERT_EQ(w.size(), t.weights.size());
    for (size_t k = 0; k < w.size(); ++k) EXPECT_NEAR(w[k], t.weights[k], 1e-13);
  }
  // One-sided windows still differentiate a quadratic exactly at 0.
  auto w = Values(SavitzkyGolayCoefficients(0, 4, 2, 1));
  double d = 0;
  for (int k = 0; k <= 4; ++k) d += w[k] * (1 + 2 * k + 3 * k * k);
  EXPECT_NEAR(d, 2, 1e-12);
  for (auto bad : {std::vector<int>{1, 1, 3, 0}, {2, 2, 2, 3}, {-1, 2, 1, 0}, {2, 2, -1, 0}})
    EXPECT_EQ(Values(SavitzkyGolayCoefficients(bad[0], bad[1], bad[2], bad[3])).size(), 0u);

  // Smoothing keeps a quadratic, ends included, and the length.
  double *v = Vector(30);
  for (int i = 1; i <= 30; ++i) v[i] = 0.5 * i * i - 4 * i + 7;
  auto s = Values(SavitzkyGolay(v, 3, 2));
  ASSERT_EQ(s.size(), 30u);
  for (int i = 1; i <= 30; ++i) EXPECT_NEAR(s[i - 1], v[i], 1e-9 * (1 + std::fabs(v[i]))) << i;
  // Inside, the filter is the centred window's weights; near the ends the
  // window of the same width is pushed inside the data.
  int32_t seed = -6;
  for (int i = 1; i <= 30; ++i) v[i] = BoxMuller1(&seed);
  s = Values(SavitzkyGolay(v, 2, 2));
  const double centred[] = {-3 / 35.0, 12 / 35.0, 17 / 35.0, 12 / 35.0, -3 / 35.0};
  for (int i = 3; i <= 28; ++i) {
    double expected = 0;
    for (int k = -2; k <= 2; ++k) expected += centred[k + 2] * v[i + k];
    EXPECT_NEAR(s[i - 1], expected, 1e-13) << i;
  }
  auto first = Values(SavitzkyGolayCoefficients(0, 4, 2, 0));
  double expected = 0;
  for (int k = 0; k <= 4; ++k) expected += first[k] * v[1 + k];
  EXPECT_NEAR(s[0], expected, 1e-13);
  auto last = Values(SavitzkyGolayCoefficients(3, 1, 2, 0));
  expected = 0;
  for (int k = -3; k <= 1; ++k) expected += last[k + 3] * v[29 + k];
  EXPECT_NEAR(s[28], expected, 1e-13);
  // Short data shrink the window; m below 1 copies.
  v[0] = 4;
  auto shortened = Values(SavitzkyGolay(v, 10, 2));
  for (int i = 1; i <= 4; ++i) EXPECT_NEAR(shortened[i - 1], v[i], 1e-9);
  auto copied = Values(SavitzkyGolay(v, 0, 2));
  EXPECT_EQ(copied, std::vector<double>(v + 1, v + 5));
  EXPECT_EQ(Values(SavitzkyGolay(nullptr, 3, 2)).size(), 0u);
  FreeVector(v);
}

// Parses "A = ..\nc = ..\nw = ..\ny0 = ..\n".
std::vector<double> Parameters(char *text) {
  std::vector<double> p(4, NAN);
  EXPECT_EQ(std::sscanf(text, "A = %lf\nc = %lf\nw = %lf\ny0 = %lf\n", &p[0], &p[1], &p[2], &p[3]), 4) << text;
  FreeString(text);
  return p;
}

TEST(PeakFits, RecoverSyntheticPeaks) {
  double **g = Sampled([](double x) { return 0.5 + 2 * std::exp(-0.5 * std::pow((x - 0.3) / 1.1, 2)); }, -5, 5, 41);
  auto p = Parameters(GaussianFit(g));
  const double expected[] = {2, 0.3, 1.1, 0.5};
  for (int k = 0; k < 4; ++k) EXPECT_NEAR(p[k], expected[k], 1e-6) << k;
  char *curve = GaussianFitFunction(g);
  ASSERT_NE(curve, nullptr);
  double x, y;
  ASSERT_EQ(std::sscanf(curve, "%lf %lf", &x, &y), 2);
  EXPECT_EQ(x, -5);
  EXPECT_NEAR(y, g[2][1], 1e-6);
  int lines = 0;
  for (const char *c = curve; *c; ++c) lines += *c == '\n';
  EXPECT_EQ(lines, 41);
  EXPECT_NE(std::strstr(curve, "-5.000000000000E+00 "), nullptr);  // the printf form %.12E
  FreeString(curve);

  double **l = Sampled([](double x) { return -1 + 3 * 0.4 * 0.4 / ((x + 1) * (x + 1) + 0.4 * 0.4); }, -4, 3, 50);
  p = Parameters(LorentzianFit(l));
  const double lexpected[] = {3, -1, 0.4, -1};
  for (int k = 0; k < 4; ++k) EXPECT_NEAR(p[k], lexpected[k], 1e-6) << k;
  FreeString(LorentzianFitFunction(l));

  double **tiny = Matrix(2, 3);
  EXPECT_EQ(GaussianFit(tiny), nullptr);
  EXPECT_EQ(LorentzianFitFunction(nullptr), nullptr);
  g[2][7] = NAN;
  EXPECT_EQ(GaussianFit(g), nullptr);
  FreeMatrix(g), FreeMatrix(l), FreeMatrix(tiny);
}

TEST(ChiSquareFits, UserModelWithWeights) {
  double **set = Matrix(3, 20);
  for (int i = 1; i <= 20; ++i) {
    set[1][i] = 0.2 * i;
    set[2][i] = 5 * std::exp(-0.7 * set[1][i]);
    set[3][i] = 0.5;
  }
  double *start = Vector(2);
  start[1] = 1, start[2] = 0.1;
  // Residuals divided by sigma 0.5: chi-square is four times the plain sum.
  double plain = 0;
  for (int i = 1; i <= 20; ++i) plain += std::pow(set[2][i] - Decay(set[1][i], start, nullptr), 2);
  EXPECT_NEAR(ChiSquare(set, Decay, start, nullptr), 4 * plain, 1e-9 * plain);
  auto best = Values(MinimizeChiSquare(set, Decay, start, nullptr));
  EXPECT_NEAR(best[0], 5, 1e-6);
  EXPECT_NEAR(best[1], 0.7, 1e-7);
  EXPECT_TRUE(std::isnan(ChiSquare(set, nullptr, start, nullptr)));
  EXPECT_TRUE(std::isnan(Values(MinimizeChiSquare(set, nullptr, start, nullptr))[0]));
  FreeVector(start), FreeMatrix(set);
}

TEST(Minimisers, SimplexBracketBrentAndAnnealing) {
  double *start = Vector(2);
  start[1] = -1.2, start[2] = 1;
  auto x = Values(Amoeba(Rosenbrock, nullptr, start, 0.5, 1e-15, 5000));
  EXPECT_NEAR(x[0], 1, 1e-4);
  EXPECT_NEAR(x[1], 1, 1e-4);
  EXPECT_EQ(Values(Amoeba(Rosenbrock, nullptr, nullptr, 0.5, 1e-10, 100)).size(), 0u);
  EXPECT_TRUE(std::isnan(Values(Amoeba(nullptr, nullptr, start, 0.5, 1e-10, 100))[0]));

  // One reflection of a simplex by hand: the worst vertex goes through the
  // centroid of the others and is replaced because the image is better.
  double **simplex = Matrix(3, 2);
  double *values = Vector(3), *sum = Vector(2);
  const double vertices[3][2] = {{0, 0}, {1, 0}, {0, 1}};
  for (int j = 1; j <= 3; ++j) {
    simplex[j][1] = vertices[j - 1][0], simplex[j][2] = vertices[j - 1][1];
    values[j] = Bowl(simplex[j], nullptr);
  }
  sum[1] = 1, sum[2] = 1;
  const double reflected = AmoebaTry(simplex, values, sum, Bowl, nullptr, 3, -1.0);
  EXPECT_EQ(simplex[3][1], 1);
  EXPECT_EQ(simplex[3][2], -1);
  EXPECT_EQ(reflected, 4);
  EXPECT_EQ(values[3], 4);
  EXPECT_EQ(sum[1], 2);
  EXPECT_EQ(sum[2], -1);
  EXPECT_TRUE(std::isnan(AmoebaTry(simplex, values, sum, Bowl, nullptr, 4, -1.0)));
  FreeMatrix(simplex), FreeVector(values), FreeVector(sum);

  auto bracket = Values(BracketMinimum(Cos, nullptr, 1, 2));
  ASSERT_FALSE(std::isnan(bracket[0]));
  EXPECT_LT(Cos(bracket[1], nullptr), Cos(bracket[0], nullptr));
  EXPECT_LT(Cos(bracket[1], nullptr), Cos(bracket[2], nullptr));
  double xmin;
  EXPECT_NEAR(BrentMinimization(Cos, nullptr, bracket[0], bracket[1], bracket[2], 0, &xmin), -1, 1e-14);
  EXPECT_NEAR(xmin, kPi, 1e-7);
  EXPECT_TRUE(std::isnan(Values(BracketMinimum(Twice, nullptr, 0, 1))[0]));  // no minimum
  EXPECT_TRUE(std::isnan(Values(BracketMinimum(Cos, nullptr, 1, 1))[0]));
  EXPECT_TRUE(std::isnan(Values(BracketMinimum(Undefined, nullptr, 0, 1))[1]));
  EXPECT_TRUE(std::isnan(BrentMinimization(Undefined, nullptr, 0, 1, 2, 0, nullptr)));
  EXPECT_TRUE(std::isnan(BrentMinimization(Cos, nullptr, 0, NAN, 4, 0, &xmin)));
  EXPECT_TRUE(std::isnan(xmin));

  int32_t seed = -4, again = -4;
  start[1] = 0, start[2] = 0;
  auto annealed = Values(SimulatedAnnealing(Bowl, nullptr, start, 0.5, 1, 20000, &seed));
  EXPECT_NEAR(annealed[0], 3, 0.05);
  EXPECT_NEAR(annealed[1], -1, 0.05);
  EXPECT_EQ(Values(SimulatedAnnealing(Bowl, nullptr, start, 0.5, 1, 20000, &again)), annealed);
  EXPECT_EQ(Values(SimulatedAnnealing(Bowl, nullptr, start, 0.5, 1, 0, &seed)), (std::vector<double>{0, 0}));
  FreeVector(start);
}

void Circle(const double *r, double *out, void *) {
  out[1] = r[1] * r[1] + r[2] * r[2] - 4;
  out[2] = r[1] - r[2];
}

// x^2 + y^2 + 1 never vanishes.
void NoRoot(const double *r, double *out, void *) {
  out[1] = r[1] * r[1] + r[2] * r[2] + 1;
  out[2] = r[1] - r[2];
}

TEST(Roots, BisectionAndNewton) {
  EXPECT_NEAR(Bisection(Cos, nullptr, 0, 3, 1e-12), kPi / 2, 1e-12);
  EXPECT_EQ(Bisection(Cos, nullptr, 0, 3, 0), kPi / 2);  // to the last bit
  EXPECT_TRUE(std::isnan(Bisection(Cos, nullptr, 0, 1, 1e-12)));
  EXPECT_EQ(Bisection(Sin, nullptr, 0, 1, 1e-12), 0);  // a root at an end
  EXPECT_TRUE(std::isnan(Bisection(nullptr, nullptr, 0, 1, 1e-12)));

  auto roots = Values(BisectionN(Sin, nullptr, 0.5, 10, 100, 1e-13));
  ASSERT_EQ(roots.size(), 3u);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(roots[k], (k + 1) * kPi, 1e-12);
  EXPECT_EQ(Values(BisectionN(Sin, nullptr, 0, kPi, 0, 1e-13)).size(), 0u);

  EXPECT_NEAR(NewtonRaphson(Square2, Twice, nullptr, 1, 1e-15), std::sqrt(2.0), 1e-15);
  EXPECT_NEAR(NewtonRaphson(Square2, nullptr, nullptr, 1, 1e-15), std::sqrt(2.0), 1e-14);
  EXPECT_TRUE(std::isnan(NewtonRaphson(Flat, nullptr, nullptr, 1, 1e-12)));  // zero slope
  EXPECT_TRUE(std::isnan(NewtonRaphson(Square2, Twice, nullptr, 0, 1e-12)));

  double *x0 = Vector(2);
  x0[1] = 1, x0[2] = 0.5;
  auto r = Values(NewtonRaphsonN(Circle, nullptr, x0, 1e-14));
  EXPECT_NEAR(r[0], std::sqrt(2.0), 1e-12);
  EXPECT_NEAR(r[1], std::sqrt(2.0), 1e-12);
  EXPECT_TRUE(std::isnan(Values(NewtonRaphsonN(NoRoot, nullptr, x0, 1e-14))[0]));
  EXPECT_EQ(Values(NewtonRaphsonN(Circle, nullptr, nullptr, 1e-14)).size(), 0u);
  FreeVector(x0);
}

}  // namespace
