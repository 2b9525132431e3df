// String handling of the toolkit: joining, searching, rewriting, case and
// trimming, hexadecimal and binary digits, UTF-8, byte arrays, and sorting
// and searching of string vectors.
//
// What a reader must know first:
//  * Texts are NUL-terminated malloc blocks. Functions that return a text
//    return a new one (FreeString). The rewriting helpers (Append..., Insert...,
//    Substitute..., Remove..., AugmentString) take an owned text by reference,
//    replace it, store the new pointer and return it; a replaced block is
//    wiped with zeros before it is freed, and a text that shrinks in place has
//    its abandoned tail wiped too. If memory runs out they leave the text as
//    it was.
//  * A null text reads as the empty text wherever that makes sense.
//  * Positions are 0-based; ranges given as (first, last) include both ends
//    and are clamped to the text.
//  * StringVectors are 0-based and end with an empty string, so they cannot
//    hold an empty element: tokenisers drop empty tokens.
#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"

namespace {

constexpr std::string_view kWhite = " \t\r\n";

std::string_view View(const char *text) { return text ? std::string_view(text) : std::string_view(); }

char *Owned(std::string_view s) { return qvx::DupText(s.data(), s.size()); }

// Puts new content in place of an owned text. Keeps the old text when the
// new block cannot be had.
char *Replace(char **text, std::string_view content) {
  char *fresh = Owned(content);
  if (!fresh) return *text;
  qvx::WipeAndFree(*text);
  *text = fresh;
  return fresh;
}

// Shrinks an owned text in place to `length`, wiping what is cut off.
void ShrinkInPlace(char *text, std::size_t oldLength, std::size_t length) {
  if (length < oldLength) std::memset(text + length, 0, oldLength - length);
}

int32_t ClampPosition(std::size_t p) {
  return p > static_cast<std::size_t>(INT32_MAX) ? -1 : static_cast<int32_t>(p);
}

std::size_t Find(std::string_view text, std::string_view needle, std::size_t from) {
  if (needle.empty() || from > text.size()) return std::string_view::npos;
  // string_view::find scans with memchr for the first byte, so each call
  // reads only up to its hit: a loop of searches stays linear.
  return text.find(needle, from);
}

// A new StringVector holding copies of the given texts (none may be empty).
char **MakeStringVector(const std::vector<std::string> &items) {
  const std::size_t n = items.size();
  if (n > static_cast<std::size_t>(INT32_MAX - 1)) return nullptr;
  char **v = static_cast<char **>(std::malloc((n + 1) * sizeof(char *)));
  if (!v) return nullptr;
  for (std::size_t i = 0; i <= n; ++i) {
    v[i] = i < n ? Owned(items[i]) : qvx::DupText("", 0);
    if (!v[i]) {
      for (std::size_t k = 0; k < i; ++k) qvx::WipeAndFree(v[k]);
      std::free(v);
      return nullptr;
    }
  }
  return v;
}

char **EmptyVector() { return MakeStringVector({}); }

bool InSet(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }

std::string_view TrimView(std::string_view s, std::string_view set) {
  std::size_t a = 0, b = s.size();
  while (a < b && InSet(set, s[a])) ++a;
  while (b > a && InSet(set, s[b - 1])) --b;
  return s.substr(a, b - a);
}

template <class F>
char *MapBytes(const char *text, F f) {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s(View(text));
    for (char &c : s) c = f(c);
    return Owned(s);
  });
}

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }
char Upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; }

constexpr char kHex[] = "0123456789ABCDEF";

char *Bits(uint64_t value, int count) {
  char buffer[65];
  for (int i = 0; i < count; ++i) buffer[i] = ((value >> (count - 1 - i)) & 1u) ? '1' : '0';
  return qvx::DupText(buffer, static_cast<std::size_t>(count));
}

