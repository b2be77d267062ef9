#include "contract/system/fileop.h"

#include <gtest/gtest.h>
#include <utime.h>

#include <filesystem>
#include <fstream>

namespace {

using libkn::critical::fileop::CheckFileAndGetMtime;

TEST(CheckFileAndGetMtime, TellsTheTimeOfAFile) {
  std::string folder = testing::TempDir() + "fileop-XXXXXX";
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  const std::string file = folder + "/file";
  std::ofstream(file) << "x";
  const utimbuf times{1, 1'234'567'890};
  ASSERT_EQ(::utime(file.c_str(), &times), 0);
  std::filesystem::create_symlink(file, folder + "/link");
  for (const std::string& path : {file, folder + "/link"}) {
    time_t mtime = 0;
    EXPECT_TRUE(CheckFileAndGetMtime(path, mtime)) << path;
    EXPECT_EQ(mtime, 1'234'567'890) << path;
  }
  for (const std::string& path : {folder, folder + "/missing", file + "/below", std::string()}) {
    time_t mtime = 42;
    EXPECT_FALSE(CheckFileAndGetMtime(path, mtime)) << path;
    EXPECT_EQ(mtime, 42) << path;
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
