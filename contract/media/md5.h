// One name for each video, fit for a folder.
#pragma once

#include <string>

namespace LibKinora {

// A digest of the path itself, as lower-case hexadecimal digits: the same one for the same path, and never
// that of another. The file is not looked at. Empty when the path is.
std::string GetMD5(const std::string& path);

}  // namespace LibKinora