// One UTF-8 sequence at s (at most `available` bytes): its code point, or -1
// for an invalid or overlong sequence, a surrogate or a value past U+10FFFF.
// *length gets the bytes taken (1 for an invalid lead byte).
int32_t DecodeUtf8(const unsigned char *s, std::size_t available, int32_t *length) {
  *length = 1;
  if (available == 0) {
    *length = 0;
    return -1;
  }
  const unsigned c = s[0];
  if (c < 0x80) return static_cast<int32_t>(c);
  int n;
  uint32_t cp, minimum;
  if ((c & 0xE0) == 0xC0) {
    n = 2, cp = c & 0x1F, minimum = 0x80;
  } else if ((c & 0xF0) == 0xE0) {
    n = 3, cp = c & 0x0F, minimum = 0x800;
  } else if ((c & 0xF8) == 0xF0) {
    n = 4, cp = c & 0x07, minimum = 0x10000;
  } else {
    return -1;
  }
  if (available < static_cast<std::size_t>(n)) return -1;
  for (int i = 1; i < n; ++i) {
    if ((s[i] & 0xC0) != 0x80) return -1;
    cp = (cp << 6) | (s[i] & 0x3Fu);
  }
  if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return -1;
  *length = n;
  return static_cast<int32_t>(cp);
}

std::vector<char *> Elements(char **v) {
  std::vector<char *> out;
  if (!v) return out;
  for (int32_t i = 0; v[i] && v[i][0]; ++i) out.push_back(v[i]);
  return out;
}

bool ByteLess(const char *a, const char *b) { return std::strcmp(a, b) < 0; }

}  // namespace

extern "C" {

// ---- joining ---------------------------------------------------------------

QVX_API char *Concat(const char *a, const char *b) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s(View(a));
    s += View(b);
    return Owned(s);
  });
}

QVX_API char *Concat3(const char *a, const char *b, const char *c) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s(View(a));
    s += View(b);
    s += View(c);
    return Owned(s);
  });
}

QVX_API char *Concat4(const char *a, const char *b, const char *c, const char *d) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s(View(a));
    for (const char *t : {b, c, d}) s += View(t);
    return Owned(s);
  });
}

QVX_API char *Concat5(const char *a, const char *b, const char *c, const char *d, const char *e) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s(View(a));
    for (const char *t : {b, c, d, e}) s += View(t);
    return Owned(s);
  });
}

QVX_API char *ConcatN(int32_t n, ...) noexcept {
  std::vector<const char *> parts;
  va_list args;
  va_start(args, n);
  for (int32_t i = 0; i < n; ++i) {
    const char *t = va_arg(args, const char *);
    try {
      parts.push_back(t);
    } catch (...) {
    }
  }
  va_end(args);
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s;
    for (const char *t : parts) s += View(t);
    return Owned(s);
  });
}

QVX_API char *ConcatStringVector(char **v) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s;
    for (char *e : Elements(v)) s += e;
    return Owned(s);
  });
}

// ---- rewriting owned texts ---------------------------------------------------

QVX_API char *AppendChar(char **text, char c) noexcept {
  if (!text || c == '\0') return text ? *text : nullptr;
  return qvx::Guard(*text, [&] {
    std::string s(View(*text));
    s += c;
    return Replace(text, s);
  });
}

QVX_API char *AppendS(char **text, const char *suffix) noexcept {
  if (!text) return nullptr;
  if (*text && (!suffix || !*suffix)) return *text;
  return qvx::Guard(*text, [&] {
    std::string s(View(*text));
    s += View(suffix);
    return Replace(text, s);
  });
}

// Appends at most `length` bytes of suffix.
QVX_API char *AppendString(char **text, const char *suffix, int32_t length) noexcept {
  if (!text) return nullptr;
  std::string_view tail = View(suffix);
  if (length < 0) length = 0;
  tail = tail.substr(0, std::min(tail.size(), static_cast<std::size_t>(length)));
  if (*text && tail.empty()) return *text;
  return qvx::Guard(*text, [&] {
    std::string s(View(*text));
    s += tail;
    return Replace(text, s);
  });
}

// Pads the text on the right with `fill` up to `length` characters.
QVX_API char *AugmentString(char **text, int32_t length, char fill) noexcept {
  if (!text) return nullptr;
  const std::size_t n = View(*text).size();
  if (fill == '\0' || length <= 0 || static_cast<std::size_t>(length) <= n) return *text;
  return qvx::Guard(*text, [&] {
    std::string s(View(*text));
    s.append(static_cast<std::size_t>(length) - n, fill);
    return Replace(text, s);
  });
}

