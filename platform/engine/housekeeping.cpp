#include "platform/engine/housekeeping.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/base/file_time.h"
#include "platform/base/folder.h"
#include "platform/base/log.h"
#include "platform/engine/stream_id.h"
#include "platform/engine/stream_places.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"
#include "platform/system/volumes.h"

namespace kinora::engine {
namespace {

using base::Descriptor;
using base::NamesIn;

constexpr char kUnit[] = "engine/housekeeping";
constexpr int64_t kHour = int64_t{3600} * 1'000'000'000;

Descriptor OpenRun(int work, const std::string& name) {
  if (!name.starts_with(kRunPrefix)) return {};
  return Descriptor(::openat(work, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool IsFileOrGone(int folder, const std::string& name) {
  struct stat status {};
  return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 || S_ISREG(status.st_mode);
}

bool HoldsFilesOnly(int folder) {
  return std::ranges::all_of(NamesIn(folder),
                             [folder](const std::string& name) { return IsFileOrGone(folder, name); });
}

// Files, and what a job left that was killed together with its machine.
bool HoldsWorkOnly(int work) {
  return std::ranges::all_of(NamesIn(work), [work](const std::string& name) {
    if (IsFileOrGone(work, name)) return true;
    const Descriptor run = OpenRun(work, name);
    return run && HoldsFilesOnly(run.Get());
  });
}

// When the stream was last used. Nothing when it is at work, or no stream's folder after all.
std::optional<int64_t> LastUseOfIdle(int parent, const std::string& id, const std::string& type) {
  const Descriptor folder = OpenOwnFolder(parent, id);
  if (!folder || IsHeld(folder.Get(), "lock")) return std::nullopt;
  for (const std::string& name : NamesIn(folder.Get())) {
    struct stat status {};
    if (::fstatat(folder.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (name == kStreamWorkFolder && S_ISDIR(status.st_mode)) {
      const Descriptor work = OpenWorkFolder(folder.Get());
      if (!work || !HoldsWorkOnly(work.Get()) || HasJob(work.Get())) return std::nullopt;
    } else if (!S_ISREG(status.st_mode)) {
      return std::nullopt;
    }
  }
  return LastUse(folder.Get(), type);
}

bool RemoveFilesIn(int folder) {
  bool removed = true;
  for (const std::string& name : NamesIn(folder)) {
    removed = (::unlinkat(folder, name.c_str(), 0) == 0 || errno == ENOENT) && removed;
  }
  return removed;
}

bool RemoveWorkIn(int work) {
  for (const std::string& name : NamesIn(work)) {
    const Descriptor run = OpenRun(work, name);
    if (run && (!RemoveFilesIn(run.Get()) || ::unlinkat(work, name.c_str(), AT_REMOVEDIR) != 0)) return false;
  }
  return RemoveFilesIn(work);
}

bool RemoveFolder(int parent, const std::string& id) {
  const Descriptor folder = OpenOwnFolder(parent, id);
  if (!folder) return false;
  const Descriptor work = OpenWorkFolder(folder.Get());
  if (work && (!RemoveWorkIn(work.Get()) || ::unlinkat(folder.Get(), kStreamWorkFolder, AT_REMOVEDIR) != 0))
    return false;
  return RemoveFilesIn(folder.Get()) && ::unlinkat(parent, id.c_str(), AT_REMOVEDIR) == 0;
}

// Where working folders of the type lie: on the volumes that are set, and where links lead to, as the setting
// may have been another one.
std::set<std::string> PlacesOf(const std::string& type, const StreamLinks& links) {
  std::set<std::string> places;
  for (const std::string& volume : system::VolumesOf(system::LoadSettings(system::kSettingsFile))) {
    const std::unique_ptr<char, void (*)(void*)> path(::realpath(volume.c_str(), nullptr), ::free);
    if (path) places.insert(system::StreamsOnVolume(path.get()) + "/" + type);
  }
  for (const auto& [id, target] : links.targets) {
    const std::string ending = system::StreamsOnVolume("") + "/" + type + "/" + id;
    if (target.starts_with('/') && target.ends_with(ending)) {
      places.insert(target.substr(0, target.size() - id.size() - 1));
    }
  }
  return places;
}

// One look, with the memory of the one before.
class Look {
 public:
  explicit Look(const std::map<std::string, int64_t>& before) : before_(before) {}

  void At(const std::string& type) {
    const StreamLinks links = ReadStreamLinks(type);
    for (const std::string& place : PlacesOf(type, links)) AtFolders(type, place, links);
    AtDangling(links);
  }
  std::map<std::string, int64_t> Seen() && { return std::move(seen_); }

 private:
  void AtFolders(const std::string& type, const std::string& place, const StreamLinks& links) {
    const Descriptor folder = OpenOwnFolder(AT_FDCWD, place);
    if (!folder) return;
    for (const std::string& id : NamesIn(folder.Get())) {
      const std::optional<int64_t> used =
          IsStreamId(id) ? LastUseOfIdle(folder.Get(), id, type) : std::nullopt;
      if (!used) continue;
      const auto link = links.targets.find(id);
      const bool linked = link != links.targets.end() && link->second == place + "/" + id;
      if (linked && !IsLeft(type, *used, base::NowInNanoseconds())) continue;
      if (!SeenBefore(place + "/" + id, *used)) continue;
      const bool removed = RemoveFolder(folder.Get(), id);
      Report(type, id, removed);
      // The link last: whatever interrupts this, the stream can be found again.
      if (removed && linked) ::unlinkat(links.folder.Get(), id.c_str(), 0);
    }
  }

  void AtDangling(const StreamLinks& links) {
    for (const auto& [id, target] : links.targets) {
      struct stat status {};
      if (::lstat(target.c_str(), &status) == 0 || (errno != ENOENT && errno != ENOTDIR)) continue;
      if (::fstatat(links.folder.Get(), id.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
      if (SeenBefore("link " + id, base::NanosecondsOf(status.st_mtim))) {
        ::unlinkat(links.folder.Get(), id.c_str(), 0);
      }
    }
  }

  // Whether the look before saw the same; what is new is kept in mind for the next one.
  bool SeenBefore(const std::string& name, int64_t used) {
    const auto found = before_.find(name);
    if (found != before_.end() && found->second == used) return true;
    seen_[name] = used;
    return false;
  }

  // Ids are for those who watch: the log bears no more than tells one from another.
  static void Report(const std::string& type, const std::string& id, bool removed) {
    const std::string stream = type + " stream " + id.substr(0, 6) + "...";
    if (removed) {
      base::Log(LOG_INFO, kUnit, "removed the " + stream + ", which nobody uses");
    } else {
      base::Log(LOG_ERR, kUnit, "cannot remove the " + stream + ": " + std::strerror(errno));
    }
  }

  const std::map<std::string, int64_t>& before_;
  std::map<std::string, int64_t> seen_;
};

}  // namespace

bool IsLeft(std::string_view type, int64_t used, int64_t now) {
  // A day may pass before a file system notes that a file was read.
  return now - used > (type == "RAW" ? 48 : 12) * kHour;
}

void Housekeeping::Sweep() {
  Look look(seen_);
  for (const std::string_view type : kStreamTypes) look.At(std::string(type));
  seen_ = std::move(look).Seen();
}

}  // namespace kinora::engine
