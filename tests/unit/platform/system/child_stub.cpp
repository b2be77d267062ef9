// A program that says what it was given, or misbehaves as its first argument asks.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

extern char** environ;

namespace {

void PrintIdentity() {
  uid_t uids[3];
  gid_t gids[3];
  ::getresuid(&uids[0], &uids[1], &uids[2]);
  ::getresgid(&gids[0], &gids[1], &gids[2]);
  std::cout << "uids " << uids[0] << " " << uids[1] << " " << uids[2] << "\n";
  std::cout << "gids " << gids[0] << " " << gids[1] << " " << gids[2] << "\n";
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("Cap") || line.starts_with("NoNewPrivs") || line.starts_with("Groups")) {
      std::cout << line << "\n";
    }
  }
  std::cout << "setuid(0) " << ::setresuid(static_cast<uid_t>(-1), 0, static_cast<uid_t>(-1)) << "\n";
}

void PrintDescriptors() {
  for (int fd = 0; fd < 1024; ++fd) {
    if (::fcntl(fd, F_GETFD) == -1) continue;
    char target[4096] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    [[maybe_unused]] const ssize_t size = ::readlink(link.c_str(), target, sizeof(target) - 1);
    std::cout << fd << " " << std::string(target).substr(0, 5) << "\n";
  }
}

void PrintSurroundings() {
  for (char** entry = environ; *entry != nullptr; ++entry) std::cout << *entry << "\n";
  char folder[4096] = {};
  std::cout << "folder " << ::getcwd(folder, sizeof(folder)) << "\n";
  std::cout << "leads its group " << (::getpgrp() == ::getpid()) << "\n";
  struct sigaction action {};
  ::sigaction(SIGPIPE, nullptr, &action);
  std::cout << "SIGPIPE default " << (action.sa_handler == SIG_DFL) << "\n";
  for (const auto resource : {RLIMIT_AS, RLIMIT_CPU, RLIMIT_FSIZE, RLIMIT_CORE, RLIMIT_NOFILE}) {
    rlimit limit{};
    ::getrlimit(resource, &limit);
    std::cout << "limit " << limit.rlim_cur << " " << limit.rlim_max << "\n";
  }
}

// A grandchild that writes its pid into the file and holds standard output open for ever.
void LeaveGrandchild(const char* file) {
  if (::fork() == 0) {
    std::ofstream(file) << ::getpid() << std::flush;
    while (true) ::pause();
  }
  while (!std::ifstream(file) || std::ifstream(file).peek() == EOF) ::usleep(1000);
}

void Print(FILE* to, unsigned long long size) {
  static char block[1 << 16];
  std::memset(block, 'x', sizeof(block));
  for (unsigned long long done = 0; done < size; done += sizeof(block)) {
    if (std::fwrite(block, 1, sizeof(block), to) == 0) return;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  const char* const operand = argc > 2 ? argv[2] : "";
  if (mode == "identity") PrintIdentity();
  if (mode == "descriptors") PrintDescriptors();
  if (mode == "surroundings") PrintSurroundings();
  if (mode == "arguments")
    std::fwrite(argv[0], 1, argv[argc - 1] + std::strlen(argv[argc - 1]) - argv[0], stdout);
  if (mode == "read") std::cout << std::ifstream("/dev/fd/" + std::string(operand)).rdbuf();
  if (mode == "input") std::cout << "bytes " << std::fread(argv[0], 1, 1, stdin) << "\n";
  if (mode == "exit") return std::atoi(operand);
  if (mode == "abort") std::abort();
  if (mode == "hang") {
    std::signal(SIGTERM, SIG_IGN);
    LeaveGrandchild(operand);
    while (true) ::pause();
  }
  if (mode == "leave") LeaveGrandchild(operand);
  if (mode == "output") Print(stdout, std::strtoull(operand, nullptr, 10));
  if (mode == "errors") Print(stderr, std::strtoull(operand, nullptr, 10));
  if (mode == "allocate") return std::malloc(std::strtoull(operand, nullptr, 10)) == nullptr ? 3 : 0;
  if (mode == "burn") {
    volatile bool on = true;
    while (on) {
    }
  }
  if (mode == "make") return ::open(operand, O_WRONLY | O_CREAT, 0666) >= 0 ? 0 : 5;
  if (mode == "write") {
    const int fd = ::open(operand, O_WRONLY | O_CREAT, 0600);
    return fd >= 0 && ::write(fd, "x", 1) == 1 ? 0 : 4;
  }
  return 0;
}
