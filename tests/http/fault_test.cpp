// What must hold when something under the web API breaks; and the API as a plain CGI program.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

#include "platform/system/places.h"
#include "tests/http/house.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

const fs::path kDatabase = kinora::system::kDatabaseFile;

void ExpectServiceFailure(const Reply& reply, const std::string& what) {
  EXPECT_EQ(reply.status, 503) << what << reply.body;
  EXPECT_EQ(CodeOf(reply), 129) << what << reply.body;
}

// Takes the database from those who have it open, together with its journal.
void MoveDatabase(const fs::path& from, const fs::path& to) {
  for (const char* suffix : {"", "-wal", "-shm"}) {
    if (fs::exists(from.string() + suffix)) fs::rename(from.string() + suffix, to.string() + suffix);
  }
}

bool CanTrace() { return std::system("strace -o /dev/null -e trace=openat /bin/true >/dev/null 2>&1") == 0; }

// The request as a plain CGI process under strace, killed at the Nth call of that name; whether it was
// killed.
bool KilledAt(const std::string& call, int number, const SignedIn& who, int film) {
  const pid_t child = fork();
  if (child == 0) {
    const std::string query =
        "api=CRVN.Kinora2.Stream&version=1&method=open&format=raw&id=" + std::to_string(film);
    setenv("GATEWAY_INTERFACE", "CGI/1.1", 1);
    setenv("REQUEST_METHOD", "POST", 1);
    setenv("HTTP_HOST", "localhost", 1);
    setenv("QUERY_STRING", query.c_str(), 1);
    setenv("HTTP_COOKIE", ("kinora_session=" + who.sid).c_str(), 1);
    setenv("HTTP_X_CRVN_TOKEN", who.token.c_str(), 1);
    const std::string inject = "inject=" + call + ":signal=KILL:when=" + std::to_string(number);
    const std::string program = kinora::system::InTarget("bin/entry.cgi");
    if (freopen("/dev/null", "w", stdout) == nullptr || freopen("/dev/null", "w", stderr) == nullptr)
      _exit(127);
    execlp("strace", "strace", "-o", "/dev/null", "-e", ("trace=" + call).c_str(), "-e", inject.c_str(),
           program.c_str(), nullptr);
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) == 128 + SIGKILL);
}

}  // namespace

TEST(Database, ThatIsNoneGivesAnErrorAndIsKept) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const fs::path aside = kDatabase.string() + ".aside";
  for (const std::string& content :
       {std::string("this is no database"), std::string(8192, '\xA5'), std::string(100, '\0')}) {
    MoveDatabase(kDatabase, aside);
    std::ofstream(kDatabase, std::ios::binary) << content;
    ExpectServiceFailure(house.Send({"Session", "whoami", {}, "GET", ann.sid}), "session");
    ExpectServiceFailure(house.Send({"Session", "sign_in", {{"user", "ann"}, {"password", "x"}}, "POST"}),
                         "sign-in");
    EXPECT_EQ(ReadWhole(kDatabase), content) << "the file is kept";
    for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(kDatabase.string() + suffix);
    MoveDatabase(aside, kDatabase);
    EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", ann.sid})), 0) << "well again";
  }
}

TEST(Database, ThatIsLockedGivesAnErrorAndNothingIsLost) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  sqlite3* holder = nullptr;
  ASSERT_EQ(sqlite3_open(kDatabase.c_str(), &holder), SQLITE_OK);
  sqlite3_busy_timeout(holder, 5000);
  ASSERT_EQ(sqlite3_exec(holder, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  ExpectServiceFailure(
      house.Send({"Session", "sign_in", {{"user", "ann"}, {"password", PasswordOf("ann")}}, "POST"}),
      "sign-in writes");
  sqlite3_exec(holder, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(holder);
  EXPECT_GT(house.SignIn("ann").account, 0);
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", ann.sid})), 0);
}

TEST(Database, IsNotNeededForThePage) {
  const House house;
  MoveDatabase(kDatabase, kDatabase.string() + ".aside");
  std::ofstream(kDatabase) << "this is no database";
  EXPECT_LT(Fetch(house.Port(), "GET", "/", {}).status, 500);
}

TEST(RequestProcess, MayBeKilledAnywhereAndTheNextOneSucceeds) {
  if (!CanTrace()) GTEST_SKIP() << "strace may not trace here";
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const int film = house.FilmId(ann, "h264_aac.mp4");
  int kills = 0;
  for (const char* call : {"write", "pwrite64", "rename", "clone", "symlink", "mkdir", "fsync"}) {
    for (int number = 1; number <= 8 && KilledAt(call, number, ann, film); ++number) {
      ++kills;
      const std::string stream = house.OpenStream(ann, film);
      EXPECT_EQ(house.Stream(ann, stream, {"Range: bytes=0-9"}).status, 206) << call << number;
      EXPECT_EQ(CodeOf(house.Close(ann, stream)), 0) << call << number;
    }
  }
  EXPECT_GE(kills, 5) << "the request was killed on its way at all";
}

TEST(RequestProcess, KilledInTheMiddleOfABodyNeverPassesForWhole) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  fs::resize_file(house.Share() / "h264_aac.mp4", 1ULL << 30);
  const pid_t listener = DescendantsLike(house.Pid(), "entry.cgi").at(0);
  Connection viewer(house.Port());
  viewer.Send(Wire({"Stream", "stream", {{"id", stream}, {"format", "raw"}}, "GET", ann.sid}));
  size_t got = viewer.ReadAtLeast(100'000).size();
  for (const pid_t pid : DescendantsLike(house.Pid(), "entry.cgi")) {
    if (pid != listener) kill(pid, SIGKILL);
  }
  got += viewer.ReadAtLeast(std::string::npos).size();
  EXPECT_LT(got, 1ULL << 30) << "the connection ends short of the announced length";
  EXPECT_EQ(house.Stream(ann, stream, {"Range: bytes=0-9"}).status, 206);
}

TEST(PlainCgi, AnswersUnderAWebServersOwnCgi) {
  const House house;
  const Lighttpd server(
      "server.modules += ( \"mod_cgi\", \"mod_alias\" )\n"
      "server.stream-response-body = 2\n"
      "alias.url = ( \"/webapi/entry.cgi\" => \"" +
      kinora::system::InTarget("bin/entry.cgi") +
      "\" )\n"
      "cgi.assign = ( \".cgi\" => \"\" )\n");
  const auto send = [&](const Call& call) {
    Connection connection(server.Port());
    connection.Send(Wire(call));
    return connection.ReadReply();
  };
  const Reply refused = send({"Session", "whoami"});
  EXPECT_EQ(refused.status, 401) << server.ErrorLog();
  EXPECT_EQ(CodeOf(refused), 124);
  const Reply signed_in =
      send({"Session", "sign_in", {{"user", "ann"}, {"password", PasswordOf("ann")}}, "POST"});
  EXPECT_EQ(signed_in.status, 200) << signed_in.body;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  const Reply part = send(
      {"Stream", "stream", {{"id", stream}, {"format", "raw"}}, "GET", ann.sid, "", {"Range: bytes=5-14"}});
  EXPECT_EQ(part.status, 206);
  EXPECT_EQ(part.body, ReadWhole(house.Share() / "h264_aac.mp4").substr(5, 10));
  // An address without "=" reaches a CGI program as arguments: they are no options.
  EXPECT_EQ(CodeOf(Fetch(server.Port(), "GET", "/webapi/entry.cgi?--describe", {"Accept: */*"})), 121);
}
