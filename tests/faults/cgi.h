// One request answered by entry.cgi as a plain CGI program, so that its process can be put under strace,
// under limits, or be looked at; and what a fault may leave behind.
#pragma once

#include <sys/resource.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/http/house.h"

namespace kinora::test {

struct CgiRun {
  int status = 0;      // as waitpid gives it
  std::string output;  // all of it, as it went to the web server
  std::string errors;
  bool head_complete = false;  // the web server would pass an answer on
  Reply reply;                 // status 200 where the program names none; empty without a complete head

  bool Killed() const;
  // The announced length has been sent; what announces none is an answer without content.
  bool Whole() const;
};

struct CgiCircumstances {
  std::vector<std::string> wrapper{};  // a program and its arguments that start entry.cgi
  std::vector<std::pair<__rlimit_resource, rlim_t>> limits{};
};

CgiRun RunCgi(const Call& call, const CgiCircumstances& circumstances = {});

// Whether programs can be traced here: strace is there and the kernel lets it.
bool CanTrace();
// Kills the traced process at its n-th call of that name.
std::vector<std::string> KilledAt(const std::string& system_call, int n);
// The calls of these names that the request makes when nothing is done to it, in their order, as strace shows
// them.
std::vector<std::string> CallsMadeBy(const Call& call, const std::string& system_calls);

// Names and contents of all that is below the folder, as one digest.
std::string DigestOf(const std::filesystem::path& folder);
// Files that somebody was writing aside when he died.
std::vector<std::string> ScratchFiles();
// The links in the workspace, one for each raw stream.
std::vector<std::string> StreamLinks();

// A file system in memory at that path, until this object goes. Not where the places are the machine's own.
class SmallVolume {
 public:
  SmallVolume(std::filesystem::path path, const std::string& size);
  ~SmallVolume();
  SmallVolume(const SmallVolume&) = delete;
  SmallVolume& operator=(const SmallVolume&) = delete;

  explicit operator bool() const { return mounted_; }
  // Leaves no room for a single byte more.
  void Fill() const;
  void Relieve() const;

 private:
  std::filesystem::path path_;
  bool mounted_ = false;
};

}  // namespace kinora::test
