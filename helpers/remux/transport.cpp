#include "helpers/remux/transport.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "helpers/common/exit_codes.h"
#include "helpers/common/write_all.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
}

namespace kinora::helper {
namespace {

constexpr int kBufferSize = 256 << 10;
constexpr size_t kTransportPacket = 188;

// A null packet (ISO/IEC 13818-1, 2.4.1): what players pass over.
std::string NullPacket() {
  std::string packet(kTransportPacket, '\xff');
  packet[0] = 0x47;
  packet[1] = 0x1f;
  packet[3] = 0x10;
  return packet;
}

// How WriteOut says that the fragment takes no more.
constexpr int kTakesNoMore = AVERROR(EIO);

void Check(int code) {
  if (code == kTakesNoMore) throw Failure(kNoOutput, "the fragment cannot be written");
  if (code < 0) throw Failure(kUnreadable, "the film cannot be put into a transport stream");
}

}  // namespace

TransportWriter::TransportWriter(const FilmIndex& film, const Selection& selection, int descriptor)
    : film_(film), descriptor_(descriptor) {
  Check(avformat_alloc_output_context2(&context_, nullptr, "mpegts", nullptr));
  auto* buffer = static_cast<uint8_t*>(av_malloc(kBufferSize));
  if (buffer == nullptr) throw std::bad_alloc();
  context_->pb = avio_alloc_context(buffer, kBufferSize, 1, this, nullptr, WriteOut, nullptr);
  if (context_->pb == nullptr) throw std::bad_alloc();
  if (selection.video) AddStream(*selection.video);
  if (selection.audio) AddStream(*selection.audio);
  WriteHeader(selection.Starts());
}

TransportWriter::~TransportWriter() {
  if (context_ == nullptr) return;
  if (context_->pb != nullptr) av_freep(&context_->pb->buffer);
  avio_context_free(&context_->pb);
  avformat_free_context(context_);
}

int TransportWriter::WriteOut(void* opaque, uint8_t* bytes, int size) {
  const int descriptor = static_cast<const TransportWriter*>(opaque)->descriptor_;
  const std::string_view all(reinterpret_cast<const char*>(bytes), static_cast<size_t>(size));
  return WriteAll(descriptor, all) ? size : kTakesNoMore;
}

void TransportWriter::AddStream(size_t track) {
  const IndexTrack& from = film_.tracks[track];
  const AVCodecDescriptor* codec = avcodec_descriptor_get_by_name(from.codec.c_str());
  AVStream* stream = avformat_new_stream(context_, nullptr);
  if (codec == nullptr || stream == nullptr) throw Failure(kUsage, "no such codec");
  AVCodecParameters& to = *stream->codecpar;
  to.codec_type = codec->type;
  to.codec_id = codec->id;
  to.profile = from.profile;
  to.sample_rate = from.sample_rate;
  if (from.IsAudio()) av_channel_layout_default(&to.ch_layout, from.channels);
  const size_t size = from.extradata.size();
  to.extradata = static_cast<uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
  if (to.extradata == nullptr) throw std::bad_alloc();
  std::memcpy(to.extradata, from.extradata.data(), size);
  to.extradata_size = static_cast<int>(size);
  stream->time_base = kTicks;
  tracks_.push_back(track);
  last_dts_.push_back(INT64_MIN);
}

void TransportWriter::WriteHeader(bool starts) {
  context_->max_delay = 0;
  context_->flush_packets = 0;  // written when the buffer is full, not after each packet
  context_->avoid_negative_ts = 0;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "pes_payload_size", "0", 0);
  if (!starts) av_dict_set(&options, "mpegts_flags", "initial_discontinuity", 0);
  const int code = avformat_write_header(context_, &options);
  av_dict_free(&options);
  Check(code);
}

void TransportWriter::Write(size_t track, AVPacket& packet) {
  const auto stream = static_cast<size_t>(std::find(tracks_.begin(), tracks_.end(), track) - tracks_.begin());
  const IndexTrack& from = film_.tracks[track];
  int64_t& last = last_dts_[stream];
  // Only times finer than the clock can meet in one tick.
  packet.dts = std::max(film_.Ticks(from, packet.dts) + kTransportClock, last == INT64_MIN ? last : last + 1);
  packet.pts = std::max(film_.Ticks(from, packet.pts) + kTransportClock, packet.dts);
  last = packet.dts;
  packet.duration = 0;
  packet.pos = -1;
  packet.stream_index = static_cast<int>(stream);
  const int code = av_interleaved_write_frame(context_, &packet);
  if (code == AVERROR_INVALIDDATA) {
    ++refused_;
    return;
  }
  Check(code);
  ++written_;
}

void TransportWriter::Finish() {
  if (refused_ > 0 && written_ == 0) Check(AVERROR_INVALIDDATA);
  Check(av_write_trailer(context_));
  avio_flush(context_->pb);
  Check(context_->pb->error);
  if (!WriteAll(descriptor_, NullPacket())) Check(kTakesNoMore);
}

}  // namespace kinora::helper
