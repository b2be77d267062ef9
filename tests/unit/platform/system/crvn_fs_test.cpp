#include "contract/system/crvn_fs.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include "platform/system/places.h"

namespace kinora::system {
namespace {

namespace fs = std::filesystem;
using libkn::critical::crvnsdk::CRVNFSMkdirPKinora;

unsigned int ModeOf(const fs::path& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0xFFFF;
}

class MkdirTest : public testing::Test {
 protected:
  void SetUp() override {
    // Outside of a view these would be the places of the machine itself.
    if (std::getenv("KINORA_PLACES") == nullptr) GTEST_SKIP() << "run it through tests/with-places";
    EmptyWorkspace();
    // A place outside of the workspace whose path has no link in it.
    folder_ = fs::canonical(kVar) / "mkdir";
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    ::umask(077);
  }
  void TearDown() override {
    if (IsSkipped()) return;
    ::umask(022);
    fs::remove_all(folder_);
    EmptyWorkspace();
  }

  // The workspace may be a mount point of the view, which cannot be removed itself.
  static void EmptyWorkspace() {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(kWorkspace, ignored)) fs::remove_all(entry.path());
    ::rmdir(kWorkspace);
    ::chmod(kWorkspace, 0700);
  }

  // As nobody, in a process of its own.
  static bool Planted(const std::function<bool()>& plant) {
    const pid_t pid = ::fork();
    if (pid == 0)
      ::_exit(::setresgid(65534, 65534, 65534) == 0 && ::setresuid(65534, 65534, 65534) == 0 && plant() ? 0
                                                                                                        : 1);
    int status = 1;
    ::waitpid(pid, &status, 0);
    return status == 0;
  }

  // Whether another account exists that this process can be.
  static bool HasTwoIdentities() {
    const char* const places = std::getenv("KINORA_PLACES");
    return ::geteuid() == 0 && (places == nullptr || std::string(places) != "user") &&
           Planted([] { return true; });
  }

