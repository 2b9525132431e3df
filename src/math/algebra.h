// Algebra on expression texts: the fraction layer and the simplifier.
//
// Values that can't be reduced to numbers stay texts (see textarith.h for
// the structure-free builders). This layer reads a text as a fraction
// (SplitFraction: numerator over denominator), multiplies, divides and
// raises such fractions, and brings a whole expression to a short canonical
// form (SimplifyExpressionText): like terms are collected (x+x is 2*x),
// common factors come out of a sum through a factor trie (a*b+a*c is
// a*(b+c)), numbers fold, and odd functions take the sign of their argument
// outside. A simplified text is stable under a second pass.
//
// ComplexText is the value form of every evaluation helper of the
// mathematics: a real and an imaginary text, an empty text meaning "0".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

struct ComplexText {
  std::string re;
  std::string im;
};

// Evaluates a text with the operand evaluator and reads the result as two
// texts. A sentinel result gives the sentinel in the real text.
ComplexText EvaluateToComplexText(std::string_view text, Environment *env);
// The two texts of an object, by tag (numbers through DoubleString at 15
// digits, strings in double quotes, maps "map:<count>;", nodes "node:;").
ComplexText ObjectToComplexText(std::string_view text, const Object *object, Environment *env);
// True if both texts are numbers (an empty text counts as 0); values out.
bool IsNumericPair(const ComplexText &z, double *re = nullptr, double *im = nullptr);

// Numerator and denominator of a text (re: numerator, im: denominator).
ComplexText SplitFraction(std::string_view text, Environment *env);
std::string MultiplyTerms(std::string_view a, std::string_view b, Environment *env);
std::string DivideTerms(std::string_view a, std::string_view b, Environment *env);
std::string PowerTerms(std::string_view a, std::string_view b, Environment *env);
// Replaces the text by its reciprocal (numerator and denominator swapped).
std::string &ReciprocalText(std::string &text, Environment *env);
// Complex quotient of two texts pairs.
ComplexText DivideComplexTexts(const ComplexText &a, const ComplexText &b);

// The factors of one multiplicative term; a negative sign becomes a last
// factor "-1". A text with a depth-0 comma gives the one factor
// ">invalid_expression<".
std::vector<std::string> SplitIntoFactors(std::string_view term);

// Simplifies the text in place and returns it. `keepFraction` and
// `keepDenominator` set: the quotient form is not rewritten over a common
// denominator. The recursion depth is bounded: past 127 levels a text is
// left as it is.
std::string &SimplifyExpressionText(std::string &text, int32_t keepFraction, int32_t keepDenominator,
                                    Environment *env);

// C-text forms of the fraction layer: new texts (FreeString), the length in
// *length (may be null). The factors as a StringVector (FreeStringVector).
char *MultiplyTerms(const char *a, const char *b, Environment *env, std::size_t *length);
char *DivideTerms(const char *a, const char *b, Environment *env, std::size_t *length);
char *PowerTerms(const char *a, const char *b, Environment *env, std::size_t *length);
char **SplitIntoFactors(const char *term, int32_t *count);

// The texts joined with commas.
std::string JoinTexts(const std::vector<std::string> &list);
// Every symbol s of the expression replaced by "(s_re+i*s_im)", so that a
// symbolic value has a real and an imaginary decomposition.
std::string MakeComplexText(std::string_view text);

// The depth limit of the simplifier.
inline constexpr int32_t kMaxSimplifyDepth = 127;

}  // namespace qvx
