// Giving up what a program that parses strangers' files does not need.
#pragma once

#include <cstdint>
#include <string>

namespace kinora::helper {

inline constexpr uint64_t kLittle = uint64_t{16} << 20;  // bytes
inline constexpr uint64_t kShort = 60;                   // seconds of the processor

// The one who starts us gives us no rights and sets limits. Should that have gone wrong, we do it ourselves:
// any capability goes, root becomes nobody, no new file, socket or process can be had, memory and time are
// bounded, and so is the length of what is written to a file. To be called before the first byte of the file
// is read. Returns what could not be done, or an empty text.
std::string GiveUpRights(uint64_t file_size = kLittle, uint64_t seconds = kShort);

// The rights alone: files and processes can still be had, as far as the account may. For who does not read
// the files himself.
std::string DropRights();

}  // namespace kinora::helper
