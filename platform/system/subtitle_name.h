// What the name of a subtitle's file tells.
//
// It begins as the video's name does; then come, apart from each other by points, blanks, "_", "-" or
// brackets, the language and a few words about the kind of subtitle, in any order:
//
//   Movie.srt   Movie.en.srt   Movie.zh-TW.forced.ass   Movie_eng.sdh.srt   Movie - English (SDH).srt
//
// They are read from the end on, up to the first word that is none of them. The name's first word belongs to
// the video always: "Polish.srt" has no language.
#pragma once

#include <string>
#include <string_view>

namespace kinora::system {

struct SubtitleName {
  std::string extension;  // without its point, as it is written; empty when there is none
  std::string language;   // "en", "zh-TW", "sr-Latn"; empty when the name does not tell
  bool forced = false;
  bool hearing_impaired = false;
};

// Of a path, or a bare name.
SubtitleName ReadSubtitleName(std::string_view path);

// Whether a file of that name holds subtitles, by its extension.
bool HasSubtitleExtension(std::string_view name);

// The name without the folders.
std::string_view BaseName(std::string_view path);

// The name without its extension: "Movie.en" of "Movie.en.srt".
std::string_view WithoutExtension(std::string_view name);

// Whether what comes after a video's name may be about its subtitle: nothing, or something apart from it.
bool GoesOnApart(std::string_view rest);

}  // namespace kinora::system
