// The host's plot commands. The library draws the pictures; the host picks
// the options (round ticks, no imaginary part when it is zero everywhere, a
// legend when two curves are drawn), finds the font, may replace the title,
// and writes the first picture, and the second one on request, as BMP or
// PNG by the file's extension.
//
// The library hands over BMP blocks. The host asks for the ordinary
// bottom-up layout (platform code 0), the one DecodeBitmap reads, and turns each block back into an RGB
// matrix, so that titles are redrawn with the library's own text routine
// and both file formats come from one picture.
#include "plot.h"

#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace quorvex_cli {
namespace {

enum class Kind { kFunction, kSurface, kComplexPlane, kParametric, kFourier };

struct Request {
  Kind kind = Kind::kFunction;
  std::string text;
  double from = NAN, to = NAN, yfrom = NAN, yto = NAN;
  int width = 0, height = 0;       // picture size (--size)
  int columns = 0, rows = 0;       // plot columns and picture height (positional W H)
  int samples = 0;
  std::string out, second, title, font;
  bool haveTitle = false;
};

constexpr int kDefaultWidth = 800, kDefaultHeight = 448, kMaxSide = 8192;
constexpr int kDefaultSurfaceSamples = 100, kDefaultParametricSamples = 1000;

const char kUsage[] =
    "usage: quorvex --plot EXPR --from A --to B -o FILE [options]\n"
    "       quorvex --plot EXPR X1 X2 FILE [WIDTH HEIGHT]\n"
    "       quorvex --plot2d EXPR --from A --to B --yfrom C --yto D -o FILE [options]\n"
    "       quorvex --plot-complex EXPR --from A --to B --yfrom C --yto D -o FILE [options]\n"
    "       quorvex --plot-parametric 'FX,FY' --from T1 --to T2 -o FILE [options]\n"
    "       quorvex --plot-fourier EXPR --from A --to B -o FILE [options]\n"
    "options: --size WxH (picture, default 800x448)  --title TEXT  --font PATH\n"
    "         --samples N  --second FILE (the second picture: modulus and phase,\n"
    "         imaginary part, or the Fourier transform)\n"
    "FILE ending in .png is written as PNG, anything else as BMP.\n";

int Bad(const std::string &message) {
  std::fprintf(stderr, "quorvex: %s\n%s", message.c_str(), kUsage);
  return 2;
}

bool ParseNumber(const char *s, double *v) {
  char *end = nullptr;
  *v = std::strtod(s, &end);
  return end != s && *end == '\0' && std::isfinite(*v);
}

bool ParseCount(const char *s, int low, int high, int *v) {
  char *end = nullptr;
  const long n = std::strtol(s, &end, 10);
  if (end == s || *end != '\0' || n < low || n > high) return false;
  *v = static_cast<int>(n);
  return true;
}

bool ParseSize(const char *s, int *w, int *h) {
  const char *x = std::strchr(s, 'x');
  if (!x) return false;
  const std::string a(s, x);
  return ParseCount(a.c_str(), 1, kMaxSide, w) && ParseCount(x + 1, 1, kMaxSide, h);
}

bool EndsWith(const std::string &s, const char *suffix) {
  const std::size_t n = std::strlen(suffix);
  if (s.size() < n) return false;
  for (std::size_t i = 0; i < n; ++i)
    if (std::tolower(static_cast<unsigned char>(s[s.size() - n + i])) != suffix[i]) return false;
  return true;
}

// Parses argv[2..]; an empty text when the request is complete, else what is wrong.
std::string Parse(int argc, char **argv, Request *r) {
  const std::string command = argv[1];
  if (command == "--plot") r->kind = Kind::kFunction;
  else if (command == "--plot2d") r->kind = Kind::kSurface;
  else if (command == "--plot-complex") r->kind = Kind::kComplexPlane;
  else if (command == "--plot-parametric") r->kind = Kind::kParametric;
  else r->kind = Kind::kFourier;
  if (argc < 3) return "no expression to plot";
  r->text = argv[2];
  std::vector<std::string> positional;
  for (int i = 3; i < argc; ++i) {
    const std::string a = argv[i];
    const bool hasValue = i + 1 < argc;
    auto number = [&](double *v) { return hasValue && ParseNumber(argv[++i], v); };
    if (a == "--from" || a == "--to" || a == "--yfrom" || a == "--yto") {
      double *v = a == "--from" ? &r->from : a == "--to" ? &r->to : a == "--yfrom" ? &r->yfrom : &r->yto;
      if (!number(v)) return a + " needs a finite number";
    } else if (a == "-o" || a == "--second" || a == "--title" || a == "--font") {
      if (!hasValue) return a + " needs a value";
      std::string *v = a == "-o" ? &r->out : a == "--second" ? &r->second : a == "--title" ? &r->title : &r->font;
      *v = argv[++i];
      if (a == "--title") r->haveTitle = true;
    } else if (a == "--size") {
      if (!hasValue || !ParseSize(argv[++i], &r->width, &r->height))
        return "--size needs WIDTHxHEIGHT, each 1 to " + std::to_string(kMaxSide);
    } else if (a == "--samples") {
      if (!hasValue || !ParseCount(argv[++i], 1, 1 << 16, &r->samples)) return "--samples needs a count from 1 to 65536";
    } else if (a.size() > 1 && a[0] == '-' && !std::isdigit(static_cast<unsigned char>(a[1])) && a[1] != '.') {
      return "unknown option " + a;
    } else {
      positional.push_back(a);
    }
  }
  // The older form: --plot EXPR X1 X2 FILE [WIDTH HEIGHT], WIDTH counting plot columns.
  if (!positional.empty()) {
    if (r->kind != Kind::kFunction || (positional.size() != 3 && positional.size() != 5))
      return "unexpected argument " + positional[0];
    if (!ParseNumber(positional[0].c_str(), &r->from) || !ParseNumber(positional[1].c_str(), &r->to))
      return "X1 and X2 must be finite numbers";
    r->out = positional[2];
    if (positional.size() == 5 && (!ParseCount(positional[3].c_str(), 1, kMaxSide, &r->columns) ||
                                   !ParseCount(positional[4].c_str(), 1, kMaxSide, &r->rows)))
      return "WIDTH and HEIGHT must be counts from 1 to " + std::to_string(kMaxSide);
  }
  if (r->text.empty()) return "no expression to plot";
  if (std::isnan(r->from) || std::isnan(r->to)) return "--from and --to are needed";
  if (r->from == r->to) return "--from and --to must differ";
  const bool surface = r->kind == Kind::kSurface || r->kind == Kind::kComplexPlane;
  if (surface && (std::isnan(r->yfrom) || std::isnan(r->yto))) return "--yfrom and --yto are needed";
  if (surface && r->yfrom == r->yto) return "--yfrom and --yto must differ";
  if (!surface && (!std::isnan(r->yfrom) || !std::isnan(r->yto))) return "--yfrom and --yto are for surfaces";
  if (r->out.empty()) return "no output file (-o FILE)";
  if (r->kind == Kind::kParametric && !r->second.empty()) return "a parametric plot has one picture";
  if (r->columns && (r->width || r->height)) return "--size and WIDTH HEIGHT both given";
  return "";
}

bool Readable(const std::string &path) {
  std::FILE *f = std::fopen(path.c_str(), "rb");
  if (f) std::fclose(f);
  return f != nullptr;
}

// The font: the one asked for, else the one installed beside the program
// (bin/../share/quorvex), else the one of the source tree it was built from.
std::string FindFont() {
  char self[4096];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n > 0) {
    std::string dir(self, static_cast<std::size_t>(n));
    dir.erase(dir.find_last_of('/') + 1);
    const std::string installed = dir + "../share/quorvex/font.qvf";
    if (Readable(installed)) return installed;
  }
#ifdef QVX_SOURCE_FONT
  if (Readable(QVX_SOURCE_FONT)) return QVX_SOURCE_FONT;
#endif
  return "";
}

