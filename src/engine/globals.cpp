// The process-wide record and the exported life cycle and setters.
//
// InitializeGlobals builds the record once (syntax lists, the 14 by 14
// operator dispatch table, the scalar prototype, paths and the init script);
// TerminateGlobals frees it. A host that evaluates before InitializeGlobals
// gets a default record, built once on first use and never freed. Setters of
// the record act on the host's record only.
#include "common/globals.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "common/boundary.h"
#include "engine/evaluate.h"
#include "engine/program.h"
#include "libquorvex.h"
#include "math/help.h"
#include "objects/environment.h"
#include "objects/evaluator.h"

namespace qvx {
namespace {

Globals *gGlobals = nullptr;

// The one method of every scalar: evaluates an algebraic owner's text, and
// gives any other scalar back as a copy.
Object *ScalarEvalMethod(ArgumentList *, Environment *env, int32_t *owned) {
  if (owned) *owned = 1;
  auto *self = env ? static_cast<Object *>(env->ownerObject) : nullptr;
  Environment *scope = self ? self->parentEnvironment : env;
  if (!self) return NewSentinelObject(kSentinelInvalidObject, scope);
  if (self->tag != kTagAlgebraic) return CopyObject(self, scope, 1);
  int32_t own = 0;
  Object *r = EvaluateExpression(AlgebraicText(self), scope, &own);
  return own ? r : CopyObject(r, scope, 1);
}

Object *OperandCall(std::string_view text, Environment *env, int32_t *owned) {
  return EvaluateOperand(text, env, owned);
}

// The evaluator as the floors below the engine call it.
constexpr EvaluatorCalls kEvaluatorCalls{EvaluateExpression, OperandCall, LookUpVariable, FillTypeMethods};

void FillGlobals(Globals *g) {
  std::memset(static_cast<void *>(g), 0, sizeof(Globals));
  g->platformCode = 666666;
  g->typeMap = RBSTInitialize(nullptr, nullptr, nullptr, nullptr);
  g->initScript = DupText("");
  g->localPath = DupText("./");
  g->localOutPath = DupText("./");
  for (char *&t : g->instructions) t = DupText("");
  g->evaluator = &kEvaluatorCalls;
  BuildDefaultSyntaxLists(&g->syntax);
  FillDispatchTable(g->dispatch);
  FillHelpLists(&g->predefinedFunctions, &g->environmentFunctions, &g->programmingCommands, nullptr,
                g->instructions[0], g->instructions[1]);
  g->scalarPrototype = CreateScalarPrototype();
  if (g->scalarPrototype) {
    auto *r = static_cast<FunctionRecord *>(std::calloc(1, sizeof(FunctionRecord)));
    if (r) {
      r->name = DupText("eval");
      r->system = 1;
      r->handler = ScalarEvalMethod;
      RBSTInsert(&g->scalarPrototype->functionTable, g->scalarPrototype->functionTable.root, "eval(0)", r);
    }
  }
}

void ReleaseGlobals(Globals *g) {
  if (!g) return;
  if (g->typeMap.root) RBSTFreeNodes(&g->typeMap, g->typeMap.root);
  WipeAndFree(g->initScript);
  WipeAndFree(g->localPath);
  WipeAndFree(g->localOutPath);
  for (char *t : g->instructions) WipeAndFree(t);
  FreeHelpList(&g->predefinedFunctions);
  FreeHelpList(&g->environmentFunctions);
  FreeHelpList(&g->programmingCommands);
  FreeScalarPrototype(g->scalarPrototype);
}

void ReplaceText(char **slot, const char *text) {
  char *copy = DupText(text ? text : "");
  if (!copy) return;
  WipeAndFree(*slot);
  *slot = copy;
}

}  // namespace

const Globals &G() {
  if (gGlobals) return *gGlobals;
  static Globals *fallback = [] {
    auto *g = static_cast<Globals *>(std::malloc(sizeof(Globals)));
    FillGlobals(g);
    return g;
  }();
  return *fallback;
}

}  // namespace qvx

