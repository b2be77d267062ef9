#include "library/subtitle/json_member.h"

#include <gtest/gtest.h>

namespace crvnkn::webapi::subtitle {
namespace {

Json::Value Object() {
  Json::Value object;
  object["true"] = true;
  object["false"] = false;
  object["text"] = "x";
  object["empty"] = "";
  object["number"] = 42;
  object["null"] = Json::Value();
  object["list"] = Json::Value(Json::arrayValue);
  object["object"]["a"] = 1;
  return object;
}

// What no member can be asked of.
const Json::Value kNoObjects[] = {Json::Value(), Json::Value(1), Json::Value("text"),
                                  Json::Value(Json::arrayValue)};

TEST(GetBoolMember, GivesABoolean) {
  bool out = false;
  EXPECT_TRUE(GetBoolMember(Object(), "true", out));
  EXPECT_TRUE(out);
  EXPECT_TRUE(GetBoolMember(Object(), "false", out));
  EXPECT_FALSE(out);
}

TEST(GetBoolMember, LeavesEverythingElseUntouched) {
  for (const bool before : {true, false}) {
    bool out = before;
    for (const char* const key : {"text", "empty", "number", "null", "list", "object", "missing", ""})
      EXPECT_FALSE(GetBoolMember(Object(), key, out)) << key;
    for (const Json::Value& value : kNoObjects) EXPECT_FALSE(GetBoolMember(value, "true", out)) << value;
    EXPECT_EQ(out, before);
  }
}

TEST(GetStringMember, GivesAString) {
  std::string out = "before";
  EXPECT_TRUE(GetStringMember(Object(), "text", out));
  EXPECT_EQ(out, "x");
  EXPECT_TRUE(GetStringMember(Object(), "empty", out));
  EXPECT_EQ(out, "");
}

TEST(GetStringMember, LeavesEverythingElseUntouched) {
  std::string out = "before";
  for (const char* const key : {"true", "number", "null", "list", "object", "missing", ""})
    EXPECT_FALSE(GetStringMember(Object(), key, out)) << key;
  for (const Json::Value& value : kNoObjects) EXPECT_FALSE(GetStringMember(value, "text", out)) << value;
  EXPECT_EQ(out, "before");
}

TEST(TextOfMember, TakesNumbersForTextAndNothingWithParts) {
  EXPECT_EQ(TextOfMember(Object(), "text"), "x");
  EXPECT_EQ(TextOfMember(Object(), "number"), "42");
  for (const char* const key : {"empty", "null", "list", "object", "missing"})
    EXPECT_EQ(TextOfMember(Object(), key), "") << key;
  for (const Json::Value& value : kNoObjects) EXPECT_EQ(TextOfMember(value, "text"), "") << value;
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
