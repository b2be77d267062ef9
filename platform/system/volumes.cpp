#include "platform/system/volumes.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/base/log.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"

namespace kinora::system {
namespace {

// For the effective identity: plain access(2) answers for the real one. What counts on a volume that is open
// to root alone is the folder that the service was given there.
bool CanWrite(const std::string& volume) {
  const std::string streams = StreamsOnVolume(volume);
  if (::faccessat(AT_FDCWD, streams.c_str(), W_OK | X_OK, AT_EACCESS) == 0) return true;
  return errno == ENOENT && ::faccessat(AT_FDCWD, volume.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

}  // namespace

std::vector<std::string> VolumesOf(const Settings& settings) {
  return settings.volumes.empty() ? std::vector<std::string>{kVar} : settings.volumes;
}

std::optional<VolumeState> LookAtVolume(const std::string& path, uint64_t floor) {
  const std::unique_ptr<char, void (*)(void*)> resolved(::realpath(path.c_str(), nullptr), ::free);
  struct statvfs info {};
  if (!resolved || ::statvfs(resolved.get(), &info) != 0) {
    base::Log(LOG_ERR, "system/volumes", "cannot tell the volume " + path + ": " + std::strerror(errno));
    return std::nullopt;
  }
  VolumeState state;
  state.path = resolved.get();
  state.writable = (info.f_flag & ST_RDONLY) == 0 && CanWrite(resolved.get());
  const uint64_t free = uint64_t{info.f_bavail} * info.f_frsize;
  state.bytes_free = free > floor ? free - floor : 0;
  return state;
}

VolumeChoice ChooseVolume(const std::vector<VolumeState>& volumes, uint64_t bytes_needed) {
  const VolumeState* best = nullptr;
  for (const VolumeState& volume : volumes) {
    if (volume.writable && (best == nullptr || volume.bytes_free > best->bytes_free)) best = &volume;
  }
  if (best == nullptr) return {std::nullopt, volumes.empty() ? 0U : unsigned{kVolumeReadOnly}};
  if (best->bytes_free < bytes_needed) return {std::nullopt, kVolumeFull};
  return {VolumeInfo{best->path, best->bytes_free}, 0};
}

}  // namespace kinora::system

int VolumeAvailGet(uint64_t bytes_needed, int /*type*/, VolumeInfo& volume, unsigned int& flags,
                   int /*options*/) {
  using namespace kinora::system;
  const Settings settings = LoadSettings(kSettingsFile);
  std::vector<VolumeState> states;
  for (const std::string& path : VolumesOf(settings)) {
    std::optional<VolumeState> state = LookAtVolume(path, settings.free_space_floor);
    if (state) states.push_back(std::move(*state));
  }
  flags = 0;
  if (states.empty()) return -1;
  VolumeChoice choice = ChooseVolume(states, bytes_needed);
  flags = choice.flags;
  if (!choice.volume) return 0;
  volume = std::move(*choice.volume);
  return 1;
}
