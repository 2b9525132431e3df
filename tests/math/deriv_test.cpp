// Symbolic derivatives: every rule against a central finite difference of
// the function itself, the texts users see, and bad or huge inputs.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>
#include <vector>

#include "text/scan.h"
#include "libquorvex.h"
#include "math/deriv.h"
#include "../engine/session.h"
#include "math/functions.h"
#include "text/textarith.h"
#include "objects/environment.h"

namespace qvx {
namespace {

struct Scope {
  Environment *env = CreateEnvironment(nullptr, 0);
  ~Scope() { TerminateEnvironment(env); }
};

// The numeric value of a text of numbers, operators and predefined calls:
// innermost calls first, through the split handlers, then the operators.
double Value(std::string text, Environment *env) {
  for (int guard = 0; guard < 500; ++guard) {
    bool replaced = false;
    for (std::size_t p = 1; p < text.size() && !replaced; ++p) {
      if (text[p] != '(' || !std::isalpha(static_cast<unsigned char>(text[p - 1]))) continue;
      const std::size_t q = text.find_first_of("()", p + 1);
      if (q == std::string::npos || text[q] != ')') continue;
      std::size_t start = p;
      while (start > 0 && std::isalnum(static_cast<unsigned char>(text[start - 1]))) --start;
      const std::string name = text.substr(start, p - start), args = text.substr(p + 1, q - p - 1);
      const std::vector<std::string> pieces = SplitArgumentList(args, "(:[", ");]", ',', 1);
      SplitHandler h = FindSplitHandler(name + "(" + std::to_string(pieces.size()) + ")");
      if (!h) h = FindSplitHandler(name + "()");
      if (!h) return NAN;
      const ComplexText z = h(args, env);
      text = text.substr(0, start) + "(" + JoinComplex(z.re, z.im) + ")" + text.substr(q + 1);
      replaced = true;
    }
    if (!replaced) break;
  }
  const ComplexText z = EvaluateToComplexText(text, env);
  double re = NAN, im = 0.0;
  if (!IsNumericPair(z, &re, &im)) return NAN;
  return re;
}

double At(const std::string &f, double x, Environment *env) {
  return Value(ReplaceSymbol(f, "x", NumberText(x, 17)), env);
}

TEST(Derivative, EveryRuleMatchesFiniteDifferences) {
  Scope s;
  struct Case {
    const char *f;
    double a;
  } cases[] = {
      {"sin(x)^2", 0.7},        {"cos(2*x)", 0.3},         {"tan(x)", 0.4},          {"x^3-2*x", 1.5},
      {"exp(x)*x", 0.5},        {"ln(x^2+1)", 0.8},        {"log(x)", 2.0},          {"sqrt(x)", 2.5},
      {"abs(x)", -2.0},         {"arcsin(x/2)", 0.6},      {"arccos(x/2)", 0.6},     {"arctan(x)", 1.2},
      {"arcsinh(x)", 0.9},      {"arccosh(x+2)", 0.3},     {"arctanh(x/2)", 0.5},    {"sinh(x)", 0.4},
      {"cosh(-x)", 0.4},        {"tanh(x)", 0.6},          {"x^x", 1.3},             {"1/x", 2.0},
      {"x/(1+x^2)", 0.5},       {"besselj(x,2)", 1.7},     {"bessely(x,1)", 2.2},    {"besseli(x,0)", 0.9},
      {"besselk(x,1)", 1.1},    {"legendre(x,3,1)", 0.3},  {"2^x", 0.7},             {"sin(x)^2*exp(x)/x", 0.9},
      {"cos(-x)", 1.0},         {"-sin(x)*x", 0.25},       {"x*(x+1)*(x-1)", 0.6},   {"(x^2+1)^0.5", 1.1},
  };
  for (const Case &c : cases) {
    const std::string arg = std::string(c.f) + ",x," + NumberText(c.a, 17);
    const ComplexText d = EvaluateDerivative(arg, s.env);
    const double got = Value(JoinComplex(d.re, d.im), s.env);
    const double h = 1e-5;
    const double want = (At(c.f, c.a + h, s.env) - At(c.f, c.a - h, s.env)) / (2 * h);
    EXPECT_NEAR(got, want, 1e-6 * std::max(1.0, std::fabs(want))) << c.f << " -> " << d.re;
  }
  // The Airy cores are accurate to about 1e-8: a coarser difference.
  for (const char *f : {"airya(x)", "airyb(x)"}) {
    const ComplexText d = EvaluateDerivative(std::string(f) + ",x,1.2", s.env);
    const double got = Value(d.re, s.env);
    const double want = (At(f, 1.201, s.env) - At(f, 1.199, s.env)) / 0.002;
    EXPECT_NEAR(got, want, 1e-4) << f << " -> " << d.re;
  }
}

TEST(Derivative, TextsUsersSee) {
  Scope s;
  struct Case {
    const char *arguments, *want;
  } cases[] = {
      {"x^2,x", "2*x"},
      {"x^2,x,3", "6"},
      {"sin(x)^2,x", "2*cos(x)*sin(x)"},
      {"floor(x),x", "deriv(floor(x),x)"},
      {"besselj(x,2),x", "0.5*(besselj(x,1)-besselj(x,3))"},
      {"cos(x),x", "-sin(x)"},
      {"sin(x),2", "deriv(sin(x),2)"},
      {"y^2,x", "0"},
      {"x^2+x^2,x", "4*x"},
  };
  for (const Case &c : cases) {
    const ComplexText d = EvaluateDerivative(c.arguments, s.env);
    EXPECT_EQ(JoinComplex(d.re, d.im), c.want) << c.arguments;
  }
  EXPECT_NE(EvaluateDerivative("airya(x),x", s.env).re.find("besseli("), std::string::npos);
  // The general power rule: x^x (1 + ln x) is 1 at x = 1.
  EXPECT_DOUBLE_EQ(Value(EvaluateDerivative("x^x,x,1", s.env).re, s.env), 1.0);
  EXPECT_EQ(DifferentiateText("a,b=c", "x", s.env), ">invalid_expression<");
  EXPECT_EQ(DifferentiateText(">invalid_object<*x", "x", s.env), ">invalid_expression<");
}

TEST(Derivative, StoredVariableIsLeftAlone) {
  Scope s;
  Object *three = NewNumericValueObject(3.0, 0.0, s.env);
  RBSTInsert(&s.env->objectTable, s.env->objectTable.root, "x", three);
  const ComplexText d = EvaluateDerivative("x^2,x", s.env);
  EXPECT_EQ(d.re, "6");
  RBSTNode *n = RBSTFind(s.env->objectTable.root, "x");
  ASSERT_NE(n, nullptr);
  EXPECT_EQ(static_cast<Object *>(n->value), three);
  EXPECT_EQ(Numeric(three)->re, 3.0);
  EXPECT_EQ(RBSTFind(s.env->objectTable.root, "x\x01"), nullptr);
}

TEST(Derivative, ObjectHandler) {
  Scope s;
  auto call = [&](std::vector<Object *> args) {
    std::vector<Object *> items{nullptr};
    items.insert(items.end(), args.begin(), args.end());
    ArgumentList list{static_cast<int32_t>(items.size()), items.data()};
    int32_t owned = 0;
    Object *r = DerivObjectHandler(&list, s.env, &owned);
    std::string text = !r ? "(null)"
                       : r->tag == kTagNumeric ? NumberText(Numeric(r)->re)
                       : r->tag == kTagSplit   ? JoinComplex(Split(r)->re, Split(r)->im)
                                               : std::string(AlgebraicText(r));
    if (owned) FreeObject(r);
    for (Object *o : args) FreeObject(o);
    return text;
  };
  EXPECT_EQ(call({NewNumericValueObject(5, 0, s.env), NewAlgebraicObject("x", s.env)}), "0");
  EXPECT_EQ(call({NewAlgebraicObject("x^2", s.env), NewAlgebraicObject("x", s.env),
                  NewNumericValueObject(3, 0, s.env)}),
            "6");
  EXPECT_EQ(call({NewAlgebraicObject("sin(x)", s.env), NewNumericValueObject(2, 0, s.env)}), ">invalid_expression<");
  EXPECT_EQ(call({NewAlgebraicObject("x", s.env), NewStringObject("x", s.env)}), ">invalid_object<");
  EXPECT_EQ(call({NewAlgebraicObject("x", s.env)}), "(null)");
}

TEST(Derivative, LongAndDeepInputsEndInTime) {
  Scope s;
  std::string sum = "x";
  for (int k = 1; k < 500; ++k) sum += "+" + std::to_string(k % 7 + 1) + "*x^" + std::to_string(k % 5 + 1);
  const auto start = std::chrono::steady_clock::now();
  const ComplexText d = EvaluateDerivative(sum + ",x,1", s.env);
  double expected = 1;
  for (int k = 1; k < 500; ++k) expected += (k % 7 + 1) * (k % 5 + 1);
  double got = 0.0;
  ASSERT_TRUE(IsNumericPair(d, &got)) << d.re.substr(0, 80);
  EXPECT_DOUBLE_EQ(got, expected);
  std::string nested = "x";
  for (int k = 0; k < 600; ++k) nested = "sin(" + nested + ")";
  const ComplexText n = EvaluateDerivative(nested + ",x", s.env);
  EXPECT_FALSE(n.re.empty());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace qvx

namespace qvx {
namespace {

// Through the script entry the variable is read as it was written, so a
// stored x is the point of evaluation, not a constant.
TEST(Derivative, ScriptWithStoredVariable) {
  test::Session s;
  s.Run("x=3");
  EXPECT_EQ(s.Run("deriv(x^2,x)"), "6");
  EXPECT_EQ(s.Run("deriv(x^3,x,2)"), "12");
  EXPECT_EQ(s.Run("x"), "3");
  EXPECT_EQ(s.Run("deriv(x^2,3)"), ">invalid_expression<");
  EXPECT_EQ(s.Run("deriv(y^2,y)"), "2*y");
}

// Negation keeps zero parts positive: the phase of -1 is pi.
TEST(Derivative, NegatedRealHasPositivePhase) {
  test::Session s;
  EXPECT_EQ(s.Run("ln(-1)"), s.Run("ln(0-1)"));
  EXPECT_EQ(s.Run("arg(-1)"), "3.14159265358979");
}

}  // namespace
}  // namespace qvx
