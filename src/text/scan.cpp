// Bracket-aware search of text, and the small rewriting helpers built on it.
//
// Every operator the evaluator splits at is found here, at depth 0; the
// direction of each search is what makes an operator left- or
// right-associative. The evaluator runs these searches again at every
// evaluation of a text, so they work on views, keep their bracket stacks on
// the C stack (a heap block only for texts nested deeper than the inline
// buffer), and never recurse: a text of a million nested parentheses costs a
// million-byte stack block and one pass, not a million frames.
//
// What a reader must know first: a bracket mismatch stops the two top-level
// searches with result 0 and position -1, the same result as "found"; callers
// test the position. See scan.h for the contract of each function.
#include "text/scan.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace qvx {
namespace {

// A byte stack that lives on the C stack until it outgrows kInline bytes.
class ByteStack {
 public:
  ByteStack() = default;
  ByteStack(const ByteStack &) = delete;
  ByteStack &operator=(const ByteStack &) = delete;

  bool Empty() const { return size_ == 0; }
  void Push(unsigned char c) {
    if (size_ == capacity_) Grow();
    data_[size_++] = c;
  }
  unsigned char Pop() { return data_[--size_]; }
  unsigned char Top() const { return data_[size_ - 1]; }

 private:
  static constexpr std::size_t kInline = 256;
  void Grow() {
    std::size_t capacity = capacity_ * 2;
    std::unique_ptr<unsigned char[]> bigger(new unsigned char[capacity]);
    std::memcpy(bigger.get(), data_, size_);
    heap_ = std::move(bigger);
    data_ = heap_.get();
    capacity_ = capacity;
  }
  unsigned char local_[kInline];
  unsigned char *data_ = local_;
  std::size_t capacity_ = kInline;
  std::size_t size_ = 0;
  std::unique_ptr<unsigned char[]> heap_;
};

// The opening and closing characters of a search, with a 256-bit map for the
// common case: a character that is no bracket at all costs one bit test.
// Stack entries are kind indices (position in the set), so "is this the
// partner" is one comparison.
class BracketSet {
 public:
  BracketSet(std::string_view opening, std::string_view closing) {
    count_ = static_cast<int>(std::min(opening.size(), closing.size()));
    if (count_ > 8) count_ = 8;
    for (int k = 0; k < count_; ++k) {
      open_[k] = static_cast<unsigned char>(opening[k]);
      close_[k] = static_cast<unsigned char>(closing[k]);
      Set(open_[k]);
      Set(close_[k]);
    }
  }
  bool IsBracket(unsigned char c) const { return (mask_[c >> 6] >> (c & 63)) & 1u; }
  int OpenKind(unsigned char c) const {
    for (int k = 0; k < count_; ++k)
      if (open_[k] == c) return k;
    return -1;
  }
  int CloseKind(unsigned char c) const {
    for (int k = 0; k < count_; ++k)
      if (close_[k] == c) return k;
    return -1;
  }

