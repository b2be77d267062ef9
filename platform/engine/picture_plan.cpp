#include "platform/engine/picture_plan.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace kinora::engine {
namespace {

// What is beyond this is no film that two cores could decode in time.
constexpr int kLongestSide = 8192;
constexpr int kShortestSideAtMost = 4608;
constexpr int64_t kHighestRate = 240;  // frames a second
// Such a "rate" is the clock of a file that does not know its frame rate.
constexpr int64_t kClockRate = 1000;
constexpr int64_t kLowestRate = 5;  // below it, pictures of a slide show
constexpr int64_t kUsualRate = 25;
constexpr int64_t kFieldRate = 48;  // from here on, a rate of interlaced video counts fields
constexpr int64_t kSimpleTerms = 1'000'000;

constexpr int kSmallestSide = 16;  // pixels
constexpr int64_t kLowestBitrate = 200'000;
// An older codec's bits are worth less than H.264's, a newer one's more.
constexpr int64_t kSourceBitrates = 2;

constexpr std::array<MediaTime, 9> kStandardRates = {
    MediaTime(24000, 1001), MediaTime(24), MediaTime(25),          MediaTime(30000, 1001), MediaTime(30),
    MediaTime(48),          MediaTime(50), MediaTime(60000, 1001), MediaTime(60)};

// No decoder of ours takes these.
constexpr std::pair<std::string_view, std::string_view> kForeignProfiles[] = {
    {"h264", "Extended"}, {"hevc", "Scc"}, {"hevc", "Multiview Main"}, {"hevc", "Scalable Main"}};
constexpr int kDeepestSample = 14;  // bits

// FFmpeg's name: VideoMetaData's has a suffix for rare samples.
std::string_view BareCodec(std::string_view codec) { return codec.substr(0, codec.find('_')); }

int DepthOf(std::string_view codec) {
  if (!codec.ends_with("bit")) return 8;
  const size_t start = codec.rfind('_');
  return start == std::string_view::npos ? 8 : std::atoi(std::string(codec.substr(start + 1)).c_str());
}

bool HasForeignProfile(const VideoTraits& video) {
  return DepthOf(video.codec) > kDeepestSample ||
         std::any_of(std::begin(kForeignProfiles), std::end(kForeignProfiles), [&](const auto& foreign) {
           return BareCodec(video.codec) == foreign.first && video.profile == foreign.second;
         });
}

MediaTime Distance(const MediaTime& a, const MediaTime& b) { return a < b ? b - a : a - b; }

// Files round the rates that everybody uses, each in its own way.
MediaTime Standardised(MediaTime rate) {
  if (rate.numerator() > kSimpleTerms || rate.denominator() > kSimpleTerms)
    rate = MediaTime(std::llround(boost::rational_cast<double>(rate) * 1000), 1000);
  for (const MediaTime& standard : kStandardRates) {
    if (Distance(rate, standard) * 10'000 < standard) return standard;
  }
  return rate;
}

bool IsInterlaced(const VideoTraits& video) {
  return !video.field_order.empty() && video.field_order != "progressive";
}

// Frames a second of the source, as far as they can be believed.
MediaTime SourceRate(const VideoTraits& video) {
  if (video.frame_rate < kLowestRate || video.frame_rate >= kClockRate) return kUsualRate;
  const MediaTime rate = Standardised(video.frame_rate);
  return IsInterlaced(video) && rate >= kFieldRate ? rate / int64_t{2} : rate;
}

MediaTime OutputRate(const VideoTraits& video, int most) {
  const MediaTime rate = SourceRate(video);
  if (most <= 0 || rate <= most) return rate;
  return rate / Ceil(rate / int64_t{most});
}

struct Size {
  double width = 0;
  double height = 0;
};

// As it is meant to be seen. The lines stay, so that only a width is made up.
Size ShownSize(const VideoTraits& video) {
  Size size{double(video.width), double(video.height)};
  if (video.display_x > 0 && video.display_y > 0)
    size.width = size.height * video.display_x / video.display_y;
  size.width = std::clamp<double>(size.width, kSmallestSide, kLongestSide);
  if (video.rotate == 90 || video.rotate == 270) std::swap(size.width, size.height);
  return size;
}

// The even number next to it that is not more than `most`.
int Even(double value, int most) {
  const int even = 2 * static_cast<int>(std::lround(value / 2));
  return std::max(std::min(even, most - most % 2), kSmallestSide);
}

void FitIntoBox(const VideoTraits& video, const media::TransProfile& profile, PicturePlan& picture) {
  const Size shown = ShownSize(video);
  const double factor = std::min({1.0, profile.width / shown.width, profile.height / shown.height});
  const auto within = [](int box, double side) { return std::min(box, static_cast<int>(side)); };
  picture.width = Even(shown.width * factor, within(profile.width, shown.width));
  picture.height = Even(shown.height * factor, within(profile.height, shown.height));
}

// A smaller picture takes fewer bits, though not in proportion.
int64_t Bitrate(const SourceTraits& source, const media::TransProfile& profile, const PicturePlan& picture) {
  const double part = double(picture.width) * picture.height / (double(profile.width) * profile.height);
  const auto scaled = std::llround(double(profile.video_bitrate) * std::pow(std::min(part, 1.0), 0.75));
  int64_t bitrate = scaled;
  if (source.bitrate > 0) bitrate = std::min(bitrate, source.bitrate * kSourceBitrates);
  return std::min(std::max(bitrate, kLowestBitrate), profile.video_bitrate);
}

// "avc1.", then profile, constraints and level as two hexadecimal digits each (RFC 6381, 3.3).
std::string H264CodecString(const media::TransProfile& profile) {
  const char* start = "6400";
  if (profile.h264_profile == "main") start = "4D40";
  if (profile.h264_profile == "baseline") start = "42C0";
  const long level = std::lround(std::atof(profile.h264_level.c_str()) * 10);
  char text[32];
  std::snprintf(text, sizeof text, "avc1.%s%02lX", start, level & 0xFF);
  return text;
}

int64_t FrameBytes(int width, int height) { return int64_t{width} * height * 3 / 2; }

}  // namespace

std::optional<Refusal> WhyNotEncoded(const VideoTraits& video) {
  if (video.codec.empty() || !video.decodable || video.width <= 0 || video.height <= 0)
    return Refusal{kVideoNotSupported, "no decoder for the video [" + video.codec + "]"};
  if (HasForeignProfile(video))
    return Refusal{kProfileTooHigh, "no decoder for " + video.codec + " " + video.profile};
  if (std::max(video.width, video.height) > kLongestSide ||
      std::min(video.width, video.height) > kShortestSideAtMost) {
    return Refusal{kTooLarge, std::to_string(video.width) + "x" + std::to_string(video.height) + " pixels"};
  }
  if (video.frame_rate > kHighestRate && video.frame_rate < kClockRate)
    return Refusal{kTooFast, std::to_string(Floor(video.frame_rate)) + " frames a second"};
  return std::nullopt;
}

uint64_t MemoryToEncode(const VideoTraits& video, const PicturePlan& picture) {
  constexpr int64_t kProgram = 64LL << 20;
  constexpr int64_t kDecodedFrames = 12;
  constexpr int64_t kEncodedFrames = 24;
  const int64_t sample = DepthOf(video.codec) > 8 ? 2 : 1;
  return static_cast<uint64_t>(kProgram + kDecodedFrames * sample * FrameBytes(video.width, video.height) +
                               kEncodedFrames * FrameBytes(picture.width, picture.height));
}

PicturePlan PlanEncodedPicture(const SourceTraits& source, const media::TransProfile& profile) {
  PicturePlan picture;
  FitIntoBox(source.video, profile, picture);
  picture.frame_rate = OutputRate(source.video, profile.frame_rate);
  picture.bitrate = Bitrate(source, profile, picture);
  picture.codec_string = H264CodecString(profile);
  return picture;
}

PicturePlan PlanCopiedPicture(const SourceTraits& source, const CopyPlan& copy) {
  const Size shown = ShownSize(source.video);
  PicturePlan picture;
  picture.width = static_cast<int>(std::lround(shown.width));
  picture.height = static_cast<int>(std::lround(shown.height));
  picture.frame_rate = copy.frame_rate;
  picture.bitrate = copy.peak_bitrate;
  picture.codec_string = copy.codec_string;
  return picture;
}

}  // namespace kinora::engine
