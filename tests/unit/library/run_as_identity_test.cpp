// The section with the process's real ids.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "library/run_as.h"
#include "tests/fakes/stream_test.h"
#include "tests/fakes/system_log.h"

namespace crvnkn::webapi {
namespace {

constexpr uid_t kService = 12345;

class RunAsIdentity : public kinora::fakes::StreamTest {
 protected:
  void SetUp() override {
    const char* const places = std::getenv("KINORA_PLACES");
    if (::geteuid() != 0 || places == nullptr || std::string(places) == "user")
      GTEST_SKIP() << "needs root and two identities";
  }
  // Runs it in a process of its own; the failures in it are its exit status.
  static int InOwnProcess(const std::function<void()>& function) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      function();
      std::fflush(nullptr);
      ::_exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  static void ExpectUsers(uid_t expected_real, uid_t expected_effective, uid_t expected_saved) {
    uid_t real = 1, effective = 1, saved = 1;
    ::getresuid(&real, &effective, &saved);
    EXPECT_EQ(real, expected_real);
    EXPECT_EQ(effective, expected_effective);
    EXPECT_EQ(saved, expected_saved);
  }
  static void ExpectGroups(gid_t expected_real, gid_t expected_effective, gid_t expected_saved) {
    gid_t real = 1, effective = 1, saved = 1;
    ::getresgid(&real, &effective, &saved);
    EXPECT_EQ(real, expected_real);
    EXPECT_EQ(effective, expected_effective);
    EXPECT_EQ(saved, expected_saved);
  }
};

// As a request is: real ids 0, effective and saved ones those of the service's account.
TEST_F(RunAsIdentity, OfARequestIsRootInTheSectionAndTheServiceBeforeAndAfter) {
  EXPECT_EQ(InOwnProcess([] {
              ASSERT_EQ(::setresgid(0, kService, kService), 0);
              ASSERT_EQ(::setresuid(0, kService, kService), 0);
              {
                RUN_AS("some/unit", 0, 0);
                ExpectUsers(0, 0, kService);
                ExpectGroups(0, 0, kService);
              }
              ExpectUsers(0, kService, kService);
              ExpectGroups(0, kService, kService);
              ExpectLog({});
            }),
            0);
}

TEST_F(RunAsIdentity, WithoutAWayToRootIsRefusedAndStays) {
  EXPECT_EQ(InOwnProcess([] {
              ASSERT_EQ(::setresgid(kService, kService, kService), 0);
              ASSERT_EQ(::setresuid(kService, kService, kService), 0);
              try {
                RUN_AS("some/unit", 0, 0);
                ADD_FAILURE() << "entered";
              } catch (const runas_error& error) {
                EXPECT_STREQ(error.what(), "RUN_AS(0, 0)");
              }
              ExpectUsers(kService, kService, kService);
              ExpectGroups(kService, kService, kService);
              ExpectLog({"some/unit:# ERROR: RUN_AS(0, 0)"});
            }),
            0);
}

// Root by its saved id alone, like a set-uid program.
TEST_F(RunAsIdentity, GoesByTheSavedIdToo) {
  EXPECT_EQ(InOwnProcess([] {
              ASSERT_EQ(::setresuid(kService, kService, 0), 0);
              {
                RUN_AS("some/unit", 0, 0);
                ExpectUsers(kService, 0, 0);
              }
              ExpectUsers(kService, kService, 0);
            }),
            0);
}

TEST_F(RunAsIdentity, ThatCannotGoBackIsTold) {
  EXPECT_EQ(InOwnProcess([] {
              ASSERT_EQ(::setresgid(0, kService, kService), 0);
              ASSERT_EQ(::setresuid(0, kService, kService), 0);
              {
                RUN_AS("some/unit", 0, 0);
                // All rights are gone for good, and with them the way back.
                ASSERT_EQ(::setresgid(54321, 54321, 54321), 0);
                ASSERT_EQ(::setresuid(54321, 54321, 54321), 0);
              }
              ExpectUsers(54321, 54321, 54321);
              ExpectLog({"some/unit:# ERROR: ~RUN_AS(12345, 12345)"});
            }),
            0);
}

TEST_F(RunAsIdentity, OfRootItselfStaysAsItIs) {
  {
    RUN_AS("some/unit", 0, 0);
    ExpectUsers(0, 0, 0);
  }
  ExpectUsers(0, 0, 0);
}

}  // namespace
}  // namespace crvnkn::webapi
