#include "library/vte/ss.h"

#include "tests/fakes/scripted_test.h"
#include "tests/fakes/standard_output.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::StandardOutput;
using kinora::fakes::TheScript;

constexpr char kChunk[] = "QualityLevels(1500000)/Fragments(video=20000000)";
constexpr char kCrossOrigin[] =
    "Access-Control-Allow-Origin: *\r\n"
    "Access-Control-Allow-Methods: GET\r\n"
    "Access-Control-Allow-Headers: origin, x-requested-with, content-type, range\r\n";

class SsTest : public kinora::fakes::ScriptedWorkspaceTest {
 protected:
  void SetUp() override {
    ScriptedWorkspaceTest::SetUp();
    PutStream("SS", "id");
    TheScript().manifest_path = "/w/Manifest";
    TheScript().fragment_path = "/w/video.mp4";
  }

  const std::filesystem::path mark_ = workspace_ / "SS/id/access_status";
};

TEST_F(SsTest, ServesItsOnlyManifestWhateverPlaylistIsNamed) {
  const StandardOutput output;
  SS streamer("id");
  streamer.SetPlaylistType("subtitle");
  streamer.SetSubtitleID("7");
  streamer.SetSeekTime(90);
  EXPECT_TRUE(streamer.Stream());
  EXPECT_EQ(output.Text(), std::string(kCrossOrigin) + "BODY");
  ExpectCalls({"SmoothStream(\"id\")", "GetMainfest(\"id\")", "Output(\"/w/Manifest\", \"text/xml\")"});
  EXPECT_FALSE(std::filesystem::exists(mark_));
  ExpectLog({});
}

TEST_F(SsTest, WritesNothingWhenThereIsNoManifest) {
  TheScript().manifest_path = "";
  const StandardOutput output;
  EXPECT_FALSE(SS("id").Stream());
  EXPECT_EQ(output.Text(), "");
  ExpectLog({});
}

TEST_F(SsTest, FailsNamingTheManifestWhoseOutputFails) {
  TheScript().output_file = false;
  const StandardOutput output;
  EXPECT_FALSE(SS("id").Stream());
  ExpectLog({"vte/adapt_streamer:# VTE - Failed to stream out OutputManifest SS[/w/Manifest]"});
}

TEST_F(SsTest, ServesAChunkAndMarksTheStream) {
  const StandardOutput output;
  SS streamer("id");
  streamer.SetFragmentID(kChunk);
  streamer.SetPlaylistType("video");
  EXPECT_TRUE(streamer.Stream());
  EXPECT_EQ(output.Text(), std::string(kCrossOrigin) + "BODY");
  ExpectCalls({"SmoothStream(\"id\")", std::string("Transcoding(\"id\", \"") + kChunk + "\")",
               std::string("GetFragmentPath(\"id\", \"") + kChunk + "\")",
               "Output(\"/w/video.mp4\", \"video/mp4\")"});
  EXPECT_EQ(Content(mark_), "touch");
  ExpectLog({});
}

TEST_F(SsTest, FailsAfterTheCrossOriginLinesWhenAChunkCannotBeMade) {
  TheScript().make_fragment = [&] { return !std::filesystem::remove(mark_); };  // the first mark
  const StandardOutput output;
  SS streamer("id");
  streamer.SetFragmentID(kChunk);
  EXPECT_FALSE(streamer.Stream());
  EXPECT_EQ(output.Text(), kCrossOrigin);
  EXPECT_FALSE(std::filesystem::exists(mark_));
  // The same words as for HLS.
  ExpectLog({"vte/adapt_streamer:# Failed to hls transcoding"});
}

TEST_F(SsTest, KnowsItsPlaceInTheWorkspace) {
  const SS streamer("id");
  EXPECT_EQ(streamer.GetStreamTypeString(), "SS");
  EXPECT_EQ(streamer.GetPathAccessStatus(), "/tmp/Kinora/SS/id/access_status");
}

TEST_F(SsTest, NeitherServesNorClosesWithoutAnId) {
  const StandardOutput output;
  EXPECT_FALSE(SS("").Stream());
  EXPECT_FALSE(SS("").Close());
  EXPECT_EQ(output.Text(), "");
  ExpectCalls({"SmoothStream(\"\")", "SmoothStream(\"\")"});
}

TEST_F(SsTest, CloseEndsTheEnginesStreamAndRemovesNothingItself) {
  EXPECT_TRUE(SS("id").Close());
  ExpectCalls({"SmoothStream(\"id\")", "Close(\"id\")"});
  EXPECT_TRUE(IsThere("SS", "id"));
  ExpectLog({});
}

TEST_F(SsTest, CloseThatFailedIsLoggedAndCountsAsDone) {
  TheScript().close_stream = false;
  EXPECT_TRUE(SS("id").Close());
  ExpectLog({"vte/streamer:# VTE - Failed to close SS[id]"});
}

}  // namespace
}  // namespace crvnkn::webapi::vte