 private:
  void Set(unsigned char c) { mask_[c >> 6] |= uint64_t{1} << (c & 63); }
  uint64_t mask_[4] = {0, 0, 0, 0};
  unsigned char open_[8] = {};
  unsigned char close_[8] = {};
  int count_ = 0;
};

// The language's own bracket pairs "()", ":;" and "[]" in one table, for
// the sets that hold exactly these three pairs: a byte is
// classified by one load instead of a walk over the set. Kinds: 1 to 3 for an
// opening character, -1 to -3 for its closing partner, 0 for anything else.
struct StandardBrackets {
  int8_t kind[256] = {};
  constexpr StandardBrackets() {
    kind[static_cast<unsigned char>('(')] = 1;
    kind[static_cast<unsigned char>(')')] = -1;
    kind[static_cast<unsigned char>(':')] = 2;
    kind[static_cast<unsigned char>(';')] = -2;
    kind[static_cast<unsigned char>('[')] = 3;
    kind[static_cast<unsigned char>(']')] = -3;
  }
  int Kind(unsigned char c) const { return kind[c]; }
};
constexpr StandardBrackets kStandard{};

inline uint32_t Pack3(std::string_view t) {
  return static_cast<uint32_t>(static_cast<unsigned char>(t[0])) |
         static_cast<uint32_t>(static_cast<unsigned char>(t[1])) << 8 |
         static_cast<uint32_t>(static_cast<unsigned char>(t[2])) << 16;
}
// True for the two spellings of the full set that the engine passes (the
// other orders are correct through the generic classifier too).
inline bool IsStandardSet(std::string_view opening, std::string_view closing) {
  if (opening.size() != 3 || closing.size() != 3) return false;
  const uint32_t o = Pack3(opening), c = Pack3(closing);
  return (o == Pack3("(:[") && c == Pack3(");]")) || (o == Pack3(":([") && c == Pack3(";)]"));
}

// Any other set, with the same signed kinds. A character that is in both
// sets counts as what the walk meets first: a closing one from the right, an
// opening one from the left.
class GenericBrackets {
 public:
  GenericBrackets(std::string_view opening, std::string_view closing, bool openingFirst)
      : set_(opening, closing), openingFirst_(openingFirst) {}
  int Kind(unsigned char c) const {
    if (!set_.IsBracket(c)) return 0;
    if (openingFirst_) {
      if (const int k = set_.OpenKind(c); k >= 0) return k + 1;
    }
    if (const int k = set_.CloseKind(c); k >= 0) return -(k + 1);
    const int k = set_.OpenKind(c);
    return k >= 0 ? k + 1 : 0;
  }

 private:
  BracketSet set_;
  bool openingFirst_;
};

inline bool FitsInt32(std::size_t n) { return n <= static_cast<std::size_t>(std::numeric_limits<int32_t>::max()); }

inline bool IsDigit(unsigned char c) { return c >= '0' && c <= '9'; }

void SetBit(uint64_t (&map)[4], unsigned char c) { map[c >> 6] |= uint64_t{1} << (c & 63); }

}  // namespace

// ---------------------------------------------------------------------------
// Syntax lists.

TextList MakeTextList(std::initializer_list<std::string_view> entries) {
  TextList list;
  for (std::string_view e : entries) {
    if (list.count >= TextList::kCapacity || e.empty()) continue;
    list.entry[list.count++] = e;
    SetBit(list.firstChar, static_cast<unsigned char>(e.front()));
    SetBit(list.lastChar, static_cast<unsigned char>(e.back()));
  }
  return list;
}

void BuildDefaultSyntaxLists(SyntaxLists *lists) {
  if (!lists) return;
  lists->multiplicative = MakeTextList({"*", "/", "^", ",", "..", "."});
  lists->postfix = MakeTextList({"'", "!"});
  lists->reference = MakeTextList({"#", "@"});
  lists->opening = MakeTextList({"(", ":", "["});
  lists->closing = MakeTextList({")", ";", "]"});
  lists->additive = MakeTextList({"+", "-"});
  lists->comparison = MakeTextList({"==", "~=", "<=", ">=", "<", ">", "&", "|", ","});
  lists->negation = MakeTextList({"~"});
}

const SyntaxLists &DefaultSyntaxLists() {
  static const SyntaxLists lists = [] {
    SyntaxLists l;
    BuildDefaultSyntaxLists(&l);
    return l;
  }();
  return lists;
}

// ---------------------------------------------------------------------------
// Depth-0 searches.

