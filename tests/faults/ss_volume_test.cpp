// No room on the volume of a stream by Smooth Streaming: who asks is told when to come back, what was made
// stays, and all goes on when there is room.
#include <gtest/gtest.h>

#include "tests/faults/cgi.h"
#include "tests/faults/long_film.h"
#include "tests/http/smooth_expectations.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kVolume[] = "/tmp/volume";
constexpr char kFilm[] = "bulky.mkv";  // 150 seconds

const std::string kOnThatVolume =
    "volumes=\"" + std::string(kVolume) + "\"\nidle_seconds=\"2\"\n" + std::string(kShortRunAhead);

// The settings' floor of free space, which the volume may be below or not know.
class SmoothOnAFullVolume : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Floors, SmoothOnAFullVolume, testing::Values("0", "1048576"),
                         [](const auto& instance) { return "Of" + std::string(instance.param) + "Bytes"; });

std::vector<std::string> Unfinished() {
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(kVolume)) {
    const std::string name = entry.path().filename();
    const bool aside = name.find(".m4s.") != std::string::npos || name.find(".ts.") != std::string::npos;
    if (aside || name.starts_with("run-")) names.push_back(entry.path());
  }
  return names;
}

}  // namespace

TEST_P(SmoothOnAFullVolume, IsRefusedForAWhile) {
  const SmallVolume volume(kVolume, "64M");
  if (!volume) GTEST_SKIP() << "nothing can be mounted here";
  const House house({kFilm}, kOnThatVolume + "free_space_floor=\"" + GetParam() + "\"\n");
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kFilm, "ss");
  const std::vector<SmoothTrack> tracks = ann.Tracks(stream);
  std::vector<std::string> given;
  for (const SmoothTrack& track : tracks) given.push_back(ExpectChunkOf(ann, stream, track, 0).body);
  const fs::path folder = fs::canonical(stream.Folder());
  // What an encoder takes away when it ends would be room for others.
  ASSERT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); }));
  for (size_t i = 0; i < tracks.size(); ++i) {
    const SmoothTrack& track = tracks[i];
    for (int again = 0; again < 2; ++again) {
      volume.Fill();
      const Reply refused = ann.Get(ann.Path(stream, track.ChunkAt(track.starts[20])));
      ExpectRefused(refused, 503, 1203, track.name);
      EXPECT_EQ(refused.Header("Retry-After"), "60") << track.name;
    }
    EXPECT_TRUE(ExpectChunkOf(ann, stream, track, 0).body == given[i]) << track.name;
  }
  ExpectManifest(ann.Get(ann.Path(stream, "Manifest")), "on the full volume");
  EXPECT_EQ(CodeOf(ann.TryToOpen(kFilm, {{"format", "ss"}})), 1203);
  EXPECT_EQ(CountStreams("SS"), 1U);
  EXPECT_TRUE(Eventually([] { return Unfinished().empty(); })) << testing::PrintToString(Unfinished());

  volume.Relieve();
  for (const SmoothTrack& track : tracks) ExpectChunkOf(ann, stream, track, 20);
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
  EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); }));
  for (const auto& entry : fs::recursive_directory_iterator(kVolume))
    EXPECT_TRUE(entry.is_directory()) << entry.path();
}
