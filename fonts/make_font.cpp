// Builds the font file the plots label their axes with, from a PSF1 console
// font (a 4-byte header, 256 or 512 glyphs of one byte a row, then a table of
// the Unicode code points each glyph stands for).
//
//   make_font FONT.psf OUT.qvf
//
// Only the printable ASCII characters are kept, each under its own
// one-character key: the texts a plot draws are ASCII, and a one-byte key
// can't name anything else. The file is the font's tree written by the
// library's own tree writer, so it reads back with LoadFontFromFile. The
// tree is filled in code-point order, which makes the output reproducible.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <vector>

#include "libquorvex.h"
#include "plot/plot.h"

namespace {

constexpr uint8_t kMagic0 = 0x36, kMagic1 = 0x04;
constexpr uint8_t kMode512 = 0x01, kModeHasTable = 0x02;

// Code point -> glyph index, from the Unicode table (or the identity for
// the first 128 glyphs when the font has none).
std::map<uint32_t, int> CodePoints(const std::vector<uint8_t> &psf, int glyphs, std::size_t table) {
  std::map<uint32_t, int> map;
  if (table >= psf.size()) {
    for (int i = 0; i < 128 && i < glyphs; ++i) map[static_cast<uint32_t>(i)] = i;
    return map;
  }
  int glyph = 0;
  bool sequence = false;  // after 0xfffe come combining sequences: skipped
  for (std::size_t p = table; p + 1 < psf.size() && glyph < glyphs; p += 2) {
    const uint32_t u = psf[p] | psf[p + 1] << 8;
    if (u == 0xffff) {
      ++glyph;
      sequence = false;
    } else if (u == 0xfffe) {
      sequence = true;
    } else if (!sequence && !map.count(u)) {
      map[u] = glyph;
    }
  }
  return map;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: make_font FONT.psf OUT.qvf\n");
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  const std::vector<uint8_t> psf((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (psf.size() < 4 || psf[0] != kMagic0 || psf[1] != kMagic1) {
    std::fprintf(stderr, "make_font: %s is not a PSF1 font\n", argv[1]);
    return 1;
  }
  const int glyphs = psf[2] & kMode512 ? 512 : 256;
  const int height = psf[3];
  const std::size_t table = 4 + static_cast<std::size_t>(glyphs) * height;
  if (height < 1 || psf.size() < table) {
    std::fprintf(stderr, "make_font: %s is truncated\n", argv[1]);
    return 1;
  }
  const auto codes = CodePoints(psf, glyphs, psf[2] & kModeHasTable ? table : psf.size());

  InitializeGlobals(nullptr, 0);
  Font *font = qvx::NewFont();
  int kept = 0;
  for (uint32_t c = 0x20; c < 0x7f; ++c) {
    const auto it = codes.find(c);
    if (it == codes.end()) continue;
    // PSF1 glyphs are 8 pixels wide, the leftmost pixel in the top bit.
    uint32_t **glyph = qvx::NewRGBMatrix(8, height, 0);
    const uint8_t *rows = psf.data() + 4 + static_cast<std::size_t>(it->second) * height;
    for (int y = 1; y <= height; ++y)
      for (int x = 1; x <= 8; ++x)
        if (rows[y - 1] & (0x80 >> (x - 1))) glyph[x][y] = 0xffffff;
    kept += qvx::AddGlyph(font, static_cast<char>(c), glyph);
    FreeMatrixUInt32(glyph);
  }
  std::FILE *out = std::fopen(argv[2], "wb");
  if (!out) {
    std::fprintf(stderr, "make_font: cannot write %s\n", argv[2]);
    return 1;
  }
  RBSTWrite(font, font->root, out, 1);
  const bool ok = std::fclose(out) == 0;
  FreeFont(font);
  TerminateGlobals();
  std::printf("%d glyphs of 8 x %d\n", kept, height);
  return ok ? 0 : 1;
}
