// Assignment, variable look-up and member access.
//
// `a=...` evaluates the right side first and only then finds where the value
// goes, since evaluation may change the tables (a call, a `delete`). Where it
// goes depends on the call depth: a name that an enclosing frame owns (its
// frameMark is set and it was created at a lower depth) is not overwritten
// but shadowed under a key of the current frame, so a function never
// changes its caller's variables; the frame drops its shadows when it ends.
//
// Members live in the object's own scope. A scalar that receives a member
// (`a=1`, `a.b=2`) becomes a mutant in place, keeping its value as "val".
#include <cmath>
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
#include "objects/array.h"
#include "objects/environment.h"
#include "objects/matrix.h"
#include "objects/object.h"
#include "persistence/rbst.h"

namespace qvx {
namespace {

constexpr std::string_view kOpen = "(:[";
constexpr std::string_view kClose = ");]";

// A name a script may bind: printable ASCII only. Placeholders of literals
// (bytes 128..255) and the engine's own keys (control bytes) are refused.
bool IsBindableName(std::string_view name) {
  // The loop machinery's own name starts with a byte of value 1.
  if (!name.empty() && name.front() == '\x01') name.remove_prefix(1);
  if (name.empty()) return false;
  for (unsigned char c : name)
    if (c < 33 || c > 126) return false;
  return IsPlainSymbol(name);
}

// The node of `key` in one scope's own table, with a value, or null.
RBSTNode *FindOwn(Environment *scope, const char *key) {
  if (!scope || scope->isScalar || !scope->objectTable.root) return nullptr;
  RBSTNode *n = RBSTFind(scope->objectTable.root, key);
  return n && n->value ? n : nullptr;
}

// The first scope up the chain from `env` whose table holds `key`.
Environment *FindInChain(const char *key, Environment *env, RBSTNode **node) {
  for (int guard = 0; env && guard < (1 << 20); ++guard) {
    if (RBSTNode *n = FindOwn(env, key)) {
      *node = n;
      return env;
    }
    env = ParentOf(env);
  }
  *node = nullptr;
  return nullptr;
}

// RBSTFind for a key given as a view, so that a name need not be copied to
// get its terminating byte: the same descent, bytes compared as unsigned
// char, the end of the view read as a 0 byte (as a copy would end).
RBSTNode *FindKey(RBSTNode *root, std::string_view name) {
  const auto *a = reinterpret_cast<const unsigned char *>(name.data());
  const std::size_t length = name.size();
  RBSTNode *n = root;
  while (n && !IsSentinel(n)) {
    const auto *b = reinterpret_cast<const unsigned char *>(n->key);
    if (!b) {
      n = n->right;
      continue;
    }
    int c = 0;
    for (std::size_t i = 0;; ++i) {
      const unsigned char x = i < length ? a[i] : 0;
      c = static_cast<int>(x) - static_cast<int>(b[i]);
      if (c != 0 || x == 0) break;
    }
    if (c == 0) return n;
    n = c < 0 ? n->left : n->right;
  }
  return nullptr;
}

// FindInChain for a name given as a view.
Environment *FindNameInChain(std::string_view name, Environment *env, RBSTNode **node) {
  for (int guard = 0; env && guard < (1 << 20); ++guard) {
    if (!env->isScalar && env->objectTable.root) {
      RBSTNode *n = FindKey(env->objectTable.root, name);
      if (n && n->value) {
        *node = n;
        return env;
      }
    }
    env = ParentOf(env);
  }
  *node = nullptr;
  return nullptr;
}

// True when no scope up the chain can know a class: no class table holds an
// entry, and no scope is a class's own or an instance's. The class look-up
// of an assignment is skipped then.
bool NoClassInReach(Environment *env) {
  for (int guard = 0; env && guard < (1 << 20); ++guard) {
    if (env->classTable.root && !IsSentinel(env->classTable.root)) return false;
    if (env->scopeKind != 0) return false;
    const auto *owner = static_cast<const Object *>(env->ownerObject);
    if (owner && owner->tag == kTagInstance) return false;
    env = ParentOf(env);
  }
  return env == nullptr;
}

// The shadow key of `name` at `depth`: depth bytes of value 3, then the name.
void MakeShadowKey(std::string *key, std::string_view name, int32_t depth) {
  key->assign(static_cast<std::size_t>(depth), '\x03');
  key->append(name);
}

Object *Sentinel(std::string_view s, Environment *env, int32_t *owned) {
  *owned = 1;
  return NewSentinelObject(s, env);
}

bool IsSentinelObject(const Object *o) {
  return o && (o->tag == kTagAlgebraic) && AlgebraicText(o) && ContainsErrorSentinel(AlgebraicText(o));
}

// The object that owns the scope chain of `env` at its nearest object scope
// (for "this"), or null at a top level.
Object *ScopeOwner(Environment *env) {
  if (!env || env->scopeKind != 0) return nullptr;
  return static_cast<Object *>(env->ownerObject);
}

// A value ready to be stored in `scope`: copied unless it is an owned object
// that already belongs to that scope.
Object *Adopt(Object *value, int32_t owned, Environment *scope) {
  if (owned && value->parentEnvironment == scope) return value;
  Object *copy = CopyObject(value, scope, 1);
  if (owned) FreeObject(value);
  return copy;
}

// One depth-0 "." that is not part of "..", searched from the left.
int32_t FirstMemberDot(std::string_view text) {
  int32_t depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (kOpen.find(c) != std::string_view::npos) ++depth;
    else if (kClose.find(c) != std::string_view::npos) --depth;
    else if (c == '.' && depth == 0) {
      const bool prevDot = i > 0 && text[i - 1] == '.';
      const bool nextDot = i + 1 < text.size() && text[i + 1] == '.';
      if (!prevDot && !nextDot) return static_cast<int32_t>(i);
    }
  }
  return -1;
}

int32_t LastMemberDot(std::string_view text) {
  int32_t depth = 0;
  for (std::size_t k = text.size(); k-- > 0;) {
    const char c = text[k];
    if (kClose.find(c) != std::string_view::npos) ++depth;
    else if (kOpen.find(c) != std::string_view::npos) --depth;
    else if (c == '.' && depth == 0) {
      const bool prevDot = k > 0 && text[k - 1] == '.';
      const bool nextDot = k + 1 < text.size() && text[k + 1] == '.';
      if (!prevDot && !nextDot) return static_cast<int32_t>(k);
    }
  }
  return -1;
}

// A member of `holder` by name, from its own scope only.
RBSTNode *MemberNode(Object *holder, std::string_view name) {
  if (!holder || !holder->environment || holder->environment->isScalar) return nullptr;
  std::string key(name);
  return FindOwn(holder->environment, key.c_str());
}

// A member entry made from a value: kind 1, public, depth 0.
Object *MakeMember(Object *value, int32_t owned, Environment *scope) {
  Object *m = Adopt(value, owned, scope);
  if (!m) return nullptr;
  m->memberKind = 1;
  m->isPublic = 1;
  m->creationDepth = 0;
  m->frameMark = 0;
  m->parentEnvironment = scope;
  return m;
}

// Function definition "name(p1,p2)=body" into `scope`. False for a head that
// isn't a plain name, or parameters that aren't distinct plain names.
bool DefineFunction(std::string_view head, std::string_view body, Environment *scope) {
  if (!scope || scope->isScalar) return false;
  const std::size_t open = head.find('(');
  if (open == std::string_view::npos || open == 0 || head.back() != ')') return false;
  const std::string_view name = head.substr(0, open);
  if (!IsBindableName(name)) return false;
  std::vector<std::string_view> params;
  SplitArgumentList(head.substr(open), kOpen, kClose, ',', 0, &params);
  for (std::size_t i = 0; i < params.size(); ++i) {
    if (!IsBindableName(params[i]) || params[i] == "return") return false;
    for (std::size_t j = 0; j < i; ++j)
      if (params[j] == params[i]) return false;
  }
  // The body keeps its literals as text: the placeholders of this script are
  // cleared when it ends, and each call protects them afresh.
  // A body of one plain expression is the function's value.
  std::string text;
  if (IsPlainExpressionBody(body)) text = "return=";
  text.append(body);
  RestoreLiterals(text, 15, scope);
  auto *r = static_cast<FunctionRecord *>(std::calloc(1, sizeof(FunctionRecord)));
  if (!r) return false;
  const auto count = static_cast<int32_t>(params.size());
  r->parameterCount = count;
  r->parameters = StringVectorNULL(count);
  if (r->parameters)
    for (int32_t i = 0; i < count; ++i) {
      std::free(r->parameters[i]);
      r->parameters[i] = DupText(params[static_cast<std::size_t>(i)].data(), params[static_cast<std::size_t>(i)].size());
    }
  r->name = DupText(name.data(), name.size());
  r->body = DupText(text.data(), text.size());
  r->system = 0;
  std::string key(name);
  key += '(';
  key += std::to_string(count);
  key += ')';
  RBSTInsert(&scope->functionTable, scope->functionTable.root, key.c_str(), r);
  return true;
}

// Facts of a left side: list comma, single factor, construct form.
bool IsSingleFactor(std::string_view text) {
  const Facts f = ScanFacts(text);
  const uint32_t bits = kFactPlus | kFactMinus | kFactStar | kFactSlash | kFactCaret;
  if (!(f.present & bits)) return true;
  int32_t sign = 1;
  const std::string_view rest = StripSignAndBrackets(text, &sign, nullptr);
  if (rest.size() != text.size()) return false;  // a sign or brackets stand around it
  return FindArithmeticOperator(text, nullptr) < 0;
}

bool IsConstructForm(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  return IsPlainSymbol(text.substr(0, colon)) && text.back() == ';';
}

bool HasListComma(std::string_view text) {
  int32_t pos = -1;
  FindLastTopLevel(text, kOpen, kClose, ",", &pos);
  return pos >= 0;
}

// The value of `right` evaluated in `env`; false (and nothing to free) when
// it is an error sentinel.
bool EvaluateRight(std::string_view right, Environment *env, Object **value, int32_t *owned) {
  *value = EvaluateExpression(right, env, owned);
  if (!*value) return false;
  if (IsSentinelObject(*value)) {
    if (*owned) FreeObject(*value);
    *value = nullptr;
    return false;
  }
  return true;
}

// Writes into an existing member node, or adds a member to `holder`.
bool StoreMember(Object *holder, std::string_view name, Object *value, int32_t owned) {
  Environment *scope = holder->environment;
  std::string key(name);
  RBSTNode *n = FindOwn(scope, key.c_str());
  Object *m = MakeMember(value, owned, scope);
  if (!m) return false;
  if (n) {
    auto *old = static_cast<Object *>(n->value);
    m->memberKind = old->memberKind;
    m->isPublic = old->isPublic;
  }
  RBSTInsert(&scope->objectTable, scope->objectTable.root, key.c_str(), m);
  return true;
}

// The index of an array element written as the last part of a member chain
// ("a.3", "a.k" with k bound to a number): the part evaluates to a real
// number, numeric or numeric text, taken as an integer toward zero. False for
// anything else, and for an index outside 0..count-1.
bool ArrayIndex(const Object *array, std::string_view part, Environment *env, int32_t *index) {
  int32_t own = 0;
  Object *value = EvaluateExpression(part, env, &own);
  const Held held(value, own);
  double d = 0.0;
  if (!value) return false;
  if (value->tag == kTagNumeric) {
    if (Numeric(value)->im != 0.0) return false;
    d = Numeric(value)->re;
  } else if (value->tag != kTagAlgebraic || !AlgebraicText(value) || !TestNumericString(AlgebraicText(value), &d)) {
    return false;
  }
  d = std::trunc(d);
  if (!(d >= 0.0 && d < static_cast<double>(ArrayCount(array)))) return false;  // NaN fails too
  *index = static_cast<int32_t>(d);
  return true;
}

// The array element branch: the old element is freed and a copy of the
// right side takes its slot; an index out of range changes nothing.
uint8_t AssignArrayElement(Object *array, std::string_view indexText, std::string_view right, Environment *env) {
  int32_t index = 0;
  if (!ArrayIndex(array, indexText, env, &index)) return 0;
  Object *value = nullptr;
  int32_t vown = 0;
  if (!EvaluateRight(right, env, &value, &vown)) return 0;
  // Always a copy made for the array's scope, so "a.0=a" stores the array as
  // it was, never the array inside itself.
  Object *copy = CopyObject(value, array->environment, 1);
  if (vown) FreeObject(value);
  return copy && SetArrayElement(array, index, copy) ? 1 : 0;
}

// A matrix element or row write, "m.(i)(j)=v" or "m.(i)=[...]": the index
// list is evaluated, then the right side, and only then is the matrix found
// again by `find`, since the right side may have rebound the name. A number
// goes into the cell the indices reach (their count must equal the rank); a
// block is copied into the item they reach. An index out of range quietly
// changes nothing.
template <class Find>
uint8_t AssignMatrixElement(std::string_view indexText, std::string_view right, Environment *env, Find &&find) {
  const std::vector<int32_t> list = ParseIndexList(indexText, env);
  if (list.empty()) return 0;
  Object *value = nullptr;
  int32_t owned = 0;
  if (!EvaluateRight(right, env, &value, &owned)) return 0;
  const Held held(value, owned);
  Object *m = find();
  if (!m || m->tag != kTagMatrix) return 0;
  return static_cast<uint8_t>(WriteMatrixElement(m, std::vector<int32_t>(list.begin() + 1, list.end()), value));
}

// The matrix bound to `name` where a write from `env` lands, or null.
Object *AssignableMatrix(std::string_view name, Environment *env) {
  AssignableSlot slot;
  if (!FindAssignableObject(name, &slot, env) || !slot.existing) return nullptr;
  return slot.existing->tag == kTagMatrix ? slot.existing : nullptr;
}

}  // namespace

