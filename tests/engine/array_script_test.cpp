// Arrays through the script entry: the construct, element access, the
// methods as a script calls them, and the source form read back.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "objects/array.h"
#include "objects/print.h"
#include "persistence/rbst.h"
#include "session.h"

namespace qvx {
namespace {

using test::Session;

// Each script runs in a fresh scope after its set-up lines.
struct Case {
  const char *setup;
  const char *line;
  const char *answer;
};

void RunCases(const Case *cases, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    Session s;
    if (*cases[i].setup) s.Run(cases[i].setup);
    EXPECT_EQ(s.Run(cases[i].line), cases[i].answer) << cases[i].setup << " | " << cases[i].line;
  }
}

TEST(ArrayScript, ConstructAndLimits) {
  const Case cases[] = {
      {"a=array:3;", "a", "(array)\n  0\n  0\n  0"},
      {"a=array:;", "a.size()", "0"},
      {"a=array:0;", "a.size()", "0"},
      {"a=array:2.6;", "a.size()", "3"},
      {"n=4,a=array:n;", "a.size()", "4"},
      {"a=array:3,x+1,\"s\";", "a", "(array)\n  x+1\n  \"s\"\n  0"},
      {"", "a=array:100000000;", ">invalid_expression<"},
      {"", "a=array:-1;", ">invalid_expression<"},
      {"", "a=array:0/0;", ">invalid_expression<"},
      {"", "a=array:q;", ">invalid_expression<"},
      {"", "a=array:1,2,3;", ">invalid_expression<"},  // more items than the count
      {"a=array:100000000;", "a", "a"},                 // nothing was bound
  };
  RunCases(cases, std::size(cases));
}

TEST(ArrayScript, ElementsReadAndWriteByPosition) {
  const Case cases[] = {
      {"a=array:3;,a.1=5", "a.1+1", "6"},
      {"a=array:3;,a.1=5,k=1", "a.k", "5"},
      {"a=array:3;,k=2,a.k=7", "a.2", "7"},
      {"a=array:3;", "a.3", ">invalid_object<"},
      {"a=array:3;", "a.3=1", ">invalid_expression<"},
      {"a=array:3;,a.3=1", "a", "(array)\n  0\n  0\n  0"},
      {"a=array:2;,a.(0/0)=1", "a", "(array)\n  0\n  0"},
      // A number index followed by "." would read as a decimal ("1.0"):
      // nested positions are written in parentheses or as names.
      {"a=array:2;,a.1=array:2;,a.(1).(0)=4", "a.(1).(0)*2", "8"},
      {"a=array:2;,a.1=array:2;,k=1,m=0,a.k.m=4", "a.k", "(array)\n  4\n  0"},
      {"a=array:2;,a.1=array:2;", "a.(1).size()", "2"},
      {"a=array:1;,a.0=y+1", "a.0", "y+1"},
      {"a=array:1;,a.0=\"t\"", "a", "(array)\n  \"t\""},
  };
  RunCases(cases, std::size(cases));
}

TEST(ArrayScript, StoresAreCopies) {
  Session s;
  s.Run("a=array:2;");
  s.Run("b=a");
  s.Run("b.0=9");
  EXPECT_EQ(s.Run("a.0"), "0");
  EXPECT_EQ(s.Run("b.0"), "9");
  // An array stored in itself is the array as it was, not a cycle.
  s.Run("a.0=a");
  EXPECT_EQ(s.Run("a"), "(array)\n  (array)\n    0\n    0\n  0");
  s.Run("a.(0).(1)=3");
  EXPECT_EQ(s.Run("a.(0).(1)"), "3");
  EXPECT_EQ(s.Run("a.1"), "0");
  s.Run("a.append(a)");
  EXPECT_EQ(s.Run("a.size()"), "3");
}

TEST(ArrayScript, MethodsAsScriptsCallThem) {
  const Case cases[] = {
      {"a=array:;", "a.append(1).append(2,3).size()", "3"},
      {"a=array:;,a.append(1,2)", "a.insert(9,2)", "(array)\n  1\n  2\n  9"},
      {"a=array:;,a.append(1,2)", "a.insert(9,3)", "(array)\n  1\n  2"},
      {"a=array:;,a.append(1,2,3)", "a.swap(0,2)", "(array)\n  3\n  2\n  1"},
      {"a=array:;,a.append(1,2,3)", "a.swap(0,3)", "(array)\n  1\n  2\n  3"},
      {"a=array:;,a.append(1,2,3)", "a.crop(1,2)", "(array)\n  2\n  3"},
      {"a=array:;,a.append(1,2,3)", "a.crop(2,1)", "crop(2,1)"},
      {"a=array:;,a.append(1,2,3)", "a.delete(0,2)", "(array)\n  2"},
      {"a=array:;,a.append(1,2,3)", "a.delete(1)", "(array)\n  1\n  3"},
      {"a=array:2;", "a.enlarge(3)", "(array)\n  0\n  0\n  0"},
      {"a=array:2;", "a.enlarge(0)", ">invalid_expression<"},
      {"a=array:2;", "a.enlarge(-2)", ">invalid_expression<"},
      {"a=array:2;", "a.enlarge(20000000)", ">invalid_expression<"},
      {"a=array:2;", "a.enlarge(x)", ">invalid_expression<"},
      {"a=array:2;", "a.swap(0,0/0)", "(array)\n  0\n  0"},
      {"a=array:2;", "a.matrix()", "(matrix)\n0  0"},
      {"a=array:2;,a.0=\"s\"", "a.matrix()", ">invalid_object<"},
      // Errors among the arguments travel on and change nothing.
      {"a=array:2;", "a.append(1/0)", ">invalid_expression<"},
      {"a=array:2;,a.append(1/0)", "a.size()", "2"},
      {"a=array:2;,a.insert(1/0,0),a.0=1/0", "a", "(array)\n  0\n  0"},
      {"a=array:;,c=a.append(5).crop(0,0)", "c.0", "5"},
  };
  RunCases(cases, std::size(cases));
}

// The source form, run as a script, rebuilds an array that prints the same.
TEST(ArrayScript, SourceFormReadsBack) {
  const char *builds[] = {
      "a=array:;",
      "a=array:1;,a.0=7",
      "a=array:3;,a.0=1.5,a.1=\"q\",a.2=x^2-1",
      "a=array:2;,a.1=array:2;,a.1.1=array:1;,a.0=-3",
      "a=array:1;,a.0=2*i+1",
  };
  for (const char *build : builds) {
    Session s;
    s.Run(build);
    RBSTNode *n = RBSTFind(s.env()->objectTable.root, "a");
    ASSERT_NE(n, nullptr) << build;
    const std::string source = ObjectToText(static_cast<Object *>(n->value), 1);
    const std::string display = s.Run("a");
    s.Run("b=" + source);
    EXPECT_EQ(s.Run("b"), display) << build << " -> " << source;
  }
}

// Appending one element at a time stays linear: ten times the elements
// take about ten times as long (a quadratic cost would be a hundred).
TEST(ArrayScript, AppendingOneAtATimeIsLinear) {
  auto time = [](int n) {
    Session s;
    s.Run("a=array:;");
    const auto start = std::chrono::steady_clock::now();
    const std::string answer = s.Run("for:k=0,k<" + std::to_string(n) + ",k=k+1,a.append(k);");
    const auto stop = std::chrono::steady_clock::now();
    RBSTNode *a = RBSTFind(s.env()->objectTable.root, "a");
    EXPECT_EQ(a ? ArrayCount(static_cast<Object *>(a->value)) : 0, n);
    EXPECT_EQ(s.Run("a." + std::to_string(n - 1) + "-" + std::to_string(n - 1)), "0");
    return std::chrono::duration<double>(stop - start).count();
  };
  const double small = time(2000), large = time(20000);
  EXPECT_LT(large, 40 * small + 0.5);
}

}  // namespace
}  // namespace qvx
