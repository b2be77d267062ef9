// What is found to be wrong with a stream that was planned: with folders in the real workspace.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "contract/engine/vte_stream.h"
#include "entry/stream_faults.h"
#include "platform/engine/source_traits.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_plan.h"
#include "platform/system/places.h"

using namespace kinora;
using entry::StreamFaults;
using LibCrvnVTE::VTEStream;
namespace fs = std::filesystem;

namespace {

// A stream of three fragments, with an audio track 2 of its own, whose film is a few bytes.
class PlannedStream : public testing::Test {
 protected:
  explicit PlannedStream(const char* type) : type_(type) {}

  void SetUp() override {
    std::string name = testing::TempDir() + "faults-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    film_ = fs::path(name) / "film.mkv";
    std::ofstream(film_) << "a film";
    fs::create_directories(fs::path(system::kWorkspace) / type_);
    id_ = VTEStream::GetRandStreamID(film_);
    ASSERT_TRUE(VTEStream::GetVolTmpAndSymlink(1 << 20, id_, type_));
    engine::StreamFolder::Open(type_, id_)->MakeWorkFolder();
    Plan(engine::VideoWay::kCopy);
  }
  void TearDown() override {
    engine::RemoveStream(type_, id_);
    fs::remove_all(film_.parent_path());
  }

  void Plan(engine::VideoWay way) const {
    engine::StreamPlan plan;
    plan.source.identity = *engine::IdentifySource(film_);
    plan.delivery = type_ == "SS" ? engine::Delivery::kSmooth : engine::Delivery::kHls;
    plan.video = way;
    plan.profile.video_bitrate = 1'500'000;
    plan.source.video.track = 0;
    plan.picture.frame_rate = 25;
    if (type_ == "SS") plan.picture.parameter_sets = "0000000167000000000168";
    plan.grid.unit = {1, 25};
    plan.grid.boundaries = {0, 50, 100, 150};
    engine::AudioPlan audio;
    audio.track = 2;
    audio.codec = "ac3";  // so that it is a rendition of its own
    audio.name = "2";
    audio.is_default = true;
    audio.frequency = 48'000;
    audio.bitrate = 128'000;
    plan.audio = {audio};
    engine::StreamFolder::Open(type_, id_)->Write("plan.json", engine::ToJsonText(plan));
  }

  const std::string type_;
  fs::path film_;
  std::string id_;
};

bool IsWell(const StreamFaults& faults) { return faults == StreamFaults(); }

class AdaptiveFaults : public PlannedStream {
 protected:
  AdaptiveFaults() : PlannedStream("HLS") {}
  StreamFaults Find(const std::string& fragment, const system::Settings& settings = {}) const {
    return entry::FindAdaptiveFaults("HLS", id_, fragment, settings);
  }
};

class SmoothFaults : public PlannedStream {
 protected:
  SmoothFaults() : PlannedStream("SS") {}
  StreamFaults Find(const std::string& fragment, const system::Settings& settings = {}) const {
    return entry::FindAdaptiveFaults("SS", id_, fragment, settings);
  }
};

// A film of six seconds.
class LiveFaults : public PlannedStream {
 protected:
  LiveFaults() : PlannedStream("WEBM") {}
  StreamFaults Find(int64_t seek, const system::Settings& settings = {}) const {
    return entry::FindLiveFaults(id_, seek, settings);
  }
};

constexpr char kPicture[] = "QualityLevels(1500000)/Fragments(video=20000000)";
constexpr char kSound[] = "QualityLevels(128000)/Fragments(audio_2=0)";

}  // namespace

TEST_F(AdaptiveFaults, AreNoneOfPartsOfAStreamThatIsWell) {
  for (const char* part : {"0", "2", "a2_0", "a2_2"}) EXPECT_TRUE(IsWell(Find(part))) << part;
  Plan(engine::VideoWay::kEncode);
  for (const char* part : {"0", "2", "a2_0", "a2_2"}) EXPECT_TRUE(IsWell(Find(part))) << part;
}

TEST_F(AdaptiveFaults, NameUnknownParts) {
  for (const char* part : {"", "3", "999999", "1000000", "00", "a2_3", "a1_0", "a77_0", "x", "work"})
    EXPECT_TRUE(Find(part).part_unknown) << part;
}

