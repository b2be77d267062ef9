#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "entry/stream_faults.h"
#include "entry/stream_owner.h"

using namespace kinora::entry;
namespace fs = std::filesystem;

namespace {

class StreamFiles : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "stream-files-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { fs::remove_all(folder_); }

  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(folder_ / name) << text;
  }
  // What is wrong with a stream whose record names this film.
  StreamFaults FaultsFor(const std::string& film) const {
    Write("filepath", film);
    return FindRawFaults(folder_ / "filepath");
  }

  fs::path folder_;
};

using StreamOwner = StreamFiles;
using RawFaults = StreamFiles;

}  // namespace

TEST(IsStreamId, TakesLettersAndDigitsOnly) {
  EXPECT_TRUE(IsStreamId("abcdefghABCDEFGH0123456789"));
  for (const std::string& id : {std::string(), std::string("short"), std::string(129, 'a'),
                                std::string("../../../../etc/passwd"), std::string("abcdefghabcdefgh/"),
                                std::string("abcdefghabcdefg\0h", 17), std::string("abcdefgh abcdefgh")}) {
    EXPECT_FALSE(IsStreamId(id)) << id;
  }
}

TEST_F(StreamOwner, IsWhoWasRecorded) {
  RecordOwner(folder_, 7);
  EXPECT_EQ(OwnerOf(folder_), 7);
  RecordOwner(folder_, 2147483647);
  EXPECT_EQ(OwnerOf(folder_), 2147483647);
  EXPECT_EQ(fs::status(folder_ / "owner").permissions(), fs::perms(0600));
}

TEST_F(StreamOwner, IsNobodyWhereTheRecordIsNone) {
  EXPECT_EQ(OwnerOf(folder_), std::nullopt);
  EXPECT_EQ(OwnerOf(folder_ / "missing"), std::nullopt);
  for (const char* text : {"", "0", "-1", "01", "1 ", "1\n", "x", "2147483648", "1111111111111111"}) {
    Write("owner", text);
    EXPECT_EQ(OwnerOf(folder_), std::nullopt) << text;
  }
  Write("elsewhere", "7");
  fs::remove(folder_ / "owner");
  fs::create_symlink(folder_ / "elsewhere", folder_ / "owner");
  EXPECT_EQ(OwnerOf(folder_), std::nullopt) << "a link is not followed";
}

TEST_F(StreamOwner, ThatCannotBeRecordedIsAnError) {
  EXPECT_THROW(RecordOwner(folder_ / "missing", 7), std::system_error);
}

TEST_F(RawFaults, TellAGoneStreamFromAGoneFilm) {
  EXPECT_TRUE(FindRawFaults(folder_ / "no record").stream_gone);
  EXPECT_TRUE(FaultsFor("").stream_gone);
  fs::create_symlink(folder_ / "loop", folder_ / "loop");
  for (const char* film : {"missing", "filepath/below a file", "loop"}) {
    const StreamFaults faults = FaultsFor(folder_ / film);
    EXPECT_TRUE(faults.source_gone) << film;
    EXPECT_FALSE(faults.stream_gone || faults.source_unreadable || faults.exhausted) << film;
  }
}

TEST_F(RawFaults, SayThatTheFilmCannotBeRead) {
  constexpr uid_t kNobody = 65534;
  Write("film", "bytes");
  Write("filepath", folder_ / "film");
  fs::permissions(folder_, fs::perms(0755));
  fs::permissions(folder_ / "film", fs::perms::none);
  const bool root = geteuid() == 0;  // reads everything
  if (root && seteuid(kNobody) != 0) GTEST_SKIP() << "one identity only";
  const StreamFaults faults = FindRawFaults(folder_ / "filepath");
  ASSERT_EQ(seteuid(root ? 0 : geteuid()), 0);
  EXPECT_TRUE(faults.source_unreadable);
}

TEST_F(RawFaults, AreNoneWhereTheFilmIsWell) {
  Write("film", "bytes");
  const StreamFaults faults = FaultsFor(folder_ / "film");
  EXPECT_FALSE(faults.stream_gone || faults.source_gone || faults.source_unreadable || faults.exhausted);
}
