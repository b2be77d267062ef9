#include "library/vte/webm.h"

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
#include <cstdio>
#include <stdexcept>

#include "tests/fakes/scripted_test.h"
#include "tests/fakes/standard_output.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::Calls;
using kinora::fakes::StandardOutput;
using kinora::fakes::TheScript;

constexpr char kHeader[] =
    "Status: 200 OK\r\n"
    "Content-Type: video/webm\r\n"
    "Access-Control-Allow-Origin: *\r\n"
    "Access-Control-Allow-Methods: GET\r\n"
    "Access-Control-Allow-Headers: origin, x-requested-with, content-type, range\r\n"
    "\r\n";
constexpr char kReadLine[] = "vte/webm:# Failed to WEBM VTE - Read";
constexpr char kWriteLine[] = "vte/webm:# Failed to WEBM VTE - Write";
constexpr char kMade[] = R"(WebMStream("id"))";
constexpr char kRead[] = R"x(Read("id", 1024))x";

std::string Started(const std::string& seek_time) {
  return R"(Transcoding("id", "/var/packages/Kinora/target/bin/ffmpeg", )" + seek_time + ")";
}

// Bytes that no two pieces have alike, NULs among them.
std::string Body(size_t size) {
  std::string body;
  for (size_t i = 0; i < size; ++i) body.push_back(static_cast<char>(i * 7 + i / 251));
  return body;
}

class WebmTest : public kinora::fakes::ScriptedWorkspaceTest {
 protected:
  // The engine has these bytes and then comes to the end.
  static void Deliver(const std::string& body) {
    TheScript().read_body = [left = body](char* buffer, unsigned int size) mutable {
      const size_t count = std::min<size_t>(size, left.size());
      std::copy_n(left.data(), count, buffer);
      left.erase(0, count);
      return static_cast<int>(count);
    };
  }

  static long KilledTimes() { return std::count(Calls().begin(), Calls().end(), R"(KillMonitor("id"))"); }
};

TEST_F(WebmTest, WritesTheHeaderAndTheWholeBody) {
  const std::string body = Body(2500);
  Deliver(body);
  const StandardOutput output;
  EXPECT_TRUE(WEBM("id").Stream());
  EXPECT_EQ(output.Text(), kHeader + body);
  ExpectCalls({kMade, Started("0"), kRead, kRead, kRead, kRead});
  ExpectLog({kReadLine});  // at the normal end, too
}

TEST_F(WebmTest, ServesABodyThatIsEmpty) {
  const StandardOutput output;
  EXPECT_TRUE(WEBM("id").Stream());
  EXPECT_EQ(output.Text(), kHeader);
  ExpectLog({kReadLine});
}

TEST_F(WebmTest, CountsAsServedHoweverTheEngineFails) {
  TheScript().read_body = [](char*, unsigned int) { return -1; };
  const StandardOutput output;
  EXPECT_TRUE(WEBM("id").Stream());
  EXPECT_EQ(output.Text(), kHeader);
  EXPECT_EQ(KilledTimes(), 0);
  ExpectLog({kReadLine});
}

TEST_F(WebmTest, WritesNothingWhenTheEngineDoesNotStart) {
  TheScript().start_body = false;
  const StandardOutput output;
  EXPECT_FALSE(WEBM("id").Stream());
  EXPECT_EQ(output.Text(), "");
  ExpectCalls({kMade, Started("0")});
  ExpectLog({"vte/webm:# Failed to WEBM VTE - Transcoding [id]"});
}

TEST_F(WebmTest, HasSentTheHeaderBeforeItWaitsForTheBodyAndEachPieceBeforeTheNext) {
  const StandardOutput output;
  std::vector<std::string> sent;
  TheScript().read_body = [&](char* buffer, unsigned int) {
    sent.push_back(output.TextBeforeFlush());
    if (sent.size() == 3) return 0;
    *buffer = static_cast<char>('a' + sent.size());
    return 1;
  };
  EXPECT_TRUE(WEBM("id").Stream());
  EXPECT_EQ(sent,
            (std::vector<std::string>{kHeader, std::string(kHeader) + "b", std::string(kHeader) + "bc"}));
}

TEST_F(WebmTest, HandsTheEngineABufferWithoutWhatWasInItBefore) {
  bool clean = true;
  int reads = 0;
  TheScript().read_body = [&](char* buffer, unsigned int size) {
    clean = clean && std::all_of(buffer, buffer + size, [](char byte) { return byte == 0; });
    std::fill(buffer, buffer + size, 'x');
    return ++reads < 3 ? 7 : 0;
  };
  const StandardOutput output;
  EXPECT_TRUE(WEBM("id").Stream());
  EXPECT_TRUE(clean);
}

// Standard output as a socket of messages: what one write wrote is one message.
class Messages {
 public:
  Messages() : saved_(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    int pair[2];
    if (saved_ < 0 || socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0 ||
        dup2(pair[1], STDOUT_FILENO) < 0) {
      throw std::runtime_error("no socket");
    }
    close(pair[1]);
    reader_ = pair[0];
  }
  ~Messages() {
    Restore();
    HangUp();
  }
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;

  // Sizes of those that have arrived. Nothing is written afterwards.
  std::vector<size_t> Sizes() {
    Restore();
    std::vector<size_t> sizes;
    std::array<char, 65536> message;
    for (ssize_t size; (size = recv(reader_, message.data(), message.size(), 0)) > 0;) {
      sizes.push_back(static_cast<size_t>(size));
    }
    return sizes;
  }

  // Of the client.
  void HangUp() {
    if (reader_ >= 0) close(reader_);
    reader_ = -1;
  }

 private:
  void Restore() {
    if (saved_ < 0) return;
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    saved_ = -1;
  }

