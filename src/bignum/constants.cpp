// Big-number constants and factorials by binary splitting.
//
// Euler's number: the partial sum of 1/k! for k = 1..n is built as one
// fraction P / Q over the range (0, n] by halving the range: P = P1 Q2 + P2,
// Q = Q1 Q2, with a leaf (a, a + 1] giving P = 1, Q = a + 1. The result is
// 2 plus the fraction bits of P / Q taken at 4 n bits. Factorials multiply a
// range (a, b] the same way; the leaves here pack several small factors into
// one 64-bit word before touching a big number, with the factors of two
// taken out and restored by one shift; the exported workers that take
// BitArray bounds run the same code on 64-bit bounds.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "bignum/natural.h"
#include "common/boundary.h"

using qvx::bn::Nat;
namespace bn = qvx::bn;

namespace {

bool Valid(const BitArray *a) { return a && a->data && a->words > 0 && a->bits > 0; }

// A BitArray bound as 64-bit value; false when it does not fit. Reads the
// words in place (bits at or above `bits` masked off), so the bound checks
// of the exports allocate nothing.
bool ToU64(const BitArray *a, uint64_t *out) {
  *out = 0;
  if (!a || !a->data || a->bits == 0) return true;
  const uint64_t words = std::min((a->bits + 63) / 64, a->words);
  const unsigned top = a->bits % 64;
  for (uint64_t w = 0; w < words; ++w) {
    uint64_t x = a->data[w];
    if (w + 1 == words && w * 64 + 64 > a->bits && top) x &= (uint64_t{1} << top) - 1;
    if (w == 0) *out = x;
    else if (x) return false;
  }
  return true;
}

// P / Q = sum over k in (a, b] of prod_{j=a+1..k} 1/j.
void SumSplit(uint64_t a, uint64_t b, Nat *p, Nat *q, const unsigned char *abort) {
  if (bn::Aborted(abort)) {
    p->clear();
    q->clear();
    return;
  }
  if (b <= a) {  // empty range
    p->clear();
    *q = Nat{1};
    return;
  }
  if (b - a <= 32) {
    // P and Q do not depend on where the range is cut: Q is the product of
    // a + 1 .. b and P the sum over k of the products of k + 1 .. b. So a
    // short range extends one term at a time: P' = P k + 1, Q' = Q k.
    p->clear();
    *q = Nat{1};
    for (uint64_t k = a + 1; k <= b && k != 0; ++k) {
      bn::MulSmallAddInPlace(*p, k, 1);
      bn::MulSmallAddInPlace(*q, k, 0);
      if (k == b) break;
    }
    return;
  }
  uint64_t m = a + (b - a) / 2;
  Nat p1, q1, p2, q2;
  SumSplit(a, m, &p1, &q1, abort);
  SumSplit(m, b, &p2, &q2, abort);
  *p = bn::Mul(p1, q2, abort);
  bn::AddInPlace(*p, p2);
  *q = bn::Mul(q1, q2, abort);
}

// Product of words[lo, hi), halving the list so both factors of every
// product have about the same length.
Nat WordProduct(const std::vector<uint64_t> &words, std::size_t lo, std::size_t hi, const unsigned char *abort) {
  if (bn::Aborted(abort)) return {};
  if (hi - lo <= 16) {
    Nat r{1};
    for (std::size_t i = lo; i < hi; ++i) bn::MulSmallAddInPlace(r, words[i], 0);
    return r;
  }
  std::size_t mid = lo + (hi - lo) / 2;
  return bn::Mul(WordProduct(words, lo, mid, abort), WordProduct(words, mid, hi, abort), abort);
}

// Product of a + 1 .. b. The factors of two are taken out and put back as
// one shift at the end; the odd parts are packed into 64-bit words while
// their product fits, and the words are multiplied as a balanced tree.
Nat ProductRange(uint64_t a, uint64_t b, const unsigned char *abort) {
  if (b <= a) return Nat{1};
  std::vector<uint64_t> words;
  uint64_t twos = 0;
  unsigned __int128 word = 1;
  for (uint64_t k = a + 1; k <= b && k != 0; ++k) {
    if ((k & 4095) == 0 && bn::Aborted(abort)) return {};
    const unsigned z = static_cast<unsigned>(__builtin_ctzll(k));
    twos += z;
    const uint64_t odd = k >> z;
    unsigned __int128 next = word * odd;
    if (next >> 64) {
      words.push_back(static_cast<uint64_t>(word));
      word = odd;
    } else {
      word = next;
    }
    if (k == b) break;  // b may be the largest 64-bit value
  }
  words.push_back(static_cast<uint64_t>(word));
  return bn::ShiftLeft(WordProduct(words, 0, words.size(), abort), twos);
}

// Bounds beyond this would not finish in any useful time or memory.
constexpr uint64_t kMaxTerms = uint64_t{1} << 28;

}  // namespace

