// Any text cleaned of tags: no line is lost or joined, timing lines are left alone, none of what is to go
// stays.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "library/subtitle/tag_clean_up.h"

namespace {

using crvnkn::webapi::subtitle::CleanUpTags;
using crvnkn::webapi::subtitle::TagCleanUp;

constexpr std::string_view kArrow = "-->";

bool Has(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

void Require(bool holds) {
  if (!holds) std::abort();
}

std::vector<std::string_view> LinesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines;
}

bool HasControl(std::string_view line) {
  return std::any_of(line.begin(), line.end(),
                     [](unsigned char c) { return (c < 0x20 && c != '\r') || c == 0x7F; });
}

// "<" and a ">" behind it with something between.
bool HasTag(std::string_view line) {
  const size_t last = line.rfind('>');
  for (size_t at = line.find('<'); at != std::string_view::npos; at = line.find('<', at + 1)) {
    if (last != std::string_view::npos && at < last && line[at + 1] != '>') return true;
  }
  return false;
}

bool HasOverride(std::string_view line) {
  const size_t begin = line.find("{\\");
  return begin != std::string_view::npos && Has(line.substr(begin), "}");
}

// With brackets left each line is cleaned by itself.
void CheckLineByLine(std::string_view text) {
  const std::string clean =
      CleanUpTags(std::string(text), {.keep_basic_tags = false, .strip_stray_brackets = false});
  const std::vector<std::string_view> before = LinesOf(text);
  const std::vector<std::string_view> after = LinesOf(clean);
  Require(before.size() == after.size() && (clean.empty() || clean.back() == '\n'));
  for (size_t i = 0; i < before.size(); ++i) {
    if (Has(before[i], kArrow)) {
      Require(after[i] == before[i]);
    } else if (!Has(after[i], kArrow)) {  // it may have become a timing line half-way
      Require(!HasControl(after[i]) && !HasTag(after[i]) && after[i].size() <= before[i].size());
      Require(Has(before[i], "<") || !HasOverride(after[i]));  // an override may show when a tag goes
    }
  }
}

// Tags that stay are marked in the text as a whole, so lines are looked at only where there is no tag and no
// mark.
void CheckBrackets(std::string_view text) {
  const std::string cleaned_by_lines =
      CleanUpTags(std::string(text), {.keep_basic_tags = false, .strip_stray_brackets = false});
  const std::string clean = CleanUpTags(std::string(text), {});
  Require(LinesOf(clean).size() == LinesOf(text).size());
  if (Has(text, "<") || Has(cleaned_by_lines, "CRVN")) return;
  for (const std::string_view line : LinesOf(clean)) Require(Has(line, kArrow) || !Has(line, ">"));
}

// Short texts many times over: what takes more than its share of time runs into the fuzzer's limit.
void CheckTime(std::string_view text) {
  if (text.empty() || text.size() > 16) return;
  std::string many;
  while (many.size() < size_t{64} << 10) many += text;
  for (const bool keep : {false, true})
    CleanUpTags(many, {.keep_basic_tags = keep, .strip_stray_brackets = true});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  CheckLineByLine(text);
  CheckBrackets(text);
  CheckTime(text);
  for (const bool strip : {false, true}) {
    const std::string kept =
        CleanUpTags(std::string(text), {.keep_basic_tags = true, .strip_stray_brackets = strip});
    Require(LinesOf(kept).size() == LinesOf(text).size());
  }
  return 0;
}
