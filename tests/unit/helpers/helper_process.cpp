#include "tests/unit/helpers/helper_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "platform/base/descriptor.h"

extern char** environ;

namespace kinora::helper {
namespace {

using Stream = std::unique_ptr<FILE, int (*)(FILE*)>;

std::string Content(FILE* file) {
  std::string text;
  std::rewind(file);
  char buffer[4096];
  for (size_t got; (got = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, got);
  return text;
}

}  // namespace

Ended RunProgram(const std::vector<std::string>& arguments, int descriptor) {
  const Stream output(std::tmpfile(), &std::fclose);
  const Stream errors(std::tmpfile(), &std::fclose);
  // Above all numbers that are given to the child, so that dup2 never meets its own source.
  const base::Descriptor out(::fcntl(fileno(output.get()), F_DUPFD_CLOEXEC, 20));
  const base::Descriptor err(::fcntl(fileno(errors.get()), F_DUPFD_CLOEXEC, 20));
  const base::Descriptor in(descriptor < 0 ? -1 : ::fcntl(descriptor, F_DUPFD_CLOEXEC, 20));
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out.Get(), 1);
  posix_spawn_file_actions_adddup2(&actions, err.Get(), 2);
  if (in) posix_spawn_file_actions_adddup2(&actions, in.Get(), 3);
  posix_spawn_file_actions_addclosefrom_np(&actions, in ? 4 : 3);
  std::vector<char*> list;
  for (const std::string& argument : arguments) list.push_back(const_cast<char*>(argument.c_str()));
  list.push_back(nullptr);
  pid_t pid = -1;
  const int error = ::posix_spawnp(&pid, list[0], &actions, nullptr, list.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  EXPECT_EQ(error, 0) << arguments[0];
  if (error != 0) return {};
  int status = 0;
  ::waitpid(pid, &status, 0);
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {code, Content(output.get()), Content(errors.get())};
}

Ended RunOn(const std::string& file, const std::vector<std::string>& arguments) {
  const base::Descriptor input(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_TRUE(input) << file;
  return RunProgram(arguments, input.Get());
}

std::string ProbeProgram() { return std::string(KINORA_BUILD_DIR) + "/helpers/kinora-probe"; }
std::string PictureProgram() { return std::string(KINORA_BUILD_DIR) + "/helpers/kinora-picture"; }
Ended Probe(const std::string& file) { return RunOn(file, {ProbeProgram()}); }
Ended TakePicture(const std::string& file, int width) {
  return RunOn(file, {PictureProgram(), std::to_string(width)});
}

Json::Value Parse(const std::string& text) {
  Json::Value value;
  std::string errors;
  std::istringstream stream(text);
  EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), stream, &value, &errors)) << errors << text;
  return value;
}

std::string MediaFile(const std::string& name) { return std::string(KINORA_MEDIA_DIR) + "/" + name; }

std::string ReadWhole(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteWhole(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

ScratchFolder::ScratchFolder() {
  path_ = ::testing::TempDir() + "kinora-helpers.XXXXXX";
  if (::mkdtemp(path_.data()) == nullptr) ADD_FAILURE() << "no folder " << path_;
}

ScratchFolder::~ScratchFolder() { std::filesystem::remove_all(path_); }

}  // namespace kinora::helper
