// The renderer: sampled data becomes one RGB matrix with a frame, a binary
// tick grid, labels and the curves, in the fixed dark style of plot.h.
//
// Geometry, shared by every kind of picture: the drawing scale is
// s = min(height + 1/2, columns) / 448 (448 rows is the reference height),
// lines are s/1.5 thick, the left and right margins are 13 average glyph
// widths each, and the vertical margins hold a line of text, the ticks and a
// 32nd of the height. Plot columns are left+1 .. left+columns; plot rows run
// from `top` (greatest value) to `bottom` (least value).
//
// The tick grid is binary, not decimal: ticks fall on repeated midpoints and
// labels show whatever value lies there, printed with four digits. The
// round-ticks option replaces it with a decimal grid: steps of 1, 2 or 5
// times a power of ten, chosen so that labels don't crowd, and labels only
// on those steps. Every option is read from the global record; with none set
// the pictures are the same bytes as before the options existed.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "common/globals.h"
#include "libquorvex.h"
#include "plot/plot.h"

namespace qvx {
namespace {

constexpr double kReferenceHeight = 448.0;
constexpr uint32_t kSurfaceLowColour = 0x10287a;

struct Frame {
  int32_t columns = 0;   // plot columns
  int32_t left = 0;      // left margin: plot column k is left + k
  int32_t width = 0;     // picture width
  int32_t height = 0;    // picture height
  int32_t top = 1;       // first and last plot row
  int32_t bottom = 1;
  int32_t glyphHeight = 0;
  int32_t tickHalf = 0;  // rounded from the line thickness
  double thickness = 0;  // of curves
  Font *font = nullptr;
};

bool MakeFrame(int32_t columns, int32_t height, Font *font, Frame *f) {
  if (columns < 1 || height < 1 || columns > kMaxPictureSide || height > kMaxPictureSide) return false;
  const double s = std::min(height + 0.5, static_cast<double>(columns)) / kReferenceHeight;
  const double t = s / 1.5;
  const int64_t g = MeasureAverageGlyphWidth(font);
  f->columns = columns;
  f->left = static_cast<int32_t>(std::min<int64_t>(13 * g, kMaxPictureSide));
  f->width = static_cast<int32_t>(std::min<int64_t>(columns + 26 * g, kMaxPictureSide + 1));
  f->height = height;
  f->glyphHeight = MeasureGlyphHeight(font);
  f->tickHalf = static_cast<int32_t>(RoundHalfAway(t * 0.5));
  f->thickness = t;
  f->font = font;
  const int64_t margin = int64_t{f->glyphHeight} + f->tickHalf + (2 * int64_t{height}) / 64;
  f->top = static_cast<int32_t>(margin + 1);
  f->bottom = static_cast<int32_t>(height - margin);
  if (f->bottom <= f->top) {  // too low for margins: the plot takes every row
    f->top = 1;
    f->bottom = height;
  }
  return f->width <= kMaxPictureSide &&
         int64_t{f->width} * height <= kMaxPicturePixels;
}

// Labels of two bounds are left out when the bounds can't be told apart.
bool SameBounds(double a, double b) {
  if (a == 0.0 && b == 0.0) return true;
  return std::fabs(a - b) / std::hypot(a, b) < 1e-14;
}

// Inner labels stand further apart on hosts outside the usual code range.
double LabelSpacingFactor() {
  const int32_t code = G().platformCode;
  return code < 65536 || code > 666666 ? 2.0 : 1.0;
}

std::string LabelText(double v) {
  const Owned<char, FreeString> t(DoubleString(v, 4));
  return t ? std::string(t.get()) : std::string();
}

int32_t ClampToInt(double v) {
  if (!(v > -1e9)) return -1000000000;
  if (!(v < 1e9)) return 1000000000;
  return static_cast<int32_t>(v);
}

bool Option(int32_t bit) { return (G().plotOptions & bit) != 0; }

// The least of 1, 2, 5 times a power of ten that cuts `span` into at most
// `count` steps; 0 when there is no such step.
double RoundStep(double span, double count) {
  if (!(span > 0) || !std::isfinite(span) || !(count >= 1)) return 0.0;
  const double raw = span / std::floor(count);
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  for (double m : {1.0, 2.0, 5.0, 10.0})
    if (m * power >= raw * (1 - 1e-12)) return m * power;
  return 10.0 * power;
}

// Calls `at(position, value)` for the multiples of `step` in [low, high],
// `position` being the pixel of the value on an axis from `from` (low) to
// `to` (high). Values are made as k*step, so that 0 is exactly 0.
void ForEachMultiple(double low, double high, double step, int32_t from, int32_t to,
                     const std::function<void(int32_t, double)> &at) {
  if (!(step > 0) || !(high > low)) return;
  const double first = std::ceil(low / step - 1e-9), last = std::floor(high / step + 1e-9);
  if (!(last - first < 1e5)) return;
  for (double k = first; k <= last; ++k) {
    const double v = k * step;
    at(ClampToInt(RoundHalfAway(from + (v - low) * (to - from) / (high - low))), v);
  }
}

// A round value as a label: enough digits for any multiple a grid shows,
// and no rounding noise such as 0.30000000000000004.
std::string RoundLabelText(double v, double step) {
  const int digits = std::clamp(static_cast<int>(std::ceil(std::log10(std::fabs(v) / step + 1))) + 1, 1, 15);
  const Owned<char, FreeString> t(DoubleString(v, digits));
  return t ? std::string(t.get()) : std::string();
}

// Decimal ticks and labels: majors far enough apart for their labels, minor
// ticks at a fifth of a step (a quarter of a step of 2).
void DrawRoundAxes(uint32_t **m, const Frame &f, double xLow, double xHigh, double yLow, double yHigh,
                   int32_t minorLength, int32_t majorLength) {
  const int32_t first = f.left + 1, last = f.left + f.columns;
  const int32_t box = f.height;
  const int32_t g = std::max(MeasureAverageGlyphWidth(f.font), 6);
  const int32_t gh = std::max(f.glyphHeight, 8);
  auto minorOf = [](double step) {
    const double mantissa = step / std::pow(10.0, std::floor(std::log10(step)));
    return step / (std::fabs(mantissa - 2.0) < 0.5 ? 4.0 : 5.0);
  };
  const double xStep = RoundStep(xHigh - xLow, (last - first) / (10.0 * g));
  const double yStep = RoundStep(yHigh - yLow, (f.bottom - f.top) / (3.0 * gh));
  auto xTick = [&](int32_t length) {
    return [&, length](int32_t c, double) { DrawLine(c, f.bottom + 1, c, f.bottom + length, m, box, kTickColour, 0); };
  };
  // Rows grow downward while values grow upward: the axis runs bottom to top.
  auto yTick = [&](int32_t length) {
    return [&, length](int32_t r, double) { DrawLine(first - 1 - length, r, first - 2, r, m, box, kTickColour, 0); };
  };
  if (xStep > 0) {
    ForEachMultiple(xLow, xHigh, minorOf(xStep), first, last, xTick(minorLength));
    ForEachMultiple(xLow, xHigh, xStep, first, last, xTick(majorLength));
  }
  if (yStep > 0) {
    ForEachMultiple(yLow, yHigh, minorOf(yStep), f.bottom, f.top, yTick(minorLength));
    ForEachMultiple(yLow, yHigh, yStep, f.bottom, f.top, yTick(majorLength));
  }
  if (!f.font) return;
  const int32_t xLabelRow = f.bottom + majorLength + 2;
  const int32_t yLabelColumn = f.left / 2 + 1;
  ForEachMultiple(xLow, xHigh, xStep, first, last, [&](int32_t c, double v) {
    DrawText(RoundLabelText(v, xStep).c_str(), m, c, xLabelRow, kTextColour, f.font);
  });
  ForEachMultiple(yLow, yHigh, yStep, f.bottom, f.top, [&](int32_t r, double v) {
    DrawText(RoundLabelText(v, yStep).c_str(), m, yLabelColumn, r - f.glyphHeight / 2, kTextColour, f.font);
  });
}

// Box, ticks and labels of a plot area whose columns show xLow .. xHigh and
// whose rows show yHigh (top) .. yLow (bottom). Ranges that can't be told
// apart get no labels.
void DrawAxes(uint32_t **m, const Frame &f, double xLow, double xHigh, double yLow, double yHigh) {
  const int32_t first = f.left + 1, last = f.left + f.columns;
  const int32_t box = f.height;
  DrawLine(first - 1, f.top, last + 1, f.top, m, box, kTickColour, 0);
  DrawLine(first - 1, f.bottom, last + 1, f.bottom, m, box, kTickColour, 0);
  DrawLine(first - 1, f.top, first - 1, f.bottom, m, box, kTickColour, 0);
  DrawLine(last + 1, f.top, last + 1, f.bottom, m, box, kTickColour, 0);

  const int32_t minorLength = f.tickHalf + 2, majorLength = 2 * f.tickHalf + 4;
  // A range of one value has no round steps: it keeps the binary grid.
  if (Option(QVX_PLOT_ROUND_TICKS) && !SameBounds(xLow, xHigh) && !SameBounds(yLow, yHigh)) {
    DrawRoundAxes(m, f, std::min(xLow, xHigh), std::max(xLow, xHigh), yLow, yHigh, minorLength, majorLength);
    return;
  }
  const double major = f.height / 4.0, minor = f.height / 32.0;
  auto xTick = [&](int32_t length) {
    return [&, length](int32_t c) { DrawLine(c, f.bottom + 1, c, f.bottom + length, m, box, kTickColour, 0); };
  };
  auto yTick = [&](int32_t length) {
    return [&, length](int32_t r) { DrawLine(first - 1 - length, r, first - 2, r, m, box, kTickColour, 0); };
  };
  DrawTicksX(first, last, minor, xTick(minorLength));
  DrawTicksX(first, last, major, xTick(majorLength));
  DrawTicksX(f.top, f.bottom, minor, yTick(minorLength));
  DrawTicksX(f.top, f.bottom, major, yTick(majorLength));

  if (!f.font) return;
  const int32_t xLabelRow = f.bottom + majorLength + 2;
  const int32_t yLabelColumn = f.left / 2 + 1;
  const double factor = LabelSpacingFactor();
  auto xValue = [&](int32_t c) {
    return last > first ? xLow + (c - first) * (xHigh - xLow) / (last - first) : xLow;
  };
  auto yValue = [&](int32_t r) {
    return f.bottom > f.top ? yHigh - (r - f.top) * (yHigh - yLow) / (f.bottom - f.top) : yHigh;
  };
  auto xLabel = [&](int32_t c) { DrawText(LabelText(xValue(c)).c_str(), m, c, xLabelRow, kTextColour, f.font); };
  auto yLabel = [&](int32_t r) {
    DrawText(LabelText(yValue(r)).c_str(), m, yLabelColumn, r - f.glyphHeight / 2, kTextColour, f.font);
  };
  if (!SameBounds(xLow, xHigh)) {
    xLabel(first);
    xLabel(last);
    DrawTicksX(first, last, f.height / 2.0 * factor, xLabel);
  }
  if (!SameBounds(yLow, yHigh)) {
    yLabel(f.top);
    yLabel(f.bottom);
    DrawTicksX(f.top, f.bottom, f.height / 4.0 * factor, yLabel);
  }
}

// Least and greatest finite value of some rows; false when there is none.
bool FiniteRange(const std::vector<const std::vector<double> *> &rows, double *low, double *high) {
  double lo = std::numeric_limits<double>::infinity(), hi = -lo;
  for (const auto *row : rows)
    for (double v : *row)
      if (std::isfinite(v)) {
        lo = std::min(lo, v);
        hi = std::max(hi, v);
      }
  if (!(lo <= hi)) return false;
  *low = lo;
  *high = hi;
  return true;
}

// Row of a value in the plot area; a range of one value sits in the middle.
int32_t ValueRow(const Frame &f, double v, double low, double high) {
  if (!(high > low)) return ClampToInt(RoundHalfAway((f.top + f.bottom) / 2.0));
  return ClampToInt(RoundHalfAway(f.top + (high - v) * (f.bottom - f.top) / (high - low)));
}

// The samples of one curve joined by lines; non-finite values break it and
// a finite sample between two gaps is drawn as a point.
void DrawCurve(uint32_t **m, const Frame &f, const std::vector<double> &v, double low, double high,
               uint32_t colour) {
  const int32_t n = static_cast<int32_t>(v.size());
  for (int32_t k = 0; k < n; ++k) {
    if (!std::isfinite(v[k])) continue;
    const int32_t c = f.left + k + 1, r = ValueRow(f, v[k], low, high);
    const bool before = k > 0 && std::isfinite(v[k - 1]);
    const bool after = k + 1 < n && std::isfinite(v[k + 1]);
    if (before) DrawLine(c - 1, ValueRow(f, v[k - 1], low, high), c, r, m, f.height, colour, f.thickness);
    else if (!after) DrawLine(c, r, c, r, m, f.height, colour, f.thickness);
  }
}

// A second curve that is zero at every finite sample, up to rounding: the
// imaginary part of x^2 at negative x, computed through the complex power,
// is a few 1e-16 of the real part, not a part worth a curve.
bool NegligibleBeside(const std::vector<double> &v, const std::vector<double> &reference) {
  double scale = 0.0;
  for (double x : reference)
    if (std::isfinite(x)) scale = std::max(scale, std::fabs(x));
  const double tolerance = 1e-12 * scale;
  return std::all_of(v.begin(), v.end(), [&](double x) { return !std::isfinite(x) || std::fabs(x) <= tolerance; });
}

bool AnyFinite(const std::vector<double> &v) {
  return std::any_of(v.begin(), v.end(), [](double x) { return std::isfinite(x); });
}

// Names of two curves in a framed box in the top right corner of the plot
// area, each after a short stroke of its colour. The box hides the curves
// behind it.
void DrawLegend(uint32_t **m, const Frame &f, const char *const names[2], const uint32_t colours[2]) {
  if (!f.font || f.glyphHeight < 1) return;
  const int32_t g = std::max(MeasureAverageGlyphWidth(f.font), 1);
  const int32_t textWidth = std::max(MeasureTextWidth(names[0], f.font), MeasureTextWidth(names[1], f.font));
  const int32_t stroke = 3 * g, pad = g / 2 + 2, line = f.glyphHeight + 2;
  const int32_t boxWidth = pad + stroke + g + textWidth + pad, boxHeight = 2 * pad + 2 * line;
  const int32_t right = f.left + f.columns - g, top = f.top + g;
  const int32_t left = right - boxWidth, bottom = top + boxHeight;
  if (left <= f.left + 1 || bottom >= f.bottom) return;  // no room: no legend
  for (int32_t x = left; x <= right; ++x)
    for (int32_t y = top; y <= bottom; ++y) m[x][y] = kBackgroundColour;
  DrawLine(left, top, right, top, m, f.height, kTickColour, 0);
  DrawLine(left, bottom, right, bottom, m, f.height, kTickColour, 0);
  DrawLine(left, top, left, bottom, m, f.height, kTickColour, 0);
  DrawLine(right, top, right, bottom, m, f.height, kTickColour, 0);
  for (int k = 0; k < 2; ++k) {
    const int32_t row = top + pad + k * line;
    const int32_t middle = row + f.glyphHeight / 2;
    DrawLine(left + pad, middle, left + pad + stroke, middle, m, f.height, colours[k], f.thickness);
    const int32_t textLeft = left + pad + stroke + g;
    DrawText(names[k], m, textLeft + MeasureTextWidth(names[k], f.font) / 2, row, kTextColour, f.font);
  }
}

uint32_t Blend(uint32_t a, uint32_t b, double u) {
  auto channel = [&](int shift) {
    const double ca = (a >> shift) & 0xff, cb = (b >> shift) & 0xff;
    return static_cast<uint32_t>(RoundHalfAway(ca + (cb - ca) * u)) << shift;
  };
  return channel(16) | channel(8) | channel(0);
}

}  // namespace

void DrawTicksX(double left, double right, double spacing, const std::function<void(int32_t)> &tick) {
  if (!(spacing >= 0.5) || !std::isfinite(left) || !std::isfinite(right)) return;
  // Recursion on the left half, iteration on the right half; the depth is
  // bounded by log2 of the width over the spacing.
  while (right - left >= spacing) {
    const double middle = (left + right) / 2.0;
    tick(ClampToInt(RoundHalfAway(middle)));
    DrawTicksX(left, middle, spacing, tick);
    left = middle;
  }
}

void DrawTitle(uint32_t **m, const std::string &title, Font *font) {
  DrawText(title.c_str(), m, RGBWidth(m) / 2 + 1, 4, kTextColour, font);
}

uint32_t **RenderCurve(double **samples, int32_t height, uint32_t first, uint32_t second, int32_t mode,
                       int32_t selector, Font *font, double lowerFirst, double upperFirst, double lowerSecond,
                       double upperSecond) {
  if (!samples || !samples[0]) return nullptr;
  const double columns = samples[0][0];
  if (!(columns >= 1 && columns <= kMaxPictureSide)) return nullptr;
  const auto n = static_cast<int32_t>(columns);
  for (int32_t k = 1; k <= n; ++k)
    if (!samples[k] || !(samples[k][0] >= 6)) return nullptr;
  Frame f;
  if (!MakeFrame(n, height, font, &f)) return nullptr;
  return Guard(static_cast<uint32_t **>(nullptr), [&]() -> uint32_t ** {
    const int32_t rowA = selector == 0 ? kRowRe : kRowModulus, rowB = selector == 0 ? kRowIm : kRowPhase;
    std::vector<double> a(static_cast<std::size_t>(n)), b(static_cast<std::size_t>(n));
    auto clamp = [](double v, double lower, double upper) {
      if (!std::isfinite(v)) return v;
      if (std::isfinite(lower) && v < lower) v = lower;
      if (std::isfinite(upper) && v > upper) v = upper;
      return v;
    };
    for (int32_t k = 1; k <= n; ++k) {
      a[k - 1] = clamp(samples[k][rowA], lowerFirst, upperFirst);
      b[k - 1] = mode == 0 ? clamp(samples[k][rowB], lowerSecond, upperSecond)
                           : std::numeric_limits<double>::quiet_NaN();
    }
    if (Option(QVX_PLOT_HIDE_ZERO_SECOND) && NegligibleBeside(b, a)) b.assign(b.size(), std::numeric_limits<double>::quiet_NaN());
    double low = 0.0, high = 0.0;
    FiniteRange({&a, &b}, &low, &high);
    uint32_t **m = NewRGBMatrix(f.width, height, kBackgroundColour);
    if (!m) return nullptr;
    DrawAxes(m, f, samples[1][kRowX], samples[n][kRowX], low, high);
    DrawCurve(m, f, a, low, high, first);
    DrawCurve(m, f, b, low, high, second);
    if (Option(QVX_PLOT_LEGEND) && AnyFinite(a) && AnyFinite(b)) {
      static const char *const kPartNames[2] = {"real part", "imaginary part"};
      static const char *const kPolarNames[2] = {"modulus", "phase"};
      const uint32_t colours[2] = {first, second};
      DrawLegend(m, f, selector == 0 ? kPartNames : kPolarNames, colours);
    }
    return m;
  });
}

uint32_t **RenderSurface(double **values, double x1, double x2, double y1, double y2, int32_t width,
                         int32_t height, uint32_t colour, Font *font) {
  if (!values || !values[0] || !values[1]) return nullptr;
  const double cols = values[0][0], rows = values[1][0];
  if (!(cols >= 1 && cols <= kMaxPicturePixels && rows >= 1 && rows <= kMaxPicturePixels)) return nullptr;
  const auto nx = static_cast<int32_t>(cols), ny = static_cast<int32_t>(rows);
  Frame f;
  if (!MakeFrame(width, height, font, &f)) return nullptr;
  return Guard(static_cast<uint32_t **>(nullptr), [&]() -> uint32_t ** {
    std::vector<double> all;
    all.reserve(static_cast<std::size_t>(nx) * ny);
    for (int32_t i = 1; i <= nx; ++i)
      for (int32_t j = 1; j <= ny; ++j) all.push_back(values[i][j]);
    double low = 0.0, high = 0.0;
    FiniteRange({&all}, &low, &high);
    uint32_t **m = NewRGBMatrix(f.width, height, kBackgroundColour);
    if (!m) return nullptr;
    const int32_t span = f.bottom - f.top;
    for (int32_t c = 1; c <= width; ++c) {
      const int32_t i = width > 1 ? 1 + ClampToInt(RoundHalfAway((c - 1) * double(nx - 1) / (width - 1))) : 1;
      uint32_t *column = m[f.left + c];
      for (int32_t r = f.top; r <= f.bottom; ++r) {
        // The top row shows y2, the bottom row y1.
        const int32_t j = span > 0 ? 1 + ClampToInt(RoundHalfAway((f.bottom - r) * double(ny - 1) / span)) : 1;
        const double v = values[i][j];
        if (!std::isfinite(v)) continue;
        const double u = high > low ? (v - low) / (high - low) : 0.5;
        column[r] = Blend(kSurfaceLowColour, colour, u);
      }
    }
    DrawAxes(m, f, x1, x2, y1, y2);
    return m;
  });
}

uint32_t **RenderParametric(const double *xs, const double *ys, int32_t width, int32_t height, uint32_t colour,
                            Font *font) {
  if (!xs || !ys || xs[0] != ys[0] || !(xs[0] >= 1 && xs[0] <= kMaxPicturePixels)) return nullptr;
  const auto n = static_cast<int32_t>(xs[0]);
  Frame f;
  if (!MakeFrame(width, height, font, &f)) return nullptr;
  return Guard(static_cast<uint32_t **>(nullptr), [&]() -> uint32_t ** {
    std::vector<double> x(xs + 1, xs + 1 + n), y(ys + 1, ys + 1 + n);
    // A point is drawn only when both of its coordinates are finite.
    for (int32_t k = 0; k < n; ++k)
      if (!std::isfinite(x[k]) || !std::isfinite(y[k])) x[k] = y[k] = std::numeric_limits<double>::quiet_NaN();
    double xLow = 0, xHigh = 0, yLow = 0, yHigh = 0;
    FiniteRange({&x}, &xLow, &xHigh);
    FiniteRange({&y}, &yLow, &yHigh);
    uint32_t **m = NewRGBMatrix(f.width, height, kBackgroundColour);
    if (!m) return nullptr;
    DrawAxes(m, f, xLow, xHigh, yLow, yHigh);
    auto column = [&](double v) {
      if (!(xHigh > xLow)) return ClampToInt(RoundHalfAway(f.left + (1 + width) / 2.0));
      return ClampToInt(RoundHalfAway(f.left + 1 + (v - xLow) * (width - 1) / (xHigh - xLow)));
    };
    for (int32_t k = 0; k < n; ++k) {
      if (!std::isfinite(x[k])) continue;
      const int32_t c = column(x[k]), r = ValueRow(f, y[k], yLow, yHigh);
      const bool before = k > 0 && std::isfinite(x[k - 1]);
      const bool after = k + 1 < n && std::isfinite(x[k + 1]);
      if (before) DrawLine(column(x[k - 1]), ValueRow(f, y[k - 1], yLow, yHigh), c, r, m, height, colour, f.thickness);
      else if (!after) DrawLine(c, r, c, r, m, height, colour, f.thickness);
    }
    return m;
  });
}

}  // namespace qvx
