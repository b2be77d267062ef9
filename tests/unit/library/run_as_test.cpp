#include "library/run_as.h"

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

class RunAsTest : public kinora::fakes::ScriptedTest {
 protected:
  RunAsTest() { TheIds() = EffectiveIds(); }

  // Enters a section from these ids and leaves it; the journal has "work" in between.
  static void Run(uid_t from_user, gid_t from_group, uid_t uid, gid_t gid) {
    TheIds().uid = from_user;
    TheIds().gid = from_group;
    Calls().clear();
    const RunAs section("some/unit", 42, uid, gid);
    Calls().push_back("work");
    EXPECT_EQ(TheIds().uid, uid);
    EXPECT_EQ(TheIds().gid, gid);
  }
  static void ExpectRefused(const Switches& calls) {
    try {
      const RunAs section("some/unit", 42, 0, 0);
      ADD_FAILURE() << "entered";
    } catch (const runas_error& error) {
      EXPECT_STREQ(error.what(), "RUN_AS(0, 0)");
    }
    ExpectCalls(calls);
  }
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
};

const LogLine kNotEntered{LOG_AUTH | LOG_ERR, "some/unit:42 ERROR: RUN_AS(0, 0)"};
const LogLine kNotLeft{LOG_AUTH | LOG_CRIT, "some/unit:42 ERROR: ~RUN_AS(33, 44)"};

TEST_F(RunAsTest, BecomesRootFirstThenTheGroupThenTheUserAndGoesBackTheGroupFirst) {
  Run(33, 44, 0, 0);
  ExpectCalls({"setresuid(-1, 0, -1)", "setresgid(-1, 0, -1)", "setresuid(-1, 0, -1)", "work",
               "setresgid(-1, 44, -1)", "setresuid(-1, 33, -1)"});
  ExpectIds(33, 44);
  ExpectLines({});
}

TEST_F(RunAsTest, ChangesNothingWhenItIsThatAlready) {
  Run(0, 0, 0, 0);
  ExpectCalls({"work"});
  Run(33, 44, 33, 44);
  ExpectCalls({"work"});
}

TEST_F(RunAsTest, ChangesOnlyWhatDiffers) {
  Run(0, 44, 0, 0);
  ExpectCalls({"setresgid(-1, 0, -1)", "work", "setresgid(-1, 44, -1)"});
  Run(33, 0, 0, 0);
  ExpectCalls({"setresuid(-1, 0, -1)", "setresuid(-1, 0, -1)", "work", "setresuid(-1, 33, -1)"});
}

TEST_F(RunAsTest, GoesThroughRootToAnyOtherIdentityAndBack) {
  Run(33, 44, 55, 66);
  ExpectCalls({"setresuid(-1, 0, -1)", "setresgid(-1, 66, -1)", "setresuid(-1, 55, -1)", "work",
               "setresuid(-1, 0, -1)", "setresgid(-1, 44, -1)", "setresuid(-1, 33, -1)"});
}

TEST_F(RunAsTest, GoesFromRootToAnotherIdentityAndBack) {
  Run(0, 0, 55, 66);
  ExpectCalls({"setresgid(-1, 66, -1)", "setresuid(-1, 55, -1)", "work", "setresuid(-1, 0, -1)",
               "setresgid(-1, 0, -1)", "setresuid(-1, 0, -1)"});
}

TEST_F(RunAsTest, GoesBackWhenAnExceptionLeavesIt) {
  EXPECT_THROW(
      {
        RUN_AS("some/unit", 0, 0);
        ExpectIds(0, 0);
        throw std::logic_error("out");
      },
      std::logic_error);
  ExpectIds(33, 44);
}

TEST_F(RunAsTest, NestedGoesBackStepByStep) {
  {
    RUN_AS("some/unit", 0, 0);
    {
      const RunAs inner("some/unit", 43, 55, 66);
      ExpectIds(55, 66);
    }
    ExpectIds(0, 0);
  }
  ExpectIds(33, 44);
}

TEST_F(RunAsTest, ThrowsWhenItCannotBecomeRoot) {
  TheIds().failing_calls = {1};
  ExpectRefused({"setresuid(-1, 0, -1)"});
  ExpectIds(33, 44);
  ExpectLines({kNotEntered});
}

TEST_F(RunAsTest, ThrowsWhenTheGroupIsRefusedAndGivesRootBack) {
  TheIds().failing_calls = {2};
  ExpectRefused({"setresuid(-1, 0, -1)", "setresgid(-1, 0, -1)", "setresuid(-1, 33, -1)"});
  ExpectIds(33, 44);
  ExpectLines({kNotEntered});
}

TEST_F(RunAsTest, ThrowsWhenTheUserIsRefusedAndGivesAllBack) {
  TheIds().failing_calls = {3};
  ExpectRefused({"setresuid(-1, 0, -1)", "setresgid(-1, 0, -1)", "setresuid(-1, 0, -1)",
                 "setresgid(-1, 44, -1)", "setresuid(-1, 33, -1)"});
  ExpectIds(33, 44);
  ExpectLines({kNotEntered});
}

TEST_F(RunAsTest, TellsBothWhenItCanGoNeitherWay) {
  TheIds().failing_calls = {2, 3};
  ExpectRefused({"setresuid(-1, 0, -1)", "setresgid(-1, 0, -1)", "setresuid(-1, 33, -1)"});
  ExpectLines({kNotEntered, kNotLeft});
}

TEST_F(RunAsTest, TellsWhenTheGroupCannotGoBackAndGivesTheUserBack) {
  TheIds().failing_calls = {4};
  Run(33, 44, 0, 0);
  ExpectIds(33, 0);
  ExpectLines({kNotLeft});
}

TEST_F(RunAsTest, TellsWhenTheUserCannotGoBack) {
  TheIds().failing_calls = {5};
  Run(33, 44, 0, 0);
  ExpectIds(0, 44);
  ExpectLines({kNotLeft});
}

TEST_F(RunAsTest, TellsOnceWhenNothingCanGoBack) {
  TheIds().failing_calls = {4, 5};
  Run(33, 44, 0, 0);
  ExpectIds(0, 0);
  ExpectLines({kNotLeft});
}

// The section may have changed the identity itself.
TEST_F(RunAsTest, GoesBackFromWhereverItIs) {
  {
    RUN_AS("some/unit", 0, 0);
    TheIds().uid = 55;
    Calls().clear();
  }
  ExpectCalls({"setresuid(-1, 0, -1)", "setresgid(-1, 44, -1)", "setresuid(-1, 33, -1)"});
  ExpectIds(33, 44);
}

TEST_F(RunAsTest, DoesNothingAtItsEndWhenItIsBackAlready) {
  {
    RUN_AS("some/unit", 0, 0);
    TheIds().uid = 33;
    TheIds().gid = 44;
    Calls().clear();
  }
  ExpectCalls({});
}

TEST_F(RunAsTest, TellsWhereItWasEntered) {
  TheIds().failing_calls = {4};
  const int line = __LINE__ + 1;
  { RUN_AS("some/unit", 0, 0); }
  EXPECT_EQ(LogLines()[0].text, "some/unit:" + std::to_string(line) + " ERROR: ~RUN_AS(33, 44)");
}

}  // namespace
}  // namespace crvnkn::webapi
