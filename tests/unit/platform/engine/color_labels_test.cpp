#include "platform/engine/color_labels.h"

#include <gtest/gtest.h>

#include "platform/engine/stream_plan.h"

namespace kinora::engine {

void PrintTo(const ColorLabels& labels, std::ostream* out) {
  *out << labels.matrix << " " << labels.primaries << " " << labels.transfer;
}

namespace {

TEST(ColorLabels, AreThoseOfTheFilmElseTheUsualOnesForItsSize) {
  const ColorLabels high{"bt709", "bt709", "bt709"};
  const ColorLabels lines_625{"bt470bg", "bt470bg", "smpte170m"};
  const ColorLabels lines_525{"smpte170m", "smpte170m", "smpte170m"};
  const struct {
    const char* what;
    int width, height;
    const char* hdr;
    ColorLabels film;
    ColorLabels labels;
  } cases[] = {
      {"full HD", 1920, 1080, "", {}, high},
      {"HD", 1280, 720, "", {}, high},
      {"cinema", 1280, 536, "", {}, high},
      {"upright", 608, 1080, "", {}, high},
      {"PAL", 720, 576, "", {}, lines_625},
      {"NTSC", 720, 480, "", {}, lines_525},
      {"NTSC with its blanking", 720, 486, "", {}, lines_525},
      {"small", 320, 240, "", {}, lines_525},
      {"HD with the labels of SD", 1920, 1080, "", lines_525, lines_525},
      {"SD with the labels of HD", 720, 576, "", high, high},
      {"wide", 1920, 1080, "", {"bt2020nc", "bt2020", "bt2020-10"}, {"bt2020nc", "bt2020", "bt2020-10"}},
      {"partly labelled", 720, 576, "", {"", "bt709", ""}, {"bt470bg", "bt709", "smpte170m"}},
      {"RGB", 1920, 1080, "", {"gbr", "bt709", "iec61966-2-1"}, {"bt709", "bt709", "iec61966-2-1"}},
      {"names that filters call otherwise", 720, 576, "", {"bt470bg", "bt470bg", "gamma28"}, lines_625},
      {"what no player knows", 1920, 1080, "", {"ictcp", "smpte428", "log100"}, high},
      {"an option of a filter", 1920, 1080, "", {"bt709:x=1", "bt709,y", ""}, high},
      {"HDR", 3840, 2160, "pq", {"bt2020nc", "bt2020", "smpte2084"}, high},
      {"HDR of a small picture", 640, 360, "hlg", {}, high},
  };
  for (const auto& one : cases) {
    VideoTraits video;
    video.width = one.width;
    video.height = one.height;
    video.hdr = one.hdr;
    video.color = one.film;
    EXPECT_EQ(LabelsOf(video), one.labels) << one.what;
  }
}

}  // namespace
}  // namespace kinora::engine
