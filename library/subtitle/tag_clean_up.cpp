#include "library/subtitle/tag_clean_up.h"

#include <pcrecpp.h>

#include <string_view>

namespace crvnkn::webapi::subtitle {
namespace {

// Something to be taken out of lines. A line without any of the characters that a match begins with is passed
// by: most lines have none.
struct Removal {
  pcrecpp::RE pattern;
  bool (*may_begin)(char);
};

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte < 0x20 && c != '\n' && c != '\r') || byte == 0x7F;
}
bool IsBrace(char c) { return c == '{'; }
bool IsOpening(char c) { return c == '<'; }
bool IsBracket(char c) { return c == '<' || c == '>'; }

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
  for (const char c : line) {
    if (removal.may_begin(c)) return true;
  }
  return false;
}

void AppendCleanLine(const Removal& removal, std::string_view line, std::string& clean) {
  if (!MayMatch(removal, line) || line.find("-->") != std::string_view::npos) {
    clean += line;
    return;
  }
  const size_t end = removal.may_begin == IsBrace     ? EndOfMatches(line, '}')
                     : removal.may_begin == IsOpening ? EndOfMatches(line, '>')
                                                      : line.size();
  std::string searched(line.substr(0, end));
  removal.pattern.GlobalReplace("", &searched);
  clean += searched;
  clean += line.substr(end);
}

std::string WithoutLineWise(const std::string& text, const Removal& removal) {
  std::string clean;
  clean.reserve(text.size() + 1);
  std::string_view rest = text;
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    AppendCleanLine(removal, rest.substr(0, end), clean);
    clean += '\n';
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  return clean;
}

std::string WithKeptTagsMarked(const std::string& text) {
  const size_t end = EndOfMatches(text, '>');
  std::string marked = text.substr(0, end);
  ThePatterns().kept_tag.GlobalReplace(R"(__CRVN_START_\1_CRVN_END__)", &marked);
  return marked.append(text, end);
}

}  // namespace

std::string CleanUpTags(const std::string& text, const TagCleanUp& wishes) {
  const Patterns& patterns = ThePatterns();
  std::string clean = WithoutLineWise(text, patterns.controls);
  clean = WithoutLineWise(clean, patterns.overrides);
  clean = WithoutLineWise(clean, wishes.keep_basic_tags ? patterns.unusual_tags : patterns.all_tags);
  if (!wishes.strip_stray_brackets) return clean;
  clean = WithoutLineWise(WithKeptTagsMarked(clean), patterns.brackets);
  patterns.marked_tag.GlobalReplace(R"(<\1>)", &clean);
  return clean;
}

}  // namespace crvnkn::webapi::subtitle
