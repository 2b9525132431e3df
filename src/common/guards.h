// Per-thread guards of one evaluation: the remaining stack and a budget of
// scanned bytes, so that no text can crash or hang the evaluator.
//
// Every floor that recurses over text (scanning, text arithmetic, the
// symbolic functions, the evaluator) asks the same two questions, so the
// guards sit on the ground floor. They are thread-local: two host threads
// evaluating in two environments never see each other's budget.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qvx {

// The budget of the running evaluation on this thread. Read and written in
// the evaluator's innermost loops, so the two checks below are inline.
namespace guards {
extern constinit thread_local int64_t tBudget __attribute__((visibility("hidden")));
extern constinit thread_local bool tBudgetActive __attribute__((visibility("hidden")));
}  // namespace guards

// Starts the budget of one evaluation, scaled by the length of its text.
void BeginEvaluationBudget(std::size_t textLength);
// Counts work done on a text of that many bytes against the budget.
inline void SpendBudget(std::size_t bytes) {
  if (guards::tBudgetActive) guards::tBudget -= static_cast<int64_t>(bytes);
}
inline bool BudgetExhausted() { return guards::tBudgetActive && guards::tBudget < 0; }
// True when the stack below this frame is too short for another level of
// recursion; notes the refusal for StackTripped.
bool StackExhausted();
// True once the stack guard has refused work on this thread since the last
// ClearStackTrip: the call machinery tells a runaway recursion from an
// ordinary failure by it.
bool StackTripped();
void ClearStackTrip();

}  // namespace qvx
