// Interpolation, smoothing, cropping and sampling members, against closed
// forms: every interpolant must reproduce the polynomials of its degree
// exactly, every grid must hit its ends, and every member must give an
// empty result, not a crash, for null, empty and malformed input.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include "libquorvex.h"

namespace {

struct Globals : ::testing::Environment {
  void SetUp() override { InitializeGlobals(nullptr, 0); }
  void TearDown() override { TerminateGlobals(); }
};
const auto *kGlobals = ::testing::AddGlobalTestEnvironment(new Globals);

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.141592653589793;

struct VecFree { void operator()(double *v) const { FreeVector(v); } };
struct VecCFree { void operator()(Complex *v) const { FreeVectorC(v); } };
struct VecLFree { void operator()(int32_t *v) const { FreeVectorL(v); } };
struct MatFree { void operator()(double **m) const { FreeMatrix(m); } };
struct MatCFree { void operator()(Complex **m) const { FreeMatrixC(m); } };
struct MatLFree { void operator()(int32_t **m) const { FreeMatrixL(m); } };
struct MVFree { void operator()(double ***m) const { FreeMatrixVector(m); } };
struct MVCFree { void operator()(Complex ***m) const { FreeMatrixVectorC(m); } };
using Vec = std::unique_ptr<double, VecFree>;
using VecC = std::unique_ptr<Complex, VecCFree>;
using VecL = std::unique_ptr<int32_t, VecLFree>;
using Mat = std::unique_ptr<double *, MatFree>;
using MatC = std::unique_ptr<Complex *, MatCFree>;
using MatL = std::unique_ptr<int32_t *, MatLFree>;
using MV = std::unique_ptr<double **, MVFree>;
using MVC = std::unique_ptr<Complex **, MVCFree>;

int Len(const double *v) { return static_cast<int>(v[0]); }
int Len(const Complex *v) { return static_cast<int>(v[0].re); }
int Cols(double **m) { return static_cast<int>(m[0][0]); }

Vec MakeVector(const std::vector<double> &values) {
  Vec v(Vector(static_cast<int32_t>(values.size())));
  for (size_t i = 0; i < values.size(); ++i) v.get()[i + 1] = values[i];
  return v;
}

// A 1D set of f at the given abscissas.
Mat MakeSet(const std::vector<double> &x, const std::function<double(double)> &f) {
  Mat s(Matrix(2, static_cast<int32_t>(x.size())));
  for (size_t i = 0; i < x.size(); ++i) {
    s.get()[1][i + 1] = x[i];
    s.get()[2][i + 1] = f(x[i]);
  }
  return s;
}

// A 2D set of f on the given axes.
MV MakeSet2D(const std::vector<double> &x, const std::vector<double> &y,
             const std::function<double(double, double)> &f) {
  MV s(MatrixVector2D(static_cast<int32_t>(x.size()), static_cast<int32_t>(y.size())));
  for (size_t j = 0; j < x.size(); ++j) s.get()[2][1][j + 1] = x[j];
  for (size_t i = 0; i < y.size(); ++i) s.get()[3][1][i + 1] = y[i];
  for (size_t j = 0; j < x.size(); ++j)
    for (size_t i = 0; i < y.size(); ++i) s.get()[1][j + 1][i + 1] = f(x[j], y[i]);
  return s;
}

const std::vector<double> kUneven = {-1.0, -0.7, -0.1, 0.3, 0.35, 0.9, 1.6, 2.0};

// ---- exactness on polynomials ------------------------------------------------------------

TEST(Interpolants, ReproduceThePolynomialsOfTheirDegree) {
  struct Row {
    const char *name;
    double (*eval)(double **, double);
    int degree;
  };
  const Row rows[] = {{"linear", LinearInterpolation1, 1},
                      {"parabolic", ParabolicInterpolation1, 2},
                      {"cubic", CubicInterpolation1, 3},
                      {"lagrange", Lagrange, 7}};
  for (const Row &r : rows) {
    auto f = [&](double x) { return std::pow(x - 0.2, r.degree) - 2.0 * x + 1.0; };
    Mat s = MakeSet(kUneven, f);
    // Inside, on the nodes, at the ends and (extended end pieces) outside.
    for (double x : {-1.0, -0.95, -0.4, 0.0, 0.33, 0.9, 1.2, 1.99, 2.0, -1.5, 2.5}) {
      EXPECT_NEAR(r.eval(s.get(), x), f(x), 1e-11 * (1 + std::fabs(f(x)))) << r.name << " at " << x;
    }
    EXPECT_TRUE(std::isnan(r.eval(s.get(), kNaN))) << r.name;
  }
}

TEST(Interpolants, ParabolaThroughThreePointsAndItsVertex) {
  // y = 2 (x - 1.5)^2 - 3 through three uneven points.
  auto f = [](double x) { return 2.0 * (x - 1.5) * (x - 1.5) - 3.0; };
  EXPECT_NEAR(ParabolicInterpolation11(0.0, f(0.0), 1.0, f(1.0), 4.0, f(4.0), 2.5), f(2.5), 1e-13);
  double y = 0.0;
  EXPECT_NEAR(ParabolicExtremum(0.0, f(0.0), 1.0, f(1.0), 4.0, f(4.0), &y), 1.5, 1e-13);
  EXPECT_NEAR(y, -3.0, 1e-13);
  // Order of the points does not matter.
  EXPECT_NEAR(ParabolicExtremum(4.0, f(4.0), 0.0, f(0.0), 1.0, f(1.0), nullptr), 1.5, 1e-13);
  // Collinear and coincident points have no vertex.
  EXPECT_TRUE(std::isnan(ParabolicExtremum(0.0, 1.0, 1.0, 2.0, 2.0, 3.0, &y)));
  EXPECT_TRUE(std::isnan(y));
  EXPECT_TRUE(std::isnan(ParabolicExtremum(1.0, 1.0, 1.0, 2.0, 1.0, 3.0, nullptr)));
}

TEST(Interpolants, ResampledSetsSpanTheAbscissasAndStayExact) {
  auto line = [](double x) { return 3.0 * x - 1.0; };
  Mat lineSet = MakeSet(kUneven, line), quadSet = MakeSet(kUneven, [](double x) { return x * x - x; });
  struct Row {
    const char *name;
    double **(*resample)(double **, int32_t);
    double **set;
    double (*f)(double);
  };
  const Row rows[] = {
      {"linear", LinearInterpolation1D, lineSet.get(), [](double x) { return 3.0 * x - 1.0; }},
      {"spline", SplineInterpolation, lineSet.get(), [](double x) { return 3.0 * x - 1.0; }},
      {"parabolic", ParabolicInterpolation1D, quadSet.get(), [](double x) { return x * x - x; }},
  };
  for (const Row &r : rows) {
    for (int32_t n : {1, 2, 7, 50}) {
      Mat out(r.resample(r.set, n));
      ASSERT_EQ(Cols(out.get()), 2);
      ASSERT_EQ(Len(out.get()[1]), n) << r.name;
      EXPECT_EQ(out.get()[1][1], -1.0);
      if (n > 1) {
        EXPECT_EQ(out.get()[1][n], 2.0) << r.name;
      }
      for (int32_t i = 1; i <= n; ++i)
        EXPECT_NEAR(out.get()[2][i], r.f(out.get()[1][i]), 1e-12) << r.name << " n=" << n << " i=" << i;
    }
  }
  // At given abscissas.
  Vec at = MakeVector({-2.0, 0.0, 0.31, 1.7, 3.0});
  Mat pts(LinearInterpolationPts1D(lineSet.get(), at.get()));
  Mat spl(SplineInterpolationPts(lineSet.get(), at.get()));
  for (int i = 1; i <= 5; ++i) {
    EXPECT_EQ(pts.get()[1][i], at.get()[i]);
    EXPECT_NEAR(pts.get()[2][i], line(at.get()[i]), 1e-12);
    EXPECT_NEAR(spl.get()[2][i], line(at.get()[i]), 1e-12);
  }
}

TEST(Interpolants, ComplexSetsInterpolateBothParts) {
  MatC s(MatrixC(2, 4));
  const double xs[] = {0.0, 1.0, 3.0, 4.0};
  for (int i = 1; i <= 4; ++i) s.get()[1][i] = {xs[i - 1], 0.0}, s.get()[2][i] = {2.0 * xs[i - 1], 1.0 - xs[i - 1]};
  const Complex z = LinearInterpolation1C(s.get(), 2.5);
  EXPECT_DOUBLE_EQ(z.re, 5.0);
  EXPECT_DOUBLE_EQ(z.im, -1.5);
  MatC out(LinearInterpolation1DC(s.get(), 9));
  ASSERT_EQ(Len(out.get()[1]), 9);
  for (int i = 1; i <= 9; ++i) {
    const double x = 0.5 * (i - 1);
    EXPECT_DOUBLE_EQ(out.get()[1][i].re, x);
    EXPECT_NEAR(out.get()[2][i].re, 2.0 * x, 1e-14);
    EXPECT_NEAR(out.get()[2][i].im, 1.0 - x, 1e-14);
  }
  Vec at = MakeVector({0.5, 3.5});
  MatC pts(LinearInterpolationPts1DC(s.get(), at.get()));
  EXPECT_NEAR(pts.get()[2][2].im, -2.5, 1e-14);
}

// ---- index domain ----------------------------------------------------------------------------

TEST(IndexDomain, VectorsKeepBothEndsAndLines) {
  Vec v = MakeVector({1.0, 3.0, 5.0, 7.0});  // 2k - 1
  for (int32_t n : {1, 2, 4, 7, 13}) {
    Vec lin(LinearInterpolationV(v.get(), n));
    Vec spl(SplineInterpolationV(v.get(), n));
    ASSERT_EQ(Len(lin.get()), n);
    ASSERT_EQ(Len(spl.get()), n);
    for (int32_t k = 1; k <= n; ++k) {
      const double t = n == 1 ? 1.0 : 1.0 + (k - 1) * 3.0 / (n - 1);
      EXPECT_NEAR(lin.get()[k], 2.0 * t - 1.0, 1e-13) << n;
      EXPECT_NEAR(spl.get()[k], 2.0 * t - 1.0, 1e-13) << n;
    }
  }
  VecC c(VectorC(3));
  for (int k = 1; k <= 3; ++k) c.get()[k] = {static_cast<double>(k), -static_cast<double>(k)};
  VecC up(LinearInterpolationVC(c.get(), 5));
  ASSERT_EQ(Len(up.get()), 5);
  EXPECT_DOUBLE_EQ(up.get()[2].re, 1.5);
  EXPECT_DOUBLE_EQ(up.get()[4].im, -2.5);
  // A single sample is constant.
  Vec one = MakeVector({4.0});
  Vec wide(LinearInterpolationV(one.get(), 3));
  EXPECT_EQ(wide.get()[3], 4.0);
}

TEST(IndexDomain, MatricesResampleAlongTheRightAxis) {
  // m[j][i] = 10 j + i: bilinear, so every linear and Catmull-Rom resample is exact.
  Mat m(Matrix(3, 4));
  for (int j = 1; j <= 3; ++j)
    for (int i = 1; i <= 4; ++i) m.get()[j][i] = 10.0 * j + i;
  auto expect = [](double **out, int cols, int rows, double c, double r, const char *what) {
    ASSERT_EQ(Cols(out), cols) << what;
    ASSERT_EQ(Len(out[1]), rows) << what;
    for (int j = 1; j <= cols; ++j)
      for (int i = 1; i <= rows; ++i) {
        const double a = cols == 1 ? 1 : 1 + (j - 1) * (c - 1) / (cols - 1);
        const double b = rows == 1 ? 1 : 1 + (i - 1) * (r - 1) / (rows - 1);
        EXPECT_NEAR(out[j][i], 10.0 * a + b, 1e-12) << what << " " << j << "," << i;
      }
  };
  Mat a(LinearInterpolationM(m.get(), 5, 7));
  expect(a.get(), 5, 7, 3, 4, "M");
  Mat b(LinearInterpolationCols(m.get(), 7));
  expect(b.get(), 3, 7, 3, 4, "Cols");
  Mat c(LinearInterpolationRows(m.get(), 5));
  expect(c.get(), 5, 4, 3, 4, "Rows");
  Mat d(SplineInterpolationCols(m.get(), 10));
  expect(d.get(), 3, 10, 3, 4, "SplineCols");
  Mat e(BicubicInterpolationM(m.get(), 6, 9));
  expect(e.get(), 6, 9, 3, 4, "Bicubic");

  MatL l(MatrixL(2, 2));
  l.get()[1][1] = 0, l.get()[1][2] = 10, l.get()[2][1] = 20, l.get()[2][2] = 31;
  MatL li(LinearInterpolationML(l.get(), 3, 3));
  EXPECT_EQ(li.get()[2][2], 15);  // 15.25 rounded
  EXPECT_EQ(li.get()[3][3], 31);
}

TEST(IndexDomain, ProximalTakesTheNearestElement) {
  Mat m(Matrix(2, 3));
  for (int j = 1; j <= 2; ++j)
    for (int i = 1; i <= 3; ++i) m.get()[j][i] = 10.0 * j + i;
  Mat h(ProximalInterpolationMH(m.get(), 4));  // columns at 1, 4/3, 5/3, 2
  ASSERT_EQ(Cols(h.get()), 4);
  ASSERT_EQ(Len(h.get()[1]), 3);
  const double firstRow[] = {11, 11, 21, 21};
  for (int j = 1; j <= 4; ++j) EXPECT_EQ(h.get()[j][1], firstRow[j - 1]);
  Mat v(ProximalInterpolationMV(m.get(), 5));  // rows at 1, 1.5, 2, 2.5, 3
  ASSERT_EQ(Len(v.get()[1]), 5);
  const double column[] = {11, 12, 12, 13, 13};
  for (int i = 1; i <= 5; ++i) EXPECT_EQ(v.get()[1][i], column[i - 1]);
}

// ---- bicubic ------------------------------------------------------------------------------------

TEST(Bicubic, CellReproducesBicubicPolynomials) {
  // f = x^3 y^2 - 2 x y^3 + x^2 + y, a bicubic polynomial: exact from its
  // exact corner derivatives on any cell.
  auto f = [](double x, double y) { return x * x * x * y * y - 2 * x * y * y * y + x * x + y; };
  auto fx = [](double x, double y) { return 3 * x * x * y * y - 2 * y * y * y + 2 * x; };
  auto fy = [](double x, double y) { return 2 * x * x * x * y - 6 * x * y * y + 1; };
  auto fxy = [](double x, double y) { return 6 * x * x * y - 6 * y * y; };
  const double xl = 0.5, xu = 1.75, yl = -1.0, yu = 0.25;
  const double cx[4] = {xl, xu, xu, xl}, cy[4] = {yl, yl, yu, yu};
  Vec y(Vector(4)), y1(Vector(4)), y2(Vector(4)), y12(Vector(4));
  for (int k = 0; k < 4; ++k) {
    y.get()[k + 1] = f(cx[k], cy[k]);
    y1.get()[k + 1] = fx(cx[k], cy[k]);
    y2.get()[k + 1] = fy(cx[k], cy[k]);
    y12.get()[k + 1] = fxy(cx[k], cy[k]);
  }
  for (double px : {0.5, 0.8, 1.3, 1.75})
    for (double py : {-1.0, -0.6, 0.1}) {
      double g1 = 0, g2 = 0;
      const double v = BicubicInterpolation(y.get(), y1.get(), y2.get(), y12.get(), xl, xu, yl, yu, px, py, &g1, &g2);
      EXPECT_NEAR(v, f(px, py), 1e-12);
      EXPECT_NEAR(g1, fx(px, py), 1e-11);
      EXPECT_NEAR(g2, fy(px, py), 1e-11);
    }
  Mat c(BicubicCoefficients(y.get(), y1.get(), y2.get(), y12.get(), xu - xl, yu - yl));
  ASSERT_EQ(Cols(c.get()), 4);
  EXPECT_NEAR(c.get()[1][1], f(xl, yl), 1e-13);  // constant term: the lower-left corner
  // A degenerate cell has no value.
  EXPECT_TRUE(std::isnan(BicubicInterpolation(y.get(), y1.get(), y2.get(), y12.get(), 1, 1, 0, 1, 1, 0.5, nullptr, nullptr)));
}

TEST(Bicubic, SquareIsExactForQuadratics) {
  auto f = [](double x, double y) { return x * x - 3 * x * y + 2 * y * y - x + 4; };
  Mat p(Matrix(4, 4));
  for (int j = 1; j <= 4; ++j)
    for (int i = 1; i <= 4; ++i) p.get()[j][i] = f(j - 2.0, i - 2.0);
  for (double x : {0.0, 0.3, 1.0})
    for (double y : {0.0, 0.55, 1.0}) EXPECT_NEAR(BicubicInterpolationSquare(p.get(), x, y), f(x, y), 1e-12);
}

// ---- two-dimensional sets ---------------------------------------------------------------------

TEST(Sets2D, BilinearAndSplineReproduceBilinearFunctions) {
  auto f = [](double x, double y) { return 1.0 + 2.0 * x - y + 0.5 * x * y; };
  MV s = MakeSet2D({0.0, 0.5, 2.0, 3.0}, {-1.0, 0.0, 1.5}, f);
  EXPECT_NEAR(LinearInterpolation2D1(s.get(), 1.2, 0.7), f(1.2, 0.7), 1e-13);
  EXPECT_NEAR(LinearInterpolation2D1(s.get(), 3.5, -2.0), f(3.5, -2.0), 1e-12);  // extended edge cell
  for (auto resample : {LinearInterpolation2D, SplineInterpolation2D}) {
    MV out(resample(s.get(), 5, 4));
    ASSERT_EQ(Len(out.get()[2][1]), 5);
    ASSERT_EQ(Len(out.get()[3][1]), 4);
    EXPECT_EQ(out.get()[2][1][5], 3.0);
    EXPECT_EQ(out.get()[3][1][1], -1.0);
    for (int j = 1; j <= 5; ++j)
      for (int i = 1; i <= 4; ++i)
        EXPECT_NEAR(out.get()[1][j][i], f(out.get()[2][1][j], out.get()[3][1][i]), 1e-12);
  }
  Vec xs = MakeVector({0.25, 2.5}), ys = MakeVector({-0.5, 0.0, 1.0});
  MV pts(LinearInterpolationPts2D(s.get(), xs.get(), ys.get()));
  EXPECT_NEAR(pts.get()[1][2][3], f(2.5, 1.0), 1e-13);
  MV crop(Crop2D(s.get(), 2.5, 0.4, -0.5, 2.0));  // bounds in any order
  ASSERT_EQ(Len(crop.get()[2][1]), 2);
  ASSERT_EQ(Len(crop.get()[3][1]), 2);
  EXPECT_EQ(crop.get()[2][1][1], 0.5);
  EXPECT_EQ(crop.get()[3][1][2], 1.5);
  EXPECT_EQ(crop.get()[1][2][1], f(2.0, 0.0));
}

// ---- smoothing --------------------------------------------------------------------------------

TEST(Smoothing, MovingAveragesAndGapFilling) {
  Vec v = MakeVector({1, 2, 6, 2, 1});
  Vec a(AdjacentAveraging(v.get(), 1));
  const double want[] = {1.5, 3.0, 10.0 / 3, 3.0, 1.5};  // windows cut at the ends
  for (int i = 1; i <= 5; ++i) EXPECT_NEAR(a.get()[i], want[i - 1], 1e-14);
  Vec gaps = MakeVector({kNaN, 2, kNaN, kNaN, 8, INFINITY});
  Vec filled(AdjacentInterpolation(gaps.get()));
  const double expect[] = {2, 2, 4, 6, 8, 8};
  for (int i = 1; i <= 6; ++i) EXPECT_DOUBLE_EQ(filled.get()[i], expect[i - 1]);
  VecC c(VectorC(3));
  c.get()[1] = {1, 1}, c.get()[2] = {kNaN, 0}, c.get()[3] = {3, 5};
  VecC cf(AdjacentInterpolationC(c.get()));
  EXPECT_DOUBLE_EQ(cf.get()[2].re, 2.0);
  EXPECT_DOUBLE_EQ(cf.get()[2].im, 3.0);  // both parts of a broken sample are refilled
  MatL m(MatrixL(3, 3));
  for (int j = 1; j <= 3; ++j)
    for (int i = 1; i <= 3; ++i) m.get()[j][i] = (j == 2 && i == 2) ? 9 : 0;
  MatL avg(AdjacentAveragingML(m.get(), 1));
  EXPECT_EQ(avg.get()[2][2], 1);  // 9/9
  EXPECT_EQ(avg.get()[1][1], 2);  // 9/4 rounded
}

TEST(Smoothing, SplineBetweenDataAndStraightLine) {
  // Noisy samples of a parabola; lambda -> 0 keeps the data, lambda -> inf
  // tends to the least-squares line, and a line is never changed.
  std::vector<double> x;
  for (int i = 0; i < 12; ++i) x.push_back(0.3 * i + 0.05 * (i % 3));
  auto noisy = [](double t) { return t * t + 0.1 * std::sin(37.0 * t); };
  Mat s = MakeSet(x, noisy);
  Mat keep(SmoothSpline(s.get(), 1e-12));
  Mat flat(SmoothSpline(s.get(), 1e12));
  double sx = 0, sy = 0, sxx = 0, sxy = 0;
  const int n = static_cast<int>(x.size());
  for (int i = 1; i <= n; ++i) {
    const double a = s.get()[1][i], b = s.get()[2][i];
    sx += a, sy += b, sxx += a * a, sxy += a * b;
  }
  const double slope = (n * sxy - sx * sy) / (n * sxx - sx * sx), icpt = (sy - slope * sx) / n;
  for (int i = 1; i <= n; ++i) {
    EXPECT_NEAR(keep.get()[2][i], s.get()[2][i], 1e-9);
    EXPECT_NEAR(flat.get()[2][i], icpt + slope * s.get()[1][i], 1e-5);
  }
  Mat line = MakeSet(x, [](double t) { return 2.0 - t; });
  Mat same(SmoothSpline(line.get(), 3.0));
  for (int i = 1; i <= n; ++i) EXPECT_NEAR(same.get()[2][i], line.get()[2][i], 1e-12);

  // Complex forms: a rotating phasor keeps its modulus under the polar form.
  MatC c(MatrixC(2, n));
  for (int i = 1; i <= n; ++i) {
    c.get()[1][i] = {x[i - 1], 0};
    c.get()[2][i] = {2 * std::cos(3 * x[i - 1]), 2 * std::sin(3 * x[i - 1])};
  }
  MatC polar(SmoothSplinePolar1DC(c.get(), 5.0));
  MatC rect(SmoothSplineRectangular1DC(c.get(), 1e-12));
  for (int i = 1; i <= n; ++i) {
    EXPECT_NEAR(std::hypot(polar.get()[2][i].re, polar.get()[2][i].im), 2.0, 1e-9);
    EXPECT_NEAR(rect.get()[2][i].im, c.get()[2][i].im, 1e-9);
  }
}

// ---- cropping and down-sampling ----------------------------------------------------------------

TEST(Cropping, CentredCropsKeepTheCentreElement) {
  // Element m/2+1 of m becomes element n/2+1 of n, for all parities.
  for (int m : {5, 6, 7, 8})
    for (int n = 1; n <= m; ++n) {
      Vec v(Vector(m));
      for (int i = 1; i <= m; ++i) v.get()[i] = i;
      Vec c(CropVectorCentered(v.get(), n));
      ASSERT_EQ(Len(c.get()), n);
      EXPECT_EQ(c.get()[n / 2 + 1], m / 2 + 1) << m << " " << n;
    }
  Vec v = MakeVector({1, 2, 3, 4, 5});
  struct Row { int32_t i1, i2, len; double first; };
  for (const Row &r : {Row{2, 4, 3, 2}, Row{-3, 2, 2, 1}, Row{4, 99, 2, 4}, Row{4, 3, 0, 0}, Row{6, 9, 0, 0}}) {
    Vec c(CropVector(v.get(), r.i1, r.i2));
    ASSERT_EQ(Len(c.get()), r.len);
    if (r.len) {
      EXPECT_EQ(c.get()[1], r.first);
    }
  }
  Mat m(Matrix(4, 6));
  for (int j = 1; j <= 4; ++j)
    for (int i = 1; i <= 6; ++i) m.get()[j][i] = 10 * j + i;
  Mat cm(CropMatrixCentered(m.get(), 3, 2));
  ASSERT_EQ(Cols(cm.get()), 3);
  ASSERT_EQ(Len(cm.get()[1]), 2);
  EXPECT_EQ(cm.get()[2][2], 34);  // old centre (3, 4) at new centre (2, 2)
  Mat part(CropMatrix(m.get(), 0, 2, 5, 10));
  ASSERT_EQ(Cols(part.get()), 2);
  ASSERT_EQ(Len(part.get()[1]), 2);
  EXPECT_EQ(part.get()[2][2], 26);
  MatC mc(MatrixC(3, 3));
  for (int j = 1; j <= 3; ++j)
    for (int i = 1; i <= 3; ++i) mc.get()[j][i] = {10.0 * j + i, 0};
  MatC cc(CropMatrixCenteredC(mc.get(), 1, 1));
  EXPECT_EQ(cc.get()[1][1].re, 22);
  VecC vc(VectorC(4));
  for (int i = 1; i <= 4; ++i) vc.get()[i] = {double(i), 0};
  VecC cvc(CropVectorCenteredC(vc.get(), 2));
  EXPECT_EQ(cvc.get()[2].re, 3);
}

// Cropping and down-sampling only move elements, so the complex members
// act on each part as the real members do on it.
TEST(Cropping, ComplexMembersActOnEachPartAsTheRealOnes) {
  const int n = 7;
  Vec re(Vector(n)), im(Vector(n));
  VecC vc(VectorC(n));
  for (int i = 1; i <= n; ++i) {
    re.get()[i] = 0.1 * i * i - 1.3;
    im.get()[i] = std::sin(0.7 * i);
    vc.get()[i] = {re.get()[i], im.get()[i]};
  }
  auto sameParts = [](const Complex *c, const double *a, const double *b) {
    ASSERT_EQ(Len(c), Len(a));
    for (int i = 1; i <= Len(a); ++i) {
      EXPECT_EQ(c[i].re, a[i]) << i;
      EXPECT_EQ(c[i].im, b[i]) << i;
    }
  };
  struct Window { int32_t i1, i2; };
  for (const Window &w : {Window{1, 7}, Window{3, 5}, Window{-2, 4}, Window{6, 12}, Window{5, 2}}) {
    VecC c(CropVectorC(vc.get(), w.i1, w.i2));
    Vec a(CropVector(re.get(), w.i1, w.i2)), b(CropVector(im.get(), w.i1, w.i2));
    sameParts(c.get(), a.get(), b.get());
  }
  for (int32_t factor : {1, 2, 3, 9, 0}) {
    VecC c(DownSampleVC(vc.get(), factor));
    Vec a(DownSampleV(re.get(), factor)), b(DownSampleV(im.get(), factor));
    sameParts(c.get(), a.get(), b.get());
  }
  Mat mre(Matrix(3, 5)), mim(Matrix(3, 5));
  MatC mc(MatrixC(3, 5));
  for (int j = 1; j <= 3; ++j)
    for (int i = 1; i <= 5; ++i) {
      mre.get()[j][i] = 10.0 * j + i;
      mim.get()[j][i] = -0.5 * j * i;
      mc.get()[j][i] = {mre.get()[j][i], mim.get()[j][i]};
    }
  auto sameMatrix = [&](Complex **c, double **a, double **b) {
    ASSERT_EQ(Cols(a), static_cast<int>(c[0][0].re));
    for (int j = 1; j <= Cols(a); ++j) sameParts(c[j], a[j], b[j]);
  };
  for (int32_t factor : {1, 2, 4, 0}) {
    MatC c(DownSampleColsC(mc.get(), factor));
    Mat a(DownSampleCols(mre.get(), factor)), b(DownSampleCols(mim.get(), factor));
    sameMatrix(c.get(), a.get(), b.get());
  }
  struct Box { int32_t c1, c2, r1, r2; };
  for (const Box &x : {Box{1, 3, 1, 5}, Box{2, 3, 2, 4}, Box{0, 9, -1, 2}, Box{3, 1, 1, 5}}) {
    MatC c(CropMatrixC(mc.get(), x.c1, x.c2, x.r1, x.r2));
    Mat a(CropMatrix(mre.get(), x.c1, x.c2, x.r1, x.r2)), b(CropMatrix(mim.get(), x.c1, x.c2, x.r1, x.r2));
    sameMatrix(c.get(), a.get(), b.get());
  }
}

TEST(Cropping, DownSamplingKeepsEveryFactorthElement) {
  Vec v = MakeVector({1, 2, 3, 4, 5, 6, 7});
  struct Row { int32_t factor, len; };
  for (const Row &r : {Row{1, 7}, Row{2, 4}, Row{3, 3}, Row{7, 1}, Row{9, 1}, Row{0, 0}, Row{-2, 0}}) {
    Vec d(DownSampleV(v.get(), r.factor));
    ASSERT_EQ(Len(d.get()), r.len) << r.factor;
    for (int i = 1; i <= r.len; ++i) EXPECT_EQ(d.get()[i], 1 + (i - 1) * r.factor);
  }
  Mat m(Matrix(2, 5));
  for (int j = 1; j <= 2; ++j)
    for (int i = 1; i <= 5; ++i) m.get()[j][i] = 10 * j + i;
  Mat d(DownSampleCols(m.get(), 2));
  ASSERT_EQ(Len(d.get()[2]), 3);
  EXPECT_EQ(d.get()[2][3], 25);
  Vec u(UniformScale(v.get(), -1, 1));
  EXPECT_EQ(u.get()[1], -1);
  EXPECT_EQ(u.get()[7], 1);
  EXPECT_DOUBLE_EQ(u.get()[4], 0);
}

// ---- grids ---------------------------------------------------------------------------------------

TEST(Grids, RangesCountTheirStepsRobustly) {
  struct Row { double first, last, step; int len; double lastValue; };
  const Row rows[] = {{0, 1, 0.1, 11, 1.0},  {1, 0, -0.25, 5, 0.0}, {0, 1, -0.1, 0, 0},
                      {0, 0, 1, 1, 0},       {0, 0.95, 0.1, 10, 0.9}, {0, 1, 0, 0, 0},
                      {0, kNaN, 1, 0, 0},    {-3, 3, 3, 3, 3}};
  for (const Row &r : rows) {
    Vec v(Range(r.first, r.last, r.step));
    ASSERT_EQ(Len(v.get()), r.len) << r.first << " " << r.last << " " << r.step;
    if (r.len) {
      EXPECT_NEAR(v.get()[r.len], r.lastValue, 1e-12);
    }
  }
  Vec d(DiscretizeDomain(-1, 2, 4));
  EXPECT_EQ(d.get()[1], -1);
  EXPECT_EQ(d.get()[2], 0);
  EXPECT_EQ(d.get()[4], 2);
  Vec ip(Vector(3));
  DiscretizeDomainIP(ip.get(), 5, 6);
  EXPECT_EQ(ip.get()[2], 5.5);
  VecC dc(DiscretizeDomainC(0, 1, 1));
  ASSERT_EQ(Len(dc.get()), 1);
  EXPECT_EQ(dc.get()[1].re, 0);
}

TEST(Grids, PrimesOfARangeMatchTrialDivision) {
  auto isPrime = [](int64_t n) {
    if (n < 2) return false;
    for (int64_t d = 2; d * d <= n; ++d)
      if (n % d == 0) return false;
    return true;
  };
  struct Row { int32_t low, high; };
  for (const Row &r : {Row{-5, 30}, Row{2, 2}, Row{24, 28}, Row{1000000, 1000200}, Row{2147483547, 2147483647}}) {
    VecL p(PrimeNumbersRange(r.low, r.high));
    std::vector<int32_t> want;
    for (int64_t n = r.low; n <= r.high; ++n)
      if (isPrime(n)) want.push_back(static_cast<int32_t>(n));
    ASSERT_EQ(p.get()[0], static_cast<int32_t>(want.size())) << r.low;
    for (size_t k = 0; k < want.size(); ++k) EXPECT_EQ(p.get()[k + 1], want[k]);
  }
  VecL many(PrimeNumbersRange(1, 100000));
  EXPECT_EQ(many.get()[0], 9592);
  VecL none(PrimeNumbersRange(10, 1));
  EXPECT_EQ(none.get()[0], 0);
}

TEST(Grids, BoxesRunTheLastAxisFastest) {
  Vec lo = MakeVector({0, 10}), hi = MakeVector({1, 12});
  VecL dims(VectorL(2));
  dims.get()[1] = 2, dims.get()[2] = 3;
  Mat pts(DiscretizeDomainN(lo.get(), hi.get(), dims.get()));
  ASSERT_EQ(Cols(pts.get()), 2);
  ASSERT_EQ(Len(pts.get()[1]), 6);
  const double x[] = {0, 0, 0, 1, 1, 1}, y[] = {10, 11, 12, 10, 11, 12};
  for (int p = 1; p <= 6; ++p) {
    EXPECT_EQ(pts.get()[1][p], x[p - 1]);
    EXPECT_EQ(pts.get()[2][p], y[p - 1]);
  }
  Vec vals(DiscretizeN([](const double *r, void *) { return 100 * r[1] + r[2]; }, nullptr, lo.get(), hi.get(),
                       dims.get()));
  ASSERT_EQ(Len(vals.get()), 6);
  EXPECT_EQ(vals.get()[5], 111);
  dims.get()[2] = 0;  // a zero axis gives nothing
  Vec none(DiscretizeN([](const double *, void *) { return 0.0; }, nullptr, lo.get(), hi.get(), dims.get()));
  EXPECT_EQ(Len(none.get()), 0);
}

// ---- sampling functions -------------------------------------------------------------------------

double Cube(double x) { return x * x * x; }
double Scaled(double x, void *p) { return *static_cast<double *>(p) * x; }
Complex Phasor(double x) { return {std::cos(x), std::sin(x)}; }
Complex PhasorP(double x, void *) { return Phasor(x); }

TEST(Sampling, UniformAndGradedGridsCarryTheirValues) {
  Mat s(Discretize1D(Cube, -1, 2, 7));
  ASSERT_EQ(Len(s.get()[1]), 7);
  EXPECT_EQ(s.get()[1][7], 2.0);
  EXPECT_EQ(s.get()[2][2], -0.125);
  double k = 3.0;
  Vec p(DiscretizeP(Scaled, &k, 0, 1, 3));
  EXPECT_EQ(p.get()[3], 3.0);
  Mat pn(DiscretizePN(Scaled, &k, 0, 1, 5));
  EXPECT_EQ(pn.get()[2][5], 3.0);
  Vec n1(DiscretizeN1(Cube, 0, 2, 3));
  EXPECT_EQ(n1.get()[3], 8.0);
  Vec at = MakeVector({2, -3});
  Vec dv(DiscretizeV(Cube, at.get()));
  EXPECT_EQ(dv.get()[2], -27.0);
  VecC c(DiscretizeC(Phasor, 0, kPi, 3));
  EXPECT_NEAR(c.get()[2].re, 0.0, 1e-15);
  EXPECT_NEAR(c.get()[3].re, -1.0, 1e-15);
  VecC pc(DiscretizePC(PhasorP, nullptr, 0, kPi, 3));
  EXPECT_NEAR(pc.get()[2].im, 1.0, 1e-15);
  MatC c1(Discretize1DC(Phasor, 0, kPi, 3));
  MatC pnc(DiscretizePNC(PhasorP, nullptr, 0, kPi, 3));
  EXPECT_EQ(c1.get()[2][3].re, pnc.get()[2][3].re);
  MatC cc(DiscretizeCC([](Complex z) { return Complex{z.re * z.re - z.im * z.im, 2 * z.re * z.im}; }, {0, 0}, {1, 1}, 3));
  EXPECT_DOUBLE_EQ(cc.get()[1][2].im, 0.5);
  EXPECT_DOUBLE_EQ(cc.get()[2][3].im, 2.0);  // (1+i)^2 = 2i

  // Graded grid: intervals grow geometrically, last/first = ratio.
  Mat g(DiscretizeNU(Cube, 0, 10, 6, 16.0));
  ASSERT_EQ(Len(g.get()[1]), 6);
  EXPECT_EQ(g.get()[1][1], 0.0);
  EXPECT_EQ(g.get()[1][6], 10.0);
  const double first = g.get()[1][2] - g.get()[1][1], last = g.get()[1][6] - g.get()[1][5];
  EXPECT_NEAR(last / first, 16.0, 1e-12);
  EXPECT_EQ(g.get()[2][3], Cube(g.get()[1][3]));
  MatC gc(DiscretizeNUC(Phasor, 0, 1, 4, -1.0));  // a bad ratio: uniform
  EXPECT_NEAR(gc.get()[1][2].re, 1.0 / 3, 1e-15);

  MV d2(Discretize2D([](double x, double y, void *) { return x - y; }, nullptr, 0, 1, 0, 2, 3, 5));
  EXPECT_EQ(d2.get()[1][3][5], -1.0);
  MVC d2c(Discretize2DC([](double x, double y, void *) { return Complex{x, y}; }, nullptr, 0, 1, 0, 2, 2, 3));
  EXPECT_EQ(d2c.get()[1][2][3].im, 2.0);
  MV sf(ScalarField2D([](const double *r, void *) { return r[1] * r[2]; }, nullptr, 1, 2, 3, 4, 2, 2));
  EXPECT_EQ(sf.get()[1][2][2], 8.0);
}

double Front(double x) { return std::tanh(40.0 * (x - 0.3)); }

TEST(Sampling, AdaptiveGridIsWithinToleranceOfTheChords) {
  double (*fp)(double) = Front;
  const double tol = 1e-3;
  Mat s(DiscretizeAdaptive(fp, -1, 1, tol, 5000));
  const int n = Len(s.get()[1]);
  ASSERT_GT(n, 20);
  ASSERT_LT(n, 5000);
  EXPECT_EQ(s.get()[1][1], -1.0);
  EXPECT_EQ(s.get()[1][n], 1.0);
  double worst = 0;
  for (int i = 1; i < n; ++i) {
    ASSERT_LT(s.get()[1][i], s.get()[1][i + 1]);
    const double m = 0.5 * (s.get()[1][i] + s.get()[1][i + 1]);
    worst = std::max(worst, std::fabs(fp(m) - 0.5 * (s.get()[2][i] + s.get()[2][i + 1])));
  }
  EXPECT_LT(worst, 4 * tol);  // the kept midpoints halve every accepted interval once more
  // The point budget is a hard limit, and the end point is always there.
  Mat small(DiscretizeAdaptive(fp, -1, 1, 1e-12, 30));
  EXPECT_LE(Len(small.get()[1]), 30);
  EXPECT_EQ(small.get()[1][Len(small.get()[1])], 1.0);
}

TEST(Sampling, RungeKuttaFollowsTheExponential) {
  Mat s(DiscretizeRungeKutta1D([](double, double y, void *) { return y; }, nullptr, 0, 1, 1, 11));
  EXPECT_NEAR(s.get()[2][11], std::exp(1.0), 1e-8);
  // y' = i y: the unit phasor.
  MatC c(DiscretizeRungeKutta1DC([](double, Complex y, void *) { return Complex{-y.im, y.re}; }, nullptr, 0, kPi,
                                 {1, 0}, 21));
  EXPECT_NEAR(c.get()[2][21].re, -1.0, 1e-7);
  EXPECT_NEAR(c.get()[2][21].im, 0.0, 1e-7);
}

// ---- expansions and integral equations ------------------------------------------------------------

TEST(Expansions, ChebyshevSeriesOfTheExponential) {
  Vec c(ChebychevExpansion([](double x) { return std::exp(x); }, 0, 2, 18));
  ASSERT_EQ(Len(c.get()), 18);
  for (double x : {0.0, 0.4, 1.3, 2.0}) {
    const double y = (2 * x - 2) / 2;
    double t0 = 1, t1 = y, sum = c.get()[1] + c.get()[2] * y;
    for (int k = 2; k < 18; ++k) {
      const double t2 = 2 * y * t1 - t0;
      sum += c.get()[k + 1] * t2;
      t0 = t1, t1 = t2;
    }
    EXPECT_NEAR(sum, std::exp(x), 1e-13 * std::exp(x));
  }
}

TEST(Expansions, TrigonometricResamplingIsExactForBandLimitedData) {
  const int m = 16;
  auto f = [](double t) { return Complex{std::cos(2 * kPi * 3 * t) + 0.5, std::sin(2 * kPi * 5 * t)}; };
  VecC v(VectorC(m));
  for (int k = 1; k <= m; ++k) v.get()[k] = f((k - 1.0) / m);
  for (int n : {16, 40}) {
    VecC out(DiscretizeDFT(v.get(), n));
    ASSERT_EQ(Len(out.get()), n);
    for (int q = 1; q <= n; ++q) {
      EXPECT_NEAR(out.get()[q].re, f((q - 1.0) / n).re, 1e-12) << n;
      EXPECT_NEAR(out.get()[q].im, f((q - 1.0) / n).im, 1e-12) << n;
    }
  }
  // The Nyquist component of an even length stays real.
  VecC alt(VectorC(4));
  for (int k = 1; k <= 4; ++k) alt.get()[k] = {k % 2 ? 1.0 : -1.0, 0};
  VecC up(DiscretizeDFT(alt.get(), 8));
  for (int q = 1; q <= 8; ++q) EXPECT_NEAR(up.get()[q].im, 0.0, 1e-14);
  EXPECT_NEAR(up.get()[2].re, 0.0, 1e-14);  // cos(pi * 4 * 1/8)
}

TEST(Expansions, SphericalGridsIntegrateHarmonicsToOne) {
  // The angular integral of |Y_2^1|^2 is 1 and of 1 is 4 pi, on both grids.
  auto harmonic = [](const double *r, void *) {
    const double rho = std::sqrt(r[1] * r[1] + r[2] * r[2] + r[3] * r[3]);
    const Complex y = SphericalHarmonic(2, 1, std::acos(r[3] / rho), std::atan2(r[2], r[1]));
    return y.re * y.re + y.im * y.im;
  };
  struct Row {
    double **(*grid)(ScalarFieldFn, void *, double, int32_t, int32_t);
    double (*integral)(double **);
    int32_t nTheta;
  };
  for (const Row &r : {Row{DiscretizeSpherical3D, SimpsonIntegalSpherical3D, 41},
                       Row{DiscretizeSphericalCS3D, SimpsonIntegalSphericalCS3D, 41},
                       Row{DiscretizeSpherical3D, SimpsonIntegalSpherical3D, 40}}) {
    Mat g(r.grid(harmonic, nullptr, 2.0, r.nTheta, 16));
    ASSERT_EQ(Cols(g.get()), 16);
    ASSERT_EQ(Len(g.get()[1]), r.nTheta);
    const double coarse = std::fabs(r.integral(g.get()) - 1.0);
    EXPECT_LT(coarse, 3e-5);
    // Twice the rows: the error of a fourth-order rule falls about 16-fold.
    Mat fine(r.grid(harmonic, nullptr, 2.0, 2 * r.nTheta - 1, 16));
    EXPECT_LT(std::fabs(r.integral(fine.get()) - 1.0), coarse / 10);
    Mat one(r.grid([](const double *, void *) { return 1.0; }, nullptr, 1.0, r.nTheta, 3));
    EXPECT_NEAR(r.integral(one.get()), 4 * kPi, 1e-5);
  }
  EXPECT_EQ(SphericalHarmonic(1, 2, 0.3, 0.1).re, 0.0);  // |m| > l
  EXPECT_TRUE(std::isnan(SphericalHarmonic(-1, 0, 0.3, 0.1).re));
  const Complex a = SphericalHarmonic(3, 2, 0.7, 0.4), b = SphericalHarmonic(3, -2, 0.7, 0.4);
  EXPECT_NEAR(b.re, a.re, 1e-15);  // Y_l^-m = (-1)^m conj(Y_l^m)
  EXPECT_NEAR(b.im, -a.im, 1e-15);
}

TEST(Expansions, FredholmSeparableKernelHasClosedForm) {
  // f(x) = x + lambda x integral_0^1 t f(t) dt: f = x / (1 - lambda/3).
  auto kernel = [](double x, double t, void *) { return x * t; };
  auto g = [](double x, void *) { return x; };
  Mat sol(Fredholm2(kernel, g, nullptr, 1.0, 0, 1, 6));
  ASSERT_EQ(Cols(sol.get()), 3);
  for (int i = 1; i <= 6; ++i) EXPECT_NEAR(sol.get()[3][i], 1.5 * sol.get()[1][i], 1e-13);
  EXPECT_NEAR(FredholmInterpolation1(sol.get(), kernel, g, nullptr, 1.0, 0.77), 1.5 * 0.77, 1e-13);
  // One node at 1/2 of weight 1: lambda = 4 makes the system singular.
  Mat bad(Fredholm2(kernel, g, nullptr, 4.0, 0, 1, 1));
  EXPECT_TRUE(std::isnan(bad.get()[3][1]));
  // Complex lambda = i: f = x / (1 - i/3).
  auto kc = [](double x, double t, void *) { return Complex{x * t, 0}; };
  auto gc = [](double x, void *) { return Complex{x, 0}; };
  MatC c(Fredholm21DC(kc, gc, nullptr, {0, 1}, 0, 1, 5));
  const Complex want = {0.9, 0.3};  // 1 / (1 - i/3)
  const Complex f = FredholmInterpolation1C(c.get(), kc, gc, nullptr, {0, 1}, 2.0);
  EXPECT_NEAR(f.re, 2 * want.re, 1e-13);
  EXPECT_NEAR(f.im, 2 * want.im, 1e-13);
}

// ---- expression texts -----------------------------------------------------------------------------

TEST(AutoSample, RefinesWhereTheCurveBends) {
  Environment *env = InitializeTopLevelEnvironment(nullptr);
  ASSERT_NE(env, nullptr);
  // Four samples see little of the peak; refinement gathers points there.
  Mat s(AutoSample1D("1/(1+100*x^2)", -1, 1, 4, 1e-3, env));
  const int n = Len(s.get()[1]);
  ASSERT_GT(n, 20);
  EXPECT_EQ(s.get()[1][1], -1.0);
  EXPECT_EQ(s.get()[1][n], 1.0);
  int inner = 0, outer = 0;
  for (int i = 1; i <= n; ++i) {
    const double x = s.get()[1][i];
    EXPECT_NEAR(s.get()[2][i], 1 / (1 + 100 * x * x), 1e-12);
    if (i > 1) {
      EXPECT_LT(s.get()[1][i - 1], x);
    }
    inner += std::fabs(x) < 0.25;
    outer += std::fabs(x) > 0.75;
  }
  EXPECT_GT(inner, 2 * outer);
  // A straight line needs no refinement.
  Mat line(AutoSample1D("2*x+1", 1, 0, 5, 1e-3, env));
  EXPECT_EQ(Len(line.get()[1]), 9);  // one pass of midpoints, then nothing strays
  MatC c(AutoSample1DC("exp(i*x)", 0, 3, 4, 1e-3, env));
  const int m = Len(c.get()[1]);
  ASSERT_GT(m, 7);
  for (int i = 1; i <= m; ++i) EXPECT_NEAR(c.get()[2][i].im, std::sin(c.get()[1][i].re), 1e-12);
  // Two unknowns, a bad text, a null text: empty sets.
  for (const char *bad : {"x*y", "1+", static_cast<const char *>(nullptr)}) {
    Mat e(AutoSample1D(bad, 0, 1, 5, 0, env));
    EXPECT_EQ(Len(e.get()[1]), 0);
  }
  // A cancelled scope gives nothing.
  SetCancelFlag(env, 1);
  Mat cancelled(AutoSample1D("x", 0, 1, 5, 0, env));
  EXPECT_EQ(Len(cancelled.get()[1]), 0);
  SetCancelFlag(env, 0);
  TerminateEnvironment(env);
}

// ---- guards ------------------------------------------------------------------------------------------

TEST(Guards, NullEmptyAndDamagedInputsGiveEmptyResults) {
  Vec empty(Vector(0));
  Mat emptySet(Matrix(2, 0));
  Mat damaged(Matrix(2, 3));
  damaged.get()[1][0] = kNaN;  // a length cell gone bad
  for (double **set : {static_cast<double **>(nullptr), emptySet.get(), damaged.get()}) {
    EXPECT_TRUE(std::isnan(LinearInterpolation1(set, 0.5)));
    EXPECT_TRUE(std::isnan(CubicInterpolation1(set, 0.5)));
    EXPECT_TRUE(std::isnan(Lagrange(set, 0.5)));
    for (double **out : {LinearInterpolation1D(set, 5), SplineInterpolation(set, 5), ParabolicInterpolation1D(set, 5),
                         SmoothSpline(set, 1.0), AdjacentAveragingInterpolation(set, 1, 4),
                         LinearInterpolationPts1D(set, empty.get()), SplineInterpolationPts(set, nullptr)}) {
      ASSERT_NE(out, nullptr);
      EXPECT_EQ(Cols(out), 2);
      EXPECT_EQ(Len(out[1]), 0);
      FreeMatrix(out);
    }
  }
  for (double *v : {static_cast<double *>(nullptr), empty.get()}) {
    for (double *out : {LinearInterpolationV(v, 4), SplineInterpolationV(v, 4), AdjacentAveraging(v, 2),
                        AdjacentInterpolation(v), CropVector(v, 1, 3), CropVectorCentered(v, 2), DownSampleV(v, 2),
                        UniformScale(v, 0, 1), DiscretizeV(Cube, v)}) {
      ASSERT_NE(out, nullptr);
      EXPECT_EQ(Len(out), 0);
      FreeVector(out);
    }
    VecC dft(DiscretizeDFT(nullptr, 4));
    EXPECT_EQ(Len(dft.get()), 0);
  }
  for (double **m : {static_cast<double **>(nullptr), damaged.get()}) {
    for (double **out : {LinearInterpolationM(m, 3, 3), BicubicInterpolationM(m, 3, 3), ProximalInterpolationM(m, 2, 2),
                         LinearInterpolationCols(m, 3), DownSampleCols(m, 2), CropMatrixCentered(m, 1, 1)}) {
      ASSERT_NE(out, nullptr);
      EXPECT_TRUE(Cols(out) == 0 || Len(out[1]) == 0);
      FreeMatrix(out);
    }
  }
  EXPECT_TRUE(std::isnan(BicubicInterpolationSquare(nullptr, 0.5, 0.5)));
  EXPECT_TRUE(std::isnan(LinearInterpolation2D1(nullptr, 0, 0)));
  MV e2(LinearInterpolation2D(nullptr, 3, 3));
  EXPECT_EQ(Len(e2.get()[2][1]), 0);
  // Requests that can't be met: zero or negative sizes, NaN bounds, null callbacks.
  Mat s = MakeSet({0, 1, 2}, [](double x) { return x; });
  Mat none(LinearInterpolation1D(s.get(), 0));
  EXPECT_EQ(Len(none.get()[1]), 0);
  Mat nanGrid(Discretize1D(Cube, kNaN, 1, 4));
  EXPECT_EQ(Len(nanGrid.get()[1]), 0);
  Mat nullFn(Discretize1D(nullptr, 0, 1, 4));
  EXPECT_EQ(Len(nullFn.get()[1]), 0);
  Mat huge(Discretize1D(Cube, 0, 1, INT32_MAX));
  EXPECT_EQ(Len(huge.get()[1]), 0);
  Mat noKernel(Fredholm2(nullptr, nullptr, nullptr, 1, 0, 1, 4));
  EXPECT_EQ(Cols(noKernel.get()), 0);
  EXPECT_EQ(DiscretizeAdaptiveSub(Cube, 0, 0, 1, 1, 1e-3, 5, nullptr, nullptr, 10), 0);
}

}  // namespace
