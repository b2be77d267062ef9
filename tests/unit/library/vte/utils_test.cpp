#include "library/vte/utils.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <ctime>

#include "tests/fakes/scripted_test.h"
#include "tests/fakes/standard_output.h"

namespace fs = std::filesystem;

namespace crvnkn::webapi::vte {
namespace {

class WorkspaceFile : public kinora::fakes::ScriptedTest {
 protected:
  WorkspaceFile() {
    char name[] = "/tmp/kinora-utils-XXXXXX";
    folder_ = mkdtemp(name);
  }
  ~WorkspaceFile() override { fs::remove_all(folder_); }
  std::string InFolder(const std::string& name) const { return folder_ / name; }

  fs::path folder_;
};

using JoinPathTest = WorkspaceFile;
using SaveFileTest = WorkspaceFile;
using ReadFileTest = WorkspaceFile;
using RecordAccessStatusTest = WorkspaceFile;
using PrintChromecastHeaderTest = WorkspaceFile;

TEST_F(JoinPathTest, PutsOneSlashBetweenNeighboursAndNothingElse) {
  EXPECT_EQ(JoinPath({}), "");
  EXPECT_EQ(JoinPath({"one"}), "one");
  EXPECT_EQ(JoinPath({"/tmp/Kinora", "HLS"}), "/tmp/Kinora/HLS");
  EXPECT_EQ(JoinPath({"/tmp/Kinora", "RAW", "id", "filepath"}), "/tmp/Kinora/RAW/id/filepath");
  EXPECT_EQ(JoinPath({"/tmp/Kinora", "", "id"}), "/tmp/Kinora//id");
}

TEST_F(SaveFileTest, KeepsEveryByteIncludingNul) {
  const std::string content("a\0b\r\n\xFF", 6);
  EXPECT_TRUE(SaveFile(InFolder("file"), content));
  EXPECT_EQ(fs::file_size(InFolder("file")), 6U);
  std::string read(6, '?');
  FILE* file = std::fopen(InFolder("file").c_str(), "r");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(std::fread(read.data(), 1, 6, file), 6U);
  std::fclose(file);
  EXPECT_EQ(read, content);
}

TEST_F(SaveFileTest, LeavesNothingOfALongerContent) {
  EXPECT_TRUE(SaveFile(InFolder("file"), "a long content"));
  EXPECT_TRUE(SaveFile(InFolder("file"), "short"));
  EXPECT_EQ(ReadFile(InFolder("file")), "short");
  EXPECT_TRUE(SaveFile(InFolder("file"), ""));
  EXPECT_EQ(fs::file_size(InFolder("file")), 0U);
}

TEST_F(SaveFileTest, FailsSilentlyWhenItCannotOpen) {
  EXPECT_FALSE(SaveFile("", "content"));
  EXPECT_FALSE(SaveFile(InFolder("missing/file"), "content"));
  EXPECT_FALSE(SaveFile(folder_, "content"));
  EXPECT_TRUE(fs::is_empty(folder_));
  ExpectLog({});
}

TEST_F(SaveFileTest, DoesNotNoticeAFullDisk) { EXPECT_TRUE(SaveFile("/dev/full", "content")); }

TEST_F(ReadFileTest, GivesAnEmptyTextAndOneLineWhenTheFileIsMissing) {
  EXPECT_EQ(ReadFile(InFolder("missing")), "");
  ExpectLog({"vte/utils:# Failed to open file [" + InFolder("missing") + "]"});
}

TEST_F(ReadFileTest, GivesAnEmptyTextWithoutALineWhenTheFileIsEmpty) {
  ASSERT_TRUE(SaveFile(InFolder("file"), ""));
  EXPECT_EQ(ReadFile(InFolder("file")), "");
  ExpectLog({});
}

TEST_F(ReadFileTest, GivesAnEmptyTextWithoutALineWhenThePathIsEmpty) {
  EXPECT_EQ(ReadFile(""), "");
  ExpectLog({});
}

TEST_F(ReadFileTest, ReadsAtMost2048Bytes) {
  for (const size_t size : {2047U, 2048U, 2049U, 3000U}) {
    const std::string content = std::string(size - 1, 'a') + "z";
    ASSERT_TRUE(SaveFile(InFolder("file"), content));
    EXPECT_EQ(ReadFile(InFolder("file")), content.substr(0, 2048)) << size;
  }
}

TEST_F(ReadFileTest, EndsAtTheFirstNul) {
  ASSERT_TRUE(SaveFile(InFolder("file"), std::string("mp4\0rest", 8)));
  EXPECT_EQ(ReadFile(InFolder("file")), "mp4");
}

TEST_F(RecordAccessStatusTest, WritesTheMarkWithTheCurrentTime) {
  const std::string mark = InFolder("access_status");
  ASSERT_TRUE(SaveFile(mark, "something older and longer"));
  const timespec long_ago[] = {{1000, 0}, {1000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, mark.c_str(), long_ago, 0), 0);

  const time_t before = time(nullptr);
  EXPECT_TRUE(RecordAccessStatus(mark));
  struct stat status;
  ASSERT_EQ(stat(mark.c_str(), &status), 0);
  EXPECT_GE(status.st_mtime, before - 1);  // files are dated by a coarser clock
  EXPECT_LE(status.st_mtime, time(nullptr));
  EXPECT_EQ(status.st_size, 5);
  EXPECT_EQ(ReadFile(mark), "touch");
}

TEST_F(RecordAccessStatusTest, FailsSilentlyWhenItCannotOpen) {
  EXPECT_FALSE(RecordAccessStatus(""));
  EXPECT_FALSE(RecordAccessStatus(InFolder("missing/access_status")));
  EXPECT_TRUE(fs::is_empty(folder_));
  ExpectLog({});
}

TEST_F(PrintChromecastHeaderTest, WritesThreeLinesAtOnceAndLeavesTheBlockOpen) {
  const kinora::fakes::StandardOutput output;
  PrintChromecastHeader();
  EXPECT_EQ(output.TextBeforeFlush(),
            "Access-Control-Allow-Origin: *\r\n"
            "Access-Control-Allow-Methods: GET\r\n"
            "Access-Control-Allow-Headers: origin, x-requested-with, content-type, range\r\n");
}

}  // namespace
}  // namespace crvnkn::webapi::vte
