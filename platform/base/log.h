// Lines in the system log: "<unit>:<line> <text>", where the unit is the path of a source file below
// platform/ without its extension. Whoever runs the program opens and closes the log.
#pragma once

#include <syslog.h>

#include <string_view>

namespace kinora::base {

// The text may hold file names and other bytes from outside: it is written as ToOneLine gives it, so that
// none of them forges a line. errno stays as it was.
void Log(int priority, const char* unit, std::string_view text, int line = __builtin_LINE());

}  // namespace kinora::base
