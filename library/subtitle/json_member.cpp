#include "library/subtitle/json_member.h"

#include <cstring>

namespace crvnkn::webapi::subtitle {
namespace {

const Json::Value* Find(const Json::Value& object, const char* key) {
  return object.isObject() ? object.find(key, key + std::strlen(key)) : nullptr;
}

}  // namespace

bool GetBoolMember(const Json::Value& object, const char* key, bool& out) {
  const Json::Value* const member = Find(object, key);
  if (member == nullptr || !member->isBool()) return false;
  out = member->asBool();
  return true;
}

bool GetStringMember(const Json::Value& object, const char* key, std::string& out) {
  const Json::Value* const member = Find(object, key);
  if (member == nullptr || !member->isString()) return false;
  out = member->asString();
  return true;
}

std::string TextOfMember(const Json::Value& object, const char* key) {
  const Json::Value* const member = Find(object, key);
  if (member == nullptr || !member->isConvertibleTo(Json::stringValue)) return "";
  return member->asString();
}

}  // namespace crvnkn::webapi::subtitle
