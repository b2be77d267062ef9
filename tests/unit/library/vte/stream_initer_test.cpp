#include "library/vte/stream_initer.h"

#include <gmock/gmock.h>

#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::TheScript;
using StreamIniterTest = kinora::fakes::ScriptedWorkspaceTest;

constexpr char kFilm[] = "/v/film.mp4";

Json::Value Tracks(const std::string& json) {
  Json::Value tracks;
  Json::Reader().parse(json, tracks);
  return tracks;
}

TEST_F(StreamIniterTest, LoadsTheMetadataOfTheFile) {
  const StreamIniter initer(Request(kFilm, "raw"));
  EXPECT_EQ(initer.metadata.GetFilePath(), kFilm);
  EXPECT_EQ(initer.file_path, kFilm);
  EXPECT_EQ(initer.stream_id, "");
  EXPECT_EQ(initer.stream_format, "");
  EXPECT_EQ(initer.last_error.Code(), 100);
  EXPECT_EQ(initer.last_error.Message(), "");
  ExpectCalls({"LoadFile(\"/v/film.mp4\")"});
}

TEST_F(StreamIniterTest, FailsNamingTheFileWhenItsMetadataCannotBeLoaded) {
  TheScript().load_file = false;
  ExpectError(1211, "Failed to get track information /v/film.mp4",
              [] { StreamIniter initer(Request(kFilm, "raw")); });
}

TEST_F(StreamIniterTest, TakesMetadataThatWasLoadedBefore) {
  LibCrvnVTE::VideoMetaData loaded;
  ASSERT_TRUE(loaded.LoadFile(kFilm));
  const StreamIniter initer(loaded, Request(kFilm, "raw"));
  EXPECT_EQ(initer.metadata.GetFilePath(), kFilm);
  EXPECT_EQ(initer.last_error.Code(), 100);
  ExpectCalls({"LoadFile(\"/v/film.mp4\")"});
}

TEST_F(StreamIniterTest, RefusesMetadataOfAnotherPath) {
  LibCrvnVTE::VideoMetaData loaded;
  ASSERT_TRUE(loaded.LoadFile(kFilm));
  for (const char* path : {"/v/Film.mp4", "/v//film.mp4", ""}) {
    ExpectError(101, "internal SetreamIniter error", [&] { StreamIniter(loaded, Request(path, "raw")); });
  }
}

TEST_F(StreamIniterTest, GivesTheRulesWhatTheyDecideBy) {
  TheScript().container = "mkv";
  TheScript().video_codec = "hevc";
  TheScript().audio_tracks = Tracks(R"([{"id":"1","codec":"ac3"},{"id":"2","codec":"aac"}])");
  TheScript().formats = {"raw", "hls"};
  const StreamIniter initer(Request(kFilm, "hls,raw"));
  EXPECT_EQ(initer.DetermineAvailableFormats(), (std::vector<std::string>{"raw", "hls"}));
  ExpectCalls({"LoadFile(\"/v/film.mp4\")",
               R"x(DetermintStreamFormat("hls,raw", "mkv", "hevc", "ac3", )x"
               R"x([{"codec":"ac3","id":"1"},{"codec":"aac","id":"2"}], true))x"});
}

struct AudioCase {
  std::string name;
  std::string audio_tracks;
  std::string wanted;
  std::string asked;  // codec, tracks and flag as the rules get them
};

class AudioChoice : public StreamIniterTest, public testing::WithParamInterface<AudioCase> {};

