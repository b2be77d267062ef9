#include "library/subtitle/subtitle_list.h"

#include "tests/fakes/subtitle_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;
using kinora::fakes::Calls;
using kinora::fakes::TheScript;
using std::chrono::hours;

Json::Value Track(const std::string& codec, const std::string& number, const std::string& language,
                  const std::string& title) {
  Json::Value track;
  track["codec"] = codec;
  track["track"] = number;
  track["language"] = language;
  track["title"] = title;
  track["forced"] = false;
  return track;
}

Json::Value Embedded(int id, const std::string& language, const std::string& title, const std::string& format,
                     bool need_preview) {
  Json::Value entry;
  entry["id"] = id;
  entry["lang"] = language;
  entry["title"] = title;
  entry["format"] = format;
  entry["embedded"] = true;
  entry["need_preview"] = need_preview;
  return entry;
}

Json::Value External(const std::string& path, const std::string& language, const std::string& format) {
  Json::Value entry;
  entry["id"] = path;
  entry["lang"] = language;
  entry["title"] = "";
  if (!format.empty()) entry["format"] = format;
  entry["embedded"] = false;
  entry["need_preview"] = false;
  return entry;
}

Json::Value ListOf(std::initializer_list<Json::Value> entries) {
  Json::Value list(Json::arrayValue);
  for (const Json::Value& entry : entries) list.append(entry);
  return list;
}

class SubtitleList : public kinora::fakes::SubtitleTest {
 protected:
  SubtitleList() {
    TheScript().container = "mkv";
    TheScript().subtitle_tracks =
        ListOf({Track("subrip", "2", "en", "All"), Track("hdmv_pgs_subtitle", "3", "fr", ""),
                Track("dvd_subtitle", "4", "", "Disc"), Track("dvb_subtitle", "5", "de", ""),
                Track("ass", "11", "ja", "")});
  }
};

TEST_F(SubtitleList, HoldsFilesFirstThenTracks) {
  TheScript().external_subtitles = {"/v/film.en.srt", "/v/a.ass"};
  TheScript().language = "en";
  EXPECT_EQ(GetSubtitleList(Film(), false),
            ListOf({External("/v/film.en.srt", "en", "srt"), External("/v/a.ass", "en", "srt"),
                    Embedded(2, "en", "All", "srt", true), Embedded(11, "ja", "", "srt", true)}));
}

TEST_F(SubtitleList, HoldsPicturesWhereTheyAreAskedFor) {
  EXPECT_EQ(GetSubtitleList(Film(), true),
            ListOf({Embedded(2, "en", "All", "srt", true), Embedded(3, "fr", "", "pgs", false),
                    Embedded(4, "", "Disc", "dvdsub", false), Embedded(11, "ja", "", "srt", true)}));
}

TEST_F(SubtitleList, NeedsNoPreviewOfWhatHasBeenTakenOut) {
  PutInCache(Film(), "V1_2", "text\n");
  Put(CacheFile(Film(), "").parent_path() / "CRVNVIDEO_SUBTITLE_11.srt", "text\n", hours(1));
  EXPECT_EQ(GetSubtitleList(Film(), false),
            ListOf({Embedded(2, "en", "All", "srt", false), Embedded(11, "ja", "", "srt", false)}));
}

TEST_F(SubtitleList, HoldsFilesAloneOfAContainerWithoutSubtitles) {
  TheScript().container = "avi";
  TheScript().external_subtitles = {"/v/film.srt"};
  EXPECT_EQ(GetSubtitleList(Film(), true), ListOf({External("/v/film.srt", "", "srt")}));
}

TEST_F(SubtitleList, HoldsFilesAloneOfAVideoThatCannotBeRead) {
  TheScript().load_file = false;
  TheScript().external_subtitles = {"/v/film.srt"};
  EXPECT_EQ(GetSubtitleList(Film(), true), ListOf({External("/v/film.srt", "", "srt")}));
}

TEST_F(SubtitleList, IsAnEmptyArrayWithoutSubtitles) {
  TheScript().subtitle_tracks = Json::Value(Json::arrayValue);
  EXPECT_EQ(GetSubtitleList(Film(), true), Json::Value(Json::arrayValue));
}

TEST_F(SubtitleList, AnnouncesAllTextAsSubRip) {
  const std::pair<const char*, const char*> cases[] = {
      {"/v/film.srt", "srt"}, {"/v/film.SRT", "srt"},  {"/v/film.ssa", "srt"}, {"/v/film.ASS", "srt"},
      {"/v/film.smi", "srt"}, {"/v/film.Sami", "srt"}, {"/v/film.sub", ""},    {"/v/film.vtt", ""},
      {"/v/film", ""},        {"/v/film.srtx", ""}};
  for (const auto& [path, format] : cases)
    EXPECT_EQ(FillExternalSubtitleInfo(path), External(path, "", format)) << path;
}

TEST_F(SubtitleList, TellsOfTracksWhatTheEngineKnows) {
  Json::Value tracks(Json::arrayValue);
  tracks.append("there before");
  EXPECT_EQ(GetEmbeddedSubtitle(Film(), false, tracks), 0);
  ASSERT_EQ(tracks.size(), 3u);
  EXPECT_EQ(tracks[0], "there before");
  Json::Value expected = Track("subrip", "2", "en", "All");
  expected["track"] = 2;
  expected["format"] = "srt";
  expected["need_preview"] = true;
  EXPECT_EQ(tracks[1], expected);
}

TEST_F(SubtitleList, TellsWhyThereAreNoTracks) {
  Json::Value tracks(Json::arrayValue);
  TheScript().container = "avi";
  EXPECT_EQ(GetEmbeddedSubtitle(Film(), true, tracks), -1);
  TheScript().load_file = false;
  EXPECT_EQ(GetEmbeddedSubtitle(Film(), true, tracks), -1);
  EXPECT_EQ(tracks, Json::Value(Json::arrayValue));
}

TEST(SubtitleId, IsThatOfAFileOrATrack) {
  struct {
    const char* id;
    bool external;
    bool internal;
  } const cases[] = {{"", false, true},      {"0", false, true},        {"42", false, true},
                     {"3abc", false, false}, {"/v/a.srt", true, false}, {"/", true, false},
                     {"DLNA", false, false}, {"-1", false, false},      {"a/b", false, false},
                     {"1 ", false, false}};
  for (const auto& expected : cases) {
    EXPECT_EQ(IsExternal(expected.id), expected.external) << expected.id;
    EXPECT_EQ(IsInternal(expected.id), expected.internal) << expected.id;
  }
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
