#include "library/subtitle/discovery_folder.h"

#include <cstdint>
#include <optional>

#include "contract/media/md5.h"
#include "contract/system/crvn_fs.h"
#include "contract/system/error_state.h"
#include "contract/system/volume.h"
#include "library/log.h"
#include "library/subtitle/plugin_log_unit.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr uint64_t kBytesNeeded = 0x100000;
constexpr unsigned int kMode = 0777;

// The appliance's numbers.
constexpr unsigned int kErrorNoVolume = 0x8300;
constexpr unsigned int kErrorVolumeReadOnly = 0xDD00;
constexpr unsigned int kErrorVolumeFull = 0x2900;

unsigned int ErrorOf(unsigned int flags) {
  if ((flags & kVolumeFull) != 0) return kErrorVolumeFull;
  return (flags & kVolumeReadOnly) != 0 ? kErrorVolumeReadOnly : kErrorNoVolume;
}

std::optional<std::string> PickVolume() {
  VolumeInfo volume;
  unsigned int flags = 0;
  const int found = VolumeAvailGet(kBytesNeeded, 0, volume, flags, 0);
  if (found > 0) return volume.path;
  if (found < 0) {
    KINORA_LOG(LOG_ERR, kPluginLogUnit, "VolumeAvailGet() failed!! crvnerr=[0x%04X]", HLIBCErrGet());
  } else {
    HLIBCErrSetEx(ErrorOf(flags), __FILE__, __LINE__, 0);
  }
  return std::nullopt;
}

}  // namespace

std::string MakeDiscoveryFolder(const std::string& path) {
  const std::string digest = path.empty() ? "" : LibKinora::GetMD5(path);
  if (digest.empty()) return "";
  const std::optional<std::string> volume = PickVolume();
  if (!volume) return "";
  const std::string folder = *volume + "/@tmp/Kinora/subtitle/" + digest;
  return libkn::critical::crvnsdk::CRVNFSMkdirPKinora(folder, kMode) ? folder : "";
}

}  // namespace crvnkn::webapi::subtitle
