// A fragment of a transport stream, as it is written.
#pragma once

#include <cstdint>
#include <vector>

#include "helpers/common/film_index.h"
#include "helpers/common/handles.h"
#include "helpers/common/media_input.h"
#include "helpers/remux/selection.h"

namespace kinora::helper {

// Media time 0 is the presentation time 90000; every picture and every frame of sound is a packet of its own.
// All operations throw Failure when the descriptor takes no more, or the film is damaged beyond use.
class TransportWriter {
 public:
  TransportWriter(const FilmIndex& film, const Selection& selection, int descriptor);
  ~TransportWriter();
  TransportWriter(const TransportWriter&) = delete;
  TransportWriter& operator=(const TransportWriter&) = delete;

  // `track` is one of the selection's; the packet's times are in its time base. Takes what the packet holds.
  // One that is damaged so much that no transport stream takes it is left out: the film goes on behind it.
  void Write(size_t track, AVPacket& packet);
  // Ends the stream and marks it as whole: the last packet carries nothing. A stream of which everything had
  // to be left out is none.
  void Finish();

 private:
  static int WriteOut(void* opaque, uint8_t* bytes, int size);
  void AddStream(size_t track);
  void WriteHeader(bool starts);

  const FilmIndex& film_;
  int descriptor_;
  AVFormatContext* context_ = nullptr;
  std::vector<size_t> tracks_;     // of each stream
  std::vector<int64_t> last_dts_;  // of each stream
  size_t written_ = 0;             // packets
  size_t refused_ = 0;
};

}  // namespace kinora::helper
