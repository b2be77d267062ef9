#include <gmock/gmock.h>
#include <syslog.h>

#include <filesystem>

#include "contract/media/video_formate_profile.h"
#include "platform/media/format_rules.h"

namespace LibKinora {
namespace {

using testing::ElementsAre;

// With the shipped rules at their installed place.
class VideoFormateProfileTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(std::filesystem::exists(kinora::media::InstalledFormatRules())) << "install first";
  }
  static Json::Value Tracks(const std::vector<std::string>& codecs) {
    Json::Value tracks(Json::arrayValue);
    for (const std::string& codec : codecs) {
      Json::Value track;
      track["codec"] = codec;
      tracks.append(track);
    }
    return tracks;
  }
};

TEST_F(VideoFormateProfileTest, AppendsWhatIsAllowed) {
  std::vector<std::string> formats = {"there before"};
  EXPECT_TRUE(VideoFormateProfile::DetermintStreamFormat("auto", "mp4", "h264", "aac", Tracks({"aac"}), true,
                                                         formats));
  EXPECT_TRUE(
      VideoFormateProfile::DetermintStreamFormat("hls", "mkv", "hevc", "", Tracks({}), true, formats));
  EXPECT_THAT(formats, ElementsAre("there before", "raw", "hls"));
}

TEST_F(VideoFormateProfileTest, IsTrueAndAppendsNothingWhenNothingIsAllowed) {
  std::vector<std::string> formats;
  EXPECT_TRUE(VideoFormateProfile::DetermintStreamFormat("dash", "mp4", "h264", "aac", Tracks({"aac"}), true,
                                                         formats));
  EXPECT_THAT(formats, ElementsAre());
}

TEST_F(VideoFormateProfileTest, SaysInTheLogWhyItDecidesSo) {
  ::openlog("test", LOG_PERROR, LOG_USER);
  testing::internal::CaptureStderr();
  std::vector<std::string> formats;
  VideoFormateProfile::DetermintStreamFormat("auto", "mkv", "h264_10bit", "dts", Tracks({"dts"}), true,
                                             formats);
  ::closelog();
  const std::string log = testing::internal::GetCapturedStderr();
  EXPECT_THAT(formats, ElementsAre("hls"));
  for (const char* reason :
       {"raw: browsers do not play h264_10bit with dts in mkv; a player that asks for it may",
        "hls_remux: the video codec h264_10bit is not copied", "hls: h264_10bit with dts in mkv is converted",
        "webm_remux: h264_10bit with dts in mkv is converted for players that ask for it",
        "ss: h264_10bit with dts in mkv is converted for players that ask for it"}) {
    EXPECT_THAT(log,
                testing::ContainsRegex("media/video_formate_profile:[0-9]+ " + std::string(reason) + "\n"));
  }
}

TEST_F(VideoFormateProfileTest, TakesTracksOfAnyShape) {
  Json::Value odd(Json::arrayValue);
  odd.append(7);
  odd.append(Json::Value(Json::arrayValue));
  odd.append(Json::Value(Json::objectValue));
  for (const Json::Value& tracks :
       {Json::Value(), Json::Value("text"), Json::Value(Json::objectValue), odd}) {
    std::vector<std::string> formats;
    EXPECT_TRUE(
        VideoFormateProfile::DetermintStreamFormat("raw", "mp4", "h264", "aac", tracks, true, formats));
    EXPECT_THAT(formats, ElementsAre("raw"));
  }
  std::vector<std::string> formats;
  EXPECT_TRUE(
      VideoFormateProfile::DetermintStreamFormat("hls_remux", "mp4", "h264", "aac", odd, false, formats));
  EXPECT_THAT(formats, ElementsAre());
}

TEST_F(VideoFormateProfileTest, DeterminesTheTranscodingProfileFromThePipelinesOwnFile) {
  const FrameInformation frame{1920, 1080, "hevc"};
  const auto determine = [&](const char* kind, const char* profile, bool remux) {
    return VideoFormateProfile::DetermineTransProfile(kind, "/share/film.mkv", profile, remux, frame);
  };
  EXPECT_EQ(determine("HLS", "", false), "hd_high");
  EXPECT_EQ(determine("HLS", "low", false), "low");
  EXPECT_EQ(determine("HLS", "", true), "as_filmed");
  EXPECT_EQ(determine("GST_HLS", "sd_high", false), "sd_high");
  EXPECT_EQ(determine("GST_HLS", "", true), "");
  EXPECT_EQ(determine("DASH", "", false), "");
}

}  // namespace
}  // namespace LibKinora
