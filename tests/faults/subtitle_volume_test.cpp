// Nothing can be written where the film lies: no room, or no right to.
#include <gtest/gtest.h>

#include "platform/system/places.h"
#include "tests/faults/cgi.h"
#include "tests/faults/stand_in.h"
#include "tests/http/subtitle_reader.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kVolume[] = "/tmp/volume";
constexpr char kFilm[] = "h264_aac.mp4";
const std::string kEmptyWebvtt =
    "WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:90000, LOCAL:00:00:00.000\n\n00:00:00.000 --> 00:00:00.000\n";
const Parameters kAsWebvtt = {{"output_webvtt", "true"}};

// The film as it was scanned.
void CopyFilm(const fs::path& source, const fs::path& folder) {
  fs::copy_file(source, folder / kFilm);
  fs::last_write_time(folder / kFilm, fs::last_write_time(source));
}

void ExpectNoText(const SubtitleReader& reader, const std::string& file) {
  const Reply refused = reader.Get(file);
  EXPECT_EQ(refused.status, 404) << refused.body;
  EXPECT_EQ(CodeOf(refused), 128) << refused.body;
  const Reply empty = reader.Get(file, kAsWebvtt);
  EXPECT_EQ(empty.status, 200);
  EXPECT_EQ(empty.body, kEmptyWebvtt);
}

std::vector<std::string> FilesIn(const fs::path& folder) {
  std::vector<std::string> files;
  if (!fs::exists(folder)) return files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file() && !entry.is_symlink()) files.push_back(entry.path());
  }
  return files;
}

}  // namespace

TEST(SubtitleOnAFullVolume, IsServedFromWhatIsKeptOrNotAtAll) {
  const House house({kFilm});
  const SmallVolume volume(kVolume, "16M");
  if (!volume) GTEST_SKIP() << "nothing can be mounted here";
  CopyFilm(house.Share() / kFilm, kVolume);
  const StandIn share(kVolume, house.Share());  // at once: no scan finds the share without its film
  ASSERT_TRUE(share);
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string kept = ann.Put("h264_aac.srt", SubRipOf(30));
  const std::string text = SubRipOf(2000);
  const std::string late = ann.Put("h264_aac.en.srt", text);
  ASSERT_EQ(ann.Get(kept).body, SubRipOf(30));
  const std::string before = DigestOf(CacheFolderOf(kept));

  volume.Fill();
  EXPECT_EQ(ann.Get(kept).body, SubRipOf(30));
  ExpectNoText(ann, late);
  EXPECT_EQ(DigestOf(CacheFolderOf(kept)), before);
  EXPECT_EQ(CacheFilesOf(late), std::vector<std::string>{});
  volume.Relieve();
  EXPECT_EQ(ann.Get(late).body, text) << "at once";
  EXPECT_EQ(CacheFilesOf(late).size(), 2U);
  EXPECT_EQ(SubtitleScratchFiles(), std::vector<std::string>{});
}

TEST(SubtitleOnAReadOnlyShare, IsKeptElsewhere) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string text = SubRipOf(30);
  const std::string file = ann.Put("h264_aac.srt", text);
  const std::string share = DigestOf(house.Share());
  const ReadOnly cover(house.Share());
  if (!cover) GTEST_SKIP() << "nothing can be mounted here";
  for (int again = 0; again < 2; ++again) EXPECT_EQ(ann.Get(file).body, text) << again << house.Log();
  EXPECT_EQ(FilesIn(kinora::system::kSidecars).size(), 2U);
  const std::string kept = DigestOf(kinora::system::kSidecars);
  EXPECT_EQ(ann.Get(file).body, text) << "from what was kept";
  EXPECT_EQ(DigestOf(kinora::system::kSidecars), kept);
  EXPECT_EQ(DigestOf(house.Share()), share);
}

TEST(SubtitleOnAReadOnlyShare, IsEmptyWhereNothingCanBeKept) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string text = SubRipOf(30);
  const std::string file = ann.Put("h264_aac.srt", text);
  {
    const ReadOnly share(house.Share());
    fs::create_directories(kinora::system::kSidecars);
    const ReadOnly sidecars(kinora::system::kSidecars);
    if (!share || !sidecars) GTEST_SKIP() << "nothing can be mounted here";
    ExpectNoText(ann, file);
    const std::string line = "no folder for what is derived from [" + file + "]";
    EXPECT_TRUE(Eventually([&] { return house.Log().find(line) != std::string::npos; })) << house.Log();
  }
  EXPECT_EQ(FilesIn(kinora::system::kSidecars), std::vector<std::string>{});
  EXPECT_EQ(SubtitleScratchFiles(), std::vector<std::string>{});
  EXPECT_EQ(ann.Get(file).body, text) << "at once";
}
