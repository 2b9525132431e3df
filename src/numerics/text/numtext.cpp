// Numbers as text: the one number-to-text routine every printed number of
// the engine goes through (DoubleString), its building blocks, and the small
// integer printers.
//
// DoubleString is a pipeline of text steps, and its results are defined by
// those steps, double rounding included: the value is first printed exactly
// with a fixed number of decimals (digits + 2, rounded to nearest, ties to
// even on the exact binary value, as "%.*f" prints), and that text is then
// rounded half-up to the requested significant digits. Rounding the value
// once, directly, would give different last digits in rare cases, so the fast
// path below reproduces the two roundings exactly instead of taking a
// shortcut. Values outside 1e-3 <= |x| < 1e4 print as mantissa and exponent,
// the mantissa being formed as 10^(L - e) from L = log10|x|, which is what
// makes some powers of ten print as "1.0e-5".
//
// The fast path formats with 128-bit integer arithmetic (no printf) whenever
// the number of decimals is at most 19 and |x| < 2^63; everything else goes
// through snprintf, which is exact on this platform.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "common/boundary.h"
#include "libquorvex.h"

namespace {

constexpr const char *kInvalid = ">invalid_expression<";

// Beyond these counts a longer request only appends zeros to the exact
// expansion of a double (at most 1074 fraction digits, 767 significant), so
// the results are the same as with an unbounded count.
constexpr int32_t kMaxSignificant = 800;
constexpr int32_t kMaxPlaces = 1100;

constexpr uint64_t kPow10[20] = {1ull,
                                 10ull,
                                 100ull,
                                 1000ull,
                                 10000ull,
                                 100000ull,
                                 1000000ull,
                                 10000000ull,
                                 100000000ull,
                                 1000000000ull,
                                 10000000000ull,
                                 100000000000ull,
                                 1000000000000ull,
                                 10000000000000ull,
                                 100000000000000ull,
                                 1000000000000000ull,
                                 10000000000000000ull,
                                 100000000000000000ull,
                                 1000000000000000000ull,
                                 10000000000000000000ull};

// Writes the decimal digits of v at p; returns the end.
char *WriteUnsigned(char *p, uint64_t v) {
  char tmp[20];
  int n = 0;
  do {
    tmp[n++] = static_cast<char>('0' + v % 10);
    v /= 10;
  } while (v);
  while (n) *p++ = tmp[--n];
  return p;
}

// Writes v as exactly `width` digits, with leading zeros.
char *WritePadded(char *p, uint64_t v, int width) {
  for (int i = width - 1; i >= 0; --i) {
    p[i] = static_cast<char>('0' + v % 10);
    v /= 10;
  }
  return p + width;
}

// Fixed-point text of a (finite, >= 0) with `places` decimals, correctly
// rounded with ties to even, into out (room for 20 + 1 + places chars).
// Returns the length, or -1 when the value or count is outside the fast
// range.
#if defined(__SIZEOF_INT128__)
__extension__ typedef unsigned __int128 Wide;

int FixedFast(double a, int places, char *out) {
  if (places < 0 || places > 19 || !(a < 9.2e18)) return -1;
  uint64_t ip = static_cast<uint64_t>(a);
  // Exact: a and ip share the granularity of a's last bit (a < 2^63 and a
  // is an integer above 2^53).
  double fr = a - static_cast<double>(ip);
  uint64_t q = 0;
  const uint64_t p10 = kPow10[places];
  if (fr != 0.0) {
    int e = 0;
    double f = std::frexp(fr, &e);  // fr = f * 2^e, f in [0.5, 1)
    const uint64_t mant = static_cast<uint64_t>(std::ldexp(f, 53));
    const int shift = 53 - e;       // fr = mant / 2^shift, shift >= 54
    if (shift <= 120) {             // else fr * 10^19 < 0.1: rounds to 0
      const Wide prod = static_cast<Wide>(mant) * p10;
      q = static_cast<uint64_t>(prod >> shift);
      const Wide rem = prod - (static_cast<Wide>(q) << shift);
      const Wide half = static_cast<Wide>(1) << (shift - 1);
      const uint64_t lastDigit = places > 0 ? q : ip;
      if (rem > half || (rem == half && (lastDigit & 1u))) ++q;
      if (q == p10) {
        ++ip;
        q = 0;
      }
    }
  }
  char *p = WriteUnsigned(out, ip);
  if (places > 0) {
    *p++ = '.';
    p = WritePadded(p, q, places);
  }
  return static_cast<int>(p - out);
}
#else
// Without a 128-bit integer type every value takes the printf path.
int FixedFast(double, int, char *) { return -1; }
#endif

// "%.*f" of x, exactly, sign included (a negative zero prints its sign, as
// printf does).
void AppendFixed(std::string &out, double x, int places) {
  if (places < 0) places = 0;
  if (places > kMaxPlaces) places = kMaxPlaces;
  char buffer[48];
  if (std::isfinite(x)) {
    int n = FixedFast(std::fabs(x), places, buffer);
    if (n >= 0) {
      if (std::signbit(x)) out += '-';
      out.append(buffer, static_cast<std::size_t>(n));
      return;
    }
  }
  int n = std::snprintf(nullptr, 0, "%.*f", places, x);
  if (n <= 0) return;
  std::size_t at = out.size();
  out.resize(at + static_cast<std::size_t>(n) + 1);
  std::snprintf(&out[at], static_cast<std::size_t>(n) + 1, "%.*f", places, x);
  out.resize(at + static_cast<std::size_t>(n));
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Rounds the decimal number at the start of s (optional sign, digits, at
// most one point) to `digits` significant digits, half up on the first
// dropped digit. Dropped integer digits become zeros, dropped fraction
// digits go, and a point left without digits goes too. Whatever follows the
// number (an exponent, say) is kept. s must have room for one more char.
// Returns the new length.
std::size_t RoundSignificantInPlace(char *s, std::size_t len, int digits) {
  if (digits < 1) digits = 1;
  std::size_t start = (len > 0 && (s[0] == '-' || s[0] == '+')) ? 1 : 0;
  std::size_t end = start, point = std::string::npos;
  while (end < len && (IsDigit(s[end]) || (s[end] == '.' && point == std::string::npos))) {
    if (s[end] == '.') point = end;
    ++end;
  }
  const std::size_t intEnd = point == std::string::npos ? end : point;
  // Find the position of the last kept significant digit.
  std::size_t i = start;
  while (i < end && (s[i] == '0' || s[i] == '.')) ++i;
  int count = 0;
  std::size_t cut = std::string::npos;  // index of the first dropped digit
  for (; i < end; ++i) {
    if (s[i] == '.') continue;
    if (count == digits) {
      cut = i;
      break;
    }
    ++count;
  }
  if (cut == std::string::npos) return len;  // nothing to drop
  const bool up = s[cut] >= '5';
  // The last kept digit stands before the cut, across the point if need be.
  std::size_t lastKept = cut - 1;
  if (s[lastKept] == '.') --lastKept;
  // Integer digits at or after the cut become zeros.
  for (std::size_t k = cut; k < intEnd; ++k) s[k] = '0';
  // The fraction is cut (or wholly removed, point included).
  std::size_t keepEnd = cut < intEnd ? intEnd : cut;
  if (keepEnd == point + 1) keepEnd = point;  // a point with no digit after it
  std::size_t newLen = len - (end - keepEnd);
  std::memmove(s + keepEnd, s + end, len - end);
  len = newLen;
  if (up) {
    // Add one at the last kept digit. Everything up to it is still in
    // place after the move above.
    std::size_t k = lastKept + 1;
    bool carry = true;
    while (carry && k > start) {
      --k;
      if (s[k] == '.') continue;
      if (s[k] == '9') {
        s[k] = '0';
      } else {
        ++s[k];
        carry = false;
      }
    }
    if (carry) {  // 99.9 -> 100
      std::memmove(s + start + 1, s + start, len - start);
      s[start] = '1';
      ++len;
    }
  }
  return len;
}

// Removes the trailing zeros of the fraction, and the point if no fraction
// digit is left. Only the number at the start of s is touched.
std::size_t CleanZerosInPlace(char *s, std::size_t len) {
  std::size_t i = (len > 0 && (s[0] == '-' || s[0] == '+')) ? 1 : 0;
  std::size_t point = std::string::npos;
  while (i < len && (IsDigit(s[i]) || (s[i] == '.' && point == std::string::npos))) {
    if (s[i] == '.') point = i;
    ++i;
  }
  if (point == std::string::npos) return len;
  std::size_t end = i, keep = i;
  while (keep > point + 1 && s[keep - 1] == '0') --keep;
  if (keep == point + 1) keep = point;
  std::memmove(s + keep, s + end, len - end);
  return len - (end - keep);
}

void RoundSignificant(std::string &s, int digits) {
  std::size_t len = s.size();
  s.push_back('\0');
  s.resize(RoundSignificantInPlace(&s[0], len, digits));
}

void CleanZeros(std::string &s) { s.resize(CleanZerosInPlace(&s[0], s.size())); }

// The three steps of DoubleString for one number: exact fixed text with
// digits + 2 decimals, rounded to `digits` significant digits, cleaned.
// Appends to out.
void ThreeSteps(std::string &out, double x, int digits) {
  char buffer[64];
  int n = -1;
  if (digits + 2 <= 19) {
    const double a = std::fabs(x);
    buffer[0] = '-';
    const int sign = std::signbit(x) ? 1 : 0;
    n = FixedFast(a, digits + 2, buffer + sign);
    if (n >= 0) {
      n += sign;
      std::size_t len = RoundSignificantInPlace(buffer, static_cast<std::size_t>(n), digits);
      len = CleanZerosInPlace(buffer, len);
      out.append(buffer, len);
      return;
    }
  }
  std::string text;
  AppendFixed(text, x, digits + 2);
  RoundSignificant(text, digits);
  CleanZeros(text);
  out += text;
}

std::string DoubleText(double x, int32_t digits) {
  if (x == 0) return "0";
  if (!std::isfinite(x)) return kInvalid;
  if (digits < 1) digits = 1;
  if (digits > kMaxSignificant) digits = kMaxSignificant;
  const double L = std::log10(std::fabs(x));
  std::string out;
  if (L >= -3 && L < 4) {
    ThreeSteps(out, x, digits);
    return out;
  }
  int e = static_cast<int>(L);  // integer part, toward zero
  double mantissa = std::pow(10.0, L - e);
  if (L < 0) {
    e -= 1;
    mantissa *= 10;
  }
  if (x < 0) out += '-';
  const std::size_t at = out.size();
  ThreeSteps(out, mantissa, digits);
  if (out.compare(at, std::string::npos, "10") == 0) {
    out.resize(at);
    out += "1.0";
    e += 1;
  }
  out += 'e';
  if (e > 0) out += '+';
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%d", e);
  out += buffer;
  return out;
}

char *Owned(const std::string &s) { return qvx::DupText(s.data(), s.size()); }

char *IntegerText(int64_t v) {
  char buffer[24];
  char *p = buffer;
  uint64_t magnitude = static_cast<uint64_t>(v);
  if (v < 0) {
    *p++ = '-';
    magnitude = 0 - magnitude;
  }
  p = WriteUnsigned(p, magnitude);
  return qvx::DupText(buffer, static_cast<std::size_t>(p - buffer));
}

}  // namespace

extern "C" {

QVX_API char *DoubleString(double x, int32_t digits) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] { return Owned(DoubleText(x, digits)); });
}

