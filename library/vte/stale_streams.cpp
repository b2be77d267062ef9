// Players often stop without closing their stream, and no daemon watches: each opening sweeps the streams of
// its own type that nobody has used for a minute.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdint>
#include <ctime>
#include <memory>

#include "library/log.h"
#include "library/vte/stream_initer.h"
#include "library/vte/streamer_dispatch.h"
#include "library/vte/utils.h"

namespace crvnkn::webapi::vte {
namespace {

constexpr char kLogUnit[] = "vte/stream_initer";
constexpr int32_t kTimeout = 60;  // seconds; a mark of just this age is not too old

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

// A stream without a mark counts as used: it may be one that is being opened.
bool IsStale(const Folder& folder, const std::string& id, time_t now) {
  struct stat mark;
  if (fstatat(dirfd(folder.get()), (id + "/access_status").c_str(), &mark, 0) != 0) return false;
  return static_cast<int32_t>(now - mark.st_mtime) > kTimeout;
}

}  // namespace

bool StreamIniter::RemoveTimeoutDir(const std::string& type) {
  if (type.empty()) {
    KINORA_LOG(LOG_ERR, kLogUnit, "Bad parameter");
    return false;
  }
  const time_t now = time(nullptr);
  const Folder folder(opendir(JoinPath({kWorkspace, type}).c_str()));
  if (!folder) return true;
  while (const dirent* entry = readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    // The type is not a format's name for "WEBM": its streams end through their own streamer, and here the
    // close only logs.
    if (IsStale(folder, name, now)) CloseHandler(name, type);
  }
  return true;
}

void StreamIniter::RemoveTimeoutVTEDir() {
  for (const char* type : {"HLS", "SS", "WEBM"}) RemoveTimeoutDir(type);
}

}  // namespace crvnkn::webapi::vte
