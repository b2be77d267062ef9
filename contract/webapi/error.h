// The exception of the web API layer. The caller of the library turns it into an error answer.
#pragma once

#include <stdexcept>
#include <string>

namespace crvnkn::webapi {

// The numbers are part of the web API: clients act on them. They are never renumbered.
enum ErrorCode : int {
  kErrorUnspecified = 100,
  kErrorBadParameter = 101,
  kErrorNoPermission = 105,
  kErrorAudioUnreadable = 1100,
  kErrorNoSuchVideo = 1101,
  kErrorTracksUnreadable = 1102,
  kErrorDlnaLink = 1151,
  kErrorTranscodingDisabled = 1200,
  kErrorOfflineConvertingHardware = 1201,
  kErrorOfflineConvertingSoftware = 1202,
  kErrorVolumeSpace = 1203,
  kErrorAudioNotSupported = 1204,
  kErrorVideoNotSupported = 1205,
  kErrorMemoryLayout = 1206,
  kErrorVideoNotHardwareSupported = 1207,
  kErrorResolutionBeyondCapability = 1208,
  kErrorFramerateBeyondCapability = 1209,
  kErrorProfileBeyondCapability = 1210,
  kErrorFormatsUndetermined = 1211,
  kErrorStreamSetup = 1212,
  kErrorMetadataUnreadable = 1300,
  kErrorParentalPinMissing = 1400,
  kErrorParentalPinWrong = 1401,
  kErrorNoSubtitleFound = 30000,
};

// Thrown by value, caught by reference. The type information is visible, so that it can be caught across
// shared objects that hide everything else. what() gives the message, which may be empty.
class __attribute__((visibility("default"))) Error : public std::runtime_error {
 public:
  explicit Error(ErrorCode code) : Error(code, std::string()) {}
  Error(ErrorCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ~Error() override = default;

  ErrorCode Code() const noexcept { return code_; }
  std::string Message() const { return what(); }

 private:
  ErrorCode code_;
};

}  // namespace crvnkn::webapi
