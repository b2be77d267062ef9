#include "entry/stream_owner.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "entry/numbers.h"
#include "platform/base/atomic_file.h"
#include "platform/base/descriptor.h"
#include "platform/system/places.h"

namespace kinora::entry {
namespace {

constexpr size_t kShortestId = 16;  // far below what 128 random bits need: the form is what counts here
constexpr size_t kLongestId = 128;

bool IsLetterOrDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

}  // namespace

bool IsStreamId(const std::string& id) {
  return id.size() >= kShortestId && id.size() <= kLongestId &&
         std::all_of(id.begin(), id.end(), IsLetterOrDigit);
}

std::string StreamFolder(const std::string& type, const std::string& id) {
  return std::string(system::kWorkspace) + "/" + type + "/" + id;
}

void RecordOwner(const std::string& folder, int account) {
  base::WriteFileAtomically(folder + "/owner", std::to_string(account), 0600);
}

std::optional<int> OwnerOf(const std::string& folder) {
  const base::Descriptor file(open((folder + "/owner").c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!file) return std::nullopt;
  char text[16];
  const ssize_t length = read(file.Get(), text, sizeof text);
  if (length <= 0) return std::nullopt;
  const auto id = ParseNumber(std::string(text, static_cast<size_t>(length)), INT32_MAX);
  if (!id || *id < 1) return std::nullopt;
  return static_cast<int>(*id);
}

}  // namespace kinora::entry
