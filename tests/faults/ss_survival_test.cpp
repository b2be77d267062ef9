// Whatever dies of Kinora while chunks are made, the request is answered, and what was made stays as it was.
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "platform/engine/job_folder.h"
#include "tests/faults/long_film.h"
#include "tests/http/smooth_expectations.h"

using namespace kinora::test;
namespace engine = kinora::engine;
namespace fs = std::filesystem;

namespace {

constexpr char kBulky[] = "bulky.mkv";  // 150 seconds

class SmoothSurvival : public testing::Test {
 protected:
  Reply Take(size_t track, size_t number) const {
    return ExpectChunkOf(ann_, stream_, tracks_.at(track), number);
  }
  pid_t Supervisor() const {
    const auto folder = engine::StreamFolder::Open("SS", stream_.id);
    const auto record = folder ? engine::ReadJobRecord(*folder) : std::nullopt;
    return record && engine::IsJobRunning(*folder) ? record->supervisor.pid : -1;
  }
  // Who is at work for the picture: first the encoder, in the next round who watches over it.
  pid_t Victim(int round) const {
    if (round % 2 == 1) return Supervisor();
    const std::vector<pid_t> encoders = EncodersIn(folder_);
    return encoders.empty() ? -1 : encoders.front();
  }

  House house_{{kBulky}, kShortRunAhead};
  SmoothViewer ann_{house_, house_.SignIn("ann")};
  ViewedStream stream_ = ann_.Open(kBulky, "ss");
  std::vector<SmoothTrack> tracks_ = ann_.Tracks(stream_);
  fs::path folder_ = fs::canonical(stream_.Folder());
};

}  // namespace

// Before the first chunk, in the middle, and at the last one, while somebody waits for it.
TEST_F(SmoothSurvival, OfAKilledEncoderOrSupervisorAnswersWhoWaits) {
  const size_t last = tracks_.at(0).starts.size() - 1;
  int round = 0;
  for (const size_t number : {size_t{0}, last / 2, last, last / 4}) {
    Reply reply;
    std::atomic<bool> answered = false;
    std::thread waiting([&] {
      reply = Take(0, number);
      answered = true;
    });
    pid_t victim = -1;
    EXPECT_TRUE(Eventually([&] { return (victim = Victim(round)) > 0 || answered; }));
    if (victim > 0) kill(victim, SIGKILL);
    waiting.join();
    const Reply again = Take(0, number);
    EXPECT_TRUE(again.body == reply.body) << number << " was given before";
    ++round;
  }
  EXPECT_EQ(CodeOf(ann_.Close(stream_)), 0);
  EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder_).empty(); }));
  EXPECT_FALSE(fs::exists(folder_)) << "nor what a killed one has left";
}

// Who packs the chunks: it is executed where nobody forks it.
TEST_F(SmoothSurvival, OfTheHelperWithoutWhichChunksAreMadeAllTheSame) {
  const auto helpers = [&] { return DescendantsLike(house_.Pid(), "kinora-remux"); };
  ASSERT_TRUE(Eventually([&] { return !helpers().empty(); }));
  for (size_t number = 0; number < 3; ++number) {
    for (const pid_t helper : helpers()) kill(helper, SIGKILL);
    for (const size_t track : {0, 1}) Take(track, number);
  }
  EXPECT_TRUE(Eventually([&] { return !helpers().empty(); })) << "and it is started again";
}

TEST_F(SmoothSurvival, OfAFolderThatIsRemovedIsTheEndOfThatStreamAlone) {
  const ViewedStream other = ann_.Open(kBulky, "ss");
  Take(0, 0);
  fs::remove_all(folder_);
  EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder_).empty(); }));
  for (const SmoothTrack& track : tracks_) {
    const std::string address = track.ChunkAt(track.starts[1]);
    ExpectRefused(ann_.Get(ann_.Path(stream_, address)), 404, 128, "it is closed");
  }
  EXPECT_FALSE(fs::exists(folder_)) << "nor is it made anew";
  for (const SmoothTrack& track : ann_.Tracks(other)) ExpectChunkOf(ann_, other, track, 0);
}
