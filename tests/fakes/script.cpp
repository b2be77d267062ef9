#include "tests/fakes/script.h"

#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "contract/webapi/join_string.h"

namespace kinora::fakes {
namespace {

int open_databases = 0;

int RunForReal(const std::vector<std::string>& arguments) {
  std::vector<char*> list;
  for (const std::string& argument : arguments) list.push_back(const_cast<char*>(argument.c_str()));
  list.push_back(nullptr);
  pid_t child = 0;
  int status = 0;
  if (posix_spawn(&child, list[0], nullptr, nullptr, list.data(), environ) != 0) return -1;
  if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

bool LinkWorkingFolder(uint64_t, const std::string& id, const std::string& type) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(TheScript().volume) / (type + "-" + id);
  std::error_code failure;
  fs::create_directories(folder, failure);
  if (!failure) fs::create_directory_symlink(folder, fs::path("/tmp/Kinora") / type / id, failure);
  return !failure;
}

std::string MakeEaFolder(const std::string& path) {
  namespace fs = std::filesystem;
  const fs::path file(path);
  const fs::path folder = file.parent_path() / ".kinora" / file.filename();
  std::error_code failure;
  if (!fs::exists(file, failure)) return "";
  fs::create_directories(folder, failure);
  return failure ? "" : folder;
}

// Tests run side by side, and what they name by it lies in one /tmp.
std::string OneOfThisProcess(int length) {
  static const std::string digits = std::to_string(std::random_device()()) + "0000000000";
  return digits.substr(0, static_cast<size_t>(std::max(length, 0)));
}

}  // namespace

Script::Script()
    : link_working_folder(LinkWorkingFolder),
      make_fragment([] { return true; }),
      read_body([](char*, unsigned int) { return 0; }),
      execute(RunForReal),
      run([](const std::vector<std::string>&) { return 0; }),
      ea_folder(MakeEaFolder),
      random_string(OneOfThisProcess),
      simple_convert([](const std::string& text) { return text; }) {}

Script& TheScript() {
  static Script script;
  return script;
}

std::vector<std::string>& Calls() {
  static std::vector<std::string> calls;
  return calls;
}

int OpenDatabases() { return open_databases; }
void CountDatabase(int change) { open_databases += change; }

void Reset() {
  TheScript() = Script();
  Calls().clear();
}

std::string Show(const std::string& text) { return '"' + text + '"'; }
std::string Show(const char* text) { return Show(std::string(text)); }
std::string Show(bool value) { return value ? "true" : "false"; }
std::string Show(int value) { return std::to_string(value); }
std::string Show(unsigned int value) { return std::to_string(value); }
std::string Show(uint64_t value) { return std::to_string(value); }

std::string Show(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

std::string Show(const std::vector<std::string>& parts) { return "[" + crvnkn::JoinString(parts, " ") + "]"; }

void Record(const std::string& operation, const std::vector<std::string>& shown_arguments) {
  Calls().push_back(operation + "(" + crvnkn::JoinString(shown_arguments, ", ") + ")");
}

}  // namespace kinora::fakes
