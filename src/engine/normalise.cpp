// Source normalisation: the pipeline that every text goes through before it
// runs, at any depth.
//
// The steps, in order: trim; protect strings; pad bare decimal points;
// protect numbers; delete blanks; strip enclosing parentheses; make the
// separators after ";", ")" and "]" explicit; trim commas; spell "[]" as an
// empty array. Each step is one left-to-right pass that copies into a second
// buffer, never an insert or erase in the middle of the text, so a line of
// ten million characters with a million literals costs a few linear passes.
//
// Literals: a string or number literal is replaced by a placeholder, a name
// of bytes 128..255 drawn with Ran2 on a copy of the scope's seed, entered in
// the top-level tables through the LiteralSink. A literal that occurs again,
// in the same text or in a later text of the same run, gets the placeholder
// it already has: the printed forms of the existing literals are read once
// per run, when the first literal is met.
#include "engine/normalise.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"

namespace qvx {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";
// What may stand right before and right after a number literal without a
// separator (the boundary rule of the literal scanners).
constexpr std::string_view kFreeBefore = "+-*/^(=[:~&|<>@#,";
constexpr std::string_view kFreeAfter = "+-*/^)=];&|<>!',";
// Tries before a placeholder is given up: only reachable if almost every
// name of that length is taken.
constexpr int kMaxDraws = 1 << 14;
// Above this many bytes of user text in 128..255, only whole runs are
// compared with a new placeholder (see LiteralBook::Collides).
constexpr std::size_t kMaxHighScan = 1 << 16;

inline bool IsDigit(unsigned char c) { return c >= '0' && c <= '9'; }
inline bool IsHigh(unsigned char c) { return c >= 128; }
inline bool In(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }
inline bool IsWordByte(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c >= 128;
}


inline bool IsWhiteSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

void RemoveWhiteSpace(std::string &t) {
  const auto first = std::find_if(t.begin(), t.end(), IsWhiteSpace);
  if (first == t.end()) return;
  t.erase(std::remove_if(first, t.end(), IsWhiteSpace), t.end());
}

// Owned-text adapter: runs a step on a std::string copy and stores the result
// back only when it changed, wiping the old block.
template <class Step>
char *RunOnOwned(char **text, Step &&step) {
  if (!text || !*text) return text ? *text : nullptr;
  std::string t(*text);
  std::string before = t;
  step(t);
  if (t != before) {
    if (char *out = DupText(t.data(), t.size())) {
      WipeAndFree(*text);
      *text = out;
    }
  }
  WipeString(t);
  WipeString(before);
  return *text;
}

// The literal bookkeeping of one run of normalisation.
class LiteralBook {
 public:
  explicit LiteralBook(const LiteralSink *sink) : sink_(sink) {}

  bool Active() const { return sink_ != nullptr; }
  int32_t Seed() const { return sink_ ? sink_->seed : 0; }

  // Remembers which bytes 128..255 the user typed outside strings, so that
  // no placeholder spells a name the text already holds.
  void NoteUserText(std::string_view text) {
    noted_ = true;
    std::size_t i = 0;
    while (i < text.size()) {
      if (!IsHigh(static_cast<unsigned char>(text[i]))) {
        ++i;
        continue;
      }
      std::size_t j = i;
      while (j < text.size() && IsHigh(static_cast<unsigned char>(text[j]))) ++j;
      userHighRuns_.emplace(text.substr(i, j - i));
      userHighBytes_ += j - i;
      i = j;
    }
  }

  // The placeholder for a literal: the one it already has, or a new one of
  // `length` bytes. Empty if none could be drawn.
  std::string PlaceholderFor(const std::string &key, std::size_t length, int32_t &seed, bool isString) {
    if (!sink_ || length == 0) return std::string();
    Build();
    auto it = byLiteral_.find(key);
    if (it != byLiteral_.end()) return it->second;
    std::string p(length, '\0');
    for (int attempt = 0; attempt < kMaxDraws; ++attempt) {
      for (std::size_t k = 0; k < length; ++k) {
        int v = static_cast<int>(128.0 + 128.0 * Ran2(&seed));
        p[k] = static_cast<char>(static_cast<unsigned char>(std::clamp(v, 128, 255)));
      }
      if (!Collides(p)) {
        // The map's nodes stay put, so the name set and the pending lists
        // refer to its texts instead of copying them.
        const auto entry = byLiteral_.emplace(key, p).first;
        newNames_.insert(entry->second);
        (isString ? pendingStrings_ : pendingNumbers_).push_back(&*entry);
        return p;
      }
    }
    return std::string();
  }

