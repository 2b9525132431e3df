// Plot options: round tick values, the hidden zero imaginary part and the
// legend. With every option off a picture is the one the renderer has
// always made, byte for byte.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "libquorvex.h"

namespace {

struct Globals : ::testing::Environment {
  void SetUp() override { InitializeGlobals(nullptr, 0); }
  void TearDown() override { TerminateGlobals(); }
};
const auto *kGlobals = ::testing::AddGlobalTestEnvironment(new Globals);

uint32_t LE32(const unsigned char *p) { return p[0] | p[1] << 8 | p[2] << 16 | uint32_t{p[3]} << 24; }

// FNV-1a over the whole encoded image.
uint64_t Fingerprint(const unsigned char *b) {
  uint64_t h = 0xcbf29ce484222325u;
  for (uint32_t i = 0, n = LE32(b + 2); i < n; ++i) h = (h ^ b[i]) * 0x100000001b3u;
  return h;
}

struct Plot {
  Environment *env = InitializeTopLevelEnvironment(nullptr);
  Font *font = LoadFontFromFile(QVX_FONT_FILE);
  PlotBitmapPair *pair = nullptr;
  Plot(const char *text, double x1, double x2, int32_t width, int32_t height) {
    pair = GeneratePlotBitmaps(text, x1, x2, width, nullptr, nullptr, width, height, font, env);
  }
  ~Plot() {
    if (pair) {
      Free(pair->first);
      Free(pair->second);
      Free(pair);
    }
    FreeFont(font);
    TerminateEnvironment(env);
  }
};

// An encoded image (default platform code: rows from the top, R, G, B).
struct Image {
  int w = 0, h = 0;
  std::vector<uint32_t> px;
  explicit Image(const unsigned char *b) : w(static_cast<int>(LE32(b + 18))), h(static_cast<int>(LE32(b + 22))) {
    const int stride = (w * 3 + 3) & ~3;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const unsigned char *p = b + 54 + y * stride + x * 3;
        px.push_back(uint32_t{p[0]} << 16 | uint32_t{p[1]} << 8 | p[2]);
      }
  }
  uint32_t operator()(int x, int y) const { return px[(y - 1) * w + (x - 1)]; }
  int Count(uint32_t colour, int x1, int x2, int y1, int y2) const {
    int n = 0;
    for (int x = x1; x <= x2; ++x)
      for (int y = y1; y <= y2; ++y) n += (*this)(x, y) == colour;
    return n;
  }
  // The bottom line of the frame: the lowest row that is tick-coloured over
  // a good part of the width.
  int FrameBottom() const {
    for (int y = h; y >= 1; --y)
      if (Count(0xc0c0c0, 1, w, y, y) > w / 3) return y;
    return 0;
  }
  // Columns of the tick marks hanging below the frame.
  std::vector<int> TickColumns() const {
    std::vector<int> c;
    const int row = FrameBottom() + 2;  // below a curve that ends on the frame
    for (int x = 1; x <= w; ++x)
      if ((*this)(x, row) == 0xc0c0c0) c.push_back(x);
    return c;
  }
};

class Options : public ::testing::Test {
 protected:
  void TearDown() override { SetPlotOptions(0); }
};

// Fingerprints of pictures made before the options existed.
TEST_F(Options, OffKeepsEveryByte) {
  struct Case {
    const char *text;
    double x1, x2;
    int32_t width, height;
    uint64_t first, second;
  };
  SetPlotOptions(0);
  for (const Case &c : {Case{"sin(x)*exp(-x/5)", 0, 20, 800, 448, 0x4e2fc1183551c5a2u, 0xa8025656bc300a50u},
                        Case{"sqrt(x)", -4, 9, 300, 200, 0x56e331e8938e81afu, 0xffa7dc2fc31910deu},
                        Case{"3", -1, 1, 120, 90, 0x0536a78e57b01b7au, 0x740ac11baa3564dau}}) {
    Plot p(c.text, c.x1, c.x2, c.width, c.height);
    ASSERT_NE(p.pair, nullptr) << c.text;
    EXPECT_EQ(Fingerprint(p.pair->first), c.first) << c.text;
    EXPECT_EQ(Fingerprint(p.pair->second), c.second) << c.text;
  }
  Plot p("3", 0, 1, 2, 2);
  PlotBitmapPair *surface = GeneratePlotBitmaps2D("x*y", -1, 1, -2, 2, 20, 20, 200, 150, p.font, p.env);
  unsigned char *curve = GenerateParametricPlotBitmap("cos(t),sin(2*t)", 0, 7, 100, 200, 150, p.font, p.env);
  ASSERT_TRUE(surface && curve);
  EXPECT_EQ(Fingerprint(surface->first), 0x70d5a5028f88609bu);
  EXPECT_EQ(Fingerprint(curve), 0x840768e40669618eu);
  Free(surface->first);
  Free(surface->second);
  Free(surface);
  Free(curve);
}

