#include "entry/dispatch.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace kinora::entry;

namespace {

int CodeOf(std::string_view api, std::string_view name, std::string_view version) {
  try {
    FindMethod(AllMethods(), api, name, version);
  } catch (const Error& error) {
    return error.Code();
  }
  return 0;
}

// A request that reaches the dispatcher's own decisions only.
Request Ask(const std::string& verb, Form parameters) {
  Request request;
  request.verb = verb;
  request.host = "localhost";
  request.parameters = std::move(parameters);
  return request;
}

}  // namespace

TEST(FindMethod, TellsApartWhatIsMissing) {
  EXPECT_EQ(CodeOf("CRVN.Kinora2.Session", "whoami", "1"), 0);
  EXPECT_EQ(CodeOf("CRVN.Kinora2.Nothing", "whoami", "1"), 121);
  EXPECT_EQ(CodeOf("", "", ""), 121);
  EXPECT_EQ(CodeOf("CRVN.Kinora2.Session", "list", "1"), 122);
  EXPECT_EQ(CodeOf("CRVN.Kinora2.Session", "whoami", "2"), 123);
  EXPECT_EQ(CodeOf("CRVN.Kinora2.Session", "whoami", ""), 123);
}

TEST(AllMethods, WantTheTokenAndPostForEverythingThatIsNotARead) {
  for (const Method& method : AllMethods()) {
    const bool open = method.access == Access::kOpen;
    EXPECT_EQ(open, std::string(method.name) == "sign_in") << method.name;
    if (open) continue;
    EXPECT_EQ(method.access == Access::kSessionAndToken, method.verbs == Verbs::kPost) << method.name;
  }
}

TEST(TakesVerb, LetsNothingBeChangedByGet) {
  const auto with = [](Verbs verbs) { return Method{"", "", Access::kOpen, verbs, {}, {}, nullptr}; };
  struct Case {
    Verbs verbs;
    const char* verb;
    bool expected;
  };
  const Case kCases[] = {
      {Verbs::kAny, "GET", true},     {Verbs::kAny, "HEAD", true},    {Verbs::kAny, "POST", true},
      {Verbs::kPost, "GET", false},   {Verbs::kPost, "HEAD", false},  {Verbs::kPost, "POST", true},
      {Verbs::kStream, "GET", true},  {Verbs::kStream, "HEAD", true}, {Verbs::kStream, "POST", false},
      {Verbs::kAny, "DELETE", false}, {Verbs::kAny, "", false},       {Verbs::kAny, "get", false},
  };
  for (const Case& c : kCases) EXPECT_EQ(TakesVerb(with(c.verbs), c.verb), c.expected) << c.verb;
}

TEST(Dispatch, LetsAnyOriginReadWhatTheStreamMethodAnswers) {
  const std::vector<std::string> kLines = {
      "Access-Control-Allow-Origin: *", "Access-Control-Allow-Methods: GET",
      "Access-Control-Allow-Headers: origin, x-requested-with, content-type, range"};
  const auto lines = [](const Request& request) {
    std::vector<std::string> found;
    const std::optional<Answer> answer = Dispatch(request, {});
    for (const std::string& line : answer->headers) {
      if (line.starts_with("Access-Control-")) found.push_back(line);
    }
    return found;
  };
  Form stream = {{"api", "CRVN.Kinora2.Stream"}, {"version", "1"}, {"method", "stream"}};
  for (const char* verb : {"GET", "HEAD", "OPTIONS", "POST", "PUT"}) {
    EXPECT_EQ(lines(Ask(verb, stream)), kLines) << verb;
  }
  stream["version"] = "2";
  EXPECT_EQ(lines(Ask("GET", stream)), kLines);
  stream["version"] = "1";
  for (const char* method : {"open", "close", "", "Stream"}) {
    stream["method"] = method;
    for (const char* verb : {"GET", "POST", "OPTIONS"}) {
      EXPECT_EQ(lines(Ask(verb, stream)).size(), 0U) << method;
    }
  }
}

TEST(Dispatch, LetsAnyOriginReadTheTextOfASubtitleOnly) {
  const auto any_origin = [](const std::string& verb, const std::string& method) {
    const Request request =
        Ask(verb, {{"api", "CRVN.Kinora2.Subtitle"}, {"version", "1"}, {"method", method}});
    const std::vector<std::string> headers = Dispatch(request, {})->headers;
    return std::find(headers.begin(), headers.end(), "Access-Control-Allow-Origin: *") != headers.end();
  };
  for (const char* verb : {"GET", "HEAD", "POST", "OPTIONS", "PUT"}) {
    EXPECT_TRUE(any_origin(verb, "get")) << verb;
    for (const char* method : {"list", "charsets", "Get", ""})
      EXPECT_FALSE(any_origin(verb, method)) << method;
  }
  const Request preflight =
      Ask("OPTIONS", {{"api", "CRVN.Kinora2.Subtitle"}, {"version", "1"}, {"method", "get"}});
  EXPECT_EQ(Dispatch(preflight, {})->headers[0], "Allow: GET, HEAD, POST, OPTIONS");
}

TEST(Dispatch, TreatsAStreamsPathAsACallOfTheStreamMethod) {
  const auto ask = [](const char* verb) {
    return MakeRequest({{"REQUEST_METHOD", verb},
                        {"HTTP_HOST", "localhost"},
                        {"PATH_INFO", "/ss/-/aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa/Manifest"}},
                       "");
  };
  const std::pair<const char*, int> cases[] = {{"GET", 401}, {"HEAD", 401}, {"OPTIONS", 204}, {"POST", 405}};
  for (const auto& [verb, status] : cases) {
    const std::optional<Answer> answer = Dispatch(ask(verb), {});
    EXPECT_EQ(answer->status, status) << verb;
    EXPECT_NE(std::find(answer->headers.begin(), answer->headers.end(), "Access-Control-Allow-Origin: *"),
              answer->headers.end())
        << verb;
  }
}

TEST(Dispatch, DecidesBeforeItOpensTheDatabase) {
  const kinora::system::Settings settings;
  Request foreign = Ask("GET", {});
  foreign.host = "evil.example";
  EXPECT_EQ(Dispatch(foreign, settings)->status, 400);
  Request path = Ask("GET", {});
  path.path_info = "/ss/x";
  EXPECT_EQ(Dispatch(path, settings)->status, 404);
  EXPECT_EQ(Dispatch(Ask("TRACE", {}), settings)->status, 405);
  EXPECT_EQ(Dispatch(Ask("OPTIONS", {}), settings)->status, 204);
  EXPECT_EQ(Dispatch(Ask("GET", {}), settings)->status, 404);
  const Form whoami = {{"api", "CRVN.Kinora2.Session"}, {"version", "1"}, {"method", "whoami"}};
  EXPECT_EQ(Dispatch(Ask("GET", whoami), settings)->status, 401);
}
