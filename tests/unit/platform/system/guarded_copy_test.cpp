#include "platform/system/guarded_copy.h"

#include <sys/mount.h>
#include <sys/resource.h>

#include <chrono>
#include <vector>

#include "contract/system/hlibc.h"
#include "tests/unit/platform/system/two_identities.h"

namespace kinora::system {
namespace {

namespace fs = std::filesystem;
constexpr const char* kEnd = nullptr;

int Copy(const std::string& source, const std::string& target) {
  return HLIBCExec("/bin/cp", source.c_str(), target.c_str(), kEnd);
}

class GuardedCopyTest : public TwoIdentitiesTest {
 protected:
  void SetUp() override {
    TwoIdentitiesTest::SetUp();
    if (IsSkipped()) return;
    source_ = folder_ / "source";
    std::ofstream(source_) << "content";
    fs::create_directories(folder_ / "above" / "kept");
    target_ = folder_ / "above" / "kept" / "target";
  }

  // The target's folder holds that and nothing else: no scratch.
  void ExpectOnly(const std::vector<std::string>& names) const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(target_.parent_path()))
      found.push_back(entry.path().filename());
    EXPECT_EQ(found, names);
  }

  fs::path source_;
  fs::path target_;
};

TEST_F(GuardedCopyTest, IsWholeAndReadableByOthersWhateverTheMaskAndTheSourcesMode) {
  ASSERT_EQ(::chmod(source_.c_str(), 0600), 0);
  const mode_t before = ::umask(077);
  EXPECT_EQ(Copy(source_, target_), 0);
  ::umask(before);
  EXPECT_EQ(ContentOf(target_), "content");
  EXPECT_EQ(ModeOf(target_), 0644U);
  ExpectOnly({"target"});
}

TEST_F(GuardedCopyTest, ReplacesWhatIsThereAndFollowsNoLink) {
  std::ofstream(folder_ / "precious") << "precious";
  const std::vector<std::function<void()>> plants = {
      [this] { std::ofstream(target_) << "a much longer old content"; },
      [this] { fs::create_symlink(folder_ / "precious", target_); },
      [this] { fs::create_symlink(folder_ / "nowhere", target_); },
      [this] { fs::create_hard_link(folder_ / "precious", target_); },
      [this] { ASSERT_EQ(::mkfifo(target_.c_str(), 0600), 0); }};
  for (const auto& plant : plants) {
    fs::remove(target_);
    plant();
    EXPECT_EQ(Copy(source_, target_), 0);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(target_)));
    EXPECT_EQ(ContentOf(target_), "content");
  }
  EXPECT_EQ(ContentOf(folder_ / "precious"), "precious");
  EXPECT_FALSE(fs::exists(folder_ / "nowhere"));
  ExpectOnly({"target"});
}

TEST_F(GuardedCopyTest, TakesPlainFilesOnly) {
  ASSERT_EQ(::mkfifo((folder_ / "fifo").c_str(), 0600), 0);
  fs::create_symlink(source_, folder_ / "link");
  for (const char* name : {"fifo", "link", "above", "missing", "source/x"}) {
    EXPECT_NE(Copy(folder_ / name, target_), 0) << name;
  }
  EXPECT_NE(Copy("/dev/zero", target_), 0);
  ExpectOnly({});
}

TEST_F(GuardedCopyTest, RefusesATargetThatIsAFolderOrLiesBehindALink) {
  fs::create_directory(target_);
  EXPECT_NE(Copy(source_, target_), 0);
  EXPECT_TRUE(fs::is_empty(target_));
  fs::remove(target_);
  fs::create_directory_symlink(folder_ / "above" / "kept", folder_ / "above" / "last");
  fs::create_directory_symlink(folder_ / "above", folder_ / "last_but_one");
  const std::string folder = folder_;
  for (const std::string& way :
       {folder + "/above/last", folder + "/above//last/", folder + "/last_but_one/kept",
        folder + "/last_but_one//kept", folder + "/missing", folder + "/source"}) {
    EXPECT_NE(Copy(source_, way + "/target"), 0) << way;
  }
  ExpectOnly({});
  fs::create_directory_symlink(folder_, folder_ / "far");
  EXPECT_EQ(Copy(source_, folder_ / "far" / "above" / "kept" / "target"), 0) << "a link further up";
}

TEST_F(GuardedCopyTest, RefusesOtherArgumentsThanTwoSafeNames) {
  const std::string target = target_;
  EXPECT_LT(HLIBCExec("/bin/cp", source_.c_str(), kEnd), 0);
  EXPECT_LT(HLIBCExec("/bin/cp", source_.c_str(), source_.c_str(), target.c_str(), kEnd), 0);
  EXPECT_LT(HLIBCExec("/bin/cp", kEnd), 0);
  for (const std::string& name : {std::string(), std::string("/"), std::string("target"), target + "/",
                                  target + "/.", target + "/../target", std::string("-r")}) {
    EXPECT_LT(Copy(source_, name), 0) << name;
    EXPECT_LT(Copy(name, target_), 0) << name;
  }
  ExpectOnly({});
}

