// Whatever dies of Kinora between two requests for fragments, the next one is answered, and what was made
// stays as it was. While nobody asks, a stream has no process.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <optional>
#include <random>
#include <thread>

#include "platform/engine/housekeeping.h"
#include "platform/engine/job_folder.h"
#include "tests/faults/long_film.h"
#include "tests/http/hls_expectations.h"

using namespace kinora::test;
namespace engine = kinora::engine;
namespace fs = std::filesystem;

namespace {

constexpr char kCopied[] = "h264_aac.mp4";

// Somebody who watches the long film, encoded, and remembers what he was given.
class Watching {
 public:
  explicit Watching(const HlsViewer& viewer)
      : viewer_(viewer),
        stream_(viewer.Open(kLongFilm, "hls")),
        playlist_(viewer.MediaPlaylists(stream_).at(0)) {}

  const HlsStream& Stream() const { return stream_; }
  fs::path Folder() const { return fs::canonical(stream_.Folder()); }
  std::string ToTake() const { return playlist_.addresses.at(given_.size()); }

  // The next fragment, which begins where the playlist says.
  void TakeNext() {
    const size_t number = given_.size();
    const std::string& address = playlist_.addresses.at(number);
    const Reply reply = Persist([&] { return viewer_.Get(address); });
    ASSERT_NO_FATAL_FAILURE(ExpectFragment(reply, address));
    ExpectOnTime(playlist_, number, reply.body);
    given_.push_back(reply.body);
  }
  // The next ones, until there is one to be made; then the one encoder that makes it.
  pid_t TakeUntilEncoded() {
    do {
      TakeNext();
    } while (!testing::Test::HasFatalFailure() && EncodersIn(Folder()).empty());
    const std::vector<pid_t> encoders = EncodersIn(Folder());
    EXPECT_EQ(encoders.size(), 1U);
    return encoders.empty() ? -1 : encoders[0];
  }
  // One that was given before.
  void TakeAgain(size_t number) const {
    const std::string& address = playlist_.addresses.at(number);
    const Reply reply = Persist([&] { return viewer_.Get(address); });
    EXPECT_TRUE(reply.body == given_.at(number)) << address << " " << reply.status;
  }
  void TakeAllAgain() const {
    for (size_t n = 0; n < given_.size(); ++n) TakeAgain(n);
  }
  size_t Given() const { return given_.size(); }

 private:
  const HlsViewer& viewer_;
  HlsStream stream_;
  Playlist playlist_;
  std::vector<std::string> given_;
};

pid_t SupervisorOf(const HlsStream& stream) {
  const auto folder = engine::StreamFolder::Open("HLS", stream.id);
  const auto record = folder ? engine::ReadJobRecord(*folder) : std::nullopt;
  return record ? record->supervisor.pid : -1;
}

// What the service has started, but for the encoders and those who watch over them.
std::vector<pid_t> ServicesOf(const House& house) {
  std::vector<pid_t> services = Descendants(house.Pid());
  const std::vector<pid_t> jobs = DescendantsLike(house.Pid(), "kinora-job");
  std::erase_if(services, [&](pid_t pid) { return std::find(jobs.begin(), jobs.end(), pid) != jobs.end(); });
  const std::vector<pid_t> encoders = DescendantsLike(house.Pid(), "ffmpeg");
  std::erase_if(services, [&](pid_t pid) {
    return std::find(encoders.begin(), encoders.end(), pid) != encoders.end();
  });
  return services;
}

bool IsGone(pid_t pid) { return kill(pid, 0) != 0; }

class HlsSurvival : public testing::Test {
 protected:
  explicit HlsSurvival(const std::string& settings = kShortRunAhead) : house_({kCopied}, settings) {
    ann_.emplace(house_, house_.SignIn("ann"));
    AddLongFilm(house_, ann_->Who(), 30);
  }

  void KillTheService() {
    house_.Serve().Signal(SIGKILL);
    house_.Serve().Wait();
    house_.Restart();
  }
  void KillAPartOfIt() {
    std::vector<pid_t> parts;
    ASSERT_TRUE(Eventually([&] { return !(parts = ServicesOf(house_)).empty(); }));
    kill(parts[random_() % parts.size()], SIGKILL);
  }

  House house_;
  std::optional<HlsViewer> ann_;
  std::minstd_rand random_{20};
};

class HlsIdleness : public HlsSurvival {
 protected:
  HlsIdleness() : HlsSurvival(std::string(kShortRunAhead) + "idle_seconds=\"1\"\n") {}
};

}  // namespace

// Each part of the service, and the service itself as every fifth: so the others are started again soon, as
// it does not know how often they were killed.
TEST_F(HlsSurvival, OfAnyServiceThatIsKilledKeepsTheEncoder) {
  Watching watching(*ann_);
  const pid_t encoder = watching.TakeUntilEncoded();
  ASSERT_FALSE(HasFailure());
  const int rounds = IsLong() ? 1000 : 20;
  for (int i = 0; i < rounds; ++i) {
    ASSERT_NO_FATAL_FAILURE(i % 5 == 4 ? KillTheService() : KillAPartOfIt()) << i;
    // Twenty fragments for all rounds, so that the encoder is not through before them.
    if (i % (rounds / 20) == 0) {
      ASSERT_NO_FATAL_FAILURE(watching.TakeNext()) << i;
    }
    watching.TakeAgain(random_() % watching.Given());
    ASSERT_EQ(EncodersIn(watching.Folder()), std::vector<pid_t>{encoder}) << i << house_.Log();
    if (HasFailure()) return;
  }
  watching.TakeAllAgain();
}

