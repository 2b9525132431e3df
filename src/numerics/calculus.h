// The calculus helpers now live in numerics/calculus/calculus.h; this path
// stays for the grid samplers, which still include it and call the Smith
// quotient under its former name. New code includes the family header and
// calls DivSmith.
#pragma once

#include "numerics/calculus/calculus.h"

namespace qvx::calculus {

inline Complex Div(Complex a, Complex b) { return DivSmith(a, b); }

}  // namespace qvx::calculus
