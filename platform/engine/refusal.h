// Why a stream is refused.
#pragma once

#include <string>

namespace kinora::engine {

// The keywords of VTEStream::GetErrorString.
inline constexpr char kSwitchedOff[] = "TransEnable";
inline constexpr char kConvertingOffline[] = "TransEnableOfflineConverting";
inline constexpr char kNoSpace[] = "TransSapceNotEnough";
inline constexpr char kAudioNotSupported[] = "TransAudioNotSupported";
inline constexpr char kVideoNotSupported[] = "TransVideoNotSupported";
inline constexpr char kTooLittleMemory[] = "NeedToChangeMemoryLayout";
inline constexpr char kNoHardware[] = "TransVideoNotHardwareSupported";
inline constexpr char kTooLarge[] = "TransVideoOutOfResolutionCapability";
inline constexpr char kTooFast[] = "TransVideoOutOfFramerateCapability";
inline constexpr char kProfileTooHigh[] = "TransVideoOutOfProfileCapability";

struct Refusal {
  std::string keyword;  // "": none fits
  std::string reason;   // for the log
};

}  // namespace kinora::engine
