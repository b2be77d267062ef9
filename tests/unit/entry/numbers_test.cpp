#include "entry/numbers.h"

#include <gtest/gtest.h>

#include "entry/api_errors.h"

using namespace kinora::entry;

TEST(ParseNumber, TakesDigitsOnly) {
  EXPECT_EQ(ParseNumber("0", 10), 0);
  EXPECT_EQ(ParseNumber("10", 10), 10);
  EXPECT_EQ(ParseNumber("2147483647", INT32_MAX), 2147483647);
  for (const char* text : {"", "11", "01", "-1", "+1", " 1", "1 ", "1.0", "1e1", "0x1", "ten",
                           "1;DROP TABLE video", "2147483648", "9223372036854775808", "\xD9\xA1"}) {
    EXPECT_EQ(ParseNumber(text, 10), std::nullopt) << text;
  }
}

TEST(NumberParameter, RefusesWhatIsOutOfRange) {
  Request request;
  request.parameters = {{"n", "5"}, {"word", "five"}};
  EXPECT_EQ(NumberParameter(request, "n", 1, 5), 5);
  EXPECT_EQ(NumberParameter(request, "absent", 1, 5, 3), 3);
  EXPECT_THROW(NumberParameter(request, "n", 6, 9), Error);
  EXPECT_THROW(NumberParameter(request, "n", 1, 4), Error);
  EXPECT_THROW(NumberParameter(request, "word", 1, 5, 3), Error);
  EXPECT_THROW(NumberParameter(request, "absent", 1, 5), Error);
}
