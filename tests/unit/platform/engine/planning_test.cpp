#include "platform/engine/planning.h"

#include <gtest/gtest.h>

#include <functional>

#include "platform/engine/picture_plan.h"
#include "tests/unit/platform/engine/plans.h"

namespace kinora::engine {
namespace {

StreamPlan Planned(const SourceTraits& film, const StreamWishes& wishes = {},
                   const media::TransProfile& profile = HdProfile(), const MachineState& machine = {}) {
  auto plan = PlanStream(film, wishes, profile, Copies(), machine);
  if (const auto* const refusal = std::get_if<Refusal>(&plan)) {
    ADD_FAILURE() << refusal->keyword << ": " << refusal->reason;
    return {};
  }
  return std::get<StreamPlan>(plan);
}

// The keyword; "planned" when there is no refusal.
std::string Refused(const SourceTraits& film, const StreamWishes& wishes = {},
                    const media::TransProfile& profile = HdProfile(), const MachineState& machine = {},
                    const std::optional<CopyDecision>& copy = Copies()) {
  const auto plan = PlanStream(film, wishes, profile, copy, machine);
  const auto* const refusal = std::get_if<Refusal>(&plan);
  return refusal == nullptr ? "planned" : refusal->keyword;
}

TEST(Planning, EncodesPictureAndSoundTogether) {
  const StreamPlan plan = Planned(Film());
  EXPECT_EQ(plan.video, VideoWay::kEncode);
  EXPECT_EQ(plan.picture, (PicturePlan{1280, 720, 25, 5'000'000, "avc1.64001F", ""}));
  ASSERT_EQ(plan.audio.size(), 1U);
  EXPECT_EQ(plan.audio[0].way, AudioWay::kEncode);
  EXPECT_EQ(plan.audio[0].codec, "aac");
  EXPECT_EQ(plan.audio[0].bitrate, 192'000);
  EXPECT_TRUE(plan.SoundIsMuxed());
  EXPECT_EQ(plan.grid, MakeFrameGrid(25, 60));
  EXPECT_FALSE(plan.hardware);
}

TEST(Planning, CopiesPictureAndSoundTogether) {
  const StreamPlan plan = Planned(Film(), {}, CopyProfile());
  EXPECT_EQ(plan.video, VideoWay::kCopy);
  EXPECT_EQ(plan.grid, Copies().plan.grid);
  EXPECT_EQ(plan.picture, (PicturePlan{1920, 1080, 25, 8'000'000, "avc1.640028", ""}));
  EXPECT_EQ(plan.audio[0].way, AudioWay::kCopy);
  EXPECT_TRUE(plan.SoundIsMuxed());
  EXPECT_FALSE(plan.Encodes());
}

TEST(Planning, CutsSoundAloneOnAGridOfItsOwn) {
  SourceTraits film = Film();
  film.video = {};
  const StreamPlan plan = Planned(film);
  EXPECT_EQ(plan.video, VideoWay::kNone);
  EXPECT_FALSE(plan.SoundIsMuxed());
  EXPECT_EQ(plan.grid, MakeSoundGrid(60));
}

TEST(Planning, FitsThePictureIntoTheBox) {
  const struct {
    const char* what;
    int width, height, display_x, display_y, rotate;
    int out_width, out_height;
  } cases[] = {
      {"full HD", 1920, 1080, 16, 9, 0, 1280, 720},
      {"never larger", 640, 360, 16, 9, 0, 640, 360},
      {"cinema", 1920, 800, 12, 5, 0, 1280, 534},
      {"four to three", 1440, 1080, 4, 3, 0, 960, 720},
      {"anamorphic", 720, 576, 16, 9, 0, 1024, 576},
      {"narrow pixels", 720, 480, 4, 3, 0, 640, 480},
      {"odd", 317, 239, 317, 239, 0, 316, 238},
      {"upright", 1920, 1080, 16, 9, 90, 406, 720},
      {"upright the other way", 1920, 1080, 16, 9, 270, 406, 720},
      {"upside down", 1920, 1080, 16, 9, 180, 1280, 720},
      {"aspect not known", 640, 480, 0, 0, 0, 640, 480},
      {"absurd aspect", 640, 480, 1 << 20, 1, 0, 1280, 76},
      {"tiny", 2, 2, 1, 1, 0, 16, 16},
  };
  for (const auto& one : cases) {
    SourceTraits film = Film();
    film.video.width = one.width;
    film.video.height = one.height;
    film.video.display_x = one.display_x;
    film.video.display_y = one.display_y;
    film.video.rotate = one.rotate;
    const PicturePlan picture = PlanEncodedPicture(film, HdProfile());
    EXPECT_EQ(picture.width, one.out_width) << one.what;
    EXPECT_EQ(picture.height, one.out_height) << one.what;
  }
}

TEST(Planning, KeepsTheFrameRateOrAWholePartOfIt) {
  const struct {
    MediaTime source;
    const char* field_order;
    int most;
    MediaTime output;
  } cases[] = {
      {25, "progressive", 30, 25},
      {50, "progressive", 30, 25},
      {50, "progressive", 60, 50},
      {60, "progressive", 30, 30},
      {120, "progressive", 30, 30},
      {100, "progressive", 30, 25},
      {{60000, 1001}, "progressive", 30, {30000, 1001}},
      {{24000, 1001}, "", 30, {24000, 1001}},
      {{23976, 1000}, "", 30, {24000, 1001}},
      {{2997, 100}, "", 30, {30000, 1001}},
      {{16777216, 671089}, "", 30, 25},  // 24.99999
      {{359, 12}, "", 30, {359, 12}},
      {0, "", 30, 25},
      {{1, 10}, "", 30, 25},
      {90000, "", 30, 25},
      {1000, "", 30, 25},
      {25, "tt", 60, 25},
      {50, "tt", 60, 25},
      {{60000, 1001}, "bb", 60, {30000, 1001}},
  };
  for (const auto& one : cases) {
    SourceTraits film = Film();
    film.video.frame_rate = one.source;
    film.video.field_order = one.field_order;
    media::TransProfile profile = HdProfile();
    profile.frame_rate = one.most;
    EXPECT_EQ(PlanEncodedPicture(film, profile).frame_rate, one.output) << one.source << one.field_order;
  }
}

TEST(Planning, SpendsFewerBitsOnLess) {
  SourceTraits film = Film();
  film.video.width = 640;
  film.video.height = 360;
  const int64_t small = PlanEncodedPicture(film, HdProfile()).bitrate;
  EXPECT_GT(small, 5'000'000 / 4);
  EXPECT_LT(small, 5'000'000 / 2);
  film.bitrate = 500'000;
  EXPECT_EQ(PlanEncodedPicture(film, HdProfile()).bitrate, 1'000'000);
  film.bitrate = 1;
  EXPECT_EQ(PlanEncodedPicture(film, HdProfile()).bitrate, 200'000);
}

TEST(Planning, NamesTheCodecByProfileAndLevel) {
  const struct {
    const char* profile;
    const char* level;
    const char* text;
  } cases[] = {{"high", "4.0", "avc1.640028"},
               {"high", "4.2", "avc1.64002A"},
               {"main", "3.0", "avc1.4D401E"},
               {"baseline", "3.1", "avc1.42C01F"},
               {"high", "4", "avc1.640028"}};
  for (const auto& one : cases) {
    media::TransProfile profile = HdProfile();
    profile.h264_profile = one.profile;
    profile.h264_level = one.level;
    EXPECT_EQ(PlanEncodedPicture(Film(), profile).codec_string, one.text);
  }
}

TEST(Planning, CopiesSoundWhereThatServes) {
  const AudioTraits aac = Track(1, "aac");
  const AudioTraits mp3 = Track(1, "mp3");
  const AudioTraits ac3 = Track(1, "ac3", 6);
  const AudioTraits surround = Track(1, "aac", 6);
  AudioTraits rare = aac;
  rare.profile = "LTP";
  const struct {
    const char* what;
    AudioTraits audio;
    const char* format;
    bool copies;
    const char* codec;
    bool copied;
    int channels;
  } cases[] = {
      {"aac in a copy", aac, "", true, "aac", true, 2},
      {"aac wanted", aac, "aac", true, "aac", true, 2},
      {"aac wanted as mp3", aac, "mp3", true, "mp3", false, 2},
      {"mp3 in a copy", mp3, "", true, "mp3", true, 2},
      {"mp3 wanted", mp3, "mp3", true, "mp3", true, 2},
      {"mp3 wanted as aac", mp3, "aac", true, "aac", false, 2},
      {"ac3 in a copy", ac3, "", true, "aac", false, 2},
      {"ac3 as it is", ac3, "ac3_copy", true, "ac3", true, 6},
      {"aac beside ac3", aac, "ac3_copy", true, "aac", true, 2},
      {"surround in a copy", surround, "", true, "aac", false, 2},
      {"a rare aac", rare, "", true, "aac", false, 2},
      {"aac, encoded picture", aac, "", false, "aac", false, 2},
      {"mp3, encoded picture", mp3, "mp3", false, "mp3", false, 2},
      {"ac3 as it is, encoded picture", ac3, "ac3_copy", false, "ac3", true, 6},
  };
  for (const auto& one : cases) {
    SourceTraits film = Film();
    film.audio = {one.audio};
    const StreamPlan plan = Planned(film, {"", one.format}, one.copies ? CopyProfile() : HdProfile());
    ASSERT_EQ(plan.audio.size(), 1U) << one.what;
    EXPECT_EQ(plan.audio[0].codec, one.codec) << one.what;
    EXPECT_EQ(plan.audio[0].way == AudioWay::kCopy, one.copied) << one.what;
    EXPECT_EQ(plan.audio[0].channels, one.channels) << one.what;
  }
}

std::vector<std::pair<std::string, AudioWay>> Ways(const StreamPlan& plan) {
  std::vector<std::pair<std::string, AudioWay>> ways;
  for (const AudioPlan& audio : plan.audio) ways.emplace_back(audio.codec, audio.way);
  return ways;
}

TEST(Planning, GivesAllTracksOneCodec) {
  using Codecs = std::vector<std::string>;
  using Expected = std::vector<std::pair<std::string, AudioWay>>;
  constexpr AudioWay kCopy = AudioWay::kCopy;
  constexpr AudioWay kEncode = AudioWay::kEncode;
  const struct {
    Codecs tracks;
    const char* format;
    Expected expected;
  } cases[] = {
      {{"aac", "aac"}, "", {{"aac", kCopy}, {"aac", kCopy}}},
      {{"mp3", "mp3"}, "", {{"mp3", kCopy}, {"mp3", kCopy}}},
      {{"aac", "mp3"}, "", {{"aac", kCopy}, {"aac", kEncode}}},
      {{"mp3", "aac"}, "", {{"aac", kEncode}, {"aac", kCopy}}},
      {{"mp3", "ac3"}, "", {{"aac", kEncode}, {"aac", kEncode}}},
      {{"aac", "ac3", "mp3"}, "", {{"aac", kCopy}, {"aac", kEncode}, {"aac", kEncode}}},
      {{"aac", "mp3"}, "mp3", {{"mp3", kEncode}, {"mp3", kCopy}}},
      // Who asks for that takes both.
      {{"mp3", "ac3", "eac3"}, "ac3_copy", {{"aac", kEncode}, {"ac3", kCopy}, {"eac3", kCopy}}},
  };
  for (const auto& one : cases) {
    SourceTraits film = Film();
    film.audio.clear();
    for (const std::string& codec : one.tracks)
      film.audio.push_back(Track(static_cast<int>(film.audio.size()) + 1, codec));
    EXPECT_EQ(Ways(Planned(film, {"", one.format}, CopyProfile())), one.expected)
        << ::testing::PrintToString(one.tracks) << one.format;
  }
}

TEST(Planning, LeavesOutTracksThatNeedEncodingWhereNothingIsEncoded) {
  SourceTraits film = Film();
  film.audio = {Track(1, "aac"), Track(2, "ac3"), Track(3, "mp3")};
  for (const MachineState& machine :
       {MachineState{.transcoding = false}, MachineState{.converting_offline = true}}) {
    const std::vector<std::pair<std::string, AudioWay>> expected = {{"aac", AudioWay::kCopy},
                                                                    {"mp3", AudioWay::kCopy}};
    EXPECT_EQ(Ways(Planned(film, {}, CopyProfile(), machine)), expected);
    EXPECT_EQ(Planned(film, {"3", ""}, CopyProfile(), machine).DefaultAudio()->codec, "mp3");
  }
  EXPECT_EQ(Refused(film, {"2", ""}, CopyProfile(), {.transcoding = false}), kSwitchedOff);
  EXPECT_EQ(Refused(film, {"2", ""}, CopyProfile(), {.converting_offline = true}), kConvertingOffline);
  EXPECT_EQ(Refused(film, {"4", ""}, CopyProfile(), {.transcoding = false}), kAudioNotSupported);
  EXPECT_EQ(Refused(film, {}, HdProfile(), {.transcoding = false}), kSwitchedOff);
}

TEST(Planning, KeepsSurroundWhereTheProfileAllowsIt) {
  SourceTraits film = Film();
  film.audio = {Track(1, "aac", 6)};
  media::TransProfile profile = CopyProfile();
  profile.audio_channels = 6;
  EXPECT_EQ(Planned(film, {}, profile).audio[0].way, AudioWay::kCopy);
  profile = HdProfile();
  profile.audio_channels = 6;
  EXPECT_EQ(Planned(film, {}, profile).audio[0].channels, 6);
  EXPECT_EQ(Planned(film, {}, profile).audio[0].bitrate, 3 * 192'000);
  EXPECT_EQ(Planned(film, {"", "mp3"}, profile).audio[0].channels, 2);
}

TEST(Planning, CopiesNoSoundOutOfOtherContainers) {
  SourceTraits film = Film();
  film.container = "avi";
  film.audio = {Track(1, "ac3", 6)};
  EXPECT_EQ(Planned(film, {"", "ac3_copy"}).audio[0].codec, "aac");
}

TEST(Planning, StartsWithTheTrackThatWasAskedFor) {
  SourceTraits film = Film();
  film.audio = {Track(1, "aac"), Track(2, "ac3"), Track(5, "aac")};
  film.audio[1].is_default = true;
  EXPECT_EQ(Planned(film).DefaultAudio()->track, 1);
  EXPECT_EQ(Planned(film, {"5", ""}).DefaultAudio()->track, 5);
  for (const char* none : {"0", "3", "05", "5 ", "-1", "a"}) {
    EXPECT_EQ(Refused(film, {none, ""}), kAudioNotSupported) << none;
  }
  EXPECT_FALSE(Planned(film).SoundIsMuxed());
}

TEST(Planning, LeavesOutTracksThatCannotBeDecoded) {
  SourceTraits film = Film();
  film.audio = {Track(1, "aac"), Track(2, "xyz"), Track(3, "aac", 0)};
  film.audio[1].decodable = false;
  EXPECT_EQ(Planned(film).audio.size(), 1U);
  EXPECT_EQ(Refused(film, {"2", ""}), kAudioNotSupported);
  EXPECT_EQ(Refused(film, {"3", ""}), kAudioNotSupported);
  film.audio = {Track(1, ""), Track(2, "aac")};
  EXPECT_EQ(Refused(film), kAudioNotSupported);
}

TEST(Planning, PlaysAFilmWithoutSound) {
  SourceTraits film = Film();
  film.audio.clear();
  EXPECT_TRUE(Planned(film).audio.empty());
  EXPECT_EQ(Refused(film, {"1", ""}), kAudioNotSupported);
}

TEST(Planning, GivesEachTrackANameOfItsOwn) {
  SourceTraits film = Film();
  film.audio.assign(7, Track(0, "aac"));
  for (int i = 0; i < 7; ++i) film.audio[static_cast<size_t>(i)].track = i + 1;
  film.audio[0].title = "Director's \"cut\"\n";
  film.audio[1].language = "ger";
  film.audio[2].language = "deu";
  film.audio[3].title = " \t";
  film.audio[4].language = "und";
  film.audio[5].language = "tlh";
  film.audio[6].title = "Track 4";
  const StreamPlan plan = Planned(film);
  const std::pair<const char*, const char*> expected[] = {{"Director's \"cut\"\n", ""},
                                                          {"German", "de"},
                                                          {"German (2)", "de"},
                                                          {"Track 4", ""},
                                                          {"Track 5", ""},
                                                          {"Track 6", "tlh"},
                                                          {"Track 4 (2)", ""}};
  for (size_t i = 0; i < 7; ++i) {
    EXPECT_EQ(plan.audio[i].name, expected[i].first);
    EXPECT_EQ(plan.audio[i].language, expected[i].second);
  }
}

TEST(Planning, RefusesWhatCannotBeSeen) {
  const struct {
    const char* what;
    std::function<void(SourceTraits&)> change;
    const char* keyword;
  } cases[] = {
      {"no codec", [](SourceTraits& film) { film.video.codec = ""; }, kVideoNotSupported},
      {"no decoder", [](SourceTraits& film) { film.video.decodable = false; }, kVideoNotSupported},
      {"no width", [](SourceTraits& film) { film.video.width = 0; }, kVideoNotSupported},
      {"no length", [](SourceTraits& film) { film.duration_ms = 0; }, kVideoNotSupported},
      {"endless", [](SourceTraits& film) { film.duration_ms = int64_t{1} << 50; }, kVideoNotSupported},
      {"too wide", [](SourceTraits& film) { film.video.width = 8194; }, kTooLarge},
      {"too large", [](SourceTraits& film) { film.video.width = film.video.height = 4610; }, kTooLarge},
      {"large enough", [](SourceTraits& film) { film.video.width = 8192, film.video.height = 4608; },
       "planned"},
      {"too fast", [](SourceTraits& film) { film.video.frame_rate = MediaTime(481, 2); }, kTooFast},
      {"fast enough", [](SourceTraits& film) { film.video.frame_rate = 240; }, "planned"},
      {"extended profile", [](SourceTraits& film) { film.video.profile = "Extended"; }, kProfileTooHigh},
      {"deep", [](SourceTraits& film) { film.video.codec = "hevc_422_16bit"; }, kProfileTooHigh},
      {"deep enough", [](SourceTraits& film) { film.video.codec = "hevc_422_12bit"; }, "planned"},
      {"nothing in it", [](SourceTraits& film) { film.video = {}, film.audio.clear(); }, kVideoNotSupported},
  };
  for (const auto& one : cases) {
    SourceTraits film = Film();
    one.change(film);
    EXPECT_EQ(Refused(film), one.keyword) << one.what;
  }
}

TEST(Planning, RefusesWhatTheMachineDoesNotTakeOn) {
  const struct {
    const char* what;
    MachineState machine;
    const char* encoding;
    const char* copying;
  } cases[] = {
      {"all there", {}, "planned", "planned"},
      {"switched off", {.transcoding = false}, kSwitchedOff, "planned"},
      {"converting", {.converting_offline = true}, kConvertingOffline, "planned"},
      {"no space", {.space = false}, kNoSpace, kNoSpace},
      {"no memory", {.memory_free = 64ULL << 20}, kTooLittleMemory, "planned"},
      {"memory", {.memory_free = 256ULL << 20}, "planned", "planned"},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(Refused(Film(), {}, HdProfile(), one.machine), one.encoding) << one.what;
    EXPECT_EQ(Refused(Film(), {}, CopyProfile(), one.machine), one.copying) << one.what;
  }
  // A copy whose sound is encoded is no mere copy.
  EXPECT_EQ(Refused(Film(), {"", "mp3"}, CopyProfile(), {.transcoding = false}), kSwitchedOff);
}

TEST(Planning, WantsTheHardwareThatTheProfileIsFor) {
  media::TransProfile profile = HdProfile();
  EXPECT_TRUE(Planned(Film(), {}, profile, {.hardware = true}).hardware);
  profile.uses = {{"VAAPI_HLS", false, false}};
  EXPECT_TRUE(Planned(Film(), {}, profile, {.hardware = true}).hardware);
  EXPECT_EQ(Refused(Film(), {}, profile), kNoHardware);
  profile.uses = {{"HLS", false, false}};
  EXPECT_FALSE(Planned(Film(), {}, profile, {.hardware = true}).hardware);
}

TEST(Planning, RefusesToCopyWhatCannotBeCopied) {
  for (const CopyVerdict verdict : {CopyVerdict::kNever, CopyVerdict::kNotYet}) {
    EXPECT_EQ(Refused(Film(), {}, CopyProfile(), {}, CopyDecision{verdict, {}, "no index"}),
              kVideoNotSupported);
  }
  EXPECT_EQ(Refused(Film(), {}, CopyProfile(), {}, std::nullopt), kVideoNotSupported);
  SourceTraits turned = Film();
  turned.video.rotate = 90;
  EXPECT_EQ(Refused(turned, {}, CopyProfile()), kVideoNotSupported);
}

// The keyword; "planned" when there is no refusal.
std::string SmoothRefused(const SourceTraits& film, const StreamWishes& wishes = {},
                          const media::TransProfile& profile = SmoothProfile(),
                          const MachineState& machine = {}) {
  const auto plan = PlanSmoothStream(film, wishes, profile, machine);
  const auto* const refusal = std::get_if<Refusal>(&plan);
  return refusal == nullptr ? "planned" : refusal->keyword;
}

TEST(PlanningSmooth, EncodesThePictureAndEachTrackByItself) {
  SourceTraits film = Film();
  film.audio = {Track(1, "aac"), Track(2, "ac3", 6), Track(3, "mp3")};
  media::TransProfile profile = SmoothProfile();
  profile.audio_channels = 6;
  const auto plan = std::get<StreamPlan>(PlanSmoothStream(film, {"2", ""}, profile, {.hardware = true}));
  EXPECT_EQ(plan.delivery, Delivery::kSmooth);
  EXPECT_EQ(plan.video, VideoWay::kEncode);
  EXPECT_FALSE(plan.hardware);
  EXPECT_EQ(plan.picture.width, 1024);
  EXPECT_EQ(plan.grid, MakeFrameGrid(25, 60));
  ASSERT_EQ(plan.audio.size(), 3U);
  for (const AudioPlan& audio : plan.audio) {
    EXPECT_EQ(audio.way, AudioWay::kEncode);
    EXPECT_EQ(audio.codec, "aac");
    EXPECT_EQ(audio.channels, 2);
    EXPECT_EQ(audio.frequency, 48'000);
    EXPECT_EQ(audio.bitrate, 128'000);
    EXPECT_EQ(audio.is_default, audio.track == 2);
  }
}

TEST(PlanningSmooth, NeverMixesSoundIntoThePicturesFragments) {
  EXPECT_FALSE(SmoothPlan(Film()).SoundIsMuxed());
  SourceTraits silent = Film();
  silent.audio.clear();
  EXPECT_TRUE(SmoothPlan(silent).audio.empty());
  SourceTraits sound = Film();
  sound.video = {};
  EXPECT_EQ(SmoothPlan(sound).video, VideoWay::kNone);
  EXPECT_EQ(SmoothPlan(sound).grid, MakeSoundGrid(60));
}

TEST(PlanningSmooth, RefusesWithTheKeywordsOfHls) {
  const auto changed = [](const std::function<void(SourceTraits&)>& change) {
    SourceTraits film = Film();
    change(film);
    return SmoothRefused(film);
  };
  const media::TransProfile smooth = SmoothProfile();
  EXPECT_EQ(SmoothRefused(Film(), {}, smooth, {.transcoding = false}), "TransEnable");
  EXPECT_EQ(SmoothRefused(Film(), {}, smooth, {.converting_offline = true}), "TransEnableOfflineConverting");
  EXPECT_EQ(SmoothRefused(Film(), {}, smooth, {.space = false}), "TransSapceNotEnough");
  EXPECT_EQ(SmoothRefused(Film(), {}, smooth, {.memory_free = 1}), "NeedToChangeMemoryLayout");
  EXPECT_EQ(SmoothRefused(Film(), {"9", ""}), "TransAudioNotSupported");
  EXPECT_EQ(SmoothRefused(Film(), {"", "mp3"}), "TransAudioNotSupported");
  EXPECT_EQ(SmoothRefused(Film(), {}, HdProfile()), "");
  EXPECT_EQ(changed([](SourceTraits& film) { film.audio[0].decodable = false; }), "TransAudioNotSupported");
  EXPECT_EQ(changed([](SourceTraits& film) { film.video.decodable = false; }), "TransVideoNotSupported");
  EXPECT_EQ(changed([](SourceTraits& film) { film.duration_ms = 0; }), "TransVideoNotSupported");
  EXPECT_EQ(changed([](SourceTraits& film) { film = {}; }), "TransVideoNotSupported");
  EXPECT_EQ(changed([](SourceTraits& film) { film.video.width = 10'000; }),
            "TransVideoOutOfResolutionCapability");
  EXPECT_EQ(changed([](SourceTraits& film) { film.video.frame_rate = 300; }),
            "TransVideoOutOfFramerateCapability");
  EXPECT_EQ(changed([](SourceTraits& film) { film.video.profile = "Extended"; }),
            "TransVideoOutOfProfileCapability");
}

}  // namespace
}  // namespace kinora::engine
