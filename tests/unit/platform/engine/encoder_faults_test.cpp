// What becomes of a stream whose encoder misbehaves, is missing or is killed. A script takes the encoder's
// place; what it hands out are fragments that the real one has made before.
#include <gmock/gmock.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

#include "platform/engine/job_lock.h"
#include "platform/engine/stream_space.h"
#include "platform/system/child.h"
#include "tests/unit/platform/engine/cover.h"
#include "tests/unit/platform/engine/jobs.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kFragments = 5;

// In front of every script: notes that it was started, reads what it is told, and says how fragments are
// made.
constexpr char kPrelude[] = R"(#!/bin/sh
folder=/var/packages/Kinora/var/script
: >$folder/started/$$
first=0 last_word= hardware=
for word; do
  [ "$last_word" = -start_number ] && first=$word
  [ "$word" = -vaapi_device ] && hardware=yes
  last_word=$word
done
begin() { : >/proc/self/fd/4/$1.ts.tmp; }
list() {
  printf '#EXTM3U\n#EXTINF:1.0,\n%s.ts\n%s' $1 $2 >/proc/self/fd/4/list.tmp
  mv /proc/self/fd/4/list.tmp /proc/self/fd/4/made.m3u8
}
make() { cat $folder/$1.ts >/proc/self/fd/4/$1.ts.tmp && mv /proc/self/fd/4/$1.ts.tmp /proc/self/fd/4/$1.ts; }
)";

class EncoderFaults : public JobTest {
 protected:
  void SetUp() override {
    JobTest::SetUp();
    plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/encode_25.mkv", "mkv", 12);
    ASSERT_EQ(plan_.grid.Count(), kFragments);
    fs::create_directories(folder_ + "/started");
    fs::permissions(folder_ + "/started", fs::perms::all);  // the script has no rights of ours
  }
  void TearDown() override {
    cover_.reset();
    JobTest::TearDown();
    fs::remove_all(folder_);
  }

  // The real fragments, made by a stream of their own.
  void MakeFragments() {
    const StreamFolder other = StreamFolder::Open("HLS", NewStream()).value();
    for (int n = 0; n < kFragments; ++n) {
      ASSERT_EQ(PrepareByJob(other, plan_, n), FragmentOutcome::kReady);
      fs::copy_file(FragmentPath(other, n), folder_ + "/" + std::to_string(n) + ".ts");
      fs::permissions(folder_ + "/" + std::to_string(n) + ".ts", fs::perms(0644));
    }
    EXPECT_TRUE(EndJob(other));
  }

  // false when nothing can be mounted here.
  bool Script(const std::string& body, fs::perms mode = fs::perms(0755)) {
    const std::string path = folder_ + "/encoder";
    fs::copy_file(kFfmpeg, folder_ + "/real", fs::copy_options::skip_existing);
    WriteText(path, kPrelude + body + "\n");
    fs::permissions(path, mode);
    cover_ = std::make_unique<Cover>(path, kFfmpeg);
    return static_cast<bool>(*cover_);
  }

  std::ptrdiff_t Starts() const {
    return std::distance(fs::directory_iterator(folder_ + "/started"), fs::directory_iterator());
  }

  // That fragments lie where the plan says, whoever has made them.
  void ExpectOnTheGrid(int number) const {
    const std::vector<Packet> packets = PacketsOf(FragmentPath(Folder(), number));
    ASSERT_FALSE(packets.empty());
    EXPECT_EQ(packets.front().time, Ticks(plan_.grid.Start(number)));
    EXPECT_TRUE(packets.front().key);
  }

  const std::string folder_ = std::string(system::kVar) + "/script";
  std::unique_ptr<Cover> cover_;
};

#define SCRIPT_OR_SKIP(...) \
  if (!Script(__VA_ARGS__)) GTEST_SKIP() << "nothing can be mounted here"

}  // namespace

