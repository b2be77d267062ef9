#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::Calls;
using kinora::fakes::TheScript;
using std::chrono::seconds;

constexpr char kFilm[] = "/v/film.mkv";
constexpr char kStreamUrl[] =
    R"({"_sid":"session","api":"CRVN.Kinora2.Stream","force_open_vte":false,"format":"hls",)"
    R"("hls_header":false,"method":"stream","url":"https://nas:5001/webapi/stream.cgi","version":1})";
constexpr char kSubtitleUrl[] = R"({"_sid":"session","api":"CRVN.Kinora2.Subtitle","method":"get",)"
                                R"("url":"https://nas:5001/webapi/entry.cgi","version":1})";

class InitHls : public kinora::fakes::ScriptedWorkspaceTest {
 protected:
  InitHls() {
    request_ = Request(kFilm, "hls");
    request_.host_prefix = "https://nas:5001";
    request_.cgi_path = "/webapi/stream.cgi";
    request_.api = "CRVN.Kinora2.Stream";
    request_.sid = "session";
    TheScript().container = "mkv";
    TheScript().video_codec = "hevc";
    TheScript().video_profile = "Main 10";
    TheScript().resolution_x = 3840;
    TheScript().resolution_y = 1600;
    TheScript().file_size = 5'000'000'000;
  }

  // The set-up's id; the journal then holds its calls alone.
  std::string SetUpHls(bool remux = false) {
    StreamIniter initer(request_);
    Calls().clear();
    return initer.InitHLS(remux);
  }

  // The first argument list that the operation was called with; empty when it was not.
  static std::string ArgumentsOf(const std::string& operation) {
    for (const std::string& call : Calls()) {
      if (call.starts_with(operation + "(")) return call.substr(operation.size());
    }
    return {};
  }
  static bool WasCalled(const std::string& operation) { return !ArgumentsOf(operation).empty(); }

  OpenArgument request_;
};

TEST_F(InitHls, LetsTheEnginePlanTheStream) {
  request_.audio_track = "2";
  request_.audio_format = "aac";
  request_.profile = "hd_high";
  request_.client = "tv";
  EXPECT_EQ(SetUpHls(), "enginestream");
  ExpectCalls(
      {"IsVaapiFFmpegEnabled()", R"x(ForceFFmpegTranscoding("mkv", "hevc", "Main 10"))x",
       R"x(DetermineTransProfile("HLS", "/v/film.mkv", "hd_high", false, 3840, 1600, "hevc"))x",
       std::string(R"x(VTE_Init("/v/film.mkv", "HLS", )x") +
           R"x("/var/packages/Kinora/target/etc/TransProfile", "hls_1080", )x" + kStreamUrl +
           R"x(, "tv", 5000000000, true))x",
       "HttpLiveStream(\"enginestream\")",
       std::string(R"x(Init("enginestream", )x") + kStreamUrl + ", " + kSubtitleUrl + R"x(, "2", "aac"))x"});
  ExpectLog({});
}

struct PipelineCase {
  std::string name;
  bool remux;
  bool vaapi;
  bool force_ffmpeg;
  std::string kind;
  std::string profile_file;
  std::vector<std::string> questions;  // what the choice asks for
};

class HlsPipeline : public InitHls, public testing::WithParamInterface<PipelineCase> {};

TEST_P(HlsPipeline, IsChosenByMachineAndFile) {
  TheScript().vaapi_enabled = GetParam().vaapi;
  TheScript().force_ffmpeg = GetParam().force_ffmpeg;
  EXPECT_EQ(SetUpHls(GetParam().remux), "enginestream");
  EXPECT_EQ(ArgumentsOf("DetermineTransProfile"), "(\"" + GetParam().kind + "\", \"/v/film.mkv\", \"\", " +
                                                      (GetParam().remux ? "true" : "false") +
                                                      ", 3840, 1600, \"hevc\")");
  EXPECT_TRUE(
      ArgumentsOf("VTE_Init")
          .starts_with("(\"/v/film.mkv\", \"HLS\", \"" + GetParam().profile_file + "\", \"hls_1080\", "));
  std::vector<std::string> questions;
  for (const std::string& call : Calls()) {
    if (call.starts_with("DetermineTransProfile")) break;
    questions.push_back(call);
  }
  EXPECT_EQ(questions, GetParam().questions);
}

