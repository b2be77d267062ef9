// A file that is either the old one or the whole new one, whatever happens in between.
#pragma once

#include <string>
#include <string_view>

#include "platform/base/descriptor.h"

namespace kinora::base {

// Written aside in the same directory, synced, then renamed over the target by Commit. Without Commit nothing
// is left behind. All operations throw std::system_error; after one has thrown, the file can only be dropped.
class AtomicFile {
 public:
  AtomicFile(std::string path, unsigned int mode);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  void Write(std::string_view bytes);
  void Commit();

 private:
  std::string path_;
  std::string scratch_;
  Descriptor file_;
};

// The whole content at once.
void WriteFileAtomically(const std::string& path, std::string_view bytes, unsigned int mode);

// Removes what writers of this file that were killed have left beside it. For who is its only writer, or
// holds the lock that makes him so. Never fails: what cannot be removed stays.
void RemoveScratchOf(const std::string& path) noexcept;

}  // namespace kinora::base
