// The process of a request runs into what the machine refuses: descriptors, processes, identities. It says so
// in a well-formed answer, and starts nothing with rights that it must not have.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "platform/system/places.h"
#include "tests/faults/cgi.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> WithFault(const std::string& log, const std::string& calls, const std::string& error,
                                   const std::string& when) {
  return {"/usr/bin/strace",
          "-f",
          "-qq",
          "-o",
          log,
          "-e",
          "trace=execve," + calls,
          "-e",
          "inject=" + calls + ":error=" + error + ":when=" + when};
}

// The programs that were started, entry.cgi left out.
std::vector<std::string> ProgramsIn(const std::string& log) {
  std::vector<std::string> programs;
  std::ifstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    const bool own = line.find("bin/entry.cgi") != std::string::npos;
    if (line.find("execve(") != std::string::npos && !own) programs.push_back(line);
  }
  return programs;
}

class Limits : public testing::Test {
 protected:
  void SetUp() override {
    ann_ = house_.SignIn("ann");
    const std::string film = std::to_string(house_.FilmId(ann_, "h264_aac.mp4"));
    stream_ = house_.OpenStream(ann_, std::stoi(film));
    whoami_ = {"Session", "whoami", {}, "GET", ann_.sid};
    open_ = {"Stream", "open", {{"id", film}, {"format", "raw"}}, "POST", ann_.sid, ann_.token};
    picture_ = {"Film", "picture", {{"id", film}}, "GET", ann_.sid};
    send_ = {"Stream", "stream", {{"id", stream_}, {"format", "raw"}}, "GET", ann_.sid};
  }

  std::vector<Call> Calls() const { return {whoami_, open_, picture_, send_}; }

  const House house_;
  SignedIn ann_;
  std::string stream_;
  Call whoami_, open_, picture_, send_;
};

}  // namespace

TEST_F(Limits, OfDescriptorsAreAnErrorUntilTheyAreEnough) {
  for (const Call& call : Calls()) {
    int begun = 0;
    int refused = 0;
    CgiRun run;
    for (rlim_t most = 3; most <= 32; ++most) {
      fs::remove_all(kinora::system::kPictureCache);
      run = RunCgi(call, {{}, {{RLIMIT_NOFILE, most}}});
      ASSERT_TRUE(WIFEXITED(run.status)) << call.method << " with " << most << ": " << run.errors;
      if (run.output.empty()) continue;  // the loader found no descriptor for a library
      ++begun;
      EXPECT_TRUE(run.Whole()) << call.method << " with " << most << ": " << run.output.substr(0, 400);
      refused += run.reply.status != 200 ? 1 : 0;
    }
    EXPECT_EQ(run.reply.status, 200) << call.method << run.output.substr(0, 400) << run.errors;
    EXPECT_GT(refused, 0) << call.method;
    EXPECT_GT(begun, refused) << call.method;
  }
  EXPECT_EQ(ScratchFiles(), std::vector<std::string>{});
}

TEST_F(Limits, OfProcessesAreAnError) {
  if (!CanTrace()) GTEST_SKIP() << "programs cannot be traced here";
  const std::string log = fs::temp_directory_path() / "calls";
  fs::remove_all(kinora::system::kPictureCache);
  for (const Call& call : {open_, picture_}) {
    const CgiRun run = RunCgi(call, {WithFault(log, "clone,clone3,vfork", "EAGAIN", "1+"), {}});
    EXPECT_TRUE(run.Whole()) << run.output;
    EXPECT_GE(run.reply.status, 400) << call.method;
    EXPECT_GE(CodeOf(run.reply), 100) << call.method;
    EXPECT_EQ(ProgramsIn(log), std::vector<std::string>{}) << call.method;
    EXPECT_EQ(RunCgi(call).reply.status, 200) << call.method << ": the same request at once, the fault gone";
  }
  EXPECT_EQ(StreamLinks().size(), 2U) << "the one of the beginning, the one after the fault";
}

TEST_F(Limits, OfIdentitiesStartNoHelper) {
  if (!CanTrace()) GTEST_SKIP() << "programs cannot be traced here";
  const std::string log = fs::temp_directory_path() / "calls";
  for (const char* call : {"setresuid", "setresgid", "capset"}) {
    fs::remove_all(kinora::system::kPictureCache);
    const CgiRun untouched = RunCgi(picture_, {WithFault(log, call, "EPERM", "100+"), {}});
    EXPECT_EQ(untouched.reply.status, 200);
    EXPECT_GE(ProgramsIn(log).size(), 1U) << "a helper takes the picture";
    fs::remove_all(kinora::system::kPictureCache);
    const CgiRun run = RunCgi(picture_, {WithFault(log, call, "EPERM", "1+"), {}});
    EXPECT_TRUE(run.Whole()) << call << run.output;
    EXPECT_EQ(run.reply.status, 404) << call << run.output;
    EXPECT_EQ(ProgramsIn(log), std::vector<std::string>{}) << call;
    const CgiRun opened = RunCgi(open_, {WithFault(log, call, "EPERM", "1+"), {}});
    EXPECT_TRUE(opened.Whole()) << call << opened.output;
    EXPECT_EQ(CodeOf(opened.reply), 129) << call << opened.output;
    EXPECT_EQ(opened.reply.status, 503) << "nothing is wrong with the film";
    EXPECT_EQ(ProgramsIn(log), std::vector<std::string>{}) << call;
  }
  EXPECT_EQ(CodeOf(RunCgi(open_).reply), 0) << "the same request, the fault gone";
}
