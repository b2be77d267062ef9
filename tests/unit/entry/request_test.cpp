#include "entry/request.h"

#include <gtest/gtest.h>

using namespace kinora::entry;

namespace {

Variables With(Variables more) {
  more.try_emplace("REQUEST_METHOD", "GET");
  return more;
}

std::string Refusal(const Variables& variables, std::string_view body) {
  try {
    MakeRequest(variables, body);
  } catch (const Malformed& error) {
    return error.what();
  }
  return "accepted";
}

}  // namespace

TEST(MakeRequest, TakesParametersOfAddressAndForm) {
  const Request request =
      MakeRequest(With({{"REQUEST_METHOD", "POST"},
                        {"QUERY_STRING", "api=A&version=1"},
                        {"CONTENT_TYPE", "Application/X-WWW-Form-Urlencoded; charset=UTF-8"}}),
                  "method=m&pin=12%2034");
  EXPECT_EQ(request.verb, "POST");
  EXPECT_EQ(request.Get("api"), "A");
  EXPECT_EQ(request.Get("method"), "m");
  EXPECT_EQ(request.Get("pin"), "12 34");
  EXPECT_EQ(request.Get("absent"), "");
}

TEST(MakeRequest, TakesSessionFromParameterBeforeCookie) {
  EXPECT_EQ(MakeRequest(With({{"HTTP_COOKIE", "a=b; kinora_session=c00kie"}}), "").sid, "c00kie");
  EXPECT_EQ(MakeRequest(With({{"HTTP_COOKIE", "kinora_session=c"}, {"QUERY_STRING", "_sid=p"}}), "").sid,
            "p");
  EXPECT_EQ(MakeRequest(With({}), "").sid, "");
}

TEST(MakeRequest, TakesTokenFromParameterOrHeader) {
  EXPECT_EQ(MakeRequest(With({{"HTTP_X_CRVN_TOKEN", "h"}}), "").token, "h");
  EXPECT_EQ(MakeRequest(With({{"HTTP_X_CRVN_TOKEN", "h"}, {"QUERY_STRING", "CrvnToken=p"}}), "").token, "p");
}

TEST(MakeRequest, TellsTheSchemeFromTheServersVariables) {
  EXPECT_EQ(MakeRequest(With({}), "").scheme, "http");
  EXPECT_EQ(MakeRequest(With({{"HTTPS", "on"}}), "").scheme, "https");
  EXPECT_EQ(MakeRequest(With({{"REQUEST_SCHEME", "https"}}), "").scheme, "https");
  EXPECT_EQ(MakeRequest(With({{"REQUEST_SCHEME", "javascript"}}), "").scheme, "http");
}

TEST(MakeRequest, TakesTheUserAgentAsOneShortLine) {
  EXPECT_EQ(MakeRequest(With({}), "").agent, "");
  EXPECT_EQ(MakeRequest(With({{"HTTP_RANGE", "bytes=5-"}}), "").range, "bytes=5-");
  EXPECT_EQ(MakeRequest(With({{"HTTP_USER_AGENT", "CrKey/1.56"}}), "").agent, "CrKey/1.56");
  EXPECT_EQ(MakeRequest(With({{"HTTP_USER_AGENT", "a\r\nb\x1b[31m\xFF"}}), "").agent,
            "a??b?[31m\xEF\xBF\xBD");
  EXPECT_EQ(MakeRequest(With({{"HTTP_USER_AGENT", std::string(300, 'a')}}), "").agent, std::string(256, 'a'));
}

TEST(MakeRequest, TakesTheParametersOfAStreamsPathInsteadOfTheQuerys) {
  const Request request = MakeRequest(With({{"PATH_INFO", "/ss/the-sid/stream/Manifest"},
                                            {"QUERY_STRING", "_sid=x&id=other&format=raw&seek=7&seek=8"},
                                            {"HTTP_COOKIE", "kinora_session=c"}}),
                                      "");
  EXPECT_EQ(request.path_info, "");
  EXPECT_EQ(request.sid, "the-sid");
  EXPECT_EQ(request.Get("id"), "stream");
  EXPECT_EQ(request.Get("format"), "ss");
  EXPECT_EQ(request.Get("seek"), "");
}

TEST(MakeRequest, TakesTheSessionOfTheCookieWhereAStreamsPathSaysSo) {
  const Variables variables = With({{"PATH_INFO", "/ss/-/stream/Manifest"}, {"QUERY_STRING", "_sid=x"}});
  EXPECT_EQ(MakeRequest(variables, "").sid, "");
  Variables with_cookie = variables;
  with_cookie["HTTP_COOKIE"] = "kinora_session=c";
  EXPECT_EQ(MakeRequest(with_cookie, "").sid, "c");
}

TEST(MakeRequest, LeavesEveryOtherPathToTheDispatcher) {
  const Request request = MakeRequest(With({{"PATH_INFO", "/ss/-"}, {"QUERY_STRING", "id=7"}}), "");
  EXPECT_EQ(request.path_info, "/ss/-");
  EXPECT_EQ(request.Get("id"), "7");
}

TEST(MakeRequest, RefusesBodiesThatAreNoForm) {
  EXPECT_EQ(Refusal(With({{"REQUEST_METHOD", "POST"}, {"CONTENT_TYPE", "application/json"}}), "{}"),
            "the body is no form");
  EXPECT_EQ(Refusal(With({{"REQUEST_METHOD", "POST"}}), "a=1"), "the body is no form");
  EXPECT_EQ(Refusal(With({{"REQUEST_METHOD", "GET"}}), "a=1"), "only POST takes a body");
  EXPECT_EQ(Refusal(With({{"QUERY_STRING", std::string(kLargestQuery + 1, 'a')}}), ""), "address too long");
}

TEST(BodyLength, RefusesWhatIsNoLength) {
  EXPECT_EQ(BodyLength({}), 0U);
  EXPECT_EQ(BodyLength({{"CONTENT_LENGTH", ""}}), 0U);
  EXPECT_EQ(BodyLength({{"CONTENT_LENGTH", "27"}}), 27U);
  EXPECT_EQ(BodyLength({{"CONTENT_LENGTH", std::to_string(kLargestBody)}}), kLargestBody);
  for (const char* text : {"-1", "+1", "1x", "x", " 1", "0x10", "65537", "18446744073709551616", "1 "}) {
    EXPECT_THROW(BodyLength({{"CONTENT_LENGTH", text}}), Malformed) << text;
  }
}

TEST(CookieValue, FindsTheFirstCookieOfExactlyThatName) {
  struct Case {
    const char* header;
    const char* expected;
  };
  const Case kCases[] = {
      {"", ""},    {"s=1", "1"}, {"a=2; s=1", "1"}, {"a=2;s=1;s=3", "1"}, {"xs=1", ""},
      {"S=1", ""}, {"s", ""},    {"s=; b=1", ""},   {" s=a=b ", "a=b"},   {";;;s=1", "1"},
  };
  for (const Case& c : kCases) EXPECT_EQ(CookieValue(c.header, "s"), c.expected) << c.header;
}
