#include "contract/engine/vte_stream.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "contract/system/crvn_fs.h"
#include "platform/system/places.h"

namespace LibCrvnVTE {
namespace {

namespace fs = std::filesystem;
using libkn::critical::crvnsdk::CRVNFSMkdirPKinora;

constexpr uint64_t kMebibyte = 1 << 20;
constexpr uid_t kSomebodyElse = 12345;

TEST(GetRandStreamID, GivesLettersAndDigitsThatNeverRepeat) {
  std::set<std::string> ids;
  for (int i = 0; i < 1000; ++i) {
    const std::string id = VTEStream::GetRandStreamID("/film.mp4");
    ASSERT_EQ(id.size(), 32U);
    ASSERT_TRUE(std::all_of(id.begin(), id.end(), [](unsigned char c) { return std::isalnum(c) != 0; }))
        << id;
    ids.insert(id);
  }
  EXPECT_EQ(ids.size(), 1000U);
}

TEST(GetRandStreamID, GivesNoneWithoutAFile) { EXPECT_EQ(VTEStream::GetRandStreamID(""), ""); }

class VolTmp : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(CRVNFSMkdirPKinora(types_ + "/RAW", 0777)); }
  void TearDown() override {
    for (const auto& entry : fs::directory_iterator(types_)) fs::remove_all(entry.path());
    fs::remove_all(root_);
  }

  std::string Link() const { return types_ + "/RAW/" + id_; }
  std::string Folder() const {
    return fs::canonical(kinora::system::kVar).string() + "/@tmp/Kinora/RAW/" + id_;
  }

  // Nothing of the stream is left.
  void ExpectRefused(uint64_t bytes, const std::string& id, const std::string& type) const {
    EXPECT_FALSE(VTEStream::GetVolTmpAndSymlink(bytes, id, type)) << id << " " << type;
    EXPECT_FALSE(fs::exists(fs::symlink_status(types_ + "/" + type + "/" + id_)));
    EXPECT_FALSE(fs::exists(fs::symlink_status(Folder())));
  }

  const std::string types_ = kinora::system::kWorkspace;
  const std::string root_ = std::string(kinora::system::kVar) + "/@tmp";
  const std::string id_ = VTEStream::GetRandStreamID("/film.mp4");
};

TEST_F(VolTmp, MakesAClosedDirectoryAndALinkToIt) {
  ASSERT_TRUE(VTEStream::GetVolTmpAndSymlink(kMebibyte, id_, "RAW"));
  EXPECT_EQ(fs::read_symlink(Link()), Folder());
  struct stat status {};
  ASSERT_EQ(::lstat(Folder().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, S_IFDIR | 0700U);
  EXPECT_EQ(status.st_uid, ::geteuid());
}

TEST_F(VolTmp, NeverReusesAName) {
  ASSERT_TRUE(VTEStream::GetVolTmpAndSymlink(kMebibyte, id_, "RAW"));
  EXPECT_FALSE(VTEStream::GetVolTmpAndSymlink(kMebibyte, id_, "RAW"));
  EXPECT_EQ(fs::read_symlink(Link()), Folder());
  EXPECT_TRUE(fs::is_directory(Folder()));
}

TEST_F(VolTmp, RefusesWhenNoVolumeHasTheSpace) { ExpectRefused(uint64_t{1} << 62, id_, "RAW"); }

TEST_F(VolTmp, RefusesMalformedNames) {
  const std::string ids[] = {"",
                             ".",
                             "..",
                             "a",
                             id_ + "a",
                             id_.substr(1),
                             "../" + id_.substr(3),
                             id_.substr(0, 31) + "/",
                             id_.substr(0, 31) + "\n",
                             id_.substr(0, 31) + std::string(1, '\0'),
                             id_.substr(0, 31) + "A",
                             id_.substr(0, 31) + "1"};
  for (const std::string& id : ids) EXPECT_FALSE(VTEStream::GetVolTmpAndSymlink(kMebibyte, id, "RAW")) << id;
  for (const char* type : {"", "raw", "RAW/", "../RAW", "DASH", "RAW\n"}) ExpectRefused(kMebibyte, id_, type);
  EXPECT_FALSE(fs::exists(root_));
}

TEST_F(VolTmp, RefusesWithoutTheTypesDirectory) { ExpectRefused(kMebibyte, id_, "HLS"); }

TEST_F(VolTmp, LeavesAnExistingNameAloneAndNothingBehind) {
  fs::create_symlink("/etc", Link());
  EXPECT_FALSE(VTEStream::GetVolTmpAndSymlink(kMebibyte, id_, "RAW"));
  EXPECT_EQ(fs::read_symlink(Link()), "/etc");
  EXPECT_FALSE(fs::exists(Folder()));
}

TEST_F(VolTmp, LeavesADirectoryOnTheVolumeAlone) {
  fs::create_directories(Folder() + "/inside");
  EXPECT_FALSE(VTEStream::GetVolTmpAndSymlink(kMebibyte, id_, "RAW"));
  EXPECT_TRUE(fs::is_directory(Folder() + "/inside"));
  EXPECT_FALSE(fs::exists(fs::symlink_status(Link())));
}

TEST_F(VolTmp, DoesNotFollowAPlantedLink) {
  const std::string elsewhere = std::string(kinora::system::kVar) + "/elsewhere";
  fs::create_directory(elsewhere);
  fs::create_directory_symlink(elsewhere, types_ + "/WEBM");
  EXPECT_FALSE(VTEStream::GetVolTmpAndSymlink(kMebibyte, id_, "WEBM"));
  fs::remove(types_ + "/WEBM");
  fs::remove_all(root_);
  fs::create_directory(root_);
  fs::create_directory_symlink(elsewhere, root_ + "/Kinora");
  EXPECT_FALSE(VTEStream::GetVolTmpAndSymlink(kMebibyte, id_, "RAW"));
  EXPECT_TRUE(fs::is_empty(elsewhere));
  fs::remove(elsewhere);
}

TEST_F(VolTmp, DoesNotTrustDirectoriesOfOtherAccounts) {
  const char* places = std::getenv("KINORA_PLACES");
  if (places == nullptr || std::string(places) == "user")
    GTEST_SKIP() << "only one account is to be had here";
  fs::create_directories(root_ + "/Kinora/RAW");
  ASSERT_EQ(::chown((root_ + "/Kinora").c_str(), kSomebodyElse, kSomebodyElse), 0);
  ExpectRefused(kMebibyte, id_, "RAW");
  ASSERT_EQ(::chown((root_ + "/Kinora").c_str(), ::geteuid(), ::getegid()), 0);
  ASSERT_EQ(::chown((types_ + "/RAW").c_str(), kSomebodyElse, kSomebodyElse), 0);
  ExpectRefused(kMebibyte, id_, "RAW");
  ASSERT_EQ(::chown((types_ + "/RAW").c_str(), ::geteuid(), ::getegid()), 0);
  EXPECT_TRUE(VTEStream::GetVolTmpAndSymlink(kMebibyte, id_, "RAW"));
}

}  // namespace
}  // namespace LibCrvnVTE
