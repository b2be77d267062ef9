// zygote_stub SECONDS RUNS: a zygote whose runs may take so long and be so many, and do what their first
// argument says. They are given standard error and a file.
#include <dirent.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

#include "helpers/common/zygote.h"

namespace {

constexpr int kFile = 3;

void Write(const std::string& text) {
  if (::write(kFile, text.data(), text.size()) != static_cast<ssize_t>(text.size())) std::abort();
}

std::string OpenDescriptors() {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc/self/fd"), ::closedir);
  std::string numbers;
  while (const dirent* const entry = ::readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name[0] != '.' && name != std::to_string(::dirfd(folder.get()))) numbers += name + " ";
  }
  return numbers;
}

std::string OwnStatus() {
  std::ifstream file("/proc/self/status");
  return {std::istreambuf_iterator<char>(file), {}};
}

int Run(const std::vector<std::string>& arguments) {
  const std::string verb = arguments.empty() ? "" : arguments[0];
  if (verb == "exit") return std::atoi(arguments.at(1).c_str());
  if (verb == "arguments") {
    for (const std::string& argument : arguments) Write(argument + "|");
  }
  if (verb == "descriptors") Write(OpenDescriptors());
  if (verb == "status") Write(OwnStatus());
  if (verb == "talk") {
    for (int i = 0; i < 20'000; ++i) std::fputs("talk, talk\n", stderr);
  }
  if (verb == "die") ::raise(SIGKILL);
  if (verb == "crash") std::abort();
  if (verb == "hang") {
    Write(std::to_string(::getpid()) + "\n");
    while (true) ::pause();
  }
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 64;
  const kinora::helper::ZygoteLimits limits{2, std::chrono::seconds(std::atoi(arguments[1])),
                                            static_cast<unsigned int>(std::atoi(arguments[2]))};
  return kinora::helper::RunZygote(limits, Run);
}
