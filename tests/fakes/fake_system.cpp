#include <cstdarg>
#include <cstdio>
#include <filesystem>

#include "contract/system/crvn_fs.h"
#include "contract/system/file_output.h"
#include "contract/system/hlibc.h"
#include "contract/system/platform_utils.h"
#include "contract/system/volume.h"
#include "tests/fakes/script.h"

using kinora::fakes::Called;
using kinora::fakes::Show;
using kinora::fakes::TheScript;

int HLIBCExec(const char* program, ...) {
  std::vector<std::string> arguments{program};
  std::vector<std::string> shown{Show(program)};
  va_list list;
  va_start(list, program);
  while (const char* argument = va_arg(list, const char*)) {
    arguments.emplace_back(argument);
    shown.push_back(Show(argument));
  }
  va_end(list);
  kinora::fakes::Record("HLIBCExec", shown);
  return TheScript().execute(arguments);
}

int VolumeAvailGet(uint64_t bytes_needed, int type, VolumeInfo& volume, unsigned int& flags, int options) {
  Called("VolumeAvailGet", bytes_needed, type, options);
  volume = TheScript().available_volume;
  flags = TheScript().volume_flags;
  return TheScript().available_volumes;
}

namespace libkn::critical::crvnsdk {

bool CRVNFSMkdirPKinora(const std::string& path, unsigned int mode) {
  Called("CRVNFSMkdirPKinora", path, mode);
  if (!TheScript().make_folder) return false;
  std::error_code failure;
  std::filesystem::create_directories(path, failure);
  return !failure;
}

}  // namespace libkn::critical::crvnsdk

namespace libkn::util {

PlatformUtils& PlatformUtils::GetInst() {
  static PlatformUtils machine;
  return machine;
}

bool PlatformUtils::IsSupportVaapi() const {
  Called("IsSupportVaapi");
  return TheScript().vaapi_supported;
}

bool PlatformUtils::IsVaapiFFmpegEnabled() const {
  Called("IsVaapiFFmpegEnabled");
  return TheScript().vaapi_enabled;
}

}  // namespace libkn::util

std::string HTTPFileOutputer::GetMimeType(const char* path) {
  Called("GetMimeType", path);
  const auto& types = TheScript().mime_types;
  const auto type = types.find(std::filesystem::path(path).extension());
  return type == types.end() ? "application/octet-stream" : type->second;
}

int HTTPFileOutputer::Output(const char* path, const char* mime) {
  Called("Output", path, mime);
  std::fputs(TheScript().output.c_str(), stdout);
  return TheScript().output_file ? 0 : 1;
}

bool CRVN::HTTP::FileOutputerHelper::SetFastOutputEnabled(bool enabled) {
  Called("SetFastOutputEnabled", enabled);
  return TheScript().set_fast_output;
}

namespace libkn::critical::file_outputer {

bool OutputFile(const std::string& path, const std::string& mime) {
  Called("OutputFile", path, mime);
  std::fputs(TheScript().output.c_str(), stdout);
  return TheScript().output_file;
}

}  // namespace libkn::critical::file_outputer
