#include "platform/base/folder.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace kinora::base {
namespace {

constexpr int kStepFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

}  // namespace

std::vector<std::string> PartsOf(const std::string& path) {
  std::vector<std::string> parts = {"/"};
  if (!path.starts_with('/') || path.find('\0') != std::string::npos) return {};
  for (size_t start = 1; start < path.size();) {
    const size_t end = std::min(path.find('/', start), path.size());
    std::string part = path.substr(start, end - start);
    start = end + 1;
    if (part == "." || part == "..") return {};
    if (!part.empty()) parts.push_back(std::move(part));
  }
  return parts;
}

Descriptor OpenFolderWithoutLinks(const std::string& path) {
  errno = EINVAL;
  Descriptor here;
  for (const std::string& part : PartsOf(path)) {
    here = Descriptor(::openat(here ? here.Get() : AT_FDCWD, part.c_str(), kStepFlags));
    if (!here) break;
  }
  return here;
}

std::vector<std::string> NamesIn(int folder) {
  Descriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(readable ? ::fdopendir(readable.Get()) : nullptr,
                                                    ::closedir);
  std::vector<std::string> names;
  if (!listing) return names;
  static_cast<void>(readable.Release());  // the listing's now
  while (const dirent* const entry = ::readdir(listing.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

}  // namespace kinora::base
