#include "helpers/common/media_input.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <vector>

#include "helpers/common/exit_codes.h"

extern "C" {
#include <libavutil/avstring.h>
#include <libavutil/display.h>
#include <libavutil/mem.h>
}

namespace kinora::helper {
namespace {

// Containers of films. Everything else that libavformat knows is refused, above all what names other files:
// hls, dash, concat, sdp, image lists, scripts.
constexpr char kFormats[] =
    "mov,matroska,webm,mpegts,mpeg,mpegvideo,avi,flv,asf,ogg,rm,wtv,mxf,mxf_opatom,dv,nut";

constexpr int kBufferSize = 64 << 10;
constexpr int64_t kProbeSize = int64_t{8} << 20;
constexpr int64_t kAnalyzeDuration = int64_t{10} * AV_TIME_BASE;
constexpr size_t kMostMemoryAtOnce = size_t{512} << 20;

int RefuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EPERM); }

std::string ErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

// Pictures that the MP4 box format holds just as well as films.
bool IsStillImage(const AVFormatContext& context) {
  const AVDictionaryEntry* brand = av_dict_get(context.metadata, "major_brand", nullptr, 0);
  if (brand == nullptr) return false;
  constexpr std::string_view kBrands[] = {"avif", "heic", "heix", "mif1"};
  return std::find(std::begin(kBrands), std::end(kBrands), brand->value) != std::end(kBrands);
}

}  // namespace

MediaInput::MediaInput(int descriptor, const InputOptions& options) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    throw Failure(kUsage, "descriptor 3 is no regular file");
  }
  source_ = std::make_unique<Source>(Source{descriptor, status.st_size, 0, options.budget});
  av_max_alloc(kMostMemoryAtOnce);
  try {
    MakeContext(options);
    const AVInputFormat* format = Format(options.demuxer);
    const int code = avformat_open_input(&context_, nullptr, format, nullptr);
    if (code < 0) throw Failure(kUnreadable, "cannot be opened: " + ErrorText(code));
    if (IsStillImage(*context_)) throw Failure(kNoMedia, "no film but a picture");
    if (options.find_streams) FindStreams();
  } catch (...) {
    Close();
    throw;
  }
}

MediaInput::~MediaInput() { Close(); }

void MediaInput::Close() {
  avformat_close_input(&context_);
  if (io_ != nullptr) av_freep(&io_->buffer);
  avio_context_free(&io_);
}

std::string MediaInput::BytesAt(int64_t position, size_t length) const {
  std::string bytes(length, '\0');
  const ssize_t got = ::pread(source_->descriptor, bytes.data(), bytes.size(), position);
  bytes.resize(got > 0 ? static_cast<size_t>(got) : 0);
  return bytes;
}

// The offset of the descriptor is shared with whoever else has it: pread leaves it alone.
int MediaInput::Read(void* opaque, uint8_t* buffer, int size) {
  auto& source = *static_cast<Source*>(opaque);
  if (source.blank) {
    const int64_t left = source.size - source.position;
    if (left <= 0) return AVERROR_EOF;
    const auto given = static_cast<int>(std::min<int64_t>(size, left));
    source.position += given;
    return given;
  }
  if (source.budget <= 0) {
    source.stopped = true;
    return AVERROR(EFBIG);
  }
  ssize_t got;
  do {
    got = ::pread(source.descriptor, buffer, static_cast<size_t>(size), source.position);
  } while (got < 0 && errno == EINTR);
  if (got < 0) {
    source.stopped = true;
    return AVERROR(errno);
  }
  if (got == 0) return AVERROR_EOF;
  source.position += got;
  source.budget -= got;
  return static_cast<int>(got);
}

int64_t MediaInput::Seek(void* opaque, int64_t offset, int whence) {
  auto& source = *static_cast<Source*>(opaque);
  whence &= ~AVSEEK_FORCE;
  if (whence == AVSEEK_SIZE) return source.size;
  int64_t base = 0;
  if (whence == SEEK_CUR) base = source.position;
  if (whence == SEEK_END) base = source.size;
  int64_t target = 0;
  if (__builtin_add_overflow(base, offset, &target) || target < 0) return AVERROR(EINVAL);
  source.position = target;
  return target;
}

void MediaInput::MakeContext(const InputOptions& options) {
  auto* buffer = static_cast<uint8_t*>(av_malloc(kBufferSize));
  if (buffer == nullptr) throw std::bad_alloc();
  io_ = avio_alloc_context(buffer, kBufferSize, 0, source_.get(), Read, nullptr, Seek);
  if (io_ == nullptr) {
    av_free(buffer);
    throw std::bad_alloc();
  }
  context_ = avformat_alloc_context();
  if (context_ == nullptr) throw std::bad_alloc();
  context_->pb = io_;
  context_->flags |= AVFMT_FLAG_CUSTOM_IO | options.flags;
  if (options.plain_times) context_->correct_ts_overflow = 0;
  context_->io_open = RefuseToOpen;
  context_->protocol_whitelist = av_strdup("");
  // Subtitles inside AVI are recognised by a probe of their own, which heeds this list too.
  context_->format_whitelist = av_strdup(kFormats);
  context_->max_streams = kMostStreams;
  context_->probesize = kProbeSize;
  context_->max_analyze_duration = kAnalyzeDuration;
}

const AVInputFormat* MediaInput::Format(const char* name) {
  if (name == nullptr) return DetectFormat();
  const AVInputFormat* format = av_match_list(name, kFormats, ',') > 0 ? av_find_input_format(name) : nullptr;
  if (format == nullptr) throw Failure(kUsage, "no such format");
  return format;
}

const AVInputFormat* MediaInput::DetectFormat() {
  if (source_->size == 0) throw Failure(kNoMedia, "the file is empty");
  const AVInputFormat* format = nullptr;
  const int score = av_probe_input_buffer2(io_, &format, nullptr, nullptr, 0, 0);
  if (score == AVERROR(EIO)) throw Failure(kUnreadable, "cannot be read: " + ErrorText(score));
  if (format == nullptr || score < 0) throw Failure(kNoMedia, "no format that is known");
  if (av_match_list(format->name, kFormats, ',') <= 0) {
    throw Failure(kNoMedia, std::string("no container of films, it looks like ") + format->name);
  }
  return format;
}

void MediaInput::FindStreams() {
  const std::string most_pixels = std::to_string(kMostPixels);
  std::vector<AVDictionary*> options(context_->nb_streams, nullptr);
  for (AVDictionary*& option : options) av_dict_set(&option, "max_pixels", most_pixels.c_str(), 0);
  const int code = avformat_find_stream_info(context_, options.empty() ? nullptr : options.data());
  for (AVDictionary*& option : options) av_dict_free(&option);
  if (code < 0) throw Failure(kUnreadable, "its streams cannot be read: " + ErrorText(code));
}

bool IsFilmTrack(const AVStream& stream) {
  constexpr int kStills =
      AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS | AV_DISPOSITION_STILL_IMAGE;
  return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && (stream.disposition & kStills) == 0;
}

int RotationOf(const AVStream& stream) {
  size_t size = 0;
  const uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  if (matrix == nullptr || size < 9 * sizeof(int32_t)) return 0;
  const double counter_clockwise = av_display_rotation_get(reinterpret_cast<const int32_t*>(matrix));
  if (std::isnan(counter_clockwise)) return 0;
  const int quarters = static_cast<int>(std::lround(-counter_clockwise / 90.0));
  return ((quarters % 4) + 4) % 4 * 90;
}

}  // namespace kinora::helper
