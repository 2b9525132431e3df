// The history of a top-level scope, seen only through the public header: a
// random run of appends, removals, output changes and clears is checked
// against a plain vector after every step (links both ways, the count with
// its two sentinels, the joined text and the text vectors); then what
// scripts record, with recording on and off.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/session.h"
#include "libquorvex.h"

namespace {

using qvx::test::Session;

// One user entry; a null output is kept apart from an empty one.
struct Entry {
  std::string input;
  bool hasOutput = false;
  std::string output;
};

std::string Text(char *s) {
  std::string out = s ? s : "<null>";
  FreeString(s);
  return out;
}

std::vector<std::string> Texts(char **v) {
  std::vector<std::string> out;
  if (!v) return out;
  for (int32_t k = 0; v[k] && v[k][0]; ++k) out.emplace_back(v[k]);
  FreeStringVector(v);
  return out;
}

// The joined form: input, two vertical tabs, output (a blank for an empty
// one), four vertical tabs between entries; the last output as it stands.
std::string Joined(const std::vector<Entry> &model) {
  std::string out;
  for (std::size_t k = 0; k < model.size(); ++k) {
    const bool last = k + 1 == model.size();
    out += model[k].input + "\v\v";
    const std::string &o = model[k].output;
    if (last) out += o;
    else out += (o.empty() ? " " : o) + "\v\v\v\v";
  }
  return out;
}

// The list against the model: sentinels, both directions of the links,
// the count, and every text the exports give.
void ExpectHistory(Environment *env, const std::vector<Entry> &model) {
  HistoryList *list = GetHistory(env);
  ASSERT_NE(list, nullptr);
  ASSERT_NE(list->head, nullptr);
  ASSERT_NE(list->tail, nullptr);
  EXPECT_EQ(list->count, static_cast<int32_t>(model.size()) + 2);
  for (HistoryItem *sentinel : {list->head, list->tail}) {
    ASSERT_NE(sentinel->input, nullptr);
    EXPECT_STREQ(sentinel->input, "");
    EXPECT_EQ(sentinel->output, nullptr);
  }
  EXPECT_EQ(list->head->prev, nullptr);
  EXPECT_EQ(list->tail->next, nullptr);
  std::size_t k = 0;
  for (HistoryItem *i = list->head->next; i && i != list->tail; i = i->next, ++k) {
    ASSERT_LT(k, model.size()) << "more entries than the model";
    EXPECT_EQ(i->prev->next, i);
    EXPECT_STREQ(i->input, model[k].input.c_str());
    if (model[k].hasOutput) {
      ASSERT_NE(i->output, nullptr) << k;
      EXPECT_STREQ(i->output, model[k].output.c_str());
    } else {
      EXPECT_EQ(i->output, nullptr) << k;
    }
  }
  EXPECT_EQ(k, model.size());
  std::size_t back = 0;
  for (HistoryItem *i = list->tail->prev; i && i != list->head; i = i->prev) ++back;
  EXPECT_EQ(back, model.size()) << "backward links disagree with forward links";

  EXPECT_EQ(Text(EnvironmentHistoryToString(env)), Joined(model));
  std::vector<std::string> inputs, outputs;
  for (const Entry &e : model) {
    inputs.push_back(e.input.empty() ? " " : e.input);
    outputs.push_back(e.output.empty() ? " " : e.output);
  }
  EXPECT_EQ(Texts(EnvironmentHistoryElementsToStringVector(env, 0)), inputs);
  EXPECT_EQ(Texts(EnvironmentHistoryElementsToStringVector(env, 1)), outputs);
  EXPECT_EQ(list->iterator, list->tail) << "the vector walk leaves the iterator on the tail";
}

TEST(History, FreshScopeHoldsOnlyTheTwoSentinels) {
  Session s;
  ExpectHistory(s.env(), {});
  EXPECT_EQ(Text(EnvironmentHistoryToString(s.env())), "");
  char **none = EnvironmentHistoryElementsToStringVector(s.env(), 0);
  ASSERT_NE(none, nullptr);
  EXPECT_STREQ(none[0], "") << "an empty vector still ends with its empty text";
  FreeStringVector(none);
}

// Appends, removals at every position (in range and out of it), output
// changes and clears, against a vector, checked after every step.
TEST(History, RandomEditsAgreeWithAVector) {
  Session s;
  Environment *env = s.env();
  HistoryList *const list = GetHistory(env);
  std::vector<Entry> model;
  std::mt19937 rng(20240607);
  for (int step = 0; step < 600; ++step) {
    const int op = static_cast<int>(rng() % 10);
    if (op < 5) {
      const std::string in = "in" + std::to_string(step) + (step % 7 == 0 ? "" : "x");
      const int kind = static_cast<int>(rng() % 3);  // null, empty or some output
      const std::string out = "out" + std::to_string(step);
      AppendHistoryItem(env, in.c_str(), kind == 0 ? nullptr : kind == 1 ? "" : out.c_str());
      model.push_back({in, kind != 0, kind == 2 ? out : ""});
    } else if (op < 8) {
      // Mostly valid positions, and the neighbours of the valid range.
      const int n = static_cast<int>(model.size());
      const int pos = static_cast<int>(rng() % static_cast<unsigned>(n + 4)) - 2;
      RemoveHistoryItem(env, pos);
      if (pos >= 0 && pos < n) model.erase(model.begin() + pos);
    } else if (op < 9) {
      const std::string out = rng() % 4 ? "new" + std::to_string(step) : "";
      SetLastHistoryItemOutput(env, out.c_str());
      if (!model.empty()) {
        model.back().hasOutput = true;
        model.back().output = out;
      }
    } else if (rng() % 8 == 0) {
      ClearEnvironmentHistory(env);
      model.clear();
      EXPECT_EQ(GetHistory(env), list) << "a host's pointer to the list stays valid";
      EXPECT_EQ(list->iterator, nullptr);
    }
    ExpectHistory(env, model);
    if (HasFailure()) {
      ADD_FAILURE() << "first failure at step " << step;
      break;
    }
  }
}

TEST(History, RepeatsAreKeptAndTheLastOutputIsTheOneReplaced) {
  Session s;
  Environment *env = s.env();
  AppendHistoryItem(env, "x", "1");
  AppendHistoryItem(env, "x", "1");
  SetLastHistoryItemOutput(env, "2");
  ExpectHistory(env, {{"x", true, "1"}, {"x", true, "2"}});
  SetLastHistoryItemOutput(env, nullptr);
  ExpectHistory(env, {{"x", true, "1"}, {"x", false, ""}});
  EXPECT_EQ(Text(EnvironmentHistoryToString(env)), "x\v\v1\v\v\v\vx\v\v");
}

TEST(History, SentinelsCannotBeRemovedOrChanged) {
  Session s;
  Environment *env = s.env();
  for (int32_t pos : {-1, 0, 1, 2, 1 << 30, -(1 << 30)}) RemoveHistoryItem(env, pos);
  SetLastHistoryItemOutput(env, "not placed");
  ExpectHistory(env, {});
  AppendHistoryItem(env, "a", "b");
  for (int32_t pos : {-1, 1, 2}) RemoveHistoryItem(env, pos);
  ExpectHistory(env, {{"a", true, "b"}});
  RemoveHistoryItem(env, 0);
  ExpectHistory(env, {});
}

TEST(History, IteratorPositions) {
  Session s;
  Environment *env = s.env();
  HistoryList *list = GetHistory(env);
  AppendHistoryItem(env, "a", "1");
  AppendHistoryItem(env, "b", "2");
  AppendHistoryItem(env, "c", "3");
  HistoryIteratorSeekEnd(env);
  EXPECT_EQ(list->iterator, list->tail);
  // Removing the entry under the iterator moves it to the next one.
  list->iterator = list->head->next->next;  // "b"
  RemoveHistoryItem(env, 1);
  ASSERT_NE(list->iterator, nullptr);
  EXPECT_STREQ(list->iterator->input, "c");
  ReinitializeHistory(env);
  EXPECT_EQ(list->iterator, list->head);
  EXPECT_EQ(list->count, 2);
  ExpectHistory(env, {});
}

TEST(History, ClearedEntryReadsAsEmpty) {
  Session s;
  Environment *env = s.env();
  AppendHistoryItem(env, "a", "1");
  AppendHistoryItem(env, "b", "2");
  HistoryItem *first = GetHistory(env)->head->next;
  ClearEnvironmentHistoryEntry(first);
  EXPECT_EQ(first->input, nullptr);
  EXPECT_EQ(first->output, nullptr);
  EXPECT_EQ(Text(EnvironmentHistoryToString(env)), "\v\v \v\v\v\vb\v\v2");
  EXPECT_EQ(Texts(EnvironmentHistoryElementsToStringVector(env, 0)), (std::vector<std::string>{" ", "b"}));
  ClearEnvironmentHistoryEntry(first);  // twice: nothing left to free
  ClearEnvironmentHistoryEntry(nullptr);
}

TEST(History, NullScopeIsHarmless) {
  EXPECT_EQ(GetHistory(nullptr), nullptr);
  AppendHistoryItem(nullptr, "a", "b");
  RemoveHistoryItem(nullptr, 0);
  SetLastHistoryItemOutput(nullptr, "x");
  ReinitializeHistory(nullptr);
  ClearEnvironmentHistory(nullptr);
  HistoryIteratorSeekEnd(nullptr);
  EXPECT_EQ(Text(EnvironmentHistoryToString(nullptr)), "");
  EXPECT_EQ(Texts(EnvironmentHistoryElementsToStringVector(nullptr, 1)), std::vector<std::string>{});
  EXPECT_EQ(SetUpdateHistoryFlag(nullptr, 1), 0);
}

// ---- what scripts record ------------------------------------------------------

TEST(HistoryOfScripts, OneEntryPerScriptAsTyped) {
  Session s;
  Environment *env = s.env();
  EXPECT_EQ(s.Run("a = 1"), "a <- 1");
  EXPECT_EQ(s.Run("a+1"), "2");
  // A list and a call that evaluates inner scripts still make one entry.
  EXPECT_EQ(s.Run("x=1,y=2"), "x <- 1\n\ny <- 2");
  s.Run("f(t)=t*3");
  EXPECT_EQ(s.Run("f(2)"), "6");
  EXPECT_EQ(s.Run("1+"), ">invalid_expression<");
  EXPECT_EQ(s.Run("\"quoted text\""), "\"quoted text\"");
  ExpectHistory(env, {{"a = 1", true, "a <- 1"},
                      {"a+1", true, "2"},
                      {"x=1,y=2", true, "x <- 1\n\ny <- 2"},
                      {"f(t)=t*3", true, "f(t) <- t*3"},
                      {"f(2)", true, "6"},
                      {"1+", true, ">invalid_expression<"},
                      {"\"quoted text\"", true, "\"quoted text\""}});
}

TEST(HistoryOfScripts, FlagTurnsRecordingOffAndOn) {
  Session s;
  Environment *env = s.env();
  EXPECT_EQ(SetUpdateHistoryFlag(env, 0), 1) << "a top level records by default";
  s.Run("a=1");
  s.Run("a+1");
  s.Run("1+");
  s.Run("b=2,c=3");
  ExpectHistory(env, {});
  EXPECT_EQ(SetUpdateHistoryFlag(env, 0), 0) << "the flag stays off after scripts";
  EXPECT_EQ(s.Run("a+b+c"), "6") << "scripts still run while nothing is recorded";
  EXPECT_EQ(SetUpdateHistoryFlag(env, 1), 0);
  s.Run("a=4");
  EXPECT_EQ(SetUpdateHistoryFlag(env, 1), 1) << "an assignment must not leave the flag off";
  s.Run("a*2");
  ExpectHistory(env, {{"a=4", true, "a <- 4"}, {"a*2", true, "8"}});
}

TEST(HistoryOfScripts, UserEditsAndScriptsInterleave) {
  Session s;
  Environment *env = s.env();
  s.Run("1+1");
  AppendHistoryItem(env, "note", nullptr);
  s.Run("2+2");
  RemoveHistoryItem(env, 0);
  SetLastHistoryItemOutput(env, "four");
  ExpectHistory(env, {{"note", false, ""}, {"2+2", true, "four"}});
}

TEST(HistoryOfScripts, CopiedAndMergedScopesCarryTheirHistoryOnRequest) {
  Session s;
  Environment *env = s.env();
  s.Run("a=1");
  s.Run("a+1");
  const std::vector<Entry> two = {{"a=1", true, "a <- 1"}, {"a+1", true, "2"}};

  Environment *with = CopyEnvironment(env, nullptr, 1, 0);
  Environment *without = CopyEnvironment(env, nullptr, 0, 0);
  ASSERT_NE(with, nullptr);
  ASSERT_NE(without, nullptr);
  ExpectHistory(with, two);
  ExpectHistory(without, {});
  // The copy is its own list: edits on either side stay there.
  RemoveHistoryItem(env, 0);
  AppendHistoryItem(with, "more", "yes");
  ExpectHistory(env, {{"a+1", true, "2"}});
  ExpectHistory(with, {two[0], two[1], {"more", true, "yes"}});

  AddEnvironment(env, with, 1);
  ExpectHistory(env, {{"a+1", true, "2"}, two[0], two[1], {"more", true, "yes"}});
  AddEnvironment(env, without, 0);
  ExpectHistory(env, {{"a+1", true, "2"}, two[0], two[1], {"more", true, "yes"}});
  TerminateEnvironment(with);
  TerminateEnvironment(without);
  ExpectHistory(env, {{"a+1", true, "2"}, two[0], two[1], {"more", true, "yes"}});
}

}  // namespace