uint32_t LE32(const unsigned char *p) { return p[0] | p[1] << 8 | p[2] << 16 | uint32_t{p[3]} << 24; }

struct MatrixFree {
  void operator()(uint32_t **m) const { FreeMatrixUInt32(m); }
};
using Picture = std::unique_ptr<uint32_t *, MatrixFree>;
struct FontFree {
  void operator()(Font *f) const { FreeFont(f); }
};

// Puts a new title over the library's one: the white pixels of the title
// line (row 4, one glyph high, between the side margins, where only the
// title is white) go back to the background, and the text is drawn there.
void ReplaceTitle(uint32_t **m, const std::string &title, Font *font) {
  const int32_t width = static_cast<int32_t>(m[0][0]), height = static_cast<int32_t>(m[1][0]);
  // How far down the title's ink can reach: the lowest pixel of a few tall
  // glyphs drawn at the top of a scratch matrix.
  int32_t ink = 0;
  Picture probe(MatrixUInt32(96, 96));
  if (probe && probe.get()[0][0] == 96) {
    for (int32_t x = 1; x <= 96; ++x) std::memset(probe.get()[x] + 1, 0, 96 * sizeof(uint32_t));
    DrawText("Mgjy|([_", probe.get(), 48, 1, 0xffffff, font);
    for (int32_t x = 1; x <= 96; ++x)
      for (int32_t y = 1; y <= 96; ++y)
        if (probe.get()[x][y]) ink = std::max(ink, y);
  }
  const int32_t left = 13 * MeasureAverageGlyphWidth(font);
  for (int32_t x = left + 1; x <= width - left; ++x)
    for (int32_t y = 4; y < 4 + ink && y <= height; ++y)
      if (m[x][y] == 0xffffff) m[x][y] = 0x202020;
  DrawText(title.c_str(), m, width / 2 + 1, 4, 0xffffff, font);
}

