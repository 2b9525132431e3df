// Text arithmetic: the builders are checked by value, not by spelling. Every
// pair of a set of operand texts (signs, brackets, sums, products, powers,
// quotients, numbers) is combined by each builder, and the built text must
// evaluate to the combination of the operands' values; a lost sign or a
// dropped bracket changes the value. Tables then pin the readings of signs
// and terms, and the joined form of a real and an imaginary text.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <string>
#include <vector>

#include "engine/session.h"
#include "libquorvex.h"
#include "math/algebra.h"
#include "text/textarith.h"

namespace qvx {
namespace {

using test::Session;

// Value of an expression text in the session's scope; NaN when it does not
// reduce to a number.
std::complex<double> Value(std::string_view text, Environment *env) {
  const ComplexText z = EvaluateToComplexText(text, env);
  double re = NAN, im = NAN;
  if (!IsNumericPair(z, &re, &im)) return {NAN, NAN};
  return {re, im};
}

bool Close(std::complex<double> got, std::complex<double> want) {
  const double tol = 1e-12 * std::max(1.0, std::abs(want));
  return std::abs(got - want) <= tol;
}

class TextArithmetic : public ::testing::Test {
 protected:
  // Two points, so that a sign that only cancels at one of them shows.
  void Assign(double x, double y) {
    s_.Run("x=" + NumberText(x, 17));
    s_.Run("y=" + NumberText(y, 17));
  }
  Environment *env() { return s_.env(); }
  Session s_;
};

const char *const kOperands[] = {
    "x",       "-x",      "x+y",    "-(x+y)",  "x-y",     "-x+y",   "-(-x)",   "2*x",    "-2*x*y",
    "x^2",     "-x^2",    "(x-y)^2", "x/y",    "-x/y",    "1/(x+y)", "x*(y-1)", "sin(x)", "-sin(x-y)",
    "3",       "-2.5",    "0",      "1",       "-1",      "2e-3",   "x*2e-3",  "(x)",    "((y))",
};

TEST_F(TextArithmetic, BuiltTextsKeepTheValue) {
  for (auto [x, y] : {std::pair{0.7, 1.9}, std::pair{-1.3, 0.45}}) {
    Assign(x, y);
    for (const char *a : kOperands) {
      const std::complex<double> va = Value(a, env());
      ASSERT_TRUE(std::isfinite(va.real())) << a;
      for (const char *b : kOperands) {
        const std::complex<double> vb = Value(b, env());
        struct Built {
          char op;
          std::string text;
          std::complex<double> want;
        } rows[] = {
            {'+', AddTexts(a, b), va + vb},
            {'-', SubtractTexts(a, b), va - vb},
            {'*', MultiplyTexts(a, b), va * vb},
        };
        for (const Built &r : rows)
          EXPECT_TRUE(Close(Value(r.text, env()), r.want))
              << "(" << a << ") " << r.op << " (" << b << ") built \"" << r.text << "\" = " << Value(r.text, env())
              << ", want " << r.want << " at x=" << x << " y=" << y;
        if (std::abs(vb) > 1e-9) {
          const std::string q = DivideTexts(a, b);
          EXPECT_TRUE(Close(Value(q, env()), va / vb)) << a << " / " << b << " built \"" << q << "\"";
        }
      }
      // Powers: integer exponents for every base, a symbolic one for bases
      // that are positive here.
      for (const char *e : {"2", "3", "-1", "-2", "0", "1", "y"}) {
        const std::complex<double> ve = Value(e, env());
        if (std::string(e) == "y" && !(va.real() > 0)) continue;
        if (std::abs(va) < 1e-9 && ve.real() < 0) continue;
        const std::string p = PowerTexts(a, e);
        const std::complex<double> want =
            ve.real() == std::floor(ve.real()) ? std::pow(va, static_cast<int>(ve.real())) : std::pow(va, ve);
        EXPECT_TRUE(Close(Value(p, env()), want)) << a << " ^ " << e << " built \"" << p << "\"";
      }
      std::string n = a;
      NegateText(n);
      EXPECT_TRUE(Close(Value(n, env()), -va)) << "-(" << a << ") built \"" << n << "\"";
      NegateText(n);
      EXPECT_TRUE(Close(Value(n, env()), va)) << "--(" << a << ") built \"" << n << "\"";
    }
  }
}

TEST_F(TextArithmetic, NumbersFoldAtFifteenDigits) {
  struct Case {
    char op;
    const char *a, *b, *want;
  } cases[] = {
      {'+', "0.1", "0.2", "0.3"},    {'-', "1", "1e-16", "1"},      {'*', "-3", "-4", "12"},
      {'/', "1", "3", "0.333333333333333"}, {'/', "-6", "3", "-2"}, {'^', "-2", "3", "-8"},
      {'*', "2", "3*x", "6*x"},      {'*', "-2", "3*x", "-6*x"},    {'*', "2", "-3*x", "-6*x"},
      {'*', "0.5", "2*x", "x"},      {'/', "x", "-2", "-0.5*x"},    {'/', "-x", "-4", "0.25*x"},
      {'+', "-x", "-x", "-2*x"},     {'+', "a-b", "-(a-b)", "0"},   {'-', "-(a+b)", "-(a+b)", "0"},
      {'+', "0", "0", "0"},          {'*', "-0", "x", "0"},         {'/', "0", "0", ">invalid_expression<"},
      {'/', "x", "-0", ">invalid_expression<"}, {'^', "0", "0", "1"},
  };
  for (const Case &c : cases) {
    std::string got;
    switch (c.op) {
      case '+': got = AddTexts(c.a, c.b); break;
      case '-': got = SubtractTexts(c.a, c.b); break;
      case '*': got = MultiplyTexts(c.a, c.b); break;
      case '/': got = DivideTexts(c.a, c.b); break;
      default: got = PowerTexts(c.a, c.b); break;
    }
    EXPECT_EQ(got, c.want) << c.a << " " << c.op << " " << c.b;
  }
}

// Brackets go where the operator needs them and nowhere else.
TEST_F(TextArithmetic, BracketsWhereNeeded) {
  struct Case {
    char op;
    const char *a, *b, *want;
  } cases[] = {
      {'^', "x^2", "3", "(x^2)^3"}, {'^', "-2", "x", "(-2)^x"},    {'^', "(a+b)", "2", "(a+b)^2"},
      {'^', "x", "a+b", "x^(a+b)"}, {'^', "a*b", "c", "(a*b)^c"},  {'^', "f(a+b)", "2", "f(a+b)^2"},
      {'*', "-(a+b)", "c", "-(a+b)*c"}, {'*', "a<b", "c", "(a<b)*c"}, {'/', "a", "b^2", "a/b^2"},
      {'/', "a", "b/c", "a/(b/c)"}, {'/', "a", "-(b+c)", "-a/(b+c)"}, {'/', "a*b", "c", "a*b/c"},
      {'+', "a", "b<c", "a+(b<c)"},  {'+', "a==b", "c", "(a==b)+c"}, {'+', "a", "b,c", "a+(b,c)"},
  };
  for (const Case &c : cases) {
    std::string got;
    switch (c.op) {
      case '+': got = AddTexts(c.a, c.b); break;
      case '*': got = MultiplyTexts(c.a, c.b); break;
      case '/': got = DivideTexts(c.a, c.b); break;
      default: got = PowerTexts(c.a, c.b); break;
    }
    EXPECT_EQ(got, c.want) << c.a << " " << c.op << " " << c.b;
  }
}

TEST_F(TextArithmetic, NegationFlipsEachTermOnce) {
  struct Case {
    const char *in, *want;
  } cases[] = {
      {"--a", "-a"},        {"-(a*b)", "a*b"},       {"-(a+b)*c", "(a+b)*c"}, {"(a)-(b)", "-(a)+(b)"},
      {"a-2e-3", "-a+2e-3"}, {"-a-b-c", "a+b+c"},    {"a*-b+c", "-a*-b-c"},  {"x1e-3", "-x1e+3"},
      {"f(a-b)-c", "-f(a-b)+c"}, {"0", "0"},          {"-0", "0"},            {">invalid_object<", ">invalid_object<"},
  };
  for (const Case &c : cases) {
    std::string t = c.in;
    EXPECT_EQ(NegateText(t), c.want) << c.in;
  }
}

TEST_F(TextArithmetic, SignedReadingsAndTerms) {
  struct Case {
    const char *in, *bare;
    int32_t sign;
    bool sum;
  } cases[] = {
      {"-(-(a*b))", "a*b", 1, false}, {"-(a+b)", "a+b", -1, true},       {"-a+b", "-a+b", 1, true},
      {"--a", "a", 1, false},         {"-((a+b))", "a+b", -1, true},     {"(a+b)*(c+d)", "(a+b)*(c+d)", 1, false},
      {"-(a)+(b)", "-(a)+(b)", 1, true}, {"+x", "x", 1, false},          {"-2e-3", "2e-3", -1, false},
  };
  for (const Case &c : cases) {
    const SignedText r = ReadSigned(c.in);
    EXPECT_EQ(r.bare, c.bare) << c.in;
    EXPECT_EQ(r.sign, c.sign) << c.in;
    EXPECT_EQ(r.sum, c.sum) << c.in;
  }

  struct Split {
    const char *in;
    std::vector<std::pair<int32_t, std::string>> terms;
  } splits[] = {
      {"a-2e-3+b", {{1, "a"}, {-1, "2e-3"}, {1, "b"}}},
      {"x1e-3", {{1, "x1e"}, {-1, "3"}}},
      {"a*-b+c", {{1, "a*-b"}, {1, "c"}}},
      {"-a--b", {{-1, "a"}, {1, "b"}}},
      {"f(a-b)-[c+d]-:e-f;", {{1, "f(a-b)"}, {-1, "[c+d]"}, {-1, ":e-f;"}}},
      {"a^-b-c", {{1, "a^-b"}, {-1, "c"}}},
      {"1.5E+3-x", {{1, "1.5E+3"}, {-1, "x"}}},
  };
  for (const Split &c : splits) {
    std::vector<SignedTerm> terms;
    SplitSum(c.in, &terms);
    std::vector<std::pair<int32_t, std::string>> got;
    for (const SignedTerm &t : terms) got.emplace_back(t.sign, std::string(t.text));
    EXPECT_EQ(got, c.terms) << c.in;
  }
}

// The joined form: a zero part is left out, a unit imaginary part is "i",
// a negative imaginary part is written with "-", brackets where a part
// would otherwise bind wrongly.
TEST_F(TextArithmetic, JoinedComplexTextLeavesOutZeroParts) {
  struct Case {
    const char *re, *im, *want;
  } cases[] = {
      {"0", "0", "0"},      {"", "", "0"},         {"3", "", "3"},        {"3", "0", "3"},
      {"0", "1", "i"},      {"", "-1", "-i"},      {"0", "-2", "-2*i"},   {"-3", "0", "-3"},
      {"1", "2", "1+2*i"},  {"1", "-2", "1-2*i"},  {"-1", "-1", "-1-i"},  {"0", "-0", "0"},
      {"x", "", "x"},       {"x", "0", "x"},       {"", "y", "i*y"},      {"0", "-y", "-i*y"},
      {"x", "y", "x+i*y"},  {"x", "-y", "x-i*y"},  {"x", "1", "x+i"},     {"x", "-1", "x-i"},
      {"x", "y+1", "x+i*(y+1)"}, {"x", "-(y+1)", "x-i*(y+1)"}, {"x+1", "2", "x+1+2*i"},
      {"a<b", "1", "(a<b)+i"}, {"-x", "0", "-x"},    {"0", "x-y", "i*(x-y)"},
      {">invalid_object<", "1", ">invalid_expression<"},
  };
  for (const Case &c : cases) EXPECT_EQ(JoinComplexText(c.re, c.im), c.want) << c.re << " | " << c.im;

  std::size_t n = 99;
  char *t = JoinComplexText(nullptr, "2", &n);
  EXPECT_STREQ(t, "2*i");
  EXPECT_EQ(n, 3u);
  FreeString(t);
  t = JoinComplexText(static_cast<const char *>(nullptr), nullptr, nullptr);
  EXPECT_STREQ(t, "0");
  FreeString(t);
}

// Evaluation to two texts and joining back give the same value, for
// numbers, symbols and mixtures of both.
TEST_F(TextArithmetic, EvaluatedPartsJoinBackToTheSameValue) {
  Assign(0.7, -1.9);
  const char *const texts[] = {"3+4*i", "-2*i", "i", "x", "-x+i*y", "x*y-i", "(x+i)^2", "1/(x+i*y)",
                               "sqrt(-4)", "exp(i*x)", "-(1+i)", "7"};
  for (const char *t : texts) {
    const std::complex<double> want = Value(t, env());
    ASSERT_TRUE(std::isfinite(want.real())) << t;
    const ComplexText z = EvaluateToComplexText(t, env());
    const std::string joined = JoinComplexText(z.re, z.im);
    EXPECT_TRUE(Close(Value(joined, env()), want)) << t << " -> [" << z.re << " | " << z.im << "] -> " << joined;
  }
  struct Case {
    const char *in, *re, *im;
  } cases[] = {{"3+4*i", "3", "4"}, {"-2*i", "0", "-2"}, {"1/3", "0.333333333333333", "0"}};
  for (const Case &c : cases) {
    const ComplexText z = EvaluateToComplexText(c.in, env());
    EXPECT_EQ(z.re, c.re) << c.in;
    EXPECT_EQ(z.im, c.im) << c.in;
  }
  // A symbol without a value stays text; an error comes back in the real part.
  const ComplexText sym = EvaluateToComplexText("q", env());
  EXPECT_EQ(sym.re, "q");
  EXPECT_TRUE(IsZeroNumberText(sym.im));
  const ComplexText bad = EvaluateToComplexText("q/0", env());
  EXPECT_TRUE(HasErrorSentinel(bad.re)) << bad.re << " | " << bad.im;
}

}  // namespace
}  // namespace qvx
