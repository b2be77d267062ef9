// A stream's job with the real supervisor and, mostly, the real encoder.
#include "platform/engine/job.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "tests/unit/platform/engine/jobs.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

using testing::Each;
using testing::IsEmpty;

TEST_F(JobTest, MakesTheFilmFromBeginningToEnd) {
  plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/encode_25.mkv", "mkv", 12);
  for (int n = 0; n < plan_.grid.Count(); ++n) ASSERT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  EXPECT_TRUE(Eventually([this] { return IsOver(); }));
  EXPECT_EQ(Record().end, "done");
  EXPECT_EQ(Record().first, 0) << "one run made them all";
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(JobTest, StopsWhenItIsFarEnoughAheadAndGoesOnWithTheViewer) {
  Settings("run_ahead_seconds=\"10\"\n");
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  EXPECT_TRUE(Eventually([this] { return LookAtJob(Folder()).stopped; }));
  EXPECT_TRUE(LookAtJob(Folder()).running);
  EXPECT_EQ(LookAtJob(Folder()).newest, 3) << "at 11 seconds";
  const int encoder = LookAtJob(Folder()).pid;
  for (int n = 1; n < plan_.grid.Count(); ++n) {
    ASSERT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
    ASSERT_EQ(Record().encoder.pid, encoder) << "nobody else has been started";
  }
}

TEST_F(JobTest, EndsWhenNobodyAsksAnyMoreAndComesBack) {
  Settings("run_ahead_seconds=\"10\"\nidle_seconds=\"1\"\n");
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  const pid_t encoder = Record().encoder.pid;
  EXPECT_TRUE(Eventually([this] { return IsOver(); }));
  EXPECT_EQ(Record().end, "idle");
  EXPECT_FALSE(IsProcess(encoder));
  EXPECT_EQ(Prepare1(Record().newest + 1), FragmentOutcome::kReady);
}

TEST_F(JobTest, IsTakenToWhereTheViewerIs) {
  Settings("run_ahead_seconds=\"10\"\n");
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  const std::string first = BytesOf(FragmentPath(Folder(), 0));
  ASSERT_TRUE(Eventually([this] { return LookAtJob(Folder()).stopped; }));
  ASSERT_EQ(Prepare1(12), FragmentOutcome::kReady);
  EXPECT_EQ(Record().first, 12);
  EXPECT_LE(CountJobs(), 1);
  ASSERT_EQ(Prepare1(8), FragmentOutcome::kReady);
  EXPECT_EQ(Record().last, 11) << "what is there is not made again";
  EXPECT_EQ(BytesOf(FragmentPath(Folder(), 0)), first);
}

TEST_F(JobTest, ServesManyRequestsWithOneEncoder) {
  std::vector<std::thread> requests;
  std::vector<FragmentOutcome> outcomes(20, FragmentOutcome::kFailed);
  for (FragmentOutcome& outcome : outcomes) requests.emplace_back([&] { outcome = Prepare1(1); });
  for (std::thread& request : requests) request.join();
  EXPECT_THAT(outcomes, Each(FragmentOutcome::kReady));
  EXPECT_EQ(Record().tries, 1);
  EXPECT_EQ(Record().first, 1);
}

TEST_F(JobTest, ServesAPlayerThatAsksForTheWholeFilmAtOnce) {
  std::vector<std::thread> requests;
  std::vector<FragmentOutcome> outcomes(static_cast<size_t>(plan_.grid.Count()), FragmentOutcome::kFailed);
  for (size_t i = 0; i < outcomes.size(); ++i) {
    requests.emplace_back([&, i] { outcomes[i] = Prepare1(static_cast<int>(i)); });
  }
  for (std::thread& request : requests) request.join();
  EXPECT_THAT(outcomes, Each(FragmentOutcome::kReady));
}

TEST_F(JobTest, IsNotTakenAwayFromThoseWhoWait) {
  Settings("run_ahead_seconds=\"10\"\n");
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  ASSERT_TRUE(Eventually([this] { return LookAtJob(Folder()).stopped; }));
  const int encoder = Record().encoder.pid;
  const base::Descriptor waiting = WaitForJob(Folder());
  ASSERT_TRUE(waiting);
  EXPECT_EQ(Prepare1(16), FragmentOutcome::kReady);
  EXPECT_EQ(Record().encoder.pid, encoder) << "it has come there by itself";
}

TEST_F(JobTest, GoesOnForThoseWhoWaitWhenTheViewerHasLeftItsRun) {
  Settings("run_ahead_seconds=\"10\"\n");
  ASSERT_EQ(Prepare1(12), FragmentOutcome::kReady);
  ASSERT_EQ(Prepare1(4), FragmentOutcome::kReady);
  ASSERT_TRUE(Eventually([this] { return LookAtJob(Folder()).stopped; }));
  ASSERT_EQ(Record().last, 11);
  const base::Descriptor waiting = WaitForJob(Folder());
  NoteWanted(Folder(), 20);
  EXPECT_TRUE(Eventually([this] { return IsOver(); }));
  EXPECT_EQ(Record().end, "done");
}

TEST_F(JobTest, IsFollowedByAnotherWhenItsSupervisorIsKilled) {
  Settings("run_ahead_seconds=\"10\"\n");
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  ASSERT_TRUE(Eventually([this] { return LookAtJob(Folder()).stopped; }));
  const JobRecord killed = Record();
  ASSERT_EQ(::kill(killed.supervisor.pid, SIGKILL), 0);
  EXPECT_TRUE(Eventually([&] { return !IsProcess(killed.encoder.pid); })) << "the encoder dies with it";
  EXPECT_TRUE(Eventually([this] { return IsOver(); }));
  for (int n = 0; n < plan_.grid.Count(); ++n) EXPECT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  EXPECT_TRUE(Eventually([this] { return IsOver(); }));
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(JobTest, IsFollowedByAnotherWhenItsEncoderIsKilled) {
  Settings("run_ahead_seconds=\"10\"\n");
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  ASSERT_TRUE(Eventually([this] { return LookAtJob(Folder()).stopped; }));
  const int newest = Record().newest;
  ASSERT_EQ(::kill(Record().encoder.pid, SIGKILL), 0);
  for (int n = newest + 1; n < plan_.grid.Count(); ++n) EXPECT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
}

TEST_F(JobTest, IsNotMistakenForAProcessWithTheSameNumber) {
  JobRecord forged;
  forged.boot = BootId();
  forged.supervisor = {::getpid(), 1};
  forged.first = 3;
  forged.last = 4;
  WriteJobRecord(Folder(), forged);
  EXPECT_FALSE(LookAtJob(Folder()).running);
  EXPECT_TRUE(EndJob(Folder()));
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kReady);
}

TEST_F(JobTest, IsNotFooledByATornRecord) {
  for (const char* text : {"", "{", "[]", "{\"version\":1}"}) {
    WriteText(Folder().WorkPath("job.json"), text);
    EXPECT_FALSE(LookAtJob(Folder()).running) << text;
  }
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kReady);
}

