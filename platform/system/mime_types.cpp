#include <algorithm>
#include <iterator>
#include <string_view>

#include "contract/system/file_output.h"
#include "platform/base/text.h"

namespace {

struct MimeType {
  std::string_view extension;
  const char* type;
};

constexpr char kUnknown[] = "application/octet-stream";

// In alphabetical order, so that they can be searched by halves.
constexpr MimeType kMimeTypes[] = {
    {"3g2", "video/3gpp2"},
    {"3gp", "video/3gpp"},
    {"aac", "audio/aac"},
    {"ac3", "audio/ac3"},
    {"asf", "video/x-ms-asf"},
    {"ass", "text/x-ssa"},
    {"avi", "video/x-msvideo"},
    {"bmp", "image/bmp"},
    {"css", "text/css"},
    {"divx", "video/x-msvideo"},
    {"dv", "video/x-dv"},
    {"f4v", "video/mp4"},
    {"flac", "audio/flac"},
    {"flv", "video/x-flv"},
    {"gif", "image/gif"},
    {"htm", "text/html"},
    {"html", "text/html"},
    {"ico", "image/x-icon"},
    {"idx", "text/plain"},
    {"ifo", "video/dvd"},
    {"ism", "text/xml"},
    {"ismc", "text/xml"},
    {"iso", "application/x-iso9660-image"},
    {"jpe", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"jpg", "image/jpeg"},
    {"js", "text/javascript"},
    {"json", "application/json"},
    {"m1v", "video/mpeg"},
    {"m2t", "video/mp2t"},
    {"m2ts", "video/mp2t"},
    {"m2v", "video/mpeg"},
    {"m3u8", "application/x-mpegURL"},
    {"m4a", "audio/mp4"},
    {"m4s", "video/iso.segment"},
    {"m4v", "video/x-m4v"},
    {"mka", "audio/x-matroska"},
    {"mkv", "video/x-matroska"},
    {"mov", "video/quicktime"},
    {"mp3", "audio/mpeg"},
    {"mp4", "video/mp4"},
    {"mpd", "application/dash+xml"},
    {"mpe", "video/mpeg"},
    {"mpeg", "video/mpeg"},
    {"mpg", "video/mpeg"},
    {"mts", "video/mp2t"},
    {"oga", "audio/ogg"},
    {"ogg", "video/ogg"},
    {"ogm", "video/ogg"},
    {"ogv", "video/ogg"},
    {"opus", "audio/ogg"},
    {"png", "image/png"},
    {"qt", "video/quicktime"},
    {"rm", "application/vnd.rn-realmedia"},
    {"rmvb", "application/vnd.rn-realmedia-vbr"},
    {"smi", "application/x-sami"},
    {"srt", "application/x-subrip"},
    {"ssa", "text/x-ssa"},
    {"sub", "text/plain"},
    {"sup", "application/octet-stream"},
    {"svg", "image/svg+xml"},
    {"tp", "video/mp2t"},
    {"trp", "video/mp2t"},
    {"ts", "video/mp2t"},
    {"ttml", "application/ttml+xml"},
    {"txt", "text/plain"},
    {"vob", "video/dvd"},
    {"vtt", "text/vtt"},
    {"wav", "audio/x-wav"},
    {"webm", "video/webm"},
    {"webp", "image/webp"},
    {"wma", "audio/x-ms-wma"},
    {"wmv", "video/x-ms-wmv"},
    {"wtv", "video/x-ms-wtv"},
    {"xml", "text/xml"},
};

constexpr bool IsBefore(const MimeType& a, const MimeType& b) { return a.extension < b.extension; }
static_assert(std::is_sorted(std::begin(kMimeTypes), std::end(kMimeTypes), IsBefore));

}  // namespace

std::string HTTPFileOutputer::GetMimeType(const char* path) {
  const std::string_view whole = path == nullptr ? "" : path;
  const std::string_view name = whole.substr(whole.rfind('/') + 1);
  const size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return kUnknown;
  const std::string extension = kinora::base::ToLowerAscii(name.substr(dot + 1));
  const auto* found =
      std::lower_bound(std::begin(kMimeTypes), std::end(kMimeTypes), MimeType{extension, nullptr}, IsBefore);
  return found != std::end(kMimeTypes) && found->extension == extension ? found->type : kUnknown;
}
