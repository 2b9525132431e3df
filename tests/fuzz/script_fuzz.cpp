// libFuzzer target: any byte string given to the script entry gets an
// answer, without a crash, a leak or an out-of-bounds access.
//
//   clang++ -std=c++20 -g -O1 -fsanitize=fuzzer,address,undefined -ffp-contract=off \
//     -DQVX_BUILDING -Iinclude -Isrc tests/fuzz/script_fuzz.cpp $(find src -name '*.cpp') \
//     <the libraries the sources need> -o script_fuzz
//   ./script_fuzz tests/fuzz/corpus -max_len=4096 -rss_limit_mb=2048
//
// Each input runs in one scope that lives for the whole run, as a host's
// session does: state left behind by one input must not hurt the next.
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>

#include "libquorvex.h"

namespace {
Environment *Session() {
  static Environment *env = [] {
    InitializeGlobals(nullptr, 0);
    return InitializeTopLevelEnvironment(nullptr);
  }();
  return env;
}
}  // namespace

// A loop runs until it is cancelled (`while:1;` is a legal script), so a
// watchdog cancels any input that runs longer than a second, as a host would.
std::atomic<int64_t> gStarted{0};  // steady-clock milliseconds; 0 while idle

void StartWatchdog(Environment *env) {
  static const bool started = [env] {
    std::thread([env] {
      for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const int64_t t = gStarted.load();
        const int64_t now = std::chrono::duration_cast<std::chrono::milliseconds>(
                                std::chrono::steady_clock::now().time_since_epoch()).count();
        if (t != 0 && now - t > 1000) SetCancelFlag(env, 1);
      }
    }).detach();
    return true;
  }();
  (void)started;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Environment *env = Session();
  StartWatchdog(env);
  SetCancelFlag(env, 0);
  gStarted = std::chrono::duration_cast<std::chrono::milliseconds>(
                 std::chrono::steady_clock::now().time_since_epoch()).count();
  const std::string text(reinterpret_cast<const char *>(data), size);  // NUL bytes end the text early
  char *answer = QuorvexScript(text.c_str(), env, 1);
  gStarted = 0;
  SetCancelFlag(env, 0);
  if (!answer) std::abort();  // every text has an answer
  FreeString(answer);
  if (GetHistory(env)->count > 1000) ClearEnvironmentHistory(env);
  return 0;
}
