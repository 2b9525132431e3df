// Images in memory, BMP files, fonts and the drawing primitives.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
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

uint32_t LE32(const unsigned char *p) { return p[0] | p[1] << 8 | p[2] << 16 | uint32_t{p[3]} << 24; }
uint16_t LE16(const unsigned char *p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }

struct RGB {
  uint32_t **m;
  RGB(int32_t w, int32_t h, uint32_t c = 0) : m(qvx::NewRGBMatrix(w, h, c)) {}
  ~RGB() { FreeMatrixUInt32(m); }
  uint32_t *operator[](int x) const { return m[x]; }
};

// Sets the platform code for one scope and puts the default back.
struct PlatformCode {
  explicit PlatformCode(int32_t code) { SetPlatformCode(code); }
  ~PlatformCode() { SetPlatformCode(666666); }
};

TEST(Bitmap, HeaderFieldsAndRowPadding) {
  struct Case { int32_t w, h; uint32_t stride; };
  for (const Case c : {Case{1, 1, 4}, Case{2, 2, 8}, Case{3, 2, 12}, Case{4, 1, 12}, Case{5, 3, 16}}) {
    unsigned char *b = DummyBitmap(c.w, c.h);
    ASSERT_NE(b, nullptr);
    const uint32_t data = c.stride * c.h;
    EXPECT_EQ(b[0], 'B');
    EXPECT_EQ(b[1], 'M');
    EXPECT_EQ(LE32(b + 2), 54 + data) << c.w;
    EXPECT_EQ(LE32(b + 6), 0u);
    EXPECT_EQ(LE32(b + 10), 54u);
    EXPECT_EQ(LE32(b + 14), 40u);
    EXPECT_EQ(LE32(b + 18), static_cast<uint32_t>(c.w));
    EXPECT_EQ(LE32(b + 22), static_cast<uint32_t>(c.h));
    EXPECT_EQ(LE16(b + 26), 1);
    EXPECT_EQ(LE16(b + 28), 24);
    EXPECT_EQ(LE32(b + 30), 0u);
    EXPECT_EQ(LE32(b + 34), data);
    EXPECT_EQ(LE32(b + 38), 2835u);
    EXPECT_EQ(LE32(b + 42), 2835u);
    EXPECT_EQ(LE32(b + 46), 0u);
    EXPECT_EQ(LE32(b + 50), 0u);
    for (int32_t row = 0; row < c.h; ++row)
      for (uint32_t k = 0; k < c.stride; ++k)
        EXPECT_EQ(b[54 + row * c.stride + k], k < 3u * c.w ? 0x20 : 0) << c.w << " " << k;
    Free(b);
  }
  EXPECT_EQ(DummyBitmap(0, 5), nullptr);
  EXPECT_EQ(DummyBitmap(5, -1), nullptr);
  EXPECT_EQ(DummyBitmap(1 << 20, 1 << 20), nullptr);
  EXPECT_EQ(EncodeBitmap(nullptr), nullptr);
}

TEST(Bitmap, PixelOrderFollowsPlatformCode) {
  RGB m(3, 2);
  m[1][1] = 0x112233; m[2][1] = 0x445566; m[3][1] = 0x778899;
  m[1][2] = 0xaabbcc; m[2][2] = 0xddeeff; m[3][2] = 0x010203;
  const unsigned char top[] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0, 0, 0};
  const unsigned char bottom[] = {0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x01, 0x02, 0x03, 0, 0, 0};
  {
    // The default code: rows from the top, each pixel R, G, B.
    unsigned char *b = EncodeBitmap(m.m);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(std::vector<unsigned char>(b + 54, b + 66), std::vector<unsigned char>(top, top + 12));
    EXPECT_EQ(std::vector<unsigned char>(b + 66, b + 78), std::vector<unsigned char>(bottom, bottom + 12));
    Free(b);
  }
  {
    // Below 65536: an ordinary bottom-up BMP, B, G, R; the last row is y = 1.
    PlatformCode code(65535);
    unsigned char *b = EncodeBitmap(m.m);
    ASSERT_NE(b, nullptr);
    const unsigned char first[] = {0xcc, 0xbb, 0xaa, 0xff, 0xee, 0xdd, 0x03, 0x02, 0x01, 0, 0, 0};
    const unsigned char last[] = {0x33, 0x22, 0x11, 0x66, 0x55, 0x44, 0x99, 0x88, 0x77, 0, 0, 0};
    EXPECT_EQ(std::vector<unsigned char>(b + 54, b + 66), std::vector<unsigned char>(first, first + 12));
    EXPECT_EQ(std::vector<unsigned char>(b + 66, b + 78), std::vector<unsigned char>(last, last + 12));
    Free(b);
  }
}

std::string TempPath(const char *name) { return ::testing::TempDir() + name; }

