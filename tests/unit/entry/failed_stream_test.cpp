#include "entry/failed_stream.h"

#include <gtest/gtest.h>

using namespace kinora::entry;

namespace {

struct Case {
  bool StreamFaults::*fault;
  int status;
  int code;
  bool retry;
};

// In the order in which they count.
constexpr Case kCases[] = {
    {&StreamFaults::stream_gone, 404, 128, false},     {&StreamFaults::source_gone, 404, 128, false},
    {&StreamFaults::source_replaced, 409, 129, false}, {&StreamFaults::source_unreadable, 409, 129, false},
    {&StreamFaults::part_unknown, 404, 128, false},    {&StreamFaults::rest_unknown, 416, 130, false},
    {&StreamFaults::exhausted, 503, 129, true},        {&StreamFaults::volume_full, 503, 1203, true},
    {&StreamFaults::not_ready, 503, 129, true},        {&StreamFaults::jobs_taken, 503, 129, true},
};

void Expect(const Answer& answer, const Case& c, size_t row) {
  EXPECT_EQ(answer.status, c.status) << row;
  EXPECT_NE(answer.body.find("\"code\":" + std::to_string(c.code)), std::string::npos) << answer.body;
  EXPECT_EQ(!answer.headers.empty() && answer.headers[0].starts_with("Retry-After: "), c.retry) << row;
}

}  // namespace

TEST(FailedStreamAnswer, SaysWhatIsWrong) {
  for (size_t row = 0; row < std::size(kCases); ++row) {
    StreamFaults faults;
    faults.*kCases[row].fault = true;
    Expect(FailedStreamAnswer(faults), kCases[row], row);
  }
}

TEST(FailedStreamAnswer, NamesTheFirstOfSeveral) {
  StreamFaults faults;
  for (size_t row = std::size(kCases); row-- > 0;) {
    faults.*kCases[row].fault = true;
    Expect(FailedStreamAnswer(faults), kCases[row], row);
  }
}

TEST(FailedStreamAnswer, IsOurOwnFailureWhereNothingIsWrong) {
  const Answer answer = FailedStreamAnswer({});
  EXPECT_EQ(answer.status, 500);
  EXPECT_TRUE(answer.headers.empty());
}
