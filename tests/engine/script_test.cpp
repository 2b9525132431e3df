// End-to-end behaviour of the script entry: a host hands in a line and gets
// the answer text. Grouped by theme: precedence, literals, complex numbers,
// logic, symbolic values, sentinels, lists, history, cancellation, and texts
// that must neither crash nor hang.
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "libquorvex.h"

namespace {

class Script : public ::testing::Test {
 protected:
  void SetUp() override {
    InitializeGlobals(nullptr, 0);
    env = InitializeTopLevelEnvironment(nullptr);
    ASSERT_NE(env, nullptr);
  }
  void TearDown() override {
    TerminateEnvironment(env);
    TerminateGlobals();
  }
  std::string Run(const std::string &text) {
    char *out = QuorvexScript(text.c_str(), env, 1);
    std::string s = out ? out : "(null)";
    FreeString(out);
    return s;
  }
  Environment *env = nullptr;
};

struct Case {
  const char *input;
  const char *answer;
};

void ExpectAll(Script *t, const std::vector<Case> &cases, std::string (Script::*run)(const std::string &)) {
  for (const Case &c : cases) EXPECT_EQ((t->*run)(c.input), c.answer) << "input: " << c.input;
}

class ScriptCases : public Script {
 public:
  using Script::Run;
};

TEST_F(ScriptCases, PrecedenceAndAssociativity) {
  ExpectAll(this,
            {
                {"1+2*3", "7"},
                {"2^3^2", "512"},      // "^" splits at its leftmost occurrence: 2^(3^2)
                {"2-3-4", "-5"},
                {"8/4/2", "1"},
                {"8/4*2", "4"},        // splits at "*": (8/4)*2
                {"8*4/2", "16"},       // splits at "*": 8*(4/2)
                {"1-2+3", "2"},        // splits at "+": (1-2)+3
                {"-2^2", "-4"},        // the sign of a single term is taken off first
                {"(-2)^2", "4"},
                {"2*-3", "-6"},
                {"2^-1", "0.5"},
                {"-(1+2)", "-3"},
                {"-1+2", "1"},
                {"((((7))))", "7"},
                {"2(3)", "6"},
                {"(2)(3)", "6"},
                {"2 3", "23"},
                {"1+2*3-4/5^2", "6.84"},
            },
            &ScriptCases::Run);
}

TEST_F(ScriptCases, NumberLiterals) {
  ExpectAll(this,
            {
                {"", "0"},
                {"   ", "0"},
                {"0x10+1", "17"},
                {"0b101", "5"},
                {"0b1.1", "1.5"},
                {"1e-3+2", "2.001"},
                {".5+.5", "1"},
                {"3.+1", "4"},
                {"1.5+1.5", "3"},
                {"0.1+0.2", "0.3"},
                {"1e300*1e300", "1e+300*1e+300"},  // overflow stays as the text of the operation
                {"1/0", "1/0"},
            },
            &ScriptCases::Run);
}

TEST_F(ScriptCases, ComplexNumbers) {
  ExpectAll(this,
            {
                {"i*i", "-1"},
                {"(1+2i)^2", "4*i-3"},
                {"(1+2i)*(3-i)", "5+5*i"},
                {"i", "i"},
                {"-i", "-i"},
                {"2i", "2*i"},
                {"(1+i)/(1-i)", "i"},
                {"i^2", "-1"},
            },
            &ScriptCases::Run);
}

TEST_F(ScriptCases, LogicAndComparison) {
  ExpectAll(this,
            {
                {"1==1+1e-16", "1"},
                {"0==0", "1"},
                {"1==2", "0"},
                {"1~=2", "1"},
                {"1<2==1", "1"},  // "==" is looked for before "<"
                {"2<1", "0"},
                {"2>1", "1"},
                {"1<=1", "1"},
                {"2>=3", "0"},
                {"1&0", "0"},
                {"1|0", "1"},
                {"~1", "0"},
                {"~0", "1"},
                {"~2", "~(2)"},
                {"~~1", "1"},
                {"~(1==2)", "1"},
                {"1<2&2<3", "1"},
                {"i==i", "1"},
                {"x<1", "x<1"},
                {"~x", "~(x)"},
            },
            &ScriptCases::Run);
}

TEST_F(ScriptCases, UnboundNamesStaySymbolic) {
  ExpectAll(this,
            {
                {"x", "x"},
                {"x+1", "x+1"},
                {"1+x", "1+x"},
                {"x-x", "0"},
                {"x+x", "2*x"},
                {"x*x", "x^2"},
                {"x/x", "1"},
                {"0*x", "0"},
                {"1*x", "x"},
                {"x*2", "2*x"},
                {"-x", "-x"},
                {"x^2", "x^2"},
                {"x/0", ">invalid_expression<"},
                {"sin(x)+1", "sin(x)+1"},  // a call that nothing evaluates answers with its text
                {"f(\"a\")", "f(\"a\")"},
                {"x*(y+1)", "x*(y+1)"},
            },
            &ScriptCases::Run);
}

TEST_F(ScriptCases, StringsKeepTheirText) {
  ExpectAll(this,
            {
                {"\"a b\"", "\"a b\""},
                {"\"say \\\"hi\\\"\"", "\"say \\\"hi\\\"\""},
                {"\"a\"+\"b\"", "\"ab\""},
                {"\"n=\"+1", "\"n=1\""},
                {"\"a\"*2", ">invalid_object<"},
            },
            &ScriptCases::Run);
}

TEST_F(ScriptCases, RefusedTextsAnswerSentinels) {
  for (const char *text : {"a=b=c", "\"abc", "(1+2", "1+2)", ".", "...", "1+", "*2", "1*", "[]]", "1..", "!",
                           "(", ")", "\"", "=", "1=", "=1", "a b c d ="}) {
    EXPECT_EQ(Run(text), ">invalid_expression<") << "input: " << text;
  }
  // A string that looks like a sentinel is just a string.
  EXPECT_EQ(Run("\">foo<\""), "\">foo<\"");
}

TEST_F(ScriptCases, ListsAnswerEachStatement) {
  EXPECT_EQ(Run("1,2"), "1\n\n2");
  EXPECT_EQ(Run("1,(2,3)"), "1\n\n2\n\n3");
  EXPECT_EQ(Run(",,1,,2,,"), "1\n\n2");
  EXPECT_EQ(Run("x+1,\"s\""), "x+1\n\n\"s\"");
}

TEST_F(Script, SignificantDigitsShapeTheAnswer) {
  SetSignificantDigits(env, 5);
  EXPECT_EQ(GetSignificantDigits(env), 5);
  EXPECT_EQ(Run("1/3"), "0.33333");
  SetSignificantDigits(env, 15);
  EXPECT_EQ(Run("1/3"), "0.333333333333333");
}

TEST_F(Script, LiteralsAreClearedAfterEachScript) {
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Run("1.25+\"a\"+2.5"), "\"1.25a2.5\"");
  char *listing = PrintTopLevelEnvironment(env, 0, 0);
  EXPECT_STREQ(listing, "");
  FreeString(listing);
}

