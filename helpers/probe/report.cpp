#include "helpers/probe/report.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "helpers/common/exit_codes.h"
#include "helpers/probe/names.h"
#include "platform/base/text.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/pixdesc.h>
}

namespace kinora::helper {
namespace {

constexpr size_t kLongestText = 1024;
constexpr size_t kLongestHeader = 4096;
constexpr int64_t kHighestBitrate = INT_MAX;

std::string Text(const char* text) {
  if (text == nullptr) return "";
  return base::ToUtf8(std::string_view(text, ::strnlen(text, kLongestText)));
}

std::string Tag(const AVDictionary* tags, const char* key) {
  const AVDictionaryEntry* entry = av_dict_get(tags, key, nullptr, 0);
  return entry == nullptr ? "" : Text(entry->value);
}

int64_t Bounded(int64_t value, int64_t most) { return std::clamp<int64_t>(value, 0, most); }

int64_t Milliseconds(int64_t time) {
  return time == AV_NOPTS_VALUE ? 0 : av_rescale(time, 1000, AV_TIME_BASE);
}

// Matroska writers leave the bit rate in a tag, with or without a language behind its name.
int64_t StatedBitrate(const AVStream& stream) {
  if (stream.codecpar->bit_rate > 0) return Bounded(stream.codecpar->bit_rate, kHighestBitrate);
  for (const char* key : {"BPS", "BPS-eng"}) {
    const AVDictionaryEntry* entry = av_dict_get(stream.metadata, key, nullptr, 0);
    if (entry != nullptr) return Bounded(std::strtoll(entry->value, nullptr, 10), kHighestBitrate);
  }
  return 0;
}

Json::Value Track(const AVStream& stream) {
  Json::Value track(Json::objectValue);
  track["id"] = stream.index;
  track["decodable"] = avcodec_find_decoder(stream.codecpar->codec_id) != nullptr;
  const std::string language = Tag(stream.metadata, "language");
  track["language"] = language == "und" ? "" : language;
  track["title"] = Tag(stream.metadata, "title");
  track["default"] = (stream.disposition & AV_DISPOSITION_DEFAULT) != 0;
  track["forced"] = (stream.disposition & AV_DISPOSITION_FORCED) != 0;
  return track;
}

const char* FieldOrder(AVFieldOrder order) {
  switch (order) {
    case AV_FIELD_PROGRESSIVE:
      return "progressive";
    case AV_FIELD_TT:
      return "tt";
    case AV_FIELD_BB:
      return "bb";
    case AV_FIELD_TB:
      return "tb";
    case AV_FIELD_BT:
      return "bt";
    default:
      return "";
  }
}

const char* HdrTransfer(AVColorTransferCharacteristic transfer) {
  if (transfer == AVCOL_TRC_SMPTE2084) return "pq";
  return transfer == AVCOL_TRC_ARIB_STD_B67 ? "hlg" : "";
}

void AddShape(Json::Value& track, AVFormatContext* context, AVStream* stream) {
  const AVCodecParameters& parameters = *stream->codecpar;
  track["width"] = parameters.width;
  track["height"] = parameters.height;
  AVRational sample = av_guess_sample_aspect_ratio(context, stream, nullptr);
  if (sample.num <= 0 || sample.den <= 0) sample = {1, 1};
  AVRational display{0, 0};
  av_reduce(&display.num, &display.den, int64_t{parameters.width} * sample.num,
            int64_t{parameters.height} * sample.den, 1 << 20);
  track["display_x"] = display.num;
  track["display_y"] = display.den;
  track["rotate"] = RotationOf(*stream);
}

// FFmpeg's names; "" for what the file does not say.
void AddColor(Json::Value& track, const AVCodecParameters& parameters) {
  const bool matrix = parameters.color_space != AVCOL_SPC_UNSPECIFIED;
  const bool primaries = parameters.color_primaries != AVCOL_PRI_UNSPECIFIED;
  const bool transfer = parameters.color_trc != AVCOL_TRC_UNSPECIFIED;
  track["color_matrix"] = matrix ? Text(av_color_space_name(parameters.color_space)) : "";
  track["color_primaries"] = primaries ? Text(av_color_primaries_name(parameters.color_primaries)) : "";
  track["color_transfer"] = transfer ? Text(av_color_transfer_name(parameters.color_trc)) : "";
}

Json::Value VideoTrack(AVFormatContext* context, AVStream* stream) {
  const AVCodecParameters& parameters = *stream->codecpar;
  const auto pixel_format = static_cast<AVPixelFormat>(parameters.format);
  Json::Value track = Track(*stream);
  track["codec"] = VideoCodecName(parameters.codec_id, pixel_format, parameters.profile, parameters.level,
                                  parameters.field_order);
  track["profile"] = Text(avcodec_profile_name(parameters.codec_id, parameters.profile));
  track["level"] = std::max(parameters.level, 0);
  track["pixel_format"] = Text(av_get_pix_fmt_name(pixel_format));
  AddShape(track, context, stream);
  const AVRational rate = av_guess_frame_rate(context, stream, nullptr);
  const bool known = rate.num > 0 && rate.den > 0;
  track["rate_num"] = known ? rate.num : 0;
  track["rate_den"] = known ? rate.den : 0;
  track["field_order"] = FieldOrder(parameters.field_order);
  track["hdr"] = HdrTransfer(parameters.color_trc);
  AddColor(track, parameters);
  track["bitrate"] = Json::Int64{StatedBitrate(*stream)};
  return track;
}

Json::Value AudioTrack(const AVStream& stream) {
  const AVCodecParameters& parameters = *stream.codecpar;
  Json::Value track = Track(stream);
  track["codec"] = CodecName(parameters.codec_id, AV_PIX_FMT_NONE);
  track["profile"] = Text(avcodec_profile_name(parameters.codec_id, parameters.profile));
  track["channels"] = std::max(parameters.ch_layout.nb_channels, 0);
  char layout[64] = {};
  if (av_channel_layout_describe(&parameters.ch_layout, layout, sizeof layout) < 0) layout[0] = '\0';
  track["layout"] = Text(layout);
  track["frequency"] = std::max(parameters.sample_rate, 0);
  track["bitrate"] = Json::Int64{StatedBitrate(stream)};
  return track;
}

Json::Value SubtitleTrack(const AVStream& stream) {
  Json::Value track = Track(stream);
  track["codec"] = CodecName(stream.codecpar->codec_id, AV_PIX_FMT_NONE);
  track["hearing_impaired"] = (stream.disposition & AV_DISPOSITION_HEARING_IMPAIRED) != 0;
  return track;
}

// What the other streams leave of the whole, for a lone film track that says nothing itself.
void EstimateVideoBitrate(Json::Value& report) {
  Json::Value& video = report["video"];
  if (video.size() != 1 || video[0]["bitrate"].asInt64() != 0) return;
  int64_t rest = report["bitrate"].asInt64();
  for (const Json::Value& track : report["audio"]) rest -= track["bitrate"].asInt64();
  video[0]["bitrate"] = Json::Int64{std::max<int64_t>(rest, 0)};
}

std::string Container(const MediaInput& input) {
  const AVFormatContext& context = *input.Get();
  return ContainerName(context.iformat->name, Tag(context.metadata, "major_brand"),
                       MatroskaDocType(input.Head(kLongestHeader)));
}

void AddStream(Json::Value& report, AVFormatContext* context, AVStream* stream) {
  switch (stream->codecpar->codec_type) {
    case AVMEDIA_TYPE_VIDEO:
      if (IsFilmTrack(*stream)) {
        report["video"].append(VideoTrack(context, stream));
      } else {
        report["pictures"] = report["pictures"].asInt() + 1;
      }
      break;
    case AVMEDIA_TYPE_AUDIO:
      report["audio"].append(AudioTrack(*stream));
      break;
    case AVMEDIA_TYPE_SUBTITLE:
      report["subtitle"].append(SubtitleTrack(*stream));
      break;
    default:
      break;
  }
}

}  // namespace

Json::Value MakeReport(const MediaInput& input) {
  AVFormatContext* context = input.Get();
  Json::Value report(Json::objectValue);
  report["container"] = Container(input);
  report["size"] = Json::Int64{input.Size()};
  const int64_t duration = std::max<int64_t>(Milliseconds(context->duration), 0);
  report["duration_ms"] = Json::Int64{duration};
  report["duration"] = Json::Int64{duration / 1000 + (duration % 1000 >= 500 ? 1 : 0)};
  report["start_ms"] = Json::Int64{Milliseconds(context->start_time)};
  report["bitrate"] = Json::Int64{Bounded(context->bit_rate, kHighestBitrate)};
  report["title"] = Tag(context->metadata, "title");
  for (const char* kind : {"video", "audio", "subtitle"}) report[kind] = Json::Value(Json::arrayValue);
  report["pictures"] = 0;
  for (unsigned int i = 0; i < context->nb_streams; ++i) AddStream(report, context, context->streams[i]);
  if (report["video"].empty() && report["audio"].empty() && report["pictures"] == 0) {
    throw Failure(kNoMedia, "neither picture nor sound in it");
  }
  EstimateVideoBitrate(report);
  return report;
}

}  // namespace kinora::helper