TEST_F(JobTest, EndsAndIsFollowedAlsoWhenItsRecordIsTorn) {
  Settings("run_ahead_seconds=\"10\"\n");
  for (const std::string& text : {std::string(), std::string("{\"version\":1,"), std::string(4096, '\0')}) {
    ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
    ASSERT_TRUE(Eventually([this] { return LookAtJob(Folder()).stopped; }));
    const JobRecord job = Record();
    WriteText(Folder().WorkPath("job.json"), text);
    EXPECT_TRUE(EndJob(Folder()));
    EXPECT_FALSE(IsProcess(job.encoder.pid));
    EXPECT_THAT(Leftovers(), IsEmpty());
    for (const int n : PresentFragments(Folder())) fs::remove(FragmentPath(Folder(), n));
  }
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kReady);
}

TEST_F(JobTest, EndsWhenAskedTo) {
  Settings("run_ahead_seconds=\"10\"\n");
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  const JobRecord job = Record();
  EXPECT_TRUE(EndJob(Folder()));
  EXPECT_FALSE(IsProcess(job.encoder.pid));
  EXPECT_THAT(Leftovers(), IsEmpty());
  EXPECT_TRUE(EndJob(Folder())) << "there is none";
}

TEST_F(JobTest, EndsWithItsFolder) {
  Settings("run_ahead_seconds=\"10\"\n");
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  ASSERT_TRUE(Eventually([this] { return LookAtJob(Folder()).stopped; }));
  const JobRecord job = Record();
  fs::remove_all(Folder().Path("work"));
  EXPECT_TRUE(Eventually([&] { return !IsProcess(job.encoder.pid) && !IsProcess(job.supervisor.pid); }));
}

