// Keeping the catalog in step with the shares.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/media/store.h"
#include "platform/media/video_facts.h"

namespace kinora::media {

struct ScanProgress {
  bool running = false;
  int64_t found = 0;      // files with a video's name seen so far
  int64_t looked_at = 0;  // of these, opened in this scan because they are new or changed
  int64_t to_look_at = 0;
  int64_t added = 0;
  int64_t changed = 0;
  int64_t moved = 0;
  int64_t removed = 0;
  int64_t refused = 0;  // no videos, whatever their names say
  int64_t waiting = 0;  // still being written, or not to be read just now; the next scan looks again
  std::string current;  // the file being looked at, any bytes
};

// Looks into one file. Called from several threads at once.
using LookFunction = std::function<LookResult(const std::string& path)>;
using ProgressFunction = std::function<void(const ScanProgress&)>;

// Walks all shares once: takes up new files, looks again at changed ones (by size, time of change and inode),
// follows moved ones (same size and content marks, so that the id stays), drops vanished ones. A share that
// cannot be opened at all loses nothing: it may be unmounted. Files that changed within the last five
// seconds, that changed while they were looked at or that could not be read wait for the next scan. Hidden
// names (`.kinora` among them) and links are left out. What was done is written in small steps: a scan that
// is killed loses little. One scan at a time: a second call, from any process, waits for the first one's end.
// Looks run on threads, `report` and the database on the caller's. Throws LibKinora::db::Failure, and
// std::system_error when the machine yields no threads.
ScanProgress Scan(Store& store, const LookFunction& look, const ProgressFunction& report);

// What the running or the last scan says of itself, for anyone who asks; `running` is false when its process
// is gone. Never throws but for want of memory.
ScanProgress LastProgress();

}  // namespace kinora::media
