#include "library/vte/chromecast_record.h"

#include <ctime>

#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::TheScript;
using ChromecastRecord = kinora::fakes::ScriptedTest;

constexpr char kRecord[] = "/var/packages/Kinora/etc/Chromecast.userdata";

TEST_F(ChromecastRecord, HoldsThePlayersNameAndTheTime) {
  const int64_t before = time(nullptr);
  RecordChromecastData("Mozilla/5.0 (X11) \"CrKey\"\\");
  const int64_t after = time(nullptr);

  ASSERT_EQ(TheScript().json_files.count(kRecord), 1U);
  const Json::Value record = TheScript().json_files[kRecord];
  EXPECT_EQ(record.getMemberNames(), (std::vector<std::string>{"timestamp", "user_agent"}));
  EXPECT_EQ(record["user_agent"].asString(), "Mozilla/5.0 (X11) \"CrKey\"\\");
  ASSERT_TRUE(record["timestamp"].isInt64());
  EXPECT_GE(record["timestamp"].asInt64(), before);
  EXPECT_LE(record["timestamp"].asInt64(), after);
}

TEST_F(ChromecastRecord, IsThatOfTheLastPlayer) {
  RecordChromecastData("first");
  RecordChromecastData("");
  RecordChromecastData("last");
  EXPECT_EQ(kinora::fakes::Calls().size(), 3U);
  EXPECT_EQ(TheScript().json_files.size(), 1U);
  EXPECT_EQ(TheScript().json_files[kRecord]["user_agent"].asString(), "last");
}

TEST_F(ChromecastRecord, DoesWithoutWhenItCannotBeWritten) {
  TheScript().write_json = false;
  RecordChromecastData("player");
  EXPECT_EQ(kinora::fakes::Calls().size(), 1U);
  ExpectLog({});
}

}  // namespace
}  // namespace crvnkn::webapi::vte
