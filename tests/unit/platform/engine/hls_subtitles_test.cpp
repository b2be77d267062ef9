// The subtitles that an HLS stream offers, found in and beside real films by the real probe.
#include <algorithm>
#include <fstream>
#include <sstream>

#include "platform/engine/playlists.h"
#include "platform/engine/subtitle_playlist.h"
#include "tests/unit/platform/engine/logged_lines.h"
#include "tests/unit/platform/engine/streams.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;
using LibCrvnVTE::HttpLiveStream;
using LibCrvnVTE::VTEInitArgument;
using LibCrvnVTE::VTEStream;

constexpr char kProfiles[] = R"({"profiles": [
  {"name": "low", "uses": [{"kind": "HLS"}], "width": 640, "height": 360, "frame_rate": 30,
   "video_bitrate": 700000, "h264_profile": "main", "h264_level": "3.0", "preset": "ultrafast",
   "audio_bitrate": 96000, "audio_channels": 2}
]})";

std::string Content(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

class HlsSubtitles : public StreamsTest {
 protected:
  void SetUp() override {
    StreamsTest::SetUp();
    fs::create_directories(films_);
    WriteText(profiles_, kProfiles);
    url_["url"] = "http://host/webapi/entry.cgi";
    subtitle_url_ = url_;
    subtitle_url_["api"] = "A.Subtitle";
    subtitle_url_["id"] = 12;
  }
  void TearDown() override {
    fs::remove_all(films_);
    StreamsTest::TearDown();
  }

  // A film of its own.
  std::string Film(const std::string& name) const {
    std::string path = films_ + "/" + name;
    fs::copy_file(std::string(KINORA_MEDIA_DIR) + "/" + name, path);
    return path;
  }

  HttpLiveStream Opened(const std::string& film) const {
    HttpLiveStream stream(VTEStream::VTE_Init(VTEInitArgument(film, "HLS", profiles_, "low")));
    EXPECT_TRUE(stream.Init(url_, subtitle_url_, "", "")) << stream.GetErrorString();
    return stream;
  }

  // The lines of the master playlist that offer subtitles, up to their address.
  static std::string Offers(const HttpLiveStream& stream) {
    std::istringstream master(Content(stream.GetMainfest("", "")));
    std::string offers;
    for (std::string line; std::getline(master, line);) {
      if (line.starts_with("#EXT-X-MEDIA:TYPE=SUBTITLES"))
        offers += line.substr(0, line.find(",URI=")) + "\n";
    }
    return offers;
  }

  const std::string films_ = std::string(system::kVar) + "/films";
  const std::string profiles_ = films_ + "/profiles";
  Json::Value url_{Json::objectValue};
  Json::Value subtitle_url_{Json::objectValue};
};

constexpr char kOffer[] = "#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"subtitles\",NAME=";

TEST_F(HlsSubtitles, AreThoseOfTheFilmAndThoseBesideIt) {
  const std::string film = Film("subtitles.mkv");
  WriteText(films_ + "/subtitles.zh-TW.srt", "");
  WriteText(films_ + "/subtitles.forced.ass", "");
  const HttpLiveStream stream = Opened(film);
  const std::string offer = kOffer;
  EXPECT_EQ(Offers(stream),
            offer + "\"subtitles.forced.ass\",DEFAULT=NO,AUTOSELECT=NO,FORCED=YES\n" + offer +
                "\"Chinese (TW)\",LANGUAGE=\"zh-TW\",DEFAULT=NO,AUTOSELECT=YES,FORCED=NO\n" + offer +
                "\"English\",LANGUAGE=\"en\",DEFAULT=NO,AUTOSELECT=YES,FORCED=NO\n" + offer +
                "\"Nur 'Schilder'\",LANGUAGE=\"de\",DEFAULT=NO,AUTOSELECT=YES,FORCED=YES\n" + offer +
                "\"English (hearing impaired)\",LANGUAGE=\"en\",DEFAULT=NO,AUTOSELECT=YES,FORCED=NO,"
                "CHARACTERISTICS=\"public.accessibility.transcribes-spoken-dialog,"
                "public.accessibility.describes-music-and-sound\"\n" +
                offer + "\"Subtitle 6\",DEFAULT=NO,AUTOSELECT=NO,FORCED=NO\n");
  EXPECT_NE(Content(stream.GetMainfest("", "")).find("SUBTITLES=\"subtitles\"\n"), std::string::npos);
  for (const std::string& id : {films_ + "/subtitles.forced.ass", films_ + "/subtitles.zh-TW.srt",
                                std::string("2"), std::string("3"), std::string("4"), std::string("5")}) {
    EXPECT_TRUE(IsWholePlaylist(Content(stream.GetMainfest("subtitle", id)))) << id;
  }
  EXPECT_TRUE(stream.Close());
  ExpectNothingLeft();
}

TEST_F(HlsSubtitles, AreAskedOfTheWebApiByTheirWindows) {
  const HttpLiveStream stream = Opened(Film("subtitles.mp4"));
  const std::string path = stream.GetMainfest("subtitle", "3");
  EXPECT_EQ(path, FolderOf(stream.GetStreamID()) + "/subtitle_1.m3u8");
  const std::string playlist = Content(path);
  EXPECT_NE(
      playlist.find("\nhttp://host/webapi/entry.cgi?api=A.Subtitle&id=12&subtitle_id=3&output_webvtt=true"
                    "&start_time=0&end_time=8&name=0.vtt\n#EXT-X-ENDLIST\n"),
      std::string::npos)
      << playlist;
  EXPECT_EQ(HttpLiveStream(stream.GetStreamID()).GetMainfest("subtitle", "3"), path);
  EXPECT_EQ(Content(path), playlist);
}

TEST_F(HlsSubtitles, AreNoOthersThanWereThereWhenTheStreamWasOpened) {
  const std::string film = Film("subtitles.mkv");
  const HttpLiveStream stream = Opened(film);
  WriteText(films_ + "/subtitles.en.srt", "");
  for (const std::string& id :
       {std::string(), std::string("0"), std::string("1"), std::string("6"), std::string("02"),
        std::string("-2"), std::string("2\n"), std::string("../plan.json"), films_ + "/subtitles.en.srt",
        films_ + "/profiles"}) {
    EXPECT_EQ(stream.GetMainfest("subtitle", id), "") << id;
  }
  for (const char* type : {"subtitle_0", "subtitle_2", "Subtitle", "subtitles.json", "subtitle "})
    EXPECT_EQ(stream.GetMainfest(type, "2"), "") << type;
}

TEST_F(HlsSubtitles, ShowTheOneThatWasChosen) {
  const std::string film = Film("subtitles.mp4");
  const std::string beside = films_ + "/subtitles.srt";
  const std::string elsewhere = films_ + "/found/Subtitle.German.srt";
  WriteText(beside, "");
  const struct {
    std::string chosen;
    std::string offer;
    std::string id;
  } cases[] = {{"3", "\"French\",LANGUAGE=\"fr\",DEFAULT=YES,AUTOSELECT=YES,FORCED=NO\n", "3"},
               {beside, "\"subtitles.srt\",DEFAULT=YES,AUTOSELECT=YES,FORCED=NO\n", beside},
               {elsewhere, "\"German\",LANGUAGE=\"de\",DEFAULT=YES,AUTOSELECT=YES,FORCED=NO\n", elsewhere},
               {"DLNA", "\"Subtitle 4\",DEFAULT=YES,AUTOSELECT=YES,FORCED=NO\n", "DLNA"}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.chosen);
    subtitle_url_["subtitle_id"] = row.chosen;
    const HttpLiveStream stream = Opened(film);
    EXPECT_NE(Offers(stream).find(kOffer + row.offer), std::string::npos) << Offers(stream);
    const std::string offers = Offers(stream);
    EXPECT_EQ(offers.find("DEFAULT=YES"), offers.rfind("DEFAULT=YES"));
    EXPECT_NE(stream.GetMainfest("subtitle", row.id), "");
    EXPECT_TRUE(stream.Close());
  }
  subtitle_url_["subtitle_id"] = "7";  // no track of text
  EXPECT_EQ(Offers(Opened(film)).find("DEFAULT=YES"), std::string::npos);
}

