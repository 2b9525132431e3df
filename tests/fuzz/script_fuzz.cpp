// libFuzzer target: any byte string given to the script entry gets an
// answer, without a crash, a leak or an out-of-bounds access.
//
//   clang++ -std=c++20 -g -O1 -fsanitize=fuzzer,address,undefined -ffp-contract=off \
//     -DQVX_BUILDING -Iinclude -Isrc tests/fuzz/script_fuzz.cpp $(find src -name '*.cpp') \
//     <the libraries the sources need> -o script_fuzz
//   ./script_fuzz tests/fuzz/corpus -max_len=4096 -rss_limit_mb=2048
//
// Built with -DQVX_CORPUS_REPLAY instead, the same target gets a plain main
// that feeds it every file named on the command line (folders are read in
// name order), so the corpus runs as an ordinary test under the sanitizers.
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

int64_t NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch()).count();
}

// The session: one top-level scope, and a watchdog thread that cancels any
// input running longer than a second, as a host would (a loop runs until it
// is cancelled: `while:1;` is a legal script). SetCancelFlag is the one call
// another thread may make. At exit the watchdog is stopped first, then the
// scope and the globals are torn down, so a leak check sees a clean end.
class Session {
 public:
  Session() {
    InitializeGlobals(nullptr, 0);
    env_ = InitializeTopLevelEnvironment(nullptr);
    watchdog_ = std::thread([this] { Watch(); });
  }
  ~Session() {
    stop_ = true;
    watchdog_.join();
    TerminateEnvironment(env_);
    TerminateGlobals();
  }
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  Environment *env() const { return env_; }
  void Begin() { started_ = NowMs(); }
  void End() { started_ = 0; }

 private:
  void Watch() {
    while (!stop_) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      const int64_t t = started_.load();
      if (t != 0 && NowMs() - t > 1000) SetCancelFlag(env_, 1);
    }
  }

  Environment *env_ = nullptr;
  std::atomic<int64_t> started_{0};  // steady-clock milliseconds; 0 while idle
  std::atomic<bool> stop_{false};
  std::thread watchdog_;
};

Session &TheSession() {
  static Session session;
  return session;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Session &session = TheSession();
  Environment *env = session.env();
  SetCancelFlag(env, 0);
  session.Begin();
  const std::string text(reinterpret_cast<const char *>(data), size);  // NUL bytes end the text early
  char *answer = QuorvexScript(text.c_str(), env, 1);
  session.End();
  SetCancelFlag(env, 0);
  if (!answer) std::abort();  // every text has an answer
  FreeString(answer);
  if (GetHistory(env)->count > 1000) ClearEnvironmentHistory(env);
  return 0;
}

#ifdef QVX_CORPUS_REPLAY
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char **argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    const fs::path arg(argv[i]);
    if (fs::is_directory(arg)) {
      std::vector<fs::path> files;
      for (const auto &entry : fs::directory_iterator(arg))
        if (entry.is_regular_file()) files.push_back(entry.path());
      std::sort(files.begin(), files.end());
      inputs.insert(inputs.end(), files.begin(), files.end());
    } else {
      inputs.push_back(arg);
    }
  }
  if (inputs.empty()) {
    std::fprintf(stderr, "usage: %s <corpus folder or file>...\n", argv[0]);
    return 2;
  }
  for (const fs::path &path : inputs) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
      std::fprintf(stderr, "cannot read %s\n", path.c_str());
      return 1;
    }
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::printf("%s\n", path.filename().c_str());
    std::fflush(stdout);  // the name is out before a crash report
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
  }
  std::printf("%zu inputs replayed\n", inputs.size());
  return 0;
}
#endif
