// A stream with a job, and what tests ask about it.
#pragma once

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <set>
#include <thread>

#include "platform/engine/job.h"
#include "platform/engine/job_folder.h"
#include "platform/system/places.h"
#include "tests/unit/platform/engine/encoding.h"
#include "tests/unit/platform/engine/streams.h"

namespace kinora::engine {

inline bool Eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 6000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

inline bool IsProcess(pid_t pid) { return pid > 0 && ::kill(pid, 0) == 0; }

inline std::string BytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class JobTest : public StreamsTest {
 protected:
  void SetUp() override {
    StreamsTest::SetUp();
    id_ = NewStream();
    Settings("");
  }
  void TearDown() override {
    for (const std::string& id : ids_) {
      const std::optional<StreamFolder> folder = StreamFolder::Open("HLS", id);
      if (folder) {
        EXPECT_TRUE(EndJob(*folder));
      }
    }
    StreamsTest::TearDown();
  }

  std::string NewStream() {
    const std::string id = Prepare();
    EXPECT_FALSE(id.empty());
    const StreamFolder folder = StreamFolder::Open("HLS", id).value();
    if (!std::filesystem::exists(folder.WorkPath("."))) folder.MakeWorkFolder();
    ids_.push_back(id);
    return id;
  }

  static void Settings(const std::string& lines) {
    WriteText(system::kSettingsFile, "free_space_floor=\"0\"\n" + lines);
  }

  StreamFolder Folder() const { return StreamFolder::Open("HLS", id_).value(); }
  FragmentOutcome Prepare1(int number) const { return PrepareByJob(Folder(), plan_, number); }
  bool Has(int number) const { return HasFragment(Folder(), number); }
  JobRecord Record() const { return ReadJobRecord(Folder()).value_or(JobRecord{}); }
  bool IsOver() const { return !LookAtJob(Folder()).running; }

  // The names of what is neither a fragment nor one of the job's own files.
  std::vector<std::string> Leftovers() const {
    const std::set<std::string> known = {"wanted", "waiting", "job.json", "job.lock"};
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Folder().WorkPath("."))) {
      const std::string name = entry.path().filename();
      if (!known.contains(name) && entry.path().extension() != ".ts") names.push_back(name);
    }
    return names;
  }

  std::string id_;
  std::vector<std::string> ids_;
  // Seventeen fragments: the film's last picture stays for most of them.
  StreamPlan plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/encode_25.mkv", "mkv", 60);
};

}  // namespace kinora::engine
