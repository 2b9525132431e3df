// Text conversions of big numbers: decimal and hexadecimal parsing and
// printing of BitArray and BitArrayFloat, and the digit-string doubling and
// halving steps.
//
// A decimal fraction of d digits D becomes floor(D 2^p / 10^d) over exactly
// p bits (leading zeros kept); a fraction F of f bits prints as the first
// digits of F / 2^f, which are exact after f digits. Both are computed as
// one product and one division, which give the same digits as doubling or
// multiplying by ten digit by digit. Integer conversion divides and conquers
// (see natural.cpp), so printing a long number is subquadratic.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "bignum/natural.h"
#include "common/boundary.h"
#include "common/owned.h"

using qvx::bn::Nat;
namespace bn = qvx::bn;

namespace {

bool Valid(const BitArray *a) { return a && a->data && a->words > 0 && a->bits > 0; }

char *Own(const std::string &s) { return qvx::DupText(s.data(), s.size()); }

bool AllDigits(const char *s, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i)
    if (s[i] < '0' || s[i] > '9') return false;
  return true;
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Value of n hexadecimal digits, or false for a bad digit.
bool ParseHex(const char *s, std::size_t n, Nat *out) {
  Nat r((n + 15) / 16, 0);
  for (std::size_t i = 0; i < n; ++i) {
    int v = HexValue(s[n - 1 - i]);
    if (v < 0) return false;
    r[i / 16] |= static_cast<uint64_t>(v) << (4 * (i % 16));
  }
  bn::Trim(r);
  *out = std::move(r);
  return true;
}

std::string HexDigits(const Nat &a, std::size_t digits) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string s(digits, '0');
  for (std::size_t i = 0; i < digits; ++i) {
    std::size_t w = i / 16;
    uint64_t v = w < a.size() ? (a[w] >> (4 * (i % 16))) & 15 : 0;
    s[digits - 1 - i] = kHex[v];
  }
  return s;
}

// Rounds a digit text to n digits, half up, through the shared text
// rounding; a carry out of the first digit leaves n zeros and sets *carry.
std::string RoundDigits(const std::string &text, int32_t n, bool *carry) {
  int32_t c = 0;
  qvx::Owned<char, FreeString> rounded(RoundIntegerString(text.c_str(), n, &c));
  if (!rounded) throw std::bad_alloc();
  std::string r(rounded.get());
  *carry = c != 0;
  return r;
}

// First `digits` decimal digits of the binary fraction F / 2^f, with leading zeros.
std::string FractionDigits(const Nat &F, uint64_t f, uint64_t digits, const unsigned char *abort) {
  Nat v = bn::ShiftRight(bn::Mul(F, bn::Pow10(digits, abort), abort), f);
  std::string s = bn::ToDecimal(v, abort);
  if (v.empty()) s.clear();
  if (s.size() < digits) s.insert(0, digits - s.size(), '0');
  return s;
}

}  // namespace

extern "C" {

QVX_API char *MultiplyBy2(const char *text, unsigned char *abort) noexcept {
  if (!text) return nullptr;
  std::size_t n = std::strlen(text);
  if (!AllDigits(text, n)) return nullptr;
  char *r = static_cast<char *>(std::malloc(n + 2));
  if (!r) return nullptr;
  int carry = 0;
  for (std::size_t i = n; i-- > 0;) {
    int d = (text[i] - '0') * 2 + carry;
    r[i + 1] = static_cast<char>('0' + d % 10);
    carry = d / 10;
  }
  r[0] = static_cast<char>('0' + carry);
  r[n + 1] = '\0';
  return r;
}

QVX_API char *DivideBy2(const char *text, unsigned char *abort) noexcept {
  if (!text) return nullptr;
  std::size_t n = std::strlen(text);
  if (!AllDigits(text, n)) return nullptr;
  char *r = static_cast<char *>(std::malloc(n + 1));
  if (!r) return nullptr;
  int rem = 0;
  for (std::size_t i = 0; i < n; ++i) {
    int d = rem * 10 + (text[i] - '0');
    r[i] = static_cast<char>('0' + d / 2);
    rem = d % 2;
  }
  r[n] = '\0';
  return r;
}

QVX_API BitArray *DecimalIntegerStringToBitArray(const char *text, unsigned char *abort) noexcept {
  if (!text) return nullptr;
  std::size_t n = std::strlen(text);
  if (!AllDigits(text, n)) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&]() -> BitArray * {
    std::size_t start = 0;
    while (start < n && text[start] == '0') ++start;
    Nat v = bn::FromDecimal(text + start, n - start, abort);
    if (bn::Aborted(abort)) v.clear();
    return bn::ToBitArray(v);
  });
}

