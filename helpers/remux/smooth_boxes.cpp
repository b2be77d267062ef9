#include "helpers/remux/smooth_boxes.h"

#include <string_view>

namespace kinora::helper {
namespace {

constexpr size_t kBoxHead = 8;  // bytes: size and type
constexpr uint32_t kTrack = 1;

// The flags of a sample: what it depends on, and whether one can start at it.
constexpr uint32_t kAlone = 0x02000000;
constexpr uint32_t kDepends = 0x01010000;

constexpr uint32_t kHasDefaultFlags = 0x20;                // of tfhd
constexpr uint32_t kHasOffset = 0x001;                     // of trun
constexpr uint32_t kHasFirstFlags = 0x004;                 // of trun
constexpr uint32_t kHasDurationsAndSizes = 0x100 | 0x200;  // of trun

constexpr std::string_view kTimeBox("\x6d\x1d\x9b\x05\x42\xd5\x44\xe6\x80\xe2\x14\x1d\xaf\xf7\x57\xb2", 16);
constexpr uint32_t kTimeBoxVersion = 1;  // with times of 64 bits

std::string U32(uint32_t number) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
  return bytes;
}

std::string U64(uint64_t number) {
  return U32(static_cast<uint32_t>(number >> 32)) + U32(static_cast<uint32_t>(number));
}

std::string Box(std::string_view type, const std::string& content) {
  return U32(static_cast<uint32_t>(kBoxHead + content.size())).append(type) + content;
}

std::string VersionAndFlags(uint32_t version, uint32_t flags) { return U32(version << 24 | flags); }

std::string TrackRun(const ChunkHead& head, uint32_t offset) {
  uint32_t flags = kHasOffset | kHasDurationsAndSizes;
  if (head.picture) flags |= kHasFirstFlags;
  std::string content =
      VersionAndFlags(0, flags) + U32(static_cast<uint32_t>(head.samples.size())) + U32(offset);
  if (head.picture) content += U32(kAlone);
  for (const ChunkSample& sample : head.samples) content += U32(sample.duration) + U32(sample.size);
  return Box("trun", content);
}

// `offset`: from the box's beginning to the first sample.
std::string MovieFragment(const ChunkHead& head, uint32_t offset) {
  const std::string header =
      Box("tfhd", VersionAndFlags(0, kHasDefaultFlags) + U32(kTrack) + U32(head.picture ? kDepends : kAlone));
  const std::string times = Box("uuid", std::string(kTimeBox) + VersionAndFlags(kTimeBoxVersion, 0) +
                                            U64(head.start) + U64(head.duration));
  return Box("moof", Box("mfhd", VersionAndFlags(0, 0) + U32(head.sequence)) +
                         Box("traf", header + TrackRun(head, offset) + times));
}

}  // namespace

std::string WriteHead(const ChunkHead& head) {
  const size_t size = MovieFragment(head, 0).size();
  uint64_t samples = 0;
  for (const ChunkSample& sample : head.samples) samples += sample.size;
  return MovieFragment(head, static_cast<uint32_t>(size + kBoxHead)) +
         U32(static_cast<uint32_t>(kBoxHead + samples)) + "mdat";
}

}  // namespace kinora::helper
