// What lies under a name, where it must be a plain file and no link to one.
#pragma once

#include <sys/stat.h>

#include <string>

namespace kinora::base {

inline bool IsPlainFile(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace kinora::base
