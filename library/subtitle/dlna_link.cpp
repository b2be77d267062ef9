#include "library/subtitle/dlna_link.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "contract/system/ea_dir.h"
#include "contract/webapi/error.h"
#include "library/subtitle/ownership.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr char kLinkName[] = "CRVNVIDEO_SUBTITLE_DLNA.srt";

// The film's owner could put a link to somebody else's file there, and we would read it as root.
bool MayBeFollowed(const std::string& link) {
  struct stat itself {};
  struct stat target {};
  if (::lstat(link.c_str(), &itself) != 0) return false;
  return IsOurs(itself.st_uid) || ::stat(link.c_str(), &target) != 0 || itself.st_uid == target.st_uid;
}

}  // namespace

std::string SubtitleOfDlnaRenderer(const std::string& video_path) {
  std::array<char, 4096> buffer{};
  if (::GetEADirPath(video_path.c_str(), buffer.data(), static_cast<int>(buffer.size())) != 0)
    throw Error(kErrorDlnaLink, "GetEADirPath failed: " + video_path);
  const std::string link = std::string(buffer.data()) + "/" + kLinkName;
  buffer.fill('\0');
  const ssize_t length = ::readlink(link.c_str(), buffer.data(), buffer.size());
  if (length < 0 || !MayBeFollowed(link)) throw Error(kErrorDlnaLink, "readlink failed: " + link);
  return {buffer.data(), static_cast<size_t>(length)};
}

}  // namespace crvnkn::webapi::subtitle
