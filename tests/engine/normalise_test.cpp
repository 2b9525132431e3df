// Source normalisation and the syntax screen, on a literal table kept in
// memory: each case normalises a text, then puts the literals back to show
// what the evaluator will see.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "engine/normalise.h"

namespace qvx {
namespace {

// The top-level literal tables, reduced to what normalisation asks of them.
struct FakeTables {
  std::map<std::string, std::string> literals;  // placeholder -> literal text
  std::vector<std::string> otherNames;          // names that are taken but not literals
  int strings = 0, numbers = 0;
  LiteralSink sink;

  explicit FakeTables(int32_t seed = -12345) {
    sink.context = this;
    sink.seed = seed;
    sink.forEachLiteral = [](void *ctx, void (*visit)(void *, const char *, const char *), void *cookie) {
      for (auto &[p, lit] : static_cast<FakeTables *>(ctx)->literals) visit(cookie, p.c_str(), lit.c_str());
    };
    sink.nameExists = [](void *ctx, const char *name) -> int32_t {
      auto *self = static_cast<FakeTables *>(ctx);
      return self->literals.count(name) ||
             std::find(self->otherNames.begin(), self->otherNames.end(), name) != self->otherNames.end();
    };
    sink.addStringLiteral = [](void *ctx, const char *p, const char *quoted) -> int32_t {
      auto *self = static_cast<FakeTables *>(ctx);
      self->literals[p] = quoted;
      ++self->strings;
      return 1;
    };
    sink.addNumberLiteral = [](void *ctx, const char *p, const char *text) -> int32_t {
      auto *self = static_cast<FakeTables *>(ctx);
      self->literals[p] = text;
      ++self->numbers;
      return 1;
    };
  }

  std::string Normalise(const std::string &source) {
    char *t = static_cast<char *>(std::malloc(source.size() + 1));
    std::memcpy(t, source.c_str(), source.size() + 1);
    t = NormaliseSource(&t, &sink);
    std::string out(t);
    std::free(t);
    return out;
  }

  // Literals back in, longest placeholder first.
  std::string Restore(std::string text) const {
    std::vector<std::pair<std::string, std::string>> byLength(literals.begin(), literals.end());
    std::sort(byLength.begin(), byLength.end(),
              [](const auto &a, const auto &b) { return a.first.size() > b.first.size(); });
    for (const auto &[p, lit] : byLength)
      for (std::size_t at = text.find(p); at != std::string::npos; at = text.find(p, at + lit.size()))
        text.replace(at, p.size(), lit);
    return text;
  }
};

bool AllHigh(std::string_view s) {
  return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) >= 128; });
}

TEST(Normalise, WhatTheEvaluatorSees) {
  struct Case {
    const char *source, *normalised;
  } cases[] = {
      {"\"a b\"", "\"a b\""},          // the blank inside a string survives
      {"a b", "ab"},                   // ...outside it doesn't
      {"2 3", "23"},
      {"2(3)", "2*(3)"},
      {"(2)(3)", "(2)*(3)"},
      {"(2)3", "(2)*3"},
      {"2x", "2*x"},
      {"x2", "x2"},
      {"2[1]", "2,[1]"},
      {"[]", "array:0;"},
      {",,a,,b,,", "a,b"},
      {"1..5", "1..5"},
      {".5..1.", "0.5..1"},            // 1.0 is printed "1"
      {"3.+1", "3+1"},
      {"1+.5", "1+0.5"},
      {"a.b", "a.b"},
      {"a.5", "a.5"},
      {"0x10(y)", "16*(y)"},
      {"0b101+0b1.1", "5+1.5"},
      {"a0x1", "a0x1"},                // the tail of a name is no literal
      {"(a)(b)", "(a)*(b)"},
      {"(a)b", "(a)*b"},
      {"(a)+b", "(a)+b"},
      {"[1](2)", "[1],(2)"},
      {"if:1,a=1;b=2", "if:1,a=1;,b=2"},
      {"((a+b))", "a+b"},
      {"(a)*(b)", "(a)*(b)"},
      {"  \t\r\n ", ""},
      {"", ""},
      {".", ">invalid_expression<"},
      {"...", ">invalid_expression<"},
      {".a", ">invalid_expression<"},
      {"1e-3+2", "1e-3+2"},
      {"2E+3*x", "2000*x"},            // the printed form is no longer: it is the key
  };
  for (const auto &c : cases) {
    FakeTables tables;
    EXPECT_EQ(tables.Restore(tables.Normalise(c.source)), c.normalised) << c.source;
  }
}