// Inserts before `position` (clamped to 0..length).
QVX_API char *InsertStr(char **text, const char *insert, int32_t position) noexcept {
  if (!text) return nullptr;
  if (*text && (!insert || !*insert)) return *text;
  return qvx::Guard(*text, [&] {
    std::string s(View(*text));
    std::size_t at = position < 0 ? 0 : std::min(s.size(), static_cast<std::size_t>(position));
    s.insert(at, View(insert));
    return Replace(text, s);
  });
}

QVX_API char *InsertChar(char **text, char c, int32_t position) noexcept {
  const char one[2] = {c, '\0'};
  return InsertStr(text, one, position);
}

// Every non-overlapping occurrence of pattern, left to right, becomes
// replacement. The search runs over the original text only, so a
// replacement that contains the pattern is not rewritten again.
QVX_API char *SubstituteString(char **text, const char *pattern, const char *replacement) noexcept {
  if (!text || !*text) return text ? *text : nullptr;
  std::string_view t(*text), p = View(pattern), r = View(replacement);
  std::size_t hit = Find(t, p, 0);
  if (hit == std::string_view::npos) return *text;
  return qvx::Guard(*text, [&] {
    std::string out;
    std::size_t from = 0;
    while (hit != std::string_view::npos) {
      out.append(t.substr(from, hit - from));
      out.append(r);
      from = hit + p.size();
      hit = Find(t, p, from);
    }
    out.append(t.substr(from));
    return Replace(text, out);
  });
}

// The same, in place when pattern and replacement have one length (no
// allocation); otherwise it falls back to SubstituteString.
QVX_API char *SubstituteStringEqualSizes(char **text, const char *pattern, const char *replacement) noexcept {
  if (!text || !*text) return text ? *text : nullptr;
  std::string_view p = View(pattern), r = View(replacement);
  if (p.size() != r.size()) return SubstituteString(text, pattern, replacement);
  std::string_view t(*text);
  for (std::size_t hit = Find(t, p, 0); hit != std::string_view::npos; hit = Find(t, p, hit + p.size()))
    std::memcpy(*text + hit, r.data(), r.size());
  return *text;
}

QVX_API char *RemoveCharacter(char **text, char c) noexcept {
  if (!text || !*text || c == '\0') return text ? *text : nullptr;
  char *s = *text;
  const std::size_t n = std::strlen(s);
  std::size_t w = 0;
  for (std::size_t i = 0; i < n; ++i)
    if (s[i] != c) s[w++] = s[i];
  ShrinkInPlace(s, n, w);
  return s;
}

// Removes every character that belongs to `set`.
QVX_API char *RemoveCharacters(char **text, const char *set) noexcept {
  if (!text || !*text || !set || !*set) return text ? *text : nullptr;
  bool drop[256] = {};
  for (const unsigned char *p = reinterpret_cast<const unsigned char *>(set); *p; ++p) drop[*p] = true;
  char *s = *text;
  const std::size_t n = std::strlen(s);
  std::size_t w = 0;
  for (std::size_t i = 0; i < n; ++i)
    if (!drop[static_cast<unsigned char>(s[i])]) s[w++] = s[i];
  ShrinkInPlace(s, n, w);
  return s;
}

// ---- pieces and searches -----------------------------------------------------

// Characters first..last, both included, clamped to the text.
QVX_API char *CropString(const char *text, int32_t first, int32_t last) noexcept {
  std::string_view t = View(text);
  if (t.empty() || last < first || last < 0) return qvx::DupText("", 0);
  std::size_t a = first < 0 ? 0 : static_cast<std::size_t>(first);
  std::size_t b = std::min(t.size(), static_cast<std::size_t>(last) + 1);
  if (a >= b) return qvx::DupText("", 0);
  return Owned(t.substr(a, b - a));
}

// Elements first..last, both included, clamped to the vector; copies.
QVX_API char **CropStringVector(char **v, int32_t first, int32_t last) noexcept {
  return qvx::Guard(static_cast<char **>(nullptr), [&] {
    std::vector<char *> e = Elements(v);
    std::vector<std::string> out;
    if (!e.empty() && last >= first && last >= 0) {
      std::size_t a = first < 0 ? 0 : static_cast<std::size_t>(first);
      std::size_t b = std::min(e.size(), static_cast<std::size_t>(last) + 1);
      for (std::size_t i = a; i < b; ++i) out.emplace_back(e[i]);
    }
    return MakeStringVector(out);
  });
}

