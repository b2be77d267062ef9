// Reading a small file that anybody may have put there.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace kinora::base {

// The content of the open file. Nothing, with errno, when it is no plain file (EINVAL), is larger than
// `limit` bytes (EFBIG), or cannot be read.
std::optional<std::string> ReadPlainFile(int file, size_t limit);

}  // namespace kinora::base
