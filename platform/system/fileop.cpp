#include "contract/system/fileop.h"

#include <sys/stat.h>

namespace libkn::critical::fileop {

bool CheckFileAndGetMtime(const std::string& path, time_t& mtime) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  mtime = info.st_mtime;
  return true;
}

}  // namespace libkn::critical::fileop
