// What serves and closes a stream that was opened before.
#pragma once

#include <cstdint>
#include <string>

#include "library/export.h"

namespace crvnkn::webapi::vte {

// The base of one class for each type of stream. GetStreamerAPI makes the right one from what a request
// brings: the stream's id and its format. The request's optional fields are passed on through the setters; a
// class that has no use for a field ignores it.
//
// A stream id becomes part of a path. The caller lets in only ids of the form that
// LibCrvnVTE::VTEStream::GetRandStreamID gives (letters and digits) and checks that the request may use the
// stream; nothing here knows whose stream it is.
class KINORA_EXPORT Streamer {
 public:
  enum StreamType : int32_t { kNone = 0, kRaw = 1, kHls = 2, kSs = 3, kWebm = 4 };

  Streamer(const std::string& stream_id, StreamType type);
  virtual ~Streamer();
  Streamer(const Streamer&) = delete;
  Streamer& operator=(const Streamer&) = delete;

  virtual void SetFragmentID(const std::string& fragment_id);
  virtual void SetPlaylistType(const std::string& playlist_type);
  virtual void SetSubtitleID(const std::string& subtitle_id);
  virtual void SetSeekTime(unsigned long seconds);

  // Writes the CGI answer to standard output. false when the id is empty, the type is none, or the answer
  // failed, with a line in the log; lines that were written before the failure stay written. Never throws for
  // an ordinary failure.
  bool Stream() const;

  // Ends the stream and removes its working folder. false only when the id is empty or the type is none: a
  // close that failed is logged and counts as done, and so does one of a stream that is gone already.
  bool Close() const;

  // "RAW", "HLS", "SS" or "WEBM": the name of the type's folder in the workspace. Empty for any other type.
  std::string GetStreamTypeString() const;

  // Deletes the stream's working folder and the link to it; always true. What is deleted with all it holds is
  // what the link names, so the workspace must be closed to everybody but the service, which its maker sees
  // to. An id that is no plain file name touches nothing, and a link that does not name an absolute path
  // without a slash at its end is removed without following it; both are logged.
  bool RemoveDir() const;

  std::string GetPathAccessStatus() const;  // the stream's mark of use
  std::string GetPathSourceFile() const;    // the file that holds the source's path

 protected:
  virtual bool StreamImp() const = 0;  // writes the answer; called with an id and a type only
  virtual bool CloseImp() const = 0;   // stops the stream and frees what it holds

  const std::string stream_id_;
  const StreamType type_;
};

}  // namespace crvnkn::webapi::vte