namespace {

// The two depth-0 walks over a classifier of brackets. A closing character
// met on the way (from the right) or an opening one (from the left) pushes
// its kind; its partner must pop the same kind, or the walk stops as a
// mismatch (result 0, position -1).
template <class Brackets>
int32_t LastTopLevel(std::string_view text, const Brackets &set, std::string_view needle, int32_t *position) {
  int32_t found = -1;
  int32_t result = 1;
  const std::size_t n = text.size();
  const std::size_t m = needle.size();
  if (n > 0 && m > 0 && FitsInt32(n)) {
    const unsigned char *s = reinterpret_cast<const unsigned char *>(text.data());
    const unsigned char last = static_cast<unsigned char>(needle.back());
    ByteStack stack;
    // The needle is compared ending at the current index, so a two-character
    // needle is seen while the scan stands on its second character.
    for (std::size_t i = n; i-- > 0;) {
      const unsigned char c = s[i];
      if (const int kind = set.Kind(c)) {
        if (kind < 0) {
          stack.Push(static_cast<unsigned char>(-kind));
        } else if (stack.Empty() || stack.Pop() != kind) {
          result = 0;  // mismatch: stops the search, position stays -1
          break;
        }
        continue;
      }
      if (!stack.Empty()) continue;
      if (i + 1 < m) break;  // candidate index would fall below 0
      if (c == last && (m == 1 || std::memcmp(s + i + 1 - m, needle.data(), m) == 0)) {
        found = static_cast<int32_t>(i + 1 - m);
        result = 0;
        break;
      }
    }
  }
  if (position) *position = found;
  return result;
}

template <class Brackets>
int32_t FirstTopLevel(std::string_view text, const Brackets &set, std::string_view needle, int32_t *position) {
  int32_t found = -1;
  int32_t result = 1;
  const std::size_t n = text.size();
  const std::size_t m = needle.size();
  if (n > 0 && m > 0 && FitsInt32(n)) {
    const unsigned char *s = reinterpret_cast<const unsigned char *>(text.data());
    const unsigned char last = static_cast<unsigned char>(needle.back());
    ByteStack stack;
    for (std::size_t i = 0; i < n; ++i) {
      const unsigned char c = s[i];
      if (const int kind = set.Kind(c)) {
        if (kind > 0) {
          stack.Push(static_cast<unsigned char>(kind));
        } else if (stack.Empty() || stack.Pop() != -kind) {
          result = 0;
          break;
        }
        continue;
      }
      if (!stack.Empty() || i + 1 < m) continue;
      if (c == last && (m == 1 || std::memcmp(s + i + 1 - m, needle.data(), m) == 0)) {
        found = static_cast<int32_t>(i + 1 - m);
        result = 0;
        break;
      }
    }
  }
  if (position) *position = found;
  return result;
}

}  // namespace

int32_t FindLastTopLevel(std::string_view text, std::string_view opening, std::string_view closing,
                         std::string_view needle, int32_t *position) {
  if (IsStandardSet(opening, closing)) return LastTopLevel(text, kStandard, needle, position);
  return LastTopLevel(text, GenericBrackets(opening, closing, false), needle, position);
}

int32_t FindFirstTopLevel(std::string_view text, std::string_view opening, std::string_view closing,
                          std::string_view needle, int32_t *position) {
  if (IsStandardSet(opening, closing)) return FirstTopLevel(text, kStandard, needle, position);
  return FirstTopLevel(text, GenericBrackets(opening, closing, true), needle, position);
}

int32_t FindTopLevelEquals(std::string_view text, int32_t commaFlag, int32_t *position) {
  if (position) *position = -1;
  if (commaFlag == -1) {
    int32_t comma = -1;
    FindLastTopLevel(text, kOpenParenBlockSquare, kCloseParenBlockSquare, ",", &comma);
    commaFlag = comma >= 0 ? 1 : 0;
  }
  const std::size_t n = text.size();
  if (commaFlag != 0 || n < 2 || !FitsInt32(n)) return 0;
  // Byte-wide counters that wrap, one per bracket kind: an unbalanced text
  // simply never comes back to zero in that kind.
  uint8_t paren = 0, square = 0, block = 0;
  for (std::size_t i = n - 1; i >= 1; --i) {
    const char c = text[i];
    switch (c) {
      case ')': ++paren; break;
      case '(': --paren; break;
      case ']': ++square; break;
      case '[': --square; break;
      case ';': ++block; break;
      case ':': --block; break;
      case '=':
        if (paren == 0 && square == 0 && block == 0 && (i + 1 >= n || text[i + 1] != '=')) {
          const char before = text[i - 1];
          if (before != '~' && before != '=' && before != '<' && before != '>') {
            if (position) *position = static_cast<int32_t>(i);
            return 1;
          }
        }
        break;
      default: break;
    }
  }
  return 0;
}

