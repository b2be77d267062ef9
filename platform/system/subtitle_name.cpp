#include "platform/system/subtitle_name.h"

#include <algorithm>
#include <array>

#include "platform/base/text.h"
#include "platform/system/languages.h"

namespace kinora::system {
namespace {

constexpr std::string_view kApart = ". _-([";
constexpr std::string_view kAtEnd = ". _-()[]";

// Text that ffmpeg turns into SubRip. Left out are pictures ("sup", "idx"), and extensions that mostly mean
// something else ("txt", "stl"); "sub" may be text or pictures.
constexpr auto kExtensions = std::to_array<std::string_view>(
    {"ass", "jss", "mpl", "pjs", "rt", "sami", "smi", "srt", "ssa", "sub", "vtt"});

// What people write instead of a code; in Chinese for the two scripts.
constexpr std::pair<std::string_view, std::string_view> kCustomary[] = {
    {"chs", "zh-Hans"}, {"cht", "zh-Hant"}, {"pob", "pt-BR"}};

// Codes that mean something else wherever they stand in the names of films: sequels, kinds of recordings.
constexpr std::string_view kNoCodes[] = {"ii", "iii", "sd", "ts"};

bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsLower(char c) { return c >= 'a' && c <= 'z'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// A code is written in one case; "It", "No" and "Is" are words of titles.
bool IsInOneCase(std::string_view word) {
  return std::all_of(word.begin(), word.end(), IsLower) || std::all_of(word.begin(), word.end(), IsUpper);
}

std::string ToUpper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (IsLower(c)) c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

std::string ByCode(std::string_view word) {
  if (word.size() < 2 || word.size() > 3 || !IsInOneCase(word)) return "";
  const std::string lower = base::ToLowerAscii(word);
  if (std::ranges::find(kNoCodes, lower) != std::end(kNoCodes)) return "";
  for (const auto& [customary, tag] : kCustomary) {
    if (lower == customary) return std::string(tag);
  }
  return LanguageByCode(lower);
}

// A script of four letters or a region of two letters or three digits, as a tag writes it; empty when the
// word is neither.
std::string Subtag(std::string_view word) {
  const bool letters = std::all_of(word.begin(), word.end(), [](char c) { return IsLower(c) || IsUpper(c); });
  if (word.size() == 4 && letters) return ToUpper(word.substr(0, 1)) + base::ToLowerAscii(word.substr(1));
  if (word.size() == 2 && letters) return ToUpper(word);
  return word.size() == 3 && std::all_of(word.begin(), word.end(), IsDigit) ? std::string(word) : "";
}

// "zh-TW", "pt_br", "zh-Hant-TW"; empty when the text is no code with one or two such parts.
std::string ByCodeWithParts(std::string_view text) {
  size_t end = text.find_first_of("-_");
  std::string tag = ByCode(text.substr(0, end));
  while (!tag.empty() && end != std::string_view::npos) {
    text.remove_prefix(end + 1);
    end = text.find_first_of("-_");
    const std::string part = Subtag(text.substr(0, end));
    tag = part.empty() ? "" : tag + "-" + part;
  }
  return tag;
}

// Takes the words off the end of a name, one after the other.
class Reader {
 public:
  Reader(std::string_view rest, SubtitleName& name) : rest_(rest), name_(name) {}

  void Read() {
    while (TakeWord()) {
    }
    if (hi_ && name_.language.empty()) {
      name_.language = "hi";
    } else if (hi_) {
      name_.hearing_impaired = true;
    }
  }

 private:
  // false when there is none left that tells anything.
  bool TakeWord() {
    rest_ = rest_.substr(0, rest_.find_last_not_of(kAtEnd) + 1);
    const size_t before = rest_.find_last_of(kApart);
    if (before == std::string_view::npos || rest_.find_first_not_of(kAtEnd) > before) return false;
    return TakeLanguageWithParts(before) || TakeMark(before) || TakeLanguage(before);
  }

  bool TakeMark(size_t before) {
    const std::string word = base::ToLowerAscii(rest_.substr(before + 1));
    if (word == "forced") {
      name_.forced = true;
    } else if (word == "sdh" || word == "cc") {
      name_.hearing_impaired = true;
    } else if (word == "hi" && IsInOneCase(rest_.substr(before + 1))) {
      hi_ = true;  // hearing impaired beside a language, else Hindi
    } else {
      return false;
    }
    rest_ = rest_.substr(0, before);
    return true;
  }

  // The last three words, or two, where "-" or "_" is between them.
  bool TakeLanguageWithParts(size_t before) {
    if (!name_.language.empty()) return false;
    size_t begins[2] = {std::string_view::npos, std::string_view::npos};
    for (size_t& begin : begins) {
      if ((rest_[before] != '-' && rest_[before] != '_') || before == 0) break;
      begin = before = rest_.find_last_of(kApart, before - 1);
      if (begin == std::string_view::npos) break;
    }
    return TakePartsFrom(begins[1]) || TakePartsFrom(begins[0]);
  }

  bool TakePartsFrom(size_t before) {
    return before != std::string_view::npos && Accept(ByCodeWithParts(rest_.substr(before + 1)), before);
  }

  bool TakeLanguage(size_t before) {
    if (!name_.language.empty()) return false;
    const std::string_view word = rest_.substr(before + 1);
    return Accept(LanguageByName(word), before) || (MayBeCode(before) && Accept(ByCode(word), before));
  }

  // After a mere blank a short word rather belongs to a title.
  bool MayBeCode(size_t before) const {
    return rest_[before] != ' ' || (before > 0 && rest_[before - 1] == '-');
  }

  bool Accept(const std::string& language, size_t before) {
    if (language.empty()) return false;
    name_.language = language;
    rest_ = rest_.substr(0, before);
    return true;
  }

  std::string_view rest_;
  SubtitleName& name_;
  bool hi_ = false;
};

std::string_view ExtensionOf(std::string_view name) {
  const size_t point = name.rfind('.');
  return point == std::string_view::npos ? std::string_view() : name.substr(point + 1);
}

}  // namespace

SubtitleName ReadSubtitleName(std::string_view path) {
  const std::string_view own = BaseName(path);
  SubtitleName name;
  name.extension = ExtensionOf(own);
  Reader(WithoutExtension(own), name).Read();
  return name;
}

bool HasSubtitleExtension(std::string_view name) {
  return std::ranges::find(kExtensions, base::ToLowerAscii(ExtensionOf(name))) != kExtensions.end();
}

std::string_view BaseName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

std::string_view WithoutExtension(std::string_view name) { return name.substr(0, name.rfind('.')); }

bool GoesOnApart(std::string_view rest) {
  return rest.empty() || kApart.find(rest.front()) != std::string_view::npos;
}

}  // namespace kinora::system
