// Function calls and blocks.
//
// A call "f(2,x)" finds the record under "f(2)" (then "f()") in the scopes
// up from the caller. A native record runs its handler; a user record runs
// its body text as one statement list in the caller's scope, as a frame:
//   * the depth of the scope goes up by one and is stamped on the scope's
//     variables, so writes to them from the body become shadows;
//   * each parameter is bound under a frame name (the name, plus bytes of
//     value 1 until it is free) and the body's text is rewritten to use it;
//   * the value is what the body assigned to `return`, kept under a key that
//     ends in a byte no script can type.
// At exit the frame removes its names, shadows and (for functions) the
// variables it created, and the depth goes down again. A block ":...;" is a
// frame without parameters whose plain expression is its value.
//
// Recursion is bounded by a depth limit and by the stack guard of the
// evaluator; once either trips, every frame of that recursion fails with
// ">invalid_expression<", so the session stays usable.
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "common/boundary.h"
#include "engine/evaluate.h"
#include "engine/normalise.h"
#include "engine/program.h"
#include "text/scan.h"
#include "text/textarith.h"
#include "objects/environment.h"
#include "objects/object.h"
#include "persistence/rbst.h"

namespace qvx {
namespace {

constexpr std::string_view kOpen = "(:[";
constexpr std::string_view kClose = ");]";

// One running frame. Frames of one thread form a stack through `outer`.
struct Frame {
  Frame *outer = nullptr;
  Environment *env = nullptr;  // the scope the body runs in
  int32_t depth = 0;           // the raised depth
  bool function = false;       // a function call (not a block)
  std::vector<std::string> names;  // shadows and variables the body created
};

thread_local Frame *tFrame = nullptr;
// Set when a recursion ran into the depth limit; cleared when the outermost
// frame ends.
thread_local bool tOverflow = false;

bool IsNameByte(unsigned char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c >= 128;
}

bool InChain(const Environment *inner, const Environment *outer) {
  for (const Environment *e = inner; e; e = ParentOf(e))
    if (e == outer) return true;
  return false;
}

// The node of `key` up the chain from env, and its scope.
Environment *FindKey(const char *key, Environment *env, RBSTNode **node) {
  for (; env; env = ParentOf(env)) {
    if (env->isScalar || !env->objectTable.root) continue;
    if (RBSTNode *n = RBSTFind(env->objectTable.root, key)) {
      *node = n;
      return env;
    }
  }
  *node = nullptr;
  return nullptr;
}

bool RunsInOwnScope(const Environment *env) {
  if (!env->ownerObject || env->scopeKind == 1) return true;
  switch (static_cast<const Object *>(env->ownerObject)->tag) {
    case kTagNode: case kTagAlgebraic: case kTagMatrix: case kTagNumeric: case kTagBignum:
    case kTagString: case kTagArray: case kTagReserved: case kTagMap: case kTagSplit:
      return false;
    default:
      return true;
  }
}

// Stamps the frame depth on the variables of env and every scope above it,
// so that a body can't overwrite a variable of any enclosing scope. Only the
// objects and classes are stamped: a call never reads the private byte of a
// function record, and a top level holds some eighty of them, which would
// make every call pay for a walk over the default table.
void StampChain(Environment *env, int32_t depth) {
  const auto byte = static_cast<uint8_t>(depth & 0xff);
  for (; env; env = ParentOf(env)) {
    if (env->isScalar) continue;
    if (env->ownerObject && env->scopeKind == 0 && !RunsInOwnScope(env)) continue;
    if (env->deletedCount) PurgeDeletedObjects(env);
    for (RBST *table : {&env->objectTable, &env->classTable}) {
      const bool objects = table == &env->objectTable;
      ForEachNode(table->root, [&](RBSTNode *n) {
        if (!n->value) return;
        if (objects) {
          auto *o = static_cast<Object *>(n->value);
          if (o->memberKind == 0) o->frameMark = byte;
        } else if (auto *c = static_cast<ClassRecord *>(n->value); c->system == 0) {
          c->flag = byte;
        }
      });
    }
  }
}

std::string PrintedArgument(const Object *o) {
  if (!o) return "0";
  return ObjectToText(o, 0, 15);
}

// The call as text, the answer of a call that can't run.
Object *Fallback(const CallText *call, Environment *env) {
  if (call->name.empty()) return NewAlgebraicObject("0", env);
  std::string text(call->name);
  text += '(';
  for (std::size_t i = 1; i < call->values.size(); ++i) {
    if (i > 1) text += ',';
    text += PrintedArgument(call->values[i]);
  }
  text += ')';
  return NewAlgebraicObject(text.c_str(), env);
}

// Detaches the object under `key` from the table (the node goes, the object
// stays with the caller).
Object *TakeEntry(Environment *scope, const std::string &key) {
  if (!scope || scope->isScalar || !scope->objectTable.root) return nullptr;
  RBSTNode *n = RBSTFind(scope->objectTable.root, key.c_str());
  if (!n) return nullptr;
  auto *o = static_cast<Object *>(n->value);
  n->value = nullptr;
  RBSTDelete(&scope->objectTable, scope->objectTable.root, key.c_str());
  return o;
}

void DeleteEntry(Environment *scope, const std::string &key) {
  if (scope && !scope->isScalar && scope->objectTable.root)
    RBSTDelete(&scope->objectTable, scope->objectTable.root, key.c_str());
}

// A plain scope for a body whose receiver is a value (a scalar, a matrix):
// such receivers have no scope of their own to run in.
Environment *ScratchScope(Environment *caller) {
  Environment *e = CreateEnvironment(nullptr, 0);
  if (!e) return nullptr;
  // Share the caller's cancel flag so that a cancel reaches the body.
  if (e->ownsShared) {
    std::free(e->cancelFlag);
    if (e->resourceTable) {
      if (e->resourceTable->root) RBSTFreeNodes(e->resourceTable, e->resourceTable->root);
      std::free(e->resourceTable);
    }
    e->ownsShared = 0;
  }
  e->cancelFlag = caller->cancelFlag;
  e->resourceTable = caller->resourceTable;
  e->numericMode = caller->numericMode;
  e->algebraFlags[0] = caller->algebraFlags[0];
  e->algebraFlags[1] = caller->algebraFlags[1];
  e->scopeDepth = caller->scopeDepth;
  e->significantDigits = caller->significantDigits;
  e->splitMode = caller->splitMode;
  e->updateHistory = 0;
  return e;
}

// Runs a body as a frame. `record` is null for a block.
Object *RunBody(const FunctionRecord *record, CallText *call, std::string_view blockBody, Environment *env,
                int32_t *owned) {
  *owned = 1;
  if (!tFrame) ClearStackTrip();  // a trip of an earlier evaluation is not ours
  if (env->scopeDepth >= kMaxCallDepth || StackExhausted()) {
    tOverflow = true;
    return NewSentinelObject(kSentinelInvalidExpression, env);
  }
  Environment *run = env;
  Environment *scratch = nullptr;
  if (!RunsInOwnScope(env)) {
    scratch = ScratchScope(env);
    if (!scratch) return NewSentinelObject(kSentinelInvalidExpression, env);
    run = scratch;
  }
  if (run->deletedCount) PurgeDeletedObjects(run);

  const int32_t oldDepth = run->scopeDepth;
  const int32_t depth = oldDepth + 1;
  run->scopeDepth = depth;
  StampChain(run, depth);
  char *oldSuffix = run->frameSuffix;
  run->frameSuffix = DupText(("\x01" + std::to_string(depth)).c_str());
  const uint8_t oldHistory = run->updateHistory;
  run->updateHistory = 0;

  Frame frame;
  frame.outer = tFrame;
  frame.env = run;
  frame.depth = depth;
  frame.function = record != nullptr;
  tFrame = &frame;

  // Each argument is bound under a frame name, a copy that belongs to the
  // frame; the body's text is rewritten to use those names.
  std::vector<std::string> params, frameNames;
  if (record && record->parameters) {
    for (int32_t i = 0; i < record->parameterCount; ++i) {
      std::string name = record->parameters[i] ? record->parameters[i] : "";
      std::string frameName = name;
      while (RBSTFind(run->objectTable.root, frameName.c_str())) frameName += '\x01';
      const auto slot = static_cast<std::size_t>(i) + 1;
      Object *arg = slot < call->values.size() ? call->values[slot] : nullptr;
      Object *copy = arg ? CopyObject(arg, run, 1) : NewNumericValueObject(0, 0, run);
      if (copy) {
        copy->memberKind = 0;
        copy->creationDepth = depth;
        copy->frameMark = 0;
        copy->parentEnvironment = run;
        RBSTInsert(&run->objectTable, run->objectTable.root, frameName.c_str(), copy);
      }
      params.push_back(std::move(name));
      frameNames.push_back(frameName);
    }
  }

  std::string body;
  if (record) {
    // Numbers stay as written; string literals become placeholders again.
    body = record->body ? record->body : "";
    if (body.find('"') != std::string::npos) ProtectRuntimeStrings(body, run);
    if (!params.empty()) body = SubstituteArguments(body, params, frameNames);
  } else {
    body.assign(blockBody);
  }

  const uint8_t status = ExecuteStatement(body, run);

  Object *result = nullptr;
  if (status == 0 && StackTripped()) tOverflow = true;
  if (status == 0) {
    result = tOverflow ? NewSentinelObject(kSentinelInvalidExpression, env) : Fallback(call, env);
    if (result) result->creationDepth = oldDepth > 0 ? oldDepth - 1 : 0;
  } else {
    const std::string key3 = ReturnKey(run, '\x03');
    const std::string key2 = ReturnKey(run, '\x02');
    Environment *scope = FrameScopeOf(run);
    result = TakeEntry(scope, key3);
    if (result) result = CopyObject(result, env, 1);  // a borrowed value: copy it out
    else result = TakeEntry(scope, key2);
    if (!result) result = NewNumericValueObject(0, 0, env);
    if (result && result->tag == kTagAlgebraic && !frameNames.empty() && AlgebraicText(result) &&
        std::strchr(AlgebraicText(result), '\x01')) {
      // Frame names left in a symbolic result turn back into the values the
      // caller passed (a name for anything but a scalar).
      std::vector<std::string> valueTexts;
      for (std::size_t k = 0; k < frameNames.size(); ++k) {
        RBSTNode *n = RBSTFind(run->objectTable.root, frameNames[k].c_str());
        auto *v = n ? static_cast<Object *>(n->value) : nullptr;
        const bool scalar = v && (v->tag == kTagAlgebraic || v->tag == kTagNumeric || v->tag == kTagSplit);
        valueTexts.push_back(scalar ? ObjectToText(v, 0, 15) : params[k]);
      }
      const std::string back = SubstituteArguments(AlgebraicText(result), frameNames, valueTexts);
      Object *o = NewAlgebraicObject(back.c_str(), env);
      FreeObject(result);
      result = o;
    }
  }

  // Leave the frame: its names, its shadows and (functions) its variables.
  for (const std::string &k : frameNames) DeleteEntry(run, k);
  for (const std::string &k : frame.names) {
    RBSTNode *n = nullptr;
    Environment *s = FindKey(k.c_str(), run, &n);
    if (!s) continue;
    const bool shadow = !k.empty() && k[0] == '\x03';
    auto *o = static_cast<Object *>(n->value);
    if (shadow || (frame.function && (!o || (o->memberKind == 0 && o->creationDepth >= depth)))) DeleteEntry(s, k);
  }
  RemoveReturnObject(run);
  WipeAndFree(run->frameSuffix);
  run->frameSuffix = oldSuffix;
  tFrame = frame.outer;
  if (!tFrame) {
    tOverflow = false;
    ClearStackTrip();
  }
  run->updateHistory = oldHistory;
  run->scopeDepth = oldDepth;
  StampChain(run, oldDepth);
  if (result && result->parentEnvironment != env) {
    Object *moved = CopyObject(result, env, 1);
    FreeObject(result);
    result = moved;
  }
  if (scratch) TerminateEnvironment(scratch);
  return result;
}

}  // namespace

CallText::~CallText() {
  for (std::size_t i = 0; i < values.size(); ++i)
    if (owned[i]) FreeObject(values[i]);
}

FunctionRecord *FindFunction(std::string_view name, int32_t count, Environment *env) {
  std::string fixed(name);
  fixed += '(';
  const std::size_t stem = fixed.size();
  fixed += std::to_string(count);
  fixed += ')';
  std::string variadic = fixed.substr(0, stem) + ")";
  for (int guard = 0; env && guard < (1 << 20); ++guard, env = ParentOf(env)) {
    const RBSTNode *root = env->functionTable.root;
    if (!root) continue;
    if (RBSTNode *n = RBSTFind(const_cast<RBSTNode *>(root), fixed.c_str()))
      if (n->value) return static_cast<FunctionRecord *>(n->value);
    if (RBSTNode *n = RBSTFind(const_cast<RBSTNode *>(root), variadic.c_str()))
      if (n->value) return static_cast<FunctionRecord *>(n->value);
  }
  return nullptr;
}

Environment *FrameScopeOf(Environment *env) {
  Environment *last = env;
  for (Environment *e = env; e; e = ParentOf(e)) {
    if (e->frameSuffix) return e;
    last = e;
  }
  return last;
}

std::string ReturnKey(Environment *env, char lastByte) {
  Environment *scope = FrameScopeOf(env);
  std::string key = "return";
  if (scope && scope->scopeText) key += scope->scopeText;
  if (scope && scope->frameSuffix) key += scope->frameSuffix;
  key += lastByte;
  return key;
}

void RemoveReturnObject(Environment *env) {
  if (!env || env->isScalar) return;
  Environment *scope = FrameScopeOf(env);
  if (!scope || scope->isScalar || !scope->objectTable.root) return;
  const std::string key3 = ReturnKey(env, '\x03');
  if (RBSTNode *n = RBSTFind(scope->objectTable.root, key3.c_str())) {
    n->value = nullptr;  // borrowed: not ours to free
    RBSTDelete(&scope->objectTable, scope->objectTable.root, key3.c_str());
    return;
  }
  const std::string key2 = ReturnKey(env, '\x02');
  RBSTDelete(&scope->objectTable, scope->objectTable.root, key2.c_str());
}

void NoteFrameName(Environment *scope, const std::string &key) {
  if (!tFrame || !scope) return;
  if (!InChain(scope, tFrame->env) && !InChain(tFrame->env, scope)) return;
  tFrame->names.push_back(key);
}

std::string SubstituteArguments(std::string_view text, std::span<const std::string> from,
                                std::span<const std::string> to) {
  std::string out;
  out.reserve(text.size() + 8);
  std::size_t i = 0;
  while (i < text.size()) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (!IsNameByte(c)) {
      out.push_back(text[i++]);
      continue;
    }
    std::size_t j = i;
    while (j < text.size() && (IsNameByte(static_cast<unsigned char>(text[j])) || text[j] == '\x01')) ++j;
    const std::string_view word = text.substr(i, j - i);
    // A member name after a single "." is not a variable of the body.
    const bool member = i > 0 && text[i - 1] == '.' && !(i > 1 && text[i - 2] == '.');
    const bool number = c >= '0' && c <= '9';
    std::size_t hit = from.size();
    if (!member && !number)
      for (std::size_t k = 0; k < from.size() && k < to.size(); ++k)
        if (word == from[k]) {
          hit = k;
          break;
        }
    if (hit < from.size()) out += to[hit];
    else out.append(word);
    i = j;
  }
  return out;
}

