// What tests of files of several owners share: an empty folder that has no link in its path, in a view with
// fixed places of its own.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "platform/system/places.h"

namespace kinora::system {

inline constexpr uid_t kAlice = 12345;
inline constexpr gid_t kAlicesGroup = 12346;
inline constexpr uid_t kBob = 23456;
inline constexpr uid_t kService = 65534;  // nobody, on every Debian machine

class TwoIdentitiesTest : public testing::Test {
 protected:
  void SetUp() override {
    // Outside of a view these would be the places of the machine itself.
    if (std::getenv("KINORA_PLACES") == nullptr) GTEST_SKIP() << "run it through tests/with-places";
    std::string name = std::filesystem::canonical(testing::TempDir()) / "films-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    std::filesystem::permissions(folder_, std::filesystem::perms(0755));
  }
  void TearDown() override {
    if (folder_.empty()) return;
    std::filesystem::remove_all(folder_);
    std::filesystem::remove_all(kSidecars);
  }

  // Whether other accounts exist that this process can be.
  static bool HasTwoIdentities() {
    const char* const places = std::getenv("KINORA_PLACES");
    return ::geteuid() == 0 && places != nullptr && std::string(places) != "user";
  }

  // Runs the function in a process of its own with these real, effective and saved ids. False too when there
  // is no becoming them.
  static bool As(uid_t real, uid_t effective, uid_t saved, const std::function<bool()>& function) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      const bool is_root = real == 0 || effective == 0 || saved == 0;
      const bool became = (is_root || ::setresgid(effective, effective, effective) == 0) &&
                          ::setresuid(real, effective, saved) == 0;
      ::_exit(became && function() ? 0 : 1);
    }
    int status = 1;
    ::waitpid(pid, &status, 0);
    return status == 0;
  }

  static struct stat StatusOf(const std::filesystem::path& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
  }
  static unsigned int ModeOf(const std::filesystem::path& path) { return StatusOf(path).st_mode & 07777; }

  static void Own(const std::filesystem::path& path, uid_t uid, gid_t gid) {
    ASSERT_EQ(::lchown(path.c_str(), uid, gid), 0) << path;
  }

  static std::string ContentOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::filesystem::path folder_;
};

}  // namespace kinora::system
