// What the linear algebra family offers to the rest of the library beyond
// the exported functions. Other folders include this header, never
// linalg_internal.h.
#pragma once

#include "libquorvex.h"

namespace qvx::la {

// InvertMC that refuses an exactly singular matrix: when elimination meets
// a zero pivot, a is left unchanged and the result is false.
bool InvertComplexStrict(Complex **a);

}  // namespace qvx::la
