// Conditional requests (RFC 9110, 13 and 8.8) and the dates in them (5.6.7).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kinora::system {

// What identifies the present content of a file.
struct Validators {
  std::string etag;      // with its quotes; "W/" in front when it is weak
  int64_t modified = 0;  // seconds since the epoch
};

// The values of the header fields, where the request has them.
struct Conditions {
  std::optional<std::string> if_match = std::nullopt;
  std::optional<std::string> if_unmodified_since = std::nullopt;
  std::optional<std::string> if_none_match = std::nullopt;
  std::optional<std::string> if_modified_since = std::nullopt;
  std::optional<std::string> if_range = std::nullopt;
};

enum class Verdict { kProceed, kNotModified, kPreconditionFailed };

// For GET and HEAD. `now` is needed for years of two digits. A date that is none is ignored.
Verdict Evaluate(const Conditions& conditions, const Validators& validators, int64_t now);

// Whether ranges may be sent: there is no If-Range, or it names the present content without doubt.
bool AllowsRanges(const Conditions& conditions, const Validators& validators, int64_t now);

// Seconds since the epoch, of any of the three forms; nothing when it is no date.
std::optional<int64_t> ParseHttpDate(std::string_view text, int64_t now);
// "Sun, 06 Nov 1994 08:49:37 GMT"
std::string FormatHttpDate(int64_t seconds);

}  // namespace kinora::system
