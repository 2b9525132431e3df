// Numbers to text. Provisional: DoubleString through printf until the exact
// decimal and exponent branches land.
#include <cstdio>
#include <cstdlib>
#include <cmath>

#include "libquorvex.h"
#include "common/boundary.h"

extern "C" {

QVX_API char *DoubleString(double x, int32_t digits) noexcept {
  if (x == 0) return qvx::DupText("0");
  if (!std::isfinite(x)) return qvx::DupText(">invalid_expression<");
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*g", digits < 1 ? 1 : (digits > 17 ? 17 : digits), x);
  return qvx::DupText(buffer);
}

}  // extern "C"
