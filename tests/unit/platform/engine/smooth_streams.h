// A stream of Smooth Streaming, and its chunks.
#pragma once

#include <algorithm>

#include "platform/engine/parameter_sets.h"
#include "platform/engine/smooth_fragment.h"
#include "tests/unit/platform/engine/jobs.h"

namespace kinora::engine {

class SmoothTest : public JobTest {
 protected:
  void SetUp() override {
    JobTest::SetUp();
    plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/encode_25.mkv", "mkv");
    plan_.delivery = Delivery::kSmooth;
  }

  // What the manifest says of the pictures before there are any.
  void FindSets() { plan_.picture.parameter_sets = FindParameterSets(plan_).value(); }

  FragmentOutcome Make(const FragmentId& id) const { return PrepareSmooth(Folder(), plan_, id); }
  std::string Path(const FragmentId& id) const { return Folder().WorkPath(SmoothFileName(id)); }
  static FragmentId Picture(int number) { return {std::nullopt, number}; }
  static FragmentId Sound(int number, int track = 1) { return {track, number}; }

  size_t Chunks() const {
    return static_cast<size_t>(std::count_if(
        std::filesystem::directory_iterator(Folder().WorkPath(".")), {},
        [](const std::filesystem::directory_entry& entry) { return entry.path().extension() == ".m4s"; }));
  }
};

}  // namespace kinora::engine
