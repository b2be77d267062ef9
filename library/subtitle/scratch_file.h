// A file in /tmp that a child writes and that is gone with this object.
#pragma once

#include <string>

namespace crvnkn::webapi::subtitle {

class ScratchFile {
 public:
  // Only the name is made, one that nobody guesses: "/tmp/CRVNVIDEO_<prefix>_<8 random characters>.srt". An
  // empty `extension` is "srt".
  explicit ScratchFile(const std::string& prefix, const std::string& extension);
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  const std::string& Path() const { return path_; }

  // What a child has written, up to 64 MiB; empty when it has written nothing, or more.
  std::string Read() const;
  // Puts this in the place of what a child has written. false when it has written nothing, or on an error.
  bool Overwrite(const std::string& content) const;

 private:
  const std::string path_;
};

}  // namespace crvnkn::webapi::subtitle
