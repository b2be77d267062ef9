// What becomes of live WebM when encoders, readers and other processes come and go as they like.
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <thread>

#include "platform/engine/job_record.h"
#include "platform/engine/live_record.h"
#include "platform/engine/record.h"
#include "tests/unit/platform/engine/webm.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;

bool Eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 6000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

// Ticks of processor time that the process has used; -1: it is gone.
int64_t TicksOf(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  if (!std::getline(file, line)) return -1;
  std::istringstream fields(line.substr(line.rfind(')') + 1));
  std::string skipped;
  for (int n = 3; n <= 13; ++n) fields >> skipped;
  int64_t user = 0;
  int64_t kernel = 0;
  fields >> user >> kernel;
  return user + kernel;
}

// A process of its own that plays a stream. It tells whether the body has begun, then reads it, or does not,
// and exits with 0 when it has seen the film's end, with 1 when the body broke off.
class OtherPlayer {
 public:
  OtherPlayer(const std::string& stream_id, int seek, bool reads) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    started_ = base::Descriptor(ends[0]);
    const base::Descriptor tell(ends[1]);
    pid_ = ::fork();
    if (pid_ == 0) Play(stream_id, seek, reads, tell.Get());
  }
  ~OtherPlayer() {
    Kill();
    Wait();
  }
  OtherPlayer(const OtherPlayer&) = delete;
  OtherPlayer& operator=(const OtherPlayer&) = delete;

  // Whether the body has begun.
  bool Begins() {
    char word = 0;
    return ::read(started_.Get(), &word, 1) == 1 && word == 'y';
  }
  void Kill() const {
    if (pid_ > 0) ::kill(pid_, SIGKILL);
  }
  // Its exit status, or -1 when it was killed.
  int Wait() {
    int status = 0;
    if (pid_ > 0 && ::waitpid(pid_, &status, 0) == pid_)
      result_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    pid_ = 0;
    return result_;
  }

 private:
  [[noreturn]] static void Play(const std::string& stream_id, int seek, bool reads, int tell) {
    WebMStream stream(stream_id);
    const bool begins = stream.Transcoding(kEncoder, seek);
    if (::write(tell, begins ? "y" : "n", 1) != 1) ::_exit(3);
    if (!begins) ::_exit(2);
    while (!reads) ::pause();
    std::array<char, 1024> buffer{};
    int got = 0;
    while ((got = stream.Read(buffer.data(), buffer.size())) > 0) continue;
    ::_exit(got == 0 ? 0 : 1);
  }

  pid_t pid_ = 0;
  int result_ = -1;
  base::Descriptor started_;
};

// Its body is many times what a pipe holds, so that an encoder that nobody reads from waits.
constexpr char kLongFilm[] = "h264_aac.mp4";

class WebMFaults : public WebMTest {
 protected:
  static pid_t EncoderOf(const WebMStream& stream) {
    const std::optional<std::string> record = FolderOf(stream).Read("encoder.json");
    return record ? static_cast<pid_t>(NumberIn(ParseRecord(*record, 1), "pid", 2, INT32_MAX)) : 0;
  }
  static bool IsProcess(pid_t pid) { return pid > 0 && ::kill(pid, 0) == 0; }

  // Reads once.
  static int Taste(WebMStream& stream) {
    std::array<char, 1024> buffer{};
    return stream.Read(buffer.data(), buffer.size());
  }

  // Not one child is left of this process, neither alive nor to be waited for.
  static void ExpectNoChildren() { EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); }

  std::string Stub(const std::string& body) const {
    const std::string path = films_ + "/stub";
    WriteText(path, "#!/bin/sh\n" + body + "\n");
    fs::permissions(path, fs::perms(0755));
    return path;
  }
};

TEST_F(WebMFaults, AnEncoderThatIsKilledBreaksTheBodyOff) {
  WebMStream stream = Opened(Media(kLongFilm));
  ASSERT_TRUE(stream.Transcoding(kEncoder, 0));
  EXPECT_GT(Taste(stream), 0);
  EXPECT_TRUE(IsEncoding(stream));
  LoggedLines log;
  ::kill(EncoderOf(stream), SIGKILL);
  std::string rest;
  EXPECT_EQ(Drain(stream, rest), -1);
  EXPECT_THAT(log.Take(), HasSubstr("was ended by signal 9"));
  EXPECT_FALSE(IsEncoding(stream));
  ExpectNoChildren();
  EXPECT_TRUE(stream.Transcoding(kEncoder, 3)) << "the player asks again";
}

