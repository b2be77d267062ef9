// Who may call what: every method with every kind of caller.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/system/places.h"
#include "tests/http/house.h"

using namespace kinora::test;

namespace {

enum class Want { kSession, kToken };

struct Method {
  const char* api;
  const char* name;
  Want want;
  const char* verb;
};

// Every method but sign_in, which is for those who have no session yet.
constexpr Method kMethods[] = {
    {"Session", "whoami", Want::kSession, "GET"}, {"Session", "sign_out", Want::kToken, "POST"},
    {"Catalog", "list", Want::kSession, "GET"},   {"Catalog", "progress", Want::kSession, "GET"},
    {"Catalog", "rescan", Want::kToken, "POST"},  {"Film", "picture", Want::kSession, "GET"},
    {"Stream", "open", Want::kToken, "POST"},     {"Stream", "stream", Want::kSession, "GET"},
    {"Stream", "close", Want::kToken, "POST"},    {"Subtitle", "list", Want::kSession, "GET"},
    {"Subtitle", "get", Want::kSession, "GET"},   {"Subtitle", "charsets", Want::kSession, "GET"},
    {"Preference", "get", Want::kSession, "GET"}, {"Preference", "set", Want::kToken, "POST"},
};

Call CallOf(const Method& method, const std::string& sid, const std::string& token) {
  return {method.api,  method.name, {{"id", "1"}, {"format", "raw"}, {"subtitle_id", "3"}},
          method.verb, sid,         token};
}

std::string Label(const Method& method) { return std::string(method.api) + "." + method.name; }

void ExpireAllSessions() {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(kinora::system::kDatabaseFile, &database), SQLITE_OK);
  sqlite3_busy_timeout(database, 5000);
  EXPECT_EQ(sqlite3_exec(database, "UPDATE sessions SET last_used = 1", nullptr, nullptr, nullptr), SQLITE_OK)
      << sqlite3_errmsg(database);
  EXPECT_GT(sqlite3_changes(database), 0);
  sqlite3_close(database);
}

}  // namespace

TEST(Access, IsRefusedWithoutASession) {
  const House house;
  for (const Method& method : kMethods) {
    const Reply reply = house.Send(CallOf(method, "", ""));
    EXPECT_EQ(reply.status, 401) << Label(method);
    EXPECT_EQ(CodeOf(reply), 124) << Label(method);
  }
}

TEST(Access, IsRefusedToMadeUpSessions) {
  const House house;
  const std::string sids[] = {"x", std::string(43, 'A'), std::string(43, '\''), "' OR 1=1 --",
                              std::string(4000, 'A')};
  for (const Method& method : kMethods) {
    for (const std::string& sid : sids) {
      EXPECT_EQ(CodeOf(house.Send(CallOf(method, sid, "token"))), 124)
          << Label(method) << " " << sid.substr(0, 50);
    }
  }
}

TEST(Access, IsRefusedToExpiredSessions) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  ExpireAllSessions();
  for (const Method& method : kMethods) {
    EXPECT_EQ(CodeOf(house.Send(CallOf(method, ann.sid, ann.token))), 124) << Label(method);
  }
}

TEST(Access, WantsTheTokenForAllThatChangesSomething) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const SignedIn bob = house.SignIn("bob");
  for (const Method& method : kMethods) {
    if (method.want != Want::kToken) continue;
    for (const std::string& token : {std::string(), std::string("x"), bob.token, ann.token + "x", ann.sid}) {
      const Reply reply = house.Send(CallOf(method, ann.sid, token));
      EXPECT_EQ(reply.status, 403) << Label(method);
      EXPECT_EQ(CodeOf(reply), 125) << Label(method);
    }
    Call get = CallOf(method, ann.sid, ann.token);
    get.verb = "GET";
    EXPECT_EQ(house.Send(get).status, 405) << Label(method) << " changes something by GET";
    Call foreign = CallOf(method, ann.sid, ann.token);
    foreign.headers = {"Origin: http://evil.example"};
    EXPECT_EQ(CodeOf(house.Send(foreign)), 125) << Label(method);
  }
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", ann.sid})), 0) << "nothing has happened";
}

TEST(Access, IsDeniedToWhatHasNoRule) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  EXPECT_EQ(CodeOf(house.Send({"Nothing", "at_all", {}, "GET", ann.sid})), 121);
  EXPECT_EQ(CodeOf(house.Send({"", "", {}, "GET", ann.sid})), 121);
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoAmI", {}, "GET", ann.sid})), 122);
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {{"version", "2"}}, "GET", ann.sid})), 123);
  for (const char* verb : {"PUT", "DELETE", "PATCH"}) {
    const Reply reply = house.Send({"Session", "whoami", {}, verb, ann.sid});
    EXPECT_TRUE(reply.status == 405 || reply.status == 501) << verb << " " << reply.status;
  }
}

TEST(Access, ToAStreamIsItsOpenersOnly) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const SignedIn bob = house.SignIn("bob");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  EXPECT_EQ(house.Stream(bob, stream).status, 404);
  EXPECT_EQ(CodeOf(house.Stream(bob, stream)), 128);
  EXPECT_EQ(CodeOf(house.Close(bob, stream)), 128);
  EXPECT_EQ(CodeOf(house.Stream({}, stream)), 124);
  EXPECT_EQ(house.Stream(ann, stream).status, 200) << "still there";
  const SignedIn again = house.SignIn("ann");
  EXPECT_EQ(house.Stream(again, stream).status, 200) << "the account counts, not the session";
}

TEST(Host, RefusesNamesThatAreNotOurs) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const Call call{"Session", "whoami", {}, "GET", ann.sid};
  for (const char* host : {"127.0.0.1", "localhost", "localhost:8080", "[::1]:8080", "192.168.1.5"}) {
    EXPECT_EQ(house.Raw(Wire(call, host)).status, 200) << host;
  }
  for (const char* host : {"evil.example", "127.0.0.1.evil.example", "localhost.evil.example:8080"}) {
    const Reply reply = house.Raw(Wire(call, host));
    EXPECT_EQ(reply.status, 400) << host;
    EXPECT_EQ(CodeOf(reply), 130) << host;
  }
}

TEST(Preflight, AllowsOtherOriginsWhatIsPlayedOnlyAndWithoutCredentials) {
  const House house;
  const auto is_played = [](const Method& method) {
    return Label(method) == "Stream.stream" || Label(method) == "Subtitle.get";
  };
  for (const Method& method : kMethods) {
    Call call = CallOf(method, "", "");
    call.verb = "OPTIONS";
    call.headers = {"Origin: http://another.example"};
    const Reply reply = house.Send(call);
    EXPECT_EQ(reply.status, 204) << Label(method);
    EXPECT_EQ(reply.Count("Access-Control-Allow-Origin"), is_played(method) ? 1U : 0U) << Label(method);
    EXPECT_EQ(reply.Header("Access-Control-Allow-Origin").value_or("*"), "*") << Label(method);
    EXPECT_EQ(reply.Count("Access-Control-Allow-Credentials"), 0U) << Label(method);
  }
}
