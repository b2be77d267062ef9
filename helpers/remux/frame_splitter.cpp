#include "helpers/remux/frame_splitter.h"

#include <cstring>
#include <new>

#include "helpers/common/exit_codes.h"
#include "helpers/common/media_input.h"
#include "helpers/remux/adts.h"

namespace kinora::helper {
namespace {

// The parser leaves it to the decoder how long a frame of AAC is; its header tells.
int AdtsRate(const uint8_t* bytes, int size) {
  const auto header = ReadAdts({reinterpret_cast<const char*>(bytes), static_cast<size_t>(size)});
  return header ? header->rate : 0;
}

}  // namespace

FrameSplitter::FrameSplitter(AVCodecID codec, AVRational time_base)
    : time_base_(time_base),
      codec_(avcodec_alloc_context3(nullptr)),
      parser_(av_parser_init(codec)),
      frame_(av_packet_alloc()) {
  if (!codec_ || !frame_) throw std::bad_alloc();
  if (!parser_) throw Failure(kUsage, "such sound cannot be taken apart");
  codec_->codec_id = codec;
  codec_->codec_type = AVMEDIA_TYPE_AUDIO;
}

void FrameSplitter::Feed(const AVPacket& packet, const std::function<void(AVPacket&)>& take) {
  const uint8_t* bytes = packet.data;
  int left = packet.size;
  int64_t time = packet.pts;
  while (left > 0) {
    uint8_t* frame = nullptr;
    int size = 0;
    const int used = av_parser_parse2(parser_.get(), codec_.get(), &frame, &size, bytes, left, time, time, 0);
    time = AV_NOPTS_VALUE;
    bytes += used;
    left -= used;
    if (size > 0) Give(frame, size, take);
    if (used <= 0 && size <= 0) return;
  }
}

void FrameSplitter::Finish(const std::function<void(AVPacket&)>& take) {
  uint8_t* frame = nullptr;
  int size = 0;
  av_parser_parse2(parser_.get(), codec_.get(), &frame, &size, nullptr, 0, AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
  if (size > 0) Give(frame, size, take);
}

void FrameSplitter::Give(const uint8_t* bytes, int size, const std::function<void(AVPacket&)>& take) {
  if (parser_->pts != AV_NOPTS_VALUE) {
    last_time_ = parser_->pts;
    samples_since_ = 0;
  }
  if (av_new_packet(frame_.get(), size) < 0) throw std::bad_alloc();
  std::memcpy(frame_->data, bytes, static_cast<size_t>(size));
  frame_->pts = AV_NOPTS_VALUE;
  const bool adts = codec_->codec_id == AV_CODEC_ID_AAC;
  const int rate = adts ? AdtsRate(bytes, size) : codec_->sample_rate;
  if (last_time_ != AV_NOPTS_VALUE && rate > 0) {
    frame_->pts = last_time_ + av_rescale_q(samples_since_, AVRational{1, rate}, time_base_);
  }
  samples_since_ += adts ? kAdtsSamples : parser_->duration;
  take(*frame_);
  av_packet_unref(frame_.get());
}

}  // namespace kinora::helper