bool WriteFile(const std::string &path, const unsigned char *data, std::size_t size) {
  std::FILE *out = std::fopen(path.c_str(), "wb");
  if (!out) return false;
  const bool written = std::fwrite(data, 1, size, out) == size;
  return std::fclose(out) == 0 && written;
}

// Writes one picture of the library as BMP or PNG, with a new title when one is given.
bool WritePicture(const unsigned char *bitmap, const std::string &path, const Request &r, Font *font) {
  Picture m(DecodeBitmap(bitmap));
  if (!m) return false;
  if (r.haveTitle) ReplaceTitle(m.get(), r.title, font);
  if (EndsWith(path, ".png")) {
    const std::vector<unsigned char> png = EncodePng(m.get());
    return !png.empty() && WriteFile(path, png.data(), png.size());
  }
  unsigned char *bmp = EncodeBitmap(m.get());
  const bool ok = bmp && WriteFile(path, bmp, LE32(bmp + 2));
  Free(bmp);
  return ok;
}

void AppendBE32(std::vector<unsigned char> *out, uint32_t v) {
  for (int shift = 24; shift >= 0; shift -= 8) out->push_back(static_cast<unsigned char>(v >> shift));
}

void AppendChunk(std::vector<unsigned char> *out, const char type[5], const std::vector<unsigned char> &data) {
  AppendBE32(out, static_cast<uint32_t>(data.size()));
  const std::size_t start = out->size();
  out->insert(out->end(), type, type + 4);
  out->insert(out->end(), data.begin(), data.end());
  const uLong crc = crc32(0L, out->data() + start, static_cast<uInt>(out->size() - start));
  AppendBE32(out, static_cast<uint32_t>(crc));
}

}  // namespace

bool IsPlotCommand(const char *arg) {
  for (const char *c : {"--plot", "--plot2d", "--plot-complex", "--plot-parametric", "--plot-fourier"})
    if (std::strcmp(arg, c) == 0) return true;
  return false;
}

uint32_t **DecodeBitmap(const unsigned char *b) {
  if (!b || b[0] != 'B' || b[1] != 'M' || LE32(b + 10) != 54 || (b[28] | b[29] << 8) != 24) return nullptr;
  const uint32_t w = LE32(b + 18), h = LE32(b + 22);
  if (w < 1 || h < 1 || w > 16384 || h > 16384) return nullptr;
  const std::size_t stride = (w * 3 + 3) & ~3u;
  if (LE32(b + 2) < 54 + stride * h) return nullptr;
  uint32_t **m = MatrixUInt32(static_cast<int32_t>(w), static_cast<int32_t>(h));
  if (!m || m[0][0] != w || m[1][0] != h) {
    FreeMatrixUInt32(m);
    return nullptr;
  }
  for (uint32_t y = 1; y <= h; ++y) {
    const unsigned char *row = b + 54 + stride * (h - y);
    for (uint32_t x = 1; x <= w; ++x) {
      const unsigned char *p = row + 3 * (x - 1);
      m[x][y] = uint32_t{p[2]} << 16 | p[1] << 8 | p[0];
    }
  }
  return m;
}

