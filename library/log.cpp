#include "library/log.h"

#include <cstdarg>
#include <cstdio>

namespace crvnkn::webapi {
namespace {

constexpr int kTextLimit = 8192;

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

}  // namespace

void WriteLogLine(int priority, const char* unit, int line, const char* format, ...) {
  char text[kTextLimit];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (length < 0) return;
  for (char* c = text; *c != '\0'; ++c) {
    if (IsControl(*c)) *c = '?';
  }
  syslog(priority, "%s:%d %s", unit, line, text);
}

}  // namespace crvnkn::webapi
