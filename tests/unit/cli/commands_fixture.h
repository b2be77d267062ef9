// The commands as a person types them: the real program with fixed places of its own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/system/places.h"

extern char** environ;

namespace kinora::cli {
namespace fs = std::filesystem;

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

class CommandsTest : public testing::Test {
 protected:
  CommandsTest() {
    std::string name = testing::TempDir() + "commands XXXXXX";
    folder_ = fs::canonical(::mkdtemp(name.data()));
    fs::remove_all(fs::path(system::kDatabaseFile).parent_path());
    fs::create_directory(folder_ / "films");
  }
  ~CommandsTest() override { fs::remove_all(folder_); }

  pid_t Start(std::vector<std::string> arguments, const std::string& input) {
    std::ofstream(folder_ / "in") << input;
    arguments.insert(arguments.begin(), KINORA_PROGRAM);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 0, (folder_ / "in").c_str(), O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, 1, (folder_ / "out").c_str(), O_CREAT | O_TRUNC | O_WRONLY,
                                       0600);
    ::posix_spawn_file_actions_addopen(&actions, 2, (folder_ / "err").c_str(), O_CREAT | O_TRUNC | O_WRONLY,
                                       0600);
    pid_t child = -1;
    ::posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    return child;
  }
  Outcome Run(const std::vector<std::string>& arguments, const std::string& input = "") {
    int status = -1;
    ::waitpid(Start(arguments, input), &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Content("out"), Content("err")};
  }
  std::string Content(const std::string& name) const {
    std::ifstream in(folder_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  std::string Films() const { return folder_ / "films"; }

  fs::path folder_;
};

}  // namespace kinora::cli
