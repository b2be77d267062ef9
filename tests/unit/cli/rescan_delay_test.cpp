#include "cli/rescan_delay.h"

#include <gtest/gtest.h>

#include <climits>

namespace kinora::cli {
namespace {

using std::chrono::seconds;

TEST(RescanDelay, GrowsWhileFilesWait) {
  const std::pair<int, int> cases[] = {{1, 6},  {2, 12},  {3, 24},  {4, 48},
                                       {5, 96}, {6, 192}, {7, 300}, {INT_MAX, 300}};
  for (const auto& [attempts, delay] : cases) {
    EXPECT_EQ(RescanDelay(attempts, false), seconds(delay)) << attempts;
    EXPECT_EQ(RescanDelay(attempts, true), seconds(delay)) << attempts;
  }
}

TEST(RescanDelay, IsFiveMinutesWhenChangesMayGoUnnoticedAndAnHourOtherwise) {
  EXPECT_EQ(RescanDelay(0, true), seconds(300));
  EXPECT_EQ(RescanDelay(0, false), seconds(3600));
}

}  // namespace
}  // namespace kinora::cli
