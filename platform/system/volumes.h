// Choosing among the volumes that the settings name.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "contract/system/volume.h"
#include "platform/system/settings.h"

namespace kinora::system {

// One volume as it was found.
struct VolumeState {
  std::string path;
  bool writable = false;
  uint64_t bytes_free = 0;  // above the floor
};

// The folders in which streams may keep their working data.
std::vector<std::string> VolumesOf(const Settings& settings);

// Nothing, with a line in the log, when the volume is not there. Its path comes without links, so that
// folders can be made below it step by step.
std::optional<VolumeState> LookAtVolume(const std::string& path, uint64_t floor);

struct VolumeChoice {
  std::optional<VolumeInfo> volume;
  unsigned int flags = 0;  // VolumeFlag bits, when there is none
};

// The writable volume with the most free space, when it has `bytes_needed`.
VolumeChoice ChooseVolume(const std::vector<VolumeState>& volumes, uint64_t bytes_needed);

}  // namespace kinora::system
