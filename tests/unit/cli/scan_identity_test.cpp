// Who a scan is, seen from what it leaves behind.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/system/places.h"

namespace kinora::cli {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kService = 65534;  // nobody, on every Debian machine

uid_t OwnerOf(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
  return info.st_uid;
}

TEST(ScanCommand, LeavesNothingOfRootsToTheService) {
  const char* const places = std::getenv("KINORA_PLACES");
  if (places == nullptr || std::string(places) == "user" || ::geteuid() != 0) {
    GTEST_SKIP() << "root with two identities is needed";
  }
  fs::create_directories(fs::path(system::kSettingsFile).parent_path());
  std::ofstream(system::kSettingsFile) << "account=\"nobody\"\n";
  fs::create_directories(system::kVar);
  ASSERT_EQ(::chown(system::kVar, kService, kService), 0);
  EXPECT_EQ(std::system(KINORA_PROGRAM " scan >/dev/null"), 0);
  for (const std::string& left : {std::string(system::kDatabaseFile), system::InVar("run"),
                                  system::InVar("run/scan.lock"), system::InVar("scan.json")}) {
    EXPECT_EQ(OwnerOf(left), kService) << left;
  }
  fs::remove(system::kSettingsFile);
}

}  // namespace
}  // namespace kinora::cli
