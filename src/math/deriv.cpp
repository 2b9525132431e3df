// Exact differentiation by rewriting text.
//
// Read deriv.h first. DifferentiateText takes the loosest depth-0 operator
// of a text: a sum is differentiated term by term (in a loop, so a long sum
// costs no recursion), a product, quotient or power by its rule on the two
// halves, a call by the rule of its function. Every step glues texts with
// the text arithmetic, which folds numbers as the rewriting goes; the halves
// of a product, quotient or power are evaluated (so user values and
// functions enter), the glued result is not: EvaluateDerivative evaluates
// the whole once at the requested point and simplifies what stays symbolic.
//
// Recursion is bounded by a per-thread depth count and the evaluator's stack
// guard: a text nested too deeply gives ">invalid_expression<", not a crash.
#include "math/deriv.h"

#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <vector>

#include "common/boundary.h"
#include "common/guards.h"
#include "objects/evaluator.h"
#include "objects/print.h"
#include "text/classify.h"
#include "text/operators.h"
#include "text/sentinels.h"
#include "text/scan.h"
#include "libquorvex.h"
#include "text/textarith.h"

namespace qvx {
namespace {

constexpr std::string_view kInvalid = ">invalid_expression<";
constexpr int32_t kMaxDepth = 256;
constexpr const char *kEuler = "2.71828182845904523536";

thread_local int32_t tDepth = 0;

struct DepthGuard {
  DepthGuard() { ++tDepth; }
  ~DepthGuard() { --tDepth; }
  DepthGuard(const DepthGuard &) = delete;
  DepthGuard &operator=(const DepthGuard &) = delete;
  bool Exceeded() const { return tDepth > kMaxDepth || StackExhausted(); }
};

bool IsNumber(std::string_view t) {
  double v = 0.0;
  return !t.empty() && TestNumericString(t, &v) != 0;
}

bool IsZero(std::string_view t) {
  double v = 0.0;
  return t.empty() || (TestNumericString(t, &v) && v == 0.0);
}

std::string Join(const ComplexText &z) { return JoinComplex(z.re, z.im); }
std::string EvalText(std::string_view t, Environment *env) { return Join(EvaluateToComplexText(t, env)); }

std::string Unevaluated(std::string_view s, std::string_view v) {
  std::string out = "deriv(";
  out += s;
  out += ',';
  out += v;
  out += ')';
  return out;
}

std::string Call(std::string_view name, std::string_view argument) {
  std::string out(name);
  out += '(';
  out += argument;
  out += ')';
  return out;
}

bool IsIdentifierByte(char c) {
  const auto u = static_cast<unsigned char>(c);
  return std::isalnum(u) || c == '_' || u >= 0x80 || u == 1;
}

// ---------------------------------------------------------------------------
// The rules of the derivative table.

// What every rule starts from: the argument's value u, its derivative u', and
// u without sign and brackets (X) with the sign taken off.
struct RuleInput {
  std::string u, du, X;
  int32_t sign = 1;
};

bool Prepare(std::string_view argument, std::string_view v, Environment *env, RuleInput *in) {
  in->du = DifferentiateText(argument, v, env);
  if (HasErrorSentinel(in->du)) return false;
  in->u = EvalText(argument, env);
  const SignedText s = ReadSigned(in->u);
  if (s.sum) {
    in->X = in->u;
  } else {
    in->X.assign(s.bare);
    in->sign = s.sign;
  }
  return true;
}

// A rule f(u) -> g(u)*u' written as the factor g.
template <std::string (*G)(const RuleInput &)>
std::string ChainRule(std::string_view argument, std::string_view v, Environment *env) {
  RuleInput in;
  if (!Prepare(argument, v, env, &in)) return std::string(kInvalid);
  if (IsZero(in.du)) return "0";
  return MultiplyTerms(G(in), in.du, env);
}
// A rule f(u) -> u'/h(u) written as the divisor h.
template <std::string (*H)(const RuleInput &)>
std::string QuotientRule(std::string_view argument, std::string_view v, Environment *env) {
  RuleInput in;
  if (!Prepare(argument, v, env, &in)) return std::string(kInvalid);
  if (IsZero(in.du)) return "0";
  return DivideTexts(in.du, H(in));
}

std::string Square(const std::string &u) { return PowerTexts(u, "2"); }
std::string Sqrt(const std::string &t) { return Call("sqrt", t); }

std::string GSin(const RuleInput &in) { return Call("cos", in.X); }
std::string GSinh(const RuleInput &in) { return Call("cosh", in.X); }
std::string GCos(const RuleInput &in) { return (in.sign > 0 ? "-" : "") + Call("sin", in.X); }
std::string GCosh(const RuleInput &in) { return (in.sign < 0 ? "-" : "") + Call("sinh", in.X); }
std::string GExp(const RuleInput &in) { return PowerTexts(kEuler, in.u); }
std::string HTan(const RuleInput &in) { return Call("cos", in.X) + "^2"; }
std::string HTanh(const RuleInput &in) { return Call("cosh", in.u) + "^2"; }
std::string HArcsin(const RuleInput &in) { return Sqrt(SubtractTexts("1", Square(in.u))); }
std::string HArccosh(const RuleInput &in) { return Sqrt(SubtractTexts(Square(in.u), "1")); }
std::string HArcsinh(const RuleInput &in) { return Sqrt(AddTexts(Square(in.u), "1")); }
std::string HArctan(const RuleInput &in) { return AddTexts(Square(in.u), "1"); }
std::string HArctanh(const RuleInput &in) { return SubtractTexts("1", Square(in.u)); }
std::string HLn(const RuleInput &in) { return in.u; }
std::string HLog(const RuleInput &in) { return MultiplyTexts(in.u, NumberText(2.302585092994046)); }
std::string HSqrt(const RuleInput &in) { return MultiplyTexts("2", PowerTexts(in.u, "0.5")); }

std::string RuleArccos(std::string_view argument, std::string_view v, Environment *env) {
  std::string r = QuotientRule<HArcsin>(argument, v, env);
  return HasErrorSentinel(r) ? r : NegateText(r);
}

std::string RuleAbs(std::string_view argument, std::string_view v, Environment *env) {
  RuleInput in;
  if (!Prepare(argument, v, env, &in)) return std::string(kInvalid);
  if (IsZero(in.du)) return "0";
  return DivideTerms(MultiplyTerms(in.u, in.du, env), Call("abs", in.u), env);
}

// Ai'(u) = u/3 (I(2/3,z) - I(-2/3,z)), Bi'(u) = u/sqrt(3) (I(-2/3,z) + I(2/3,z)),
// z = 2/3 u^1.5.
template <bool B>
std::string RuleAiry(std::string_view argument, std::string_view v, Environment *env) {
  RuleInput in;
  if (!Prepare(argument, v, env, &in)) return std::string(kInvalid);
  if (IsZero(in.du)) return "0";
  const std::string z = DivideTexts(MultiplyTexts(PowerTerms(in.u, "1.5", env), "2"), "3");
  const std::string plus = "besseli(" + z + ",2/3)", minus = "besseli(" + z + ",-2/3)";
  const std::string pair = B ? AddTexts(plus, minus) : SubtractTexts(plus, minus);
  const std::string scale = DivideTexts(in.u, B ? NumberText(1.7320508075688772) : std::string("3"));
  return MultiplyTerms(MultiplyTerms(pair, scale, env), in.du, env);
}

// The Bessel functions in the first argument, the order held constant:
// J' = (J(n-1) - J(n+1))/2, Y likewise, I' = (I(n-1) + I(n+1))/2,
// K' = -(K(n-1) + K(n+1))/2.
template <char Kind>
std::string RuleBessel(std::string_view argument, std::string_view v, Environment *env) {
  static constexpr const char *kNames[] = {"besselj", "bessely", "besseli", "besselk"};
  const char *name = kNames[Kind == 'j' ? 0 : Kind == 'y' ? 1 : Kind == 'i' ? 2 : 3];
  std::vector<std::string_view> args;
  SplitArgumentList(argument, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1, &args);
  if (args.size() != 2) return Unevaluated(Call(name, argument), v);
  RuleInput in;
  if (!Prepare(args[0], v, env, &in)) return std::string(kInvalid);
  if (IsZero(in.du)) return "0";
  const std::string n = EvalText(args[1], env);
  const std::string lower = Call(name, in.u + "," + SubtractTexts(n, "1"));
  const std::string upper = Call(name, in.u + "," + AddTexts(n, "1"));
  std::string pair = Kind == 'j' || Kind == 'y' ? SubtractTexts(lower, upper) : AddTexts(lower, upper);
  std::string half = MultiplyTerms(pair, "0.5", env);
  if (Kind == 'k') NegateText(half);
  return MultiplyTerms(half, in.du, env);
}

// (1-x^2) P'(l,m) = (l+m) P(l-1,m) - l x P(l,m), in x only.
std::string RuleLegendre(std::string_view argument, std::string_view v, Environment *env) {
  std::vector<std::string_view> args;
  SplitArgumentList(argument, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1, &args);
  if (args.size() != 3) return Unevaluated(Call("legendre", argument), v);
  RuleInput in;
  if (!Prepare(args[0], v, env, &in)) return std::string(kInvalid);
  if (IsZero(in.du)) return "0";
  const std::string l = EvalText(args[1], env), m = EvalText(args[2], env);
  const std::string lower = Call("legendre", in.u + "," + SubtractTexts(l, "1") + "," + m);
  const std::string same = Call("legendre", in.u + "," + l + "," + m);
  const std::string top = SubtractTexts(MultiplyTerms(AddTexts(l, m), lower, env),
                                        MultiplyTerms(MultiplyTerms(l, in.u, env), same, env));
  return MultiplyTerms(DivideTexts(top, SubtractTexts("1", Square(in.u))), in.du, env);
}

struct Rule {
  std::string_view key;
  DeriveHandler handler;
};

constexpr Rule kRules[] = {
    {"legendre(3)", RuleLegendre},
    {"arccos(1)", RuleArccos},
    {"arccosh(1)", QuotientRule<HArccosh>},
    {"arcsin(1)", QuotientRule<HArcsin>},
    {"arcsinh(1)", QuotientRule<HArcsinh>},
    {"arctan(1)", QuotientRule<HArctan>},
    {"arctanh(1)", QuotientRule<HArctanh>},
    {"ln(1)", QuotientRule<HLn>},
    {"log(1)", QuotientRule<HLog>},
    {"abs(1)", RuleAbs},
    {"airya(1)", RuleAiry<false>},
    {"airyb(1)", RuleAiry<true>},
    {"cos(1)", ChainRule<GCos>},
    {"cosh(1)", ChainRule<GCosh>},
    {"sin(1)", ChainRule<GSin>},
    {"sinh(1)", ChainRule<GSinh>},
    {"tan(1)", QuotientRule<HTan>},
    {"tanh(1)", QuotientRule<HTanh>},
    {"sqrt(1)", QuotientRule<HSqrt>},
    {"exp(1)", ChainRule<GExp>},
    {"besselj(2)", RuleBessel<'j'>},
    {"besseli(2)", RuleBessel<'i'>},
    {"besselk(2)", RuleBessel<'k'>},
    {"bessely(2)", RuleBessel<'y'>},
};

// A text that evaluates to something else is differentiated as that.
std::string ByValue(std::string_view s, std::string_view v, Environment *env) {
  const std::string t = EvalText(s, env);
  if (HasErrorSentinel(t)) return std::string(kInvalid);
  if (t == s) return Unevaluated(s, v);
  if (t.empty() || IsNumber(t)) return "0";
  return DifferentiateText(t, v, env);
}

bool HasLooseOperator(std::string_view s) {
  if (!s.empty() && s.front() == '~') return true;
  int32_t length = 0;
  return FindLogicalOperator(s, &length) >= 1;
}

}  // namespace

std::string ReplaceSymbol(std::string_view text, std::string_view from, std::string_view to) {
  std::string out;
  out.reserve(text.size() + 8);
  const std::size_t n = text.size();
  bool inString = false;
  for (std::size_t i = 0; i < n;) {
    const char c = text[i];
    if (c == '"') inString = !inString;
    if (inString || !IsIdentifierByte(c) || (i > 0 && IsIdentifierByte(text[i - 1]))) {
      out += c;
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j < n && IsIdentifierByte(text[j])) ++j;
    const std::string_view name = text.substr(i, j - i);
    const bool member = i > 0 && text[i - 1] == '.' && !(i > 1 && std::isdigit(static_cast<unsigned char>(text[i - 2])));
    out += name == from && !member ? to : name;
    i = j;
  }
  return out;
}

DeriveHandler DerivativeRule(std::string_view key) {
  for (const Rule &r : kRules)
    if (r.key == key) return r.handler;
  return nullptr;
}

std::string DifferentiateOperator(std::string_view e, std::string_view v, int32_t position, Environment *env) {
  char op = 0;
  if (position < 1 || static_cast<std::size_t>(position) >= e.size()) {
    position = FindOperator(e, "*", false);
    if (position < 1) position = FindOperator(e, "/", false);
    if (position < 1) position = FindOperator(e, "^", true);
  }
  if (position < 1 || static_cast<std::size_t>(position) + 1 >= e.size()) return Unevaluated(e, v);
  op = e[static_cast<std::size_t>(position)];
  const std::string_view left = e.substr(0, static_cast<std::size_t>(position));
  const std::string_view right = e.substr(static_cast<std::size_t>(position) + 1);
  const std::string da = DifferentiateText(left, v, env);
  const std::string db = DifferentiateText(right, v, env);
  if (HasErrorSentinel(da) || HasErrorSentinel(db)) return std::string(kInvalid);
  std::string r;
  switch (op) {
    case '+':
      r = AddTexts(da, db);
      break;
    case '-':
      r = SubtractTexts(da, db);
      break;
    case '*': {
      const std::string a = EvalText(left, env), b = EvalText(right, env);
      r = AddTexts(MultiplyTerms(da, b, env), MultiplyTerms(a, db, env));
      break;
    }
    case '/': {
      const std::string a = EvalText(left, env), b = EvalText(right, env);
      std::string reciprocal = PowerTexts(b, "2");
      ReciprocalText(reciprocal, env);
      r = MultiplyTerms(SubtractTexts(MultiplyTerms(da, b, env), MultiplyTerms(a, db, env)), reciprocal, env);
      break;
    }
    case '^': {
      // (a^b)' = a^b (b a'/a + ln(a) b')
      const std::string a = EvalText(left, env), b = EvalText(right, env);
      const std::string log = IsZero(db) ? std::string("0") : Join(LnSplit(a, env));
      r = MultiplyTerms(PowerTerms(a, b, env),
                        AddTexts(DivideTexts(MultiplyTerms(b, da, env), a), MultiplyTerms(log, db, env)), env);
      break;
    }
    default:
      return Unevaluated(e, v);
  }
  if (HasErrorSentinel(r)) return std::string(kInvalid);
  // The glued text is folded by the text arithmetic already; the caller
  // evaluates and simplifies the whole once at the end.
  return r;
}

std::string DifferentiateText(std::string_view e, std::string_view v, Environment *env) {
  DepthGuard guard;
  if (guard.Exceeded()) return std::string(kInvalid);
  if (CancelRequested(env)) return std::string(kSentinelAborted);
  const SignedText st = ReadSigned(e);
  const std::string_view s = st.bare;
  if (!st.sum && (s.empty() || s == "i" || IsNumber(s))) return "0";
  if (HasErrorSentinel(s)) return std::string(kInvalid);
  int32_t pos = -1;
  const bool comma = FindOperator(s, ",", true) >= 0;
  if (comma && FindOperator(s, "=", true) >= 0) return std::string(kInvalid);
  if (!st.sum && IsPlainSymbol(s)) return s != v ? "0" : st.sign < 0 ? "-1" : "1";
  std::string r;
  if (comma || HasLooseOperator(s)) {
    r = ByValue(s, v, env);
  } else if (st.sum) {
    std::vector<SignedTerm> terms;
    SplitSum(s, &terms);
    std::string acc = "0";
    for (const SignedTerm &t : terms) {
      if (CancelRequested(env)) return std::string(kSentinelAborted);
      const std::string d = DifferentiateText(t.text, v, env);
      if (HasErrorSentinel(d)) return std::string(kInvalid);
      acc = t.sign < 0 ? SubtractTexts(acc, d) : AddTexts(acc, d);
    }
    r = EvalText(acc, env);
  } else if (FindOperator(s, "*", false) > 0 || FindOperator(s, "/", false) > 0 ||
             (pos = FindOperator(s, "^", true)) > 0) {
    r = DifferentiateOperator(s, v, 0, env);
  } else if (TestCallForm(s, 0)) {
    const std::size_t open = s.find('(');
    const std::string_view name = s.substr(0, open);
    const std::string_view inner = s.substr(open + 1, s.size() - open - 2);
    std::vector<std::string_view> args;
    if (!inner.empty()) SplitArgumentList(inner, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1, &args);
    const std::string key = std::string(name) + "(" + std::to_string(args.size()) + ")";
    if (DeriveHandler rule = DerivativeRule(key)) r = rule(inner, v, env);
    else r = ByValue(s, v, env);  // a user function differentiates through its body
  } else {
    r = ByValue(s, v, env);
  }
  if (st.sign < 0 && !HasErrorSentinel(r)) NegateText(r);
  return r;
}

ComplexText EvaluateDerivative(std::string_view text, Environment *env) {
  std::vector<std::string_view> pieces;
  SplitArgumentList(text, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1, &pieces);
  const std::string unevaluated = "deriv(" + std::string(text) + ")";
  if ((pieces.size() != 2 && pieces.size() != 3) || !IsPlainSymbol(pieces[1])) return {unevaluated, "0"};
  Environment *scope = env;
  while (scope && scope->isScalar && scope->ownerObject)
    scope = static_cast<Object *>(scope->ownerObject)->parentEnvironment;
  if (!scope || scope->isScalar) return {unevaluated, "0"};
  const std::string variable(pieces[1]);
  // The variable's value, for the evaluation point of deriv(f,x).
  std::string saved;
  if (const Object *o = FindObjectInScopes(variable.c_str(), scope)) {
    if (o->tag == kTagNumeric || o->tag == kTagBignum || o->tag == kTagSplit) {
      saved = Join(ObjectToComplexText(variable, o, scope));
    } else if (o->tag == kTagAlgebraic && AlgebraicText(o) && variable != AlgebraicText(o)) {
      saved = AlgebraicText(o);
    }
  }
  std::string fresh = variable + '\x01';
  while (scope->objectTable.root && RBSTFind(scope->objectTable.root, fresh.c_str())) fresh += '\x01';
  const std::string f = ReplaceSymbol(pieces[0], variable, fresh);
  std::string point;
  if (pieces.size() == 3) point = EvalText(pieces[2], env);
  else if (!saved.empty()) point = saved;
  else point = variable;
  if (HasErrorSentinel(point)) return {std::string(kInvalid), "0"};
  std::string d = DifferentiateText(f, fresh, env);
  if (HasErrorSentinel(d)) return {d == kSentinelAborted ? d : std::string(kInvalid), "0"};
  if (d.rfind("deriv(", 0) == 0 && TestCallForm(d, 0)) return {unevaluated, "0"};
  // The evaluation point takes the place of the fresh name (the user's own
  // name when the result stays symbolic).
  if (point == variable) {
    d = ReplaceSymbol(d, fresh, variable);
  } else {
    const bool bare = IsPlainSymbol(point) || (IsNumber(point) && point.front() != '-');
    d = ReplaceSymbol(d, fresh, bare ? point : "(" + point + ")");
  }
  // Evaluated first and simplified after: the result is in canonical form
  // and is simplified once, whatever the evaluation reordered.
  ComplexText z = EvaluateToComplexText(d, env);
  if (!IsNumericPair(z)) {
    if (!HasErrorSentinel(z.re)) SimplifyExpressionText(z.re, 0, 0, env);
    if (!HasErrorSentinel(z.im)) SimplifyExpressionText(z.im, 0, 0, env);
  }
  return z;
}

namespace {

// A number or string the user wrote travels through the evaluator as a
// placeholder name; it reads like a symbol but is none.
bool IsLiteralPlaceholder(std::string_view name, Environment *env) {
  Environment *top = env ? TopLevelOf(env) : nullptr;
  return top && top->temporaryNames.root && RBSTFind(top->temporaryNames.root, std::string(name).c_str());
}

}  // namespace

Object *DerivFromArguments(const std::string_view *texts, Object *const *values, int32_t count, Environment *env,
                           int32_t *owned) {
  *owned = 1;
  if (count != 2 && count != 3) {
    *owned = 0;
    return nullptr;
  }
  std::string parts[3];
  for (int32_t k = 0; k < count; ++k) {
    const Object *o = values ? values[k] : nullptr;
    const std::string_view source = texts ? texts[k] : std::string_view();
    if (o && o->tag != kTagAlgebraic && o->tag != kTagNumeric && o->tag != kTagSplit)
      return NewSentinelObject(kSentinelInvalidObject, env);
    if (o && o->tag == kTagAlgebraic && k != 1 && !PassesValidityTest(o))
      return NewSentinelObject(kSentinelInvalidExpression, env);
    if (!o && source.empty()) return NewSentinelObject(kSentinelInvalidObject, env);
    std::string valueText;
    if (o) valueText = Join(ObjectToComplexText(source, o, env));
    if (k == 0) {
      // The expression: a symbolic value is differentiated as it stands; a
      // numeric value only counts as constant when it was written as a
      // number (deriv(x^2,x) with x stored stays x^2 to differentiate).
      if (o && o->tag == kTagNumeric && (source.empty() || IsNumber(source)))
        return NewNumericValueObject(0.0, 0.0, env);
      parts[0] = o && o->tag != kTagNumeric ? valueText : std::string(source);
    } else if (k == 1) {
      parts[1] = !source.empty() ? std::string(source) : valueText;
      if (!IsPlainSymbol(parts[1]) || IsLiteralPlaceholder(parts[1], env))
        return NewSentinelObject(kSentinelInvalidExpression, env);
    } else {
      parts[2] = o ? valueText : std::string(source);
    }
  }
  std::string text = parts[0] + "," + parts[1];
  if (count == 3) text += "," + parts[2];
  const ComplexText z = EvaluateDerivative(text, env);
  if (HasErrorSentinel(z.re) || HasErrorSentinel(z.im))
    return NewSentinelObject(HasErrorSentinel(z.re) ? z.re : z.im, env);
  double re = 0.0, im = 0.0;
  if (IsNumericPair(z, &re, &im)) return NewNumericValueObject(re, im, env);
  return NewSplitObjectFromTexts(DupText(z.re.c_str()), DupText(z.im.c_str()), env);
}

Object *DerivObjectHandler(ArgumentList *arguments, Environment *env, int32_t *owned) {
  const int32_t count = arguments && arguments->items ? arguments->count - 1 : -1;
  if (count != 2 && count != 3) {
    *owned = 0;
    return nullptr;
  }
  return DerivFromArguments(arguments->texts, arguments->items + 1, count, env, owned);
}

char *DifferentiateText(const char *expression, const char *variable, Environment *env, std::size_t *length) {
  const std::string d =
      DifferentiateText(std::string_view(expression ? expression : ""), std::string_view(variable ? variable : ""), env);
  if (length) *length = d.size();
  return DupText(d.data(), d.size());
}

char *DifferentiateOperator(const char *expression, const char *variable, int32_t position, Environment *env,
                            std::size_t *length) {
  const std::string d = DifferentiateOperator(std::string_view(expression ? expression : ""),
                                              std::string_view(variable ? variable : ""), position, env);
  if (length) *length = d.size();
  return DupText(d.data(), d.size());
}

}  // namespace qvx
