#include "platform/engine/playlist_text.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "platform/base/text.h"

namespace kinora::engine {

std::string QuotableText(std::string_view text) {
  std::string line = base::ToOneLine(text);
  std::replace(line.begin(), line.end(), '"', '\'');
  return line;
}

std::string Quoted(std::string_view text) { return "\"" + QuotableText(text) + "\""; }

int64_t Microseconds(const MediaTime& time) {
  const int64_t whole = Floor(time);
  return whole * kMicro + Floor((time - whole) * kMicro + MediaTime(1, 2));
}

std::string Seconds(int64_t micro) {
  char text[48];
  std::snprintf(text, sizeof text, "%" PRId64 ".%06" PRId64, micro / kMicro, micro % kMicro);
  return text;
}

}  // namespace kinora::engine
