// A stream that goes out as a manifest and fragments, each fragment made when a player asks for it.
#pragma once

#include <string>

#include "contract/engine/vte_stream.h"

namespace LibCrvnVTE {

// None of the operations throws. An id that has not the form that GetRandStreamID gives, or that no stream
// bears, fails each of them but Close.
class AdaptStream : public VTEStream {
 public:
  // Makes the fragment if it is not there yet, and waits for it. true when it is complete on the disk. false,
  // with a line in the system log: the id names no fragment of the plan, the source is gone or has been
  // replaced, the machine is full of jobs or out of space, or the source cannot be decoded there.
  bool Transcoding(const std::string& fragment_id) const;

  // The absolute path of a fragment that Transcoding has made; empty when it is not there.
  std::string GetFragmentPath(const std::string& fragment_id) const;

  // Ends what works for the stream and removes its folder and the link to it. true also when there was
  // nothing left to do; false when something could not be removed, with a line in the system log.
  bool Close() const;

 protected:
  using VTEStream::VTEStream;
  ~AdaptStream() = default;
  AdaptStream(const AdaptStream&) = default;
  AdaptStream& operator=(const AdaptStream&) = default;
};

}  // namespace LibCrvnVTE
