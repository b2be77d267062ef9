#include "platform/system/scratch_sweep.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/base/file_time.h"

using namespace kinora;
namespace fs = std::filesystem;

namespace {

class ScratchSweep : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "scratch-sweep-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { fs::remove_all(folder_); }

  fs::path Make(const std::string& name, std::chrono::minutes age) const {
    std::ofstream(folder_ / name) << "text";
    fs::last_write_time(folder_ / name, fs::file_time_type::clock::now() - age);
    return folder_ / name;
  }
  void Sweep() const { system::SweepSubtitleScratch(folder_, base::NowInNanoseconds()); }

  fs::path folder_;
};

using std::chrono::minutes;

}  // namespace

TEST_F(ScratchSweep, RemovesWhatNobodyHasWrittenToForAnHour) {
  const fs::path left[] = {Make("CRVNVIDEO_ffmpeg_aB3dE6gH.srt", minutes(61)),
                           Make("CRVNVIDEO_utf8-2_aB3dE6gH.srt.part", minutes(600))};
  const fs::path kept[] = {Make("CRVNVIDEO_ffmpeg_12345678.srt", minutes(59)),
                           Make("CRVNVIDEO_ffmpeg_of_the_future.srt", minutes(-600)),
                           Make("a CRVNVIDEO_ffmpeg_12345678.srt", minutes(600)),
                           Make("other", minutes(600))};
  Sweep();
  for (const fs::path& file : left) EXPECT_FALSE(fs::exists(file)) << file;
  for (const fs::path& file : kept) EXPECT_TRUE(fs::exists(file)) << file;
}

TEST_F(ScratchSweep, LeavesWhatIsNoPlainFile) {
  const fs::path target = Make("target", minutes(600));
  fs::create_symlink(target, folder_ / "CRVNVIDEO_link");
  fs::create_directory(folder_ / "CRVNVIDEO_folder");
  fs::last_write_time(folder_ / "CRVNVIDEO_folder", fs::file_time_type::clock::now() - minutes(600));
  Sweep();
  EXPECT_TRUE(fs::is_symlink(folder_ / "CRVNVIDEO_link"));
  EXPECT_TRUE(fs::exists(folder_ / "CRVNVIDEO_folder"));
  EXPECT_TRUE(fs::exists(target));
}

TEST_F(ScratchSweep, OfAFolderThatIsNotThereDoesNothing) {
  system::SweepSubtitleScratch(folder_ / "missing", base::NowInNanoseconds());
}
