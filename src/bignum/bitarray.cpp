// BitArray storage, bit access, shifts and the stream form.
//
// A BitArray is `bits` binary digits over `words` 64-bit words, word 0 least
// significant. `bits` may exceed the value's bit length: leading zeros count
// (a fraction's `bits` is its number of binary places), so nothing here
// reduces unless asked to. Bits at or above `bits` in the top word may hold
// garbage after an in-place operation; readers mask them (CleanBitArray
// clears them). Index arguments are bounds-checked against the words
// allocated, so an index out of range is ignored instead of faulting.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "bignum/natural.h"
#include "bignum/stream.h"
#include "common/boundary.h"

using qvx::bn::Nat;

namespace {

inline uint64_t WordsFor(uint64_t bits) { return bits / 64 + (bits % 64 != 0); }

bool Valid(const BitArray *a) { return a && a->data && a->words > 0 && a->bits > 0; }

inline bool InRange(const BitArray *a, uint64_t i) { return i / 64 < a->words; }

inline bool Bit(const BitArray *a, uint64_t i) {
  return i < a->bits && InRange(a, i) && ((a->data[i / 64] >> (i % 64)) & 1);
}

inline void PutBit(BitArray *a, uint64_t i, bool v) {
  if (!InRange(a, i)) return;
  uint64_t m = uint64_t{1} << (i % 64);
  if (v) a->data[i / 64] |= m;
  else a->data[i / 64] &= ~m;
}

// Makes room for `bits` bits, zeroing new words. False if allocation failed.
bool EnsureWords(BitArray *a, uint64_t bits) {
  uint64_t need = WordsFor(bits);
  if (need <= a->words) return true;
  if (need > (UINT64_MAX / 8)) return false;
  auto *p = static_cast<uint64_t *>(std::realloc(a->data, need * sizeof(uint64_t)));
  if (!p) return false;
  std::memset(p + a->words, 0, (need - a->words) * sizeof(uint64_t));
  a->data = p;
  a->words = need;
  return true;
}

// Replaces the content of a with the value n over `bits` bits (bits >= length of n).
void Assign(BitArray *a, const Nat &n, uint64_t bits) {
  if (!EnsureWords(a, bits)) return;
  std::memset(a->data, 0, a->words * sizeof(uint64_t));
  std::copy(n.begin(), n.begin() + std::min<uint64_t>(n.size(), a->words), a->data);
  a->bits = bits;
  CleanBitArray(a);
}

}  // namespace

