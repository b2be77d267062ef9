// kinora serve: what it starts, watches and ends; the front's own answers; what the logs hold.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <fstream>
#include <sstream>

#include "platform/system/places.h"
#include "tests/http/hls_viewer.h"
#include "tests/http/house.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

std::vector<pid_t> WebServers(const House& house) {
  return DescendantsLike(house.Pid(), "/usr/sbin/lighttpd");
}
std::vector<pid_t> Listeners(const House& house) { return DescendantsLike(house.Pid(), "entry.cgi"); }
std::vector<pid_t> Zygotes(const House& house) { return DescendantsLike(house.Pid(), "--zygote"); }

// Page faults of the children that have ended: of a zygote that has made something, not 0.
long FaultsOfRuns(pid_t pid) {
  const std::string line = ReadWhole("/proc/" + std::to_string(pid) + "/stat");
  std::istringstream fields(line.substr(line.rfind(')') + 1));
  std::string field;
  for (int i = 3; i <= 10; ++i) fields >> field;  // numbered as proc(5) does
  long faults = -1;
  fields >> faults;
  return faults;
}

bool IsBack(const House& house, const std::function<std::vector<pid_t>(const House&)>& find, pid_t gone) {
  return Eventually([&] {
    const std::vector<pid_t> now = find(house);
    return !now.empty() && now[0] != gone;
  });
}

}  // namespace

TEST(Serve, StartsAKilledListenerAgainAndRefusesNobodyMeanwhile) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  for (int round = 0; round < 3; ++round) {
    const pid_t listener = Listeners(house).at(0);
    kill(listener, SIGKILL);
    EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", ann.sid})), 0) << "waits in the socket";
    EXPECT_TRUE(IsBack(house, Listeners, listener));
  }
}

TEST(Serve, StartsAKilledWebServerAgainAndRefusesNobodyMeanwhile) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  for (int round = 0; round < 3; ++round) {
    const pid_t server = WebServers(house).at(0);
    kill(server, SIGKILL);
    // What it had taken already is lost; from its end on connections wait.
    ASSERT_TRUE(Eventually([&] { return WebServers(house) != std::vector<pid_t>{server}; }));
    EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", ann.sid})), 0);
    EXPECT_TRUE(IsBack(house, WebServers, server));
  }
}

TEST(Serve, MakesCopiedFragmentsByAZygoteWithoutRights) {
  const House house;
  const HlsViewer ann(house, house.SignIn("ann"));
  const Playlist film = ann.MediaPlaylists(ann.Open("h264_aac.mp4", "hls_remux")).at(0);
  ASSERT_TRUE(Eventually([&] { return Zygotes(house).size() == 1; }));
  const pid_t zygote = Zygotes(house).at(0);
  EXPECT_EQ(FaultsOfRuns(zygote), 0);
  EXPECT_EQ(ann.Get(film.addresses.at(0)).status, 200);
  EXPECT_TRUE(Eventually([&] { return FaultsOfRuns(zygote) > 0; })) << "a run of it has ended";
  const std::string status = ReadWhole("/proc/" + std::to_string(zygote) + "/status");
  for (const char* line : {"\nCapPrm:\t0000000000000000\n", "\nCapEff:\t0000000000000000\n",
                           "\nCapInh:\t0000000000000000\n", "\nNoNewPrivs:\t1\n"}) {
    EXPECT_NE(status.find(line), std::string::npos) << line << status;
  }
  struct stat socket {};
  ASSERT_EQ(stat(kinora::system::kRemuxSocket, &socket), 0);
  EXPECT_EQ(socket.st_mode & 0777, 0600U);
}

TEST(Serve, StartsAKilledZygoteAgainAndMakesFragmentsMeanwhile) {
  const House house({"languages.mkv"});
  const HlsViewer ann(house, house.SignIn("ann"));
  for (int round = 0; round < 3; ++round) {
    const HlsStream stream = ann.Open("languages.mkv", "hls_remux");
    const Playlist film = ann.MediaPlaylists(stream).at(0);
    ASSERT_TRUE(Eventually([&] { return Zygotes(house).size() == 1; }));
    const pid_t zygote = Zygotes(house).at(0);
    kill(zygote, SIGKILL);
    EXPECT_EQ(ann.Get(film.addresses.at(0)).status, 200) << house.Log();
    EXPECT_TRUE(IsBack(house, Zygotes, zygote));
    EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
  }
}

