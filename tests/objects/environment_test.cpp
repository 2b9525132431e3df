// Scopes: the parent chain by owner, look-ups that climb it, sizes,
// tombstones and seeds; and copying and merging whole scopes through the
// public entry points, driven by script lines. Copies and merges are used
// after their source is gone, so that a link left pointing into the source
// shows up under the address sanitizer.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "engine/session.h"
#include "libquorvex.h"
#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {
namespace {

using test::Session;

Object *Find(const char *name, Environment *env) { return FindObjectInScopes(name, env); }

std::string RunIn(Environment *env, const std::string &script) {
  char *answer = QuorvexScript(script.c_str(), env, 1);
  std::string out = answer ? answer : "<null>";
  FreeString(answer);
  return out;
}

// A class with an empty static scope, held by `holder` under `name`; the
// holder's table owns it.
ClassRecord *AddClass(const char *name, Environment *holder) {
  auto *c = static_cast<ClassRecord *>(std::calloc(1, sizeof(ClassRecord)));
  c->holder = holder;
  c->creationDepth = holder->scopeDepth;
  c->environment = CreateEnvironment(c, 1);
  RBSTInsert(&holder->classTable, holder->classTable.root, name, c);
  return c;
}

// Leaves a tombstone: a name whose object is gone.
void AddTombstone(const char *name, Environment *env) {
  RBSTInsert(&env->objectTable, env->objectTable.root, name, nullptr);
  ++env->deletedCount;
}

TEST(Scopes, ParentChainFollowsOwners) {
  Session s;
  Environment *top = s.env();
  EXPECT_EQ(ParentOf(top), nullptr);
  EXPECT_EQ(TopLevelOf(top), top);
  s.Run("m=0,m.b=2");
  s.Run("m.c=0,m.c.d=4");
  s.Run("a=1");
  Object *m = Find("m", top);
  ASSERT_NE(m, nullptr);
  ASSERT_NE(m->environment, nullptr);
  Object *c = Find("c", m->environment);
  ASSERT_NE(c, nullptr);
  ASSERT_NE(c->environment, nullptr);
  EXPECT_EQ(c->parentEnvironment, m->environment);
  EXPECT_EQ(ParentOf(m->environment), top);
  EXPECT_EQ(ParentOf(c->environment), m->environment);
  EXPECT_EQ(TopLevelOf(c->environment), top);
  EXPECT_EQ(Find("c", top), nullptr) << "a member is not visible from the outside";

  // A number's scope borrows its tables but still has a parent.
  Object *a = Find("a", top);
  ASSERT_NE(a, nullptr);
  ASSERT_TRUE(a->environment->isScalar);
  EXPECT_EQ(ParentOf(a->environment), top);
  EXPECT_EQ(EnvironmentSize(a->environment), 0);
  EXPECT_EQ(CopyEnvironment(a->environment, nullptr, 0, 0), nullptr);

  // One cancel flag for the whole tree.
  EXPECT_EQ(c->environment->cancelFlag, top->cancelFlag);
  SetCancelFlag(top, 1);
  EXPECT_EQ(GetCancelFlag(c->environment), 1);
  SetCancelFlag(top, 0);
  EXPECT_EQ(GetCancelFlag(c->environment), 0);
}

TEST(Scopes, NameLookupClimbsAndTheNearestWins) {
  Session s;
  Environment *top = s.env();
  s.Run("x=5");
  s.Run("m=0,m.b=2");
  s.Run("m.c=0,m.c.x=9");
  Environment *mEnv = Find("m", top)->environment;
  Environment *cEnv = Find("c", mEnv)->environment;
  ASSERT_NE(Find("x", cEnv), nullptr);
  EXPECT_EQ(Find("x", cEnv)->parentEnvironment, cEnv) << "own member shadows the top-level name";
  EXPECT_EQ(Find("x", mEnv)->parentEnvironment, top);
  EXPECT_EQ(Find("b", cEnv)->parentEnvironment, mEnv);
  EXPECT_EQ(Find("nothing", cEnv), nullptr);
  // The counted form reads only the given length, short and long names.
  EXPECT_EQ(FindObjectInScopes("xyz", 1, cEnv), Find("x", cEnv));
  const std::string longName(90, 'q');
  s.Run(longName + "=3");
  EXPECT_NE(FindObjectInScopes((longName + "tail").c_str(), longName.size(), cEnv), nullptr);
  EXPECT_EQ(FindObjectInScopes(longName.c_str(), longName.size() - 1, cEnv), nullptr);

  // A tombstone hides nothing: the look-up goes on upward.
  const int32_t members = cEnv->objectTable.size;
  AddTombstone("b", cEnv);
  EXPECT_EQ(Find("b", cEnv)->parentEnvironment, mEnv);
  AddTombstone("x", cEnv);  // replaces c's own x: the top-level one shows through
  EXPECT_EQ(Find("x", cEnv)->parentEnvironment, top);
  PurgeDeletedObjects(cEnv);
  EXPECT_EQ(cEnv->deletedCount, 0);
  EXPECT_EQ(cEnv->objectTable.size, members - 1) << "both tombstones go, c's own x with them";
  EXPECT_EQ(FindObjectInScopes("b", 1, cEnv)->parentEnvironment, mEnv);
  EXPECT_EQ(s.Run("m.b+x"), "7");
}

TEST(Scopes, ClassesAreFoundUpTheChainAndNotDownIt) {
  Session s;
  Environment *top = s.env();
  const int32_t before = EnvironmentSize(top);
  ClassRecord *outer = AddClass("Outer", top);
  ClassRecord *inner = AddClass("Inner", outer->environment);
  EXPECT_EQ(EnvironmentSize(top), before + 2) << "a class counts one, plus what its scope holds";
  s.Run("m=0,m.b=2");
  Environment *mEnv = Find("m", top)->environment;

  EXPECT_EQ(outer->environment->scopeKind, 1);
  EXPECT_EQ(ParentOf(outer->environment), top);
  EXPECT_EQ(ParentOf(inner->environment), outer->environment);
  EXPECT_EQ(TopLevelOf(inner->environment), top);
  EXPECT_EQ(inner->environment->cancelFlag, top->cancelFlag);

  EXPECT_EQ(FindClassInScopes("Outer", mEnv), outer);
  EXPECT_EQ(FindClassInScopes("Outer", inner->environment), outer);
  EXPECT_EQ(FindClassInScopes("Inner", inner->environment), inner);
  EXPECT_EQ(FindClassInScopes("Inner", outer->environment), inner);
  EXPECT_EQ(FindClassInScopes("Inner", top), nullptr);
  EXPECT_EQ(FindClassInScopes("Inner", mEnv), nullptr);
  EXPECT_EQ(FindClass("Outer", top), outer);
  EXPECT_EQ(FindClass("Missing", inner->environment), nullptr);
  EXPECT_EQ(FindClassInScopes(nullptr, top), nullptr);
  EXPECT_EQ(FindClassInScopes("Outer", nullptr), nullptr);
}

TEST(Scopes, SizeCountsEntriesOfEveryNestedScope) {
  Session s;
  Environment *top = s.env();
  const int32_t fresh = EnvironmentSize(top);
  EXPECT_GT(fresh, 0) << "the default functions count";
  EXPECT_EQ(fresh, top->functionTable.size);
  s.Run("a=1");
  EXPECT_EQ(EnvironmentSize(top), fresh + 1);
  s.Run("m=0,m.b=2");
  const int32_t withMutant = EnvironmentSize(top);
  s.Run("m.c=3");
  EXPECT_EQ(EnvironmentSize(top), withMutant + 1) << "a member is counted through its holder";
  s.Run("m.c=0,m.c.d=4");
  EXPECT_GE(EnvironmentSize(top), withMutant + 2);
  s.Run("delete(a)");
  EXPECT_EQ(Find("a", top), nullptr);
  EXPECT_EQ(EnvironmentSize(nullptr), 0);
  char *message = RestoreDefaultAssignments(top, 0);
  EXPECT_STREQ(message, "default assignments restored");
  FreeString(message);
  EXPECT_EQ(EnvironmentSize(top), fresh);
  EXPECT_EQ(s.Run("m"), "m");
}

TEST(Scopes, SeedsAndTheRandomSequence) {
  Session s;
  Environment *top = s.env();
  ASSERT_NE(top->seed, nullptr);
  EXPECT_LE(*top->seed, 0) << "a fresh seed is minus a clock value";
  struct Case {
    int32_t given, stored;
  } cases[] = {{5, -5}, {-7, -7}, {0, 0}, {2147483647, -2147483647}};
  for (const Case &c : cases) {
    SetSeed(top, c.given);
    EXPECT_EQ(*top->seed, c.stored) << c.given;
  }
  SetEnvironmentSeed(9, top);
  EXPECT_EQ(*top->seed, 9) << "the internal setter stores the value as it is";
  SetSeed(nullptr, 3);

  // Equal seeds draw equal numbers; a copy carries the seed but not the
  // storage, so drawing in the copy leaves the source's sequence alone.
  Session other;
  SetSeed(top, 1234);
  SetSeed(other.env(), 1234);
  const std::string first = s.Run("rand(0,1)");
  EXPECT_EQ(other.Run("rand(0,1)"), first);
  Environment *copy = CopyEnvironment(top, nullptr, 0, 0);
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy->seed, top->seed);
  const std::string c1 = RunIn(copy, "rand(0,1)"), c2 = RunIn(copy, "rand(0,1)");
  EXPECT_NE(c1, first);
  EXPECT_NE(c1, c2);
  EXPECT_EQ(s.Run("rand(0,1)"), c1);
  EXPECT_EQ(s.Run("rand(0,1)"), c2);
  EXPECT_EQ(other.Run("rand(0,1)"), c1);
  TerminateEnvironment(copy);
}

