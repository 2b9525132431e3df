// An evaluator result with its ownership.
//
// Every evaluation answers an Object and an "owned" flag: 1 means the caller
// must free it, 0 that it still belongs to a table. Held keeps the two
// together and frees an owned object when it goes out of scope, so no path
// of a function has to remember to.
#pragma once

#include <cstdint>

#include "objects/object.h"

namespace qvx {

struct Held {
  Object *object = nullptr;
  int32_t owned = 0;
  Held() = default;
  Held(Object *o, int32_t own) : object(o), owned(own) {}
  Held(const Held &) = delete;
  Held &operator=(const Held &) = delete;
  ~Held() { Reset(); }
  void Reset() {
    if (owned) FreeObject(object);
    object = nullptr;
    owned = 0;
  }
  Object *Release(int32_t *own) {
    *own = owned;
    Object *o = object;
    object = nullptr;
    owned = 0;
    return o;
  }
  // Makes the held object the caller's (copying a borrowed one).
  Object *Take(Environment *env) {
    Object *o = object;
    if (!owned) o = CopyObject(o, env, 1);
    object = nullptr;
    owned = 0;
    return o;
  }
};

}  // namespace qvx
