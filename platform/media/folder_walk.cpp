#include "platform/media/folder_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>

#include "platform/base/descriptor.h"
#include "platform/base/file_time.h"
#include "platform/base/log.h"
#include "platform/base/text.h"

namespace kinora::media {
namespace {

constexpr char kUnit[] = "media/folder_walk";
constexpr std::array kExtensions = std::to_array<std::string_view>({
    "3g2", "3gp",  "asf", "avi",  "divx", "dv",  "f4v",  "flv", "m1v",  "m2t", "m2ts", "m2v",
    "m4v", "mk3d", "mkv", "mov",  "mp4",  "mpe", "mpeg", "mpg", "mts",  "mxf", "nut",  "ogm",
    "ogv", "qt",   "rm",  "rmvb", "tp",   "trp", "ts",   "vob", "webm", "wmv", "wtv",  "xvid",
});

constexpr int64_t kTellEvery = 256;  // files

// A folder still to be read, and those around it, by which one that holds itself is known.
struct Folder {
  std::string name;  // relative; empty for the topmost
  std::shared_ptr<const Folder> around;
  dev_t device = 0;
  ino_t inode = 0;
};

class Walker {
 public:
  Walker(const std::string& path, const std::function<void(int64_t)>& seen,
         const std::function<void(const std::string&)>& entering)
      : path_(path), seen_(seen), entering_(entering) {}

  FolderWalk Walk() {
    root_ = base::Descriptor(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root_) {
      base::Log(LOG_ERR, kUnit, "cannot open " + path_ + ": " + std::strerror(errno));
      return std::move(walk_);
    }
    walk_.mounted = IsMounted();
    walk_.opened = true;
    todo_.push_back(std::make_shared<Folder>());
    while (!todo_.empty()) {
      const std::shared_ptr<Folder> folder = std::move(todo_.back());
      todo_.pop_back();
      if (Read(folder)) continue;
      base::Log(LOG_ERR, kUnit, "cannot read " + path_ + "/" + folder->name + ": " + std::strerror(errno));
      if (folder->name.empty()) walk_.opened = false;
      walk_.unread.push_back(folder->name);
    }
    seen_(static_cast<int64_t>(walk_.files.size()));
    return std::move(walk_);
  }

 private:
  bool IsMounted() const {
    struct statx info {};
    return ::statx(root_.Get(), "", AT_EMPTY_PATH, 0, &info) == 0 &&
           (info.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
  }

  // Step by step from the top, so that no part of the way can be a link.
  base::Descriptor Open(const std::string& name) const {
    base::Descriptor at(::fcntl(root_.Get(), F_DUPFD_CLOEXEC, 0));
    size_t begin = 0;
    while (at && begin < name.size()) {
      const size_t end = std::min(name.find('/', begin), name.size());
      const std::string part = name.substr(begin, end - begin);
      at =
          base::Descriptor(::openat(at.Get(), part.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
      begin = end + 1;
    }
    return at;
  }

  static bool HoldsItself(const Folder& folder) {
    for (const Folder* around = folder.around.get(); around != nullptr; around = around->around.get()) {
      if (around->device == folder.device && around->inode == folder.inode) return true;
    }
    return false;
  }

  // false, with errno, when the folder cannot be read to its end. One that is gone, or that became something
  // else, has nothing in it.
  bool Read(const std::shared_ptr<Folder>& folder) {
    base::Descriptor opened = Open(folder->name);
    if (!opened) return errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
    struct stat info {};
    if (::fstat(opened.Get(), &info) != 0) return false;
    folder->device = info.st_dev;
    folder->inode = info.st_ino;
    if (HoldsItself(*folder)) return true;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::fdopendir(opened.Get()), ::closedir);
    if (!directory) return false;
    static_cast<void>(opened.Release());
    if (entering_) entering_(folder->name);
    while (true) {
      errno = 0;
      const dirent* const entry = ::readdir(directory.get());
      if (entry == nullptr) return errno == 0;
      Take(folder, ::dirfd(directory.get()), *entry);
    }
  }

  void Take(const std::shared_ptr<Folder>& folder, int directory, const dirent& entry) {
    const std::string_view own(entry.d_name);
    if (own.starts_with('.')) return;
    const bool video = HasVideoName(own);
    if (entry.d_type == DT_LNK || (entry.d_type != DT_DIR && entry.d_type != DT_UNKNOWN && !video)) return;
    std::string name = folder->name.empty() ? std::string(own) : folder->name + "/" + std::string(own);
    if (path_.size() + 1 + name.size() >= PATH_MAX) {
      base::Log(LOG_WARNING, kUnit, "a name is too long, below " + path_ + "/" + folder->name.substr(0, 200));
      return;
    }
    struct stat info {};
    if (entry.d_type != DT_DIR && ::fstatat(directory, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) return;
    if (entry.d_type == DT_DIR || S_ISDIR(info.st_mode)) {
      todo_.push_back(std::make_shared<Folder>(Folder{std::move(name), folder}));
    } else if (video && S_ISREG(info.st_mode)) {
      const int64_t modified = base::NanosecondsOf(info.st_mtim);
      walk_.files.push_back({std::move(name), info.st_size, modified, static_cast<int64_t>(info.st_ino)});
      const auto count = static_cast<int64_t>(walk_.files.size());
      if (count % kTellEvery == 0) seen_(count);
    }
  }

  std::string path_;
  const std::function<void(int64_t)>& seen_;
  const std::function<void(const std::string&)>& entering_;
  base::Descriptor root_;
  std::vector<std::shared_ptr<Folder>> todo_;
  FolderWalk walk_;
};

}  // namespace

bool HasVideoName(std::string_view name) {
  const size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || name.starts_with('.')) return false;
  return std::ranges::find(kExtensions, base::ToLowerAscii(name.substr(dot + 1))) != kExtensions.end();
}

bool LiesBelow(std::string_view name, std::string_view folder) {
  return folder.empty() ||
         (name.size() > folder.size() && name.starts_with(folder) && name[folder.size()] == '/');
}

FolderWalk WalkFolder(const std::string& path, const std::function<void(int64_t)>& seen,
                      const std::function<void(const std::string& folder)>& entering) {
  return Walker(path, seen, entering).Walk();
}

}  // namespace kinora::media
