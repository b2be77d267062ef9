#include "platform/engine/record.h"

#include <memory>

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
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["stackLimit"] = kDeepest;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string errors;
  bool parsed = false;
  try {
    parsed = reader->parse(text.data(), text.data() + text.size(), &value, &errors);
  } catch (const Json::Exception&) {  // nested too deeply
  }
  if (!parsed || !value.isObject()) throw MalformedRecord("it is no JSON object");
  if (!value["version"].isInt() || value["version"].asInt() != version)
    throw MalformedRecord("it is of another version");
  return value;
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