// First position of needle, or -1 (also for an empty needle).
QVX_API int32_t FindS(const char *text, const char *needle) noexcept {
  std::size_t p = Find(View(text), View(needle), 0);
  return p == std::string_view::npos ? -1 : ClampPosition(p);
}

// First position of needle at or after `start`, or -1.
QVX_API int32_t StrStr(const char *text, const char *needle, int32_t start) noexcept {
  std::size_t p = Find(View(text), View(needle), start < 0 ? 0 : static_cast<std::size_t>(start));
  return p == std::string_view::npos ? -1 : ClampPosition(p);
}

// Re-entrant tokeniser: the first call passes the text (which is cut with
// NUL bytes), later ones pass null and the same state. Returns null at the
// end. Runs of delimiters count as one.
QVX_API char *StrTokR(char *text, const char *delimiters, char **state) noexcept {
  if (!state) return nullptr;
  char *s = text ? text : *state;
  if (!s) return nullptr;
  const char *d = delimiters ? delimiters : "";
  s += std::strspn(s, d);
  if (!*s) {
    *state = s;
    return nullptr;
  }
  char *end = s + std::strcspn(s, d);
  if (*end) {
    *end = '\0';
    *state = end + 1;
  } else {
    *state = end;
  }
  return s;
}

// The non-empty pieces between characters of `delimiters`.
QVX_API char **StringTokens(const char *text, const char *delimiters) noexcept {
  return qvx::Guard(static_cast<char **>(nullptr), [&] {
    std::string_view t = View(text), d = View(delimiters);
    std::vector<std::string> out;
    std::size_t i = 0;
    while (i < t.size()) {
      while (i < t.size() && InSet(d, t[i])) ++i;
      std::size_t j = i;
      while (j < t.size() && !InSet(d, t[j])) ++j;
      if (j > i) out.emplace_back(t.substr(i, j - i));
      i = j;
    }
    return MakeStringVector(out);
  });
}

// n copies of c (the empty text for n <= 0 or c == 0).
QVX_API char *StringInit(int32_t n, char c) noexcept {
  if (n <= 0 || c == '\0') return qvx::DupText("", 0);
  char *s = static_cast<char *>(std::malloc(static_cast<std::size_t>(n) + 1));
  if (!s) return nullptr;
  std::memset(s, c, static_cast<std::size_t>(n));
  s[n] = '\0';
  return s;
}

// 0: plain ASCII; 1: valid UTF-8 with some multi-byte character; 2: other
// bytes (an 8-bit code page). Null reads as empty.
QVX_API int32_t StringEncoding(const char *text) noexcept {
  std::string_view t = View(text);
  bool high = false;
  for (unsigned char c : t)
    if (c >= 0x80) {
      high = true;
      break;
    }
  if (!high) return 0;
  return TestValidUTF8String(text) ? 1 : 2;
}

QVX_API char *ReverseS(const char *text) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s(View(text));
    std::reverse(s.begin(), s.end());
    return Owned(s);
  });
}

// Case changes touch ASCII letters only.
QVX_API char *LowerCase(const char *text) noexcept { return MapBytes(text, Lower); }
QVX_API char *UpperCase(const char *text) noexcept { return MapBytes(text, Upper); }
QVX_API char *InvertCase(const char *text) noexcept {
  return MapBytes(text, [](char c) { return Lower(c) != c ? Lower(c) : Upper(c); });
}

// Without leading and trailing blanks, tabs, carriage returns, line feeds.
QVX_API char *Trim(const char *text) noexcept { return Owned(TrimView(View(text), kWhite)); }

// Without leading and trailing characters of `set`.
QVX_API char *TrimSub(const char *text, const char *set) noexcept {
  return Owned(TrimView(View(text), View(set)));
}

// How many characters at the start (end) of the text belong to `set`.
QVX_API int32_t LeadingCharacters(const char *text, const char *set) noexcept {
  std::string_view t = View(text), s = View(set);
  std::size_t n = 0;
  while (n < t.size() && InSet(s, t[n])) ++n;
  return ClampPosition(n);
}

QVX_API int32_t TrailingCharacters(const char *text, const char *set) noexcept {
  std::string_view t = View(text), s = View(set);
  std::size_t n = 0;
  while (n < t.size() && InSet(s, t[t.size() - 1 - n])) ++n;
  return ClampPosition(n);
}

