// The short cuts of the evaluator's inner loop must give what the general
// road gives: the bracket searches by table against the same searches over
// a reordered set, the assignment fact of ScanFacts against
// FindTopLevelEquals, name look-ups on keys with placeholder bytes, the
// reuse of number records, and loops run by two threads at once.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "engine/evaluate.h"
#include "text/scan.h"
#include "libquorvex.h"
#include "objects/environment.h"
#include "objects/object.h"
#include "persistence/rbst.h"
#include "session.h"

namespace qvx {
namespace {

// Texts with nesting of every kind, mismatches, and needles at both ends.
const char *const kTexts[] = {
    "a+b",      "(a+b)*c",   "f(a,b)+g[c,d]", ":a,b;+c",  "a,(b,c),d", "a)+(b",     "(a",
    "a]",       "[a)",       "a<=b<=c",       "<=a",      "a<=",       "((a,b)),c", ":(a;)",
    "x[1](2),y", "",         ",",             "a==b,c=d", "(:[,]);",   "a;b,c",
};

TEST(HotPath, BracketSearchesAgreeForEveryOrderOfTheSet) {
  // The engine's spellings take the table; this order takes the general
  // classifier. Both must find the same position and report the same.
  const std::string_view needles[] = {",", "+", "<=", "=", "a", "b"};
  for (const char *t : kTexts) {
    for (std::string_view needle : needles) {
      int32_t p1 = -2, p2 = -2, q1 = -2, q2 = -2;
      const int32_t r1 = FindLastTopLevel(t, kOpenParenBlockSquare, kCloseParenBlockSquare, needle, &p1);
      const int32_t r2 = FindLastTopLevel(t, "[(:", "]);", needle, &p2);
      EXPECT_EQ(r1, r2) << t << " " << needle;
      EXPECT_EQ(p1, p2) << t << " " << needle;
      const int32_t s1 = FindFirstTopLevel(t, kOpenBlockParenSquare, kCloseBlockParenSquare, needle, &q1);
      const int32_t s2 = FindFirstTopLevel(t, "[(:", "]);", needle, &q2);
      EXPECT_EQ(s1, s2) << t << " " << needle;
      EXPECT_EQ(q1, q2) << t << " " << needle;
    }
    std::vector<std::string_view> a, b;
    SplitArgumentList(t, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1, &a);
    SplitArgumentList(t, "[(:", "]);", ',', 1, &b);
    EXPECT_EQ(a, b) << t;
  }
}

TEST(HotPath, SplitKeepsEmptySegmentsAndSkipsStrayClosers) {
  std::vector<std::string_view> pieces;
  EXPECT_EQ(SplitArgumentList("a,,b,", kOpenParenBlockSquare, kCloseParenBlockSquare, ',', 0, &pieces), 3);
  EXPECT_EQ(pieces, (std::vector<std::string_view>{"a", "", "b"}));
  EXPECT_EQ(SplitArgumentList("a,,b,", kOpenParenBlockSquare, kCloseParenBlockSquare, ',', 1, &pieces), 4);
  EXPECT_EQ(pieces.back(), "");
  EXPECT_EQ(SplitArgumentList("a),b", kOpenParenBlockSquare, kCloseParenBlockSquare, ',', 0, &pieces), 2);
  EXPECT_EQ(pieces, (std::vector<std::string_view>{"a)", "b"}));
}

TEST(HotPath, AssignmentFactMatchesTheEqualsSearch) {
  const char *const texts[] = {"a=b",   "a==b",     "a<=b",   "a>=b",  "a~=b",     "=a",       "a=",
                               "f(a=b)", ":a=b;",   "a==b=c", "[a=b]", "a=(b==c)", "a=b==c",   "a<=b=c",
                               "==",    "a===b",    "x=y=z",  "a~==b", "(a)=b",    "a=[b=c]"};
  for (const char *t : texts) {
    const Facts f = ScanFacts(t);
    ASSERT_NE(f.present, static_cast<uint32_t>(kFactAll)) << t;
    int32_t pos = -1;
    const bool found = FindTopLevelEquals(t, 0, &pos) == 1;
    EXPECT_EQ((f.present & kFactAssign) != 0, found) << t;
  }
  EXPECT_EQ(ScanFacts("a=(b").present, static_cast<uint32_t>(kFactAll));
  // Nesting deeper than the scan's stack on the C stack.
  const std::string open(300, '('), close(300, ')');
  const Facts inside = ScanFacts(open + "a=b" + close);
  EXPECT_TRUE(inside.Absent(kFactAssign));
  EXPECT_TRUE(inside.Absent(kFactEquals));
  EXPECT_TRUE(ScanFacts("c=" + open + "a" + close).present & kFactAssign);
  EXPECT_EQ(ScanFacts(open + "a" + close + ")").present, static_cast<uint32_t>(kFactAll));
}

TEST(HotPath, FindReadsKeysAsUnsignedBytes) {
  // Placeholders of literals are bytes of 128 and up; names can be prefixes
  // of one another. Every key is found, and no near miss is.
  RBST t = RBSTInitialize(nullptr, nullptr, nullptr, nullptr);
  const std::string keys[] = {"a", "ab", "abc", "b", "\x80\x81", "\x80", "\xff", "z\x90", "A", "_", "\x01w", "\x03\x03x"};
  int values[sizeof keys / sizeof keys[0]];
  for (std::size_t k = 0; k < sizeof keys / sizeof keys[0]; ++k) RBSTInsert(&t, t.root, keys[k].c_str(), &values[k]);
  for (std::size_t k = 0; k < sizeof keys / sizeof keys[0]; ++k) {
    RBSTNode *n = RBSTFind(t.root, keys[k].c_str());
    ASSERT_NE(n, nullptr) << k;
    EXPECT_EQ(n->value, &values[k]) << k;
  }
  for (const char *miss : {"", "ac", "abcd", "\x80\x82", "\x81", "zz", "\x03\x03"})
    EXPECT_EQ(RBSTFind(t.root, miss), nullptr) << miss;
  RBSTFreeNodes(&t, t.root);
}

TEST(HotPath, ReusedNumberRecordsStartFresh) {
  InitializeGlobals(nullptr, 0);
  Environment *top = InitializeTopLevelEnvironment(nullptr);
  ASSERT_NE(top, nullptr);
  top->scopeDepth = 3;
  std::vector<Object *> made;
  for (int round = 0; round < 3; ++round) {
    for (int k = 0; k < 40; ++k) made.push_back(NewNumericValueObject(k, -k, top));
    for (Object *o : made) {
      ASSERT_NE(o, nullptr);
      EXPECT_EQ(o->tag, kTagNumeric);
      EXPECT_EQ(o->creationDepth, 3);
      EXPECT_EQ(o->parentEnvironment, top);
      EXPECT_EQ(o->memberKind, 0);
      EXPECT_EQ(o->isPublic, 1);
      EXPECT_EQ(o->frameMark, 0);
      EXPECT_EQ(o->className, nullptr);
      ASSERT_NE(o->environment, nullptr);
      EXPECT_TRUE(o->environment->isScalar);
      EXPECT_EQ(o->environment->ownerObject, o);
      EXPECT_EQ(o->environment->cancelFlag, top->cancelFlag);
      EXPECT_EQ(o->environment->scopeDepth, 3);
    }
    for (std::size_t k = 0; k < made.size(); ++k) {
      EXPECT_EQ(Numeric(made[k])->re, static_cast<double>(k));
      EXPECT_EQ(Numeric(made[k])->im, -static_cast<double>(k));
    }
    // A freed record comes back with the new value and the new scope.
    for (Object *o : made) {
      o->frameMark = 7;
      o->memberKind = 2;
      FreeObject(o);
    }
    made.clear();
  }
  top->scopeDepth = 0;
  TerminateEnvironment(top);
}

TEST(HotPath, ArithmeticAndLoopsThroughTheScriptEntry) {
  test::Session s;
  const struct {
    const char *script, *answer;
  } cases[] = {
      {"2-3-4", "-5"},       {"1-2+3", "2"},         {"2*-3+1", "-5"},      {"1e-3+1", "1.001"},
      {"-2^2", "-4"},        {"(-2)^2", "4"},        {"8/4/2", "1"},        {"2^3^2", "512"},
      {"3-(1+1)-1", "0"},    {"1<2==1", "1"},        {"x+1", "x+1"},        {"1+-1", "0"},
  };
  for (const auto &c : cases) EXPECT_EQ(s.Run(c.script), c.answer) << c.script;
  s.Run("s=0,for:k=1,k<=1000,k=k+1,s=s+k;");
  EXPECT_EQ(s.Run("s"), "5.005e+5");
  s.Run("t=0,j=10,while:j>0,t=t+j*j,j=j-1;");
  EXPECT_EQ(s.Run("t"), "385");
  // A number stored in a name, then the name rebound to text and back.
  s.Run("a=1,b=2,c=a+b,c=c*c");
  EXPECT_EQ(s.Run("c"), "9");
  s.Run("c=y");
  EXPECT_EQ(s.Run("c+1"), "y+1");
  s.Run("c=4");
  EXPECT_EQ(s.Run("c/2"), "2");
  // Names that are prefixes of one another are told apart.
  s.Run("ab=5,a=2,abc=a*ab");
  EXPECT_EQ(s.Run("abc-ab+a"), "7");
}

TEST(HotPath, TwoThreadsRunLoopsInTheirOwnScopes) {
  InitializeGlobals(nullptr, 0);
  std::string answers[2];
  auto run = [&answers](int which, int n) {
    Environment *env = InitializeTopLevelEnvironment(nullptr);
    std::string loop = "s=0,for:k=1,k<=" + std::to_string(n) + ",k=k+1,s=s+k;";
    FreeString(QuorvexScript(loop.c_str(), env, 1));
    char *a = QuorvexScript("s", env, 1);
    answers[which] = a ? a : "";
    FreeString(a);
    TerminateEnvironment(env);
  };
  std::thread first(run, 0, 2000), second(run, 1, 3000);
  first.join();
  second.join();
  EXPECT_EQ(answers[0], "2.001e+6");
  EXPECT_EQ(answers[1], "4.5015e+6");
}

}  // namespace
}  // namespace qvx
