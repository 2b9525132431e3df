// Exact differentiation by rewriting text.
//
// There is no expression tree: DifferentiateText cuts an expression at its
// loosest depth-0 operator, differentiates both halves as texts and glues
// the results with the text arithmetic, which folds numbers and drops zeros
// and ones as it goes. A call goes to the rule of its function (the
// derivative table); a user function is differentiated through the value of
// its body; anything else comes back as the unevaluated text "deriv(f,x)".
//
// The variable is never the user's symbol: the expression is rewritten to a
// fresh name (the name followed by bytes of value 1, which can't be typed),
// so a stored value of the variable can't interfere and the user's variable
// is never touched.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "math/algebra.h"
#include "math/functions.h"
#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

// The object handler of "deriv()": deriv(f,x) and deriv(f,x,a).
Object *DerivObjectHandler(ArgumentList *arguments, Environment *env, int32_t *owned);
// The same from the source texts of the arguments ("f", "x" and maybe "a")
// and their values (either may be empty/null when not known).
Object *DerivFromArguments(const std::string_view *texts, Object *const *values, int32_t count, Environment *env,
                           int32_t *owned);
// "f,x" or "f,x,a": the derivative evaluated at a (or at x's value, or kept
// symbolic), or the text "deriv(f,x)" when it can't be found.
ComplexText EvaluateDerivative(std::string_view argumentText, Environment *env);
// The derivative of an expression text with respect to a variable name, a
// new text; ">invalid_expression<" for a malformed text.
std::string DifferentiateText(std::string_view expression, std::string_view variable, Environment *env);
// The rule of the binary operator at `position` ("*", "/" or "^"); a
// position below 1 means the operator is looked for.
std::string DifferentiateOperator(std::string_view expression, std::string_view variable, int32_t position,
                                  Environment *env);
// The same two as new texts (FreeString), the length in *length (may be null).
char *DifferentiateText(const char *expression, const char *variable, Environment *env, std::size_t *length);
char *DifferentiateOperator(const char *expression, const char *variable, int32_t position, Environment *env,
                            std::size_t *length);
// The derivative table: the rule for a key "name(arity)", or null.
DeriveHandler DerivativeRule(std::string_view key);
// Replaces every whole-name occurrence of `from` by `to` (not after a member
// dot, not inside a string literal).
std::string ReplaceSymbol(std::string_view text, std::string_view from, std::string_view to);

}  // namespace qvx