  int saved_;
  int reader_ = -1;
};

TEST_F(WebmTest, WritesEachPieceAtOnceAndNoneLargerThan1024Bytes) {
  Deliver(Body(2500));
  Messages output;
  EXPECT_TRUE(WEBM("id").Stream());
  const std::vector<size_t> sizes = output.Sizes();
  ASSERT_GE(sizes.size(), 3U);
  EXPECT_EQ(std::vector<size_t>(sizes.end() - 3, sizes.end()), (std::vector<size_t>{1024, 1024, 452}));
}

TEST_F(WebmTest, WritesAPieceAsShortAsItCame) {
  int reads = 0;
  TheScript().read_body = [&](char*, unsigned int) { return ++reads < 4 ? reads : 0; };
  Messages output;
  EXPECT_TRUE(WEBM("id").Stream());
  const std::vector<size_t> sizes = output.Sizes();
  ASSERT_GE(sizes.size(), 3U);
  EXPECT_EQ(std::vector<size_t>(sizes.end() - 3, sizes.end()), (std::vector<size_t>{1, 2, 3}));
}

// A client that goes away ends no process here: SIGPIPE is ignored, as whoever runs the library does it.
class WebmClientGone : public WebmTest {
 protected:
  WebmClientGone() : before_(std::signal(SIGPIPE, SIG_IGN)) {}
  ~WebmClientGone() override { std::signal(SIGPIPE, before_); }

 private:
  void (*before_)(int);
};

TEST_F(WebmClientGone, EndsTheEnginesWorkOnce) {
  Messages output;
  int reads = 0;
  TheScript().read_body = [&](char*, unsigned int size) {
    if (++reads == 3) output.HangUp();
    return static_cast<int>(size);
  };
  EXPECT_TRUE(WEBM("id").Stream());
  EXPECT_EQ(reads, 3);
  EXPECT_EQ(KilledTimes(), 1);
  EXPECT_EQ(Calls().back(), R"(KillMonitor("id"))");
  ExpectLog({kWriteLine});
}

// Where standard output is a file: it may take no more than a part of the second piece.
TEST_F(WebmClientGone, TakesAWriteCutShortForOne) {
  constexpr size_t kRoom = sizeof kHeader - 1 + 1500;
  const std::string body = Body(4096);
  Deliver(body);
  const StandardOutput output;
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit limited{kRoom, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
  const bool served = WEBM("id").Stream();
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  EXPECT_TRUE(served);
  EXPECT_EQ(output.Text(), kHeader + body.substr(0, 1500));
  EXPECT_EQ(KilledTimes(), 1);
  ExpectLog({kWriteLine});
}

struct SeekCase {
  unsigned long wanted;
  const char* used;
};

class WebmSeek : public WebmTest, public testing::WithParamInterface<SeekCase> {};

TEST_P(WebmSeek, IsTheSecondAtWhichTheEngineStarts) {
  const StandardOutput output;
  WEBM streamer("id");
  streamer.SetSeekTime(GetParam().wanted);
  EXPECT_TRUE(streamer.Stream());
  EXPECT_EQ(Calls()[1], Started(GetParam().used));
}

// Beyond what the engine's type holds comes the last second that it does, which lies behind any film.
INSTANTIATE_TEST_SUITE_P(Cases, WebmSeek,
                         testing::Values(SeekCase{0, "0"}, SeekCase{90, "90"},
                                         SeekCase{2'147'483'647, "2147483647"},
                                         SeekCase{2'147'483'648, "2147483647"},
                                         SeekCase{ULONG_MAX, "2147483647"}),
                         [](const auto& parameter) { return "At" + std::to_string(parameter.param.wanted); });

TEST_F(WebmTest, HasNoUseForTheOtherFields) {
  const StandardOutput output;
  WEBM streamer("id");
  streamer.SetFragmentID("1");
  streamer.SetPlaylistType("video");
  streamer.SetSubtitleID("7");
  EXPECT_TRUE(streamer.Stream());
  ExpectCalls({kMade, Started("0"), kRead});
}

TEST_F(WebmTest, MarksNothing) {
  PutStream("WEBM", "id");
  Deliver("body");
  const StandardOutput output;
  EXPECT_TRUE(WEBM("id").Stream());
  EXPECT_FALSE(std::filesystem::exists(WEBM("id").GetPathAccessStatus()));
}

TEST_F(WebmTest, KnowsItsPlaceInTheWorkspace) {
  const WEBM streamer("id");
  EXPECT_EQ(streamer.GetStreamTypeString(), "WEBM");
  EXPECT_EQ(streamer.GetPathAccessStatus(), "/tmp/Kinora/WEBM/id/access_status");
}

TEST_F(WebmTest, NeitherServesNorClosesWithoutAnId) {
  const StandardOutput output;
  EXPECT_FALSE(WEBM("").Stream());
  EXPECT_FALSE(WEBM("").Close());
  EXPECT_EQ(output.Text(), "");
  ExpectCalls({});
}

TEST_F(WebmTest, CloseEndsTheEnginesStreamAndRemovesNothingItself) {
  PutStream("WEBM", "id");
  EXPECT_TRUE(WEBM("id").Close());
  ExpectCalls({kMade, "Close(\"id\")"});
  EXPECT_TRUE(IsThere("WEBM", "id"));
  ExpectLog({});
}

TEST_F(WebmTest, CloseThatFailedIsLoggedAndCountsAsDone) {
  TheScript().close_stream = false;
  EXPECT_TRUE(WEBM("id").Close());
  ExpectLog({"vte/streamer:# VTE - Failed to close WEBM[id]"});
}

}  // namespace
}  // namespace crvnkn::webapi::vte