TEST(Scopes, PurgeRemovesTombstonesAndCopyDropsThem) {
  Session s;
  Environment *top = s.env();
  s.Run("keep=1");
  AddTombstone("gone1", top);
  AddTombstone("gone2", top);
  const int32_t withTombstones = top->objectTable.size;
  Environment *copy = CopyEnvironment(top, nullptr, 0, 0);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(top->deletedCount, 0) << "copying purges the source first";
  EXPECT_EQ(top->objectTable.size, withTombstones - 2);
  EXPECT_EQ(copy->objectTable.size, top->objectTable.size);
  EXPECT_EQ(RunIn(copy, "keep"), "1");
  TerminateEnvironment(copy);
  PurgeDeletedObjects(top);  // nothing left to do
  PurgeDeletedObjects(nullptr);
  EXPECT_EQ(s.Run("keep+1"), "2");
}

// ---- copying and merging whole scopes -----------------------------------------------

TEST(CopyEnvironment, CopyIsIndependentAndOutlivesItsSource) {
  Environment *copy = nullptr;
  {
    Session s;
    Environment *top = s.env();
    s.Run("a=2");
    s.Run("f(x)=x^2+a");
    s.Run("m=0,m.b=3");
    s.Run("m.c=0,m.c.d=4");
    s.Run("t=\"text\"");
    SetSignificantDigits(top, 6);
    copy = CopyEnvironment(top, nullptr, 0, 0);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(EnvironmentSize(copy), EnvironmentSize(top));
    EXPECT_EQ(GetSignificantDigits(copy), 6);
    EXPECT_EQ(RunIn(copy, "a=5"), "a <- 5");
    EXPECT_EQ(s.Run("a"), "2") << "the copy's tables are its own";
    EXPECT_EQ(RunIn(copy, "m.b=30"), "m.b <- 30");
    EXPECT_EQ(s.Run("m.b"), "3");
    // The copied objects hang from the copy, not from the source.
    Object *m = Find("m", copy);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->parentEnvironment, copy);
    EXPECT_EQ(TopLevelOf(Find("c", m->environment)->environment), copy);
    EXPECT_EQ(Find("c", m->environment)->environment->cancelFlag, copy->cancelFlag);
  }  // the source is gone
  EXPECT_EQ(RunIn(copy, "f(3)"), "14");
  EXPECT_EQ(RunIn(copy, "m.b+m.c.d"), "34");
  EXPECT_EQ(RunIn(copy, "t"), "\"text\"");
  EXPECT_EQ(RunIn(copy, "m.e=1"), "m.e <- 1");
  TerminateEnvironment(copy);
}

