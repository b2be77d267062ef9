#include "library/subtitle/scratch_file.h"

#include <sys/stat.h>

#include <optional>

#include "tests/fakes/subtitle_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;

class ScratchFileTest : public kinora::fakes::SubtitleTest {
 protected:
  const ScratchFile file_{"utf8-1", ""};
  const fs::path path_ = Scratch("utf8-1");
};

TEST_F(ScratchFileTest, IsReadAndOverwrittenOnceItIsThere) {
  EXPECT_EQ(file_.Path(), path_);
  EXPECT_EQ(file_.Read(), "");
  EXPECT_FALSE(file_.Overwrite("x"));
  EXPECT_FALSE(fs::exists(path_));
  Put(path_, "some\0bytes", std::chrono::hours(0));
  EXPECT_EQ(file_.Read(), "some");
  EXPECT_TRUE(file_.Overwrite("a"));
  EXPECT_EQ(Content(path_), "a");
  EXPECT_TRUE(file_.Overwrite(""));
  EXPECT_EQ(file_.Read(), "");
}

TEST_F(ScratchFileTest, IsNothingButAPlainFile) {
  const fs::path other = PutBeside("other", "somebody's");
  fs::create_symlink(other, path_);
  EXPECT_EQ(file_.Read(), "");
  EXPECT_FALSE(file_.Overwrite("x"));
  EXPECT_EQ(Content(other), "somebody's");
  fs::remove(path_);
  ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
  EXPECT_EQ(file_.Read(), "");
  EXPECT_FALSE(file_.Overwrite("x"));
}

TEST_F(ScratchFileTest, IsNotReadBeyondALimit) {
  Put(path_, "x", std::chrono::hours(0));
  fs::resize_file(path_, (uintmax_t{64} << 20) + 1);
  EXPECT_EQ(file_.Read(), "");
}

TEST_F(ScratchFileTest, GoesWithTheObject) {
  const fs::path path = Scratch("ffmpeg");
  std::optional<ScratchFile> file(std::in_place, "ffmpeg", "srt");
  Put(path, "x", std::chrono::hours(0));
  file.reset();
  EXPECT_FALSE(fs::exists(path));
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
