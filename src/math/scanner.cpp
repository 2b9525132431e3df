// The token scanner: classifiers, the two action tables and the main loop.
//
// The numeric table has one row a token kind (start, integer, fraction,
// word, delimiter, blank) and one column a character class; the string table
// has three states (outside, inside, just closed) over four classes. Each
// action does its bookkeeping on the token list and returns the next state.
// The tables are constexpr arrays of function pointers: built by the
// compiler, read-only, shared by every thread.
//
// The rules that make a number's neighbour imply a product are those of the
// language: "2x" and "2(x)" are products, "2[1]" and "2:...;" are list items
// ("," instead of "*"), and "1e-5" is one number (an exponent letter right
// after the digits, followed by a digit or a signed digit, extends the
// number instead of starting a word).
#include "math/scanner.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "common/boundary.h"

namespace qvx {
namespace {

constexpr int64_t kMaxCharacters = 2147483646;

bool In(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool IsDecimal(char c) { return c >= '0' && c <= '9'; }

// What may stand on either side of a number without a separator.
constexpr std::string_view kMayFollowNumber = "([:~@#+-*/^)=];&|<>!',";
constexpr std::string_view kMayPrecedeNumber = ")];!'+-*/^(=[:~&|<>@#,";
// After a number: what makes an implied product pointless (an operator, a
// closing bracket, a comparison or a separator comes next).
constexpr std::string_view kNoProductBefore = "+-*/^)];<>=,&|!'.";

// ---- output and tokens ------------------------------------------------------

void Grow(Scanner &s, int64_t need) {
  if (need + 1 <= s.capacity) return;
  int64_t cap = s.capacity ? s.capacity : 16;
  while (cap < need + 1) cap *= 2;
  char *out = static_cast<char *>(std::realloc(s.output, static_cast<std::size_t>(cap)));
  if (!out) throw std::bad_alloc();
  s.output = out;
  s.capacity = cap;
}

// Copies `width` characters of the source at the read position.
void Copy(Scanner &s, int32_t width) {
  Grow(s, s.length + width);
  std::memcpy(s.output + s.length, s.source.data() + s.position, static_cast<std::size_t>(width));
  s.length += width;
  s.position += width;
  s.width = width;
}

ScannerToken &Current(Scanner &s) { return s.tokens.back(); }

int32_t Start(Scanner &s, int32_t kind) {
  s.tokens.push_back(ScannerToken{kind, s.width, static_cast<int32_t>(s.length - s.width), 0});
  ++s.tokenCount;
  return kind;
}

int32_t Extend(Scanner &s) {
  Current(s).length += s.width;
  return Current(s).kind;
}

// Writes c in front of the characters just read, as a delimiter token of
// its own.
void InsertBeforeStep(Scanner &s, char c) {
  Grow(s, s.length + 1);
  const int64_t at = s.length - s.width;
  std::memmove(s.output + at + 1, s.output + at, static_cast<std::size_t>(s.width));
  s.output[at] = c;
  ++s.length;
  s.tokens.push_back(ScannerToken{kKindDelimiter, 1, static_cast<int32_t>(at), 0});
  ++s.tokenCount;
}

char StepChar(const Scanner &s) { return s.output[s.length - s.width]; }
char LastOfToken(const Scanner &s) {
  const ScannerToken &t = s.tokens.back();
  return s.output[t.offset + t.length - 1];
}
bool TokenHas(const Scanner &s, std::string_view set) {
  const ScannerToken &t = s.tokens.back();
  for (int32_t i = 0; i < t.length; ++i)
    if (In(set, s.output[t.offset + i])) return true;
  return false;
}

// ---- classifiers --------------------------------------------------------------

template <int Base>
int32_t ClassifyDigits(Scanner &s) {
  s.base = Base;
  if (s.position >= static_cast<int64_t>(s.source.size())) {
    s.width = 0;
    return kClassEnd;
  }
  const char c = s.source[static_cast<std::size_t>(s.position)];
  if (c == '~' && s.position + 1 < static_cast<int64_t>(s.source.size()) &&
      s.source[static_cast<std::size_t>(s.position + 1)] == '=') {
    Copy(s, 2);
    return kClassDelimiter;
  }
  Copy(s, 1);
  bool digit;
  if constexpr (Base == 2) {
    digit = c == '0' || c == '1';
  } else if constexpr (Base == 16) {
    digit = IsDecimal(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
  } else {
    digit = IsDecimal(c);
  }
  if (digit) return kClassDigit;
  if (c == '.') return kClassPoint;
  if (In(s.delimiters, c)) return kClassDelimiter;
  return kClassOther;
}

// ---- numeric actions ------------------------------------------------------------

int32_t Finish(Scanner &) { return kScanFinished; }
int32_t StartNumber(Scanner &s) { return Start(s, kKindInteger); }
int32_t StartFraction(Scanner &s) { return Start(s, kKindFraction); }
int32_t StartDelimiter(Scanner &s) { return Start(s, kKindDelimiter); }
int32_t StartWordOrBlank(Scanner &s) { return Start(s, IsBlank(StepChar(s)) ? kKindBlank : kKindWord); }

// A point after integer digits makes a fraction, unless an exponent was read
// already ("1e5.": the point starts a new token).
int32_t IntegerPoint(Scanner &s) {
  if (s.base == 10 && TokenHas(s, "eE")) return Start(s, kKindFraction);
  Current(s).kind = kKindFraction;
  return Extend(s);
}

// A second point: ".." stays one token (the range operator); "1.5." splits.
int32_t FractionPoint(Scanner &s) {
  if (Current(s).length > 1) return Start(s, kKindFraction);
  return Extend(s);
}

// A delimiter right after a number. The sign of an exponent extends the
// number; "(", "@", "#" and a lone "~" start a new operand and get a "*";
// "[" and ":" get a "," instead.
int32_t NumberDelimiter(Scanner &s) {
  const char c = StepChar(s);
  if (s.base == 10 && s.width == 1 && (c == '+' || c == '-') && (LastOfToken(s) == 'e' || LastOfToken(s) == 'E'))
    return Extend(s);
  if (s.width == 1 && In("([:@#~", c)) InsertBeforeStep(s, (c == '[' || c == ':') ? ',' : '*');
  return Start(s, kKindDelimiter);
}

// A word character (or blank) right after a number: an exponent letter or a
// base prefix extends the number; otherwise, unless the next non-blank
// character is an operator, a closing bracket, a comparison, a separator, a
// point or the end, a "*" goes between the number and the word.
int32_t NumberOther(Scanner &s) {
  const char c = StepChar(s);
  const std::string_view src = s.source;
  const auto next = static_cast<std::size_t>(s.position);
  if (s.base == 10 && (c == 'e' || c == 'E') && !TokenHas(s, "eE")) {
    std::size_t k = next;
    if (k < src.size() && (src[k] == '+' || src[k] == '-')) ++k;
    if (k < src.size() && IsDecimal(src[k])) return Extend(s);
  }
  if (s.base != 10 && Current(s).length == 1 && LastOfToken(s) == '0' &&
      ((s.base == 2 && (c == 'b' || c == 'B')) || (s.base == 16 && (c == 'x' || c == 'X'))))
    return Extend(s);
  std::size_t k = next - static_cast<std::size_t>(s.width);
  while (k < src.size() && IsBlank(src[k])) ++k;
  bool product = k < src.size() && !In(kNoProductBefore, src[k]);
  if (product && src[k] == '~' && k + 1 < src.size() && src[k + 1] == '=') product = false;
  if (product) InsertBeforeStep(s, '*');
  return StartWordOrBlank(s);
}

// After a closing bracket or a postfix operator, a number or word starts a
// new operand: "*" after ")", "!", "'", and "," after "]" and ";".
void SeparateOperand(Scanner &s) {
  const char d = LastOfToken(s);
  if (d == ')' || d == '!' || d == '\'')
    InsertBeforeStep(s, '*');
  else if (d == ']' || d == ';')
    InsertBeforeStep(s, ',');
}

int32_t OperatorDigit(Scanner &s) {
  SeparateOperand(s);
  return Start(s, kKindInteger);
}

int32_t OperatorWord(Scanner &s) {
  if (!IsBlank(StepChar(s))) SeparateOperand(s);
  return StartWordOrBlank(s);
}

int32_t WordOther(Scanner &s) {
  if (IsBlank(StepChar(s))) return Start(s, kKindBlank);
  return Extend(s);
}

int32_t BlankOther(Scanner &s) {
  if (IsBlank(StepChar(s))) return Extend(s);
  return Start(s, kKindWord);
}

using Action = int32_t (*)(Scanner &);

// Rows: start, integer, fraction, word, delimiter, blank.
// Columns: digit, point, delimiter, other, end.
constexpr Action kNumericActions[6][5] = {
    {StartNumber, StartFraction, StartDelimiter, StartWordOrBlank, Finish},
    {Extend, IntegerPoint, NumberDelimiter, NumberOther, Finish},
    {Extend, FractionPoint, NumberDelimiter, NumberOther, Finish},
    {Extend, StartDelimiter, StartDelimiter, WordOther, Finish},
    {OperatorDigit, StartFraction, Extend, OperatorWord, Finish},
    {StartNumber, StartFraction, StartDelimiter, BlankOther, Finish},
};

// ---- string actions -------------------------------------------------------------

constexpr int32_t kOutside = 0, kInside = 1, kClosed = 2;

int32_t TextCharacter(Scanner &s) {
  if (!s.tokens.empty() && Current(s).kind == kKindText) Extend(s);
  else Start(s, kKindText);
  return kOutside;
}

int32_t OpenString(Scanner &s) {
  Start(s, kKindString);
  return kInside;
}

int32_t InString(Scanner &s) {
  Extend(s);
  return kInside;
}

// A quote inside a string closes it unless an odd number of backslashes
// stands right before it.
int32_t QuoteInString(Scanner &s) {
  int64_t backslashes = 0;
  const ScannerToken &t = Current(s);
  for (int64_t i = s.length - 2; i > t.offset && s.output[i] == '\\'; --i) ++backslashes;
  Extend(s);
  return (backslashes % 2) ? kInside : kClosed;
}

// The end inside a string: the closing quote is added, unless the last
// character written is a quote already.
int32_t EndInString(Scanner &s) {
  if (s.length > 0 && s.output[s.length - 1] != '"') {
    Grow(s, s.length + 1);
    s.output[s.length++] = '"';
    Current(s).length += 1;
  }
  return kScanFinished;
}

// Columns: character, quote, escape, end.
constexpr Action kStringActions[3][4] = {
    {TextCharacter, OpenString, TextCharacter, Finish},
    {InString, QuoteInString, InString, EndInString},
    {TextCharacter, OpenString, TextCharacter, Finish},
};

void Run(Scanner &s) {
  const bool strings = s.classifier == &ClassifyString;
  int32_t state = 0;
  Grow(s, 0);
  while (true) {
    if (s.position > kMaxCharacters || s.length > kMaxCharacters) break;
    const int32_t cls = s.classifier(s);
    const int32_t next = strings ? kStringActions[state][cls] (s) : kNumericActions[state][cls](s);
    if (next == kScanFinished) break;
    state = next;
  }
  s.output[s.length] = '\0';
  // Cut to size.
  if (char *cut = static_cast<char *>(std::realloc(s.output, static_cast<std::size_t>(s.length) + 1))) {
    s.output = cut;
    s.capacity = s.length + 1;
  }
  s.tokens.shrink_to_fit();
}

}  // namespace

int32_t ClassifyNumber(Scanner &scanner) { return ClassifyDigits<10>(scanner); }
int32_t ClassifyBinary(Scanner &scanner) { return ClassifyDigits<2>(scanner); }
int32_t ClassifyHexadecimal(Scanner &scanner) { return ClassifyDigits<16>(scanner); }

int32_t ClassifyString(Scanner &s) {
  if (s.position >= static_cast<int64_t>(s.source.size())) {
    s.width = 0;
    return kClassStringEnd;
  }
  const char c = s.source[static_cast<std::size_t>(s.position)];
  Copy(s, 1);
  if (c == '"') return kClassQuote;
  if (c == '\\') return kClassEscape;
  return kClassCharacter;
}

Scanner *CreateScanner(std::string_view text, ScannerClassifier classifier) {
  Scanner *s = nullptr;
  try {
    s = new Scanner;
    s->source = text;
    s->classifier = classifier ? classifier : &ClassifyNumber;
    Run(*s);
    s->source = {};
    return s;
  } catch (...) {
    FreeScanner(s);
    return nullptr;
  }
}

Scanner *CreateScanner(const char *text, ScannerClassifier classifier) {
  if (!text) return nullptr;
  return CreateScanner(std::string_view(text), classifier);
}

void FreeScanner(Scanner *scanner) {
  if (!scanner) return;
  if (scanner->output) {
    std::memset(scanner->output, 0, static_cast<std::size_t>(scanner->capacity));
    std::free(scanner->output);
  }
  delete scanner;
}

std::string_view TokenText(const Scanner &scanner, const ScannerToken &token) {
  return std::string_view(scanner.output + token.offset, static_cast<std::size_t>(token.length));
}

bool IsExponentSign(std::string_view text, int32_t position) {
  if (position <= 1 || static_cast<std::size_t>(position) >= text.size()) return false;
  const auto pos = static_cast<std::size_t>(position);
  if (text[pos] != '+' && text[pos] != '-') return false;
  if (text[pos - 1] != 'e' && text[pos - 1] != 'E') return false;
  // Mantissa, backward: digits with at most one point, at least one digit.
  std::size_t i = pos - 1, digits = 0, points = 0;
  while (i > 0) {
    const char c = text[i - 1];
    if (IsDecimal(c)) {
      ++digits;
    } else if (c == '.' && points == 0) {
      ++points;
    } else {
      break;
    }
    --i;
  }
  if (digits == 0 || (i > 0 && !In(kMayPrecedeNumber, text[i - 1]))) return false;
  // Exponent, forward: at least one digit.
  std::size_t j = pos + 1;
  while (j < text.size() && IsDecimal(text[j])) ++j;
  if (j == pos + 1) return false;
  return j == text.size() || In(kMayFollowNumber, text[j]);
}

}  // namespace qvx
