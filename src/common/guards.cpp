// The per-thread stack and budget guards.
//
// The stack floor is read once per thread from the thread's own stack
// attributes, so hosts that give their threads small stacks are guarded as
// well as the main thread.
#include "common/guards.h"

#include <pthread.h>

#include <algorithm>
#include <cstdint>

namespace qvx {

namespace guards {
constinit thread_local int64_t tBudget = 0;
constinit thread_local bool tBudgetActive = false;
}  // namespace guards

namespace {

thread_local uintptr_t tStackFloor = 0;
// Set when the stack guard refused work; the call machinery reads it to tell
// a runaway recursion from an ordinary failure.
thread_local bool tStackTripped = false;

constexpr uintptr_t kStackMargin = 256 * 1024;
constexpr uintptr_t kMaxStackUse = 64u * 1024 * 1024;

__attribute__((noinline)) void InitStackFloor(uintptr_t here) {
  uintptr_t floor = here > 512 * 1024 ? here - 512 * 1024 : 0;
#if defined(__linux__)
  pthread_attr_t attr;
  if (pthread_getattr_np(pthread_self(), &attr) == 0) {
    void *addr = nullptr;
    std::size_t size = 0;
    if (pthread_attr_getstack(&attr, &addr, &size) == 0 && addr && size > 0) {
      const uintptr_t low = reinterpret_cast<uintptr_t>(addr);
      // Room kept free below the deepest evaluation for the leaf calls it
      // makes; small for the small stacks some hosts give their threads.
      const uintptr_t margin = std::clamp<uintptr_t>(size / 8, 32 * 1024, kStackMargin);
      if (here > low + margin) floor = low + margin;
      if (here > kMaxStackUse && floor < here - kMaxStackUse) floor = here - kMaxStackUse;
    }
    pthread_attr_destroy(&attr);
  }
#endif
  tStackFloor = floor ? floor : 1;
}


}  // namespace

void BeginEvaluationBudget(std::size_t textLength) {
  const int64_t n = static_cast<int64_t>(std::min<std::size_t>(textLength, INT64_MAX / 128));
  guards::tBudget = std::max<int64_t>(int64_t{1} << 27, 64 * n);
  guards::tBudgetActive = true;
}


bool StackExhausted() {
  const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  if (!tStackFloor) InitStackFloor(here);
  if (here >= tStackFloor) return false;
  tStackTripped = true;
  return true;
}

bool StackTripped() { return tStackTripped; }
void ClearStackTrip() { tStackTripped = false; }

}  // namespace qvx
