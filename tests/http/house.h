// A whole Kinora at work: a database with people and films, `kinora serve` with the real web server before
// it, and the verbs of those who use it.
#pragma once

#include <json/json.h>
#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/http/lighttpd_fixture.h"

namespace kinora::test {

// Waits until the condition holds; false when it does not within a minute.
bool Eventually(const std::function<bool()>& condition);

// A program with its output in a file; ended with this object.
class Process {
 public:
  Process(const std::vector<std::string>& arguments, const std::filesystem::path& output,
          const std::filesystem::path& errors);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t Pid() const { return pid_; }
  bool Running();
  // The status as waitpid gives it; waits for the end.
  int Wait();
  void Signal(int number) const;

 private:
  pid_t pid_ = -1;
  bool ended_ = false;
  int status_ = 0;
};

std::string ReadWhole(const std::filesystem::path& path);
// All children of the process, and theirs.
std::vector<pid_t> Descendants(pid_t pid);
// The descendants whose command line holds the text.
std::vector<pid_t> DescendantsLike(pid_t pid, const std::string& text);

using Parameters = std::map<std::string, std::string>;
std::string Encode(const Parameters& parameters);

struct SignedIn {
  std::string sid;
  std::string token;
  int account = 0;
};

// A call of the web API; what is empty is left out.
struct Call {
  std::string api;  // without "CRVN.Kinora2."
  std::string method;
  Parameters parameters{};
  std::string verb = "GET";
  std::string sid{};
  std::string token{};
  std::vector<std::string> headers{};
};

// The request as it goes over the wire; parameters stand in the address or, for POST, in the body.
std::string Wire(const Call& call, const std::string& host = "127.0.0.1");

Json::Value ParseJson(const std::string& text);
// The code of an error answer; 0 for a result, -1 for what is neither.
int CodeOf(const Reply& reply);

class House {
 public:
  // Copies the named media files into the share, makes the accounts ann (administrator) and bob, scans,
  // serves. The settings are the lines of the settings file.
  explicit House(const std::vector<std::string>& films = {"h264_aac.mp4"}, const std::string& settings = "");
  ~House();

  int Port() const { return port_; }
  pid_t Pid() const { return serve_->Pid(); }
  Process& Serve() { return *serve_; }
  // Ends the service and starts it again, perhaps on another port.
  void Restart();
  std::filesystem::path Share() const { return folder_ / "films"; }
  // All that any process has said.
  std::string Log() const { return ReadWhole(folder_ / "serve.log"); }

  Reply Send(const Call& call) const;
  Reply Raw(const std::string& bytes) const;
  SignedIn SignIn(const std::string& name) const;
  // The id of the film in that file.
  int FilmId(const SignedIn& who, const std::string& file) const;
  Reply Open(const SignedIn& who, int film) const;
  // The id of the stream that was opened.
  std::string OpenStream(const SignedIn& who, int film) const;
  Reply Stream(const SignedIn& who, const std::string& stream, const std::vector<std::string>& headers = {},
               const std::string& verb = "GET") const;
  Reply Close(const SignedIn& who, const std::string& stream) const;

 private:
  void Populate(const std::vector<std::string>& films) const;
  void StartServing();

  std::filesystem::path folder_;
  std::unique_ptr<Process> serve_;
  int port_ = 0;
};

inline std::string PasswordOf(const std::string& name) { return "the password of " + name; }

}  // namespace kinora::test