// ---------------------------------------------------------------------------

bool CanReadPrivate(const Object *member, Environment *reader) {
  if (!member) return false;
  if (member->memberKind != 2 && member->isPublic) return true;
  const Environment *holder = member->parentEnvironment;
  // A reader inside the holder's scope (a method of the object, a loop in it).
  for (Environment *e = reader; e; e = ParentOf(e))
    if (e == holder) return true;
  // A reader in a scope owned by an instance of the holder's class.
  const Object *readerOwner = ScopeOwner(reader);
  const Object *holderOwner = holder ? ScopeOwner(const_cast<Environment *>(holder)) : nullptr;
  if (readerOwner && holderOwner && readerOwner->tag == kTagInstance && holderOwner->tag == kTagInstance) {
    const ElementVector *a = readerOwner->environment ? readerOwner->environment->elements : nullptr;
    const ElementVector *b = holderOwner->environment ? holderOwner->environment->elements : nullptr;
    if (a && b && a->count > 0 && b->count > 0 && a->items[0] == b->items[0]) return true;
  }
  return false;
}

int32_t TestMemberForm(std::string_view text, Facts facts) {
  if (text.size() < 3) return 0;
  if (!(facts.known & kFactDot)) facts = ScanFacts(text);
  if (!(facts.present & kFactDot)) return 0;
  const uint32_t refused = kFactComma | kFactEquals | kFactLess | kFactGreater | kFactAnd | kFactOr;
  if (facts.present & refused) return 0;
  if (text.front() == '.' || text.back() == '.' || text.front() == '~') return 0;
  if (text.find("...") != std::string_view::npos) return 0;
  if (text == "this" || IsPlainSymbol(text) || TestNumericString(text, nullptr)) return 0;
  // One term in the evaluator's sense: no arithmetic operator at depth 0.
  if (facts.present & (kFactPlus | kFactMinus | kFactStar | kFactSlash | kFactCaret)) return 0;
  const char last = text.back();
  if (last == '!' || last == '\'') return 0;
  if (ContainsErrorSentinel(text)) return 0;
  int32_t range = -1;
  FindLastTopLevel(text, kOpen, kClose, "..", &range);
  const std::string_view behind = range >= 0 ? text.substr(static_cast<std::size_t>(range) + 2) : text;
  const int32_t dot = LastMemberDot(behind);
  if (dot >= 0) return 1;
  return range >= 0 ? 2 : 0;
}

