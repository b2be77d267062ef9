// Signing in and out, and what proves who asks.
#include <gtest/gtest.h>

#include "tests/http/house.h"

using namespace kinora::test;

TEST(SignIn, GivesSessionTokenAndCookie) {
  const House house;
  const Reply reply =
      house.Send({"Session", "sign_in", {{"user", "ann"}, {"password", PasswordOf("ann")}}, "POST"});
  EXPECT_EQ(reply.status, 200);
  const Json::Value result = ParseJson(reply.body)["result"];
  EXPECT_EQ(result["account"]["name"].asString(), "ann");
  EXPECT_TRUE(result["account"]["administrator"].asBool());
  EXPECT_EQ(reply.Header("Set-Cookie"), "kinora_session=" + result["sid"].asString() +
                                            "; Path=/; HttpOnly; SameSite=Lax; Max-Age=2592000");
  EXPECT_EQ(reply.Header("Cache-Control"), "no-store");
  EXPECT_EQ(reply.Header("X-Content-Type-Options"), "nosniff");
  const Reply who = house.Send({"Session", "whoami", {}, "GET", result["sid"].asString()});
  EXPECT_EQ(ParseJson(who.body)["result"]["account"]["name"].asString(), "ann");
  EXPECT_EQ(ParseJson(who.body)["result"]["token"], result["token"]);
}

TEST(SignIn, RefusesWrongNameAndWrongPasswordAlike) {
  const House house;
  const Reply name = house.Send({"Session", "sign_in", {{"user", "eve"}, {"password", "x"}}, "POST"});
  const Reply password = house.Send({"Session", "sign_in", {{"user", "ann"}, {"password", "x"}}, "POST"});
  EXPECT_EQ(name.status, 401);
  EXPECT_EQ(CodeOf(name), 126);
  EXPECT_EQ(name.body, password.body);
  EXPECT_EQ(password.Count("Set-Cookie"), 0U);
}

TEST(SignIn, SlowsDownGuessing) {
  const House house;
  int looked_at = 0;
  for (int i = 0; i < 20; ++i) {
    const int code = CodeOf(house.Send(
        {"Session", "sign_in", {{"user", "ann"}, {"password", "guess" + std::to_string(i)}}, "POST"}));
    EXPECT_TRUE(code == 126 || code == 127) << code;
    looked_at += code == 126 ? 1 : 0;
  }
  EXPECT_GE(looked_at, 5);
  EXPECT_LE(looked_at, 9) << "five at once, then after 1, 2, 4, 8 seconds";
  EXPECT_EQ(house.SignIn("bob").account > 0, true) << "others are let in";
}

TEST(SignIn, TakesNoPasswordFromAnAddress) {
  const House house;
  const Reply reply =
      house.Send({"Session", "sign_in", {{"user", "ann"}, {"password", PasswordOf("ann")}}, "GET"});
  EXPECT_EQ(reply.status, 405);
  EXPECT_EQ(CodeOf(reply), 130);
  EXPECT_EQ(reply.Header("Allow"), "POST, OPTIONS");
}

TEST(SignIn, EndsThePlantedSession) {
  const House house;
  const SignedIn planted = house.SignIn("bob");
  const Reply reply = house.Send(
      {"Session", "sign_in", {{"user", "ann"}, {"password", PasswordOf("ann")}}, "POST", planted.sid});
  EXPECT_EQ(reply.status, 200);
  EXPECT_NE(ParseJson(reply.body)["result"]["sid"].asString(), planted.sid);
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", planted.sid})), 124);
}

TEST(SignIn, RefusesOtherSites) {
  const House house;
  for (const char* origin : {"http://evil.example", "null"}) {
    const Reply reply = house.Send({"Session",
                                    "sign_in",
                                    {{"user", "ann"}, {"password", PasswordOf("ann")}},
                                    "POST",
                                    "",
                                    "",
                                    {std::string("Origin: ") + origin}});
    EXPECT_EQ(CodeOf(reply), 125) << origin;
    EXPECT_EQ(reply.Count("Access-Control-Allow-Origin"), 0U);
  }
}

TEST(SignOut, EndsTheSession) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  EXPECT_EQ(CodeOf(house.Send({"Session", "sign_out", {}, "POST", ann.sid})), 125) << "without a token";
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", ann.sid})), 0);
  const Reply reply = house.Send({"Session", "sign_out", {}, "POST", ann.sid, ann.token});
  EXPECT_EQ(CodeOf(reply), 0);
  EXPECT_EQ(reply.Header("Set-Cookie"), "kinora_session=; Path=/; HttpOnly; SameSite=Lax; Max-Age=0");
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", ann.sid})), 124);
}

TEST(Session, IsTakenFromTheParameterToo) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {{"_sid", ann.sid}}})), 0);
}
