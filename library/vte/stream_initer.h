// Opening a stream: from a request to a stream that runs.
#pragma once

#include <json/json.h>

#include <string>
#include <vector>

#include "contract/engine/video_metadata.h"
#include "contract/webapi/error.h"
#include "library/export.h"
#include "library/vte/open_argument.h"

namespace crvnkn::webapi::vte {

// One request to open a stream, made from its completed arguments and used once. The stream that it leaves
// behind lives in the workspace and the engine; this object holds nothing of it but its name.
//
// Failures are thrown as Error; that of the media database itself (LibKinora::db::Failure) passes through.
// What a failed set-up has left in the workspace has no mark of use and is cleared away by the engine after
// hours.
class KINORA_EXPORT StreamIniter : public OpenArgument {
 public:
  // Loads the metadata of the file. Throws Error 1211 ("Failed to get track information <path>").
  explicit StreamIniter(const OpenArgument& argument);
  // Takes metadata that was loaded before. Throws Error 101 when it is that of another path.
  StreamIniter(const LibCrvnVTE::VideoMetaData& loaded, const OpenArgument& argument);
  ~StreamIniter();
  StreamIniter(const StreamIniter&) = default;
  StreamIniter& operator=(const StreamIniter&) = default;

  // Opens the stream in the best format that the rules allow and whose set-up succeeds, then `stream_id` and
  // `stream_format` are set. Throws Error 101 when `format` or `file_path` is empty, 1211 when no format is
  // allowed, else the last set-up's failure, or 100 without a message when there was none to report.
  void LegacyProcess();

  // The names of the formats that file and request allow; the order means nothing. Throws Error 1211 when
  // there is none.
  std::vector<std::string> DetermineAvailableFormats() const;

  // Set-up routines, one for each format; each gives the new stream's id or throws Error.
  //
  // HTTP Live Streaming, with the video copied (`remux`) or converted. The request must name the address that
  // is called back and a session or sharing link, else 1212; an `audio_format` that is not known is 1204;
  // what GetJsonSubtitleURL throws passes; 1212 when no profile fits; a refusal of the engine as
  // ThrowVTEError has it. For a "chromecast" the `profile` "hd_high" or "sd_high" becomes "appletv_hd_high"
  // and stays that.
  std::string InitHLS(bool remux);
  // Smooth Streaming. The request must name the address that is called back, else 1212; 1212 when no profile
  // fits; a refusal of the engine as ThrowVTEError has it. The stream has a mark of use at once, and its
  // first fragment is made before the player asks for it, if that can be done.
  std::string InitSS();
  // Live WebM, which starts only when it is asked for. 1212 when no profile fits; a refusal of the engine as
  // ThrowVTEError has it. Stale streams are swept even when it fails.
  std::string InitWEBM();
  std::string InitRAW();

  // Reserves an id, a working folder and its space for a file that goes out as it is. Throws Error 1203 when
  // no volume has the space, else 1212.
  std::string InitDirectStream();

  // Closes the streams of one type ("RAW", "HLS", "SS", "WEBM") whose mark of use is older than 60 seconds; a
  // stream without a mark is left alone. false, with a line in the log, only when `type` is empty.
  bool RemoveTimeoutDir(const std::string& type);
  // The same for the types that the engine works for: "HLS", "SS", "WEBM".
  void RemoveTimeoutVTEDir();

  // The addresses by which engine and player call back: objects with "url" and the parameters of its query.
  // The subtitle's throws Error 101 ("Bad parameter uid") when a subtitle is asked for on nobody's behalf.
  Json::Value GetJsonStreamURL() const;    // of an HLS stream's playlists and fragments
  Json::Value GetSSJsonStreamURL() const;  // of a Smooth Streaming stream's; it names the session alone
  Json::Value GetJsonSubtitleURL() const;

  LibCrvnVTE::VideoMetaData metadata;  // of `file_path`
  std::string stream_id;               // empty until the stream is open
  std::string stream_format;  // "hls", "hls_remux", "ss", "webm_remux" or "raw": whose set-up succeeded
  Error last_error{kErrorUnspecified};  // the most recent set-up's failure
};

}  // namespace crvnkn::webapi::vte
