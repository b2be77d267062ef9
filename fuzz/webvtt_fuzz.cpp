// Any text as WebVTT, as a whole and in any window: the header, then nothing but lines of the text, those of
// the window among those of the whole and in their order. A cue in two windows is the same in both.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "library/subtitle/webvtt.h"

namespace {

using crvnkn::webapi::subtitle::ConvertToWebvtt;
using crvnkn::webapi::subtitle::CueWindow;
using crvnkn::webapi::subtitle::kWebvttHeader;
using crvnkn::webapi::subtitle::MakeEmptyWebvtt;

void Require(bool holds) {
  if (!holds) std::abort();
}

std::vector<std::string> LinesOf(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines;
}

// What follows the header, which is there when anything is.
std::vector<std::string> CueLines(const std::string& document) {
  if (document.empty()) return {};
  Require(document.starts_with(kWebvttHeader) && document.back() == '\n');
  std::vector<std::string> lines = LinesOf(document.substr(std::strlen(kWebvttHeader)));
  Require(!lines.empty() && lines.front().find("-->") != std::string::npos);
  return lines;
}

bool IsWithin(const std::vector<std::string>& some, const std::vector<std::string>& all) {
  size_t found = 0;
  for (const std::string& line : all) {
    if (found < some.size() && some[found] == line) ++found;
  }
  return found == some.size();
}

std::string WithPoints(std::string line) {
  if (line.find("-->") != std::string::npos) std::replace(line.begin(), line.end(), ',', '.');
  return line;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CueWindow window;
  if (size < sizeof window) return 0;
  std::memcpy(&window, data, sizeof window);
  const std::string text(reinterpret_cast<const char*>(data) + sizeof window, size - sizeof window);
  std::vector<std::string> source = LinesOf(text);
  std::vector<std::string> whole = CueLines(ConvertToWebvtt(text, {}));
  Require(IsWithin(CueLines(ConvertToWebvtt(text, window)), whole));
  // Commas of text stay, those of times become points: compared without the difference.
  std::transform(source.begin(), source.end(), source.begin(), WithPoints);
  std::transform(whole.begin(), whole.end(), whole.begin(), WithPoints);
  Require(IsWithin(whole, source));
  const std::vector<std::string> empty = CueLines(MakeEmptyWebvtt(window));
  Require(empty.size() == 1 && empty[0].size() == std::strlen("00:00:00.000 --> 00:00:00.000"));
  return 0;
}
