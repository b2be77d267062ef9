// A file that a child writes under a passing name, and that goes unless it is published.
#pragma once

#include <string>

#include "platform/base/descriptor.h"

namespace kinora::engine {

// What writers that were killed have left beside a fragment is its name and this, random characters in place
// of the X.
inline constexpr char kScratchSuffix[] = ".XXXXXX";

// All operations throw std::system_error; after one has thrown, the file can only be dropped.
class ScratchFile {
 public:
  explicit ScratchFile(std::string path);
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  int File() const { return file_.Get(); }
  void Empty() const;
  // The file has its name, in place of any other; a machine that falls may tear it.
  void Replace();
  // Brought to the disk; then it has its name, unless somebody was faster: then his stays.
  void PublishOnce();

 private:
  std::string path_;
  std::string scratch_;
  base::Descriptor file_;
};

}  // namespace kinora::engine
