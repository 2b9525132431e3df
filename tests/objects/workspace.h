// A test fixture with the library set up and one top-level scope, for tests
// that build objects by hand.
#pragma once

#include <gtest/gtest.h>

#include "libquorvex.h"

namespace qvx::test {

class Workspace : public ::testing::Test {
 protected:
  void SetUp() override {
    InitializeGlobals(nullptr, 0);
    env = InitializeTopLevelEnvironment("workspace");
  }
  void TearDown() override {
    TerminateEnvironment(env);
    TerminateGlobals();
  }
  Environment *env = nullptr;
};

}  // namespace qvx::test