// qsort comparator over an array of char *: byte order, null first.
QVX_API int AlphabeticStringComparator(const void *a, const void *b) noexcept {
  const char *x = a ? *static_cast<const char *const *>(a) : nullptr;
  const char *y = b ? *static_cast<const char *const *>(b) : nullptr;
  if (!x || !y) return (x != nullptr) - (y != nullptr);
  int c = std::strcmp(x, y);
  return (c > 0) - (c < 0);
}

// ---- hexadecimal and binary digits -------------------------------------------

QVX_API char *CharToHex(unsigned char c) noexcept {
  const char two[2] = {kHex[c >> 4], kHex[c & 15]};
  return qvx::DupText(two, 2);
}

QVX_API int32_t HexDigitToDecimal(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The first two characters as a hexadecimal byte, or -1.
QVX_API int32_t HexByteToDecimal(const char *text) noexcept {
  if (!text || !text[0]) return -1;
  int32_t hi = HexDigitToDecimal(text[0]), lo = HexDigitToDecimal(text[1]);
  return (hi < 0 || lo < 0) ? -1 : hi * 16 + lo;
}

// Eight binary digits a byte, most significant bit first.
QVX_API char *BinToAscii(const unsigned char *bytes, int32_t length) noexcept {
  if (!bytes || length <= 0) return qvx::DupText("", 0);
  if (length > (INT32_MAX - 1) / 8) return nullptr;
  const std::size_t n = static_cast<std::size_t>(length) * 8;
  char *s = static_cast<char *>(std::malloc(n + 1));
  if (!s) return nullptr;
  for (std::size_t i = 0; i < n; ++i) s[i] = ((bytes[i / 8] >> (7 - i % 8)) & 1u) ? '1' : '0';
  s[n] = '\0';
  return s;
}

QVX_API char *BinToAsciiB(unsigned char value) noexcept { return Bits(value, 8); }
QVX_API char *BinToAsciiI(uint32_t value) noexcept { return Bits(value, 32); }

// The 32 digits of each element of a VectorL, joined.
QVX_API char *BinToAsciiL(const int32_t *v) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s;
    const int32_t n = v ? std::max<int32_t>(v[0], 0) : 0;
    for (int32_t i = 1; i <= n; ++i)
      for (int b = 31; b >= 0; --b) s += ((static_cast<uint32_t>(v[i]) >> b) & 1u) ? '1' : '0';
    return Owned(s);
  });
}

// ---- UTF-8 -------------------------------------------------------------------

// 1 for well-formed UTF-8 (no overlong forms, surrogates or values past
// U+10FFFF), 0 otherwise or for null.
QVX_API int32_t TestValidUTF8String(const char *text) noexcept {
  if (!text) return 0;
  const auto *s = reinterpret_cast<const unsigned char *>(text);
  std::size_t n = std::strlen(text), i = 0;
  while (i < n) {
    if (s[i] < 0x80) {
      ++i;
      continue;
    }
    int32_t len = 0;
    if (DecodeUtf8(s + i, n - i, &len) < 0) return 0;
    i += static_cast<std::size_t>(len);
  }
  return 1;
}

// The code point of the UTF-8 sequence at the start of the text, or -1 when
// it is invalid; *consumed (may be null) gets the bytes read (1 for an
// invalid sequence, so that a caller can step over it; 0 at the end).
QVX_API int32_t UnicodeBytesToInteger(const char *text, int32_t *consumed) noexcept {
  int32_t len = 0, cp = -1;
  if (text && *text) {
    // Bounded by the terminator: a continuation byte is never 0.
    std::size_t available = 1;
    while (available < 4 && text[available]) ++available;
    cp = DecodeUtf8(reinterpret_cast<const unsigned char *>(text), available, &len);
  }
  if (consumed) *consumed = len;
  return cp;
}

// ---- byte arrays -------------------------------------------------------------

// A text of the bytes (a zero byte ends it).
QVX_API char *ByteArrayToString(const unsigned char *bytes, int32_t length) noexcept {
  if (!bytes || length <= 0) return qvx::DupText("", 0);
  const void *zero = std::memchr(bytes, 0, static_cast<std::size_t>(length));
  std::size_t n = zero ? static_cast<std::size_t>(static_cast<const unsigned char *>(zero) - bytes)
                       : static_cast<std::size_t>(length);
  return qvx::DupText(reinterpret_cast<const char *>(bytes), n);
}

