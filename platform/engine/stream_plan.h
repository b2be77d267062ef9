// What is going to be streamed, decided once when the stream is opened: the source as it was found then, the
// cuts, and what becomes of every track. All fragments follow from it.
#pragma once

#include <json/json.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/engine/color_labels.h"
#include "platform/engine/fragment_id.h"
#include "platform/engine/media_time.h"
#include "platform/engine/segment_grid.h"
#include "platform/media/trans_profile.h"

namespace kinora::engine {

// The file that was planned for: another one under its name is another film.
struct SourceIdentity {
  std::string path;  // absolute
  uint64_t device = 0;
  uint64_t inode = 0;
  uint64_t size = 0;        // bytes
  int64_t modified_ns = 0;  // since the epoch

  bool operator==(const SourceIdentity&) const = default;
};

// Of the video track, as far as turning it into a playable picture depends on it.
struct VideoTraits {
  int track = -1;     // the stream's index in the file; -1: the film has no picture
  std::string codec;  // VideoMetaData's name
  int width = 0;      // pixels, as coded
  int height = 0;
  int display_x = 0;  // the display aspect ratio before turning, lowest terms; 0: not known
  int display_y = 0;
  int rotate = 0;            // degrees clockwise: 0, 90, 180, 270
  MediaTime frame_rate{0};   // of the source; 0: not known
  std::string field_order;   // "progressive", "tt", "bb", "tb", "bt", "": not known
  std::string hdr;           // "pq", "hlg", "": none
  ColorLabels color;         // as the file has them
  std::string pixel_format;  // FFmpeg's name
  std::string profile;       // VideoMetaData's
  bool decodable = true;     // this machine has a decoder for it

  bool operator==(const VideoTraits&) const = default;
};

struct AudioTraits {
  int track = -1;     // the stream's index in the file
  std::string codec;  // VideoMetaData's name
  int channels = 0;
  int frequency = 0;     // Hz
  int64_t bitrate = 0;   // bits per second; 0: not known
  std::string language;  // as the file has it
  std::string title;
  bool is_default = false;  // in the file
  std::string profile;      // VideoMetaData's
  bool decodable = true;    // this machine has a decoder for it

  bool operator==(const AudioTraits&) const = default;
};

struct SourceTraits {
  SourceIdentity identity;
  std::string container;  // VideoMetaData's name
  int64_t start_ms = 0;   // the time of the file's first instant on its own clock
  int64_t duration_ms = 0;
  int64_t bitrate = 0;  // bits per second, of the whole file
  VideoTraits video;
  std::vector<AudioTraits> audio;

  bool operator==(const SourceTraits&) const = default;
};

// How the stream goes out.
enum class Delivery { kHls, kSmooth, kWebM };

enum class VideoWay { kNone, kCopy, kEncode };
enum class AudioWay { kCopy, kEncode };

// One audio track as it goes out.
struct AudioPlan {
  int track = -1;
  AudioWay way = AudioWay::kEncode;
  std::string codec;  // what goes out: "aac", "mp3", "ac3", "eac3", "opus", "vorbis"
  int channels = 2;
  int frequency = 48000;    // Hz
  int64_t bitrate = 0;      // bits per second
  std::string language;     // RFC 5646 where it is known, else empty
  std::string name;         // for people; unique in the stream
  bool is_default = false;  // the track that is heard first; exactly one is

  bool operator==(const AudioPlan&) const = default;
};

// The picture as it goes out; of a copied one only what is known.
struct PicturePlan {
  int width = 0;
  int height = 0;
  MediaTime frame_rate{0};
  int64_t bitrate = 0;       // bits per second
  std::string codec_string;  // RFC 6381: "avc1.640028", "hvc1...."
  // Of Smooth Streaming, which tells players beforehand what every fragment's picture has: the sequence and
  // the picture parameter set, "00000001<SPS>00000001<PPS>" in upper-case hexadecimal digits. Else empty.
  std::string parameter_sets;

  bool operator==(const PicturePlan&) const = default;
};

struct StreamPlan {
  Delivery delivery = Delivery::kHls;
  SourceTraits source;
  VideoWay video = VideoWay::kNone;
  PicturePlan picture;
  std::vector<AudioPlan> audio;  // in the file's order; empty: no sound
  SegmentGrid grid;
  media::TransProfile profile;
  bool hardware = false;  // the job encodes through VAAPI as long as that works

  // Whether the sound travels in the main fragments: there is one track, and what makes the main fragments
  // makes it too, by copying both or by encoding both to AAC. Else each track is a rendition of its own,
  // whose fragments are pure functions of this plan; a film without a picture has no main fragments. In
  // Smooth Streaming it never does: a chunk of picture and one of sound are asked for one by one, and its
  // manifest promises sound from the film's beginning to its end.
  bool SoundIsMuxed() const;

  const AudioPlan* DefaultAudio() const;        // null: no sound
  const AudioPlan* FindAudio(int track) const;  // null: no such track
  bool Encodes() const;                         // anything at all, picture or sound
  bool HasFragment(const FragmentId& id) const;

  bool operator==(const StreamPlan&) const = default;
};

// As the stream's folder keeps it. ParsePlan gives nothing for a text that is no plan of this version.
std::string ToJsonText(const StreamPlan& plan);
std::optional<StreamPlan> ParsePlan(const std::string& text);

}  // namespace kinora::engine
