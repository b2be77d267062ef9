#include "platform/engine/job_policy.h"

#include <gtest/gtest.h>

namespace kinora::engine {

void PrintTo(const Start& start, std::ostream* out) {
  *out << "kind " << static_cast<int>(start.kind) << ", try " << start.tries;
}

namespace {

using Kind = Start::Kind;

JobRecord Job(int first, int last, int newest) {
  JobRecord job;
  job.first = first;
  job.last = last;
  job.newest = newest;
  return job;
}

TEST(Covers, WhatTheJobMakesSoon) {
  const JobRecord job = Job(10, 20, 12);
  for (int n = 0; n < 30; ++n) EXPECT_EQ(Covers(job, n), n >= 13 && n <= 16) << n;
  EXPECT_TRUE(Covers(Job(10, 20, 9), 10)) << "just started";
  EXPECT_FALSE(Covers(Job(10, 14, 12), 15)) << "behind its end";
}

TEST(RunFrom, EndsBeforeWhatIsThere) {
  EXPECT_EQ(RunFrom(5, 100, {}, false), (EncoderRun{5, 99, false}));
  EXPECT_EQ(RunFrom(5, 100, {0, 4, 9, 50}, true), (EncoderRun{5, 8, true}));
  EXPECT_EQ(RunFrom(5, 100, {0, 4, 6}, false), (EncoderRun{5, 5, false}));
  EXPECT_EQ(RunFrom(99, 100, {98}, false), (EncoderRun{99, 99, false}));
  EXPECT_EQ(RunFrom(0, 900'000, {}, false), (EncoderRun{0, 1999, false}));
}

TEST(DecideStart, GoesByHowTheLastJobEnded) {
  struct Case {
    const char* name;
    const char* end;
    bool hardware;
    int tries;
    int number;
    int64_t age_ms;
    Start expected;
  };
  // The last job made 4 to 6.
  const Case cases[] = {
      {"done", "done", false, 1, 7, 0, {Kind::kGo, 1}},
      {"idle", "idle", false, 1, 7, 0, {Kind::kGo, 1}},
      {"failed at this one", "failed", false, 1, 7, 0, {Kind::kGo, 2}},
      {"killed at this one", "", false, 1, 7, 0, {Kind::kGo, 2}},
      {"failed there twice", "failed", false, 2, 7, 0, {Kind::kGiveUp, 2}},
      {"failed there twice a while ago", "failed", false, 2, 7, 5000, {Kind::kGo, 1}},
      {"failed there twice, the clock set back an hour", "failed", false, 2, 7, -3'600'000, {Kind::kGo, 1}},
      {"failed elsewhere", "failed", false, 2, 50, 0, {Kind::kGo, 1}},
      {"failed with hardware", "failed", true, 1, 7, 0, {Kind::kGoInSoftware, 1}},
      {"failed with hardware elsewhere", "failed", true, 1, 50, 0, {Kind::kGoInSoftware, 1}},
      {"killed with hardware", "", true, 1, 7, 0, {Kind::kGo, 2}},
      {"no space", "space", false, 1, 7, 0, {Kind::kNoSpace, 1}},
      {"no space a while ago", "space", false, 1, 7, 5000, {Kind::kGo, 1}},
  };
  for (const Case& c : cases) {
    // A second try begins where the first has failed.
    JobRecord job = c.tries > 1 ? Job(7, 20, 6) : Job(4, 20, 6);
    job.end = c.end;
    job.hardware = c.hardware;
    job.tries = c.tries;
    EXPECT_EQ(DecideStart(LastJob{job, c.age_ms}, c.number), c.expected) << c.name;
  }
  EXPECT_EQ(DecideStart(std::nullopt, 7), Start{});
  JobRecord progress = Job(7, 20, 8);
  progress.end = "failed";
  progress.tries = 2;
  EXPECT_EQ(DecideStart(LastJob{progress, 0}, 9), (Start{Kind::kGo, 2})) << "its second try succeeded";
}

TEST(Admit, EndsOnlyAJobWhoseViewerHasLeft) {
  EXPECT_EQ(Admit({}, 1), (Admission{true, ""}));
  EXPECT_EQ(Admit({{"a", 100'000}}, 2), (Admission{true, ""}));
  EXPECT_EQ(Admit({{"a", 100}, {"b", 14'000}}, 2), Admission{});
  EXPECT_EQ(Admit({{"a", 16'000}, {"b", 17'000}}, 2), (Admission{true, "b"}));
  EXPECT_EQ(Admit({{"a", -16'000}, {"b", 0}}, 2), Admission{});
  EXPECT_EQ(Admit({{"a", 16'000}, {"b", 17'000}, {"c", 0}}, 2), Admission{}) << "the limit was lowered";
}

TEST(QuotaBeside, SharesWhatIsLeftAmongThePlaces) {
  struct Case {
    const char* name;
    std::vector<uint64_t> open;  // to the jobs at work
    uint64_t taken;
    unsigned int places;
    uint64_t expected;
  };
  const Case cases[] = {
      {"nothing is there", {}, 0, 1, 600},
      {"two places", {}, 0, 2, 500},
      {"many places", {}, 0, 10, 100},
      {"the last place", {500}, 0, 2, 500},
      {"what is open and what lies there", {300}, 200, 2, 500},
      {"nearly full", {}, 990, 1, 10},
      {"full", {}, 1000, 1, 0},
      {"too full", {100}, 5000, 2, 0},
      {"more is open than there is", {700, 700}, 0, 3, 0},
      {"more jobs than are allowed now", {100, 100}, 0, 1, 600},
      {"past every number", {UINT64_MAX}, UINT64_MAX, 2, 0},
  };
  for (const Case& c : cases) {
    system::Settings settings;
    settings.stream_quota = 600;
    settings.streams_quota = 1000;
    settings.jobs = c.places;
    std::vector<OtherJob> others;
    for (const uint64_t open : c.open) others.push_back({"id", 0, open});
    EXPECT_EQ(QuotaBeside(others, c.taken, settings), c.expected) << c.name;
  }
}

}  // namespace
}  // namespace kinora::engine