TEST(CopyEnvironment, CancelFlagOwnership) {
  Session s;
  Environment *top = s.env();
  s.Run("m=0,m.b=2");
  SetCancelFlag(top, 1);
  Environment *fresh = CopyEnvironment(top, nullptr, 0, 0);
  ASSERT_NE(fresh, nullptr);
  EXPECT_NE(fresh->cancelFlag, top->cancelFlag) << "a new top level has a flag of its own";
  EXPECT_EQ(GetCancelFlag(fresh), 1) << "starting from the parent's value";
  SetCancelFlag(fresh, 0);
  EXPECT_EQ(GetCancelFlag(top), 1);
  SetCancelFlag(top, 0);
  EXPECT_EQ(ParentOf(fresh), nullptr);

  // Keeping the owner: the copy of a member scope shares the tree's flag
  // and must not free it.
  Environment *mEnv = Find("m", top)->environment;
  Environment *kept = CopyEnvironment(mEnv, nullptr, 0, 1);
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(kept->ownerObject, mEnv->ownerObject);
  EXPECT_EQ(kept->cancelFlag, top->cancelFlag);
  EXPECT_EQ(ParentOf(kept), top);
  EXPECT_NE(Find("b", kept), nullptr);
  TerminateEnvironment(kept);
  TerminateEnvironment(fresh);
  SetCancelFlag(top, 1);
  EXPECT_EQ(GetCancelFlag(mEnv), 1) << "the shared flag survives the copies";
  SetCancelFlag(top, 0);
  EXPECT_EQ(s.Run("m.b"), "2");
  EXPECT_EQ(CopyEnvironment(nullptr, top, 1, 1), nullptr);
}