using namespace qvx;

extern "C" {

QVX_API void InitializeGlobals(const char *initScriptOrPath, int32_t isFile) noexcept {
  GuardVoid([&] {
    if (gGlobals) return;
    auto *g = static_cast<Globals *>(std::malloc(sizeof(Globals)));
    if (!g) return;
    FillGlobals(g);
    if (initScriptOrPath) {
      char *script = isFile ? ::LoadFileToString(initScriptOrPath) : DupText(initScriptOrPath);
      if (script) {
        WipeAndFree(g->initScript);
        g->initScript = script;
      }
    }
    gGlobals = g;
  });
}

QVX_API void TerminateGlobals(void) noexcept {
  Globals *g = gGlobals;
  gGlobals = nullptr;
  ReleaseGlobals(g);
  std::free(g);
}

QVX_API Environment *InitializeTopLevelEnvironment(const char *scopeText) noexcept {
  return Guard(static_cast<Environment *>(nullptr), [&]() -> Environment * {
    Environment *env = CreateEnvironment(nullptr, 0);
    if (!env) return nullptr;
    if (scopeText) env->scopeText = DupText(scopeText);
    // The default functions and the init script, as after
    // RestoreDefaultAssignments; the init script's literals then go.
    ResetToDefaults(env, false);
    ClearLiterals(env, 1);
    return env;
  });
}

QVX_API void SetCancelFlag(Environment *env, unsigned char value) noexcept {
  if (env && env->cancelFlag) __atomic_store_n(env->cancelFlag, value, __ATOMIC_RELAXED);
}

QVX_API unsigned char GetCancelFlag(Environment *env) noexcept {
  return env && env->cancelFlag ? __atomic_load_n(env->cancelFlag, __ATOMIC_RELAXED) : 0;
}

QVX_API void SetSignificantDigits(Environment *env, int32_t digits) noexcept {
  if (env) env->significantDigits = digits;
}

QVX_API int32_t GetSignificantDigits(Environment *env) noexcept { return env ? env->significantDigits : 0; }

QVX_API void SetSeed(Environment *env, int32_t seed) noexcept {
  if (!env || !env->seed) return;
  // Ran2 restarts on a negative state: store minus the magnitude.
  *env->seed = seed > 0 ? -seed : seed;
}

QVX_API unsigned char SetUpdateHistoryFlag(Environment *env, unsigned char flag) noexcept {
  if (!env) return 0;
  const unsigned char old = env->updateHistory;
  env->updateHistory = flag;
  return old;
}

QVX_API void SetInitScript(const char *text) noexcept {
  if (gGlobals) ReplaceText(&gGlobals->initScript, text);
}
QVX_API void SetLocalPath(const char *path) noexcept {
  if (gGlobals) ReplaceText(&gGlobals->localPath, path);
}
QVX_API void SetLocalOutPath(const char *path) noexcept {
  if (gGlobals) ReplaceText(&gGlobals->localOutPath, path);
}
QVX_API void SetPlatformCode(int32_t code) noexcept {
  if (gGlobals) gGlobals->platformCode = code;
}
QVX_API void SetPlotOptions(int32_t options) noexcept {
  if (gGlobals) gGlobals->plotOptions = options;
}
QVX_API int32_t GetPlotOptions(void) noexcept { return G().plotOptions; }
QVX_API void SetInstructions(const char *text) noexcept {
  if (gGlobals) ReplaceText(&gGlobals->instructions[0], text);
}
QVX_API void SetGraphingInstructions(const char *text) noexcept {
  if (gGlobals) ReplaceText(&gGlobals->instructions[1], text);
}
QVX_API void SetProgrammingInstructions(const char *text) noexcept {
  if (gGlobals) ReplaceText(&gGlobals->instructions[2], text);
}
QVX_API void SetFourierInstructions(const char *text) noexcept {
  if (gGlobals) ReplaceText(&gGlobals->instructions[3], text);
}

}  // extern "C"
