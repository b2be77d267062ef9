// What a file is known by when its name has changed.
#pragma once

#include <string>

namespace kinora::media {

// A digest (BLAKE2b) of the file's size and of its first and last 64 KiB; empty when it cannot be read. A
// link is not followed.
std::string ContentMarks(const std::string& path);

}  // namespace kinora::media
