// The library's short self-description, shown by hosts in an about box.
#include "common/boundary.h"
#include "libquorvex.h"

extern "C" QVX_API char *About(void) noexcept {
  return qvx::DupText(
      "libquorvex " QUORVEX_VERSION
      ": the engine of a scientific calculator and numerical toolbox. "
      "A language of numbers, complex and unbounded numbers, symbolic expressions, "
      "matrices, strings and maps; plots as bitmaps; and a toolkit of numerical routines.");
}
