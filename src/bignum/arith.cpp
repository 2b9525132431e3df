// BitArray arithmetic: sums, differences, products, Newton reciprocal and
// reciprocal square root, fixed-point division and square root, powers, and
// the decimal steps used by text conversion.
//
// What a reader must know first: InvertBitArray and InvertSquareRootBitArray
// are defined by their Newton iterations (start value, update, stopping rule
// on the leading `precision` bits), and DivideBitArrays and
// SquareRootBitArray take their integer and fraction bits from those
// iterates, so their last bits are whatever the iteration stopped at; they
// are computed exactly as defined, only with fast products. The integer
// operations (product, floor quotient, remainder, powers) are exact and use
// whatever method is fastest.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "bignum/natural.h"
#include "common/boundary.h"
#include "common/modular.h"
#include "common/owned.h"

using qvx::bn::Nat;
namespace bn = qvx::bn;

namespace {

bool Valid(const BitArray *a) { return a && a->data && a->words > 0 && a->bits > 0; }

BitArray *Zero() { return bn::NewBitArray(1); }

BitArrayFloat *NewFloat(BitArray *integer, BitArray *fraction, int8_t sign) {
  auto *f = static_cast<BitArrayFloat *>(std::malloc(sizeof(BitArrayFloat)));
  if (!f) {
    FreeBitArray(integer);
    FreeBitArray(fraction);
    return nullptr;
  }
  f->integer = integer;
  f->fraction = fraction;
  f->sign = sign;
  return f;
}

// The leading p bits of x, as the stopping rules compare them.
Nat Leading(const Nat &x, uint64_t p) {
  uint64_t len = bn::BitLength(x);
  return len > p ? bn::ShiftRight(x, len - p) : x;
}

bool IsPowerOfTwo(const Nat &a) {
  if (a.empty()) return false;
  for (std::size_t i = 0; i + 1 < a.size(); ++i)
    if (a[i]) return false;
  return (a.back() & (a.back() - 1)) == 0;
}

}  // namespace

