#include <fcntl.h>
#include <sys/stat.h>

#include "tests/fakes/scripted_test.h"
#include "tests/fakes/system_log.h"

namespace fs = std::filesystem;

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::TheScript;
using std::chrono::seconds;

class StaleStreams : public kinora::fakes::ScriptedWorkspaceTest {
 protected:
  StaleStreams() : initer_(Request("/v/film.mp4", "raw")) {}

  // Sweeps a stream whose mark has exactly this age; again with another one when the clock moved on
  // meanwhile.
  bool SurvivesAt(seconds age) {
    for (int attempt = 0;; ++attempt) {
      const std::string id = "stream" + std::to_string(attempt);
      const time_t now = time(nullptr);
      PutStream("RAW", id);
      PutMark("RAW", id, age);
      EXPECT_TRUE(initer_.RemoveTimeoutDir("RAW"));
      if (time(nullptr) == now) return IsThere("RAW", id);
    }
  }

  StreamIniter initer_;
};

TEST_F(StaleStreams, KeepsAStreamUsed60SecondsAgo) { EXPECT_TRUE(SurvivesAt(seconds(60))); }
TEST_F(StaleStreams, ClosesAStreamUsed61SecondsAgo) { EXPECT_FALSE(SurvivesAt(seconds(61))); }
TEST_F(StaleStreams, KeepsAStreamThatIsInUse) { EXPECT_TRUE(SurvivesAt(seconds(0))); }
TEST_F(StaleStreams, KeepsAStreamUsedInTheFuture) { EXPECT_TRUE(SurvivesAt(seconds(-315'360'000))); }
TEST_F(StaleStreams, ClosesAStreamUsedTenYearsAgo) { EXPECT_FALSE(SurvivesAt(seconds(315'360'000))); }
// The age is a signed 32-bit number of seconds.
TEST_F(StaleStreams, KeepsAStreamWhoseAgeIsBeyond32Bits) { EXPECT_TRUE(SurvivesAt(seconds(2'147'483'648))); }

TEST_F(StaleStreams, ClosesByRemovingTheFolderAndTheLink) {
  const fs::path folder = PutStream("RAW", "stale");
  PutFile(folder / "filepath", "/v/film.mp4");
  PutMark("RAW", "stale", seconds(61));
  EXPECT_TRUE(initer_.RemoveTimeoutDir("RAW"));
  EXPECT_FALSE(fs::exists(folder));
  EXPECT_FALSE(IsThere("RAW", "stale"));
  ExpectLog({});
}

TEST_F(StaleStreams, NeverClosesAStreamWithoutAMark) {
  const fs::path folder = PutStream("RAW", "unmarked");
  const timespec long_ago[] = {{1000, 0}, {1000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, folder.c_str(), long_ago, 0), 0);
  EXPECT_TRUE(initer_.RemoveTimeoutDir("RAW"));
  EXPECT_TRUE(IsThere("RAW", "unmarked"));
}

TEST_F(StaleStreams, SkipsWhatIsNoStream) {
  fs::create_directories(workspace_ / "RAW");
  PutFile(workspace_ / "RAW" / "a file", "");
  fs::create_directory_symlink(volume_ / "gone", workspace_ / "RAW" / "dangling");
  EXPECT_TRUE(initer_.RemoveTimeoutDir("RAW"));
  EXPECT_TRUE(fs::exists(workspace_ / "RAW" / "a file"));
  EXPECT_TRUE(IsThere("RAW", "dangling"));
  ExpectLog({});
}

TEST_F(StaleStreams, RemovesNothingBehindAFolderThatIsNoLink) {
  fs::create_directories(workspace_ / "RAW" / "folder");
  PutMark("RAW", "folder", seconds(61));
  EXPECT_TRUE(initer_.RemoveTimeoutDir("RAW"));
  EXPECT_TRUE(fs::exists(workspace_ / "RAW" / "folder" / "access_status"));
}

TEST_F(StaleStreams, GoesOnWhenAStreamCannotBeRemoved) {
  for (const char* id : {"a", "b", "c"}) {
    PutStream("RAW", id);
    PutMark("RAW", id, seconds(61));
  }
  TheScript().execute = [](const std::vector<std::string>&) { return -1; };
  EXPECT_TRUE(initer_.RemoveTimeoutDir("RAW"));
  for (const char* id : {"a", "b", "c"}) EXPECT_FALSE(IsThere("RAW", id));
}

TEST_F(StaleStreams, TakesAMissingFolderForAnEmptyOne) {
  EXPECT_TRUE(initer_.RemoveTimeoutDir("SS"));
  ExpectLog({});
}

TEST_F(StaleStreams, RefusesAnEmptyType) {
  EXPECT_FALSE(initer_.RemoveTimeoutDir(""));
  ExpectLog({"vte/stream_initer:# Bad parameter"});
}

TEST_F(StaleStreams, OnlyLogsForAStaleWebmStreamAndGoesOn) {
  for (const char* id : {"one", "two"}) {
    PutStream("WEBM", id);
    PutMark("WEBM", id, seconds(61));
  }
  EXPECT_TRUE(initer_.RemoveTimeoutDir("WEBM"));
  EXPECT_TRUE(IsThere("WEBM", "one"));
  EXPECT_TRUE(IsThere("WEBM", "two"));
  ExpectLog({"vte/stream_initer:# Bad format for webapi [format = WEBM]",
             "vte/stream_initer:# Bad format for webapi [format = WEBM]"});
}

TEST_F(StaleStreams, LeavesTheRemovalOfAnHlsStreamToTheEngine) {
  for (const char* id : {"fresh", "stale"}) PutStream("HLS", id);
  PutMark("HLS", "fresh", seconds(0));
  PutMark("HLS", "stale", seconds(61));
  EXPECT_TRUE(initer_.RemoveTimeoutDir("HLS"));
  ExpectCalls({"LoadFile(\"/v/film.mp4\")", "HttpLiveStream(\"stale\")", "Close(\"stale\")"});
  ExpectLog({});
}

TEST_F(StaleStreams, LeavesTheRemovalOfASmoothStreamToTheEngine) {
  for (const char* id : {"fresh", "stale"}) PutStream("SS", id);
  PutMark("SS", "fresh", seconds(0));
  PutMark("SS", "stale", seconds(61));
  EXPECT_TRUE(initer_.RemoveTimeoutDir("SS"));
  ExpectCalls({"LoadFile(\"/v/film.mp4\")", "SmoothStream(\"stale\")", "Close(\"stale\")"});
  ExpectLog({});
}

TEST_F(StaleStreams, GoesOnWhenTheEngineCannotCloseAStream) {
  for (const char* id : {"one", "two"}) {
    PutStream("HLS", id);
    PutMark("HLS", id, seconds(61));
  }
  TheScript().close_stream = false;
  EXPECT_TRUE(initer_.RemoveTimeoutDir("HLS"));
  EXPECT_EQ(kinora::fakes::LogLines().size(), 2U);
}

TEST_F(StaleStreams, EngineSweepTakesEveryTypeOfTheEngine) {
  for (const char* type : {"WEBM", "SS", "HLS"}) {
    PutStream(type, "stale");
    PutMark(type, "stale", seconds(61));
  }
  TheScript().close_stream = false;  // so that the order shows in the log
  initer_.RemoveTimeoutVTEDir();
  ExpectLog({"vte/streamer:# VTE - Failed to close HLS[stale]",
             "vte/streamer:# VTE - Failed to close SS[stale]",
             "vte/stream_initer:# Bad format for webapi [format = WEBM]"});
}

TEST_F(StaleStreams, EngineSweepLeavesRawStreamsAlone) {
  PutStream("RAW", "stale");
  PutMark("RAW", "stale", seconds(61));
  initer_.RemoveTimeoutVTEDir();
  EXPECT_TRUE(IsThere("RAW", "stale"));
  ExpectLog({});
}

TEST_F(StaleStreams, OfTwentyAbandonedOnesTheNextOpenClosesThoseWithAnOldMark) {
  for (int i = 0; i < 20; ++i) {
    TheScript().stream_id = "stream" + std::to_string(i);
    Open("/v/film.mp4", "raw");
  }
  for (int i = 0; i < 12; ++i) {
    PutMark("RAW", "stream" + std::to_string(i), i < 8 ? seconds(61 + i) : seconds(5));
  }
  TheScript().stream_id = "last";
  Open("/v/film.mp4", "raw");
  for (int i = 0; i < 20; ++i) {
    const std::string id = "stream" + std::to_string(i);
    EXPECT_EQ(IsThere("RAW", id), i >= 8) << id;
    EXPECT_EQ(fs::exists(volume_ / ("RAW-" + id)), i >= 8) << id;
  }
  EXPECT_TRUE(IsThere("RAW", "last"));
}

}  // namespace
}  // namespace crvnkn::webapi::vte
