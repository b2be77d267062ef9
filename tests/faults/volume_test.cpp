// No room: on the volume of the streams, in the cache of the pictures.
#include <gtest/gtest.h>

#include <fstream>

#include "platform/system/places.h"
#include "tests/faults/cgi.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kVolume[] = "/tmp/volume";
constexpr char kNoRoom[] =
    R"({"error":{"code":1203,"message":"There are not enough volume space for streaming. Need space 1048576"}})";

// Written before the service starts, gone with this object.
const std::string kOnThatVolume = "volumes=\"" + std::string(kVolume) + "\"\nfree_space_floor=\"0\"\n";
const std::vector<std::string> kOneFilm = {"h264_aac.mp4"};

std::vector<std::string> FilesIn(const fs::path& folder) {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_directory()) files.push_back(entry.path());
  }
  return files;
}

}  // namespace

TEST(SmallVolumeOfStreams, RefusesToOpen) {
  const SmallVolume volume(kVolume, "64k");
  if (!volume) GTEST_SKIP() << "nothing can be mounted here";
  const House house(kOneFilm, kOnThatVolume);
  const SignedIn ann = house.SignIn("ann");
  const Reply reply = house.Open(ann, house.FilmId(ann, "h264_aac.mp4"));
  EXPECT_EQ(reply.body, kNoRoom);
  EXPECT_GE(reply.status, 400);
  EXPECT_EQ(StreamLinks(), std::vector<std::string>{});
  EXPECT_EQ(FilesIn(kVolume), std::vector<std::string>{});
}

TEST(FullVolumeOfStreams, RefusesToOpenUntilThereIsRoomAndServesWhatIsOpen) {
  const SmallVolume volume(kVolume, "4M");
  if (!volume) GTEST_SKIP() << "nothing can be mounted here";
  const House house(kOneFilm, kOnThatVolume);
  const SignedIn ann = house.SignIn("ann");
  const std::string share = DigestOf(house.Share());
  const int film = house.FilmId(ann, "h264_aac.mp4");
  const std::string stream = house.OpenStream(ann, film);
  const std::vector<std::string> before = FilesIn(kVolume);
  volume.Fill();
  for (int i = 0; i < 5; ++i) EXPECT_EQ(house.Open(ann, film).body, kNoRoom);
  EXPECT_EQ(StreamLinks().size(), 1U);
  EXPECT_EQ(house.Stream(ann, stream).body, ReadWhole(house.Share() / "h264_aac.mp4"));
  EXPECT_EQ(CodeOf(house.Send({"Catalog", "list", {}, "GET", ann.sid})), 0);
  volume.Relieve();
  EXPECT_EQ(FilesIn(kVolume), before) << "nothing is left behind";
  EXPECT_EQ(CodeOf(house.Open(ann, film)), 0);
  EXPECT_EQ(DigestOf(house.Share()), share);
}

TEST(VolumeOfStreams, ThatIsGoneRefusesToOpenAndIsNotMadeAnew) {
  const House house(kOneFilm, kOnThatVolume);
  const SignedIn ann = house.SignIn("ann");
  fs::remove_all(kVolume);
  const int film = house.FilmId(ann, "h264_aac.mp4");
  EXPECT_EQ(house.Open(ann, film).body, kNoRoom);
  EXPECT_FALSE(fs::exists(kVolume));
  fs::create_directory(kVolume);
  EXPECT_EQ(CodeOf(house.Open(ann, film)), 0);
}

TEST(FullPictureCache, AnswersWithoutAPictureAndLeavesNothing) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string film = std::to_string(house.FilmId(ann, "h264_aac.mp4"));
  const Call call{"Film", "picture", {{"id", film}, {"width", "1280"}}, "GET", ann.sid};
  {
    const SmallVolume volume(kinora::system::kPictureCache, "64k");
    if (!volume) GTEST_SKIP() << "nothing can be mounted here";
    volume.Fill();
    for (int i = 0; i < 3; ++i) {
      const Reply reply = house.Send(call);
      EXPECT_EQ(reply.status, 404) << reply.body;
      EXPECT_EQ(CodeOf(reply), 128);
    }
    EXPECT_EQ(ScratchFiles(), std::vector<std::string>{});
    volume.Relieve();
    const Reply reply = house.Send(call);
    EXPECT_EQ(reply.status, 200) << "at once: a full disk is no property of the film " << reply.body;
    EXPECT_TRUE(reply.body.ends_with("\xFF\xD9"));
  }
  EXPECT_EQ(house.Send(call).status, 200);
}
