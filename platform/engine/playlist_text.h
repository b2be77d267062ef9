// How texts and times are written in a playlist (RFC 8216, 4.2).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/engine/media_time.h"

namespace kinora::engine {

inline constexpr int64_t kMicro = 1'000'000;  // of a second

// The text as a quoted string can hold it: on one line, and without quotes.
std::string QuotableText(std::string_view text);

// The same in its quotes.
std::string Quoted(std::string_view text);

// Rounded to the nearest; `time` is not negative.
int64_t Microseconds(const MediaTime& time);

// Seconds with six digits behind the point.
std::string Seconds(int64_t micro);

}  // namespace kinora::engine
