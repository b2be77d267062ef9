// The files of subtitles beside a video, and what their names tell.
#pragma once

#include <json/json.h>

#include <string>

namespace libkn::subtitle {

// What the name of a file tells: "basename", the name without its folders; "extension" without the point, as
// it is written; "language" as ISO 639 has it ("en", "zh-TW", "pt-BR", ...), from the parts before the
// extension, be it a code of two or three letters or the language's English name; "forced" and
// "hearing_impaired" (true or false) from words like "forced", "sdh" and "cc" there. A text is empty when the
// name does not tell. The file itself is not looked at.
Json::Value PathInfo(const std::string& path);

// Fills `list` with the absolute paths of the video's external subtitles, sorted: plain files (links are
// none) beside it and in the folders "Subs" and "Subtitles" beside it, in whatever case these are written,
// whose extension is one of a subtitle's and whose name is the video's without its extension, or begins with
// that and a point, a blank, "-", "_", "(" or "[". Left out are those that fit another video beside it better
// ("Movie 2.srt" where there is "Movie 2.mkv"), and files "sub" that hold pictures (there is an "idx" of the
// same name). The video itself need not be there; where its folder is not, there are none. 0, or a negative
// number, with a line in the system log, when the folder is there and cannot be read.
int GetExternalSubtitle(const std::string& video_path, Json::Value& list);

// Whether subtitles within a file of this container (VideoMetaData::GetContainer) can be asked for.
bool IsAllowEmbaddedSubtitleContiner(const std::string& container);

// Whether this codec (FFmpeg's name, lower case) holds text that ffmpeg can turn into SubRip.
bool IsTextBaseSubtitleCodec(const std::string& codec);

}  // namespace libkn::subtitle
