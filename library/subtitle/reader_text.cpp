#include "library/subtitle/reader_text.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <vector>

namespace crvnkn::webapi::subtitle {
namespace {

using Lines = std::vector<std::string_view>;

enum class Format { kUnknown, kWebvtt, kAss, kSami, kMicroDvd, kTimed };

constexpr std::string_view kTimes = "-->";
constexpr std::string_view kDialogue = "Dialogue:";
constexpr std::string_view kFormat = "Format:";

bool BeginsWith(std::string_view text, std::string_view beginning) {
  return text.size() >= beginning.size() && strncasecmp(text.data(), beginning.data(), beginning.size()) == 0;
}

std::string_view Trim(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

Lines LinesOf(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

bool Contains(const Lines& lines, std::string_view beginning) {
  return std::any_of(lines.begin(), lines.end(),
                     [&](std::string_view line) { return BeginsWith(Trim(line), beginning); });
}

bool HasTimes(std::string_view line) { return line.find(kTimes) != std::string_view::npos; }

// "{25}{75}": frames.
bool IsMicroDvdCue(std::string_view line) {
  for (int i = 0; i < 2; ++i) {
    const size_t end = line.find('}');
    if (!line.starts_with('{') || end == std::string_view::npos) return false;
    const std::string_view number = line.substr(1, end - 1);
    if (number.find_first_not_of("0123456789") != std::string_view::npos) return false;
    line.remove_prefix(end + 1);
  }
  return !Trim(line).empty();
}

Format FormatOf(const Lines& lines) {
  if (!lines.empty() && lines.front().starts_with("WEBVTT")) return Format::kWebvtt;
  if (Contains(lines, "[Events]")) return Format::kAss;
  if (Contains(lines, "<SAMI")) return Format::kSami;
  if (std::any_of(lines.begin(), lines.end(), HasTimes)) return Format::kTimed;
  return std::any_of(lines.begin(), lines.end(), IsMicroDvdCue) ? Format::kMicroDvd : Format::kUnknown;
}

// ---- WebVTT
// -------------------------------------------------------------------------------------------------

bool BeginsBlockWithoutCue(std::string_view line) {
  line = Trim(line);
  return line == "STYLE" || line == "REGION";
}

std::string WithoutStyles(const Lines& lines) {
  std::string text;
  bool dropping = false;
  bool begins = false;  // a block
  for (const std::string_view line : lines) {
    if (begins && BeginsBlockWithoutCue(line)) dropping = true;
    // A cue that follows at once is none of the block.
    if (line.empty() || HasTimes(line)) dropping = false;
    begins = line.empty();
    if (!dropping) text += std::string(line) + '\n';
  }
  return text;
}

// ---- ASS and SSA
// --------------------------------------------------------------------------------------------

constexpr auto kUsual = std::to_array<std::string_view>(
    {"Layer", "Start", "End", "Style", "Name", "MarginL", "MarginR", "MarginV", "Effect", "Text"});
constexpr auto kNothing =
    std::to_array<std::string_view>({"0", "", "", "Default", "", "0", "0", "0", "", ""});

// The last column takes the rest.
Lines ColumnsOf(std::string_view text, size_t most) {
  Lines columns;
  while (columns.size() + 1 < most && text.find(',') != std::string_view::npos) {
    columns.push_back(Trim(text.substr(0, text.find(','))));
    text.remove_prefix(text.find(',') + 1);
  }
  columns.push_back(text);
  return columns;
}

bool Names(std::string_view column, std::string_view name) {
  return column.size() == name.size() && BeginsWith(column, name);
}

// The columns that count where ffmpeg looks for them.
bool IsUsual(const Lines& columns) {
  return columns.size() == kUsual.size() && Names(columns[1], "Start") && Names(columns[2], "End") &&
         Names(columns[9], "Text");
}

// An event in the usual columns.
std::string Usual(std::string_view event, const Lines& columns) {
  const Lines values = ColumnsOf(event, columns.size());
  std::string text(kDialogue);
  for (size_t i = 0; i < kUsual.size(); ++i) {
    std::string_view value = kNothing[i];
    for (size_t column = 0; column < std::min(columns.size(), values.size()); ++column) {
      if (Names(columns[column], kUsual[i])) value = values[column];
    }
    text += (i == 0 ? " " : ",") + std::string(value);
  }
  return text;
}

std::string WithUsualColumns(const Lines& lines) {
  std::string text;
  Lines columns(kUsual.begin(), kUsual.end());
  bool among_events = false;
  for (const std::string_view line : lines) {
    if (line.starts_with('[')) among_events = BeginsWith(line, "[Events]");
    if (among_events && BeginsWith(line, kFormat)) {
      columns = ColumnsOf(line.substr(kFormat.size()), kUsual.size() * 2);
      for (std::string_view& column : columns) column = Trim(column);
      if (IsUsual(columns)) text += line;
      if (!IsUsual(columns)) {
        text += kFormat;
        for (size_t i = 0; i < kUsual.size(); ++i) text += (i == 0 ? " " : ", ") + std::string(kUsual[i]);
      }
    } else if (among_events && BeginsWith(line, kDialogue) && !IsUsual(columns)) {
      text += Usual(line.substr(kDialogue.size()), columns);
    } else {
      text += line;
    }
    text += '\n';
  }
  return text;
}

// ---- SAMI
// ---------------------------------------------------------------------------------------------------

// Of what stands between tags, something is to be seen: not blanks alone, nor the entity of one.
bool ShowsText(std::string_view text) {
  bool in_tag = false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '<') in_tag = true;
    if (!in_tag && BeginsWith(text.substr(i), "&nbsp;")) {
      i += 5;
    } else if (!in_tag && std::isspace(static_cast<unsigned char>(text[i])) == 0) {
      return true;
    }
    if (text[i] == '>') in_tag = false;
  }
  return false;
}

// What is shown from one <SYNC> to the next is a cue.
size_t CountSami(std::string_view text) {
  constexpr std::string_view kSync = "<SYNC";
  size_t count = 0;
  size_t begin = std::string_view::npos;
  for (size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    const bool ends = BeginsWith(text.substr(at), "</BODY");
    if (!ends && !BeginsWith(text.substr(at), kSync)) continue;
    if (begin != std::string_view::npos && ShowsText(text.substr(begin, at - begin))) ++count;
    begin = ends ? std::string_view::npos : at;
  }
  if (begin != std::string_view::npos && ShowsText(text.substr(begin))) ++count;
  return count;
}

template <typename Condition>
size_t CountLines(const Lines& lines, Condition condition) {
  return static_cast<size_t>(std::count_if(lines.begin(), lines.end(), condition));
}

}  // namespace

std::string ForReader(const std::string& text) {
  const Lines lines = LinesOf(text);
  switch (FormatOf(lines)) {
    case Format::kWebvtt:
      return WithoutStyles(lines);
    case Format::kAss:
      return WithUsualColumns(lines);
    default:
      return text;
  }
}

std::optional<size_t> CountCues(const std::string& text) {
  const Lines lines = LinesOf(text);
  switch (FormatOf(lines)) {
    case Format::kWebvtt:
    case Format::kTimed:
      return CountLines(lines, HasTimes);
    case Format::kAss:
      return CountLines(lines, [](std::string_view line) { return BeginsWith(line, kDialogue); });
    case Format::kSami:
      return CountSami(text);
    case Format::kMicroDvd:
      return CountLines(lines, IsMicroDvdCue);
    case Format::kUnknown:
      return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace crvnkn::webapi::subtitle
