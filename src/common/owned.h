// Owners for the library's own heap blocks.
//
// A container made inside a function (a Vector, a Matrix, a text) is freed
// with the library's matching Free... function. Owned<T, Free> holds it and
// frees it on every path out; release() hands it to the caller.
#pragma once

#include <memory>

namespace qvx {

template <auto FreeFunction>
struct FreeWith {
  template <class T>
  void operator()(T *block) const noexcept {
    FreeFunction(block);
  }
};

template <class T, auto FreeFunction>
using Owned = std::unique_ptr<T, FreeWith<FreeFunction>>;

}  // namespace qvx
