// What tests of child processes share: a stub program that everybody may run, in a folder of its own.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

namespace kinora::system {

class ChildTest : public testing::Test {
 protected:
  ChildTest() {
    std::string name = testing::TempDir() + "child-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    ::chmod(folder_.c_str(), 0777);
    stub_ = folder_ / "stub";
    // Not run from the build folder: the account without rights may be unable to go there.
    std::filesystem::copy_file(KINORA_CHILD_STUB, stub_);
  }
  ~ChildTest() override { std::filesystem::remove_all(folder_); }

  // 0 when there is none.
  static pid_t NumberIn(const std::filesystem::path& file) {
    pid_t number = 0;
    std::ifstream(file) >> number;
    return number;
  }

  // Whether the process with the number in the file has ended, now or soon.
  static bool EndsSoon(const std::filesystem::path& file) {
    const pid_t pid = NumberIn(file);
    if (pid <= 1) return false;
    for (int i = 0; i < 5000; ++i) {
      if (::kill(pid, 0) != 0 || IsZombie(pid)) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }

  // Runs the function in a process of its own, whose identity and limits it may change; its exit status.
  static int InOwnProcess(const std::function<int()>& function) {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(function());
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  }

  // Whether this process is root and other ids exist.
  static bool MaySwitchIds() {
    unsigned long inside = 0, outside = 0, count = 0;
    std::ifstream("/proc/self/uid_map") >> inside >> outside >> count;
    return ::geteuid() == 0 && count > 1;
  }

  std::filesystem::path folder_;
  std::filesystem::path stub_;

 private:
  static bool IsZombie(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string number, name, state;
    file >> number >> name >> state;
    return !file || state == "Z";
  }
};

}  // namespace kinora::system
