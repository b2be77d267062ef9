#include "platform/engine/subtitle_offer.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>
#include <string_view>
#include <tuple>

#include "platform/engine/playlist_text.h"
#include "platform/system/languages.h"

namespace kinora::engine {
namespace {

constexpr std::ptrdiff_t kMostOffered = 256;

bool IsBlank(const std::string& text) { return text.find_first_not_of(" \t\r\n") == std::string::npos; }

void AddMark(std::string& marks, std::string_view mark) {
  marks += marks.empty() ? " (" : ", ";
  marks += mark;
}

// What tells it from others of its language.
std::string Marks(const FoundSubtitle& subtitle) {
  std::string marks;
  const size_t region = subtitle.language.find('-');
  if (region != std::string::npos) AddMark(marks, subtitle.language.substr(region + 1));
  if (subtitle.forced) AddMark(marks, "forced");
  if (subtitle.hearing_impaired) AddMark(marks, "hearing impaired");
  return marks.empty() ? "" : marks + ")";
}

// The title, else the language, else the file's name, else a number.
std::string NameOf(const FoundSubtitle& subtitle, size_t position) {
  if (!IsBlank(subtitle.title)) return subtitle.title;
  const std::string language = system::LanguageName(subtitle.language);
  if (!language.empty()) return language + Marks(subtitle);
  if (subtitle.id.starts_with('/')) return subtitle.id.substr(subtitle.id.rfind('/') + 1);
  return "Subtitle " + std::to_string(position) + Marks(subtitle);
}

std::string Unique(const std::string& name, std::set<std::string>& taken) {
  std::string unique = name;
  for (int i = 2; !taken.insert(unique).second; ++i) unique = name + " (" + std::to_string(i) + ")";
  return unique;
}

std::vector<FoundSubtitle> Pick(const std::vector<FoundSubtitle>& found, const std::string& chosen) {
  const auto count = std::min(std::ssize(found), kMostOffered);
  std::vector<FoundSubtitle> picked(found.begin(), found.begin() + count);
  const auto one = std::ranges::find(found, chosen, &FoundSubtitle::id);
  if (one != found.end() && one - found.begin() >= kMostOffered) picked.back() = *one;
  return picked;
}

// By which a player that selects for itself tells renditions apart.
using Kind = std::tuple<std::string, bool, bool>;

Kind KindOf(const OfferedSubtitle& subtitle) {
  return {subtitle.language, subtitle.forced, subtitle.hearing_impaired};
}

// One of each kind, and the default before all others.
void SelectKinds(std::vector<OfferedSubtitle>& offered) {
  std::set<Kind> kinds;
  for (const bool defaults : {true, false}) {
    for (OfferedSubtitle& subtitle : offered) {
      if (subtitle.is_default != defaults) continue;
      const bool fits = defaults || !subtitle.language.empty();
      subtitle.auto_select = fits && kinds.insert(KindOf(subtitle)).second;
    }
  }
}

}  // namespace

std::vector<OfferedSubtitle> OfferSubtitles(const std::vector<FoundSubtitle>& found,
                                            const std::string& chosen) {
  std::vector<OfferedSubtitle> offered;
  std::set<std::string> names;
  for (const FoundSubtitle& subtitle : Pick(found, chosen)) {
    OfferedSubtitle one;
    one.id = subtitle.id;
    one.name = Unique(QuotableText(NameOf(subtitle, offered.size() + 1)), names);
    one.language = subtitle.language;
    one.forced = subtitle.forced;
    one.hearing_impaired = subtitle.hearing_impaired;
    one.is_default = !chosen.empty() && subtitle.id == chosen;
    offered.push_back(std::move(one));
  }
  SelectKinds(offered);
  return offered;
}

}  // namespace kinora::engine