Object *LookUpVariable(std::string_view name, Environment *env, int32_t *owned) {
  *owned = 0;
  RBSTNode *node = nullptr;
  if (env && env->scopeDepth > 0) {
    std::string shadow;
    MakeShadowKey(&shadow, name, env->scopeDepth);
    if (FindInChain(shadow.c_str(), env, &node)) return static_cast<Object *>(node->value);
  }
  if (!FindNameInChain(name, env, &node)) {
    *owned = 1;
    return NewAlgebraicObjectN(name.data(), name.size(), env);
  }
  auto *o = static_cast<Object *>(node->value);
  if (o->memberKind == 2 && !CanReadPrivate(o, env)) return Sentinel(kSentinelInvalidObject, env, owned);
  return o;
}

bool FindAssignableObject(std::string_view name, AssignableSlot *slot, Environment *env) {
  *slot = AssignableSlot{};
  if (!env || env->isScalar) return false;
  if (name == "return") {
    slot->scope = FrameScopeOf(env);
    slot->key = ReturnKey(env, '\x02');
    RBSTNode *n = FindOwn(slot->scope, slot->key.c_str());
    slot->existing = n ? static_cast<Object *>(n->value) : nullptr;
    slot->isNew = !slot->existing;
    return slot->scope != nullptr;
  }
  if (!IsBindableName(name)) return false;
  const int32_t depth = env->scopeDepth;
  RBSTNode *node = nullptr;
  if (depth > 0) {
    std::string shadow;
    MakeShadowKey(&shadow, name, depth);
    if (Environment *s = FindInChain(shadow.c_str(), env, &node)) {
      slot->scope = s;
      slot->key = std::move(shadow);
      slot->existing = static_cast<Object *>(node->value);
      slot->isShadow = true;
      return true;
    }
  }
  std::string key(name);
  if (Environment *s = FindInChain(key.c_str(), env, &node)) {
    auto *o = static_cast<Object *>(node->value);
    if (o->memberKind == 2 && !CanReadPrivate(o, env)) return false;
    if (o->memberKind == 0 && o->frameMark != 0 && o->creationDepth < depth) {
      // A variable of a calling frame: write a shadow beside it instead.
      slot->scope = s;
      MakeShadowKey(&slot->key, name, depth);
      slot->isShadow = true;
      slot->isNew = true;
      return true;
    }
    slot->scope = s;
    slot->key = std::move(key);
    slot->existing = o;
    return true;
  }
  slot->scope = env;
  slot->key = std::move(key);
  slot->isNew = true;
  return true;
}