TEST_F(WebMFaults, AnEncoderThatFailsIsNoBody) {
  WebMStream stream = Opened(Media(kLongFilm));
  for (const char* script : {"echo 'no such filter' >&2; exit 1", "exit 0", "kill -9 $$"}) {
    LoggedLines log;
    EXPECT_FALSE(stream.Transcoding(Stub(script), 0)) << script;
    EXPECT_THAT(log.Take(), HasSubstr("nothing came out of the encoder")) << script;
    EXPECT_LT(Taste(stream), 1);
    EXPECT_FALSE(IsEncoding(stream));
  }
  EXPECT_FALSE(stream.Transcoding(films_ + "/none", 0));
  EXPECT_FALSE(stream.Transcoding("ffmpeg", 0));
  EXPECT_FALSE(IsEncoding(stream));
  ExpectNoChildren();
}

TEST_F(WebMFaults, TheBodyEndsWithTheLastCopyOfItsObject) {
  const WebMStream named = Opened(Media(kLongFilm));
  {
    WebMStream other("");
    {
      WebMStream stream(named.GetStreamID());
      ASSERT_TRUE(stream.Transcoding(kEncoder, 0));
      other = stream;
    }
    EXPECT_TRUE(IsEncoding(named));
    EXPECT_GT(Taste(other), 0);
  }
  EXPECT_FALSE(IsEncoding(named));
  ExpectNoChildren();
}

TEST_F(WebMFaults, TheBodyIsEndedAtOnceByItsMonitorsEnd) {
  WebMStream stream = Opened(Media(kLongFilm));
  ASSERT_TRUE(stream.Transcoding(kEncoder, 0));
  stream.KillMonitor();
  EXPECT_FALSE(IsEncoding(stream));
  EXPECT_LT(Taste(stream), 1);
  ExpectNoChildren();
  stream.KillMonitor();
}

TEST_F(WebMFaults, TheEncoderDiesWithItsReader) {
  const WebMStream stream = Opened(Media(kLongFilm));
  OtherPlayer player(stream.GetStreamID(), 0, false);
  ASSERT_TRUE(player.Begins());
  EXPECT_TRUE(IsEncoding(stream));
  const pid_t encoder = EncoderOf(stream);
  player.Kill();
  player.Wait();
  EXPECT_TRUE(Eventually([&] { return !IsEncoding(stream); }));
  EXPECT_TRUE(Eventually([&] { return !IsProcess(encoder); }));
  EXPECT_TRUE(stream.Close());
  ExpectNothingLeft();
}

TEST_F(WebMFaults, ASeekEndsTheEncoderFromBefore) {
  WebMStream stream = Opened(Media(kLongFilm));
  OtherPlayer before(stream.GetStreamID(), 0, false);
  ASSERT_TRUE(before.Begins());
  const pid_t encoder = EncoderOf(stream);
  ASSERT_TRUE(stream.Transcoding(kEncoder, 12));
  EXPECT_NE(EncoderOf(stream), encoder);
  EXPECT_TRUE(IsEncoding(stream));
  EXPECT_EQ(CountJobs(), 1);
  WebMStream again(stream.GetStreamID());
  ASSERT_TRUE(again.Transcoding(kEncoder, 5)) << "in the same process";
  std::string rest;
  EXPECT_EQ(Drain(stream, rest), -1);
  ASSERT_TRUE(again.Transcoding(kEncoder, 19)) << "by the same object";
  EXPECT_EQ(Drain(again, rest), 0);
}

TEST_F(WebMFaults, ManyAtOnceLeaveOneEncoderAtMost) {
  const WebMStream stream = Opened(Media("encode_25.mkv"));
  std::vector<std::unique_ptr<OtherPlayer>> players;
  for (int seek = 0; seek < 6; ++seek)
    players.push_back(std::make_unique<OtherPlayer>(stream.GetStreamID(), seek, true));
  int whole = 0;
  for (const auto& player : players) {
    const int result = player->Wait();
    EXPECT_GE(result, 0);
    whole += result == 0 ? 1 : 0;
  }
  EXPECT_GE(whole, 1) << "nobody ends the last one";
  EXPECT_FALSE(IsEncoding(stream));
}

