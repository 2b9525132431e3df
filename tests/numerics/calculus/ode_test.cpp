// Runge-Kutta steps and integrators, Numerov's method and linear ODEs.
#include <gtest/gtest.h>

#include <cmath>

#include "libquorvex.h"

namespace {

const double kPi = 3.141592653589793;

// y1' = y2, y2' = -w^2 y1 (w from params, 1 when null).
void Oscillator(double, const double *y, double *d, void *p) {
  const double w = p ? *static_cast<double *>(p) : 1.0;
  d[1] = y[2];
  d[2] = -w * w * y[1];
}
void Growth(double, const double *y, double *d, void *) { d[1] = y[1]; }
void Rotation(double, const Complex *y, Complex *d, void *) { d[1] = Complex{-y[1].im, y[1].re}; }  // y' = i y
void Acceleration(double, const double *y, double *a, void *) { a[1] = -y[1]; }

double *Vec(std::initializer_list<double> xs) {
  double *v = Vector(static_cast<int32_t>(xs.size()));
  int i = 1;
  for (double x : xs) v[i++] = x;
  return v;
}

// Local error of one step of y' = y from y = 1, against e^h.
double StepError(double *(*step)(OdeFn, void *, double, const double *, double), double h) {
  double *y = Vec({1.0});
  double *r = step(Growth, nullptr, 0.0, y, h);
  const double e = std::fabs(r[1] - std::exp(h));
  FreeVector(r);
  FreeVector(y);
  return e;
}

double CashKarpStep(OdeFn f, void *p, double t, const double *y, double h) {
  double *r = RungeKuttaCashKarp(f, p, t, y, h, nullptr);
  const double v = r[1];
  FreeVector(r);
  return v;
}

TEST(RungeKuttaSteps, LocalErrorShrinksWithTheOrderOfTheMethod) {
  // Local error is O(h^(p+1)): halving h divides it by 2^(p+1). A wrong
  // tableau coefficient drops the order and shows here.
  const struct {
    double *(*step)(OdeFn, void *, double, const double *, double);
    int order;
  } cases[] = {{RK1, 1}, {RK2, 2}, {RungeKuttaStep, 4}};
  for (const auto &c : cases) {
    const double ratio = StepError(c.step, 0.1) / StepError(c.step, 0.05);
    EXPECT_NEAR(std::log2(ratio), c.order + 1, 0.25) << c.order;
  }
  double *y = Vec({1.0});
  const double e1 = std::fabs(CashKarpStep(Growth, nullptr, 0, y, 0.4) - std::exp(0.4));
  const double e2 = std::fabs(CashKarpStep(Growth, nullptr, 0, y, 0.2) - std::exp(0.2));
  EXPECT_NEAR(std::log2(e1 / e2), 6, 0.4);
  FreeVector(y);
}

TEST(RungeKuttaCashKarp, ErrorEstimateIsTheFourthOrderDifference) {
  double *y = Vec({1.0, 0.0}), *err = Vector(2);
  for (double h : {0.2, 0.1}) {
    double *r = RungeKuttaCashKarp(Oscillator, nullptr, 0.0, y, h, err);
    // The fifth-order result is far better than the estimate, which
    // measures the embedded fourth-order one: O(h^5).
    EXPECT_NEAR(r[1], std::cos(h), 1e-8);
    EXPECT_NEAR(r[2], -std::sin(h), 1e-8);
    EXPECT_GT(std::fabs(err[1]) + std::fabs(err[2]), std::fabs(r[1] - std::cos(h)));
    EXPECT_LT(std::fabs(err[2]), std::pow(h, 5));
    FreeVector(r);
  }
  Complex *z = VectorC(1);
  z[1] = Complex{1, 0};
  Complex *zerr = VectorC(1);
  Complex *rz = RungeKuttaCashKarpC(Rotation, nullptr, 0.0, z, 0.1, zerr);
  EXPECT_NEAR(rz[1].re, std::cos(0.1), 1e-9);
  EXPECT_NEAR(rz[1].im, std::sin(0.1), 1e-9);
  FreeVectorC(rz);
  FreeVectorC(zerr);
  FreeVectorC(z);
  FreeVector(err);
  FreeVector(y);
}

TEST(RungeKuttaIntegrator, OscillatorKeepsPhaseAndEnergy) {
  double w = 2.0;
  double *y0 = Vec({1.0, 0.0});
  const double t1 = 10 * kPi + 0.3;
  for (double tol : {1e-6, 1e-10}) {
    double *y = RungeKuttaIntegrator(Oscillator, &w, 0.0, t1, y0, tol);
    ASSERT_EQ(y[0], 2);
    const double scale = tol * 1e3;
    EXPECT_NEAR(y[1], std::cos(w * t1), scale);
    EXPECT_NEAR(y[2], -w * std::sin(w * t1), scale);
    EXPECT_NEAR(w * w * y[1] * y[1] + y[2] * y[2], w * w, scale);
    FreeVector(y);
  }
  // Backwards in time, and a zero-length interval returning the start.
  double *back = RungeKuttaIntegrator(Oscillator, &w, 0.0, -1.0, y0, 1e-10);
  EXPECT_NEAR(back[1], std::cos(-2.0), 1e-7);
  FreeVector(back);
  double *same = RungeKuttaIntegrator(Oscillator, &w, 3.0, 3.0, y0, 1e-10);
  EXPECT_EQ(same[1], 1.0);
  EXPECT_EQ(same[2], 0.0);
  FreeVector(same);
  FreeVector(y0);
}

TEST(RungeKuttaIntegrator, ComplexAndDegenerateInputs) {
  Complex *z = VectorC(1);
  z[1] = Complex{1, 0};
  Complex *r = RungeKuttaIntegratorC(Rotation, nullptr, 0.0, kPi, z, 1e-11);
  EXPECT_NEAR(r[1].re, -1.0, 1e-8);
  EXPECT_NEAR(r[1].im, 0.0, 1e-8);
  FreeVectorC(r);
  FreeVectorC(z);
  double *empty = Vector(0);
  double *one = Vec({1.0});
  for (double *v : {RungeKuttaIntegrator(Oscillator, nullptr, 0, 1, empty, 1e-8),
                    RungeKuttaIntegrator(nullptr, nullptr, 0, 1, one, 1e-8),
                    RungeKuttaStep(Growth, nullptr, 0, nullptr, 0.1),
                    RungeKuttaIntegrator(Growth, nullptr, NAN, 1, one, 1e-8)}) {
    EXPECT_EQ(v[0], 0);
    FreeVector(v);
  }
  // A blow-up (y' = y^2 from 1 reaches infinity at t = 1) stops short.
  auto blowUp = [](double, const double *y, double *d, void *) { d[1] = y[1] * y[1]; };
  double *r2 = RungeKuttaIntegrator(blowUp, nullptr, 0, 2, one, 1e-8);
  EXPECT_EQ(r2[0], 1);
  EXPECT_TRUE(std::isfinite(r2[1]));
  FreeVector(r2);
  double *zeroStep = RungeKuttaStep(Growth, nullptr, 0, one, 0.0);
  EXPECT_EQ(zeroStep[1], 1.0);
  FreeVector(zeroStep);
  FreeVector(one);
  FreeVector(empty);
}

TEST(RungeKuttaSamplers, TablesOfTimesAndStates) {
  double *y0 = Vec({0.0, 1.0});  // sin and cos
  double **fixed = RungeKuttaN(Oscillator, nullptr, 0.0, 2.0, y0, 200);
  ASSERT_EQ(fixed[0][0], 3);
  ASSERT_EQ(fixed[1][0], 201);
  EXPECT_EQ(fixed[1][1], 0.0);
  EXPECT_EQ(fixed[1][201], 2.0);
  EXPECT_NEAR(fixed[2][101], std::sin(1.0), 1e-10);
  FreeMatrix(fixed);
  double *end = RungeKutta(Oscillator, nullptr, 0.0, 2.0, y0, 200);
  EXPECT_NEAR(end[1], std::sin(2.0), 1e-9);
  FreeVector(end);

  double **s = RungeKuttaSampler(Oscillator, nullptr, 0.0, 3.0, y0, 7, 1e-10);
  ASSERT_EQ(s[1][0], 7);
  for (int i = 1; i <= 7; ++i) {
    EXPECT_DOUBLE_EQ(s[1][i], 0.5 * (i - 1));
    EXPECT_NEAR(s[2][i], std::sin(s[1][i]), 1e-8);
    EXPECT_NEAR(s[3][i], std::cos(s[1][i]), 1e-8);
  }
  FreeMatrix(s);
  Complex *z = VectorC(1);
  z[1] = Complex{1, 0};
  Complex **sc = RungeKuttaSamplerC(Rotation, nullptr, 0.0, 1.0, z, 3, 1e-10);
  EXPECT_EQ(sc[1][3].re, 1.0);
  EXPECT_NEAR(sc[2][2].im, std::sin(0.5), 1e-8);
  FreeMatrixC(sc);
  FreeVectorC(z);
  FreeVector(y0);
}

TEST(RungeKuttaIntegral1D, RunningIntegralAtAdaptiveSteps) {
  auto f = [](double x, void *) { return std::sin(x); };
  double **r = RungeKuttaIntegral1D(f, nullptr, 0.0, kPi, 1e-10);
  const int n = static_cast<int>(r[1][0]);
  ASSERT_GT(n, 3);
  EXPECT_EQ(r[1][1], 0.0);
  EXPECT_EQ(r[2][1], 0.0);
  EXPECT_EQ(r[1][n], kPi);
  for (int i = 2; i <= n; ++i) {
    EXPECT_GT(r[1][i], r[1][i - 1]);
    EXPECT_NEAR(r[2][i], 1 - std::cos(r[1][i]), 1e-8);
  }
  FreeMatrix(r);
  auto g = [](double x, void *) { return Complex{1.0, 2 * x}; };
  Complex **c = RungeKuttaIntegral1DC(g, nullptr, 0.0, 2.0, 1e-10);
  const int m = static_cast<int>(c[1][0].re);
  EXPECT_NEAR(c[2][m].re, 2.0, 1e-10);
  EXPECT_NEAR(c[2][m].im, 4.0, 1e-10);
  FreeMatrixC(c);
}

TEST(RKN, NystromStepIsFourthOrder) {
  double *y = Vec({1.0}), *v = Vec({0.0});
  double err[2];
  for (int k = 0; k < 2; ++k) {
    const double h = 0.2 / (1 << k);
    double **r = RKN(Acceleration, nullptr, 0.0, y, v, h);
    err[k] = std::fabs(r[1][1] - std::cos(h)) + std::fabs(r[2][1] + std::sin(h));
    FreeMatrix(r);
  }
  EXPECT_NEAR(std::log2(err[0] / err[1]), 5, 0.3);
  FreeVector(y);
  FreeVector(v);
}

TEST(NumerovIntegrator, HarmonicOscillatorGroundState) {
  // -y''/2 + x^2 y/2 = E y with E = 1/2: y'' = -(1 - x^2) y, y = e^{-x^2/2}.
  auto g = [](double x, void *) { return 1 - x * x; };
  const double h = 0.01, x0 = -6;
  const int n = 1201;
  double *y = NumerovIntegrator(g, nullptr, nullptr, x0, h, n, std::exp(-18.0), std::exp(-0.5 * (x0 + h) * (x0 + h)));
  ASSERT_EQ(y[0], n);
  EXPECT_NEAR(y[601] / 1.0, 1.0, 1e-6);  // x = 0
  EXPECT_NEAR(y[701], std::exp(-0.5), 1e-6);
  FreeVector(y);
  // With a source: y'' = -y + 1 from y = 1 stays 1.
  auto one = [](double, void *) { return 1.0; };
  double *c = NumerovIntegrator(one, one, nullptr, 0, 0.1, 50, 1, 1);
  for (int i = 1; i <= 50; ++i) EXPECT_NEAR(c[i], 1.0, 1e-13);
  FreeVector(c);
  double *few = NumerovIntegrator(g, nullptr, nullptr, 0, 0.1, 1, 3, 4);
  EXPECT_EQ(few[0], 1);
  EXPECT_EQ(few[1], 3);
  FreeVector(few);
}

TEST(LODE1, LinearFirstOrderEquations) {
  // y' = -2x y + x, y(0) = 0: y = (1 - e^{-x^2}) / 2.
  double **r = LODE1([](double x) { return -2 * x; }, [](double x) { return x; }, 0.0, 2.0, 0.0, 21);
  ASSERT_EQ(r[1][0], 21);
  EXPECT_EQ(r[1][21], 2.0);
  for (int i = 1; i <= 21; ++i) EXPECT_NEAR(r[2][i], 0.5 * (1 - std::exp(-r[1][i] * r[1][i])), 1e-10) << i;
  FreeMatrix(r);
  Complex **c = LODE1C([](double) { return Complex{0, 1}; }, [](double) { return Complex{0, 0}; }, 0.0, kPi, Complex{1, 0},
                       11);
  EXPECT_NEAR(c[2][11].re, -1.0, 1e-10);
  EXPECT_NEAR(c[2][11].im, 0.0, 1e-10);
  FreeMatrixC(c);
  double **none = LODE1(nullptr, nullptr, 0, 1, 0, 5);
  EXPECT_EQ(none[1][0], 0);
  FreeMatrix(none);
}

}  // namespace
