// Moving a file's bytes to whoever reads them.
#pragma once

#include <chrono>
#include <string_view>

#include "platform/system/byte_ranges.h"

namespace kinora::system {

// A reader that takes nothing for so long counts as gone. A web server ends such connections sooner; this is
// for one that does not, or that cannot tell the program that its client has left.
inline constexpr std::chrono::minutes kPatience{20};

// Both write to a descriptor that may be a pipe, a socket or a file, blocking or not, until all is gone.
// false when the reader went away (SIGPIPE must be ignored) or took nothing for as long as `patience`;
// SendRange also when the file has become shorter or cannot be read.
bool SendBytes(int to, std::string_view bytes, std::chrono::milliseconds patience = kPatience);
bool SendRange(int to, int file, ByteRange range, std::chrono::milliseconds patience = kPatience);

}  // namespace kinora::system