QVX_API char *DoubleStringDecimal(double x, int32_t places) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s;
    AppendFixed(s, x, places);
    return Owned(s);
  });
}

QVX_API char *DoubleStringExponential(double x, int32_t digits) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&]() -> char * {
    if (x == 0) return qvx::DupText("0", 1);
    if (!std::isfinite(x)) return qvx::DupText(kInvalid);
    if (digits < 1) digits = 1;
    if (digits > kMaxSignificant) digits = kMaxSignificant;
    // Mantissa, point, "e+" and up to three exponent digits: the buffer is
    // sized for the longest form, so no exponent is ever cut short.
    std::string s(static_cast<std::size_t>(digits) + 9, '\0');
    std::size_t at = 0;
    if (x < 0) s[at++] = '-';
    int n = std::snprintf(&s[at], s.size() - at, "%.*e", digits - 1, std::fabs(x));
    s.resize(n > 0 ? at + static_cast<std::size_t>(n) : at);
    return Owned(s);
  });
}

QVX_API char *DoubleStringRound(const char *text, int32_t digits) noexcept {
  if (!text) return nullptr;
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s(text);
    RoundSignificant(s, digits);
    return Owned(s);
  });
}

QVX_API char *DoubleStringCleanZeros(const char *text) noexcept {
  if (!text) return nullptr;
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s(text);
    CleanZeros(s);
    return Owned(s);
  });
}

