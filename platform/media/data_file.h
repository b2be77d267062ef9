// Reading the data files of the package strictly: what is missing, or of another kind than it should be, is
// an error with words for people.
#pragma once

#include <json/json.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kinora::media {

// All of it throws std::runtime_error, "<subject>: <what is wrong>".
class DataFile {
 public:
  explicit DataFile(std::string subject) : subject_(std::move(subject)) {}

  [[noreturn]] void Refuse(const std::string& what) const;

  std::string Read(const std::string& path) const;
  // The object that the text holds, and nothing else.
  Json::Value Parse(std::string_view text) const;

  // Of an object: the member, or null.
  static const Json::Value* Find(const Json::Value& object, const std::string& name);
  std::string TextAt(const Json::Value& object, const std::string& name) const;
  bool FlagAt(const Json::Value& object, const std::string& name) const;  // false when it is missing
  int64_t NumberAt(const Json::Value& object, const std::string& name, int64_t least, int64_t most) const;
  const Json::Value& ListAt(const Json::Value& object, const std::string& name) const;
  std::vector<std::string> TextsAt(const Json::Value& object, const std::string& name) const;

 private:
  std::string subject_;
};

}  // namespace kinora::media
