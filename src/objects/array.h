// Array objects: any objects in order.
//
// An array's elements are ordinary Objects in its own objectTable, under
// generated keys: a blank and four random alphanumerics, so listings hide
// them. The order lives in the array's ElementVector, whose items are the
// table's nodes, so reading element k is one index and no search. Keys are
// drawn, not counted, so at most 62^4 - 1 elements fit.
//
// A table node moves under deletion (a node with two children takes its
// predecessor's key and value), so every routine that deletes elements
// rebuilds the items from the saved keys afterwards.
#pragma once

#include <cstdint>

#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

inline constexpr int32_t kMaxArrayElements = 14776335;  // 62^4 - 1 keys
// Arrays nest at most this many levels (an array of numbers is one level).
inline constexpr int32_t kMaxArrayNesting = 100;

// A new array of `count` elements (0 allowed), each an algebraic "0" element;
// null when count is negative or above kMaxArrayElements.
Object *NewArrayObject(int32_t count, Environment *parent);
// Element count (0 for null or a non-array).
int32_t ArrayCount(const Object *array);
// The element at a 0-based index, borrowed; null out of range.
Object *ArrayElementAt(const Object *array, int32_t index);
// Replaces the element at `index`; takes ownership of `element` (frees it
// when refused, also when it would nest arrays too deep).
bool SetArrayElement(Object *array, int32_t index, Object *element);
// Adds an element at the end; takes ownership of `element` (frees it when
// refused, e.g. at the limit).
bool AppendArrayElement(Object *array, Object *element);

// Changes the count: new slots hold algebraic "0", a shorter array loses its
// tail. False (and no change) outside 0..kMaxArrayElements.
bool ResizeArray(Object *array, int32_t count);
// Puts `element` before position `index` (0..count; count appends); takes
// ownership of `element`.
bool InsertArrayElement(Object *array, int32_t index, Object *element);
// Removes the elements at the given positions (out of range and repeated
// positions are ignored); the count of removed elements.
int32_t DeleteArrayElements(Object *array, const int32_t *positions, int32_t count);

// The method handlers of an array (the handler contract of every native
// method: the list counts one more than the arguments; in-place methods
// answer the array itself with *owned 0).
Object *ArraySizeMethod(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *ArrayEnlargeMethod(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *ArrayAppendMethod(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *ArrayInsertMethod(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *ArraySwapMethod(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *ArrayCropMethod(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *ArrayDeleteMethod(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *ArrayMatrixMethod(ArgumentList *arguments, Environment *env, int32_t *owned);

}  // namespace qvx
