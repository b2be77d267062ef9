// What the file system says of a file.
#pragma once

#include <ctime>
#include <string>

namespace libkn::critical::fileop {

// Whether there is a file at the absolute `path`; `mtime` is its modification time then, in seconds since
// 1970, and stays as it was else. Links are followed.
bool CheckFileAndGetMtime(const std::string& path, time_t& mtime);

}  // namespace libkn::critical::fileop
