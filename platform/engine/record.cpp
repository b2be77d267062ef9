#include "platform/engine/record.h"

#include <utility>

#include "platform/system/strict_json.h"

namespace kinora::engine {
namespace {

constexpr int kDeepest = 16;

const Json::Value& Member(const Json::Value& object, const char* key, bool right_kind(const Json::Value&)) {
  if (!object.isObject() || !object.isMember(key) || !right_kind(object[key]))
    throw MalformedRecord(std::string("\"") + key + "\" is missing or of another kind");
  return object[key];
}

}  // namespace

std::string WriteRecord(const Json::Value& value) {
  Json::StreamWriterBuilder compact;
  compact["indentation"] = "";
  compact["emitUTF8"] = true;  // byte for byte: a path may hold anything
  return Json::writeString(compact, value) + "\n";
}

Json::Value ParseRecord(const std::string& text, int version) {
  std::optional<Json::Value> parsed = system::ParseStrictJson(text, kDeepest);
  if (!parsed || !parsed->isObject()) throw MalformedRecord("it is no JSON object");
  Json::Value& value = *parsed;
  if (!value["version"].isInt() || value["version"].asInt() != version)
    throw MalformedRecord("it is of another version");
  return std::move(value);
}

const Json::Value& ObjectIn(const Json::Value& object, const char* key) {
  return Member(object, key, [](const Json::Value& value) { return value.isObject(); });
}

const Json::Value& ListIn(const Json::Value& object, const char* key) {
  return Member(object, key, [](const Json::Value& value) { return value.isArray(); });
}

std::string TextIn(const Json::Value& object, const char* key) {
  return Member(object, key, [](const Json::Value& value) { return value.isString(); }).asString();
}

bool FlagIn(const Json::Value& object, const char* key) {
  return Member(object, key, [](const Json::Value& value) { return value.isBool(); }).asBool();
}

int64_t NumberIn(const Json::Value& object, const char* key, int64_t least, int64_t most) {
  const int64_t number =
      Member(object, key, [](const Json::Value& value) { return value.isInt64(); }).asInt64();
  if (number < least || number > most) throw MalformedRecord(std::string("\"") + key + "\" is out of range");
  return number;
}

uint64_t CountIn(const Json::Value& object, const char* key) {
  return Member(object, key, [](const Json::Value& value) { return value.isUInt64(); }).asUInt64();
}

}  // namespace kinora::engine
