// BitArrayFloat: a signed fixed-point number, integer part and fraction part
// each a BitArray, with value sign * (integer + fraction / 2^f), f being the
// fraction's `bits` (so leading zero bits of the fraction are significant).
//
// Internally a value is handled as one scaled integer N / 2^f with
// N = integer * 2^f + fraction; sums and products of those are exact, and
// results are cut back into the two parts with the fraction's trailing zero
// bits removed. Division, roots and powers go through the Newton-defined
// DivideBitArrays and SquareRootBitArray, at 4 bits a requested digit.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "bignum/natural.h"
#include "bignum/stream.h"
#include "common/boundary.h"
#include "common/owned.h"

using qvx::bn::Nat;
namespace bn = qvx::bn;

namespace {

bool Valid(const BitArray *a) { return a && a->data && a->words > 0 && a->bits > 0; }
bool Valid(const BitArrayFloat *a) { return a && Valid(a->integer) && Valid(a->fraction); }

// The scaled integer of a value and its fraction bit count.
struct Scaled {
  Nat n;
  uint64_t f;
  int8_t sign;
};

Scaled ToScaled(const BitArrayFloat *a) {
  Scaled s;
  s.f = a->fraction->bits;
  s.n = bn::ShiftLeft(bn::FromBitArray(a->integer), s.f);
  bn::AddInPlace(s.n, bn::FromBitArray(a->fraction));
  s.sign = a->sign < 0 ? -1 : 1;
  return s;
}

BitArrayFloat *NewRecord(BitArray *integer, BitArray *fraction, int8_t sign) {
  if (!integer || !fraction) {
    FreeBitArray(integer);
    FreeBitArray(fraction);
    return nullptr;
  }
  auto *r = static_cast<BitArrayFloat *>(std::malloc(sizeof(BitArrayFloat)));
  if (!r) {
    FreeBitArray(integer);
    FreeBitArray(fraction);
    return nullptr;
  }
  r->integer = integer;
  r->fraction = fraction;
  r->sign = sign < 0 ? -1 : 1;
  return r;
}

// N / 2^f cut into integer and trimmed fraction; a zero gets sign 1.
BitArrayFloat *FromScaled(const Nat &n, uint64_t f, int8_t sign) {
  if (n.empty()) sign = 1;
  qvx::Owned<BitArray, FreeBitArray> integer(bn::ToBitArray(bn::ShiftRight(n, f)));
  qvx::Owned<BitArray, FreeBitArray> fraction(f ? bn::ToBitArray(bn::LowBits(n, f), f) : bn::NewBitArray(1));
  if (fraction) TrimLowerZeroBits(fraction.get());
  return NewRecord(integer.release(), fraction.release(), sign);
}

BitArrayFloat *ZeroFloat() { return NewRecord(bn::NewBitArray(1), bn::NewBitArray(1), 1); }

bool FractionZero(const BitArrayFloat *a) { return bn::FromBitArray(a->fraction).empty(); }

// Signed sum of two scaled values, aligned to the longer fraction.
BitArrayFloat *SignedSum(const BitArrayFloat *a, const BitArrayFloat *b, bool negateB) {
  Scaled x = ToScaled(a), y = ToScaled(b);
  if (negateB) y.sign = static_cast<int8_t>(-y.sign);
  uint64_t f = std::max(x.f, y.f);
  Nat nx = bn::ShiftLeft(x.n, f - x.f), ny = bn::ShiftLeft(y.n, f - y.f);
  if (x.sign == y.sign) return FromScaled(bn::Add(nx, ny), f, x.sign);
  int c = bn::Compare(nx, ny);
  if (c >= 0) return FromScaled(bn::Sub(nx, ny), f, x.sign);
  return FromScaled(bn::Sub(ny, nx), f, y.sign);
}

// Owns q; applies the sign and trims the fraction.
BitArrayFloat *Finish(BitArrayFloat *q, int8_t sign) {
  if (!q) return nullptr;
  if (!q->integer || !q->fraction) {
    FreeBitArrayFloat(q);
    return nullptr;
  }
  RemoveTrailingZeroBits(q->fraction);
  q->sign = sign < 0 ? -1 : 1;
  if (TestZeroBitArray(q->integer) && TestZeroBitArray(q->fraction)) q->sign = 1;
  return q;
}

uint64_t DigitBits(uint64_t digits) { return digits > (uint64_t{1} << 36) ? uint64_t{1} << 38 : 4 * digits; }

}  // namespace