QVX_API BitArray *DecimalFractionalStringToBitArray(const char *text, uint64_t precision,
                                                    unsigned char *abort) noexcept {
  if (!text || precision > (uint64_t{1} << 36)) return nullptr;
  std::size_t n = std::strlen(text);
  if (!AllDigits(text, n)) return nullptr;
  if (n == 0 || precision == 0) return bn::NewBitArray(1);
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&]() -> BitArray * {
    // floor(D * 2^p / 10^d): the bits that repeated doubling carries out.
    Nat d = bn::FromDecimal(text, n, abort), q;
    bn::DivRem(bn::ShiftLeft(d, precision), bn::Pow10(n, abort), &q, nullptr, abort);
    if (bn::Aborted(abort)) q.clear();
    return bn::ToBitArray(bn::LowBits(q, precision), precision);
  });
}

QVX_API BitArray *HexadecimalIntegerStringToBitArray(const char *text) noexcept {
  if (!text) return nullptr;
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&]() -> BitArray * {
    Nat v;
    if (!ParseHex(text, std::strlen(text), &v)) return nullptr;
    return bn::ToBitArray(v);
  });
}

QVX_API BitArray *HexadecimalFractionalStringToBitArray(const char *text) noexcept {
  if (!text) return nullptr;
  std::size_t n = std::strlen(text);
  if (n == 0) return bn::NewBitArray(1);
  return qvx::Guard(static_cast<BitArray *>(nullptr), [&]() -> BitArray * {
    Nat v;
    if (!ParseHex(text, n, &v)) return nullptr;
    return bn::ToBitArray(v, 4 * static_cast<uint64_t>(n));
  });
}

QVX_API BitArrayFloat *InitializeBitArrayFloatFromDecimal(const char *text, uint64_t precision,
                                                         unsigned char *abort) noexcept {
  if (!text) return nullptr;
  int8_t sign = 1;
  if (*text == '-') {
    sign = -1;
    ++text;
  }
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&]() -> BitArrayFloat * {
    std::string s(text);
    std::size_t dot = s.find('.');
    std::string ip = s.substr(0, dot), fp = dot == std::string::npos ? "" : s.substr(dot + 1);
    // Every decimal literal gets at least 68 fraction bits, and 5 bits a digit.
    uint64_t d = fp.size();
    if (precision < 69) precision = 68;
    if (precision <= 5 * d) precision = 5 * d;
    qvx::Owned<BitArray, FreeBitArray> integer(DecimalIntegerStringToBitArray(ip.c_str(), abort));
    qvx::Owned<BitArray, FreeBitArray> fraction(
        fp.empty() ? bn::NewBitArray(1) : DecimalFractionalStringToBitArray(fp.c_str(), precision, abort));
    if (!integer || !fraction) return nullptr;
    // The record takes both parts, and frees them itself when it fails.
    return InitializeBitArrayFloatFromBitArrays(integer.release(), fraction.release(), sign);
  });
}

QVX_API BitArrayFloat *InitializeBitArrayFloatFromHexadecimal(const char *text) noexcept {
  if (!text) return nullptr;
  int8_t sign = 1;
  if (*text == '-') {
    sign = -1;
    ++text;
  }
  return qvx::Guard(static_cast<BitArrayFloat *>(nullptr), [&]() -> BitArrayFloat * {
    std::string s(text);
    std::size_t dot = s.find('.');
    std::string ip = s.substr(0, dot), fp = dot == std::string::npos ? "" : s.substr(dot + 1);
    qvx::Owned<BitArray, FreeBitArray> integer(HexadecimalIntegerStringToBitArray(ip.c_str()));
    qvx::Owned<BitArray, FreeBitArray> fraction(HexadecimalFractionalStringToBitArray(fp.c_str()));
    if (!integer || !fraction) return nullptr;
    // The record takes both parts, and frees them itself when it fails.
    return InitializeBitArrayFloatFromBitArrays(integer.release(), fraction.release(), sign);
  });
}

