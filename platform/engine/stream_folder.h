// The folder of a stream: all there is to know about it, whoever asks.
//
//   /tmp/Kinora/<type>/<stream id>/     (a link to a working folder on a volume)
//     request.json     what was asked for when the stream was prepared
//     plan.json        the plan, written once the stream is accepted
//     *.m3u8           of HLS: the playlists, written with it; those of subtitles when they are first asked
//     for subtitles.json   of HLS: what these are made from (subtitle_playlist.h), where there are any
//     Manifest         of Smooth Streaming: the manifest, written with it
//     encoder.json     of WebM: the process that makes the body (live_record.h)
//     access_status    its modification time is when a fragment was last asked for
//     owner            whose stream it is (the web API's)
//     lock             held (flock) while somebody decides about the stream's job
//     work/            what children may write to; belongs to the identity that they have
//       <n>.ts           main fragment n, whole
//       a<track>_<n>.ts  fragment n of an audio track that is a rendition of its own, whole
//       <the same>.m4s   of Smooth Streaming: a chunk, made of that fragment, whole
//       wanted           text: the number of the main fragment that was asked for last; its modification time
//                        is when
//       job.json, job.lock   who encodes (job.h)
#pragma once

#include <optional>
#include <string>

#include "platform/base/descriptor.h"

namespace kinora::engine {

class StreamFolder {
 public:
  // The folder of a stream that exists. Nothing when the id is malformed, there is no such stream, or what
  // the link names does not belong to this account. `type` is "HLS", "SS" or "WEBM".
  static std::optional<StreamFolder> Open(const std::string& type, const std::string& stream_id);

  const std::string& StreamId() const { return id_; }
  std::string Path(const std::string& name) const;      // in the folder
  std::string WorkPath(const std::string& name) const;  // in its work folder

  // A record of the folder, whole. Nothing when it is not there, is not a plain file, or is longer than 16
  // MB.
  std::optional<std::string> Read(const std::string& name) const;
  // Written aside, synced and renamed. Throws std::system_error.
  void Write(const std::string& name, const std::string& content) const;

  // Takes a record away; nobody reads it from now on. It need not be there.
  void Withdraw(const std::string& name) const;

  // Makes the work folder and gives it to the identity that children have. Throws std::system_error.
  void MakeWorkFolder() const;

  // Waits for the lock of this stream; it is free again when the descriptor is closed, by whatever end of the
  // process. Empty when the stream has gone meanwhile.
  base::Descriptor Lock() const;

 private:
  StreamFolder(std::string id, std::string target);

  std::string id_;
  std::string target_;  // where the link leads
};

// Removes the stream's folder with all it holds, and the link to it; a link that leads nowhere, or to a
// folder that is none of ours, goes alone. true also when there is nothing; false, with a line in the log,
// when something could not be removed: another try may do it.
bool RemoveStream(const std::string& type, const std::string& stream_id);

}  // namespace kinora::engine
