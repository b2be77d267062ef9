// Log lines of the web API. They go to the system log; session ids, tokens, PINs, passwords and query strings
// never do.
#pragma once

#include <string_view>

namespace kinora::entry {

// `unit` is the source file without its ending ("entry/dispatch"). The text is written as one line that
// cannot pass for another; what exceeds 1,000 bytes is cut off.
void Log(int priority, const char* unit, std::string_view text);

// Opens the system log for this process; a machine without a log daemon gets the lines on standard error.
void OpenLog();

}  // namespace kinora::entry
