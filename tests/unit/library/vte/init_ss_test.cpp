#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::Calls;
using kinora::fakes::TheScript;
using std::chrono::seconds;

constexpr char kFilm[] = "/v/film.mkv";
constexpr char kStreamUrl[] =
    R"({"_sid":"session","api":"CRVN.Kinora2.Stream","format":"ss","method":"stream",)"
    R"("url":"https://nas:5001/webapi/stream.cgi","version":1})";
constexpr char kProfileQuestion[] =
    R"x(DetermineTransProfile("SS", "/v/film.mkv", "hd_high", false, 3840, 1600, "hevc"))x";

class InitSs : public kinora::fakes::ScriptedWorkspaceTest {
 protected:
  InitSs() {
    request_ = Request(kFilm, "ss");
    request_.host_prefix = "https://nas:5001";
    request_.cgi_path = "/webapi/stream.cgi";
    request_.api = "CRVN.Kinora2.Stream";
    request_.sid = "session";
    request_.profile = "hd_high";
    TheScript().video_codec = "hevc";
    TheScript().resolution_x = 3840;
    TheScript().resolution_y = 1600;
    TheScript().file_size = 5'000'000'000;
    TheScript().trans_profile = "smooth";
  }

  // What the engine makes of the id that the doubles give.
  void SetUp() override {
    ScriptedWorkspaceTest::SetUp();
    PutStream("SS", "enginestream");
  }

  // The set-up's id; the journal then holds its calls alone.
  std::string SetUpSs() {
    StreamIniter initer(request_);
    Calls().clear();
    return initer.InitSS();
  }

  void PutStale(const std::string& type) {
    PutStream(type, "stale");
    PutMark(type, "stale", seconds(3600));
  }

  OpenArgument request_;
  const std::filesystem::path mark_ = workspace_ / "SS/enginestream/access_status";
};

TEST_F(InitSs, LetsTheEnginePlanTheStreamAndBeginWithItsFirstPicture) {
  request_.audio_track = "2";
  request_.audio_format = "mp3";  // a matter of HLS
  request_.client = "tv";
  request_.engine_flag = 0;
  EXPECT_EQ(SetUpSs(), "enginestream");
  ExpectCalls({kProfileQuestion,
               R"x(VTE_Init("/v/film.mkv", "SS", "/var/packages/Kinora/target/etc/TransProfile", "smooth", )x"
               R"x(null, "", 0, true))x",
               "SmoothStream(\"enginestream\")",
               std::string(R"x(Init("enginestream", )x") + kStreamUrl + R"x(, null, "2", ""))x",
               R"x(GetVTEFileFullPath("enginestream", "access_status"))x",
               R"x(Transcoding("enginestream", "QualityLevels(1500000)/Fragments(video=0)"))x"});
  ExpectLog({});
}

TEST_F(InitSs, MarksTheStreamAsUsedBeforeTheFirstFragmentIsMade) {
  bool marked = false;
  TheScript().make_fragment = [&] { return marked = Content(mark_) == "touch"; };
  SetUpSs();
  EXPECT_TRUE(marked);
  EXPECT_EQ(Content(mark_), "touch");
}

TEST_F(InitSs, OpensAStreamWhoseFirstFragmentCannotBeMade) {
  TheScript().make_fragment = [] { return false; };
  EXPECT_EQ(SetUpSs(), "enginestream");
  ExpectLog({});
}

TEST_F(InitSs, OpensAStreamThatCannotBeMarked) {
  std::filesystem::create_directories(mark_);
  EXPECT_EQ(SetUpSs(), "enginestream");
  ExpectLog({});
}

TEST_F(InitSs, RefusesARequestThatCannotBeCalledBackBeforeAllElse) {
  PutStale("SS");
  for (std::string OpenArgument::*part :
       {&OpenArgument::host_prefix, &OpenArgument::cgi_path, &OpenArgument::api}) {
    const OpenArgument whole = request_;
    request_.*part = "";
    TheScript().trans_profile = "";  // wrong too, but looked at later
    ExpectError(1212, "VTE SS - Failed to get HX ip and port", [&] { SetUpSs(); });
    ExpectCalls({});
    request_ = whole;
  }
}

TEST_F(InitSs, NeedsNoSession) {
  request_.sid = "";
  EXPECT_EQ(SetUpSs(), "enginestream");
}

TEST_F(InitSs, LooksAtNoAudioFormat) {
  request_.audio_format = "opus";
  EXPECT_EQ(SetUpSs(), "enginestream");
}

TEST_F(InitSs, LooksAtNoSubtitle) {
  request_.subtitle_id = "7";  // of nobody
  EXPECT_EQ(SetUpSs(), "enginestream");
}

TEST_F(InitSs, LeavesAChromecastsProfile) {
  request_.client = "chromecast";
  EXPECT_EQ(SetUpSs(), "enginestream");
  EXPECT_EQ(Calls().front(), kProfileQuestion);
}

TEST_F(InitSs, NeitherSweepsNorAsksTheEngineWhenNoProfileFits) {
  PutStale("SS");
  TheScript().trans_profile = "";
  ExpectError(1212, "failed to determine profile", [&] { SetUpSs(); });
  ExpectCalls({kProfileQuestion});
}

TEST_F(InitSs, SweepsTheEnginesStaleStreamsOnceAProfileIsFound) {
  for (const char* type : {"WEBM", "SS", "HLS", "RAW"}) PutStale(type);
  SetUpSs();
  ASSERT_GE(Calls().size(), 6U);
  EXPECT_EQ(Calls()[0], kProfileQuestion);
  EXPECT_EQ(Calls()[1], "HttpLiveStream(\"stale\")");
  EXPECT_EQ(Calls()[2], "Close(\"stale\")");
  EXPECT_EQ(Calls()[3], "SmoothStream(\"stale\")");
  EXPECT_EQ(Calls()[4], "Close(\"stale\")");
  EXPECT_TRUE(Calls()[5].starts_with("VTE_Init("));
  EXPECT_TRUE(IsThere("RAW", "stale"));
  EXPECT_TRUE(IsThere("WEBM", "stale"));
  ExpectLog({"vte/stream_initer:# Bad format for webapi [format = WEBM]"});
}

TEST_F(InitSs, NeitherMarksNorStartsWhatTheEngineRefuses) {
  TheScript().start_stream = false;
  TheScript().engine_error = "TransVideoNotSupported";
  ExpectError(1205, "", [&] { SetUpSs(); });
  EXPECT_TRUE(Calls().back().starts_with("Init("));
  EXPECT_FALSE(std::filesystem::exists(mark_));
  TheScript().engine_error = "";
  ExpectError(1212, "ThrowVTEError", [&] { SetUpSs(); });
}

TEST_F(InitSs, LeavesItToTheEngineToSayWhyItHasNoStream) {
  TheScript().engine_id = "";
  TheScript().start_stream = false;
  TheScript().engine_error = "TransSapceNotEnough";
  ExpectError(1203, "", [&] { SetUpSs(); });
  EXPECT_TRUE(Calls().back().starts_with("Init(\"\", "));
}

}  // namespace
}  // namespace crvnkn::webapi::vte
