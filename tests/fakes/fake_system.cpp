#include <cstdarg>
#include <cstdio>
#include <filesystem>

#include "contract/system/crvn_fs.h"
#include "contract/system/file_output.h"
#include "contract/system/hlibc.h"
#include "contract/system/platform_utils.h"
#include "contract/system/process_runner.h"
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

int HLIBCFileGetKeyValue(const char* path, const char* key, char* buffer, int size, int flags) {
  Called("HLIBCFileGetKeyValue", path, key, size, flags);
  const auto found = TheScript().settings.find(key);
  if (found == TheScript().settings.end()) return 0;
  std::snprintf(buffer, static_cast<size_t>(size), "%s", found->second.c_str());
  return static_cast<int>(found->second.size());
}

namespace CRVNUtils {

struct ProcessRunner::State {
  std::vector<std::string> arguments;
};

ProcessRunner::ProcessRunner(const char* program, const char* name) : state_(std::make_shared<State>()) {
  Called("ProcessRunner", program, name);
  state_->arguments.emplace_back(program);
}

ProcessRunner::ProcessRunner(const char* program, const char* const argv[])
    : state_(std::make_shared<State>()) {
  Called("ProcessRunner", program, argv[0]);
  for (; *argv != nullptr; ++argv) state_->arguments.emplace_back(*argv);
}

void ProcessRunner::addArguments(const char* a1, const char* a2, const char* a3, const char* a4,
                                 const char* a5, const char* a6, const char* a7, const char* a8,
                                 const char* a9) {
  for (const char* const argument : {a1, a2, a3, a4, a5, a6, a7, a8, a9}) {
    if (argument == nullptr) return;
    state_->arguments.emplace_back(argument);
  }
}

// Recorded with the whole command line.
int ProcessRunner::run(bool wait, bool capture) {
  std::vector<std::string> shown;
  for (const std::string& argument : state_->arguments) shown.push_back(Show(argument));
  shown.push_back(Show(wait));
  shown.push_back(Show(capture));
  kinora::fakes::Record("run", shown);
  return TheScript().run(state_->arguments);
}

std::string ProcessRunner::toString() const {
  std::string text;
  for (const std::string& argument : state_->arguments) text += (text.empty() ? "" : " ") + argument;
  return text;
}

std::string ProcessRunner::getCapturedOutput() const { return TheScript().captured_output; }

}  // namespace CRVNUtils

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