int32_t CountBrackets(std::string_view text, char open, char close, int64_t first, int64_t last) {
  const int64_t n = static_cast<int64_t>(text.size());
  if (first < 0) first = 0;
  if (last > n - 1) last = n - 1;
  if (first > last) return 2;
  int64_t opens = 0, closes = 0;
  for (int64_t i = first; i <= last; ++i) {
    const char c = text[static_cast<std::size_t>(i)];
    if (c == open) {
      ++opens;
    } else if (c == close) {
      if (++closes > opens) return -1;
    }
  }
  if (opens == 0 && closes == 0) return 2;
  if (closes == 0) return 0;
  return opens == closes ? 1 : 0;
}

int32_t TestBracketNesting(std::string_view text, std::string_view opening, std::string_view closing) {
  if (text.empty()) return 1;
  const int64_t last = static_cast<int64_t>(text.size()) - 1;
  if (CountBrackets(text, '(', ')', 0, last) < 1 || CountBrackets(text, '[', ']', 0, last) < 1 ||
      CountBrackets(text, ':', ';', 0, last) < 1)
    return 0;
  const BracketSet set(opening, closing);
  ByteStack stack;
  for (unsigned char c : text) {
    if (!set.IsBracket(c)) continue;
    int kind = set.OpenKind(c);
    if (kind >= 0) {
      stack.Push(static_cast<unsigned char>(kind));
      continue;
    }
    kind = set.CloseKind(c);
    if (kind >= 0 && (stack.Empty() || stack.Pop() != kind)) return 0;
  }
  return stack.Empty() ? 1 : 0;
}

// ---------------------------------------------------------------------------
// Enclosing pairs.
//
// Removing pairs one by one and recounting the inner range each time would
// cost O(n * pairs). With b(p) the bracket balance after p characters, pair j
// (1-based) can be removed exactly when the whole text never closes early,
// ends balanced, begins with j opens and ends with j closes, and b stays at
// least j over the middle; the rule that takes back a pair whose inner range
// closes early leaves min(K, M) pairs, K the shorter of the leading-open and
// trailing-close runs and M the lowest balance between them. One pass.

int32_t CountOuterPairs(std::string_view text, char open, char close) {
  const std::size_t n = text.size();
  if (n < 2 || open == close || text.front() != open || text.back() != close) return 0;
  std::size_t lead = 0;
  while (lead < n && text[lead] == open) ++lead;
  std::size_t trail = 0;
  while (trail < n && text[n - 1 - trail] == close) ++trail;
  std::size_t k = std::min(std::min(lead, trail), n / 2);
  int64_t balance = 0;
  int64_t middleMin = std::numeric_limits<int64_t>::max();
  for (std::size_t p = 0; p < n; ++p) {
    // balance here is b(p); the middle is p in [k, n - k].
    if (p >= k && p <= n - k && balance < middleMin) middleMin = balance;
    const char c = text[p];
    if (c == open) {
      ++balance;
    } else if (c == close) {
      if (--balance < 0) return 0;  // the whole text closes early
    }
  }
  if (balance != 0) return 0;
  int64_t pairs = std::min<int64_t>(static_cast<int64_t>(k), middleMin);
  if (pairs < 0) pairs = 0;
  if (pairs > std::numeric_limits<int32_t>::max()) pairs = std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(pairs);
}

std::string_view StripOuterPairsView(std::string_view text, char open, char close, int32_t *count) {
  const int32_t pairs = CountOuterPairs(text, open, close);
  if (count) *count = pairs;
  if (pairs == 0) return text;
  return text.substr(static_cast<std::size_t>(pairs), text.size() - 2 * static_cast<std::size_t>(pairs));
}

char *StripOuterPairs(char **text, char open, char close, int32_t *count) {
  if (count) *count = 0;
  if (!text || !*text) return text ? *text : nullptr;
  const std::size_t n = std::strlen(*text);
  const int32_t pairs = CountOuterPairs(std::string_view(*text, n), open, close);
  if (count) *count = pairs;
  if (pairs == 0) return *text;
  const std::size_t p = static_cast<std::size_t>(pairs);
  const std::size_t inner = n - 2 * p;
  char *s = *text;
  std::memmove(s, s + p, inner);
  std::memset(s + inner, 0, n - inner);  // wipe what the shrink gives back
  if (char *shrunk = static_cast<char *>(std::realloc(s, inner + 1))) s = shrunk;
  *text = s;
  return s;
}