extern "C" {

QVX_API BitArray *InitializeBitArray(uint64_t bits) noexcept {
  if (bits == 0 || bits > UINT64_MAX - 64) return nullptr;
  return qvx::bn::NewBitArray(bits);
}

QVX_API BitArray *InitializeBitArrayFromUInt64(uint64_t x) noexcept {
  BitArray *a = qvx::bn::NewBitArray(64);
  if (!a) return nullptr;
  a->data[0] = x;
  return ReduceBitArray(&a);
}

QVX_API BitArray *InitializeBitArrayFromByteArray(const unsigned char *bytes, uint64_t count) noexcept {
  if (!bytes || count == 0 || count > UINT64_MAX / 16) return nullptr;
  BitArray *a = qvx::bn::NewBitArray(count * 8);
  if (!a) return nullptr;
  for (uint64_t i = 0; i < count; ++i) a->data[i / 8] |= uint64_t{bytes[i]} << (8 * (i % 8));
  return ReduceBitArray(&a);
}

QVX_API void FreeBitArray(BitArray *a) noexcept {
  if (!a) return;
  std::free(a->data);
  std::free(a);
}

QVX_API BitArray *CopyBitArray(BitArray *a) noexcept {
  if (!Valid(a)) return nullptr;
  CleanBitArray(a);
  BitArray *r = qvx::bn::NewBitArray(64 * a->words);
  if (!r) return nullptr;
  std::memcpy(r->data, a->data, a->words * sizeof(uint64_t));
  r->bits = a->bits;
  return r;
}

QVX_API void SetBit(BitArray *a, uint64_t i) noexcept {
  if (Valid(a)) PutBit(a, i, true);
}

QVX_API void ClearBit(BitArray *a, uint64_t i) noexcept {
  if (Valid(a)) PutBit(a, i, false);
}

QVX_API uint64_t GetBit(BitArray *a, uint64_t i) noexcept {
  if (!Valid(a) || !InRange(a, i)) return 0;
  return a->data[i / 64] & (uint64_t{1} << (i % 64));
}

QVX_API void SetAllBits(BitArray *a) noexcept {
  if (!Valid(a)) return;
  uint64_t full = std::min(a->bits / 64, a->words);
  for (uint64_t w = 0; w < full; ++w) a->data[w] = ~uint64_t{0};
  for (uint64_t i = full * 64; i < a->bits; ++i) PutBit(a, i, true);
}

QVX_API void ClearAllBits(BitArray *a) noexcept {
  if (!Valid(a)) return;
  uint64_t full = std::min(a->bits / 64, a->words);
  std::memset(a->data, 0, full * sizeof(uint64_t));
  for (uint64_t i = full * 64; i < a->bits; ++i) PutBit(a, i, false);
}

QVX_API void SetAllBitsSieve(BitArray *a) noexcept {
  if (!Valid(a)) return;
  std::memset(a->data, 0xff, a->words * sizeof(uint64_t));
}

QVX_API void CleanBitArray(BitArray *a) noexcept {
  if (!Valid(a)) return;
  uint64_t top = WordsFor(a->bits);
  if (top > a->words) return;
  if (a->bits % 64) a->data[top - 1] &= (uint64_t{1} << (a->bits % 64)) - 1;
  if (a->words > top) std::memset(a->data + top, 0, (a->words - top) * sizeof(uint64_t));
}

QVX_API BitArray *ReduceBitArray(BitArray **pa) noexcept {
  if (!pa || !Valid(*pa)) return pa ? *pa : nullptr;
  BitArray *a = *pa;
  CleanBitArray(a);
  uint64_t top = std::min(WordsFor(a->bits), a->words);
  uint64_t len = 0;
  for (uint64_t w = top; w-- > 0;) {
    if (a->data[w]) {
      len = 64 * w + 64 - static_cast<uint64_t>(__builtin_clzll(a->data[w]));
      break;
    }
  }
  a->bits = len ? len : 1;
  uint64_t need = WordsFor(a->bits);
  if (need < a->words) {
    auto *p = static_cast<uint64_t *>(std::realloc(a->data, need * sizeof(uint64_t)));
    if (p) {
      a->data = p;
      a->words = need;
    }
  }
  return a;
}

QVX_API int32_t TestZeroBitArray(BitArray *a) noexcept {
  if (!Valid(a)) return 1;
  CleanBitArray(a);
  uint64_t top = std::min(WordsFor(a->bits), a->words);
  for (uint64_t w = 0; w < top; ++w)
    if (a->data[w]) return 0;
  return 1;
}

QVX_API int32_t TestUnitBitArray(BitArray *a) noexcept {
  return qvx::Guard(static_cast<int32_t>(0), [&] {
    Nat n = qvx::bn::FromBitArray(a);
    return static_cast<int32_t>(n.size() == 1 && n[0] == 1);
  });
}

QVX_API int32_t TestEqualBitArrays(BitArray *a, BitArray *b) noexcept {
  return qvx::Guard(static_cast<int32_t>(0), [&] {
    return static_cast<int32_t>(qvx::bn::FromBitArray(a) == qvx::bn::FromBitArray(b));
  });
}

QVX_API int32_t CompareBitArrays(BitArray *a, BitArray *b) noexcept {
  return qvx::Guard(static_cast<int32_t>(0), [&] {
    return static_cast<int32_t>(qvx::bn::Compare(qvx::bn::FromBitArray(a), qvx::bn::FromBitArray(b)));
  });
}

}  // extern "C"

namespace {

template <class Op>
BitArray *Bitwise(BitArray *a, BitArray *b, Op op) {
  if (!Valid(a) || !Valid(b)) return nullptr;
  uint64_t bits = std::max(a->bits, b->bits);
  BitArray *r = qvx::bn::NewBitArray(bits);
  if (!r) return nullptr;
  Nat x = qvx::bn::FromBitArray(a), y = qvx::bn::FromBitArray(b);
  for (uint64_t w = 0; w < r->words; ++w) {
    uint64_t p = w < x.size() ? x[w] : 0, q = w < y.size() ? y[w] : 0;
    r->data[w] = op(p, q);
  }
  CleanBitArray(r);
  return r;
}

}  // namespace

