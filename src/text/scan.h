// Bracket-aware search of text, and the small rewriting helpers built on it.
//
// The engine never parses a script into a tree: every operator, argument and
// statement is found by searching a text at bracket depth 0, and the direction
// of each search is what makes an operator left- or right-associative
// (FindLastTopLevel splits at the rightmost occurrence, FindFirstTopLevel at
// the leftmost). These searches run at every evaluation, so they take
// std::string_view, allocate nothing, and copy nothing that is not changed.
//
// Two things a reader must know first:
//  * A mismatch of brackets stops FindLastTopLevel / FindFirstTopLevel with
//    result 0 and position -1. Result 0 alone does not mean "found": test the
//    position, or use `0 < result` for "not found".
//  * The language has three bracket kinds: "(" ")", "[" "]" and the block pair
//    ":" ";". Bracket sets are two strings of equal length, the k-th opening
//    character closing with the k-th closing character.
//
// Texts owned by the engine are malloc blocks; helpers that rewrite one take
// it by reference (char **), free or reallocate it (wiping freed bytes), and
// return the new pointer, which is also stored back.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "common/syntax.h"

namespace qvx {

// Builds a TextList from string literals (entries must outlive the list; the
// default lists use literals, so they live for the whole process).
TextList MakeTextList(std::initializer_list<std::string_view> entries);

// Fills a SyntaxLists record with the language's lists.
void BuildDefaultSyntaxLists(SyntaxLists *lists);
// The language's lists, built once on first use (immutable afterwards). Every
// function below that takes `const SyntaxLists *lists` uses these when given
// null.
const SyntaxLists &DefaultSyntaxLists();

// The four spellings of the full bracket set in use; all mean the three kinds.
inline constexpr std::string_view kOpenParenBlockSquare = "(:[";
inline constexpr std::string_view kCloseParenBlockSquare = ");]";
inline constexpr std::string_view kOpenBlockParenSquare = ":([";
inline constexpr std::string_view kCloseBlockParenSquare = ";)]";

// ---------------------------------------------------------------------------
// Depth-0 searches.

// Walks from the last character to the first. Result 0: found (position set)
// or a bracket mismatch stopped the search (position -1). Result 1: not found,
// or the text is empty (position -1). Brackets are never matches themselves.
int32_t FindLastTopLevel(std::string_view text, std::string_view opening, std::string_view closing,
                         std::string_view needle, int32_t *position);
// The same walk from left to right; opening characters push, closing pop.
int32_t FindFirstTopLevel(std::string_view text, std::string_view opening, std::string_view closing,
                          std::string_view needle, int32_t *position);

// Finds the assignment "=" at depth 0 (not part of "==", "~=", "<=", ">=").
// commaFlag: 1 the text has a depth-0 comma, 0 it has none, -1 not computed.
// Returns 1 and the position, or 0 and -1. A comma list never has one.
int32_t FindTopLevelEquals(std::string_view text, int32_t commaFlag, int32_t *position);

// Counts one bracket kind over text[first..last] (clamped to the text).
// 1 balanced, 0 more opens than closes, -1 a close came before its open,
// 2 no bracket of this kind in the range (also for an empty range).
int32_t CountBrackets(std::string_view text, char open, char close, int64_t first, int64_t last);

// Non-zero if all three kinds balance and the brackets of the given sets nest
// properly (the balance of "()", "[]", ":;" is always checked; the sets say
// which characters take part in the nesting walk). An empty text passes.
int32_t TestBracketNesting(std::string_view text, std::string_view opening, std::string_view closing);

// Number of enclosing open/close pairs around the whole text, as stripped by
// StripOuterPairs: "((a))" has 2, "(a)*(b)" has 0.
int32_t CountOuterPairs(std::string_view text, char open, char close);
// The text without its enclosing pairs, as a view into the same bytes.
std::string_view StripOuterPairsView(std::string_view text, char open, char close,
                                     int32_t *count = nullptr);
// Removes the enclosing pairs in place in an owned text; the block is shrunk
// when something was removed. Returns the (possibly new) pointer, also stored
// in *text. A null *text is left alone with count 0.
char *StripOuterPairs(char **text, char open, char close, int32_t *count = nullptr);

// Splits at `separator` at depth 0 (bracket sets as for the searches), after
// stripping enclosing parentheses. Pieces are views into `text`: the segments
// between separators, leading and inner empty ones included. `keepEmpty`
// non-zero: an empty text gives one empty piece and a trailing separator an
// empty last piece; zero: an empty text gives none and an empty last segment
// is dropped. A stray closing bracket counts as text. The vector is cleared
// first and its capacity reused. Returns the piece count.
int32_t SplitArgumentList(std::string_view text, std::string_view opening, std::string_view closing,
                          char separator, int32_t keepEmpty, std::vector<std::string_view> *pieces);
// The same, as owned copies.
std::vector<std::string> SplitArgumentList(std::string_view text, std::string_view opening,
                                           std::string_view closing, char separator, int32_t keepEmpty);

// ---------------------------------------------------------------------------
// List tests at a position.

// True if text[0..position) ends with an entry of the list. False if position
// is below 1; an empty list answers true.
bool EndsWithAny(std::string_view text, int64_t position, const TextList &list);
// True if the text from position+offset begins with an entry. False if
// position is at or past the last index of the text.
bool BeginsWithAny(std::string_view text, int64_t position, int64_t offset, const TextList &list);
// True if some entry occurs anywhere in the text.
bool ContainsAny(std::string_view text, const TextList &list);
// Length of the longest entry that the text ends with before `position` /
// begins with at `position`, or 0. (Helpers for callers that must skip it.)
int32_t MatchEndingAt(std::string_view text, int64_t position, const TextList &list);
int32_t MatchBeginningAt(std::string_view text, int64_t position, const TextList &list);

// ---------------------------------------------------------------------------
// Escapes.

// Puts a backslash before every character of the text that is in `set`.
// Frees the old text (wiped) and returns the new one, also stored in *text;
// a text with nothing to escape is returned as it is.
char *EscapeCharacters(char **text, std::string_view set);
// Resolves backslash escapes: \n \t \r give line feed, tab, carriage return,
// a backslash before anything else gives that character, and a trailing lone
// backslash disappears. The result is never longer, so it is written in
// place and the freed tail wiped; returns the text.
char *UnescapeString(char **text);
// The same two rewrites, from a view into a std::string.
std::string EscapeCharactersCopy(std::string_view text, std::string_view set);
std::string UnescapeStringCopy(std::string_view text);

// ---------------------------------------------------------------------------
// Terms and the additive search.

// True if, after all leading "+" and "-", the text has no further depth-0
// additive operator (an exponent sign as in "2e-3" doesn't count).
bool IsSingleTerm(std::string_view text);
// Reads from the left: each "-" flips the sign (starting at +1), "+" is
// passed, and a "(" is removed together with the last character when the
// range it encloses balances. Anything else ends the reading. Returns the rest
// (a view into `text`), the sign in *sign and, in *singleTerm, whether the
// rest is one term. Either out-pointer may be null.
std::string_view StripSignAndBrackets(std::string_view text, int32_t *sign, int32_t *singleTerm);
// Position of the rightmost "+" or "-" (needle) that is a binary operator:
// not a unary sign after another operator, and not the sign of an exponent.
// -1 if none.
int32_t FindAdditive(std::string_view text, std::string_view needle);

// Reading a decimal number around an exponent letter at `letter`:
// ScanMantissa goes backward over digits with at most one point and returns
// the index of the first character of the mantissa, or -1 if there is none.
// ScanExponent goes forward over an optional sign and digits and returns the
// index one past the exponent, or -1 if there are no digits.
int32_t ScanMantissa(std::string_view text, int32_t letter);
int32_t ScanExponent(std::string_view text, int32_t letter);

// ---------------------------------------------------------------------------
// Numbers.

// Non-zero if the text is a number: "0b" binary and "0x" hexadecimal
// literals with an optional point, or a text that strtod consumes to its end
// with a finite value. The value goes to *value when value isn't null.
int32_t TestNumericString(std::string_view text, double *value);

}  // namespace qvx