// ---------------------------------------------------------------------------
// Splitting a list.
//
// Pieces are the segments between depth-0 separators. Without keepEmpty the
// last segment is dropped when it is empty (a trailing separator adds nothing);
// leading and inner empty segments are always kept. A closing bracket with no
// opening one on the stack is taken as text, and one of another kind closes
// the innermost level anyway: the pieces stay well defined on any input.

namespace {
// Appends the segments before each depth-0 separator and returns where the
// last segment begins. Only the depth counts here (a stray or mismatched
// closing bracket still closes a level).
template <class Brackets>
std::size_t SplitAtDepthZero(std::string_view text, const Brackets &set, unsigned char sep,
                      std::vector<std::string_view> *pieces) {
  std::size_t depth = 0;
  std::size_t start = 0;
  const std::size_t n = text.size();
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (const int kind = set.Kind(c)) {
      if (kind > 0) ++depth;
      else if (depth > 0) --depth;
      continue;
    }
    if (c == sep && depth == 0) {
      pieces->push_back(text.substr(start, i - start));
      start = i + 1;
    }
  }
  return start;
}
}  // namespace

int32_t SplitArgumentList(std::string_view text, std::string_view opening, std::string_view closing,
                          char separator, int32_t keepEmpty, std::vector<std::string_view> *pieces) {
  if (!pieces) return 0;
  pieces->clear();
  text = StripOuterPairsView(text, '(', ')');
  if (text.empty()) {
    if (keepEmpty) pieces->push_back(text);
    return static_cast<int32_t>(pieces->size());
  }
  if (pieces->capacity() < 8) pieces->reserve(8);
  const std::size_t n = text.size();
  const unsigned char sep = static_cast<unsigned char>(separator);
  const std::size_t start = IsStandardSet(opening, closing)
                                ? SplitAtDepthZero(text, kStandard, sep, pieces)
                                : SplitAtDepthZero(text, GenericBrackets(opening, closing, true), sep, pieces);
  if (start < n || keepEmpty) pieces->push_back(text.substr(start));
  return static_cast<int32_t>(pieces->size());
}

std::vector<std::string> SplitArgumentList(std::string_view text, std::string_view opening,
                                           std::string_view closing, char separator, int32_t keepEmpty) {
  std::vector<std::string_view> views;
  SplitArgumentList(text, opening, closing, separator, keepEmpty, &views);
  return std::vector<std::string>(views.begin(), views.end());
}

// ---------------------------------------------------------------------------
// List tests.

int32_t MatchEndingAt(std::string_view text, int64_t position, const TextList &list) {
  if (position < 1) return 0;
  if (position > static_cast<int64_t>(text.size())) position = static_cast<int64_t>(text.size());
  const std::size_t p = static_cast<std::size_t>(position);
  if (p == 0 || !list.MayEndWith(static_cast<unsigned char>(text[p - 1]))) return 0;
  std::size_t best = 0;
  for (int32_t k = 0; k < list.count; ++k) {
    const std::string_view e = list.entry[k];
    if (e.size() <= p && e.size() > best && text.compare(p - e.size(), e.size(), e) == 0) best = e.size();
  }
  return static_cast<int32_t>(best);
}

int32_t MatchBeginningAt(std::string_view text, int64_t position, const TextList &list) {
  if (position < 0 || position >= static_cast<int64_t>(text.size())) return 0;
  const std::size_t p = static_cast<std::size_t>(position);
  if (!list.MayBeginWith(static_cast<unsigned char>(text[p]))) return 0;
  std::size_t best = 0;
  for (int32_t k = 0; k < list.count; ++k) {
    const std::string_view e = list.entry[k];
    if (e.size() > best && text.size() - p >= e.size() && text.compare(p, e.size(), e) == 0) best = e.size();
  }
  return static_cast<int32_t>(best);
}

bool EndsWithAny(std::string_view text, int64_t position, const TextList &list) {
  if (position < 1) return false;
  if (list.count == 0) return true;
  return MatchEndingAt(text, position, list) > 0;
}

bool BeginsWithAny(std::string_view text, int64_t position, int64_t offset, const TextList &list) {
  if (position >= static_cast<int64_t>(text.size()) - 1) return false;
  return MatchBeginningAt(text, position + offset, list) > 0;
}

