// The folders that Kinora serves.
#pragma once

#include <string>
#include <vector>

#include "platform/media/store.h"

namespace kinora::media {

struct Share {
  int id = 0;
  std::string name;
  std::string path;  // absolute, resolved, without a slash at the end
};

// All throw LibKinora::db::Failure when the database cannot answer.
class Shares {
 public:
  explicit Shares(Store& store) : store_(store) {}

  // Throws std::invalid_argument, with words for people, when the name is taken, or the path is no folder, or
  // it lies in another share or holds one. A path that is a share already is returned as it is.
  Share Add(const std::string& name, const std::string& path);
  // Its videos go with it, from the database only. false when there is no such share.
  bool Remove(const std::string& name);
  std::vector<Share> All();

 private:
  Store& store_;
};

}  // namespace kinora::media
