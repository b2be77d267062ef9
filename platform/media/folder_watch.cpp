#include "platform/media/folder_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <thread>

#include "platform/media/folder_walk.h"

namespace kinora::media {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPatience = 15;
// IN_CLOSE_WRITE and not IN_MODIFY: a film that is being copied is looked at when it is whole.
constexpr uint32_t kEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE |
                             IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_DONT_FOLLOW |
                             IN_EXCL_UNLINK;

bool Counts(const inotify_event& event) {
  if ((event.mask & IN_IGNORED) != 0) return false;  // follows the end of a folder, which was told of
  if ((event.mask & (IN_Q_OVERFLOW | IN_UNMOUNT)) != 0) return true;
  if (event.len == 0) return (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF)) != 0;
  const std::string_view name(event.name);
  if (name.starts_with('.')) return false;
  return (event.mask & IN_ISDIR) != 0 || HasVideoName(name);
}

}  // namespace

FolderWatch::FolderWatch(std::vector<std::string> folders, std::chrono::milliseconds quiet)
    : folders_(std::move(folders)), quiet_(quiet), inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!inotify_) gap_ = std::string("folders cannot be watched: ") + std::strerror(errno);
  WatchAll();
}

bool FolderWatch::Wait(std::chrono::milliseconds at_most) {
  const auto until = Clock::now() + at_most;
  if (!WaitForEvent(until)) return false;
  const auto latest = Clock::now() + kPatience * quiet_;
  while (WaitForEvent(std::min(Clock::now() + quiet_, latest))) {
  }
  WatchAll();
  return true;
}

// Folders that are watched already stay so: the system knows them by their inode.
void FolderWatch::WatchAll() {
  if (!inotify_) return;
  gap_.clear();
  for (const std::string& top : folders_) {
    // Each is watched before it is read: what comes into it later is told of, what was there before is found.
    const auto watch = [&](const std::string& folder) {
      WatchOne(folder.empty() ? top : top + "/" + folder);
    };
    const FolderWalk walk = WalkFolder(
        top, [](int64_t) {}, watch);
    if (!walk.opened) gap_ = top + " cannot be read";
    if (!walk.unread.empty()) gap_ = top + "/" + walk.unread.front() + " cannot be read";
  }
}

void FolderWatch::WatchOne(const std::string& path) {
  if (::inotify_add_watch(inotify_.Get(), path.c_str(), kEvents) >= 0) return;
  if (errno == ENOENT || errno == ENOTDIR) return;  // gone since it was found, which is a change by itself
  gap_ = errno == ENOSPC ? "the system's limit on watched folders is reached (fs.inotify.max_user_watches)"
                         : path + " cannot be watched: " + std::strerror(errno);
}

bool FolderWatch::WaitForEvent(Clock::time_point until) {
  if (!inotify_) {
    std::this_thread::sleep_until(until);
    return false;
  }
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
    pollfd ready{inotify_.Get(), POLLIN, 0};
    const int polled = ::poll(&ready, 1, static_cast<int>(std::clamp<int64_t>(left, 0, 1'000'000'000)));
    if (polled > 0 && ReadEvents()) return true;
    if (polled == 0 || Clock::now() >= until) return false;
  }
}

// Takes all that happened so far and tells whether any of it counts.
bool FolderWatch::ReadEvents() {
  alignas(inotify_event) std::array<char, size_t{16} * 1024> buffer{};
  bool counts = false;
  ssize_t got = 0;
  while ((got = ::read(inotify_.Get(), buffer.data(), buffer.size())) > 0) {
    for (const char* at = buffer.data(); at < buffer.data() + got;) {
      const auto* const event = reinterpret_cast<const inotify_event*>(at);
      counts = Counts(*event) || counts;
      at += sizeof(inotify_event) + event->len;
    }
  }
  return counts;
}

}  // namespace kinora::media
