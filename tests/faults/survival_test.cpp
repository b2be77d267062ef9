// Whatever dies of Kinora between two requests, the next request is answered; and while nobody asks, nothing
// runs but what waits for requests.
#include <gtest/gtest.h>

#include <csignal>
#include <iterator>
#include <random>

#include "tests/faults/cgi.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFilm[] = "h264_aac.mp4";
const char* const kServices[] = {"/usr/sbin/lighttpd", "entry.cgi", "--zygote", "--watch"};

bool IsLong() { return getenv("KINORA_FAULTS_LONG") != nullptr; }

std::vector<pid_t> RequestProcesses(const House& house) {
  std::vector<pid_t> all;
  for (const pid_t listener : DescendantsLike(house.Pid(), "entry.cgi")) {
    for (const pid_t child : Descendants(listener)) all.push_back(child);
  }
  return all;
}

// A request that is tried again where its connection was taken by the one that died.
Reply Persist(const House& house, const Call& call) {
  Reply reply;
  Eventually([&] {
    reply = house.Send(call);
    return reply.status != 0 && reply.status < 500;
  });
  return reply;
}

class Survival : public testing::Test {
 protected:
  Survival() {
    ann_ = house_.SignIn("ann");
    stream_ = house_.OpenStream(ann_, house_.FilmId(ann_, kFilm));
    film_ = ReadWhole(house_.Share() / kFilm);
  }

  void ExpectService() const {
    const Call part{"Stream",
                    "stream",
                    {{"id", stream_}, {"format", "raw"}},
                    "GET",
                    ann_.sid,
                    "",
                    {"Range: bytes=1000-1999"}};
    const Reply reply = Persist(house_, part);
    EXPECT_EQ(reply.status, 206);
    EXPECT_TRUE(reply.body == film_.substr(1000, 1000));
  }

  const House house_;
  SignedIn ann_;
  std::string stream_;
  std::string film_;
};

}  // namespace

TEST_F(Survival, OfRequestProcessesThatAreKilledInMidAnswer) {
  fs::resize_file(house_.Share() / kFilm, 1ULL << 30);
  const Call call{"Stream", "stream", {{"id", stream_}, {"format", "raw"}}, "GET", ann_.sid};
  const int rounds = IsLong() ? 1000 : 200;
  for (int i = 0; i < rounds; ++i) {
    Connection client(house_.Port());
    client.Send(Wire(call));
    ASSERT_GE(client.ReadAtLeast(1000).size(), 1000U) << i;
    const std::vector<pid_t> serving = RequestProcesses(house_);
    ASSERT_EQ(serving.size(), 1U) << i;
    kill(serving[0], SIGKILL);
    EXPECT_LT(client.ReadAtLeast(1ULL << 30).size(), 1U << 29) << "the client sees that it was cut off";
    ASSERT_NO_FATAL_FAILURE(ExpectService()) << i;
    ASSERT_TRUE(Eventually([&] { return RequestProcesses(house_).empty(); })) << i;
    if (HasFailure()) return;
  }
}

TEST_F(Survival, OfServicesThatAreKilledAtRandom) {
  std::minstd_rand random(20);
  const int rounds = IsLong() ? 24 : 12;
  for (int i = 0; i < rounds; ++i) {
    const std::vector<pid_t> candidates =
        DescendantsLike(house_.Pid(), kServices[random() % std::size(kServices)]);
    if (!candidates.empty()) kill(candidates[0], SIGKILL);
    ASSERT_NO_FATAL_FAILURE(ExpectService()) << i;
    if (HasFailure()) return;
  }
  for (const char* service : kServices) {
    EXPECT_TRUE(Eventually([&] { return DescendantsLike(house_.Pid(), service).size() == 1; })) << service;
  }
  // A scan that was started again may be writing its progress just now.
  EXPECT_TRUE(Eventually([] { return ScratchFiles().empty(); }));
}

TEST_F(Survival, OfAnIdleServiceNeedsFourProcesses) {
  house_.Send({"Film", "picture", {{"id", "1"}}, "GET", ann_.sid});
  ExpectService();
  EXPECT_TRUE(Eventually([&] { return Descendants(house_.Pid()).size() == 4; }))
      << Descendants(house_.Pid()).size();
  for (const char* service : kServices)
    EXPECT_EQ(DescendantsLike(house_.Pid(), service).size(), 1U) << service;
}
