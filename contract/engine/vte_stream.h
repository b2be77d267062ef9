// What all streams of the engine share: their names and the disk space under them.
#pragma once

#include <cstdint>
#include <string>

namespace LibCrvnVTE {

class VTEStream {
 public:
  // A fresh id for a stream of the file: letters and digits only, at least 128 random bits, so that it can
  // stand in a path and cannot be guessed. Empty when the file path is empty or the machine yields no random
  // bytes.
  static std::string GetRandStreamID(const std::string& file_path);

  // Makes a working directory with mode 0700 on a volume that has at least `bytes_needed` bytes free and
  // links it to "/tmp/Kinora/<type_name>/<stream_id>". `type_name` is "RAW", "HLS", "SS" or "WEBM" and its
  // directory must exist already and belong to this account; `stream_id` must have the form that
  // GetRandStreamID gives. An existing name is never reused. false, with a line in the system log and nothing
  // of the stream left behind, when no volume has the space, a name is malformed, or the link cannot be made.
  static bool GetVolTmpAndSymlink(uint64_t bytes_needed, const std::string& stream_id,
                                  const std::string& type_name);
};

}  // namespace LibCrvnVTE
