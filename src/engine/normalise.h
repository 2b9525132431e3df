// Source normalisation and the syntax screen.
//
// Every text the engine is about to run first goes through NormaliseSource,
// which turns what the user typed into the compact form the split-based
// evaluator expects: no white space, string and number literals replaced by
// placeholders, bare decimal points padded, separators made explicit.
// ScreenSyntax then decides, from the text alone, whether it can run and
// whether it is an expression, an assignment or a list.
//
// What a reader must know first:
//  * A placeholder is a name made of bytes 128..255, as long as the literal
//    it replaces (a number's placeholder is as long as its printed form, so it
//    may be shorter). No operator, bracket or name test can be confused by it,
//    and white space inside a string literal is safe from removal.
//  * The literals live in the top-level scope's tables, which belong to the
//    object model. Normalisation reaches them only through a LiteralSink of
//    callbacks, so this file depends on no object code.
//  * The steps run in a fixed order: strings leave the text before any
//    character is deleted, points are padded before numbers are recognised,
//    and separators are inserted only when no white space is left.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "text/scan.h"

namespace qvx {

// The literal tables of a top-level scope, as normalisation sees them. Texts
// handed to the callbacks are NUL-terminated and only borrowed. A callback
// may be null: then no literal is known, no name is taken, nothing is
// entered.
struct LiteralSink {
  void *context = nullptr;
  // The value of the scope's random state. Placeholders are drawn with Ran2
  // on a copy taken afresh at each step, so the language's random stream is
  // not disturbed and the same state gives the same placeholders.
  int32_t seed = 0;
  // Visits every literal entered so far: its placeholder and its printed form
  // (a string quoted and escaped, a number through DoubleString at 15 digits
  // joined as a complex text, an algebraic literal as its text).
  void (*forEachLiteral)(void *context,
                         void (*visit)(void *cookie, const char *placeholder, const char *literal),
                         void *cookie) = nullptr;
  // Non-zero if the top-level object table has an entry with this name.
  int32_t (*nameExists)(void *context, const char *name) = nullptr;
  // Enters a string literal: `quoted` is the source text with its quotes and
  // unresolved escapes. The object is a literal (member kind 1, creation
  // depth 0) in the object table and in the temporary names.
  int32_t (*addStringLiteral)(void *context, const char *placeholder, const char *quoted) = nullptr;
  // Enters a number literal: numeric (imaginary part 0) when
  // TestNumericString accepts `text`, otherwise algebraic with that text.
  int32_t (*addNumberLiteral)(void *context, const char *placeholder, const char *text) = nullptr;
};

// Sentinel that normalisation leaves for a text that can't be a script.
inline constexpr std::string_view kInvalidExpression = ">invalid_expression<";

// Runs all steps on an owned text (malloc block, may be reallocated; the old
// block is wiped before it is freed). Returns the new text, also stored in
// *text. With a null sink no literal is protected.
char *NormaliseSource(char **text, const LiteralSink *sink);

// The steps, each on an owned text by reference, returning the new pointer.
char *ProtectStrings(char **text, const LiteralSink *sink);
char *PadDecimalPoints(char **text);
char *ProtectNumbers(char **text, const LiteralSink *sink);
// For each `close` except at the very end: unless what follows begins with a
// multiplicative, postfix, closing, additive or comparison entry or "=",
// `insert` goes right behind it.
char *InsertAfterClose(char **text, char insert, char close);
// Removes leading commas, collapses runs of commas, removes a final comma.
char *TrimCommas(char **text);

// The same steps on a std::string in place (what NormaliseSource uses; one
// buffer for the whole run).
void NormaliseText(std::string &text, const LiteralSink *sink);
void PadDecimalPointsText(std::string &text);
void InsertAfterCloseText(std::string &text, char insert, char close);
void TrimCommasText(std::string &text);

// Short cuts for number literals in plain decimal form ("42", "0.5",
// "655.999119"), the bulk of a matrix typed in full. Each gives exactly what
// the general road gives (TestNumericString, DoubleString at 15 digits), and
// declines (returns false) wherever that is not proven.
//
// The key under which a literal of digits with an optional point and
// fraction is entered: the value printed at 15 digits, or the literal itself
// when the printed form is longer.
bool PlainNumberKey(std::string_view literal, std::string *key);
// DoubleString(value, 15), for a value that a decimal of at most twelve
// significant digits in [0.01, 10000) rounds to, or 0.
bool ShortNumberText(double value, std::string *text);
// The value TestNumericString gives a text of at most fifteen digits with an
// optional point and fraction.
bool ParseShortDecimal(std::string_view text, double *value);

// The syntax screen. Out-flags may be null. Returns 1 if the text may run.
// When quotes or operator placement fail, the answer is 0 and the last three
// flags are left as they were.
int32_t ScreenSyntax(std::string_view text, int32_t *quotesBalanced, int32_t *operatorsPlaced,
                     int32_t *isAssignment, int32_t *hasListComma, int32_t *expressionShaped);
// Non-zero if every operator of the normalised text stands where it may.
int32_t TestOperatorPlacement(std::string_view text);
// Non-zero if the text is one assignment: a single depth-0 "=" with no
// further "=" on either side, balanced brackets, no list comma.
int32_t TestAssignmentForm(std::string_view text);

}  // namespace qvx
