// The evaluator: text with operators becomes an Object.
//
// There is no precedence table and no tree. Precedence is the order in which
// operators are looked for at bracket depth 0: the first kind found splits
// the text, and each half is evaluated by the same functions. Every result
// comes back with an "owned" flag: 1 means the caller frees it, 0 that it
// still belongs to a table and must be copied before it is stored.
//
// Texts are std::string_view into the caller's buffer: a half of a split is
// never copied. What one search learnt about a text (which operators are
// absent at depth 0) is passed on to the searches of its halves as Facts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/globals.h"
#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

// Depth-0 knowledge about a text: bit set in `known` = bit in `present` is
// meaningful. Bits are raw characters at depth 0 (a "+" present may still be
// a unary sign); an absent bit is exact.
struct Facts {
  uint32_t known = 0;
  uint32_t present = 0;
  bool Absent(uint32_t bit) const { return (known & bit) && !(present & bit); }
};
enum FactBit : uint32_t {
  kFactPlus = 1u << 0,
  kFactMinus = 1u << 1,
  kFactStar = 1u << 2,
  kFactSlash = 1u << 3,
  kFactCaret = 1u << 4,
  kFactComma = 1u << 5,
  kFactEquals = 1u << 6,
  kFactLess = 1u << 7,
  kFactGreater = 1u << 8,
  kFactAnd = 1u << 9,
  kFactOr = 1u << 10,
  kFactTilde = 1u << 11,
  kFactDot = 1u << 12,
  kFactPostfix = 1u << 13,
  // An "=" that FindTopLevelEquals would take: not the first character and
  // not part of "==", "~=", "<=" or ">=".
  kFactAssign = 1u << 14,
  kFactAll = (1u << 15) - 1,
};
// One pass over the text; a bracket mismatch marks everything present.
Facts ScanFacts(std::string_view text);

// Entry for any value-producing text.
Object *EvaluateExpression(std::string_view text, Environment *env, int32_t *owned);
// Entry for a text that holds arithmetic.
Object *EvaluateOperand(std::string_view text, Environment *env, int32_t *owned, Facts facts = {});
// Comparison, logic and negation; returns a new Object.
Object *EvaluateArithmetic(std::string_view text, Environment *env, Facts facts = {});
// A binary operation at `position` (<= 0: find it); returns a new Object.
Object *EvaluateBinary(std::string_view text, int32_t position, Environment *env, int32_t *owned,
                       Facts facts = {});

// Position of the loosest logical or comparison operator, its length in
// *length; below 1 when there is none.
int32_t FindLogicalOperator(std::string_view text, int32_t *length, Facts facts = {});
// Position of the binary arithmetic operator that splits the text (the
// operator character in *op), or -1.
int32_t FindArithmeticOperator(std::string_view text, char *op, Facts facts = {});

// Number of the text, or NaN for an empty or non-numeric text.
double AtoF(std::string_view text);
// True for a bare identifier.
bool IsPlainSymbol(std::string_view text);
// Relative equality to 1e-15; true when hypot(a, b) is not above 0.
bool IsNearlyEqual(double a, double b);
// A call "name(...)": a name followed by one bracketed argument text that
// closes at the end.
bool TestCallForm(std::string_view text, int32_t isPlainSymbol = -1);
// True if the text holds a sentinel ">word<".
bool ContainsErrorSentinel(std::string_view text);

// Helpers shared with the script entry and printing.
Object *NewSentinelObject(std::string_view sentinel, Environment *env);
bool CancelRequested(const Environment *env);
// Display form of one object; source form when sourceForm is set. Numbers
// print with `digits` significant digits.
std::string ObjectToText(const Object *object, int32_t sourceForm, int32_t digits = 15);
inline std::string ObjectText(const Object *object, int32_t sourceForm, int32_t digits = 15) {
  return ObjectToText(object, sourceForm, digits);
}
// The same as a new text (FreeString), its length in *length (may be null).
char *ObjectToText(const Object *object, int32_t sourceForm, int32_t digits, std::size_t *length);
// Puts literal values back in place of their placeholders.
void RestoreLiterals(std::string &text, int32_t digits, Environment *env);
char *RestoreLiterals(char **text, int32_t digits, Environment *env);
// Removes the literals of a run from the top-level tables.
void ClearLiterals(Environment *env, int32_t flag);

// Protects the string literals of a text built at run time (placeholders
// entered in the top-level tables, as normalisation does).
void ProtectRuntimeStrings(std::string &text, Environment *env);

// Statement execution: status byte, non-zero when the statement ran.
uint8_t ExecuteStatement(std::string_view text, Environment *env);

// Per-thread guards of one evaluation: the remaining stack and a budget of
// scanned bytes, so that no text can crash or hang the evaluator.
void BeginEvaluationBudget(std::size_t textLength);
// Counts work done on a text of that many bytes against the budget.
void SpendBudget(std::size_t bytes);
bool BudgetExhausted();
bool StackExhausted();

inline constexpr std::string_view kSentinelInvalidExpression = ">invalid_expression<";
inline constexpr std::string_view kSentinelAborted = ">evaluation_aborted<";
inline constexpr std::string_view kSentinelInvalidObject = ">invalid_object<";
inline constexpr std::string_view kSentinelInvalidAssignment = ">invalid_assignment<";

}  // namespace qvx
