// Internal view of the Tensor record for the matrix objects: its shape, a
// flat copy of its values, and the rebuild from such a copy.
//
// A Tensor of rank r is r levels of item arrays; every value sits in a
// complex cell of its own under a rank 0 Tensor. The exported functions
// trust no record: they check that a Tensor is well formed (ranks falling by
// one per level, every level of one depth equally long) before reading it.
#pragma once

#include <cstdint>
#include <vector>

#include "libquorvex.h"

namespace qvx {

// Lengths of the levels from the outermost in; false (and nothing trusted)
// when the record is not a well-formed rectangular Tensor.
bool TensorShape(const Tensor *t, std::vector<int32_t> &shape);

// Values in index order (last index fastest). The Tensor must be well formed.
void TensorFlatten(const Tensor *t, std::vector<Complex> &values);

// A new Tensor of the given shape holding values in index order; null when
// an allocation fails.
Tensor *TensorBuild(const std::vector<int32_t> &shape, const Complex *values);

}  // namespace qvx
