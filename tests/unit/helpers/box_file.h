// Cutting and pasting in MP4 files: a tree of boxes, each a size (32 bits, big-endian, the head included), a
// type of four letters, and its content (ISO/IEC 14496-12).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kinora::helper {

std::string BigEndian32(uint32_t value);
std::string BigEndian16(uint16_t value);

std::string Box(const std::string& type, const std::string& content);

// The content of the first box at the path ("moov", "trak", ...); empty when there is none.
std::string BoxAt(const std::string& file, const std::vector<std::string>& path);

// The file with the content of that box exchanged, and the sizes around it set right. Offsets into the media
// data stay right when it comes first.
std::string WithBox(const std::string& file, const std::vector<std::string>& path,
                    const std::string& content);

}  // namespace kinora::helper