TEST_F(EncoderFaults, AnEncoderThatFailsAtOnceIsTriedTwiceAndThenRests) {
  SCRIPT_OR_SKIP("echo 'no such filter' >&2; exit 1");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kFailed);
  EXPECT_GE(Starts(), 2);
  EXPECT_EQ(Record().end, "failed");
  EXPECT_THAT(Record().words, HasSubstr("no such filter"));
  for (int i = 0; i < 30; ++i) EXPECT_EQ(Prepare1(0), FragmentOutcome::kFailed);
  const auto rests = (std::chrono::steady_clock::now() - begin) / std::chrono::seconds(3) + 1;
  EXPECT_LE(Starts(), 2 + 2 * rests) << "no storm";
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(EncoderFaults, AnEncoderThatFailsAfterEachFragmentStillMakesTheFilm) {
  ASSERT_NO_FATAL_FAILURE(MakeFragments());
  SCRIPT_OR_SKIP("make $first; begin $((first + 1)); exit 1");
  for (int n = 0; n < kFragments; ++n) EXPECT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  EXPECT_EQ(Starts(), kFragments);
}

TEST_F(EncoderFaults, AnEncoderThatFailsAtOneFragmentKeepsThoseBefore) {
  ASSERT_NO_FATAL_FAILURE(MakeFragments());
  SCRIPT_OR_SKIP("[ $first = 0 ] && { make 0; begin 1; }; exit 1");
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  EXPECT_EQ(Prepare1(1), FragmentOutcome::kFailed);
  EXPECT_FALSE(Has(1));
  EXPECT_EQ(BytesOf(FragmentPath(Folder(), 0)), BytesOf(folder_ + "/0.ts"));
  EXPECT_TRUE(EndJob(Folder()));
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(EncoderFaults, HardwareThatFailsAtOnceIsReplacedBySoftware) {
  SCRIPT_OR_SKIP("[ \"$hardware\" ] && exit 1; exec $folder/real \"$@\"");
  plan_.hardware = true;
  for (int n = 0; n < kFragments; ++n) ASSERT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  EXPECT_EQ(Folder().Read("software"), "");
  EXPECT_EQ(Starts(), 2) << "the hardware is not tried again";
}

TEST_F(EncoderFaults, HardwareThatFailsLaterIsReplacedBySoftwareOnTheSameGrid) {
  ASSERT_NO_FATAL_FAILURE(MakeFragments());
  SCRIPT_OR_SKIP("[ \"$hardware\" ] || exec $folder/real \"$@\"; make 0; make 1; begin 2; exit 1");
  plan_.hardware = true;
  for (int n = 0; n < kFragments; ++n) ASSERT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  EXPECT_EQ(Folder().Read("software"), "");
  EXPECT_EQ(Record().first, 2) << "what the hardware has made is kept";
  for (int n = 0; n < kFragments; ++n) ExpectOnTheGrid(n);
  EXPECT_EQ(Starts(), 2);
}

TEST_F(EncoderFaults, ATornLastFragmentIsNeverShown) {
  ASSERT_NO_FATAL_FAILURE(MakeFragments());
  SCRIPT_OR_SKIP(R"(last=4; while [ $first -lt $last ]; do make $first; first=$((first + 1)); done
head -c 1000 $folder/4.ts >/proc/self/fd/4/4.ts; exit 0)");
  for (int n = 0; n < kFragments - 1; ++n) ASSERT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  EXPECT_EQ(Prepare1(kFragments - 1), FragmentOutcome::kFailed);
  EXPECT_FALSE(Has(kFragments - 1));
  EXPECT_THAT(Record().words, HasSubstr("damaged"));
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(EncoderFaults, AFragmentIsShownWhenItIsCutAndNotWhenTheNextOneIsBegun) {
  ASSERT_NO_FATAL_FAILURE(MakeFragments());
  SCRIPT_OR_SKIP("make 0; list 0; exec sleep 600");
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kReady);
}

TEST_F(EncoderFaults, TheLastFragmentOfAnEncoderThatWasEndedIsNeverShown) {
  ASSERT_NO_FATAL_FAILURE(MakeFragments());
  SCRIPT_OR_SKIP("make 0; list 0 '#EXT-X-ENDLIST'; exit 255");
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kFailed);
  EXPECT_FALSE(Has(0));
}

TEST_F(EncoderFaults, AnEncoderThatEndsWellWithoutOutputHasFailed) {
  SCRIPT_OR_SKIP("exit 0");
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kFailed);
  EXPECT_FALSE(Has(0));
}