TEST_P(AudioChoice, TellsTheRulesWhetherItIsTheFirstTrack) {
  TheScript().audio_tracks = Tracks(GetParam().audio_tracks);
  StreamIniter initer(Request(kFilm, "raw"));
  initer.audio_track = GetParam().wanted;
  initer.DetermineAvailableFormats();
  ASSERT_EQ(kinora::fakes::Calls().size(), 2U);
  EXPECT_EQ(kinora::fakes::Calls()[1],
            R"(DetermintStreamFormat("raw", "mp4", "h264", )" + GetParam().asked + ")");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, AudioChoice,
    testing::Values(AudioCase{"NoneWanted", R"([{"id":"1","codec":"aac"}])", "",
                              R"("aac", [{"codec":"aac","id":"1"}], true)"},
                    AudioCase{"TheFirst", R"([{"id":"1","codec":"aac"}])", "1",
                              R"("aac", [{"codec":"aac","id":"1"}], true)"},
                    AudioCase{"Another", R"([{"id":"1","codec":"aac"}])", "2",
                              R"("aac", [{"codec":"aac","id":"1"}], false)"},
                    AudioCase{"NotQuiteTheFirst", R"([{"id":"1","codec":"aac"}])", "01",
                              R"("aac", [{"codec":"aac","id":"1"}], false)"},
                    AudioCase{"NoSound", "[]", "", R"("", [], true)"},
                    AudioCase{"WantedWithoutSound", "[]", "1", R"("", [], false)"},
                    AudioCase{"NumberAsId", R"([{"id":1,"codec":"aac"}])", "1",
                              R"("aac", [{"codec":"aac","id":1}], true)"},
                    AudioCase{"NoCodec", R"([{"id":"1"}])", "", R"("", [{"id":"1"}], true)"},
                    AudioCase{"CodecOfAWrongType", R"([{"id":"1","codec":["aac"]}])", "",
                              R"("", [{"codec":["aac"],"id":"1"}], true)"},
                    AudioCase{"TrackOfAWrongType", R"(["aac"])", "", R"("", ["aac"], true)"}),
    [](const auto& parameter) { return parameter.param.name; });

TEST_F(StreamIniterTest, FailsWhenTheRulesAllowNoFormat) {
  TheScript().formats.clear();
  StreamIniter initer(Request(kFilm, "hls"));
  ExpectError(1211, "DetermintStreamFormat failed", [&] { initer.DetermineAvailableFormats(); });
  ExpectError(1211, "DetermintStreamFormat failed", [&] { initer.LegacyProcess(); });
}

TEST_F(StreamIniterTest, OpensNothingWithoutAFormat) {
  StreamIniter initer(Request(kFilm, ""));
  ExpectError(101, "Bad parameter", [&] { initer.LegacyProcess(); });
}

TEST_F(StreamIniterTest, OpensNothingWithoutAPath) {
  StreamIniter initer(Request("", "raw"));
  ExpectError(101, "file_path empty", [&] { initer.LegacyProcess(); });
}

TEST_F(StreamIniterTest, OpensAsRawWhatMayOnlyGoOutRaw) {
  const StreamIniter initer = Open(kFilm, "hls,raw");
  EXPECT_EQ(initer.stream_format, "raw");
  EXPECT_EQ(initer.stream_id, "newstream");
  ExpectLog({});
}

TEST_F(StreamIniterTest, ReportsTheLastFailureWhenNoSetUpSucceeds) {
  TheScript().stream_id = "";
  StreamIniter initer(Request(kFilm, "raw"));
  ExpectError(1212, "GetRandStreamID failed ", [&] { initer.LegacyProcess(); });
  EXPECT_EQ(initer.last_error.Code(), 1212);
  EXPECT_EQ(initer.stream_id, "");
  EXPECT_EQ(initer.stream_format, "");
}

// A request that may be streamed in every format.
OpenArgument WholeRequest(OpenArgument request) {
  request.host_prefix = "https://nas:5001";
  request.cgi_path = "/webapi/entry.cgi";
  request.api = "CRVN.Kinora2.Stream";
  request.sid = "session";
  return request;
}

TEST_F(StreamIniterTest, PrefersHlsWhateverTheOrderOfWhatIsAllowed) {
  TheScript().formats = {"raw", "hls_remux", "hls"};
  StreamIniter initer(WholeRequest(Request(kFilm, "raw,hls_remux,hls")));
  initer.LegacyProcess();
  EXPECT_EQ(initer.stream_format, "hls");
  EXPECT_EQ(initer.stream_id, "enginestream");
  EXPECT_EQ(initer.last_error.Code(), 100);
}

TEST_F(StreamIniterTest, CopiesTheVideoForHlsRemux) {
  TheScript().formats = {"hls_remux", "raw"};
  StreamIniter initer(WholeRequest(Request(kFilm, "hls_remux,raw")));
  initer.LegacyProcess();
  EXPECT_EQ(initer.stream_format, "hls_remux");
  EXPECT_EQ(initer.stream_id, "enginestream");
  EXPECT_THAT(kinora::fakes::Calls(),
              testing::Contains("DetermineTransProfile(\"HLS\", \"/v/film.mp4\", \"\", true, 1920, 1080, "
                                "\"h264\")"));
}

TEST_F(StreamIniterTest, PrefersSmoothStreamingToTheFileItself) {
  TheScript().formats = {"raw", "ss"};
  StreamIniter initer(WholeRequest(Request(kFilm, "raw,ss")));
  initer.LegacyProcess();
  EXPECT_EQ(initer.stream_format, "ss");
  EXPECT_EQ(initer.stream_id, "enginestream");
}

