// No room on the volume of streams in fragments: who asks is told when to come back, nobody else is harmed,
// and all goes on when there is room.
#include <gtest/gtest.h>

#include "tests/faults/cgi.h"
#include "tests/faults/long_film.h"
#include "tests/http/hls_expectations.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kVolume[] = "/tmp/volume";
constexpr char kSize[] = "64M";
constexpr char kCopied[] = "h264_aac.mp4";
constexpr char kSound[] = "h264_ac3.mkv";

const std::string kOnThatVolume =
    "volumes=\"" + std::string(kVolume) + "\"\nidle_seconds=\"2\"\n" + std::string(kShortRunAhead);

struct Way {
  const char* name;
  const char* film;
  const char* format;
  const char* before;  // a fragment
  const char* then;    // another one
};
constexpr Way kWays[] = {{"copied", kCopied, "hls_remux", "0", "1"},
                         {"sound of its own", kSound, "hls_remux", "a1_0", "a1_1"},
                         {"encoded", kLongFilm, "hls", "0", "20"}};

// The settings' floor of free space, which the volume may be below or not know.
class HlsOnAFullVolume : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Floors, HlsOnAFullVolume, testing::Values("0", "1048576"),
                         [](const auto& instance) { return "Of" + std::string(instance.param) + "Bytes"; });

std::vector<std::string> Unfinished() {
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(kVolume)) {
    const std::string name = entry.path().filename();
    if (name.find(".ts.") != std::string::npos || name.starts_with("run-")) names.push_back(entry.path());
  }
  return names;
}

}  // namespace

TEST_P(HlsOnAFullVolume, IsRefusedForAWhileAndHarmsNobody) {
  const SmallVolume volume(kVolume, kSize);
  if (!volume) GTEST_SKIP() << "nothing can be mounted here";
  const House house({kCopied, kSound}, kOnThatVolume + "free_space_floor=\"" + GetParam() + "\"\n");
  const HlsViewer ann(house, house.SignIn("ann"));
  AddLongFilm(house, ann.Who(), 6);
  const std::string share = DigestOf(house.Share());
  std::vector<HlsStream> streams;
  std::vector<std::string> given;
  for (const Way& way : kWays) {
    streams.push_back(ann.Open(way.film, way.format));
    const Reply reply = ann.Get(ann.Address(streams.back(), {{"fragment", way.before}}));
    ExpectFragment(reply, way.name);
    given.push_back(reply.body);
  }

  // What an encoder takes away when it ends would be room for others.
  for (const HlsStream& stream : streams)
    ASSERT_TRUE(Eventually([&] { return ProcessesIn(fs::canonical(stream.Folder())).empty(); }));
  for (size_t i = 0; i < streams.size(); ++i) {
    const Way& way = kWays[i];
    for (int again = 0; again < 2; ++again) {
      volume.Fill();
      const Reply refused = ann.Get(ann.Address(streams[i], {{"fragment", way.then}}));
      ExpectRefused(refused, 503, 1203, way.name);
      EXPECT_EQ(refused.Header("Retry-After"), "60") << way.name;
    }
    EXPECT_TRUE(ann.Get(ann.Address(streams[i], {{"fragment", way.before}})).body == given[i]) << way.name;
    EXPECT_EQ(ann.Get(ann.Address(streams[i], {})).status, 200) << way.name;
    EXPECT_EQ(CodeOf(ann.TryToOpen(way.film, {{"format", way.format}})), 1203) << way.name;
  }
  EXPECT_EQ(CountStreams(), streams.size());
  EXPECT_TRUE(Eventually([] { return Unfinished().empty(); })) << testing::PrintToString(Unfinished());

  volume.Relieve();
  for (size_t i = 0; i < streams.size(); ++i) {
    const Way& way = kWays[i];
    const std::string address = ann.Address(streams[i], {{"fragment", way.then}});
    ExpectFragment(Persist([&] { return ann.Get(address); }), way.name);
    const fs::path folder = fs::canonical(streams[i].Folder());
    EXPECT_EQ(CodeOf(ann.Close(streams[i])), 0) << way.name;
    EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); })) << way.name;
  }
  for (const auto& entry : fs::recursive_directory_iterator(kVolume))
    EXPECT_TRUE(entry.is_directory()) << entry.path();
  EXPECT_EQ(DigestOf(house.Share()), share);
}