bool ContainsAny(std::string_view text, const TextList &list) {
  for (std::size_t i = 0; i < text.size(); ++i)
    if (list.MayBeginWith(static_cast<unsigned char>(text[i])) && MatchBeginningAt(text, static_cast<int64_t>(i), list) > 0)
      return true;
  return false;
}

// ---------------------------------------------------------------------------
// Escapes.

std::string EscapeCharactersCopy(std::string_view text, std::string_view set) {
  std::string out;
  out.reserve(text.size() + 8);
  for (char c : text) {
    if (set.find(c) != std::string_view::npos) out.push_back('\\');
    out.push_back(c);
  }
  return out;
}

char *EscapeCharacters(char **text, std::string_view set) {
  if (!text || !*text) return text ? *text : nullptr;
  const std::size_t n = std::strlen(*text);
  std::size_t marked = 0;
  for (std::size_t i = 0; i < n; ++i)
    if (set.find((*text)[i]) != std::string_view::npos) ++marked;
  if (marked == 0) return *text;  // nothing to escape: keep the block
  char *out = static_cast<char *>(std::malloc(n + marked + 1));
  if (!out) return *text;
  std::size_t j = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const char c = (*text)[i];
    if (set.find(c) != std::string_view::npos) out[j++] = '\\';
    out[j++] = c;
  }
  out[j] = '\0';
  std::memset(*text, 0, n);
  std::free(*text);
  *text = out;
  return out;
}

namespace {
// Resolves escapes from `in` into `out` (which may be `in` itself: the output
// never runs ahead of the input). Returns the output length.
std::size_t Unescape(const char *in, std::size_t n, char *out) {
  std::size_t j = 0;
  for (std::size_t i = 0; i < n; ++i) {
    char c = in[i];
    if (c == '\\') {
      if (i + 1 >= n) break;  // a trailing backslash disappears
      c = in[++i];            // the escaped character is never a marker itself
      if (c == 'n') c = '\n';
      else if (c == 't') c = '\t';
      else if (c == 'r') c = '\r';
    }
    out[j++] = c;
  }
  return j;
}
}  // namespace

std::string UnescapeStringCopy(std::string_view text) {
  std::string out(text.size(), '\0');
  out.resize(Unescape(text.data(), text.size(), out.data()));
  return out;
}

char *UnescapeString(char **text) {
  if (!text || !*text) return text ? *text : nullptr;
  char *s = *text;
  const std::size_t n = std::strlen(s);
  if (!std::memchr(s, '\\', n)) return s;
  const std::size_t m = Unescape(s, n, s);
  std::memset(s + m, 0, n - m);
  return s;
}

// ---------------------------------------------------------------------------
// Numbers around an exponent letter.

int32_t ScanMantissa(std::string_view text, int32_t letter) {
  if (letter < 1 || static_cast<std::size_t>(letter) > text.size()) return -1;
  int32_t i = letter - 1;
  int digits = 0, points = 0;
  for (; i >= 0; --i) {
    const char c = text[static_cast<std::size_t>(i)];
    if (IsDigit(static_cast<unsigned char>(c))) {
      ++digits;
    } else if (c == '.' && points == 0) {
      ++points;
    } else {
      break;
    }
  }
  return digits > 0 ? i + 1 : -1;
}

int32_t ScanExponent(std::string_view text, int32_t letter) {
  if (letter < 0) return -1;
  std::size_t j = static_cast<std::size_t>(letter) + 1;
  if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
  const std::size_t firstDigit = j;
  while (j < text.size() && IsDigit(static_cast<unsigned char>(text[j]))) ++j;
  if (j == firstDigit || !FitsInt32(j)) return -1;
  return static_cast<int32_t>(j);
}

namespace {
// A "+" or "-" at `pos` is the sign of an exponent when an "e" or "E" stands
// before it, a mantissa before that, and digits after it; and the whole
// stretch stands where a number may stand (not the tail of a name like x2e).
bool IsExponentSignAt(std::string_view text, std::size_t pos) {
  if (pos < 2 || pos + 1 >= text.size()) return false;
  const char e = text[pos - 1];
  if (e != 'e' && e != 'E') return false;
  const int32_t letter = static_cast<int32_t>(pos - 1);
  const int32_t start = ScanMantissa(text, letter);
  if (start < 0 || ScanExponent(text, letter) < 0) return false;
  if (start == 0) return true;
  const char before = text[static_cast<std::size_t>(start) - 1];
  return std::string_view("([:~@#+-*/^)=];&|<>!',").find(before) != std::string_view::npos;
}
}  // namespace

