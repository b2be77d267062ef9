#include "platform/engine/ffmpeg_filters.h"

#include <stdexcept>

namespace kinora::engine {
namespace {

// Scaled first, which costs half of what mapping the large picture does. The source's properties are named,
// since frames do not always bear what the container says.
std::string ToneMapper(const std::string& hdr, const std::string& width, const std::string& height) {
  const std::string transfer = hdr == "hlg" ? "arib-std-b67" : "smpte2084";
  return "zscale=w=" + width + ":h=" + height + ":tin=" + transfer +
         ":pin=bt2020:min=bt2020nc,zscale=t=linear:npl=100,format=gbrpf32le,zscale=p=bt709,"
         "tonemap=hable:desat=0,zscale=t=bt709:m=bt709:r=tv";
}

}  // namespace

std::string Deinterlacing(const VideoTraits& video, const PicturePlan& picture) {
  if (video.field_order.empty() || video.field_order == "progressive") return "";
  const bool fields = video.frame_rate > 0 && picture.frame_rate > video.frame_rate * MediaTime(3, 2);
  return std::string("bwdif=mode=") + (fields ? "send_field" : "send_frame") + ":deint=interlaced,";
}

std::string Scaling(const VideoTraits& video, const PicturePlan& picture) {
  const std::string width = std::to_string(picture.width);
  const std::string height = std::to_string(picture.height);
  return video.hdr.empty() ? "scale=" + width + ":" + height : ToneMapper(video.hdr, width, height);
}

// Two resamplers: the second one counts `first_pts` in the rate of what it gets.
std::string Samples(const AudioPlan& audio, std::optional<int64_t> start) {
  return "aresample=" + std::to_string(audio.frequency) + ",aresample=async=1" +
         (start ? ":first_pts=" + std::to_string(*start) : "") +
         ",aformat=sample_fmts=fltp:channel_layouts=" + LayoutOf(audio.channels);
}

std::string LayoutOf(int channels) {
  switch (channels) {
    case 1:
      return "mono";
    case 2:
      return "stereo";
    case 6:
      return "5.1";
    default:
      throw std::invalid_argument("no layout of " + std::to_string(channels) + " channels");
  }
}

}  // namespace kinora::engine
