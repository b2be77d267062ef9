// A request process that cannot take on the service's account answers nothing but that.
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <fstream>

#include "platform/system/places.h"
#include "tests/faults/cgi.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFailure[] = R"({"error":{"code":129,"message":"Internal failure"}})";

void SetAccount(const std::string& name) {
  std::ofstream(kinora::system::kSettingsFile) << "account=\"" << name << "\"\n";
}

std::vector<std::string> Failing(const std::string& call, int n) {
  return {"/usr/bin/strace",
          "-f",
          "-qq",
          "-o",
          fs::temp_directory_path() / "calls",
          "-e",
          "trace=execve," + call,
          "-e",
          "inject=" + call + ":error=EPERM:when=" + std::to_string(n)};
}

bool StartedAHelper() {
  return ReadWhole(fs::temp_directory_path() / "calls").find("/libexec/") != std::string::npos;
}

}  // namespace

TEST(RequestIdentity, ThatDoesNotExistIsAnError) {
  const char* const places = getenv("KINORA_PLACES");
  if (geteuid() != 0 || places == nullptr || std::string(places) == "user") {
    GTEST_SKIP() << "one identity only";
  }
  SetAccount("nobody-of-that-name");
  const CgiRun run = RunCgi({"Session", "whoami", {}, "GET", "x"});
  EXPECT_TRUE(run.Whole());
  EXPECT_EQ(run.reply.status, 500);
  EXPECT_EQ(run.reply.body, kFailure);
  fs::remove(kinora::system::kSettingsFile);
}

TEST(RequestIdentity, ThatIsRefusedIsAnErrorAndStartsNothing) {
  const char* const places = getenv("KINORA_PLACES");
  if (geteuid() != 0 || places == nullptr || std::string(places) == "user") {
    GTEST_SKIP() << "one identity only";
  }
  if (!CanTrace()) GTEST_SKIP() << "programs cannot be traced here";
  SetAccount("nobody");
  const passwd* const nobody = getpwnam("nobody");
  ASSERT_NE(nobody, nullptr);
  for (const std::string place : {kinora::system::kVar, kinora::system::kWorkspace}) {
    ASSERT_EQ(chown(place.c_str(), nobody->pw_uid, nobody->pw_gid), 0);
  }
  const Call call{"Session", "whoami", {}, "GET", std::string(43, 'A')};
  EXPECT_EQ(CodeOf(RunCgi(call).reply), 124) << "as nobody the database can be made and asked";
  for (const char* name : {"setgroups", "setresgid", "setresuid"}) {
    const CgiRun run = RunCgi(call, {Failing(name, 1), {}});
    EXPECT_TRUE(run.Whole()) << name << run.output;
    EXPECT_EQ(run.reply.status, 500) << name;
    EXPECT_EQ(run.reply.body, kFailure) << name;
    EXPECT_FALSE(StartedAHelper()) << name;
  }
  EXPECT_EQ(CodeOf(RunCgi(call).reply), 124) << "the fault gone";
  fs::remove(kinora::system::kSettingsFile);
}