TEST(Normalise, ExponentSignLeavesTheText) {
  FakeTables tables;
  const std::string t = tables.Normalise("1e-3+2");
  EXPECT_EQ(t.find('-'), std::string::npos);
  EXPECT_EQ(std::count(t.begin(), t.end(), '+'), 1);
  EXPECT_EQ(tables.numbers, 2);
}

TEST(Normalise, EqualLiteralsShareAPlaceholder) {
  FakeTables tables;
  const std::string t = tables.Normalise("1.5+1.5+\"s\"+\"s\"");
  EXPECT_EQ(tables.numbers, 1);
  EXPECT_EQ(tables.strings, 1);
  const std::size_t plus = t.find('+');
  ASSERT_NE(plus, std::string::npos);
  EXPECT_TRUE(AllHigh(t.substr(0, plus)));
  EXPECT_EQ(t.substr(0, plus), t.substr(plus + 1, plus));
  // A later text of the same run finds the literal in the table.
  const std::string u = tables.Normalise("x*1.5");
  EXPECT_EQ(u.substr(2), t.substr(0, plus));
  EXPECT_EQ(tables.numbers, 1);
}

TEST(Normalise, PlaceholdersAreHighBytesOfTheLiteralsLengthAndRepeatable) {
  FakeTables a(-777), b(-777);
  const std::string source = "\"say \\\"hi\\\"\"";  // one literal, escaped quotes inside
  const std::string ta = a.Normalise(source);
  EXPECT_EQ(a.strings, 1);
  EXPECT_EQ(ta.size(), source.size());
  EXPECT_TRUE(AllHigh(ta));
  EXPECT_EQ(a.Restore(ta), source);
  EXPECT_EQ(b.Normalise(source), ta);  // same seed state, same placeholder
}

TEST(Normalise, DrawsAgainWhenANameIsTaken) {
  FakeTables probe(-99);
  const std::string first = probe.Normalise("\"ab\"");
  FakeTables tables(-99);
  tables.otherNames.push_back(first);  // the first draw is taken now
  const std::string t = tables.Normalise("\"ab\"");
  EXPECT_TRUE(AllHigh(t));
  EXPECT_NE(t, first);
}

