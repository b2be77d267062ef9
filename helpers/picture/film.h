// Single pictures out of a film.
#pragma once

#include "helpers/common/handles.h"
#include "helpers/common/media_input.h"

namespace kinora::helper {

class Film {
 public:
  // Takes the first film track that can be decoded, or failing that, the first attached picture.
  explicit Film(const MediaInput& input);

  // There is something to be decoded.
  bool IsUsable() const { return codec_ != nullptr; }
  // Only the attached picture is left.
  bool IsCover() const { return cover_; }
  int64_t DurationMs() const;

  // The first whole picture from the key frame at or before the time; null when there is none within a bound.
  Frame PictureAt(int64_t milliseconds);

  const AVStream& Track() const { return *stream_; }
  AVRational SampleAspect(AVFrame* frame) const;

  // Gives up the film track for an attached picture. False when there is none.
  bool FallBackToCover();

 private:
  bool Use(AVStream* stream);
  bool Seek(int64_t milliseconds);
  Frame Receive();
  bool Send(const AVPacket* packet);

  AVFormatContext* context_;
  AVStream* stream_ = nullptr;
  Codec codec_;
  bool cover_ = false;
  bool at_start_ = true;
};

}  // namespace kinora::helper
