#include "library/vte/throw_vte_error.h"

#include "contract/system/platform_utils.h"
#include "contract/webapi/error.h"

namespace crvnkn::webapi::vte {
namespace {

struct Refusal {
  const char* keyword;
  ErrorCode code;
};

constexpr Refusal kRefusals[] = {
    {"TransEnable", kErrorTranscodingDisabled},
    {"TransSapceNotEnough", kErrorVolumeSpace},
    {"TransAudioNotSupported", kErrorAudioNotSupported},
    {"TransVideoNotSupported", kErrorVideoNotSupported},
    {"NeedToChangeMemoryLayout", kErrorMemoryLayout},
    {"TransVideoNotHardwareSupported", kErrorVideoNotHardwareSupported},
    {"TransVideoOutOfResolutionCapability", kErrorResolutionBeyondCapability},
    {"TransVideoOutOfFramerateCapability", kErrorFramerateBeyondCapability},
    {"TransVideoOutOfProfileCapability", kErrorProfileBeyondCapability},
};

// The one refusal whose code depends on the machine.
constexpr char kOfflineConverting[] = "TransEnableOfflineConverting";

}  // namespace

void ThrowVTEError(const std::string& keyword) {
  if (keyword == kOfflineConverting) {
    throw Error(libkn::util::PlatformUtils::GetInst().IsSupportVaapi() ? kErrorOfflineConvertingHardware
                                                                       : kErrorOfflineConvertingSoftware);
  }
  for (const Refusal& refusal : kRefusals) {
    if (keyword == refusal.keyword) throw Error(refusal.code);
  }
  throw Error(kErrorStreamSetup, "ThrowVTEError");
}

}  // namespace crvnkn::webapi::vte
