// Assignment, variable look-up and member access, through the script entry
// and through the member-form test.
#include <gtest/gtest.h>

#include <string>

#include "engine/program.h"
#include "session.h"

namespace qvx {
namespace {

using test::Session;

TEST(Assign, EchoesTheRightSideAsWritten) {
  Session s;
  EXPECT_EQ(s.Run("x=3+4"), "x <- 3+4");
  EXPECT_EQ(s.Run("x"), "7");
  EXPECT_EQ(s.Run("x^2"), "49");
  EXPECT_EQ(s.Run("y = \"a b\""), "y <- \"a b\"");
  EXPECT_EQ(s.Run("y"), "\"a b\"");
}

TEST(Assign, ReassignmentReplacesTheValue) {
  Session s;
  EXPECT_EQ(s.Run("a=1"), "a <- 1");
  EXPECT_EQ(s.Run("a=a+1"), "a <- a+1");
  EXPECT_EQ(s.Run("a=a*10"), "a <- a*10");
  EXPECT_EQ(s.Run("a"), "20");
  // A symbolic value stays text; the name is bound to it.
  EXPECT_EQ(s.Run("b=q+1"), "b <- q+1");
  EXPECT_EQ(s.Run("b"), "q+1");
}

// A symbolic value keeps the literals of the line that made it as text: the
// placeholders that stood for them are gone once the line has run.
TEST(Assign, StoredSymbolicValuesHoldNoPlaceholders) {
  Session s;
  const struct {
    const char *assignment, *name, *value;
  } cases[] = {
    {"x=1/0", "x", "1/0"},
    {"y=q+2.5", "y", "q+2.5"},
    {"z=(q+1)*i", "z", "i*q+i"},
  };
  for (const auto &c : cases) {
    s.Run(c.assignment);
    const std::string answer = s.Run(c.name);
    for (unsigned char ch : answer) EXPECT_LT(ch, 128) << c.assignment << " -> " << answer;
    if (std::string(c.name) != "z") EXPECT_EQ(answer, c.value) << c.assignment;
  }
  s.Run("m.k=1/0");
  for (unsigned char ch : s.Run("m.k")) EXPECT_LT(ch, 128);
}

TEST(Assign, RefusedLeftSidesChangeNothing) {
  Session s;
  s.Run("a=5");
  for (const char *bad : {"i=2", "this=2", "a+1=2", "2=3", "a=b=c", "(a,b)=1"})
    EXPECT_EQ(s.Run(bad), ">invalid_expression<") << bad;
  EXPECT_EQ(s.Run("a"), "5");
  // A string that looks like a sentinel is stored but reported as one.
  EXPECT_EQ(s.Run("t=\">foo<\""), ">invalid_expression<");
}

TEST(Assign, ListAnswersEachStatement) {
  Session s;
  EXPECT_EQ(s.Run("x=1,y=2"), "x <- 1\n\ny <- 2");
  EXPECT_EQ(s.Run("x+y,x-y"), "3\n\n-1");
  // Control statements answer nothing and add no separator.
  EXPECT_EQ(s.Run("z=0,if:1,z=5;,z"), "z <- 0\n\n5");
}

TEST(Assign, MembersTurnAScalarIntoAMutant) {
  Session s;
  s.Run("a=1");
  EXPECT_EQ(s.Run("a.b=2"), "a.b <- 2");
  EXPECT_EQ(s.Run("a.type()"), "\"mutant\"");
  EXPECT_EQ(s.Run("a.val"), "1");
  EXPECT_EQ(s.Run("a.b+a.val"), "3");
  EXPECT_EQ(s.Run("a.b=a.b*7"), "a.b <- a.b*7");
  EXPECT_EQ(s.Run("a.b"), "14");
  // Nested members and methods defined on the mutant.
  EXPECT_EQ(s.Run("a.c=1,a.c.d=4"), "a.c <- 1\n\na.c.d <- 4");
  EXPECT_EQ(s.Run("a.c.d"), "4");
  EXPECT_EQ(s.Run("a.twice(t)=2*t"), "a.twice(t) <- 2*t");
  EXPECT_EQ(s.Run("a.twice(21)"), "42");
}

TEST(Assign, MissingMembersAreInvalidObjects) {
  Session s;
  EXPECT_EQ(s.Run("u.b"), ">invalid_object<");
  s.Run("a=1");
  EXPECT_EQ(s.Run("a.nothing"), ">invalid_object<");
  EXPECT_EQ(s.Run("u.b=2"), ">invalid_expression<");
}

// A function called as a method of a temporary: the temporary is freed at the
// end of the chain, its result must not keep a link into it (ASan checks).
TEST(Assign, MethodOfATemporaryOutlivesIt) {
  Session s;
  EXPECT_EQ(s.Run("(2).tan(1)"), s.Run("tan(1)"));
  EXPECT_EQ(s.Run("(1+2).sin(0)"), "0");
  EXPECT_EQ(s.Run("y=(x,y).tan(1)"), "y <- (x,y).tan(1)");
  EXPECT_EQ(s.Run("y"), s.Run("tan(1)"));
}

// Evaluation that rebinds a name while a value of it is still in use: an
// earlier argument of the same call, or the stored text being evaluated
// (ASan checks that nothing freed is read).
TEST(Assign, RebindingWhileAValueIsInUse) {
  Session s;
  s.Run("q=:x=2;");
  s.Run("w=foo(x,x=1/a)");
  EXPECT_EQ(s.Run("w"), "foo(2,0)");
  Session t;
  t.Run("x=2");
  t.Run("x=foo(sin(x)/:x=2;)");
  EXPECT_NE(t.Run("foo(n*x,1-n,x=1)"), "");
}

TEST(Assign, MemberForm) {
  struct Case {
    const char *text;
    int32_t form;
  } cases[] = {{"a.b", 1},   {"a.b.c", 1}, {"a..b", 2},  {"a.f(1)", 1}, {"a", 0},    {"a.b+1", 0},
               {"a.b==1", 0}, {"~a.b", 0},  {"a...b", 0}, {".a", 0},     {"a.", 0},   {"a.b!", 0},
               {"f(a.b)", 0}, {"a.b,c", 0}, {"a.b..c", 2}, {"a..b.c", 1}};
  for (const Case &c : cases) EXPECT_EQ(TestMemberForm(c.text), c.form) << c.text;
}

TEST(Assign, CompatibleTypes) {
  Session s;
  Environment *env = s.env();
  Object *num = NewNumericValueObject(1, 0, env);
  Object *alg = NewAlgebraicObject("x", env);
  Object *str = NewStringObject("x", env);
  EXPECT_TRUE(HaveCompatibleTypes(num, alg));
  EXPECT_TRUE(HaveCompatibleTypes(alg, num));
  EXPECT_TRUE(HaveCompatibleTypes(str, str));
  EXPECT_FALSE(HaveCompatibleTypes(str, num));
  FreeObject(num);
  FreeObject(alg);
  FreeObject(str);
}

TEST(Assign, IndexLists) {
  Session s;
  s.Run("k=2");
  EXPECT_EQ(ParseIndexList("(1)(k)(3,4)", s.env()), (std::vector<int32_t>{4, 1, 2, 3, 4}));
  EXPECT_TRUE(ParseIndexList("(1)(q)", s.env()).empty());
  EXPECT_TRUE(ParseIndexList("(1", s.env()).empty());
}

TEST(Assign, DeletingAVariableWhileItIsRead) {
  Session s;
  EXPECT_EQ(s.Run("y=3,y+delete(y)"), "y <- 3\n\n4");
  EXPECT_EQ(s.Run("y"), "y");
  s.Run("f(a,b)=a+b");
  s.Run("x=2");
  EXPECT_EQ(s.Run("f(x,delete(x))"), "3");
  EXPECT_EQ(s.Run("delete(\"nothing\")"), "0");
}

}  // namespace
}  // namespace qvx