TEST(Serve, EndsAllThatItStarted) {
  House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  fs::resize_file(house.Share() / "h264_aac.mp4", 1ULL << 30);
  Connection viewer(house.Port());
  viewer.Send(Wire({"Stream", "stream", {{"id", stream}, {"format", "raw"}}, "GET", ann.sid}));
  EXPECT_GE(viewer.ReadAtLeast(1000).size(), 1000U);
  const std::vector<pid_t> all = Descendants(house.Pid());
  EXPECT_GE(all.size(), 4U) << "the web server, the listener, the zygote, the viewer's answer";
  house.Serve().Signal(SIGTERM);
  EXPECT_EQ(house.Serve().Wait(), 0);
  for (const pid_t pid : all)
    EXPECT_EQ(kill(pid, 0), -1) << pid << ReadWhole("/proc/" + std::to_string(pid) + "/cmdline");
}

TEST(Serve, TakesItsProgramsAlongWhenItIsKilled) {
  House house;
  const std::vector<pid_t> all = Descendants(house.Pid());
  house.Serve().Signal(SIGKILL);
  house.Serve().Wait();
  EXPECT_TRUE(Eventually([&] {
    for (const pid_t pid : all) {
      const std::string status = ReadWhole("/proc/" + std::to_string(pid) + "/status");
      if (!status.empty() && status.find("State:\tZ") == std::string::npos) return false;
    }
    return true;
  }));
}

TEST(Serve, RunsOncePerState) {
  const House house;
  const fs::path said = fs::temp_directory_path() / "second.log";
  Process second({kinora::system::InTarget("bin/kinora"), "serve", "--port", "0"}, said, said);
  EXPECT_EQ(WEXITSTATUS(second.Wait()), 1);
  EXPECT_EQ(ReadWhole(said), "kinora: Kinora is running already with this state\n");
  EXPECT_EQ(house.Send({"Session", "whoami"}).status, 401) << "the first is unharmed";
}

TEST(Serve, SaysThatThePortIsTaken) {
  const House house;
  const std::string port = std::to_string(house.Port());
  const fs::path said = fs::temp_directory_path() / "taken.log";
  Process second({kinora::system::InTarget("bin/kinora"), "serve", "--port", port}, said, said);
  EXPECT_EQ(WEXITSTATUS(second.Wait()), 1);
  EXPECT_EQ(ReadWhole(said), "kinora: port " + port +
                                 " on 127.0.0.1 is taken by another program; choose another with --port\n");
}

TEST(Serve, PrintsAnAddressThatSignsInOnce) {
  House house;
  house.Serve().Signal(SIGTERM);
  house.Serve().Wait();
  const fs::path out = fs::temp_directory_path() / "welcome.out";
  Process serve({kinora::system::InTarget("bin/kinora"), "serve", "--port", "0", "--welcome", "ann"}, out,
                "/dev/null");
  ASSERT_TRUE(Eventually([&] { return ReadWhole(out).ends_with("\n"); }));
  const std::string said = ReadWhole(out);
  const size_t mark = said.find("/?welcome=");
  ASSERT_NE(mark, std::string::npos) << said;
  const int port = std::stoi(said.substr(said.rfind(':') + 1));
  const std::string secret = said.substr(mark + 10, said.size() - mark - 11);
  const auto sign_in = [&] {
    Connection connection(port);
    connection.Send(Wire({"Session", "sign_in", {{"welcome", secret}}, "POST"}));
    return connection.ReadReply();
  };
  const Reply first = sign_in();
  EXPECT_EQ(ParseJson(first.body)["result"]["account"]["name"].asString(), "ann") << first.body;
  EXPECT_EQ(CodeOf(sign_in()), 126);
}