extern "C" {

QVX_API BitArray *AndBitArrays(BitArray *a, BitArray *b) noexcept {
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] { return Bitwise(a, b, [](uint64_t p, uint64_t q) { return p & q; }); });
}
QVX_API BitArray *OrBitArrays(BitArray *a, BitArray *b) noexcept {
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] { return Bitwise(a, b, [](uint64_t p, uint64_t q) { return p | q; }); });
}
QVX_API BitArray *XorBitArrays(BitArray *a, BitArray *b) noexcept {
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] { return Bitwise(a, b, [](uint64_t p, uint64_t q) { return p ^ q; }); });
}

QVX_API BitArray *NegateBitArray(BitArray *a) noexcept {
  BitArray *r = CopyBitArray(a);
  if (!r) return nullptr;
  for (uint64_t w = 0; w < r->words; ++w) r->data[w] = ~r->data[w];
  CleanBitArray(r);
  return r;
}

QVX_API BitArray *ReverseBitArray(BitArray *a) noexcept {
  if (!Valid(a)) return nullptr;
  BitArray *r = qvx::bn::NewBitArray(a->bits);
  if (!r) return nullptr;
  for (uint64_t i = 0; i < a->bits; ++i)
    if (Bit(a, i)) PutBit(r, a->bits - 1 - i, true);
  return r;
}

// Swap-and-mask reversal: swap halves, then quarters, down to single bits.
QVX_API unsigned char ReverseByteBits(unsigned char x) noexcept {
  unsigned v = x;
  v = ((v & 0xF0u) >> 4) | ((v & 0x0Fu) << 4);
  v = ((v & 0xCCu) >> 2) | ((v & 0x33u) << 2);
  v = ((v & 0xAAu) >> 1) | ((v & 0x55u) << 1);
  return static_cast<unsigned char>(v);
}

QVX_API uint32_t ReverseUInt32Bits(uint32_t v) noexcept {
  v = ((v >> 1) & 0x55555555u) | ((v & 0x55555555u) << 1);
  v = ((v >> 2) & 0x33333333u) | ((v & 0x33333333u) << 2);
  v = ((v >> 4) & 0x0F0F0F0Fu) | ((v & 0x0F0F0F0Fu) << 4);
  v = ((v >> 8) & 0x00FF00FFu) | ((v & 0x00FF00FFu) << 8);
  return (v >> 16) | (v << 16);
}

QVX_API uint64_t ReverseUInt64Bits(uint64_t v) noexcept {
  return (uint64_t{ReverseUInt32Bits(static_cast<uint32_t>(v))} << 32) |
         ReverseUInt32Bits(static_cast<uint32_t>(v >> 32));
}

QVX_API BitArray *BitStringToBitArray(const char *text) noexcept {
  if (!text) return nullptr;
  uint64_t n = std::strlen(text);
  for (uint64_t i = 0; i < n; ++i)
    if (text[i] != '0' && text[i] != '1') return nullptr;
  BitArray *a = qvx::bn::NewBitArray(n ? n : 1);
  if (!a) return nullptr;
  for (uint64_t i = 0; i < n; ++i)
    if (text[i] == '1') PutBit(a, n - 1 - i, true);
  return a;
}

QVX_API char *PrintBitArray(BitArray *a) noexcept {
  if (!Valid(a)) return qvx::DupText("0");
  if (a->bits > (uint64_t{1} << 40)) return nullptr;
  char *s = static_cast<char *>(std::malloc(a->bits + 1));
  if (!s) return nullptr;
  for (uint64_t i = 0; i < a->bits; ++i) s[i] = Bit(a, a->bits - 1 - i) ? '1' : '0';
  s[a->bits] = '\0';
  return s;
}

QVX_API void SetBitsFromChar(BitArray *a, uint64_t i, unsigned char c) noexcept {
  if (!Valid(a) || i / 8 >= a->words * 8) return;
  reinterpret_cast<unsigned char *>(a->data)[i / 8] = ReverseByteBits(c);  // little-endian words
}