// The bytes of the text without its terminator (Free); *length gets the
// count. Never null unless memory runs out.
QVX_API unsigned char *StringToByteArray(const char *text, int32_t *length) noexcept {
  std::size_t n = View(text).size();
  if (n > static_cast<std::size_t>(INT32_MAX)) n = INT32_MAX;
  auto *b = static_cast<unsigned char *>(std::malloc(n ? n : 1));
  if (length) *length = b ? static_cast<int32_t>(n) : 0;
  if (b && n) std::memcpy(b, text, n);
  return b;
}

// One element (0..255) a byte.
QVX_API int32_t *ByteArrayToVectorL(const unsigned char *bytes, int32_t length) noexcept {
  if (!bytes || length < 0) length = 0;
  int32_t *v = VectorL(length);
  if (!v) return nullptr;
  for (int32_t i = 1; i <= v[0]; ++i) v[i] = bytes[i - 1];
  return v;
}

// Four bytes an element, little-endian; a short last group is padded with
// zero bytes.
QVX_API uint32_t *ByteArrayToVectorUInt32(const unsigned char *bytes, int32_t length) noexcept {
  if (!bytes || length < 0) length = 0;
  const int32_t n = static_cast<int32_t>((static_cast<int64_t>(length) + 3) / 4);
  uint32_t *v = VectorUInt32(n);
  if (!v) return nullptr;
  for (int32_t i = 0; i < n; ++i) {
    uint32_t w = 0;
    for (int32_t k = 0; k < 4; ++k) {
      const int64_t at = static_cast<int64_t>(i) * 4 + k;
      if (at < length) w |= static_cast<uint32_t>(bytes[at]) << (8 * k);
    }
    v[i + 1] = w;
  }
  return v;
}

// The low byte of each element (Free); *length gets the count.
QVX_API unsigned char *VectorToByteArrayL(const int32_t *v, int32_t *length) noexcept {
  const int32_t n = v ? std::max<int32_t>(v[0], 0) : 0;
  auto *b = static_cast<unsigned char *>(std::malloc(n ? static_cast<std::size_t>(n) : 1));
  if (length) *length = b ? n : 0;
  if (b)
    for (int32_t i = 0; i < n; ++i) b[i] = static_cast<unsigned char>(v[i + 1] & 0xFF);
  return b;
}

// Four bytes an element, little-endian (Free); *length gets the count.
QVX_API unsigned char *VectorToByteArrayUInt32(const uint32_t *v, int32_t *length) noexcept {
  int64_t n = v ? static_cast<int64_t>(static_cast<int32_t>(v[0])) : 0;
  if (n < 0 || n > INT32_MAX / 4) n = 0;
  auto *b = static_cast<unsigned char *>(std::malloc(n ? static_cast<std::size_t>(n) * 4 : 1));
  if (length) *length = b ? static_cast<int32_t>(n * 4) : 0;
  if (b)
    for (int64_t i = 0; i < n; ++i) SplitIntToBytes(v[i + 1], b + 4 * i);
  return b;
}

// The bytes of a text as a VectorL (0..255), and back (elements taken
// modulo 256; zero bytes are left out so the text stays whole).
QVX_API int32_t *StringToVectorL(const char *text) noexcept {
  std::string_view t = View(text);
  if (t.size() > static_cast<std::size_t>(INT32_MAX - 1)) t = t.substr(0, INT32_MAX - 1);
  return ByteArrayToVectorL(reinterpret_cast<const unsigned char *>(t.data()), static_cast<int32_t>(t.size()));
}

QVX_API char *VectorToStringL(const int32_t *v) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string s;
    const int32_t n = v ? std::max<int32_t>(v[0], 0) : 0;
    for (int32_t i = 1; i <= n; ++i)
      if (char c = static_cast<char>(v[i] & 0xFF)) s += c;
    return Owned(s);
  });
}

