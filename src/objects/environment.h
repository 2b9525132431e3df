// Scopes: the Environment record and its tables.
//
// An Environment is both a scope of the language and the body of every
// non-scalar object (its members, methods, classes and elements). Scopes are
// chained upward through owner links, not parent pointers: a scope owned by
// an Object (scopeKind 0) continues at that Object's parentEnvironment, a
// class's static scope (scopeKind 1) at its ClassRecord's holder, and a scope
// without owner is a top level. The cancel flag and the resource table are
// shared by the whole tree under a top level, which alone owns them.
#pragma once

#include <cstdint>
#include <string_view>

#include "libquorvex.h"
#include "objects/object.h"
#include "persistence/history.h"

// Ordered items of arrays, strings and nodes; one ClassRecord for an instance.
struct ElementVector {
  int32_t count;
  void **items;  // null when count is 0
  FreeValueFn freeItem;
  ReadValueFn readItem;
  WriteValueFn writeItem;
  CopyValueFn copyItem;
};

struct Environment {
  int32_t *seed;               // state of Ran2 for this scope, owned
  int32_t scopeDepth;          // call depth, 0 at top level
  int32_t deletedCount;        // tombstones in objectTable
  int32_t significantDigits;   // digits of number output
  uint8_t algebraFlags[2];     // algebra output state, copied together
  char *scopeText;             // optional, owned
  uint8_t splitMode;
  uint8_t updateHistory;       // 1: results go to history
  uint8_t numericMode;         // 1: numbers reduce to numeric objects
  uint8_t ownsShared;          // owns cancelFlag and resourceTable
  uint8_t *cancelFlag;         // shared with the tree of scopes
  uint8_t terminating;
  RBST functionTable;          // "name(n)" -> FunctionRecord
  RBST objectTable;            // name -> Object
  RBST classTable;             // name -> ClassRecord
  RBST temporaryNames;         // placeholder -> cell holding the Object
  RBST *resourceTable;         // shared with the top level
  int32_t scopeKind;           // 0 owned by an Object, 1 a class's static scope
  HistoryList *history;
  void *ownerObject;           // Object or ClassRecord; null at top level
  ElementVector *elements;
  // Engine state that no file stores.
  char *frameSuffix;           // makes a call frame's "return" key unique
  uint8_t isScalar;            // a ScalarEnvironment: tables are borrowed
};

// A handler of a native function or method: argument list, the scope it is
// called in, out-flag set to 1 when the caller owns the result.
// `texts`, when set, holds the source text of each argument as the call was
// written (texts[0] belongs to items[1]); handlers that need a name rather
// than its value (the variable of deriv, sum, int) read it there.
struct ArgumentList {
  int32_t count;
  Object **items;
  const std::string_view *texts = nullptr;
};
using NativeHandler = Object *(*)(ArgumentList *arguments, Environment *env, int32_t *owned);

struct FunctionRecord {
  int32_t parameterCount;
  int32_t reserved;
  char **parameters;     // StringVector; null in native functions
  char *name;
  uint8_t copied;
  uint8_t isPrivate;
  char *body;            // null in native functions
  char **defaults;       // StringVector; null in native functions
  int32_t system;        // 1 built-in method of a type
  NativeHandler handler; // null for user functions
};

// Method prototypes and derived classes of a class.
struct ClassLinks {
  RBST prototypes;
  KeyList derived;
};

struct ClassRecord {
  Environment *environment;  // static scope, scopeKind 1
  char *text;                // source text of the class
  uint8_t flag;
  int32_t system;
  Environment *holder;       // scope that holds the class
  int32_t creationDepth;
  ClassLinks *links;
  FreeValueFn freeLinks;
  WriteValueFn writeLinks;
  ReadValueFn readLinks;
  CopyValueFn copyLinks;
};

namespace qvx {

// New scope. A null owner makes a top level (own cancel flag and resource
// table, history on, numeric mode on). With an owner, kind 0 means an Object
// owns it, kind 1 a ClassRecord.
Environment *CreateEnvironment(void *owner, int32_t kind);
// A ScalarEnvironment for a scalar object (tables borrowed from the prototype).
Environment *CreateScalarEnvironment(Object *owner, Environment *parent);
// Fills an allocated record as CreateScalarEnvironment does (used to give a
// recycled scalar record a fresh scope).
void InitScalarEnvironment(Environment *env, Object *owner, Environment *parent);
void FreeScalarEnvironment(Environment *env);
// Allocates the prototype whose tables every scalar shares; Globals owns it.
Environment *CreateScalarPrototype();
void FreeScalarPrototype(Environment *prototype);

// The enclosing scope by the owner rule, or null at a top level. Inline:
// every name look-up climbs with it.
inline Environment *ParentOf(const Environment *env) {
  if (!env || !env->ownerObject) return nullptr;
  if (env->scopeKind == 0) return static_cast<Object *>(env->ownerObject)->parentEnvironment;
  if (env->scopeKind == 1) return static_cast<ClassRecord *>(env->ownerObject)->holder;
  return nullptr;
}
Environment *TopLevelOf(Environment *env);

// True while the host has set the cancel flag of the scope's tree. Read
// relaxed: another thread may set it at any moment, and the next poll sees it.
inline bool CancelRequested(const Environment *env) {
  return env && env->cancelFlag && __atomic_load_n(env->cancelFlag, __ATOMIC_RELAXED) != 0;
}

void PurgeDeletedObjects(Environment *env);
void StampFrameMarks(Environment *env, int32_t depth);
int32_t EnvironmentSize(const Environment *env);
void SetEnvironmentSeed(int32_t value, Environment *env);
// Sets every scope link of the objects and classes held in `env`.
void RebindLinks(Environment *env);

ClassRecord *FindClass(const char *name, Environment *env);
ClassRecord *FindClassInScopes(const char *name, Environment *env);

// Table callbacks.
void FreeFunctionRecord(void *record);
void *CopyFunctionRecord(void *record);
void FreeClassRecord(void *record);
void FreeElementVector(ElementVector *v);
ElementVector *NewElementVector();

// Looks a name up in the scope chain: the object, or null.
Object *FindObjectInScopes(const char *name, Environment *env);
Object *FindObjectInScopes(const char *name, std::size_t length, Environment *env);

// The time-based first seed.
int32_t InitialSeed();

}  // namespace qvx