constexpr char kOrdinaryFile[] = "/var/packages/Kinora/target/etc/TransProfile";
constexpr char kGstFile[] = "/var/packages/Kinora/target/etc/TransProfile_GST";
constexpr char kVaapiQuestion[] = "IsVaapiFFmpegEnabled()";
constexpr char kForceQuestion[] = R"x(ForceFFmpegTranscoding("mkv", "hevc", "Main 10"))x";

INSTANTIATE_TEST_SUITE_P(
    Cases, HlsPipeline,
    testing::Values(
        PipelineCase{"Plain", false, false, true, "HLS", kOrdinaryFile, {kVaapiQuestion, kForceQuestion}},
        PipelineCase{"Gst", false, false, false, "GST_HLS", kGstFile, {kVaapiQuestion, kForceQuestion}},
        PipelineCase{"Vaapi", false, true, true, "VAAPI_HLS", kOrdinaryFile, {kVaapiQuestion}},
        PipelineCase{"VaapiBeforeGst", false, true, false, "VAAPI_HLS", kOrdinaryFile, {kVaapiQuestion}},
        PipelineCase{"Remux", true, false, true, "HLS", kOrdinaryFile, {}},
        PipelineCase{"RemuxIsNeverGst", true, false, false, "HLS", kOrdinaryFile, {}},
        PipelineCase{"RemuxIsNeverVaapi", true, true, true, "HLS", kOrdinaryFile, {}}),
    [](const auto& parameter) { return parameter.param.name; });

TEST_F(InitHls, NarrowsTheFlagForTheEngine) {
  request_.engine_flag = 0;
  SetUpHls();
  EXPECT_TRUE(ArgumentsOf("VTE_Init").ends_with(", false)"));
  request_.engine_flag = -7;
  SetUpHls();
  EXPECT_TRUE(ArgumentsOf("VTE_Init").ends_with(", true)"));
}

TEST_F(InitHls, RefusesARequestThatCannotBeCalledBack) {
  for (std::string OpenArgument::*part :
       {&OpenArgument::host_prefix, &OpenArgument::cgi_path, &OpenArgument::api}) {
    const OpenArgument whole = request_;
    request_.*part = "";
    request_.sid = "";  // wrong too, but looked at later
    ExpectError(1212, "VTE - Failed to get HX ip and port", [&] { SetUpHls(); });
    ExpectCalls({});
    request_ = whole;
  }
}

TEST_F(InitHls, RefusesARequestOfNoSession) {
  request_.sid = "";
  request_.audio_format = "opus";  // wrong too, but looked at later
  ExpectError(1212, "Failed to get session id from cookie", [&] { SetUpHls(); });
  ExpectCalls({});
}

TEST_F(InitHls, TakesASharingLinkInTheSessionsPlace) {
  request_.sid = "";
  request_.is_sharing = true;
  request_.sharing_id = "link";
  EXPECT_EQ(SetUpHls(), "enginestream");
  EXPECT_NE(ArgumentsOf("Init").find(R"("sharing_id":"link")"), std::string::npos);
}

TEST_F(InitHls, TakesTheAudioFormatsThatItKnows) {
  for (const std::string format : {"", "ac3_copy", "aac", "mp3"}) {
    request_.audio_format = format;
    EXPECT_EQ(SetUpHls(), "enginestream") << format;
    EXPECT_TRUE(ArgumentsOf("Init").ends_with(", \"" + format + "\")")) << format;
  }
}

TEST_F(InitHls, RefusesEveryOtherAudioFormat) {
  request_.subtitle_id = "7";  // of nobody: wrong too, but looked at later
  for (const std::string& format : {std::string("AAC"), std::string("ac3"), std::string("aac "),
                                    std::string("aac\0", 4), std::string("aac,mp3")}) {
    request_.audio_format = format;
    ExpectError(1204, "audio_format params Invalild.", [&] { SetUpHls(); });
    ExpectCalls({});
  }
}

TEST_F(InitHls, RefusesASubtitleOnNobodysBehalfBeforeItSweeps) {
  PutStream("HLS", "stale");
  PutMark("HLS", "stale", seconds(3600));
  request_.subtitle_id = "7";
  ExpectError(101, "Bad parameter uid", [&] { SetUpHls(); });
  ExpectCalls({});
}

