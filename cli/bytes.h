// Numbers of bytes for people.
#pragma once

#include <cstdint>
#include <string>

namespace kinora::cli {

// In the largest unit of 1024 that leaves a whole part, with one digit behind the point: "1.5 GiB", "17 B".
std::string ToBytesText(uint64_t bytes);

}  // namespace kinora::cli
