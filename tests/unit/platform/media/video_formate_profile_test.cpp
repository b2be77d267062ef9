#include "contract/media/video_formate_profile.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "platform/media/format_rules.h"
#include "platform/media/trans_profile.h"

namespace LibKinora {
namespace {

TEST(VideoFormateProfile, IsFalseWhenTheRulesCannotBeRead) {
  if (std::filesystem::exists(kinora::media::InstalledFormatRules()))
    GTEST_SKIP() << "a Kinora is installed on this machine";
  std::vector<std::string> formats;
  EXPECT_FALSE(VideoFormateProfile::DetermintStreamFormat("raw", "mp4", "h264", "aac", {}, true, formats));
  EXPECT_THAT(formats, testing::IsEmpty());
}

TEST(VideoFormateProfile, DeterminesNothingWhenTheProfilesCannotBeRead) {
  if (std::filesystem::exists(kinora::media::InstalledTransProfiles("HLS")))
    GTEST_SKIP() << "a Kinora is installed on this machine";
  EXPECT_EQ(VideoFormateProfile::DetermineTransProfile("HLS", "/a.mkv", "", false, {1920, 1080, "h264"}), "");
}

TEST(VideoFormateProfile, SendsEveryFileThroughFFmpeg) {
  EXPECT_TRUE(ForceFFmpegTranscoding("mp4", "h264", "High"));
  EXPECT_TRUE(ForceFFmpegTranscoding("", "", ""));
}

TEST(VideoFormateProfile, MatchesNamesWithoutRegardToCase) {
  const std::vector<std::string> available = {"raw", "HLS_remux"};
  EXPECT_TRUE(VideoFormateProfile::BlMatchFormat(available, "raw"));
  EXPECT_TRUE(VideoFormateProfile::BlMatchFormat(available, "Raw"));
  EXPECT_TRUE(VideoFormateProfile::BlMatchFormat(available, "hls_remux"));
  EXPECT_FALSE(VideoFormateProfile::BlMatchFormat(available, "hls"));
  EXPECT_FALSE(VideoFormateProfile::BlMatchFormat(available, ""));
  EXPECT_FALSE(VideoFormateProfile::BlMatchFormat(available, std::string("raw\0x", 5)));
  EXPECT_FALSE(VideoFormateProfile::BlMatchFormat({}, "raw"));
}

}  // namespace
}  // namespace LibKinora
