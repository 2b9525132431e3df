// The host's plot commands: --plot, --plot2d, --plot-complex,
// --plot-parametric and --plot-fourier, written to BMP or PNG files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "libquorvex.h"

namespace quorvex_cli {

// True for the first argument of a plot command.
bool IsPlotCommand(const char *arg);

// Runs the plot command of argv[1] with the arguments after it. 0 when the
// files were written, 1 when the expression can't be plotted or a file
// can't be written, 2 for bad arguments (a message goes to standard error).
int RunPlotCommand(int argc, char **argv, Environment *env);

// A bottom-up BMP block, as the library makes it with a platform code below
// 65536, as an RGB matrix (MatrixUInt32, m[x][y] with y = 1 at the top);
// null for a block that is not a 24-bit image of its stated size.
uint32_t **DecodeBitmap(const unsigned char *bitmap);

// An RGB matrix as the bytes of a PNG file: 8-bit RGB, no interlace.
// Empty when the matrix is malformed or compression fails.
std::vector<unsigned char> EncodePng(uint32_t **m);

}  // namespace quorvex_cli
