#include "helpers/probe/names.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace kinora::helper {
namespace {

using std::string_literals::operator""s;

TEST(ContainerName, TellsContainersApartByDemuxerBrandAndDocumentType) {
  const struct {
    const char* demuxer;
    const char* brand;
    const char* doc_type;
    const char* name;
  } cases[] = {
      {"mov,mp4,m4a,3gp,3g2,mj2", "isom", "", "mp4"},
      {"mov,mp4,m4a,3gp,3g2,mj2", "", "", "mp4"},
      {"mov,mp4,m4a,3gp,3g2,mj2", "qt  ", "", "mov"},
      {"matroska,webm", "", "matroska", "mkv"},
      {"matroska,webm", "", "webm", "webm"},
      {"matroska,webm", "", "", "mkv"},
      {"mpegts", "", "", "mpegts"},
      {"mpeg", "", "", "mpeg"},
      {"mpegvideo", "", "", "mpeg"},
      {"avi", "", "", "avi"},
      {"flv", "", "", "flv"},
      {"asf", "", "", "asf"},
      {"ogg", "", "", "ogg"},
      {"hls", "", "", ""},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(ContainerName(row.demuxer, row.brand, row.doc_type), row.name)
        << row.demuxer << " " << row.brand << " " << row.doc_type;
  }
}

TEST(MatroskaDocType, ReadsTheHeaderAndNothingElse) {
  const struct {
    std::string head;
    const char* type;
  } cases[] = {
      {"\x1A\x45\xDF\xA3\x87\x42\x82\x84webm", "webm"},
      {"\x1A\x45\xDF\xA3\x8F\x42\x86\x81\x01\x42\x82\x88matroska", "matroska"},
      {"\x1A\x45\xDF\xA3\x01\x00\x00\x00\x00\x00\x00\x07\x42\x82\x84webm"s, "webm"},
      {"\x1A\x45\xDF\xA3\x89\x42\x82\x86webm\0\0"s, "webm"},
      {"\x1A\x45\xDF\xA3\x84\x42\x86\x81\x01\x42\x82\x84webm", ""},  // after the header's end
      {"\x1A\x45\xDF\xA3\x87\x42\x82\x84we", "we"},                  // cut off
      {"\x1A\x45\xDF\xA3\x87\x42", ""},
      {"\x1A\x45\xDF\xA3\x87\x42\x82\xFF", ""},
      {"\x1A\x45\xDF\xA3\x87\0\0\0"s, ""},
      {"RIFF", ""},
      {"", ""},
  };
  for (const auto& row : cases) EXPECT_EQ(MatroskaDocType(row.head), row.type);
}

TEST(CodecName, BearsWhatFewPlayersTake) {
  const struct {
    AVCodecID codec;
    AVPixelFormat format;
    const char* name;
  } cases[] = {
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, "h264"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUVJ420P, "h264"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_NONE, "h264"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P10LE, "h264_10bit"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV422P, "h264_422"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV444P, "h264_444"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_GRAY8, "h264_400"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_GBRP, "h264_444"},
      {AV_CODEC_ID_HEVC, AV_PIX_FMT_YUV420P10LE, "hevc_10bit"},
      {AV_CODEC_ID_HEVC, AV_PIX_FMT_YUV420P12LE, "hevc_12bit"},
      {AV_CODEC_ID_HEVC, AV_PIX_FMT_YUV422P10LE, "hevc_422_10bit"},
      {AV_CODEC_ID_DVVIDEO, AV_PIX_FMT_YUV411P, "dvvideo_411"},
      {AV_CODEC_ID_MPEG2VIDEO, AV_PIX_FMT_YUV440P, "mpeg2video_440"},
      {AV_CODEC_ID_MSVIDEO1, AV_PIX_FMT_PAL8, "msvideo1"},
      {AV_CODEC_ID_AAC, AV_PIX_FMT_NONE, "aac"},
      {AV_CODEC_ID_NONE, AV_PIX_FMT_NONE, ""},
  };
  for (const auto& row : cases) EXPECT_EQ(CodecName(row.codec, row.format), row.name);
}

TEST(VideoCodecName, BearsWhatFewPlayersShowWell) {
  const struct {
    AVCodecID codec;
    AVPixelFormat format;
    int profile;
    int level;
    const char* name;
    AVFieldOrder order = AV_FIELD_PROGRESSIVE;
  } cases[] = {
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_BASELINE, 30, "h264"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_CONSTRAINED_BASELINE, 30, "h264"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_MAIN, 40, "h264"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_HIGH, 52, "h264"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_UNKNOWN, FF_LEVEL_UNKNOWN, "h264"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_HIGH, 60, "h264_rare"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_EXTENDED, 30, "h264_rare"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_HIGH_10, 40, "h264_rare"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_HIGH_444_PREDICTIVE, 40, "h264_rare"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV444P, FF_PROFILE_H264_HIGH_444_PREDICTIVE, 40, "h264_444"},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P10LE, FF_PROFILE_H264_HIGH_10, 62, "h264_10bit"},
      {AV_CODEC_ID_HEVC, AV_PIX_FMT_YUV420P, FF_PROFILE_HEVC_REXT, 186, "hevc"},
      {AV_CODEC_ID_MPEG4, AV_PIX_FMT_YUV420P, FF_PROFILE_MPEG4_ADVANCED_SIMPLE, 245, "mpeg4"},
      {AV_CODEC_ID_NONE, AV_PIX_FMT_NONE, FF_PROFILE_UNKNOWN, FF_LEVEL_UNKNOWN, ""},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_HIGH, 40, "h264", AV_FIELD_UNKNOWN},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_HIGH, 40, "h264_interlaced", AV_FIELD_TT},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_HIGH, 40, "h264_interlaced", AV_FIELD_BT},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, FF_PROFILE_H264_EXTENDED, 30, "h264_rare", AV_FIELD_TT},
      {AV_CODEC_ID_H264, AV_PIX_FMT_YUV422P, FF_PROFILE_H264_HIGH_422, 40, "h264_422", AV_FIELD_TT},
      {AV_CODEC_ID_MPEG2VIDEO, AV_PIX_FMT_YUV420P, FF_PROFILE_MPEG2_MAIN, 8, "mpeg2video", AV_FIELD_TT},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(VideoCodecName(row.codec, row.format, row.profile, row.level, row.order), row.name)
        << row.profile << ' ' << row.level;
  }
}

}  // namespace
}  // namespace kinora::helper
