#include "helpers/remux/smooth_samples.h"

#include <algorithm>
#include <cstdint>

#include "helpers/remux/adts.h"

namespace kinora::helper {
namespace {

constexpr std::string_view kStartCode("\0\0\1", 3);
constexpr size_t kLengthSize = 4;  // bytes
constexpr size_t kMostDigits = 2048;
constexpr int kLowComplexity = 1;

// The types of a NAL unit (ISO/IEC 14496-10, table 7-1).
constexpr int kSlice = 1;
constexpr int kKeySlice = 5;
constexpr int kSequenceSet = 7;
constexpr int kPictureSet = 8;
constexpr int kDelimiter = 9;

int TypeOf(std::string_view unit) { return static_cast<uint8_t>(unit.front()) & 0x1f; }
bool IsForbidden(std::string_view unit) { return (static_cast<uint8_t>(unit.front()) & 0x80) != 0; }

// What lies between the start codes (ISO/IEC 14496-10, annex B); zeros behind a unit are no part of it.
// Nothing when anything else comes before the first, or a unit is empty.
std::optional<std::vector<std::string_view>> SplitUnits(std::string_view stream) {
  std::vector<std::string_view> units;
  size_t code = stream.find(kStartCode);
  if (code == std::string_view::npos || stream.find_first_not_of('\0') < code) return std::nullopt;
  while (code != std::string_view::npos) {
    const size_t start = code + kStartCode.size();
    code = stream.find(kStartCode, start);
    std::string_view unit = stream.substr(start, code == std::string_view::npos ? code : code - start);
    unit = unit.substr(0, unit.find_last_not_of('\0') + 1);
    if (unit.empty() || IsForbidden(unit)) return std::nullopt;
    units.push_back(unit);
  }
  return units;
}

int DigitOf(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

std::optional<std::string> BytesOf(std::string_view digits) {
  if (digits.size() % 2 != 0 || digits.size() > kMostDigits) return std::nullopt;
  std::string bytes;
  for (size_t i = 0; i < digits.size(); i += 2) {
    const int high = DigitOf(digits[i]);
    const int low = DigitOf(digits[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes += static_cast<char>(high << 4 | low);
  }
  return bytes;
}

void AppendUnit(std::string& sample, std::string_view unit) {
  for (size_t i = kLengthSize; i-- > 0;) sample += static_cast<char>(unit.size() >> (8 * i));
  sample.append(unit);
}

}  // namespace

std::optional<ParameterSets> ParameterSets::From(std::string_view digits) {
  const std::optional<std::string> bytes = BytesOf(digits);
  if (!bytes) return std::nullopt;
  const auto units = SplitUnits(*bytes);
  if (!units || units->size() != 2) return std::nullopt;
  if (TypeOf(units->front()) != kSequenceSet || TypeOf(units->back()) != kPictureSet) return std::nullopt;
  ParameterSets sets;
  sets.units_.assign(units->begin(), units->end());
  return sets;
}

bool ParameterSets::Has(std::string_view unit) const {
  return std::find(units_.begin(), units_.end(), unit) != units_.end();
}

std::optional<PictureSample> MakePictureSample(std::string_view unit, const ParameterSets& sets) {
  const auto parts = SplitUnits(unit);
  if (!parts) return std::nullopt;
  PictureSample sample;
  bool pictured = false;
  for (const std::string_view part : *parts) {
    const int type = TypeOf(part);
    if (type == kDelimiter) continue;
    if (type == kSequenceSet || type == kPictureSet) {
      if (!sets.Has(part)) return std::nullopt;
      ++sample.sets;
      continue;
    }
    pictured = pictured || type == kSlice || type == kKeySlice;
    sample.key = sample.key || type == kKeySlice;
    AppendUnit(sample.bytes, part);
  }
  if (!pictured) return std::nullopt;
  return sample;
}

std::optional<std::vector<std::string_view>> SplitSound(std::string_view bytes, int frequency) {
  std::vector<std::string_view> packets;
  while (!bytes.empty()) {
    const std::optional<AdtsHeader> header = ReadAdts(bytes);
    if (!header || header->rate != frequency || header->profile != kLowComplexity || header->several)
      return std::nullopt;
    if (header->whole <= header->size || header->whole > bytes.size()) return std::nullopt;
    packets.push_back(bytes.substr(header->size, header->whole - header->size));
    bytes.remove_prefix(header->whole);
  }
  return packets;
}

}  // namespace kinora::helper
