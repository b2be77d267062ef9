#include "platform/engine/color_labels.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "platform/engine/stream_plan.h"

namespace kinora::engine {
namespace {

const ColorLabels kHighDefinition{"bt709", "bt709", "bt709"};
const ColorLabels kOf625Lines{"bt470bg", "bt470bg", "smpte170m"};
const ColorLabels kOf525Lines{"smpte170m", "smpte170m", "smpte170m"};

constexpr int kLeastHighLines = 720;  // and columns of a wide picture with black bars cut off
constexpr int kLeastHighColumns = 1280;
constexpr int kMost525Lines = 486;

const ColorLabels& UsualFor(const VideoTraits& video) {
  if (video.height >= kLeastHighLines || video.width >= kLeastHighColumns) return kHighDefinition;
  return video.height > kMost525Lines ? kOf625Lines : kOf525Lines;
}

// Names that FFmpeg's labels, its filters and H.264 share.
std::string Known(const std::string& label, std::initializer_list<std::string_view> names,
                  const std::string& usual) {
  return std::find(names.begin(), names.end(), label) == names.end() ? usual : label;
}

}  // namespace

ColorLabels LabelsOf(const VideoTraits& video) {
  if (!video.hdr.empty()) return kHighDefinition;
  const ColorLabels& usual = UsualFor(video);
  return {
      Known(video.color.matrix, {"bt709", "fcc", "bt470bg", "smpte170m", "smpte240m", "bt2020nc"},
            usual.matrix),
      Known(video.color.primaries, {"bt709", "bt470m", "bt470bg", "smpte170m", "smpte240m", "film", "bt2020"},
            usual.primaries),
      Known(video.color.transfer,
            {"bt709", "smpte170m", "smpte240m", "iec61966-2-1", "bt2020-10", "bt2020-12"}, usual.transfer)};
}

}  // namespace kinora::engine
