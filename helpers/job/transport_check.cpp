#include "helpers/job/transport_check.h"

#include <cstdint>
#include <map>

namespace kinora::helper {
namespace {

constexpr size_t kPacket = 188;
constexpr uint8_t kSync = 0x47;
constexpr int kNullStream = 0x1FFF;
constexpr int kProgramTable = 0;
constexpr size_t kFewestStreams = 3;  // the program table, its map, what is shown or heard

// The fields of a packet's header that count it.
struct Header {
  int stream = 0;
  bool has_payload = false;
  bool may_jump = false;  // the packet itself says that the count starts anew
  int count = 0;
};

Header HeaderOf(std::string_view packet) {
  const auto byte = [&packet](size_t at) { return static_cast<uint8_t>(packet[at]); };
  Header header;
  header.stream = (byte(1) & 0x1F) << 8 | byte(2);
  header.has_payload = (byte(3) & 0x10) != 0;
  const bool has_adaptation = (byte(3) & 0x20) != 0;
  header.may_jump = has_adaptation && byte(4) > 0 && (byte(5) & 0x80) != 0;
  header.count = byte(3) & 0x0F;
  return header;
}

}  // namespace

std::string FaultOfTransportStream(std::string_view bytes) {
  if (bytes.empty()) return "empty";
  if (bytes.size() % kPacket != 0) return "cut off";
  std::map<int, int> counts;
  for (size_t at = 0; at < bytes.size(); at += kPacket) {
    const std::string_view packet = bytes.substr(at, kPacket);
    if (static_cast<uint8_t>(packet[0]) != kSync) return "no packet at " + std::to_string(at);
    const Header header = HeaderOf(packet);
    if (header.stream == kNullStream || !header.has_payload) continue;
    const auto [known, is_new] = counts.try_emplace(header.stream, header.count);
    if (!is_new && !header.may_jump && header.count != (known->second + 1) % 16) {
      return "a gap at " + std::to_string(at);
    }
    known->second = header.count;
  }
  if (!counts.contains(kProgramTable) || counts.size() < kFewestStreams) return "nothing in it";
  return "";
}

}  // namespace kinora::helper
