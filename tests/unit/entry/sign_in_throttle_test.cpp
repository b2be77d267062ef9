#include "entry/sign_in_throttle.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

using namespace kinora::entry;

namespace {

class SignInThrottleTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "throttle-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string Path() const { return folder_ + "/attempts"; }

  std::string folder_;
};

constexpr int64_t kNow = 1'700'000'000;

}  // namespace

TEST(DelayAfter, DoublesUpToAMinute) {
  struct Case {
    int64_t count;
    int64_t seconds;
  };
  const Case kCases[] = {{0, 0}, {4, 0},  {5, 1},   {6, 2},   {7, 4},
                         {8, 8}, {9, 16}, {10, 32}, {11, 60}, {1'000'000, 60}};
  for (const Case& c : kCases) EXPECT_EQ(DelayAfter({c.count, kNow}, 5), c.seconds) << c.count;
}

TEST(Admit, CountsTheAttemptItAdmits) {
  const Admission admission = Admit({2, kNow - 1}, 5, kNow);
  EXPECT_TRUE(admission.admitted);
  EXPECT_EQ(admission.attempts.count, 3);
  EXPECT_EQ(admission.attempts.last, kNow);
}

TEST(Admit, RefusesWithoutCountingUntilTheDelayIsOver) {
  EXPECT_FALSE(Admit({6, kNow - 1}, 5, kNow).admitted);
  EXPECT_EQ(Admit({6, kNow - 1}, 5, kNow).attempts.count, 6);
  EXPECT_TRUE(Admit({6, kNow - 2}, 5, kNow).admitted);
}

TEST(Admit, StartsAnewAfterAnHourOrWhenTheRecordMakesNoSense) {
  EXPECT_EQ(Admit({100, kNow - 3601}, 5, kNow).attempts.count, 1);
  EXPECT_EQ(Admit({100, kNow + 10 * 365 * 86400}, 5, kNow).attempts.count, 1);
  EXPECT_EQ(Admit({-7, kNow - 1}, 5, kNow).attempts.count, 1);
}

TEST_F(SignInThrottleTest, SlowsDownAfterFiveAttempts) {
  SignInThrottle throttle(Path());
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(throttle.MayTry("ann", "10.0.0.1", kNow)) << i;
  EXPECT_FALSE(throttle.MayTry("ann", "10.0.0.1", kNow));
  EXPECT_TRUE(throttle.MayTry("ann", "10.0.0.2", kNow)) << "another client";
  EXPECT_TRUE(throttle.MayTry("bob", "10.0.0.1", kNow)) << "another account";
  EXPECT_TRUE(throttle.MayTry("ann", "10.0.0.1", kNow + 1)) << "later";
}

TEST_F(SignInThrottleTest, ForgetsAfterASuccess) {
  SignInThrottle throttle(Path());
  for (int i = 0; i < 5; ++i) throttle.MayTry("ann", "10.0.0.1", kNow);
  throttle.Succeeded("ann", "10.0.0.1");
  EXPECT_TRUE(throttle.MayTry("ann", "10.0.0.1", kNow));
}

TEST_F(SignInThrottleTest, TakesBackAttemptsThatNobodyHasJudged) {
  SignInThrottle throttle(Path());
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(throttle.MayTry("ann", "10.0.0.1", kNow)) << i;
    throttle.Withdraw("ann", "10.0.0.1");
  }
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(throttle.MayTry("ann", "10.0.0.1", kNow)) << i;
  throttle.Withdraw("ann", "10.0.0.1");
  EXPECT_TRUE(throttle.MayTry("ann", "10.0.0.1", kNow)) << "one, not all of them";
  EXPECT_FALSE(throttle.MayTry("ann", "10.0.0.1", kNow));
}

TEST_F(SignInThrottleTest, SlowsDownAClientThatTriesManyNames) {
  SignInThrottle throttle(Path());
  int admitted = 0;
  for (int i = 0; i < 1000; ++i)
    admitted += throttle.MayTry("name" + std::to_string(i), "10.0.0.1", kNow) ? 1 : 0;
  EXPECT_EQ(admitted, 30);
}

TEST_F(SignInThrottleTest, AdmitsNoMoreWhenFiftyTryAtOnce) {
  int admitted = 0;
  std::vector<pid_t> children;
  for (int i = 0; i < 50; ++i) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      SignInThrottle throttle(Path());
      int count = 0;
      for (int j = 0; j < 20; ++j) count += throttle.MayTry("ann", "10.0.0.1", kNow) ? 1 : 0;
      _exit(count);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    admitted += WEXITSTATUS(status);
  }
  EXPECT_EQ(admitted, 5);
}

TEST_F(SignInThrottleTest, KeepsItsFileSmallAndClosed) {
  SignInThrottle throttle(Path());
  for (int i = 0; i < 2000; ++i) {
    throttle.MayTry("name" + std::to_string(i), "10.0.0." + std::to_string(i), kNow);
  }
  struct stat status {};
  ASSERT_EQ(stat(Path().c_str(), &status), 0);
  EXPECT_LE(status.st_size, 64 << 10);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(SignInThrottleTest, LetsNobodyInWhenItsFileCannotBeUsed) {
  SignInThrottle throttle(folder_ + "/missing/attempts");
  EXPECT_THROW(throttle.MayTry("ann", "10.0.0.1", kNow), std::system_error);
  ASSERT_EQ(symlink("/etc/hostname", Path().c_str()), 0);
  EXPECT_THROW(SignInThrottle(Path()).MayTry("ann", "10.0.0.1", kNow), std::system_error);
}