bool StoreVariable(std::string_view name, Object *value, int32_t owned, Environment *env) {
  // The loop counter's case: a number into a bound number, outside any call
  // (no frame can shadow it). What FindAssignableObject would decide, with
  // the same tests, without building a slot.
  if (value && value->tag == kTagNumeric && value->payload && env && !env->isScalar && env->scopeDepth == 0 &&
      name != "return" && IsBindableName(name)) {
    RBSTNode *node = nullptr;
    if (FindNameInChain(name, env, &node)) {
      auto *o = static_cast<Object *>(node->value);
      const bool callerFrame = o->memberKind == 0 && o->frameMark != 0 && o->creationDepth < 0;
      if (o->tag == kTagNumeric && o->payload && !callerFrame && (o->memberKind != 2 || CanReadPrivate(o, env))) {
        *Numeric(o) = *Numeric(value);
        if (owned) FreeObject(value);
        return true;
      }
    }
  }
  AssignableSlot slot;
  if (!value || !FindAssignableObject(name, &slot, env)) {
    if (owned) FreeObject(value);
    return false;
  }
  if (slot.existing && slot.existing->tag == kTagNumeric && value->tag == kTagNumeric && slot.existing->payload &&
      value->payload) {
    // A number replacing a number: the entry keeps its record and takes the
    // value, which is what a replacement would leave behind, without a copy.
    *Numeric(slot.existing) = *Numeric(value);
    if (owned) FreeObject(value);
    return true;
  }
  Object *v = Adopt(value, owned, slot.scope);
  if (!v) return false;
  if (slot.existing) {
    // The entry keeps its place in the frames and its kind.
    v->memberKind = slot.existing->memberKind;
    v->isPublic = slot.existing->isPublic;
    v->frameMark = slot.existing->frameMark;
    if (slot.existing->creationDepth < v->creationDepth) v->creationDepth = slot.existing->creationDepth;
  } else {
    v->memberKind = 0;
    v->frameMark = 0;
    v->creationDepth = env->scopeDepth;
  }
  v->parentEnvironment = slot.scope;
  RBSTInsert(&slot.scope->objectTable, slot.scope->objectTable.root, slot.key.c_str(), v);
  if (slot.isNew && env->scopeDepth > 0 && name != "return") NoteFrameName(slot.scope, slot.key);
  return true;
}

