#include "platform/engine/report.h"

#include <gtest/gtest.h>

namespace kinora::engine {
namespace {

constexpr char kEmpty[] = R"({"video": [], "audio": [], "subtitle": []})";

std::string ReportOfTracks(size_t count) {
  std::string tracks;
  for (size_t i = 0; i < count; ++i) tracks += i == 0 ? "{}" : ",{}";
  return R"({"video": [], "audio": [], "subtitle": [)" + tracks + "]}";
}

TEST(ParseReport, TakesOnlyAReport) {
  const struct {
    std::string text;
    bool taken;
  } cases[] = {
      {kEmpty, true},
      {R"({"video": [{"codec": "h264"}], "audio": [], "subtitle": [], "more": 1})", true},
      {"", false},
      {"null", false},
      {"[]", false},
      {"{}", false},
      {"42", false},
      {R"({"video": [], "audio": []})", false},
      {R"({"video": {}, "audio": [], "subtitle": []})", false},
      {R"({"video": [1], "audio": [], "subtitle": []})", false},
      {R"({"video": [null], "audio": [], "subtitle": []})", false},
      {std::string(kEmpty) + "x", false},
      {std::string(kEmpty).substr(0, 20), false},
      {R"({"video": [], "audio": [], "subtitle": [], "more": )" + std::string(2000, '[') +
           std::string(2000, ']') + "}",
       false},
      {std::string(100'000, '['), false},
      {ReportOfTracks(256), true},
      {ReportOfTracks(257), false},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(ParseReport(row.text).has_value(), row.taken) << row.text.substr(0, 80);
  }
}

TEST(Report, ReadsWhatIsOfTheRightKindAndInRange) {
  Json::Value object(Json::objectValue);
  object["text"] = "text";
  object["number"] = 42;
  object["negative"] = -1;
  object["large"] = Json::UInt64{1} << 63;
  object["real"] = 1e300;
  object["flag"] = true;
  object["list"] = Json::Value(Json::arrayValue);
  EXPECT_EQ(TextOf(object, "text"), "text");
  EXPECT_EQ(NumberOf(object, "number", 100), 42);
  EXPECT_EQ(NumberOf(object, "number", 10), 10);
  EXPECT_TRUE(FlagOf(object, "flag"));
  for (const char* key : {"number", "flag", "list", "missing"}) EXPECT_EQ(TextOf(object, key), "") << key;
  for (const char* key : {"text", "negative", "large", "real", "flag", "list", "missing"}) {
    EXPECT_EQ(NumberOf(object, key, 100), 0) << key;
  }
  for (const char* key : {"text", "number", "list", "missing"}) EXPECT_FALSE(FlagOf(object, key)) << key;
}

TEST(FirstTrack, IsNullWhenThereIsNone) {
  const Json::Value report =
      *ParseReport(R"({"video": [{"codec": "h264"}, {}], "audio": [], "subtitle": []})");
  EXPECT_EQ(TextOf(FirstTrack(report, "video"), "codec"), "h264");
  EXPECT_TRUE(FirstTrack(report, "audio").isNull());
  EXPECT_EQ(TextOf(FirstTrack(report, "audio"), "codec"), "");
  EXPECT_EQ(NumberOf(FirstTrack(report, "audio"), "channels", 9), 0);
}

}  // namespace
}  // namespace kinora::engine
