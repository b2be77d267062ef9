#include "platform/base/log.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>

namespace kinora::base {
namespace {

// What the system log prints with LOG_PERROR.
std::string Logged(std::string_view text) {
  ::openlog("test", LOG_PERROR, LOG_USER);
  testing::internal::CaptureStderr();
  Log(LOG_ERR, "base/some_unit", text, 12);
  const std::string printed = testing::internal::GetCapturedStderr();
  ::closelog();
  return printed;
}

TEST(Log, NamesUnitAndLine) { EXPECT_EQ(Logged("what happened"), "test: base/some_unit:12 what happened\n"); }

TEST(Log, WritesOneLineWhateverTheTextHolds) {
  EXPECT_EQ(Logged("a film\nsshd: root came in\r%s\x1b[31m\xff"),
            "test: base/some_unit:12 a film?sshd: root came in?%s?[31m\xEF\xBF\xBD\n");
}

TEST(Log, KeepsErrno) {
  errno = ENOSPC;
  Log(LOG_DEBUG, "base/some_unit", "nothing of note");
  EXPECT_EQ(errno, ENOSPC);
}

}  // namespace
}  // namespace kinora::base