QVX_API char *BitArrayToDecimalIntegerString(BitArray *a, unsigned char *abort) noexcept {
  if (!Valid(a)) return nullptr;
  return qvx::Guard(static_cast<char *>(nullptr), [&] { return Own(bn::ToDecimal(bn::FromBitArray(a), abort)); });
}

QVX_API char *BitArrayToDecimalFractionalString(BitArray *a, uint64_t digits, unsigned char *abort) noexcept {
  if (!Valid(a) || digits > (uint64_t{1} << 34)) return nullptr;
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    Nat F = bn::FromBitArray(a);
    if (F.empty()) return qvx::DupText("0");
    return Own(FractionDigits(F, a->bits, digits, abort));
  });
}

QVX_API char *BitArrayToHexadecimalIntegerString(BitArray *a) noexcept {
  if (!Valid(a)) return nullptr;
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    Nat v = bn::FromBitArray(a);
    if (v.empty()) return qvx::DupText("0");
    return Own(HexDigits(v, (bn::BitLength(v) + 3) / 4));
  });
}

QVX_API char *BitArrayToHexadecimalFractionalString(BitArray *a) noexcept {
  if (!Valid(a)) return nullptr;
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    Nat v = bn::FromBitArray(a);
    if (v.empty()) return qvx::DupText("0");
    uint64_t pad = (4 - a->bits % 4) % 4;
    return Own(HexDigits(bn::ShiftLeft(v, pad), (a->bits + pad) / 4));
  });
}

QVX_API char *PrintBitArrayFloat(BitArrayFloat *a) noexcept {
  if (!a || !Valid(a->integer) || !Valid(a->fraction)) return nullptr;
  qvx::Owned<char, FreeString> i(PrintBitArray(a->integer)), f(PrintBitArray(a->fraction));
  if (!i || !f) return nullptr;
  return qvx::Guard(static_cast<char *>(nullptr),
                    [&] { return Own(std::string(a->sign < 0 ? "-" : "") + i.get() + "." + f.get()); });
}

QVX_API char *PrintBitArrayFloatToDecimal(BitArrayFloat *a, int32_t digits, unsigned char *abort) noexcept {
  if (!a || !Valid(a->integer) || !Valid(a->fraction)) return nullptr;
  if (digits < 0) digits = 0;
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    Nat integer = bn::FromBitArray(a->integer), F = bn::FromBitArray(a->fraction);
    std::string frac;
    if (!F.empty()) {
      uint64_t f = a->fraction->bits;
      std::string exact = FractionDigits(F, f, f + 1, abort);  // f + 1 digits are exact
      std::size_t lz = exact.find_first_not_of('0');
      if (lz == std::string::npos) lz = exact.size();
      bool carry = false;
      std::string rest = RoundDigits(exact.substr(lz), digits, &carry);
      std::string lead = exact.substr(0, lz);
      if (carry && !lead.empty()) {
        lead.back() = '1';
      } else if (carry) {
        bn::AddInPlace(integer, Nat{1});
      }
      frac = lead + rest;
    }
    std::string s = a->sign < 0 ? "-" : "";
    s += bn::ToDecimal(integer, abort);
    if (!frac.empty()) s += "." + frac;
    return Own(s);
  });
}

QVX_API char *PrintBitArrayFloatToHexadecimal(BitArrayFloat *a) noexcept {
  if (!a || !Valid(a->integer) || !Valid(a->fraction)) return nullptr;
  const bool whole = TestZeroBitArray(a->fraction) != 0;
  qvx::Owned<char, FreeString> i(BitArrayToHexadecimalIntegerString(a->integer));
  qvx::Owned<char, FreeString> f(whole ? nullptr : BitArrayToHexadecimalFractionalString(a->fraction));
  // A fraction that could not be printed is a failure, not a whole number.
  if (!i || (!whole && !f)) return nullptr;
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s = std::string(a->sign < 0 ? "-" : "") + i.get();
    if (f) s += std::string(".") + f.get();
    return Own(s);
  });
}

}  // extern "C"
