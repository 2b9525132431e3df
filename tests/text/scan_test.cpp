// Bracket-aware searches and text helpers: the results the evaluator's
// precedence and associativity rest on, mismatch answers included.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "text/scan.h"

namespace qvx {
namespace {

constexpr std::string_view kOpen = "(:[";
constexpr std::string_view kClose = ");]";

char *Owned(const char *s) {
  const std::size_t n = std::strlen(s);
  char *p = static_cast<char *>(std::malloc(n + 1));
  std::memcpy(p, s, n + 1);
  return p;
}

struct SearchCase {
  const char *text;
  const char *needle;
  int32_t lastResult, lastPosition;
  int32_t firstResult, firstPosition;
};

TEST(TopLevelSearch, ResultsAndMismatches) {
  const SearchCase cases[] = {
      {"f(a,b)", ",", 1, -1, 1, -1},       // inside brackets only
      {"a,b", ",", 0, 1, 0, 1},
      {"a,b,c", ",", 0, 3, 0, 1},          // rightmost / leftmost
      {"a)b", ",", 1, -1, 0, -1},           // leftward: never back at depth 0; rightward: mismatch
      {"(a,b", "x", 0, -1, 1, -1},          // leftward meets an unopened "(": mismatch, result 0
      {"(a", "a", 0, 1, 1, -1},             // the rightmost "a" stands at depth 0
      {"", ",", 1, -1, 1, -1},
      {"a==b==c", "==", 0, 4, 0, 1},        // two-character needle
      {"=", "==", 1, -1, 1, -1},            // needle longer than the text
      {"(a]", "a", 0, -1, 0, -1},           // wrong partner
      {"[a;b]", "a", 0, -1, 0, -1},         // a block close inside square brackets
      {"[a,:b,c;],d", ",", 0, 9, 0, 9},     // all three kinds nest
      {"a^b^c", "^", 0, 3, 0, 1},
      {"(a+b)*c+d", "+", 0, 7, 0, 7},
  };
  for (const auto &c : cases) {
    int32_t pos = 99;
    EXPECT_EQ(FindLastTopLevel(c.text, kOpen, kClose, c.needle, &pos), c.lastResult) << c.text;
    EXPECT_EQ(pos, c.lastPosition) << c.text;
    pos = 99;
    EXPECT_EQ(FindFirstTopLevel(c.text, kOpen, kClose, c.needle, &pos), c.firstResult) << c.text;
    EXPECT_EQ(pos, c.firstPosition) << c.text;
  }
}

TEST(TopLevelSearch, BracketsAreNeverMatches) {
  int32_t pos = 0;
  EXPECT_EQ(FindLastTopLevel("(a)", kOpen, kClose, ")", &pos), 1);
  EXPECT_EQ(pos, -1);
  EXPECT_EQ(FindFirstTopLevel("(a)", kOpen, kClose, "(", &pos), 1);
  EXPECT_EQ(pos, -1);
}

TEST(TopLevelSearch, SetOrderDoesNotChangeResult) {
  const char *texts[] = {"f(a,[b,c]),d", "if:a,b;,c", "(a,b)", "x"};
  for (const char *t : texts) {
    int32_t a = 0, b = 0;
    FindLastTopLevel(t, "(:[", ");]", ",", &a);
    FindLastTopLevel(t, "[(:", "]);", ",", &b);
    EXPECT_EQ(a, b) << t;
  }
}

TEST(TopLevelSearch, DeepNestingIsIterative) {
  const std::size_t depth = 1000000;
  std::string t(depth, '(');
  t += "a,b";
  t.append(depth, ')');
  t += ",c";
  int32_t pos = 0;
  EXPECT_EQ(FindLastTopLevel(t, kOpen, kClose, ",", &pos), 0);
  EXPECT_EQ(pos, static_cast<int32_t>(t.size() - 2));
  EXPECT_EQ(FindFirstTopLevel(t, kOpen, kClose, ",", &pos), 0);
  EXPECT_EQ(pos, static_cast<int32_t>(t.size() - 2));
  EXPECT_EQ(TestBracketNesting(t, kOpen, kClose), 1);
  EXPECT_EQ(CountOuterPairs(std::string(depth, '(') + "a" + std::string(depth, ')'), '(', ')'),
            static_cast<int32_t>(depth));
}

TEST(TopLevelEquals, OnlyAPlainDepthZeroEquals) {
  struct Case {
    const char *text;
    int32_t comma, result, position;
  } cases[] = {
      {"a=1", -1, 1, 1},     {"a==b", -1, 0, -1}, {"a<=b", -1, 0, -1}, {"a~=b", -1, 0, -1},
      {"a>=b", -1, 0, -1},   {"f(x=1)", -1, 0, -1}, {"a=1,b=2", -1, 0, -1}, {"a=1,b=2", 0, 1, 5},
      {"=", -1, 0, -1},      {"=a", -1, 0, -1},     {"a=", -1, 1, 1},     {"a=b=c", -1, 1, 3},
      {"[a=1]", -1, 0, -1},  {"x=:a;", -1, 1, 1},
  };
  for (const auto &c : cases) {
    int32_t pos = 99;
    EXPECT_EQ(FindTopLevelEquals(c.text, c.comma, &pos), c.result) << c.text;
    EXPECT_EQ(pos, c.position) << c.text;
  }
}

TEST(Brackets, CountBracketsAnswers) {
  struct Case {
    const char *text;
    int64_t first, last;
    int32_t result;
  } cases[] = {
      {")(", 0, 1, -1}, {"(", 0, 0, 0},   {"ab", 0, 1, 2},   {"(a)", 0, 2, 1}, {"(a))(", 0, 4, -1},
      {"((a)", 0, 3, 0}, {"(a)", 1, 1, 2}, {"(a)", 5, 9, 2}, {"(a)", -4, 99, 1}, {"", 0, 0, 2},
      {"a)(b", 1, 2, -1},
  };
  for (const auto &c : cases)
    EXPECT_EQ(CountBrackets(c.text, '(', ')', c.first, c.last), c.result) << c.text << " " << c.first;
}

TEST(Brackets, Nesting) {
  struct Case {
    const char *text;
    int32_t ok;
  } cases[] = {{"", 1}, {"abc", 1}, {"(a[b]:c;)", 1}, {"([)]", 0}, {"(", 0}, {")", 0},
               {"if:(a),[b];", 1}, {"(:);", 0}, {"]", 0}};
  for (const auto &c : cases) EXPECT_EQ(TestBracketNesting(c.text, kOpen, kClose), c.ok) << c.text;
}

TEST(Brackets, StripOuterPairs) {
  struct Case {
    const char *text, *stripped;
    int32_t count;
  } cases[] = {
      {"((a))", "a", 2},       {"(a)*(b)", "(a)*(b)", 0}, {"(a)+(b)", "(a)+(b)", 0}, {"((a)+(b))", "(a)+(b)", 1},
      {"()", "", 1},           {"(", "(", 0},             {"a", "a", 0},             {"(()+())", "()+()", 1},
      {"((a)", "((a)", 0},     {"(a))", "(a))", 0},        {"(((a)(b)))", "(a)(b)", 2}, {")(", ")(", 0},
  };
  for (const auto &c : cases) {
    int32_t count = -7;
    EXPECT_EQ(StripOuterPairsView(c.text, '(', ')', &count), c.stripped) << c.text;
    EXPECT_EQ(count, c.count) << c.text;
    char *owned = Owned(c.text);
    count = -7;
    owned = StripOuterPairs(&owned, '(', ')', &count);
    EXPECT_STREQ(owned, c.stripped);
    EXPECT_EQ(count, c.count);
    std::free(owned);
  }
  EXPECT_EQ(StripOuterPairsView(":a;", ':', ';'), "a");
}

TEST(Split, ArgumentLists) {
  struct Case {
    const char *text;
    int32_t keepEmpty;
    std::vector<std::string> pieces;
  } cases[] = {
      {"a,b,c", 0, {"a", "b", "c"}},
      {"(a,b)", 0, {"a", "b"}},                 // enclosing parentheses go first
      {"f(a,b),[c,d]", 0, {"f(a,b)", "[c,d]"}},
      {",,a", 0, {"", "", "a"}},                 // leading separators: one empty piece each
      {"a,", 0, {"a"}},
      {"a,", 1, {"a", ""}},
      {"", 0, {}},
      {"", 1, {""}},
      {"()", 1, {""}},
      {"if:a,b;,c", 0, {"if:a,b;", "c"}},
      {"a),b", 0, {"a)", "b"}},                  // a stray close is text
  };
  std::vector<std::string_view> views;
  for (const auto &c : cases) {
    const int32_t n = SplitArgumentList(c.text, kOpen, kClose, ',', c.keepEmpty, &views);
    ASSERT_EQ(n, static_cast<int32_t>(c.pieces.size())) << c.text;
    for (int32_t k = 0; k < n; ++k) EXPECT_EQ(views[k], c.pieces[k]) << c.text;
    EXPECT_EQ(SplitArgumentList(c.text, kOpen, kClose, ',', c.keepEmpty), c.pieces) << c.text;
  }
}

TEST(Lists, PositionTests) {
  const SyntaxLists &L = DefaultSyntaxLists();
  EXPECT_TRUE(EndsWithAny("a==", 3, L.comparison));
  EXPECT_TRUE(EndsWithAny("a+b", 2, L.additive));
  EXPECT_FALSE(EndsWithAny("a+b", 0, L.additive));  // below 1
  EXPECT_FALSE(EndsWithAny("a+b", 1, L.additive));
  EXPECT_TRUE(EndsWithAny("ab", 1, TextList{}));     // empty list
  EXPECT_TRUE(EndsWithAny("a+", 99, L.additive));    // clamped to the text
  EXPECT_TRUE(BeginsWithAny("a<=b", 0, 1, L.comparison));
  EXPECT_FALSE(BeginsWithAny("ab+", 2, 0, L.additive));  // at the last index
  EXPECT_FALSE(BeginsWithAny("a", 5, -5, L.additive));
  EXPECT_TRUE(ContainsAny("x~y", L.negation));
  EXPECT_FALSE(ContainsAny("xy", L.negation));
  EXPECT_EQ(MatchBeginningAt("..5", 0, L.multiplicative), 2);  // longest entry wins
  EXPECT_EQ(MatchEndingAt("a<=", 3, L.comparison), 2);
}

TEST(Escapes, RoundTripAndEdges) {
  char *t = Owned("say \"hi\" \\o/");
  t = EscapeCharacters(&t, "\"\\");
  EXPECT_STREQ(t, "say \\\"hi\\\" \\\\o/");
  t = UnescapeString(&t);
  EXPECT_STREQ(t, "say \"hi\" \\o/");
  std::free(t);

  struct Case {
    const char *in, *out;
  } cases[] = {{"\\", ""}, {"a\\", "a"}, {"\\n\\t\\r", "\n\t\r"}, {"\\\\n", "\\n"}, {"\\q", "q"}, {"plain", "plain"}};
  for (const auto &c : cases) {
    char *s = Owned(c.in);
    s = UnescapeString(&s);
    EXPECT_STREQ(s, c.out) << c.in;
    std::free(s);
    EXPECT_EQ(UnescapeStringCopy(c.in), c.out);
  }
  char *plain = Owned("abc");
  char *same = EscapeCharacters(&plain, "\"");
  EXPECT_EQ(same, plain);  // nothing to escape: the block is kept
  std::free(plain);
}

TEST(Additive, SkipsUnarySignsAndExponents) {
  struct Case {
    const char *text, *needle;
    int32_t position;
  } cases[] = {
      {"a-b-c", "-", 3},   {"a*-b", "-", -1},  {"2e-3", "-", -1},  {"2e-3-x", "-", 4},
      {"x2e-3", "-", 3},   {"a+(b+c)", "+", 1}, {"a^-2+1", "+", 4}, {"-a", "-", 0},
      {"a--b", "-", 1},    {"(a-b", "-", 2},  {"1.5E+2", "+", -1}, {"a,-b", "-", -1},
  };
  for (const auto &c : cases) EXPECT_EQ(FindAdditive(c.text, c.needle), c.position) << c.text;
}

TEST(Terms, SingleTermAndSignStripping) {
  EXPECT_TRUE(IsSingleTerm("-a*b"));
  EXPECT_TRUE(IsSingleTerm("2e-3*x"));
  EXPECT_FALSE(IsSingleTerm("-a+b"));
  EXPECT_TRUE(IsSingleTerm("-(a+b)"));

  struct Case {
    const char *text, *rest;
    int32_t sign, single;
  } cases[] = {
      {"-(a+b)", "a+b", -1, 0}, {"-a+b", "-a+b", 1, 0}, {"--a", "a", 1, 1},   {"-(-(x))", "x", 1, 1},
      {"(a)*(b)", "(a)*(b)", 1, 1}, {"+-((a*b))", "a*b", -1, 1}, {"-", "", -1, 1}, {"", "", 1, 1},
      {"-(a)+(b)", "-(a)+(b)", 1, 0}, {"((a)", "((a)", 1, 1},
  };
  for (const auto &c : cases) {
    int32_t sign = 0, single = -1;
    EXPECT_EQ(StripSignAndBrackets(c.text, &sign, &single), c.rest) << c.text;
    EXPECT_EQ(sign, c.sign) << c.text;
    EXPECT_EQ(single, c.single) << c.text;
  }
  // Alternating signs and brackets a million levels deep, in one pass.
  std::string deep;
  for (int k = 0; k < 300000; ++k) deep += "-(";
  deep += "x";
  deep.append(300000, ')');
  int32_t sign = 0, single = 0;
  EXPECT_EQ(StripSignAndBrackets(deep, &sign, &single), "x");
  EXPECT_EQ(sign, 1);
}

TEST(Numbers, NumericStrings) {
  struct Case {
    const char *text;
    int32_t numeric;
    double value;
  } cases[] = {
      {"1.5", 1, 1.5},   {"0b101", 1, 5},    {"0b1.1", 1, 1.5}, {"0x10", 1, 16},  {"0x.8", 1, 0.5},
      {"0b102", 0, 0},   {"0x1.2.3", 0, 0},  {"", 0, 0},        {"1e400", 0, 0},  {"inf", 0, 0},
      {"nan", 0, 0},     {"1e-3", 1, 1e-3},  {"-2", 1, -2},     {"1.", 1, 1},     {"abc", 0, 0},
      {"1x", 0, 0},      {"0b", 0, 0},       {"\x80\x81", 0, 0},
  };
  for (const auto &c : cases) {
    double v = -99;
    EXPECT_EQ(TestNumericString(c.text, &v), c.numeric) << c.text;
    if (c.numeric) {
      EXPECT_DOUBLE_EQ(v, c.value) << c.text;
    }
  }
  std::string longNumber(200, '1');
  EXPECT_EQ(TestNumericString(longNumber, nullptr), 1);
}

TEST(Robustness, HugeAndHostileTexts) {
  std::string line(10000000, 'a');
  line[5000000] = ',';
  int32_t pos = 0;
  EXPECT_EQ(FindLastTopLevel(line, kOpen, kClose, ",", &pos), 0);
  EXPECT_EQ(pos, 5000000);
  std::vector<std::string_view> pieces;
  EXPECT_EQ(SplitArgumentList(line, kOpen, kClose, ',', 0, &pieces), 2);
  std::string high;
  for (int c = 128; c < 256; ++c) high.push_back(static_cast<char>(c));
  EXPECT_EQ(FindLastTopLevel(high, kOpen, kClose, ",", &pos), 1);
  EXPECT_EQ(FindAdditive(high + "+" + high, "+"), 128);
  std::string closes(100000, ')');
  EXPECT_EQ(FindLastTopLevel(closes, kOpen, kClose, ",", &pos), 1);  // never back at depth 0
  EXPECT_EQ(FindFirstTopLevel(closes, kOpen, kClose, ",", &pos), 0);  // mismatch at once
  EXPECT_EQ(pos, -1);
}

}  // namespace
}  // namespace qvx