QVX_API void SetBitsFromCharBitPos(BitArray *a, uint64_t i, unsigned char c) noexcept {
  if (!Valid(a)) return;
  for (unsigned k = 0; k < 8; ++k) PutBit(a, i + 7 - k, (c >> k) & 1);
}

QVX_API void SetBitsFromUInt64(BitArray *a, uint64_t i, uint64_t x) noexcept {
  if (!Valid(a)) return;
  for (unsigned k = 0; k < 64; ++k) PutBit(a, i + 63 - k, (x >> k) & 1);
}

QVX_API uint32_t GetInt32(BitArray *a, uint64_t i) noexcept {
  if (!Valid(a)) return 0;
  uint32_t r = 0;
  for (unsigned j = 0; j < 32; ++j)
    if (InRange(a, i + j) && ((a->data[(i + j) / 64] >> ((i + j) % 64)) & 1)) r |= uint32_t{1} << (31 - j);
  return r;
}

QVX_API uint64_t GetInt64(BitArray *a, uint64_t i) noexcept {
  if (!Valid(a) || !InRange(a, i)) return 0;
  return ReverseUInt64Bits(a->data[i / 64]);
}

QVX_API uint64_t GetInt64BitPos(BitArray *a, uint64_t i) noexcept {
  if (!Valid(a)) return 0;
  uint64_t r = 0;
  for (unsigned j = 0; j < 64; ++j)
    if (InRange(a, i + j) && ((a->data[(i + j) / 64] >> ((i + j) % 64)) & 1)) r |= uint64_t{1} << (63 - j);
  return r;
}

QVX_API void ShiftBitsLeft(BitArray *a, uint64_t n) noexcept {
  if (!Valid(a)) return;
  qvx::GuardVoid([&] { Assign(a, qvx::bn::LowBits(qvx::bn::ShiftLeft(qvx::bn::FromBitArray(a), n), a->bits), a->bits); });
}

QVX_API void ShiftBitsLeftAndResize(BitArray *a, uint64_t n) noexcept {
  if (!Valid(a) || a->bits > UINT64_MAX - n - 64) return;
  qvx::GuardVoid([&] {
    Nat v = qvx::bn::ShiftLeft(qvx::bn::FromBitArray(a), n);
    uint64_t bits = a->bits + n;
    if (EnsureWords(a, bits)) Assign(a, v, bits);
  });
}

QVX_API void ShiftBitsLeftAndResizeWithLeadingZeros(BitArray *a, uint64_t n) noexcept {
  ShiftBitsLeftAndResize(a, n);
}

QVX_API void ShiftBitsRight(BitArray *a, uint64_t n) noexcept {
  if (!Valid(a)) return;
  if (n >= a->bits) {
    std::memset(a->data, 0, a->words * sizeof(uint64_t));
    a->bits = 1;
    return;
  }
  qvx::GuardVoid([&] { Assign(a, qvx::bn::ShiftRight(qvx::bn::FromBitArray(a), n), a->bits - n); });
}

QVX_API void AddLeadingZeroBits(BitArray *a, uint64_t n) noexcept {
  if (!Valid(a) || a->bits > UINT64_MAX - n - 64) return;
  CleanBitArray(a);
  if (EnsureWords(a, a->bits + n)) a->bits += n;
}

QVX_API void AddTrailingZeroBits(BitArray *a, uint64_t n) noexcept { ShiftBitsLeftAndResize(a, n); }

QVX_API uint64_t RemoveTrailingZeroBits(BitArray *a) noexcept {
  if (!Valid(a)) return 0;
  CleanBitArray(a);
  uint64_t top = std::min(WordsFor(a->bits), a->words), tz = 0;
  uint64_t w = 0;
  while (w < top && a->data[w] == 0) {
    tz += 64;
    ++w;
  }
  if (w == top) {  // zero: one cleared bit
    uint64_t removed = a->bits - 1;
    a->bits = 1;
    return removed;
  }
  tz += static_cast<uint64_t>(__builtin_ctzll(a->data[w]));
  if (tz) ShiftBitsRight(a, tz);
  return tz;
}