extern "C" {

QVX_API void EPartialSumSub(BitArray *a, BitArray *b, BitArray *one, BitArray **p_out, BitArray **q_out,
                            unsigned char *abort) noexcept {
  if (p_out) *p_out = nullptr;
  if (q_out) *q_out = nullptr;
  uint64_t lo = 0, hi = 0;
  if (!Valid(a) || !Valid(b) || !p_out || !q_out || !ToU64(a, &lo) || !ToU64(b, &hi)) return;
  if (hi > lo && hi - lo > kMaxTerms) return;
  qvx::GuardVoid([&] {
    Nat p, q;
    SumSplit(lo, hi, &p, &q, abort);
    *p_out = bn::ToBitArray(p);
    *q_out = bn::ToBitArray(q);
  });
}

QVX_API void EulersNumberPartialSum(BitArray *n, BitArray **p_out, BitArray **q_out, unsigned char *abort) noexcept {
  BitArray *zero = bn::NewBitArray(1);
  BitArray *one = InitializeBitArrayFromUInt64(1);
  EPartialSumSub(zero, n, one, p_out, q_out, abort);
  FreeBitArray(zero);
  FreeBitArray(one);
}

QVX_API BitArrayFloat *EulersNumber(BitArray *n, unsigned char *abort) noexcept {
  uint64_t terms = 0;
  if (!Valid(n) || !ToU64(n, &terms) || terms > kMaxTerms) return nullptr;
  BitArray *p = nullptr, *q = nullptr;
  EulersNumberPartialSum(n, &p, &q, abort);
  BitArrayFloat *quotient = nullptr;
  if (p && q && !bn::Aborted(abort)) quotient = DivideBitArrays(p, q, 4 * terms, abort);
  FreeBitArray(p);
  FreeBitArray(q);
  if (bn::Aborted(abort) || !quotient || !quotient->integer || !quotient->fraction) {
    FreeBitArrayFloat(quotient);
    return bn::Aborted(abort) ? InitializeBitArrayFloatFromDouble(0.0) : nullptr;
  }
  // P / Q is e - 1 less the tail; its integer part gives way to 2.
  FreeBitArray(quotient->integer);
  quotient->integer = InitializeBitArrayFromUInt64(2);
  quotient->sign = 1;
  if (!quotient->integer) {
    FreeBitArrayFloat(quotient);
    return nullptr;
  }
  return quotient;
}

QVX_API void FactorialPartialProductSub(BitArray *a, BitArray *b, BitArray **out, unsigned char *abort) noexcept {
  if (!out) return;
  *out = nullptr;
  uint64_t lo = 0, hi = 0;
  if (!Valid(a) || !Valid(b) || !ToU64(a, &lo) || !ToU64(b, &hi)) return;
  if (hi > lo && hi - lo > kMaxTerms) return;
  qvx::GuardVoid([&] {
    Nat r = ProductRange(lo, hi, abort);
    if (bn::Aborted(abort)) r.clear();
    *out = bn::ToBitArray(r);
  });
}

QVX_API BitArray *BitArrayFactorialBinarySplitting(BitArray *n, unsigned char *abort) noexcept {
  BitArray *zero = bn::NewBitArray(1);
  BitArray *out = nullptr;
  FactorialPartialProductSub(zero, n, &out, abort);
  FreeBitArray(zero);
  return out;
}

QVX_API BitArray *BitArrayFactorial(BitArray *n, unsigned char *abort) noexcept {
  uint64_t terms = 0;
  if (!Valid(n) || !ToU64(n, &terms) || terms > kMaxTerms) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] {
    // Running product, one small factor at a time.
    Nat r{1};
    for (uint64_t k = 2; k <= terms; ++k) {
      if ((k & 255) == 0 && bn::Aborted(abort)) break;
      bn::MulSmallAddInPlace(r, k, 0);
    }
    if (bn::Aborted(abort)) r.clear();
    return bn::ToBitArray(r);
  });
}

}  // extern "C"
