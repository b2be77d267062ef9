#include "entry/log.h"

#include <gtest/gtest.h>
#include <syslog.h>

using kinora::entry::Log;

namespace {

// What a line of the log is like where there is no log daemon but standard error.
std::string Logged(std::string_view text) {
  testing::internal::CaptureStderr();
  openlog("kinora", LOG_PERROR, LOG_DAEMON);
  Log(LOG_ERR, "entry/log_test", text);
  closelog();
  return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST(Log, RemovesWhatCouldForgeALine) {
  EXPECT_EQ(Logged("a\nb\rc\x1B[31m\td\x7F"), "kinora: entry/log_test a?b?c?[31m?d?\n");
  EXPECT_EQ(Logged("\xFF ok"), "kinora: entry/log_test \xEF\xBF\xBD ok\n");
  EXPECT_EQ(Logged(std::string_view("a\0b", 3)), "kinora: entry/log_test a?b\n");
}

TEST(Log, CutsOffLongText) {
  EXPECT_EQ(Logged(std::string(5000, 'x')), "kinora: entry/log_test " + std::string(1000, 'x') + "\n");
}