void WriteFile(const std::string &path, const unsigned char *bytes, std::size_t n) {
  std::FILE *f = std::fopen(path.c_str(), "wb");
  ASSERT_NE(f, nullptr);
  if (n) std::fwrite(bytes, 1, n, f);
  std::fclose(f);
}

TEST(Bitmap, LoadReadsWhatEncodeWroteAndRefusesDamagedFiles) {
  RGB m(5, 3);
  for (int x = 1; x <= 5; ++x)
    for (int y = 1; y <= 3; ++y) m[x][y] = static_cast<uint32_t>(x * 0x010203 + y * 0x300000);
  PlatformCode code(0);
  unsigned char *b = EncodeBitmap(m.m);
  ASSERT_NE(b, nullptr);
  const uint32_t size = LE32(b + 2);
  const std::string path = TempPath("qvx_plot_load.bmp");
  WriteFile(path, b, size);
  uint32_t **back = LoadBitmapToRGBMatrix(path.c_str());
  ASSERT_NE(back, nullptr);
  ASSERT_EQ(qvx::RGBWidth(back), 5);
  ASSERT_EQ(qvx::RGBHeight(back), 3);
  for (int x = 1; x <= 5; ++x)
    for (int y = 1; y <= 3; ++y) EXPECT_EQ(back[x][y], m[x][y]) << x << "," << y;
  FreeMatrixUInt32(back);

  // Short files, a header that promises more than the file holds, and
  // absurd sizes all give null without reading past the end.
  for (uint32_t cut : {0u, 10u, 53u, 54u, size - 1})
  {
    WriteFile(path, b, cut);
    EXPECT_EQ(LoadBitmapToRGBMatrix(path.c_str()), nullptr) << cut;
  }
  std::vector<unsigned char> bad(b, b + size);
  for (uint32_t w : {0u, 0x7fffffffu, 0x80000000u, 100000u}) {
    bad[18] = w & 0xff; bad[19] = (w >> 8) & 0xff; bad[20] = (w >> 16) & 0xff; bad[21] = w >> 24;
    WriteFile(path, bad.data(), bad.size());
    EXPECT_EQ(LoadBitmapToRGBMatrix(path.c_str()), nullptr) << w;
  }
  EXPECT_EQ(LoadBitmapToRGBMatrix(TempPath("qvx_plot_missing_dir/none.bmp").c_str()), nullptr);
  EXPECT_EQ(LoadBitmapToRGBMatrix(nullptr), nullptr);
  std::remove(path.c_str());
  Free(b);
}

TEST(Bitmap, DownSampleKeepsEveryFactorthPixel) {
  RGB m(5, 3);
  for (int x = 1; x <= 5; ++x)
    for (int y = 1; y <= 3; ++y) m[x][y] = static_cast<uint32_t>(10 * x + y);
  uint32_t **d = DownSampleRGBMatrix(m.m, 2);
  ASSERT_NE(d, nullptr);
  ASSERT_EQ(qvx::RGBWidth(d), 3);
  ASSERT_EQ(qvx::RGBHeight(d), 2);
  const uint32_t want[3][2] = {{11, 13}, {31, 33}, {51, 53}};
  for (int x = 1; x <= 3; ++x)
    for (int y = 1; y <= 2; ++y) EXPECT_EQ(d[x][y], want[x - 1][y - 1]);
  FreeMatrixUInt32(d);
  d = DownSampleRGBMatrix(m.m, 7);
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(qvx::RGBWidth(d), 1);
  EXPECT_EQ(d[1][1], 11u);
  FreeMatrixUInt32(d);
  EXPECT_EQ(DownSampleRGBMatrix(nullptr, 2), nullptr);
}

std::vector<std::pair<int, int>> SetPixels(const RGB &m, int w, int h) {
  std::vector<std::pair<int, int>> out;
  for (int x = 1; x <= w; ++x)
    for (int y = 1; y <= h; ++y)
      if (m[x][y]) out.emplace_back(x, y);
  return out;
}

TEST(Drawing, LinesHitBothEndsAndOnePixelPerStep) {
  struct Case { int x1, y1, x2, y2; };
  for (const Case c : {Case{2, 3, 9, 5}, Case{9, 5, 2, 3}, Case{3, 1, 5, 10}, Case{7, 9, 1, 2}, Case{4, 4, 4, 4},
                       Case{1, 10, 10, 1}}) {
    RGB m(10, 10);
    DrawLine(c.x1, c.y1, c.x2, c.y2, m.m, 10, 1, 0.0);
    EXPECT_EQ(m[c.x1][c.y1], 1u);
    EXPECT_EQ(m[c.x2][c.y2], 1u);
    const bool xMajor = std::abs(c.x2 - c.x1) >= std::abs(c.y2 - c.y1);
    const int steps = std::max(std::abs(c.x2 - c.x1), std::abs(c.y2 - c.y1)) + 1;
    const auto pixels = SetPixels(m, 10, 10);
    EXPECT_EQ(static_cast<int>(pixels.size()), steps);
    // Each step of the longer axis paints one pixel, and the shorter axis
    // never jumps by more than one.
    for (std::size_t k = 1; k < pixels.size(); ++k) {
      const int da = xMajor ? pixels[k].first - pixels[k - 1].first : 0;
      EXPECT_LE(std::abs(pixels[k].second - pixels[k - 1].second), xMajor ? 1 : 10);
      EXPECT_LE(da, 1);
    }
  }
}