  // Enters the literals drawn since the last call in the top-level tables.
  void Flush() {
    if (!sink_) return;
    for (const auto *entry : pendingStrings_)
      if (sink_->addStringLiteral) sink_->addStringLiteral(sink_->context, entry->second.c_str(), entry->first.c_str());
    for (const auto *entry : pendingNumbers_)
      if (sink_->addNumberLiteral) sink_->addNumberLiteral(sink_->context, entry->second.c_str(), entry->first.c_str());
    pendingStrings_.clear();
    pendingNumbers_.clear();
  }

 private:
  void Build() {
    if (built_ || !sink_) return;
    built_ = true;
    if (!sink_->forEachLiteral) return;
    sink_->forEachLiteral(
        sink_->context,
        [](void *cookie, const char *placeholder, const char *literal) {
          if (!placeholder || !literal || !*placeholder) return;
          static_cast<LiteralBook *>(cookie)->byLiteral_.emplace(literal, placeholder);
        },
        this);
  }

  bool Collides(const std::string &p) const {
    if (newNames_.count(p)) return true;
    if (sink_->nameExists && sink_->nameExists(sink_->context, p.c_str())) return true;
    if (userHighBytes_ == 0) return false;
    if (userHighRuns_.count(p)) return true;
    if (userHighBytes_ > kMaxHighScan) return false;
    for (const std::string &run : userHighRuns_)
      if (run.size() > p.size() && run.find(p) != std::string::npos) return true;
    return false;
  }

  const LiteralSink *sink_;
  bool built_ = false;
  std::unordered_map<std::string, std::string> byLiteral_;  // literal -> placeholder
  std::unordered_set<std::string_view> newNames_;           // views of byLiteral_'s placeholders
  std::vector<const std::pair<const std::string, std::string> *> pendingStrings_, pendingNumbers_;
  std::unordered_set<std::string> userHighRuns_;
  std::size_t userHighBytes_ = 0;
  bool noted_ = false;

