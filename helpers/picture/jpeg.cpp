#include "helpers/picture/jpeg.h"

#include <new>

#include "helpers/common/exit_codes.h"
#include "helpers/common/media_input.h"

namespace kinora::helper {
namespace {

constexpr int kQuantiser = 4;  // 2 to 31, less is better

Codec OpenEncoder(const AVFrame& picture) {
  const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
  Codec codec(encoder == nullptr ? nullptr : avcodec_alloc_context3(encoder));
  if (!codec) throw std::bad_alloc();
  codec->width = picture.width;
  codec->height = picture.height;
  codec->pix_fmt = AV_PIX_FMT_YUVJ420P;
  codec->color_range = AVCOL_RANGE_JPEG;
  codec->time_base = {1, 25};
  codec->thread_count = 1;
  codec->flags |= AV_CODEC_FLAG_QSCALE | AV_CODEC_FLAG_BITEXACT;
  codec->global_quality = FF_QP2LAMBDA * kQuantiser;
  if (avcodec_open2(codec.get(), encoder, nullptr) < 0) {
    throw Failure(kNoMedia, "the picture cannot be written as JPEG");
  }
  return codec;
}

}  // namespace

std::string EncodeJpeg(const AVFrame& picture) {
  const Codec codec = OpenEncoder(picture);
  const Frame frame(av_frame_clone(&picture));
  const Packet packet(av_packet_alloc());
  if (!frame || !packet) throw std::bad_alloc();
  frame->quality = codec->global_quality;
  frame->pts = 0;
  if (avcodec_send_frame(codec.get(), frame.get()) < 0 ||
      avcodec_receive_packet(codec.get(), packet.get()) < 0) {
    throw Failure(kNoMedia, "the picture cannot be written as JPEG");
  }
  return {reinterpret_cast<const char*>(packet->data), static_cast<size_t>(packet->size)};
}

}  // namespace kinora::helper
