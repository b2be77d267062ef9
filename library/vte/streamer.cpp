#include "library/vte/streamer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "contract/system/hlibc.h"
#include "library/log.h"
#include "library/vte/utils.h"

namespace crvnkn::webapi::vte {
namespace {

constexpr char kLogUnit[] = "vte/streamer";
constexpr size_t kTargetLimit = 4096;  // with the NUL at its end

// Whether a path that ends in `name` names an entry of the folder before it, and nothing elsewhere.
bool IsFileName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

// Whether a recursive removal of `target` stays within the folder that it names: a relative one depends on
// where the process stands and may read as an option, and a slash at the end makes rm follow a link.
bool IsSafeToRemove(const std::string& target) { return target.front() == '/' && target.back() != '/'; }

// Empty when there is no such link.
std::string ReadLink(const std::string& link) {
  std::array<char, kTargetLimit> target{};
  return readlink(link.c_str(), target.data(), target.size() - 1) > 0 ? target.data() : std::string();
}

bool Exists(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0;
}

}  // namespace

Streamer::Streamer(const std::string& stream_id, StreamType type) : stream_id_(stream_id), type_(type) {}
Streamer::~Streamer() = default;

void Streamer::SetFragmentID(const std::string&) {}
void Streamer::SetPlaylistType(const std::string&) {}
void Streamer::SetSubtitleID(const std::string&) {}
void Streamer::SetSeekTime(unsigned long) {}

bool Streamer::Stream() const {
  if (stream_id_.empty() || type_ == kNone) return false;
  return StreamImp();
}

bool Streamer::Close() const {
  if (stream_id_.empty() || type_ == kNone) return false;
  if (!CloseImp()) {
    KINORA_LOG(LOG_ERR, kLogUnit, "VTE - Failed to close %s[%s]", GetStreamTypeString().c_str(),
               stream_id_.c_str());
  }
  return true;
}

std::string Streamer::GetStreamTypeString() const {
  switch (type_) {
    case kRaw:
      return "RAW";
    case kHls:
      return "HLS";
    case kSs:
      return "SS";
    case kWebm:
      return "WEBM";
    case kNone:
      break;
  }
  return {};
}

bool Streamer::RemoveDir() const {
  if (!IsFileName(stream_id_)) {
    KINORA_LOG(LOG_ERR, kLogUnit, "Refused to remove stream [%s]", stream_id_.c_str());
    return true;
  }
  const std::string link = JoinPath({kWorkspace, GetStreamTypeString(), stream_id_});
  const std::string target = ReadLink(link);
  if (!target.empty() && Exists(target)) {
    if (IsSafeToRemove(target)) {
      HLIBCExec("/bin/rm", "-rf", target.c_str(), static_cast<const char*>(nullptr));
    } else {
      KINORA_LOG(LOG_ERR, kLogUnit, "Refused to remove [%s]", target.c_str());
    }
  }
  unlink(link.c_str());
  return true;
}

std::string Streamer::GetPathAccessStatus() const {
  return JoinPath({kWorkspace, GetStreamTypeString(), stream_id_, "access_status"});
}

std::string Streamer::GetPathSourceFile() const {
  return JoinPath({kWorkspace, GetStreamTypeString(), stream_id_, "filepath"});
}

}  // namespace crvnkn::webapi::vte