TEST(Drawing, ClipsAtTheEdges) {
  RGB m(10, 10);
  DrawLine(-1000, 5, 1000, 5, m.m, 10, 7, 0.0);
  for (int x = 1; x <= 10; ++x) EXPECT_EQ(m[x][5], 7u);
  EXPECT_EQ(SetPixels(m, 10, 10).size(), 10u);

  // A thick line's squares stop at the border; a line far outside paints
  // nothing; extreme end points neither crash nor loop for long.
  RGB t(10, 10);
  DrawLine(1, 1, 10, 1, t.m, 10, 3, 1.5);  // radius 2
  EXPECT_EQ(SetPixels(t, 10, 10).size(), 30u);
  RGB o(10, 10);
  DrawLine(-50, -50, -5, 200, o.m, 10, 3, 2.0);
  DrawLine(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX, o.m, 10, 4, 0.0);
  for (int k = 1; k <= 10; ++k) EXPECT_EQ(o[k][k], 4u);
  // The height argument clips too.
  RGB h(10, 10);
  DrawLine(5, 1, 5, 10, h.m, 4, 1, 0.0);
  EXPECT_EQ(SetPixels(h, 10, 10).size(), 4u);

  RGB s(4, 4);
  PutSquare(1, 1, s.m, 4, 4, 9, 1);
  EXPECT_EQ(SetPixels(s, 4, 4), (std::vector<std::pair<int, int>>{{1, 1}, {1, 2}, {2, 1}, {2, 2}}));
  PutSquare(3, 3, s.m, 100, 100, 9, 5);  // larger bounds than the matrix: still clipped
  EXPECT_EQ(SetPixels(s, 4, 4).size(), 16u);
}

// A glyph whose set pixels spell out its own pattern number.
uint32_t **Glyph(int w, int h, uint32_t seed) {
  uint32_t **g = qvx::NewRGBMatrix(w, h, 0);
  for (int x = 1; x <= w; ++x)
    for (int y = 1; y <= h; ++y) g[x][y] = ((x * 7 + y * 3 + seed) % 3 == 0) ? 0xffffff : 0;
  return g;
}

Font *TestFont() {
  Font *f = qvx::NewFont();
  const char chars[] = "0123456789ABCDEF.-e";
  int k = 0;
  for (const char *c = chars; *c; ++c, ++k) {
    uint32_t **g = Glyph(3 + k % 2, 5, static_cast<uint32_t>(k));
    qvx::AddGlyph(f, *c, g);
    FreeMatrixUInt32(g);
  }
  return f;
}

TEST(Font, RoundTripThroughMemFile) {
  Font *f = TestFont();
  MemFile *mem = MemOpen(16);
  RBSTWrite(f, f->root, mem, 0);
  MemSetBufPos(mem, 0);
  Font *back = LoadFontFromStream(mem);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->size, f->size);
  for (const char *c = "0123456789ABCDEF.-e"; *c; ++c) {
    const char key[2] = {*c, 0};
    RBSTNode *a = RBSTFind(f->root, key), *b = RBSTFind(back->root, key);
    ASSERT_TRUE(a && b) << *c;
    auto **ga = static_cast<uint32_t **>(a->value), **gb = static_cast<uint32_t **>(b->value);
    ASSERT_EQ(qvx::RGBWidth(gb), qvx::RGBWidth(ga));
    ASSERT_EQ(qvx::RGBHeight(gb), qvx::RGBHeight(ga));
    for (int x = 1; x <= qvx::RGBWidth(ga); ++x)
      for (int y = 1; y <= qvx::RGBHeight(ga); ++y) EXPECT_EQ(gb[x][y], ga[x][y]);
  }
  // 19 glyphs, widths 3 and 4 alternating from 3: mean 66/19 rounds to 3.
  EXPECT_EQ(MeasureAverageGlyphWidth(back), 3);
  EXPECT_EQ(qvx::MeasureGlyphHeight(back), 5);
  FreeFont(back);
  MemClose(mem);
  FreeFont(f);
}

