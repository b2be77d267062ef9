#include "platform/base/atomic_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace kinora::base {
namespace {

namespace fs = std::filesystem;

class AtomicFileTest : public testing::Test {
 protected:
  AtomicFileTest() {
    std::string name = testing::TempDir() + "atomic-XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  ~AtomicFileTest() override { fs::remove_all(folder_); }

  std::string Content(const std::string& name) const {
    std::ifstream in(folder_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  long EntryCount() const { return std::distance(fs::directory_iterator(folder_), fs::directory_iterator()); }

  fs::path folder_;
};

TEST_F(AtomicFileTest, ReplacesTheOldContentAtCommitAndNotBefore) {
  WriteFileAtomically(folder_ / "a", "old", 0600);
  AtomicFile file(folder_ / "a", 0640);
  file.Write("new");
  EXPECT_EQ(Content("a"), "old");
  file.Commit();
  EXPECT_EQ(Content("a"), "new");
  struct stat info {};
  ASSERT_EQ(::stat((folder_ / "a").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640U);
  EXPECT_EQ(EntryCount(), 1);
}

TEST_F(AtomicFileTest, LeavesNothingBehindWithoutCommit) {
  {
    AtomicFile file(folder_ / "a", 0600);
    file.Write("half");
  }
  EXPECT_EQ(EntryCount(), 0);
}

TEST_F(AtomicFileTest, ThrowsWhenTheFolderIsMissing) {
  EXPECT_THROW(WriteFileAtomically(folder_ / "missing" / "a", "x", 0600), std::system_error);
}

TEST_F(AtomicFileTest, HasItsScratchRemovedAfterAWriterThatWasKilled) {
  for (const char* name : {"a", "a.X1y2Z3", "a.log", "b.X1y2Z3", "a.X1y2Z3.jpg"}) {
    std::ofstream(folder_ / name) << name;
  }
  RemoveScratchOf(folder_ / "a");
  EXPECT_FALSE(fs::exists(folder_ / "a.X1y2Z3"));
  EXPECT_EQ(EntryCount(), 4) << "nobody else's";
  RemoveScratchOf(folder_ / "missing" / "a");
}

}  // namespace
}  // namespace kinora::base