TEST_F(EncoderFaults, AnEncoderThatEndsWellOnAFullDiskHasNoSpace) {
  SCRIPT_OR_SKIP("echo 'av_interleaved_write_frame(): No space left on device' >&2; exit 0");
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kNoSpace);
  EXPECT_FALSE(Has(0));
}

// Both ends of the words' pipe are busy all the time.
TEST_F(EncoderFaults, AFloodOfWordsStopsNothingAndFillsNothing) {
  ASSERT_NO_FATAL_FAILURE(MakeFragments());
  SCRIPT_OR_SKIP("cat /dev/zero >&2 & for n in 0 1 2 3 4; do make $n; done; sleep 600");
  for (int n = 0; n < kFragments - 1; ++n) ASSERT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  const pid_t supervisor = Record().supervisor.pid;
  const auto number_in = [&](const char* file, const std::string& key) {
    std::ifstream lines("/proc/" + std::to_string(supervisor) + file);
    std::string word;
    while (lines >> word && word != key) {
    }
    uint64_t number = 0;
    lines >> number;
    return number;
  };
  EXPECT_TRUE(Eventually([&] { return number_in("/io", "rchar:") > 50'000'000; }));
  const uint64_t kilobytes = number_in("/status", "VmHWM:");
  EXPECT_GT(kilobytes, 0U);
  EXPECT_LT(kilobytes, 40'000U);
  EXPECT_TRUE(EndJob(Folder()));
  EXPECT_EQ(Record().end, "asked");
}

TEST_F(EncoderFaults, AnEncoderThatHangsIsEnded) {
  const StreamFolder folder = Folder();
  const base::Descriptor source(::open(plan_.source.identity.path.c_str(), O_RDONLY | O_CLOEXEC));
  const base::Descriptor work(::open(folder.WorkPath(".").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const base::Descriptor lock = TakeJobLock(folder.WorkPath("job.lock"));
  system::Command command;
  command.arguments = {system::InTarget(kSupervisor),
                       "--times",
                       "0,3000",
                       "--idle",
                       "100",
                       "--patience",
                       "1",
                       "--quota",
                       "1000000",
                       "--",
                       "/bin/sleep",
                       "600"};
  command.descriptors = {{source.Get(), 3}, {work.Get(), 4}, {lock.Get(), 5}};
  command.limits.file_size = 1 << 20;
  EXPECT_TRUE(system::RunChild(command).Succeeded());
  EXPECT_EQ(Record().end, "failed");
  EXPECT_EQ(Record().words, "the encoder hangs");
  EXPECT_FALSE(IsProcess(Record().encoder.pid));
  EXPECT_THAT(Leftovers(), IsEmpty());
}

namespace {

// What a request says in the log.
std::string LogOf(const std::function<void()>& request) {
  ::openlog("test", LOG_PERROR, LOG_USER);
  testing::internal::CaptureStderr();
  request();
  ::closelog();
  return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST_F(EncoderFaults, AMissingEncoderIsNamedAndNothingIsStarted) {
  const std::string empty = folder_ + "/empty";
  fs::create_directory(empty);
  const std::string programs = system::InTarget("bin");
  cover_ = std::make_unique<Cover>(empty, programs);
  if (!*cover_) GTEST_SKIP() << "nothing can be mounted here";
  const std::string log =
      LogOf([this] { EXPECT_EQ(PrepareByJob(Folder(), plan_, 0), FragmentOutcome::kFailed); });
  EXPECT_THAT(log, HasSubstr(programs + "/ffmpeg cannot be executed: No such file or directory"));
  EXPECT_FALSE(ReadJobRecord(Folder())) << "no job was begun";
  cover_.reset();
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kReady) << "at once when it is back";
}

TEST_F(EncoderFaults, AnEncoderThatCannotBeExecutedIsNamed) {
  SCRIPT_OR_SKIP("exit 0", fs::perms(0644));
  const std::string log =
      LogOf([this] { EXPECT_EQ(PrepareByJob(Folder(), plan_, 0), FragmentOutcome::kFailed); });
  EXPECT_THAT(log, HasSubstr("/ffmpeg cannot be executed: Permission denied"));
  EXPECT_EQ(Starts(), 0);
}

TEST_F(EncoderFaults, AfterARestartOfTheMachineTheStreamGoesOnAtTheFirstMissingFragment) {
  Settings("run_ahead_seconds=\"10\"\n");
  plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/encode_25.mkv", "mkv", 30);
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  ASSERT_TRUE(Eventually([this] { return LookAtJob(Folder()).stopped; }));
  JobRecord record = Record();
  ASSERT_EQ(::kill(record.supervisor.pid, SIGKILL), 0);
  ASSERT_TRUE(Eventually([&] { return IsOver() && !IsProcess(record.encoder.pid); }));
  std::vector<std::string> before;
  for (int n = 0; n <= record.newest; ++n) before.push_back(BytesOf(FragmentPath(Folder(), n)));
  // Another boot, in which the numbers belong to others.
  record.boot = "00000000-0000-0000-0000-000000000000";
  record.supervisor = MarkOf(::getpid()).value();
  WriteJobRecord(Folder(), record);
  fs::remove(Folder().WorkPath("job.lock"));
  EXPECT_FALSE(LookAtJob(Folder()).running);
  const int next = record.newest + 1;
  for (int n = 0; n < plan_.grid.Count(); ++n) ASSERT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  EXPECT_EQ(Record().first, next);
  ExpectOnTheGrid(next);
  for (int n = 0; n < next; ++n) EXPECT_EQ(BytesOf(FragmentPath(Folder(), n)), before[n]) << n;
}

TEST_F(EncoderFaults, AClockThatJumpsNeitherEndsAJobNorKeepsItForEver) {
  Settings("run_ahead_seconds=\"10\"\nidle_seconds=\"20\"\n");
  plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/encode_25.mkv", "mkv", 60);
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  const pid_t encoder = Record().encoder.pid;
  const auto now = fs::file_time_type::clock::now();
  int next = 1;
  for (const auto years : {std::chrono::hours(87'600), std::chrono::hours(-87'600)}) {
    for (const char* name : {"wanted", "job.json"}) fs::last_write_time(Folder().WorkPath(name), now + years);
    ASSERT_EQ(Prepare1(next++), FragmentOutcome::kReady);
    EXPECT_EQ(Record().encoder.pid, encoder);
    EXPECT_FALSE(IsOver());
  }
  EXPECT_TRUE(EndJob(Folder()));
  Settings("run_ahead_seconds=\"10\"\nidle_seconds=\"1\"\n");
  ASSERT_EQ(Prepare1(15), FragmentOutcome::kReady);
  fs::last_write_time(Folder().WorkPath("wanted"), now + std::chrono::hours(87'600));
  EXPECT_TRUE(Eventually([this] { return IsOver(); }));
}

TEST_F(EncoderFaults, APlantedNameIsNeitherServedNorFollowed) {
  const std::string foreign = folder_ + "/foreign";
  WriteText(foreign, "somebody's own");
  for (const char* name : {"1.ts", "wanted", "job.json"}) {
    fs::create_symlink(foreign, Folder().WorkPath(name));
  }
  EXPECT_NE(Prepare1(0), FragmentOutcome::kReady) << "a wish is not written through a link";
  fs::remove(Folder().WorkPath("wanted"));
  for (int n = 0; n < kFragments; ++n) EXPECT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(FragmentPath(Folder(), 1))));
  EXPECT_EQ(BytesOf(foreign), "somebody's own");
}

TEST_F(EncoderFaults, AllStreamsTogetherKeepToTheirQuota) {
  constexpr uint64_t kQuota = 1'000'000;
  constexpr uint64_t kRecords = 100'000;  // beside the fragments
  Settings("jobs=\"1\"\nstreams_quota=\"" + std::to_string(kQuota) + "\"\n");
  plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/h264_aac.mp4", "mp4", 20);
  for (int n = 0; n < plan_.grid.Count(); ++n) ASSERT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  ASSERT_TRUE(Eventually([this] { return IsOver(); }));
  EXPECT_LE(SpaceOfAllStreams(), kQuota + kRecords);
  EXPECT_FALSE(Has(0)) << "the test says nothing when all of the film fits";
  const StreamFolder first = Folder();
  id_ = NewStream();
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kNoSpace) << "what is left is less than a film needs";
  EXPECT_FALSE(LookAtJob(Folder()).running);
  EXPECT_TRUE(EndJob(first));
  EXPECT_TRUE(RemoveStream("HLS", first.StreamId()));
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kReady);
}

}  // namespace kinora::engine
