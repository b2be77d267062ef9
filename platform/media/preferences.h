// What people have chosen for themselves.
#pragma once

#include "platform/media/store.h"

namespace kinora::media {

// All throw LibKinora::db::Failure when the database cannot answer. What an account has never set is at its
// default; what it has set goes with it.
class Preferences {
 public:
  explicit Preferences(Store& store) : store_(store) {}

  // Whether subtitles in simplified Chinese are shown in the traditional script; the default is that they are
  // not.
  bool ConvertsSimplifiedToTraditional(long long account);
  // Failure too when there is no such account.
  void SetConvertsSimplifiedToTraditional(long long account, bool converts);

 private:
  Store& store_;
};

}  // namespace kinora::media
