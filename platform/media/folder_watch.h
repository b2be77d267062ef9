// Noticing that folders change, or something below them (inotify).
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "platform/base/descriptor.h"

namespace kinora::media {

class FolderWatch {
 public:
  // `quiet`: how long nothing more may happen before a change is told of, so that a copy of many files is one
  // change. After fifteen times that it is told of although more happens.
  FolderWatch(std::vector<std::string> folders, std::chrono::milliseconds quiet);

  // Waits for a change of a video or a folder, at most so long, and tells whether there was one. Afterwards
  // new folders are watched too: what happens to them from now on is the next change. Hidden names, and files
  // without a video's name, count for nothing.
  bool Wait(std::chrono::milliseconds at_most);

  // Why changes may go unnoticed: the system's limit on watches is reached, a folder is not there. Empty when
  // all is watched.
  const std::string& Gap() const { return gap_; }

 private:
  void WatchAll();
  void WatchOne(const std::string& path);
  bool WaitForEvent(std::chrono::steady_clock::time_point until);
  bool ReadEvents();

  std::vector<std::string> folders_;
  std::chrono::milliseconds quiet_;
  base::Descriptor inotify_;
  std::string gap_;
};

}  // namespace kinora::media
