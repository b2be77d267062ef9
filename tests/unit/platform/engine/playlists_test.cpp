#include "platform/engine/playlists.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "tests/unit/platform/engine/plans.h"

namespace kinora::engine {
namespace {

Json::Value Url() {
  Json::Value url(Json::objectValue);
  url["url"] = "http://host:8080/webapi/entry.cgi";
  url["api"] = "A.B";
  url["hls_header"] = true;
  url["version"] = 1;
  return url;
}

constexpr char kStart[] = "http://host:8080/webapi/entry.cgi?api=A.B&hls_header=true&version=1&id=stream";

std::string TextOf(const StreamPlan& plan, const std::string& name,
                   const std::vector<OfferedSubtitle>& subtitles = {}) {
  for (const Playlist& playlist : MakePlaylists(plan, subtitles, StreamAddress(Url(), "stream"))) {
    if (playlist.name == name) return playlist.text;
  }
  return "";
}

StreamPlan Plan(const SourceTraits& film, const media::TransProfile& profile = HdProfile(),
                const StreamWishes& wishes = {}) {
  return std::get<StreamPlan>(PlanStream(film, wishes, profile, Copies(), {}));
}

TEST(StreamAddress, HoldsTheQueryAsItWasGiven) {
  Json::Value url = Url();
  url["_sid"] = "a b&c=d/\"\n\xC3\xBC+%";
  url["force"] = false;
  url["id"] = "another";
  url["playlist"] = "another";
  url["fragment"] = "another";
  url["name"] = "another";
  url["subtitle_id"] = "another";
  url["list"] = Json::Value(Json::arrayValue);
  url["nothing"] = Json::Value();
  url["less"] = -1;
  const StreamAddress address(url, "stream");
  const std::string start =
      "http://host:8080/webapi/entry.cgi?_sid=a%20b%26c%3Dd%2F%22%0A%C3%BC%2B%25&api=A.B&force=false"
      "&hls_header=true&less=-1&version=1&id=stream";
  EXPECT_EQ(address.OfPlaylist("video"), start + "&playlist=video");
  EXPECT_EQ(address.OfSubtitle("12"), start + "&playlist=subtitle&subtitle_id=12");
  EXPECT_EQ(address.OfSubtitle("/a b/\xFF\"\n&.srt"),
            start + "&playlist=subtitle&subtitle_id=%2Fa%20b%2F%FF%22%0A%26.srt");
  EXPECT_EQ(address.OfFragment({std::nullopt, 12}), start + "&fragment=12&name=12.ts");
  EXPECT_EQ(address.OfFragment({2, 12}), start + "&fragment=a2_12&name=a2_12.ts");
}

TEST(StreamAddress, CannotEndALineOrAString) {
  Json::Value url(Json::objectValue);
  url["url"] = "http://host/a\r\n#EXT\"?x=y";
  EXPECT_EQ(StreamAddress(url, "i").OfPlaylist("video"),
            "http://host/a%0D%0A#EXT%22?x=y&id=i&playlist=video");
  EXPECT_EQ(StreamAddress(Json::Value(Json::objectValue), "i").OfPlaylist("video"), "?id=i&playlist=video");
}

TEST(MasterPlaylist, NamesOneStreamWhenTheSoundIsInIt) {
  EXPECT_EQ(TextOf(Plan(Film()), "master.m3u8"),
            std::string("#EXTM3U\n#EXT-X-VERSION:4\n#EXT-X-INDEPENDENT-SEGMENTS\n"
                        "#EXT-X-STREAM-INF:BANDWIDTH=11211200,CODECS=\"avc1.64001F,mp4a.40.2\","
                        "RESOLUTION=1280x720,FRAME-RATE=25.000\n") +
                kStart + "&playlist=video\n");
}

TEST(MasterPlaylist, SaysTheAverageOfACopy) {
  SourceTraits film = Film();
  film.bitrate = 6'000'000;
  film.audio.clear();
  EXPECT_EQ(
      TextOf(Plan(film, CopyProfile()), "master.m3u8"),
      std::string("#EXTM3U\n#EXT-X-VERSION:4\n#EXT-X-INDEPENDENT-SEGMENTS\n"
                  "#EXT-X-STREAM-INF:BANDWIDTH=8800000,AVERAGE-BANDWIDTH=6000000,CODECS=\"avc1.640028\","
                  "RESOLUTION=1920x1080,FRAME-RATE=25.000\n") +
          kStart + "&playlist=video\n");
}

TEST(MasterPlaylist, OffersEveryTrackInOneGroup) {
  SourceTraits film = Film();
  film.audio = {Track(1, "aac"), Track(2, "ac3", 6)};
  film.audio[0].language = "eng";
  film.audio[1].title = "Say \"hi\"\r\n#EXT-X-ENDLIST";
  EXPECT_EQ(
      TextOf(Plan(film, HdProfile(), {"2", "ac3_copy"}), "master.m3u8"),
      std::string("#EXTM3U\n#EXT-X-VERSION:4\n#EXT-X-INDEPENDENT-SEGMENTS\n"
                  "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"sound\",NAME=\"English\",LANGUAGE=\"en\",DEFAULT=NO,"
                  "AUTOSELECT=YES,CHANNELS=\"2\",URI=\"") +
          kStart +
          "&playlist=audio_1\"\n"
          "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"sound\",NAME=\"Say 'hi'??#EXT-X-ENDLIST\",DEFAULT=YES,"
          "AUTOSELECT=YES,CHANNELS=\"6\",URI=\"" +
          kStart +
          "&playlist=audio_2\"\n"
          "#EXT-X-STREAM-INF:BANDWIDTH=11211200,CODECS=\"avc1.64001F,mp4a.40.2,ac-3\",RESOLUTION=1280x720,"
          "FRAME-RATE=25.000,AUDIO=\"sound\"\n" +
          kStart + "&playlist=video\n");
}

TEST(MasterPlaylist, OffersSubtitles) {
  OfferedSubtitle english{"2", "English", "en", true, true, false, false};
  OfferedSubtitle signs{"/films/a \"b\".forced.srt", "Signs", "", false, false, true, false};
  OfferedSubtitle full{"3", "English (hearing impaired)", "en", false, true, false, true};
  EXPECT_EQ(
      TextOf(Plan(Film()), "master.m3u8", {english, signs, full}),
      std::string(
          "#EXTM3U\n#EXT-X-VERSION:4\n#EXT-X-INDEPENDENT-SEGMENTS\n"
          "#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"subtitles\",NAME=\"English\",LANGUAGE=\"en\",DEFAULT=YES,"
          "AUTOSELECT=YES,FORCED=NO,URI=\"") +
          kStart +
          "&playlist=subtitle&subtitle_id=2\"\n"
          "#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"subtitles\",NAME=\"Signs\",DEFAULT=NO,AUTOSELECT=NO,FORCED="
          "YES,"
          "URI=\"" +
          kStart +
          "&playlist=subtitle&subtitle_id=%2Ffilms%2Fa%20%22b%22.forced.srt\"\n"
          "#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"subtitles\",NAME=\"English (hearing impaired)\","
          "LANGUAGE=\"en\",DEFAULT=NO,AUTOSELECT=YES,FORCED=NO,CHARACTERISTICS="
          "\"public.accessibility.transcribes-spoken-dialog,public.accessibility.describes-music-and-sound\","
          "URI=\"" +
          kStart +
          "&playlist=subtitle&subtitle_id=3\"\n"
          "#EXT-X-STREAM-INF:BANDWIDTH=11211200,CODECS=\"avc1.64001F,mp4a.40.2,wvtt\",RESOLUTION=1280x720,"
          "FRAME-RATE=25.000,SUBTITLES=\"subtitles\"\n" +
          kStart + "&playlist=video\n");
}

TEST(MasterPlaylist, OffersSubtitlesBesideRenditionsOfTheSound) {
  SourceTraits film = Film();
  film.video = {};
  const std::string master =
      TextOf(Plan(film), "master.m3u8", {{.id = "7", .name = "Lyrics", .language = ""}});
  EXPECT_NE(master.find(",CODECS=\"mp4a.40.2,wvtt\",AUDIO=\"sound\",SUBTITLES=\"subtitles\"\n"),
            std::string::npos)
      << master;
  EXPECT_LT(master.find("TYPE=AUDIO"), master.find("TYPE=SUBTITLES"));
}

TEST(MasterPlaylist, NamesTheDefaultTrackOfAFilmWithoutPicture) {
  SourceTraits film = Film();
  film.video = {};
  film.audio.push_back(Track(2, "aac"));
  const StreamPlan plan = Plan(film, HdProfile(), {"2", ""});
  const std::string master = TextOf(plan, "master.m3u8");
  EXPECT_TRUE(master.ends_with(std::string(",CODECS=\"mp4a.40.2\",AUDIO=\"sound\"\n") + kStart +
                               "&playlist=audio_2\n"))
      << master;
  EXPECT_EQ(TextOf(plan, "video.m3u8"), TextOf(plan, "audio_2.m3u8"));
  EXPECT_NE(TextOf(plan, "video.m3u8").find("&fragment=a2_0&name=a2_0.ts\n"), std::string::npos);
}

TEST(MasterPlaylist, TellsTheKindsOfAacApart) {
  SourceTraits film = Film();
  film.audio = {Track(1, "aac"), Track(2, "aac"), Track(3, "aac")};
  film.audio[0].profile = "HE-AACv2";
  film.audio[1].profile = "LC";
  film.audio[2].profile = "HE-AAC";
  const std::string master = TextOf(Plan(film, CopyProfile()), "master.m3u8");
  EXPECT_NE(master.find("CODECS=\"avc1.640028,mp4a.40.29,mp4a.40.2,mp4a.40.5\""), std::string::npos)
      << master;
}

TEST(MediaPlaylist, NamesEveryFragment) {
  EXPECT_EQ(TextOf(Plan(Film(), CopyProfile()), "video.m3u8"),
            std::string("#EXTM3U\n#EXT-X-VERSION:4\n#EXT-X-TARGETDURATION:48\n#EXT-X-MEDIA-SEQUENCE:0\n"
                        "#EXT-X-PLAYLIST-TYPE:VOD\n#EXTINF:6.000000,\n") +
                kStart + "&fragment=0&name=0.ts\n#EXTINF:6.120000,\n" + kStart +
                "&fragment=1&name=1.ts\n#EXTINF:47.880000,\n" + kStart +
                "&fragment=2&name=2.ts\n#EXT-X-ENDLIST\n");
}

TEST(MediaPlaylist, NeverDriftsFromTheGrid) {
  SourceTraits film = Film();
  film.duration_ms = 7'200'000;
  film.video.frame_rate = MediaTime(24000, 1001);
  const StreamPlan plan = Plan(film);
  std::istringstream lines(TextOf(plan, "video.m3u8"));
  double sum = 0;
  int fragments = 0;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("#EXTINF:")) continue;
    ASSERT_NEAR(sum, boost::rational_cast<double>(plan.grid.Start(fragments)), 1e-6);
    sum += std::strtod(line.c_str() + 8, nullptr);
    ++fragments;
  }
  EXPECT_EQ(fragments, plan.grid.Count());
  EXPECT_NEAR(sum, boost::rational_cast<double>(plan.grid.End(fragments - 1)), 1e-6);
}

