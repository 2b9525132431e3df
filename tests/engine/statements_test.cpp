// Statements and control forms: if, while, for, break, lists, cancellation.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "engine/program.h"
#include "session.h"

namespace qvx {
namespace {

using test::Session;

TEST(Statements, IfElseAndElseif) {
  Session s;
  struct Case {
    const char *script;
    const char *a;
  } cases[] = {
      {"if:1,a=1,else,a=2;", "1"},
      {"if:0,a=1,else,a=2;", "2"},
      {"if:2,a=1;", "a"},  // only the exact text "1" is true
      {"if:q,a=1,else,a=2;", "2"},  // a symbolic condition is false
      {"if:0,a=1,elseif,1,a=2;", "2"},
      {"if:0,a=1,elseif,0,a=2,else,a=3;", "3"},
      {"if:1==1,a=1,b=2;", "1"},
  };
  for (const Case &c : cases) {
    s.Run("delete(a)");
    EXPECT_EQ(s.Run(c.script), "") << c.script;
    EXPECT_EQ(s.Run("a"), c.a) << c.script;
  }
}

TEST(Statements, ForRunsItsBody) {
  Session s;
  EXPECT_EQ(s.Run("s=0,for:k=0,k<3,k=k+1,s=s+k;"), "s <- 0");
  EXPECT_EQ(s.Run("s"), "3");
  EXPECT_EQ(s.Run("k"), "3");  // the loop variable lives on at top level
  EXPECT_EQ(s.Run("n=0,for:k=0,k<0,k=k+1,n=n+1;"), "n <- 0");
  EXPECT_EQ(s.Run("n"), "0");
  EXPECT_EQ(s.Run("for:k=0,k<3;"), ">invalid_expression<");  // too few items
}

TEST(Statements, WhileAndBreak) {
  Session s;
  s.Run("x=0,while:x<10,x=x+1;");
  EXPECT_EQ(s.Run("x"), "10");
  s.Run("x=0,while:1,x=x+1,if:x==7,break;;");
  EXPECT_EQ(s.Run("x"), "7");
  s.Run("t=0,for:k=1,k<=5,k=k+1,for:j=1,j<=5,j=j+1,if:j>k,break;,t=t+1;;");
  EXPECT_EQ(s.Run("t"), "15");  // break ends the inner loop only
  // break outside a loop stops its list: what follows does not run.
  s.Run("y=0");
  EXPECT_EQ(s.Run("if:1,y=1,break,y=2;"), "");
  EXPECT_EQ(s.Run("y"), "1");
}

TEST(Statements, LoopsInsideFunctions) {
  Session s;
  s.Run("sum(n)=(t=0,for:k=1,k<=n,k=k+1,t=t+k;,return=t)");
  EXPECT_EQ(s.Run("sum(100)"), "5050");
  EXPECT_EQ(s.Run("t"), "t");
  s.Run("first(n)=(k=0,while:1,k=k+1,if:k*k>n,return=k,break;;)");
  EXPECT_EQ(s.Run("first(50)"), "8");
}

TEST(Statements, SplitHead) {
  struct Case {
    const char *text;
    std::vector<std::string_view> pieces;
  } cases[] = {
      {"if:a,b,c;", {"if", "a", "b", "c"}},
      {"for:i=0,i<3,(x,y);", {"for", "i=0", "i<3", "x", "y"}},
      {"if:;", {"if", ""}},
      {"a+b", {"a+b"}},
      {"a.b:c;", {"a.b:c;"}},
      {":x,y;", {"x,y"}},
      {"f(x):y;", {"f(x):y;"}},
  };
  for (const Case &c : cases) EXPECT_EQ(SplitHead(c.text), c.pieces) << c.text;
  EXPECT_TRUE(TestBlockForm(":a;"));
  EXPECT_FALSE(TestBlockForm(":a;,:b;"));
}

TEST(Statements, CancelFromAnotherThreadEndsALoop) {
  Session s;
  std::atomic<bool> started{false};
  std::chrono::steady_clock::time_point cancelled;
  std::thread canceller([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    cancelled = std::chrono::steady_clock::now();
    SetCancelFlag(s.env(), 1);
    started = true;
  });
  const std::string answer = s.Run("x=0,while:1,x=x+1;");
  const auto ended = std::chrono::steady_clock::now();
  canceller.join();
  ASSERT_TRUE(started);
  EXPECT_NE(answer.find(">evaluation_aborted<"), std::string::npos) << answer;
  EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(ended - cancelled).count(), 50);
  SetCancelFlag(s.env(), 0);
  // The session keeps what the loop did.
  EXPECT_NE(s.Run("x"), "0");
  EXPECT_EQ(s.Run("x=1"), "x <- 1");
}

}  // namespace
}  // namespace qvx
