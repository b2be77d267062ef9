#include "platform/engine/stream_plan.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/unit/platform/engine/plans.h"

namespace kinora::engine {
namespace {

// With a value of its own in every member that may have one.
StreamPlan FullPlan() {
  SourceTraits film = Film();
  film.identity = {"/videos/a \"film\"\n\xFF", UINT64_MAX, UINT64_MAX - 1, 3, INT64_MIN};
  film.start_ms = -1400;
  film.video.rotate = 90;
  film.video.hdr = "pq";
  film.video.profile = "High";
  film.video.color = {"bt2020nc", "bt2020", "smpte2084"};
  film.audio = {Track(1, "aac"), Track(2, "ac3", 6)};
  film.audio[0].language = "ger";
  film.audio[1].title = "\"\\\n";
  film.audio[1].is_default = true;
  film.audio[1].profile = "LC";
  auto plan = std::get<StreamPlan>(
      PlanStream(film, {"2", "ac3_copy"}, HdProfile(), std::nullopt, {.hardware = true}));
  return plan;
}

TEST(StreamPlan, HasTheFragmentsThatItsPlaylistsName) {
  SourceTraits film = Film();
  film.audio = {Track(1, "aac"), Track(2, "ac3", 6)};
  const auto plan = [&] { return std::get<StreamPlan>(PlanStream(film, {}, HdProfile(), std::nullopt, {})); };
  const StreamPlan two_tracks = plan();
  const int count = two_tracks.grid.Count();
  for (const std::optional<int> track :
       {std::optional<int>(), std::optional<int>(1), std::optional<int>(2)}) {
    EXPECT_TRUE(two_tracks.HasFragment({track, 0}) && two_tracks.HasFragment({track, count - 1}));
    EXPECT_FALSE(two_tracks.HasFragment({track, count}));
  }
  EXPECT_FALSE(two_tracks.HasFragment({0, 0})) << "the picture's track";
  EXPECT_FALSE(two_tracks.HasFragment({3, 0}));

  film.audio.pop_back();
  const StreamPlan muxed = plan();
  ASSERT_TRUE(muxed.SoundIsMuxed());
  EXPECT_TRUE(muxed.HasFragment({std::nullopt, 0}));
  EXPECT_FALSE(muxed.HasFragment({1, 0})) << "it travels in the main fragments";

  const StreamPlan smooth = SmoothPlan(film);
  EXPECT_TRUE(smooth.HasFragment({std::nullopt, 0}) && smooth.HasFragment({1, 0}));

  film.video = {};
  const StreamPlan sound = plan();
  EXPECT_FALSE(sound.HasFragment({std::nullopt, 0}));
  EXPECT_TRUE(sound.HasFragment({1, 0}));
}

TEST(StreamPlanText, GivesBackTheSamePlan) {
  const StreamPlan plan = FullPlan();
  EXPECT_EQ(ParsePlan(ToJsonText(plan)), plan);
  SourceTraits film = Film();
  const StreamPlan copy = std::get<StreamPlan>(PlanStream(film, {}, CopyProfile(), Copies(), {}));
  EXPECT_EQ(ParsePlan(ToJsonText(copy)), copy);
  film.video = {};
  const StreamPlan sound = std::get<StreamPlan>(PlanStream(film, {}, CopyProfile(), Copies(), {}));
  EXPECT_EQ(ParsePlan(ToJsonText(sound)), sound);
  StreamPlan smooth = SmoothPlan(Film());
  EXPECT_EQ(ParsePlan(ToJsonText(smooth)), smooth);
  smooth.picture.parameter_sets.clear();
  EXPECT_EQ(ParsePlan(ToJsonText(smooth)), std::nullopt);
}

TEST(StreamPlanText, IsNoPlanWhenItIsTorn) {
  const std::string whole = ToJsonText(FullPlan());
  for (size_t length = 0; length + 1 < whole.size(); length += 3) {
    EXPECT_EQ(ParsePlan(whole.substr(0, length)), std::nullopt) << length;
    std::string zeroed = whole;
    std::fill(zeroed.begin() + static_cast<std::ptrdiff_t>(length), zeroed.end(), '\0');
    EXPECT_EQ(ParsePlan(zeroed), std::nullopt) << length;
  }
}

// The text with the first `from` replaced.
std::string Changed(const std::string& from, const std::string& to) {
  std::string text = ToJsonText(FullPlan());
  const size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

TEST(StreamPlanText, IsNoPlanWhenAMemberIsWrong) {
  const std::pair<const char*, const char*> cases[] = {
      {"\"version\":3", "\"version\":2"},
      {"\"version\":3", "\"version\":\"3\""},
      {"\"boundaries\":\"0 ", "\"boundaries\":\"1 "},
      {"\"boundaries\":\"0 ", "\"boundaries\":\"0 0 "},
      {"\"boundaries\":\"0 ", "\"boundaries\":\"0  "},
      {"\"boundaries\":\"0 ", "\"boundaries\":\" 0 "},
      {"\"boundaries\":\"0 ", "\"boundaries\":\"0,"},
      {"\"boundaries\":\"0 ", "\"boundaries\":\"0 x "},
      {"\"boundaries\":\"0 ", "\"boundaries\":\"0 9999999999999999999 "},
      {"\"boundaries\":\"0 ", "\"boundaries\":\"0\",\"x\":\""},
      {"\"boundaries\":\"0 ", "\"boundaries\":\"\",\"x\":\""},
      {"\"boundaries\":\"0 ", "\"boundaries\":1,\"x\":\""},
      {"\"unit\":[1,", "\"unit\":[0,"},
      {"\"unit\":[1,25]", "\"unit\":[1,0]"},
      {"\"unit\":[1,25]", "\"unit\":[1]"},
      {"\"video\":\"encoded\"", "\"video\":\"burnt\""},
      {"\"delivery\":\"HLS\"", "\"delivery\":\"SS\""},
      {"\"delivery\":\"HLS\"", "\"delivery\":\"hls\""},
      {"\"delivery\":\"HLS\"", "\"delivery\":0"},
      {"\"parameter_sets\":\"\"", "\"parameter_sets\":\"00000001\""},
      {"\"hardware\":true", "\"hardware\":1"},
      {"\"is_default\":true", "\"is_default\":false"},
      {"\"track\":1", "\"track\":2"},
      {"\"track\":1", "\"track\":-2"},
      {"\"track\":1", "\"track\":99999999999"},
      {"\"inode\":", "\"inodes\":"},
      {"\"source\":{", "\"source\":[{"},
  };
  for (const auto& [from, to] : cases) {
    EXPECT_EQ(ParsePlan(Changed(from, to)), std::nullopt) << to;
  }
  for (const char* text : {"", "null", "[]", "{}", "{\"version\":3}"})
    EXPECT_EQ(ParsePlan(text), std::nullopt);
  EXPECT_EQ(ParsePlan(std::string(100'000, '[')), std::nullopt);
}

}  // namespace
}  // namespace kinora::engine
