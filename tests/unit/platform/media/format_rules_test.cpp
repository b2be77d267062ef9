#include "platform/media/format_rules.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <stdexcept>

namespace kinora::media {
namespace {

using testing::ElementsAre;
using Names = std::vector<std::string>;

// The file that is installed.
FormatRules Shipped() { return LoadFormatRules(KINORA_SOURCE_DIR "/packaging/format_rules.json"); }

FormatTraits Traits(const std::string& container, const std::string& video, const std::string& audio) {
  FormatTraits traits{container, video, audio, {}, true};
  if (!audio.empty()) traits.track_codecs = {audio};
  return traits;
}

Names Choose(const FormatTraits& traits, const std::string& request) {
  return ChooseFormats(DecideFormats(Shipped(), traits), request);
}

FormatDecision DecisionOn(const std::string& name, const FormatTraits& traits) {
  for (const FormatDecision& decision : DecideFormats(Shipped(), traits)) {
    if (decision.name == name) return decision;
  }
  return {};
}

std::string RefusalOf(const std::string& text) {
  try {
    ParseFormatRules(text);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

TEST(FormatRules, SendRawWhatBrowsersPlayWhenTheChoiceIsLeftToThem) {
  const struct {
    const char* container;
    const char* video;
    const char* audio;
    Names chosen;
  } cases[] = {
      {"mp4", "h264", "aac", {"raw"}},
      {"mp4", "h264", "mp3", {"raw"}},
      {"mp4", "h264", "", {"raw"}},
      {"mov", "h264", "aac", {"raw"}},
      {"mp4", "av1", "opus", {"raw"}},
      {"mp4", "vp9", "flac", {"raw"}},
      {"webm", "vp8", "vorbis", {"raw"}},
      {"webm", "vp9", "opus", {"raw"}},
      {"webm", "av1", "", {"raw"}},
      // What only looks like it.
      {"mp4", "h264_10bit", "aac", {"hls"}},
      {"mp4", "h264_422", "aac", {"hls"}},
      {"mp4", "h264_444", "aac", {"hls"}},
      {"mp4", "h264_rare", "aac", {"hls"}},
      {"mp4", "h264_interlaced", "aac", {"hls"}},
      {"mpegts", "h264_interlaced", "mp2", {"hls"}},
      {"mp4", "h264", "opus", {"raw"}},
      {"mp4", "h264_400", "aac", {"hls"}},
      {"mov", "av1", "aac", {"hls"}},
      {"mp4", "hevc", "aac", {"hls"}},
      {"mp4", "hevc_10bit", "aac", {"hls"}},
      {"mp4", "mpeg4", "aac", {"hls"}},
      {"webm", "h264", "opus", {"hls"}},
      {"webm", "vp9_10bit", "opus", {"hls"}},
      // Remuxing serves.
      {"mkv", "h264", "aac", {"hls_remux"}},
      {"mkv", "h264", "", {"hls_remux"}},
      {"mkv", "h264", "dts", {"hls_remux"}},
      {"mp4", "h264", "ac3", {"hls_remux"}},
      {"mov", "h264", "pcm_s16le", {"hls_remux"}},
      {"mpegts", "h264", "aac", {"hls_remux"}},
      {"mpegts", "h264", "ac3", {"hls_remux"}},
      // Only a conversion does.
      {"mkv", "vp9", "opus", {"hls"}},
      {"avi", "h264", "mp3", {"hls"}},
      {"mkv", "hevc_10bit", "aac", {"hls"}},
      {"mkv", "vp9", "aac", {"hls"}},
      {"mpegts", "hevc", "aac", {"hls"}},
      {"mpegts", "mpeg2video", "ac3", {"hls"}},
      {"avi", "mpeg4", "mp3", {"hls"}},
      {"asf", "wmv3", "wmav2", {"hls"}},
      {"ogg", "theora", "vorbis", {"hls"}},
      // Sound alone.
      {"mp4", "", "aac", {"hls"}},
      {"mkv", "", "flac", {"hls"}},
      // Nothing else is allowed.
      {"nut", "h264", "aac", {"raw"}},
      {"", "h264", "aac", {"raw"}},
      {"mkv", "unknown_codec", "aac", {"raw"}},
      {"mkv", "hevc", "unknown_codec", {"raw"}},
      {"mp4", "", "unknown_codec", {"raw"}},
      {"mp4", "", "", {"raw"}},
      {"", "", "", {"raw"}},
  };
  for (const auto& [container, video, audio, chosen] : cases) {
    EXPECT_EQ(Choose(Traits(container, video, audio), "auto"), chosen)
        << container << ' ' << video << ' ' << audio;
  }
}

TEST(FormatRules, AllowRawForEveryFileToThoseWhoAskForIt) {
  for (const char* container : {"mp4", "mkv", "avi", "nut", ""}) {
    for (const char* video : {"h264", "hevc_10bit", "wmv3", "unknown_codec", ""}) {
      EXPECT_THAT(Choose(Traits(container, video, "dts"), "raw"), ElementsAre("raw"))
          << container << ' ' << video;
    }
  }
}

TEST(FormatRules, LeaveOnlyRawForAFileThatAllowsNothingElseAlsoWhenHlsIsAskedForFirst) {
  const FormatTraits nut = Traits("nut", "h264", "aac");
  EXPECT_THAT(Choose(nut, "hls,raw"), ElementsAre("raw"));
  EXPECT_THAT(Choose(nut, "hls,hls_remux,ss,webm_remux,raw"), ElementsAre("raw"));
  EXPECT_THAT(Choose(nut, "hls"), ElementsAre());
}

TEST(FormatRules, GiveOfAListWhatTheyAllow) {
  const FormatTraits mkv = Traits("mkv", "h264", "aac");
  const FormatTraits dts = Traits("avi", "h264", "dts");
  EXPECT_THAT(Choose(mkv, "hls_remux"), ElementsAre("hls_remux"));
  EXPECT_THAT(Choose(dts, "hls_remux"), ElementsAre());
  EXPECT_THAT(Choose(dts, "hls_remux,hls"), ElementsAre("hls"));
  EXPECT_THAT(Choose(mkv, "ss,raw,hls"), ElementsAre("ss", "raw", "hls"));
}

TEST(FormatRules, LeaveSmoothStreamingAndWebmToThoseWhoAskForThem) {
  for (const char* name : {"ss", "webm_remux"}) {
    for (const FormatTraits& film : {Traits("mp4", "h264", "aac"), Traits("mkv", "hevc_10bit", "dts"),
                                     Traits("webm", "vp9", "opus"), Traits("avi", "mpeg4", "")}) {
      EXPECT_THAT(Choose(film, name), ElementsAre(name));
      EXPECT_THAT(Choose(film, "auto"), testing::Not(testing::Contains(name)));
      EXPECT_THAT(Choose(film, std::string("auto,") + name), testing::Contains(name));
    }
    EXPECT_THAT(Choose(Traits("nut", "h264", "aac"), name), ElementsAre());
    EXPECT_THAT(Choose(Traits("mkv", "unknown_codec", "aac"), name), ElementsAre());
    EXPECT_THAT(Choose(Traits("mkv", "h264", "unknown_codec"), name), ElementsAre());
  }
}

TEST(FormatRules, ReadTheRequestWithoutRegardToCaseAndBlanks) {
  const FormatTraits mp4 = Traits("mp4", "h264", "aac");
  const std::pair<const char*, Names> cases[] = {
      {"RAW", {"raw"}},
      {"Hls, Raw", {"hls", "raw"}},
      {" auto ", {"raw"}},
      {"raw,raw", {"raw"}},
      {"auto,hls", {"raw", "hls"}},
      {"hls,auto", {"hls", "raw"}},
      {"", {}},
      {",", {}},
      {",,raw,", {"raw"}},
      {"rawr", {}},
      {"none", {}},
      {"raw;hls", {}},
      {"dash,raw", {"raw"}},
      {"as_is", {}},
  };
  for (const auto& [request, chosen] : cases) EXPECT_EQ(Choose(mp4, request), chosen) << request;
}

TEST(FormatRules, SendNothingAsItIsWhenAnotherTrackIsChosen) {
  FormatTraits traits = Traits("mp4", "h264", "aac");
  traits.track_codecs = {"aac", "aac"};
  traits.default_audio = false;
  EXPECT_THAT(Choose(traits, "auto"), ElementsAre("hls_remux"));
  EXPECT_THAT(Choose(traits, "raw"), ElementsAre());
  EXPECT_THAT(Choose(traits, "raw,hls"), ElementsAre("hls"));
  traits.track_codecs = {"aac", "ac3"};  // which of them is chosen is not known here
  EXPECT_THAT(Choose(traits, "hls_remux"), ElementsAre("hls_remux"));
  EXPECT_THAT(Choose(traits, "auto"), ElementsAre("hls_remux"));
  traits.track_codecs = {"aac", "unknown_codec"};
  EXPECT_THAT(Choose(traits, "auto"), ElementsAre());
}

TEST(FormatRules, SayWhy) {
  const auto reason = [](const char* name, const FormatTraits& traits) {
    return DecisionOn(name, traits).reason;
  };
  EXPECT_EQ(reason("raw", Traits("mp4", "h264", "aac")), "browsers play h264 with aac in mp4");
  EXPECT_EQ(reason("raw", Traits("mkv", "hevc", "")),
            "browsers do not play hevc without sound in mkv; a player that asks for it may");
  EXPECT_EQ(reason("hls_remux", Traits("mkv", "h264", "aac")),
            "the picture of h264 with aac in mkv is copied");
  EXPECT_EQ(reason("hls_remux", Traits("mp4", "hevc_10bit", "dts")),
            "the picture of hevc_10bit with dts in mp4 is copied for players that ask for it");
  EXPECT_EQ(reason("webm_remux", Traits("mkv", "vp9", "opus")),
            "vp9 with opus in mkv is copied for players that ask for it");
  EXPECT_EQ(reason("hls_remux", Traits("avi", "h264", "aac")), "the container avi is not copied");
  EXPECT_EQ(reason("hls_remux", Traits("mkv", "h264_10bit", "aac")),
            "the video codec h264_10bit is not copied");
  EXPECT_EQ(reason("hls_remux", Traits("mkv", "h264", "unknown_codec")), "the sound cannot be decoded");
  EXPECT_EQ(reason("hls", Traits("mkv", "h264", "dts")), "h264 with dts in mkv is converted");
  EXPECT_EQ(reason("hls", Traits("mkv", "", "dts")), "dts in mkv is converted");
  EXPECT_EQ(reason("ss", Traits("mkv", "h264", "dts")),
            "h264 with dts in mkv is converted for players that ask for it");
  EXPECT_EQ(reason("hls", Traits("nut", "h264", "aac")), "the container nut is not converted");
  EXPECT_EQ(reason("ss", Traits("mp4", "", "aac")), "aac in mp4 is converted for players that ask for it");
  EXPECT_EQ(reason("webm_remux", Traits("mp4", "", "aac")), "there is no video");
  EXPECT_EQ(reason("hls", Traits("mp4", "", "")), "there is no video");
  EXPECT_EQ(reason("raw", Traits("", "", "")),
            "browsers do not play a file without picture and sound in none; a player that asks for it may");
  FormatTraits other = Traits("mp4", "h264", "aac");
  other.default_audio = false;
  EXPECT_EQ(reason("raw", other), "another sound track than the first was chosen");
}

TEST(FormatRules, CopyWhatBrowsersDoNotShowWellOnlyForThoseWhoAskForIt) {
  for (const char* video : {"h264_interlaced", "hevc", "hevc_10bit"}) {
    const FormatTraits traits = Traits("mkv", video, "eac3");
    EXPECT_THAT(Choose(traits, "hls_remux"), ElementsAre("hls_remux"));
    EXPECT_THAT(Choose(traits, "auto"), ElementsAre("hls"));
    EXPECT_THAT(Choose(traits, "hls_remux,auto"), ElementsAre("hls_remux", "hls"));
  }
  EXPECT_THAT(Choose(Traits("mkv", "hevc_422_10bit", "eac3"), "hls_remux"), ElementsAre());
}

// Every codec, in every depth, in every container, with every sound: held against what players take, written
// down once more.
class FormatMatrixTest : public testing::Test {
 protected:
  static bool In(const std::string& name, const Names& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
  }
  static bool BrowsersPlay(const std::string& container, const std::string& video, const std::string& audio) {
    if (container == "webm") {
      return In(video, {"vp8", "vp9", "av1"}) && In(audio, {"", "opus", "vorbis"});
    }
    if (container == "mov") return video == "h264" && In(audio, {"", "aac", "mp3"});
    return container == "mp4" && In(video, {"h264", "vp9", "av1"}) &&
           In(audio, {"", "aac", "mp3", "flac", "opus"});
  }
  static Verdict Remux(const std::string& container, const std::string& video, const std::string& audio) {
    if (!In(container, {"mp4", "mov", "mkv", "mpegts"}) || audio == "unknown_codec") return Verdict::kRefused;
    if (video == "h264") return Verdict::kCopies;
    return In(video, {"h264_interlaced", "hevc", "hevc_10bit"}) ? Verdict::kOnRequest : Verdict::kRefused;
  }
  static Verdict Transcode(const std::string& container, const std::string& video, const std::string& audio) {
    const bool decodes = video != "unknown_codec" && audio != "unknown_codec" && video + audio != "";
    return decodes && !In(container, {"nut", "rm", ""}) ? Verdict::kConverts : Verdict::kRefused;
  }
  // Smooth Streaming: whatever can be decoded, and only for those who ask. WebM: the same with a picture.
  static Verdict Smooth(const std::string& container, const std::string& video, const std::string& audio) {
    const bool possible = Transcode(container, video, audio) == Verdict::kConverts;
    return possible ? Verdict::kOnRequest : Verdict::kRefused;
  }
  static Verdict WebM(const std::string& container, const std::string& video, const std::string& audio) {
    return video.empty() ? Verdict::kRefused : Smooth(container, video, audio);
  }
};

TEST_F(FormatMatrixTest, EveryCombinationHasItsVerdictAndAReason) {
  const Names containers = {"mp4", "mov", "mkv", "webm", "mpegts", "avi", "mpeg", "flv",
                            "asf", "ogg", "mxf", "dv",   "wtv",    "rm",  "nut",  ""};
  const Names videos = {"h264",
                        "h264_rare",
                        "h264_interlaced",
                        "h264_10bit",
                        "h264_422",
                        "h264_422_10bit",
                        "h264_444",
                        "h264_400",
                        "hevc",
                        "hevc_10bit",
                        "hevc_12bit",
                        "hevc_422_10bit",
                        "vp8",
                        "vp9",
                        "vp9_10bit",
                        "vp9_444",
                        "av1",
                        "av1_10bit",
                        "mpeg4",
                        "mpeg2video",
                        "mpeg2video_422",
                        "vc1",
                        "wmv3",
                        "theora",
                        "prores_422_10bit",
                        "unknown_codec",
                        ""};
  const Names audios = {"",     "aac", "mp3",    "mp2",  "opus",  "vorbis",    "flac",      "ac3",
                        "eac3", "dts", "truehd", "alac", "wmav2", "pcm_s16le", "pcm_s24le", "unknown_codec"};
  const FormatRules rules = Shipped();
  for (const std::string& container : containers) {
    for (const std::string& video : videos) {
      for (const std::string& audio : audios) {
        const std::map<std::string, Verdict> expected = {
            {"raw", BrowsersPlay(container, video, audio) ? Verdict::kPlaysAsIs : Verdict::kOnRequest},
            {"hls_remux", Remux(container, video, audio)},
            {"webm_remux", WebM(container, video, audio)},
            {"hls", Transcode(container, video, audio)},
            {"ss", Smooth(container, video, audio)}};
        for (const FormatDecision& decision : DecideFormats(rules, Traits(container, video, audio))) {
          EXPECT_EQ(decision.verdict, expected.at(decision.name))
              << decision.name << ": " << video << " with " << audio << " in " << container;
          EXPECT_NE(decision.reason, "");
        }
      }
    }
  }
}

TEST(FormatRules, NameEveryFormatOnce) {
  Names names;
  for (const FormatRule& format : Shipped().formats) names.push_back(format.name);
  EXPECT_THAT(names, testing::UnorderedElementsAre("hls", "hls_remux", "ss", "webm_remux", "raw"));
}

TEST(FormatRules, AreRefusedWhenTheyAreMalformed) {
  const std::string lists = R"("convertible": [], "undecodable": [])";
  const auto with_formats = [&](const std::string& formats) {
    return "{\"formats\": " + formats + ", " + lists + "}";
  };
  EXPECT_EQ(RefusalOf(with_formats("[]")), "");
  EXPECT_EQ(RefusalOf(with_formats(R"([{"name": "raw", "way": "as_is"}])")), "");
  const std::pair<std::string, std::string> cases[] = {
      {"[]", "the file holds no object"},
      {"{}", "\"formats\" is no list"},
      {R"({"formats": []})", "\"convertible\" is no list"},
      {R"({"formats": [], "convertible": [1], "undecodable": []})",
       "\"convertible\" holds something that is no text"},
      {with_formats("{}"), "\"formats\" is no list"},
      {with_formats("[[]]"), "a format is no object"},
      {with_formats("[{}]"), "\"name\" is no text"},
      {with_formats(R"([{"name": "dash", "way": "remux"}])"), "there is no format \"dash\""},
      {with_formats(R"([{"name": "raw", "way": "magic"}])"), "there is no way \"magic\""},
      {with_formats(R"([{"name": "raw", "way": "as_is"}, {"name": "raw", "way": "remux"}])"),
       "\"raw\" stands twice"},
      {with_formats(R"([{"name": "hls", "way": "remux", "converts": 1}])"),
       "\"converts\" is neither true nor false"},
      {with_formats(R"([{"name": "hls", "way": "remux", "copies": {}}])"), "\"copies\" is no list"},
      {with_formats(R"([{"name": "hls", "way": "remux", "copies": [1]}])"),
       "\"copies\" holds something that is no object"},
      {with_formats(R"([{"name": "hls", "way": "remux", "copies": [{"containers": "mp4"}]}])"),
       "\"containers\" is no list"},
      {with_formats(R"([{"name": "hls", "way": "transcode", "sound_alone": "yes"}])"),
       "\"sound_alone\" is neither true nor false"},
      {with_formats(R"([{"name": "ss", "way": "transcode", "by_name": "yes"}])"),
       "\"by_name\" is neither true nor false"},
      {with_formats(R"([{"name": "hls_remux", "way": "remux",
                       "copies": [{"containers": [], "video": [], "audio": [], "by_name": 1}]}])"),
       "\"by_name\" is neither true nor false"},
  };
  for (const auto& [text, reason] : cases) EXPECT_EQ(RefusalOf(text), "format rules: " + reason) << text;
  for (const std::string& text :
       {std::string(), std::string("{"), std::string("text"), std::string(5000, '['), std::string("{} {}"),
        std::string("{\"a\":1,\"a\":2}"), std::string(10, '\0')}) {
    EXPECT_THAT(RefusalOf(text), testing::StartsWith("format rules: ")) << text;
  }
  EXPECT_THROW(LoadFormatRules("/nonexistent"), std::runtime_error);
  EXPECT_THROW(LoadFormatRules("/"), std::runtime_error);
}

}  // namespace
}  // namespace kinora::media