namespace qvx::bn {

// Newton iteration for 2^e / a with e = L + p, L the bit length of a,
// from x = 2^p: x' = x (2^(e+1) - a x) / 2^e, truncated, written as
// x + floor(x r / 2^e) with the residual r = 2^e - a x >= 0 (the iterates
// approach 2^e / a from below). Stops when the leading p bits of two
// successive iterates agree, and returns the later one. This is the plain
// form, kept as the reference for the fast one below.
Nat NewtonReciprocalReference(const Nat &a, uint64_t p, uint64_t *e_out, const unsigned char *abort) {
  const uint64_t L = BitLength(a), e = L + p;
  *e_out = e;
  Nat x = PowerOfTwo(p);
  for (int guard = 0; guard < 4096; ++guard) {
    if (Aborted(abort)) break;
    Nat ax = Mul(a, x, abort);
    Nat one = PowerOfTwo(e);
    if (Compare(ax, one) > 0) break;  // cannot happen from below; stay safe
    Nat next = Add(x, ShiftRight(Mul(x, Sub(one, ax), abort), e));
    bool done = Compare(Leading(x, p), Leading(next, p)) == 0;
    x = std::move(next);
    if (done) break;
  }
  return x;
}

namespace {

// 64 bits of a starting at bit position pos (zeros above the top).
uint64_t Bits64(const Nat &a, uint64_t pos) {
  std::size_t w = pos / 64;
  unsigned s = pos % 64;
  uint64_t lo = w < a.size() ? a[w] >> s : 0;
  uint64_t hi = (s && w + 1 < a.size()) ? a[w + 1] << (64 - s) : 0;
  return lo | hi;
}

}  // namespace

// The same iterates as NewtonReciprocalReference, bit for bit, without its
// full-length products. Each step needs s = floor(x r / 2^e), which is about
// p - k bits long once x has k correct bits, while the exact products are
// p by L + p bits. So the step is taken from truncated operands with a
// rigorous error bound, and checked:
//   a = a_hi 2^ta + a_lo, and R = 2^(e - ta) - a_hi x is kept exactly
//   (R' = R - a_hi s), so r = 2^ta R - a_lo x with 0 <= a_lo x^2 < 2^(ta + 2|x|);
//   x = x_h 2^tx + x_l and R = R_h 2^tr + R_l drop at most
//   2^(ta + tr + |x|) + 2^(ta + tx + |R|) from 2^ta x R.
// The cuts are chosen so that every dropped term is below 2^(e - 64); then
// V = x_h R_h 2^(ta + tx + tr) is within 2^(e - 63) of x r, and floor(V / 2^e)
// is the exact step unless the 62 bits of V just below 2^e are all zeros or
// all ones. Then (about once in 2^61 steps) the step is recomputed exactly.
// `exactSteps` forces exact steps: bit i % 64 for iteration i (for tests).
Nat NewtonReciprocal(const Nat &a, uint64_t p, uint64_t *e_out, const unsigned char *abort,
                     uint64_t exactSteps) {
  const uint64_t L = BitLength(a), e = L + p;
  *e_out = e;
  constexpr uint64_t kGuard = 64, kCheck = 62;
  const uint64_t ta = L > p + 2 + kGuard ? L - p - 2 - kGuard : 0;  // 2|x| <= 2p + 2
  const Nat aHi = ShiftRight(a, ta);
  Nat x = PowerOfTwo(p);
  Nat R = Sub(PowerOfTwo(e - ta), ShiftLeft(aHi, p));
  for (int guard = 0; guard < 4096; ++guard) {
    if (Aborted(abort)) break;
    const uint64_t bx = BitLength(x), bR = BitLength(R);
    bool exact = ((exactSteps >> (guard % 64)) & 1) != 0 || ta + 2 * bx + kGuard > e;
    Nat s;
    if (!exact) {
      const uint64_t tr = e - kGuard - ta - bx;  // >= 0 by the test above
      uint64_t tx = e > kGuard + ta + bR ? e - kGuard - ta - bR : 0;
      if (ta + tr + tx + kCheck > e) tx = e - kCheck - ta - tr;  // keep the checked bits
      const uint64_t sh = ta + tr + tx;
      Nat P = Mul(ShiftRight(x, tx), ShiftRight(R, tr), abort);
      const uint64_t cut = e - sh;  // V / 2^e = P / 2^cut
      const uint64_t window = Bits64(P, cut - kCheck) & ((uint64_t{1} << kCheck) - 1);
      if (window == 0 || window == (uint64_t{1} << kCheck) - 1) {
        exact = true;
      } else {
        s = ShiftRight(P, cut);
      }
    }
    if (exact) {
      Nat ax = Mul(a, x, abort), one = PowerOfTwo(e);
      if (Compare(ax, one) > 0) break;  // cannot happen from below; stay safe
      s = ShiftRight(Mul(x, Sub(one, ax), abort), e);
    }
    Nat next = Add(x, s);
    bool done = Compare(Leading(x, p), Leading(next, p)) == 0;
    x = std::move(next);
    if (done) break;
    Nat as = Mul(aHi, s, abort);
    if (Compare(as, R) > 0) break;  // cannot happen from below; stay safe
    SubInPlace(R, as);
  }
  return x;
}

}  // namespace qvx::bn

namespace {



// Newton iteration for 2^e / sqrt(a) with e = ceil(L / 2) + p, from x = 2^p:
// x' = x (3 * 2^(2e) - a x^2) / 2^(2e + 1), truncated, as
// x + floor(x r / 2^(2e+1)) with r = 2^(2e) - a x^2 >= 0. Same stopping rule.
Nat NewtonInverseRoot(const Nat &a, uint64_t p, uint64_t *e_out, const unsigned char *abort) {
  const uint64_t L = bn::BitLength(a), e = (L + 1) / 2 + p;
  *e_out = e;
  const Nat one = bn::PowerOfTwo(2 * e);
  Nat x = bn::PowerOfTwo(p);
  for (int guard = 0; guard < 4096; ++guard) {
    if (bn::Aborted(abort)) break;
    Nat ax2 = bn::Mul(a, bn::Square(x, abort), abort);
    if (bn::Compare(ax2, one) > 0) break;
    Nat r = bn::Sub(one, ax2);
    Nat next = bn::Add(x, bn::ShiftRight(bn::Mul(x, r, abort), 2 * e + 1));
    bool done = bn::Compare(Leading(x, p), Leading(next, p)) == 0;
    x = std::move(next);
    if (done) break;
  }
  return x;
}

// integer = prod >> e (reduced), fraction = low e bits of prod with e bits.
BitArrayFloat *SplitFixed(const Nat &prod, uint64_t e) {
  qvx::Owned<BitArray, FreeBitArray> integer(bn::ToBitArray(bn::ShiftRight(prod, e)));
  qvx::Owned<BitArray, FreeBitArray> fraction(e ? bn::ToBitArray(bn::LowBits(prod, e), e) : Zero());
  if (!integer || !fraction) return nullptr;
  return NewFloat(integer.release(), fraction.release(), 1);
}

}  // namespace

