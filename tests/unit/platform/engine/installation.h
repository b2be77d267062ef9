// An installation of a test's own, in which helpers are missing or are scripts. It is seen by a program that
// is run in a private view over it.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace kinora::engine {

class InstallationTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(::mkdtemp(folder_.data()), nullptr);
    std::filesystem::permissions(folder_, std::filesystem::perms::all);  // a script has no rights of ours
    std::filesystem::create_directories(folder_ + "/target/libexec");
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string Helper(const std::string& name) const { return folder_ + "/target/libexec/" + name; }

  void Script(const std::string& path, const std::string& body, mode_t mode = 0755) const {
    std::filesystem::remove(path);
    std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
  }

  // Leaves an empty file for each time that a script is started: it may make files, not write them.
  std::string CountRun() const { return ": >" + folder_ + "/run.$$;"; }
  std::ptrdiff_t Runs() const {
    return std::count_if(std::filesystem::directory_iterator(folder_), {},
                         [](const std::filesystem::directory_entry& entry) {
                           return entry.path().filename().string().starts_with("run.");
                         });
  }

  // What the program prints in this installation.
  std::string Run(const std::string& program, const std::string& arguments) const {
    const std::string command = std::string(KINORA_SOURCE_DIR) + "/tests/with-places '" + folder_ +
                                "/target' " + program + " " + arguments + " 2>/dev/null";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), &::pclose);
    std::string output;
    std::array<char, 4096> buffer{};
    for (size_t got; (got = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0;) {
      output.append(buffer.data(), got);
    }
    return output;
  }

  // Not in the build: the script must be able to walk there, too.
  std::string folder_ = std::filesystem::temp_directory_path() / "faults.XXXXXX";
};

}  // namespace kinora::engine
