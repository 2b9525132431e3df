// The value record and scopes: layout, construction, copy, free, and the
// scope operations a host reaches (copy, merge, seed). Leaks and double frees
// are what these tests are for as much as values: they run under ASan.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "common/boundary.h"
#include "engine/evaluate.h"
#include "common/globals.h"
#include "libquorvex.h"
#include "objects/array.h"
#include "objects/environment.h"
#include "objects/object.h"
#include "objects/workspace.h"

namespace qvx {
namespace {

// Files store these records field by field: their order must not drift.
static_assert(offsetof(Object, environment) == 0);
static_assert(offsetof(Object, className) < offsetof(Object, frameMark));
static_assert(offsetof(Object, frameMark) < offsetof(Object, destructorPending));
static_assert(offsetof(Object, isPublic) < offsetof(Object, tag));
static_assert(offsetof(Object, tag) < offsetof(Object, memberKind));
static_assert(offsetof(Object, creationDepth) < offsetof(Object, parentEnvironment));
static_assert(offsetof(Object, payload) < offsetof(Object, freePayload));
static_assert(offsetof(Object, copyPayload) == sizeof(Object) - sizeof(void *));
static_assert(offsetof(Environment, seed) == 0);
static_assert(offsetof(Environment, functionTable) < offsetof(Environment, objectTable));
static_assert(offsetof(Environment, objectTable) < offsetof(Environment, classTable));
static_assert(offsetof(Environment, temporaryNames) < offsetof(Environment, resourceTable));
static_assert(offsetof(FunctionRecord, handler) == sizeof(FunctionRecord) - sizeof(void *));
static_assert(sizeof(NumericValue) == 16);
static_assert(offsetof(HistoryList, count) > offsetof(HistoryList, copy));

class Objects : public test::Workspace {
 protected:
  void Bind(const char *name, Object *o) { RBSTInsert(&env->objectTable, env->objectTable.root, name, o); }
  std::string Text(const Object *o) { return ObjectToText(o, 0); }
};

TEST_F(Objects, ConstructorsSetTheCommonFields) {
  env->scopeDepth = 3;
  Object *objects[] = {NewAlgebraicObject("x+1", env), NewNumericValueObject(1, 2, env), NewStringObject("s", env),
                       NewArrayObject(0, env), NewMutantObject(env)};
  for (Object *o : objects) {
    ASSERT_NE(o, nullptr);
    EXPECT_EQ(o->memberKind, 0);
    EXPECT_EQ(o->isPublic, 1);
    EXPECT_EQ(o->frameMark, 0);
    EXPECT_EQ(o->destructorPending, 0);
    EXPECT_EQ(o->className, nullptr);
    EXPECT_EQ(o->creationDepth, 3);
    EXPECT_EQ(o->parentEnvironment, env);
    ASSERT_NE(o->environment, nullptr);
    EXPECT_EQ(o->environment->isScalar != 0, IsScalarTag(o->tag));
    EXPECT_EQ(o->environment->cancelFlag, env->cancelFlag);
    FreeObject(o);
  }
  env->scopeDepth = 0;
}

TEST_F(Objects, NumericFromTextNeedsTwoNumbers) {
  EXPECT_EQ(NewNumericObject("x", "0", env), nullptr);
  EXPECT_EQ(NewNumericObject("1", "", env), nullptr);
  Object *o = NewNumericObject("0x10", "-2.5", env);
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(Numeric(o)->re, 16.0);
  EXPECT_EQ(Numeric(o)->im, -2.5);
  EXPECT_EQ(Text(o), "16-2.5*i");
  FreeObject(o);
}

TEST_F(Objects, TypeNamesAndSameType) {
  struct {
    Object *o;
    const char *name;
  } cases[] = {{NewAlgebraicObject("a", env), "algebraic"}, {NewNumericValueObject(1, 0, env), "numeric"},
               {NewStringObject("s", env), "string"},       {NewArrayObject(0, env), "array"},
               {NewMapObject(env), "map"},                  {NewNodeObject(env), "node"},
               {NewMutantObject(env), "mutant"},            {NewClassDefinitionObject(env), "class_definition"}};
  for (auto &c : cases) {
    char *name = TypeName(c.o);
    EXPECT_STREQ(name, c.name);
    FreeString(name);
  }
  EXPECT_EQ(TestSameType(cases[0].o, cases[1].o), 1);  // algebraic and numeric stand for each other
  EXPECT_EQ(TestSameType(cases[1].o, cases[2].o), 0);
  EXPECT_EQ(TestSameType(cases[3].o, cases[3].o), 1);
  EXPECT_EQ(TestSameType(nullptr, cases[3].o), 0);
  for (auto &c : cases) FreeObject(c.o);
}

TEST_F(Objects, CopiesAreDeepAndIndependent) {
  EXPECT_EQ(CopyObject(nullptr, env, 0), nullptr);
  Object *n = NewNumericValueObject(1.5, -2, env);
  n->memberKind = 1;
  n->destructorPending = 1;
  Object *c = CopyObject(n, env, 1);
  ASSERT_NE(c, nullptr);
  EXPECT_NE(c->payload, n->payload);
  EXPECT_NE(c->environment, n->environment);
  EXPECT_EQ(c->memberKind, 0);          // a top-level target makes a plain variable
  EXPECT_EQ(c->destructorPending, 0);  // a detached copy never runs a destructor
  Numeric(n)->re = 9;
  EXPECT_EQ(Numeric(c)->re, 1.5);
  FreeObject(n);
  FreeObject(c);

  Object *s = NewSplitObjectFromTexts(DupText("x"), DupText("y"), env);
  Object *sc = CopyObject(s, env, 1);
  EXPECT_STREQ(Split(sc)->re, "x");
  EXPECT_NE(Split(sc)->re, Split(s)->re);
  FreeObject(s);
  FreeObject(sc);

  Object *str = NewStringObject("abc", env);
  Object *strc = CopyObject(str, env, 0);
  EXPECT_EQ(strc->tag, kTagString);
  EXPECT_EQ(Text(strc), "\"abc\"");
  FreeObject(str);
  FreeObject(strc);
  FreeObject(nullptr);
}

TEST_F(Objects, SplitObjectTakesTheTexts) {
  SplitValue pair{DupText("a"), DupText("b")};
  Object *o = NewSplitObject(&pair, env);
  EXPECT_EQ(pair.re, nullptr);
  EXPECT_EQ(pair.im, nullptr);
  EXPECT_EQ(Text(o), "a+b*i");
  FreeObject(o);
}

TEST_F(Objects, SlotConversions) {
  Object *o = NewNumericValueObject(0.5, 2, env);
  NumericToSplit(&o, env, 1);
  ASSERT_EQ(o->tag, kTagSplit);
  EXPECT_STREQ(Split(o)->re, "0.5");
  EXPECT_STREQ(Split(o)->im, "2");
  FreeObject(o);
  o = NewNumericValueObject(-3, 0, env);
  NumericToAlgebraic(&o, env);
  ASSERT_EQ(o->tag, kTagAlgebraic);
  EXPECT_STREQ(AlgebraicText(o), "-3");
  FreeObject(o);
}

TEST_F(Objects, ScalarMethodEvaluatesItsText) {
  Object *o = NewMethodAlgebraicObject("1+2", env);
  ASSERT_NE(o, nullptr);
  RBSTNode *n = RBSTFind(o->environment->functionTable.root, "eval(0)");
  ASSERT_NE(n, nullptr);
  auto *f = static_cast<FunctionRecord *>(n->value);
  int32_t owned = 0;
  Object *r = f->handler(nullptr, o->environment, &owned);
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(Text(r), "3");
  if (owned) FreeObject(r);
  FreeObject(o);
}

TEST_F(Objects, SeedKeepsNegativeValues) {
  SetSeed(env, 42);
  EXPECT_EQ(*env->seed, -42);
  SetSeed(env, -7);
  EXPECT_EQ(*env->seed, -7);
  SetSeed(env, 0);
  EXPECT_EQ(*env->seed, 0);
  SetEnvironmentSeed(5, env);
  EXPECT_EQ(*env->seed, 5);
}

TEST_F(Objects, CopyEnvironmentWithNullParentUsesTheSource) {
  Bind("a", NewNumericValueObject(1, 0, env));
  Bind("s", NewStringObject("t", env));
  AppendHistoryItem(env, "in", "out");
  Environment *copy = CopyEnvironment(env, nullptr, 1, 0);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->objectTable.size, 2);
  EXPECT_EQ(copy->history->count, 3);
  EXPECT_NE(copy->cancelFlag, env->cancelFlag);  // a new top level owns its flag
  auto *a = static_cast<Object *>(RBSTFind(copy->objectTable.root, "a")->value);
  EXPECT_EQ(a->parentEnvironment, copy);
  EXPECT_EQ(a->environment->cancelFlag, copy->cancelFlag);
  EXPECT_EQ(EnvironmentSize(copy), EnvironmentSize(env));
  TerminateEnvironment(copy);
  Environment *noHistory = CopyEnvironment(env, env, 0, 0);
  EXPECT_EQ(noHistory->history->count, 2);
  TerminateEnvironment(noHistory);
  EXPECT_EQ(CopyEnvironment(nullptr, env, 0, 0), nullptr);
}

TEST_F(Objects, AddEnvironmentMovesEverything) {
  Environment *other = InitializeTopLevelEnvironment(nullptr);
  RBSTInsert(&other->objectTable, other->objectTable.root, "b", NewNumericValueObject(2, 0, other));
  RBSTInsert(&other->objectTable, other->objectTable.root, "a", NewNumericValueObject(3, 0, other));
  Bind("a", NewNumericValueObject(1, 0, env));
  AppendHistoryItem(other, "x", "y");
  AddEnvironment(env, other, 1);
  EXPECT_EQ(env->objectTable.size, 2);
  EXPECT_EQ(other->objectTable.size, 0);
  auto *a = static_cast<Object *>(RBSTFind(env->objectTable.root, "a")->value);
  EXPECT_EQ(Numeric(a)->re, 3);  // same key: replaced
  EXPECT_EQ(a->parentEnvironment, env);
  EXPECT_EQ(env->history->count, 3);
  // The emptied source stays usable.
  RBSTInsert(&other->objectTable, other->objectTable.root, "c", NewNumericValueObject(4, 0, other));
  EXPECT_EQ(other->objectTable.size, 1);
  TerminateEnvironment(other);
  AddEnvironment(env, env, 1);  // merging a scope into itself does nothing
  EXPECT_EQ(env->objectTable.size, 2);
}

TEST_F(Objects, TombstonesArePurged) {
  Bind("a", NewNumericValueObject(1, 0, env));
  Bind("b", NewNumericValueObject(2, 0, env));
  RBSTNode *n = RBSTFind(env->objectTable.root, "a");
  FreeObject(static_cast<Object *>(n->value));
  n->value = nullptr;
  env->deletedCount = 1;
  PurgeDeletedObjects(env);
  EXPECT_EQ(env->deletedCount, 0);
  EXPECT_EQ(env->objectTable.size, 1);
  EXPECT_EQ(RBSTFind(env->objectTable.root, "a"), nullptr);
}

TEST_F(Objects, FrameMarksTouchPlainVariablesOnly) {
  Object *plain = NewNumericValueObject(1, 0, env);
  Object *member = NewNumericValueObject(2, 0, env);
  member->memberKind = 1;
  Bind("p", plain);
  Bind("m", member);
  StampFrameMarks(env, 0x1234);
  EXPECT_EQ(plain->frameMark, 0x34);
  EXPECT_EQ(member->frameMark, 0);
}

TEST_F(Objects, ScopeChainAndListing) {
  Object *mutant = NewMutantObject(env);
  Bind("m", mutant);
  EXPECT_EQ(TopLevelOf(mutant->environment), env);
  EXPECT_EQ(ParentOf(mutant->environment), env);
  Bind("x", NewNumericValueObject(2, 0, env));
  EXPECT_EQ(FindObjectInScopes("x", mutant->environment), RBSTFind(env->objectTable.root, "x")->value);
  char *listing = PrintTopLevelEnvironment(env, 0, 0);
  EXPECT_NE(std::strstr(listing, "OBJECTS\n"), nullptr);
  EXPECT_NE(std::strstr(listing, "x = 2"), nullptr);
  FreeString(listing);
  char *message = RestoreDefaultAssignments(env, 0);
  EXPECT_STREQ(message, "default assignments restored");
  FreeString(message);
  EXPECT_EQ(env->objectTable.size, 0);
}

TEST(Globals, InitScriptRunsInEveryNewScope) {
  InitializeGlobals("1+1", 0);
  Environment *env = InitializeTopLevelEnvironment(nullptr);
  EXPECT_EQ(env->history->count, 2);  // the init script is not recorded
  EXPECT_EQ(env->temporaryNames.size, 0);
  SetPlatformCode(65536);
  EXPECT_EQ(G().platformCode, 65536);
  TerminateEnvironment(env);
  TerminateGlobals();
  InitializeGlobals("/nonexistent/quorvex/init", 1);  // unreadable: an empty script
  EXPECT_STREQ(G().initScript, "");
  TerminateGlobals();
}

}  // namespace
}  // namespace qvx
