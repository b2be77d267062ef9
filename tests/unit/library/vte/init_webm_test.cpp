#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::Calls;
using kinora::fakes::TheScript;
using std::chrono::seconds;

constexpr char kFilm[] = "/v/film.mkv";
constexpr char kProfileQuestion[] =
    R"x(DetermineTransProfile("WEBM", "/v/film.mkv", "low", true, 3840, 1600, "vp9"))x";

class InitWebm : public kinora::fakes::ScriptedWorkspaceTest {
 protected:
  // Brings neither an address to be called back nor a session.
  InitWebm() {
    request_ = Request(kFilm, "webm_remux");
    request_.profile = "low";
    TheScript().video_codec = "vp9";
    TheScript().resolution_x = 3840;
    TheScript().resolution_y = 1600;
    TheScript().file_size = 5'000'000'000;
    TheScript().trans_profile = "webm_low";
  }

  // The set-up's id; the journal then holds its calls alone.
  std::string SetUpWebm() {
    StreamIniter initer(request_);
    Calls().clear();
    return initer.InitWEBM();
  }

  void PutStale(const std::string& type) {
    PutStream(type, "stale");
    PutMark(type, "stale", seconds(3600));
  }

  OpenArgument request_;
};

TEST_F(InitWebm, LetsTheEnginePlanTheStreamAndStartsNothing) {
  request_.audio_track = "2";
  request_.audio_format = "mp3";  // a matter of HLS
  request_.client = "chromecast";
  request_.engine_flag = 0;
  EXPECT_EQ(SetUpWebm(), "enginestream");
  ExpectCalls({kProfileQuestion,
               R"x(VTE_Init("/v/film.mkv", "WEBM", "/var/packages/Kinora/target/etc/TransProfile", )x"
               R"x("webm_low", null, "", 0, true))x",
               "WebMStream(\"enginestream\")", R"x(Init("enginestream", "2"))x"});
  ExpectLog({});
}

TEST_F(InitWebm, PutsNoMarkOnTheStream) {
  PutStream("WEBM", "enginestream");
  SetUpWebm();
  EXPECT_FALSE(std::filesystem::exists(workspace_ / "WEBM/enginestream/access_status"));
}

TEST_F(InitWebm, SweepsTheEnginesStaleStreamsBeforeItAsksForAProfile) {
  for (const char* type : {"WEBM", "SS", "HLS", "RAW"}) PutStale(type);
  SetUpWebm();
  ASSERT_GE(Calls().size(), 5U);
  EXPECT_EQ(Calls()[0], "HttpLiveStream(\"stale\")");
  EXPECT_EQ(Calls()[1], "Close(\"stale\")");
  EXPECT_EQ(Calls()[2], "SmoothStream(\"stale\")");
  EXPECT_EQ(Calls()[3], "Close(\"stale\")");
  EXPECT_EQ(Calls()[4], kProfileQuestion);
  EXPECT_TRUE(IsThere("RAW", "stale"));
  EXPECT_TRUE(IsThere("WEBM", "stale"));
  ExpectLog({"vte/stream_initer:# Bad format for webapi [format = WEBM]"});
}

TEST_F(InitWebm, SweepsEvenWhenNoProfileFits) {
  PutStale("SS");
  TheScript().trans_profile = "";
  ExpectError(1212, "failed to determine profile", [&] { SetUpWebm(); });
  ExpectCalls({"SmoothStream(\"stale\")", "Close(\"stale\")", kProfileQuestion});
}

TEST_F(InitWebm, SaysWhyTheEngineRefuses) {
  TheScript().start_stream = false;
  TheScript().engine_error = "TransAudioNotSupported";
  ExpectError(1204, "", [&] { SetUpWebm(); });
  TheScript().engine_error = "";
  ExpectError(1212, "ThrowVTEError", [&] { SetUpWebm(); });
}

TEST_F(InitWebm, LeavesItToTheEngineToSayWhyItHasNoStream) {
  TheScript().engine_id = "";
  TheScript().start_stream = false;
  TheScript().engine_error = "TransSapceNotEnough";
  ExpectError(1203, "", [&] { SetUpWebm(); });
  EXPECT_EQ(Calls().back(), R"x(Init("", ""))x");
}

}  // namespace
}  // namespace crvnkn::webapi::vte