// x with `decimals` places (exact, ties to even), trailing zeros removed.
QVX_API char *RoundDoubleString(double x, int32_t decimals) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&]() -> char * {
    if (!std::isfinite(x)) return qvx::DupText(kInvalid);
    std::string s;
    AppendFixed(s, x, decimals);
    CleanZeros(s);
    return Owned(s);
  });
}

// As RoundDoubleString, but each removed zero (and a removed point) becomes
// a blank, so numbers printed with one count of decimals line up at their
// points in a column.
QVX_API char *RoundDoubleStringWithSpacePadding(double x, int32_t decimals) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&]() -> char * {
    if (!std::isfinite(x)) return qvx::DupText(kInvalid);
    std::string s;
    AppendFixed(s, x, decimals);
    const std::size_t full = s.size();
    CleanZeros(s);
    s.append(full - s.size(), ' ');
    return Owned(s);
  });
}

QVX_API char *RoundIntegerString(const char *text, int32_t digits, int32_t *carry) noexcept {
  if (carry) *carry = 0;
  if (!text) return nullptr;
  return qvx::Guard(static_cast<char *>(nullptr), [&]() -> char * {
    const std::size_t len = std::strlen(text);
    if (digits < 0) digits = 0;
    if (static_cast<std::size_t>(digits) >= len) return qvx::DupText(text, len);
    std::string s(text, static_cast<std::size_t>(digits));
    if (text[digits] >= '5' && text[digits] <= '9') {
      bool up = true;
      for (std::size_t k = s.size(); up && k > 0; --k) {
        char &c = s[k - 1];
        if (!IsDigit(c)) continue;
        if (c == '9') {
          c = '0';
        } else {
          ++c;
          up = false;
        }
      }
      if (up && carry) *carry = 1;  // every kept digit rolled over: 99|7 -> 00
    }
    return Owned(s);
  });
}