// ---------------------------------------------------------------------------
// The additive search and terms.

int32_t FindAdditive(std::string_view text, std::string_view needle) {
  if (!FitsInt32(text.size())) return -1;
  // A needle that stands nowhere in the text stands nowhere at depth 0.
  if (needle.size() == 1 && !std::memchr(text.data(), needle[0], text.size())) return -1;
  const SyntaxLists &lists = DefaultSyntaxLists();
  std::string_view left = text;
  // Each retry searches only the part left of the rejected sign, so the
  // whole loop walks the text once.
  for (;;) {
    int32_t pos = -1;
    LastTopLevel(left, kStandard, needle, &pos);
    if (pos < 0) return -1;
    // A sign right after a multiplicative or additive entry is unary. The
    // entries of both lists end in one of these bytes; the list test runs
    // only when the byte matches.
    const char before = pos > 0 ? left[static_cast<std::size_t>(pos) - 1] : '\0';
    const bool mayBeUnary = before == '*' || before == '/' || before == '^' || before == ',' || before == '.' ||
                            before == '+' || before == '-';
    if ((mayBeUnary && (MatchEndingAt(left, pos, lists.multiplicative) > 0 ||
                        MatchEndingAt(left, pos, lists.additive) > 0)) ||
        IsExponentSignAt(text, static_cast<std::size_t>(pos))) {
      left = left.substr(0, static_cast<std::size_t>(pos));
      continue;
    }
    return pos;
  }
}

bool IsSingleTerm(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  const std::string_view rest = text.substr(i);
  // Most operands hold no sign at all: one byte search settles them.
  if (rest.find_first_of("+-") == std::string_view::npos) return true;
  return FindAdditive(rest, "+") < 0 && FindAdditive(rest, "-") < 0;
}

// Reading signs and enclosing parentheses from the left. Done naively, each
// level would recount the remaining text (quadratic on "-(-(-(...)))"). The
// prefix of signs and "(" is read once; the k-th "(" of it matches the k-th
// ")" from the end exactly when the bracket balance between them never falls
// below k, which one pass over the middle decides for every k at once. A view
// that is signs followed by one matched pair is a single term with no further
// search; only the view where the reading stops is searched for "+" and "-".
std::string_view StripSignAndBrackets(std::string_view text, int32_t *sign, int32_t *singleTerm) {
  const std::size_t n = text.size();
  // Prefix: positions of the "(" in the leading run of "+", "-" and "(".
  std::size_t prefixEnd = 0;
  std::size_t opens = 0;
  while (prefixEnd < n && (text[prefixEnd] == '+' || text[prefixEnd] == '-' || text[prefixEnd] == '(')) {
    if (text[prefixEnd] == '(') ++opens;
    ++prefixEnd;
  }
  std::size_t trail = 0;
  while (trail < n && text[n - 1 - trail] == ')') ++trail;
  // K: how many prefix "(" can pair with trailing ")" without overlapping.
  std::size_t K = std::min(opens, trail);
  std::size_t pK = 0;  // position of the K-th prefix "("
  while (K > 0) {
    std::size_t seen = 0;
    pK = 0;
    for (std::size_t p = 0; p < prefixEnd; ++p)
      if (text[p] == '(' && ++seen == K) {
        pK = p;
        break;
      }
    if (pK + 1 <= n - K) break;
    --K;  // overlaps with the trailing run, e.g. "()"-only texts
  }
  int64_t middleMin = std::numeric_limits<int64_t>::max();
  if (K > 0) {
    int64_t balance = 0;
    for (std::size_t p = 0; p < n; ++p) {
      if (p >= pK + 1 && p <= n - K && balance < middleMin) middleMin = balance;  // b(p), p in [pK+1, n-K]
      if (text[p] == '(') ++balance;
      else if (text[p] == ')') --balance;
    }
    // The k-th ")" from the end closes the k-th "(" only if the text ends
    // balanced: otherwise no pair of the two runs belongs together.
    if (balance != 0) K = 0;
  }

  int32_t s = 1;
  std::string_view view = text;
  std::size_t level = 0;  // pairs removed so far
  bool single = false;
  for (;;) {
    // Is `view` a single term? Cheap when it is signs and one matched pair.
    std::size_t i = 0;
    while (i < view.size() && (view[i] == '+' || view[i] == '-')) ++i;
    const bool nextPairMatches = level < K && i < view.size() && view[i] == '(' &&
                                 middleMin >= static_cast<int64_t>(level + 1);
    single = nextPairMatches || IsSingleTerm(view);
    if (!single) break;
    for (std::size_t j = 0; j < i; ++j)
      if (view[j] == '-') s = -s;
    view = view.substr(i);
    // Signs followed by anything but a pair that encloses the rest end the
    // reading: "(a)*(b)" keeps its brackets.
    if (!nextPairMatches) break;
    view = view.substr(1, view.size() - 2);
    ++level;
  }
  if (sign) *sign = s;
  if (singleTerm) *singleTerm = single ? 1 : 0;
  return view;
}