uint8_t AssignStatement(std::string_view left, std::string_view right, Environment *env) {
  if (!env || left.empty()) return 0;
  // The common case first: a plain name (no comma, no operator in it).
  if (left != "return" && IsPlainSymbol(left)) {
    std::string name(left);
    if (!NoClassInReach(env) && FindClassInScopes(name.c_str(), env)) return 0;
    Object *value = nullptr;
    int32_t owned = 0;
    if (!EvaluateRight(right, env, &value, &owned)) return 0;
    return StoreVariable(left, value, owned, env) ? 1 : 0;
  }
  if (HasListComma(left)) return 0;
  const bool construct = IsConstructForm(left);
  if (!construct && !IsSingleFactor(left)) return 0;

  if (left == "return") {
    Object *value = nullptr;
    int32_t owned = 0;
    if (!EvaluateRight(right, env, &value, &owned)) return 0;
    return StoreVariable(left, value, owned, env) ? 1 : 0;
  }
  if (IsPlainSymbol(left)) {
    std::string name(left);
    if (FindClassInScopes(name.c_str(), env)) return 0;
    Object *value = nullptr;
    int32_t owned = 0;
    if (!EvaluateRight(right, env, &value, &owned)) return 0;
    return StoreVariable(left, value, owned, env) ? 1 : 0;
  }
  if (TestMemberForm(left) != 0) return AssignMember(left, right, env);
  if (left.front() == '#') {
    // A node reference: the target's "value" member takes the right side.
    int32_t towned = 0;
    Object *target = EvaluateExpression(left.substr(1), env, &towned);
    const Held heldTarget(target, towned);
    uint8_t status = 0;
    if (target && !towned && target->tag == kTagNode) {
      RBSTNode *n = MemberNode(target, "value");
      auto *old = n ? static_cast<Object *>(n->value) : nullptr;
      const bool empty = !old || (old->tag == kTagAlgebraic && std::strcmp(AlgebraicText(old), "0") == 0);
      if (empty || target->memberKind == 1) {
        Object *value = nullptr;
        int32_t owned = 0;
        if (EvaluateRight(right, env, &value, &owned)) status = StoreMember(target, "value", value, owned) ? 1 : 0;
      }
    }
    return status;
  }
  if (TestCallForm(left)) {
    // "m(1)(2)=..." on a matrix writes an element; any other call form on
    // the left defines a function.
    const std::size_t open = left.find('(');
    int32_t owned = 0;
    Object *m = LookUpVariable(left.substr(0, open), env, &owned);
    const bool isMatrix = m && !owned && m->tag == kTagMatrix;
    const Held held(m, owned);
    if (isMatrix) return AssignMember(left, right, env);
    return DefineFunction(left, right, env) ? 1 : 0;
  }
  // Construct forms on the left (class statements) belong to the class
  // machinery; without it the statement fails.
  return 0;
}

bool SplitMemberChain(std::string_view text, int32_t count, std::string_view *first, std::string_view *second) {
  const int32_t dot = count < 0 ? LastMemberDot(text) : FirstMemberDot(text);
  if (dot <= 0 || static_cast<std::size_t>(dot) + 1 >= text.size()) return false;
  *first = text.substr(0, static_cast<std::size_t>(dot));
  *second = text.substr(static_cast<std::size_t>(dot) + 1);
  return true;
}

