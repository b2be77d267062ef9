#include "platform/base/folder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace kinora::base {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class FolderTest : public testing::Test {
 protected:
  FolderTest() {
    std::string name = fs::canonical(testing::TempDir()) / "folder-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    fs::create_directories(folder_ / "a" / "b");
    fs::create_directory_symlink(folder_ / "a", folder_ / "link");
    std::ofstream(folder_ / "a" / ".file") << "x";
  }
  ~FolderTest() override { fs::remove_all(folder_); }

  fs::path folder_;
};

TEST(PartsOf, GivesTheNamesOnTheWay) {
  EXPECT_THAT(PartsOf("/"), ElementsAre("/"));
  EXPECT_THAT(PartsOf("/a//b.c/..d/"), ElementsAre("/", "a", "b.c", "..d"));
}

TEST(PartsOf, IsEmptyForWhatIsNoPathToGoBy) {
  for (const std::string& path : {std::string(), std::string("a"), std::string("./a"), std::string("/a/.."),
                                  std::string("/../a"), std::string("/a/./b"), std::string("/a\0b", 4)}) {
    EXPECT_THAT(PartsOf(path), IsEmpty()) << path;
  }
}

TEST_F(FolderTest, IsOpenedThroughNoLink) {
  EXPECT_TRUE(OpenFolderWithoutLinks("/"));
  EXPECT_TRUE(OpenFolderWithoutLinks(folder_ / "a" / "b"));
  for (const char* name : {"link", "link/b", "a/.file"}) {
    EXPECT_FALSE(OpenFolderWithoutLinks(folder_ / name)) << name;
    EXPECT_EQ(errno, ENOTDIR) << name;
  }
  EXPECT_FALSE(OpenFolderWithoutLinks(folder_ / "missing"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(OpenFolderWithoutLinks("a/b"));
  EXPECT_EQ(errno, EINVAL);
}

TEST_F(FolderTest, NamesWhatLiesInIt) {
  EXPECT_THAT(NamesIn(OpenFolderWithoutLinks(folder_ / "a").Get()), UnorderedElementsAre("b", ".file"));
  EXPECT_THAT(NamesIn(OpenFolderWithoutLinks(folder_ / "a" / "b").Get()), IsEmpty());
  EXPECT_THAT(NamesIn(-1), IsEmpty());
}

}  // namespace
}  // namespace kinora::base
