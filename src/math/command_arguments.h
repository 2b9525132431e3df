// What the array-answering commands share: reading the arguments of a call,
// the call's own text for arguments that can't be reduced yet, and arrays of
// numbers as results.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "libquorvex.h"
#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

// One argument of a call: its text (the value's text for a scalar, the text
// as written for anything else) and its value when it is a number.
struct CommandArgument {
  const Object *object = nullptr;
  std::string text;
  bool scalar = false;   // algebraic, split or numeric
  bool numeric = false;  // both parts are numbers
  Complex value{0.0, 0.0};
  bool Real() const { return numeric && value.im == 0.0; }
};

// Number of arguments of a call (the list's first item is a sentinel).
int32_t ArgumentCount(const ArgumentList *arguments);

// Reads every argument of the call. Scalars must pass the validity test
// (else ">invalid_expression<"); a non-scalar is accepted only where
// `containers` allows it (bit k for argument k), else ">invalid_object<".
// Null when all is well, else the sentinel object to answer with.
Object *ReadArguments(ArgumentList *arguments, Environment *env, uint32_t containers,
                      std::vector<CommandArgument> &out);

// "name(a,b,...)" as an algebraic object: what a call answers when its
// arguments can't be reduced to numbers yet.
Object *CallTextObject(std::string_view name, const std::vector<CommandArgument> &args, Environment *env);

// The answer to a request no input could justify.
Object *RefusedObject(Environment *env);

// An array of numeric objects from real values, or from complex ones. A
// cancellation while filling gives ">evaluation_aborted<"; a failed
// allocation ">invalid_expression<".
Object *RealArrayObject(const double *values, int32_t count, Environment *env);
Object *ComplexArrayObject(const Complex *values, int32_t count, Environment *env);

// The numbers of an array of numbers, or of a matrix of rank 1: false when
// the object is neither or an element isn't a real number.
bool ReadRealSequence(const Object *object, Environment *env, std::vector<double> &out);

}  // namespace qvx
