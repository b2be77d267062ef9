#include "helpers/picture/film.h"

#include <new>

namespace kinora::helper {
namespace {

// Enough for the longest usual group of pictures; without a bound a film that decodes to nothing would be
// read to its end.
constexpr int kMostPackets = 2000;
constexpr int kMostVideoPackets = 600;

}  // namespace

Film::Film(const MediaInput& input) : context_(input.Get()) {
  for (unsigned int i = 0; i < context_->nb_streams; ++i) {
    if (IsFilmTrack(*context_->streams[i]) && Use(context_->streams[i])) return;
  }
  FallBackToCover();
}

bool Film::FallBackToCover() {
  if (cover_) return false;
  codec_.reset();
  for (unsigned int i = 0; i < context_->nb_streams; ++i) {
    AVStream* stream = context_->streams[i];
    const bool attached = (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    if (attached && stream->attached_pic.size > 0 && Use(stream)) {
      cover_ = true;
      return true;
    }
  }
  return false;
}

bool Film::Use(AVStream* stream) {
  const AVCodec* decoder = avcodec_find_decoder(stream->codecpar->codec_id);
  if (decoder == nullptr) return false;
  Codec codec(avcodec_alloc_context3(decoder));
  if (!codec) throw std::bad_alloc();
  if (avcodec_parameters_to_context(codec.get(), stream->codecpar) < 0) return false;
  codec->max_pixels = kMostPixels;
  codec->thread_count = 1;  // the program may start no threads
  codec->pkt_timebase = stream->time_base;
  if (avcodec_open2(codec.get(), decoder, nullptr) < 0) return false;
  for (unsigned int i = 0; i < context_->nb_streams; ++i) {
    context_->streams[i]->discard = context_->streams[i] == stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  }
  stream_ = stream;
  codec_ = std::move(codec);
  return true;
}

int64_t Film::DurationMs() const {
  return context_->duration > 0 ? av_rescale(context_->duration, 1000, AV_TIME_BASE) : 0;
}

AVRational Film::SampleAspect(AVFrame* frame) const {
  return av_guess_sample_aspect_ratio(context_, stream_, frame);
}

bool Film::Seek(int64_t milliseconds) {
  if (milliseconds == 0 && at_start_) return true;
  at_start_ = false;
  const int64_t start = context_->start_time == AV_NOPTS_VALUE ? 0 : context_->start_time;
  int64_t time = 0;
  if (__builtin_add_overflow(av_rescale(milliseconds, AV_TIME_BASE, 1000), start, &time)) return false;
  const int64_t target = av_rescale_q(time, AVRational{1, AV_TIME_BASE}, stream_->time_base);
  avcodec_flush_buffers(codec_.get());
  return av_seek_frame(context_, stream_->index, target, AVSEEK_FLAG_BACKWARD) >= 0;
}

bool Film::Send(const AVPacket* packet) {
  const int code = avcodec_send_packet(codec_.get(), packet);
  return code >= 0 || code == AVERROR_INVALIDDATA || code == AVERROR(EAGAIN);
}

// Pictures that the decoder itself calls damaged are passed over.
Frame Film::Receive() {
  Frame frame(av_frame_alloc());
  if (!frame) throw std::bad_alloc();
  while (avcodec_receive_frame(codec_.get(), frame.get()) >= 0) {
    const bool damaged = (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame->decode_error_flags != 0;
    if (!damaged && frame->width > 0 && frame->height > 0) return frame;
  }
  return nullptr;
}

Frame Film::PictureAt(int64_t milliseconds) {
  if (cover_) {
    Send(&stream_->attached_pic);
    Send(nullptr);
    return Receive();
  }
  if (!Seek(milliseconds)) return nullptr;
  const Packet packet(av_packet_alloc());
  if (!packet) throw std::bad_alloc();
  at_start_ = false;
  int sent = 0;
  for (int i = 0; i < kMostPackets && sent < kMostVideoPackets; ++i) {
    if (av_read_frame(context_, packet.get()) < 0) break;
    const bool ours = packet->stream_index == stream_->index;
    const bool taken = !ours || Send(packet.get());
    av_packet_unref(packet.get());
    if (!taken) break;
    if (!ours) continue;
    ++sent;
    if (Frame frame = Receive()) return frame;
  }
  Send(nullptr);
  return Receive();
}

}  // namespace kinora::helper
