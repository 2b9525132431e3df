// Scopes: creation, copy, merge, termination and the walks over their tables.
//
// Read environment.h first. Two invariants matter everywhere here: a
// ScalarEnvironment borrows its tables and seed from the prototype and frees
// only itself; and a scope frees the shared cancel flag and resource table
// only when it owns them (a top level). Walks over tables are iterative, as a
// table read from a damaged stream may be a long chain.
#include "objects/environment.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "common/globals.h"
#include "persistence/rbst.h"

namespace qvx {
namespace {

void FreeCell(void *p) { std::free(p); }
void *CopyCell(void *p) {
  if (!p) return nullptr;
  void *c = std::malloc(sizeof(void *));
  if (c) std::memcpy(c, p, sizeof(void *));
  return c;
}


void ReleaseTable(RBST *t) {
  if (!t->root) return;
  RBSTFreeValues(t, t->root);
  RBSTFreeNodes(t, t->root);
  t->root = nullptr;
  t->size = 0;
}

void ResetTable(RBST *t) {
  RBST fresh = RBSTInitialize(t->free_value, t->read_value, t->write_value, t->copy_value);
  ReleaseTable(t);
  *t = fresh;
}

void InitTables(Environment *e) {
  e->functionTable = RBSTInitialize(FreeFunctionRecord, nullptr, nullptr, CopyFunctionRecord);
  e->objectTable = RBSTInitialize(FreeObjectValue, nullptr, nullptr, nullptr);
  e->classTable = RBSTInitialize(FreeClassRecord, nullptr, nullptr, nullptr);
  e->temporaryNames = RBSTInitialize(FreeCell, nullptr, nullptr, CopyCell);
}

RBST *NewResourceTable() {
  auto *t = static_cast<RBST *>(std::malloc(sizeof(RBST)));
  if (t) *t = RBSTInitialize(nullptr, nullptr, nullptr, nullptr);
  return t;
}

void FreeResourceTable(RBST *t) {
  if (!t) return;
  if (t->root) RBSTFreeNodes(t, t->root);
  std::free(t);
}

char **CopyStrings(char **v) { return v ? CopyStringVector(v) : nullptr; }

ClassRecord *CopyClassRecord(const ClassRecord *r, Environment *holder) {
  auto *c = static_cast<ClassRecord *>(std::calloc(1, sizeof(ClassRecord)));
  if (!c) return nullptr;
  *c = *r;
  c->text = r->text ? DupText(r->text) : nullptr;
  c->holder = holder;
  c->links = r->links && r->copyLinks ? static_cast<ClassLinks *>(r->copyLinks(r->links)) : nullptr;
  c->environment = r->environment ? CopyEnvironment(r->environment, holder, 0, 1) : nullptr;
  if (c->environment) {
    c->environment->ownerObject = c;
    c->environment->scopeKind = 1;
  }
  return c;
}

}  // namespace

int32_t InitialSeed() {
  const int64_t t = static_cast<int64_t>(std::time(nullptr)) * 10;
  const int32_t v = static_cast<int32_t>(t & 0x7fffffff);
  return -v;
}

ElementVector *NewElementVector() {
  return static_cast<ElementVector *>(std::calloc(1, sizeof(ElementVector)));
}

void FreeElementVector(ElementVector *v) {
  if (!v) return;
  if (v->items) {
    if (v->freeItem)
      for (int32_t i = 0; i < v->count; ++i)
        if (v->items[i]) v->freeItem(v->items[i]);
    std::free(v->items);
  }
  std::free(v);
}

void FreeFunctionRecord(void *p) {
  auto *r = static_cast<FunctionRecord *>(p);
  if (!r) return;
  WipeAndFree(r->name);
  if (!r->handler) {
    if (r->parameters) FreeStringVector(r->parameters);
    if (r->defaults) FreeStringVector(r->defaults);
    WipeAndFree(r->body);
  }
  std::free(r);
}

void *CopyFunctionRecord(void *p) {
  auto *r = static_cast<FunctionRecord *>(p);
  if (!r) return nullptr;
  auto *c = static_cast<FunctionRecord *>(std::malloc(sizeof(FunctionRecord)));
  if (!c) return nullptr;
  *c = *r;
  c->name = r->name ? DupText(r->name) : nullptr;
  c->copied = 1;
  if (!r->handler) {
    c->parameters = CopyStrings(r->parameters);
    c->defaults = CopyStrings(r->defaults);
    c->body = r->body ? DupText(r->body) : nullptr;
  }
  return c;
}

void FreeClassRecord(void *p) {
  auto *r = static_cast<ClassRecord *>(p);
  if (!r) return;
  TerminateEnvironment(r->environment);
  WipeAndFree(r->text);
  if (r->links && r->freeLinks) r->freeLinks(r->links);
  std::free(r);
}

Environment *CreateEnvironment(void *owner, int32_t kind) {
  auto *e = static_cast<Environment *>(std::calloc(1, sizeof(Environment)));
  if (!e) return nullptr;
  e->seed = static_cast<int32_t *>(std::malloc(sizeof(int32_t)));
  if (e->seed) *e->seed = InitialSeed();
  e->significantDigits = 15;
  InitTables(e);
  e->history = NewHistoryList();
  e->elements = NewElementVector();
  e->ownerObject = owner;
  Environment *parent = nullptr;
  if (owner) {
    e->scopeKind = kind;
    if (kind == 0) {
      auto *o = static_cast<Object *>(owner);
      e->scopeDepth = o->creationDepth;
      parent = o->parentEnvironment;
    } else {
      auto *c = static_cast<ClassRecord *>(owner);
      e->scopeDepth = c->creationDepth;
      parent = c->holder;
    }
  }
  if (parent) {
    e->cancelFlag = parent->cancelFlag;
    e->resourceTable = parent->resourceTable;
    e->numericMode = parent->numericMode;
    e->splitMode = parent->splitMode;
    e->significantDigits = parent->significantDigits;
  } else {
    // A top level, or an object without a holder: owns the shared items.
    e->cancelFlag = static_cast<uint8_t *>(std::calloc(1, 1));
    e->resourceTable = NewResourceTable();
    e->ownsShared = 1;
    e->numericMode = 1;
    if (!owner) e->updateHistory = 1;
  }
  return e;
}

Environment *CreateScalarPrototype() {
  Environment *p = CreateEnvironment(nullptr, 0);
  if (!p) return nullptr;
  p->updateHistory = 0;
  return p;
}

void FreeScalarPrototype(Environment *p) { TerminateEnvironment(p); }

Environment *CreateScalarEnvironment(Object *owner, Environment *parent) {
  auto *e = static_cast<Environment *>(std::malloc(sizeof(Environment)));
  if (!e) return nullptr;
  InitScalarEnvironment(e, owner, parent);
  return e;
}

void InitScalarEnvironment(Environment *e, Object *owner, Environment *parent) {
  const Globals &g = G();
  if (g.scalarPrototype) {
    // Every number made gets this copy. With its size known, the compiler
    // emits a string-move instruction whose start-up costs more than the
    // copy; hiding the size makes it the library's vector copy.
    std::size_t size = sizeof(Environment);
    __asm__("" : "+r"(size));
    std::memcpy(e, g.scalarPrototype, size);
  } else {
    std::memset(e, 0, sizeof(Environment));
  }
  e->isScalar = 1;
  e->scopeText = nullptr;
  e->frameSuffix = nullptr;
  e->ownerObject = owner;
  e->scopeKind = 0;
  e->scopeDepth = owner ? owner->creationDepth : 0;
  e->ownsShared = 0;
  e->cancelFlag = parent ? parent->cancelFlag : nullptr;
  e->resourceTable = parent ? parent->resourceTable : nullptr;
}

void FreeScalarEnvironment(Environment *e) {
  if (!e) return;
  WipeAndFree(e->scopeText);
  std::free(e);
}

Environment *TopLevelOf(Environment *env) {
  // A scope chain is finite, but a damaged one might loop: bound the climb.
  for (int guard = 0; env && guard < (1 << 20); ++guard) {
    Environment *p = ParentOf(env);
    if (!p) return env;
    env = p;
  }
  return env;
}

void PurgeDeletedObjects(Environment *env) {
  if (!env || env->isScalar || env->deletedCount <= 0 || !env->objectTable.root) {
    if (env && !env->isScalar) env->deletedCount = 0;
    return;
  }
  std::vector<std::string> dead;
  ForEachNode(env->objectTable.root, [&dead](RBSTNode *n) {
    if (!n->value) dead.emplace_back(n->key);
  });
  for (const std::string &key : dead) {
    if (env->deletedCount <= 0) break;
    RBSTDelete(&env->objectTable, env->objectTable.root, key.c_str());
    --env->deletedCount;
  }
  env->deletedCount = 0;
}

void StampFrameMarks(Environment *env, int32_t depth) {
  if (!env || env->isScalar) return;
  if (env->ownerObject && env->scopeKind == 0) {
    switch (static_cast<Object *>(env->ownerObject)->tag) {
      case kTagNode: case kTagAlgebraic: case kTagMatrix: case kTagString: case kTagArray:
      case kTagReserved: case kTagMap: case kTagNumeric: case kTagBignum:
        return;
      default:
        break;
    }
  }
  PurgeDeletedObjects(env);
  const auto byte = static_cast<uint8_t>(depth & 0xff);
  ForEachNode(env->objectTable.root, [byte](RBSTNode *n) {
    auto *o = static_cast<Object *>(n->value);
    if (o && o->memberKind == 0) o->frameMark = byte;
  });
  ForEachNode(env->classTable.root, [byte](RBSTNode *n) {
    auto *c = static_cast<ClassRecord *>(n->value);
    if (c && c->system == 0) c->flag = byte;
  });
  ForEachNode(env->functionTable.root, [byte](RBSTNode *n) {
    auto *f = static_cast<FunctionRecord *>(n->value);
    if (f && f->system == 0) f->isPrivate = byte;
  });
}

int32_t EnvironmentSize(const Environment *env) {
  if (!env || env->isScalar) return 0;
  int32_t total = env->functionTable.size + env->objectTable.size + env->classTable.size;
  ForEachNode(env->objectTable.root, [&total](RBSTNode *n) {
    auto *o = static_cast<Object *>(n->value);
    if (o && o->environment && !o->environment->isScalar) total += EnvironmentSize(o->environment);
  });
  ForEachNode(env->classTable.root, [&total](RBSTNode *n) {
    auto *c = static_cast<ClassRecord *>(n->value);
    if (c && c->environment) total += EnvironmentSize(c->environment);
  });
  return total;
}

void SetEnvironmentSeed(int32_t value, Environment *env) {
  if (env && env->seed) *env->seed = value;
}

void RebindLinks(Environment *env) {
  if (!env || env->isScalar) return;
  ForEachNode(env->objectTable.root, [env](RBSTNode *n) {
    auto *o = static_cast<Object *>(n->value);
    if (!o) return;
    o->parentEnvironment = env;
    Environment *e = o->environment;
    if (!e) return;
    e->cancelFlag = env->cancelFlag;
    e->resourceTable = env->resourceTable;
    e->ownerObject = o;
    if (!e->isScalar) RebindLinks(e);
  });
  ForEachNode(env->classTable.root, [env](RBSTNode *n) {
    auto *c = static_cast<ClassRecord *>(n->value);
    if (!c) return;
    c->holder = env;
    if (c->environment) {
      c->environment->cancelFlag = env->cancelFlag;
      c->environment->resourceTable = env->resourceTable;
      c->environment->ownerObject = c;
      RebindLinks(c->environment);
    }
  });
}

ClassRecord *FindClass(const char *name, Environment *env) {
  if (!name) return nullptr;
  for (int guard = 0; env && guard < (1 << 20); ++guard) {
    if (env->isScalar || !env->classTable.root) return nullptr;
    if (RBSTNode *n = RBSTFind(env->classTable.root, name))
      if (n->value) return static_cast<ClassRecord *>(n->value);
    if (!env->ownerObject) return nullptr;  // a top level ends the search
    if (env->scopeKind != 0 && env->scopeKind != 1) return nullptr;
    env = ParentOf(env);
  }
  return nullptr;
}

ClassRecord *FindClassInScopes(const char *name, Environment *env) {
  for (int guard = 0; env && guard < (1 << 20); ++guard) {
    if (ClassRecord *c = FindClass(name, env)) return c;
    env = ParentOf(env);
  }
  return nullptr;
}

Object *FindObjectInScopes(const char *name, Environment *env) {
  for (int guard = 0; env && guard < (1 << 20); ++guard) {
    if (!env->isScalar && env->objectTable.root) {
      if (RBSTNode *n = RBSTFind(env->objectTable.root, name))
        if (n->value) return static_cast<Object *>(n->value);
    }
    env = ParentOf(env);
  }
  return nullptr;
}

Object *FindObjectInScopes(const char *name, std::size_t length, Environment *env) {
  char local[64];
  if (length < sizeof local) {
    std::memcpy(local, name, length);
    local[length] = '\0';
    return FindObjectInScopes(local, env);
  }
  std::string key(name, length);
  return FindObjectInScopes(key.c_str(), env);
}

}  // namespace qvx

