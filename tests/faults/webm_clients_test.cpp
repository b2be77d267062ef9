// Viewers of live WebM who vanish, pause, come all at once, and request processes and encoders that die under
// them.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <thread>

#include "tests/faults/long_film.h"
#include "tests/http/viewer.h"

using namespace kinora::test;

namespace {

constexpr char kFilm[] = "bulky.mkv";          // 150 seconds, more than all buffers on the way hold
constexpr char kMagic[] = "\x1A\x45\xDF\xA3";  // of EBML

std::vector<pid_t> Encoders(const House& house) { return EncodersIn(house.Share()); }

// The listener's request processes.
std::vector<pid_t> Requests(const House& house) {
  const std::vector<pid_t> listeners = DescendantsLike(house.Pid(), "entry.cgi");
  return listeners.empty() ? listeners : Descendants(listeners[0]);
}

bool NothingIsLeft(const House& house) {
  return Eventually([&] { return Encoders(house).empty() && Requests(house).empty(); });
}

void Ask(Connection& connection, const Viewer& viewer, const ViewedStream& stream, int seek = 0) {
  connection.Send(Wire({"Stream",
                        "stream",
                        {{"id", stream.id}, {"format", stream.format}, {"seek", std::to_string(seek)}},
                        "GET",
                        viewer.Who().sid}));
}

// Ticks of processor time of the process; -1: it is gone.
int64_t TicksOf(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  if (!std::getline(file, line)) return -1;
  std::istringstream fields(line.substr(line.rfind(')') + 1));
  std::string skipped;
  for (int n = 3; n <= 13; ++n) fields >> skipped;
  int64_t user = 0;
  int64_t kernel = 0;
  fields >> user >> kernel;
  return user + kernel;
}

int64_t TicksOf(const std::vector<pid_t>& pids) {
  int64_t sum = 0;
  for (const pid_t pid : pids) sum += TicksOf(pid);
  return sum;
}

class WebmClients : public testing::Test {
 protected:
  explicit WebmClients(const std::string& settings = "") : house_({kFilm}, settings) {}

  void ExpectToPlay(const ViewedStream& stream) const {
    const Reply reply = Persist([&] { return ann_.Get(ann_.Address(stream, {{"seek", "140"}})); });
    EXPECT_EQ(reply.status, 200);
    EXPECT_TRUE(reply.body.starts_with(kMagic));
  }

  const House house_;
  const Viewer ann_{house_, house_.SignIn("ann")};
};

class WebmClientsOfFewJobs : public WebmClients {
 protected:
  WebmClientsOfFewJobs() : WebmClients("jobs=\"2\"\n") {}
};

}  // namespace

