#include "library/subtitle/webvtt.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <vector>

#include "contract/media/string_explode.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr char kArrow[] = "-->";

struct CueTimes {
  int64_t start = 0;  // whole seconds
  int64_t end = 0;
};

// More than any film lasts, and products of it stay numbers.
constexpr long kMost = 1'000'000'000;

int64_t Number(const std::string& field) {
  return std::clamp(std::strtol(field.c_str(), nullptr, 10), -kMost, kMost);
}

// Of "hours:minutes:seconds"; what follows the whole seconds is not read.
std::optional<int64_t> Seconds(const std::string& time) {
  const std::vector<std::string> fields = LibKinora::StringExplode(time, ":");
  if (fields.size() != 3) return std::nullopt;
  return Number(fields[0]) * 3600 + Number(fields[1]) * 60 + Number(fields[2]);
}

// Nothing when the line is no timing line.
std::optional<CueTimes> ReadTimes(const std::string& line) {
  if (line.find(kArrow) == std::string::npos) return std::nullopt;
  const std::vector<std::string> times = LibKinora::StringExplode(line, kArrow);
  if (times.size() != 2) return std::nullopt;
  const std::optional<int64_t> start = Seconds(times[0]);
  const std::optional<int64_t> end = Seconds(times[1]);
  if (!start || !end) return std::nullopt;
  return CueTimes{*start, *end};
}

bool IsOutside(const CueTimes& cue, const CueWindow& window) {
  if (window.start == -1 || window.end == -1) return false;
  if (cue.start == 0 && cue.end == 0) return true;
  return window.start > cue.end || window.end <= cue.start;
}

// The cues that are kept so far, and where in the text we are.
class Cues {
 public:
  explicit Cues(const CueWindow& window) : window_(window) {}

  void Read(std::string line) {
    if (const std::optional<CueTimes> times = ReadTimes(line)) {
      ReadTiming(std::move(line), *times);
    } else if (!skipping_ && !after_blank_ && !text_.empty()) {
      after_blank_ = line.empty() || line == "\r";
      Write(line);
    }
  }

  const std::string& Text() const { return text_; }

 private:
  void ReadTiming(std::string line, const CueTimes& times) {
    after_blank_ = false;
    skipping_ = IsOutside(times, window_);
    if (skipping_) return;
    std::replace(line.begin(), line.end(), ',', '.');
    Write(line);
  }

  void Write(std::string_view line) {
    text_ += line;
    text_ += '\n';
  }

  const CueWindow window_;
  bool skipping_ = false;     // the cue lies outside the window
  bool after_blank_ = false;  // a blank line has ended the cue; the next one's number may follow
  std::string text_;
};

std::string Clock(int32_t seconds) {
  const int32_t time = std::max(seconds, 0);
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d.000", time / 3600 % 24, time / 60 % 60, time % 60);
  return text.data();
}

}  // namespace

std::string ConvertToWebvtt(const std::string& text, const CueWindow& window) {
  Cues cues(window);
  std::string_view rest = text;
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    cues.Read(std::string(rest.substr(0, end)));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  return cues.Text().empty() ? "" : kWebvttHeader + cues.Text();
}

std::string MakeEmptyWebvtt(const CueWindow& window) {
  return kWebvttHeader + Clock(window.start) + " " + kArrow + " " + Clock(window.end) + "\n";
}

}  // namespace crvnkn::webapi::subtitle
