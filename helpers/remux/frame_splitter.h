// The single frames of sound that travels several to a packet, as in transport streams.
#pragma once

#include <functional>
#include <memory>

#include "helpers/common/handles.h"

namespace kinora::helper {

class FrameSplitter {
 public:
  FrameSplitter(AVCodecID codec, AVRational time_base);

  // Gives every frame that `packet` completes, with its time. A frame before the first time that is known has
  // none.
  void Feed(const AVPacket& packet, const std::function<void(AVPacket&)>& take);
  // The film ends: gives the frame that has been waiting for its successor.
  void Finish(const std::function<void(AVPacket&)>& take);

 private:
  struct ParserDeleter {
    void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
  };
  void Give(const uint8_t* bytes, int size, const std::function<void(AVPacket&)>& take);

  AVRational time_base_;
  Codec codec_;
  std::unique_ptr<AVCodecParserContext, ParserDeleter> parser_;
  Packet frame_;
  int64_t last_time_ = AV_NOPTS_VALUE;  // that a packet told
  int64_t samples_since_ = 0;           // of the frames since then
};

}  // namespace kinora::helper
