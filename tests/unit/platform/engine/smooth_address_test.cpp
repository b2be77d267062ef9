#include "platform/engine/smooth_address.h"

#include <gtest/gtest.h>

#include "tests/unit/platform/engine/plans.h"

namespace kinora::engine {

void PrintTo(const FragmentId& id, std::ostream* out) { *out << ToText(id); }

namespace {

TEST(SmoothAddress, HasALevelATrackAndATime) {
  EXPECT_EQ(ParseSmoothAddress("QualityLevels(1500000)/Fragments(video=0)"),
            (SmoothAddress{1'500'000, "video", 0}));
  EXPECT_EQ(ParseSmoothAddress("QualityLevels(128000)/Fragments(audio_12=10026667)"),
            (SmoothAddress{128'000, "audio_12", 10'026'667}));
  EXPECT_EQ(ParseSmoothAddress("QualityLevels(0)/Fragments(x=999999999999999999)"),
            (SmoothAddress{0, "x", 999'999'999'999'999'999}));
}

TEST(SmoothAddress, HasNoOtherForm) {
  const std::string whole = "QualityLevels(1500000)/Fragments(video=10000000)";
  for (size_t length = 0; length < whole.size(); ++length)
    EXPECT_FALSE(ParseSmoothAddress(whole.substr(0, length))) << length;
  for (const char* text : {
           "/QualityLevels(1)/Fragments(video=0)",
           " QualityLevels(1)/Fragments(video=0)",
           "QualityLevels(1)/Fragments(video=0) ",
           "QualityLevels(1)/Fragments(video=0)/",
           "QualityLevels(1)/Fragments(video=0))",
           "QualityLevels(1)/Fragments(video=0)\n",
           "qualitylevels(1)/fragments(video=0)",
           "QualityLevels(1)Fragments(video=0)",
           "QualityLevels(1)//Fragments(video=0)",
           "QualityLevels(1,x=y)/Fragments(video=0)",
           "QualityLevels()/Fragments(video=0)",
           "QualityLevels(01)/Fragments(video=0)",
           "QualityLevels(+1)/Fragments(video=0)",
           "QualityLevels(-1)/Fragments(video=0)",
           "QualityLevels( 1)/Fragments(video=0)",
           "QualityLevels(1.0)/Fragments(video=0)",
           "QualityLevels(0x1)/Fragments(video=0)",
           "QualityLevels(1e6)/Fragments(video=0)",
           "QualityLevels(1000000000000000000)/Fragments(video=0)",
           "QualityLevels(1)/Fragments(=0)",
           "QualityLevels(1)/Fragments(video)",
           "QualityLevels(1)/Fragments(video=)",
           "QualityLevels(1)/Fragments(video==0)",
           "QualityLevels(1)/Fragments(video=00)",
           "QualityLevels(1)/Fragments(video=01)",
           "QualityLevels(1)/Fragments(video=+0)",
           "QualityLevels(1)/Fragments(video=-1)",
           "QualityLevels(1)/Fragments(video=1 )",
           "QualityLevels(1)/Fragments(video=0,format=x)",
           "QualityLevels(1)/Fragments(video=18446744073709551616)",
           "QualityLevels(1)/Fragments(video=9223372036854775807)",
           "QualityLevels({bitrate})/Fragments(video={start time})",
           "12",
           "a1_12",
       }) {
    EXPECT_FALSE(ParseSmoothAddress(text)) << text;
  }
  EXPECT_FALSE(ParseSmoothAddress(whole + std::string(1, '\0')));
  EXPECT_FALSE(ParseSmoothAddress(std::string(1, '\0') + whole));
  EXPECT_FALSE(ParseSmoothAddress("QualityLevels(1" + std::string(1, '\0') + ")/Fragments(video=0)"));
  EXPECT_FALSE(ParseSmoothAddress("QualityLevels(" + std::string(1 << 20, '1') + ")/Fragments(video=0)"));
}

// 60 seconds at 25 frames a second with the tracks 1 and 2; cuts at 0, 1, 3, 7, 11 seconds and so on.
StreamPlan TwoTracks() {
  SourceTraits film = Film();
  film.audio = {Track(1, "aac"), Track(2, "ac3", 6)};
  return SmoothPlan(film);
}

TEST(SmoothAddress, FindsEveryChunkOfEveryTrack) {
  const StreamPlan plan = TwoTracks();
  for (int n = 0; n < plan.grid.Count(); ++n) {
    const int64_t picture = ChunkOf(plan, nullptr, n).start;
    EXPECT_EQ(FindChunk(plan, {1'500'000, "video", picture}), (FragmentId{std::nullopt, n}));
    for (const AudioPlan& audio : plan.audio) {
      const int64_t sound = ChunkOf(plan, &audio, n).start;
      EXPECT_EQ(FindChunk(plan, {128'000, SmoothTrack(&audio), sound}), (FragmentId{audio.track, n}));
    }
  }
}

TEST(SmoothAddress, NamesTheLevelByTheProfileHoweverSmallThePicture) {
  SourceTraits film = Film();
  film.video.width = 320;
  film.video.height = 180;
  const StreamPlan plan = SmoothPlan(film);
  EXPECT_LT(plan.picture.bitrate, 1'500'000);
  EXPECT_EQ(SmoothBitrate(plan, nullptr), 1'500'000);
}

TEST(SmoothAddress, FindsNothingElse) {
  const StreamPlan plan = TwoTracks();
  const int64_t end = ChunkOf(plan, nullptr, plan.grid.Count() - 1).start + 1;
  const SmoothAddress cases[] = {
      {1'500'000, "video", 1},            // within the first chunk
      {1'500'000, "video", 9'999'999},    // just before a chunk
      {1'500'000, "video", 10'000'001},   // just behind its start
      {1'500'000, "video", end},          // within the last chunk
      {1'500'000, "video", 600'000'000},  // the film's end
      {1'500'000, "video", INT64_MAX},    //
      {1'500'000, "video", -1},           //
      {128'000, "audio_1", 10'000'000},   // a start of the picture's
      {1'500'000, "video", 10'026'667},   // a start of the sound's
      {1'499'999, "video", 0},            // another level
      {0, "video", 0},                    //
      {128'000, "video", 0},              // the sound's
      {1'500'000, "audio_1", 0},          // the picture's
      {128'000, "audio_0", 0},            // the picture's track
      {128'000, "audio_3", 0},            // no track
      {128'000, "audio_01", 0},           // written otherwise
      {128'000, "audio_", 0},             //
      {128'000, "audio", 0},              //
      {1'500'000, "Video", 0},            //
      {1'500'000, "", 0},                 //
      {1'500'000, std::string("video\0", 6), 0},
  };
  for (const SmoothAddress& address : cases)
    EXPECT_EQ(FindChunk(plan, address), std::nullopt)
        << address.bitrate << " " << address.track << " " << address.time;
}

TEST(SmoothAddress, FindsNoPictureAndNoSoundWhereThereIsNone) {
  SourceTraits silent = Film();
  silent.audio.clear();
  EXPECT_TRUE(FindChunk(SmoothPlan(silent), {1'500'000, "video", 0}));
  EXPECT_FALSE(FindChunk(SmoothPlan(silent), {128'000, "audio_1", 0}));
  SourceTraits sound = Film();
  sound.video = {};
  EXPECT_FALSE(FindChunk(SmoothPlan(sound), {1'500'000, "video", 0}));
  EXPECT_TRUE(FindChunk(SmoothPlan(sound), {128'000, "audio_1", 0}));
}

}  // namespace
}  // namespace kinora::engine
