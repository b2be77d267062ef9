// The system log of a test program: what any code in the process writes to it lands here and nowhere else.
#pragma once

#include <string>
#include <vector>

namespace kinora::fakes {

struct LogLine {
  int priority = 0;
  std::string text;
};

// Since the last ClearLog, in order.
const std::vector<LogLine>& LogLines();
void ClearLog();

// The texts, with the source line that follows the unit replaced by "#": "vte/raw:# unset X-Accel-Redirect
// failed".
std::vector<std::string> LogTexts();

}  // namespace kinora::fakes
