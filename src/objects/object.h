// The value record of the language, its constructors, copy and free.
//
// Every value is an Object: one tagged record of fixed shape. Two facts a
// reader must know first:
//  * Ownership is single: an Object belongs to one table, one element slot,
//    or one evaluator local that travels with an "owned" flag. There are no
//    reference counts; storing a value anywhere means copying it.
//  * Scalars (algebraic text, split complex text, numeric) do not own a scope:
//    their `environment` is a ScalarEnvironment, a record whose table roots
//    are borrowed from the process-wide scalar prototype. Freeing a scalar
//    frees that record, never the tables.
// The tag numbers are stored in files and never change.
#pragma once

#include <cstdint>
#include <string_view>

#include "libquorvex.h"

struct Object {
  Environment *environment;       // own scope; ScalarEnvironment for tags 1, 11, 12
  char *className;                // tag 8 only
  uint8_t frameMark;              // call depth stamped on plain variables
  uint8_t destructorPending;      // instance whose destructor is still to run
  uint8_t isPublic;               // reachable from outside its scope
  int32_t tag;
  int32_t memberKind;             // 0 plain, 1 member or element, 2 private member
  int32_t creationDepth;          // scopeDepth at creation (memberKind 0)
  Environment *parentEnvironment; // the scope that holds it; not owned
  void *payload;
  FreeValueFn freePayload;
  WriteValueFn writePayload;
  ReadValueFn readPayload;
  CopyValueFn copyPayload;
};

namespace qvx {

enum ObjectTag : int32_t {
  kTagNode = 0,
  kTagAlgebraic = 1,
  kTagMatrix = 2,
  kTagMutant = 3,
  kTagString = 4,
  kTagArray = 5,
  kTagClassDefinition = 6,
  kTagTopLevel = 7,
  kTagInstance = 8,
  kTagReserved = 9,
  kTagMap = 10,
  kTagSplit = 11,
  kTagNumeric = 12,
  kTagBignum = 13,
  kTagCount = 14,
};

// Payload of tag 12: the fast form of a complex number.
struct NumericValue {
  double re;
  double im;
};

// Payload of tag 11: a complex value as two texts (an empty text reads "0").
struct SplitValue {
  char *re;
  char *im;
};

inline bool IsScalarTag(int32_t tag) { return tag == kTagAlgebraic || tag == kTagSplit || tag == kTagNumeric; }

// Payload slot dispatch: each calls the object's own slot when it is set.
void freePayload(Object *object);
void writePayload(Object *object, void *stream, StreamMode mode);
void *readPayload(Object *object, void *stream, StreamMode mode);
void *copyPayload(const Object *object);

// Copy callback of text payloads and of text-valued tables.
void *StrDup(void *text);

// Constructors. All give memberKind 0, isPublic 1, frameMark 0,
// destructorPending 0, className null and creationDepth = parent's scopeDepth.
Object *NewAlgebraicObject(const char *text, Environment *parent);
Object *NewAlgebraicObjectN(const char *text, std::size_t length, Environment *parent);
Object *NewMethodAlgebraicObject(const char *text, Environment *parent);
// Null (and nothing allocated) unless both texts pass TestNumericString.
Object *NewNumericObject(const char *re, const char *im, Environment *parent);
// The fast path of the evaluator: a numeric object from two doubles.
Object *NewNumericValueObject(double re, double im, Environment *parent);
// Takes both texts of the pair (they are set to null in the source).
Object *NewSplitObject(SplitValue *pair, Environment *parent);
Object *NewSplitObjectFromTexts(char *re, char *im, Environment *parent);
Object *NewBignumObject(BitArrayFloat *value, Environment *parent);
Object *NewMutantObject(Environment *parent);
// Provisional forms of the container and reference types: the object and its
// own scope with the right tag; their contents are built by the modules of
// those types.
// A tag 5 object with an empty scope and no method table: the start of every
// array, which objects/array.h builds (NewArrayObject).
Object *NewArrayShell(Environment *parent);
// A string from its value (escapes already resolved).
Object *NewStringObject(const char *value, Environment *parent);
Object *NewNodeObject(Environment *parent);
Object *NewMapObject(Environment *parent);
Object *NewClassDefinitionObject(Environment *parent);
// A tag 7 object: a whole scope as a value.
Object *NewTopLevelObject(Environment *scope);

// A record of the given tag with a full scope of its own and nothing else:
// the start of every container type's constructor (matrix.h and the rest).
Object *NewScopedObject(int32_t tag, Environment *parent);

// Gives a scalar object its ScalarEnvironment (copied from the prototype).
void AttachScalarEnvironment(Object *object);

// Slot conversions: replace *slot by the converted object; the old one is
// freed when freeOld is set (it must then be owned by the caller).
void NumericToSplit(Object **slot, Environment *parent, int32_t freeOld);
void NumericToAlgebraic(Object **slot, Environment *parent);
void BignumToSplit(Object **slot, Environment *parent, int32_t freeOld);

// A sentinel text (">invalid_object<" and the like) as an algebraic object.
Object *NewSentinelObject(std::string_view sentinel, Environment *parent);

// Type name (new text), or the class name for tag 8 and unlisted tags.
char *TypeName(const Object *object);
int32_t TestSameType(const Object *a, const Object *b);

// A deep copy for the target scope, or null for null.
Object *CopyObject(const Object *source, Environment *target, int32_t detached);
// Null is ignored.
void FreeObject(Object *object);
// FreeObject as a table value callback.
void FreeObjectValue(void *object);

// Payload access helpers (no checks beyond the tag).
inline const char *AlgebraicText(const Object *o) { return static_cast<const char *>(o->payload); }
inline NumericValue *Numeric(const Object *o) { return static_cast<NumericValue *>(o->payload); }
inline SplitValue *Split(const Object *o) { return static_cast<SplitValue *>(o->payload); }
// The value of a string object.
const char *StringText(const Object *o);

}  // namespace qvx
