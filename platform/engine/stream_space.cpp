#include "platform/engine/stream_space.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "contract/system/volume.h"
#include "platform/engine/stream_id.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

constexpr uint64_t kBlock = 512;  // bytes; the unit of st_blocks

uint64_t SpaceOfFolder(const std::string& path) {
  uint64_t space = 0;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(path, error), end; !error && entry != end;
       entry.increment(error)) {
    struct stat status {};
    if (::lstat(entry->path().c_str(), &status) == 0)
      space += static_cast<uint64_t>(status.st_blocks) * kBlock;
  }
  return space;
}

}  // namespace

bool HasSpaceForAStream() {
  VolumeInfo volume;
  unsigned int flags = 0;
  return VolumeAvailGet(kSpaceOfAStream, 0, volume, flags, 0) > 0;
}

uint64_t SpaceOf(const StreamFolder& folder) { return SpaceOfFolder(folder.Path("")); }

bool HasSpaceBelow(const StreamFolder& folder, uint64_t floor) {
  struct statvfs space {};
  if (::statvfs(folder.WorkPath(".").c_str(), &space) != 0) return true;  // what is wrong shows elsewhere
  return uint64_t{space.f_bavail} * space.f_frsize >= floor;
}

uint64_t SpaceOfAllStreams() {
  uint64_t space = 0;
  for (const std::string_view type : kStreamTypes) {
    std::error_code error;
    const fs::path links = fs::path(system::kWorkspace) / type;
    for (fs::directory_iterator entry(links, error), end; !error && entry != end; entry.increment(error)) {
      const auto folder = StreamFolder::Open(std::string(type), entry->path().filename());
      if (folder) space += SpaceOf(*folder);
    }
  }
  return space;
}

}  // namespace kinora::engine
