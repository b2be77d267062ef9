#include "platform/engine/look.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace kinora::engine {
namespace {

using Kind = media::LookResult::Kind;

std::string MediaFile(const std::string& name) { return std::string(KINORA_MEDIA_DIR) + "/" + name; }

class Look : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(::mkdtemp(folder_.data()), nullptr); }
  void TearDown() override { std::filesystem::remove_all(folder_); }
  std::string Put(const std::string& name, const std::string& text) const {
    std::ofstream(folder_ + "/" + name) << text;
    return folder_ + "/" + name;
  }

  std::string folder_ = testing::TempDir() + "kinora-look.XXXXXX";
};

TEST_F(Look, TellsTheFactsOfAFilm) {
  const media::LookResult result = LookAt(MediaFile("h264_aac.mp4"));
  ASSERT_EQ(result.kind, Kind::kVideo) << result.reason;
  EXPECT_EQ(result.facts.title, "A film with a clock");
  EXPECT_EQ(result.facts.container, "mp4");
  EXPECT_EQ(result.facts.video_codec, "h264");
  EXPECT_EQ(result.facts.audio_codec, "aac");
  EXPECT_EQ(result.facts.duration_ms, 20'000);
  EXPECT_EQ(result.facts.width, 1280);
  EXPECT_EQ(result.facts.height, 720);
  EXPECT_GT(result.facts.bitrate, 1'000'000);
  EXPECT_EQ(result.reason, "");
}

TEST_F(Look, LeavesTheSoundOfASilentFilmEmpty) {
  const media::LookResult result = LookAt(MediaFile("silent.mp4"));
  ASSERT_EQ(result.kind, Kind::kVideo);
  EXPECT_EQ(result.facts.audio_codec, "");
}

TEST_F(Look, TellsAFilmThatThereWereNoMeansToLookAtFromOneThatCannotBeRead) {
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none{0, before.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &none);
  const Probe probe = ProbeFile(MediaFile("moov_last.mp4"));
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_TRUE(probe.busy) << probe.reason;
  EXPECT_FALSE(probe.report);
  EXPECT_TRUE(ProbeFile(MediaFile("moov_last.mp4")).busy) << "asked again at once";
  EXPECT_FALSE(ProbeFile(Put("text.mp4", "no film")).busy);
  EXPECT_FALSE(ProbeFile(folder_ + "/missing.mp4").busy);
  EXPECT_TRUE(ProbeFile(MediaFile("silent.mp4")).report);
  EXPECT_TRUE(ProbeFile(MediaFile("moov_last.mp4")).report) << "another film has been looked at meanwhile";
}

TEST_F(Look, FindsNoFilmInWhatIsNone) {
  EXPECT_EQ(LookAt(MediaFile("audio_only.m4a")).kind, Kind::kNotAVideo);
  EXPECT_EQ(LookAt(MediaFile("song_with_cover.m4a")).kind, Kind::kNotAVideo);
  EXPECT_EQ(LookAt(MediaFile("cover_frame.jpg")).kind, Kind::kNotAVideo);
  EXPECT_EQ(LookAt(Put("text.mp4", "#EXTM3U\n#EXTINF:5,\n/etc/passwd\n")).kind, Kind::kNotAVideo);
  EXPECT_EQ(LookAt(Put("empty.mp4", "")).kind, Kind::kNotAVideo);
  EXPECT_EQ(LookAt("/dev/zero").kind, Kind::kNotAVideo);
  EXPECT_EQ(LookAt(folder_).kind, Kind::kNotAVideo);
}

TEST_F(Look, DoesNotWaitForTheOtherEndOfAFifo) {
  const std::string fifo = folder_ + "/fifo.mp4";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const media::LookResult result = LookAt(fifo);
  EXPECT_EQ(result.kind, Kind::kNotAVideo);
  EXPECT_EQ(result.reason, "no regular file");
}

TEST_F(Look, SaysThatAFileCannotBeRead) {
  const media::LookResult missing = LookAt(folder_ + "/missing.mp4");
  EXPECT_EQ(missing.kind, Kind::kUnreadable);
  EXPECT_EQ(missing.reason, "cannot be opened: No such file or directory");
  std::ifstream whole(MediaFile("moov_last.mp4"));
  std::string half(400'000, '\0');
  whole.read(half.data(), static_cast<std::streamsize>(half.size()));
  EXPECT_EQ(LookAt(Put("half.mp4", half)).kind, Kind::kUnreadable);
}

TEST_F(Look, TakesAbsolutePathsOnly) {
  for (const std::string& path : {std::string(), std::string("film.mp4"), std::string("/film\0.mp4", 10)}) {
    EXPECT_EQ(ProbeFile(path).reason, "no absolute path");
  }
}

TEST_F(Look, FollowsNamesOfAnyBytes) {
  for (const char* name : {"new\nline.mp4", "-i", "con\xFF\xFE.mp4", "a b'c\"d$(e).mp4"}) {
    const std::string path = folder_ + "/" + name;
    std::filesystem::copy_file(MediaFile("silent.mp4"), path);
    EXPECT_EQ(LookAt(path).kind, Kind::kVideo) << name;
  }
}

TEST_F(Look, TakesAPicture) {
  const Picture picture = TakePicture(MediaFile("h264_aac.mp4"), 320);
  EXPECT_TRUE(picture.jpeg.starts_with("\xFF\xD8\xFF")) << picture.reason;
  EXPECT_GT(picture.jpeg.size(), 1000U);
}

TEST_F(Look, SaysWhetherThereWillBeAPictureLater) {
  const Picture song = TakePicture(MediaFile("audio_only.m4a"), 320);
  EXPECT_TRUE(song.jpeg.empty());
  EXPECT_TRUE(song.lasting);
  const Picture missing = TakePicture(folder_ + "/missing.mp4", 320);
  EXPECT_TRUE(missing.jpeg.empty());
  EXPECT_FALSE(missing.lasting);
  EXPECT_EQ(TakePicture(MediaFile("h264_aac.mp4"), 15).reason, "no such width");
  EXPECT_EQ(TakePicture(MediaFile("h264_aac.mp4"), 4097).reason, "no such width");
}

}  // namespace
}  // namespace kinora::engine
