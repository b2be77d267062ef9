// What the machine can do.
#pragma once

namespace libkn::util {

class PlatformUtils {
 public:
  static PlatformUtils& GetInst();

  // Whether the machine has hardware that encodes H.264 through VAAPI. Found out once for a process, when it
  // is first asked.
  bool IsSupportVaapi() const;
  // Whether it is also to be used: the settings allow it. Where they do not, the hardware is left alone.
  bool IsVaapiFFmpegEnabled() const;

  PlatformUtils(const PlatformUtils&) = delete;
  PlatformUtils& operator=(const PlatformUtils&) = delete;

 private:
  PlatformUtils() = default;
};

}  // namespace libkn::util
