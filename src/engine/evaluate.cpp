// The evaluator: operators and numeric operands.
//
// Read evaluate.h first. Precedence is the order of the searches: logic and
// comparison (EvaluateArithmetic), then "+" and "-" (rightmost, "+" first),
// "*" then "/" (rightmost), and "^" (leftmost, so it associates to the
// right). The asymmetries are the language's: a-b+c splits at "+" and a/b*c
// at "*".
//
// Three things keep a text-based evaluator affordable and safe:
//  * Halves are views, never copies; one pass (ScanFacts) learns which
//    operators are absent at depth 0, and absent operators are not searched
//    for again in a half.
//  * A chain of left-associative operators ("a+b-c+...", "a*b/c*...") is
//    walked in a loop instead of one recursion a term, so a long sum costs
//    neither stack nor a search of the whole text at every term.
//  * Every entry checks the remaining stack and a per-script budget of
//    scanned bytes, and answers a sentinel instead of crashing or hanging.
#include "engine/evaluate.h"
#include "engine/program.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "text/scan.h"
#include "text/textarith.h"
#include "objects/array.h"
#include "objects/environment.h"
#include "objects/matrix.h"
#include "objects/tensor.h"

namespace qvx {
namespace {

// ---------------------------------------------------------------------------
// Small helpers.


// A byte search for the short texts the evaluator mostly sees, without a
// library call; long texts take memchr.
inline bool HasByte(std::string_view t, char c) {
  if (t.size() > 32) return std::memchr(t.data(), c, t.size()) != nullptr;
  for (const char x : t)
    if (x == c) return true;
  return false;
}
inline bool IsSignOrOpen(char c) { return c == '+' || c == '-' || c == '('; }
// True if an arithmetic operator byte stands anywhere in the text, searched
// from the right (where the next operator of a chain stands).
inline bool HasArithmeticByte(std::string_view t) {
  for (std::size_t i = t.size(); i-- > 0;) {
    const char c = t[i];
    if (c == '+' || c == '-' || c == '*' || c == '/' || c == '^') return true;
  }
  return false;
}

Facts Inherit(const Facts &f) { return Facts{f.known & ~f.present, 0}; }

// A borrowed operand points into a scope table. When the text still to be
// evaluated can run an assignment or a call, that may replace the binding and
// free the object, so the operand is copied first.
void KeepAcross(Held &h, std::string_view rest, Environment *env) {
  if (h.owned || !h.object) return;
  bool risky = false;
  for (const char c : rest) risky |= (c == '(') | (c == '=') | (c == ':');
  if (!risky) return;
  h.object = CopyObject(h.object, env, 1);
  h.owned = h.object != nullptr;
}

bool IsSentinelObject(const Object *o) {
  return o && o->tag == kTagAlgebraic && o->payload && std::strchr(AlgebraicText(o), '>') &&
         ContainsErrorSentinel(AlgebraicText(o));
}

Object *NewText(std::string_view text, Environment *env) {
  return NewAlgebraicObjectN(text.data(), text.size(), env);
}

// An object from a result text: a number when the text is one.
Object *ObjectFromText(std::string_view text, Environment *env) {
  double v = 0.0;
  if (TestNumericString(text, &v)) return NewNumericValueObject(v, 0.0, env);
  return NewText(text, env);
}

// Texts of a scalar as a real and an imaginary part.
struct Parts {
  std::string re, im;
};
bool ScalarParts(const Object *o, Parts *p) {
  switch (o->tag) {
    case kTagNumeric:
      p->re = NumberText(Numeric(o)->re);
      p->im = NumberText(Numeric(o)->im);
      return true;
    case kTagSplit:
      p->re = Split(o)->re ? Split(o)->re : "";
      p->im = Split(o)->im ? Split(o)->im : "";
      return true;
    case kTagAlgebraic:
      p->re = AlgebraicText(o);
      p->im = "0";
      return true;
    default:
      return false;
  }
}

bool IsZeroText(std::string_view t) {
  double v = 0.0;
  return t.empty() || (TestNumericString(t, &v) && v == 0.0);
}

// Brings an operand to a scalar form (11, 12 or 13): algebraic text becomes a
// split pair with imaginary "0"; other non-scalar tags fail (null).
Object *ReduceToScalar(Held &h, Environment *env) {
  Object *o = h.object;
  if (!o) return nullptr;
  if (o->tag == kTagNumeric || o->tag == kTagSplit || o->tag == kTagBignum) return o;
  if (o->tag != kTagAlgebraic) return nullptr;
  Object *s = NewSplitObjectFromTexts(DupText(AlgebraicText(o)), DupText("0"), env);
  h.Reset();
  h.object = s;
  h.owned = 1;
  return s;
}

// Converts a numeric or bignum operand to a split pair in place.
void ToSplit(Held &h, Environment *env) {
  if (!h.object || h.object->tag == kTagSplit) return;
  Object *o = h.object;
  Object *s = nullptr;
  if (o->tag == kTagNumeric) {
    s = NewSplitObjectFromTexts(DupText(NumberText(Numeric(o)->re).c_str()),
                                DupText(NumberText(Numeric(o)->im).c_str()), env);
  } else if (o->tag == kTagBignum) {
    Object *copy = h.owned ? o : CopyObject(o, env, 1);
    if (h.owned) h.object = nullptr, h.owned = 0;
    BignumToSplit(&copy, env, 1);
    s = copy;
  } else {
    Parts p;
    if (ScalarParts(o, &p)) s = NewSplitObjectFromTexts(DupText(p.re.c_str()), DupText(p.im.c_str()), env);
  }
  h.Reset();
  h.object = s;
  h.owned = 1;
}

Object *SplitResult(std::string re, std::string im, Environment *env) {
  double a = 0.0, b = 0.0;
  if (TestNumericString(re.empty() ? "0" : re, &a) && TestNumericString(im.empty() ? "0" : im, &b))
    return NewNumericValueObject(a, b, env);
  return NewSplitObjectFromTexts(DupText(re.c_str()), DupText(im.c_str()), env);
}

// ---------------------------------------------------------------------------
// Operator handlers of the dispatch table.

Object *HandleNumeric(Object *l, Object *r, char op, Environment *env, const OperationTexts *texts) {
  const Complex a{Numeric(l)->re, Numeric(l)->im};
  const Complex b{Numeric(r)->re, Numeric(r)->im};
  Complex z{0.0, 0.0};
  switch (op) {
    case '+': z = Complex{a.re + b.re, a.im + b.im}; break;
    case '-': z = Complex{a.re - b.re, a.im - b.im}; break;
    // The three-multiplication product; it rounds differently from the
    // four-multiplication one, and results depend on it.
    case '*': z = MulC(a, b); break;
    case '/': z = DivC(a, b); break;
    case '^': z = PowC(a, b); break;
    default: return NewSentinelObject(kSentinelInvalidExpression, env);
  }
  if (std::isfinite(z.re) && std::isfinite(z.im)) return NewNumericValueObject(z.re, z.im, env);
  // A division by zero and the like stay as the text of the operation.
  return NewText(texts ? texts->whole : std::string_view(), env);
}

Object *HandleSplit(Object *l, Object *r, char op, Environment *env, const OperationTexts *) {
  const SplitValue *a = Split(l), *b = Split(r);
  const std::string_view ar = a->re ? a->re : "", ai = a->im ? a->im : "";
  const std::string_view br = b->re ? b->re : "", bi = b->im ? b->im : "";
  switch (op) {
    case '+': return SplitResult(AddTexts(ar, br), AddTexts(ai, bi), env);
    case '-': return SplitResult(SubtractTexts(ar, br), SubtractTexts(ai, bi), env);
    case '*':
      return SplitResult(SubtractTexts(MultiplyTexts(ar, br), MultiplyTexts(ai, bi)),
                         AddTexts(MultiplyTexts(ar, bi), MultiplyTexts(ai, br)), env);
    case '/':
      if (IsZeroText(bi)) return SplitResult(DivideTexts(ar, br), DivideTexts(ai, br), env);
      return SplitResult(DivideTexts(JoinComplexText(ar, ai), JoinComplexText(br, bi)), "0", env);
    case '^':
      if (IsZeroText(ai) && IsZeroText(bi)) return SplitResult(PowerTexts(ar, br), "0", env);
      return SplitResult(PowerTexts(JoinComplexText(ar, ai), JoinComplexText(br, bi)), "0", env);
    default:
      return NewSentinelObject(kSentinelInvalidExpression, env);
  }
}

Object *HandleGeneric(Object *l, Object *r, char op, Environment *env, const OperationTexts *texts) {
  // A sentinel flows up unchanged.
  if (IsSentinelObject(l)) return NewAlgebraicObject(AlgebraicText(l), env);
  if (IsSentinelObject(r)) return NewAlgebraicObject(AlgebraicText(r), env);
  Held a(l, 0), b(r, 0);
  if (!ReduceToScalar(a, env) || !ReduceToScalar(b, env))
    return NewSentinelObject(kSentinelInvalidExpression, env);
  if (a.object->tag == kTagNumeric && b.object->tag == kTagNumeric)
    return HandleNumeric(a.object, b.object, op, env, texts);
  if (a.object->tag == kTagBignum || b.object->tag == kTagBignum) {
    // Big-number arithmetic comes with its module; until then the pair
    // meets as texts.
    ToSplit(a, env);
    ToSplit(b, env);
  }
  if (a.object->tag != kTagSplit) ToSplit(a, env);
  if (b.object->tag != kTagSplit) ToSplit(b, env);
  if (!a.object || !b.object) return NewSentinelObject(kSentinelInvalidExpression, env);
  return HandleSplit(a.object, b.object, op, env, texts);
}

Object *HandleString(Object *l, Object *r, char op, Environment *env, const OperationTexts *) {
  if (op != '+') return NewSentinelObject(kSentinelInvalidObject, env);
  std::string text;
  for (const Object *o : {l, r}) {
    if (o->tag == kTagString) text += StringText(o);
    else text += ObjectToText(o, 0);
  }
  SpendBudget(text.size());
  return NewStringObject(text.c_str(), env);
}

// Matrix with matrix, and matrix with a number on either side.
Object *HandleMatrix(Object *l, Object *r, char op, Environment *env, const OperationTexts *) {
  return MatrixOperation(l, r, op, env);
}

}  // namespace

// ---------------------------------------------------------------------------
// Forms that later modules evaluate. Until they are present, each answers as
// a missing implementation does: with its own text.

namespace {

Object *AnswerWithText(std::string_view text, Environment *env, int32_t *owned) {
  *owned = 1;
  return NewText(text, env);
}

// Variable read: the object bound to the name in the scope chain (borrowed),
// or the name itself as an algebraic value.
Object *ReadVariable(std::string_view name, Environment *env, int32_t *owned) {
  return LookUpVariable(name, env, owned);
}

// A call: a null answer (the call yielded nothing) reads as 0.
Object *CallValue(std::string_view text, Environment *env, int32_t *owned) {
  CallText call;
  if (!ParseCall(text, 0, 1, &call, env)) return AnswerWithText(text, env, owned);
  Object *r = RunCall(&call, 0, env, owned);
  if (!r) {
    *owned = 1;
    return NewNumericValueObject(0.0, 0.0, env);
  }
  return r;
}

// "this": the object whose scope this is; at a top level the whole scope.
Object *ThisValue(Environment *env, int32_t *owned) {
  for (Environment *e = env; e; e = ParentOf(e)) {
    if (!e->ownerObject) {
      *owned = 1;
      return NewTopLevelObject(e);
    }
    if (e->scopeKind == 0 && static_cast<Object *>(e->ownerObject)->memberKind != 3) {
      *owned = 0;
      return static_cast<Object *>(e->ownerObject);
    }
  }
  return AnswerWithText("this", env, owned);
}

bool IsBlockForm(std::string_view t) {
  return t.size() >= 2 && t.front() == ':' && t.back() == ';' && CountOuterPairs(t, ':', ';') > 0;
}
bool IsSquareForm(std::string_view t) {
  return t.size() >= 2 && t.front() == '[' && t.back() == ']' && CountOuterPairs(t, '[', ']') > 0;
}
bool IsReferenceForm(std::string_view t) { return !t.empty() && (t.front() == '#' || t.front() == '@'); }
// Member access "a.b" (not a range "a..b"): evaluated by the member module.
bool IsMemberForm(std::string_view t) { return TestMemberForm(t) != 0; }

// The body of a construct form "head:body;" whose ":" at `colon` is closed
// by the text's last ";", or nothing ("array:3;*2" is arithmetic).
bool ConstructBody(std::string_view t, std::size_t colon, std::string_view *body) {
  if (t.back() != ';') return false;
  int32_t depth = 0;
  for (std::size_t i = colon; i < t.size(); ++i) {
    if (kOpenParenBlockSquare.find(t[i]) != std::string_view::npos) ++depth;
    else if (kCloseParenBlockSquare.find(t[i]) != std::string_view::npos && --depth == 0)
      return i + 1 == t.size() && (*body = t.substr(colon + 1, i - colon - 1), true);
  }
  return false;
}

// A count of elements: a real number, numeric or numeric text, rounded.
bool ElementCount(const Object *o, int32_t *count) {
  double d = 0.0;
  if (!o) return false;
  if (o->tag == kTagNumeric) {
    if (Numeric(o)->im != 0.0) return false;
    d = Numeric(o)->re;
  } else if (o->tag != kTagAlgebraic || !AlgebraicText(o) || !TestNumericString(AlgebraicText(o), &d)) {
    return false;
  }
  d = Round(d);
  if (!(d >= 0.0 && d <= kMaxArrayElements)) return false;  // NaN fails too
  *count = static_cast<int32_t>(d);
  return true;
}

// "array:n;" builds n elements holding 0 and "array:;" an empty array. The
// source form of an array is "array:n,e0,e1,...;": the first item is always
// the count, so that a one-element array ("array:1,7;") does not read back
// as seven zeros; the items behind it fill the first slots in order. More
// items than the count is an error. A count above the limit is refused
// before anything is allocated.
Object *ConstructArray(std::string_view body, Environment *env, int32_t *owned) {
  *owned = 1;
  std::vector<std::string_view> items;
  SplitArgumentList(body, kOpenParenBlockSquare, kCloseParenBlockSquare, ',', 0, &items);
  int32_t count = 0;
  if (!items.empty()) {
    int32_t own = 0;
    Object *n = EvaluateExpression(items[0], env, &own);
    const Held held(n, own);
    if (IsSentinelObject(n)) return NewAlgebraicObject(AlgebraicText(n), env);
    if (!ElementCount(n, &count) || items.size() - 1 > static_cast<std::size_t>(count))
      return NewSentinelObject(kSentinelInvalidExpression, env);
  }
  Object *array = NewArrayObject(count, env);
  if (!array) return NewSentinelObject(kSentinelInvalidExpression, env);
  if (CancelRequested(env)) {
    FreeObject(array);
    return NewSentinelObject(kSentinelAborted, env);
  }
  for (std::size_t i = 1; i < items.size(); ++i) {
    if (CancelRequested(env)) {
      FreeObject(array);
      return NewSentinelObject(kSentinelAborted, env);
    }
    int32_t own = 0;
    Object *value = EvaluateExpression(items[i], env, &own);
    const Held held(value, own);
    if (!value || IsSentinelObject(value) || HoldsPlaceholder(value)) {
      Object *answer = value && !HoldsPlaceholder(value) ? NewAlgebraicObject(AlgebraicText(value), env)
                             : NewSentinelObject(kSentinelInvalidExpression, env);
      FreeObject(array);
      return answer;
    }
    SetArrayElement(array, static_cast<int32_t>(i - 1), CopyObject(value, array->environment, 1));
  }
  return array;
}

// Forms that EvaluateExpression handles before its construct step.
bool IsExpressionForm(std::string_view t) {
  return IsMemberForm(t) || t == "this" || IsSquareForm(t) || IsReferenceForm(t) || IsBlockForm(t) ||
         t.find(':') != std::string_view::npos;
}

// The logical "not" of a value.
Object *LogicalNot(Held &h, Environment *env) {
  Object *o = h.object;
  if (!o) return NewSentinelObject(kSentinelInvalidExpression, env);
  auto notText = [env](const std::string &text) { return NewText("~(" + text + ")", env); };
  if (o->tag == kTagNumeric) {
    const NumericValue v = *Numeric(o);
    if (IsNearlyEqual(v.im, 0.0)) {
      if (IsNearlyEqual(v.re, 0.0)) return NewNumericValueObject(1.0, 0.0, env);
      if (IsNearlyEqual(v.re, 1.0)) return NewNumericValueObject(0.0, 0.0, env);
    }
    return notText(JoinComplexText(NumberText(v.re), NumberText(v.im)));
  }
  if (IsSentinelObject(o)) return NewAlgebraicObject(AlgebraicText(o), env);
  Parts p;
  if (ScalarParts(o, &p)) return notText(JoinComplexText(p.re, p.im));
  return notText(ObjectToText(o, 0));
}

// Arithmetic negation of a result (copied first when borrowed).
Object *Negate(Object *o, int32_t *owned, Environment *env) {
  if (!o) return o;
  if (!*owned) {
    o = CopyObject(o, env, 1);
    *owned = 1;
    if (!o) return o;
  }
  switch (o->tag) {
    case kTagNumeric: {
      NumericValue *v = Numeric(o);
      // 0 - x rather than -x: a zero part stays +0, so that the phase of
      // -1 is pi and not -pi (ln(-1) = pi*i, as for 0-1).
      if (std::isfinite(v->re)) v->re = 0.0 - v->re;
      if (std::isfinite(v->im)) v->im = 0.0 - v->im;
      return o;
    }
    case kTagBignum:
      if (o->payload) {
        auto *b = static_cast<BitArrayFloat *>(o->payload);
        b->sign = static_cast<int8_t>(b->sign < 0 ? 1 : -1);
      }
      return o;
    case kTagAlgebraic: {
      if (IsSentinelObject(o)) return o;
      std::string t = AlgebraicText(o);
      NegateText(t);
      WipeAndFree(static_cast<char *>(o->payload));
      o->payload = DupText(t.c_str());
      return o;
    }
    case kTagSplit: {
      SplitValue *s = Split(o);
      std::string re = s->re ? s->re : "", im = s->im ? s->im : "";
      if (ContainsErrorSentinel(re) || ContainsErrorSentinel(im)) return o;
      NegateText(re);
      NegateText(im);
      WipeAndFree(s->re);
      WipeAndFree(s->im);
      s->re = DupText(re.c_str());
      s->im = DupText(im.c_str());
      return o;
    }
    case kTagMatrix:
      NegateMatrix(o);
      return o;
    default: {
      std::string t = ObjectToText(o, 0);
      NegateText(t);
      FreeObject(o);
      return NewText(t, env);
    }
  }
}

// Comparison and logic on two numbers.
Object *CompareNumbers(const NumericValue &a, const NumericValue &b, std::string_view op, int32_t negation,
                       Environment *env, bool *handled) {
  *handled = true;
  bool result = false;
  if (op == "|" || op == "&") {
    const double ar = Round(a.re), ai = Round(a.im), br = Round(b.re), bi = Round(b.im);
    const bool truth = (ar == 0.0 || ar == 1.0) && (br == 0.0 || br == 1.0) && ai == 0.0 && bi == 0.0;
    if (!truth) {
      *handled = false;
      return nullptr;
    }
    result = op == "|" ? (ar == 1.0 || br == 1.0) : (ar == 1.0 && br == 1.0);
  } else if (op == "==" || op == "~=") {
    const bool eq = IsNearlyEqual(a.re, b.re) && IsNearlyEqual(a.im, b.im);
    result = op == "==" ? eq : !eq;
  } else if (op == "<") {
    result = a.re < b.re;
  } else if (op == ">") {
    result = a.re > b.re;
  } else if (op == "<=") {
    result = !(b.re < a.re);
  } else if (op == ">=") {
    result = !(a.re < b.re);
  }
  if (negation < 0) result = !result;
  return NewNumericValueObject(result ? 1.0 : 0.0, 0.0, env);
}

// The symbolic builders of comparison and logic: fold two numbers, else
// write left, operator, right.
std::string LogicText(const std::string &left, const std::string &right, std::string_view op) {
  double a = 0.0, b = 0.0;
  if (TestNumericString(left, &a) && TestNumericString(right, &b)) {
    bool r = false;
    if (op == "|") r = a != 0.0 || b != 0.0;
    else if (op == "&") r = a != 0.0 && b != 0.0;
    else if (op == "==") r = IsNearlyEqual(a, b);
    else if (op == "~=") r = !IsNearlyEqual(a, b);
    else if (op == "<") r = a < b;
    else if (op == ">") r = a > b;
    else if (op == "<=") r = !(b < a);
    else if (op == ">=") r = !(a < b);
    return r ? "1" : "0";
  }
  auto side = [](const std::string &t) { return HoldsLooseOperator(t) ? "(" + t + ")" : t; };
  return side(left) + std::string(op) + side(right);
}

}  // namespace

// ---------------------------------------------------------------------------
// EvaluateArithmetic.

Object *EvaluateArithmetic(std::string_view text, Environment *env, Facts facts) {
  if (CancelRequested(env)) return NewSentinelObject(kSentinelAborted, env);
  if (StackExhausted() || BudgetExhausted()) return NewSentinelObject(kSentinelInvalidExpression, env);
  Facts f = Known(facts, text);
  const bool logical = (f.present & (kFactOr | kFactAnd | kFactLess | kFactGreater)) ||
                       ((f.present & kFactEquals) && (f.present & kFactTilde || text.find("==") != std::string_view::npos));
  std::string_view view = text;
  int32_t negation = 1;
  if (logical) {
    int32_t pairs = 0;
    view = StripOuterPairsView(view, '(', ')', &pairs);
    if (pairs) f = ScanFacts(view);
  } else {
    for (;;) {
      int32_t pairs = 0;
      view = StripOuterPairsView(view, '(', ')', &pairs);
      if (!view.empty() && view.front() == '~') {
        view.remove_prefix(1);
        negation = -negation;
        continue;
      }
      if (!pairs) break;
    }
    if (view.size() != text.size()) f = ScanFacts(view);
  }
  int32_t length = 0;
  const int32_t pos = FindLogicalOperator(view, &length, f);
  if (pos < 1) {
    if (view.size() == text.size() && negation > 0) return NewText(text, env);  // nothing to do: no loop
    int32_t own = 0;
    Object *o = EvaluateOperand(view, env, &own, f);
    Held h(o, own);
    if (negation > 0) return h.Take(env);
    return LogicalNot(h, env);
  }
  const std::string_view op = view.substr(static_cast<std::size_t>(pos), static_cast<std::size_t>(length));
  const std::string_view leftText = view.substr(0, static_cast<std::size_t>(pos));
  const std::string_view rightText = view.substr(static_cast<std::size_t>(pos + length));
  int32_t lo = 0, ro = 0;
  Object *lobj = EvaluateOperand(leftText, env, &lo);
  Held a(lobj, lo);
  KeepAcross(a, rightText, env);
  Object *robj = EvaluateOperand(rightText, env, &ro);
  Held b(robj, ro);
  if (IsSentinelObject(a.object)) return NewAlgebraicObject(AlgebraicText(a.object), env);
  if (IsSentinelObject(b.object)) return NewAlgebraicObject(AlgebraicText(b.object), env);
  if (!ReduceToScalar(a, env) || !ReduceToScalar(b, env)) return NewSentinelObject(kSentinelInvalidExpression, env);
  if (a.object->tag != b.object->tag) {
    ToSplit(a, env);
    ToSplit(b, env);
  }
  if (!a.object || !b.object) return NewSentinelObject(kSentinelInvalidExpression, env);
  if (a.object->tag == kTagNumeric) {
    bool handled = false;
    Object *r = CompareNumbers(*Numeric(a.object), *Numeric(b.object), op, negation, env, &handled);
    if (handled) return r;
    ToSplit(a, env);
    ToSplit(b, env);
  } else if (a.object->tag == kTagBignum) {
    ToSplit(a, env);
    ToSplit(b, env);
  }
  Parts pa, pb;
  if (!ScalarParts(a.object, &pa) || !ScalarParts(b.object, &pb))
    return NewSentinelObject(kSentinelInvalidExpression, env);
  std::string built = LogicText(JoinComplexText(pa.re, pa.im), JoinComplexText(pb.re, pb.im), op);
  if (ContainsErrorSentinel(built)) return NewText(built, env);
  if (negation < 0) {
    if (built == "1") built = "0";
    else if (built == "0") built = "1";
    else built = "~(" + built + ")";
  }
  return ObjectFromText(built, env);
}

// ---------------------------------------------------------------------------
// EvaluateBinary.

namespace {
// EvaluateBinary with what the caller's search already learnt: `noBinary`
// holds the operators known to have no binary occurrence in the text.
Object *EvaluateBinaryFrom(std::string_view text, int32_t position, uint32_t noBinary, Environment *env,
                           int32_t *owned, Facts facts) {
  *owned = 1;
  if (CancelRequested(env)) return NewSentinelObject(kSentinelAborted, env);
  if (StackExhausted() || BudgetExhausted()) return NewSentinelObject(kSentinelInvalidExpression, env);
  char op = 0;
  if (position <= 0) {
    position = FindArithmeticOperatorTracked(text, &op, facts, &noBinary);
  } else if (static_cast<std::size_t>(position) < text.size()) {
    op = text[static_cast<std::size_t>(position)];
  } else {
    position = -1;
  }
  if (position < 1) {
    if (text == "i") return NewNumericValueObject(0.0, 1.0, env);
    double v = 0.0;
    if (TestNumericString(text, &v)) return NewNumericValueObject(v, 0.0, env);
    return NewText(text, env);
  }
  // The left spine of a chain is walked in a loop when its left operand
  // would come straight back here: no sign or bracket to strip, no "~", no
  // logic, list, assignment or sentinel anywhere in the chain.
  const Facts inherited = Inherit(facts);
  const bool spine = AllAbsent(facts, kFactEquals | kFactComma | kFactLess | kFactGreater | kFactAnd | kFactOr |
                                          kFactTilde) &&
                     !HasByte(text, '>') && !HasByte(text, '"');
  // Trivial members: the inline slots cost nothing until used.
  struct Pending {
    const char *data;
    std::size_t size;
    int32_t position;
    char op;
    std::string_view Whole() const { return std::string_view(data, size); }
  };
  Pending inlineSlots[8];
  std::vector<Pending> more;
  std::size_t count = 0;
  auto push = [&](const Pending &p) {
    if (count < 8) inlineSlots[count] = p;
    else more.push_back(p);
    ++count;
  };
  auto at = [&](std::size_t i) -> const Pending & { return i < 8 ? inlineSlots[i] : more[i - 8]; };

  std::string_view current = text;
  for (;;) {
    push(Pending{current.data(), current.size(), position, op});
    const std::string_view left = current.substr(0, static_cast<std::size_t>(position));
    if (!spine || left.empty() || IsSignOrOpen(left.front()) || left.front() == '~' || left == "i") break;
    if (!HasArithmeticByte(left)) break;  // a plain operand ends the chain
    if ((count & 1023) == 0 && (CancelRequested(env) || BudgetExhausted())) break;
    char nextOp = 0;
    const int32_t next = FindArithmeticOperatorTracked(left, &nextOp, inherited, &noBinary);
    if (next < 1) break;
    current = left;
    position = next;
    op = nextOp;
  }

  const Pending &innermost = at(count - 1);
  int32_t own = 0;
  Object *first = EvaluateOperand(innermost.Whole().substr(0, static_cast<std::size_t>(innermost.position)), env,
                                  &own, inherited);
  Held acc(first, own);
  const Globals &g = G();
  for (std::size_t k = count; k-- > 0;) {
    const Pending &p = at(k);
    if (CancelRequested(env)) return NewSentinelObject(kSentinelAborted, env);
    if (BudgetExhausted()) return NewSentinelObject(kSentinelInvalidExpression, env);
    const std::string_view leftText = p.Whole().substr(0, static_cast<std::size_t>(p.position));
    const std::string_view rightText = p.Whole().substr(static_cast<std::size_t>(p.position) + 1);
    int32_t ro = 0;
    KeepAcross(acc, rightText, env);
    Object *r = EvaluateOperand(rightText, env, &ro, inherited);
    Held right(r, ro);
    if (!acc.object || !right.object) return NewSentinelObject(kSentinelInvalidExpression, env);
    const OperationTexts texts{leftText, rightText, p.Whole()};
    const int32_t lt = acc.object->tag, rt = right.object->tag;
    BinaryHandler h = lt >= 0 && lt < kTagCount && rt >= 0 && rt < kTagCount ? g.dispatch[lt][rt] : nullptr;
    Object *result = h ? h(acc.object, right.object, p.op, env, &texts)
                       : NewSentinelObject(kSentinelInvalidExpression, env);
    acc.Reset();
    acc.object = result;
    acc.owned = 1;
  }
  return acc.Release(owned);
}
}  // namespace

Object *EvaluateBinary(std::string_view text, int32_t position, Environment *env, int32_t *owned, Facts facts) {
  return EvaluateBinaryFrom(text, position, 0, env, owned, facts);
}

void FillDispatchTable(BinaryHandler (*table)[kObjectTagCount]) {
  for (int i = 0; i < kTagCount; ++i)
    for (int j = 0; j < kTagCount; ++j) table[i][j] = HandleGeneric;
  table[kTagNumeric][kTagNumeric] = HandleNumeric;
  table[kTagSplit][kTagSplit] = HandleSplit;
  table[kTagString][kTagString] = HandleString;
  for (int t : {kTagNumeric, kTagBignum}) {
    table[kTagString][t] = HandleString;
    table[t][kTagString] = HandleString;
  }
  for (int t : {kTagMatrix, kTagNumeric, kTagAlgebraic, kTagSplit}) {
    table[kTagMatrix][t] = HandleMatrix;
    table[t][kTagMatrix] = HandleMatrix;
  }
}

// ---------------------------------------------------------------------------
// EvaluateOperand.

Object *EvaluateOperand(std::string_view text, Environment *env, int32_t *owned, Facts facts) {
  *owned = 1;
  if (CancelRequested(env)) return NewSentinelObject(kSentinelAborted, env);
  if (StackExhausted() || BudgetExhausted()) return NewSentinelObject(kSentinelInvalidExpression, env);
  SpendBudget(text.size());
  // A text built at run time may hold string literals of its own.
  std::string protectedText;
  if (HasByte(text, '"')) {
    protectedText.assign(text);
    ProtectRuntimeStrings(protectedText, env);
    text = protectedText;
    facts = Facts{};
  }
  int32_t sign = 1, single = 0;
  std::string_view body;
  // Where a binary "+" or "-" splits the text, when the term test found it.
  int32_t additive = -1;
  uint32_t noBinary = 0;
  if (!text.empty() && !IsSignOrOpen(text.front())) {
    body = text;  // no sign or bracket to strip
    if (AllAbsent(facts, kFactPlus | kFactMinus) || (!HasByte(text, '+') && !HasByte(text, '-'))) {
      single = 1;  // one term: no search needed
      noBinary |= kFactPlus | kFactMinus;
    } else {
      // The term test is the additive search itself ("+" first, then "-"),
      // and its answer is where EvaluateBinary would split: search once.
      if (!facts.Absent(kFactPlus)) additive = FindAdditive(text, "+");
      if (additive < 1) {
        noBinary |= kFactPlus;
        additive = facts.Absent(kFactMinus) ? -1 : FindAdditive(text, "-");
        if (additive < 1) noBinary |= kFactMinus;
      }
      single = additive < 1 ? 1 : 0;
    }
  } else {
    body = StripSignAndBrackets(text, &sign, &single);
  }
  Facts f = body.size() == text.size() ? facts : Facts{};
  Object *result = nullptr;
  int32_t own = 1;
  double value = 0.0;
  if (body.empty()) {
    result = NewNumericValueObject(0.0, 0.0, env);
  } else if (single && TestNumericString(body, &value)) {
    result = std::isfinite(value) ? NewNumericValueObject(value, 0.0, env)
                                  : NewSentinelObject(kSentinelInvalidObject, env);
  } else if (body == "i") {
    result = NewNumericValueObject(0.0, 1.0, env);
  } else if (single && IsPlainSymbol(body)) {
    // A variable. An algebraic value that evaluates to a number reads as it.
    result = ReadVariable(body, env, &own);
    if (result && result->tag == kTagAlgebraic && !IsSentinelObject(result) && body != AlgebraicText(result)) {
      // The stored text may call or assign, and so rebind this very name:
      // then work on a copy that the evaluation can't free.
      if (!own) {
        Held h(result, 0);
        KeepAcross(h, AlgebraicText(result), env);
        result = h.Release(&own);
      }
      int32_t inner = 0;
      Object *v = EvaluateOperand(AlgebraicText(result), env, &inner);
      if (v && v->tag == kTagNumeric) {
        if (own) FreeObject(result);
        result = inner ? v : CopyObject(v, env, 1);
        own = 1;
      } else if (inner) {
        FreeObject(v);
      }
    }
  } else {
    f = Known(f, body);
    int32_t comma = 0;
    if (f.present & kFactComma) {
      int32_t pos = -1;
      comma = FindLastTopLevel(body, kOpenParenBlockSquare, kCloseParenBlockSquare, ",", &pos) == 0 ? 1 : 0;
    }
    int32_t eqPos = -1;
    const bool assignment = !comma && (f.present & kFactAssign) && FindTopLevelEquals(body, 0, &eqPos) == 1;
    const bool logical = (f.present & (kFactOr | kFactAnd | kFactLess | kFactGreater)) ||
                         ((f.present & kFactEquals) && FindLogicalOperator(body, nullptr, f) >= 1);
    if (assignment || (HasByte(body, '>') && ContainsErrorSentinel(body))) {
      result = NewText(body, env);
    } else if (single && (body.front() == '~' || logical)) {
      result = EvaluateArithmetic(body, env, f);
    } else if (comma) {
      result = EvaluateExpression(body, env, &own);
    } else if (!(f.present & (kFactPlus | kFactMinus | kFactStar | kFactSlash | kFactCaret))) {
      // A single factor.
      const char last = body.back();
      if (TestCallForm(body, 0)) {
        result = CallValue(body, env, &own);
      } else if (last == '!' || last == '\'') {
        result = AnswerWithText(body, env, &own);  // factorial and derivative: the function module
      } else if (IsExpressionForm(body)) {
        result = EvaluateExpression(body, env, &own);
      } else {
        result = NewText(body, env);  // how an unbound name enters arithmetic
      }
    } else if (body.front() == '~' || logical) {
      result = EvaluateArithmetic(body, env, f);
    } else if (additive >= 1 && body.size() == text.size()) {
      result = EvaluateBinaryFrom(body, additive, noBinary, env, &own, f);
    } else {
      result = EvaluateBinary(body, 0, env, &own, f);
    }
  }
  if (sign < 0) result = Negate(result, &own, env);
  *owned = own;
  return result;
}

// ---------------------------------------------------------------------------
// Square-bracket literals.
//
// "[[1,2],[3,4]]" is a matrix when every leaf is a number and the nesting is
// rectangular; any other bracket list is an array of its evaluated elements
// (a nested list being itself a matrix or an array by the same rule). The
// text is read once, left to right: each list is cut at its depth-0 commas
// as the cursor passes, every leaf is evaluated exactly once (a leaf may
// call or assign), and the decision is made on the values afterwards, so an
// array fallback never evaluates a leaf again.

namespace {

constexpr int32_t kMaxLiteralDepth = 64;

struct LiteralList;

// One element: a number, another value (kept until the array is built), or
// a nested list.
struct LiteralItem {
  Complex value{0.0, 0.0};
  Object *object = nullptr;
  int32_t owned = 0;
  std::unique_ptr<LiteralList> list;
};

struct LiteralList {
  std::vector<LiteralItem> items;
  bool numeric = false;        // a rectangular block of numbers
  std::vector<int32_t> shape;  // its shape, when numeric
  LiteralList() = default;
  LiteralList(const LiteralList &) = delete;
  LiteralList &operator=(const LiteralList &) = delete;
  ~LiteralList() {
    for (LiteralItem &item : items)
      if (item.owned) FreeObject(item.object);
  }
};

// The end of the element of a list's inner text that starts at `pos`: the
// next depth-0 comma or the end; npos when brackets don't balance.
std::size_t ElementEnd(std::string_view text, std::size_t pos) {
  int32_t depth = 0;
  for (std::size_t i = pos; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '(' || c == '[' || c == ':') {
      ++depth;
    } else if (c == ')' || c == ']' || c == ';') {
      if (--depth < 0) return std::string_view::npos;
    } else if (c == ',' && depth == 0) {
      return i;
    }
  }
  return depth == 0 ? text.size() : std::string_view::npos;
}

// True if `text` is one bracket group "[...]" from its first to its last byte.
bool IsOneGroup(std::string_view text) {
  if (text.size() < 2 || text.front() != '[' || text.back() != ']') return false;
  int32_t depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '(' || c == '[' || c == ':') ++depth;
    else if ((c == ')' || c == ']' || c == ';') && --depth == 0) return i + 1 == text.size();
  }
  return false;
}

