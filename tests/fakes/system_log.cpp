#include "tests/fakes/system_log.h"

#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <regex>

namespace kinora::fakes {
namespace {

std::vector<LogLine>& Lines() {
  static std::vector<LogLine> lines;
  return lines;
}

void Keep(int priority, const char* format, va_list arguments) {
  char text[16384];
  std::vsnprintf(text, sizeof text, format, arguments);
  Lines().push_back({priority, text});
}

}  // namespace

const std::vector<LogLine>& LogLines() { return Lines(); }
void ClearLog() { Lines().clear(); }

std::vector<std::string> LogTexts() {
  static const std::regex kSourceLine("^([a-z0-9_/]+):[0-9]+ ");
  std::vector<std::string> texts;
  for (const LogLine& line : Lines()) texts.push_back(std::regex_replace(line.text, kSourceLine, "$1:# "));
  return texts;
}

}  // namespace kinora::fakes

// Found before the C library's own by everything in the program.
extern "C" {

__attribute__((visibility("default"), format(printf, 2, 0))) void vsyslog(int priority, const char* format,
                                                                          va_list arguments) {
  kinora::fakes::Keep(priority, format, arguments);
}

__attribute__((visibility("default"), format(printf, 2, 3))) void syslog(int priority, const char* format,
                                                                         ...) {
  va_list arguments;
  va_start(arguments, format);
  vsyslog(priority, format, arguments);
  va_end(arguments);
}

// What a fortified build calls in the place of syslog.
__attribute__((visibility("default"), format(printf, 3, 4))) void __syslog_chk(int priority, int,
                                                                               const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vsyslog(priority, format, arguments);
  va_end(arguments);
}
}