TEST(Normalise, UnbalancedQuoteStaysForTheScreen) {
  FakeTables tables;
  const std::string t = tables.Normalise("\"abc");
  EXPECT_EQ(tables.strings, 0);
  int32_t quotes = -1, placed = -1;
  EXPECT_EQ(ScreenSyntax(t, &quotes, &placed, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(quotes, 0);
}

TEST(Normalise, SeparateSteps) {
  struct Case {
    void (*step)(std::string &);
    const char *in, *out;
  } cases[] = {
      {PadDecimalPointsText, ".5..1.", "0.5..1.0"},
      {PadDecimalPointsText, "(.5)", "(0.5)"},
      {PadDecimalPointsText, "x==.5", "x==0.5"},
      {PadDecimalPointsText, "a.5", "a.5"},
      {PadDecimalPointsText, "2.*x", "2.0*x"},
      {PadDecimalPointsText, ".", "."},
      {TrimCommasText, ",,a,,,b,", "a,b"},
      {TrimCommasText, ",,,", ""},
      {[](std::string &t) { InsertAfterCloseText(t, '*', ')'); }, "(a)(b)'", "(a)*(b)'"},
      {[](std::string &t) { InsertAfterCloseText(t, '*', ')'); }, "(a)==b", "(a)==b"},
      {[](std::string &t) { InsertAfterCloseText(t, ',', ';'); }, ":a;:b;", ":a;,:b;"},
  };
  for (const auto &c : cases) {
    std::string t = c.in;
    c.step(t);
    EXPECT_EQ(t, c.out) << c.in;
  }
}

TEST(Normalise, HostileInputs) {
  FakeTables tables;
  // Bytes 128..255 typed by the user never become a placeholder's spelling.
  std::string high;
  for (int c = 128; c < 256; ++c) high.push_back(static_cast<char>(c));
  const std::string t = tables.Normalise(high + "+1");
  EXPECT_EQ(t.substr(0, high.size()), high);
  for (const auto &[p, lit] : tables.literals) EXPECT_EQ(high.find(p), std::string::npos);

  // Deep nesting and a long line: one pass each.
  const std::size_t depth = 200000;
  const std::string nested = std::string(depth, '(') + "1" + std::string(depth, ')');
  EXPECT_EQ(tables.Restore(tables.Normalise(nested)), "1");
  std::string line;
  for (int k = 0; k < 100000; ++k) line += "1+x2*(3)";
  const std::string n = tables.Normalise(line);
  EXPECT_EQ(std::count(n.begin(), n.end(), '*'), 199999);  // "x2*(3)" and ")*1" between repeats

  // No tables at all: nothing is protected, nothing breaks.
  char *s = static_cast<char *>(std::malloc(8));
  std::strcpy(s, "2(3)");
  s = NormaliseSource(&s, nullptr);
  EXPECT_STREQ(s, "2*(3)");
  std::free(s);
  char *null = nullptr;
  EXPECT_EQ(NormaliseSource(&null, nullptr), nullptr);
}

TEST(Screen, Answers) {
  struct Case {
    const char *text;
    int32_t ok, assignment, comma, shaped;
  } cases[] = {
      {"a=1", 1, 1, 0, 0},        {"a=b=c", 0, 0, 0, 0},   {"x=1,y=2", 1, 0, 1, 1},
      {"1+2", 1, 0, 0, 1},        {"a==b", 1, 0, 0, 1},    {"f(x)=x^2", 1, 1, 0, 0},
      {"a=b==c", 1, 1, 0, 0},     {"a=f(b=1)", 1, 1, 0, 0}, {"", 1, 0, 0, 1},
      {"f(n)=if:n<2,return=1,else,return=n*f(n-1);", 1, 1, 0, 0},
      {"if:a,b;", 1, 0, 0, 1},    {"a<=b", 1, 0, 0, 1},
  };
  for (const auto &c : cases) {
    int32_t quotes = -1, placed = -1, assignment = -1, comma = -1, shaped = -1;
    EXPECT_EQ(ScreenSyntax(c.text, &quotes, &placed, &assignment, &comma, &shaped), c.ok) << c.text;
    EXPECT_EQ(assignment, c.assignment) << c.text;
    EXPECT_EQ(comma, c.comma) << c.text;
    EXPECT_EQ(shaped, c.shaped) << c.text;
  }
}

TEST(Screen, OperatorPlacement) {
  struct Case {
    const char *text;
    int32_t placed;
  } cases[] = {
      {"*a", 0},   {"a+", 0},     {"a*", 0},     {"-a", 1},    {"a**b", 0},  {"a+*b", 0},  {"a*-b", 1},
      {"a!", 1},   {"a!b", 0},    {"a'+b", 1},   {"!a", 0},    {"(!a)", 0},  {"f(,a)", 0}, {"f()", 1},
      {"~a", 1},   {"a~=b", 1},   {"a~b", 0},    {"a~", 0},    {"#a", 1},    {"a#", 0},    {"@a.b", 1},
      {"a..b", 1}, {"a...b", 0},  {"a.b.c", 1},  {"[]", 0},    {"a<==b", 0}, {"a&=b", 0},  {"=a", 0},
      {"a=-1", 1}, {"(a", 0},     {"a)", 0},     {"([)]", 0},  {"(a)(b)", 0}, {"a(+)", 0}, {"a<-1", 1},
      {"a,=b", 0}, {"if:1,a;", 1}, {"f(a;", 0},  {"a=(b)", 1}, {"a)=b", 0},  {"x'=1", 1},  {"(a)~b", 0},
  };
  for (const auto &c : cases) EXPECT_EQ(TestOperatorPlacement(c.text), c.placed) << c.text;
}

TEST(Screen, AssignmentForm) {
  struct Case {
    const char *text;
    int32_t assignment;
  } cases[] = {{"a=1", 1},   {"a=", 0},       {"=a", 0},      {"a==1", 0},  {"a=1,b=2", 0}, {"(a=1", 0},
               {"a<=b", 0},  {"a=(b<=c)", 1}, {"a.b=c", 1},   {"a=b=c", 0}, {"", 0},        {"[a=1]", 0}};
  for (const auto &c : cases) EXPECT_EQ(TestAssignmentForm(c.text), c.assignment) << c.text;
}

}  // namespace
}  // namespace qvx