extern "C" {

QVX_API BitArrayFloat *InitializeBitArrayFloatFromBitArrays(BitArray *integer, BitArray *fraction,
                                                           int8_t sign) noexcept {
  if (!Valid(integer) || !Valid(fraction)) {
    FreeBitArray(integer);
    FreeBitArray(fraction);
    return nullptr;
  }
  return NewRecord(integer, fraction, sign);
}

QVX_API BitArrayFloat *InitializeBitArrayFloatFromDouble(double x) noexcept {
  if (!std::isfinite(x)) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&]() -> BitArrayFloat * {
    if (x == 0.0) return ZeroFloat();
    uint64_t bitsOf;
    std::memcpy(&bitsOf, &x, sizeof bitsOf);
    const int8_t sign = (bitsOf >> 63) ? -1 : 1;
    const int64_t biased = static_cast<int64_t>((bitsOf >> 52) & 0x7FF);
    uint64_t mantissa = bitsOf & ((uint64_t{1} << 52) - 1);
    int64_t exponent;  // value = mantissa * 2^exponent
    if (biased == 0) {
      exponent = 1 - 1023 - 52;  // subnormal
    } else {
      mantissa |= uint64_t{1} << 52;
      exponent = biased - 1023 - 52;
    }
    Nat m{mantissa};
    if (exponent >= 0) return FromScaled(bn::ShiftLeft(m, static_cast<uint64_t>(exponent)), 0, sign);
    return FromScaled(m, static_cast<uint64_t>(-exponent), sign);
  });
}

QVX_API BitArrayFloat *CopyBitArrayFloat(BitArrayFloat *a) noexcept {
  if (!Valid(a)) return nullptr;
  return NewRecord(CopyBitArray(a->integer), CopyBitArray(a->fraction), a->sign);
}

QVX_API void FreeBitArrayFloat(BitArrayFloat *a) noexcept {
  if (!a) return;
  FreeBitArray(a->integer);
  FreeBitArray(a->fraction);
  std::free(a);
}

QVX_API BitArrayFloat *AddBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&] { return SignedSum(a, b, false); });
}

QVX_API BitArrayFloat *SubtractBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&] { return SignedSum(a, b, true); });
}

QVX_API BitArrayFloat *MultiplyBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b, unsigned char *abort) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&]() -> BitArrayFloat * {
    Scaled x = ToScaled(a), y = ToScaled(b);
    Nat p = bn::Mul(x.n, y.n, abort);
    if (bn::Aborted(abort)) return ZeroFloat();
    return FromScaled(p, x.f + y.f, static_cast<int8_t>(x.sign * y.sign));
  });
}

QVX_API BitArrayFloat *DivideBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b, uint64_t digits,
                                            unsigned char *abort) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&]() -> BitArrayFloat * {
    Scaled x = ToScaled(a), y = ToScaled(b);
    if (y.n.empty()) return nullptr;
    if (x.n.empty()) return ZeroFloat();
    const int8_t sign = static_cast<int8_t>(x.sign * y.sign);
    // Common fraction length; then the quotient of the scaled integers.
    uint64_t f = std::max(x.f, y.f);
    BitArray *num = bn::ToBitArray(bn::ShiftLeft(x.n, f - x.f));
    BitArray *den = bn::ToBitArray(bn::ShiftLeft(y.n, f - y.f));
    if (FractionZero(a) && FractionZero(b)) {
      FreeBitArray(num);
      FreeBitArray(den);
      num = CopyBitArray(a->integer);
      den = CopyBitArray(b->integer);
    }
    BitArrayFloat *q = (num && den) ? DivideBitArrays(num, den, DigitBits(digits), abort) : nullptr;
    FreeBitArray(num);
    FreeBitArray(den);
    if (bn::Aborted(abort)) {
      FreeBitArrayFloat(q);
      return ZeroFloat();
    }
    return Finish(q, sign);
  });
}

QVX_API int32_t CompareBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b) noexcept {
  if (!Valid(a) || !Valid(b)) return 0;
  return qvx::Guard(static_cast<int32_t>(0), [&]() -> int32_t {
    Scaled x = ToScaled(a), y = ToScaled(b);
    if (x.n.empty()) x.sign = 1;
    if (y.n.empty()) y.sign = 1;
    if (x.sign != y.sign) return x.sign < y.sign ? -1 : 1;
    uint64_t f = std::max(x.f, y.f);
    int c = bn::Compare(bn::ShiftLeft(x.n, f - x.f), bn::ShiftLeft(y.n, f - y.f));
    return x.sign < 0 ? -c : c;
  });
}