using namespace qvx;

extern "C" {

QVX_API void TerminateEnvironment(Environment *env) noexcept {
  if (!env) return;
  if (env->isScalar) {
    FreeScalarEnvironment(env);
    return;
  }
  env->terminating = 1;
  ReleaseTable(&env->objectTable);
  ReleaseTable(&env->classTable);
  ReleaseTable(&env->functionTable);
  FreeElementVector(env->elements);
  env->elements = nullptr;
  FreeHistoryList(env->history);
  env->history = nullptr;
  ReleaseTable(&env->temporaryNames);
  WipeAndFree(env->scopeText);
  WipeAndFree(env->frameSuffix);
  std::free(env->seed);
  if (env->ownsShared) {
    std::free(env->cancelFlag);
    FreeResourceTable(env->resourceTable);
  }
  std::free(env);
}

QVX_API Environment *CopyEnvironment(Environment *source, Environment *parent, int32_t copyHistory,
                                     int32_t keepOwner) noexcept {
  if (!source || source->isScalar) return nullptr;
  return Guard(static_cast<Environment *>(nullptr), [&]() -> Environment * {
    PurgeDeletedObjects(source);
    if (!parent) parent = source;
    auto *e = static_cast<Environment *>(std::calloc(1, sizeof(Environment)));
    if (!e) return nullptr;
    e->numericMode = parent->numericMode;
    e->updateHistory = parent->updateHistory;
    e->splitMode = parent->splitMode;
    e->scopeDepth = parent->scopeDepth;
    e->significantDigits = source->significantDigits;
    InitTables(e);
    if (!keepOwner) {
      e->ownerObject = nullptr;
      e->scopeKind = 0;
      e->ownsShared = 1;
      e->cancelFlag = static_cast<uint8_t *>(std::calloc(1, 1));
      if (e->cancelFlag && parent->cancelFlag) *e->cancelFlag = *parent->cancelFlag;
      e->resourceTable = NewResourceTable();
    } else {
      e->ownerObject = source->ownerObject;
      e->scopeKind = source->scopeKind;
      e->cancelFlag = parent->cancelFlag;
      e->resourceTable = parent->resourceTable;
    }
    // Functions copy through the table's own callback.
    RBSTFreeNodes(&e->functionTable, e->functionTable.root);
    e->functionTable = RBSTCopy(&source->functionTable);
    ForEachNode(source->objectTable.root, [e](RBSTNode *n) {
      if (!n->value) return;
      if (Object *c = CopyObject(static_cast<Object *>(n->value), e, 1))
        RBSTInsert(&e->objectTable, e->objectTable.root, n->key, c);
    });
    ForEachNode(source->classTable.root, [e](RBSTNode *n) {
      if (!n->value) return;
      if (ClassRecord *c = CopyClassRecord(static_cast<ClassRecord *>(n->value), e))
        RBSTInsert(&e->classTable, e->classTable.root, n->key, c);
    });
    e->seed = static_cast<int32_t *>(std::malloc(sizeof(int32_t)));
    if (e->seed) *e->seed = source->seed ? *source->seed : InitialSeed();
    e->history = copyHistory ? CopyHistoryList(source->history) : NewHistoryList();
    e->elements = NewElementVector();
    const ElementVector *sv = source->elements;
    if (sv && e->elements) {
      e->elements->freeItem = sv->freeItem;
      e->elements->readItem = sv->readItem;
      e->elements->writeItem = sv->writeItem;
      e->elements->copyItem = sv->copyItem;
      auto *owner = static_cast<Object *>(source->ownerObject);
      const bool elementNodes =
          source->scopeKind == 0 && owner && (owner->tag == kTagString || owner->tag == kTagArray);
      if (elementNodes && sv->count > 0 && sv->items) {
        // An array's block has room for bit_ceil(count) items, which its
        // appends rely on (objects/array.cpp).
        const auto slots = owner->tag == kTagArray ? std::bit_ceil(static_cast<std::size_t>(sv->count))
                                                   : static_cast<std::size_t>(sv->count);
        e->elements->items = static_cast<void **>(std::calloc(slots, sizeof(void *)));
        if (e->elements->items) {
          e->elements->count = sv->count;
          for (int32_t i = 0; i < sv->count; ++i) {
            auto *node = static_cast<RBSTNode *>(sv->items[i]);
            e->elements->items[i] = node ? RBSTFind(e->objectTable.root, node->key) : nullptr;
          }
        }
      }
    }
    e->scopeText = source->scopeText ? DupText(source->scopeText) : nullptr;
    RebindLinks(e);
    return e;
  });
}

QVX_API void AddEnvironment(Environment *target, Environment *source, int32_t withHistory) noexcept {
  if (!target || !source || target == source || target->isScalar || source->isScalar) return;
  GuardVoid([&] {
    auto move = [](RBST *to, RBST *from) {
      std::vector<RBSTNode *> nodes;
      ForEachNode(from->root, [&nodes](RBSTNode *n) { nodes.push_back(n); });
      for (RBSTNode *n : nodes) {
        if (!n->value) continue;
        RBSTInsert(to, to->root, n->key, n->value);
        n->value = nullptr;
      }
      ResetTable(from);
    };
    move(&target->functionTable, &source->functionTable);
    move(&target->classTable, &source->classTable);
    move(&target->objectTable, &source->objectTable);
    source->deletedCount = 0;
    if (withHistory && source->history && target->history)
      for (HistoryItem *i = source->history->head ? source->history->head->next : nullptr;
           i && i != source->history->tail; i = i->next)
        AppendToHistoryList(target->history, i->input, i->output);
    RebindLinks(target);
  });
}

}  // extern "C"
