// A web server of a test's own, and a client that says what comes over the socket and nothing else.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kinora::test {

// Lighttpd on a free port of the loopback address, with a folder of its own that goes with it. It answers
// from the moment on in which the constructor returns, since it is handed a socket that already listens.
class Lighttpd {
 public:
  // The lines follow those that every server here has: address, document root, error log, temporary folder.
  explicit Lighttpd(const std::string& configuration);
  ~Lighttpd();
  Lighttpd(const Lighttpd&) = delete;
  Lighttpd& operator=(const Lighttpd&) = delete;

  int Port() const { return port_; }
  const std::filesystem::path& Folder() const { return folder_; }
  std::filesystem::path DocumentRoot() const { return folder_ / "root"; }
  std::filesystem::path TemporaryFolder() const { return folder_ / "temporary"; }
  std::string ErrorLog() const;
  // The processes that it has started and that are still there.
  std::vector<pid_t> Children() const;

 private:
  std::filesystem::path folder_;
  int port_ = 0;
  pid_t pid_ = -1;
};

struct Reply {
  int status = 0;  // 0: what came is no answer
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;  // without the marks of "Transfer-Encoding: chunked"

  // The value of the header field when there is exactly one, its name without regard to case.
  std::optional<std::string> Header(const std::string& name) const;
  size_t Count(const std::string& name) const;
};

// One connection to a port of this machine.
class Connection {
 public:
  explicit Connection(int port);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void Send(const std::string& bytes);
  // At least so many bytes, fewer when the other side ends or says nothing for 60 seconds.
  std::string ReadAtLeast(size_t size);
  // Everything to the end of the connection.
  Reply ReadReply();
  // Says that nothing more is wanted, without breaking anything off: the way in which a client closes that
  // has read all there is.
  void Finish();
  // Breaks the connection off at once, with what is on its way lost.
  void Abort();

 private:
  int socket_ = -1;
};

// Sends the request and reads to the end of the connection; "Host" and "Connection: close" are added.
Reply Fetch(int port, const std::string& method, const std::string& target,
            const std::vector<std::string>& headers);

}  // namespace kinora::test
