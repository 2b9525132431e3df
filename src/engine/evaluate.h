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

#include "common/globals.h"
#include "common/guards.h"
#include "objects/environment.h"
#include "objects/held.h"
#include "objects/object.h"
#include "objects/print.h"
#include "text/classify.h"
#include "text/operators.h"
#include "text/sentinels.h"

namespace qvx {

// Entry for any value-producing text.
Object *EvaluateExpression(std::string_view text, Environment *env, int32_t *owned);
// Entry for a text that holds arithmetic.
Object *EvaluateOperand(std::string_view text, Environment *env, int32_t *owned, Facts facts = {});
// Comparison, logic and negation; returns a new Object.
Object *EvaluateArithmetic(std::string_view text, Environment *env, Facts facts = {});
// A binary operation at `position` (<= 0: find it); returns a new Object.
Object *EvaluateBinary(std::string_view text, int32_t position, Environment *env, int32_t *owned,
                       Facts facts = {});

// Puts literal values back in place of their placeholders.
void RestoreLiterals(std::string &text, int32_t digits, Environment *env);
char *RestoreLiterals(char **text, int32_t digits, Environment *env);
// Removes the literals of a run from the top-level tables.
void ClearLiterals(Environment *env, int32_t flag);

// Protects the string literals of a text built at run time (placeholders
// entered in the top-level tables, as normalisation does).
void ProtectRuntimeStrings(std::string &text, Environment *env);

// One run of a script text, as the script entry runs it for the host: the
// text is normalised and screened, runs as a list, an assignment, a control
// statement or an expression, and its answer comes back with its literals
// put back. The list runner, the init script and restore() call it directly.
std::string RunScriptText(std::string_view script, Environment *env, int32_t clearLiterals);

// Fills the operator dispatch table of the global record.
void FillDispatchTable(BinaryHandler (*table)[kObjectTagCount]);

// Statement execution: status byte, non-zero when the statement ran.
uint8_t ExecuteStatement(std::string_view text, Environment *env);

}  // namespace qvx
