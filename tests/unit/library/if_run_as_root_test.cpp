#include "library/if_run_as_root.h"

#include <syslog.h>

#include <stdexcept>

#include "tests/fakes/effective_ids.h"
#include "tests/fakes/scripted_test.h"
#include "tests/fakes/system_log.h"

namespace crvnkn::webapi {
namespace {

using kinora::fakes::Calls;
using kinora::fakes::EffectiveIds;
using kinora::fakes::LogLine;
using kinora::fakes::LogLines;
using kinora::fakes::TheIds;
using Switches = std::vector<std::string>;

constexpr int kLine = 42;

class IfRunAsRootTest : public kinora::fakes::ScriptedTest {
 protected:
  IfRunAsRootTest() { TheIds() = EffectiveIds(); }

  static void ExpectIds(uid_t uid, gid_t gid) {
    EXPECT_EQ(TheIds().uid, uid);
    EXPECT_EQ(TheIds().gid, gid);
  }
  static void ExpectLines(const std::vector<LogLine>& lines) {
    ASSERT_EQ(LogLines().size(), lines.size());
    for (size_t i = 0; i < lines.size(); ++i) {
      EXPECT_EQ(LogLines()[i].priority, lines[i].priority);
      EXPECT_EQ(LogLines()[i].text, lines[i].text);
    }
  }
  // Opens a section, whether it became one, and closes it.
  static bool Run() {
    const IfRunAsRoot root("some/unit", kLine);
    Calls().push_back("work");
    return static_cast<bool>(root);
  }
};

const LogLine kNotEntered{LOG_AUTHPRIV | LOG_ERR, "some/unit:42 ERROR: IF_RUN_AS(0, 0)"};
const LogLine kNotLeft{LOG_AUTHPRIV | LOG_CRIT, "some/unit:42 ERROR: ~IF_RUN_AS(33, 44)"};

TEST_F(IfRunAsRootTest, SwitchesUserAndGroupAndBackTheUserFirst) {
  {
    const IfRunAsRoot root("some/unit", kLine);
    EXPECT_TRUE(root);
    ExpectIds(0, 0);
  }
  ExpectIds(33, 44);
  ExpectCalls(
      {"setresuid(-1, 0, -1)", "setresgid(-1, 0, -1)", "setresuid(-1, 33, -1)", "setresgid(-1, 44, -1)"});
  ExpectLog({});
}

TEST_F(IfRunAsRootTest, SwitchesNothingWhenItIsRoot) {
  TheIds().uid = TheIds().gid = 0;
  EXPECT_TRUE(Run());
  ExpectCalls({"work"});
}

TEST_F(IfRunAsRootTest, SwitchesOnlyWhatDiffers) {
  TheIds().uid = 0;
  EXPECT_TRUE(Run());
  ExpectCalls({"setresgid(-1, 0, -1)", "work", "setresgid(-1, 44, -1)"});
  Calls().clear();
  TheIds().uid = 33;
  TheIds().gid = 0;
  EXPECT_TRUE(Run());
  ExpectCalls({"setresuid(-1, 0, -1)", "work", "setresuid(-1, 33, -1)"});
}

TEST_F(IfRunAsRootTest, GoesBackWhenAnExceptionLeavesIt) {
  EXPECT_THROW(
      {
        const IfRunAsRoot root("some/unit", kLine);
        throw std::runtime_error("out");
      },
      std::runtime_error);
  ExpectIds(33, 44);
}

TEST_F(IfRunAsRootTest, IsNoneWhenTheUserCannotBeSwitched) {
  TheIds().failing_calls = {1};
  EXPECT_FALSE(Run());
  ExpectCalls({"setresuid(-1, 0, -1)", "work"});
  ExpectIds(33, 44);
  ExpectLines({kNotEntered});
}

TEST_F(IfRunAsRootTest, IsNoneWhenTheGroupCannotBeSwitchedAndGivesTheUserBack) {
  TheIds().failing_calls = {2};
  EXPECT_FALSE(Run());
  ExpectCalls({"setresuid(-1, 0, -1)", "setresgid(-1, 0, -1)", "work", "setresuid(-1, 33, -1)"});
  ExpectIds(33, 44);
  ExpectLines({kNotEntered});
}

TEST_F(IfRunAsRootTest, TellsWhenItCannotGoBackAndGivesBackWhatItCan) {
  TheIds().failing_calls = {3};
  EXPECT_TRUE(Run());
  ExpectIds(0, 44);
  ExpectLines({kNotLeft});
}

TEST_F(IfRunAsRootTest, TellsWhenTheGroupCannotGoBack) {
  TheIds().failing_calls = {4};
  EXPECT_TRUE(Run());
  ExpectIds(33, 0);
  ExpectLines({kNotLeft});
}

TEST_F(IfRunAsRootTest, TellsBothWhenItCanGoNeitherWay) {
  TheIds().failing_calls = {2, 3};
  EXPECT_FALSE(Run());
  ExpectLines({kNotEntered, kNotLeft});
}

// The section may have changed the identity itself.
TEST_F(IfRunAsRootTest, GoesBackFromWhereverItIs) {
  {
    const IfRunAsRoot root("some/unit", kLine);
    TheIds().uid = 33;
    Calls().clear();
  }
  ExpectCalls({"setresgid(-1, 44, -1)"});
}

}  // namespace
}  // namespace crvnkn::webapi