TEST_F(StreamIniterTest, PrefersHlsToSmoothStreaming) {
  for (const char* hls : {"hls", "hls_remux"}) {
    TheScript().formats = {"ss", hls};
    StreamIniter initer(WholeRequest(Request(kFilm, "auto")));
    initer.LegacyProcess();
    EXPECT_EQ(initer.stream_format, hls);
  }
}

TEST_F(StreamIniterTest, PrefersSmoothStreamingToWebm) {
  TheScript().formats = {"raw", "webm_remux", "ss"};
  StreamIniter initer(WholeRequest(Request(kFilm, "auto")));
  initer.LegacyProcess();
  EXPECT_EQ(initer.stream_format, "ss");
}

TEST_F(StreamIniterTest, PrefersWebmToTheFileItselfAndNeedsNoAddressForIt) {
  TheScript().formats = {"raw", "webm_remux"};
  StreamIniter initer(Request(kFilm, "auto"));
  initer.LegacyProcess();
  EXPECT_EQ(initer.stream_format, "webm_remux");
  EXPECT_EQ(initer.stream_id, "enginestream");
}

TEST_F(StreamIniterTest, FallsBackToRawWhenTheEngineRefuses) {
  TheScript().formats = {"hls", "hls_remux", "ss", "webm_remux", "raw"};
  TheScript().start_stream = false;
  TheScript().engine_error = "TransSapceNotEnough";
  StreamIniter initer(WholeRequest(Request(kFilm, "auto")));
  initer.LegacyProcess();
  EXPECT_EQ(initer.stream_format, "raw");
  EXPECT_EQ(initer.stream_id, "newstream");
  EXPECT_EQ(initer.last_error.Code(), 1203);
}

TEST_F(StreamIniterTest, ReportsTheFailureOfTheFormatTriedLast) {
  TheScript().formats = {"raw", "hls"};
  TheScript().start_stream = false;
  TheScript().engine_error = "TransEnable";
  TheScript().stream_id = "";
  StreamIniter initer(WholeRequest(Request(kFilm, "auto")));
  ExpectError(1212, "GetRandStreamID failed ", [&] { initer.LegacyProcess(); });
}

TEST_F(StreamIniterTest, TriesTheNextFormatWhenTheEngineGivesNoId) {
  TheScript().formats = {"hls", "raw"};
  TheScript().engine_id = "";  // and yet starts
  StreamIniter initer(WholeRequest(Request(kFilm, "auto")));
  initer.LegacyProcess();
  EXPECT_EQ(initer.stream_format, "raw");
  EXPECT_EQ(initer.last_error.Code(), 100);
}

TEST_F(StreamIniterTest, KeepsAChromecastsProfileForTheNextFormat) {
  TheScript().formats = {"hls", "hls_remux"};
  TheScript().trans_profile = "";
  OpenArgument request = WholeRequest(Request(kFilm, "auto"));
  request.client = "chromecast";
  request.profile = "sd_high";
  StreamIniter initer(request);
  ExpectError(1212, "failed to determine profile", [&] { initer.LegacyProcess(); });
  EXPECT_EQ(initer.profile, "appletv_hd_high");
  EXPECT_EQ(request.profile, "sd_high");
  EXPECT_THAT(kinora::fakes::Calls(),
              testing::Contains("DetermineTransProfile(\"HLS\", \"/v/film.mp4\", \"appletv_hd_high\", true, "
                                "1920, 1080, \"h264\")"));
}

TEST_F(StreamIniterTest, ReportsAnUnspecifiedFailureWhenNoSetUpMatches) {
  TheScript().formats = {"a format to come"};
  ExpectError(100, "", [] { Open(kFilm, "auto"); });
}

TEST_F(StreamIniterTest, ServesOneRequestAfterAnotherInOneProcess) {
  EXPECT_EQ(Open("/v/one.mp4", "raw").stream_id, "newstream");
  TheScript().stream_id = "second";
  EXPECT_EQ(Open("/v/two.mp4", "raw").stream_id, "second");
  EXPECT_EQ(Content(workspace_ / "RAW/newstream/filepath"), "/v/one.mp4");
  EXPECT_EQ(Content(workspace_ / "RAW/second/filepath"), "/v/two.mp4");
}

}  // namespace
}  // namespace crvnkn::webapi::vte
