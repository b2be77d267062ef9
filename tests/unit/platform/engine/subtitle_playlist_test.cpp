#include "platform/engine/subtitle_playlist.h"

#include <gtest/gtest.h>

#include "platform/engine/playlists.h"

namespace kinora::engine {
namespace {

constexpr int64_t kSecond = 1'000'000;

SubtitleRecord Record() {
  SubtitleRecord record;
  record.url["url"] = "http://host:8080/webapi/entry.cgi";
  record.url["api"] = "A.B";
  record.url["id"] = 12;
  record.url["_sid"] = "s i&d";
  record.ids = {"2", "/films/a \"b\"\n.srt"};
  record.length_us = 64'500'000;
  return record;
}

TEST(CutIntoWindows, CoversTheFilmInWholeSeconds) {
  using Windows = std::vector<SubtitleWindow>;
  const struct {
    int64_t length_us;
    Windows windows;
  } cases[] = {
      {1, {{0, 1, 1}}},
      {kSecond, {{0, 1, kSecond}}},
      {30 * kSecond, {{0, 30, 30 * kSecond}}},
      {30 * kSecond + 1, {{0, 31, 30 * kSecond + 1}}},
      {35 * kSecond - 1, {{0, 35, 35 * kSecond - 1}}},
      {35 * kSecond, {{0, 30, 30 * kSecond}, {30, 35, 5 * kSecond}}},
      {60 * kSecond, {{0, 30, 30 * kSecond}, {30, 60, 30 * kSecond}}},
      {64 * kSecond + 500'000, {{0, 30, 30 * kSecond}, {30, 65, 34 * kSecond + 500'000}}},
      {65 * kSecond + 500'000,
       {{0, 30, 30 * kSecond}, {30, 60, 30 * kSecond}, {60, 66, 5 * kSecond + 500'000}}},
  };
  for (const auto& row : cases) EXPECT_EQ(CutIntoWindows(row.length_us), row.windows) << row.length_us;
}

TEST(CutIntoWindows, LeavesNothingOutOfALongFilm) {
  const int64_t length = 7'205'123'456;
  int64_t sum = 0;
  int64_t end = 0;
  for (const SubtitleWindow& window : CutIntoWindows(length)) {
    EXPECT_EQ(window.start, end);
    EXPECT_EQ(window.start * kSecond, sum);
    sum += window.length_us;
    end = window.end;
  }
  EXPECT_EQ(sum, length);
  EXPECT_EQ(end, 7206);
}

TEST(SubtitlePlaylist, AsksTheWebApiForEachWindow) {
  const std::string start =
      "http://host:8080/webapi/entry.cgi?_sid=s%20i%26d&api=A.B&id=12&subtitle_id=2&output_webvtt=true";
  const std::string playlist = MakeSubtitlePlaylist(Record(), "2");
  EXPECT_EQ(playlist,
            "#EXTM3U\n#EXT-X-VERSION:4\n#EXT-X-TARGETDURATION:35\n#EXT-X-MEDIA-SEQUENCE:0\n#EXT-X-PLAYLIST-"
            "TYPE:VOD\n"
            "#EXTINF:30.000000,\n" +
                start + "&start_time=0&end_time=30&name=0.vtt\n#EXTINF:34.500000,\n" + start +
                "&start_time=30&end_time=65&name=1.vtt\n#EXT-X-ENDLIST\n");
  EXPECT_TRUE(IsWholePlaylist(playlist));
  for (size_t length = 0; length + 1 < playlist.size(); ++length)
    EXPECT_FALSE(IsWholePlaylist(playlist.substr(0, length))) << length;
}

TEST(SubtitlePlaylist, PutsItsOwnInPlaceOfWhatTheAddressHeld) {
  SubtitleRecord record = Record();
  for (const char* key : {"subtitle_id", "output_webvtt", "start_time", "end_time", "name"})
    record.url[key] = "another";
  EXPECT_EQ(MakeSubtitlePlaylist(record, "2"), MakeSubtitlePlaylist(Record(), "2"));
}

TEST(SubtitlePlaylist, CannotBeBrokenByTheNameOfAFile) {
  const std::string playlist = MakeSubtitlePlaylist(Record(), "/films/a \"b\"\n&x=\xFF.srt");
  EXPECT_NE(
      playlist.find("&subtitle_id=%2Ffilms%2Fa%20%22b%22%0A%26x%3D%FF.srt&output_webvtt=true&start_time=0"),
      std::string::npos)
      << playlist;
}

TEST(SubtitleRecord, ComesBackAsItWasWritten) {
  EXPECT_EQ(ParseSubtitleRecord(ToJsonText(Record())), Record());
  SubtitleRecord strange = Record();
  strange.ids = {"", "/films/\xFF\xFE.srt"};
  EXPECT_EQ(ParseSubtitleRecord(ToJsonText(strange)), strange);
}

TEST(SubtitleRecord, IsReadFromNothingElse) {
  for (const char* text : {
           "",
           "null",
           R"({"version": 1})",
           R"({"version": 2, "url": {}, "ids": [], "length_us": 1})",
           R"({"version": 1, "url": "http://host", "ids": [], "length_us": 1})",
           R"({"version": 1, "url": {}, "ids": {}, "length_us": 1})",
           R"({"version": 1, "url": {}, "ids": [2], "length_us": 1})",
           R"({"version": 1, "url": {}, "ids": [], "length_us": 0})",
           R"({"version": 1, "url": {}, "ids": [], "length_us": -1})",
           R"({"version": 1, "url": {}, "ids": [], "length_us": 9000000000000000000})",
           R"({"version": 1, "url": {}, "ids": [], "length_us": 1.5})",
       }) {
    EXPECT_EQ(ParseSubtitleRecord(text), std::nullopt) << text;
  }
  const std::string whole = ToJsonText(Record());
  for (size_t length = 0; length + 1 < whole.size(); ++length)
    EXPECT_EQ(ParseSubtitleRecord(whole.substr(0, length)), std::nullopt) << length;
}

}  // namespace
}  // namespace kinora::engine