extern "C" {

QVX_API uint64_t AddBits(uint64_t a, uint64_t b, unsigned char *carry_out) noexcept {
  uint64_t s = a + b;
  if (carry_out) *carry_out = s < a;
  return s;
}

QVX_API uint64_t SubtractBits(uint64_t a, uint64_t b, unsigned char *borrow_out) noexcept {
  if (borrow_out) *borrow_out = a < b;
  return a - b;
}

QVX_API BitArray *AddBitArrays(BitArray *a, BitArray *b) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] {
    return bn::ToBitArray(bn::Add(bn::FromBitArray(a), bn::FromBitArray(b)));
  });
}

QVX_API BitArray *SubtractBitArraysNoReduce(BitArray *a, BitArray *b, int8_t *sign) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] {
    Nat x = bn::FromBitArray(a), y = bn::FromBitArray(b);
    int c = bn::Compare(x, y);
    if (sign) *sign = c < 0 ? -1 : 1;
    Nat d = c < 0 ? bn::Sub(y, x) : bn::Sub(x, y);
    return bn::ToBitArray(d, std::max(a->bits, b->bits));
  });
}

QVX_API BitArray *SubtractBitArrays(BitArray *a, BitArray *b, int8_t *sign) noexcept {
  BitArray *r = SubtractBitArraysNoReduce(a, b, sign);
  return r ? ReduceBitArray(&r) : nullptr;
}

QVX_API uint64_t KaratsubaGetLength(uint64_t x) noexcept {
  return x ? 64 - static_cast<uint64_t>(__builtin_clzll(x)) : 0;
}

// The recursive split of a 64-bit product, taken with 64-bit wrap-around at
// every step, yields the low word of the exact product: the identity
// x y = H 2^(2h) + (M - H - L) 2^h + L holds modulo 2^64.
QVX_API uint64_t KaratsubaMultiply(uint64_t x, uint64_t y) noexcept { return x * y; }

QVX_API BitArray *MultiplyBitArrays(BitArray *a, BitArray *b, unsigned char *abort) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  if (bn::Aborted(abort)) return Zero();
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] {
    Nat p = bn::Mul(bn::FromBitArray(a), bn::FromBitArray(b), abort);
    if (bn::Aborted(abort)) p.clear();
    return bn::ToBitArray(p);
  });
}

QVX_API BitArray *InvertBitArray(BitArray *a, uint64_t precision, uint64_t *exponent_out,
                                 unsigned char *abort) noexcept {
  uint64_t dummy = 0;
  uint64_t *e_out = exponent_out ? exponent_out : &dummy;
  *e_out = 0;
  if (!Valid(a) || precision > (uint64_t{1} << 40)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&]() -> BitArray * {
    Nat x = bn::FromBitArray(a);
    if (x.empty()) return nullptr;
    if (IsPowerOfTwo(x)) {
      *e_out = bn::BitLength(x) - 1;
      return bn::ToBitArray(Nat{1});
    }
    uint64_t e = 0;
    Nat r = bn::NewtonReciprocal(x, precision, &e, abort);
    *e_out = e;
    return bn::ToBitArray(r);
  });
}

