// RGB matrices, BMP images in memory, bitmap fonts and the drawing
// primitives every picture is made of.
//
// Read plot.h first for the layout of an RGB matrix (m[x][y], y = 1 at the
// top). Two facts matter here:
//  * The byte order of an encoded image follows the engine's platform code:
//    below 65536 an ordinary bottom-up BMP (rows from y = height, pixels
//    B, G, R); from 65536 on, rows from y = 1 and pixels R, G, B, which is
//    what hosts that hand the block straight to a texture expect.
//  * A font is a dictionary tree of glyph matrices written in the tree
//    stream form; a glyph is its width and height (4 bytes each) and then
//    `width` columns of `height` little-endian 32-bit pixels. Streams come
//    from files: every size read is checked against the bytes left before
//    anything is allocated.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/boundary.h"
#include "common/globals.h"
#include "libquorvex.h"
#include "persistence/memfile.h"
#include "persistence/rbst.h"
#include "plot/plot.h"

namespace qvx {
namespace {

constexpr int32_t kMaxGlyphSide = 4096;

void PutLE32(unsigned char *p, uint32_t v) {
  p[0] = static_cast<unsigned char>(v);
  p[1] = static_cast<unsigned char>(v >> 8);
  p[2] = static_cast<unsigned char>(v >> 16);
  p[3] = static_cast<unsigned char>(v >> 24);
}
void PutLE16(unsigned char *p, uint16_t v) {
  p[0] = static_cast<unsigned char>(v);
  p[1] = static_cast<unsigned char>(v >> 8);
}
uint32_t GetLE32(const unsigned char *p) {
  return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

bool SizeInRange(int64_t width, int64_t height) {
  return width >= 1 && height >= 1 && width <= kMaxPictureSide && height <= kMaxPictureSide &&
         width * height <= kMaxPicturePixels;
}

// A zeroed block with the BMP header of a width x height image.
unsigned char *NewBitmapBlock(int32_t width, int32_t height) {
  if (!SizeInRange(width, height)) return nullptr;
  const int64_t stride = BitmapStride(width);
  const int64_t data = stride * height;
  auto *b = static_cast<unsigned char *>(std::calloc(1, static_cast<std::size_t>(kBitmapHeaderSize + data)));
  if (!b) return nullptr;
  b[0] = 'B';
  b[1] = 'M';
  PutLE32(b + 2, static_cast<uint32_t>(kBitmapHeaderSize + data));
  PutLE32(b + 10, kBitmapHeaderSize);
  PutLE32(b + 14, 40);
  PutLE32(b + 18, static_cast<uint32_t>(width));
  PutLE32(b + 22, static_cast<uint32_t>(height));
  PutLE16(b + 26, 1);
  PutLE16(b + 28, 24);
  PutLE32(b + 34, static_cast<uint32_t>(data));
  PutLE32(b + 38, 2835);
  PutLE32(b + 42, 2835);
  return b;
}

bool BottomUp() { return G().platformCode < 65536; }

// ---- glyph value callbacks ---------------------------------------------------

void FreeGlyph(void *value) { FreeMatrixUInt32(static_cast<uint32_t **>(value)); }

void *CopyGlyph(void *value) {
  auto **m = static_cast<uint32_t **>(value);
  const int32_t w = RGBWidth(m), h = RGBHeight(m);
  if (!w || !h) return nullptr;
  uint32_t **c = NewRGBMatrix(w, h, 0);
  if (!c) return nullptr;
  for (int32_t x = 1; x <= w; ++x) std::memcpy(c[x] + 1, m[x] + 1, sizeof(uint32_t) * static_cast<std::size_t>(h));
  return c;
}

void WriteGlyphBody(void *value, void *stream, StreamMode mode) {
  auto **m = static_cast<uint32_t **>(value);
  const int32_t w = RGBWidth(m), h = RGBHeight(m);
  StreamWriteInt32(stream, mode, w);
  StreamWriteInt32(stream, mode, h);
  if (!w || !h) return;
  std::vector<unsigned char> column(static_cast<std::size_t>(h) * 4);
  for (int32_t x = 1; x <= w; ++x) {
    for (int32_t y = 1; y <= h; ++y) PutLE32(&column[static_cast<std::size_t>(y - 1) * 4], m[x][y]);
    StreamWriteBytes(stream, mode, column.data(), column.size());
  }
}

void WriteGlyph(void *value, void *stream, StreamMode mode) {
  GuardVoid([&] { WriteGlyphBody(value, stream, mode); });
}

// Bytes left to read in a stream, or -1 when a file can't tell.
int64_t BytesLeft(void *stream, StreamMode mode) {
  if (mode != kFileMode) {
    auto *m = static_cast<MemFile *>(stream);
    return m->position <= m->size ? int64_t{m->size} - m->position : 0;
  }
  auto *f = static_cast<std::FILE *>(stream);
  const long here = std::ftell(f);
  if (here < 0 || std::fseek(f, 0, SEEK_END) != 0) return -1;
  const long end = std::ftell(f);
  std::fseek(f, here, SEEK_SET);
  return end >= here ? end - here : -1;
}

void *ReadGlyphBody(void *stream, StreamMode mode) {
  int32_t w = 0, h = 0;
  if (!StreamReadInt32(stream, mode, &w) || !StreamReadInt32(stream, mode, &h)) return nullptr;
  if (w < 1 || h < 1 || w > kMaxGlyphSide || h > kMaxGlyphSide) return nullptr;
  const int64_t need = int64_t{w} * h * 4;
  const int64_t left = BytesLeft(stream, mode);
  if (left >= 0 && need > left) return nullptr;
  std::vector<unsigned char> column(static_cast<std::size_t>(h) * 4);
  OwnedPicture glyph(NewRGBMatrix(w, h, 0));
  uint32_t **m = glyph.get();
  if (!m) return nullptr;
  for (int32_t x = 1; x <= w; ++x) {
    if (!StreamReadBytes(stream, mode, column.data(), column.size())) return nullptr;
    for (int32_t y = 1; y <= h; ++y) m[x][y] = GetLE32(&column[static_cast<std::size_t>(y - 1) * 4]);
  }
  return glyph.release();
}

void *ReadGlyph(void *stream, StreamMode mode) {
  return Guard(static_cast<void *>(nullptr), [&] { return ReadGlyphBody(stream, mode); });
}

Font *AllocateFont() {
  auto *f = static_cast<Font *>(std::malloc(sizeof(Font)));
  if (!f) return nullptr;
  *f = RBSTInitialize(FreeGlyph, ReadGlyph, WriteGlyph, CopyGlyph);
  return f;
}

// The glyph of one character, or null.
uint32_t **FindGlyph(Font *font, unsigned char c) {
  if (!font || !font->root || c == 0) return nullptr;
  const char key[2] = {static_cast<char>(c), 0};
  RBSTNode *n = RBSTFind(font->root, key);
  return n ? static_cast<uint32_t **>(n->value) : nullptr;
}

// The two hexadecimal digits that stand for a character the font lacks.
void HexDigits(unsigned char c, char out[2]) {
  char *hex = CharToHex(c);
  out[0] = hex && hex[0] ? hex[0] : '0';
  out[1] = hex && hex[0] && hex[1] ? hex[1] : '0';
  FreeString(hex);
}

int32_t GlyphAdvance(Font *font, unsigned char c) {
  if (uint32_t **g = FindGlyph(font, c)) return RGBWidth(g);
  char hex[2];
  HexDigits(c, hex);
  return 2 * RGBWidth(FindGlyph(font, static_cast<unsigned char>(hex[0])));
}

// Paints the set pixels of a glyph with its left column at x, top row at y.
void PaintGlyph(uint32_t **glyph, uint32_t **m, int64_t x, int64_t y, uint32_t colour) {
  const int32_t gw = RGBWidth(glyph), gh = RGBHeight(glyph);
  const int32_t w = RGBWidth(m), h = RGBHeight(m);
  for (int32_t i = 1; i <= gw; ++i) {
    const int64_t px = x + i - 1;
    if (px < 1 || px > w) continue;
    for (int32_t j = 1; j <= gh; ++j) {
      const int64_t py = y + j - 1;
      if (py >= 1 && py <= h && glyph[i][j]) m[px][py] = colour;
    }
  }
}

}  // namespace

double RoundHalfAway(double x) {
  if (x < 0.0) return -RoundHalfAway(-x);
  const double f = std::floor(x);
  return x - f >= 0.5 ? f + 1.0 : f;
}

uint32_t **NewRGBMatrix(int32_t width, int32_t height, uint32_t colour) {
  if (!SizeInRange(width, height)) return nullptr;
  uint32_t **m = MatrixUInt32(width, height);
  // The container falls back to a 1 x 1 block when memory runs out.
  if (!m || RGBWidth(m) != width || RGBHeight(m) != height) {
    FreeMatrixUInt32(m);
    return nullptr;
  }
  for (int32_t x = 1; x <= width; ++x) std::fill(m[x] + 1, m[x] + 1 + height, colour);
  return m;
}

int32_t RGBWidth(uint32_t **m) {
  if (!m || !m[0]) return 0;
  const uint32_t w = m[0][0];
  return w >= 1 && w <= static_cast<uint32_t>(kMaxPictureSide) && m[1] ? static_cast<int32_t>(w) : 0;
}

int32_t RGBHeight(uint32_t **m) {
  if (!RGBWidth(m)) return 0;
  const uint32_t h = m[1][0];
  return h >= 1 && h <= static_cast<uint32_t>(kMaxPictureSide) ? static_cast<int32_t>(h) : 0;
}

Font *NewFont() { return AllocateFont(); }

bool AddGlyph(Font *font, char c, uint32_t **glyph) {
  if (!font || !c || !RGBWidth(glyph) || !RGBHeight(glyph)) return false;
  void *copy = CopyGlyph(glyph);
  if (!copy) return false;
  const char key[2] = {c, 0};
  if (RBSTNode *n = RBSTFind(font->root, key)) {
    FreeGlyph(n->value);
    n->value = copy;
    return true;
  }
  RBSTInsert(font, font->root, key, copy);
  return true;
}

int32_t MeasureGlyphHeight(Font *font) {
  if (!font || !font->root) return 0;
  int32_t tallest = 0;
  GuardVoid([&] {
    ForEachNode(font->root, [&](RBSTNode *n) {
      tallest = std::max(tallest, RGBHeight(static_cast<uint32_t **>(n->value)));
    });
  });
  return tallest;
}

int32_t MeasureTextWidth(const char *text, Font *font) {
  if (!text || !font) return 0;
  int64_t total = 0;
  for (const char *p = text; *p; ++p) total += GlyphAdvance(font, static_cast<unsigned char>(*p));
  return static_cast<int32_t>(std::min<int64_t>(total, INT32_MAX));
}

}  // namespace qvx

using namespace qvx;

extern "C" {

QVX_API unsigned char *DummyBitmap(int32_t width, int32_t height) noexcept {
  unsigned char *b = NewBitmapBlock(width, height);
  if (!b) return nullptr;
  const int64_t stride = BitmapStride(width);
  for (int32_t row = 0; row < height; ++row)
    std::memset(b + kBitmapHeaderSize + stride * row, 0x20, static_cast<std::size_t>(width) * 3);
  return b;
}

QVX_API unsigned char *EncodeBitmap(uint32_t **rgbMatrix) noexcept {
  const int32_t width = RGBWidth(rgbMatrix), height = RGBHeight(rgbMatrix);
  unsigned char *b = NewBitmapBlock(width, height);
  if (!b) return nullptr;
  const int64_t stride = BitmapStride(width);
  const bool bottomUp = BottomUp();
  for (int32_t row = 0; row < height; ++row) {
    const int32_t y = bottomUp ? height - row : row + 1;
    unsigned char *p = b + kBitmapHeaderSize + stride * row;
    for (int32_t x = 1; x <= width; ++x, p += 3) {
      const uint32_t v = rgbMatrix[x][y];
      const auto r = static_cast<unsigned char>(v >> 16), g = static_cast<unsigned char>(v >> 8),
                 bl = static_cast<unsigned char>(v);
      p[0] = bottomUp ? bl : r;
      p[1] = g;
      p[2] = bottomUp ? r : bl;
    }
  }
  return b;
}

QVX_API uint32_t **LoadBitmapToRGBMatrix(const char *path) noexcept {
  if (!path) return nullptr;
  std::FILE *f = std::fopen(path, "rb");
  if (!f) return nullptr;
  uint32_t **m = Guard(static_cast<uint32_t **>(nullptr), [&]() -> uint32_t ** {
    unsigned char header[kBitmapHeaderSize];
    if (std::fread(header, 1, sizeof header, f) != sizeof header) return nullptr;
    const auto width = static_cast<int32_t>(GetLE32(header + 18));
    const auto height = static_cast<int32_t>(GetLE32(header + 22));
    if (!SizeInRange(width, height)) return nullptr;
    const int64_t stride = BitmapStride(width);
    // The pixel rows must all be there before anything is allocated.
    const int64_t left = BytesLeft(f, kFileMode);
    if (left < stride * height) return nullptr;
    OwnedPicture picture(NewRGBMatrix(width, height, 0));
    uint32_t **out = picture.get();
    if (!out) return nullptr;
    std::vector<unsigned char> row(static_cast<std::size_t>(stride));
    for (int32_t k = 0; k < height; ++k) {
      if (std::fread(row.data(), 1, row.size(), f) != row.size()) return nullptr;
      const int32_t y = height - k;  // the first row stored is the bottom one
      const unsigned char *p = row.data();
      for (int32_t x = 1; x <= width; ++x, p += 3)
        out[x][y] = uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16;
    }
    return picture.release();
  });
  std::fclose(f);
  return m;
}

QVX_API uint32_t **DownSampleRGBMatrix(uint32_t **matrix, int32_t factor) noexcept {
  const int32_t width = RGBWidth(matrix), height = RGBHeight(matrix);
  if (!width || !height) return nullptr;
  if (factor < 1) factor = 1;
  const int32_t w = (width + factor - 1) / factor, h = (height + factor - 1) / factor;
  uint32_t **out = NewRGBMatrix(w, h, 0);
  if (!out) return nullptr;
  for (int32_t x = 1; x <= w; ++x) {
    const uint32_t *source = matrix[int64_t{x - 1} * factor + 1];
    for (int32_t y = 1; y <= h; ++y) out[x][y] = source[int64_t{y - 1} * factor + 1];
  }
  return out;
}

QVX_API Font *LoadFontFromFile(const char *path) noexcept {
  Font *font = AllocateFont();
  if (!font || !path) return font;
  if (std::FILE *f = std::fopen(path, "rb")) {
    RBSTRead(font, f, kFileMode);
    std::fclose(f);
  }
  return font;
}

QVX_API Font *LoadFontFromStream(MemFile *stream) noexcept {
  Font *font = AllocateFont();
  if (font && stream) RBSTRead(font, stream, 0);
  return font;
}

QVX_API void FreeFont(Font *font) noexcept {
  if (!font) return;
  if (font->root) {
    RBSTFreeValues(font, font->root);
    RBSTFreeNodes(font, font->root);
  }
  std::free(font);
}

QVX_API void PutSquare(int32_t x, int32_t y, uint32_t **matrix, int32_t width, int32_t height, uint32_t colour,
                       int32_t radius) noexcept {
  if (radius < 0) return;
  const int64_t w = std::min(width, RGBWidth(matrix)), h = std::min(height, RGBHeight(matrix));
  const int64_t x0 = std::max<int64_t>(1, int64_t{x} - radius), x1 = std::min<int64_t>(w, int64_t{x} + radius);
  const int64_t y0 = std::max<int64_t>(1, int64_t{y} - radius), y1 = std::min<int64_t>(h, int64_t{y} + radius);
  for (int64_t i = x0; i <= x1; ++i)
    for (int64_t j = y0; j <= y1; ++j) matrix[i][j] = colour;
}

// The walk steps one pixel along the longer axis and moves the shorter one
// whenever the fractional error reaches one half (Bresenham's midpoint rule).
// The error after k steps is known in closed form, k*|minor|/|major| less the
// moves made, so the pixel of step k is computed exactly in integers; that
// lets the walk start and stop at the edges of the matrix, however far away
// the end points lie.
QVX_API void DrawLine(int32_t x1, int32_t y1, int32_t x2, int32_t y2, uint32_t **matrix, int32_t height,
                      uint32_t colour, double thickness) noexcept {
  const int32_t w = RGBWidth(matrix), h = std::min(height, RGBHeight(matrix));
  if (!w || h < 1 || !std::isfinite(thickness)) return;
  const double rr = RoundHalfAway(thickness);
  const int32_t radius = rr < 0 ? 0 : rr > 64 ? 64 : static_cast<int32_t>(rr);
  const int64_t dx = int64_t{x2} - x1, dy = int64_t{y2} - y1;
  const bool xMajor = std::llabs(dx) >= std::llabs(dy);
  const int64_t major = xMajor ? std::llabs(dx) : std::llabs(dy);
  const int64_t minor = xMajor ? std::llabs(dy) : std::llabs(dx);
  const int64_t majorStart = xMajor ? x1 : y1, minorStart = xMajor ? y1 : x1;
  const int64_t majorStep = (xMajor ? dx : dy) < 0 ? -1 : 1, minorStep = (xMajor ? dy : dx) < 0 ? -1 : 1;
  const int64_t majorLimit = xMajor ? w : h;
  // Steps whose major coordinate lies within the matrix, widened by the radius.
  int64_t kFirst = 0, kLast = major;
  const int64_t low = 1 - radius, high = majorLimit + radius;
  if (majorStep > 0) {
    kFirst = std::max<int64_t>(kFirst, low - majorStart);
    kLast = std::min<int64_t>(kLast, high - majorStart);
  } else {
    kFirst = std::max<int64_t>(kFirst, majorStart - high);
    kLast = std::min<int64_t>(kLast, majorStart - low);
  }
  for (int64_t k = kFirst; k <= kLast; ++k) {
    // Moves of the minor axis after k steps: floor(k*minor/major + 1/2).
    // (The product needs more than 64 bits for end points far apart.)
    const int64_t moves =
        major ? static_cast<int64_t>((__int128{2} * k * minor + major) / (__int128{2} * major)) : 0;
    const int64_t a = majorStart + majorStep * k, b = minorStart + minorStep * moves;
    const int64_t px = xMajor ? a : b, py = xMajor ? b : a;
    if (px < low || py < 1 - radius || px > w + radius || py > h + radius) continue;
    PutSquare(static_cast<int32_t>(px), static_cast<int32_t>(py), matrix, w, h, colour, radius);
  }
}

QVX_API void DrawText(const char *text, uint32_t **matrix, int32_t x, int32_t y, uint32_t colour,
                      Font *font) noexcept {
  if (!text || !font || !RGBWidth(matrix)) return;
  int64_t pen = int64_t{x} - MeasureTextWidth(text, font) / 2;
  for (const char *p = text; *p && pen <= RGBWidth(matrix); ++p) {
    const auto c = static_cast<unsigned char>(*p);
    if (uint32_t **g = FindGlyph(font, c)) {
      PaintGlyph(g, matrix, pen, y, colour);
      pen += RGBWidth(g);
      continue;
    }
    char hex[2];
    HexDigits(c, hex);
    uint32_t **first = FindGlyph(font, static_cast<unsigned char>(hex[0]));
    uint32_t **second = FindGlyph(font, static_cast<unsigned char>(hex[1]));
    const int32_t advance = RGBWidth(first);
    if (first) PaintGlyph(first, matrix, pen, y, colour);
    if (second) PaintGlyph(second, matrix, pen + advance, y, colour);
    pen += 2 * int64_t{advance};
  }
}

QVX_API int32_t MeasureAverageGlyphWidth(Font *font) noexcept {
  if (!font || !font->root) return 0;
  int64_t total = 0, count = 0;
  GuardVoid([&] {
    ForEachNode(font->root, [&](RBSTNode *n) {
      if (const int32_t w = RGBWidth(static_cast<uint32_t **>(n->value))) {
        total += w;
        ++count;
      }
    });
  });
  return count ? static_cast<int32_t>(RoundHalfAway(static_cast<double>(total) / static_cast<double>(count))) : 0;
}

}  // extern "C"