// A service that is stopped ends its encoders, too: the next one starts them where they were.
TEST_F(HlsSurvival, OfTheServiceThatIsStoppedGoesOnAtTheFirstMissingFragment) {
  Watching watching(*ann_);
  for (int i = 0; i < 3; ++i) {
    const pid_t encoder = watching.TakeUntilEncoded();
    house_.Restart();
    EXPECT_TRUE(IsGone(encoder));
    watching.TakeAllAgain();
  }
  ASSERT_GT(watching.TakeUntilEncoded(), 1);
}

// An encoder ends with its supervisor: nobody else would stop it when it is far enough ahead, or end it when
// the viewer has gone. Another one takes up where it was.
TEST_F(HlsSurvival, OfAKilledSupervisorOrEncoderGoesOnAtTheFirstMissingFragment) {
  Watching watching(*ann_);
  const int rounds = IsLong() ? 60 : 4;
  for (int i = 0; i < rounds; ++i) {
    const pid_t encoder = watching.TakeUntilEncoded();
    ASSERT_FALSE(HasFailure()) << i;
    const pid_t supervisor = SupervisorOf(watching.Stream());
    ASSERT_GT(supervisor, 1) << i;
    kill(i % 2 == 0 ? supervisor : encoder, SIGKILL);
    ASSERT_TRUE(Eventually([&] { return IsGone(encoder) && IsGone(supervisor); })) << i;
    watching.TakeAllAgain();
  }
  ASSERT_GT(watching.TakeUntilEncoded(), 1);
  const fs::path folder = watching.Folder();
  EXPECT_EQ(CodeOf(ann_->Close(watching.Stream())), 0);
  EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); }));
  EXPECT_FALSE(fs::exists(folder)) << "nor what a killed one has left";
}

TEST_F(HlsSurvival, OfTheWebServerDuringTwentyStreams) {
  std::vector<HlsStream> streams;
  for (int i = 0; i < 20; ++i) streams.push_back(ann_->Open(kCopied, "hls_remux"));
  std::vector<std::string> before(streams.size());
  std::vector<std::thread> viewers;
  for (size_t i = 0; i < streams.size(); ++i) {
    viewers.emplace_back([&, i] {
      for (const char* fragment : {"0", "1", "0", "2"}) {
        const std::string address = ann_->Address(streams[i], {{"fragment", fragment}});
        before[i] = Persist([&] { return ann_->Get(address); }).body;
      }
    });
  }
  for (int kills = 0; kills < 3; ++kills) {
    for (const pid_t server : DescendantsLike(house_.Pid(), "lighttpd")) kill(server, SIGKILL);
    EXPECT_TRUE(Eventually([&] { return !DescendantsLike(house_.Pid(), "lighttpd").empty(); }));
  }
  for (std::thread& viewer : viewers) viewer.join();
  for (size_t i = 0; i < streams.size(); ++i) {
    EXPECT_FALSE(before[i].empty()) << i;
    EXPECT_TRUE(before[i] == before[0]) << i;
    const fs::path folder = fs::canonical(streams[i].Folder());
    EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); })) << i;
    EXPECT_EQ(CodeOf(ann_->Close(streams[i])), 0) << i;
  }
  EXPECT_EQ(CountStreams(), 0U);
}

TEST_F(HlsIdleness, HasNoProcessAndTheStreamGoesOnLater) {
  Watching watching(*ann_);
  for (int round = 0; round < 3; ++round) {
    ASSERT_NO_FATAL_FAILURE(watching.TakeNext()) << round;
    EXPECT_TRUE(Eventually([&] { return ProcessesIn(watching.Folder()).empty(); })) << round;
    EXPECT_FALSE(engine::IsJobRunning(engine::StreamFolder::Open("HLS", watching.Stream().id).value()));
    watching.TakeAllAgain();
  }
}

TEST_F(HlsSurvival, OfAFolderThatIsRemovedIsTheEndOfThatStreamAlone) {
  Watching watching(*ann_);
  Watching other(*ann_);
  ASSERT_NO_FATAL_FAILURE(watching.TakeNext());
  ASSERT_NO_FATAL_FAILURE(other.TakeNext());
  EXPECT_EQ(CountStreams(), 2U);
  const fs::path folder = watching.Folder();
  const fs::path link = watching.Stream().Folder();
  fs::remove_all(folder);
  EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); }));
  for (int i = 0; i < 3; ++i) ExpectRefused(ann_->Get(watching.ToTake()), 404, 128, "it is closed");
  EXPECT_FALSE(fs::exists(folder)) << "nor is it made anew";
  engine::Housekeeping housekeeping;
  housekeeping.Sweep();
  housekeeping.Sweep();
  EXPECT_FALSE(fs::is_symlink(link));
  EXPECT_EQ(CountStreams(), 1U);
  ASSERT_NO_FATAL_FAILURE(other.TakeNext());
  other.TakeAllAgain();
}
