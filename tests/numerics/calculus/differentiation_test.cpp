// Numerical derivatives of functions and samples, and vector calculus.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "libquorvex.h"

namespace {

const double kPi = 3.141592653589793;

double *Vec(std::initializer_list<double> xs) {
  double *v = Vector(static_cast<int32_t>(xs.size()));
  int i = 1;
  for (double x : xs) v[i++] = x;
  return v;
}

double Cube(double x) { return x * x * x; }
double Exp(double x) { return std::exp(x); }
double Sin(double x) { return std::sin(x); }

TEST(Derivative, RiddersExtrapolationOnSmoothFunctions) {
  const struct {
    RealFn f;
    double x, first, second;
  } cases[] = {{Sin, 0.7, std::cos(0.7), -std::sin(0.7)},
               {Exp, -3.0, std::exp(-3.0), std::exp(-3.0)},
               {Cube, 2.0, 12.0, 12.0},
               {Cube, 1e5, 3e10, 6e5}};
  for (const auto &c : cases) {
    EXPECT_NEAR(Derivative(c.f, c.x, 0), c.first, 1e-10 * std::max(1.0, std::fabs(c.first))) << c.x;
    EXPECT_NEAR(Derivative2(c.f, c.x, 0), c.second, 1e-7 * std::max(1.0, std::fabs(c.second))) << c.x;
  }
  double k = 3;
  auto scaled = [](double x, void *p) { return std::sin(*static_cast<double *>(p) * x); };
  EXPECT_NEAR(DerivativeP(scaled, &k, 0.2, 0.1), 3 * std::cos(0.6), 1e-10);
  EXPECT_NEAR(Derivative2P(scaled, &k, 0.2, 0.1), -9 * std::sin(0.6), 1e-7);
  double *xs = Vec({0.0, 1.0, 2.0});
  double *d2 = Derivative2PV(scaled, &k, xs, 0);
  for (int i = 1; i <= 3; ++i) EXPECT_NEAR(d2[i], -9 * std::sin(3 * xs[i]), 1e-6);
  FreeVector(d2);
  FreeVector(xs);
  EXPECT_TRUE(std::isnan(Derivative(Sin, NAN, 0)));
}

TEST(DerivativeN, CentralDifferencesOfHigherOrder) {
  EXPECT_NEAR(DerivativeN(Exp, 0.5, 0, 0), std::exp(0.5), 0);
  EXPECT_NEAR(DerivativeN(Exp, 0.5, 1, 0), std::exp(0.5), 1e-9);
  EXPECT_NEAR(DerivativeN(Exp, 0.5, 3, 0), std::exp(0.5), 1e-5);
  EXPECT_NEAR(DerivativeN(Sin, 0.3, 4, 0), std::sin(0.3), 1e-4);
  EXPECT_TRUE(std::isnan(DerivativeN(Exp, 0, 13, 0)));
  EXPECT_TRUE(std::isnan(DerivativeN(Exp, 0, -1, 0)));
}

TEST(DerivativeWeights, FornbergStencils) {
  double *three = Vec({-1, 0, 1}), *five = Vec({-2, -1, 0, 1, 2}), *uneven = Vec({0, 1, 3});
  const struct {
    double *nodes;
    int order;
    double x0;
    std::vector<double> want;
  } cases[] = {{three, 1, 0, {-0.5, 0, 0.5}},
               {three, 2, 0, {1, -2, 1}},
               {five, 1, 0, {1.0 / 12, -2.0 / 3, 0, 2.0 / 3, -1.0 / 12}},
               {three, 1, -1, {-1.5, 2, -0.5}},  // one-sided at an end
               {uneven, 2, 1, {2.0 / 3, -1, 1.0 / 3}},
               {three, 3, 0, {0, 0, 0}}};  // beyond what three nodes can give
  for (const auto &c : cases) {
    double *w = DerivativeWeights(c.order, c.nodes, c.x0);
    ASSERT_EQ(w[0], c.want.size());
    for (size_t i = 0; i < c.want.size(); ++i) EXPECT_NEAR(w[i + 1], c.want[i], 1e-14) << c.order << " " << i;
    FreeVector(w);
  }
  for (double *v : {three, five, uneven}) FreeVector(v);
}

TEST(SampledDerivatives, ExactForQuadraticsOnUnevenGrids) {
  const std::vector<double> xs = {-1, -0.7, -0.1, 0.0, 0.4, 1.3, 1.35, 2};
  const int n = static_cast<int>(xs.size());
  double **s = Matrix(2, n);
  Complex **c = MatrixC(2, n);
  for (int i = 1; i <= n; ++i) {
    const double x = xs[i - 1];
    s[1][i] = x;
    s[2][i] = 2 * x * x - 3 * x + 1;
    c[1][i] = Complex{x, 0};
    c[2][i] = Complex{x * x, -x};
  }
  double **d = Derivative1D(s);
  double *g = Gradient1D(s), *l = Laplacian1D(s);
  Complex **dc = Derivative1DC(c);
  Complex *gc = Gradient1DC(c), *lc = Laplacian1DC(c);
  for (int i = 1; i <= n; ++i) {
    const double x = xs[i - 1];
    EXPECT_EQ(d[1][i], x);
    EXPECT_NEAR(d[2][i], 4 * x - 3, 1e-12) << i;
    EXPECT_NEAR(g[i], 4 * x - 3, 1e-12) << i;
    EXPECT_NEAR(l[i], 4, 1e-10) << i;
    EXPECT_NEAR(dc[2][i].re, 2 * x, 1e-12);
    EXPECT_NEAR(gc[i].im, -1, 1e-12);
    EXPECT_NEAR(lc[i].re, 2, 1e-10);
    EXPECT_NEAR(lc[i].im, 0, 1e-10);
  }
  FreeMatrix(d);
  FreeMatrixC(dc);
  FreeVector(g);
  FreeVector(l);
  FreeVectorC(gc);
  FreeVectorC(lc);
  FreeMatrix(s);
  FreeMatrixC(c);
  // Tiny sets: no out-of-range stencil.
  double **two = Matrix(2, 2);
  two[1][1] = 0, two[1][2] = 2, two[2][1] = 1, two[2][2] = 5;
  double *g2 = Gradient1D(two), *l2 = Laplacian1D(two);
  EXPECT_EQ(g2[1], 2.0);
  EXPECT_EQ(l2[2], 0.0);
  FreeVector(g2);
  FreeVector(l2);
  FreeMatrix(two);
  double **empty = Matrix(2, 0);
  double *ge = Gradient1D(empty);
  EXPECT_EQ(ge[0], 0);
  FreeVector(ge);
  FreeMatrix(empty);
}

TEST(PeriodicDerivatives, CyclicDifferencesAndSpectral) {
  for (int n : {16, 15, 64}) {  // radix-2 and direct transforms
    const double period = 3.0;
    double *v = Vector(n);
    for (int i = 1; i <= n; ++i) {
      const double x = period * (i - 1) / n;
      v[i] = std::sin(2 * kPi * 2 * x / period) + 0.5 * std::cos(2 * kPi * x / period);
    }
    double *spectral = DerivativeSpectral(v, period), *cyclic = DerivativeDCyclic(v, period / n);
    for (int i = 1; i <= n; ++i) {
      const double x = period * (i - 1) / n;
      const double want = 4 * kPi / period * std::cos(4 * kPi * x / period) - kPi / period * std::sin(2 * kPi * x / period);
      EXPECT_NEAR(spectral[i], want, 1e-12) << n << " " << i;
      // Fourth-order differences: error about (k h)^4 / 30 relative.
      const double tol = n == 64 ? 1e-3 : 0.1;
      EXPECT_NEAR(cyclic[i], want, tol) << n << " " << i;
    }
    for (double *p : {v, spectral, cyclic}) FreeVector(p);
  }
  double *empty = Vector(0);
  double *e = DerivativeSpectral(empty, 1);
  EXPECT_EQ(e[0], 0);
  FreeVector(e);
  FreeVector(empty);
}

// f(x, y) = x^2 y + y^2 on an uneven grid: every partial derivative up to
// second order is exact under three-point stencils.
double ***PolynomialGrid() {
  const double xs[] = {-1, -0.4, 0, 0.3, 1.1, 2}, ys[] = {0, 0.2, 0.25, 0.9, 1.4};
  double ***set = MatrixVector2D(6, 5);
  for (int j = 1; j <= 6; ++j) set[2][1][j] = xs[j - 1];
  for (int i = 1; i <= 5; ++i) set[3][1][i] = ys[i - 1];
  for (int j = 1; j <= 6; ++j)
    for (int i = 1; i <= 5; ++i) set[1][j][i] = xs[j - 1] * xs[j - 1] * ys[i - 1] + ys[i - 1] * ys[i - 1];
  return set;
}

TEST(GridDerivatives, PartialsOfAPolynomial) {
  double ***set = PolynomialGrid();
  const double *xs = set[2][1], *ys = set[3][1];
  const struct {
    double ***(*op)(double ***);
    double (*want)(double x, double y);
    double tol;
  } cases[] = {
      {PartialDerivativeX2D, [](double x, double y) { return 2 * x * y; }, 1e-12},
      {PartialDerivative2X2D, [](double, double y) { return 2 * y; }, 1e-11},
      {PartialDerivativeMixed2D, [](double x, double) { return 2 * x; }, 1e-11},
      {PartialDerivativeY2D, [](double x, double y) { return x * x + 2 * y; }, 1e-12},
      {PartialDerivative2Y2D, [](double, double) { return 2.0; }, 1e-11},
      {Laplacian2D, [](double, double y) { return 2 * y + 2; }, 1e-11},
  };
  for (const auto &c : cases) {
    double ***r = c.op(set);
    ASSERT_NE(r, nullptr);
    ASSERT_EQ(r[2][1][0], 6);
    ASSERT_EQ(r[3][1][5], ys[5]);
    for (int j = 1; j <= 6; ++j)
      for (int i = 1; i <= 5; ++i) EXPECT_NEAR(r[1][j][i], c.want(xs[j], ys[i]), c.tol) << j << " " << i;
    FreeMatrixVector(r);
  }
  double ***g = Gradient2D(set);
  EXPECT_NEAR(g[1][3][2], 2 * xs[3] * ys[2], 1e-12);
  FreeMatrixVector(g);
  double ***bad = Derivative2D(set, 3, 0);  // unsupported order: an empty set
  ASSERT_NE(bad, nullptr);
  EXPECT_EQ(bad[2][1][0], 0);
  FreeMatrixVector(bad);
  FreeMatrixVector(set);
}

TEST(GridDerivatives, CyclicWrapsBothDirections) {
  const int nx = 32, ny = 24;
  double ***set = MatrixVector2D(nx, ny);
  for (int j = 1; j <= nx; ++j) set[2][1][j] = 2 * kPi * (j - 1) / nx;
  for (int i = 1; i <= ny; ++i) set[3][1][i] = 2 * kPi * (i - 1) / ny;
  for (int j = 1; j <= nx; ++j)
    for (int i = 1; i <= ny; ++i) set[1][j][i] = std::sin(set[2][1][j]) * std::cos(set[3][1][i]);
  double ***r = Derivative2DCyclic(set, 1, 1);
  for (int j = 1; j <= nx; ++j)
    for (int i = 1; i <= ny; ++i)
      EXPECT_NEAR(r[1][j][i], -std::cos(set[2][1][j]) * std::sin(set[3][1][i]), 2e-3) << j << " " << i;
  FreeMatrixVector(r);
  FreeMatrixVector(set);
}

// Fields used below. Points are Vectors of length 3.
double ScalarXY(const double *r, void *) { return r[1] * r[1] * r[2] + r[3]; }
void Swirl(const double *r, double *out, void *) {  // (-y, x, 0)
  out[1] = -r[2];
  out[2] = r[1];
  out[3] = 0;
}
void Radial(const double *r, double *out, void *) {
  for (int i = 1; i <= 3; ++i) out[i] = r[i];
}

TEST(VectorCalculus, CartesianOperators) {
  double *p = Vec({1.5, -2.0, 0.5});
  double *g = Grad(ScalarXY, nullptr, p, 0);
  EXPECT_NEAR(g[1], 2 * 1.5 * -2.0, 1e-9);
  EXPECT_NEAR(g[2], 1.5 * 1.5, 1e-9);
  EXPECT_NEAR(g[3], 1.0, 1e-9);
  double *c = Curl(Swirl, nullptr, p, 0);
  EXPECT_NEAR(c[1], 0, 1e-9);
  EXPECT_NEAR(c[2], 0, 1e-9);
  EXPECT_NEAR(c[3], 2, 1e-9);
  EXPECT_NEAR(Div(Swirl, nullptr, p, 0), 0, 1e-9);
  EXPECT_NEAR(Div(Radial, nullptr, p, 0), 3, 1e-9);
  EXPECT_NEAR(Lapl(ScalarXY, nullptr, p, 0), 2 * -2.0, 1e-6);
  for (double *v : {p, g, c}) FreeVector(v);
  double *flat = Vec({1, 2});
  double *nc = Curl(Swirl, nullptr, flat, 0);  // curl needs three dimensions
  EXPECT_EQ(nc[0], 0);
  FreeVector(nc);
  FreeVector(flat);
}

// In cylindrical (rho, phi, z) and spherical (r, theta, phi) coordinates.
double RhoSquared(const double *r, void *) { return r[1] * r[1]; }
double SphScalar(const double *r, void *) { return r[1] * r[1] * std::cos(r[2]); }  // r^2 cos(theta) = r z
void CylRotationAt(const double *r, double *out, void *) {
  out[1] = 0;
  out[2] = r[1];
  out[3] = 0;
}
void SphRotation(const double *r, double *out, void *) {  // z x r in spherical: phi-component r sin(theta)
  out[1] = 0;
  out[2] = 0;
  out[3] = r[1] * std::sin(r[2]);
}
void SphRadial(const double *r, double *out, void *) {
  out[1] = r[1] * r[1];
  out[2] = 0;
  out[3] = 0;
}

TEST(VectorCalculus, CurvilinearOperators) {
  double *cyl = Vec({2.0, 0.7, -1.0});
  double *sph = Vec({1.5, 0.9, 0.4});
  EXPECT_NEAR(LaplCyl(RhoSquared, nullptr, cyl, 0), 4.0, 1e-6);
  double *gc = GradCyl(RhoSquared, nullptr, cyl, 0);
  EXPECT_NEAR(gc[1], 4.0, 1e-9);
  EXPECT_NEAR(gc[2], 0.0, 1e-9);
  double *cc = CurlCyl(CylRotationAt, nullptr, cyl, 0);
  EXPECT_NEAR(cc[3], 2.0, 1e-9);
  EXPECT_NEAR(DivCyl(CylRotationAt, nullptr, cyl, 0), 0.0, 1e-9);
  // r^2 cos(theta): gradient (2 r cos t, -r sin t, 0), Laplacian 4 cos(theta).
  const double r = sph[1], t = sph[2];
  double *gs = GradSph(SphScalar, nullptr, sph, 0);
  EXPECT_NEAR(gs[1], 2 * r * std::cos(t), 1e-9);
  EXPECT_NEAR(gs[2], -r * std::sin(t), 1e-9);
  EXPECT_NEAR(gs[3], 0, 1e-9);
  EXPECT_NEAR(LaplSph(SphScalar, nullptr, sph, 0), 4 * std::cos(t), 1e-6);
  EXPECT_NEAR(DivSph(SphRadial, nullptr, sph, 0), 4 * r, 1e-9);
  double *cs = CurlSph(SphRotation, nullptr, sph, 0);  // curl = 2 z-hat
  EXPECT_NEAR(cs[1], 2 * std::cos(t), 1e-9);
  EXPECT_NEAR(cs[2], -2 * std::sin(t), 1e-9);
  EXPECT_NEAR(cs[3], 0, 1e-9);
  for (double *v : {cyl, sph, gc, cc, gs, cs}) FreeVector(v);
}

void Circle(double t, double *r, void *) {
  r[1] = std::cos(t);
  r[2] = std::sin(t);
}
void SwirlPlane(const double *r, double *out, void *) {
  out[1] = -r[2];
  out[2] = r[1];
}
void Sphere(double u, double v, double *r, void *) {  // u polar, v azimuth
  r[1] = std::sin(u) * std::cos(v);
  r[2] = std::sin(u) * std::sin(v);
  r[3] = std::cos(u);
}
double One(const double *, void *) { return 1.0; }

TEST(VectorCalculus, LineAndSurfaceIntegrals) {
  EXPECT_NEAR(IntegralPath(SwirlPlane, Circle, nullptr, 2, 0, 2 * kPi, 20), 2 * kPi, 1e-9);
  EXPECT_NEAR(IntegralPath(SwirlPlane, Circle, nullptr, 2, 2 * kPi, 0, 20), -2 * kPi, 1e-9);
  EXPECT_NEAR(IntegralSurfaceS(One, Sphere, nullptr, 0, kPi, 0, 2 * kPi, 20), 4 * kPi, 1e-8);
  // Flux of r through the unit sphere: 3 times its volume.
  EXPECT_NEAR(IntegralSurfaceV(Radial, Sphere, nullptr, 0, kPi, 0, 2 * kPi, 20), 4 * kPi, 1e-8);
  EXPECT_EQ(IntegralPath(SwirlPlane, Circle, nullptr, 0, 0, 1, 5), 0.0);
}

}  // namespace
