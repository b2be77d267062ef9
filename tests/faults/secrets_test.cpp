// No secret of a session stands where other accounts of the machine can read it: command lines and files that
// are not the service's own.
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>

#include "platform/system/places.h"
#include "tests/faults/cgi.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

// Empty when the process has ended meanwhile.
std::string CommandLine(const fs::path& process) try {
  return ReadWhole(process / "cmdline");
} catch (const std::ios_base::failure&) {
  return "";
}

std::set<std::string> AllCommandLines() {
  std::set<std::string> lines;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string line = CommandLine(entry.path());
    if (!line.empty()) lines.insert(line);
  }
  return lines;
}

}  // namespace

TEST(Secrets, StandInNoCommandLineAndNoFileThatOthersCanRead) {
  const House house;
  std::set<std::string> seen;
  std::atomic<bool> over = false;
  std::thread watcher([&] {
    while (!over) seen.merge(AllCommandLines());
  });
  const SignedIn ann = house.SignIn("ann");
  const std::string pin = "canary-of-a-pin";
  const std::string film = std::to_string(house.FilmId(ann, "h264_aac.mp4"));
  const std::string stream = house.OpenStream(ann, std::stoi(film));
  house.Send({"Session", "sign_in", {{"user", "bob"}, {"password", "canary-of-a-password"}}, "POST"});
  house.Send({"Session", "sign_in", {{"welcome", "canary-of-a-welcome"}}, "POST"});
  house.Send({"Session", "whoami", {{"_sid", ann.sid}}});
  for (const char* width : {"160", "320", "640"}) {
    house.Send({"Film", "picture", {{"id", film}, {"width", width}, {"_sid", ann.sid}}});
  }
  house.Send({"Stream", "open", {{"id", film}, {"pin", pin}}, "POST", ann.sid, ann.token});
  house.Send({"Catalog", "rescan", {}, "POST", ann.sid, ann.token});
  house.Stream(ann, stream, {"Range: bytes=junk"});
  over = true;
  watcher.join();

  const std::vector<std::string> secrets = {PasswordOf("ann"), "canary", ann.sid, ann.token};
  bool helper_seen = false;
  for (const std::string& line : seen) {
    helper_seen |= line.find("/libexec/") != std::string::npos;
    for (const std::string& secret : secrets) EXPECT_EQ(line.find(secret), std::string::npos) << secret;
  }
  EXPECT_TRUE(helper_seen) << "the watcher looked in time";
  for (const char* place : {kinora::system::kVar, kinora::system::kWorkspace}) {
    for (const auto& entry : fs::recursive_directory_iterator(place)) {
      if (!entry.is_regular_file()) continue;
      const std::string content = ReadWhole(entry.path());
      for (const std::string& secret : secrets) {
        EXPECT_EQ(content.find(secret), std::string::npos) << entry.path() << " holds " << secret;
      }
    }
  }
}
