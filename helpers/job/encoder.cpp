#include "helpers/job/encoder.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>

namespace kinora::helper {
namespace {

constexpr int kSource = 3;
constexpr int kFolder = 4;
constexpr int kCannotExecute = 127;
constexpr size_t kMostSaid = 2000;
constexpr int kMostReads = 16;  // at once: more than a pipe holds, of 4 kB each

[[noreturn]] void Fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

// Ours may bear the numbers that the child's are to get, so they move out of the way first.
bool Arrange(int source, int folder, int words) {
  source = ::fcntl(source, F_DUPFD_CLOEXEC, kFolder + 1);
  folder = ::fcntl(folder, F_DUPFD_CLOEXEC, kFolder + 1);
  words = ::fcntl(words, F_DUPFD_CLOEXEC, kFolder + 1);
  return source >= 0 && folder >= 0 && words >= 0 && ::dup2(source, kSource) >= 0 &&
         ::dup2(folder, kFolder) >= 0 && ::dup2(words, STDERR_FILENO) >= 0 &&
         ::close_range(kFolder + 1, ~0U, 0) == 0;
}

[[noreturn]] void BecomeEncoder(const std::vector<char*>& arguments, int source, int folder, int words,
                                pid_t parent) {
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  // The parent may have gone before the wish was heard.
  if (::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::getppid() == parent && Arrange(source, folder, words)) {
    ::execv(arguments[0], arguments.data());
    ::dprintf(STDERR_FILENO, "%s cannot be started: %s\n", arguments[0], std::strerror(errno));
  }
  ::_exit(kCannotExecute);
}

}  // namespace

Encoder::Encoder(const std::vector<std::string>& arguments, int source, int folder) {
  std::vector<char*> pointers;
  for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) Fail("no pipe");
  words_ = base::Descriptor(ends[0]);
  const base::Descriptor child_words(ends[1]);
  ::fcntl(words_.Get(), F_SETFL, O_NONBLOCK);
  const pid_t parent = ::getpid();
  pid_ = ::fork();
  if (pid_ < 0) Fail("no process");
  if (pid_ == 0) BecomeEncoder(pointers, source, folder, child_words.Get(), parent);
  handle_ = base::Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
  if (handle_) return;
  const int error = errno;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
  throw std::system_error(error, std::generic_category(), "no handle");
}

Encoder::~Encoder() { Kill(); }

void Encoder::Kill() {
  if (ended_) return;
  ::kill(pid_, SIGKILL);
  while (::waitpid(pid_, &status_, 0) < 0 && errno == EINTR) {
  }
  ended_ = true;
}

void Encoder::Stop() {
  if (!ended_ && !stopped_) stopped_ = ::kill(pid_, SIGSTOP) == 0;
}

void Encoder::Continue() {
  if (!ended_ && stopped_) stopped_ = ::kill(pid_, SIGCONT) != 0;
}

void Encoder::Listen() {
  std::array<char, 4096> buffer;
  for (int reads = 0; words_ && reads < kMostReads; ++reads) {
    const ssize_t got = ::read(words_.Get(), buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 && errno == EAGAIN) return;
    if (got <= 0) return words_.Reset();
    said_.append(buffer.data(), static_cast<size_t>(got));
    if (said_.size() > kMostSaid) said_.erase(0, said_.size() - kMostSaid);
  }
}

bool Encoder::HasEnded() {
  if (!ended_ && ::waitpid(pid_, &status_, WNOHANG) == pid_) {
    ended_ = true;
    Listen();
  }
  return ended_;
}

}  // namespace kinora::helper
