#include "platform/system/strict_json.h"

#include <memory>
#include <string>

namespace kinora::system {

std::optional<Json::Value> ParseStrictJson(std::string_view text, int deepest) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["stackLimit"] = deepest;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  try {
    Json::Value value;
    std::string errors;
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) return std::nullopt;
    return value;
  } catch (const Json::Exception&) {  // nested too deeply
    return std::nullopt;
  }
}

}  // namespace kinora::system
