// Which subtitles a player can ask for: files beside a video, and streams inside it.
#pragma once

#include <json/json.h>

#include <string>

#include "library/export.h"

namespace crvnkn::webapi::subtitle {

// An array of objects, files first, then streams:
//   "id"           the path of a file (text), or the number of a stream
//   "lang"         as ISO 639 has it; empty when it is not known
//   "title"        empty for a file
//   "format"       "srt" for all text, "pgs" and "dvdsub" for pictures; absent for files of other kinds
//   "embedded"     whether it is a stream
//   "need_preview" whether a stream of text has not been extracted yet
// Streams of pictures are listed only with `include_image`.
KINORA_EXPORT Json::Value GetSubtitleList(const std::string& video_path, bool include_image);

// Whether the track of the video has been taken out before, whatever has become of the video since.
KINORA_EXPORT bool IsEmbeddedSubtitleHasCached(const std::string& video_path, int track);

// The entry of a file.
KINORA_EXPORT Json::Value FillExternalSubtitleInfo(const std::string& path);

// Appends to `tracks` what the engine knows of each stream that is listed
// (VideoMetaData::GetSubtitleTrackInfo), with "track" as a number, and "format" and "need_preview" as above.
// 0, or -1 when the video cannot be read or is of a container without subtitles.
KINORA_EXPORT int GetEmbeddedSubtitle(const std::string& video_path, bool include_image, Json::Value& tracks);

// Whether the id is that of a file: it begins with "/".
KINORA_EXPORT bool IsExternal(const std::string& id);
// Whether the id is that of a stream: nothing but decimal digits, be it none at all.
KINORA_EXPORT bool IsInternal(const std::string& id);

}  // namespace crvnkn::webapi::subtitle
