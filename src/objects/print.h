// Text forms of objects and scopes: the display form, for people, and the
// source form, which the engine can read back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

// Display form of one object; source form when sourceForm is set. Numbers
// print with `digits` significant digits.
std::string ObjectToText(const Object *object, int32_t sourceForm, int32_t digits = 15);
inline std::string ObjectText(const Object *object, int32_t sourceForm, int32_t digits = 15) {
  return ObjectToText(object, sourceForm, digits);
}
// The same as a new text (FreeString), its length in *length (may be null).
char *ObjectToText(const Object *object, int32_t sourceForm, int32_t digits, std::size_t *length);
// The listing of a scope: CLASSES, OBJECTS, FUNCTIONS.
std::string ListScope(Environment *env, int32_t sourceForm, int32_t showFunctions);

}  // namespace qvx
