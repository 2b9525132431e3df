// Arithmetic on expression texts.
//
// A value that cannot be reduced to numbers stays a text, and each arithmetic
// step on such values builds a new text kept as short as a few rules allow:
// numbers fold, neutral elements vanish, equal operands combine (x+x is 2*x,
// x*x is x^2), and a product is written the same way whichever way round it
// came. A text that holds an error sentinel passes through every builder
// unchanged. An empty operand reads as "0".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qvx {

std::string AddTexts(std::string_view a, std::string_view b);
std::string SubtractTexts(std::string_view a, std::string_view b);
std::string MultiplyTexts(std::string_view a, std::string_view b);
std::string DivideTexts(std::string_view a, std::string_view b);
std::string PowerTexts(std::string_view a, std::string_view b);
// Replaces the text by its negation and returns it. A sum is negated term by
// term ("a-b" becomes "-a+b"), a single term by its leading sign.
std::string &NegateText(std::string &text);
// One expression text from a real and an imaginary text.
std::string JoinComplexText(std::string_view re, std::string_view im);
inline std::string JoinComplex(std::string_view re, std::string_view im) { return JoinComplexText(re, im); }
// The same as a new text (FreeString), its length in *length (may be null);
// null parts read as empty.
char *JoinComplexText(const char *re, const char *im, std::size_t *length);

// The five builders as new texts (FreeString) for callers that hold owned
// C texts; the length goes to *length (may be null), null operands read "0".
char *AddTexts(const char *a, const char *b, std::size_t *length);
char *SubtractTexts(const char *a, const char *b, std::size_t *length);
char *MultiplyTexts(const char *a, const char *b, std::size_t *length);
char *DivideTexts(const char *a, const char *b, std::size_t *length);
char *PowerTexts(const char *a, const char *b, std::size_t *length);

// The number text of the whole system at `digits` significant digits.
std::string NumberText(double value, int digits = 15);
// True if the text holds a comparison, logical or list operator at depth 0.
bool HoldsLooseOperator(std::string_view text);

// A text read as sign and bare value. For a single term the leading signs
// and enclosing brackets are taken off ("-(-(a*b))" is +1 and "a*b"). For a
// sum, only signs that apply to the whole are taken: "-(a+b)" is -1 and
// "a+b", while "-a+b" stays as it is with sign +1.
struct SignedText {
  std::string_view bare;
  int32_t sign = 1;
  bool sum = false;  // bare is a sum of several terms
};
SignedText ReadSigned(std::string_view text);

// One term of a sum: its sign and its text without the leading sign.
struct SignedTerm {
  int32_t sign;
  std::string_view text;
};
// Cuts a text at its depth-0 binary "+" and "-" (not unary signs, not the
// sign of an exponent as in "2e-3"). Leading signs of each term are folded
// into its sign. The pieces view the given text.
void SplitSum(std::string_view text, std::vector<SignedTerm> *terms);
// True if the text has a binary "+" or "-" at depth 0.
bool IsSumText(std::string_view text);
// True if the text is a number that is nearly zero / nearly one.
bool IsZeroNumberText(std::string_view text);
bool HasErrorSentinel(std::string_view text);

}  // namespace qvx
