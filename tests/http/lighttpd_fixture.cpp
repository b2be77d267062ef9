#include "tests/http/lighttpd_fixture.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace kinora::test {
namespace {

namespace fs = std::filesystem;

constexpr char kProgram[] = "/usr/sbin/lighttpd";
constexpr int kFirstPassedSocket = 3;  // where a server that is handed its sockets looks for them

void Require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

// A socket that listens on a free port.
int Listen(int& port) {
  const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  Require(listener >= 0 && ::bind(listener, any, size) == 0 && ::listen(listener, 128) == 0 &&
              ::getsockname(listener, any, &size) == 0,
          "cannot listen");
  port = ntohs(address.sin_port);
  return listener;
}

[[noreturn]] void BecomeServer(int listener, const std::string& configuration) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (listener != kFirstPassedSocket) ::dup2(listener, kFirstPassedSocket);
  ::close_range(kFirstPassedSocket + 1, ~0U, 0);
  ::setenv("LISTEN_FDS", "1", 1);
  ::setenv("LISTEN_PID", std::to_string(::getpid()).c_str(), 1);
  ::execl(kProgram, kProgram, "-D", "-f", configuration.c_str(), nullptr);
  ::_exit(127);
}

// What the chunks of RFC 9112, 7.1, hold; of a body that breaks off, as much as came.
std::string Unchunked(const std::string& body) {
  std::string content;
  size_t at = 0;
  for (size_t end; (end = body.find("\r\n", at)) != std::string::npos;) {
    const size_t size = std::strtoul(body.c_str() + at, nullptr, 16);
    if (size == 0) break;
    content += body.substr(end + 2, size);
    at = std::min(body.size(), end + 2 + size + 2);
  }
  return content;
}

Reply Parse(const std::string& bytes) {
  Reply reply;
  const size_t end = bytes.find("\r\n\r\n");
  if (!bytes.starts_with("HTTP/1.") || end == std::string::npos) return reply;
  std::istringstream head(bytes.substr(0, end));
  std::string version;
  head >> version >> reply.status;
  std::string line;
  std::getline(head, line);
  while (std::getline(head, line)) {
    if (line.ends_with('\r')) line.pop_back();
    const size_t colon = line.find(": ");
    reply.headers.emplace_back(line.substr(0, colon),
                               colon == std::string::npos ? "" : line.substr(colon + 2));
  }
  reply.body = bytes.substr(end + 4);
  if (reply.Header("Transfer-Encoding") == "chunked") reply.body = Unchunked(reply.body);
  return reply;
}

}  // namespace

Lighttpd::Lighttpd(const std::string& configuration) {
  std::string name = fs::temp_directory_path() / "lighttpd-XXXXXX";
  Require(::mkdtemp(name.data()) != nullptr, "cannot make a folder");
  folder_ = name;
  fs::create_directories(DocumentRoot());
  fs::create_directories(TemporaryFolder());
  const int listener = Listen(port_);
  std::ofstream(folder_ / "lighttpd.conf")
      << "server.systemd-socket-activation = \"enable\"\n"
      << "server.bind = \"127.0.0.1\"\n"
      << "server.port = " << port_ << "\n"
      << "server.document-root = \"" << DocumentRoot().string() << "\"\n"
      << "server.errorlog = \"" << (folder_ / "error.log").string() << "\"\n"
      << "server.upload-dirs = ( \"" << TemporaryFolder().string() << "\" )\n"
      << configuration;
  pid_ = ::fork();
  if (pid_ == 0) BecomeServer(listener, folder_ / "lighttpd.conf");
  ::close(listener);
  Require(pid_ > 0, "cannot start the server");
}

Lighttpd::~Lighttpd() {
  ::kill(pid_, SIGTERM);
  ::waitpid(pid_, nullptr, 0);
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

std::string Lighttpd::ErrorLog() const {
  std::ifstream file(folder_ / "error.log");
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<pid_t> Lighttpd::Children() const {
  const std::string pid = std::to_string(pid_);
  std::ifstream file("/proc/" + pid + "/task/" + pid + "/children");
  return {std::istream_iterator<pid_t>(file), {}};
}

std::optional<std::string> Reply::Header(const std::string& name) const {
  std::optional<std::string> value;
  for (const auto& [key, text] : headers) {
    if (::strcasecmp(key.c_str(), name.c_str()) != 0) continue;
    if (value) return std::nullopt;
    value = text;
  }
  return value;
}

size_t Reply::Count(const std::string& name) const {
  size_t count = 0;
  for (const auto& header : headers) count += ::strcasecmp(header.first.c_str(), name.c_str()) == 0 ? 1 : 0;
  return count;
}

Connection::Connection(int port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  const timeval limit{60, 0};
  ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  Require(::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0, "cannot connect");
}

Connection::~Connection() {
  if (socket_ >= 0) ::close(socket_);
}

void Connection::Send(const std::string& bytes) {
  size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t n = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    // A server may answer and close before it has read all of a request that it refuses.
    if (n <= 0) return;
    sent += static_cast<size_t>(n);
  }
}

std::string Connection::ReadAtLeast(size_t size) {
  std::string bytes;
  std::string buffer(64 << 10, '\0');
  while (bytes.size() < size) {
    const ssize_t got = ::recv(socket_, buffer.data(), buffer.size(), 0);
    if (got <= 0) break;
    bytes.append(buffer, 0, static_cast<size_t>(got));
  }
  return bytes;
}

Reply Connection::ReadReply() { return Parse(ReadAtLeast(std::string::npos)); }

void Connection::Finish() { ::shutdown(socket_, SHUT_WR); }

void Connection::Abort() {
  const linger at_once{1, 0};
  ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &at_once, sizeof(at_once));
  ::close(std::exchange(socket_, -1));
}

Reply Fetch(int port, const std::string& method, const std::string& target,
            const std::vector<std::string>& headers) {
  std::string request = method + " " + target + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n";
  for (const std::string& header : headers) request += header + "\r\n";
  if (method == "POST") request += "Content-Length: 0\r\n";
  Connection connection(port);
  connection.Send(request + "\r\n");
  return connection.ReadReply();
}

}  // namespace kinora::test
