#include "platform/engine/stream_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>
#include <thread>

#include "tests/unit/platform/engine/streams.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

// How many descriptors of this process lead to the file.
int OpenHere(const std::string& path) {
  int count = 0;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    count += fs::read_symlink(entry.path(), error) == path ? 1 : 0;
  }
  return count;
}

class StreamFolderTest : public StreamsTest {
 protected:
  void SetUp() override {
    StreamsTest::SetUp();
    id_ = Prepare();
    ASSERT_FALSE(id_.empty());
  }

  StreamFolder Folder() const { return StreamFolder::Open("HLS", id_).value(); }

  std::string id_;
};

TEST_F(StreamFolderTest, IsFoundByTypeAndId) {
  EXPECT_EQ(Folder().StreamId(), id_);
  EXPECT_EQ(Folder().Path("plan.json"), FolderOf(id_) + "/plan.json");
  EXPECT_EQ(Folder().WorkPath("3.ts"), WorkFolderOf(id_) + "/3.ts");
}

TEST_F(StreamFolderTest, IsNothingForOtherNames) {
  for (const std::string& id : {std::string(), std::string("."), std::string(".."), id_ + "/",
                                "../HLS/" + id_, id_.substr(1), id_ + "a", LinkOf(id_)}) {
    EXPECT_FALSE(StreamFolder::Open("HLS", id)) << id;
  }
  for (const char* type : {"", "hls", "SS", "HLS/", ".", "../Kinora/HLS"}) {
    EXPECT_FALSE(StreamFolder::Open(type, id_)) << type;
  }
}

TEST_F(StreamFolderTest, IsNothingWhenTheLinkHasBeenBent) {
  const std::string elsewhere = std::string(system::kVar) + "/elsewhere/HLS/" + id_;
  fs::create_directories(elsewhere);
  fs::remove(LinkOf(id_));
  fs::create_directory_symlink(elsewhere, LinkOf(id_));
  EXPECT_FALSE(StreamFolder::Open("HLS", id_));
  WriteText(elsewhere + "/precious", "text");
  EXPECT_TRUE(RemoveStream("HLS", id_));
  EXPECT_FALSE(IsThere(LinkOf(id_)));
  EXPECT_TRUE(IsThere(elsewhere + "/precious"));
  fs::remove_all(std::string(system::kVar) + "/elsewhere");
}

TEST_F(StreamFolderTest, IsNothingWhenAPlainFolderStandsForTheLink) {
  fs::remove(LinkOf(id_));
  fs::create_directory(LinkOf(id_));
  EXPECT_FALSE(StreamFolder::Open("HLS", id_));
}

TEST_F(StreamFolderTest, IsNothingWhenTheFolderIsALinkItself) {
  fs::rename(FolderOf(id_), FolderOf(id_) + ".moved");
  fs::create_directory_symlink(FolderOf(id_) + ".moved", FolderOf(id_));
  EXPECT_FALSE(StreamFolder::Open("HLS", id_));
}

TEST_F(StreamFolderTest, GivesBackWhatWasWritten) {
  const std::string text("one\0two\n", 8);
  Folder().Write("record", text);
  EXPECT_EQ(Folder().Read("record"), text);
  Folder().Write("record", "");
  EXPECT_EQ(Folder().Read("record"), "");
  EXPECT_EQ(Folder().Read("missing"), std::nullopt);
}

TEST_F(StreamFolderTest, ReadsPlainFilesAlone) {
  const StreamFolder folder = Folder();
  folder.Write("record", "text");
  fs::create_symlink(folder.Path("record"), folder.Path("link"));
  fs::create_directory(folder.Path("directory"));
  ASSERT_EQ(::mkfifo(folder.Path("pipe").c_str(), 0600), 0);
  WriteText(folder.Path("long"), "");
  fs::resize_file(folder.Path("long"), (16U << 20) + 1);
  for (const char* name : {"link", "directory", "pipe", "long"}) {
    EXPECT_EQ(folder.Read(name), std::nullopt) << name;
  }
}

