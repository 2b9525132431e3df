// The interpolation helpers now live in
// numerics/interpolation/interpolation_internal.h; this path stays for the
// grid samplers, which still include it. New code includes the family header.
#pragma once

#include "numerics/interpolation/interpolation_internal.h"
