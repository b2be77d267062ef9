#include "platform/base/log.h"

#include <cerrno>

#include "platform/base/text.h"

namespace kinora::base {

void Log(int priority, const char* unit, std::string_view text, int line) {
  const int kept = errno;
  ::syslog(priority, "%s:%d %s", unit, line, ToOneLine(text).c_str());
  errno = kept;
}

}  // namespace kinora::base