std::vector<unsigned char> EncodePng(uint32_t **m) {
  if (!m || !m[0] || !m[1]) return {};
  const uint32_t w = m[0][0], h = m[1][0];
  if (w < 1 || h < 1 || w > 16384 || h > 16384) return {};
  std::vector<unsigned char> raw;
  raw.reserve((3 * std::size_t{w} + 1) * h);
  for (uint32_t y = 1; y <= h; ++y) {
    raw.push_back(0);  // filter type: none
    for (uint32_t x = 1; x <= w; ++x) {
      const uint32_t p = m[x][y];
      raw.push_back(static_cast<unsigned char>(p >> 16));
      raw.push_back(static_cast<unsigned char>(p >> 8));
      raw.push_back(static_cast<unsigned char>(p));
    }
  }
  uLongf packedSize = compressBound(static_cast<uLong>(raw.size()));
  std::vector<unsigned char> packed(packedSize);
  if (compress2(packed.data(), &packedSize, raw.data(), static_cast<uLong>(raw.size()), Z_BEST_COMPRESSION) != Z_OK)
    return {};
  packed.resize(packedSize);
  std::vector<unsigned char> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  std::vector<unsigned char> header;
  AppendBE32(&header, w);
  AppendBE32(&header, h);
  header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB, deflate, no filter choice, no interlace
  AppendChunk(&png, "IHDR", header);
  AppendChunk(&png, "IDAT", packed);
  AppendChunk(&png, "IEND", {});
  return png;
}

int RunPlotCommand(int argc, char **argv, Environment *env) {
  Request r;
  const std::string problem = Parse(argc, argv, &r);
  if (!problem.empty()) return Bad(problem);
  std::string fontPath = r.font;
  if (!fontPath.empty() && !Readable(fontPath)) return Bad("cannot read the font " + fontPath);
  if (fontPath.empty()) fontPath = FindFont();
  if (fontPath.empty()) std::fprintf(stderr, "quorvex: no font found: the plot has no text (--font PATH)\n");
  const std::unique_ptr<Font, FontFree> font(LoadFontFromFile(fontPath.empty() ? nullptr : fontPath.c_str()));

  // The picture is the plot columns and two side margins of 13 glyphs each.
  const int margins = 26 * MeasureAverageGlyphWidth(font.get());
  int columns = r.columns, height = r.rows;
  if (!columns) {
    const int width = r.width ? r.width : kDefaultWidth;
    columns = width - margins;
    height = r.height ? r.height : kDefaultHeight;
    if (columns < 16) return Bad("--size is too narrow for the margins: at least " + std::to_string(margins + 16) + " wide");
  }

  SetPlatformCode(0);
  SetPlotOptions(QVX_PLOT_ROUND_TICKS | QVX_PLOT_HIDE_ZERO_SECOND | QVX_PLOT_LEGEND);
  const char *text = r.text.c_str();
  const int samples = r.samples;
  PlotBitmapPair *pair = nullptr;
  unsigned char *single = nullptr;
  switch (r.kind) {
    case Kind::kFunction:
      pair = GeneratePlotBitmaps(text, r.from, r.to, samples ? samples : columns, nullptr, nullptr, columns, height,
                                 font.get(), env);
      break;
    case Kind::kSurface:
    case Kind::kComplexPlane: {
      const int n = samples ? samples : kDefaultSurfaceSamples;
      pair = (r.kind == Kind::kSurface ? GeneratePlotBitmaps2D : GeneratePlotBitmapsComplex)(
          text, r.from, r.to, r.yfrom, r.yto, n, n, columns, height, font.get(), env);
      break;
    }
    case Kind::kParametric:
      single = GenerateParametricPlotBitmap(text, r.from, r.to, samples ? samples : kDefaultParametricSamples,
                                            columns, height, font.get(), env);
      break;
    case Kind::kFourier:
      pair = GenerateFourierPlotBitmaps(text, r.from, r.to, samples ? samples : columns, columns, height,
                                        font.get(), env);
      break;
  }
  const unsigned char *first = pair ? pair->first : single;
  int status = 0;
  if (!first) {
    std::fprintf(stderr, "quorvex: cannot plot %s\n", text);
    status = 1;
  } else if (!WritePicture(first, r.out, r, font.get())) {
    std::fprintf(stderr, "quorvex: cannot write %s\n", r.out.c_str());
    status = 1;
  } else if (!r.second.empty() && !(pair && pair->second && WritePicture(pair->second, r.second, r, font.get()))) {
    std::fprintf(stderr, "quorvex: cannot write %s\n", r.second.c_str());
    status = 1;
  }
  if (pair) {
    Free(pair->first);
    Free(pair->second);
    Free(pair);
  }
  Free(single);
  return status;
}

}  // namespace quorvex_cli
