// ffmpeg, as it makes SubRip of a track of a film, or of a subtitle's file.
#pragma once

#include <string>

namespace crvnkn::webapi::subtitle {

struct RipOrder {
  std::string input;     // the film, or the text in UTF-8
  int track = -1;        // the stream's index; kNoTrack: the input's only one
  bool preview = false;  // its first five minutes alone
};

// Makes the file `output`. false, with a line in the log, when ffmpeg did not run to its end; what it made of
// the input, if anything, is for the caller to see.
bool RipSubtitle(const RipOrder& order, const std::string& output);

}  // namespace crvnkn::webapi::subtitle
