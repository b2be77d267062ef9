#include "platform/system/media_guard.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace kinora::system {
namespace {

namespace fs = std::filesystem;
using std::string_literals::operator""s;

TEST(MediaGuard, KnowsListsOfOtherFiles) {
  const std::string lists[] = {
      "#EXTM3U\n#EXT-X-TARGETDURATION:1\n",
      "\xEF\xBB\xBF#EXTM3U\n",
      "ffconcat version 1.0\nfile '/etc/passwd'\n",
      "# VobSub index file, v7\n",
      "ID3\x03\0\0\0\0\0\0#EXTM3U\n"s,
      "<?xml version='1.0'?>\n<MPD xmlns='urn:mpeg:dash:schema:mpd:2011'>",
      "1\n00:00:01,000 --> 00:00:02,000\n<mpd dash:profile>\n",
      "<CompositionPlaylist xmlns=''>",
      "v=0\no=- 0 0\nc=IN IP4 127.0.0.1\n",
      "c=IN IP4 127.0.0.1\n",
      "v=0\r\nm=video 5004 RTP/AVP 96\r\n",
      std::string(1 << 20, ' ') + "<MPD>",
  };
  for (const std::string& list : lists) EXPECT_TRUE(MayNameOtherFiles(list)) << list.substr(0, 60);
}

TEST(MediaGuard, LetsFilmsAndSubtitlesPass) {
  const std::string files[] = {
      "",
      "\0\0\0\x20"
      "ftypisom<MPD <CompositionPlaylist"s,
      "\x1A\x45\xDF\xA3\0#EXTM3U"s,
      "RIFF\0\0\0\0AVI "s,
      "1\n00:00:01,000 --> 00:00:02,000\nThe #EXTM3U of ffconcat, ID3 and m=video\n",
      "WEBVTT\n\n00:01.000 --> 00:02.000\n<i>x</i>\n",
      "[Script Info]\n",
      "<SAMI>\n<BODY><SYNC Start=0>",
      "{1}{2}text\n",
      "#EXTM3",
  };
  for (const std::string& file : files) EXPECT_FALSE(MayNameOtherFiles(file)) << file;
}

class MediaInputsTest : public testing::Test {
 protected:
  MediaInputsTest() {
    std::string name = testing::TempDir() + "inputs-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    std::ofstream(folder_ / "film.mkv") << "\x1A\x45\xDF\xA3";
    std::ofstream(folder_ / "list.mkv") << "#EXTM3U\n";
  }
  ~MediaInputsTest() override { fs::remove_all(folder_); }

  static bool Reads(const std::string& program, const std::string& input) {
    return ReadsOneFile({program, "-y", "-i", input, "-scodec", "subrip", "/tmp/out.srt"});
  }

  fs::path folder_;
};

TEST_F(MediaInputsTest, ArePlainFilesThatNameNoOthers) {
  EXPECT_TRUE(Reads("/target/bin/ffmpeg", folder_ / "film.mkv"));
  EXPECT_FALSE(Reads("/target/bin/ffmpeg", folder_ / "list.mkv"));
  EXPECT_FALSE(Reads("/target/bin/ffmpeg", folder_ / "missing.mkv"));
  EXPECT_FALSE(Reads("/target/bin/ffmpeg", folder_));
  EXPECT_FALSE(Reads("/target/bin/ffmpeg", "film.mkv"));
  EXPECT_FALSE(Reads("/target/bin/ffmpeg", "http://127.0.0.1/film.mkv"));
  EXPECT_FALSE(Reads("/target/bin/ffmpeg", "concat:" + (folder_ / "film.mkv").native()));
  EXPECT_FALSE(Reads("/target/bin/ffmpeg", ""));
}

TEST_F(MediaInputsTest, AreNeverWaitedFor) {
  ASSERT_EQ(::mkfifo((folder_ / "pipe.mkv").c_str(), 0600), 0);
  EXPECT_FALSE(Reads("/target/bin/ffmpeg", folder_ / "pipe.mkv"));
  EXPECT_FALSE(Reads("/target/bin/ffmpeg", "/dev/zero"));
}

TEST_F(MediaInputsTest, AreAllLookedAt) {
  EXPECT_FALSE(
      ReadsOneFile({"/bin/ffmpeg", "-i", folder_ / "film.mkv", "-i", folder_ / "list.mkv", "out.srt"}));
}

TEST_F(MediaInputsTest, OfOtherProgramsAreTheirs) {
  EXPECT_TRUE(Reads("/usr/bin/php", folder_ / "list.mkv"));
  EXPECT_TRUE(ReadsOneFile({}));
  EXPECT_TRUE(ReadsOneFile({"/bin/ffmpeg", "-i"}));
}

}  // namespace
}  // namespace kinora::system