TEST_F(Script, NullAndOddArguments) {
  char *out = QuorvexScript(nullptr, env, 1);
  EXPECT_STREQ(out, "0");
  FreeString(out);
  out = QuorvexScript("1+1", nullptr, 1);
  EXPECT_STREQ(out, ">invalid_expression<");
  FreeString(out);
}

// ---------------------------------------------------------------------------
// History.

std::vector<std::string> Inputs(Environment *env, int32_t selector) {
  std::vector<std::string> out;
  char **v = EnvironmentHistoryElementsToStringVector(env, selector);
  for (int32_t i = 0; v && i < StringVectorLength(v); ++i) out.emplace_back(v[i]);
  FreeStringVector(v);
  return out;
}

TEST_F(Script, EveryLineIsRecordedInTheHistory) {
  Run("1+1");
  Run("\"abc");  // refused by the screen: still recorded
  Run("x,1");    // one entry for the whole list, not one per statement
  EXPECT_EQ(GetHistory(env)->count, 5);
  EXPECT_EQ(Inputs(env, 0), (std::vector<std::string>{"1+1", "\"abc", "x,1"}));
  EXPECT_EQ(Inputs(env, 1), (std::vector<std::string>{"2", ">invalid_expression<", "x\n\n1"}));
  EXPECT_EQ(GetHistory(env)->iterator, GetHistory(env)->tail);
}

TEST_F(Script, HistoryFlagTurnsRecordingOff) {
  EXPECT_EQ(SetUpdateHistoryFlag(env, 0), 1);
  Run("1+1");
  EXPECT_EQ(GetHistory(env)->count, 2);
  EXPECT_EQ(SetUpdateHistoryFlag(env, 1), 0);
  Run("1+1");
  EXPECT_EQ(GetHistory(env)->count, 3);
}

TEST_F(Script, HistoryEditing) {
  RemoveHistoryItem(env, 0);  // only sentinels: nothing to remove
  RemoveHistoryItem(env, -1);
  EXPECT_EQ(GetHistory(env)->count, 2);
  char *text = EnvironmentHistoryToString(env);
  EXPECT_STREQ(text, "");
  FreeString(text);

  AppendHistoryItem(env, "a", "");
  AppendHistoryItem(env, "b", "2");
  AppendHistoryItem(env, "b", "2");  // repeats are kept
  SetLastHistoryItemOutput(env, "3");
  text = EnvironmentHistoryToString(env);
  EXPECT_STREQ(text, "a\v\v \v\v\v\vb\v\v2\v\v\v\vb\v\v3");
  FreeString(text);

  RemoveHistoryItem(env, 3);  // past the last user entry
  RemoveHistoryItem(env, 1);
  EXPECT_EQ(Inputs(env, 1), (std::vector<std::string>{" ", "3"}));  // an empty text reads as one blank
  AppendHistoryItem(env, "c", nullptr);
  EXPECT_EQ(Inputs(env, 1), (std::vector<std::string>{" ", "3", " "}));

  ReinitializeHistory(env);
  EXPECT_EQ(GetHistory(env)->count, 2);
  EXPECT_EQ(GetHistory(env)->iterator, GetHistory(env)->head);
  HistoryIteratorSeekEnd(env);
  EXPECT_EQ(GetHistory(env)->iterator, GetHistory(env)->tail);
  ClearEnvironmentHistory(env);
  EXPECT_EQ(GetHistory(env)->iterator, nullptr);
}

