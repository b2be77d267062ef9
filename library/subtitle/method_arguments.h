// The parameters of one request for a subtitle.
#pragma once

#include <cstdint>
#include <string>

#include "library/export.h"

namespace crvnkn::webapi::subtitle {

// Filled by the caller from the request, then handed to OutputSubtitle. Strings are bytes; text is UTF-8.
class KINORA_EXPORT GetMethodArguments {
 public:
  GetMethodArguments();
  ~GetMethodArguments();
  GetMethodArguments(const GetMethodArguments&) = default;
  GetMethodArguments& operator=(const GetMethodArguments&) = default;

  // Whether the subtitle is inside the video: `subtitle_id` begins with a decimal digit.
  bool IsEmbedded() const;

  // The folder of the subtitle's cache files, from the platform when it is asked for first, then from
  // `ea_path`. Empty, with a line in the log, when the platform has none; the next call asks again.
  std::string GetSubtitleEaPath();

  std::string video_path;  // absolute
  // A decimal number: the index of a stream of the video; "DLNA": the subtitle that a DLNA renderer was
  // given; else the absolute path of a subtitle file.
  std::string subtitle_id;
  std::string codepage = "auto";  // charset of a subtitle file; "auto": to be detected
  std::string ea_path;            // filled by GetSubtitleEaPath
  int32_t start_time = -1;        // seconds; the window of the answer, -1: none
  int32_t end_time = -1;
  bool output_webvtt = false;        // else SubRip
  bool preview = false;              // the first minutes only, which are there sooner
  bool keep_basic_tags = false;      // b, i, u, font and br stay
  bool strip_stray_brackets = true;  // "<" and ">" outside of tags that stay go
  int32_t uid = -1;                  // the account that asks; -1 and 0: none
};

}  // namespace crvnkn::webapi::subtitle