TEST_F(GuardedCopyTest, LeavesNothingOfACopyThatWasKilled) {
  std::ofstream(source_) << std::string(1 << 20, 'x');
  for (const std::string& old : {std::string(), std::string("old")}) {
    if (!old.empty()) std::ofstream(target_) << old;
    const pid_t pid = ::fork();
    if (pid == 0) {
      // cp inherits it, and is ended by a signal when half of the work is done.
      const rlimit limit{1 << 19, 1 << 19};
      ::setrlimit(RLIMIT_FSIZE, &limit);
      ::_exit(Copy(source_, target_) < 0 ? 0 : 1);
    }
    int status = 1;
    ::waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
    old.empty() ? ExpectOnly({}) : ExpectOnly({"target"});
  }
  EXPECT_EQ(ContentOf(target_), "old");
}

TEST_F(GuardedCopyTest, LeavesNothingOnAFullDisk) {
  if (std::string(std::getenv("KINORA_PLACES")) == "real") {
    GTEST_SKIP() << "nothing is mounted on the machine itself";
  }
  std::ofstream(source_) << std::string(1 << 20, 'x');
  const std::string small = target_.parent_path();
  ASSERT_EQ(::mount("kinora-test", small.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755,size=256k"), 0);
  std::ofstream(target_) << "old";
  EXPECT_GT(Copy(source_, target_), 0);
  ExpectOnly({"target"});
  EXPECT_EQ(ContentOf(target_), "old");
  fs::resize_file(source_, 1000);
  EXPECT_EQ(Copy(source_, target_), 0) << "nothing is left that takes the space";
  ASSERT_EQ(::umount2(small.c_str(), MNT_DETACH), 0);
}

TEST_F(GuardedCopyTest, RemovesWhatADeadOneHasLeft) {
  const fs::path old = target_.parent_path() / ".copy-old";
  const fs::path young = target_.parent_path() / ".copy-young";
  for (const fs::path& path : {old, young}) std::ofstream(path) << "half";
  fs::last_write_time(old, fs::file_time_type::clock::now() - std::chrono::hours(1));
  EXPECT_EQ(Copy(source_, target_), 0);
  EXPECT_FALSE(fs::exists(old));
  EXPECT_TRUE(fs::exists(young)) << "may be at work";
}

TEST_F(GuardedCopyTest, IsWholeForReadersAllTheTime) {
  std::ofstream(source_) << std::string(1 << 20, 'x');
  ASSERT_EQ(Copy(source_, target_), 0);
  const pid_t pid = ::fork();
  if (pid == 0) {
    for (int i = 0; i < 20; ++i) {
      if (Copy(source_, target_) != 0) ::_exit(1);
    }
    ::_exit(0);
  }
  int status = 1;
  while (::waitpid(pid, &status, WNOHANG) == 0) EXPECT_EQ(fs::file_size(target_), 1U << 20);
  EXPECT_EQ(status, 0);
}

class GuardedCopyOwnersTest : public GuardedCopyTest {
 protected:
  void SetUp() override {
    GuardedCopyTest::SetUp();
    if (!IsSkipped() && !HasTwoIdentities()) GTEST_SKIP() << "needs two identities";
    if (!IsSkipped()) Own(target_.parent_path(), kAlice, kAlicesGroup);
  }
};

TEST_F(GuardedCopyOwnersTest, BelongsToTheOwnerOfTheFolder) {
  EXPECT_EQ(Copy(source_, target_), 0);
  EXPECT_EQ(StatusOf(target_).st_uid, kAlice);
  EXPECT_EQ(StatusOf(target_).st_gid, kAlicesGroup);
  EXPECT_TRUE(As(0, 0, kService, [this] { return Copy(source_, target_) == 0 && ::geteuid() == 0; }));
  EXPECT_EQ(StatusOf(target_).st_uid, kAlice);
}

TEST_F(GuardedCopyOwnersTest, HoldsNothingThatTheOwnerMayNotRead) {
  ASSERT_EQ(::chmod(source_.c_str(), 0600), 0);
  EXPECT_GT(Copy(source_, target_), 0);
  ExpectOnly({});
  Own(target_.parent_path(), 0, 0);
  EXPECT_EQ(Copy(source_, target_), 0) << "root's own folder";
  EXPECT_EQ(StatusOf(target_).st_uid, 0U);
}

TEST_F(GuardedCopyOwnersTest, NeedsTheRightsOfACallerWhoIsNotRoot) {
  EXPECT_TRUE(As(0, kService, kService, [this] { return Copy(source_, target_) > 0; }));
  ExpectOnly({});
  Own(target_.parent_path(), kService, kService);
  EXPECT_TRUE(As(0, kService, kService, [this] { return Copy(source_, target_) == 0; }));
  EXPECT_EQ(StatusOf(target_).st_uid, kService);
  EXPECT_TRUE(As(kService, kService, kService, [this] { return Copy(source_, target_) == 0; }));
}

}  // namespace
}  // namespace kinora::system
