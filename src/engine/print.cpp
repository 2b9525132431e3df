// The listing of a top-level scope for the host, with its literals put back.
#include <string>

#include "common/boundary.h"
#include "engine/evaluate.h"
#include "objects/environment.h"
#include "objects/print.h"

using namespace qvx;

extern "C" {

QVX_API char *PrintTopLevelEnvironment(Environment *env, int32_t flag, int32_t showFunctions) noexcept {
  return Guard(static_cast<char *>(nullptr), [&]() -> char * {
    if (!env) return DupText("");
    if (CancelRequested(env)) return DupText(kSentinelAborted.data(), kSentinelAborted.size());
    std::string text = ListScope(env, flag, showFunctions);
    RestoreLiterals(text, 15, env);
    ClearLiterals(env, 1);
    return DupText(text.data(), text.size());
  });
}

}  // extern "C"