TEST_F(WebMFaults, ClosingEndsTheBodyInAnotherProcess) {
  const WebMStream stream = Opened(Media(kLongFilm));
  OtherPlayer player(stream.GetStreamID(), 0, false);
  ASSERT_TRUE(player.Begins());
  const pid_t encoder = EncoderOf(stream);
  EXPECT_TRUE(stream.Close());
  ExpectNothingLeft();
  player.Kill();
  player.Wait();
  EXPECT_TRUE(Eventually([&] { return !IsProcess(encoder); }));
  WebMStream closed(stream.GetStreamID());
  EXPECT_FALSE(closed.Transcoding(kEncoder, 0));
}

TEST_F(WebMFaults, ItIsOneOfTheJobsThatTheSettingsAllow) {
  Settings("jobs=\"1\"\n");
  WebMStream one = Opened(Media(kLongFilm));
  WebMStream other = Opened(Media(kLongFilm));
  ASSERT_TRUE(one.Transcoding(kEncoder, 0));
  EXPECT_EQ(CountJobs(), 1);
  LoggedLines log;
  EXPECT_FALSE(other.Transcoding(kEncoder, 0));
  EXPECT_THAT(log.Take(), HasSubstr("as many encoders as the settings allow are at work"));
  EXPECT_TRUE(IsEncoding(one)) << "nobody takes it away from its viewer";
  EXPECT_TRUE(one.Transcoding(kEncoder, 5)) << "its own place";
  one.KillMonitor();
  EXPECT_EQ(CountJobs(), 0);
  EXPECT_TRUE(other.Transcoding(kEncoder, 0));
}

TEST_F(WebMFaults, AnEncoderThatNobodyReadsFromWaits) {
  WebMStream stream = Opened(Media("bulky.mkv"));
  ASSERT_TRUE(stream.Transcoding(kEncoder, 0));
  const pid_t encoder = EncoderOf(stream);
  // Half a second without a tick: it stands still, though two minutes of film are not encoded yet.
  int still = 0;
  int64_t last = -1;
  EXPECT_TRUE(Eventually([&] {
    const int64_t ticks = TicksOf(encoder);
    still = ticks == last ? still + 1 : 0;
    last = ticks;
    return still > 50;
  }));
  EXPECT_GE(TicksOf(encoder), 0) << "it is still there";
  EXPECT_TRUE(IsEncoding(stream));
  std::string bytes;
  EXPECT_EQ(Drain(stream, bytes), 0);
  EXPECT_GT(bytes.size(), size_t{1} << 20);
}

TEST_F(WebMFaults, OnlyTheProcessThatIsMeantIsKilled) {
  const StreamFolder folder = FolderOf(Opened(Media(kLongFilm)));
  const pid_t bystander = ::fork();
  if (bystander == 0) {
    for (;;) ::pause();
  }
  const std::string pid = std::to_string(bystander);
  const std::string started = std::to_string(MarkOf(bystander)->started);
  const std::string boot = BootId();
  const auto record = [](const std::string& of_boot, const std::string& of_pid, const std::string& since) {
    return R"({"version":1,"boot":")" + of_boot + R"(","pid":)" + of_pid + R"(,"started":)" + since + "}";
  };
  const std::string harmless[] = {
      "",
      record(boot, pid, started).substr(0, 40),
      R"({"version":2})",
      record("another", pid, started),
      record(boot, pid, started + "0"),
      record(boot, "-" + pid, started),
      record(boot, "1", "0"),
  };
  KillLiveEncoder(folder);
  for (const std::string& text : harmless) {
    folder.Write("encoder.json", text);
    KillLiveEncoder(folder);
    EXPECT_EQ(::waitpid(bystander, nullptr, WNOHANG), 0) << text;
  }
  WriteLiveEncoder(folder, bystander);
  KillLiveEncoder(folder);
  EXPECT_EQ(::waitpid(bystander, nullptr, 0), bystander);
  WriteLiveEncoder(folder, bystander);
  EXPECT_FALSE(folder.Read("encoder.json")) << "there is nobody to record";
}

TEST_F(WebMFaults, WhatCannotBeRecordedIsNotStarted) {
  WebMStream stream = Opened(Media(kLongFilm));
  // A folder in the record's place cannot be written over.
  fs::create_directories(FolderOf(stream).Path("encoder.json") + "/taken");
  EXPECT_FALSE(stream.Transcoding(kEncoder, 0));
  EXPECT_FALSE(IsEncoding(stream));
  ExpectNoChildren();
}

}  // namespace
}  // namespace kinora::engine
