#include "library/subtitle/plugin_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "library/subtitle/subtitle_discovery.h"
#include "tests/unit/library/subtitle/plugin_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;
using kinora::fakes::TheScript;

constexpr uid_t kStranger = 12345;

class PluginFileTest : public kinora::fakes::PluginTest {
 protected:
  PluginFileTest() {
    std::string name = testing::TempDir() + "plugin-file-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    file_ = folder_ / "film.srt";
    std::ofstream(file_) << "text";
    TheScript().execute = [](const std::vector<std::string>&) { return 1; };
  }
  ~PluginFileTest() override { fs::remove_all(folder_); }

  // Links are not followed.
  static std::pair<uid_t, gid_t> OwnerOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return {status.st_uid, status.st_gid};
  }
  static bool MayChangeOwners(const fs::path& path) {
    return ::lchown(path.c_str(), kStranger, kStranger) == 0 && ::lchown(path.c_str(), 0, 0) == 0;
  }

  fs::path folder_;
  fs::path file_;
};

constexpr std::pair<uid_t, gid_t> kOrdinary{1024, 100};

TEST_F(PluginFileTest, IsGivenToTheOrdinaryUserAndGroup) {
  if (!MayChangeOwners(file_)) GTEST_SKIP() << "needs root and more than one id";
  GiveToOrdinaryUser(file_);
  EXPECT_EQ(OwnerOf(file_), kOrdinary);
  GiveToOrdinaryUser(file_);
  EXPECT_EQ(OwnerOf(file_), kOrdinary);
}

TEST_F(PluginFileTest, OfAnotherAccountIsNotGivenAway) {
  if (!MayChangeOwners(file_)) GTEST_SKIP() << "needs root and more than one id";
  ASSERT_EQ(::chown(file_.c_str(), kStranger, kStranger), 0);
  GiveToOrdinaryUser(file_);
  EXPECT_EQ(OwnerOf(file_).first, kStranger);
}

TEST_F(PluginFileTest, IsNeitherLinkNorFolder) {
  if (!MayChangeOwners(file_)) GTEST_SKIP() << "needs root and more than one id";
  const auto before = OwnerOf(file_);
  fs::create_symlink(file_, folder_ / "link");
  for (const fs::path& path : {folder_ / "link", folder_, folder_ / "missing", fs::path(""), fs::path("/")})
    GiveToOrdinaryUser(path);
  EXPECT_EQ(OwnerOf(file_), before);
  EXPECT_EQ(OwnerOf(folder_ / "link"), before);
  EXPECT_EQ(OwnerOf(folder_), before);
}

TEST_F(PluginFileTest, IsValidWhenItCanBeProbed) {
  TheScript().execute = [](const std::vector<std::string>&) { return 0; };
  EXPECT_TRUE(IsValidSubtitleFile(file_));
  ExpectCalls({R"(HLIBCExec("/var/packages/Kinora/target/bin/ffprobe", "-i", ")" + file_.string() + "\")"});
  EXPECT_TRUE(fs::exists(file_));
}

TEST_F(PluginFileTest, IsRemovedWhenItCannotBeProbed) {
  for (const int result : {1, 255, -1, -2}) {
    std::ofstream(file_) << "text";
    TheScript().execute = [result](const std::vector<std::string>&) { return result; };
    EXPECT_FALSE(IsValidSubtitleFile(file_)) << result;
    EXPECT_FALSE(fs::exists(file_)) << result;
  }
}

TEST_F(PluginFileTest, WithoutANameIsNotProbed) {
  EXPECT_FALSE(IsValidSubtitleFile(""));
  ExpectCalls({});
}

TEST_F(PluginFileTest, ThatIsNotThereIsNotValid) {
  EXPECT_FALSE(IsValidSubtitleFile(folder_ / "missing"));
  EXPECT_FALSE(IsValidSubtitleFile("/nonexistent/missing"));
  EXPECT_FALSE(IsValidSubtitleFile("/"));
}

TEST_F(PluginFileTest, IsRemovedAndNotWhatItLeadsTo) {
  fs::create_symlink(file_, folder_ / "link");
  EXPECT_FALSE(IsValidSubtitleFile(folder_ / "link"));
  EXPECT_FALSE(fs::is_symlink(folder_ / "link"));
  EXPECT_TRUE(fs::exists(file_));
}

TEST_F(PluginFileTest, OfAnotherAccountIsNotRemoved) {
  if (!MayChangeOwners(file_)) GTEST_SKIP() << "needs root and more than one id";
  ASSERT_EQ(::chown(file_.c_str(), kStranger, kStranger), 0);
  EXPECT_FALSE(IsValidSubtitleFile(file_));
  EXPECT_TRUE(fs::exists(file_));
}

TEST_F(PluginFileTest, OfTheOrdinaryUserIsRemoved) {
  if (!MayChangeOwners(file_)) GTEST_SKIP() << "needs root and more than one id";
  ASSERT_EQ(::chown(file_.c_str(), 1024, 100), 0);
  EXPECT_FALSE(IsValidSubtitleFile(file_));
  EXPECT_FALSE(fs::exists(file_));
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