// Four bytes, little-endian, to one integer and back; two for a short.
QVX_API uint32_t MergeBytesToInt(const unsigned char *bytes) noexcept {
  if (!bytes) return 0;
  return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
         static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

QVX_API void SplitIntToBytes(uint32_t value, unsigned char *bytes) noexcept {
  if (!bytes) return;
  for (int k = 0; k < 4; ++k) bytes[k] = static_cast<unsigned char>(value >> (8 * k));
}

QVX_API void SplitShortToBytes(uint16_t value, unsigned char *bytes) noexcept {
  if (!bytes) return;
  bytes[0] = static_cast<unsigned char>(value & 0xFF);
  bytes[1] = static_cast<unsigned char>(value >> 8);
}

// ---- combinatorics -------------------------------------------------------------

// The distinct texts made of k characters of the text taken in order of
// position (lexicographic order of positions). Over a million candidates, or
// k outside 1..length, gives an empty vector.
QVX_API char **StringCombinations(const char *text, int32_t k) noexcept {
  return qvx::Guard(static_cast<char **>(nullptr), [&]() -> char ** {
    std::string_view t = View(text);
    const std::size_t n = t.size();
    if (k <= 0 || static_cast<std::size_t>(k) > n) return EmptyVector();
    // Count C(n, k) with an early stop past the limit.
    double count = 1;
    for (int32_t i = 1; i <= k; ++i) {
      count = count * static_cast<double>(n - static_cast<std::size_t>(k) + static_cast<std::size_t>(i)) / i;
      if (count > 1e6) return EmptyVector();
    }
    std::vector<std::size_t> pick(static_cast<std::size_t>(k));
    std::iota(pick.begin(), pick.end(), 0);
    std::vector<std::string> out;
    std::unordered_set<std::string> seen;
    std::string item(static_cast<std::size_t>(k), ' ');
    while (true) {
      for (std::size_t i = 0; i < pick.size(); ++i) item[i] = t[pick[i]];
      if (seen.insert(item).second) out.push_back(item);
      // Next combination of positions.
      std::size_t i = pick.size();
      while (i > 0 && pick[i - 1] == n - pick.size() + i - 1) --i;
      if (i == 0) break;
      ++pick[i - 1];
      for (std::size_t j = i; j < pick.size(); ++j) pick[j] = pick[j - 1] + 1;
    }
    return MakeStringVector(out);
  });
}

// The distinct orderings of the characters, in byte order. Texts longer than
// nine characters (over 362880 orderings) give an empty vector.
QVX_API char **StringPermutations(const char *text) noexcept {
  return qvx::Guard(static_cast<char **>(nullptr), [&]() -> char ** {
    std::string s(View(text));
    if (s.empty() || s.size() > 9) return EmptyVector();
    std::sort(s.begin(), s.end());
    std::vector<std::string> out;
    do out.push_back(s);
    while (std::next_permutation(s.begin(), s.end()));
    return MakeStringVector(out);
  });
}

// ---- string vectors -----------------------------------------------------------

// Sorts the elements in place, in byte order (strcmp).
QVX_API void SortStringVector(char **v) noexcept {
  qvx::GuardVoid([&] {
    std::vector<char *> e = Elements(v);
    std::sort(e.begin(), e.end(), ByteLess);
    std::copy(e.begin(), e.end(), v);
  });
}

// Sorts in place (stable) and returns a VectorL whose element k holds the
// former 0-based index of the string now at index k - 1.
QVX_API int32_t *SortStringVectorRef(char **v) noexcept {
  std::vector<char *> e;
  std::vector<int32_t> order;
  bool ok = qvx::Guard(false, [&] {
    e = Elements(v);
    order.resize(e.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) { return ByteLess(e[a], e[b]); });
    return true;
  });
  int32_t *ref = VectorL(ok ? static_cast<int32_t>(order.size()) : 0);
  if (!ok || !ref || ref[0] != static_cast<int32_t>(order.size())) return ref;
  for (std::size_t i = 0; i < order.size(); ++i) {
    v[i] = e[order[i]];
    ref[i + 1] = order[i];
  }
  return ref;
}

// Sorts in place by length, equal lengths in byte order.
QVX_API void SortStringVectorSizes(char **v) noexcept {
  qvx::GuardVoid([&] {
    std::vector<char *> e = Elements(v);
    std::stable_sort(e.begin(), e.end(), [](const char *a, const char *b) {
      std::size_t la = std::strlen(a), lb = std::strlen(b);
      return la != lb ? la < lb : ByteLess(a, b);
    });
    std::copy(e.begin(), e.end(), v);
  });
}

