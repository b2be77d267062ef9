// What a scan has to do: the difference between what is known and what was found. Decides, does nothing.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/media/folder_walk.h"
#include "platform/media/shares.h"

namespace kinora::media {

struct KnownFile {
  int id = 0;  // 0 for one that was refused: no video, whatever its name says
  int share = 0;
  int64_t size = 0;
  int64_t modified_ns = 0;
  int64_t inode = 0;
  std::string marks;
};
using KnownFiles = std::unordered_map<std::string, KnownFile>;  // by path

struct WalkedShare {
  Share share;
  bool was_mounted = false;  // at the last scan
  FolderWalk walk;
};

struct ScanTask {
  int share = 0;
  std::string path;
  std::string name;  // relative to the share
  FoundFile found;
  int id = 0;  // of the known video at this path; 0 for a new one
};

struct KnownPath {
  std::string path;
  KnownFile file;
};

struct ScanPlan {
  std::vector<ScanTask> to_look_at;  // new and changed ones
  std::vector<KnownPath> vanished;   // known, and neither found nor possibly only out of reach
  int64_t unchanged = 0;
  int64_t refused = 0;  // of the unchanged ones
  int64_t waiting = 0;  // written a moment ago
};

// Whether the share's walk tells what it holds. One that could not be opened may be unmounted, and so may one
// where a file system was mounted at the last scan and now neither it nor any video is there.
bool IsWithinReach(const WalkedShare& share);

// `now_ns` is the time before the walks began. A file dated in the future counts as finished, so that a wrong
// clock keeps no file out for years.
ScanPlan PlanScan(const KnownFiles& known, const std::vector<WalkedShare>& shares, int64_t now_ns);

}  // namespace kinora::media