int32_t ResolveMemberHolder(MemberHolder *out, std::string_view text, Environment *env) {
  *out = MemberHolder{};
  std::vector<std::string_view> parts;
  std::string_view rest = text;
  std::string_view a, b;
  while (SplitMemberChain(rest, 1, &a, &b)) {
    parts.push_back(a);
    rest = b;
  }
  parts.push_back(rest);
  for (std::string_view p : parts)
    if (!IsPlainSymbol(p) && p != "this") return 0;
  out->last = parts.back();
  if (parts.size() == 1) {
    out->table = env;
    return 0;
  }
  Object *holder = nullptr;
  if (parts[0] == "this") {
    holder = ScopeOwner(env);
  } else {
    int32_t owned = 0;
    holder = LookUpVariable(parts[0], env, &owned);
    if (owned) {
      FreeObject(holder);
      holder = nullptr;
    }
  }
  if (!holder) return 0;
  int32_t found = 1;
  for (std::size_t i = 1; i + 1 < parts.size(); ++i) {
    RBSTNode *n = MemberNode(holder, parts[i]);
    if (!n) return found;
    auto *m = static_cast<Object *>(n->value);
    if (!CanReadPrivate(m, env)) return found;
    holder = m;
    ++found;
  }
  out->holder = holder;
  out->table = holder->environment;
  out->found = found;
  return found;
}

bool HaveCompatibleTypes(const Object *a, const Object *b) {
  if (!a || !b) return false;
  if (a->tag == b->tag) {
    if (a->tag != kTagInstance) return true;
    return a->className && b->className && std::strcmp(a->className, b->className) == 0;
  }
  auto scalar = [](int32_t t) { return t == kTagAlgebraic || t == kTagNumeric || t == kTagBignum; };
  return (a->tag == kTagAlgebraic && scalar(b->tag)) || (b->tag == kTagAlgebraic && scalar(a->tag));
}

std::vector<int32_t> ParseIndexList(std::string_view text, Environment *env) {
  std::vector<int32_t> out{0};
  std::size_t i = 0;
  while (i < text.size()) {
    if (text[i] != '(') return {};
    int32_t depth = 0;
    std::size_t j = i;
    for (; j < text.size(); ++j) {
      if (text[j] == '(') ++depth;
      else if (text[j] == ')' && --depth == 0) break;
    }
    if (j >= text.size()) return {};
    std::vector<std::string_view> pieces;
    SplitArgumentList(text.substr(i + 1, j - i - 1), kOpen, kClose, ',', 0, &pieces);
    for (std::string_view p : pieces) {
      int32_t owned = 0;
      Object *o = EvaluateExpression(p, env, &owned);
      const Held held(o, owned);
      const bool ok = o && o->tag == kTagNumeric && Numeric(o)->im == 0.0 && std::abs(Numeric(o)->re) < 2147483647.0;
      const double v = ok ? Numeric(o)->re : 0;
      if (!ok) return {};
      out.push_back(static_cast<int32_t>(v));
    }
    i = j + 1;
  }
  out[0] = static_cast<int32_t>(out.size() - 1);
  if (out[0] == 0) return {};
  return out;
}

bool MutateObject(Object *o) {
  if (!o) return false;
  if (o->tag == kTagAlgebraic || o->tag == kTagNumeric || o->tag == kTagBignum) {
    Environment *parent = o->parentEnvironment;
    Environment *fresh = CopyEnvironment(G().scalarPrototype, parent, 0, 1);
    if (!fresh) return false;
    fresh->ownerObject = o;
    fresh->scopeKind = 0;
    fresh->scopeDepth = o->creationDepth;
    RBSTFreeValues(&fresh->functionTable, fresh->functionTable.root);
    RBSTFreeNodes(&fresh->functionTable, fresh->functionTable.root);
    fresh->functionTable = RBSTInitialize(FreeFunctionRecord, nullptr, nullptr, CopyFunctionRecord);
    // The old value becomes the member "val", of the same type and value.
    Object *val = CopyObject(o, fresh, 1);
    TerminateEnvironment(o->environment);
    o->environment = fresh;
    if (o->payload && o->freePayload) o->freePayload(o->payload);
    o->payload = nullptr;
    o->freePayload = nullptr;
    o->writePayload = nullptr;
    o->readPayload = nullptr;
    o->copyPayload = nullptr;
    o->tag = kTagMutant;
    if (val) {
      val->memberKind = 1;
      val->creationDepth = 0;
      val->parentEnvironment = fresh;
      RBSTInsert(&fresh->objectTable, fresh->objectTable.root, "val", val);
    }
    return true;
  }
  if (o->tag == kTagInstance && o->isPublic && o->environment && !o->environment->isScalar) {
    Environment *scope = o->environment;
    const std::string name = o->className ? o->className : "";
    // The destructor runs once, now; the mutant never runs it.
    if (o->destructorPending && !name.empty()) {
      o->destructorPending = 0;
      const std::string call = "_" + name + "()";
      CallText ct;
      if (ParseCall(call, 0, 1, &ct, scope)) {
        int32_t owned = 0;
        Object *r = RunCall(&ct, 0, scope, &owned, o);
        const Held discarded(r, owned);
      }
    }
    std::vector<std::string> dead;
    const std::string ctor = name + "(";
    const std::string dtor = "_" + name + "(";
    ForEachNode(scope->functionTable.root, [&](RBSTNode *n) {
      const std::string_view k(n->key);
      if (k.starts_with(ctor) || k.starts_with(dtor)) dead.emplace_back(k);
    });
    for (const std::string &k : dead) RBSTDelete(&scope->functionTable, scope->functionTable.root, k.c_str());
    WipeAndFree(o->className);
    o->className = nullptr;
    o->tag = kTagMutant;
    o->destructorPending = 0;
    if (scope->elements) {
      std::free(scope->elements->items);  // the slot names the class; it is not owned
      scope->elements->items = nullptr;
      scope->elements->count = 0;
    }
    return true;
  }
  return false;
}

