#include "platform/engine/smooth_manifest.h"

#include <gmock/gmock.h>

#include "platform/engine/smooth_address.h"
#include "tests/unit/platform/engine/plans.h"

namespace kinora::engine {
namespace {

using testing::HasSubstr;
using testing::Not;

SourceTraits ShortFilm() {
  SourceTraits film = Film();
  film.duration_ms = 3000;
  return film;
}

TEST(SmoothManifest, IsThisForAShortFilm) {
  EXPECT_EQ(
      MakeSmoothManifest(SmoothPlan(ShortFilm())),
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
      "<SmoothStreamingMedia MajorVersion=\"2\" MinorVersion=\"0\" TimeScale=\"10000000\" "
      "Duration=\"30080000\">\n"
      "<StreamIndex Type=\"video\" Name=\"video\" Chunks=\"2\" QualityLevels=\"1\" "
      "Url=\"QualityLevels({bitrate})/Fragments(video={start time})\">\n"
      "<QualityLevel Index=\"0\" Bitrate=\"1500000\" FourCC=\"H264\" MaxWidth=\"1024\" MaxHeight=\"576\" "
      "CodecPrivateData=\"00000001674D000000000168EE\"/>\n"
      "<c t=\"0\" d=\"10000000\"/>\n"
      "<c t=\"10000000\" d=\"20000000\"/>\n"
      "</StreamIndex>\n"
      "<StreamIndex Type=\"audio\" Name=\"audio_1\" Chunks=\"2\" QualityLevels=\"1\" "
      "Url=\"QualityLevels({bitrate})/Fragments(audio_1={start time})\">\n"
      "<QualityLevel Index=\"0\" Bitrate=\"128000\" FourCC=\"AACL\" SamplingRate=\"48000\" Channels=\"2\" "
      "BitsPerSample=\"16\" PacketSize=\"4\" AudioTag=\"255\" CodecPrivateData=\"1190\"/>\n"
      "<c t=\"0\" d=\"10026667\"/>\n"
      "<c t=\"10026667\" d=\"20053333\"/>\n"
      "</StreamIndex>\n"
      "</SmoothStreamingMedia>\n");
}

TEST(SmoothManifest, IsLongEnoughToBeRecognised) {
  SourceTraits song = Film();
  song.duration_ms = 1000;
  song.video = {};
  const std::string text = MakeSmoothManifest(SmoothPlan(song));
  EXPECT_EQ(text.size(), 512U);
  EXPECT_TRUE(IsWholeSmoothManifest(text));
}

// What stands behind `start` up to the next quote.
std::vector<std::string> All(const std::string& text, const std::string& start) {
  std::vector<std::string> found;
  for (size_t at = text.find(start); at != std::string::npos; at = text.find(start, at + 1)) {
    const size_t from = at + start.size();
    found.push_back(text.substr(from, text.find('"', from) - from));
  }
  return found;
}

TEST(SmoothManifest, NamesTheTrackToBeHeardFirstFirst) {
  SourceTraits film = ShortFilm();
  film.audio = {Track(1, "aac"), Track(2, "aac"), Track(5, "aac")};
  film.audio[1].language = "ger";
  auto plan = std::get<StreamPlan>(PlanSmoothStream(film, {"2", ""}, SmoothProfile(), {}));
  const std::string text = MakeSmoothManifest(plan);
  EXPECT_THAT(All(text, " Name=\""), testing::ElementsAre("video", "audio_2", "audio_1", "audio_5"));
  EXPECT_THAT(All(text, " Language=\""), testing::ElementsAre("de"));
}

TEST(SmoothManifest, HoldsOnlyWhatTheFilmHas) {
  SourceTraits silent = ShortFilm();
  silent.audio.clear();
  EXPECT_THAT(MakeSmoothManifest(SmoothPlan(silent)), Not(HasSubstr("audio")));
  EXPECT_THAT(MakeSmoothManifest(SmoothPlan(silent)), HasSubstr("Duration=\"30000000\""));
  SourceTraits sound = ShortFilm();
  sound.video = {};
  EXPECT_THAT(MakeSmoothManifest(SmoothPlan(sound)), Not(HasSubstr("video")));
  EXPECT_TRUE(IsWholeSmoothManifest(MakeSmoothManifest(SmoothPlan(sound))));
}

TEST(SmoothManifest, GoesOnWithoutAGapAtEveryRate) {
  for (const MediaTime& rate :
       {MediaTime(25), MediaTime(24000, 1001), MediaTime(30000, 1001), MediaTime(10)}) {
    SourceTraits film = Film();
    film.duration_ms = 3'600'040;
    film.video.frame_rate = rate;
    const StreamPlan plan = SmoothPlan(film);
    const std::string text = MakeSmoothManifest(plan);
    const std::vector<std::string> starts = All(text, "<c t=\"");
    const std::vector<std::string> durations = All(text, "\" d=\"");
    const auto count = static_cast<size_t>(plan.grid.Count());
    ASSERT_EQ(starts.size(), 2 * count);
    ASSERT_EQ(durations.size(), 2 * count);
    for (const size_t first : {size_t{0}, count}) {
      int64_t time = 0;
      for (size_t n = first; n < first + count; ++n) {
        ASSERT_EQ(starts[n], std::to_string(time)) << rate << " " << n;
        time += std::stoll(durations[n]);
      }
      EXPECT_NEAR(static_cast<double>(time), 36'000'400'000.0, 1'100'000) << rate;
      EXPECT_LE(time, std::stoll(All(text, " Duration=\"").front()));
    }
  }
}

TEST(SmoothManifest, IsWellFormedWhateverALanguageIs) {
  StreamPlan plan = SmoothPlan(ShortFilm());
  plan.audio[0].language = "<\"&'>\n\x01";
  EXPECT_THAT(MakeSmoothManifest(plan), HasSubstr(" Language=\"&lt;&quot;&amp;'>  \" "));
}

TEST(SmoothManifest, ListsEveryChunkUnderAnAddressThatIsFound) {
  SourceTraits film = Film();
  film.video.frame_rate = MediaTime(24000, 1001);
  const StreamPlan plan = SmoothPlan(film);
  const std::vector<std::string> starts = All(MakeSmoothManifest(plan), "<c t=\"");
  for (size_t n = 0; n < starts.size(); ++n) {
    const bool picture = n < starts.size() / 2;
    const auto address = ParseSmoothAddress(
        (picture ? "QualityLevels(1500000)/Fragments(video=" : "QualityLevels(128000)/Fragments(audio_1=") +
        starts[n] + ")");
    ASSERT_TRUE(address);
    const auto found = FindChunk(plan, *address);
    ASSERT_TRUE(found) << starts[n];
    EXPECT_EQ(found->number, static_cast<int>(n % (starts.size() / 2)));
    EXPECT_EQ(found->audio_track, picture ? std::nullopt : std::optional<int>(1));
  }
}

TEST(SmoothManifest, IsNotWholeWhenTorn) {
  const std::string whole = MakeSmoothManifest(SmoothPlan(ShortFilm()));
  EXPECT_TRUE(IsWholeSmoothManifest(whole));
  for (size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(IsWholeSmoothManifest(whole.substr(0, length))) << length;
    EXPECT_FALSE(IsWholeSmoothManifest(whole.substr(0, length) + std::string(whole.size() - length, '\0')));
  }
  std::string holed = whole;
  holed[whole.size() / 2] = '\0';
  EXPECT_FALSE(IsWholeSmoothManifest(holed));
  EXPECT_FALSE(IsWholeSmoothManifest("<html></SmoothStreamingMedia>\n"));
}

}  // namespace
}  // namespace kinora::engine
