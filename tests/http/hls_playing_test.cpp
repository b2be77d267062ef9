// Ways to watch: slowly, with pauses, from the middle. What the viewer gets, what is at work for him, and
// what lies on the disk for him meanwhile.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <thread>

#include "tests/http/hls_expectations.h"
#include "tests/http/watching.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kBulky[] = "bulky.mkv";  // 150 seconds, 1 MBit/s

}  // namespace

TEST(HlsCopy, NeverTakesMoreThanItsQuotaWhileALargerFilmIsPlayedToItsEnd) {
  constexpr uint64_t kQuota = 4U << 20;
  const House house({kBulky}, "stream_quota=\"4M\"\n");
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open(kBulky, "hls_remux");
  const fs::path folder = fs::canonical(stream.Folder());
  uint64_t most = 0;
  uint64_t all = 0;
  {
    const Watch watch([&] { most = std::max(most, DiskUsage(folder)); });
    const std::vector<std::string> fragments = ann.MediaPlaylists(stream).at(0).addresses;
    for (const std::string& address : fragments) {
      const Reply fragment = ann.Get(address);
      ExpectFragment(fragment, address);
      all += fragment.body.size();
    }
  }
  EXPECT_GT(all, 4 * kQuota) << "the test says nothing when all of the film fits";
  EXPECT_LE(most, kQuota);
  EXPECT_GT(most, kQuota / 2) << "it is looked at while there is something";
}

// The encoder is as far ahead as it may be whenever the viewer asks.
TEST(HlsViewerWhoIsSlow, GetsEveryFragmentFromOneEncoder) {
  const House house({kBulky}, "run_ahead_seconds=\"10\"\nstream_quota=\"1M\"\n");
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open(kBulky, "hls");
  const fs::path folder = fs::canonical(stream.Folder());
  std::set<pid_t> encoders;
  const std::vector<std::string> fragments = ann.MediaPlaylists(stream).at(0).addresses;
  for (const std::string& address : fragments) {
    ExpectFragment(ann.Get(address), address);
    for (const pid_t encoder : EncodersIn(folder)) encoders.insert(encoder);
    EXPECT_TRUE(Eventually([&] {
      const std::vector<pid_t> now = EncodersIn(folder);
      return now.empty() || StateOf(now.front()) == 'T';
    })) << address;
  }
  EXPECT_EQ(encoders.size(), 1U) << "nothing is encoded twice";
}

TEST(HlsViewerWhoPauses, HoldsNoEncoderAndGoesOnInTheSameStream) {
  const House house({kBulky}, "run_ahead_seconds=\"10\"\nidle_seconds=\"2\"\n");
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open(kBulky, "hls");
  const fs::path folder = fs::canonical(stream.Folder());
  const std::vector<std::string> fragments = ann.MediaPlaylists(stream).at(0).addresses;
  ExpectFragment(ann.Get(fragments[0]), "before the pause");
  // Players ask for the playlist again and again, and for what they have already got.
  const std::string playlist = ann.Address(stream, {{"playlist", "video"}});
  EXPECT_TRUE(Eventually([&] {
    EXPECT_EQ(ann.Get(playlist).status, 200);
    return EncodersIn(folder).empty();
  })) << "nobody wants more, and the encoder stays";
  for (size_t n = 1; n < fragments.size(); ++n) ExpectFragment(ann.Get(fragments[n]), fragments[n]);
}

// Players look at the first fragment before they jump to where the film was left.
TEST(HlsViewerWhoResumes, HasOneEncoderAtATime) {
  const House house({kBulky}, "run_ahead_seconds=\"10\"\n");
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open(kBulky, "hls");
  const fs::path folder = fs::canonical(stream.Folder());
  const std::vector<std::string> fragments = ann.MediaPlaylists(stream).at(0).addresses;
  const size_t middle = fragments.size() / 2;
  size_t most = 0;
  {
    const Watch watch([&] { most = std::max(most, EncodersIn(folder).size()); });
    std::thread probe([&] { ExpectFragment(ann.Get(fragments[0]), "the look at the beginning"); });
    ExpectFragment(ann.Get(fragments[middle]), "where the film was left");
    probe.join();
    ExpectFragment(ann.Get(fragments[middle + 1]), "and on");
  }
  EXPECT_EQ(most, 1U);
}
