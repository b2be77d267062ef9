#include "library/vte/streamer_dispatch.h"

#include "library/vte/hls.h"
#include "library/vte/raw.h"
#include "library/vte/ss.h"
#include "library/vte/webm.h"
#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi::vte {
namespace {

using StreamerDispatch = kinora::fakes::ScriptedWorkspaceTest;

TEST_F(StreamerDispatch, MakesARawStreamerWhateverTheCase) {
  for (const char* format : {"raw", "RAW", "Raw"}) {
    const std::unique_ptr<Streamer> streamer = GetStreamerAPI("id", format);
    ASSERT_NE(streamer, nullptr) << format;
    EXPECT_NE(dynamic_cast<RAW*>(streamer.get()), nullptr) << format;
    EXPECT_EQ(streamer->GetPathSourceFile(), "/tmp/Kinora/RAW/id/filepath");
  }
}

TEST_F(StreamerDispatch, MakesAnHlsStreamerForBothWaysOfHls) {
  for (const char* format : {"hls", "HLS", "hls_remux", "HLS_REMUX", "Hls_Remux"}) {
    const std::unique_ptr<Streamer> streamer = GetStreamerAPI("id", format);
    ASSERT_NE(streamer, nullptr) << format;
    EXPECT_NE(dynamic_cast<HLS*>(streamer.get()), nullptr) << format;
    EXPECT_EQ(streamer->GetPathAccessStatus(), "/tmp/Kinora/HLS/id/access_status");
  }
}

TEST_F(StreamerDispatch, MakesASmoothStreamerWhateverTheCase) {
  for (const char* format : {"ss", "SS", "Ss"}) {
    const std::unique_ptr<Streamer> streamer = GetStreamerAPI("id", format);
    ASSERT_NE(streamer, nullptr) << format;
    EXPECT_NE(dynamic_cast<SS*>(streamer.get()), nullptr) << format;
    EXPECT_EQ(streamer->GetPathAccessStatus(), "/tmp/Kinora/SS/id/access_status");
  }
}

// The name of the type is none of a format: "WEBM" alone matches nothing.
TEST_F(StreamerDispatch, MakesAWebmStreamerForItsFormatOnly) {
  for (const char* format : {"webm_remux", "WEBM_REMUX", "Webm_Remux"}) {
    const std::unique_ptr<Streamer> streamer = GetStreamerAPI("id", format);
    ASSERT_NE(streamer, nullptr) << format;
    EXPECT_NE(dynamic_cast<WEBM*>(streamer.get()), nullptr) << format;
    EXPECT_EQ(streamer->GetPathAccessStatus(), "/tmp/Kinora/WEBM/id/access_status");
  }
}

TEST_F(StreamerDispatch, MakesNothingForAnUnknownFormat) {
  for (const std::string& format :
       {std::string(), std::string("webm"), std::string("WEBM"), std::string("mp4"), std::string("direct"),
        std::string("raw "), std::string(" raw"), std::string("ra"), std::string("raw\0", 4),
        std::string("raw,hls"), std::string("hls remux"), std::string("hls_"), std::string("hls\0", 4),
        std::string("s"), std::string("sss"), std::string("ss_remux"), std::string("ss\0", 3)}) {
    EXPECT_EQ(GetStreamerAPI("id", format), nullptr) << format;
  }
  ExpectLog({});
}

TEST_F(StreamerDispatch, CloseRefusesAnEmptyParameter) {
  EXPECT_FALSE(CloseHandler("", "raw"));
  EXPECT_FALSE(CloseHandler("id", ""));
  EXPECT_FALSE(CloseHandler("", ""));
  ExpectLog({"vte/stream_initer:# Bad parameter", "vte/stream_initer:# Bad parameter",
             "vte/stream_initer:# Bad parameter"});
}

TEST_F(StreamerDispatch, CloseNamesTheFormatThatIsUnknown) {
  EXPECT_FALSE(CloseHandler("id", "mp4"));
  ExpectLog({"vte/stream_initer:# Bad format for webapi [format = mp4]"});
}

TEST_F(StreamerDispatch, CloseRemovesTheStream) {
  const auto folder = PutStream("RAW", "id");
  EXPECT_TRUE(CloseHandler("id", "raw"));
  EXPECT_FALSE(IsThere("RAW", "id"));
  EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(StreamerDispatch, CloseOfAnHlsStreamIsTheEngines) {
  EXPECT_TRUE(CloseHandler("id", "hls_remux"));
  EXPECT_TRUE(CloseHandler("id", "HLS"));
  ExpectCalls({"HttpLiveStream(\"id\")", "Close(\"id\")", "HttpLiveStream(\"id\")", "Close(\"id\")"});
}

TEST_F(StreamerDispatch, CloseOfASmoothStreamIsTheEngines) {
  EXPECT_TRUE(CloseHandler("id", "ss"));
  EXPECT_TRUE(CloseHandler("id", "SS"));
  ExpectCalls({"SmoothStream(\"id\")", "Close(\"id\")", "SmoothStream(\"id\")", "Close(\"id\")"});
}

TEST_F(StreamerDispatch, CloseOfAWebmStreamIsTheEngines) {
  EXPECT_TRUE(CloseHandler("id", "webm_remux"));
  ExpectCalls({"WebMStream(\"id\")", "Close(\"id\")"});
}

TEST_F(StreamerDispatch, CloseSucceedsAgainWhenTheStreamIsGone) {
  PutStream("RAW", "id");
  EXPECT_TRUE(CloseHandler("id", "raw"));
  EXPECT_TRUE(CloseHandler("id", "raw"));
  EXPECT_TRUE(CloseHandler("never there", "RAW"));
  ExpectLog({});
}

}  // namespace
}  // namespace crvnkn::webapi::vte