TEST_F(JobTest, KeepsToTheNumberThatIsAllowed) {
  Settings("run_ahead_seconds=\"10\"\njobs=\"1\"\n");
  ASSERT_EQ(Prepare1(0), FragmentOutcome::kReady);
  ASSERT_TRUE(Eventually([this] { return LookAtJob(Folder()).stopped; }));
  EXPECT_EQ(CountJobs(), 1);
  const std::string busy = id_;
  id_ = NewStream();
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kNoJob);
  // Its viewer has left.
  const StreamFolder other = StreamFolder::Open("HLS", busy).value();
  fs::last_write_time(other.WorkPath("wanted"), fs::file_time_type::clock::now() - std::chrono::minutes(1));
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kReady);
  EXPECT_FALSE(LookAtJob(other).running);
}

TEST_F(JobTest, KeepsToItsQuota) {
  constexpr uintmax_t kQuota = 1'000'000;
  Settings("stream_quota=\"" + std::to_string(kQuota) + "\"\n");
  plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/h264_aac.mp4", "mp4", 20);
  for (int n = 0; n < plan_.grid.Count(); ++n) {
    ASSERT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
    uintmax_t total = 0;
    for (const auto& entry : fs::directory_iterator(Folder().WorkPath("."))) {
      std::error_code gone;
      const uintmax_t size = fs::file_size(entry.path(), gone);
      if (!gone && entry.path().extension() == ".ts") total += size;
    }
    EXPECT_LE(total, kQuota) << n;
    EXPECT_TRUE(Has(n));
    EXPECT_EQ(Record().first, 0) << "nothing is encoded twice";
  }
  EXPECT_FALSE(Has(0)) << "the test says nothing when all of the film fits";
}

TEST_F(JobTest, RefusesASourceThatIsAnotherFileNow) {
  plan_.source.identity.size += 1;
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kGone);
  plan_.source.identity.path = "/nowhere/film.mkv";
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kGone);
  EXPECT_FALSE(LookAtJob(Folder()).running);
}

TEST_F(JobTest, FailsWithoutAStormWhenTheSourceCannotBeDecoded) {
  const std::string path = std::string(system::kVar) + "/noise.mkv";
  WriteText(path, std::string(100'000, 'x'));
  plan_.source.identity = IdentityOf(path);
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kFailed);
  EXPECT_EQ(Record().tries, 2);
  EXPECT_EQ(Record().end, "failed");
  EXPECT_NE(Record().words, "");
  EXPECT_FALSE(LookAtJob(Folder()).running);
  fs::remove(path);
}

TEST_F(JobTest, GoesOnInSoftwareWhenTheHardwareFails) {
  plan_.hardware = true;
  for (int n = 0; n < plan_.grid.Count(); ++n) ASSERT_EQ(Prepare1(n), FragmentOutcome::kReady) << n;
  EXPECT_FALSE(Record().hardware);
  EXPECT_EQ(Folder().Read("software"), "");
}

TEST_F(JobTest, EndsAtTheFloorOfFreeSpace) {
  Settings("");
  WriteText(system::kSettingsFile, "free_space_floor=\"1000000000000000\"\n");
  EXPECT_EQ(Prepare1(0), FragmentOutcome::kNoSpace);
  EXPECT_FALSE(Has(0));
  EXPECT_FALSE(LookAtJob(Folder()).running);
}

}  // namespace
}  // namespace kinora::engine