TEST_F(StreamFolderTest, SaysSoWhenItCannotWrite) {
  const StreamFolder folder = Folder();
  ASSERT_TRUE(RemoveStream("HLS", id_));
  EXPECT_THROW(folder.Write("record", "text"), std::system_error);
  EXPECT_THROW(folder.MakeWorkFolder(), std::system_error);
  EXPECT_FALSE(folder.Lock());
}

TEST_F(StreamFolderTest, HasAClosedWorkFolder) {
  Folder().MakeWorkFolder();
  struct stat status {};
  ASSERT_EQ(::lstat(Folder().Path("work").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, S_IFDIR | 0700U);
  EXPECT_THROW(Folder().MakeWorkFolder(), std::system_error);
}

TEST_F(StreamFolderTest, IsLockedByOneAtATime) {
  const StreamFolder folder = Folder();
  base::Descriptor held = folder.Lock();
  ASSERT_TRUE(held);
  const base::Descriptor other(::open(folder.Path("lock").c_str(), O_RDWR | O_CLOEXEC));
  EXPECT_NE(::flock(other.Get(), LOCK_EX | LOCK_NB), 0);
  held.Reset();
  EXPECT_EQ(::flock(other.Get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(StreamFolderTest, IsNotLockedByWhoWaitedUntilItWasGone) {
  const StreamFolder folder = Folder();
  base::Descriptor held = folder.Lock();
  ASSERT_TRUE(held);
  bool got = true;
  std::thread waiter([&] { got = static_cast<bool>(folder.Lock()); });
  while (OpenHere(folder.Path("lock")) < 2) std::this_thread::yield();
  EXPECT_TRUE(RemoveStream("HLS", id_));
  held.Reset();
  waiter.join();
  EXPECT_FALSE(got);
}

TEST_F(StreamFolderTest, IsRemovedWithAllItHolds) {
  const StreamFolder folder = Folder();
  folder.MakeWorkFolder();
  WriteText(folder.WorkPath("0.ts"), "bytes");
  const std::string precious = std::string(system::kVar) + "/precious";
  WriteText(precious, "text");
  fs::create_symlink(precious, folder.WorkPath("1.ts"));
  fs::create_directory_symlink(system::kVar, folder.Path("var"));
  EXPECT_TRUE(RemoveStream("HLS", id_));
  ExpectNothingLeft();
  EXPECT_TRUE(IsThere(precious));
  fs::remove(precious);
}

TEST_F(StreamFolderTest, IsRemovedInAnyState) {
  fs::remove_all(FolderOf(id_));  // the link leads nowhere
  EXPECT_TRUE(RemoveStream("HLS", id_));
  EXPECT_FALSE(IsThere(LinkOf(id_)));
  EXPECT_TRUE(RemoveStream("HLS", id_));  // gone
  EXPECT_TRUE(RemoveStream("HLS", "no id"));
  EXPECT_TRUE(RemoveStream("../HLS", id_));
  EXPECT_TRUE(RemoveStream("SS", id_));  // not even the type's folder
}

TEST_F(StreamFolderTest, IsRemovedByManyAtOnce) {
  for (int round = 0; round < 20; ++round) {
    const std::string id = Prepare();
    const StreamFolder folder = StreamFolder::Open("HLS", id).value();
    folder.MakeWorkFolder();
    for (int i = 0; i < 50; ++i) WriteText(folder.WorkPath(std::to_string(i) + ".ts"), "bytes");
    bool first = false;
    bool second = false;
    std::thread other([&] { first = RemoveStream("HLS", id); });
    second = RemoveStream("HLS", id);
    other.join();
    EXPECT_TRUE(first && second);
    EXPECT_FALSE(IsThere(LinkOf(id)) || IsThere(FolderOf(id)));
  }
}

}  // namespace
}  // namespace kinora::engine
