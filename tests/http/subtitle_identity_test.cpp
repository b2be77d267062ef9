// Subtitles of other accounts, for a service that was started by root and works as another one.
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "platform/system/places.h"
#include "tests/http/subtitle_reader.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFilm[] = "h264_aac.mp4";
constexpr char kAsAccount[] = "account=\"www-data\"\n";
constexpr uid_t kSomebody = 54321;

class SubtitleIdentity : public testing::Test {
 protected:
  void SetUp() override {
    const char* const places = getenv("KINORA_PLACES");
    if (places == nullptr || std::string(places) == "user" || getpwnam("www-data") == nullptr)
      GTEST_SKIP() << "one identity only";
  }
  void TearDown() override {
    std::error_code ignored;
    fs::remove(kinora::system::kSettingsFile, ignored);
  }
};

void Give(const fs::path& file, uid_t uid, unsigned mode) {
  ASSERT_EQ(lchown(file.c_str(), uid, uid), 0);
  fs::permissions(file, fs::perms(mode));
}

}  // namespace

TEST_F(SubtitleIdentity, ThatMayNotReadAFileIsRefusedThoughRootMay) {
  const House house({kFilm}, kAsAccount);
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string text = SubRipOf(30);
  const std::string file = ann.Put("h264_aac.srt", text);
  const fs::path link = CacheFolderOf(house.Share() / kFilm) / "CRVNVIDEO_SUBTITLE_DLNA.srt";
  fs::create_directories(link.parent_path());
  fs::create_symlink(file, link);
  const auto expect_refusal = [&](const std::string& when) {
    for (const std::string& id : {file, std::string("DLNA")}) {
      for (const char* webvtt : {"false", "true"}) {
        const Reply refused = ann.Get(id, {{"output_webvtt", webvtt}});
        EXPECT_EQ(refused.status, 403) << when << refused.body;
        EXPECT_EQ(CodeOf(refused), 105) << when << id << webvtt;
        EXPECT_EQ(refused.body.find("Cue"), std::string::npos) << when;
      }
    }
  };
  for (const uid_t owner : {kSomebody, uid_t{0}}) {
    Give(file, owner, 0600);
    expect_refusal("of " + std::to_string(owner));
    EXPECT_EQ(CacheFilesOf(file), std::vector<std::string>{}) << "no copy that others may read";
    ASSERT_EQ(ann.List().size(), 1U) << "its name is no secret";
  }
  Give(file, kSomebody, 0644);
  for (int again = 0; again < 2; ++again) EXPECT_EQ(ann.Get(file).body, text) << house.Log();
  EXPECT_EQ(ann.Get("DLNA").body, text);
  EXPECT_EQ(CacheFilesOf(file).size(), 2U);
  Give(file, kSomebody, 0600);
  expect_refusal("closed again, with a copy that is kept");
  EXPECT_EQ(SubtitleScratchFiles(), std::vector<std::string>{});
}