TEST_F(InitHls, SweepsTheEnginesStaleStreamsBeforeItAsksForAPipeline) {
  PutStream("HLS", "stale");
  PutMark("HLS", "stale", seconds(3600));
  PutStream("RAW", "stale");
  PutMark("RAW", "stale", seconds(3600));
  SetUpHls();
  ASSERT_GE(Calls().size(), 3U);
  EXPECT_EQ(Calls()[0], "HttpLiveStream(\"stale\")");
  EXPECT_EQ(Calls()[1], "Close(\"stale\")");
  EXPECT_EQ(Calls()[2], "IsVaapiFFmpegEnabled()");
  EXPECT_TRUE(IsThere("RAW", "stale"));
}

TEST_F(InitHls, AsksTheEngineForNothingWhenNoProfileFits) {
  TheScript().trans_profile = "";
  ExpectError(1212, "failed to determine profile", [&] { SetUpHls(); });
  EXPECT_TRUE(Calls().back().starts_with("DetermineTransProfile("));
}

TEST_F(InitHls, SaysWhyTheEngineRefuses) {
  TheScript().start_stream = false;
  TheScript().engine_error = "TransVideoNotSupported";
  ExpectError(1205, "", [&] { SetUpHls(); });
  EXPECT_TRUE(WasCalled("Init"));
  TheScript().engine_error = "";
  ExpectError(1212, "ThrowVTEError", [&] { SetUpHls(); });
}

TEST_F(InitHls, LeavesItToTheEngineToSayWhyItHasNoStream) {
  TheScript().engine_id = "";
  TheScript().start_stream = false;
  TheScript().engine_error = "TransSapceNotEnough";
  ExpectError(1203, "", [&] { SetUpHls(); });
  EXPECT_TRUE(ArgumentsOf("Init").starts_with("(\"\", "));
}

struct ProfileCase {
  std::string name;
  std::string client;
  std::string wanted;
  std::string used;
};

class HlsProfile : public InitHls, public testing::WithParamInterface<ProfileCase> {};

TEST_P(HlsProfile, SuitsThePlayer) {
  StreamIniter initer(request_);
  initer.client = GetParam().client;
  initer.profile = GetParam().wanted;
  initer.InitHLS(false);
  EXPECT_EQ(ArgumentsOf("DetermineTransProfile"),
            "(\"HLS\", \"/v/film.mkv\", \"" + GetParam().used + "\", false, 3840, 1600, \"hevc\")");
  EXPECT_EQ(initer.profile, GetParam().used);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, HlsProfile,
    testing::Values(ProfileCase{"ChromecastHigh", "chromecast", "hd_high", "appletv_hd_high"},
                    ProfileCase{"ChromecastStandard", "chromecast", "sd_high", "appletv_hd_high"},
                    ProfileCase{"ChromecastOther", "chromecast", "low", "low"},
                    ProfileCase{"ChromecastNone", "chromecast", "", ""},
                    ProfileCase{"ChromecastUpperCase", "chromecast", "HD_HIGH", "HD_HIGH"},
                    ProfileCase{"OtherClient", "tv", "hd_high", "hd_high"},
                    ProfileCase{"ClientInUpperCase", "Chromecast", "sd_high", "sd_high"}),
    [](const auto& parameter) { return parameter.param.name; });

TEST_F(InitHls, KeepsAChromecastsProfileForLaterFormatsWhateverFails) {
  StreamIniter initer(request_);
  initer.client = "chromecast";
  initer.profile = "hd_high";
  initer.sid = "";
  ExpectError(1212, "Failed to get session id from cookie", [&] { initer.InitHLS(false); });
  EXPECT_EQ(initer.profile, "appletv_hd_high");
}

TEST_F(InitHls, LeavesTheProfileOfARequestThatCannotBeCalledBack) {
  StreamIniter initer(request_);
  initer.client = "chromecast";
  initer.profile = "hd_high";
  initer.api = "";
  ExpectError(1212, "VTE - Failed to get HX ip and port", [&] { initer.InitHLS(false); });
  EXPECT_EQ(initer.profile, "hd_high");
}

}  // namespace
}  // namespace crvnkn::webapi::vte