TEST_F(HlsSubtitles, AreNoneWithoutAnAddressToAskFor) {
  const std::string film = Film("subtitles.mkv");
  Json::Value no_url = subtitle_url_;
  no_url.removeMember("url");
  Json::Value no_id = subtitle_url_;
  no_id.removeMember("id");
  for (const Json::Value& url :
       {Json::Value(Json::objectValue), Json::Value(), Json::Value("http://host"), no_url, no_id}) {
    subtitle_url_ = url;
    const HttpLiveStream stream = Opened(film);
    EXPECT_EQ(Content(stream.GetMainfest("", "")).find("SUBTITLES"), std::string::npos) << url;
    EXPECT_EQ(stream.GetMainfest("subtitle", "2"), "") << url;
    EXPECT_FALSE(IsThere(FolderOf(stream.GetStreamID()) + "/" + kSubtitlesFile));
  }
}

TEST_F(HlsSubtitles, LeaveAFilmWithoutAnyAsItIs) {
  const std::string film = Film("h264_aac.mp4");
  const HttpLiveStream with = Opened(film);
  subtitle_url_ = Json::Value(Json::objectValue);
  const HttpLiveStream without = Opened(film);
  const auto master = [](const HttpLiveStream& stream) {
    std::string text = Content(stream.GetMainfest("", ""));
    for (size_t at; (at = text.find(stream.GetStreamID())) != std::string::npos;)
      text.replace(at, stream.GetStreamID().size(), "ID");
    return text;
  };
  EXPECT_EQ(master(with), master(without));
  EXPECT_FALSE(IsThere(FolderOf(with.GetStreamID()) + "/" + kSubtitlesFile));
}

