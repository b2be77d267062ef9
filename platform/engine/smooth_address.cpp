#include "platform/engine/smooth_address.h"

#include <algorithm>
#include <charconv>
#include <ranges>

namespace kinora::engine {
namespace {

constexpr char kPicture[] = "video";
constexpr char kSoundPrefix[] = "audio_";
constexpr size_t kMostDigits = 18;  // fewer than would be too many for 64 bits

// Takes `prefix` off the text; false when it does not start so.
bool Take(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

// Digits alone, and as few as say it.
std::optional<int64_t> TakeNumber(std::string_view& text) {
  const std::string_view digits = text.substr(0, text.find_first_not_of("0123456789"));
  if (digits.empty() || digits.size() > kMostDigits || (digits.size() > 1 && digits.front() == '0'))
    return std::nullopt;
  int64_t number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  text.remove_prefix(digits.size());
  return number;
}

// The chunk that starts at `time`.
std::optional<int> ChunkAt(const StreamPlan& plan, const AudioPlan* audio, int64_t time) {
  const auto numbers = std::views::iota(0, plan.grid.Count());
  const auto start = [&](int number) { return ChunkOf(plan, audio, number).start; };
  const auto found = std::ranges::lower_bound(numbers, time, {}, start);
  if (found == numbers.end() || start(*found) != time) return std::nullopt;
  return *found;
}

}  // namespace

std::optional<SmoothAddress> ParseSmoothAddress(std::string_view text) {
  SmoothAddress address;
  if (!Take(text, "QualityLevels(")) return std::nullopt;
  const std::optional<int64_t> bitrate = TakeNumber(text);
  if (!bitrate || !Take(text, ")/Fragments(")) return std::nullopt;
  const size_t split = text.find('=');
  if (split == 0 || split == std::string_view::npos) return std::nullopt;
  address.track = text.substr(0, split);
  text.remove_prefix(split + 1);
  const std::optional<int64_t> time = TakeNumber(text);
  if (!time || text != ")") return std::nullopt;
  address.bitrate = *bitrate;
  address.time = *time;
  return address;
}

std::string SmoothTrack(const AudioPlan* audio) {
  return audio == nullptr ? kPicture : kSoundPrefix + std::to_string(audio->track);
}

int64_t SmoothBitrate(const StreamPlan& plan, const AudioPlan* audio) {
  return audio == nullptr ? plan.profile.video_bitrate : audio->bitrate;
}

SmoothChunk ChunkOf(const StreamPlan& plan, const AudioPlan* audio, int number) {
  return audio == nullptr ? PictureChunk(plan.grid, number) : SoundChunk(plan.grid, audio->frequency, number);
}

std::optional<FragmentId> FindChunk(const StreamPlan& plan, const SmoothAddress& address) {
  const auto find = [&](const AudioPlan* audio) -> std::optional<int> {
    if (address.track != SmoothTrack(audio) || address.bitrate != SmoothBitrate(plan, audio))
      return std::nullopt;
    return ChunkAt(plan, audio, address.time);
  };
  if (plan.video != VideoWay::kNone) {
    if (const std::optional<int> number = find(nullptr)) return FragmentId{std::nullopt, *number};
  }
  for (const AudioPlan& audio : plan.audio) {
    if (const std::optional<int> number = find(&audio)) return FragmentId{audio.track, *number};
  }
  return std::nullopt;
}

}  // namespace kinora::engine