// ---------------------------------------------------------------------------
// Numeric texts.

namespace {
int HexValue(unsigned char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// "0b" and "0x" literals: digits up to an optional point are the integer part
// (weights base^place), digits after it weights base^-1, base^-2, ...
bool ParsePrefixed(std::string_view digits, int base, double *value) {
  const int shift = base == 2 ? 1 : 4;
  double integer = 0.0, fraction = 0.0;
  bool point = false, any = false;
  int place = 0;
  for (char ch : digits) {
    const unsigned char c = static_cast<unsigned char>(ch);
    if (c == '.') {
      if (point) return false;
      point = true;
      continue;
    }
    const int d = HexValue(c);
    if (d < 0 || d >= base) return false;
    any = true;
    if (!point) {
      integer = integer * base + d;
    } else {
      place += shift;
      fraction += std::ldexp(static_cast<double>(d), -place);
    }
  }
  if (!any) return false;
  *value = integer + fraction;
  return std::isfinite(*value);
}
}  // namespace

namespace {
// The strtod part of TestNumericString, out of line: most texts tested are
// names and never get here.
__attribute__((noinline)) int32_t ParseDecimal(std::string_view text, double *value) {
  if (std::memchr(text.data(), '\0', text.size())) return 0;
  char local[64];
  std::unique_ptr<char[]> heap;
  char *buffer = local;
  if (text.size() >= sizeof local) {
    heap.reset(new char[text.size() + 1]);
    buffer = heap.get();
  }
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  char *end = nullptr;
  const double v = std::strtod(buffer, &end);
  if (end != buffer + text.size() || !std::isfinite(v)) return 0;
  if (value) *value = v;
  return 1;
}
}  // namespace

namespace {
__attribute__((noinline)) int32_t TestNumericRest(std::string_view text, double *value) {
  if (text.size() >= 2 && text[0] == '0' && (text[1] == 'b' || text[1] == 'x')) {
    double v = 0.0;
    if (!ParsePrefixed(text.substr(2), text[1] == 'b' ? 2 : 16, &v)) return 0;
    if (value) *value = v;
    return 1;
  }
  std::size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) ++i;
  if (i == text.size()) return 0;
  const char first = text[i];
  if (!(IsDigit(static_cast<unsigned char>(first)) || first == '.' || first == '+' || first == '-')) return 0;
  return ParseDecimal(text, value);
}
}  // namespace

int32_t TestNumericString(std::string_view text, double *value) {
  // strtod accepts leading white space, a sign, digits, a point, "inf" and
  // "nan"; inf and nan are refused anyway, so a text that begins with any
  // other byte (a name, a placeholder) is refused here, without a call.
  if (text.empty()) return 0;
  const unsigned char c = static_cast<unsigned char>(text[0]);
  if (!IsDigit(c) && c != '.' && c != '+' && c != '-' && c != ' ' && (c < '\t' || c > '\r')) return 0;
  return TestNumericRest(text, value);
}

}  // namespace qvx