 public:
  bool Noted() const { return noted_; }
};

// ---------------------------------------------------------------------------
// Strings.

// End (index of the closing quote) of the string literal opening at `open`,
// or npos. A quote is escaped when an odd number of backslashes precedes it.
std::size_t StringLiteralEnd(std::string_view t, std::size_t open) {
  std::size_t backslashes = 0;
  for (std::size_t j = open + 1; j < t.size(); ++j) {
    const char c = t[j];
    if (c == '"' && backslashes % 2 == 0) return j;
    backslashes = c == '\\' ? backslashes + 1 : 0;
  }
  return std::string_view::npos;
}

void ProtectStringsText(std::string &t, LiteralBook &book) {
  if (t == ".") {
    t = kInvalidExpression;
    return;
  }
  const std::size_t firstQuote = t.find('"');
  if (firstQuote == std::string::npos || !book.Active()) {
    if (book.Active()) book.NoteUserText(t);
    RemoveWhiteSpace(t);
    return;
  }
  int32_t seed = book.Seed();
  std::string out;
  out.reserve(t.size());
  std::size_t copied = 0;
  std::size_t open = firstQuote;
  while (open != std::string::npos) {
    const std::size_t close = StringLiteralEnd(t, open);
    if (close == std::string::npos) break;  // unbalanced: left for the screen
    book.NoteUserText(std::string_view(t).substr(copied, open - copied));
    const std::string literal = t.substr(open, close + 1 - open);
    const std::string p = book.PlaceholderFor(literal, literal.size(), seed, true);
    if (!p.empty()) {
      out.append(t, copied, open - copied);
      out += p;
      copied = close + 1;
    }
    open = t.find('"', close + 1);
  }
  book.NoteUserText(std::string_view(t).substr(copied));
  out.append(t, copied, std::string::npos);
  WipeString(t);
  t.swap(out);
  RemoveWhiteSpace(t);
  book.Flush();
}

// ---------------------------------------------------------------------------
// Numbers.

enum class NumberKind { kScientific, kBinary, kHexadecimal, kPlain };

// The key of a number literal: its value printed at 15 digits, unless that is
// longer than the literal and the literal is decimal, when the literal's own
// text serves (binary and hexadecimal literals widen the text instead).
std::string NumberKey(std::string_view literal, double value, NumberKind kind) {
  std::string printed;
  if (char *s = DoubleString(value, 15)) {
    printed = s;
    FreeString(s);
  }
  if (printed.empty()) return std::string(literal);
  if (printed.size() > literal.size() && (kind == NumberKind::kScientific || kind == NumberKind::kPlain))
    return std::string(literal);
  return printed;
}

// The separators that the boundary rule puts around a literal at [start, end)
// of t; false if what stands there makes it no literal at all.
bool LiteralBoundary(std::string_view t, std::size_t start, std::size_t end, char *before, char *after) {
  *before = 0;
  *after = 0;
  if (start > 0) {
    const char c = t[start - 1];
    if (c == ')' || c == '!' || c == '\'') *before = '*';
    else if (c == ']' || c == ';') *before = ',';
    else if (!In(kFreeBefore, c)) return false;
  }
  if (end < t.size()) {
    const char c = t[end];
    const bool notEquals = end + 1 >= t.size() || t[end + 1] != '=';
    if (c == '(') *after = '*';
    else if (c == '[' || c == ':' || c == '@' || c == '#' || (c == '~' && notEquals)) *after = ',';
    else if (!In(kFreeAfter, c) && c != '~') return false;
  }
  return true;
}

// Streaming replacement of literals found by a scanner. `find` gives, from a
// start index, the next candidate stretch [first, second) or (npos, npos).
template <class Find>
void ReplaceLiterals(std::string &t, LiteralBook &book, int32_t &seed, NumberKind kind, Find &&find) {
  std::string out;
  std::size_t copied = 0;
  bool changed = false;
  std::size_t from = 0;
  for (;;) {
    auto [start, end] = find(std::string_view(t), from);
    if (start == std::string::npos) break;
    from = std::max(end, start + 1);
    if (start < copied) continue;
    char before = 0, after = 0;
    if (!LiteralBoundary(t, start, end, &before, &after)) continue;
    const std::string_view literal = std::string_view(t).substr(start, end - start);
    double value = 0.0;
    if (!TestNumericString(literal, &value)) continue;
    const std::string key = NumberKey(literal, value, kind);
    const std::string p = book.PlaceholderFor(key, key.size(), seed, false);
    if (p.empty()) continue;
    if (!changed) {
      out.reserve(t.size() + 16);
      changed = true;
    }
    out.append(t, copied, start - copied);
    if (before) out.push_back(before);
    out += p;
    if (after) out.push_back(after);
    copied = end;
  }
  if (!changed) return;
  out.append(t, copied, std::string::npos);
  WipeString(t);
  t.swap(out);
}

// Scientific stretches around each `letter`: mantissa backward, exponent
// forward.
auto ScientificFinder(char letter) {
  return [letter](std::string_view t, std::size_t from) -> std::pair<std::size_t, std::size_t> {
    for (std::size_t pos = t.find(letter, from); pos != std::string_view::npos; pos = t.find(letter, pos + 1)) {
      if (pos > static_cast<std::size_t>(INT32_MAX - 2)) break;
      const int32_t m = ScanMantissa(t, static_cast<int32_t>(pos));
      const int32_t x = ScanExponent(t, static_cast<int32_t>(pos));
      if (m >= 0 && x >= 0) return {static_cast<std::size_t>(m), static_cast<std::size_t>(x)};
    }
    return {std::string_view::npos, std::string_view::npos};
  };
}

// "0b" / "0x" literals: digits of the base with at most one point. A second
// point ends the scan, and the boundary rule then refuses the stretch.
auto PrefixedFinder(char prefix, std::string_view digits) {
  return [prefix, digits](std::string_view t, std::size_t from) -> std::pair<std::size_t, std::size_t> {
    const char head[2] = {'0', prefix};
    for (std::size_t pos = t.find(std::string_view(head, 2), from); pos != std::string_view::npos;
         pos = t.find(std::string_view(head, 2), pos + 1)) {
      std::size_t j = pos + 2;
      std::size_t count = 0;
      bool point = false;
      while (j < t.size()) {
        if (t[j] == '.' && !point) {
          point = true;
        } else if (In(digits, t[j])) {
          ++count;
        } else {
          break;
        }
        ++j;
      }
      if (count > 0) return {pos, j};
    }
    return {std::string_view::npos, std::string_view::npos};
  };
}

// The number tokens that are left: digits with an optional point and
// fraction, not inside a name ("x2"), a point followed by a second point
// being a range. Each accepted token is replaced, and a product or list
// separator is made explicit where an operand follows it at once: "2x" and
// "2(3)" become products, "2[1]" a list.
void ProtectNumberTokens(std::string &t, LiteralBook &book, int32_t &seed) {
  std::string out;
  out.reserve(t.size() + 16);
  const std::size_t n = t.size();
  std::size_t i = 0;
  bool inWord = false;
  bool changed = false;
  std::string key;
  while (i < n) {
    const unsigned char c = static_cast<unsigned char>(t[i]);
    const bool startsFraction = c == '.' && i + 1 < n && IsDigit(static_cast<unsigned char>(t[i + 1])) &&
                                (i == 0 || In(kFreeBefore, t[i - 1]));
    if (inWord && (IsWordByte(c) || IsDigit(c))) {
      out.push_back(static_cast<char>(c));
      ++i;
      continue;
    }
    if (!(IsDigit(c) || startsFraction)) {
      inWord = IsWordByte(c);
      out.push_back(static_cast<char>(c));
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j < n && IsDigit(static_cast<unsigned char>(t[j]))) ++j;
    if (j < n && t[j] == '.' && !(j + 1 < n && t[j + 1] == '.')) {
      ++j;
      while (j < n && IsDigit(static_cast<unsigned char>(t[j]))) ++j;
    }
    const std::string_view token = std::string_view(t).substr(i, j - i);
    double value = 0.0;
    std::string p;
    if (PlainNumberKey(token, &key)) {
      p = book.PlaceholderFor(key, key.size(), seed, false);
    } else if (TestNumericString(token, &value)) {
      key = NumberKey(token, value, NumberKind::kPlain);
      p = book.PlaceholderFor(key, key.size(), seed, false);
    }
    if (p.empty()) {
      out.append(token);
    } else {
      out += p;
      changed = true;
    }
    if (j < n) {
      const unsigned char d = static_cast<unsigned char>(t[j]);
      if (IsWordByte(d) || d == '(' || d == '@' || d == '#' || (d == '~' && !(j + 1 < n && t[j + 1] == '='))) {
        out.push_back('*');
        changed = true;
      } else if (d == '[' || d == ':') {
        out.push_back(',');
        changed = true;
      }
    }
    inWord = false;
    i = j;
  }
  if (!changed) return;
  WipeString(t);
  t.swap(out);
}

void ProtectNumbersText(std::string &t, LiteralBook &book) {
  if (t == ".") {
    t = kInvalidExpression;
    return;
  }
  RemoveWhiteSpace(t);
  if (t.empty()) return;
  // Step 7's check: a text that begins with a point that starts no number.
  if (t[0] == '.' && !(t.size() > 1 && IsDigit(static_cast<unsigned char>(t[1])))) {
    t = kInvalidExpression;
    return;
  }
  if (std::none_of(t.begin(), t.end(), [](char c) { return IsDigit(static_cast<unsigned char>(c)); })) return;
  if (book.Active() && !book.Noted()) book.NoteUserText(t);  // run on its own, not after the strings
  int32_t seed = book.Seed();
  ReplaceLiterals(t, book, seed, NumberKind::kScientific, ScientificFinder('e'));
  ReplaceLiterals(t, book, seed, NumberKind::kScientific, ScientificFinder('E'));
  ReplaceLiterals(t, book, seed, NumberKind::kBinary, PrefixedFinder('b', "01"));
  ReplaceLiterals(t, book, seed, NumberKind::kHexadecimal, PrefixedFinder('x', "0123456789ABCDEFabcdef"));
  ProtectNumberTokens(t, book, seed);
  book.Flush();
}

void TrimText(std::string &t) {
  const std::size_t first = t.find_first_not_of(kWhiteSpace);
  if (first == std::string::npos) {
    t.clear();
    return;
  }
  const std::size_t last = t.find_last_not_of(kWhiteSpace);
  t.erase(last + 1);
  t.erase(0, first);
}

void ReplaceEmptyBrackets(std::string &t) {
  if (t.find("[]") == std::string::npos) return;
  std::string out;
  out.reserve(t.size() + 16);
  for (std::size_t i = 0; i < t.size(); ++i) {
    if (t[i] == '[' && i + 1 < t.size() && t[i + 1] == ']') {
      out += "array:0;";
      ++i;
    } else {
      out.push_back(t[i]);
    }
  }
  WipeString(t);
  t.swap(out);
}

}  // namespace

