#include <gmock/gmock.h>

#include <stdexcept>

#include "helpers/job/options.h"

namespace kinora::helper {
namespace {

using testing::ElementsAre;
using Arguments = std::vector<std::string>;

TEST(ParseJobOptions, TakesAll) {
  const JobOptions options = ParseJobOptions(
      {"--first",    "7", "--times", "0,1000,3000", "--run-ahead", "120",   "--idle",     "60",
       "--patience", "9", "--quota", "5",           "--floor",     "6",     "--hardware", "1",
       "--tries",    "2", "--",      "/bin/ffmpeg", "-i",          "--idle"});
  EXPECT_EQ(options.run.first, 7);
  EXPECT_EQ(options.run.last, 8);
  EXPECT_THAT(options.run.times, ElementsAre(0, 1000, 3000));
  EXPECT_EQ(options.limits.run_ahead_ms, 120'000);
  EXPECT_EQ(options.limits.quota, 5U);
  EXPECT_EQ(options.idle_ms, 60'000);
  EXPECT_EQ(options.patience_ms, 9'000);
  EXPECT_EQ(options.floor, 6U);
  EXPECT_TRUE(options.hardware);
  EXPECT_EQ(options.tries, 2);
  EXPECT_THAT(options.encoder, ElementsAre("/bin/ffmpeg", "-i", "--idle"));
}

TEST(ParseJobOptions, RefusesWhatIsIncomplete) {
  const Arguments cases[] = {
      {},
      {"--"},
      {"--idle", "60", "--patience", "9", "--times", "0,1"},
      {"--idle", "60", "--patience", "9", "--times", "0,1", "--"},
      {"--idle", "60", "--patience", "9", "--", "program"},
      {"--idle", "60", "--patience", "9", "--times", "5", "--", "program"},
      {"--patience", "9", "--times", "0,1", "--", "program"},
      {"--idle", "60", "--times", "0,1", "--", "program"},
      {"--idle", "60", "--patience", "9", "--times", "1,0", "--", "program"},
      {"--idle", "x", "--patience", "9", "--times", "0,1", "--", "program"},
      {"--first", "-1", "--idle", "60", "--patience", "9", "--times", "0,1", "--", "program"},
      {"--else", "1", "--idle", "60", "--patience", "9", "--times", "0,1", "--", "program"}};
  for (const Arguments& arguments : cases) {
    EXPECT_THROW(ParseJobOptions(arguments), std::invalid_argument) << testing::PrintToString(arguments);
  }
}

}  // namespace
}  // namespace kinora::helper
