// The stream that is the video file itself, with byte ranges.
#pragma once

#include <string>

#include "library/vte/streamer.h"

namespace crvnkn::webapi::vte {

// Serves the file whose path the opening left in the workspace; closing removes the working folder. An MP4 or
// QuickTime file goes out as "video/mp4", which players take, any other under the type of its file name.
class KINORA_EXPORT RAW : public Streamer {
 public:
  explicit RAW(const std::string& stream_id);
  ~RAW() override;

 protected:
  // Writes the "Accept-Ranges" line and leaves the rest of the answer to the platform's file output. A stream
  // without a source path gives false with nothing written.
  bool StreamImp() const override;
  bool CloseImp() const override;
};

}  // namespace crvnkn::webapi::vte
