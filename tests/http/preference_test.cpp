// What people choose for themselves.
#include <gtest/gtest.h>

#include "tests/http/subtitle_reader.h"

using namespace kinora::test;

namespace {

constexpr char kToTraditional[] = "convert_simplified_to_traditional";

Reply Set(const House& house, const SignedIn& who, const Parameters& parameters) {
  return house.Send({"Preference", "set", parameters, "POST", who.sid, who.token});
}

bool Get(const House& house, const SignedIn& who) {
  const Json::Value document = ParseJson(house.Send({"Preference", "get", {}, "GET", who.sid}).body);
  return document["result"][kToTraditional].asBool();
}

}  // namespace

TEST(Preferences, AreEachAccountsOwn) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const SignedIn bob = house.SignIn("bob");
  EXPECT_FALSE(Get(house, ann));
  EXPECT_EQ(Set(house, ann, {{kToTraditional, "true"}}).body,
            R"({"result":{"convert_simplified_to_traditional":true}})");
  EXPECT_TRUE(Get(house, house.SignIn("ann"))) << "also in her other sessions";
  EXPECT_FALSE(Get(house, bob));
  EXPECT_EQ(CodeOf(Set(house, bob, {{kToTraditional, "true"}, {"uid", std::to_string(ann.account)}})), 0);
  EXPECT_EQ(CodeOf(Set(house, bob, {{kToTraditional, "false"}, {"id", std::to_string(ann.account)}})), 0);
  EXPECT_TRUE(Get(house, ann)) << "nobody chooses for others";
  EXPECT_EQ(CodeOf(Set(house, ann, {})), 0);
  EXPECT_TRUE(Get(house, ann)) << "what is not given stays";
  for (const char* value : {"yes", "2", "' OR 1=1", "true\n"}) {
    EXPECT_EQ(CodeOf(Set(house, ann, {{kToTraditional, value}})), 101) << value;
  }
  EXPECT_TRUE(Get(house, ann));
  EXPECT_EQ(CodeOf(Set(house, ann, {{kToTraditional, "0"}})), 0);
  EXPECT_FALSE(Get(house, ann));
}

TEST(Preferences, ForTraditionalChineseShowInTheTextOfSubtitles) {
  const House house;
  const SubtitleReader ann(house, house.SignIn("ann"), "h264_aac.mp4");
  const SubtitleReader bob(house, house.SignIn("bob"), "h264_aac.mp4");
  const std::string cue = "1\n00:00:01,000 --> 00:00:02,000\n";
  const std::string file = ann.Put("h264_aac.srt", cue + "汉语\n");
  ASSERT_EQ(CodeOf(Set(house, ann.Who(), {{kToTraditional, "true"}})), 0);
  EXPECT_EQ(ann.Get(file).body, cue + "漢語\n") << house.Log();
  EXPECT_EQ(bob.Get(file, {{"uid", std::to_string(ann.Who().account)}}).body, cue + "汉语\n");
  ASSERT_EQ(CodeOf(Set(house, ann.Who(), {{kToTraditional, "false"}})), 0);
  EXPECT_EQ(ann.Get(file).body, cue + "汉语\n");
}