QVX_API uint64_t TrimLowerZeroBits(BitArray *a) noexcept { return RemoveTrailingZeroBits(a); }

QVX_API uint64_t CountLeadingZeroBits(uint64_t x) noexcept {
  return x ? static_cast<uint64_t>(__builtin_clzll(x)) : 64;
}

QVX_API uint64_t GetLeadingZeroBits(BitArray *a) noexcept {
  if (!Valid(a)) return 0;
  return qvx::Guard(static_cast<uint64_t>(0), [&] { return a->bits - qvx::bn::BitLength(qvx::bn::FromBitArray(a)); });
}

QVX_API BitArray *LowerBits(BitArray *a, uint64_t n) noexcept {
  if (!Valid(a) || n == 0) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] {
    return qvx::bn::ToBitArray(qvx::bn::LowBits(qvx::bn::FromBitArray(a), n), n);
  });
}

QVX_API BitArray *HigherBits(BitArray *a, uint64_t n) noexcept {
  if (!Valid(a)) return nullptr;
  if (n >= a->bits) return CopyBitArray(a);
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] {
    return qvx::bn::ToBitArray(qvx::bn::ShiftRight(qvx::bn::FromBitArray(a), a->bits - n), n);
  });
}

QVX_API BitArray *CropBitArray(BitArray *a, uint64_t from, uint64_t count) noexcept {
  if (!Valid(a) || count == 0 || count > UINT64_MAX / 2) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] {
    Nat v = qvx::bn::LowBits(qvx::bn::ShiftRight(qvx::bn::FromBitArray(a), from), count);
    return qvx::bn::ToBitArray(v, count);
  });
}

QVX_API BitArray *ConcatenateBitArrays(BitArray *high, BitArray *low) noexcept {
  if (!Valid(high) || !Valid(low)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&] {
    Nat v = qvx::bn::ShiftLeft(qvx::bn::FromBitArray(high), low->bits);
    qvx::bn::AddInPlace(v, qvx::bn::FromBitArray(low));
    return qvx::bn::ToBitArray(v, high->bits + low->bits);
  });
}

QVX_API void WriteBitArray(BitArray *a, void *stream, StreamMode mode) noexcept {
  if (!Valid(a) || !stream) return;
  qvx::bn::WriteField(stream, mode, a->bits, 8);
  qvx::bn::WriteField(stream, mode, a->words, 8);
  for (uint64_t w = 0; w < a->words; ++w) qvx::bn::WriteField(stream, mode, a->data[w], 8);
}

QVX_API BitArray *ReadBitArray(void *stream, StreamMode mode) noexcept {
  uint64_t bits = 0, words = 0;
  if (!qvx::bn::ReadField(stream, mode, &bits, 8) || !qvx::bn::ReadField(stream, mode, &words, 8))
    return nullptr;
  // A length the stream cannot hold is a damaged stream, not an allocation request.
  if (bits == 0 || words == 0 || words > (uint64_t{1} << 40) || words * 8 > qvx::bn::BytesLeft(stream, mode))
    return nullptr;
  auto *a = static_cast<BitArray *>(std::malloc(sizeof(BitArray)));
  if (!a) return nullptr;
  a->data = nullptr;
  a->bits = bits;
  a->words = 0;
  // Grow while reading, so a C file that ends early never costs the full claim.
  for (uint64_t w = 0; w < words; ++w) {
    uint64_t x = 0;
    if (!qvx::bn::ReadField(stream, mode, &x, 8)) {
      FreeBitArray(a);
      return nullptr;
    }
    if ((w & (w + 1)) == 0 || w == 0) {  // capacity doubles at powers of two
      uint64_t cap = std::min(words, std::max<uint64_t>(1, 2 * (w + 1)));
      auto *p = static_cast<uint64_t *>(std::realloc(a->data, cap * sizeof(uint64_t)));
      if (!p) {
        FreeBitArray(a);
        return nullptr;
      }
      a->data = p;
    }
    a->data[w] = x;
    a->words = w + 1;
  }
  // words covers bits as the writer left them; make sure no reader overruns
  if (WordsFor(bits) > a->words && !EnsureWords(a, bits)) {
    FreeBitArray(a);
    return nullptr;
  }
  return a;
}

}  // extern "C"
