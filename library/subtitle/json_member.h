// Members of JSON objects that strangers have written: any of them may be missing or of another type.
#pragma once

#include <json/json.h>

#include <string>

namespace crvnkn::webapi::subtitle {

// true, with the member's value in `out`, when `object` is an object that has a member `key` of exactly this
// type; else `out` stays as it was.
bool GetBoolMember(const Json::Value& object, const char* key, bool& out);
bool GetStringMember(const Json::Value& object, const char* key, std::string& out);

// The member as text, be it a number or a boolean; empty when there is none that is or can be made text.
std::string TextOfMember(const Json::Value& object, const char* key);

}  // namespace crvnkn::webapi::subtitle
