#include "platform/engine/parameter_sets.h"

#include "platform/base/log.h"
#include "platform/engine/encode_arguments.h"
#include "platform/system/child.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/parameter_sets";
constexpr char kEncoder[] = "bin/ffmpeg";
constexpr system::ChildLimits kLimits{std::chrono::seconds(30), 16ULL << 30, 25, 0, 4U << 20};

// Ahead of every unit of the stream; a fourth zero may precede it.
constexpr std::string_view kStartCode("\0\0\1", 3);
constexpr int kTypeMask = 0x1F;
constexpr int kSequenceSet = 7;
constexpr int kPictureSet = 8;

// The first unit of the type; empty when there is none.
std::string_view UnitIn(std::string_view stream, int type) {
  for (size_t at = stream.find(kStartCode); at != std::string_view::npos;) {
    const size_t start = at + kStartCode.size();
    at = stream.find(kStartCode, start);
    std::string_view unit = stream.substr(start, at == std::string_view::npos ? at : at - start);
    // No unit ends in a zero.
    unit = unit.substr(0, unit.find_last_not_of('\0') + 1);
    if (!unit.empty() && (unit.front() & kTypeMask) == type) return unit;
  }
  return {};
}

std::string Hexadecimal(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    text += kDigits[static_cast<unsigned char>(byte) >> 4U];
    text += kDigits[static_cast<unsigned char>(byte) & 0xFU];
  }
  return text;
}

}  // namespace

std::optional<std::string> ParameterSetsIn(std::string_view stream) {
  const std::string_view sequence = UnitIn(stream, kSequenceSet);
  const std::string_view picture = UnitIn(stream, kPictureSet);
  if (sequence.empty() || picture.empty()) return std::nullopt;
  return "00000001" + Hexadecimal(sequence) + "00000001" + Hexadecimal(picture);
}

std::optional<std::string> FindParameterSets(const StreamPlan& plan) {
  system::Command command;
  command.arguments = HeaderArguments(plan);
  command.arguments.insert(command.arguments.begin(), system::InTarget(kEncoder));
  command.limits = kLimits;
  system::ChildResult result = system::RunChild(command);
  // Somebody may have killed it.
  if (result.end == system::ChildResult::End::kSignalled) result = system::RunChild(command);
  std::optional<std::string> sets = result.Succeeded() ? ParameterSetsIn(result.output) : std::nullopt;
  if (!sets)
    base::Log(LOG_ERR, kUnit, "the encoder tells no parameter sets (" + std::to_string(result.status) + ")");
  return sets;
}

}  // namespace kinora::engine
