#include "helpers/index/cut_film.h"

#include <algorithm>
#include <array>

#include "helpers/common/exit_codes.h"
#include "helpers/index/codec_string.h"
#include "helpers/index/plan.h"
#include "helpers/index/walk.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

namespace kinora::helper {
namespace {

constexpr int64_t kLongestFragment = 60;  // seconds
constexpr int kDeepestReorder = 16;       // packets

bool IsCopied(AVCodecID audio) {
  constexpr AVCodecID kCopied[] = {AV_CODEC_ID_AAC, AV_CODEC_ID_MP3, AV_CODEC_ID_AC3, AV_CODEC_ID_EAC3};
  return std::find(std::begin(kCopied), std::end(kCopied), audio) != std::end(kCopied);
}

IndexTrack Describe(const AVStream& stream) {
  const AVCodecParameters& codec = *stream.codecpar;
  IndexTrack track;
  track.stream = stream.index;
  track.codec = avcodec_get_name(codec.codec_id);
  track.time_base = stream.time_base;
  if (track.time_base.num < 1 || track.time_base.num > kCoarsest || track.time_base.den < 1) {
    throw Failure(kUnreadable, "its time base is none");
  }
  track.extradata.assign(reinterpret_cast<const char*>(codec.extradata),
                         static_cast<size_t>(codec.extradata_size));
  track.profile = codec.profile;
  track.sample_rate = codec.sample_rate;
  track.channels = codec.codec_type == AVMEDIA_TYPE_AUDIO ? std::max(codec.ch_layout.nb_channels, 1) : 0;
  return track;
}

// The first video track that is a film and all audio that can be copied. The first of these leads.
std::vector<IndexTrack> TracksOf(const AVFormatContext& context) {
  std::vector<IndexTrack> tracks;
  for (unsigned int i = 0; i < context.nb_streams; ++i) {
    const AVStream& stream = *context.streams[i];
    if (tracks.empty() && IsFilmTrack(stream)) tracks.push_back(Describe(stream));
  }
  for (unsigned int i = 0; i < context.nb_streams; ++i) {
    const AVStream& stream = *context.streams[i];
    if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO && IsCopied(stream.codecpar->codec_id)) {
      tracks.push_back(Describe(stream));
    }
  }
  return tracks;
}

// What players cannot be given as it is, whatever its cuts are.
std::string TroubleWith(const AVStream& stream) {
  const AVCodecParameters& codec = *stream.codecpar;
  if (codec.codec_type != AVMEDIA_TYPE_VIDEO) return "it has no picture";
  if (codec.codec_id != AV_CODEC_ID_H264 && codec.codec_id != AV_CODEC_ID_HEVC) {
    return std::string("players are not given ") + avcodec_get_name(codec.codec_id);
  }
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(codec.format));
  if (pixels == nullptr) return "its pixels are not known";
  const bool sampled_420 = pixels->log2_chroma_w == 1 && pixels->log2_chroma_h == 1;
  const int most_bits = codec.codec_id == AV_CODEC_ID_H264 ? 8 : 10;
  if (!sampled_420 || pixels->comp[0].depth > most_bits) return std::string("its pixels are ") + pixels->name;
  return "";
}

int64_t FrameDuration(const AVStream& stream, AVRational rate) {
  if (rate.num <= 0 || rate.den <= 0) return 0;
  return std::max<int64_t>(av_rescale_q(1, av_inv_q(rate), stream.time_base), 1);
}

int64_t PeakBitrate(const FilmIndex& index, int64_t file_size) {
  int64_t peak = 0;
  for (size_t i = 0; i < index.cuts.size(); ++i) {
    const bool last = i + 1 == index.cuts.size();
    const int64_t next = last ? index.end : index.TicksOf(index.cuts[i + 1]);
    const int64_t length = next - (i == 0 ? 0 : index.TicksOf(index.cuts[i]));
    const int64_t bytes = (last ? file_size : index.cuts[i + 1].position) - index.cuts[i].position;
    if (length > 0 && bytes > 0) peak = std::max(peak, av_rescale(bytes, 8 * kTransportClock, length));
  }
  return peak;
}

std::string TroubleWith(const FilmIndex& index) {
  if (index.end <= 0) return "it has no duration";
  if (index.reorder_depth > kDeepestReorder) return "its pictures are too far out of order";
  int64_t start = 0;
  for (size_t i = 1; i <= index.cuts.size(); ++i) {
    const int64_t next = i < index.cuts.size() ? index.TicksOf(index.cuts[i]) : index.end;
    if (next <= start) return "it ends before its last key picture";
    if (next - start > kLongestFragment * kTransportClock) return "its key pictures are too far apart";
    start = next;
  }
  return "";
}

// A transport stream has its parameter sets in front of its key pictures only.
std::string_view ParameterSets(const AVStream& stream) {
  return {reinterpret_cast<const char*>(stream.codecpar->extradata),
          static_cast<size_t>(stream.codecpar->extradata_size)};
}

}  // namespace

std::optional<CutFilm> CutUp(MediaInput& input, bool scan) {
  const Container container = ContainerOf(input);
  if (container == Container::kOther) throw Failure(kNoMedia, "films in this container are not cut");
  AVFormatContext& context = *input.Get();
  CutFilm film;
  FilmIndex& index = film.index;
  index.demuxer =
      std::string(context.iformat->name).substr(0, std::string_view(context.iformat->name).find(','));
  index.origin = context.start_time == AV_NOPTS_VALUE ? 0 : context.start_time;
  if (index.origin < -kLatest || index.origin > kLatest) throw Failure(kUnreadable, "it begins at no time");
  index.tracks = TracksOf(context);
  if (index.tracks.empty()) throw Failure(kNoMedia, "nothing in it can be copied");
  AVStream& anchor = *context.streams[index.tracks.front().stream];
  film.frame_rate = av_guess_frame_rate(&context, &anchor, nullptr);
  index.frame_duration = FrameDuration(anchor, film.frame_rate);
  std::optional<Walk> walk = scan ? WalkPackets(input, container, index) : WalkIndex(input, container, index);
  if (input.WasStopped()) throw Failure(kUnreadable, "it cannot be read to its end");
  if (!walk) return std::nullopt;
  if (walk->keys.empty()) throw Failure(kUnreadable, "nothing in it can be started at");
  index.end = walk->end;
  index.reorder_depth = walk->reorder_depth;
  index.cuts = MakeCuts(index, *walk);
  for (const std::string& trouble : {TroubleWith(anchor), walk->trouble, TroubleWith(index)}) {
    if (film.trouble.empty()) film.trouble = trouble;
  }
  film.codec_string = CodecString(anchor.codecpar->codec_id, ParameterSets(anchor));
  if (film.codec_string.empty() && film.trouble.empty()) film.trouble = "its codec cannot be told";
  film.peak_bitrate = PeakBitrate(index, input.Size());
  return film;
}

}  // namespace kinora::helper
