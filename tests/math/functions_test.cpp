// The predefined functions: numbers against reference values, symbolic
// arguments against their fallback texts, bad arguments against the
// sentinels, and the help lists.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "libquorvex.h"
#include "math/functions.h"
#include "text/textarith.h"
#include "objects/environment.h"

namespace qvx {
namespace {

struct Scope {
  Environment *env = CreateEnvironment(nullptr, 0);
  ~Scope() { TerminateEnvironment(env); }
};

// Calls the object handler of `key` with the given argument objects (taken
// over and freed here).
struct Call {
  Object *result = nullptr;
  int32_t owned = 0;
  Call(const char *key, std::vector<Object *> args, Environment *env) {
    std::vector<Object *> items{nullptr};
    items.insert(items.end(), args.begin(), args.end());
    ArgumentList list{static_cast<int32_t>(items.size()), items.data()};
    ObjectHandler h = FindPredefinedHandler(key);
    EXPECT_NE(h, nullptr) << key;
    if (h) result = h(&list, env, &owned);
    for (Object *o : args) FreeObject(o);
  }
  ~Call() {
    if (owned) FreeObject(result);
  }
  std::string Text() const {
    if (!result) return "(null)";
    if (result->tag == kTagAlgebraic) return AlgebraicText(result);
    if (result->tag == kTagSplit) return JoinComplex(Split(result)->re, Split(result)->im);
    if (result->tag == kTagNumeric) return JoinComplex(NumberText(Numeric(result)->re), NumberText(Numeric(result)->im));
    return "(tag " + std::to_string(result->tag) + ")";
  }
};

Object *N(double re, Environment *env, double im = 0.0) { return NewNumericValueObject(re, im, env); }
Object *A(const char *text, Environment *env) { return NewAlgebraicObject(text, env); }

TEST(Functions, NumericReferenceValues) {
  Scope s;
  struct Case {
    const char *key;
    std::vector<double> args;  // real arguments
    double re, im;
  } cases[] = {
      {"sin(1)", {1}, 0.8414709848078965, 0},       {"cos(1)", {1}, 0.5403023058681398, 0},
      {"tan(1)", {1}, 1.5574077246549023, 0},       {"sinh(1)", {1}, 1.1752011936438014, 0},
      {"cosh(1)", {1}, 1.5430806348152437, 0},      {"tanh(1)", {1}, 0.7615941559557649, 0},
      {"arcsin(1)", {0.5}, 0.5235987755982989, 0},  {"arccos(1)", {0.5}, 1.0471975511965979, 0},
      {"arctan(1)", {1}, 0.7853981633974483, 0},    {"arcsinh(1)", {1}, 0.881373587019543, 0},
      {"arccosh(1)", {2}, 1.3169578969248166, 0},   {"arctanh(1)", {0.5}, 0.5493061443340549, 0},
      {"ln(1)", {-1}, 0, 3.141592653589793},        {"log(1)", {100}, 2, 0},
      {"exp(1)", {1}, 2.718281828459045, 0},        {"sqrt(1)", {-4}, 0, 2},
      {"abs(1)", {-3}, 3, 0},                       {"arg(1)", {-1}, 3.141592653589793, 0},
      {"round(1)", {2.5}, 3, 0},                    {"floor(1)", {-1.5}, -1, 0},
      {"ceil(1)", {-1.5}, -2, 0},                   {"ceil(1)", {1.25}, 2, 0},
      {"sign(1)", {-7}, -1, 0},                     {"mod(2)", {7, 3}, 1, 0},
      {"hypot(2)", {3, 4}, 5, 0},                   {"arctan2(2)", {1, -1}, 2.356194490192345, 0},
      {"gcd(2)", {12, 18}, 6, 0},                   {"comb(2)", {5, 2}, 10, 0},
      {"perm(2)", {5, 2}, 20, 0},                   {"comb(2)", {0.5, 0.5}, 1, 0},
      {"besselj(2)", {1, 0}, 0.7651976865579666, 0}, {"besselj(2)", {2.5, 1}, 0.4970941024642741, 0},
      {"bessely(2)", {1, 0}, 0.08825696421567697, 0}, {"besseli(2)", {1, 0}, 1.2660658777520082, 0},
      {"besselk(2)", {1, 0}, 0.42102443824070834, 0}, {"legendre(3)", {0.5, 2, 0}, -0.125, 0},
      {"legendre(3)", {0.5, 1, 1}, -0.8660254037844386, 0},
      {"airya(1)", {0}, 0.3550280538878172, 0},     {"airyb(1)", {0}, 0.6149266274460007, 0},
      {"mean()", {1, 2, 3, 4}, 2.5, 0},             {"median()", {3, 1, 2}, 2, 0},
      {"median()", {4, 1, 3, 2}, 2.5, 0},           {"variance()", {1, 2, 3, 4}, 1.6666666666666667, 0},
      {"min()", {3, -1, 2}, -1, 0},                 {"max()", {3, -1, 2}, 3, 0},
      {"re(1)", {5}, 5, 0},                         {"im(1)", {5}, 0, 0},
  };
  for (const Case &c : cases) {
    std::vector<Object *> args;
    for (double a : c.args) args.push_back(N(a, s.env));
    Call call(c.key, args, s.env);
    ASSERT_NE(call.result, nullptr) << c.key;
    ASSERT_EQ(call.result->tag, kTagNumeric) << c.key << " " << call.Text();
    // The Airy cores are accurate to about 1e-8.
    const double tol = (std::strncmp(c.key, "airy", 4) == 0 ? 1e-8 : 1e-13) * std::max(1.0, std::fabs(c.re));
    EXPECT_NEAR(Numeric(call.result)->re, c.re, tol) << c.key << "(" << c.args[0] << ")";
    EXPECT_NEAR(Numeric(call.result)->im, c.im, 1e-13) << c.key;
  }
}

TEST(Functions, ComplexArguments) {
  Scope s;
  Call cosine("cos(1)", {N(1, s.env, 1)}, s.env);
  EXPECT_NEAR(Numeric(cosine.result)->re, 0.8337300251311491, 1e-15);
  EXPECT_NEAR(Numeric(cosine.result)->im, -0.9888977057628651, 1e-15);
  Call sine("sin(1)", {N(1, s.env, 1)}, s.env);
  EXPECT_NEAR(Numeric(sine.result)->re, 1.2984575814159773, 1e-15);
  EXPECT_NEAR(Numeric(sine.result)->im, 0.6349639147847361, 1e-15);
  Call e("exp(1)", {N(0, s.env, 3.141592653589793)}, s.env);
  EXPECT_NEAR(Numeric(e.result)->re, -1.0, 1e-15);
  Call sg("sign(1)", {N(3, s.env, 4)}, s.env);
  EXPECT_NEAR(Numeric(sg.result)->re, 0.6, 1e-15);
  EXPECT_NEAR(Numeric(sg.result)->im, 0.8, 1e-15);
  // Complex arctan2: the real part of arctan(y/x) is moved by pi as the
  // language defines it.
  Call a2("arctan2(2)", {N(1, s.env, 1), N(-1, s.env)}, s.env);
  const Complex w = ArctanC(-1, -1);
  EXPECT_NEAR(Numeric(a2.result)->re, w.re - 3.141592653589793, 1e-14);
  // A Bessel function of complex order keeps its call text.
  Call bj("besselj(2)", {N(1, s.env), N(1, s.env, 1)}, s.env);
  EXPECT_EQ(bj.Text(), "besselj(1,1+i)");
}

TEST(Functions, SymbolicFallbacks) {
  Scope s;
  struct Case {
    const char *key, *argument, *want;
  } cases[] = {
      {"cos(1)", "-x", "cos(x)"},        {"sin(1)", "-x", "-sin(x)"},     {"sin(1)", "x", "sin(x)"},
      {"cosh(1)", "-(x)", "cosh(x)"},    {"arcsinh(1)", "-y", "-arcsinh(y)"}, {"abs(1)", "-x", "abs(x)"},
      {"tan(1)", "-x", "-sin(x)/cos(x)"}, {"tanh(1)", "x", "sinh(x)/cosh(x)"}, {"ln(1)", "-x", "ln(-x)"},
      {"airya(1)", "-x", "airya(-x)"},   {"besselj(2)", "x,2", "besselj(x,2)"},
      {"legendre(3)", "x,2,1", "legendre(x,2,1)"}, {"mean()", "x,1", "mean(x,1)"},
      {"hypot(2)", "x,y", "hypot(x,y)"}, {"sin(1)", "x+x", "sin(2*x)"}, {"cos(1)", "2", "-0.416146836547142"},
  };
  for (const Case &c : cases) {
    const ComplexText z = FindSplitHandler(c.key)(c.argument, s.env);
    EXPECT_EQ(z.re, c.want) << c.key << " " << c.argument;
    EXPECT_EQ(z.im, "0") << c.key;
  }
  EXPECT_EQ(FindSplitHandler("exp(1)")("x", s.env).re.rfind("2.71828182845904523536^", 0), 0u);
  EXPECT_NE(FindSplitHandler("sqrt(1)")("x", s.env).re.find("0.5"), std::string::npos);
  // Through the object handler a symbolic result is a split pair.
  Call sym("sin(1)", {A("-x", s.env)}, s.env);
  ASSERT_EQ(sym.result->tag, kTagSplit);
  EXPECT_EQ(sym.Text(), "-sin(x)");
}

TEST(Functions, BadArguments) {
  Scope s;
  EXPECT_EQ(Call("sin(1)", {N(1, s.env), N(2, s.env)}, s.env).Text(), ">invalid_object<");
  EXPECT_EQ(Call("sin(1)", {NewStringObject("text", s.env)}, s.env).Text(), ">invalid_object<");
  EXPECT_EQ(Call("exp(1)", {NewStringObject("2", s.env)}, s.env).Text(), ">invalid_object<");
  EXPECT_EQ(Call("sin(1)", {A("a=b", s.env)}, s.env).Text(), ">invalid_expression<");
  EXPECT_EQ(Call("sin(1)", {A("a,b", s.env)}, s.env).Text(), ">invalid_expression<");
  EXPECT_EQ(Call("sin(1)", {A("", s.env)}, s.env).Text(), ">invalid_expression<");
  EXPECT_EQ(Call("cos(1)", {A(">invalid_object<", s.env)}, s.env).Text(), ">invalid_expression<");
  // A variadic function outside its range yields nothing, so that a user
  // function of that name can be looked for.
  Call none("mean()", {}, s.env);
  EXPECT_EQ(none.result, nullptr);
  EXPECT_EQ(none.owned, 0);
  // Infinite values keep the call text; huge orders end quickly.
  EXPECT_EQ(Call("ln(1)", {N(0, s.env)}, s.env).Text(), "ln(0)");
  EXPECT_EQ(Call("mod(2)", {N(1, s.env), N(0, s.env)}, s.env).Text(), "mod(1,0)");
  const auto start = std::chrono::steady_clock::now();
  Call huge("besselj(2)", {N(1, s.env), N(1e6, s.env)}, s.env);
  Call deep("legendre(3)", {N(0.5, s.env), N(1e12, s.env), N(0, s.env)}, s.env);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  ASSERT_NE(huge.result, nullptr);
  if (huge.result->tag == kTagNumeric) {
    EXPECT_LT(std::fabs(Numeric(huge.result)->re), 1e-300);
  }
  EXPECT_EQ(deep.Text(), "legendre(0.5,1e+12,0)");
}

TEST(Functions, RandomDrawsStayInRange) {
  Scope s;
  SetSeed(s.env, 17);
  for (int k = 0; k < 50; ++k) {
    Call r("rand(2)", {N(2, s.env), N(3, s.env)}, s.env);
    ASSERT_EQ(r.result->tag, kTagNumeric);
    EXPECT_GE(Numeric(r.result)->re, 2.0);
    EXPECT_LE(Numeric(r.result)->re, 3.0);
    EXPECT_EQ(Numeric(r.result)->im, 0.0);
    Call ri("randint(2)", {N(-2.4, s.env), N(1.6, s.env, 1)}, s.env);
    const double re = Numeric(ri.result)->re, im = Numeric(ri.result)->im;
    EXPECT_TRUE(re >= -2 && re <= 2 && re == std::floor(re)) << re;
    EXPECT_TRUE(im == 0 || im == 1) << im;
  }
}

TEST(Functions, TablesAndDerivativeKeys) {
  EXPECT_EQ(PredefinedFunctions().size(), 51u);  // with sum, prod, int, root, primefactors, hmstime
  for (const char *key : {"cos(1)", "cosh(1)", "besselj(2)", "legendre(3)", "airyb(1)", "abs(1)"})
    EXPECT_NE(FindDeriveHandler(key), nullptr) << key;
  for (const char *key : {"floor(1)", "mean()", "gcd(2)", "arctan2(2)", "cos(2)"})
    EXPECT_EQ(FindDeriveHandler(key), nullptr) << key;
  EXPECT_NE(FindPredefinedHandler("deriv()"), nullptr);
  EXPECT_EQ(FindPredefinedHandler("sin(2)"), nullptr);
}

std::vector<std::string> Strings(char **v) {
  std::vector<std::string> out;
  for (int32_t k = 0; k < StringVectorLength(v); ++k) out.emplace_back(v[k]);
  FreeStringVector(v);
  return out;
}

TEST(Help, ListsAndRows) {
  EXPECT_EQ(GetPredefinedFunctionListSize(), 49);
  EXPECT_EQ(GetEnvironmentFunctionListSize(), 24);
  EXPECT_EQ(GetProgrammingCommandListSize(), 3);
  for (char **v : {GetPredefinedFunctionLabels(), GetEnvironmentFunctionLabels(), GetProgrammingCommandLabels()}) {
    const std::vector<std::string> labels = Strings(v);
    EXPECT_TRUE(std::is_sorted(labels.begin(), labels.end())) << labels.front();
  }
  char **raw = GetPredefinedFunctionInfo("deriv");
  ASSERT_NE(raw, nullptr);
  EXPECT_STREQ(raw[2], "");  // the third, empty text
  std::vector<std::string> info = Strings(raw);
  ASSERT_EQ(info.size(), 2u);
  EXPECT_EQ(info[0], "deriv(f(x),x,a)");
  EXPECT_EQ(info[1],
            "\"deriv(f(x),x,a)\" evaluates the total derivative of an expression \"f(x)\" with respect to a "
            "variable \"x\", and evaluates the result at \"x=a\"");
  EXPECT_EQ(Strings(GetPredefinedFunctionInfo("arctanh"))[1], "\"arctanh(z)\" evaluates the hyperbolic tangent of \"z\"");
  EXPECT_EQ(Strings(GetPredefinedFunctionInfo("legendre"))[1],
            "\"legendre(x,xl,xm)\" computes the associated Legendre function of integer degree xl (xl<=0) and "
            "integer order xm (|xm|<=xl) at the position x (|x|<=1)");
  EXPECT_EQ(Strings(GetPredefinedFunctionInfo("cos"))[1], "\"cos(z)\" evaluates the cosine of \"z\"");
  info = Strings(GetPredefinedFunctionInfo("no such"));
  EXPECT_EQ(info[0], "<unknown>");
  EXPECT_EQ(info[1], "<unknown>");
  EXPECT_EQ(Strings(GetProgrammingCommandInfo("for"))[0], "for:(initialize),(bool),(increment),___;");
  EXPECT_EQ(Strings(GetEnvironmentFunctionInfo("polynome\nfit"))[0].substr(0, 8), "polyfit(");
  char *about = About();
  EXPECT_STREQ(about, "Sorvantis - A lightweight scientific toolbox.\n");
  FreeString(about);
}

TEST(BesselRoots, FirstRootsOfJ0) {
  double *r = BesselFuncRoots(0.0, 10.0, 1000);
  ASSERT_NE(r, nullptr);
  ASSERT_EQ(r[0], 3.0);
  EXPECT_NEAR(r[1], 2.404825557695773, 1e-13);
  EXPECT_NEAR(r[2], 5.520078110286311, 1e-13);
  EXPECT_NEAR(r[3], 8.653727912911013, 1e-13);
  FreeVector(r);
  r = BesselFuncRoots(1.0, -1.0, 10);
  EXPECT_EQ(r[0], 0.0);
  FreeVector(r);
}

}  // namespace
}  // namespace qvx
