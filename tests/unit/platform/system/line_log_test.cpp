#include "platform/system/line_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace kinora::system {
namespace {

using testing::ElementsAre;

class LineLogTest : public testing::Test {
 protected:
  std::vector<std::string> lines_;
  LineLog log_{[this](const std::string& line) { lines_.push_back(line); }};
};

TEST_F(LineLogTest, PutsLinesTogetherFromPieces) {
  log_.Feed("one\ntw");
  log_.Feed("o\n\n\nthree");
  log_.Finish();
  EXPECT_THAT(lines_, ElementsAre("one", "two", "three"));
}

TEST_F(LineLogTest, RemovesControlCharacters) {
  log_.Feed(std::string("a\x1B[31mb\0c\x7F\r\nnext", 16));
  log_.Finish();
  EXPECT_THAT(lines_, ElementsAre("a[31mbc", "next"));
}

TEST_F(LineLogTest, ReplacesWhatIsNotText) {
  log_.Feed(std::string("caf\xC3\xA9 \xFF.\0\n", 10));
  EXPECT_THAT(lines_, ElementsAre("caf\xC3\xA9 \xEF\xBF\xBD."));
}

TEST_F(LineLogTest, CutsLongLines) {
  log_.Feed(std::string(100'000, 'x') + "\nnext\n");
  EXPECT_THAT(lines_, ElementsAre(std::string(400, 'x'), "next"));
}

TEST_F(LineLogTest, StopsAfterFortyLines) {
  for (int i = 0; i < 1000; ++i) log_.Feed("line\n");
  log_.Finish();
  ASSERT_EQ(lines_.size(), 41U);
  EXPECT_EQ(lines_[39], "line");
  EXPECT_EQ(lines_[40], "(further lines are dropped)");
}

}  // namespace
}  // namespace kinora::system
