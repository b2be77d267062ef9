#include "platform/system/byte_ranges.h"

#include <strings.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "platform/base/text.h"

// The grammar (RFC 9110, 14.1.1 and 5.6.1), as far as it concerns bytes:
//
//   field  = "bytes=" spec *( OWS "," OWS spec )      empty list elements are skipped
//   spec   = first "-" [ last ] / "-" suffix-length

namespace kinora::system {
namespace {

constexpr std::string_view kUnit = "bytes=";
constexpr size_t kMaxRanges = 100;
constexpr uint64_t kEndless = std::numeric_limits<uint64_t>::max();

struct Spec {
  std::optional<uint64_t> first;  // nothing: the last `last` bytes
  uint64_t last = kEndless;
};

// A position past what 64 bits hold is past every file: it counts as the largest number. Nothing when there
// is no number.
std::optional<uint64_t> ParsePosition(std::string_view digits) {
  if (digits.empty()) return std::nullopt;
  uint64_t number = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
    const auto digit = static_cast<uint64_t>(c - '0');
    number = number > (kEndless - digit) / 10 ? kEndless : number * 10 + digit;
  }
  return number;
}

std::optional<Spec> ParseSpec(std::string_view text) {
  const size_t dash = text.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const std::string_view before = text.substr(0, dash);
  const std::string_view after = text.substr(dash + 1);
  Spec spec;
  if (!before.empty() && !(spec.first = ParsePosition(before))) return std::nullopt;
  if (after.empty() && spec.first) return spec;
  const std::optional<uint64_t> last = ParsePosition(after);
  if (!last || (spec.first && *last < *spec.first)) return std::nullopt;
  spec.last = *last;
  return spec;
}

// Nothing when the field is malformed or names too many ranges.
std::optional<std::vector<Spec>> ParseField(std::string_view field) {
  if (field.size() < kUnit.size() || ::strncasecmp(field.data(), kUnit.data(), kUnit.size()) != 0) {
    return std::nullopt;
  }
  std::vector<Spec> specs;
  for (size_t start = kUnit.size(); start <= field.size();) {
    const size_t end = std::min(field.find(',', start), field.size());
    const std::string_view element = base::Trim(field.substr(start, end - start));
    start = end + 1;
    if (element.empty()) continue;
    const std::optional<Spec> spec = ParseSpec(element);
    if (!spec || specs.size() == kMaxRanges) return std::nullopt;
    specs.push_back(*spec);
  }
  return specs;
}

// Of no length when the range does not touch the file.
ByteRange Resolve(const Spec& spec, uint64_t size) {
  if (!spec.first) {
    const uint64_t length = std::min(spec.last, size);
    return {size - length, length};
  }
  if (*spec.first >= size) return {};
  return {*spec.first, std::min(spec.last, size - 1) - *spec.first + 1};
}

bool Touch(const ByteRange& a, const ByteRange& b) {
  return a.first <= b.first + b.length && b.first <= a.first + a.length;
}

// Takes the range in, united with all those that it touches, in the place of the first of them.
void Unite(std::vector<ByteRange>& ranges, ByteRange range) {
  size_t place = ranges.size();
  for (size_t i = 0; i < ranges.size();) {
    if (!Touch(ranges[i], range)) {
      ++i;
      continue;
    }
    const uint64_t end = std::max(ranges[i].first + ranges[i].length, range.first + range.length);
    range.first = std::min(ranges[i].first, range.first);
    range.length = end - range.first;
    place = std::min(place, i);
    ranges.erase(ranges.begin() + static_cast<ptrdiff_t>(i));
    i = 0;  // it has grown, and may touch what it did not before
  }
  ranges.insert(ranges.begin() + static_cast<ptrdiff_t>(std::min(place, ranges.size())), range);
}

}  // namespace

RangeDecision DecideRanges(std::string_view field, uint64_t size) {
  using Kind = RangeDecision::Kind;
  const std::optional<std::vector<Spec>> specs = ParseField(base::Trim(field));
  if (!specs || specs->empty()) return {Kind::kWhole, {}};
  RangeDecision decision{Kind::kPartial, {}};
  for (const Spec& spec : *specs) {
    // The end of an empty file can be asked for, but no partial answer can say where its bytes stand.
    if (size == 0 && !spec.first && spec.last > 0) return {Kind::kWhole, {}};
    const ByteRange range = Resolve(spec, size);
    if (range.length > 0) Unite(decision.ranges, range);
  }
  if (decision.ranges.empty()) decision.kind = Kind::kUnsatisfiable;
  return decision;
}

}  // namespace kinora::system
