// What the probe says of a media file.
//
// {
//   "container": "mp4", "size": bytes, "duration_ms": n, "duration": seconds, "start_ms": n, "bitrate":
//   bits/s, "title": "...", "pictures": number of covers and thumbnails, "video": [{"id": stream index,
//   "codec", "profile", "level", "pixel_format", "width", "height",
//              "display_x", "display_y", "rate_num", "rate_den", "rotate", "field_order", "hdr": "", "pq" or
//              "hlg", "color_matrix", "color_primaries", "color_transfer": FFmpeg's names, "bitrate",
//              "language", "title", "default", "forced", "decodable": libavcodec has a decoder for it}],
//   "audio": [{"id", "codec", "profile", "channels", "layout", "frequency", "bitrate", "language", "title",
//              "default", "forced", "decodable"}],
//   "subtitle": [{"id", "codec", "language", "title", "default", "forced", "hearing_impaired", "decodable"}]
// }
//
// Texts are well-formed UTF-8 and bounded; what a file does not say is "" or 0.
#pragma once

#include <json/json.h>

#include "helpers/common/media_input.h"

namespace kinora::helper {

// Throws Failure when the file has no stream that is understood.
Json::Value MakeReport(const MediaInput& input);

}  // namespace kinora::helper