QVX_API BitArrayFloat *DivideBitArrays(BitArray *a, BitArray *b, uint64_t precision,
                                       unsigned char *abort) noexcept {
  if (!Valid(a) || !Valid(b) || precision > (uint64_t{1} << 40)) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&]() -> BitArrayFloat * {
    Nat x = bn::FromBitArray(a), y = bn::FromBitArray(b);
    if (y.empty()) return NewFloat(nullptr, nullptr, 1);
    if (x == y) {
      const Nat one{1};  // made before either part, so no part waits on an allocation
      return NewFloat(bn::ToBitArray(one), Zero(), 1);
    }
    if (IsPowerOfTwo(y)) {  // a split of a at the binary point
      uint64_t e = bn::BitLength(y) - 1, la = std::max<uint64_t>(bn::BitLength(x), 1);
      if (e == 0) return NewFloat(bn::ToBitArray(x), Zero(), 1);
      if (e > la) {
        BitArray *fraction = bn::ToBitArray(x, e);
        if (fraction) TrimLowerZeroBits(fraction);
        return NewFloat(Zero(), fraction, 1);
      }
      return SplitFixed(x, e);
    }
    uint64_t e = 0;
    Nat r = bn::NewtonReciprocal(y, precision, &e, abort);
    if (bn::Aborted(abort)) return NewFloat(Zero(), Zero(), 1);
    return SplitFixed(bn::Mul(r, x, abort), e);
  });
}

QVX_API BitArray *FloorDivideBitArrays(BitArray *a, BitArray *b, unsigned char *abort) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&]() -> BitArray * {
    Nat x = bn::FromBitArray(a), y = bn::FromBitArray(b), q;
    if (y.empty()) return nullptr;
    bn::DivRem(x, y, &q, nullptr, abort);
    if (bn::Aborted(abort)) q.clear();
    return bn::ToBitArray(q);
  });
}

QVX_API BitArray *ModBitArrays(BitArray *a, BitArray *b, unsigned char *abort) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&]() -> BitArray * {
    Nat x = bn::FromBitArray(a), y = bn::FromBitArray(b), r;
    if (y.empty()) return nullptr;
    bn::DivRem(x, y, nullptr, &r, abort);
    if (bn::Aborted(abort)) r.clear();
    return bn::ToBitArray(r);
  });
}

QVX_API BitArray *InvertSquareRootBitArray(BitArray *a, uint64_t precision, uint64_t *exponent_out,
                                           unsigned char *abort) noexcept {
  uint64_t dummy = 0;
  uint64_t *e_out = exponent_out ? exponent_out : &dummy;
  *e_out = 0;
  if (!Valid(a) || precision > (uint64_t{1} << 40)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&]() -> BitArray * {
    Nat x = bn::FromBitArray(a);
    if (x.empty()) return nullptr;
    uint64_t len = bn::BitLength(x);
    if (IsPowerOfTwo(x) && (len - 1) % 2 == 0) {  // 4^k: exactly 1 / 2^k
      *e_out = (len - 1) / 2;
      return bn::ToBitArray(Nat{1});
    }
    uint64_t e = 0;
    Nat r = NewtonInverseRoot(x, precision, &e, abort);
    *e_out = e;
    return bn::ToBitArray(r);
  });
}

QVX_API BitArrayFloat *SquareRootBitArray(BitArray *a, uint64_t precision, unsigned char *abort) noexcept {
  if (!Valid(a) || precision > (uint64_t{1} << 40)) return nullptr;
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&]() -> BitArrayFloat * {
    Nat x = bn::FromBitArray(a);
    if (x.empty() || (x.size() == 1 && x[0] == 1)) return NewFloat(bn::ToBitArray(x), Zero(), 1);
    uint64_t len = bn::BitLength(x), e = 0;
    Nat r;
    if (IsPowerOfTwo(x) && (len - 1) % 2 == 0) {
      r = Nat{1};
      e = (len - 1) / 2;
    } else {
      r = NewtonInverseRoot(x, precision, &e, abort);
    }
    if (bn::Aborted(abort)) return NewFloat(Zero(), Zero(), 1);
    return SplitFixed(bn::Mul(r, x, abort), e);
  });
}

