// No room on the volume of live WebM streams: what plays goes on, who asks is told when to come back, and all
// goes on when there is room.
#include <gtest/gtest.h>

#include "tests/faults/cgi.h"
#include "tests/http/hls_expectations.h"

using namespace kinora::test;

namespace {

constexpr char kVolume[] = "/tmp/volume";
constexpr char kFilm[] = "bulky.mkv";          // 150 seconds, more than all buffers on the way hold
constexpr char kMagic[] = "\x1A\x45\xDF\xA3";  // of EBML

}  // namespace

TEST(WebmOnAFullVolume, IsRefusedForAWhileAndWhatPlaysGoesOn) {
  const SmallVolume volume(kVolume, "64M");
  if (!volume) GTEST_SKIP() << "nothing can be mounted here";
  const House house({kFilm}, "volumes=\"" + std::string(kVolume) + "\"\nfree_space_floor=\"0\"\n");
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream played = ann.Open(kFilm, "webm_remux");
  const ViewedStream asked = ann.Open(kFilm, "webm_remux");
  const std::string address = ann.Address(asked, {{"seek", "140"}});
  Connection viewer(house.Port());
  viewer.Send(
      Wire({"Stream", "stream", {{"id", played.id}, {"format", played.format}}, "GET", ann.Who().sid}));
  EXPECT_NE(viewer.ReadAtLeast(20'000).find(kMagic), std::string::npos);

  volume.Fill();
  for (int again = 0; again < 2; ++again) {
    const Reply refused = ann.Get(address);
    ExpectRefused(refused, 503, 1203, "no room");
    EXPECT_EQ(refused.Header("Retry-After"), "60");
  }
  EXPECT_EQ(CodeOf(ann.TryToOpen(kFilm, {{"format", "webm_remux"}})), 1203);
  EXPECT_EQ(CountStreams("WEBM"), 2U);
  EXPECT_GE(viewer.ReadAtLeast(300'000).size(), 300'000U) << "it needs no room";
  EXPECT_EQ(EncodersIn(house.Share()).size(), 1U);

  volume.Relieve();
  const Reply reply = ann.Get(address);
  EXPECT_EQ(reply.status, 200);
  EXPECT_TRUE(reply.body.starts_with(kMagic));
  EXPECT_EQ(CodeOf(ann.Close(asked)), 0);
  volume.Fill();
  EXPECT_EQ(CodeOf(ann.Close(played)), 0) << "to close takes no room";
  viewer.ReadReply();  // to its end
  EXPECT_TRUE(Eventually([&] { return EncodersIn(house.Share()).empty(); }));
  EXPECT_EQ(CountStreams("WEBM"), 0U);
}
