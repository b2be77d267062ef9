#include "library/subtitle/subtitle_search.h"

#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "contract/webapi/error.h"
#include "library/subtitle/json_member.h"
#include "library/subtitle/plugin_registry.h"
#include "library/subtitle/plugin_run.h"
#include "library/subtitle/plugin_settings.h"

namespace crvnkn::webapi::subtitle {
namespace {

// Shooter first, then from the greatest id to the least.
std::vector<std::string> InAskingOrder(std::vector<std::string> ids) {
  std::sort(ids.begin(), ids.end(), [](const std::string& left, const std::string& right) {
    return std::pair(left == kShooter, left) > std::pair(right == kShooter, right);
  });
  return ids;
}

std::optional<Json::Value> Ask(const std::string& id, const Json::Value& description,
                               const std::string& path) {
  const std::optional<std::vector<std::string>> settings = SearchSettings(id, LoadAdvancedSettings());
  if (!settings) return std::nullopt;
  return RunPlugin(description, "search", path, *settings);
}

void AppendItems(const Json::Value& description, const Json::Value& answer, Json::Value& items) {
  if (!answer.isObject() || !answer["items"].isArray()) return;
  for (const Json::Value& found : answer["items"]) {
    if (!found.isObject()) continue;
    Json::Value& item = items.append(found);
    item["plugin_id"] = description["id"];
    item["plugin_title"] = description["title"];
  }
}

bool IsEmptyFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0;
}

}  // namespace

Json::Value GetSubtitleSearchResult(const std::string& path) {
  Json::Value plugins(Json::objectValue);
  if (!LoadPlugins(plugins)) throw Error(kErrorBadParameter);
  Json::Value items(Json::arrayValue);
  for (const std::string& id : InAskingOrder(plugins.getMemberNames())) {
    const Json::Value& description = plugins[id];
    if (const std::optional<Json::Value> answer = Ask(id, description, path))
      AppendItems(description, *answer, items);
  }
  Json::Value result(Json::objectValue);
  result["total"] = static_cast<Json::Int>(items.size());
  result["items"] = std::move(items);
  return result;
}

void CheckSubtitleSearchResult(Json::Value& result) {
  if (!result.isObject() || !std::as_const(result)["items"].isArray()) return;
  for (Json::Value& item : result["items"]) {
    const std::string file = TextOfMember(item, "subtitle_id");
    if (file.empty() || !IsEmptyFile(file)) continue;
    item["subtitle_id"] = "";
    item["downloaded"] = false;
  }
}

}  // namespace crvnkn::webapi::subtitle
