#include "library/subtitle/method_arguments.h"

#include <array>

#include "contract/system/ea_dir.h"
#include "library/log.h"
#include "library/subtitle/log_unit.h"

namespace crvnkn::webapi::subtitle {

GetMethodArguments::GetMethodArguments() = default;
GetMethodArguments::~GetMethodArguments() = default;

bool GetMethodArguments::IsEmbedded() const {
  return !subtitle_id.empty() && subtitle_id.front() >= '0' && subtitle_id.front() <= '9';
}

std::string GetMethodArguments::GetSubtitleEaPath() {
  if (!ea_path.empty()) return ea_path;
  const std::string& source = IsEmbedded() ? video_path : subtitle_id;
  std::array<char, 4096> folder{};
  if (!libkn::critical::crvnindex::GetEADirPath(source.c_str(), folder.data(),
                                                static_cast<int>(folder.size()))) {
    KINORA_LOG(LOG_ERR, kLogUnit, "GetEADirPath failed: %s", source.c_str());
    return "";
  }
  ea_path = folder.data();
  return ea_path;
}

}  // namespace crvnkn::webapi::subtitle