TEST(Font, GlyphCodecLayout) {
  // size 1; key "A"; width 2, height 1, pixels by column; colour 1.
  unsigned char bytes[] = {1, 0, 0, 0, 1, 0, 0, 0, 'A', 2, 0, 0, 0, 1, 0, 0, 0,
                           0x33, 0x22, 0x11, 0, 0x66, 0x55, 0x44, 0, 1, 0, 0, 0};
  MemFile *mem = MemWrapperOpen(bytes, sizeof bytes);
  Font *f = LoadFontFromStream(mem);
  ASSERT_EQ(f->size, 1);
  auto **g = static_cast<uint32_t **>(RBSTFind(f->root, "A")->value);
  ASSERT_EQ(qvx::RGBWidth(g), 2);
  ASSERT_EQ(qvx::RGBHeight(g), 1);
  EXPECT_EQ(g[1][1], 0x112233u);
  EXPECT_EQ(g[2][1], 0x445566u);
  FreeFont(f);
  MemWrapperClose(mem);
}

TEST(Font, DamagedStreamsGiveUsableFonts) {
  Font *f = TestFont();
  MemFile *mem = MemOpen(16);
  RBSTWrite(f, f->root, mem, 0);
  const uint32_t length = MemGetBufPos(mem);
  std::vector<unsigned char> good(MemGetBufHandle(mem), MemGetBufHandle(mem) + length);
  MemClose(mem);
  FreeFont(f);

  auto load = [](std::vector<unsigned char> bytes) {
    MemFile *m = MemWrapperOpen(bytes.data(), static_cast<uint32_t>(bytes.size()));
    Font *font = LoadFontFromStream(m);
    EXPECT_NE(font, nullptr);
    // Whatever was read must be drawable.
    RGB pic(40, 10);
    DrawText("0A~", pic.m, 20, 1, 1, font);
    MeasureAverageGlyphWidth(font);
    FreeFont(font);
    MemWrapperClose(m);
  };
  for (uint32_t cut = 0; cut < length; cut += 7) load(std::vector<unsigned char>(good.begin(), good.begin() + cut));
  // A glyph that claims a huge size is refused before anything is allocated.
  std::vector<unsigned char> huge = good;
  huge[9] = 0xff; huge[10] = 0xff; huge[11] = 0; huge[12] = 0;
  huge[13] = 0xff; huge[14] = 0xff; huge[15] = 0; huge[16] = 0;
  load(huge);
  uint32_t seed = 12345;
  for (int round = 0; round < 50; ++round) {
    std::vector<unsigned char> noise(64 + round * 3);
    for (auto &b : noise) b = static_cast<unsigned char>((seed = seed * 1103515245u + 12345u) >> 24);
    load(noise);
  }
  Font *none = LoadFontFromFile(TempPath("qvx_plot_missing_dir/font.bin").c_str());
  ASSERT_NE(none, nullptr);
  EXPECT_EQ(none->size, 0);
  EXPECT_EQ(MeasureAverageGlyphWidth(none), 0);
  FreeFont(none);
}

TEST(Font, TextIsCentredAndMissingCharactersShowAsHex) {
  Font *f = TestFont();
  // 'G' (0x47) is missing: it shows as the glyphs of "4" and "7" side by side
  // and measures twice the width of "4".
  const int w4 = qvx::RGBWidth(static_cast<uint32_t **>(RBSTFind(f->root, "4")->value));
  EXPECT_EQ(qvx::MeasureTextWidth("G", f), 2 * w4);
  RGB hex(30, 8), plain(30, 8);
  DrawText("G", hex.m, 15, 2, 5, f);
  DrawText("47", plain.m, 15, 2, 5, f);
  EXPECT_FALSE(SetPixels(hex, 30, 8).empty());
  EXPECT_EQ(SetPixels(hex, 30, 8), SetPixels(plain, 30, 8));

  // One glyph of width 3 centred on x = 10 starts at column 9.
  RGB one(20, 8), direct(20, 8);
  DrawText("0", one.m, 10, 3, 5, f);
  auto **g0 = static_cast<uint32_t **>(RBSTFind(f->root, "0")->value);
  for (int x = 1; x <= 3; ++x)
    for (int y = 1; y <= 5; ++y)
      if (g0[x][y]) direct[8 + x][2 + y] = 5;
  EXPECT_EQ(SetPixels(one, 20, 8), SetPixels(direct, 20, 8));

  // Text off the matrix is clipped; null arguments do nothing.
  RGB edge(4, 4);
  DrawText("0123456789", edge.m, -3, -2, 5, f);
  DrawText("0123456789", edge.m, 1000000, 1000000, 5, f);
  DrawText(nullptr, edge.m, 1, 1, 5, f);
  DrawText("0", edge.m, 1, 1, 5, nullptr);
  FreeFont(f);
}

}  // namespace