TEST(Serve, IsFoundByStatusAndDoctorWithItsStreams) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  const fs::path said = fs::temp_directory_path() / "status.out";
  Process status({kinora::system::InTarget("bin/kinora"), "status"}, said, said);
  EXPECT_EQ(status.Wait(), 0);
  const std::string text = ReadWhole(said);
  EXPECT_NE(text.find("service   answers at http://127.0.0.1:" + std::to_string(house.Port()) + "/\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("RAW   " + stream.substr(0, 6) + "  "), std::string::npos) << text;
  EXPECT_NE(text.find((house.Share() / "h264_aac.mp4").string() + "\n"), std::string::npos) << text;
  Process doctor({kinora::system::InTarget("bin/kinora"), "doctor"}, said, said);
  doctor.Wait();
  EXPECT_NE(ReadWhole(said).find("OK    port       Kinora answers at port " + std::to_string(house.Port())),
            std::string::npos)
      << ReadWhole(said);
}

// Housekeeping looks at once and removes an hour later at the earliest.
TEST(Serve, KeepsStreamsOverItsRestart) {
  House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  const fs::path folder = fs::path(kinora::system::kWorkspace) / "RAW" / stream;
  house.Serve().Signal(SIGTERM);
  house.Serve().Wait();
  const fs::path out = fs::temp_directory_path() / "again.out";
  Process again({kinora::system::InTarget("bin/kinora"), "serve", "--port", "0"}, out, "/dev/null");
  ASSERT_TRUE(Eventually([&] { return ReadWhole(out).ends_with("\n"); }));
  EXPECT_TRUE(fs::exists(folder / "filepath"));
  again.Signal(SIGTERM);
  EXPECT_EQ(again.Wait(), 0);
  EXPECT_TRUE(fs::exists(folder / "filepath"));
}

TEST(Front, SendsTheHeadersThatProtectThePage) {
  const House house;
  const Reply page = Fetch(house.Port(), "GET", "/", {});
  EXPECT_EQ(page.Header("X-Content-Type-Options"), "nosniff");
  EXPECT_EQ(page.Header("X-Frame-Options"), "DENY");
  EXPECT_EQ(page.Header("Cache-Control"), "no-cache");
  const std::string policy = page.Header("Content-Security-Policy").value_or("");
  EXPECT_NE(policy.find("default-src 'self'"), std::string::npos);
  EXPECT_EQ(policy.find("unsafe"), std::string::npos);
  const Reply asset = Fetch(house.Port(), "GET", "/assets/x.js", {});
  EXPECT_EQ(asset.Header("Cache-Control"), "public, max-age=31536000, immutable");
}

TEST(Front, GivesOutNothingButThePage) {
  const House house;
  for (const char* path : {"/../etc/kinora.conf", "/%2e%2e/etc/kinora.conf", "/..%2fetc%2fkinora.conf",
                           "/lighttpd.conf", "/etc/passwd", "//etc/passwd", "/assets/../../lighttpd.conf"}) {
    const Reply reply = Fetch(house.Port(), "GET", path, {});
    EXPECT_TRUE(reply.status == 404 || reply.status == 400 || reply.status == 403)
        << path << " " << reply.status;
    EXPECT_EQ(reply.body.find("server.modules"), std::string::npos) << path;
  }
}

TEST(Front, KeepsConnectionsOpen) {
  const House house;
  Connection connection(house.Port());
  for (int i = 0; i < 3; ++i) {
    connection.Send("GET /webapi/entry.cgi?api=x HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_TRUE(connection.ReadAtLeast(100).starts_with("HTTP/1.1 404")) << i;
  }
}

TEST(Logs, HoldNoSecretsAndNoForgedLines) {
  House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string film = std::to_string(house.FilmId(ann, "h264_aac.mp4"));
  const std::string pin = "canary-of-a-pin";
  house.Send({"Session", "sign_in", {{"user", "ann"}, {"password", "canary-of-a-password"}}, "POST"});
  house.Send({"Session", "sign_in", {{"welcome", "canary-of-a-welcome"}}, "POST"});
  house.Send({"Session", "whoami", {{"_sid", "canary-of-a-sid"}, {"CrvnToken", "canary-of-a-token"}}});
  house.Send({"Session", "whoami", {{"_sid", ann.sid}, {"x", "%"}, {"canary-of-a-query", "1"}}, "PUT"});
  house.Raw(
      "GET /webapi/entry.cgi?_sid=canary-of-a-broken-query&%00 HTTP/1.1\r\nHost: canary.evil\r\nConnection: "
      "close\r\n\r\n");
  house.Send({"Stream",
              "open",
              {{"id", film}, {"pin", pin}, {"format", "canary\nforged: line"}},
              "POST",
              ann.sid,
              ann.token});
  house.Send({"Stream", "open", {{"id", "424242"}, {"pin", pin}}, "POST", ann.sid, ann.token});
  const std::string stream = house.OpenStream(ann, std::stoi(film));
  fs::remove(house.Share() / "h264_aac.mp4");
  house.Stream(ann, stream);
  house.Serve().Signal(SIGTERM);
  house.Serve().Wait();
  const std::string log = house.Log();
  EXPECT_NE(log.find("refused with 1101"), std::string::npos) << "the log is written at all: " << log;
  EXPECT_EQ(log.find("canary"), std::string::npos) << log;
  EXPECT_EQ(log.find(ann.sid), std::string::npos);
  EXPECT_EQ(log.find(ann.token), std::string::npos);
  EXPECT_EQ(log.find(PasswordOf("ann")), std::string::npos);
  EXPECT_EQ(log.find("\nforged"), std::string::npos);
}
