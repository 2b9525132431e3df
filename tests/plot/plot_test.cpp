// The renderer and the plot generators, read back pixel by pixel.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "libquorvex.h"
#include "plot/plot.h"

namespace {

struct Globals : ::testing::Environment {
  void SetUp() override { InitializeGlobals(nullptr, 0); }
  void TearDown() override { TerminateGlobals(); }
};
const auto *kGlobals = ::testing::AddGlobalTestEnvironment(new Globals);

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

uint32_t LE32(const unsigned char *p) { return p[0] | p[1] << 8 | p[2] << 16 | uint32_t{p[3]} << 24; }

// An encoded image (default platform code: rows from the top, R, G, B) as
// pixels, pixel(x, y) with x, y from 1.
struct Image {
  int w = 0, h = 0;
  std::vector<uint32_t> px;
  explicit Image(const unsigned char *b) {
    w = static_cast<int>(LE32(b + 18));
    h = static_cast<int>(LE32(b + 22));
    const int stride = (w * 3 + 3) & ~3;
    px.resize(static_cast<std::size_t>(w) * h);
    for (int y = 1; y <= h; ++y)
      for (int x = 1; x <= w; ++x) {
        const unsigned char *p = b + 54 + (y - 1) * stride + (x - 1) * 3;
        px[(y - 1) * w + (x - 1)] = uint32_t{p[0]} << 16 | uint32_t{p[1]} << 8 | p[2];
      }
  }
  uint32_t operator()(int x, int y) const { return px[(y - 1) * w + (x - 1)]; }
  std::vector<int> RowsOf(int x, uint32_t colour) const {
    std::vector<int> rows;
    for (int y = 1; y <= h; ++y)
      if ((*this)(x, y) == colour) rows.push_back(y);
    return rows;
  }
};

struct Pair {
  PlotBitmapPair *p;
  explicit Pair(PlotBitmapPair *pair) : p(pair) {}
  ~Pair() {
    if (!p) return;
    Free(p->first);
    Free(p->second);
    Free(p);
  }
};

// A font of digits, signs and a few letters, each glyph a filled 3 x 5 box.
Font *BoxFont() {
  Font *f = qvx::NewFont();
  uint32_t **g = qvx::NewRGBMatrix(3, 5, 0xffffff);
  for (const char *c = "0123456789.-+eE"; *c; ++c) qvx::AddGlyph(f, *c, g);
  FreeMatrixUInt32(g);
  return f;
}

struct Scope {
  Environment *env = InitializeTopLevelEnvironment(nullptr);
  ~Scope() { TerminateEnvironment(env); }
};

// The plot area of a picture of height 448 without a font: rows 15 to 434.
constexpr int kTop = 15, kBottom = 434;

TEST(Render, SineCurveSitsWhereSinePutsIt) {
  Scope s;
  const int n = 224;
  Pair pair(GeneratePlotBitmaps("sin(x)", 0.0, 2 * M_PI, n, nullptr, nullptr, n, 448, nullptr, s.env));
  ASSERT_NE(pair.p, nullptr);
  Image im(pair.p->first);
  ASSERT_EQ(im.w, n);
  ASSERT_EQ(im.h, 448);
  double low = 0, high = 0;
  for (int k = 1; k <= n; ++k) {
    const double v = std::sin((k - 1) * 2 * M_PI / (n - 1));
    low = std::min(low, v);
    high = std::max(high, v);
  }
  const int zeroRow = static_cast<int>(std::lround(kTop + high * (kBottom - kTop) / (high - low)));
  int checked = 0;
  for (int k = 1; k <= n; ++k) {
    const double v = std::sin((k - 1) * 2 * M_PI / (n - 1));
    const int row = static_cast<int>(std::lround(kTop + (high - v) * (kBottom - kTop) / (high - low)));
    if (std::abs(row - zeroRow) <= 1) continue;  // the imaginary curve (0) is drawn over it
    EXPECT_EQ(im(k, row), 0x7fff9fu) << "column " << k << " row " << row;
    ++checked;
  }
  EXPECT_GT(checked, 200);
  // The imaginary part is the flat line through zero.
  EXPECT_EQ(im(n / 4, zeroRow), 0x7fffffu);
  // Second picture: the modulus |sin| has its peaks at the top.
  Image second(pair.p->second);
  EXPECT_EQ(second.w, n);
  EXPECT_FALSE(second.RowsOf(n / 4, 0xb2ff66).empty());
}

// A PlotSamples matrix of the values v (imaginary part NaN: no second curve).
double **Samples(const std::vector<double> &v) {
  const int n = static_cast<int>(v.size());
  double **m = Matrix(n, 6);
  for (int k = 1; k <= n; ++k) {
    m[k][1] = k;
    m[k][3] = v[k - 1];
    m[k][4] = kNaN;
  }
  return m;
}

TEST(Render, NonFiniteSampleLeavesAGap) {
  std::vector<double> v;
  for (int k = 0; k < 40; ++k) v.push_back(k % 7);
  v[20] = kNaN;
  v[30] = std::numeric_limits<double>::infinity();
  double **m = Samples(v);
  uint32_t **pic = qvx::RenderCurve(m, 448, 1, 2, 0, 0, nullptr, kNaN, kNaN, kNaN, kNaN);
  ASSERT_NE(pic, nullptr);
  auto curveRows = [&](int column) {
    int count = 0;
    for (int y = 1; y <= 448; ++y) count += pic[column][y] == 1;
    return count;
  };
  EXPECT_EQ(curveRows(21), 0);
  EXPECT_EQ(curveRows(31), 0);
  for (int column : {20, 22, 30, 32}) EXPECT_GT(curveRows(column), 0) << column;
  // The range comes from the finite values only: 0 at the bottom, 6 at the top.
  EXPECT_EQ(pic[1][kBottom], 1u);
  EXPECT_EQ(pic[7][kTop], 1u);
  FreeMatrixUInt32(pic);
  FreeMatrix(m);
}

TEST(Render, ConstantGivesFlatLineAndNoValueLabels) {
  Font *font = BoxFont();
  double **m = Samples(std::vector<double>(60, 2.5));
  uint32_t **pic = qvx::RenderCurve(m, 448, 1, 2, 0, 0, font, kNaN, kNaN, kNaN, kNaN);
  ASSERT_NE(pic, nullptr);
  const int g = MeasureAverageGlyphWidth(font), width = 60 + 26 * g;
  ASSERT_EQ(qvx::RGBWidth(pic), width);
  std::set<int> rows;
  int white = 0, whiteBelow = 0;
  const int plotBottom = 448 - (qvx::MeasureGlyphHeight(font) + 14);
  for (int x = 1; x <= width; ++x)
    for (int y = 1; y <= 448; ++y) {
      if (pic[x][y] == 1) rows.insert(y);
      if (pic[x][y] == 0xffffff) ++(y <= plotBottom ? white : whiteBelow);
    }
  EXPECT_EQ(rows, (std::set<int>{(kTop + 5 + plotBottom + 1) / 2}));  // the middle row
  EXPECT_EQ(white, 0);      // no labels on the value axis
  EXPECT_GT(whiteBelow, 0); // the abscissas 1 .. 60 are labelled
  FreeMatrixUInt32(pic);
  FreeMatrix(m);
  FreeFont(font);

  // "3" plots as a flat line (its imaginary part, 0, as another).
  Scope s;
  Pair pair(GeneratePlotBitmaps("3", -1.0, 1.0, 50, nullptr, nullptr, 200, 448, nullptr, s.env));
  ASSERT_NE(pair.p, nullptr);
  Image im(pair.p->first);
  std::set<int> real;
  for (int x = 1; x <= im.w; ++x)
    for (int r : im.RowsOf(x, 0x7fff9f)) real.insert(r);
  EXPECT_EQ(real, (std::set<int>{kTop}));
}

TEST(Render, ClampsLimitTheRange) {
  double **m = Samples({-10, -5, 0, 5, 10});
  uint32_t **pic = qvx::RenderCurve(m, 448, 1, 2, 0, 0, nullptr, -1.0, 1.0, kNaN, kNaN);
  ASSERT_NE(pic, nullptr);
  EXPECT_EQ(pic[1][kBottom], 1u);
  EXPECT_EQ(pic[2][kBottom], 1u);
  EXPECT_EQ(pic[3][(kTop + kBottom) / 2 + 1], 1u);  // 424 / 2 + 15 rounds to 225
  EXPECT_EQ(pic[4][kTop], 1u);
  EXPECT_EQ(pic[5][kTop], 1u);
  FreeMatrixUInt32(pic);
  FreeMatrix(m);
}

TEST(Generators, BoundsOrderAndSampleCounts) {
  Scope s;
  Pair a(GeneratePlotBitmaps("x^2-x", -2.0, 3.0, 40, nullptr, nullptr, 120, 200, nullptr, s.env));
  Pair b(GeneratePlotBitmaps("x^2-x", 3.0, -2.0, 40, nullptr, nullptr, 120, 200, nullptr, s.env));
  ASSERT_TRUE(a.p && b.p);
  const uint32_t size = LE32(a.p->first + 2);
  EXPECT_EQ(size, LE32(b.p->first + 2));
  EXPECT_EQ(0, std::memcmp(a.p->first, b.p->first, size));
  EXPECT_EQ(0, std::memcmp(a.p->second, b.p->second, LE32(a.p->second + 2)));
  // Fewer samples than columns are stretched to the width; one sample
  // counts as two.
  EXPECT_EQ(Image(a.p->first).w, 120);
  Pair one(GeneratePlotBitmaps("x", 0.0, 1.0, 1, nullptr, nullptr, 64, 100, nullptr, s.env));
  ASSERT_NE(one.p, nullptr);
  Image im(one.p->first);
  EXPECT_EQ(im.w, 64);
  for (int x = 2; x <= 64; ++x) EXPECT_FALSE(im.RowsOf(x, 0x7fff9f).empty()) << x;
  EXPECT_FALSE(im.RowsOf(1, 0x7fffff).empty());  // 0 + 0i: the imaginary line lies over it
}

TEST(Generators, RefuseWhatCannotBePlotted) {
  Scope s;
  const char *bad[] = {"x*y", "sin(x", "", "x=3", ")("};
  for (const char *t : bad)
    EXPECT_EQ(GeneratePlotBitmaps(t, 0, 1, 10, nullptr, nullptr, 10, 50, nullptr, s.env), nullptr) << t;
  EXPECT_EQ(GeneratePlotBitmaps(nullptr, 0, 1, 10, nullptr, nullptr, 10, 50, nullptr, s.env), nullptr);
  EXPECT_EQ(GeneratePlotBitmaps("x", 0, 1, 10, nullptr, nullptr, 0, 50, nullptr, s.env), nullptr);
  EXPECT_EQ(GeneratePlotBitmaps("x", 0, kNaN, 10, nullptr, nullptr, 10, 50, nullptr, s.env), nullptr);
  EXPECT_EQ(GeneratePlotBitmaps("x", 0, 1, 1 << 30, nullptr, nullptr, 10, 50, nullptr, s.env), nullptr);
  EXPECT_EQ(GeneratePlotBitmaps2D("x*y*z", 0, 1, 0, 1, 4, 4, 10, 50, nullptr, s.env), nullptr);
  EXPECT_EQ(GeneratePlotBitmapsComplex("z*w", 0, 1, 0, 1, 4, 4, 10, 50, nullptr, s.env), nullptr);
  EXPECT_EQ(GenerateParametricPlotBitmap("cos(t)", 0, 1, 10, 10, 50, nullptr, s.env), nullptr);
  // A cancelled scope stops the sampling; the scope itself is left as it was.
  SetCancelFlag(s.env, 1);
  EXPECT_EQ(GeneratePlotBitmaps("x", 0, 1, 10, nullptr, nullptr, 10, 50, nullptr, s.env), nullptr);
  SetCancelFlag(s.env, 0);
  char *x = QuorvexScript("x", s.env, 1);
  EXPECT_STREQ(x, "x");  // the plot bound x only in its scratch copy
  FreeString(x);
}

TEST(Generators, SurfacesAndParametricCurves) {
  Scope s;
  Pair xy(GeneratePlotBitmaps2D("x*y", -1, 1, -1, 1, 8, 6, 40, 60, nullptr, s.env));
  ASSERT_NE(xy.p, nullptr);
  Image re(xy.p->first);
  EXPECT_EQ(re.w, 40);
  EXPECT_EQ(re.h, 60);
  // x*y is greatest at the corners (1,1) top right and (-1,-1) bottom left.
  const int top = 2 + 1, bottom = 60 - 2;  // margins of a 60-row picture
  EXPECT_EQ(re(40, top), 0x7fff9fu);
  EXPECT_EQ(re(1, bottom), 0x7fff9fu);
  EXPECT_NE(re(1, top), 0x7fff9fu);

  Pair z(GeneratePlotBitmapsComplex("z^2", -1, 1, -1, 1, 5, 5, 30, 40, nullptr, s.env));
  ASSERT_NE(z.p, nullptr);
  unsigned char *circle = GenerateParametricPlotBitmap("cos(t),sin(t)", 0, 2 * M_PI, 64, 50, 50, nullptr, s.env);
  ASSERT_NE(circle, nullptr);
  Image c(circle);
  EXPECT_EQ(c.w, 50);
  Free(circle);
}

// ---- Fourier plots --------------------------------------------------------------------------

// A PlotSamples matrix of f on n points of [x1, x2).
double **PeriodSamples(int n, double x1, double x2, double (*re)(double)) {
  double **m = Matrix(n, 6);
  for (int k = 1; k <= n; ++k) {
    const double x = x1 + (k - 1) * (x2 - x1) / n;
    m[k][1] = x, m[k][2] = 0, m[k][3] = re(x), m[k][4] = 0, m[k][5] = std::fabs(re(x)), m[k][6] = 0;
  }
  return m;
}

TEST(Fourier, TransformApproximatesTheContinuousIntegral) {
  // exp(-pi x^2) is its own transform; shifted by 1 it gains exp(-2 pi i f).
  struct Row {
    double (*f)(double);
    double shift;
  };
  const Row rows[] = {{[](double x) { return std::exp(-3.141592653589793 * x * x); }, 0.0},
                      {[](double x) { return std::exp(-3.141592653589793 * (x - 1) * (x - 1)); }, 1.0}};
  for (const Row &r : rows) {
    double **s = PeriodSamples(128, -8, 8, r.f);
    double **t = qvx::FourierTransformSamples(s);
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t[65][1], 0.0);  // the origin of the frequencies at n/2 + 1
    for (int k = 1; k <= 128; ++k) {
      const double f = t[k][1], g = std::exp(-3.141592653589793 * f * f);
      EXPECT_NEAR(f, (k - 65) / 16.0, 1e-14);
      EXPECT_NEAR(t[k][3], g * std::cos(2 * 3.141592653589793 * f * r.shift), 1e-12) << k;
      EXPECT_NEAR(t[k][4], -g * std::sin(2 * 3.141592653589793 * f * r.shift), 1e-12) << k;
    }
    FreeMatrix(t);
    FreeMatrix(s);
  }
  double **odd = PeriodSamples(100, 0, 1, [](double x) { return x; });
  EXPECT_EQ(qvx::FourierTransformSamples(odd), nullptr);  // not a power of two
  FreeMatrix(odd);
}

