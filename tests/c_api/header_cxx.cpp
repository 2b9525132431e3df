// The public header compiles as C++ and its records keep the agreed layout.
#include <cstddef>

#include "libquorvex.h"

static_assert(sizeof(Complex) == 16 && offsetof(Complex, im) == 8);
static_assert(offsetof(RBSTNode, left) == 8 && offsetof(RBSTNode, key) == 32 &&
              offsetof(RBSTNode, value) == 40);
static_assert(offsetof(RBST, free_value) == 8 && offsetof(RBST, size) == 40);
static_assert(offsetof(KeyList, free_value) == 16 && offsetof(KeyList, read_value) == 24);
static_assert(sizeof(MemFile) == 16 && offsetof(MemFile, position) == 12);
static_assert(sizeof(BitArray) == 24 && offsetof(BitArray, data) == 16);
static_assert(offsetof(BitArrayFloat, sign) == 16);
static_assert(offsetof(Tensor, length) == 4 && offsetof(Tensor, items) == 8);
static_assert(offsetof(HistoryList, count) == 56);

int main() {
  char *about = About();
  bool ok = about != nullptr;
  FreeString(about);
  return ok ? 0 : 1;
}
