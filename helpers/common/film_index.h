// Where a film can be cut and where its packets lie, as kinora-index writes it and kinora-remux reads it.
//
// All numbers are varints: seven bits a byte, lowest first, the sign in the lowest bit (zigzag). A text is
// its length and its bytes.
//
//   "KFX1"
//   demuxer  origin  end  anchor  reorder depth  frame duration
//   number of tracks, each: stream, codec, time base (two numbers), extradata, profile, sample rate, channels
//   number of cuts, each: time, lead time, lead position, position, first byte and length of its lists
//   the lists of all cuts, without more
//
// The lists of a cut are those of each track in turn: how many packets lie in its part of the film, and of
// each packet the distance from the end of the packet before in the file, the size, the decode time's
// distance from the one before, and what the presentation time is later. A film without lists is read through
// its demuxer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

extern "C" {
#include <libavutil/rational.h>
}

namespace kinora::helper {

inline constexpr int64_t kTransportClock = 90000;
inline constexpr AVRational kTicks = {1, kTransportClock};

struct IndexTrack {
  int stream = -1;    // in the file
  std::string codec;  // libavcodec's name
  AVRational time_base = {1, 1};
  std::string extradata;
  int profile = -1;
  int sample_rate = 0;
  int channels = 0;  // 0: a video track

  bool IsAudio() const { return channels > 0; }
};

struct PacketPlace {
  int64_t position = 0;  // in the file
  int64_t size = 0;
  int64_t dts = 0;  // in the track's time base
  int64_t pts = 0;

  bool operator==(const PacketPlace&) const = default;
};

// Fragment n of the film is what lies from cut n up to cut n + 1.
struct Cut {
  int64_t pts = 0;            // of the anchor's key packet, in its time base
  int64_t lead_pts = 0;       // of a key packet before it, from where reading starts
  int64_t lead_position = 0;  // of that one, as the demuxer wants it
  int64_t position = 0;
  std::vector<std::vector<PacketPlace>> lists;  // for each track; none where the demuxer is needed
};

// A point in media time: seconds as a fraction.
struct Moment {
  int64_t numerator = 0;
  int64_t denominator = 1;  // 1 to 2^31
};

// Times beyond this, or time bases coarser than this numerator, are no film's.
inline constexpr int64_t kLatest = int64_t{1} << 50;
inline constexpr int kCoarsest = 1 << 16;

struct FilmIndex {
  std::string demuxer;         // libavformat's name
  int64_t origin = 0;          // microseconds on the file's clock; media time 0
  int64_t end = 0;             // ticks of the transport clock, in media time
  int anchor = 0;              // the track (of `tracks`) whose key packets are the cuts
  int reorder_depth = 0;       // of the anchor, in packets
  int64_t frame_duration = 0;  // of the anchor, in its time base
  std::vector<IndexTrack> tracks;
  std::vector<Cut> cuts;  // growing in time

  // A time of a track's as media time on the transport clock.
  int64_t Ticks(const IndexTrack& track, int64_t time) const;
  // Whether a time of a track's is the moment or later, compared exactly.
  bool Reaches(const IndexTrack& track, int64_t time, const Moment& moment) const;
  // A cut's time, as the fragments' boundaries have it.
  int64_t TicksOf(const Cut& cut) const { return Ticks(tracks[static_cast<size_t>(anchor)], cut.pts); }
};

std::string Serialize(const FilmIndex& index);

// Reads what Serialize has written; the lists of single cuts when they are asked for. The bytes must stay.
// Throws Failure when they are no such index.
class IndexReader {
 public:
  explicit IndexReader(std::string_view bytes);

  const FilmIndex& Film() const { return film_; }  // its cuts bear no lists
  bool HasLists() const { return has_lists_; }
  std::vector<std::vector<PacketPlace>> ListsOf(size_t cut) const;

 private:
  struct Extent {
    size_t first = 0;
    size_t length = 0;
  };
  FilmIndex film_;
  std::vector<Extent> extents_;
  std::string_view lists_;
  bool has_lists_ = false;
};

}  // namespace kinora::helper