TEST(Fourier, GeneratorsDrawSignalTransformAndFilteredSignal) {
  Scope s;
  Pair ft(GenerateFourierPlotBitmaps("exp(-x^2)", 6, -6, 100, 90, 120, nullptr, s.env));
  ASSERT_NE(ft.p, nullptr);
  EXPECT_EQ(Image(ft.p->first).w, 90);
  EXPECT_EQ(Image(ft.p->second).h, 120);
  // A unit filter gives the signal back: without a font the two pictures
  // are the same image.
  Pair same(GenerateSpectrallyFilteredPlotBitmaps("exp(-x^2)*cos(3*x)", "1", -6, 6, 128, 128, 100, nullptr, s.env));
  ASSERT_NE(same.p, nullptr);
  const uint32_t size = LE32(same.p->first + 2);
  ASSERT_EQ(size, LE32(same.p->second + 2));
  EXPECT_EQ(0, std::memcmp(same.p->first, same.p->second, size));
  // A low-pass filter that removes the carrier leaves a different picture;
  // the filter's unknown may share the signal's name.
  Pair low(GenerateSpectrallyFilteredPlotBitmaps("exp(-x^2)*cos(3*x)", "exp(-(x/0.1)^2)", -6, 6, 128, 128, 100,
                                                 nullptr, s.env));
  ASSERT_NE(low.p, nullptr);
  EXPECT_NE(0, std::memcmp(low.p->first, low.p->second, size));
  EXPECT_EQ(0, std::memcmp(low.p->first, same.p->first, size));
  // Refusals: two unknowns, an empty span, a bad filter, a cancelled scope.
  EXPECT_EQ(GenerateFourierPlotBitmaps("x*y", 0, 1, 16, 50, 50, nullptr, s.env), nullptr);
  EXPECT_EQ(GenerateFourierPlotBitmaps("x", 1, 1, 16, 50, 50, nullptr, s.env), nullptr);
  EXPECT_EQ(GenerateSpectrallyFilteredPlotBitmaps("x", "f*g", 0, 1, 16, 50, 50, nullptr, s.env), nullptr);
  EXPECT_EQ(GenerateSpectrallyFilteredPlotBitmaps("x", nullptr, 0, 1, 16, 50, 50, nullptr, s.env), nullptr);
  SetCancelFlag(s.env, 1);
  EXPECT_EQ(GenerateFourierPlotBitmaps("x", 0, 1, 16, 50, 50, nullptr, s.env), nullptr);
  SetCancelFlag(s.env, 0);
}

}  // namespace
