#include "platform/engine/memory.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/base/text.h"

namespace kinora::engine {
namespace {

constexpr char kGroups[] = "/sys/fs/cgroup";

std::optional<uint64_t> ParseNumber(std::string_view text) {
  text = base::Trim(text, " \t\n");
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end == text.data()) return std::nullopt;
  return number;
}

// The number behind `key` at the start of a line.
std::optional<uint64_t> FindNumber(std::string_view text, std::string_view key) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    if (line.starts_with(key)) return ParseNumber(line.substr(key.size()));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
  return std::nullopt;
}

std::string ReadText(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// The path of the group below kGroups: the line "0::/path".
std::string GroupOf(const std::string& lines) {
  const size_t start = lines.find("0::/");
  if (start == std::string::npos || (start > 0 && lines[start - 1] != '\n')) return "";
  const size_t path = start + 3;
  return lines.substr(path, lines.find('\n', path) - path);
}

}  // namespace

std::optional<uint64_t> ParseAvailableMemory(std::string_view meminfo) {
  const std::optional<uint64_t> kilobytes = FindNumber(meminfo, "MemAvailable:");
  if (!kilobytes || *kilobytes > UINT64_MAX / 1024) return std::nullopt;
  return *kilobytes * 1024;
}

std::optional<uint64_t> ParseGroupMemory(std::string_view max, std::string_view current,
                                         std::string_view stat) {
  const std::optional<uint64_t> limit = ParseNumber(max);
  const std::optional<uint64_t> used = ParseNumber(current);
  if (!limit || !used) return std::nullopt;
  const uint64_t cached =
      FindNumber(stat, "inactive_file ").value_or(0) + FindNumber(stat, "active_file ").value_or(0);
  const uint64_t held = *used > cached ? *used - cached : 0;
  return *limit > held ? *limit - held : 0;
}

uint64_t AvailableMemory() {
  uint64_t least = ParseAvailableMemory(ReadText("/proc/meminfo")).value_or(UINT64_MAX);
  std::string group = GroupOf(ReadText("/proc/self/cgroup"));
  while (!group.empty()) {
    const std::string folder = kGroups + (group == "/" ? "" : group);
    const auto left = ParseGroupMemory(ReadText(folder + "/memory.max"), ReadText(folder + "/memory.current"),
                                       ReadText(folder + "/memory.stat"));
    least = std::min(least, left.value_or(UINT64_MAX));
    if (group == "/") break;
    group.resize(group.rfind('/'));
    if (group.empty()) group = "/";
  }
  return least;
}

}  // namespace kinora::engine
