// What is told to the system log.
#pragma once

#include <gtest/gtest.h>
#include <syslog.h>

#include <string>

namespace kinora::engine {

// What the system log gets while this lives.
class LoggedLines {
 public:
  LoggedLines() {
    ::openlog("test", LOG_PERROR, LOG_USER);
    testing::internal::CaptureStderr();
  }
  ~LoggedLines() {
    if (!taken_) Take();
  }
  LoggedLines(const LoggedLines&) = delete;
  LoggedLines& operator=(const LoggedLines&) = delete;

  std::string Take() {
    taken_ = true;
    ::closelog();
    return testing::internal::GetCapturedStderr();
  }

 private:
  bool taken_ = false;
};

}  // namespace kinora::engine
