// How much memory may still be used.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kinora::engine {

// Bytes, from the text of /proc/meminfo; nothing when it does not say.
std::optional<uint64_t> ParseAvailableMemory(std::string_view meminfo);

// What a control group (cgroup v2) leaves its members: its limit, less what they use and cannot give back.
// The texts of its memory.max, memory.current and memory.stat; nothing when there is no limit.
std::optional<uint64_t> ParseGroupMemory(std::string_view max, std::string_view current,
                                         std::string_view stat);

// Of the machine and of all groups that this process belongs to, the least. Where nothing is known, no limit.
uint64_t AvailableMemory();

}  // namespace kinora::engine