uint8_t AssignMember(std::string_view left, std::string_view right, Environment *env) {
  std::string_view head, rest;
  // Matrix elements, fast road: "m(1)(2)=...". The element walk belongs to
  // the matrix module; until it takes the statement, the write fails.
  if (left.back() == ')' && FirstMemberDot(left) < 0) {
    const std::size_t open = left.find('(');
    if (open == std::string_view::npos || open == 0) return 0;
    int32_t owned = 0;
    Object *m = LookUpVariable(left.substr(0, open), env, &owned);
    const bool isMatrix = m && !owned && m->tag == kTagMatrix;
    const Held held(m, owned);
    if (!isMatrix) return 0;
    const std::string_view name = left.substr(0, open);
    return AssignMatrixElement(left.substr(open), right, env, [&] { return AssignableMatrix(name, env); });
  }
  // Matrix elements through a member chain: "m.(1)(2)=...", "m.(1)=[...]".
  if (SplitMemberChain(left, 1, &head, &rest) && rest.front() == '(' && AssignableMatrix(head, env))
    return AssignMatrixElement(rest, right, env, [&] { return AssignableMatrix(head, env); });
  if (!SplitMemberChain(left, -1, &head, &rest)) return 0;

  // The holder, in place when it is a chain of names.
  Object *holder = nullptr;
  int32_t holderOwned = 0;
  MemberHolder mh;
  if (head == "this") {
    holder = ScopeOwner(env);
  } else if (IsPlainSymbol(head)) {
    holder = LookUpVariable(head, env, &holderOwned);
  } else if (ResolveMemberHolder(&mh, left, env) > 0 && mh.holder) {
    holder = mh.holder;
  } else {
    holder = EvaluateExpression(head, env, &holderOwned);
  }
  if (!holder) return 0;
  uint8_t status = 0;
  if (holderOwned) {
    // Unbound names and temporaries take no members.
    FreeObject(holder);
    return 0;
  }
  if (holder->memberKind == 2 && !CanReadPrivate(holder, env)) return 0;

  switch (holder->tag) {
    case kTagAlgebraic:
    case kTagNumeric:
    case kTagBignum:
    case kTagMutant: {
      if (IsSentinelObject(holder)) return 0;
      if (holder->tag != kTagMutant && !MutateObject(holder)) return 0;
      if (TestCallForm(rest)) return DefineFunction(rest, right, holder->environment) ? 1 : 0;
      if (!IsBindableName(rest)) return 0;
      Object *value = nullptr;
      int32_t owned = 0;
      if (!EvaluateRight(right, env, &value, &owned)) return 0;
      status = StoreMember(holder, rest, value, owned) ? 1 : 0;
      break;
    }
    case kTagInstance: {
      RBSTNode *n = MemberNode(holder, rest);
      if (!n) return 0;
      auto *member = static_cast<Object *>(n->value);
      if (!CanReadPrivate(member, env)) return 0;
      Object *value = nullptr;
      int32_t owned = 0;
      if (!EvaluateRight(right, env, &value, &owned)) return 0;
      if (!HaveCompatibleTypes(member, value)) {
        if (owned) FreeObject(value);
        return 0;
      }
      status = StoreMember(holder, rest, value, owned) ? 1 : 0;
      break;
    }
    case kTagArray:
      status = AssignArrayElement(holder, rest, right, env);
      break;
    case kTagNode:
      if (rest == "value") {
        RBSTNode *n = MemberNode(holder, "value");
        auto *old = n ? static_cast<Object *>(n->value) : nullptr;
        if (!old || (old->tag == kTagAlgebraic && std::strcmp(AlgebraicText(old), "0") == 0)) {
          Object *value = nullptr;
          int32_t owned = 0;
          if (EvaluateRight(right, env, &value, &owned)) status = StoreMember(holder, "value", value, owned) ? 1 : 0;
        }
      }
      // Edges are statements of the node module.
      break;
    case kTagMatrix:
      if (rest.front() == '(') {
        // The holder was found in place through the chain; look it up again
        // after the right side has run, in case that rebound it.
        status = AssignMatrixElement(rest, right, env, [&]() -> Object * {
          if (head == "this") return ScopeOwner(env);
          int32_t own = 0;
          Object *o = IsPlainSymbol(head) ? LookUpVariable(head, env, &own) : EvaluateExpression(head, env, &own);
          if (own) {
            FreeObject(o);
            return nullptr;
          }
          return o;
        });
      }
      break;
    case kTagString:  // characters: the string module
    case kTagMap:     // the map's "add" handler
    default:
      status = 0;
      break;
  }
  return status;
}

