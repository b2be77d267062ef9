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

int64_t Number(const char* field) { return std::clamp(std::strtol(field, nullptr, 10), -kMost, kMost); }

// Of "hours:minutes:seconds"; what follows the whole seconds is not read.
std::optional<int64_t> Seconds(const std::string& time) {
  const size_t minutes = time.find(':') + 1;
  const size_t seconds = time.find(':', minutes) + 1;
  if (minutes == 0 || seconds == 0 || time.find(':', seconds) != std::string::npos) return std::nullopt;
  const char* const fields = time.c_str();
  return Number(fields) * 3600 + Number(fields + minutes) * 60 + Number(fields + seconds);
}

// Nothing when the line is no timing line.
std::optional<CueTimes> ReadTimes(std::string_view line) {
  if (line.find(kArrow) == std::string_view::npos) return std::nullopt;
  const std::vector<std::string> times = LibKinora::StringExplode(std::string(line), kArrow);
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

  void Read(std::string_view line) {
    if (const std::optional<CueTimes> times = ReadTimes(line)) {
      ReadTiming(line, *times);
    } else if (!skipping_ && !after_blank_ && !text_.empty()) {
      after_blank_ = line.empty() || line == "\r";
      Write(line);
    }
  }

  const std::string& Text() const { return text_; }

 private:
  void ReadTiming(std::string_view line, const CueTimes& times) {
    after_blank_ = false;
    skipping_ = IsOutside(times, window_);
    if (skipping_) return;
    Write(line);
    std::replace(text_.end() - static_cast<std::ptrdiff_t>(line.size()) - 1, text_.end(), ',', '.');
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
    cues.Read(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  return cues.Text().empty() ? "" : kWebvttHeader + cues.Text();
}

std::string MakeEmptyWebvtt(const CueWindow& window) {
  return kWebvttHeader + Clock(window.start) + " " + kArrow + " " + Clock(window.end) + "\n";
}

}  // namespace crvnkn::webapi::subtitle
