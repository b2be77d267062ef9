#include "helpers/remux/smooth_chunk.h"

#include <cstdlib>
#include <new>
#include <string_view>

#include "helpers/common/exit_codes.h"
#include "helpers/common/handles.h"
#include "helpers/common/media_input.h"
#include "helpers/remux/smooth_boxes.h"

namespace kinora::helper {
namespace {

// Times are rounded where they are written, and in the middle between two ticks not always to the same side.
constexpr int64_t kTolerance = 2;  // ticks of the transport clock
constexpr int64_t kEndOfClock = int64_t{1} << 33;

[[noreturn]] void Refuse(const std::string& what) { throw Failure(kUnreadable, "the fragment " + what); }

// How much `time` is behind `other` on a clock that starts anew at its end.
int64_t Behind(int64_t time, int64_t other) {
  const int64_t ticks = (time - other) & (kEndOfClock - 1);
  return ticks < kEndOfClock / 2 ? ticks : ticks - kEndOfClock;
}

class Collector {
 public:
  Collector(int descriptor, const ChunkOrder& order)
      : order_(order), input_(descriptor, Options()), context_(input_.Get()), packet_(av_packet_alloc()) {
    if (!packet_) throw std::bad_alloc();
    head_.sequence = order.sequence;
    head_.picture = order.picture.has_value();
  }

  std::string Collect() {
    // What the demuxer has seen while it looked for the streams is gone otherwise.
    if (av_seek_frame(context_, -1, 0, AVSEEK_FLAG_BYTE) < 0) Refuse("cannot be read");
    while (av_read_frame(context_, packet_.get()) >= 0) {
      Take();
      av_packet_unref(packet_.get());
    }
    if (input_.WasStopped()) Refuse("cannot be read");
    if (Count() < order_.count) Refuse("ends after " + std::to_string(Count()) + " samples");
    head_.start = static_cast<uint64_t>(order_.TickOf(order_.first));
    head_.duration = static_cast<uint64_t>(order_.TickOf(order_.first + order_.count)) - head_.start;
    return WriteHead(head_) + samples_;
  }

 private:
  static InputOptions Options() {
    InputOptions options;
    options.demuxer = "mpegts";
    options.find_streams = false;
    options.flags = AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    options.plain_times = true;
    return options;
  }

  int64_t Count() const { return static_cast<int64_t>(head_.samples.size()); }

  void Take() {
    const AVCodecID wanted = order_.picture ? AV_CODEC_ID_H264 : AV_CODEC_ID_AAC;
    const int stream = packet_->stream_index;
    if (context_->streams[stream]->codecpar->codec_id != wanted) return;
    if (stream_ < 0) stream_ = stream;
    if (stream != stream_) Refuse("has two tracks");
    if ((packet_->flags & AV_PKT_FLAG_CORRUPT) != 0) Refuse("is damaged");
    if (packet_->pts == AV_NOPTS_VALUE) Refuse("has a sample without a time");
    const std::string_view bytes(reinterpret_cast<const char*>(packet_->data),
                                 static_cast<size_t>(packet_->size));
    if (order_.picture) {
      TakePicture(bytes);
    } else {
      TakeSound(bytes);
    }
  }

  void TakePicture(std::string_view bytes) {
    if (packet_->dts != packet_->pts) Refuse("has pictures that are out of order");
    ExpectTime(order_.first + Count());
    const auto sample = MakePictureSample(bytes, *order_.picture);
    if (!sample) Refuse("has a picture that is damaged or of another kind");
    const bool starts = sample->key && sample->sets == order_.picture->Count();
    if (Count() == 0 && !starts) Refuse("does not start with a key picture");
    Add(sample->bytes);
  }

  // One time for several packets.
  void TakeSound(std::string_view bytes) {
    const auto packets = SplitSound(bytes, order_.Frequency());
    if (!packets) Refuse("has sound that is damaged or of another kind");
    const bool fills = order_.first == 0 && Count() == 0 && !filled_ && IsAt(-1);
    filled_ = filled_ || fills;
    if (!fills) ExpectTime(order_.first + Count());
    for (size_t i = fills ? 1 : 0; i < packets->size(); ++i) Add((*packets)[i]);
  }

  bool IsAt(int64_t sample) const {
    return std::abs(Behind(packet_->pts, order_.TransportTime(sample))) <= kTolerance;
  }
  void ExpectTime(int64_t sample) const {
    if (!IsAt(sample)) Refuse("has a sample at " + std::to_string(packet_->pts) + ", not the next one");
  }

  void Add(std::string_view bytes) {
    if (Count() == order_.count) Refuse("has more samples than are ordered");
    const int64_t sample = order_.first + Count();
    head_.samples.push_back({static_cast<uint32_t>(order_.TickOf(sample + 1) - order_.TickOf(sample)),
                             static_cast<uint32_t>(bytes.size())});
    samples_.append(bytes);
  }

  const ChunkOrder& order_;
  MediaInput input_;
  AVFormatContext* context_;
  Packet packet_;
  ChunkHead head_;
  std::string samples_;
  int stream_ = -1;
  bool filled_ = false;  // the packet before the film's first has come
};

}  // namespace

std::string MakeChunk(int descriptor, const ChunkOrder& order) {
  return Collector(descriptor, order).Collect();
}

}  // namespace kinora::helper
