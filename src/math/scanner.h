// The token scanner: one table-driven finite state machine over character
// classes, used wherever a text must be read token by token rather than by
// bracket-aware search: to find numeric literals and string literals, to
// write out the multiplication sign the user left out ("2x" -> "2*x"), and
// to take a number literal of base 2, 10 or 16 apart.
//
// What a reader must know first:
//  * The scanner copies the text to its own output as it goes, and the
//    tokens index that output, not the text: an implied "*" (or "," before
//    "[" and ":") is written between tokens and becomes a one-character
//    delimiter token of its own. The tokens tile the output exactly.
//  * A classifier reads the next character (two for "~="), copies it and
//    names its class; the action table, indexed by state and class, does the
//    rest and names the next state. The tables are constant data: any number
//    of threads may scan at once, each with its own Scanner.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "libquorvex.h"

namespace qvx {

// Classes of the numeric classifiers.
enum ScannerClass : int32_t {
  kClassDigit = 0,
  kClassPoint = 1,
  kClassDelimiter = 2,
  kClassOther = 3,
  kClassEnd = 4,
};

// Classes of the string classifier.
enum StringScanClass : int32_t {
  kClassCharacter = 0,
  kClassQuote = 1,
  kClassEscape = 2,
  kClassStringEnd = 3,
};

// Token kinds of a numeric scan: the state the token was read in. A number
// with a point (or an exponent after one) is of the fraction kind; white
// space between tokens forms blank tokens.
enum NumericTokenKind : int32_t {
  kKindInteger = 1,
  kKindFraction = 2,
  kKindWord = 3,
  kKindDelimiter = 4,
  kKindBlank = 5,
};

// Token kinds of a string scan: text outside strings, and string literals
// with their quotes.
enum StringTokenKind : int32_t {
  kKindText = 0,
  kKindString = 1,
};

// An action returning this ends the scan.
inline constexpr int32_t kScanFinished = 7;

// The delimiter set of every scanner (the double quote included).
inline constexpr std::string_view kScannerDelimiters = ",+-*/^!'()=[]:;~&|<>.@#\"";

struct ScannerToken {
  int32_t kind;    // the state it was read in
  int32_t length;  // characters of the output
  int32_t offset;  // first character in the output
  int32_t copies;  // for the caller's bookkeeping; the scanner leaves it 0
};

struct Scanner;
using ScannerClassifier = int32_t (*)(Scanner &scanner);

struct Scanner {
  std::vector<ScannerToken> tokens;
  std::string_view delimiters = kScannerDelimiters;
  char *output = nullptr;  // NUL-terminated, cut to size when the scan ends
  int64_t capacity = 0;
  int64_t length = 0;
  ScannerClassifier classifier = nullptr;
  int32_t tokenCount = 0;
  RBST *tokensByKind = nullptr;  // slot for a caller's index of tokens by kind

  // The running scan: the source, the next character to read, the width of
  // the step just read (2 for "~=", 0 at the end) and the digit base.
  std::string_view source;
  int64_t position = 0;
  int32_t width = 0;
  int32_t base = 10;
};

// Classifiers. The three numeric ones differ only in what counts as a digit:
// decimal digits; "0" and "1"; hexadecimal digits of either case.
int32_t ClassifyNumber(Scanner &scanner);
int32_t ClassifyBinary(Scanner &scanner);
int32_t ClassifyHexadecimal(Scanner &scanner);
// Characters, the double quote, the backslash, the end: for string literals.
int32_t ClassifyString(Scanner &scanner);

// Runs the machine over the whole text. Null for a null text or when memory
// runs out; free the result with FreeScanner.
Scanner *CreateScanner(const char *text, ScannerClassifier classifier);
Scanner *CreateScanner(std::string_view text, ScannerClassifier classifier);
void FreeScanner(Scanner *scanner);

// The text of one token (a view into the scanner's output).
std::string_view TokenText(const Scanner &scanner, const ScannerToken &token);

// True when the "+" or "-" at `position` is the sign of an exponent: an "e"
// or "E" stands before it at a position above 1, digits with at most one
// point stand before that, digits follow the sign, and what stands on either
// side of that number may stand next to a number.
bool IsExponentSign(std::string_view text, int32_t position);

}  // namespace qvx
