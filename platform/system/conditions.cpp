#include "platform/system/conditions.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace kinora::system {
namespace {

constexpr std::array<const char*, 7> kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr size_t kLongestDate = 40;

bool IsWeak(std::string_view tag) { return tag.starts_with("W/"); }
std::string_view Opaque(std::string_view tag) { return IsWeak(tag) ? tag.substr(2) : tag; }

bool MatchesStrongly(std::string_view a, std::string_view b) { return !IsWeak(a) && !IsWeak(b) && a == b; }
bool MatchesWeakly(std::string_view a, std::string_view b) { return Opaque(a) == Opaque(b); }

// Whether `text` is "*" or a list of entity tags of which one matches. What follows something malformed does
// not count.
template <typename Match>
bool ListHas(std::string_view text, const std::string& etag, Match matches) {
  constexpr char kBetween[] = " \t,";
  text.remove_prefix(std::min(text.find_first_not_of(kBetween), text.size()));
  if (text.starts_with('*')) return true;
  while (!text.empty()) {
    const size_t open = IsWeak(text) ? 2 : 0;
    if (open >= text.size() || text[open] != '"') return false;
    const size_t close = text.find('"', open + 1);
    if (close == std::string_view::npos) return false;
    if (matches(text.substr(0, close + 1), etag)) return true;
    text.remove_prefix(close + 1);
    text.remove_prefix(std::min(text.find_first_not_of(kBetween), text.size()));
  }
  return false;
}

struct DateFields {
  int day = 0;
  int month = -1;
  int year = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

int MonthNumber(std::string_view name) {
  for (size_t i = 0; i < kMonths.size(); ++i) {
    if (name == kMonths[i]) return static_cast<int>(i);
  }
  return -1;
}

// A year of two digits means the nearest one that is not more than 50 years ahead.
int WholeYear(int two_digits, int64_t now) {
  const auto seconds = static_cast<time_t>(now);
  struct tm today {};
  ::gmtime_r(&seconds, &today);
  const int this_year = today.tm_year + 1900;
  const int year = this_year - this_year % 100 + two_digits;
  return year > this_year + 50 ? year - 100 : year;
}

std::optional<DateFields> ScanDate(const std::string& text, int64_t now) {
  DateFields f;
  std::array<char, 4> month{};
  int end = 0;
  const int length = static_cast<int>(text.size());
  // Sun, 06 Nov 1994 08:49:37 GMT
  std::sscanf(text.c_str(), "%*3[A-Za-z], %2d %3[A-Za-z] %4d %2d:%2d:%2d GMT%n", &f.day, month.data(),
              &f.year, &f.hour, &f.minute, &f.second, &end);
  if (end == 0) {  // Sunday, 06-Nov-94 08:49:37 GMT
    std::sscanf(text.c_str(), "%*9[A-Za-z], %2d-%3[A-Za-z]-%2d %2d:%2d:%2d GMT%n", &f.day, month.data(),
                &f.year, &f.hour, &f.minute, &f.second, &end);
    if (end != 0) f.year = WholeYear(f.year, now);
  }
  if (end == 0) {  // Sun Nov  6 08:49:37 1994
    std::sscanf(text.c_str(), "%*3[A-Za-z] %3[A-Za-z] %2d %2d:%2d:%2d %4d%n", month.data(), &f.day, &f.hour,
                &f.minute, &f.second, &f.year, &end);
  }
  if (end != length || end == 0) return std::nullopt;
  f.month = MonthNumber(month.data());
  return f;
}

}  // namespace

std::optional<int64_t> ParseHttpDate(std::string_view text, int64_t now) {
  if (text.size() > kLongestDate) return std::nullopt;
  const std::optional<DateFields> f = ScanDate(std::string(text), now);
  if (!f || f->month < 0 || f->day < 1 || f->day > 31 || f->year < 1900 || f->hour < 0 || f->hour > 23 ||
      f->minute < 0 || f->minute > 59 || f->second < 0 || f->second > 60) {
    return std::nullopt;
  }
  struct tm fields {};
  fields.tm_mday = f->day;
  fields.tm_mon = f->month;
  fields.tm_year = f->year - 1900;
  fields.tm_hour = f->hour;
  fields.tm_min = f->minute;
  fields.tm_sec = f->second;
  return ::timegm(&fields);
}

std::string FormatHttpDate(int64_t seconds) {
  const auto time = static_cast<time_t>(seconds);
  struct tm f {};
  ::gmtime_r(&time, &f);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                kDays[static_cast<size_t>(f.tm_wday)], f.tm_mday, kMonths[static_cast<size_t>(f.tm_mon)],
                f.tm_year + 1900, f.tm_hour, f.tm_min, f.tm_sec);
  return text.data();
}

Verdict Evaluate(const Conditions& conditions, const Validators& validators, int64_t now) {
  if (conditions.if_match) {
    if (!ListHas(*conditions.if_match, validators.etag, MatchesStrongly)) return Verdict::kPreconditionFailed;
  } else if (conditions.if_unmodified_since) {
    const std::optional<int64_t> date = ParseHttpDate(*conditions.if_unmodified_since, now);
    if (date && validators.modified > *date) return Verdict::kPreconditionFailed;
  }
  if (conditions.if_none_match) {
    return ListHas(*conditions.if_none_match, validators.etag, MatchesWeakly) ? Verdict::kNotModified
                                                                              : Verdict::kProceed;
  }
  if (conditions.if_modified_since) {
    const std::optional<int64_t> date = ParseHttpDate(*conditions.if_modified_since, now);
    if (date && validators.modified <= *date) return Verdict::kNotModified;
  }
  return Verdict::kProceed;
}

bool AllowsRanges(const Conditions& conditions, const Validators& validators, int64_t now) {
  if (!conditions.if_range) return true;
  const std::string& value = *conditions.if_range;
  if (value.starts_with('"') || IsWeak(value)) return MatchesStrongly(value, validators.etag);
  // A date proves as little as a weak tag while the file may still change within the same second.
  return !IsWeak(validators.etag) && ParseHttpDate(value, now) == validators.modified;
}

}  // namespace kinora::system
