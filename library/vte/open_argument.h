// The parameters of one request to open a stream.
#pragma once

#include <cstdint>
#include <string>

#include "library/export.h"

namespace crvnkn::webapi::vte {

// Filled by the caller from the request, completed by CheckFilePath, then handed to StreamIniter. Strings are
// bytes; text is UTF-8.
class KINORA_EXPORT OpenArgument {
 public:
  OpenArgument();
  ~OpenArgument();
  OpenArgument(const OpenArgument&) = default;
  OpenArgument& operator=(const OpenArgument&) = default;

  // Afterwards `file_path` is not empty: one that is there already stays, and `id` is not looked at;
  // otherwise it is the path of the video `id`. Throws Error 101 ("Bad parameter") when `id` is less than 1,
  // 1212 when the look-up gives an empty path, and what GetFilePathByID throws.
  void CheckFilePath();

  int32_t id = -1;              // the video's id in the media database
  std::string format;           // format or formats wanted, as the format rules read them; never empty
  std::string file_path;        // absolute
  std::string audio_track;      // id of the audio track wanted; empty: the file's first
  std::string host_prefix;      // scheme, host and port of the addresses that engine and player call
  std::string cgi_path;         // path of the stream web API, follows `host_prefix`
  std::string api;              // name of the stream web API
  std::string profile;          // quality wanted: "hd_high", "sd_high", "appletv_hd_high", ...
  std::string client;           // kind of player, such as "chromecast"
  bool hls_header = false;      // passed on in the stream's address
  bool force_open_vte = false;  // passed on in the stream's address
  std::string subtitle_id;      // subtitle to go with the stream
  std::string token;            // the request's "CrvnToken"
  std::string sid;              // session id of the login cookie
  bool is_sharing = false;      // the request came by a sharing link, not by a session
  std::string sharing_id;       // that link's id
  std::string audio_format;     // for HLS: empty (the engine decides), "ac3_copy", "aac" or "mp3"
  int32_t engine_flag = 1;      // passed on to the engine as it is
  int32_t uid = -1;             // the account that opens; -1 and 0: none
};

}  // namespace crvnkn::webapi::vte