// Reorders the rows of a StringMatrix (m[column][row]) so that the strings
// of `column` (0-based) are in byte order; stable. A column out of range, or
// columns shorter than the first, leave the matrix alone.
QVX_API void SortStringMatrix(char ***m, int32_t column) noexcept {
  qvx::GuardVoid([&] {
    const int32_t cols = StringMatrixCols(m);
    if (column < 0 || column >= cols) return;
    const int32_t rows = StringVectorLength(m[0]);
    for (int32_t j = 0; j < cols; ++j)
      if (StringVectorLength(m[j]) < rows) return;
    std::vector<int32_t> order(static_cast<std::size_t>(rows));
    std::iota(order.begin(), order.end(), 0);
    char **key = m[column];
    std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) { return ByteLess(key[a], key[b]); });
    std::vector<char *> scratch(static_cast<std::size_t>(rows));
    for (int32_t j = 0; j < cols; ++j) {
      for (int32_t i = 0; i < rows; ++i) scratch[static_cast<std::size_t>(i)] = m[j][order[static_cast<std::size_t>(i)]];
      std::copy(scratch.begin(), scratch.end(), m[j]);
    }
  });
}

// A new vector with the first occurrence of each string, in order.
QVX_API char **RemoveDuplicateStrings(char **v) noexcept {
  return qvx::Guard(static_cast<char **>(nullptr), [&] {
    std::unordered_set<std::string_view> seen;
    std::vector<std::string> out;
    for (char *e : Elements(v))
      if (seen.insert(e).second) out.emplace_back(e);
    return MakeStringVector(out);
  });
}

// 1 if an element equals the text.
QVX_API int32_t TestElementS(char **v, const char *text) noexcept { return PosS(v, text) >= 0 ? 1 : 0; }

// Index of the first element equal to the text, or -1.
QVX_API int32_t PosS(char **v, const char *text) noexcept {
  if (!v || !text) return -1;
  for (int32_t i = 0; v[i] && v[i][0]; ++i)
    if (std::strcmp(v[i], text) == 0) return i;
  return -1;
}

// Index of the text in a vector sorted in byte order, or -1.
QVX_API int32_t BinarySearchPosS(char **v, const char *text) noexcept {
  if (!v || !text) return -1;
  int32_t lo = 0, hi = StringVectorLength(v) - 1;
  while (lo <= hi) {
    const int32_t mid = lo + (hi - lo) / 2;
    const int c = std::strcmp(v[mid], text);
    if (c == 0) return mid;
    if (c < 0)
      lo = mid + 1;
    else
      hi = mid - 1;
  }
  return -1;
}

// Non-overlapping occurrences of needle, counted left to right.
QVX_API int32_t NOccS(const char *text, const char *needle) noexcept {
  return NOccWindowS(text, needle, 0, INT32_MAX);
}

// The same, counting only occurrences that lie wholly within first..last.
QVX_API int32_t NOccWindowS(const char *text, const char *needle, int32_t first, int32_t last) noexcept {
  std::string_view t = View(text), p = View(needle);
  if (p.empty() || last < first || last < 0) return 0;
  const std::size_t a = first < 0 ? 0 : static_cast<std::size_t>(first);
  const std::size_t b = std::min(t.size(), static_cast<std::size_t>(last) + 1);
  if (a >= b) return 0;
  t = t.substr(0, b);
  int32_t count = 0;
  for (std::size_t hit = Find(t, p, a); hit != std::string_view::npos && count < INT32_MAX;
       hit = Find(t, p, hit + p.size()))
    ++count;
  return count;
}

// ---- reading lines ------------------------------------------------------------

// The next line of a file, of any length, without its "\n" or "\r\n"; null
// at the end of the file (or for a null file).
QVX_API char *FGetS(FILE *file) noexcept {
  if (!file) return nullptr;
  return qvx::Guard(static_cast<char *>(nullptr), [&]() -> char * {
    std::string line;
    char chunk[4096];
    bool any = false;
    while (std::fgets(chunk, sizeof chunk, file)) {
      any = true;
      std::size_t n = std::strlen(chunk);
      line.append(chunk, n);
      if (n && chunk[n - 1] == '\n') break;
    }
    if (!any) return nullptr;
    if (!line.empty() && line.back() == '\n') line.pop_back();
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return Owned(line);
  });
}

}  // extern "C"
