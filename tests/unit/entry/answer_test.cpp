#include "entry/answer.h"

#include <gtest/gtest.h>

using namespace kinora::entry;

TEST(ResultAnswer, WrapsTheResult) {
  Json::Value result;
  result["total"] = 2;
  const Answer answer = ResultAnswer(result);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, R"({"result":{"total":2}})");
}

TEST(ErrorAnswer, HoldsCodeAndMessage) {
  const Answer answer = ErrorAnswer(crvnkn::webapi::kErrorBadParameter, "Bad parameter");
  EXPECT_EQ(answer.status, 400);
  EXPECT_EQ(answer.body, R"({"error":{"code":101,"message":"Bad parameter"}})");
}

TEST(ToJsonText, IsUtf8WhateverTheStringsHold) {
  Json::Value value;
  value["name"] = "caf\xE9 \xE4\xBD\xA0";
  value["list"][0] = "\xFF";
  value["\xC0"] = Json::Value(Json::nullValue);
  EXPECT_EQ(ToJsonText(value),
            "{\"list\":[\"\xEF\xBF\xBD\"],\"name\":\"caf\xEF\xBF\xBD \xE4\xBD\xA0\",\"\xEF\xBF\xBD\":null}");
}

TEST(StatusOf, GivesEachCodeItsStatus) {
  struct Case {
    int code;
    int status;
  };
  const Case kCases[] = {{100, 500},  {101, 400},  {105, 403},  {121, 404},  {122, 404},  {123, 404},
                         {124, 401},  {125, 403},  {126, 401},  {127, 429},  {128, 404},  {129, 500},
                         {130, 400},  {1101, 404}, {1200, 409}, {1202, 503}, {1203, 503}, {1206, 503},
                         {1204, 409}, {1210, 409}, {1211, 409}, {1212, 500}, {1300, 409}, {1400, 403},
                         {1401, 403}, {30000, 404}};
  for (const Case& c : kCases) EXPECT_EQ(StatusOf(static_cast<ErrorCode>(c.code)), c.status) << c.code;
}

TEST(ToCgiText, WritesHeaderAndBody) {
  Answer answer{200, {"Set-Cookie: a=b"}, "{}"};
  const std::string header =
      "Status: 200 OK\r\nSet-Cookie: a=b\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n"
      "Content-Type: application/json; charset=utf-8\r\nContent-Length: 2\r\n\r\n";
  EXPECT_EQ(ToCgiText(answer, true), header + "{}");
  EXPECT_EQ(ToCgiText(answer, false), header);
}

TEST(AddHeader, AddsNoSecondLineOfAName) {
  Answer answer;
  for (const char* line :
       {"Cache-Control: private", "cache-control: no-store", "Cache: x", "Cache-Control-2: y"})
    AddHeader(answer, line);
  EXPECT_EQ(answer.headers,
            (std::vector<std::string>{"Cache-Control: private", "Cache: x", "Cache-Control-2: y"}));
}

TEST(ToCgiText, RepeatsNoLineThatIsThereAlready) {
  EXPECT_EQ(
      ToCgiText({404,
                 {"Accept-Ranges: bytes", "content-type: text/plain", "X-Content-Type-Options: nosniff"},
                 "{}"},
                true),
      "Status: 404 Not Found\r\nAccept-Ranges: bytes\r\ncontent-type: text/plain\r\n"
      "X-Content-Type-Options: nosniff\r\nCache-Control: no-store\r\nContent-Length: 2\r\n\r\n{}");
}

TEST(ToCgiText, HasNoContentWhereTheStatusSaysSo) {
  EXPECT_EQ(ToCgiText({204, {"Allow: GET"}, ""}, true),
            "Status: 204 No Content\r\nAllow: GET\r\nCache-Control: no-store\r\n"
            "X-Content-Type-Options: nosniff\r\n\r\n");
}

TEST(ToCgiText, TellsNoLengthThatNobodyKnows) {
  EXPECT_EQ(ToCgiText({200, {"Content-Type: video/webm"}, "", true}, false),
            "Status: 200 OK\r\nContent-Type: video/webm\r\nCache-Control: no-store\r\n"
            "X-Content-Type-Options: nosniff\r\n\r\n");
}
