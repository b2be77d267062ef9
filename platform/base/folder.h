// Folders by descriptor: whoever else writes in them cannot put a link in our way.
#pragma once

#include <string>
#include <vector>

#include "platform/base/descriptor.h"

namespace kinora::base {

// "/" and the names on the way that an absolute path describes. Empty when it is not one to go by: relative,
// with a zero byte, or with a part that stays or goes up. Slashes that follow each other are one.
std::vector<std::string> PartsOf(const std::string& path);

// The folder at the absolute path, opened as a place only (O_PATH) and through no link anywhere. Empty, with
// errno (ENOTDIR where there is a link), when that cannot be done.
Descriptor OpenFolderWithoutLinks(const std::string& path);

// Of what lies in the folder, but for itself and its parent, in no order; none when it cannot be read.
std::vector<std::string> NamesIn(int folder);

}  // namespace kinora::base