// A leaf's value: a placeholder or a name is read straight from the tables
// (a literal number costs one look-up); anything else is evaluated.
void EvaluateLeaf(std::string_view text, Environment *env, LiteralItem *item, bool *number) {
  int32_t own = 0;
  Object *o = IsPlainSymbol(text) ? LookUpVariable(text, env, &own) : EvaluateExpression(text, env, &own);
  if (o && o->tag == kTagAlgebraic && own == 0 && !IsSentinelObject(o) && text != AlgebraicText(o)) {
    // A name bound to a text: its value, as in arithmetic.
    int32_t inner = 0;
    Object *v = EvaluateExpression(AlgebraicText(o), env, &inner);
    if (v && v->tag == kTagNumeric) {
      o = v;
      own = inner;
    } else if (inner) {
      FreeObject(v);
    }
  }
  *number = ObjectAsNumber(o, &item->value) && std::isfinite(item->value.re) && std::isfinite(item->value.im);
  if (*number) {
    if (own) FreeObject(o);
    return;
  }
  item->object = o;
  item->owned = own;
}

// Parses the list whose "[" stands at text[0] and whose "]" ends the text.
// False when a leaf is empty or brackets don't close.
bool ParseLiteralList(std::string_view text, Environment *env, int32_t depth, LiteralList *out, std::size_t *leaves) {
  if (depth > kMaxLiteralDepth || StackExhausted()) return false;
  const std::string_view inner = text.substr(1, text.size() - 2);
  if (inner.empty()) return true;  // "[]": an empty array
  bool allNumbers = true, allBlocks = true;
  std::size_t pos = 0;
  for (;;) {
    const std::size_t end = ElementEnd(inner, pos);
    if (end == std::string_view::npos) return false;
    const std::string_view element = inner.substr(pos, end - pos);
    if (element.empty()) return false;
    LiteralItem &item = out->items.emplace_back();
    if (IsOneGroup(element)) {
      item.list = std::make_unique<LiteralList>();
      if (!ParseLiteralList(element, env, depth + 1, item.list.get(), leaves)) return false;
      allNumbers = false;
      allBlocks = allBlocks && item.list->numeric && item.list->shape == out->items.front().list->shape;
    } else {
      bool number = false;
      EvaluateLeaf(element, env, &item, &number);
      allBlocks = false;
      allNumbers = allNumbers && number;
      if ((++*leaves & 1023) == 0 && CancelRequested(env)) return false;
    }
    if (!out->items.front().list) allBlocks = false;
    if (end >= inner.size()) break;
    pos = end + 1;
  }
  const auto count = static_cast<int32_t>(out->items.size());
  if (allNumbers) {
    out->numeric = true;
    out->shape = {count};
  } else if (allBlocks) {
    out->numeric = true;
    out->shape.push_back(count);
    const std::vector<int32_t> &sub = out->items.front().list->shape;
    out->shape.insert(out->shape.end(), sub.begin(), sub.end());
  }
  return true;
}