  fs::path folder_;
};

TEST_F(MkdirTest, MakesAllMissingPartsWithTheModeWhateverTheUmask) {
  EXPECT_TRUE(CRVNFSMkdirPKinora(folder_ / "a" / "b", 0777));
  EXPECT_EQ(ModeOf(folder_ / "a"), 0777U);
  EXPECT_EQ(ModeOf(folder_ / "a" / "b"), 0777U);
  EXPECT_TRUE(CRVNFSMkdirPKinora(folder_ / "c", 0));
  EXPECT_EQ(ModeOf(folder_ / "c"), 0U);
}

TEST_F(MkdirTest, LeavesTheModeOfWhatExists) {
  ASSERT_TRUE(CRVNFSMkdirPKinora(folder_ / "a", 0750));
  EXPECT_TRUE(CRVNFSMkdirPKinora(folder_ / "a" / "b", 0777));
  EXPECT_TRUE(CRVNFSMkdirPKinora(folder_ / "a" / "b", 0700));
  EXPECT_EQ(ModeOf(folder_ / "a"), 0750U);
  EXPECT_EQ(ModeOf(folder_ / "a" / "b"), 0777U);
}

TEST_F(MkdirTest, TakesSlashesAsOne) {
  EXPECT_TRUE(CRVNFSMkdirPKinora(folder_.string() + "//x///y//", 0700));
  EXPECT_TRUE(fs::is_directory(folder_ / "x" / "y"));
  EXPECT_TRUE(CRVNFSMkdirPKinora("/", 0700));
}

TEST_F(MkdirTest, RefusesMalformedPaths) {
  for (const std::string& path :
       {std::string(), std::string("relative"), folder_.string() + "/x/../y", folder_.string() + "/./x",
        folder_.string() + std::string("/x\0y", 4), folder_.string() + "/" + std::string(300, 'x')}) {
    EXPECT_FALSE(CRVNFSMkdirPKinora(path, 0700)) << path;
  }
  EXPECT_TRUE(fs::is_empty(folder_));
}

TEST_F(MkdirTest, RefusesALinkOrAFileInThePath) {
  fs::create_directory(folder_ / "target");
  fs::create_directory_symlink(folder_ / "target", folder_ / "link");
  fs::create_symlink(folder_ / "nowhere", folder_ / "dangling");
  std::ofstream(folder_ / "file") << "x";
  for (const char* name : {"link", "link/x", "dangling", "dangling/x", "file", "file/x"}) {
    EXPECT_FALSE(CRVNFSMkdirPKinora(folder_ / name, 0700)) << name;
  }
  EXPECT_TRUE(fs::is_empty(folder_ / "target"));
  EXPECT_FALSE(fs::exists(folder_ / "nowhere"));
}

TEST_F(MkdirTest, FailsWhereNothingCanBeMade) { EXPECT_FALSE(CRVNFSMkdirPKinora("/proc/x/y", 0700)); }

TEST_F(MkdirTest, ClosesTheWorkspaceToOthersWhateverTheModeInside) {
  EXPECT_TRUE(CRVNFSMkdirPKinora("/tmp/Kinora/RAW", 0777));
  EXPECT_EQ(ModeOf("/tmp/Kinora"), 0700U);
  EXPECT_EQ(ModeOf("/tmp/Kinora/RAW"), 0777U);
}

TEST_F(MkdirTest, RefusesAWorkspaceThatOthersMayWriteInto) {
  ASSERT_TRUE(CRVNFSMkdirPKinora("/tmp/Kinora", 0700));
  ASSERT_EQ(::chmod("/tmp/Kinora", 0777), 0);
  EXPECT_FALSE(CRVNFSMkdirPKinora("/tmp/Kinora/RAW", 0777));
  EXPECT_FALSE(fs::exists("/tmp/Kinora/RAW"));
}

TEST_F(MkdirTest, IsTrueForEachOfManyThatMakeTheSame) {
  std::vector<pid_t> makers;
  for (int i = 0; i < 16; ++i) {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(CRVNFSMkdirPKinora("/tmp/Kinora/HLS/a/b/c/d/e/f", 0777) ? 0 : 1);
    makers.push_back(pid);
  }
  for (const pid_t pid : makers) {
    int status = 1;
    ::waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
  }
}

TEST_F(MkdirTest, RefusesAWorkspaceThatAnotherAccountHasPlanted) {
  if (!HasTwoIdentities()) GTEST_SKIP() << "needs two identities";
  if (fs::exists(kWorkspace)) {
    ASSERT_EQ(::chown(kWorkspace, 65534, 65534), 0);
  } else {
    ASSERT_TRUE(Planted([] { return ::mkdir(kWorkspace, 0700) == 0; }));
  }
  EXPECT_FALSE(CRVNFSMkdirPKinora("/tmp/Kinora", 0777));
  EXPECT_FALSE(CRVNFSMkdirPKinora("/tmp/Kinora/RAW", 0777));
  EXPECT_TRUE(fs::is_empty(kWorkspace));
  ASSERT_EQ(::chown(kWorkspace, 0, 0), 0);
}

TEST_F(MkdirTest, RefusesADirectoryOrLinkPlantedInsideByAnotherAccount) {
  if (!HasTwoIdentities()) GTEST_SKIP() << "needs two identities";
  ASSERT_TRUE(CRVNFSMkdirPKinora("/tmp/Kinora/open", 0777));
  ASSERT_EQ(::chmod("/tmp/Kinora", 0711), 0);
  const std::string target = folder_;
  ASSERT_TRUE(Planted([&target] {
    return ::mkdir("/tmp/Kinora/open/planted", 0777) == 0 &&
           ::symlink(target.c_str(), "/tmp/Kinora/open/link") == 0;
  }));
  EXPECT_FALSE(CRVNFSMkdirPKinora("/tmp/Kinora/open/planted/x", 0777));
  EXPECT_FALSE(CRVNFSMkdirPKinora("/tmp/Kinora/open/link/x", 0777));
  EXPECT_TRUE(fs::is_empty("/tmp/Kinora/open/planted"));
  EXPECT_TRUE(fs::is_empty(folder_));
}

TEST_F(MkdirTest, ClosesTheServicesFolderOnAVolumeWhateverTheModeInside) {
  EXPECT_TRUE(CRVNFSMkdirPKinora(folder_ / "@tmp/Kinora/subtitle/x", 0777));
  for (const char* const closed : {"@tmp", "@tmp/Kinora"})
    EXPECT_EQ(ModeOf(folder_ / closed), 0711U) << closed;
  for (const char* const open : {"@tmp/Kinora/subtitle", "@tmp/Kinora/subtitle/x"})
    EXPECT_EQ(ModeOf(folder_ / open), 0777U) << open;
}

TEST_F(MkdirTest, GivesTheServiceWhatIsMadeInARootSection) {
  if (!HasTwoIdentities()) GTEST_SKIP() << "needs two identities";
  ASSERT_EQ(::setresgid(0, 0, 12346), 0);
  ASSERT_EQ(::setresuid(0, 0, 12345), 0);
  EXPECT_TRUE(CRVNFSMkdirPKinora(folder_ / "@tmp/Kinora/x", 0777));
  ASSERT_EQ(::setresuid(0, 0, 0), 0);
  ASSERT_EQ(::setresgid(0, 0, 0), 0);
  for (const char* const name : {"@tmp", "@tmp/Kinora", "@tmp/Kinora/x"}) {
    struct stat info {};
    ASSERT_EQ(::lstat((folder_ / name).c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 12345U) << name;
    EXPECT_EQ(info.st_gid, 12346U) << name;
  }
  EXPECT_EQ(ModeOf(folder_ / "@tmp/Kinora"), 0700U);
  EXPECT_EQ(ModeOf(folder_ / "@tmp/Kinora/x"), 0777U);
}

TEST_F(MkdirTest, TakesTheServicesDirectoriesForItsOwnInARootSection) {
  if (!HasTwoIdentities()) GTEST_SKIP() << "needs two identities";
  ASSERT_TRUE(CRVNFSMkdirPKinora("/tmp/Kinora/RAW", 0777));
  ASSERT_EQ(::chown("/tmp/Kinora/RAW", 12345, 12345), 0);
  EXPECT_FALSE(CRVNFSMkdirPKinora("/tmp/Kinora/RAW/x", 0777));
  ASSERT_EQ(::setresuid(0, 0, 12345), 0);
  EXPECT_TRUE(CRVNFSMkdirPKinora("/tmp/Kinora/RAW/x", 0777));
  ASSERT_EQ(::setresuid(0, 0, 0), 0);
}

}  // namespace
}  // namespace kinora::system
