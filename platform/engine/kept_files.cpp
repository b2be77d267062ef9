#include "platform/engine/kept_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

constexpr time_t kScratchAge = 600;  // seconds; nobody writes a file for so long

struct KeptFile {
  fs::path path;
  timespec used{};
  uint64_t size = 0;
};

struct Found {
  std::vector<KeptFile> files;    // whole ones of the kind
  std::vector<fs::path> scratch;  // what writers that died have left
};

bool IsLater(const KeptFile& a, const KeptFile& b) {
  return std::pair(a.used.tv_sec, a.used.tv_nsec) > std::pair(b.used.tv_sec, b.used.tv_nsec);
}

Found Look(const std::string& folder, const KeptKind& kind) {
  Found found;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    const fs::path& path = entry->path();
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
    if (path.extension() == kind.extension) {
      found.files.push_back({path, status.st_mtim, static_cast<uint64_t>(status.st_size)});
    } else if (path.stem().extension() == kind.extension && ::time(nullptr) - status.st_mtime > kScratchAge) {
      found.scratch.push_back(path);
    }
  }
  std::sort(found.files.begin(), found.files.end(), IsLater);
  return found;
}

}  // namespace

void MakeRoom(const std::string& folder, const KeptKind& kind, uint64_t planned, uint64_t quota) {
  const Found found = Look(folder, kind);
  uint64_t bytes = planned;
  for (const KeptFile& file : found.files) bytes = std::max(bytes, file.size);
  for (size_t i = 0; i < found.files.size(); ++i) {
    bytes += found.files[i].size;
    const size_t with_the_new_one = i + 2;
    if (with_the_new_one > kind.most || (with_the_new_one > kind.least && bytes > quota)) {
      ::unlink(found.files[i].path.c_str());
    }
  }
  for (const fs::path& path : found.scratch) ::unlink(path.c_str());
}

bool Touch(const std::string& path) { return ::utimensat(AT_FDCWD, path.c_str(), nullptr, 0) == 0; }

}  // namespace kinora::engine