QVX_API BitArrayFloat *SquareRootBitArrayFloat(BitArrayFloat *a, uint64_t digits, unsigned char *abort) noexcept {
  if (!Valid(a) || a->sign < 1) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&]() -> BitArrayFloat * {
    Scaled x = ToScaled(a);
    if (x.n.empty()) return ZeroFloat();
    if (FractionZero(a)) return SquareRootBitArray(a->integer, DigitBits(digits), abort);
    // sqrt(N / 2^f) = sqrt(N) / 2^h with f made even, f = 2h.
    uint64_t f = x.f;
    Nat n = x.n;
    if (f % 2) {
      n = bn::ShiftLeft(n, 1);
      ++f;
    }
    const uint64_t h = f / 2;
    BitArray *arg = bn::ToBitArray(n);
    BitArrayFloat *root = arg ? SquareRootBitArray(arg, DigitBits(digits), abort) : nullptr;
    FreeBitArray(arg);
    if (!root || !root->integer || !root->fraction) {
      FreeBitArrayFloat(root);
      return nullptr;
    }
    // Move h bits of the root's integer part below the point.
    Nat ri = bn::FromBitArray(root->integer), rf = bn::FromBitArray(root->fraction);
    uint64_t e = root->fraction->bits;
    FreeBitArrayFloat(root);
    BitArray *integer = bn::ToBitArray(bn::ShiftRight(ri, h));
    Nat frac = bn::ShiftLeft(bn::LowBits(ri, h), e);
    bn::AddInPlace(frac, rf);
    return NewRecord(integer, bn::ToBitArray(frac, h + e), 1);
  });
}

QVX_API BitArrayFloat *ExponentiateBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b, uint64_t digits,
                                                  unsigned char *abort) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&]() -> BitArrayFloat * {
    // Only integer exponents have a finite exact path; a fractional one is refused.
    if (!FractionZero(b)) return nullptr;
    Scaled x = ToScaled(a);
    Nat k = bn::FromBitArray(b->integer);
    const bool negative = b->sign < 0 && !k.empty();
    const int8_t sign = (x.sign < 0 && bn::TestBit(k, 0)) ? -1 : 1;
    if (k.empty()) {
      const Nat one{1};  // made before either part, so no part waits on an allocation
      return NewRecord(bn::ToBitArray(one), bn::NewBitArray(1), 1);
    }
    if (x.n.empty()) return negative ? nullptr : ZeroFloat();
    if (k.size() > 1 || static_cast<double>(x.f) * static_cast<double>(k[0]) > 68719476736.0) return nullptr;
    // (N / 2^f)^k = N^k / 2^(f k)
    using OwnedBits = qvx::Owned<BitArray, FreeBitArray>;
    OwnedBits power;
    if (OwnedBits base{bn::ToBitArray(x.n)}) power.reset(ExponentiateBitArrays(base.get(), b->integer, abort));
    if (!power) return nullptr;
    if (bn::Aborted(abort)) return ZeroFloat();
    const uint64_t shift = x.f * k[0];
    if (!negative) return FromScaled(bn::FromBitArray(power.get()), shift, sign);
    OwnedBits num(bn::ToBitArray(bn::PowerOfTwo(shift)));
    return num ? Finish(DivideBitArrays(num.get(), power.get(), DigitBits(digits), abort), sign) : nullptr;
  });
}

QVX_API BitArrayFloat *ShiftLeftBitArrayFloat(BitArrayFloat *a, uint64_t n) noexcept {
  if (!Valid(a) || n > (uint64_t{1} << 40)) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&] {
    Scaled x = ToScaled(a);
    if (n >= x.f) return FromScaled(bn::ShiftLeft(x.n, n - x.f), 0, x.sign);
    return FromScaled(x.n, x.f - n, x.sign);
  });
}

QVX_API BitArrayFloat *ShiftRightBitArrayFloat(BitArrayFloat *a, uint64_t n) noexcept {
  if (!Valid(a) || n > (uint64_t{1} << 40)) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&] {
    Scaled x = ToScaled(a);
    return FromScaled(x.n, x.f + n, x.sign);
  });
}

QVX_API void WriteBitArrayFloat(BitArrayFloat *value, void *stream, StreamMode mode) noexcept {
  if (!Valid(value) || !stream) return;
  bn::WriteField(stream, mode, static_cast<uint8_t>(value->sign), 1);
  WriteBitArray(value->integer, stream, mode);
  WriteBitArray(value->fraction, stream, mode);
}

QVX_API BitArrayFloat *ReadBitArrayFloat(void *stream, StreamMode mode) noexcept {
  uint64_t sign = 1;
  if (!bn::ReadField(stream, mode, &sign, 1)) return nullptr;
  BitArray *integer = ReadBitArray(stream, mode);
  BitArray *fraction = integer ? ReadBitArray(stream, mode) : nullptr;
  return NewRecord(integer, fraction, static_cast<int8_t>(static_cast<uint8_t>(sign)));
}

}  // extern "C"