Object *EvaluateMemberChain(std::string_view text, Environment *env, int32_t *owned) {
  *owned = 0;
  if (TestMemberForm(text) != 1) return Sentinel(kSentinelInvalidObject, env, owned);
  std::vector<std::string_view> parts;
  std::string_view rest = text, a, b;
  while (SplitMemberChain(rest, 1, &a, &b)) {
    parts.push_back(a);
    rest = b;
  }
  parts.push_back(rest);

  // Temporaries that members were read from stay alive until the end.
  std::vector<Object *> keep;
  auto finish = [&](Object *result, int32_t resultOwned) -> Object * {
    if (!resultOwned && !keep.empty()) {
      result = CopyObject(result, env, 1);
      resultOwned = 1;
    }
    // A method run on a temporary made its result in the temporary's scope;
    // that scope goes with the temporary, so the result moves to ours.
    for (Object *k : keep)
      if (result && k != result && result->parentEnvironment == k->environment) result->parentEnvironment = env;
    for (Object *k : keep)
      if (k != result) FreeObject(k);
    *owned = resultOwned;
    return result;
  };

  Object *current = nullptr;
  int32_t currentOwned = 0;
  const std::string_view headText = parts[0];
  if (headText == "this") {
    current = ScopeOwner(env);
    if (!current) return Sentinel(kSentinelInvalidObject, env, owned);
  } else if (IsPlainSymbol(headText)) {
    current = LookUpVariable(headText, env, &currentOwned);
    if (currentOwned) {
      // An unbound name has no members.
      FreeObject(current);
      return Sentinel(kSentinelInvalidObject, env, owned);
    }
  } else {
    current = EvaluateExpression(headText, env, &currentOwned);
  }
  if (!current) return Sentinel(kSentinelInvalidObject, env, owned);
  for (std::size_t i = 1; i < parts.size(); ++i) {
    if (currentOwned) keep.push_back(current);
    if (IsSentinelObject(current)) return finish(current, currentOwned);
    const std::string_view part = parts[i];
    if (part.front() == '(' && current->tag == kTagMatrix) {
      // "m.(1)(2)": the element, or the block the indices reach.
      const std::vector<int32_t> list = ParseIndexList(part, env);
      Object *e = list.empty() ? nullptr
                               : ReadMatrixElement(current, std::vector<int32_t>(list.begin() + 1, list.end()), env);
      if (!e) return finish(Sentinel(kSentinelInvalidObject, env, owned), 1);
      current = e;
      currentOwned = 1;
      continue;
    }
    if (TestCallForm(part)) {
      CallText call;
      if (!ParseCall(part, 0, 1, &call, env)) return finish(Sentinel(kSentinelInvalidObject, env, owned), 1);
      int32_t rown = 0;
      Object *r = RunCall(&call, 1, env, &rown, current);
      if (!r) {
        r = NewNumericValueObject(0, 0, env);
        rown = 1;
      }
      current = r;
      currentOwned = rown;
      continue;
    }
    if (current->tag == kTagArray) {
      // An element, by position: "a.0", "a.k".
      int32_t index = 0;
      Object *element = ArrayIndex(current, part, env, &index) ? ArrayElementAt(current, index) : nullptr;
      if (!element) return finish(Sentinel(kSentinelInvalidObject, env, owned), 1);
      current = element;
      currentOwned = 0;
      continue;
    }
    RBSTNode *n = IsPlainSymbol(part) ? MemberNode(current, part) : nullptr;
    if (!n) return finish(Sentinel(kSentinelInvalidObject, env, owned), 1);
    auto *m = static_cast<Object *>(n->value);
    if (!CanReadPrivate(m, env)) return finish(Sentinel(kSentinelInvalidObject, env, owned), 1);
    current = m;
    currentOwned = 0;
  }
  if (currentOwned && !keep.empty() && keep.back() == current) keep.pop_back();
  return finish(current, currentOwned);
}

}  // namespace qvx
