// The predefined mathematical functions of the language.
//
// Each function `f` has three handlers:
//  * an object handler (NativeHandler), entered in the default function
//    table under "f(arity)" or "f()": it checks the arguments, computes
//    numbers directly, and hands a symbolic argument to the split handler;
//  * a split handler: the function on text. It evaluates its argument text;
//    numbers give numbers (as texts), anything else gives the symbolic form
//    of the function's family ("sin(-x)" is "-sin(x)", "cos(-x)" is
//    "cos(x)", a call that can't be reduced is its own text);
//  * a derive handler (deriv.cpp) for the functions that have a derivative.
// A symbolic call is treated as real: its imaginary text is always "0".
//
// The descriptive rows that hosts show as help live in functions_help.cpp.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "math/algebra.h"
#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

// The function on the text of its arguments ("x" or "x,n").
using SplitHandler = ComplexText (*)(std::string_view argument, Environment *env);
// The derivative of the function at the argument text with respect to a
// variable; a new text.
using DeriveHandler = std::string (*)(std::string_view argument, std::string_view variable, Environment *env);
// The object-level handler has the engine's native handler type.
using ObjectHandler = NativeHandler;

struct PredefinedFunction {
  const char *key;     // "cos(1)", "mean()"
  ObjectHandler object;
  SplitHandler split;
  DeriveHandler derive;  // null: no rule (deriv gives an unevaluated call)
};

// The functions of this module in default-table order (deriv included).
std::span<const PredefinedFunction> PredefinedFunctions();
// By key ("besselj(2)"): null when the key isn't one of them.
const PredefinedFunction *FindPredefinedFunction(std::string_view key);
ObjectHandler FindPredefinedHandler(std::string_view key);
SplitHandler FindSplitHandler(std::string_view key);
// The derivative table: the rule of a key, or null.
DeriveHandler FindDeriveHandler(std::string_view key);

// Validity of an argument: numeric passes; algebraic passes when its text is
// non-empty and holds no assignment, no depth-0 comma and no sentinel.
bool PassesValidityTest(const Object *object);

// The split handler of `ln`, used by the power rule of the derivative.
ComplexText LnSplit(std::string_view argument, Environment *env);

// Help rows (functions_help.cpp).
struct HelpRow {
  const char *label;
  const char *prefix;
  const char *usage;
  const char *help;
};
std::span<const HelpRow> PredefinedFunctionRows();
std::span<const HelpRow> EnvironmentFunctionRows();
std::span<const HelpRow> ProgrammingCommandRows();

}  // namespace qvx
