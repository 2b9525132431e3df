// Function calls, frames and blocks.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/program.h"
#include "session.h"

namespace qvx {
namespace {

using test::Session;

TEST(Calls, DefinitionAndCall) {
  Session s;
  EXPECT_EQ(s.Run("f(x)=x^2"), "f(x) <- x^2");
  EXPECT_EQ(s.Run("f(3)"), "9");
  EXPECT_EQ(s.Run("f(3)+f(4)"), "25");
  EXPECT_EQ(s.Run("p(a,b)=a-b"), "p(a,b) <- a-b");
  EXPECT_EQ(s.Run("p(10,3)"), "7");
  EXPECT_EQ(s.Run("p(3,10)"), "-7");  // arguments bind in order
  EXPECT_EQ(s.Run("f(y)"), "y^2");    // a symbolic argument stays symbolic
  // A body that assigns nothing to return gives 0.
  EXPECT_EQ(s.Run("g(x)=(a=x)"), "g(x) <- (a=x)");
  EXPECT_EQ(s.Run("g(5)"), "0");
}

TEST(Calls, UnknownFunctionAnswersWithItsCallText) {
  Session s;
  EXPECT_EQ(s.Run("h(2)"), "h(2)");
  EXPECT_EQ(s.Run("h(1+1,q)"), "h(2,q)");
  EXPECT_EQ(s.Run("f(x)=x"), "f(x) <- x");
  EXPECT_EQ(s.Run("f(1,2)"), "f(1,2)");  // arity is part of the key
}

TEST(Calls, Recursion) {
  Session s;
  s.Run("fact(n)=if:n<2,return=1,else,return=n*fact(n-1);");
  EXPECT_EQ(s.Run("fact(5)"), "120");
  s.Run("fib(n)=if:n<2,return=n,else,return=fib(n-1)+fib(n-2);");
  EXPECT_EQ(s.Run("fib(15)"), "610");
  // Two frames of one function see their own parameters.
  s.Run("ack(m,n)=if:m==0,return=n+1,elseif,n==0,return=ack(m-1,1),else,return=ack(m-1,ack(m,n-1));");
  EXPECT_EQ(s.Run("ack(2,3)"), "9");
}

TEST(Calls, FramesRestoreOuterValues) {
  Session s;
  s.Run("x=5,z=7");
  s.Run("f(x)=x*2");
  EXPECT_EQ(s.Run("f(3)"), "6");
  EXPECT_EQ(s.Run("x"), "5");
  // A body that writes an outer variable writes a shadow of it.
  s.Run("w(a)=(z=a,return=z*10)");
  EXPECT_EQ(s.Run("w(2)"), "20");
  EXPECT_EQ(s.Run("z"), "7");
  // Variables a function creates leave with it; no frame name is left over.
  s.Run("v(a)=(tmp=a,return=tmp+1)");
  EXPECT_EQ(s.Run("v(1)"), "2");
  EXPECT_EQ(s.Run("tmp"), "tmp");
  EXPECT_EQ(s.Run("print()"), "OBJECTS\n  x = 5\n  z = 7\n");
}

TEST(Calls, RunawayRecursionEndsWithASentinel) {
  Session s;
  s.Run("f(x)=f(x)+1");
  EXPECT_EQ(s.Run("f(1)"), ">invalid_expression<");
  EXPECT_EQ(s.Run("y=f(1)"), ">invalid_expression<");
  // The session is intact.
  EXPECT_EQ(s.Run("1+1"), "2");
  EXPECT_EQ(s.Run("print()"), "");
  s.Run("g(n)=if:n<1,return=0,else,return=g(n-1)+1;");
  EXPECT_EQ(s.Run("g(50)"), "50");
}

TEST(Calls, Blocks) {
  Session s;
  EXPECT_EQ(s.Run(":3+4;"), "7");
  EXPECT_EQ(s.Run(":;"), "0");
  EXPECT_EQ(s.Run("y=:3+4;*2"), "y <- :3+4;*2");
  EXPECT_EQ(s.Run("y"), "14");
  EXPECT_EQ(s.Run("y=:a=2,return=a*a;"), "y <- :a=2,return=a*a;");
  EXPECT_EQ(s.Run("y"), "4");
}

TEST(Calls, ReturnKeysCannotBeTyped) {
  Session s;
  // Return outside a function is a plain statement of the top level, gone
  // when the script ends.
  EXPECT_EQ(s.Run("return=7"), "return <- 7");
  EXPECT_EQ(s.Run("return"), "return");
  s.Run("f(x)=(return=x,q=1)");
  EXPECT_EQ(s.Run("f(3)"), "3");
  EXPECT_EQ(s.Run("print()"), "");
}

TEST(Calls, SubstituteArgumentsReplacesWholeNamesOnly) {
  const std::vector<std::string> from{"x", "n"};
  const std::vector<std::string> to{"x\x01", "n\x01"};
  struct Case {
    const char *in, *out;
  } cases[] = {
      {"x+xx+x1+ax", "x\x01+xx+x1+ax"},
      {"n*f(n-1)", "n\x01*f(n\x01-1)"},
      {"a.x+x", "a.x+x\x01"},          // a member name is not the parameter
      {"1..x", "1..x\x01"},            // a range bound is
      {"\x81x\x82+x", "\x81x\x82+x\x01"},  // inside a literal placeholder: untouched
  };
  for (const Case &c : cases) EXPECT_EQ(SubstituteArguments(c.in, from, to), c.out) << c.in;
}

}  // namespace
}  // namespace qvx