void FlattenLiteral(const LiteralList &list, std::vector<Complex> *values) {
  for (const LiteralItem &item : list.items) {
    if (item.list) FlattenLiteral(*item.list, values);
    else values->push_back(item.value);
  }
}

Object *LiteralMatrix(const LiteralList &list, Environment *env) {
  int64_t cells = 1;
  for (int32_t d : list.shape) cells *= d;
  if (cells > kMaxMatrixElements) return NewSentinelObject(kSentinelInvalidObject, env);
  std::vector<Complex> values;
  values.reserve(static_cast<std::size_t>(cells));
  FlattenLiteral(list, &values);
  // The shape was read from the same nesting as the values; a disagreement
  // would make the build read past them, so it is refused outright.
  if (static_cast<int64_t>(values.size()) != cells) return NewSentinelObject(kSentinelInvalidObject, env);
  Object *m = NewMatrixObject(TensorBuild(list.shape, values.data()), true, env);
  return m ? m : NewSentinelObject(kSentinelInvalidObject, env);
}

Object *LiteralArray(LiteralList &list, Environment *env);

// The value of one element of an array literal, the caller's to store.
Object *LiteralElement(LiteralItem &item, Environment *env) {
  if (item.list) return item.list->numeric ? LiteralMatrix(*item.list, env) : LiteralArray(*item.list, env);
  if (!item.object) return NewNumericValueObject(item.value.re, item.value.im, env);
  Object *o = item.owned ? item.object : CopyObject(item.object, env, 1);
  item.object = nullptr;
  item.owned = 0;
  return o;
}

