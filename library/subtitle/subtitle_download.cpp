#include "library/subtitle/subtitle_download.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "contract/webapi/sleep.h"
#include "library/subtitle/json_member.h"
#include "library/subtitle/plugin_file.h"
#include "library/subtitle/plugin_registry.h"
#include "library/subtitle/plugin_run.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr int kAttempts = 3;
constexpr unsigned int kPauseMilliseconds = 1000;

bool Fetch(const Json::Value& description, const std::string& path, const std::string& subtitle_id,
           Json::Value& result) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    std::optional<Json::Value> answer = RunPlugin(description, "download", path, {"--id", subtitle_id});
    if (answer) {
      result = std::move(*answer);
      return true;
    }
    SleepMillisecond(kPauseMilliseconds);
  }
  return false;
}

}  // namespace

bool DownloadSubtitle(const std::string& path, const std::string& pluginId, const std::string& subtitleId,
                      Json::Value& result) {
  Json::Value plugins(Json::objectValue);
  if (!LoadPlugins(plugins)) return false;
  const auto found = std::find_if(plugins.begin(), plugins.end(), [&](const Json::Value& description) {
    std::string id;
    return GetStringMember(description, "id", id) && id == pluginId;
  });
  const bool fetched = found != plugins.end() && Fetch(*found, path, subtitleId, result);
  std::string file;
  if (GetStringMember(result, "id", file)) GiveToOrdinaryUser(file);
  return fetched;
}

}  // namespace crvnkn::webapi::subtitle
