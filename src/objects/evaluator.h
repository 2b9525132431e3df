// The evaluator as the floors below the engine reach it.
//
// A few predefined functions must evaluate text themselves: a sum or an
// integral evaluates its expression once per sample, the algebra folds a
// sub-expression to a number. They sit below the engine, so they call it
// through this one table of entry points, which the engine fills when it
// builds the global record; the record in use always has it.
#pragma once

#include <cstdint>
#include <string_view>

#include "common/globals.h"
#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

struct EvaluatorCalls {
  // Any value-producing text; the result is the caller's when *owned is 1.
  Object *(*expression)(std::string_view text, Environment *env, int32_t *owned);
  // A text that holds arithmetic (no assignment, no list).
  Object *(*operand)(std::string_view text, Environment *env, int32_t *owned);
  // The value of a name seen from `env`, as a variable of the language.
  Object *(*variable)(std::string_view name, Environment *env, int32_t *owned);
  // Builds the method table of a type (by tag) into a new object's scope;
  // the constructors below the engine call it, the engine knows the tables.
  void (*fillMethods)(Environment *env, int32_t tag);
};

inline const EvaluatorCalls &Evaluator() { return *G().evaluator; }

}  // namespace qvx
