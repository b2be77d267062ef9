// What the numbers of a picture mean as colors: the three labels that a video bears (ITU-T H.273), under
// FFmpeg's names.
#pragma once

#include <string>

namespace kinora::engine {

struct VideoTraits;

struct ColorLabels {
  std::string matrix;  // empty, as the others: not known
  std::string primaries;
  std::string transfer;

  bool operator==(const ColorLabels&) const = default;
};

// The labels that the picture bears when it has been encoded without a conversion of its colors: the film's
// own where they are known to every player, else what is usual for its size. All three are set. Of HDR, which
// is mapped to ordinary colors, those of these.
ColorLabels LabelsOf(const VideoTraits& video);

}  // namespace kinora::engine
