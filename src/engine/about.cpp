// The library's short self-description, shown by hosts in an about box.
#include "common/boundary.h"
#include "libquorvex.h"

extern "C" QVX_API char *About(void) noexcept { return qvx::DupText("Sorvantis - A lightweight scientific toolbox.\n"); }
