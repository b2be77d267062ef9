// Subtitles in other formats than SubRip, for ffmpeg to read: what its readers would stumble over is put
// right beforehand, and what is in the text is counted, since they lose cues without a word.
//
// WebVTT   a STYLE or REGION block loses cues up to all of them: such blocks are left out
// ASS, SSA events are taken to have the usual columns, whatever "Format:" says: they get these
//
// The text is UTF-8 with LF at the line ends.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace crvnkn::webapi::subtitle {

// The text in a form that is read; as it is where there is nothing to put right.
std::string ForReader(const std::string& text);

// How many cues there are in it; nothing where the format is not known. SubRip is known, too.
std::optional<size_t> CountCues(const std::string& text);

}  // namespace crvnkn::webapi::subtitle
