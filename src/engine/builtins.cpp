// The commands that act on scopes: delete(), print(), type(), introspect(),
// mutate() and restore().
//
// They are native handlers of the default table. A handler runs in the scope
// of its call: the top level (or a loop's scope under it) for a plain call,
// the receiver's own scope for a method call such as `m.print()`, whose
// ownerObject is the receiver.
//
// `delete` can't free what it deletes at once: the value may still be held
// by the expression that called it (`f(x,delete(x))`). It takes the entry
// out of its table (a tombstone, purged by the next statement) and parks the
// object in the top level under a key that no script can type; the parked
// objects are freed when the script that deleted them ends.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "engine/evaluate.h"
#include "engine/program.h"
#include "objects/environment.h"
#include "objects/object.h"
#include "persistence/rbst.h"

namespace qvx {
namespace {

constexpr char kParkByte = '\x05';

// The object whose scope `env` is, unless it is the scope of a loop.
Object *Receiver(Environment *env) {
  if (!env || env->scopeKind != 0 || !env->ownerObject) return nullptr;
  auto *o = static_cast<Object *>(env->ownerObject);
  return o->memberKind == 3 ? nullptr : o;
}

// Where a command's result is made: never inside a scalar's borrowed scope.
Environment *ResultScope(Environment *env) {
  if (env && env->isScalar) {
    const Object *o = static_cast<Object *>(env->ownerObject);
    if (o && o->parentEnvironment) return o->parentEnvironment;
  }
  return env;
}

// The node of a table that holds `o`, found by walking the table of its
// scope; null for a temporary that no table holds.
RBSTNode *NodeOf(const Object *o) {
  Environment *scope = o ? o->parentEnvironment : nullptr;
  if (!scope || scope->isScalar || !scope->objectTable.root) return nullptr;
  RBSTNode *found = nullptr;
  WalkInOrder(scope->objectTable.root, [&](RBSTNode *n) {
    if (n->value == o) found = n;
    return !found;
  });
  return found;
}

// A named variable or member (not a literal, not an internal key).
bool IsNamedEntry(const RBSTNode *n) {
  const auto c = static_cast<unsigned char>(n->key[0]);
  return c >= 32 && c < 128 && c != ' ';
}

Object *Text(const std::string &text, Environment *env, int32_t *owned) {
  *owned = 1;
  return NewAlgebraicObject(text.c_str(), ResultScope(env));
}

}  // namespace

bool ParkDeletedObject(Object *o) {
  RBSTNode *n = NodeOf(o);
  if (!n || !IsNamedEntry(n)) return false;
  Environment *scope = o->parentEnvironment;
  Environment *top = TopLevelOf(scope);
  if (!top || top->isScalar) return false;
  n->value = nullptr;
  ++scope->deletedCount;
  char key[2 + 2 * sizeof(void *) + 1];
  std::snprintf(key, sizeof key, "%c%p", kParkByte, static_cast<void *>(o));
  RBSTInsert(&top->objectTable, top->objectTable.root, key, o);
  return true;
}

void FlushDeletedObjects(Environment *env) {
  Environment *top = TopLevelOf(env);
  if (!top || top->isScalar || !top->objectTable.root) return;
  std::vector<std::string> keys;
  // Parked keys sort before every typed name: walk the low end only.
  WalkInOrder(top->objectTable.root, [&](RBSTNode *n) {
    if (static_cast<unsigned char>(n->key[0]) > static_cast<unsigned char>(kParkByte)) return false;
    if (n->key[0] == kParkByte) keys.emplace_back(n->key);
    return true;
  });
  for (const std::string &k : keys) RBSTDelete(&top->objectTable, top->objectTable.root, k.c_str());
}

Object *DeleteCommand(ArgumentList *arguments, Environment *env, int32_t *owned) {
  int32_t count = 0;
  for (int32_t i = 1; arguments && i < arguments->count; ++i) {
    Object *o = arguments->items[i];
    if (!o) continue;
    if (o->tag == kTagString) {
      // delete("x"): the variable of that name.
      const std::string name = StringText(o) ? StringText(o) : "";
      if (IsPlainSymbol(name)) {
        Object *target = FindObjectInScopes(name.c_str(), env);
        if (target && ParkDeletedObject(target)) ++count;
        continue;
      }
    }
    if (ParkDeletedObject(o)) ++count;
  }
  *owned = 1;
  return NewNumericValueObject(count, 0, ResultScope(env));
}

Object *PrintCommand(ArgumentList *, Environment *env, int32_t *owned) {
  if (Object *self = Receiver(env)) return Text(ObjectToText(self, 0), env, owned);
  return Text(ListScope(TopLevelOf(env), 0, 0), env, owned);
}

Object *IntrospectCommand(ArgumentList *, Environment *env, int32_t *owned) {
  if (Object *self = Receiver(env)) {
    std::string text = ObjectToText(self, 0);
    if (self->environment && !self->environment->isScalar) {
      const std::string all = ListScope(self->environment, 0, 1);
      const std::size_t f = all.find("FUNCTIONS");
      if (f != std::string::npos) text += "\n" + all.substr(f);
    }
    return Text(text, env, owned);
  }
  // As a global function introspect() lists what print() lists.
  return Text(ListScope(TopLevelOf(env), 0, 0), env, owned);
}

Object *TypeCommand(ArgumentList *, Environment *env, int32_t *owned) {
  *owned = 1;
  std::string name;
  if (Object *self = Receiver(env)) {
    char *t = TypeName(self);
    name = t ? t : "";
    FreeString(t);
  } else if (env && env->scopeKind == 1) {
    name = "class";
  } else {
    name = "top_level";
  }
  return NewStringObject(name.c_str(), ResultScope(env));
}

Object *MutateCommand(ArgumentList *arguments, Environment *env, int32_t *owned) {
  int32_t count = 0;
  if (arguments && arguments->count <= 1) {
    // obj.mutate(): the receiver itself.
    if (Object *self = Receiver(env); self && self->isPublic && MutateObject(self)) ++count;
  }
  for (int32_t i = 1; arguments && i < arguments->count; ++i) {
    Object *o = arguments->items[i];
    RBSTNode *n = NodeOf(o);
    if (!n || !IsNamedEntry(n) || !o->isPublic) continue;
    if (MutateObject(o)) ++count;
  }
  *owned = 1;
  return NewNumericValueObject(count, 0, ResultScope(env));
}

Object *RestoreCommand(ArgumentList *, Environment *env, int32_t *owned) {
  ResetToDefaults(TopLevelOf(env), true);
  return Text("default assignments restored", env, owned);
}

}  // namespace qvx