TEST_F(HlsSubtitles, AreOfferedInAFilmWithVeryMany) {
  const HttpLiveStream stream = Opened(Film("many_subtitles.mkv"));
  const std::string offers = Offers(stream);
  EXPECT_EQ(std::count(offers.begin(), offers.end(), '\n'), 40);
  EXPECT_NE(offers.find("\"English (40)\""), std::string::npos);
  // Nothing is written for those that nobody asks for.
  EXPECT_FALSE(IsThere(FolderOf(stream.GetStreamID()) + "/subtitle_39.m3u8"));
  EXPECT_EQ(stream.GetMainfest("subtitle", "41"), FolderOf(stream.GetStreamID()) + "/subtitle_39.m3u8");
}

TEST_F(HlsSubtitles, ComeBackWhenTheirPlaylistIsTorn) {
  const HttpLiveStream stream = Opened(Film("subtitles.mp4"));
  const std::string path = stream.GetMainfest("subtitle", "2");
  const std::string whole = Content(path);
  for (const std::string& torn :
       {std::string(), whole.substr(0, whole.size() / 2), std::string(whole.size(), '\0')}) {
    WriteText(path, torn);
    EXPECT_EQ(stream.GetMainfest("subtitle", "2"), path);
    EXPECT_EQ(Content(path), whole);
  }
}

TEST_F(HlsSubtitles, AreGoneWithTheirRecord) {
  const HttpLiveStream stream = Opened(Film("subtitles.mp4"));
  const std::string record = FolderOf(stream.GetStreamID()) + "/" + kSubtitlesFile;
  const std::string whole = Content(record);
  WriteText(record, whole.substr(0, whole.size() / 2));
  LoggedLines log;
  EXPECT_EQ(stream.GetMainfest("subtitle", "2"), "");
  EXPECT_NE(log.Take().find("has a record of subtitles that cannot be read"), std::string::npos);
  fs::remove(record);
  EXPECT_EQ(stream.GetMainfest("subtitle", "2"), "");
  EXPECT_NE(stream.GetMainfest("", ""), "");
}

TEST_F(HlsSubtitles, AreNotGivenWhenTheirPlaylistCannotBeWritten) {
  const HttpLiveStream stream = Opened(Film("subtitles.mp4"));
  fs::create_directories(FolderOf(stream.GetStreamID()) + "/subtitle_0.m3u8/full");
  LoggedLines log;
  EXPECT_EQ(stream.GetMainfest("subtitle", "2"), "");
  EXPECT_NE(log.Take().find("The playlist subtitle_0.m3u8 of the stream " + stream.GetStreamID()),
            std::string::npos);
  EXPECT_NE(stream.GetMainfest("subtitle", "3"), "");
}

}  // namespace
}  // namespace kinora::engine
