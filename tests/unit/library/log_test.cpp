#include "library/log.h"

#include <gtest/gtest.h>

#include "tests/fakes/system_log.h"

namespace crvnkn::webapi {
namespace {

using kinora::fakes::LogLine;
using kinora::fakes::LogLines;

LogLine Written() {
  EXPECT_EQ(LogLines().size(), 1U);
  return LogLines().empty() ? LogLine() : LogLines().front();
}

class Log : public testing::Test {
 protected:
  Log() { kinora::fakes::ClearLog(); }
};

TEST_F(Log, NamesTheUnitAndTheLineOfTheStatementBeforeTheText) {
  const int line = __LINE__ + 1;
  KINORA_LOG(LOG_ERR, "vte/utils", "Failed to open file [%s]", "/a/b");
  EXPECT_EQ(Written().text, "vte/utils:" + std::to_string(line) + " Failed to open file [/a/b]");
  EXPECT_EQ(Written().priority, LOG_ERR);
}

TEST_F(Log, KeepsThePriorityThatIsGiven) {
  KINORA_LOG(LOG_AUTH | LOG_CRIT, "subtitle/plugin", "ERROR: ~%s(%d, %d)", "RUN_AS", 1, 2);
  EXPECT_EQ(Written().priority, LOG_AUTH | LOG_CRIT);
}

TEST_F(Log, ForgesNoSecondLineWhenANameHoldsALineEnd) {
  KINORA_LOG(LOG_ERR, "vte/raw", "[%s]", "film\nvte/raw:1 forged\r\x1b[2J\x7f");
  const std::string text = Written().text;
  EXPECT_EQ(text.substr(text.find(' ')), " [film?vte/raw:1 forged??[2J?]");
}

TEST_F(Log, KeepsBytesThatAreNotAscii) {
  KINORA_LOG(LOG_ERR, "vte/raw", "[%s]", "\xC3\xA9\xFF");
  EXPECT_NE(Written().text.find("[\xC3\xA9\xFF]"), std::string::npos);
}

TEST_F(Log, CutsATextThatIsTooLong) {
  KINORA_LOG(LOG_ERR, "vte/raw", "%s", std::string(100'000, 'x').c_str());
  EXPECT_LT(Written().text.size(), 8300U);
  EXPECT_GT(Written().text.size(), 8100U);
}

}  // namespace
}  // namespace crvnkn::webapi
