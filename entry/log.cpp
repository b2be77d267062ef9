#include "entry/log.h"

#include <sys/stat.h>
#include <syslog.h>

#include "platform/base/text.h"

namespace kinora::entry {

void Log(int priority, const char* unit, std::string_view text) {
  constexpr size_t kLongest = 1000;
  syslog(priority, "%s %s", unit, base::ToOneLine(text.substr(0, kLongest)).c_str());
}

void OpenLog() {
  struct stat status {};
  const bool daemon = stat("/dev/log", &status) == 0;
  // On a terminal nobody wants the reasons of every decision.
  if (!daemon) setlogmask(LOG_UPTO(LOG_INFO));
  openlog("kinora", LOG_PID | (daemon ? 0 : LOG_PERROR), LOG_DAEMON);
}

}  // namespace kinora::entry