// 0 to 20 over 800 columns: majors every 5, minors every 1, so 21 evenly
// spaced ticks from the first plot column to the last; the binary grid
// puts its ticks elsewhere.
TEST_F(Options, RoundTicksFallOnRoundValues) {
  // The imaginary part, 0, would lie on the bottom line of the frame.
  SetPlotOptions(QVX_PLOT_ROUND_TICKS | QVX_PLOT_HIDE_ZERO_SECOND);
  Plot on("x", 0, 20, 800, 448);
  ASSERT_NE(on.pair, nullptr);
  const std::vector<int> ticks = Image(on.pair->first).TickColumns();
  ASSERT_EQ(ticks.size(), 21u);
  for (std::size_t k = 1; k < ticks.size(); ++k) EXPECT_NEAR(ticks[k] - ticks[k - 1], 799 / 20.0, 1.0);
  EXPECT_EQ(ticks.back() - ticks.front(), 799);

  SetPlotOptions(QVX_PLOT_HIDE_ZERO_SECOND);
  Plot off("x", 0, 20, 800, 448);
  EXPECT_NE(Image(off.pair->first).TickColumns(), ticks);
}

// The hidden second curve: gone for a real function, and the range is the
// real part's alone; kept when the imaginary part is not zero.
TEST_F(Options, ZeroImaginaryPartIsHidden) {
  SetPlotOptions(QVX_PLOT_HIDE_ZERO_SECOND);
  Plot real("x^2+1", 0, 2, 200, 150);
  Plot complex("exp(i*x)", 0, 2, 200, 150);
  ASSERT_TRUE(real.pair && complex.pair);
  const Image r(real.pair->first), c(complex.pair->first);
  EXPECT_EQ(r.Count(0x7fffff, 1, r.w, 1, r.h), 0);
  EXPECT_GT(r.Count(0x7fff9f, 1, r.w, 1, r.h), 0);
  EXPECT_GT(c.Count(0x7fffff, 1, c.w, 1, c.h), 0);
  // The real part spans the whole height: its least value sits on the
  // bottom row of the plot area, not halfway up as it would beside a 0.
  const int bottom = r.FrameBottom();
  ASSERT_GT(bottom, 3);
  EXPECT_GT(r.Count(0x7fff9f, 1, r.w, bottom - 3, bottom - 1), 0);
}

TEST_F(Options, LegendNamesTwoCurvesOnly) {
  SetPlotOptions(QVX_PLOT_LEGEND | QVX_PLOT_HIDE_ZERO_SECOND);
  Plot two("exp(i*x)", 0, 6, 400, 300);
  Plot one("x^2", 0, 6, 400, 300);
  SetPlotOptions(QVX_PLOT_HIDE_ZERO_SECOND);
  Plot bare("exp(i*x)", 0, 6, 400, 300);
  ASSERT_TRUE(two.pair && one.pair && bare.pair);
  const Image t(two.pair->first), o(one.pair->first), b(bare.pair->first);
  // Text in the top right quarter of the plot area, where only a legend writes.
  auto text = [](const Image &i) { return i.Count(0xffffff, i.w / 2, i.w - 60, 30, i.h / 3); };
  EXPECT_GT(text(t), 50);
  EXPECT_EQ(text(o), 0);
  EXPECT_EQ(text(b), 0);
}

}  // namespace
