// The evaluator's text tests and searches, below the script entry: where a
// text splits, what counts as a name or a sentinel, and the tolerance of
// equality. Texts here are already normalised (no blanks, no literals).
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "engine/evaluate.h"
#include "libquorvex.h"

namespace qvx {
namespace {

TEST(Evaluate, ArithmeticSplitPositions) {
  struct {
    const char *text;
    int32_t position;
    char op;
  } cases[] = {
      {"a-b+c", 3, '+'},   {"a+b-c", 1, '+'},  {"a/b*c", 3, '*'},  {"a*b/c", 1, '*'},
      {"a^b^c", 1, '^'},   {"-a", -1, 0},      {"-a-b", 2, '-'},   {"a*-b", 1, '*'},
      {"a^-b", 1, '^'},    {"(a+b)", -1, 0},   {"f(a+b)*c", 6, '*'}, {"a", -1, 0},
      {"a+:b+c;", 1, '+'}, {"a)b", -1, 0},
  };
  for (const auto &c : cases) {
    char op = 0;
    EXPECT_EQ(FindArithmeticOperator(c.text, &op), c.position) << c.text;
    if (c.position > 0) {
      EXPECT_EQ(op, c.op) << c.text;
    }
  }
}

TEST(Evaluate, LogicalSplitPositions) {
  struct {
    const char *text;
    int32_t position;
    int32_t length;
  } cases[] = {
      {"a|b&c", 1, 1},   {"a&b|c", 3, 1},  {"a<b==c", 3, 2}, {"a<b<c", 3, 1},   {"a>b>c", 1, 1},
      {"a<=b<=c", 4, 2}, {"a~=b", 1, 2},   {"(a|b)", -1, 0}, {"a+b", -1, 0},    {"a>=b", 1, 2},
  };
  for (const auto &c : cases) {
    int32_t length = -1;
    EXPECT_EQ(FindLogicalOperator(c.text, &length), c.position) << c.text;
    EXPECT_EQ(length, c.length) << c.text;
  }
}

TEST(Evaluate, FactsSeeDepthZeroOnly) {
  const Facts f = ScanFacts("a+(b*c)-[d,e]");
  EXPECT_TRUE(f.present & kFactPlus);
  EXPECT_TRUE(f.present & kFactMinus);
  EXPECT_TRUE(f.Absent(kFactStar));
  EXPECT_TRUE(f.Absent(kFactComma));
  // A mismatch leaves every search to the exact functions.
  EXPECT_EQ(ScanFacts("a)+(b").present, static_cast<uint32_t>(kFactAll));
  EXPECT_EQ(ScanFacts("(a").present, static_cast<uint32_t>(kFactAll));
}

TEST(Evaluate, PlainSymbols) {
  for (const char *yes : {"x", "abc_1", "\x85\x86", "1abc"}) EXPECT_TRUE(IsPlainSymbol(yes)) << yes;
  for (const char *no : {"", "i", "this", "1", "0x1f", "1e5", "a+b", "f(x)", "a.b", "\"s\"", "a=b", "~a", "a,b"})
    EXPECT_FALSE(IsPlainSymbol(no)) << no;
}

TEST(Evaluate, Sentinels) {
  EXPECT_TRUE(ContainsErrorSentinel(">invalid_expression<"));
  EXPECT_TRUE(ContainsErrorSentinel("1+>evaluation_aborted<"));
  EXPECT_TRUE(ContainsErrorSentinel(">>x<"));
  EXPECT_TRUE(ContainsErrorSentinel("a>b<c+1"));  // a text test: ">b<" has the shape of one
  EXPECT_FALSE(ContainsErrorSentinel("a>b+c<d"));
  EXPECT_FALSE(ContainsErrorSentinel("x<y"));
  EXPECT_FALSE(ContainsErrorSentinel("><"));
  EXPECT_FALSE(ContainsErrorSentinel(""));
}

TEST(Evaluate, NearEqualityIsRelative) {
  EXPECT_TRUE(IsNearlyEqual(0.0, 0.0));
  EXPECT_TRUE(IsNearlyEqual(1.0, 1.0 + 2e-16));
  EXPECT_FALSE(IsNearlyEqual(1.0, 1.0 + 1e-14));
  EXPECT_FALSE(IsNearlyEqual(1e-300, 0.0));  // nothing non-zero is nearly 0
  EXPECT_TRUE(IsNearlyEqual(1e300, 1e300));
  EXPECT_TRUE(std::isnan(AtoF("")));
  EXPECT_TRUE(std::isnan(AtoF("x")));
  EXPECT_EQ(AtoF("0x10"), 16.0);
}

TEST(Evaluate, CallForm) {
  EXPECT_TRUE(TestCallForm("f(x)"));
  EXPECT_TRUE(TestCallForm("sin(a*(b+c))"));
  EXPECT_FALSE(TestCallForm("f(x)*(y)"));
  EXPECT_FALSE(TestCallForm("(x)"));
  EXPECT_FALSE(TestCallForm("2(x)"));
  EXPECT_FALSE(TestCallForm("f(x)", 1));  // the caller already knows it is a plain symbol
}

}  // namespace
}  // namespace qvx
