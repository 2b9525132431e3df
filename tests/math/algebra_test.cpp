// Text arithmetic and the simplifier: folding rules, signs, neutral
// elements, factoring, and the stability of a simplified text.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "libquorvex.h"
#include "math/algebra.h"
#include "text/textarith.h"
#include "objects/environment.h"

namespace qvx {
namespace {

struct Scope {
  Environment *env = CreateEnvironment(nullptr, 0);
  ~Scope() { TerminateEnvironment(env); }
};

std::string Simplified(std::string text, Environment *env) {
  SimplifyExpressionText(text, 0, 0, env);
  return text;
}

TEST(TextArithmetic, FoldsNumbersAndNeutralElements) {
  struct Case {
    char op;
    const char *a, *b, *want;
  } cases[] = {
      {'+', "1", "2", "3"},       {'+', "x", "x", "2*x"},     {'+', "x", "-x", "0"},
      {'+', "0", "x", "x"},       {'+', "x", "", "x"},        {'+', "-a", "b", "b-a"},
      {'+', "a", "-b", "a-b"},    {'-', "x", "x", "0"},       {'-', "a", "b-c", "a-b+c"},
      {'*', "x", "x", "x^2"},     {'*', "0", "x", "0"},       {'*', "1", "x", "x"},
      {'*', "i", "i", "-1"},      {'*', "-i", "i", "1"},      {'*', "b", "a", "a*b"},
      {'*', "a", "b", "a*b"},     {'*', "x", "2", "2*x"},     {'*', "-x", "y", "-x*y"},
      {'*', "a+b", "c", "(a+b)*c"}, {'*', "a+b", "a+b", "(a+b)^2"}, {'*', "2", "3", "6"},
      {'/', "x", "x", "1"},       {'/', "x", "0", ">invalid_expression<"}, {'/', "0", "x", "0"},
      {'/', "x", "1", "x"},       {'/', "x", "4", "0.25*x"},  {'/', "a", "b*c", "a/(b*c)"},
      {'/', "a+b", "c", "(a+b)/c"}, {'/', "-a", "b", "-a/b"},  {'/', "6", "3", "2"},
      {'^', "x", "1", "x"},       {'^', "x", "0", "1"},       {'^', "1", "x", "1"},
      {'^', "2", "10", "1024"},   {'^', "-x", "2", "(-x)^2"}, {'^', "x", "-1", "x^(-1)"},
      {'^', "a+b", "c", "(a+b)^c"}, {'^', "sin(x)", "2", "sin(x)^2"},
      {'+', ">invalid_object<", "x", ">invalid_object<"},
      {'*', "x", ">invalid_expression<", ">invalid_expression<"},
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

TEST(TextArithmetic, NegationAndJoin) {
  struct Case {
    const char *in, *want;
  } cases[] = {{"x", "-x"}, {"-x", "x"}, {"-(a+b)", "a+b"}, {"a-b", "-a+b"}, {"2", "-2"}, {"", "0"},
               {"-2*x", "2*x"}, {"a<b", "-(a<b)"}};
  for (const Case &c : cases) {
    std::string t = c.in;
    EXPECT_EQ(NegateText(t), c.want) << c.in;
  }
  EXPECT_EQ(JoinComplex("1", "0"), "1");
  EXPECT_EQ(JoinComplex("0", "2"), "2*i");
  EXPECT_EQ(JoinComplex("1", "-1"), "1-i");
  EXPECT_EQ(JoinComplex("x", "0"), "x");
  EXPECT_EQ(JoinComplex("", "y"), "i*y");
  EXPECT_EQ(JoinComplex("x", ">invalid_object<"), ">invalid_expression<");
}

TEST(Simplifier, CollectsAndFactors) {
  Scope s;
  struct Case {
    const char *in, *want;
  } cases[] = {
      {"x+x", "2*x"},
      {"x-x", "0"},
      {"a*b+a*c", "a*(b+c)"},
      {"b*a+c*a", "a*(b+c)"},
      {"2*x+3*x-x", "4*x"},
      {"x*x", "x^2"},
      {"x*x^2", "x^3"},
      {"i*i", "-1"},
      {"1e3", "1000"},
      {"cos(-x)", "cos(x)"},
      {"sin(-x)", "-sin(x)"},
      {"2*sin(-x)+sin(x)", "-sin(x)"},
      {"-a*b-a*c", "-a*(b+c)"},
      {"(a+b)+(c-a)", "b+c"},
      {"x+1+2", "x+3"},
      {"-x+y", "y-x"},
      {"a=b+b", "a=2*b"},
      {"f(x+x,y*1)", "f(2*x,y)"},
      {"x <- y+y", "x <- y+y"},
      {"ab", "ab"},
      {"x,y,>invalid_object<", "x,y,>invalid_object<"},
  };
  for (const Case &c : cases) EXPECT_EQ(Simplified(c.in, s.env), c.want) << c.in;
}

TEST(Simplifier, SecondPassChangesNothing) {
  Scope s;
  const char *inputs[] = {"a*b+a*c+d*b+d*c", "x^2*y+x*y^2+x*y", "a/b+c/b", "sin(x)*cos(x)+sin(x)",
                          "2*x*(y+z)-x*(y+z)", "-(a-b)*c+c*a", "x/(x+1)-1/(x+1)", "((a))*((b))+a*c",
                          "a*b*c+a*b*d+a*e", "1/x+1/y"};
  for (const char *in : inputs) {
    const std::string once = Simplified(in, s.env);
    if (getenv("SHOW")) printf("%s -> %s\n", in, once.c_str());
    EXPECT_EQ(Simplified(once, s.env), once) << in;
    EXPECT_FALSE(HasErrorSentinel(once)) << in << " -> " << once;
  }
}

TEST(Simplifier, DeepAndLongInputsStayBounded) {
  Scope s;
  std::string nested(400, '(');
  nested += "x+x";
  nested += std::string(400, ')');
  EXPECT_EQ(Simplified(nested, s.env).size() < nested.size(), true);
  std::string sum;
  for (int k = 0; k < 500; ++k) sum += "+a" + std::to_string(k % 50) + "*b";
  const std::string out = Simplified(sum, s.env);
  EXPECT_NE(out.find("b*("), std::string::npos) << out.substr(0, 80);
}

TEST(Fractions, SplitMultiplyDivide) {
  Scope s;
  ComplexText f = SplitFraction("-a/b*c", s.env);
  EXPECT_EQ(f.re, "-a*c");
  EXPECT_EQ(f.im, "b");
  f = SplitFraction("(a/b)^2", s.env);
  EXPECT_EQ(f.re, "a^2");
  EXPECT_EQ(f.im, "b^2");
  f = SplitFraction("x^(-2)", s.env);
  EXPECT_EQ(f.re, "1");
  EXPECT_EQ(f.im, "x^2");
  f = SplitFraction("a/b+c/b", s.env);
  EXPECT_EQ(f.re, "a+c");
  EXPECT_EQ(f.im, "b");
  EXPECT_EQ(MultiplyTerms("a/b", "b/c", s.env), "a*b/(b*c)");
  EXPECT_EQ(MultiplyTerms("0", "x", s.env), "0");
  EXPECT_EQ(MultiplyTerms("1", "x/y", s.env), "x/y");
  EXPECT_EQ(DivideTerms("a/b", "c/d", s.env), "a*d/(b*c)");
  EXPECT_EQ(PowerTerms("a/b", "-1", s.env), "b/a");
  std::string r = "x/y";
  EXPECT_EQ(ReciprocalText(r, s.env), "y/x");
  EXPECT_EQ(SplitIntoFactors("-a*b*c").back(), "-1");
  EXPECT_EQ(SplitIntoFactors("a,b").front(), ">invalid_expression<");
}

TEST(Fractions, OwnedTextForms) {
  Scope s;
  std::size_t n = 0;
  char *t = AddTexts("x", nullptr, &n);
  EXPECT_STREQ(t, "x");
  EXPECT_EQ(n, 1u);
  FreeString(t);
  t = MultiplyTerms("a/b", "b", s.env, nullptr);
  EXPECT_STREQ(t, "a*b/b");
  FreeString(t);
  int32_t count = 0;
  char **f = SplitIntoFactors("-a*(b+c)", &count);
  ASSERT_EQ(count, 3);
  EXPECT_STREQ(f[1], "(b+c)");
  EXPECT_STREQ(f[2], "-1");
  FreeStringVector(f);
}

TEST(Fractions, ComplexQuotient) {
  ComplexText q = DivideComplexTexts({"1", "1"}, {"0", "1"});
  EXPECT_EQ(q.re, "1");
  EXPECT_EQ(q.im, "-1");
  q = DivideComplexTexts({"x", "0"}, {"2", "0"});
  EXPECT_EQ(q.re, "0.5*x");
  q = DivideComplexTexts({"x", "y"}, {"0", "d"});
  EXPECT_EQ(q.re, "y/d");
  EXPECT_EQ(q.im, "-x/d");
  EXPECT_EQ(MakeComplexText("x*sin(y)+i"), "(x_re+i*x_im)*sin((y_re+i*y_im))+i");
}

}  // namespace
}  // namespace qvx
