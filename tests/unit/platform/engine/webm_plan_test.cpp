#include "platform/engine/webm_plan.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/unit/platform/engine/plans.h"

namespace kinora::engine {
namespace {

media::TransProfile Profile() {
  media::TransProfile profile = HdProfile();
  profile.uses = {{"WEBM", true, false}};
  return profile;
}

// VP9 and Opus in Matroska, at three million bits a second.
SourceTraits WebFilm() {
  SourceTraits film = Film();
  film.container = "mkv";
  film.bitrate = 3'000'000;
  film.video.codec = "vp9";
  film.audio = {Track(1, "opus")};
  return film;
}

StreamPlan Planned(const SourceTraits& film, const std::string& track = "",
                   const media::TransProfile& profile = Profile(), const MachineState& machine = {}) {
  auto plan = PlanWebM(film, track, profile, machine);
  if (const auto* const refusal = std::get_if<Refusal>(&plan)) {
    ADD_FAILURE() << refusal->keyword << ": " << refusal->reason;
    return {};
  }
  return std::get<StreamPlan>(plan);
}

// The keyword; "planned" when there is no refusal.
std::string Refused(const SourceTraits& film, const std::string& track = "",
                    const media::TransProfile& profile = Profile(), const MachineState& machine = {}) {
  const auto plan = PlanWebM(film, track, profile, machine);
  const auto* const refusal = std::get_if<Refusal>(&plan);
  return refusal == nullptr ? "planned" : refusal->keyword;
}

TEST(WebMPlan, EncodesWhatWebMDoesNotTake) {
  const StreamPlan plan = Planned(Film());
  EXPECT_EQ(plan.delivery, Delivery::kWebM);
  EXPECT_EQ(plan.video, VideoWay::kEncode);
  EXPECT_EQ(plan.picture, (PicturePlan{1280, 720, 25, 5'000'000, "vp8", ""}));
  ASSERT_EQ(plan.audio.size(), 1U);
  EXPECT_EQ(plan.audio[0].way, AudioWay::kEncode);
  EXPECT_EQ(plan.audio[0].codec, "opus");
  EXPECT_EQ(plan.audio[0].channels, 2);
  EXPECT_EQ(plan.audio[0].frequency, 48'000);
  EXPECT_EQ(plan.audio[0].bitrate, 192'000);
  EXPECT_EQ(plan.grid, (SegmentGrid{MediaTime(1, 1000), {0, 60'000}}));
}

TEST(WebMPlan, CopiesWhatWebMTakes) {
  for (const char* codec : {"vp8", "vp9", "av1"}) {
    SourceTraits film = WebFilm();
    film.video.codec = codec;
    const StreamPlan plan = Planned(film);
    EXPECT_EQ(plan.video, VideoWay::kCopy);
    EXPECT_EQ(plan.picture, (PicturePlan{1920, 1080, 25, 3'000'000, codec, ""}));
    EXPECT_FALSE(plan.Encodes());
  }
}

TEST(WebMPlan, CopiesAPictureOnlyWhereThatIsRightEverywhere) {
  const struct {
    const char* what;
    std::function<void(SourceTraits&)> change;
  } cases[] = {
      {"packets without an index", [](SourceTraits& film) { film.container = "mpegts"; }},
      {"times that do not hold", [](SourceTraits& film) { film.container = "ogg"; }},
      {"to be turned", [](SourceTraits& film) { film.video.rotate = 90; }},
      {"high dynamic range", [](SourceTraits& film) { film.video.hdr = "pq"; }},
      {"deep samples", [](SourceTraits& film) { film.video.pixel_format = "yuv420p10le"; }},
      {"full colour", [](SourceTraits& film) { film.video.pixel_format = "yuv444p"; }},
      {"more than twice the bits", [](SourceTraits& film) { film.bitrate = 10'000'001; }},
  };
  for (const auto& one : cases) {
    SourceTraits film = WebFilm();
    one.change(film);
    EXPECT_EQ(Planned(film).video, VideoWay::kEncode) << one.what;
  }
  SourceTraits film = WebFilm();
  film.bitrate = 0;
  EXPECT_EQ(Planned(film).video, VideoWay::kCopy) << "nobody knows its bits";
}

TEST(WebMPlan, TreatsPictureAndSoundEachForItself) {
  SourceTraits film = WebFilm();
  film.audio = {Track(1, "aac")};
  EXPECT_EQ(Planned(film).video, VideoWay::kCopy);
  EXPECT_EQ(Planned(film).audio[0].way, AudioWay::kEncode);
  film = WebFilm();
  film.video.codec = "h264";
  EXPECT_EQ(Planned(film).video, VideoWay::kEncode);
  EXPECT_EQ(Planned(film).audio[0].way, AudioWay::kCopy);
}

TEST(WebMPlan, CopiesOpusAndVorbisOfTheChannelsThatTheProfileHas) {
  media::TransProfile surround = Profile();
  surround.audio_channels = 6;
  const struct {
    const char* codec;
    int channels;
    media::TransProfile profile;
    AudioWay way;
  } cases[] = {
      {"opus", 1, Profile(), AudioWay::kCopy},   {"vorbis", 2, Profile(), AudioWay::kCopy},
      {"opus", 6, Profile(), AudioWay::kEncode}, {"opus", 6, surround, AudioWay::kCopy},
      {"opus", 8, surround, AudioWay::kEncode},  {"flac", 2, Profile(), AudioWay::kEncode},
  };
  for (const auto& one : cases) {
    SourceTraits film = WebFilm();
    film.audio = {Track(1, one.codec, one.channels)};
    EXPECT_EQ(Planned(film, "", one.profile).audio[0].way, one.way) << one.codec << " " << one.channels;
  }
}

TEST(WebMPlan, KeepsSurroundSoundWhereTheProfileDoes) {
  SourceTraits film = Film();
  film.audio = {Track(1, "ac3", 6)};
  EXPECT_EQ(Planned(film).audio[0].channels, 2);
  media::TransProfile profile = Profile();
  profile.audio_channels = 6;
  EXPECT_EQ(Planned(film, "", profile).audio[0].channels, 6);
  EXPECT_EQ(Planned(film, "", profile).audio[0].bitrate, 576'000);
  profile.audio_bitrate = 1'000'000;
  EXPECT_EQ(Planned(film, "", profile).audio[0].bitrate, 1'536'000) << "as many as Opus takes";
}

TEST(WebMPlan, TakesTheTrackThatIsAskedFor) {
  SourceTraits film = Film();
  film.audio = {Track(1, "aac"), Track(4, "ac3", 6)};
  EXPECT_EQ(Planned(film).audio[0].track, 1);
  EXPECT_EQ(Planned(film, "4").audio[0].track, 4);
  EXPECT_EQ(Refused(film, "2"), "TransAudioNotSupported");
  EXPECT_EQ(Refused(film, "04"), "TransAudioNotSupported");
  film.audio[1].decodable = false;
  EXPECT_EQ(Refused(film, "4"), "TransAudioNotSupported");
  EXPECT_EQ(Refused(film), "planned") << "the other one is of no matter";
}

TEST(WebMPlan, DoesWithoutSoundOrWithoutAPicture) {
  SourceTraits film = Film();
  film.audio.clear();
  EXPECT_TRUE(Planned(film).audio.empty());
  EXPECT_EQ(Refused(film, "1"), "TransAudioNotSupported");
  film = Film();
  film.video = {};
  EXPECT_EQ(Planned(film).video, VideoWay::kNone);
  film.audio.clear();
  EXPECT_EQ(Refused(film), "TransVideoNotSupported");
}

TEST(WebMPlan, TakesFilmsOfUnknownLength) {
  SourceTraits film = Film();
  film.duration_ms = 0;
  EXPECT_GT(Planned(film).grid.End(0), 1'000'000);
}

TEST(WebMPlan, IsRefusedWithTheWordThatFits) {
  MachineState off;
  off.transcoding = false;
  MachineState busy;
  busy.converting_offline = true;
  MachineState full;
  full.space = false;
  MachineState small;
  small.memory_free = 1 << 20;
  SourceTraits foreign = Film();
  foreign.video.decodable = false;
  SourceTraits huge = Film();
  huge.video.width = 16'384;
  const struct {
    const char* keyword;
    SourceTraits film;
    MachineState machine;
  } cases[] = {
      {"TransEnable", Film(), off},
      {"TransEnableOfflineConverting", Film(), busy},
      {"TransSapceNotEnough", Film(), full},
      {"NeedToChangeMemoryLayout", Film(), small},
      {"TransVideoNotSupported", foreign, {}},
      {"TransVideoOutOfResolutionCapability", huge, {}},
      {"TransSapceNotEnough", WebFilm(), full},
      {"planned", WebFilm(), off},
      {"planned", WebFilm(), busy},
      {"planned", WebFilm(), small},
  };
  for (const auto& one : cases)
    EXPECT_EQ(Refused(one.film, "", Profile(), one.machine), one.keyword) << one.film.video.codec;
}

TEST(WebMPlan, RefusesAProfileThatIsForSomethingElse) {
  EXPECT_EQ(Refused(Film(), "", HdProfile()), "");
  EXPECT_EQ(Refused(Film(), "", CopyProfile()), "");
}

TEST(WebMPlan, IsReadAsItWasWritten) {
  for (const SourceTraits& film : {Film(), WebFilm()}) {
    const StreamPlan plan = Planned(film);
    EXPECT_EQ(ParsePlan(ToJsonText(plan)), plan);
  }
}

}  // namespace
}  // namespace kinora::engine
