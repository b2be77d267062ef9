// A fragment of a transport stream, as it is written.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "helpers/common/film_index.h"
#include "helpers/common/handles.h"
#include "helpers/common/media_input.h"
#include "helpers/remux/selection.h"

namespace kinora::helper {

// Media time 0 is the presentation time 90000; every picture and every frame of sound is a packet of its own.
// All operations throw Failure when the descriptor takes no more.
class TransportWriter {
 public:
  TransportWriter(const FilmIndex& film, const Selection& selection, int descriptor);
  ~TransportWriter();
  TransportWriter(const TransportWriter&) = delete;
  TransportWriter& operator=(const TransportWriter&) = delete;

  // `track` is one of the selection's; the packet's times are in its time base. Takes what the packet holds.
  void Write(size_t track, AVPacket& packet);
  // Ends the stream and marks it as whole: the last packet carries nothing.
  void Finish();

 private:
  static int WriteOut(void* opaque, uint8_t* bytes, int size);
  void AddStream(size_t track);
  void WriteHeader(bool starts);
  void WriteAll(const uint8_t* bytes, size_t size);

  const FilmIndex& film_;
  int descriptor_;
  AVFormatContext* context_ = nullptr;
  std::vector<size_t> tracks_;     // of each stream
  std::vector<int64_t> last_dts_;  // of each stream
};

}  // namespace kinora::helper
