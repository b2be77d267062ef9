// Somebody who watches a stream, in whatever format. Like a cast device he has no cookie; what he may do
// stands in the addresses.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/http/house.h"

namespace kinora::test {

struct ViewedStream {
  std::string id;
  std::string format;

  // The folder in the workspace.
  std::filesystem::path Folder() const;
};

class Viewer {
 public:
  Viewer(const House& house, SignedIn who) : house_(house), who_(std::move(who)) {}

  const SignedIn& Who() const { return who_; }

  // The answer to opening the film; further parameters of the method as they come.
  Reply TryToOpen(const std::string& film, const Parameters& parameters) const;
  // Throws std::runtime_error when it is refused.
  ViewedStream Open(const std::string& film, const std::string& format) const;
  Reply Close(const ViewedStream& stream) const;

  // What the addresses in the stream's playlists are made of, the session included; a value that is empty
  // takes the parameter away.
  std::string Address(const ViewedStream& stream, const Parameters& parameters) const;
  Reply Get(const std::string& address, const std::vector<std::string>& headers = {},
            const std::string& verb = "GET") const;

 protected:
  const House& house_;

 private:
  SignedIn who_;
};

// Nobody's session is good any more.
void ExpireAllSessions();

// The processes that have the folder, or something in it, open; also when it has been removed.
std::vector<pid_t> ProcessesIn(const std::filesystem::path& folder);
// Those of them that are ffmpeg.
std::vector<pid_t> EncodersIn(const std::filesystem::path& folder);

// How many streams there are in the workspace; `type` is the name of its folder there.
size_t CountStreams(const std::string& type = "HLS");

}  // namespace kinora::test
