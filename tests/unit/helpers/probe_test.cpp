// The probe against what ffprobe says of the same files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <numeric>

#include "tests/unit/helpers/helper_process.h"

namespace kinora::helper {
namespace {

Json::Value Ffprobe(const std::string& file) {
  const Ended ended =
      RunProgram({"ffprobe", "-v", "error", "-probesize", "8388608", "-analyzeduration", "10000000",
                  "-show_format", "-show_streams", "-of", "json", "file:" + file});
  EXPECT_EQ(ended.status, 0) << ended.errors;
  return Parse(ended.output);
}

Json::Value ProbeReport(const std::string& file) {
  const Ended ended = Probe(file);
  EXPECT_EQ(ended.status, 0) << file << ": " << ended.errors;
  return ended.status == 0 ? Parse(ended.output) : Json::Value(Json::objectValue);
}

int64_t NumberIn(const Json::Value& text) { return text.isString() ? std::atoll(text.asCString()) : 0; }

std::string LanguageIn(const Json::Value& stream) {
  const std::string language = stream["tags"]["language"].asString();
  return language == "und" ? "" : language;
}

int ClockwiseRotation(const Json::Value& stream) {
  for (const Json::Value& data : stream["side_data_list"]) {
    if (data.isMember("rotation")) return (360 - data["rotation"].asInt()) % 360;
  }
  return 0;
}

std::string DisplayAspect(const Json::Value& stream) {
  if (stream.isMember("display_aspect_ratio")) return stream["display_aspect_ratio"].asString();
  const int divisor = std::gcd(stream["width"].asInt(), stream["height"].asInt());
  return std::to_string(stream["width"].asInt() / divisor) + ":" +
         std::to_string(stream["height"].asInt() / divisor);
}

bool IsPictureOrSound(const Json::Value& stream) {
  return stream["codec_type"] == "video" || stream["codec_type"] == "audio";
}

void ExpectSameTrack(const Json::Value& track, const Json::Value& stream) {
  EXPECT_EQ(track["id"], stream["index"]);
  EXPECT_EQ(track["language"].asString(), LanguageIn(stream));
  EXPECT_EQ(track["title"].asString(), stream["tags"]["title"].asString());
  EXPECT_EQ(track["default"].asBool(), stream["disposition"]["default"].asInt() == 1);
  EXPECT_EQ(track["forced"].asBool(), stream["disposition"]["forced"].asInt() == 1);
  // The codec's name may bear a suffix, which names_test.cpp looks at.
  EXPECT_TRUE((track["codec"].asString() + "_").starts_with(stream["codec_name"].asString() + "_"))
      << track["codec"];
}

void ExpectSameVideo(const Json::Value& track, const Json::Value& stream) {
  ExpectSameTrack(track, stream);
  for (const char* key : {"width", "height"}) EXPECT_EQ(track[key], stream[key]) << key;
  // ffprobe names only profiles that have names, and numbers the others.
  if (!track["profile"].asString().empty()) {
    EXPECT_EQ(track["profile"], stream["profile"]);
  }
  EXPECT_EQ(track["pixel_format"], stream["pix_fmt"]);
  EXPECT_EQ(track["level"].asInt(), std::max(stream["level"].asInt(), 0));
  EXPECT_EQ(track["display_x"].asString() + ":" + track["display_y"].asString(), DisplayAspect(stream));
  EXPECT_EQ(track["rate_num"].asString() + "/" + track["rate_den"].asString(), stream["avg_frame_rate"]);
  EXPECT_EQ(track["rotate"].asInt(), ClockwiseRotation(stream));
  EXPECT_EQ(track["field_order"].asString(), stream["field_order"].asString());
  if (stream.isMember("bit_rate")) {
    EXPECT_EQ(track["bitrate"].asInt64(), NumberIn(stream["bit_rate"]));
  }
  EXPECT_GT(track["bitrate"].asInt64(), 0);
}

void ExpectSameAudio(const Json::Value& track, const Json::Value& stream) {
  ExpectSameTrack(track, stream);
  if (!track["profile"].asString().empty()) {
    EXPECT_EQ(track["profile"], stream["profile"]);
  }
  EXPECT_EQ(track["channels"], stream["channels"]);
  if (stream.isMember("channel_layout")) {
    EXPECT_EQ(track["layout"], stream["channel_layout"]);
  }
  EXPECT_EQ(track["frequency"].asInt64(), NumberIn(stream["sample_rate"]));
  // In a transport stream it is measured, and depends a little on how much was read.
  const auto bitrate = static_cast<double>(NumberIn(stream["bit_rate"]));
  EXPECT_NEAR(track["bitrate"].asDouble(), bitrate, bitrate * 0.02);
}

void ExpectSameSubtitle(const Json::Value& track, const Json::Value& stream) {
  ExpectSameTrack(track, stream);
  EXPECT_EQ(track["hearing_impaired"].asBool(), stream["disposition"]["hearing_impaired"].asInt() == 1);
}

void ExpectSameFormat(const Json::Value& report, const Json::Value& format) {
  EXPECT_EQ(report["size"].asInt64(), NumberIn(format["size"]));
  const double seconds = std::atof(format["duration"].asCString());
  EXPECT_NEAR(report["duration_ms"].asDouble(), seconds * 1000, 1.0);
  EXPECT_EQ(report["duration"].asInt64(), std::llround(seconds));
  EXPECT_NEAR(report["start_ms"].asDouble(), std::atof(format["start_time"].asCString()) * 1000, 1.0);
  EXPECT_EQ(report["bitrate"].asInt64(), NumberIn(format["bit_rate"]));
  EXPECT_EQ(report["title"].asString(), format["tags"]["title"].asString());
}

class ProbeOnMedia : public testing::TestWithParam<const char*> {};

TEST_P(ProbeOnMedia, SaysWhatFfprobeSays) {
  const std::string file = MediaFile(GetParam());
  const Json::Value report = ProbeReport(file);
  const Json::Value truth = Ffprobe(file);
  ExpectSameFormat(report, truth["format"]);
  Json::ArrayIndex video = 0;
  Json::ArrayIndex audio = 0;
  Json::ArrayIndex subtitle = 0;
  int pictures = 0;
  for (const Json::Value& stream : truth["streams"]) {
    SCOPED_TRACE(stream["index"].asString());
    const std::string type = stream["codec_type"].asString();
    if (stream["disposition"]["attached_pic"].asInt() == 1) {
      ++pictures;
    } else if (type == "video") {
      ExpectSameVideo(report["video"][video++], stream);
    } else if (type == "audio") {
      ExpectSameAudio(report["audio"][audio++], stream);
    } else if (type == "subtitle") {
      ExpectSameSubtitle(report["subtitle"][subtitle++], stream);
    }
  }
  EXPECT_EQ(report["video"].size(), video);
  EXPECT_EQ(report["audio"].size(), audio);
  EXPECT_EQ(report["subtitle"].size(), subtitle);
  EXPECT_EQ(report["pictures"].asInt(), pictures);
}

INSTANTIATE_TEST_SUITE_P(
    AllFiles, ProbeOnMedia,
    testing::Values("anamorphic.mp4", "audio_only.m4a", "av1.mkv", "black_start.mp4", "cover.mp4",
                    "h264_10bit.mkv", "h264_422.mkv", "h264_444.mkv", "h264_aac.flv", "h264_aac.mov",
                    "h264_aac.mp4", "h264_aac.ts", "h264_ac3.mkv", "hevc_10bit.mkv", "languages.mkv",
                    "many_subtitles.mkv", "moov_last.mp4", "mpeg2_mp2.mpg", "mpeg4_mp3.avi", "odd_size.mkv",
                    "prores.mov", "rotated_180.mp4", "rotated_270.mp4", "rotated_90.mp4", "silent.mp4",
                    "song_with_cover.m4a", "subtitles.mkv", "subtitles.mp4", "surround.mp4",
                    "theora_vorbis.ogv", "vp8_vorbis.webm", "vp9_opus.webm", "wmv.asf"));

// What was asked of ffmpeg when the files were made.
TEST(Probe, NamesContainersAndCodecsByContent) {
  const struct {
    const char* file;
    const char* container;
    const char* video;
    const char* audio;
  } cases[] = {
      {"h264_aac.mp4", "mp4", "h264", "aac"},           {"h264_aac.mov", "mov", "h264", "aac"},
      {"h264_ac3.mkv", "mkv", "h264", "ac3"},           {"vp9_opus.webm", "webm", "vp9", "opus"},
      {"vp8_vorbis.webm", "webm", "vp8", "vorbis"},     {"mpeg4_mp3.avi", "avi", "mpeg4", "mp3"},
      {"h264_aac.ts", "mpegts", "h264", "aac"},         {"mpeg2_mp2.mpg", "mpeg", "mpeg2video", "mp2"},
      {"h264_aac.flv", "flv", "h264", "aac"},           {"wmv.asf", "asf", "wmv2", "wmav2"},
      {"theora_vorbis.ogv", "ogg", "theora", "vorbis"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.file);
    const Json::Value report = ProbeReport(MediaFile(row.file));
    EXPECT_EQ(report["container"], row.container);
    EXPECT_EQ(report["video"][0]["codec"], row.video);
    EXPECT_EQ(report["audio"][0]["codec"], row.audio);
  }
}

TEST(Probe, TellsShapeRotationAndColour) {
  const struct {
    const char* file;
    const char* key;
    Json::Value value;
  } cases[] = {
      {"rotated_90.mp4", "rotate", 90},
      {"rotated_180.mp4", "rotate", 180},
      {"rotated_270.mp4", "rotate", 270},
      {"h264_aac.mp4", "rotate", 0},
      {"anamorphic.mp4", "display_x", 16},
      {"anamorphic.mp4", "display_y", 9},
      {"anamorphic.mp4", "width", 720},
      {"odd_size.mkv", "width", 317},
      {"odd_size.mkv", "height", 239},
      {"hevc_10bit.mkv", "codec", "hevc_10bit"},
      {"hevc_10bit.mkv", "hdr", "pq"},
      {"hevc_10bit.mkv", "rate_num", 24000},
      {"hevc_10bit.mkv", "rate_den", 1001},
      {"h264_aac.mp4", "hdr", ""},
      {"h264_422.mkv", "codec", "h264_422"},
      {"h264_444.mkv", "codec", "h264_444"},
      {"h264_10bit.mkv", "codec", "h264_10bit"},
      {"prores.mov", "codec", "prores_422_10bit"},
      {"hevc_10bit.mkv", "color_matrix", "bt2020nc"},
      {"hevc_10bit.mkv", "color_primaries", "bt2020"},
      {"hevc_10bit.mkv", "color_transfer", "smpte2084"},
      {"h264_aac.mp4", "color_matrix", ""},
      {"h264_aac.mp4", "color_primaries", ""},
      {"h264_aac.mp4", "color_transfer", ""},
      {"mpeg2_mp2.mpg", "field_order", "tt"},
      {"h264_lossless.mkv", "codec", "h264_rare"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(ProbeReport(MediaFile(row.file))["video"][0][row.key], row.value) << row.file << " " << row.key;
  }
}

TEST(Probe, ListsTracksWithLanguagesAndDispositions) {
  const Json::Value report = ProbeReport(MediaFile("languages.mkv"));
  ASSERT_EQ(report["audio"].size(), 2U);
  EXPECT_EQ(report["audio"][0]["language"], "eng");
  EXPECT_EQ(report["audio"][0]["title"], "Original");
  EXPECT_FALSE(report["audio"][0]["default"].asBool());
  EXPECT_EQ(report["audio"][1]["language"], "ger");
  EXPECT_TRUE(report["audio"][1]["default"].asBool());
  EXPECT_EQ(report["audio"][1]["channels"], 1);
  ASSERT_EQ(report["subtitle"].size(), 2U);
  EXPECT_EQ(report["subtitle"][0]["codec"], "subrip");
  EXPECT_EQ(report["subtitle"][0]["language"], "fre");
  EXPECT_EQ(report["subtitle"][1]["codec"], "ass");
  EXPECT_TRUE(report["subtitle"][1]["forced"].asBool());
}

TEST(Probe, DoesNotCareForTheFilesName) {
  const ScratchFolder folder;
  const std::string file = folder.File("film.avi");
  WriteWhole(file, ReadWhole(MediaFile("vp9_opus.webm")));
  EXPECT_EQ(ProbeReport(file)["container"], "webm");
}

TEST(Probe, LeavesTheSharedOffsetOfTheDescriptorAlone) {
  FILE* file = std::fopen(MediaFile("h264_aac.mp4").c_str(), "r");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(RunProgram({ProbeProgram()}, fileno(file)).status, 0);
  EXPECT_EQ(std::ftell(file), 0);
  std::fclose(file);
}

TEST(Probe, RefusesWrongUseWithItsUsage) {
  const Ended arguments = RunProgram({ProbeProgram(), "file.mp4"});
  EXPECT_EQ(arguments.status, 64);
  EXPECT_EQ(arguments.errors, "usage: kinora-probe 3<FILE\n");
  EXPECT_EQ(RunProgram({ProbeProgram()}).status, 64);
  const Ended folder = RunOn("/", {ProbeProgram()});
  EXPECT_EQ(folder.status, 64);
  EXPECT_EQ(folder.errors, "descriptor 3 is no regular file\n");
}

TEST(Probe, UnderstandsTheSampleFiles) {
  const std::string samples = KINORA_SOURCE_DIR "/../shared/samples/";
  const char* const files[] = {
      "media_androidx/sample_with_srt.mkv", "media_androidx/sample_with_ssa_subtitles.mkv",
      "media_subedit/container_text.mkv", "media_subedit/container_text_undeclared_lang.mkv",
      "media_subedit/sample_MP4_stz2_compact.mp4"};
  if (!std::filesystem::exists(samples + files[0])) GTEST_SKIP() << "the sample files are not here";
  for (const char* file : files) {
    SCOPED_TRACE(file);
    const Ended ended = Probe(samples + file);
    const Json::Value truth = Ffprobe(samples + file);
    if (std::none_of(truth["streams"].begin(), truth["streams"].end(), IsPictureOrSound)) {
      EXPECT_EQ(ended.status, 65);
      EXPECT_EQ(ended.errors, "neither picture nor sound in it\n");
      continue;
    }
    ASSERT_EQ(ended.status, 0) << ended.errors;
    const Json::Value report = Parse(ended.output);
    const Json::ArrayIndex tracks =
        report["video"].size() + report["audio"].size() + report["subtitle"].size();
    EXPECT_EQ(tracks, truth["streams"].size());
    ExpectSameFormat(report, truth["format"]);
  }
}

}  // namespace
}  // namespace kinora::helper
