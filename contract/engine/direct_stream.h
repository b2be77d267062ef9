// A stream that goes out as one body, made while it is being read.
#pragma once

#include <string>

#include "contract/engine/vte_stream.h"

namespace LibCrvnVTE {

// None of the operations throws. What makes the body belongs to the object that started it and to its copies:
// it ends with the last of them, when it has reached the end of the film, and with the process, however that
// ends.
class DirectStream : public VTEStream {
 public:
  // Waits for bytes of the body and takes at most `size` of them. The number of bytes; less than 1 at the
  // film's end, when the encoder has failed (with a line in the system log), and when nothing was started.
  int Read(char* buffer, unsigned int size);

  // Ends what makes the body, at once; nothing is to be read any more. Harmless when nothing is at work.
  void KillMonitor() const;

  // Ends what works for the stream, in whichever process, and removes its folder and the link to it. true
  // also when there was nothing left to do; false when something could not be removed, with a line in the
  // system log.
  bool Close() const;

 protected:
  using VTEStream::VTEStream;
  ~DirectStream() = default;
  DirectStream(const DirectStream&) = default;
  DirectStream& operator=(const DirectStream&) = default;
};

}  // namespace LibCrvnVTE
