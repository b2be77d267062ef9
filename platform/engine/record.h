// Records: JSON texts that this system wrote and reads again, perhaps torn, foreign, or from another version.
#pragma once

#include <json/json.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace kinora::engine {

// The text is no such record.
class MalformedRecord : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Compact, on one line.
std::string WriteRecord(const Json::Value& value);

// All of them throw MalformedRecord when there is nothing of this kind. ParseRecord gives an object whose
// "version" is `version`.
Json::Value ParseRecord(const std::string& text, int version);
const Json::Value& ObjectIn(const Json::Value& object, const char* key);
const Json::Value& ListIn(const Json::Value& object, const char* key);
std::string TextIn(const Json::Value& object, const char* key);
bool FlagIn(const Json::Value& object, const char* key);
int64_t NumberIn(const Json::Value& object, const char* key, int64_t least, int64_t most);
uint64_t CountIn(const Json::Value& object, const char* key);

}  // namespace kinora::engine
