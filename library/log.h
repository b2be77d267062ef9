// The library's lines in the system log: "<unit>:<line> <text>", where the unit is the path of a source file
// without its extension. A concept that is spread over several files keeps one unit. Whoever runs the library
// opens and closes the log.
#pragma once

#include <syslog.h>

namespace crvnkn::webapi {

// The text is cut after 8 KB. Control characters in it become "?": names and ids come from outside, and none
// of them shall forge a line.
void WriteLogLine(int priority, const char* unit, int line, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

}  // namespace crvnkn::webapi

#define KINORA_LOG(priority, unit, ...) ::crvnkn::webapi::WriteLogLine(priority, unit, __LINE__, __VA_ARGS__)
