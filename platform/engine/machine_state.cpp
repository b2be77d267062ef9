#include "platform/engine/machine_state.h"

#include <fcntl.h>
#include <sys/file.h>

#include <string>

#include "contract/system/platform_utils.h"
#include "platform/base/descriptor.h"
#include "platform/engine/memory.h"
#include "platform/engine/stream_space.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"

namespace kinora::engine {
namespace {

bool ConvertsOffline() {
  const std::string lock = std::string(system::kRunFolder) + "/" + kOfflineConversionLock;
  const base::Descriptor file(::open(lock.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  return file && ::flock(file.Get(), LOCK_SH | LOCK_NB) != 0;
}

}  // namespace

MachineState LookAtMachine() {
  const system::Settings settings = system::LoadSettings(system::kSettingsFile);
  MachineState machine;
  machine.transcoding = settings.transcoding;
  machine.converting_offline = ConvertsOffline();
  machine.space = HasSpaceForAStream() && SpaceOfAllStreams() < settings.streams_quota;
  machine.hardware = libkn::util::PlatformUtils::GetInst().IsVaapiFFmpegEnabled();
  machine.memory_free = AvailableMemory();
  return machine;
}

}  // namespace kinora::engine
