// The default function table, restore() and the commands on scopes.
#include <gtest/gtest.h>

#include <string>

#include "engine/program.h"
#include "objects/environment.h"
#include "persistence/rbst.h"
#include "session.h"

namespace qvx {
namespace {

using test::Session;

TEST(Defaults, TableHas77KeysWithTheirFlags) {
  Session s;
  RBST &t = s.env()->functionTable;
  EXPECT_EQ(t.size, 77);
  for (const char *key : {"delete()", "print(0)", "abs(1)", "deriv()", "readmatrix()", "tanh(1)"}) {
    RBSTNode *n = RBSTFind(t.root, key);
    ASSERT_NE(n, nullptr) << key;
    auto *r = static_cast<FunctionRecord *>(n->value);
    EXPECT_NE(r->handler, nullptr) << key;
    EXPECT_EQ(r->system, std::string(key).starts_with("readmatrix") ? 1 : 0) << key;
  }
  EXPECT_STREQ(static_cast<FunctionRecord *>(RBSTFind(t.root, "deriv()")->value)->name, "deriv");
  // The variadic key serves any count.
  EXPECT_EQ(FindFunction("delete", 3, s.env()), RBSTFind(t.root, "delete()")->value);
  EXPECT_EQ(FindFunction("print", 1, s.env()), nullptr);
}

TEST(Defaults, PredefinedFunctionsReachTheirHandlers) {
  Session s;
  EXPECT_EQ(s.Run("sin(1)"), "0.841470984807897");
  EXPECT_EQ(s.Run("max(1,2,3)"), "3");
}

TEST(Defaults, RestoreBringsBackAShadowedDefault) {
  Session s;
  EXPECT_EQ(s.Run("sin(x)=x+100"), "sin(x) <- x+100");
  EXPECT_EQ(s.Run("sin(1)"), "101");
  s.Run("a=1");
  EXPECT_EQ(s.Run("restore()"), "default assignments restored");
  EXPECT_EQ(s.Run("sin(1)"), "0.841470984807897");
  EXPECT_EQ(s.Run("a"), "a");
  EXPECT_EQ(s.env()->functionTable.size, 77);
  // A literal of the running script survives restore() in that script.
  EXPECT_EQ(s.Run("restore(),b=\"s\",b"), "default assignments restored\n\nb <- \"s\"\n\n\"s\"");
}

TEST(Defaults, InitScriptRunsAtCreationAndRestore) {
  InitializeGlobals(nullptr, 0);
  SetInitScript("c0=299792458");
  {
    Session s;
    EXPECT_EQ(s.Run("c0"), "2.99792458e+8");
    s.Run("c0=1");
    s.Run("restore()");
    EXPECT_EQ(s.Run("c0"), "2.99792458e+8");
  }
  SetInitScript("");
}

TEST(Defaults, TypePrintIntrospectMutate) {
  Session s;
  EXPECT_EQ(s.Run("type()"), "\"top_level\"");
  EXPECT_EQ(s.Run("print()"), "");
  s.Run("a=1,b=2");
  EXPECT_EQ(s.Run("print()"), "OBJECTS\n  a = 1\n  b = 2\n");
  EXPECT_EQ(s.Run("introspect()"), s.Run("print()"));
  EXPECT_EQ(s.Run("mutate(a,b,3)"), "2");
  EXPECT_EQ(s.Run("a.type()"), "\"mutant\"");
  EXPECT_EQ(s.Run("a.val+b.val"), "3");
  EXPECT_EQ(s.Run("delete(a,b)"), "2");
  EXPECT_EQ(s.Run("print()"), "");
}

}  // namespace
}  // namespace qvx
