// The pictures against frames that ffmpeg itself takes from the same files.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "tests/unit/helpers/helper_process.h"

namespace kinora::helper {
namespace {

constexpr char kNoFilm[] = "no picture in it that can be decoded\n";

// The luma of a picture file, scaled to 64 by 64.
std::string Luma(const std::string& picture) {
  const Ended ended = RunProgram({"ffmpeg", "-nostdin", "-v", "error", "-i", picture, "-vf", "scale=64:64",
                                  "-pix_fmt", "gray", "-f", "rawvideo", "-"});
  EXPECT_EQ(ended.output.size(), 64U * 64U) << ended.errors;
  return ended.output;
}

double MeanDifference(const std::string& one, const std::string& other) {
  if (one.size() != other.size() || one.empty()) return 255;
  double sum = 0;
  for (size_t i = 0; i < one.size(); ++i) {
    sum += std::abs(static_cast<uint8_t>(one[i]) - static_cast<uint8_t>(other[i]));
  }
  return sum / static_cast<double>(one.size());
}

std::string SizeOf(const std::string& picture) {
  const Ended ended = RunProgram({"ffprobe", "-v", "error", "-show_entries", "stream=codec_name,width,height",
                                  "-of", "csv=p=0", picture});
  return ended.output.substr(0, ended.output.find('\n'));
}

// What ffmpeg shows at the key frame before the time: upright, as a player would. Films that do not name
// their colour matrix have that of their size.
void TakeReference(const std::string& file, const std::string& time, const std::string& matrix,
                   const std::string& picture) {
  const Ended ended =
      RunProgram({"ffmpeg",    "-nostdin",
                  "-v",        "error",
                  "-y",        "-noaccurate_seek",
                  "-ss",       time,
                  "-i",        file,
                  "-map",      "0:v:0",
                  "-fps_mode", "passthrough",
                  "-vf",       "scale=in_color_matrix=" + matrix + ":out_color_matrix=bt601,format=yuvj420p",
                  "-frames:v", "1",
                  "-q:v",      "2",
                  picture});
  ASSERT_EQ(ended.status, 0) << ended.errors;
}

struct Row {
  const char* file;
  const char* time;  // 10 % in
  const char* size;
  const char* matrix = "bt601";
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.file; }

class PictureOfMedia : public testing::TestWithParam<Row> {};

TEST_P(PictureOfMedia, IsTheFrameALittleWayIn) {
  const ScratchFolder folder;
  const std::string file = MediaFile(GetParam().file);
  const Ended ended = TakePicture(file, 320);
  ASSERT_EQ(ended.status, 0) << ended.errors;
  WriteWhole(folder.File("taken.jpg"), ended.output);
  EXPECT_EQ(SizeOf(folder.File("taken.jpg")), std::string("mjpeg,") + GetParam().size);
  TakeReference(file, GetParam().time, GetParam().matrix, folder.File("reference.jpg"));
  EXPECT_LT(MeanDifference(Luma(folder.File("taken.jpg")), Luma(folder.File("reference.jpg"))), 8.0);
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, PictureOfMedia,
    testing::Values(
        Row{"h264_aac.mp4", "2", "320,180", "bt709"}, Row{"h264_aac.mov", "0.5", "320,180", "bt709"},
        Row{"h264_aac.flv", "0.5", "320,180", "bt709"}, Row{"h264_ac3.mkv", "1", "320,180", "bt709"},
        Row{"rotated_90.mp4", "0.5", "320,568", "bt709"}, Row{"rotated_180.mp4", "0.5", "320,180", "bt709"},
        Row{"rotated_270.mp4", "0.5", "320,568", "bt709"}, Row{"anamorphic.mp4", "0.4", "320,180"},
        Row{"hevc_10bit.mkv", "0.4", "320,180", "bt2020"}, Row{"mpeg4_mp3.avi", "0.6", "320,240"},
        Row{"vp9_opus.webm", "0.4", "320,180"}, Row{"vp8_vorbis.webm", "0.4", "320,180"},
        Row{"theora_vorbis.ogv", "0.4", "320,180"}, Row{"wmv.asf", "0", "320,240"},
        Row{"odd_size.mkv", "0.4", "320,242"}, Row{"h264_422.mkv", "0.2", "320,180"},
        Row{"h264_444.mkv", "0.2", "320,180"}, Row{"h264_10bit.mkv", "0.2", "320,180"},
        Row{"av1.mkv", "0.2", "320,180"}, Row{"prores.mov", "0.1", "320,180"},
        Row{"cover.mp4", "0.5", "320,180", "bt709"}, Row{"languages.mkv", "0.8", "320,180", "bt709"},
        Row{"silent.mp4", "0.5", "320,180", "bt709"}));

// Transport and program streams have no index: which key frame is met is the demuxer's business.
TEST(Picture, IsTakenFromStreamsWithoutAnIndex) {
  const ScratchFolder folder;
  for (const char* file : {"h264_aac.ts", "mpeg2_mp2.mpg"}) {
    SCOPED_TRACE(file);
    const Ended ended = TakePicture(MediaFile(file), 320);
    ASSERT_EQ(ended.status, 0) << ended.errors;
    WriteWhole(folder.File("taken.jpg"), ended.output);
    EXPECT_EQ(SizeOf(folder.File("taken.jpg")), "mjpeg,320,180");
    TakeReference(MediaFile(file), "0", "bt601", folder.File("reference.jpg"));
    EXPECT_LT(MeanDifference(Luma(folder.File("taken.jpg")), Luma(folder.File("reference.jpg"))), 40.0);
  }
}

TEST(Picture, HasTheWidthThatIsAskedFor) {
  const ScratchFolder folder;
  const struct {
    int width;
    const char* size;
  } cases[] = {
      {16, "mjpeg,16,10"}, {161, "mjpeg,160,90"}, {1280, "mjpeg,1280,720"}, {1920, "mjpeg,1920,1080"}};
  for (const auto& row : cases) {
    WriteWhole(folder.File("taken.jpg"), TakePicture(MediaFile("h264_aac.mp4"), row.width).output);
    EXPECT_EQ(SizeOf(folder.File("taken.jpg")), row.size);
  }
}

// Black for the first 6 s of 20: the places at 2, 3, 4 and 5 s are passed over.
TEST(Picture, PassesOverNearlyBlackFrames) {
  const ScratchFolder folder;
  const Ended ended = TakePicture(MediaFile("black_start.mp4"), 320);
  ASSERT_EQ(ended.status, 0) << ended.errors;
  WriteWhole(folder.File("taken.jpg"), ended.output);
  TakeReference(MediaFile("black_start.mp4"), "6", "bt601", folder.File("reference.jpg"));
  EXPECT_LT(MeanDifference(Luma(folder.File("taken.jpg")), Luma(folder.File("reference.jpg"))), 8.0);
}

TEST(Picture, IsBlackWhenTheWholeFilmIs) {
  const ScratchFolder folder;
  const Ended ended = TakePicture(MediaFile("black.mp4"), 320);
  ASSERT_EQ(ended.status, 0) << ended.errors;
  WriteWhole(folder.File("taken.jpg"), ended.output);
  for (const char luma : Luma(folder.File("taken.jpg"))) ASSERT_LT(static_cast<uint8_t>(luma), 20);
}

TEST(Picture, IsTheCoverWhenThereIsNoFilm) {
  const ScratchFolder folder;
  const Ended ended = TakePicture(MediaFile("song_with_cover.m4a"), 320);
  ASSERT_EQ(ended.status, 0) << ended.errors;
  WriteWhole(folder.File("taken.jpg"), ended.output);
  EXPECT_LT(MeanDifference(Luma(folder.File("taken.jpg")), Luma(MediaFile("cover_frame.jpg"))), 8.0);
}

TEST(Picture, IsRefusedWhereThereIsNoneToBeHad) {
  const Ended song = TakePicture(MediaFile("audio_only.m4a"), 320);
  EXPECT_EQ(song.status, 65);
  EXPECT_EQ(song.errors, kNoFilm);
  EXPECT_TRUE(song.output.empty());
  EXPECT_EQ(TakePicture(MediaFile("words.srt"), 320).status, 65);
}

TEST(Picture, RefusesWrongUseWithItsUsage) {
  const char* const wrong[] = {"", "15", "4097", "-1", "320x", " 320", "0x140", "99999999999"};
  for (const char* width : wrong) {
    const Ended ended = RunOn(MediaFile("h264_aac.mp4"), {PictureProgram(), width});
    EXPECT_EQ(ended.status, 64) << width;
    EXPECT_EQ(ended.errors, "usage: kinora-picture WIDTH 3<FILE >PICTURE\n") << width;
  }
  EXPECT_EQ(RunOn(MediaFile("h264_aac.mp4"), {PictureProgram()}).status, 64);
  EXPECT_EQ(RunProgram({PictureProgram(), "320"}).status, 64);
}

}  // namespace
}  // namespace kinora::helper