bool IsPlainExpressionBody(std::string_view body) {
  std::string_view probe = StripOuterPairsView(body, '(', ')');
  if (TestBlockForm(probe)) probe = probe.substr(1, probe.size() - 2);
  if (probe.empty()) return true;
  int32_t comma = -1, eq = -1;
  FindLastTopLevel(probe, kOpen, kClose, ",", &comma);
  if (comma >= 0) return false;
  if (FindTopLevelEquals(probe, 0, &eq) == 1) return false;
  return SplitHead(probe).size() < 2;
}

bool ParseCall(std::string_view text, int32_t allowThis, int32_t evaluate, CallText *call, Environment *env) {
  const std::size_t open = text.find('(');
  if (open == std::string_view::npos || open == 0 || text.size() < open + 2 || text.back() != ')') return false;
  call->name = text.substr(0, open);
  if (!IsPlainSymbol(call->name) && !(allowThis && call->name == "this")) return false;
  const std::string_view inner = text.substr(open + 1, text.size() - open - 2);
  call->texts.clear();
  if (!inner.empty()) SplitArgumentList(inner, kOpen, kClose, ',', 1, &call->texts);
  call->values.assign(1, nullptr);
  call->owned.assign(1, 0);
  if (evaluate) {
    for (std::string_view t : call->texts) {
      // An argument that calls or assigns may rebind a name an earlier
      // argument borrowed: those are copied before it runs.
      if (call->values.size() > 1 && t.find_first_of("(=:") != std::string_view::npos) {
        for (std::size_t j = 1; j < call->values.size(); ++j) {
          if (call->owned[j] || !call->values[j]) continue;
          call->values[j] = CopyObject(call->values[j], env, 1);
          call->owned[j] = call->values[j] ? 1 : 0;
        }
      }
      int32_t own = 0;
      Object *o = EvaluateExpression(t, env, &own);
      call->values.push_back(o);
      call->owned.push_back(static_cast<uint8_t>(own ? 1 : 0));
    }
  }
  call->list.count = static_cast<int32_t>(call->values.size());
  call->list.items = call->values.data();
  call->list.texts = call->texts.data();
  return true;
}

