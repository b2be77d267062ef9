// What an account may not reach, seen by `kinora doctor` and `kinora status` when root starts them.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/unit/cli/commands_fixture.h"

namespace kinora::cli {
namespace {

using testing::HasSubstr;

class DoctorIdentityTest : public CommandsTest {
 protected:
  void SetUp() override {
    const char* const places = std::getenv("KINORA_PLACES");
    if (places == nullptr || std::string(places) == "user" || ::geteuid() != 0) {
      GTEST_SKIP() << "root with two identities is needed";
    }
    ::chmod(folder_.c_str(), 0755);
  }
  ~DoctorIdentityTest() override { fs::remove(system::kSettingsFile); }
  static void SetAccount(const std::string& name) {
    std::ofstream(system::kSettingsFile) << "account=\"" << name << "\"\nport=\"0\"\n";
  }
};

TEST_F(DoctorIdentityTest, FailsForAShareThatOnlyRootCanRead) {
  SetAccount("nobody");
  ASSERT_EQ(Run({"share", "add", Films()}).status, 0);
  ASSERT_EQ(Run({"scan"}).status, 0);  // gives the service's places to its account
  EXPECT_THAT(Run({"doctor"}).out, HasSubstr("OK    share      " + Films() + "\n"));
  ASSERT_EQ(::chmod(Films().c_str(), 0700), 0);
  const Outcome outcome = Run({"doctor"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("OK    account    nobody\n"));
  EXPECT_THAT(outcome.out, HasSubstr("FAIL  share      " + Films() +
                                     " cannot be read by the service's account: Permission denied"));
}

TEST_F(DoctorIdentityTest, FailsForAnAccountThatDoesNotExist) {
  SetAccount("kinora-nonesuch");
  const Outcome outcome = Run({"doctor"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("FAIL  account    "));
  EXPECT_THAT(outcome.out, HasSubstr("make that account, or change the setting"));
}

TEST_F(DoctorIdentityTest, BothRefuseAWorkspaceOfAnotherAccount) {
  SetAccount("nobody");
  ASSERT_EQ(::chown(system::kWorkspace, 12345, 12345), 0);
  EXPECT_THAT(Run({"doctor"}).out,
              HasSubstr("FAIL  workspace  /tmp/Kinora belongs to another account than the service's"));
  const Outcome status = Run({"status"});
  EXPECT_EQ(status.status, 1);
  EXPECT_EQ(status.err,
            "kinora: the streams in /tmp/Kinora belong to another account; ask as root or as the service's "
            "account\n");
  ASSERT_EQ(::chown(system::kWorkspace, 0, 0), 0);
}

}  // namespace
}  // namespace kinora::cli
