// What the adaptive streamers share, seen through HLS.
#include "library/vte/adapt_streamer.h"

#include "library/vte/hls.h"
#include "tests/fakes/scripted_test.h"
#include "tests/fakes/standard_output.h"

namespace fs = std::filesystem;

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::StandardOutput;
using kinora::fakes::TheScript;

constexpr char kCrossOrigin[] =
    "Access-Control-Allow-Origin: *\r\n"
    "Access-Control-Allow-Methods: GET\r\n"
    "Access-Control-Allow-Headers: origin, x-requested-with, content-type, range\r\n";

class AdaptStreamerTest : public kinora::fakes::ScriptedWorkspaceTest {
 protected:
  void SetUp() override {
    ScriptedWorkspaceTest::SetUp();
    PutStream("HLS", "id");
    TheScript().manifest_path = "/w/index.m3u8";
    TheScript().fragment_path = "/w/12.ts";
  }

  // What a request writes to standard output.
  std::string Stream(const std::string& fragment_id, bool success) {
    const StandardOutput output;
    HLS streamer("id");
    streamer.SetFragmentID(fragment_id);
    EXPECT_EQ(streamer.Stream(), success);
    return output.Text();
  }

  const fs::path mark_ = workspace_ / "HLS/id/access_status";
};

TEST_F(AdaptStreamerTest, ServesTheManifestToARequestWithoutAFragment) {
  EXPECT_EQ(Stream("", true), std::string(kCrossOrigin) + "BODY");
  ExpectCalls({"HttpLiveStream(\"id\")", "GetMainfest(\"id\", \"\", \"\")",
               "Output(\"/w/index.m3u8\", \"application/x-mpegURL\")"});
  ExpectLog({});
}

TEST_F(AdaptStreamerTest, ManifestMarksNothing) {
  Stream("", true);
  EXPECT_FALSE(fs::exists(mark_));
  PutMark("HLS", "id", std::chrono::seconds(50));
  const auto before = fs::last_write_time(mark_);
  Stream("", true);
  EXPECT_EQ(fs::last_write_time(mark_), before);
}

TEST_F(AdaptStreamerTest, WritesNothingWhenThereIsNoManifest) {
  TheScript().manifest_path = "";
  EXPECT_EQ(Stream("", false), "");
  ExpectCalls({"HttpLiveStream(\"id\")", "GetMainfest(\"id\", \"\", \"\")"});
  ExpectLog({});
}

TEST_F(AdaptStreamerTest, FailsNamingTheManifestWhoseOutputFails) {
  TheScript().output_file = false;
  TheScript().output = "";
  EXPECT_EQ(Stream("", false), kCrossOrigin);
  ExpectLog({"vte/adapt_streamer:# VTE - Failed to stream out OutputManifest HLS[/w/index.m3u8]"});
}

TEST_F(AdaptStreamerTest, ServesAFragment) {
  EXPECT_EQ(Stream("12", true), std::string(kCrossOrigin) + "BODY");
  ExpectCalls({"HttpLiveStream(\"id\")", "Transcoding(\"id\", \"12\")", "GetFragmentPath(\"id\", \"12\")",
               "Output(\"/w/12.ts\", \"video/MP2T\")"});
  ExpectLog({});
}

TEST_F(AdaptStreamerTest, MarksTheStreamBeforeAndAfterTheFragmentIsMade) {
  bool marked_before = false;
  TheScript().make_fragment = [&] {
    marked_before = Content(mark_) == "touch";
    fs::remove(mark_);  // so that the second mark can be seen
    return true;
  };
  Stream("12", true);
  EXPECT_TRUE(marked_before);
  EXPECT_EQ(Content(mark_), "touch");
}

TEST_F(AdaptStreamerTest, SecondMarkComesBeforeTheOutput) {
  TheScript().fragment_path = "";
  TheScript().make_fragment = [&] { return fs::remove(mark_); };
  Stream("12", false);
  EXPECT_EQ(Content(mark_), "touch");
}

TEST_F(AdaptStreamerTest, MarksTheStreamOnceWhenTheFragmentCannotBeMade) {
  bool marked_before = false;
  TheScript().make_fragment = [&] {
    marked_before = fs::remove(mark_);
    return false;
  };
  EXPECT_EQ(Stream("12", false), kCrossOrigin);
  EXPECT_TRUE(marked_before);
  EXPECT_FALSE(fs::exists(mark_));
  ExpectCalls({"HttpLiveStream(\"id\")", "Transcoding(\"id\", \"12\")"});
  ExpectLog({"vte/adapt_streamer:# Failed to hls transcoding"});
}

TEST_F(AdaptStreamerTest, HasSentTheCrossOriginLinesWhenTheFragmentIsBeingMade) {
  const StandardOutput output;
  std::string sent;
  TheScript().make_fragment = [&] {
    sent = output.TextBeforeFlush();
    return false;
  };
  HLS streamer("id");
  streamer.SetFragmentID("12");
  EXPECT_FALSE(streamer.Stream());
  EXPECT_EQ(sent, kCrossOrigin);
}

TEST_F(AdaptStreamerTest, FailsWithoutAWordWhenAMadeFragmentIsNotThere) {
  TheScript().fragment_path = "";
  EXPECT_EQ(Stream("12", false), kCrossOrigin);
  ExpectCalls({"HttpLiveStream(\"id\")", "Transcoding(\"id\", \"12\")", "GetFragmentPath(\"id\", \"12\")"});
  ExpectLog({});
}

TEST_F(AdaptStreamerTest, FailsWithoutAWordWhenAFragmentsOutputFails) {
  TheScript().output_file = false;
  TheScript().output = "";
  EXPECT_EQ(Stream("12", false), kCrossOrigin);
  ExpectLog({});
}

TEST_F(AdaptStreamerTest, GoesOnWhenTheStreamCannotBeMarked) {
  fs::create_directories(mark_);
  EXPECT_EQ(Stream("12", true), std::string(kCrossOrigin) + "BODY");
  ExpectLog({});
}

TEST_F(AdaptStreamerTest, GivesTheEngineTheFragmentsIdAsItIs) {
  Stream("../../etc/passwd\n\xFF", true);
  EXPECT_EQ(kinora::fakes::Calls()[1], "Transcoding(\"id\", \"../../etc/passwd\n\xFF\")");
}

}  // namespace
}  // namespace crvnkn::webapi::vte
