#include "platform/system/unix_listener.h"

#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace kinora::system {
namespace {

constexpr int kBacklog = 1024;

[[noreturn]] void Fail(int error, const std::string& path) {
  throw std::system_error(error, std::generic_category(), "cannot listen on " + path);
}

}  // namespace

base::Descriptor ListenOnUnixSocket(const std::string& path, int type) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) Fail(ENAMETOOLONG, path);
  std::memcpy(address.sun_path, path.c_str(), path.size());
  base::Descriptor socket(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) Fail(errno, path);
  ::unlink(path.c_str());
  const mode_t before = ::umask(0177);
  const int bound = ::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  ::umask(before);
  if (bound != 0 || ::listen(socket.Get(), kBacklog) != 0) Fail(errno, path);
  return socket;
}

}  // namespace kinora::system
