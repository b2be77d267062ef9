#include "platform/media/trans_profile.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>

#include "platform/system/places.h"

namespace kinora::media {
namespace {

using LibKinora::FrameInformation;
using Profiles = std::vector<TransProfile>;

constexpr char kFile[] = KINORA_SOURCE_DIR "/packaging/TransProfile";
constexpr char kGstFile[] = KINORA_SOURCE_DIR "/packaging/TransProfile_GST";

Profiles Shipped() { return LoadTransProfiles(kFile); }

TransProfile Box(const char* name, int width, int height, std::vector<ProfileUse> uses) {
  TransProfile profile;
  profile.name = name;
  profile.width = width;
  profile.height = height;
  profile.uses = std::move(uses);
  return profile;
}

FrameInformation Frame(unsigned int width, unsigned int height) { return {width, height, "h264"}; }

std::string RefusalOf(const std::string& text) {
  try {
    ParseTransProfiles(text);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

TEST(TransProfile, IsChosenByTheFrameWhenNoneIsAskedFor) {
  const struct {
    const char* kind;
    bool remux;
    unsigned int width;
    unsigned int height;
    const char* chosen;
  } cases[] = {
      {"HLS", false, 3840, 2160, "hd_high"},
      {"HLS", false, 1920, 1080, "hd_high"},
      {"HLS", false, 1280, 720, "hd_high"},
      {"HLS", false, 1280, 528, "hd_high"},
      {"HLS", false, 1025, 576, "hd_high"},
      {"HLS", false, 1024, 577, "hd_high"},
      {"HLS", false, 1024, 576, "sd_high"},
      {"HLS", false, 720, 576, "sd_high"},
      {"HLS", false, 320, 240, "sd_high"},
      {"HLS", false, 720, 1280, "hd_high"},
      {"HLS", false, 0, 0, "sd_high"},
      {"HLS", false, 4'294'967'295, 4'294'967'295, "hd_high"},
      {"VAAPI_HLS", false, 3840, 2160, "fullhd_high"},
      {"VAAPI_HLS", false, 1920, 1080, "fullhd_high"},
      {"VAAPI_HLS", false, 1280, 720, "hd_high"},
      {"VAAPI_HLS", false, 640, 360, "sd_high"},
      {"SS", false, 1920, 1080, "smooth"},
      {"SS", false, 160, 120, "smooth"},
      {"WEBM", true, 1920, 1080, "hd_high"},
      {"WEBM", true, 640, 360, "sd_high"},
      {"HLS", true, 1920, 1080, "as_filmed"},
      {"HLS", true, 160, 120, "as_filmed"},
      {"HLS", true, 0, 0, "as_filmed"},
      {"VAAPI_HLS", true, 1920, 1080, ""},
      {"SS", true, 1920, 1080, ""},
      {"WEBM", false, 1920, 1080, ""},
      {"GST_HLS", false, 1920, 1080, ""},
      {"hls", false, 1920, 1080, ""},
      {"", false, 1920, 1080, ""},
  };
  for (const auto& [kind, remux, width, height, chosen] : cases) {
    EXPECT_EQ(ChooseTransProfile(Shipped(), kind, "", remux, Frame(width, height)), chosen)
        << kind << ' ' << remux << ' ' << width << 'x' << height;
  }
}

TEST(TransProfile, IsTheOneThatIsAskedForWhereItServes) {
  const struct {
    const char* kind;
    bool remux;
    const char* wanted;
    const char* chosen;
  } cases[] = {
      {"HLS", false, "hd_high", "hd_high"},
      {"HLS", false, "sd_high", "sd_high"},
      {"HLS", false, "low", "low"},
      {"HLS", false, "appletv_hd_high", "appletv_hd_high"},
      {"HLS", false, "fullhd_high", "fullhd_high"},
      {"VAAPI_HLS", false, "appletv_hd_high", "appletv_hd_high"},
      {"VAAPI_HLS", false, "low", "low"},
      {"WEBM", true, "sd_high", "sd_high"},
      {"WEBM", true, "low", "low"},
      // What is not known, or does not serve there, counts as nothing.
      {"HLS", false, "HD_HIGH", "hd_high"},
      {"HLS", false, "best", "hd_high"},
      {"HLS", false, "as_filmed", "hd_high"},
      {"HLS", false, "smooth", "hd_high"},
      {"HLS", true, "sd_high", "as_filmed"},
      {"SS", false, "hd_high", "smooth"},
      {"WEBM", true, "appletv_hd_high", "hd_high"},
  };
  for (const auto& [kind, remux, wanted, chosen] : cases) {
    EXPECT_EQ(ChooseTransProfile(Shipped(), kind, wanted, remux, Frame(1920, 1080)), chosen)
        << kind << ' ' << remux << ' ' << wanted;
  }
}

TEST(TransProfile, DoesNotDependOnTheOrderOfTheFile) {
  const std::vector<ProfileUse> uses = {{"HLS", false, false}};
  Profiles profiles = {Box("a", 640, 360, uses), Box("b", 1280, 720, uses), Box("c", 1920, 1080, uses)};
  for (int round = 0; round < 6; ++round) {
    std::next_permutation(profiles.begin(), profiles.end(),
                          [](const auto& one, const auto& other) { return one.name < other.name; });
    EXPECT_EQ(ChooseTransProfile(profiles, "HLS", "", false, Frame(640, 360)), "a");
    EXPECT_EQ(ChooseTransProfile(profiles, "HLS", "", false, Frame(641, 360)), "b");
    EXPECT_EQ(ChooseTransProfile(profiles, "HLS", "", false, Frame(4000, 200)), "c");
  }
}

TEST(TransProfile, IsEmptyWhenOnlyThoseRemainThatMustBeAskedFor) {
  const Profiles profiles = {Box("a", 640, 360, {{"HLS", false, true}})};
  EXPECT_EQ(ChooseTransProfile(profiles, "HLS", "", false, Frame(640, 360)), "");
  EXPECT_EQ(ChooseTransProfile(profiles, "HLS", "a", false, Frame(640, 360)), "a");
  EXPECT_EQ(ChooseTransProfile({}, "HLS", "a", false, Frame(640, 360)), "");
}

TEST(TransProfile, IsReadWithAllItSays) {
  const auto profile = LoadTransProfile(kFile, "fullhd_high");
  ASSERT_TRUE(profile);
  TransProfile expected;
  expected.name = "fullhd_high";
  expected.uses = {{"VAAPI_HLS", false, false}, {"HLS", false, true}};
  expected.width = 1920;
  expected.height = 1080;
  expected.frame_rate = 60;
  expected.video_bitrate = 10'000'000;
  expected.h264_profile = "high";
  expected.h264_level = "4.2";
  expected.preset = "veryfast";
  expected.audio_bitrate = 192'000;
  expected.audio_channels = 2;
  EXPECT_EQ(*profile, expected);
  EXPECT_FALSE(LoadTransProfile(kFile, "Fullhd_high"));
  EXPECT_FALSE(LoadTransProfile(kFile, ""));
  EXPECT_FALSE(LoadTransProfile("/nonexistent", "hd_high"));
  EXPECT_FALSE(LoadTransProfile("/", "hd_high"));
}

TEST(TransProfile, IsInstalledOneFileForEachPipeline) {
  for (const char* kind : {"HLS", "VAAPI_HLS", "SS", "WEBM"}) {
    EXPECT_EQ(InstalledTransProfiles(kind), system::InTarget("etc/TransProfile"));
  }
  EXPECT_EQ(InstalledTransProfiles("GST_HLS"), system::InTarget("etc/TransProfile_GST"));
}

TEST(TransProfile, ServesEveryPipelineAndEveryDocumentedName) {
  const std::set<std::pair<std::string, bool>> asked = {
      {"HLS", false}, {"HLS", true}, {"VAAPI_HLS", false}, {"SS", false}, {"WEBM", true}};
  std::set<std::pair<std::string, bool>> served;
  for (const TransProfile& profile : Shipped()) {
    EXPECT_FALSE(profile.uses.empty()) << profile.name;
    for (const ProfileUse& use : profile.uses) served.insert({use.kind, use.remux});
  }
  EXPECT_EQ(served, asked);
  for (const TransProfile& profile : LoadTransProfiles(kGstFile)) {
    for (const ProfileUse& use : profile.uses) EXPECT_EQ(use.kind, "GST_HLS") << profile.name;
  }
  for (const char* name : {"hd_high", "sd_high", "appletv_hd_high", "low"}) {
    EXPECT_TRUE(LoadTransProfile(kFile, name)) << name;
    EXPECT_TRUE(LoadTransProfile(kGstFile, name)) << name;
    EXPECT_EQ(ChooseTransProfile(LoadTransProfiles(kGstFile), "GST_HLS", name, false, Frame(640, 360)), name);
  }
}

// The one level that Smooth Streaming has is asked for by its rate before its manifest is read.
TEST(TransProfile, EncodesSmoothStreamingAtTheRateThatItsFirstFragmentNames) {
  for (const TransProfile& profile : Shipped()) {
    if (profile.uses.front().kind == "SS") {
      EXPECT_EQ(profile.video_bitrate, 1'500'000) << profile.name;
    }
  }
}

// ITU-T H.264, table A-1: macroblocks a second, macroblocks a frame, and bits a second of the main profile.
TEST(TransProfile, NamesALevelThatItsLimitsKeepTo) {
  struct Level {
    int64_t macroblocks_a_second;
    int64_t macroblocks_a_frame;
    int64_t bitrate;
  };
  const std::map<std::string, Level> levels = {
      {"3.0", {40'500, 1'620, 10'000'000}},    {"3.1", {108'000, 3'600, 14'000'000}},
      {"3.2", {216'000, 5'120, 20'000'000}},   {"4.0", {245'760, 8'192, 20'000'000}},
      {"4.1", {245'760, 8'192, 50'000'000}},   {"4.2", {522'240, 8'704, 50'000'000}},
      {"5.0", {589'824, 22'080, 135'000'000}},
  };
  for (const char* file : {kFile, kGstFile}) {
    for (const TransProfile& profile : LoadTransProfiles(file)) {
      if (profile.width == 0) continue;
      const Level& level = levels.at(profile.h264_level);
      const int64_t macroblocks = int64_t{(profile.width + 15) / 16} * ((profile.height + 15) / 16);
      EXPECT_LE(macroblocks, level.macroblocks_a_frame) << profile.name;
      EXPECT_LE(macroblocks * profile.frame_rate, level.macroblocks_a_second) << profile.name;
      EXPECT_LE(profile.video_bitrate, level.bitrate) << profile.name;
    }
  }
}

std::string WithProfile(const std::string& profile) { return "{\"profiles\": [" + profile + "]}"; }

std::string With(const std::string& member) {
  return WithProfile(R"({"name": "a", "uses": [{"kind": "HLS"}], )" + member + "}");
}

TEST(TransProfile, IsRefusedWhenItIsMalformed) {
  const std::string sizes = R"("width": 640, "height": 360, "frame_rate": 30, "video_bitrate": 700000)";
  const std::string picture =
      sizes + R"(, "h264_profile": "main", "h264_level": "3.0", "preset": "veryfast")";
  const std::string sound = R"("audio_bitrate": 96000, "audio_channels": 2)";
  EXPECT_EQ(RefusalOf("{\"profiles\": []}"), "");
  EXPECT_EQ(RefusalOf(With(picture + ", " + sound)), "");
  EXPECT_EQ(
      RefusalOf(WithProfile(R"({"name": "a", "uses": [{"kind": "HLS", "remux": true}], )" + sound + "}")),
      "");
  const std::pair<std::string, std::string> cases[] = {
      {"[]", "the file holds no object"},
      {"{}", "\"profiles\" is no list"},
      {WithProfile("1"), "a profile is no object"},
      {WithProfile("{}"), "\"name\" is no text"},
      {WithProfile(R"({"name": ""})"), "a profile has no name"},
      {WithProfile(R"({"name": "a"})"), "\"uses\" is no list"},
      {WithProfile(R"({"name": "a", "uses": [1]})"), "\"uses\" holds something that is no object"},
      {WithProfile(R"({"name": "a", "uses": [{"kind": "DASH"}]})"), "there is no kind \"DASH\""},
      {WithProfile(R"({"name": "a", "uses": [{"kind": "HLS", "remux": 1}]})"),
       "\"remux\" is neither true nor false"},
      {With(sound), "\"width\" is no whole number"},
      {With(R"("width": 15)"), "\"width\" is out of its range"},
      {With(R"("width": 1e30)"), "\"width\" is no whole number"},
      {With(R"("width": "640")"), "\"width\" is no whole number"},
      {With(R"("width": 640, "height": 100000)"), "\"height\" is out of its range"},
      {With(sizes), "\"h264_profile\" is no text"},
      {With(sizes + R"(, "h264_profile": "high10")"), "there is no h264_profile \"high10\""},
      {With(sizes + R"(, "h264_profile": "high", "h264_level": "9")"), "there is no h264_level \"9\""},
      {With(sizes + R"(, "h264_profile": "high", "h264_level": "4.0", "preset": "-x")"),
       "there is no preset \"-x\""},
      {With(picture), "\"audio_bitrate\" is no whole number"},
      {With(picture + R"(, "audio_bitrate": 96000, "audio_channels": 0)"),
       "\"audio_channels\" is out of its range"},
      {WithProfile(R"({"name": "a", "uses": [], )" + sound + R"(}, {"name": "a", "uses": [], )" + sound +
                   "}"),
       "\"a\" stands twice"},
  };
  for (const auto& [text, reason] : cases) {
    EXPECT_EQ(RefusalOf(text), "transcoding profiles: " + reason) << text;
  }
  for (const std::string& text :
       {std::string(), std::string("text"), std::string(5000, '['), std::string("{\"profiles\": []} {}")}) {
    EXPECT_THAT(RefusalOf(text), testing::StartsWith("transcoding profiles: ")) << text;
  }
}

}  // namespace
}  // namespace kinora::media
