#include "platform/system/media_guard.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/base/text.h"

namespace kinora::system {
namespace {

constexpr char kUnit[] = "system/media_guard";

// libavformat looks at up to 1 MiB of a file before it gives up, and may pass over a tag at its begin.
constexpr size_t kLookedAt = (size_t{1} << 20) + (size_t{64} << 10);

// At the very begin of a file. Behind an ID3 tag ffmpeg looks for a format anew; no film begins with one.
constexpr std::string_view kBegins[] = {"#EXTM3U", "ffconcat", "# VobSub index file", "ID3"};

// Anywhere in text, in lower case: DASH, IMF, SDP.
constexpr std::string_view kPlaces[] = {
    "<mpd", "<compositionplaylist", "<assetmap", "\nc=in ip", "\nm=video", "\nm=audio"};

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// The beginning of the plain file; nothing, with errno, when it is none or cannot be read.
std::optional<std::string> Beginning(const std::string& path) {
  const base::Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat info {};
  if (!file || ::fstat(file.Get(), &info) != 0) return std::nullopt;
  if (!S_ISREG(info.st_mode)) {
    errno = EINVAL;
    return std::nullopt;
  }
  std::string bytes(kLookedAt, '\0');
  size_t length = 0;
  while (length < bytes.size()) {
    const ssize_t got = ::read(file.Get(), bytes.data() + length, bytes.size() - length);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) break;
    length += static_cast<size_t>(got);
  }
  bytes.resize(length);
  return bytes;
}

bool IsFine(const std::string& input) {
  std::string reason = "it is no absolute path";
  if (input.starts_with('/')) {
    const std::optional<std::string> beginning = Beginning(input);
    if (beginning && !MayNameOtherFiles(*beginning)) return true;
    reason = beginning ? "it names other files" : std::strerror(errno);
  }
  base::Log(LOG_ERR, kUnit, "ffmpeg is not given " + input + ": " + reason);
  return false;
}

}  // namespace

bool MayNameOtherFiles(std::string_view beginning) {
  if (beginning.starts_with(kByteOrderMark)) beginning.remove_prefix(kByteOrderMark.size());
  for (const std::string_view begin : kBegins) {
    if (beginning.starts_with(begin)) return true;
  }
  // These are searched for as strings, which end at the first zero byte.
  const std::string text = "\n" + base::ToLowerAscii(beginning.substr(0, beginning.find('\0')));
  for (const std::string_view place : kPlaces) {
    if (text.find(place) != std::string::npos) return true;
  }
  return false;
}

bool ReadsOneFile(const std::vector<std::string>& command) {
  if (command.empty() || !command.front().ends_with("/ffmpeg")) return true;
  for (size_t i = 1; i < command.size(); ++i) {
    if (command[i - 1] == "-i" && !IsFine(command[i])) return false;
  }
  return true;
}

}  // namespace kinora::system
