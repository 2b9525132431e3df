// Internal interface of the plotting modules: RGB matrices, fonts, the
// renderer and the sampler behind the plot generators.
//
// An RGB matrix is a MatrixUInt32 of `width` columns of `height` pixels:
// m[x][y] with x in 1..width (left to right) and y in 1..height (top to
// bottom), each pixel 0x00RRGGBB; m[0][0] holds the width and m[x][0] the
// height. Every routine here clips to the matrix it is given and refuses
// sizes above kMaxPictureSide, so that no caller can make it allocate or
// touch memory wildly.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "common/owned.h"
#include "libquorvex.h"

namespace qvx {

// Owners of the containers a plot makes on its way to a picture.
using OwnedMatrix = Owned<double *, FreeMatrix>;
using OwnedVector = Owned<double[], FreeVector>;
using OwnedVectorC = Owned<Complex[], FreeVectorC>;
using OwnedPicture = Owned<uint32_t *, FreeMatrixUInt32>;

// Fixed style of every picture.
inline constexpr uint32_t kBackgroundColour = 0x202020;
inline constexpr uint32_t kTickColour = 0xc0c0c0;
inline constexpr uint32_t kTextColour = 0xffffff;
// Curve colours of the function plots.
inline constexpr uint32_t kRealColour = 0x7fff9f;
inline constexpr uint32_t kImaginaryColour = 0x7fffff;
inline constexpr uint32_t kModulusColour = 0xb2ff66;
inline constexpr uint32_t kPhaseColour = 0xffd866;

// Largest width or height of a picture, and largest pixel count.
inline constexpr int32_t kMaxPictureSide = 16384;
inline constexpr int64_t kMaxPicturePixels = int64_t{1} << 25;

// The BMP header is 54 bytes; rows are padded to a multiple of 4 bytes.
inline constexpr int32_t kBitmapHeaderSize = 54;
inline int64_t BitmapStride(int64_t width) { return (width * 3 + 3) & ~int64_t{3}; }

// Round half away from zero.
double RoundHalfAway(double x);

// A new RGB matrix filled with `colour`, or null for a size out of range or
// when memory runs out (FreeMatrixUInt32).
uint32_t **NewRGBMatrix(int32_t width, int32_t height, uint32_t colour);
// Dimensions of an RGB matrix; 0 for null or a malformed header.
int32_t RGBWidth(uint32_t **m);
int32_t RGBHeight(uint32_t **m);

// An empty font with the glyph callbacks, and a glyph added under a
// one-character key (the glyph is copied). FreeFont releases both.
Font *NewFont();
bool AddGlyph(Font *font, char c, uint32_t **glyph);
// The tallest glyph of the font, 0 for an empty font.
int32_t MeasureGlyphHeight(Font *font);
// The width DrawText gives a text.
int32_t MeasureTextWidth(const char *text, Font *font);

// Binary tick grid: a tick at the rounded midpoint of [left, right] while
// the interval is at least `spacing` wide, then the same on both halves.
void DrawTicksX(double left, double right, double spacing, const std::function<void(int32_t)> &tick);

// Rows of a PlotSamples matrix (Matrix(n, 6), one column a sample).
enum PlotRow : int32_t { kRowX = 1, kRowZero = 2, kRowRe = 3, kRowIm = 4, kRowModulus = 5, kRowPhase = 6 };

// One picture of a curve pair: the rows selected (0: real and imaginary,
// 1: modulus and phase) of a PlotSamples matrix, clamped, framed, ticked
// and labelled. Mode 0 draws both curves, any other mode the first alone.
// Null when the sizes are out of range.
uint32_t **RenderCurve(double **samples, int32_t height, uint32_t first, uint32_t second, int32_t mode,
                       int32_t selector, Font *font, double lowerFirst, double upperFirst, double lowerSecond,
                       double upperSecond);

// A surface picture of a Matrix(nx, ny) of values over [x1, x2] x [y1, y2]
// (y grows upward): `width` columns of plot area, colours running from a
// dark blue at the least finite value to `colour` at the greatest;
// non-finite values show the background.
uint32_t **RenderSurface(double **values, double x1, double x2, double y1, double y2, int32_t width,
                         int32_t height, uint32_t colour, Font *font);

// A curve through the points (xs[k], ys[k]), k = 1..n (Vectors), with both
// axes scaled to the finite range of the points.
uint32_t **RenderParametric(const double *xs, const double *ys, int32_t width, int32_t height, uint32_t colour,
                            Font *font);

// The title line of a picture, white and centred at row 4.
void DrawTitle(uint32_t **m, const std::string &title, Font *font);

// The plot variable of a prepared expression, found in a scratch scope.
struct PlotVariable {
  std::string name;       // the unknown, or a free temporary for a constant
  bool temporary = false; // the expression has no unknown
};

// Finds the single unknown of `text` seen from `env` (names without a
// value; calls, members and "i" are not unknowns). A text without one gets
// a temporary name that no table holds. False for two or more unknowns.
bool PrepareVariable(std::string_view text, Environment *env, PlotVariable *variable);

// A scratch copy of `source` (a fresh top-level scope when it is null) with
// its history off, for sampling without touching the caller's tables;
// null when it can't be made. End it with TerminateEnvironment.
Environment *NewPlotScratch(Environment *source);

// Normalises, screens and simplifies an expression text in a scratch scope,
// as every plot does before sampling. False for a text that can't be
// plotted (a failed screen, an assignment, a control statement).
bool PrepareTextForSampling(const char *input, Environment *scratch, std::string *text);

// Samples `text` at n equally spaced real values of `variable` from x1 to x2
// into a PlotSamples matrix (row 6 unwrapped with period 2*pi). `cancel` is
// polled before every sample besides the scope's own flag. Null when the
// sampling was cancelled or n is out of range.
double **SampleForPlot(int32_t n, Environment *env, std::string_view text, double x1, double x2,
                       const std::string &variable, const unsigned char *cancel);

// The transform of a PlotSamples matrix of n samples (a power of two) on a
// uniform grid, as a PlotSamples matrix over the frequencies (k - (n/2+1)) /
// (n dx): the centred transform scaled by dx sqrt(n) and moved to the
// origin x = 0, which approximates the integral of s(x) e^(-2 pi i f x) dx.
// Non-finite samples count as 0. Null for another length or spacing.
double **FourierTransformSamples(double **signal);

}  // namespace qvx
