#include "platform/engine/stream_listing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <optional>

#include "platform/base/folder.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_id.h"
#include "platform/engine/stream_places.h"
#include "platform/engine/stream_request.h"

namespace kinora::engine {
namespace {

using base::Descriptor;
using base::NamesIn;

// Read without a trace, which would pass for use.
std::string PathOfRaw(int stream) {
  const Descriptor file(
      ::openat(stream, "filepath", O_RDONLY | O_NOATIME | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  std::array<char, PATH_MAX> path{};
  const ssize_t size = file ? ::read(file.Get(), path.data(), path.size()) : 0;
  return size <= 0 ? "" : std::string(path.data(), static_cast<size_t>(size));
}

std::string FilmOf(const StreamFolder& folder, const std::string& type) {
  const auto request = ReadRequest(folder, type);
  return request ? request->file_path : "";
}

uint64_t BytesIn(int folder) {
  uint64_t bytes = 0;
  for (const std::string& name : NamesIn(folder)) {
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (S_ISREG(status.st_mode)) bytes += uint64_t{512} * static_cast<uint64_t>(status.st_blocks);
  }
  return bytes;
}

std::optional<ListedStream> Look(const std::string& type, const std::string& id) {
  const std::optional<StreamFolder> folder = StreamFolder::Open(type, id);
  const Descriptor stream = folder ? OpenOwnFolder(AT_FDCWD, folder->Path(".")) : Descriptor();
  if (!stream) return std::nullopt;
  ListedStream listed;
  listed.type = type;
  listed.id = id;
  listed.film = type == "RAW" ? PathOfRaw(stream.Get()) : FilmOf(*folder, type);
  listed.last_use = LastUse(stream.Get(), type);
  listed.bytes = BytesIn(stream.Get());
  const Descriptor work = OpenWorkFolder(stream.Get());
  if (work) listed.bytes += BytesIn(work.Get());
  listed.encoding = work && HasJob(work.Get());
  return listed;
}

}  // namespace

std::vector<ListedStream> ListStreams() {
  std::vector<ListedStream> streams;
  for (const std::string_view type : kStreamTypes) {
    for (const auto& [id, target] : ReadStreamLinks(std::string(type)).targets) {
      if (auto stream = Look(std::string(type), id)) streams.push_back(std::move(*stream));
    }
  }
  std::ranges::sort(streams, std::ranges::greater(), &ListedStream::last_use);
  return streams;
}

}  // namespace kinora::engine
