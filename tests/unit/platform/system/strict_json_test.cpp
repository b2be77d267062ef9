#include "platform/system/strict_json.h"

#include <gtest/gtest.h>

#include <string>

namespace kinora::system {
namespace {

TEST(StrictJson, IsOneValue) {
  const auto value = ParseStrictJson(" {\"a\": [1, \"two\", null]} ", 4);
  ASSERT_TRUE(value);
  EXPECT_EQ((*value)["a"][0].asInt(), 1);
  EXPECT_TRUE(ParseStrictJson("[]", 4));
}

TEST(StrictJson, IsNothingElse) {
  for (const char* text :
       {"", " ", "{", "}", "{\"a\":1", "{} {}", "[1] x", "{\"a\":1,\"a\":2}", "{a:1}", "{'a':1}",
        "// says\n{}", "{} /* says */", "NaN", "{\"a\":NaN}", "{\"a\":1,}x", "\"alone\"", "1"}) {
    EXPECT_FALSE(ParseStrictJson(text, 4)) << text;
  }
}

TEST(StrictJson, IsNoDeeperThanItMayBe) {
  const auto nested = [](size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  EXPECT_TRUE(ParseStrictJson(nested(3), 4));
  for (const size_t depth : {5U, 100U, 100'000U}) EXPECT_FALSE(ParseStrictJson(nested(depth), 4)) << depth;
}

}  // namespace
}  // namespace kinora::system
