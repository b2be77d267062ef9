#include "platform/engine/stream_space.h"

#include "contract/system/volume.h"

namespace kinora::engine {

bool HasSpaceForAStream() {
  VolumeInfo volume;
  unsigned int flags = 0;
  return VolumeAvailGet(kSpaceOfAStream, 0, volume, flags, 0) > 0;
}

}  // namespace kinora::engine