TEST(CopyEnvironment, ClassesAreCopiedWithTheirScopes) {
  Session s;
  Environment *top = s.env();
  ClassRecord *outer = AddClass("Outer", top);
  AddClass("Inner", outer->environment);
  Environment *copy = CopyEnvironment(top, nullptr, 0, 0);
  ASSERT_NE(copy, nullptr);
  ClassRecord *copied = FindClassInScopes("Outer", copy);
  ASSERT_NE(copied, nullptr);
  EXPECT_NE(copied, outer);
  EXPECT_EQ(copied->holder, copy);
  ASSERT_NE(copied->environment, nullptr);
  EXPECT_EQ(copied->environment->ownerObject, copied);
  EXPECT_EQ(ParentOf(copied->environment), copy);
  ClassRecord *inner = FindClassInScopes("Inner", copied->environment);
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(TopLevelOf(inner->environment), copy);
  EXPECT_EQ(EnvironmentSize(copy), EnvironmentSize(top));
  TerminateEnvironment(copy);
}

TEST(AddEnvironment, MergeMovesEntriesAndEmptiesTheSource) {
  Session target, source;
  target.Run("a=1");
  target.Run("b=2");
  target.Run("m=0,m.x=1");
  source.Run("b=20");
  source.Run("c=30");
  source.Run("m=5");  // replaces the target's mutant
  source.Run("g(x)=x+1");
  source.Run("n=0,n.y=7");
  AddEnvironment(target.env(), source.env(), 0);
  EXPECT_EQ(EnvironmentSize(source.env()), 0);
  EXPECT_EQ(target.Run("a+b+c+m"), "56");
  EXPECT_EQ(target.Run("g(1)"), "2");
  EXPECT_EQ(Find("n", target.env())->parentEnvironment, target.env());
  // The emptied source still works.
  EXPECT_EQ(source.Run("c"), "c");
  EXPECT_EQ(source.Run("d=4"), "d <- 4");
  EXPECT_EQ(source.Run("d"), "4");

  // Everything moved lives on after the source is gone.
  Session *late = new Session;
  late->Run("k=0,k.z=11");
  AddEnvironment(target.env(), late->env(), 0);
  delete late;
  EXPECT_EQ(target.Run("n.y+k.z"), "18");
  EXPECT_EQ(target.Run("k.w=1"), "k.w <- 1");

  AddEnvironment(target.env(), target.env(), 1);  // onto itself: nothing
  AddEnvironment(nullptr, source.env(), 1);
  AddEnvironment(target.env(), nullptr, 1);
  EXPECT_EQ(target.Run("a"), "1");
}

}  // namespace
}  // namespace qvx