TEST_F(AdaptiveFaults, NameAStreamThatIsGoneOrHasNoPlan) {
  std::ofstream(engine::StreamFolder::Open("HLS", id_)->Path("plan.json"), std::ios::trunc) << "{";
  EXPECT_TRUE(Find("0").stream_gone);
  EXPECT_TRUE(entry::FindAdaptiveFaults("SS", id_, "0", {}).stream_gone);
  EXPECT_TRUE(entry::FindAdaptiveFaults("HLS", "../HLS", "0", {}).stream_gone);
  engine::RemoveStream("HLS", id_);
  EXPECT_TRUE(Find("0").stream_gone);
}

TEST_F(AdaptiveFaults, TellAGoneFilmFromAnother) {
  fs::rename(film_, film_.string() + ".aside");
  EXPECT_TRUE(Find("0").source_gone);
  EXPECT_FALSE(Find("0").source_replaced);
  fs::copy_file(film_.string() + ".aside", film_);
  EXPECT_TRUE(Find("0").source_replaced);
  fs::remove(film_);
  fs::create_directory(film_);
  EXPECT_TRUE(Find("0").source_replaced) << "a folder";
  fs::remove(film_);
  fs::rename(film_.string() + ".aside", film_);
  EXPECT_TRUE(IsWell(Find("0")));
}

TEST_F(AdaptiveFaults, NameAFullVolume) {
  system::Settings settings;
  settings.free_space_floor = UINT64_MAX;
  EXPECT_TRUE(Find("0", settings).volume_full);
}

TEST_F(AdaptiveFaults, NameTakenJobsOnlyWhereOneIsNeeded) {
  system::Settings settings;
  settings.jobs = 0;  // nobody is at work, and that is as many as may be
  EXPECT_FALSE(Find("0", settings).jobs_taken) << "copied";
  Plan(engine::VideoWay::kEncode);
  EXPECT_TRUE(Find("0", settings).jobs_taken);
  EXPECT_FALSE(Find("0", settings).not_ready);
  EXPECT_FALSE(Find("a2_0", settings).jobs_taken) << "sound of its own needs no job";
}

TEST_F(SmoothFaults, AreNoneOfChunksOfAStreamThatIsWell) {
  Plan(engine::VideoWay::kEncode);
  for (const char* part : {kPicture, kSound}) EXPECT_TRUE(IsWell(Find(part))) << part;
}

TEST_F(SmoothFaults, NameUnknownChunks) {
  for (const char* part :
       {"", "0", "a2_0", "QualityLevels(1500000)/Fragments(video=1)",
        "QualityLevels(1500000)/Fragments(video=60000000)", "QualityLevels(1499999)/Fragments(video=0)",
        "QualityLevels(128000)/Fragments(audio_1=0)", "QualityLevels(128000)/Fragments(audio_2=1)"}) {
    EXPECT_TRUE(Find(part).part_unknown) << part;
  }
}

TEST_F(SmoothFaults, NameTakenJobsOnlyWhereOneIsNeeded) {
  system::Settings settings;
  settings.jobs = 0;
  Plan(engine::VideoWay::kEncode);
  EXPECT_TRUE(Find(kPicture, settings).jobs_taken);
  EXPECT_FALSE(Find(kSound, settings).jobs_taken) << "sound of its own needs no job";
}

TEST_F(LiveFaults, AreNoneOfAStreamThatIsWell) {
  for (const int64_t seek : {0, 5}) EXPECT_TRUE(IsWell(Find(seek))) << seek;
}

TEST_F(LiveFaults, NameTimesBehindTheFilmsEnd) {
  for (const int64_t seek : {6, 7, INT32_MAX}) EXPECT_TRUE(Find(seek).part_unknown) << seek;
}

TEST_F(LiveFaults, NameAStreamThatIsGoneOrHasNoPlan) {
  std::ofstream(engine::StreamFolder::Open("WEBM", id_)->Path("plan.json"), std::ios::trunc) << "{";
  EXPECT_TRUE(Find(0).stream_gone);
  EXPECT_TRUE(entry::FindLiveFaults("../HLS", 0, {}).stream_gone);
  engine::RemoveStream("WEBM", id_);
  EXPECT_TRUE(Find(0).stream_gone);
}

TEST_F(LiveFaults, TellAGoneFilmFromAnother) {
  fs::rename(film_, film_.string() + ".aside");
  EXPECT_TRUE(Find(0).source_gone);
  fs::copy_file(film_.string() + ".aside", film_);
  EXPECT_TRUE(Find(0).source_replaced);
}

TEST_F(LiveFaults, NameTakenJobsWhateverIsCopied) {
  system::Settings settings;
  settings.jobs = 0;
  EXPECT_TRUE(Find(0, settings).jobs_taken);
}
