#include "contract/webapi/sleep.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <chrono>
#include <csignal>

namespace {

using Clock = std::chrono::steady_clock;

TEST(SleepMillisecond, ReturnsNoEarlier) {
  const Clock::time_point begin = Clock::now();
  crvnkn::SleepMillisecond(0);
  crvnkn::SleepMillisecond(30);
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(30));
}

TEST(SleepMillisecond, IsNotEndedBySignals) {
  struct sigaction handler {};
  handler.sa_handler = [](int) {};
  struct sigaction before {};
  ASSERT_EQ(::sigaction(SIGALRM, &handler, &before), 0);
  const itimerval often{{0, 1000}, {0, 1000}};
  const itimerval never{};
  ASSERT_EQ(::setitimer(ITIMER_REAL, &often, nullptr), 0);
  const Clock::time_point begin = Clock::now();
  crvnkn::SleepMillisecond(50);
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(50));
  ASSERT_EQ(::setitimer(ITIMER_REAL, &never, nullptr), 0);
  ASSERT_EQ(::sigaction(SIGALRM, &before, nullptr), 0);
}

}  // namespace