// Some leave before there is an answer, others with a part of it.
TEST_F(WebmClients, ThatVanishLeaveNothing) {
  const ViewedStream streams[] = {ann_.Open(kFilm, "webm_remux"), ann_.Open(kFilm, "webm_remux")};
  std::minstd_rand random(7);
  const int clients = IsLong() ? 200 : 30;
  for (int i = 0; i < clients; ++i) {
    Connection client(house_.Port());
    Ask(client, ann_, streams[i % 2], static_cast<int>(random() % 149));
    if (i % 3 == 0) client.ReadAtLeast(1 + random() % 200'000);
    client.Abort();
  }
  EXPECT_TRUE(NothingIsLeft(house_)) << house_.Log();
  EXPECT_EQ(CountStreams("WEBM"), 2U);
  for (const ViewedStream& stream : streams) {
    ExpectToPlay(stream);
    EXPECT_EQ(CodeOf(ann_.Close(stream)), 0);
  }
}

TEST_F(WebmClients, ThatPauseHoldNoProcessor) {
  const ViewedStream stream = ann_.Open(kFilm, "webm_remux");
  Connection paused(house_.Port());
  Ask(paused, ann_, stream);
  EXPECT_NE(paused.ReadAtLeast(20'000).find(kMagic), std::string::npos);
  std::vector<pid_t> at_work = Encoders(house_);
  ASSERT_EQ(at_work.size(), 1U);
  const std::vector<pid_t> requests = Requests(house_);
  at_work.insert(at_work.end(), requests.begin(), requests.end());
  // Half a second without a tick.
  int still = 0;
  int64_t last = -1;
  EXPECT_TRUE(Eventually([&] {
    const int64_t ticks = TicksOf(at_work);
    still = ticks == last ? still + 1 : 0;
    last = ticks;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return still > 50;
  }));
  EXPECT_EQ(Encoders(house_).size(), 1U) << "it waits, and has not come to the film's end";
  paused.ReadReply();
  EXPECT_TRUE(NothingIsLeft(house_));
}

TEST_F(WebmClients, ThatSeekHaveOneEncoder) {
  const ViewedStream stream = ann_.Open(kFilm, "webm_remux");
  std::vector<std::unique_ptr<Connection>> requests;
  for (const int seek : {0, 100, 20, 60}) {
    requests.push_back(std::make_unique<Connection>(house_.Port()));
    Ask(*requests.back(), ann_, stream, seek);
    EXPECT_NE(requests.back()->ReadAtLeast(10'000).find(kMagic), std::string::npos) << seek;
    EXPECT_EQ(Encoders(house_).size(), 1U) << seek;
  }
  requests.clear();
  EXPECT_TRUE(NothingIsLeft(house_));
}

TEST_F(WebmClients, WhoseRequestProcessesOrEncodersAreKilledAskAgain) {
  const ViewedStream stream = ann_.Open(kFilm, "webm_remux");
  std::minstd_rand random(20);
  const int rounds = IsLong() ? 100 : 12;
  int deaths = 0;
  for (int i = 0; i < rounds; ++i) {
    Connection client(house_.Port());
    Ask(client, ann_, stream, static_cast<int>(random() % 100));
    if (i % 4 != 0) client.ReadAtLeast(1 + random() % 300'000);
    const std::vector<pid_t> victims = i % 2 == 0 ? Requests(house_) : Encoders(house_);
    for (const pid_t victim : victims) deaths += kill(victim, SIGKILL) == 0 ? 1 : 0;
    if (i % 4 != 0) client.ReadReply();  // to its end, which comes
    client.Abort();
    ASSERT_TRUE(NothingIsLeft(house_)) << i << house_.Log();
  }
  EXPECT_GE(deaths, rounds / 2);
  ExpectToPlay(stream);
}

TEST_F(WebmClientsOfFewJobs, ThatComeAllAtOnceAreServedOrToldToComeBack) {
  std::vector<ViewedStream> streams;
  for (int i = 0; i < 20; ++i) streams.push_back(ann_.Open(kFilm, "webm_remux"));
  std::vector<std::string> answers(streams.size());
  std::vector<std::thread> clients;
  for (size_t i = 0; i < streams.size(); ++i) {
    clients.emplace_back([&, i] {
      Connection client(house_.Port());
      Ask(client, ann_, streams[i]);
      answers[i] = client.ReadAtLeast(100);
      EXPECT_LE(Encoders(house_).size(), 2U);
    });
  }
  for (std::thread& client : clients) client.join();
  size_t served = 0;
  for (const std::string& answer : answers) {
    const bool is_served = answer.starts_with("HTTP/1.1 200");
    served += is_served ? 1 : 0;
    EXPECT_TRUE(is_served || answer.starts_with("HTTP/1.1 503")) << answer;
  }
  EXPECT_GE(served, 2U);
  EXPECT_TRUE(NothingIsLeft(house_));
  for (const ViewedStream& stream : streams) EXPECT_EQ(CodeOf(ann_.Close(stream)), 0);
  EXPECT_EQ(CountStreams("WEBM"), 0U);
}
