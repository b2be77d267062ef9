#include "platform/engine/report.h"

#include <algorithm>

#include "platform/system/strict_json.h"

namespace kinora::engine {
namespace {

constexpr int kDeepest = 8;
constexpr Json::ArrayIndex kMostTracks =
    256;  // the probe takes no more streams (helpers/common/media_input.h)
constexpr const char* kTrackKinds[] = {"video", "audio", "subtitle"};

bool IsListOfTracks(const Json::Value& list) {
  return list.isArray() && list.size() <= kMostTracks &&
         std::all_of(list.begin(), list.end(), [](const Json::Value& entry) { return entry.isObject(); });
}

bool IsReport(const Json::Value& value) {
  return value.isObject() && std::all_of(std::begin(kTrackKinds), std::end(kTrackKinds),
                                         [&](const char* kind) { return IsListOfTracks(value[kind]); });
}

}  // namespace

std::optional<Json::Value> ParseReport(const std::string& text) {
  std::optional<Json::Value> value = system::ParseStrictJson(text, kDeepest);
  if (!value || !IsReport(*value)) return std::nullopt;
  return value;
}

std::string TextOf(const Json::Value& object, const char* key) {
  const Json::Value& value = object[key];
  return value.isString() ? value.asString() : "";
}

int64_t NumberOf(const Json::Value& object, const char* key, int64_t most) {
  const Json::Value& value = object[key];
  return value.isInt64() ? std::clamp<int64_t>(value.asInt64(), 0, most) : 0;
}

bool FlagOf(const Json::Value& object, const char* key) {
  const Json::Value& value = object[key];
  return value.isBool() && value.asBool();
}

const Json::Value& FirstTrack(const Json::Value& report, const char* kind) { return report[kind][0U]; }

}  // namespace kinora::engine
