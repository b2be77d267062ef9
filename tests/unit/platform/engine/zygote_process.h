// A zygote of kinora-remux beside a test.
#pragma once

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "platform/base/descriptor.h"
#include "platform/system/places.h"
#include "platform/system/unix_listener.h"

namespace kinora::engine {

// Starts the program, which ends with this process; its number.
inline pid_t StartZygote(const char* program) {
  std::filesystem::create_directory(system::kRunFolder);
  const base::Descriptor socket = system::ListenOnUnixSocket(system::kRemuxSocket, SOCK_SEQPACKET);
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (socket.Get() == 3) ::fcntl(3, F_SETFD, 0);
  if (socket.Get() != 3) ::dup2(socket.Get(), 3);
  ::execl(program, program, "--zygote", nullptr);
  ::_exit(127);
}

}  // namespace kinora::engine
