#include "contract/system/platform_utils.h"

#include "platform/system/places.h"
#include "platform/system/settings.h"
#include "platform/system/vaapi.h"

namespace libkn::util {

namespace system = kinora::system;

PlatformUtils& PlatformUtils::GetInst() {
  static PlatformUtils instance;
  return instance;
}

bool PlatformUtils::IsSupportVaapi() const {
  static const bool supported = system::RememberedVaapiDevice(system::InstalledVaapi()).has_value();
  return supported;
}

bool PlatformUtils::IsVaapiFFmpegEnabled() const {
  static const bool allowed = system::LoadSettings(system::kSettingsFile).hardware;
  return allowed && IsSupportVaapi();
}

}  // namespace libkn::util
