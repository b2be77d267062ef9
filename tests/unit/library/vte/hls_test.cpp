#include "library/vte/hls.h"

#include "tests/fakes/scripted_test.h"
#include "tests/fakes/standard_output.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::StandardOutput;
using kinora::fakes::TheScript;
using HlsTest = kinora::fakes::ScriptedWorkspaceTest;

TEST_F(HlsTest, ChoosesTheManifestByPlaylistAndSubtitle) {
  TheScript().manifest_path = "/w/subtitle.m3u8";
  const StandardOutput output;
  HLS streamer("id");
  streamer.SetPlaylistType("subtitle");
  streamer.SetSubtitleID("7");
  EXPECT_TRUE(streamer.Stream());
  ExpectCalls({"HttpLiveStream(\"id\")", "GetMainfest(\"id\", \"subtitle\", \"7\")",
               "Output(\"/w/subtitle.m3u8\", \"application/x-mpegURL\")"});
}

TEST_F(HlsTest, ServesTheFragmentWhateverPlaylistIsNamedBesideIt) {
  TheScript().fragment_path = "/w/12.ts";
  PutStream("HLS", "id");
  const StandardOutput output;
  HLS streamer("id");
  streamer.SetFragmentID("12");
  streamer.SetPlaylistType("video");
  streamer.SetSubtitleID("7");
  streamer.SetSeekTime(90);
  EXPECT_TRUE(streamer.Stream());
  EXPECT_EQ(kinora::fakes::Calls().back(), "Output(\"/w/12.ts\", \"video/MP2T\")");
}

TEST_F(HlsTest, KnowsItsPlaceInTheWorkspace) {
  const HLS streamer("id");
  EXPECT_EQ(streamer.GetStreamTypeString(), "HLS");
  EXPECT_EQ(streamer.GetPathAccessStatus(), "/tmp/Kinora/HLS/id/access_status");
}

TEST_F(HlsTest, NeitherServesNorClosesWithoutAnId) {
  TheScript().manifest_path = "/w/index.m3u8";
  const StandardOutput output;
  EXPECT_FALSE(HLS("").Stream());
  EXPECT_FALSE(HLS("").Close());
  EXPECT_EQ(output.Text(), "");
  ExpectCalls({"HttpLiveStream(\"\")", "HttpLiveStream(\"\")"});
}

TEST_F(HlsTest, CloseEndsTheEnginesStreamAndRemovesNothingItself) {
  PutStream("HLS", "id");
  EXPECT_TRUE(HLS("id").Close());
  ExpectCalls({"HttpLiveStream(\"id\")", "Close(\"id\")"});
  EXPECT_TRUE(IsThere("HLS", "id"));
  ExpectLog({});
}

TEST_F(HlsTest, CloseThatFailedIsLoggedAndCountsAsDone) {
  TheScript().close_stream = false;
  EXPECT_TRUE(HLS("id").Close());
  ExpectLog({"vte/streamer:# VTE - Failed to close HLS[id]"});
}

}  // namespace
}  // namespace crvnkn::webapi::vte
