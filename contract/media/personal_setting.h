// What an account has chosen for itself.
#pragma once

#include <memory>

#include "contract/media/database.h"

namespace LibKinora::db {

namespace record {

class PersonalSetting {
 public:
  PersonalSetting() = default;
  explicit PersonalSetting(bool convert_simplified_to_traditional)
      : convert_simplified_to_traditional_(convert_simplified_to_traditional) {}

  // Whether subtitles in simplified Chinese are shown in the traditional script.
  bool convert_simplified_to_traditional() const { return convert_simplified_to_traditional_; }

 private:
  bool convert_simplified_to_traditional_ = false;
};

}  // namespace record

namespace api {

class PersonalSetting {
 public:
  explicit PersonalSetting(unsigned int uid);
  // The account's settings; the defaults when it has never set any. Throws Failure.
  record::PersonalSetting Get() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace api

}  // namespace LibKinora::db