TEST(IsWholePlaylist, TellsAPlaylistFromAPartOfOne) {
  const std::vector<OfferedSubtitle> subtitles = {{.id = "2", .name = "English", .language = "en"}};
  for (const Playlist& playlist : MakePlaylists(Plan(Film()), subtitles, StreamAddress(Url(), "stream"))) {
    const std::string& text = playlist.text;
    EXPECT_TRUE(IsWholePlaylist(text)) << playlist.name;
    for (size_t length = 0; length + 1 < text.size(); ++length) {
      const std::string part = text.substr(0, length);
      const bool behind_an_address = length > 0 && part.ends_with('\n') && part.find("\nhttp") != part.npos;
      const bool lacks_alternatives = playlist.name == "master.m3u8" && behind_an_address;
      EXPECT_TRUE(lacks_alternatives || !IsWholePlaylist(part)) << playlist.name << " " << length;
      EXPECT_FALSE(IsWholePlaylist(text.substr(0, length) + std::string(text.size() - length, '\0')));
    }
  }
}

TEST(PlaylistFile, IsThereForTheTypesAlone) {
  EXPECT_EQ(PlaylistFile(""), "master.m3u8");
  EXPECT_EQ(PlaylistFile("master"), "master.m3u8");
  EXPECT_EQ(PlaylistFile("video"), "video.m3u8");
  EXPECT_EQ(PlaylistFile("audio_12"), "audio_12.m3u8");
  for (const char* type : {"Master", "master ", "audio", "audio_", "audio_a", "audio_-1", "audio_01",
                           "audio_1_2", "audio_../1", "../plan", "plan.json", "subtitle", "video.m3u8"}) {
    EXPECT_EQ(PlaylistFile(type), std::nullopt) << type;
  }
}

}  // namespace
}  // namespace kinora::engine
