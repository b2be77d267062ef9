// What the machine can do.
#pragma once

namespace libkn::util {

// Found out once for a process, when first asked.
class PlatformUtils {
 public:
  static PlatformUtils& GetInst();

  // Whether the machine has hardware that encodes H.264 through VAAPI.
  bool IsSupportVaapi() const;
  // Whether it is also to be used: the settings allow it.
  bool IsVaapiFFmpegEnabled() const;

  PlatformUtils(const PlatformUtils&) = delete;
  PlatformUtils& operator=(const PlatformUtils&) = delete;

 private:
  PlatformUtils();
  bool vaapi_supported_ = false;
  bool vaapi_enabled_ = false;
};

}  // namespace libkn::util
