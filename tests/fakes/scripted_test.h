// Tests of the library against the scripted doubles.
#pragma once

#include "tests/fakes/script.h"
#include "tests/fakes/stream_test.h"
#include "tests/fakes/workspace.h"

namespace kinora::fakes {

// Begins with a fresh script and an empty journal.
class ScriptedTest : public StreamTest {
 protected:
  ScriptedTest() { Reset(); }

  static void ExpectCalls(const std::vector<std::string>& calls) { EXPECT_EQ(Calls(), calls); }
};

// The doubles put working folders onto the workspace's volume.
class ScriptedWorkspaceTest : public ScriptedTest, protected Workspace {
 protected:
  void SetUp() override {
    Enter();
    TheScript().volume = volume_;
  }
  void TearDown() override { Leave(); }
};

}  // namespace kinora::fakes
