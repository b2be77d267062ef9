#include "library/subtitle/tag_clean_up.h"

#include <pcrecpp.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace crvnkn::webapi::subtitle {
namespace {

// Something to be taken out of lines. A line without any of the characters that a match begins with is passed
// by.
struct Removal {
  pcrecpp::RE pattern;
  bool (*may_begin)(char);
};

constexpr bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte < 0x20 && c != '\n' && c != '\r') || byte == 0x7F;
}
constexpr bool IsBrace(char c) { return c == '{'; }
constexpr bool IsOpening(char c) { return c == '<'; }
constexpr bool IsBracket(char c) { return c == '<' || c == '>'; }

struct Patterns {
  Removal controls{pcrecpp::RE(R"([\x00-\x09\x0B\x0C\x0E-\x1F\x7F])"), IsControl};
  Removal overrides{pcrecpp::RE(R"({\\[^}]*})"), IsBrace};
  Removal unusual_tags{pcrecpp::RE(R"(<(?!\s*\/?(b|i|u|font|br)\b)[^>]+>)"), IsOpening};
  Removal all_tags{pcrecpp::RE(R"(<(\s*\/?)[^>]+>)"), IsOpening};
  Removal brackets{pcrecpp::RE(">|<"), IsBracket};
  pcrecpp::RE kept_tag{R"(<(\s*\/?(b|i|u|font|br)[^>]*)>)"};
  // The class is spelled with the marker's own letters: players know tags by what this leaves.
  pcrecpp::RE marked_tag{"__CRVN_START_([^_CRVN_END__]*)_CRVN_END__"};
};

const Patterns& ThePatterns() {
  static const Patterns patterns;
  return patterns;
}

// Behind the last character that can end a match none begins. A pattern that searches for its end would look
// for it from each of a thousand beginnings.
size_t EndOfMatches(std::string_view text, char closing) {
  const size_t last = text.rfind(closing);
  return last == std::string_view::npos ? 0 : last + 1;
}

bool MayMatch(const Removal& removal, std::string_view line) {
  return std::any_of(line.begin(), line.end(), removal.may_begin);
}

bool IsTiming(std::string_view line) { return line.find("-->") != std::string_view::npos; }

void RemoveFromLine(const Removal& removal, std::string& line) {
  if (!MayMatch(removal, line) || IsTiming(line)) return;  // a removal may have made it one
  const size_t end = removal.may_begin == IsBrace     ? EndOfMatches(line, '}')
                     : removal.may_begin == IsOpening ? EndOfMatches(line, '>')
                                                      : line.size();
  std::string searched = line.substr(0, end);
  removal.pattern.GlobalReplace("", &searched);
  line.replace(0, end, searched);
}

// What any removal begins with. Most lines have none of it, and are as fast as a look at each of their
// characters.
constexpr std::array<bool, 256> kUnusual = [] {
  std::array<bool, 256> unusual{};
  for (size_t i = 0; i < unusual.size(); ++i) {
    const char c = static_cast<char>(i);
    unusual[i] = IsControl(c) || IsBrace(c) || IsBracket(c);
  }
  return unusual;
}();

bool IsPlain(std::string_view line) {
  return std::none_of(line.begin(), line.end(), [](unsigned char c) { return kUnusual[c]; });
}

// The removals one after the other, line by line.
std::string WithoutLineWise(const std::string& text, std::initializer_list<const Removal*> removals) {
  std::string clean;
  clean.reserve(text.size() + 1);
  std::string_view rest = text;
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    if (IsPlain(line) || IsTiming(line)) {
      clean += line;
    } else {
      std::string cleaned(line);
      for (const Removal* const removal : removals) RemoveFromLine(*removal, cleaned);
      clean += cleaned;
    }
    clean += '\n';
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  return clean;
}

std::string WithKeptTagsMarked(std::string text) {
  if (text.find('<') == std::string::npos) return text;
  const size_t end = EndOfMatches(text, '>');
  std::string marked = text.substr(0, end);
  ThePatterns().kept_tag.GlobalReplace(R"(__CRVN_START_\1_CRVN_END__)", &marked);
  return marked.append(text, end);
}

}  // namespace

std::string CleanUpTags(const std::string& text, const TagCleanUp& wishes) {
  const Patterns& patterns = ThePatterns();
  const Removal& tags = wishes.keep_basic_tags ? patterns.unusual_tags : patterns.all_tags;
  std::string clean = WithoutLineWise(text, {&patterns.controls, &patterns.overrides, &tags});
  if (!wishes.strip_stray_brackets) return clean;
  clean = WithoutLineWise(WithKeptTagsMarked(std::move(clean)), {&patterns.brackets});
  if (clean.find("__CRVN_START_") != std::string::npos) patterns.marked_tag.GlobalReplace(R"(<\1>)", &clean);
  return clean;
}

}  // namespace crvnkn::webapi::subtitle
