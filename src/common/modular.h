// Modular multiplication and powers of 64-bit words.
//
// MulMod is exact for every modulus: the product is formed in 128 bits
// before it is reduced. SquareAndMultiply is the one power loop; it takes
// the modular product as a parameter, so that a caller whose results are
// defined with products wrapping in 64 bits keeps them.
#pragma once

#include <cstdint>

namespace qvx {

__extension__ typedef unsigned __int128 UInt128;

// a * b mod m, exact for every m > 0.
inline uint64_t MulMod(uint64_t a, uint64_t b, uint64_t m) {
  return static_cast<uint64_t>(static_cast<UInt128>(a) * b % m);
}

// base^e for e >= 1 by left-to-right square-and-multiply from the bit below
// the top bit of e; mulmod(x, y) gives the reduced product.
template <class MulModFn>
inline uint64_t SquareAndMultiply(uint64_t base, uint64_t e, MulModFn mulmod) {
  uint64_t r = base;
  for (int i = 62 - __builtin_clzll(e); i >= 0; --i) {
    r = mulmod(r, r);
    if ((e >> i) & 1) r = mulmod(r, base);
  }
  return r;
}

// base^e mod m, exact for every m > 0; e = 0 gives 1 mod m.
inline uint64_t PowModExact(uint64_t base, uint64_t e, uint64_t m) {
  if (e == 0) return 1 % m;
  return SquareAndMultiply(base % m, e, [m](uint64_t x, uint64_t y) { return MulMod(x, y, m); });
}

}  // namespace qvx