// ---------------------------------------------------------------------------
// Plain decimal literals.
//
// DoubleString(v, 15) prints a value in [0.001, 10000) as its exact fixed
// text with 17 places, rounded half up to 15 significant digits, trailing
// zeros cleaned. Let D be a decimal of at most 12 significant digits in
// [0.01, 10000) and v = strtod(D) (correctly rounded, so |v - D| <= 2^-53 v).
// With u the unit of D's 15th significant digit, |v - D| <= 0.11 u, and the
// 17-place text, which has at least 16 significant digits from 0.01 on, is
// within 0.05 u of v. The text is thus within 0.16 u of D, and rounding it
// to 15 digits gives D itself: the printed form
// is D's digits, no leading zeros but one "0", no trailing fraction zeros.
// The decade below a power of ten D has a finer grid, but the powers of ten
// in range are exact doubles or (0.01, 0.1) round up, so v is never below
// one. log10 of such a v is at least 4.3e-13 away from 4 and from -3, far
// beyond its error, so the fixed branch is the one taken.
//
// Integers of 5 to 12 digits go by the exponent branch: mantissa
// pow(10, log10(x) - e). With s >= 2 significant digits, log10(x) is at
// least 4.3e-13 from an integer, so e = k - 1 for k digits; the mantissa is
// within 2e-13 of x / 10^(k-1), a multiple of 1e-11, and rounded to 15
// digits it shows at least s significant digits (fewer would be a multiple
// of 1e-11 too, hence equal). The printed form is then at least
// s + 1 + 2 + digits(k - 1) long; when that exceeds k, the literal's own
// text is the key.

