// Natural numbers on 64-bit limbs: the arithmetic under every BitArray export.
//
// A Nat is a std::vector of limbs, least significant first, always trimmed
// (no zero limb at the top; the empty vector is zero). The exported BitArray
// functions convert to Nat, work here, and convert back, so the bit-length
// bookkeeping of BitArray (leading zeros that count) stays in the export
// layer. Long loops poll an abort byte that another thread may set; once it
// is set the routines return quickly with a value of no use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "libquorvex.h"

namespace qvx::bn {

using Limb = uint64_t;
using Nat = std::vector<Limb>;

inline bool Aborted(const unsigned char *flag) {
  return flag && __atomic_load_n(flag, __ATOMIC_RELAXED) != 0;
}

inline void Trim(Nat &a) {
  while (!a.empty() && a.back() == 0) a.pop_back();
}
inline bool IsZero(const Nat &a) { return a.empty(); }
uint64_t BitLength(const Nat &a);
int Compare(const Nat &a, const Nat &b);
Nat FromU64(uint64_t x);
Nat PowerOfTwo(uint64_t n);

Nat Add(const Nat &a, const Nat &b);
void AddInPlace(Nat &a, const Nat &b);
Nat Sub(const Nat &a, const Nat &b);  // requires a >= b
void SubInPlace(Nat &a, const Nat &b);  // requires a >= b
Nat ShiftLeft(const Nat &a, uint64_t n);
Nat ShiftRight(const Nat &a, uint64_t n);
Nat LowBits(const Nat &a, uint64_t n);  // a mod 2^n
bool TestBit(const Nat &a, uint64_t i);

Nat MulSmall(const Nat &a, Limb m);
void MulSmallAddInPlace(Nat &a, Limb m, Limb add);
Limb DivSmallInPlace(Nat &a, Limb d);  // returns remainder
Nat Mul(const Nat &a, const Nat &b, const unsigned char *abort);
Nat Square(const Nat &a, const unsigned char *abort);
// Quotient and remainder, exact; b must not be zero. Either out may be null.
void DivRem(const Nat &a, const Nat &b, Nat *q, Nat *r, const unsigned char *abort);
Nat Pow10(uint64_t n, const unsigned char *abort);

// Decimal text of a (no sign, "0" for zero) and its inverse (digits only).
std::string ToDecimal(const Nat &a, const unsigned char *abort);
Nat FromDecimal(const char *digits, std::size_t n, const unsigned char *abort);

// Raw limb kernels (r must not overlap the inputs).
void MulLimbs(Limb *r, const Limb *a, std::size_t an, const Limb *b, std::size_t bn,
              const unsigned char *abort);

// Newton reciprocal iterates for 2^e / a, e = bitlength(a) + p (a not zero,
// not a power of two): the exact iteration and a fast form giving the same
// bits (see arith.cpp). exactSteps forces exact steps, bit i % 64 for step i.
Nat NewtonReciprocalReference(const Nat &a, uint64_t p, uint64_t *e_out, const unsigned char *abort);
Nat NewtonReciprocal(const Nat &a, uint64_t p, uint64_t *e_out, const unsigned char *abort,
                     uint64_t exactSteps = 0);

// BitArray <-> Nat. FromBitArray reads the bits below `bits` only.
Nat FromBitArray(const BitArray *a);
// A new BitArray of the value with length max(bitlength, minBits, 1).
BitArray *ToBitArray(const Nat &a, uint64_t minBits = 1);
BitArray *NewBitArray(uint64_t bits);  // zeroed; bits >= 1

}  // namespace qvx::bn
