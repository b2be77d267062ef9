// Choosing among the volumes that the settings name.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "contract/system/volume.h"

namespace kinora::system {

// One volume as it was found.
struct VolumeState {
  std::string path;
  bool writable = false;
  uint64_t bytes_free = 0;  // above the floor
};

struct VolumeChoice {
  std::optional<VolumeInfo> volume;
  unsigned int flags = 0;  // VolumeFlag bits, when there is none
};

// The writable volume with the most free space, when it has `bytes_needed`.
VolumeChoice ChooseVolume(const std::vector<VolumeState>& volumes, uint64_t bytes_needed);

}  // namespace kinora::system