QVX_API char *IntString(int64_t value) noexcept { return IntegerText(value); }

// The digits padded with leading zeros to `width`; a sign stands in front.
QVX_API char *IntStringLZ(int64_t value, int32_t width) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    char buffer[24];
    uint64_t magnitude = static_cast<uint64_t>(value);
    if (value < 0) magnitude = 0 - magnitude;
    char *end = WriteUnsigned(buffer, magnitude);
    std::size_t n = static_cast<std::size_t>(end - buffer);
    std::string s;
    if (value < 0) s += '-';
    if (width > 0 && static_cast<std::size_t>(width) > n) s.append(static_cast<std::size_t>(width) - n, '0');
    s.append(buffer, n);
    return Owned(s);
  });
}

QVX_API char *UInt64String(uint64_t value) noexcept {
  char buffer[24];
  char *end = WriteUnsigned(buffer, value);
  return qvx::DupText(buffer, static_cast<std::size_t>(end - buffer));
}

// Leading blanks are skipped, then decimal digits are read up to the first
// other character; a value past 2^64 - 1 saturates. Null or no digits: 0.
QVX_API uint64_t UInt64FromString(const char *text) noexcept {
  if (!text) return 0;
  while (*text == ' ' || *text == '\t') ++text;
  if (*text == '+') ++text;
  uint64_t v = 0;
  for (; IsDigit(*text); ++text) {
    const uint64_t d = static_cast<uint64_t>(*text - '0');
    if (v > (UINT64_MAX - d) / 10) return UINT64_MAX;
    v = v * 10 + d;
  }
  return v;
}

// "re+imi" with both parts by DoubleString; a zero part is left out (0 for
// both zero).
QVX_API char *ComplexString(Complex z, int32_t digits) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    if (z.im == 0) return Owned(DoubleText(z.re, digits));
    std::string im = DoubleText(z.im, digits) + "i";
    if (z.re == 0) return Owned(im);
    std::string s = DoubleText(z.re, digits);
    if (im[0] != '-') s += '+';
    s += im;
    return Owned(s);
  });
}

QVX_API char *CharString(char c) noexcept {
  return c ? qvx::DupText(&c, 1) : qvx::DupText("", 0);
}

QVX_API char StringChar(const char *text) noexcept { return text ? text[0] : '\0'; }

}  // extern "C"
