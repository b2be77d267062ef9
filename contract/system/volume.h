// The volumes on which the service may keep its temporary data.
#pragma once

#include <cstdint>
#include <string>

struct VolumeInfo {
  std::string path;         // absolute, without a slash at the end
  uint64_t bytes_free = 0;  // for this service, above the configured floor
};

// Bits of VolumeAvailGet's `flags`: why no volume was given.
enum VolumeFlag : unsigned int {
  kVolumeReadOnly = 1,  // there are volumes, but one that can be written was not among them
  kVolumeFull = 4,      // a volume could be written, but none has the space
};

// Picks a volume that can be written and has `bytes_needed` bytes free above the floor that the settings
// keep; the emptiest wins. `type` and `options` are 0. Returns a positive number when `volume` was filled, 0
// when there is none (`flags` says why) and -1 when the volumes cannot be told, with a line in the system
// log.
int VolumeAvailGet(uint64_t bytes_needed, int type, VolumeInfo& volume, unsigned int& flags, int options);
