#include "platform/engine/fragment_id.h"

#include <charconv>

namespace kinora::engine {
namespace {

constexpr int kLargest = 999'999;

// Digits alone, and as few as say it.
std::optional<int> ParseNumber(std::string_view text) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  if (text.size() > 1 && text.front() == '0') return std::nullopt;
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number > kLargest) return std::nullopt;
  return number;
}

}  // namespace

std::optional<FragmentId> ParseFragmentId(std::string_view text) {
  FragmentId id;
  if (text.starts_with('a')) {
    const size_t split = text.find('_');
    if (split == std::string_view::npos) return std::nullopt;
    id.audio_track = ParseNumber(text.substr(1, split - 1));
    if (!id.audio_track) return std::nullopt;
    text.remove_prefix(split + 1);
  }
  const std::optional<int> number = ParseNumber(text);
  if (!number) return std::nullopt;
  id.number = *number;
  return id;
}

std::string ToText(const FragmentId& id) {
  const std::string number = std::to_string(id.number);
  return id.audio_track ? "a" + std::to_string(*id.audio_track) + "_" + number : number;
}

std::string FileName(const FragmentId& id) { return ToText(id) + ".ts"; }
std::string SmoothFileName(const FragmentId& id) { return ToText(id) + ".m4s"; }

}  // namespace kinora::engine
