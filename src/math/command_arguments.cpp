// Arguments and results of the commands that answer with arrays.
//
// A scalar argument is read the way sum and int read theirs: a numeric
// object gives its value, an algebraic or split one its text, which is a
// number too when both of its parts are. Containers (arrays, matrices) are
// read only by the commands that take them, element by element.
#include "math/command_arguments.h"

#include <cmath>
#include <string>
#include <type_traits>
#include <vector>

#include "common/boundary.h"
#include "math/algebra.h"
#include "math/functions.h"
#include "objects/array.h"
#include "objects/matrix.h"
#include "objects/tensor.h"
#include "text/classify.h"
#include "text/sentinels.h"
#include "text/textarith.h"

namespace qvx {

int32_t ArgumentCount(const ArgumentList *arguments) {
  return arguments && arguments->items ? arguments->count - 1 : -1;
}

Object *ReadArguments(ArgumentList *arguments, Environment *env, uint32_t containers,
                      std::vector<CommandArgument> &out) {
  const int32_t n = ArgumentCount(arguments);
  out.assign(static_cast<std::size_t>(n < 0 ? 0 : n), CommandArgument{});
  for (int32_t k = 0; k < n; ++k) {
    const Object *o = arguments->items[k + 1];
    CommandArgument &a = out[static_cast<std::size_t>(k)];
    a.object = o;
    if (!o) return NewSentinelObject(kSentinelInvalidObject, env);
    switch (o->tag) {
      case kTagNumeric:
        a.scalar = a.numeric = true;
        a.value = {Numeric(o)->re, Numeric(o)->im};
        a.text = JoinComplexText(NumberText(a.value.re), NumberText(a.value.im));
        break;
      case kTagAlgebraic:
      case kTagSplit: {
        if (o->tag == kTagAlgebraic && !PassesValidityTest(o)) return NewSentinelObject(kSentinelInvalidExpression, env);
        const ComplexText z = o->tag == kTagAlgebraic
                                  ? ComplexText{AlgebraicText(o), "0"}
                                  : ComplexText{Split(o)->re ? Split(o)->re : "", Split(o)->im ? Split(o)->im : ""};
        a.scalar = true;
        a.text = JoinComplexText(z.re, z.im);
        if (HasErrorSentinel(a.text)) return NewSentinelObject(kSentinelInvalidExpression, env);
        a.numeric = IsNumericPair(z, &a.value.re, &a.value.im);
        break;
      }
      default:
        if (k >= 32 || !(containers & (1u << k))) return NewSentinelObject(kSentinelInvalidObject, env);
        // A container stands in a call text as it was written.
        if (arguments->texts) a.text.assign(arguments->texts[k]);
        break;
    }
  }
  return nullptr;
}

Object *CallTextObject(std::string_view name, const std::vector<CommandArgument> &args, Environment *env) {
  std::string out(name);
  out += '(';
  for (std::size_t k = 0; k < args.size(); ++k) {
    if (k) out += ',';
    out += args[k].text;
  }
  out += ')';
  return NewAlgebraicObject(out.c_str(), env);
}

Object *RefusedObject(Environment *env) { return NewSentinelObject(kSentinelInvalidExpression, env); }

namespace {

template <class Value>
Object *NumberArray(const Value *values, int32_t count, Environment *env) {
  if (count < 0 || count > kMaxArrayElements) return RefusedObject(env);
  Object *array = NewArrayObject(0, env);
  if (!array) return RefusedObject(env);
  for (int32_t i = 0; i < count; ++i) {
    if ((i & 1023) == 0 && CancelRequested(env)) {
      FreeObject(array);
      return NewSentinelObject(kSentinelAborted, env);
    }
    Complex z{0.0, 0.0};
    if constexpr (std::is_same_v<Value, Complex>) z = values[i];
    else z = {values[i], 0.0};
    Object *element = NewNumericValueObject(z.re, z.im, array->environment);
    if (!element || !AppendArrayElement(array, element)) {
      FreeObject(array);
      return RefusedObject(env);
    }
  }
  return array;
}

}  // namespace

Object *RealArrayObject(const double *values, int32_t count, Environment *env) {
  return NumberArray(values, count, env);
}

Object *ComplexArrayObject(const Complex *values, int32_t count, Environment *env) {
  return NumberArray(values, count, env);
}

bool ReadRealSequence(const Object *object, Environment *env, std::vector<double> &out) {
  out.clear();
  if (!object) return false;
  if (object->tag == kTagMatrix) {
    const Tensor *t = MatrixTensor(object);
    std::vector<int32_t> shape;
    if (!t || !TensorShape(t, shape) || shape.size() != 1) return false;
    std::vector<Complex> values;
    TensorFlatten(t, values);
    for (const Complex &z : values) {
      if (z.im != 0.0) return false;
      out.push_back(z.re);
    }
    return true;
  }
  if (object->tag != kTagArray) return false;
  const int32_t n = ArrayCount(object);
  out.reserve(static_cast<std::size_t>(n < 0 ? 0 : n));
  for (int32_t i = 0; i < n; ++i) {
    const Object *e = ArrayElementAt(object, i);
    if (!e) return false;
    double re = 0.0, im = 0.0;
    if (e->tag == kTagNumeric) {
      re = Numeric(e)->re;
      im = Numeric(e)->im;
    } else if (e->tag == kTagAlgebraic || e->tag == kTagSplit) {
      const ComplexText z = ObjectToComplexText("", e, env);
      if (!IsNumericPair(z, &re, &im)) return false;
    } else {
      return false;
    }
    if (im != 0.0) return false;
    out.push_back(re);
  }
  return true;
}

}  // namespace qvx