Object *LiteralArray(LiteralList &list, Environment *env) {
  Object *array = NewArrayObject(static_cast<int32_t>(list.items.size()), env);
  if (!array) return NewSentinelObject(kSentinelInvalidObject, env);
  for (std::size_t i = 0; i < list.items.size(); ++i) {
    Object *element = LiteralElement(list.items[i], array->environment);
    if (!element || !SetArrayElement(array, static_cast<int32_t>(i), element)) {
      FreeObject(array);
      return NewSentinelObject(kSentinelInvalidObject, env);
    }
  }
  return array;
}

Object *SquareLiteral(std::string_view text, Environment *env, int32_t *owned) {
  *owned = 1;
  SpendBudget(text.size());
  LiteralList list;
  std::size_t leaves = 0;
  if (!ParseLiteralList(text, env, 0, &list, &leaves)) {
    if (CancelRequested(env)) return NewSentinelObject(kSentinelAborted, env);
    return NewSentinelObject(kSentinelInvalidExpression, env);
  }
  for (const LiteralItem &item : list.items)
    if (item.object && IsSentinelObject(item.object)) return NewAlgebraicObject(AlgebraicText(item.object), env);
  if (list.numeric) return LiteralMatrix(list, env);
  return LiteralArray(list, env);
}

// "matrix:;" is the empty matrix, "matrix:x;" a matrix of the value x (a
// matrix, or a number as a block of rank 0): the source form of the blocks
// that have no bracket literal.
Object *MatrixConstruct(std::string_view body, Environment *env, int32_t *owned) {
  *owned = 1;
  if (body.empty()) {
    Object *m = NewMatrixObject(env);
    return m ? m : NewSentinelObject(kSentinelInvalidObject, env);
  }
  int32_t own = 0;
  Object *v = EvaluateExpression(body, env, &own);
  Held held(v, own);
  if (v && v->tag == kTagMatrix) return held.Take(env);
  Complex z{0.0, 0.0};
  if (!ObjectAsNumber(v, &z)) return NewSentinelObject(kSentinelInvalidObject, env);
  Object *m = NewMatrixObject(TensorBuild({}, &z), true, env);
  return m ? m : NewSentinelObject(kSentinelInvalidObject, env);
}

}  // namespace