namespace {
constexpr double kPow10d[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                              1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr uint64_t kPow10u[] = {1ull,          10ull,          100ull,          1000ull,
                                10000ull,      100000ull,      1000000ull,      10000000ull,
                                100000000ull,  1000000000ull,  10000000000ull,  100000000000ull,
                                1000000000000ull, 10000000000000ull, 100000000000000ull, 1000000000000000ull};
constexpr std::size_t kShortDigits = 12;  // significant digits the proof above covers
}  // namespace

bool PlainNumberKey(std::string_view t, std::string *key) {
  const std::size_t n = t.size();
  std::size_t intEnd = 0;
  while (intEnd < n && IsDigit(static_cast<unsigned char>(t[intEnd]))) ++intEnd;
  if (intEnd == 0) return false;
  std::string_view fraction;
  if (intEnd < n) {
    if (t[intEnd] != '.') return false;
    fraction = t.substr(intEnd + 1);
    if (fraction.empty() ||
        !std::all_of(fraction.begin(), fraction.end(), [](char c) { return IsDigit(static_cast<unsigned char>(c)); }))
      return false;
  }
  std::size_t lead = 0;
  while (lead < intEnd && t[lead] == '0') ++lead;
  const std::string_view whole = t.substr(lead, intEnd - lead);
  while (!fraction.empty() && fraction.back() == '0') fraction.remove_suffix(1);
  if (whole.empty() && fraction.empty()) {
    *key = "0";
    return true;
  }
  if (whole.size() <= 4) {
    std::size_t significant = whole.size() + fraction.size();
    if (whole.empty()) {
      const std::size_t zeros = fraction.find_first_not_of('0');
      if (zeros > 1) return false;  // below 0.01
      significant -= zeros;
    }
    if (significant > kShortDigits) return false;
    key->assign(whole.empty() ? std::string_view("0") : whole);
    if (!fraction.empty()) key->append(".").append(fraction);
    return true;
  }
  // An integer of 5 to 12 digits whose printed form is provably longer.
  if (lead != 0 || intEnd != n || whole.size() > kShortDigits) return false;
  const std::size_t k = whole.size();
  const std::size_t significant = whole.find_last_not_of('0') + 1;
  const std::size_t exponentDigits = k - 1 >= 10 ? 2 : 1;
  if (significant < 2 || significant + 3 + exponentDigits <= k) return false;
  key->assign(t);
  return true;
}

bool ShortNumberText(double v, std::string *text) {
  if (v == 0) {
    *text = "0";
    return true;
  }
  if (!(v >= 0.01 && v < 10000.0)) return false;
  for (int f = 0; f <= 13; ++f) {
    const double scaled = std::nearbyint(v * kPow10d[f]);
    if (!(scaled < 1e12)) return false;  // more than twelve digits from here on
    const auto m = static_cast<uint64_t>(scaled);
    // m and 10^f are exact doubles, so the quotient is the correctly
    // rounded value of the decimal m / 10^f: it is strtod's.
    if (static_cast<double>(m) / kPow10d[f] != v) continue;
    if (m * 100 < kPow10u[f] || m >= kPow10u[f] * 10000) return false;  // outside [0.01, 10000)
    char digits[24];
    int count = 0;
    for (uint64_t r = m; r; r /= 10) digits[count++] = static_cast<char>('0' + r % 10);
    while (count <= f) digits[count++] = '0';  // "0" before the point of a value below 1
    int last = 0;                              // trailing fraction zeros go
    while (last < f && digits[last] == '0') ++last;
    text->clear();
    for (int i = count - 1; i >= f; --i) text->push_back(digits[i]);
    if (last < f) {
      text->push_back('.');
      for (int i = f - 1; i >= last; --i) text->push_back(digits[i]);
    }
    return true;
  }
  return false;
}

bool ParseShortDecimal(std::string_view t, double *value) {
  uint64_t m = 0;
  std::size_t digits = 0, places = 0;
  bool point = false, any = false;
  for (std::size_t i = 0; i < t.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(t[i]);
    if (c == '.') {
      if (point || !any || i + 1 == t.size()) return false;
      point = true;
      continue;
    }
    if (!IsDigit(c)) return false;
    any = true;
    if (point) ++places;
    if (m == 0 && c == '0') continue;  // leading zeros are no digits of m
    if (++digits > 15) return false;
    m = m * 10 + (c - '0');
  }
  if (!any || places > 22) return false;
  // m < 10^15 < 2^53 and 10^places are exact: one correctly rounded
  // division, the value strtod gives.
  *value = static_cast<double>(m) / kPow10d[places];
  return true;
}

// ---------------------------------------------------------------------------
// Steps that need no literal tables.

void PadDecimalPointsText(std::string &t) {
  const std::size_t n = t.size();
  if (n < 2 || t.find('.') == std::string::npos) return;
  const SyntaxLists &L = DefaultSyntaxLists();
  // No entry of the lists holds a digit: a digit on either side of the
  // point answers both questions at once.
  auto beforeAllows = [&L](const std::string &out) {
    if (!out.empty() && IsDigit(static_cast<unsigned char>(out.back()))) return false;
    const auto len = static_cast<int64_t>(out.size());
    if (MatchEndingAt(out, len, L.multiplicative) || MatchEndingAt(out, len, L.additive) ||
        MatchEndingAt(out, len, L.opening) || MatchEndingAt(out, len, L.comparison) ||
        MatchEndingAt(out, len, L.negation) || MatchEndingAt(out, len, L.reference))
      return true;
    // a plain "=", not the end of "==", "~=", "<=", ">="
    return len >= 1 && out.back() == '=' && (len < 2 || !In("=~<>", out[out.size() - 2]));
  };
  auto afterAllows = [&L, &t](std::size_t k) {
    if (k < t.size() && IsDigit(static_cast<unsigned char>(t[k]))) return false;
    const auto p = static_cast<int64_t>(k);
    return MatchBeginningAt(t, p, L.multiplicative) || MatchBeginningAt(t, p, L.additive) ||
           MatchBeginningAt(t, p, L.closing) || MatchBeginningAt(t, p, L.comparison) ||
           MatchBeginningAt(t, p, L.negation) || MatchBeginningAt(t, p, L.reference) || (k < t.size() && t[k] == '=');
  };
  std::string out;
  out.reserve(n + 8);
  bool changed = false;
  for (std::size_t i = 0; i < n; ++i) {
    const char c = t[i];
    if (c != '.') {
      out.push_back(c);
      continue;
    }
    if (i + 1 < n && t[i + 1] == '.') {  // a range: both points stay as they are
      out += "..";
      ++i;
      continue;
    }
    const bool digitAfter = i + 1 < n && IsDigit(static_cast<unsigned char>(t[i + 1]));
    const bool digitBefore = i > 0 && IsDigit(static_cast<unsigned char>(t[i - 1]));
    if (i == 0 && digitAfter) {
      out += "0.";
      changed = true;
    } else if (i == n - 1 && digitBefore) {
      out += ".0";
      changed = true;
    } else if (digitAfter && beforeAllows(out)) {
      out += "0.";
      changed = true;
    } else if (digitBefore && i + 1 < n && afterAllows(i + 1)) {
      out += ".0";
      changed = true;
    } else {
      out.push_back('.');
    }
  }
  if (!changed) return;
  WipeString(t);
  t.swap(out);
}

void InsertAfterCloseText(std::string &t, char insert, char close) {
  if (t.find(close) == std::string::npos) return;
  const SyntaxLists &L = DefaultSyntaxLists();
  std::string out;
  out.reserve(t.size() + 16);
  bool changed = false;
  const std::size_t n = t.size();
  // Index groups of a member chain ("m.(1)(2)") stay apart: a ")(" inside
  // them is no product. A group belongs to such a run when it opens right
  // behind a "." or right behind the close of a group of the run.
  std::vector<uint8_t> memberGroup;  // one flag an open "(", as a stack
  bool closedMember = false;         // the last ")" closed a member group
  for (std::size_t i = 0; i < n; ++i) {
    out.push_back(t[i]);
    if (close == ')') {
      if (t[i] == '(') {
        const bool member = i > 0 && (t[i - 1] == '.' || (t[i - 1] == ')' && closedMember));
        memberGroup.push_back(member ? 1 : 0);
      } else if (t[i] == ')') {
        closedMember = !memberGroup.empty() && memberGroup.back();
        if (!memberGroup.empty()) memberGroup.pop_back();
        if (closedMember && i + 1 < n && t[i + 1] == '(') continue;
      }
    }
    if (t[i] != close || i + 1 >= n) continue;
    const auto p = static_cast<int64_t>(i + 1);
    const bool operatorFollows = MatchBeginningAt(t, p, L.multiplicative) || MatchBeginningAt(t, p, L.postfix) ||
                                 MatchBeginningAt(t, p, L.closing) || MatchBeginningAt(t, p, L.additive) ||
                                 MatchBeginningAt(t, p, L.comparison) || t[i + 1] == '=';
    if (!operatorFollows) {
      out.push_back(insert);
      changed = true;
    }
  }
  if (!changed) return;
  WipeString(t);
  t.swap(out);
}

void TrimCommasText(std::string &t) {
  if (t.find(',') == std::string::npos) return;
  std::string out;
  out.reserve(t.size());
  for (char c : t) {
    if (c == ',' && (out.empty() || out.back() == ',')) continue;
    out.push_back(c);
  }
  if (!out.empty() && out.back() == ',') out.pop_back();
  if (out.size() == t.size()) return;
  WipeString(t);
  t.swap(out);
}

void NormaliseText(std::string &t, const LiteralSink *sink) {
  LiteralBook book(sink);
  TrimText(t);
  ProtectStringsText(t, book);
  PadDecimalPointsText(t);
  ProtectNumbersText(t, book);
  t.erase(std::remove(t.begin(), t.end(), ' '), t.end());
  if (const int32_t pairs = CountOuterPairs(t, '(', ')'); pairs > 0) {
    t.erase(t.size() - static_cast<std::size_t>(pairs));
    t.erase(0, static_cast<std::size_t>(pairs));
  }
  InsertAfterCloseText(t, ',', ';');
  InsertAfterCloseText(t, '*', ')');
  InsertAfterCloseText(t, ',', ']');
  TrimCommasText(t);
  ReplaceEmptyBrackets(t);
}

// ---------------------------------------------------------------------------
// Owned-text entry points.

char *NormaliseSource(char **text, const LiteralSink *sink) {
  return RunOnOwned(text, [sink](std::string &t) { NormaliseText(t, sink); });
}

char *ProtectStrings(char **text, const LiteralSink *sink) {
  return RunOnOwned(text, [sink](std::string &t) {
    LiteralBook book(sink);
    ProtectStringsText(t, book);
  });
}

char *PadDecimalPoints(char **text) { return RunOnOwned(text, PadDecimalPointsText); }

char *ProtectNumbers(char **text, const LiteralSink *sink) {
  return RunOnOwned(text, [sink](std::string &t) {
    LiteralBook book(sink);
    ProtectNumbersText(t, book);
  });
}

char *InsertAfterClose(char **text, char insert, char close) {
  return RunOnOwned(text, [insert, close](std::string &t) { InsertAfterCloseText(t, insert, close); });
}

char *TrimCommas(char **text) { return RunOnOwned(text, TrimCommasText); }

}  // namespace qvx