// ---------------------------------------------------------------------------
// Cancellation.

TEST_F(Script, CancelFlagSetBeforeTheCall) {
  SetCancelFlag(env, 1);
  EXPECT_EQ(GetCancelFlag(env), 1);
  EXPECT_EQ(Run("\"abc"), ">evaluation_aborted<");  // refused by the screen
  EXPECT_EQ(Run("1+1"), ">evaluation_aborted<");
  EXPECT_EQ(GetCancelFlag(env), 1);  // the engine never resets it
  SetCancelFlag(env, 0);
  EXPECT_EQ(Run("\"abc"), ">invalid_expression<");
  EXPECT_EQ(Run("1+1"), "2");
  SetCancelFlag(nullptr, 1);
  EXPECT_EQ(GetCancelFlag(nullptr), 0);
}

TEST_F(Script, CancelFromAnotherThreadStopsALongScript) {
  std::string line;
  while (line.size() < 1000000) line += "x*y+";
  line += "1";
  std::atomic<bool> done{false};
  std::thread canceller([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    SetCancelFlag(env, 1);
    done = true;
  });
  const std::string answer = Run(line);
  canceller.join();
  EXPECT_EQ(answer, ">evaluation_aborted<");
  SetCancelFlag(env, 0);
  EXPECT_EQ(Run("2+2"), "4");  // the session goes on
}

TEST(ScriptThreads, SeparateScopesRunInParallel) {
  InitializeGlobals(nullptr, 0);
  auto work = [](std::string *failure) {
    Environment *env = InitializeTopLevelEnvironment(nullptr);
    for (int i = 0; i < 300 && failure->empty(); ++i) {
      const std::string line = std::to_string(i) + "*2+\"s\"";
      char *out = QuorvexScript(line.c_str(), env, 1);
      const std::string want = "\"" + std::to_string(2 * i) + "s\"";
      if (want != out) *failure = line + " gave " + out;
      FreeString(out);
    }
    TerminateEnvironment(env);
  };
  std::string f1, f2;
  std::thread a(work, &f1), b(work, &f2);
  a.join();
  b.join();
  EXPECT_EQ(f1, "");
  EXPECT_EQ(f2, "");
  TerminateGlobals();
}

// A host thread with a small stack: ordinary lines still answer, and deep
// recursion stops with a sentinel before the stack runs out.
TEST(ScriptThreads, SmallStackThread) {
  InitializeGlobals(nullptr, 0);
  struct Result {
    std::string shallow, deep;
  } result;
  auto body = [](void *p) -> void * {
    auto *r = static_cast<Result *>(p);
    Environment *env = InitializeTopLevelEnvironment(nullptr);
    char *out = QuorvexScript("1+2*3", env, 1);
    r->shallow = out;
    FreeString(out);
    std::string power;
    while (power.size() < 20000) power += "2^";
    power += "1";
    out = QuorvexScript(power.c_str(), env, 1);
    r->deep = out;
    FreeString(out);
    TerminateEnvironment(env);
    return nullptr;
  };
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, 1024 * 1024);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attr, body, &result), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attr);
  EXPECT_EQ(result.shallow, "7");
  EXPECT_EQ(result.deep, ">invalid_expression<");
  TerminateGlobals();
}

// ---------------------------------------------------------------------------
// Texts that must neither crash nor hang.

TEST_F(Script, PathologicalTextsAnswer) {
  std::string deep(50000, '(');
  deep += "1";
  deep.append(50000, ')');
  EXPECT_EQ(Run(deep), "1");  // enclosing pairs go in normalisation

  std::string nested;
  for (int i = 0; i < 20000; ++i) nested += "1+(";
  nested += "1";
  nested.append(20000, ')');
  EXPECT_EQ(Run(nested), ">invalid_expression<");  // too deep to evaluate

  std::string unbalanced(100000, '(');
  EXPECT_EQ(Run(unbalanced), ">invalid_expression<");

  std::string sum;
  while (sum.size() < 100000) sum += "1+";
  sum += "1";
  EXPECT_EQ(Run(sum), "5.0001e+4");  // a long chain runs in a loop, not in recursion

  std::string power;
  while (power.size() < 20000) power += "2^";
  power += "1";
  EXPECT_EQ(Run(power), ">invalid_expression<");  // right-nested: stopped by the guards

  std::string high;
  for (int i = 0; i < 5000; ++i) high += static_cast<char>(128 + i % 128);
  high += "+1.5+\"\x85\"";
  const std::string answer = Run(high);
  EXPECT_FALSE(answer.empty());
  EXPECT_EQ(Run("1+1"), "2");
}

}  // namespace