QVX_API BitArray *ExponentiateBitArrays(BitArray *a, BitArray *b, unsigned char *abort) noexcept {
  if (!Valid(a) || !Valid(b)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&]() -> BitArray * {
    Nat base = bn::FromBitArray(a), ex = bn::FromBitArray(b);
    if (ex.empty()) return bn::ToBitArray(Nat{1});
    if (ex.size() == 1 && ex[0] == 1) return bn::ToBitArray(base);
    if (base.empty()) return Zero();
    if (base.size() == 1 && base[0] == 1) return bn::ToBitArray(base);
    // Refuse results beyond 2^36 bits instead of exhausting memory.
    if (ex.size() > 1 || static_cast<double>(bn::BitLength(base) - 1) * static_cast<double>(ex[0]) > 68719476736.0)
      return nullptr;
    Nat r = base;
    for (uint64_t i = bn::BitLength(ex) - 1; i-- > 0;) {
      if (bn::Aborted(abort)) return Zero();
      r = bn::Square(r, abort);
      if (bn::TestBit(ex, i)) r = bn::Mul(r, base, abort);
    }
    if (bn::Aborted(abort)) return Zero();
    return bn::ToBitArray(r);
  });
}

// Left-to-right square-and-multiply in 64-bit words. Products wrap, so the
// result is the modular power only for moduli below 2^32.
QVX_API uint64_t PowMod(uint64_t base, uint64_t exponent, uint64_t modulus) noexcept {
  if (exponent == 0) return 1;
  if (exponent == 1) return base;
  if (base == 0) return 0;
  if (modulus == 0) return 0;
  base %= modulus;
  return qvx::SquareAndMultiply(base, exponent, [modulus](uint64_t x, uint64_t y) { return (x * y) % modulus; });
}

QVX_API BitArray *MultiplyBitArrayBy10(BitArray *a, unsigned char *carry_out, unsigned char *abort) noexcept {
  if (carry_out) *carry_out = 0;
  if (!Valid(a)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] {
    Nat p = bn::MulSmall(bn::FromBitArray(a), 10);
    if (carry_out) {
      Nat top = bn::ShiftRight(p, a->bits);
      *carry_out = static_cast<unsigned char>(top.empty() ? 0 : top[0]);
    }
    return bn::ToBitArray(bn::LowBits(p, a->bits), a->bits);
  });
}

QVX_API BitArray *DivideBitArrayBy10(BitArray *a, unsigned char *remainder_out, unsigned char *abort) noexcept {
  if (remainder_out) *remainder_out = 0;
  if (!Valid(a)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] {
    Nat q = bn::FromBitArray(a);
    uint64_t rem = bn::DivSmallInPlace(q, 10);
    if (remainder_out) *remainder_out = static_cast<unsigned char>(rem);
    return bn::ToBitArray(q);
  });
}

QVX_API BitArray *IntDivideBitArrayBy10(BitArray *a, unsigned char *abort) noexcept {
  return DivideBitArrayBy10(a, nullptr, abort);
}

QVX_API BitArray *DivideBitArrayByPowerOf10(BitArray *a, uint64_t n, BitArray **remainder_out,
                                            unsigned char *abort) noexcept {
  if (remainder_out) *remainder_out = nullptr;
  if (!Valid(a) || n > (uint64_t{1} << 32)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&]() -> BitArray * {
    Nat q, r;
    bn::DivRem(bn::FromBitArray(a), bn::Pow10(n, abort), &q, &r, abort);
    if (remainder_out) *remainder_out = bn::ToBitArray(r);
    return bn::ToBitArray(q);
  });
}

QVX_API BitArray **GetPowerOf10BitArrays(uint64_t n, unsigned char *abort) noexcept {
  // The table holds about 1.66 n^2 bits in all; beyond this it is a memory bomb.
  if (n > 20000) return nullptr;
  auto **table = static_cast<BitArray **>(std::calloc(n + 1, sizeof(BitArray *)));
  if (!table) return nullptr;
  bool ok = qvx::Guard(static_cast<bool>(false), [&] {
    Nat v{1};
    for (uint64_t k = 0; k <= n; ++k) {
      if (bn::Aborted(abort)) return false;
      table[k] = bn::ToBitArray(v);
      if (!table[k]) return false;
      v = bn::MulSmall(v, 10);
    }
    return true;
  });
  if (!ok) {
    for (uint64_t k = 0; k <= n; ++k) FreeBitArray(table[k]);
    std::free(table);
    return nullptr;
  }
  return table;
}

}  // extern "C"