// ---------------------------------------------------------------------------
// EvaluateExpression.

Object *EvaluateExpression(std::string_view text, Environment *env, int32_t *owned) {
  *owned = 1;
  if (CancelRequested(env)) return NewSentinelObject(kSentinelAborted, env);
  if (StackExhausted() || BudgetExhausted()) return NewSentinelObject(kSentinelInvalidExpression, env);
  if (text.empty()) return NewNumericValueObject(0.0, 0.0, env);
  double value = 0.0;
  if (TestNumericString(text, &value)) return NewNumericValueObject(value, 0.0, env);
  text = StripOuterPairsView(text, '(', ')');
  if (env && !env->isScalar && env->deletedCount) PurgeDeletedObjects(env);
  const Facts f = ScanFacts(text);
  int32_t comma = 0;
  if (f.present & kFactComma) {
    int32_t pos = -1;
    comma = FindLastTopLevel(text, kOpenParenBlockSquare, kCloseParenBlockSquare, ",", &pos) == 0 ? 1 : 0;
  }
  int32_t eqPos = -1;
  if (comma || ((f.present & kFactAssign) && FindTopLevelEquals(text, comma, &eqPos) == 1) || IsBlockForm(text))
    return RunBlock(text, env, owned);
  if (const int32_t member = TestMemberForm(text, f); member == 1) return EvaluateMemberChain(text, env, owned);
  else if (member == 2) return AnswerWithText(text, env, owned);  // ranges: the array module
  const bool plain = IsPlainSymbol(text);
  if (plain) return ReadVariable(text, env, owned);
  if (text == "this") return ThisValue(env, owned);
  if (TestCallForm(text, 0)) return CallValue(text, env, owned);
  if (IsSquareForm(text) && !(f.present & (kFactPlus | kFactMinus | kFactStar | kFactSlash | kFactCaret)))
    return SquareLiteral(text, env, owned);
  if (IsReferenceForm(text)) return AnswerWithText(text, env, owned);
  // The construct step.
  const std::size_t colon = text.find(':');
  if (colon != std::string_view::npos) {
    const std::string_view head = text.substr(0, colon);
    if (head == "if" || head == "for" || head == "while") return RunBlock(text, env, owned);
    if (head == "matrix" && text.back() == ';')
      return MatrixConstruct(text.substr(colon + 1, text.size() - colon - 2), env, owned);
    // "name:...;" constructs an object of that type (the modules of the
    // types); anything else, such as ":3+4;*2", is arithmetic.
    std::string_view body;
    if (head == "array" && ConstructBody(text, colon, &body)) return ConstructArray(body, env, owned);
    if (colon > 0 && IsPlainSymbol(head)) return AnswerWithText(text, env, owned);
  }
  int32_t own = 0;
  Object *o = EvaluateOperand(text, env, &own, f);
  Held h(o, own);
  if (h.object && h.object->tag == kTagSplit) {
    const SplitValue *s = Split(h.object);
    const std::string joined = JoinComplexText(s->re ? s->re : "", s->im ? s->im : "");
    h.Reset();
    *owned = 1;
    return ObjectFromText(joined, env);
  }
  return h.Release(owned);
}

}  // namespace qvx