Object *RunCall(CallText *call, int32_t joinSplit, Environment *env, int32_t *owned, Object *self) {
  *owned = 1;
  if (!env) return nullptr;
  Environment *scope = self && self->environment ? self->environment : env;
  const uint8_t savedHistory = env->updateHistory;
  env->updateHistory = 0;
  FunctionRecord *r = FindFunction(call->name, call->Count(), scope);
  Object *result = nullptr;
  if (!r) {
    result = Fallback(call, env);
  } else if (!r->handler) {
    // A method of an object runs in the object's scope; anything else in the
    // caller's.
    result = RunBody(r, call, {}, self && self->environment && !self->environment->isScalar ? self->environment : env,
                     owned);
  } else {
    Environment *handlerScope = scope;
    ++handlerScope->scopeDepth;
    int32_t own = 0;
    call->list.count = static_cast<int32_t>(call->values.size());
    call->list.items = call->values.data();
    call->list.texts = call->values.size() == call->texts.size() + 1 ? call->texts.data() : nullptr;
    result = r->handler(&call->list, handlerScope, &own);
    --handlerScope->scopeDepth;
    if (!result) {
      result = Fallback(call, env);
      own = 1;
      if (result && result->creationDepth > 0) --result->creationDepth;
    } else {
      if (joinSplit && result->tag == kTagSplit) {
        const SplitValue *s = Split(result);
        const std::string joined = JoinComplexText(s->re ? s->re : "", s->im ? s->im : "");
        Object *a = NewAlgebraicObject(joined.c_str(), env);
        if (own) FreeObject(result);
        result = a;
        own = 1;
      }
      if (own) result->creationDepth = env->scopeDepth;
    }
    *owned = own;
  }
  // A handler that answers with one of the call's own temporaries hands it
  // over: the call must not free it with the arguments.
  if (result && !*owned)
    for (std::size_t i = 1; i < call->values.size(); ++i)
      if (call->values[i] == result && call->owned[i]) {
        call->owned[i] = 0;
        *owned = 1;
      }
  env->updateHistory = savedHistory;
  return result;
}

Object *RunBlock(std::string_view text, Environment *env, int32_t *owned) {
  *owned = 1;
  std::string_view inner = StripOuterPairsView(text, ':', ';');
  std::string body;
  if (inner.empty()) {
    body = "return=0";
  } else {
    // A body of one plain expression is its own value.
    if (IsPlainExpressionBody(inner)) {
      body = "return=";
      body.append(inner);
    } else {
      body.assign(inner);
    }
  }
  CallText none;
  none.values.assign(1, nullptr);
  none.owned.assign(1, 0);
  return RunBody(nullptr, &none, body, env, owned);
}

}  // namespace qvx
