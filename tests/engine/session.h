// A top-level scope for tests that talk to the engine through its script
// entry, as a host does.
#pragma once

#include <string>

#include "libquorvex.h"

namespace qvx::test {

class Session {
 public:
  Session() {
    InitializeGlobals(nullptr, 0);
    env_ = InitializeTopLevelEnvironment(nullptr);
  }
  ~Session() { TerminateEnvironment(env_); }
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  // The answer of one script.
  std::string Run(const std::string &script) {
    char *answer = QuorvexScript(script.c_str(), env_, 1);
    std::string out = answer ? answer : "<null>";
    FreeString(answer);
    return out;
  }
  Environment *env() { return env_; }

 private:
  Environment *env_;
};

}  // namespace qvx::test
