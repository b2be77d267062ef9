#include "platform/engine/audio_fragment.h"

#include <gmock/gmock.h>

#include "tests/unit/platform/engine/encoding.h"
#include "tests/unit/platform/engine/streams.h"

namespace kinora::engine {
namespace {

struct Track {
  const char* name;
  const char* film;
  const char* container;
  const char* codec = "aac";
  int frequency = 48000;
  int samples = 1024;  // in a packet
};

void PrintTo(const Track& track, std::ostream* out) { *out << track.name; }

class AudioFragment : public StreamsTest, public testing::WithParamInterface<Track> {
 protected:
  void SetUp() override {
    StreamsTest::SetUp();
    folder_ = StreamFolder::Open("HLS", Prepare());
    ASSERT_TRUE(folder_);
    if (!std::filesystem::exists(folder_->WorkPath("."))) folder_->MakeWorkFolder();
    plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/" + GetParam().film, GetParam().container);
    plan_.audio[0].codec = GetParam().codec;
    plan_.audio[0].frequency = GetParam().frequency;
  }

  std::string Path(int number) const { return folder_->WorkPath("a1_" + std::to_string(number) + ".ts"); }

  std::optional<StreamFolder> folder_;
  StreamPlan plan_;
};

// The last fragment first, so that nothing can depend on the one before.
TEST_P(AudioFragment, JoinsItsNeighboursExactly) {
  std::vector<Packet> packets;
  for (int n = plan_.grid.Count() - 1; n >= 0; --n) {
    ASSERT_EQ(PrepareEncodedAudio(*folder_, plan_, plan_.audio[0], n), FragmentOutcome::kReady) << n;
    const std::vector<Packet> made = PacketsOf(Path(n));
    ASSERT_FALSE(made.empty());
    EXPECT_NEAR(made.front().time, Ticks(plan_.grid.Start(n)), kTransportClock / 20);
    packets.insert(packets.begin(), made.begin(), made.end());
  }
  const double length = static_cast<double>(GetParam().samples) * kTransportClock / GetParam().frequency;
  for (size_t n = 0; n < packets.size(); ++n) {
    // ffprobe works the times of packets within a group out by adding rounded lengths.
    ASSERT_NEAR(static_cast<double>(packets[n].time - packets[0].time), static_cast<double>(n) * length, 2)
        << n;
  }
  EXPECT_NEAR(packets.back().time, Ticks(plan_.grid.End(plan_.grid.Count() - 1)), kTransportClock / 20);
}

const Track kTracks[] = {
    {"Ordinary", "encode_25.mkv", "mkv"},
    {"LowerRate", "encode_film.mp4", "mp4", "aac", 44100},
    {"TransportStream", "encode_ntsc.ts", "mpegts"},
    {"EndsEarly", "encode_short_sound.mkv", "mkv"},
    {"SetsInLate", "encode_late_sound.mkv", "mkv"},
    {"Mp3", "encode_25.mkv", "mkv", "mp3", 48000, 1152},
};

std::string NameOf(const testing::TestParamInfo<Track>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(Tracks, AudioFragment, testing::ValuesIn(kTracks), NameOf);

}  // namespace
}  // namespace kinora::engine
