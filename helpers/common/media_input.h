// A media file that is read through a descriptor which is open already, and nothing else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

extern "C" {
#include <libavformat/avformat.h>
}

namespace kinora::helper {

inline constexpr int kMediaDescriptor = 3;

// The largest picture that is taken up, a little over 8K; the largest number of streams.
inline constexpr int64_t kMostPixels = int64_t{8192} * 4608;
inline constexpr int kMostStreams = 256;

// Ends the program: the code is one of exit_codes.h.
class Failure : public std::runtime_error {
 public:
  Failure(int code, const std::string& reason) : std::runtime_error(reason), code_(code) {}
  int Code() const { return code_; }

 private:
  int code_;
};

// How much of a file is wanted.
struct InputOptions {
  const char* demuxer = nullptr;        // the format's name where it is known; null: told from the content
  bool find_streams = true;             // decode a little of every stream, to learn all about it
  int64_t budget = int64_t{256} << 20;  // bytes that may be read
  int flags = 0;                        // AVFMT_FLAG_...
  bool plain_times = false;             // as they stand in the file, also where their counter starts anew
};

// The format is told from the content and must be one of a list of containers: no playlist, no list of other
// files, no image, no text. References to other files in a container are not followed. Reading is bounded, so
// that the size of the file hardly counts.
class MediaInput {
 public:
  // Opens and looks at the streams. Throws Failure.
  explicit MediaInput(int descriptor, const InputOptions& options = {});
  ~MediaInput();
  MediaInput(const MediaInput&) = delete;
  MediaInput& operator=(const MediaInput&) = delete;

  AVFormatContext* Get() const { return context_; }
  int64_t Size() const { return source_->size; }
  // The first bytes of the file, at most `length`.
  std::string Head(size_t length) const { return BytesAt(0, length); }
  // At most `length` bytes from `position` on; fewer where the file ends.
  std::string BytesAt(int64_t position, size_t length) const;
  // Reading has met the end of the budget, or a disk that fails: what the demuxer took for the end of the
  // film was none.
  bool WasStopped() const { return source_->stopped; }
  // From now on the demuxer gets packets of the right size that hold nothing: for who wants to know where the
  // packets of a film lie and not what they are. Only for files whose tables have been read.
  void ReadBlank() { source_->blank = true; }

 private:
  struct Source {
    int descriptor;
    int64_t size;
    int64_t position;
    int64_t budget;  // bytes that may still be read
    bool blank = false;
    bool stopped = false;
  };
  static int Read(void* opaque, uint8_t* buffer, int size);
  static int64_t Seek(void* opaque, int64_t offset, int whence);

  void MakeContext(const InputOptions& options);
  const AVInputFormat* DetectFormat();
  const AVInputFormat* Format(const char* name);
  void FindStreams();
  void Close();

  std::unique_ptr<Source> source_;
  AVIOContext* io_ = nullptr;
  AVFormatContext* context_ = nullptr;
};

// The film's own pictures; covers attached to the file and thumbnails are none.
bool IsFilmTrack(const AVStream& stream);

// By how many degrees (0, 90, 180, 270) the picture is to be turned clockwise.
int RotationOf(const AVStream& stream);

}  // namespace kinora::helper
