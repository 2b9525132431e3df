// Array objects: construction, element storage and the eight methods.
//
// Elements live in the array's objectTable under keys of a blank and four
// random alphanumerics drawn from the array scope's own seed; the
// ElementVector holds the table nodes in order. Two facts shape the code:
//  * A draw hits a used key with probability count / 62^4, so at any size a
//    script can reach in memory the draw costs one search. Near the limit a
//    few misses switch to a walk through the key space from the last draw,
//    which always ends: fewer keys are used than exist.
//  * Deleting a table node with two children moves its predecessor's key and
//    value into it, so a deletion rebuilds the items from the saved keys.
// The item block grows by doubling (realloc to the next power of two, a
// no-op while the block still fits), so appends one at a time are linear.
#include "objects/array.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "common/globals.h"
#include "objects/evaluator.h"
#include "objects/matrix.h"
#include "objects/print.h"
#include "persistence/rbst.h"
#include "text/scan.h"
#include "text/sentinels.h"

namespace qvx {
namespace {

constexpr int kRandomDraws = 16;
constexpr char kAlphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

bool IsArray(const Object *o) {
  return o && o->tag == kTagArray && o->environment && !o->environment->isScalar && o->environment->elements;
}

// Levels of arrays in arrays, counting this one. Copying, printing and
// freeing recurse once a level, so an element that would make the nesting
// deeper than kMaxArrayNesting is refused; every stored array obeys the
// limit, which bounds this walk too.
int32_t NestingDepth(const Object *o) {
  if (!IsArray(o)) return 0;
  int32_t deepest = 0;
  const ElementVector *v = o->environment->elements;
  for (int32_t i = 0; i < v->count; ++i) {
    const auto *n = static_cast<const RBSTNode *>(v->items[i]);
    const auto *e = n ? static_cast<const Object *>(n->value) : nullptr;
    if (e && e->tag == kTagArray) deepest = std::max(deepest, NestingDepth(e));
  }
  return deepest + 1;
}

bool TooDeep(const Object *element) {
  return element->tag == kTagArray && NestingDepth(element) >= kMaxArrayNesting;
}

// The next key in the order of the alphabet above, wrapping at the end.
void NextKey(char *key) {
  for (int i = 4; i >= 1; --i) {
    const char *p = std::strchr(kAlphabet, key[i]);
    const auto at = p ? static_cast<std::size_t>(p - kAlphabet) : 0;
    if (at + 1 < sizeof kAlphabet - 1) {
      key[i] = kAlphabet[at + 1];
      return;
    }
    key[i] = kAlphabet[0];
  }
}

bool KeyUsed(const Environment *env, const char *key) {
  return env->objectTable.root && RBSTFind(env->objectTable.root, key);
}

// A key that the table does not hold: " " and four alphanumerics.
bool DrawFreshKey(Environment *env, char key[6]) {
  int32_t localSeed = -1;
  int32_t *seed = env->seed ? env->seed : &localSeed;
  key[0] = ' ';
  for (int attempt = 0; attempt < kRandomDraws; ++attempt) {
    RandomStringAlphaNumIP(key + 1, 4, seed);
    if (!KeyUsed(env, key)) return true;
  }
  for (int32_t step = 0; step <= kMaxArrayElements; ++step) {
    NextKey(key);
    if (!KeyUsed(env, key)) return true;
  }
  return false;
}

void StampElement(Object *element, Environment *arrayEnv) {
  element->memberKind = 1;
  element->creationDepth = 0;
  element->isPublic = 1;
  element->frameMark = 0;
  element->destructorPending = 0;
  element->parentEnvironment = arrayEnv;
  if (element->environment && element->environment->isScalar) {
    element->environment->scopeDepth = 0;
    element->environment->cancelFlag = arrayEnv->cancelFlag;
  }
}

// An algebraic element keeps its printed text. Bytes 128..255 in it can only
// be the placeholders of the script that made the value (names are ASCII):
// they name that script's temporaries, so such a text is stored as the
// sentinel instead.
void StoreAlgebraicText(Object *element) {
  if (element->tag != kTagAlgebraic) return;
  std::string text = ObjectToText(element, 0);
  for (const char c : text)
    if (static_cast<unsigned char>(c) >= 128) {
      text = kSentinelInvalidExpression;
      break;
    }
  WipeAndFree(static_cast<char *>(element->payload));
  element->payload = DupText(text.c_str());
}

// Room for `count` items: the block is kept at the next power of two.
bool ReserveItems(ElementVector *v, int32_t count) {
  if (count <= 0) return true;
  const std::size_t slots = std::bit_ceil(static_cast<std::size_t>(count));
  auto *items = static_cast<void **>(std::realloc(v->items, slots * sizeof(void *)));
  if (!items) return false;
  v->items = items;
  return true;
}

// Enters `element` under a fresh key; the node, or null (element not taken).
RBSTNode *EnterElement(Object *array, Object *element) {
  Environment *env = array->environment;
  char key[6];
  if (!DrawFreshKey(env, key)) return nullptr;
  StampElement(element, env);
  RBSTInsert(&env->objectTable, env->objectTable.root, key, element);
  RBSTNode *n = env->objectTable.root ? RBSTFind(env->objectTable.root, key) : nullptr;
  return n && n->value == element ? n : nullptr;
}

// Removes the nodes of the marked items and keeps the order of the rest.
void RemoveMarked(Object *array, const std::vector<bool> &remove) {
  Environment *env = array->environment;
  ElementVector *v = env->elements;
  std::vector<std::string> kept, gone;
  kept.reserve(static_cast<std::size_t>(v->count));
  for (int32_t i = 0; i < v->count; ++i) {
    auto *n = static_cast<RBSTNode *>(v->items[i]);
    if (!n) continue;
    (remove[static_cast<std::size_t>(i)] ? gone : kept).emplace_back(n->key);
  }
  for (const std::string &key : gone) RBSTDelete(&env->objectTable, env->objectTable.root, key.c_str());
  int32_t count = 0;
  for (const std::string &key : kept)
    if (RBSTNode *n = RBSTFind(env->objectTable.root, key.c_str())) v->items[count++] = n;
  v->count = count;
  if (count == 0) {
    std::free(v->items);
    v->items = nullptr;
  }
}

// ---- method arguments

Object *ReceiverOf(Environment *env) {
  if (!env || env->isScalar || env->scopeKind != 0) return nullptr;
  auto *o = static_cast<Object *>(env->ownerObject);
  return IsArray(o) ? o : nullptr;
}

// The number an index argument stands for: an algebraic numeric text or a
// numeric object's real part. False for any other tag or a non-finite value.
bool IndexValue(const Object *o, double *value) {
  if (!o) return false;
  double d = 0.0;
  if (o->tag == kTagNumeric) {
    d = Numeric(o)->re;
  } else if (o->tag == kTagAlgebraic) {
    if (!AlgebraicText(o) || !TestNumericString(AlgebraicText(o), &d)) return false;
  } else {
    return false;
  }
  if (!std::isfinite(d)) return false;
  *value = Round(d);
  return true;
}

// A rounded index within [low, high].
bool IndexIn(const Object *o, double low, double high, int32_t *index) {
  double d = 0.0;
  if (!IndexValue(o, &d) || d < low || d > high) return false;
  *index = static_cast<int32_t>(d);
  return true;
}

// Where new objects made by a method belong: the scope that holds the array.
Environment *ResultScope(Object *array, Environment *env) {
  return array->parentEnvironment ? array->parentEnvironment : env;
}

Object *Itself(Object *array, int32_t *owned) {
  *owned = 0;
  return array;
}

}  // namespace

Object *NewArrayObject(int32_t count, Environment *parent) {
  if (count < 0 || count > kMaxArrayElements) return nullptr;
  Object *o = NewArrayShell(parent);
  if (!o) return nullptr;
  if (!o->environment || !o->environment->elements) {
    FreeObject(o);
    return nullptr;
  }
  if (G().evaluator && G().evaluator->fillMethods) G().evaluator->fillMethods(o->environment, kTagArray);
  if (!ResizeArray(o, count)) {
    FreeObject(o);
    return nullptr;
  }
  return o;
}

int32_t ArrayCount(const Object *array) { return IsArray(array) ? array->environment->elements->count : 0; }

Object *ArrayElementAt(const Object *array, int32_t index) {
  if (!IsArray(array)) return nullptr;
  const ElementVector *v = array->environment->elements;
  if (index < 0 || index >= v->count || !v->items) return nullptr;
  const auto *n = static_cast<const RBSTNode *>(v->items[index]);
  return n ? static_cast<Object *>(n->value) : nullptr;
}

bool SetArrayElement(Object *array, int32_t index, Object *element) {
  if (!element) return false;
  if (!IsArray(array) || index < 0 || index >= ArrayCount(array) || !array->environment->elements->items ||
      TooDeep(element)) {
    FreeObject(element);
    return false;
  }
  Environment *env = array->environment;
  auto *node = static_cast<RBSTNode *>(env->elements->items[index]);
  if (!node) {
    FreeObject(element);
    return false;
  }
  auto *old = static_cast<Object *>(node->value);
  FreeObject(old);
  node->value = element;
  StampElement(element, env);
  if (element->tag == kTagNode && old && element->environment && !element->environment->isScalar) {
    // A node element keeps its slot's name in a private "label" member.
    if (Object *label = NewAlgebraicObject(node->key + 1, element->environment)) {
      label->memberKind = 2;
      label->isPublic = 0;
      label->creationDepth = 0;
      RBST &t = element->environment->objectTable;
      RBSTInsert(&t, t.root, "label", label);
    }
    return true;
  }
  StoreAlgebraicText(element);
  return true;
}

bool AppendArrayElement(Object *array, Object *element) {
  if (!element) return false;
  const int32_t count = ArrayCount(array);
  if (!IsArray(array) || count >= kMaxArrayElements || TooDeep(element) ||
      !ReserveItems(array->environment->elements, count + 1)) {
    FreeObject(element);
    return false;
  }
  RBSTNode *n = EnterElement(array, element);
  if (!n) {
    FreeObject(element);
    return false;
  }
  ElementVector *v = array->environment->elements;
  v->items[v->count++] = n;
  StoreAlgebraicText(element);
  return true;
}

bool ResizeArray(Object *array, int32_t count) {
  if (!IsArray(array) || count < 0 || count > kMaxArrayElements) return false;
  const int32_t present = ArrayCount(array);
  if (count < present) {
    std::vector<bool> remove(static_cast<std::size_t>(present), false);
    std::fill(remove.begin() + count, remove.end(), true);
    RemoveMarked(array, remove);
    return true;
  }
  if (!ReserveItems(array->environment->elements, count)) return false;
  for (int32_t i = present; i < count; ++i) {
    // A cancelled enlargement stops with the elements it has made.
    if ((i & 1023) == 0 && CancelRequested(array->environment)) return true;
    if (!AppendArrayElement(array, NewAlgebraicObject("0", array->environment))) return false;
  }
  return true;
}

bool InsertArrayElement(Object *array, int32_t index, Object *element) {
  if (!element) return false;
  const int32_t count = ArrayCount(array);
  if (!IsArray(array) || index < 0 || index > count) {
    FreeObject(element);
    return false;
  }
  if (!AppendArrayElement(array, element)) return false;
  ElementVector *v = array->environment->elements;
  void *last = v->items[count];
  std::memmove(v->items + index + 1, v->items + index, static_cast<std::size_t>(count - index) * sizeof(void *));
  v->items[index] = last;
  return true;
}

int32_t DeleteArrayElements(Object *array, const int32_t *positions, int32_t count) {
  const int32_t present = ArrayCount(array);
  if (!IsArray(array) || !positions || count <= 0 || present == 0) return 0;
  std::vector<bool> remove(static_cast<std::size_t>(present), false);
  int32_t removed = 0;
  for (int32_t i = 0; i < count; ++i) {
    const int32_t p = positions[i];
    if (p < 0 || p >= present || remove[static_cast<std::size_t>(p)]) continue;
    remove[static_cast<std::size_t>(p)] = true;
    ++removed;
  }
  if (removed) RemoveMarked(array, remove);
  return removed;
}

// ---- methods

Object *ArraySizeMethod(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  Object *array = ReceiverOf(env);
  if (!arguments || arguments->count != 1 || !array) return nullptr;
  *owned = 1;
  return NewNumericValueObject(ArrayCount(array), 0.0, ResultScope(array, env));
}

Object *ArrayEnlargeMethod(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  Object *array = ReceiverOf(env);
  if (!arguments || arguments->count != 2 || !array) return nullptr;
  int32_t size = 0;
  if (!IndexIn(arguments->items[1], 1, kMaxArrayElements, &size)) {
    *owned = 1;
    return NewSentinelObject(kSentinelInvalidExpression, ResultScope(array, env));
  }
  ResizeArray(array, size);
  return Itself(array, owned);
}

Object *ArrayAppendMethod(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  Object *array = ReceiverOf(env);
  if (!arguments || arguments->count < 2 || !array) return nullptr;
  if (ArrayCount(array) > kMaxArrayElements - (arguments->count - 1)) {
    *owned = 1;
    return NewSentinelObject(kSentinelInvalidExpression, ResultScope(array, env));
  }
  // Copies first: an argument may be the array itself or one of its elements.
  std::vector<Object *> copies;
  for (int32_t i = 1; i < arguments->count; ++i)
    copies.push_back(CopyObject(arguments->items[i], array->environment, 1));
  for (Object *c : copies) AppendArrayElement(array, c);
  return Itself(array, owned);
}

Object *ArrayInsertMethod(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  Object *array = ReceiverOf(env);
  if (!arguments || arguments->count != 3 || !array) return nullptr;
  int32_t index = 0;
  if (IndexIn(arguments->items[2], 0, ArrayCount(array), &index) && ArrayCount(array) < kMaxArrayElements)
    InsertArrayElement(array, index, CopyObject(arguments->items[1], array->environment, 1));
  return Itself(array, owned);
}

Object *ArraySwapMethod(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  Object *array = ReceiverOf(env);
  if (!arguments || arguments->count != 3 || !array) return nullptr;
  const int32_t last = ArrayCount(array) - 1;
  int32_t i = 0, j = 0;
  if (IndexIn(arguments->items[1], 0, last, &i) && IndexIn(arguments->items[2], 0, last, &j))
    std::swap(array->environment->elements->items[i], array->environment->elements->items[j]);
  return Itself(array, owned);
}

Object *ArrayCropMethod(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  Object *array = ReceiverOf(env);
  if (!arguments || arguments->count != 3 || !array) return nullptr;
  const int32_t last = ArrayCount(array) - 1;
  int32_t i = 0, j = 0;
  if (!IndexIn(arguments->items[1], 0, last, &i) || !IndexIn(arguments->items[2], i, last, &j)) return nullptr;
  Object *crop = NewArrayObject(0, ResultScope(array, env));
  if (!crop) return nullptr;
  for (int32_t k = i; k <= j; ++k) {
    if ((k & 1023) == 0 && CancelRequested(env)) {
      FreeObject(crop);
      *owned = 1;
      return NewSentinelObject(kSentinelAborted, ResultScope(array, env));
    }
    AppendArrayElement(crop, CopyObject(ArrayElementAt(array, k), crop->environment, 1));
  }
  *owned = 1;
  return crop;
}

Object *ArrayDeleteMethod(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  Object *array = ReceiverOf(env);
  if (!arguments || arguments->count < 2 || !array) return nullptr;
  std::vector<int32_t> positions;
  const int32_t last = ArrayCount(array) - 1;
  for (int32_t k = 1; k < arguments->count; ++k) {
    int32_t p = 0;
    if (!IndexIn(arguments->items[k], 0, last, &p)) return Itself(array, owned);
    positions.push_back(p);
  }
  DeleteArrayElements(array, positions.data(), static_cast<int32_t>(positions.size()));
  return Itself(array, owned);
}

// The conversion to a matrix belongs with the matrix objects; until they
// exist it answers the sentinel of a missing object.
Object *ArrayMatrixMethod(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  Object *array = ReceiverOf(env);
  if (!arguments || arguments->count != 1 || !array) return nullptr;
  *owned = 1;
  return MatrixFromArray(array, ResultScope(array, env));
}

}  // namespace qvx
