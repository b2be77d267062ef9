#include "helpers/index/walk.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <string_view>

#include "helpers/common/handles.h"
#include "helpers/index/key_picture.h"

namespace kinora::helper {
namespace {

constexpr size_t kSampledKeys = 16;     // looked at closely, spread over the film
constexpr size_t kKeyHead = 256 << 10;  // bytes of a key packet that are looked at
constexpr size_t kDeepestReorder = 32;  // packets; the standards allow 16
constexpr int64_t kLongestGap = 10;     // seconds between two pictures
constexpr int kFirstPackets = 600;      // of the video, read to see how they are ordered
constexpr int kMostBoxes = 64;
constexpr int64_t kLongestPriming = kTransportClock / 10;

std::string_view Bytes(const AVPacket& packet) {
  return {reinterpret_cast<const char*>(packet.data), static_cast<size_t>(packet.size)};
}

// How many packets at most come before one that is shown before them.
class Reorder {
 public:
  void Add(int64_t pts) {
    const auto later = std::count_if(recent_.begin(), recent_.end(), [pts](int64_t t) { return t > pts; });
    depth_ = std::max(depth_, static_cast<int>(later));
    recent_.push_back(pts);
    if (recent_.size() > kDeepestReorder) recent_.pop_front();
  }
  int Depth() const { return depth_; }

 private:
  std::deque<int64_t> recent_;
  int depth_ = 0;
};

class Walker {
 public:
  Walker(MediaInput& input, Container container, const FilmIndex& film)
      : input_(input), context_(input.Get()), container_(container), film_(film), tracks_(film.tracks) {
    context_->flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    for (unsigned int i = 0; i < context_->nb_streams; ++i) {
      context_->streams[i]->discard = TrackOf(static_cast<int>(i)) < 0 ? AVDISCARD_ALL : AVDISCARD_DEFAULT;
    }
    if (!packet_) throw std::bad_alloc();
  }

  std::optional<Walk> FromIndex() {
    if (container_ == Container::kMp4) {
      input_.ReadBlank();
      ReadAll(true);
      SampleListed();
      return Finish();
    }
    if (container_ != Container::kMatroska || !ReadCues()) return std::nullopt;
    ReadFirstGroup();
    SampleSought();
    if (!ReadLastGroup()) return std::nullopt;
    return Finish();
  }

  Walk FromPackets() {
    const bool listed = container_ == Container::kFragmentedMp4;
    ReadAll(listed);
    if (container_ == Container::kMatroska) TakeIndexEntries();
    if (listed) SampleListed();
    return Finish();
  }

 private:
  const IndexTrack& Anchor() const { return tracks_[static_cast<size_t>(film_.anchor)]; }
  bool HasPicture() const { return !Anchor().IsAudio(); }
  AVStream* AnchorStream() const { return context_->streams[Anchor().stream]; }
  int TrackOf(int stream) const {
    for (size_t i = 0; i < tracks_.size(); ++i) {
      if (tracks_[i].stream == stream) return static_cast<int>(i);
    }
    return -1;
  }

  bool Read() {
    av_packet_unref(packet_.get());
    return av_read_frame(context_, packet_.get()) >= 0;
  }

  void Seek(int64_t time) {
    if (av_seek_frame(context_, Anchor().stream, time, AVSEEK_FLAG_BACKWARD) < 0) {
      walk_.Blame("its index leads nowhere");
    }
  }

  void NoteEnd(const IndexTrack& track) {
    if (packet_->pts == AV_NOPTS_VALUE) return;
    const int64_t duration = packet_->duration > 0 ? packet_->duration
                             : track.IsAudio()     ? 0
                                                   : film_.frame_duration;
    walk_.end = std::max(walk_.end, film_.Ticks(track, packet_->pts + duration));
  }

  // ---- every packet

  // To the first packet of every track: by the one that begins first, where the demuxer moves each track for
  // itself.
  void SeekToStart() {
    if (container_ == Container::kTransport) {
      av_seek_frame(context_, -1, 0, AVSEEK_FLAG_BYTE);
      return;
    }
    AVStream* earliest = nullptr;
    for (const IndexTrack& track : tracks_) {
      AVStream* stream = context_->streams[track.stream];
      if (avformat_index_get_entries_count(stream) == 0) continue;
      if (earliest == nullptr || av_compare_ts(FirstTime(*stream), stream->time_base, FirstTime(*earliest),
                                               earliest->time_base) < 0) {
        earliest = stream;
      }
    }
    if (earliest != nullptr) {
      av_seek_frame(context_, earliest->index, FirstTime(*earliest), AVSEEK_FLAG_BACKWARD);
    }
  }

  static int64_t FirstTime(AVStream& stream) { return avformat_index_get_entry(&stream, 0)->timestamp; }

  void ReadAll(bool listed) {
    if (listed) walk_.lists.resize(tracks_.size());
    SeekToStart();
    last_dts_.assign(tracks_.size(), AV_NOPTS_VALUE);
    while (Read()) {
      const int place = TrackOf(packet_->stream_index);
      if (place >= 0) Take(static_cast<size_t>(place), listed);
    }
    walk_.reorder_depth = reorder_.Depth();
  }

  void Take(size_t place, bool listed) {
    const IndexTrack& track = tracks_[place];
    const bool anchor = static_cast<int>(place) == film_.anchor;
    // The file ends in the middle of it: the film ends before.
    if (listed && (packet_->flags & AV_PKT_FLAG_CORRUPT) != 0) return;
    if ((packet_->flags & AV_PKT_FLAG_DISCARD) != 0 && !Primes(track)) {
      hidden_ = hidden_ || anchor;
      return;
    }
    if (packet_->dts == AV_NOPTS_VALUE) packet_->dts = packet_->pts;
    CheckTimes(place, anchor);
    if (packet_->pts == AV_NOPTS_VALUE) return;
    if (std::abs(packet_->pts) > kLatest || std::abs(packet_->dts) > kLatest) {
      return walk_.Blame("its times jump");
    }
    if (listed) {
      walk_.lists[place].push_back({packet_->pos, packet_->size, packet_->dts, packet_->pts});
      if (packet_->pos < 0 || packet_->pos + packet_->size > input_.Size()) walk_.Blame("it is cut off");
    }
    NoteEnd(track);
    if (anchor) TakeAnchor();
  }

  // Sound that is decoded and not heard, because what comes first to be heard needs it.
  bool Primes(const IndexTrack& track) const {
    if (!track.IsAudio() || packet_->pts == AV_NOPTS_VALUE) return false;
    const int64_t time = film_.Ticks(track, packet_->pts);
    return time >= -kLongestPriming && time < 0;
  }

  void TakeAnchor() {
    if (hidden_ && HasPicture()) walk_.Blame("an edit list cuts it between its key pictures");
    reorder_.Add(packet_->pts);
    bool key = (packet_->flags & AV_PKT_FLAG_KEY) != 0;
    if (container_ == Container::kTransport && HasPicture()) {
      const KeyPicture kind =
          KindOfKey(AnchorStream()->codecpar->codec_id, Anchor().extradata, Bytes(*packet_));
      key = kind == KeyPicture::kClean;
    }
    if (key) walk_.keys.push_back({packet_->pts, packet_->pos});
    if (!key && walk_.keys.empty() && HasPicture()) walk_.Blame("it does not begin with a key picture");
  }

  void CheckTimes(size_t place, bool anchor) {
    const IndexTrack& track = tracks_[place];
    if (packet_->pts == AV_NOPTS_VALUE) {
      if (anchor) walk_.Blame("its pictures bear no times");
      return;
    }
    const int64_t time = packet_->dts;
    int64_t& last = last_dts_[place];
    // Matroska tells presentation times only.
    const bool decode_times = container_ != Container::kMatroska || track.IsAudio();
    if (last != AV_NOPTS_VALUE && anchor) {
      if (decode_times && time <= last) walk_.Blame("its times go backwards");
      const int64_t gap = av_rescale_q(time - last, track.time_base, AVRational{1, 1});
      if (gap >= kLongestGap || gap <= -kLongestGap) walk_.Blame("its times jump");
    }
    last = time;
  }

  // ---- Matroska's own index

  bool ReadCues() {
    // The first seek is what makes the demuxer read it.
    if (av_seek_frame(context_, Anchor().stream, 0, AVSEEK_FLAG_BACKWARD) < 0) return false;
    TakeIndexEntries();
    return !walk_.keys.empty();
  }

  void TakeIndexEntries() {
    walk_.keys.clear();
    const int count = avformat_index_get_entries_count(AnchorStream());
    for (int i = 0; i < count; ++i) {
      const AVIndexEntry* entry = avformat_index_get_entry(AnchorStream(), i);
      if ((entry->flags & AVINDEX_KEYFRAME) != 0) walk_.keys.push_back({entry->timestamp, entry->pos});
    }
    for (const Key& key : walk_.keys) {
      if (key.position < 0 || key.position >= input_.Size()) walk_.Blame("it is cut off");
    }
  }

  // The next packet of the anchor.
  bool ReadAnchor() {
    while (Read()) {
      if (packet_->stream_index == Anchor().stream) return true;
    }
    return false;
  }

  void ReadFirstGroup() {
    Seek(walk_.keys.front().pts);
    bool first = true;
    for (int i = 0; i < kFirstPackets && ReadAnchor(); ++i) {
      if (packet_->pts == AV_NOPTS_VALUE) return walk_.Blame("its pictures bear no times");
      if (first && packet_->pts != walk_.keys.front().pts) walk_.Blame("its index is wrong");
      first = false;
      reorder_.Add(packet_->pts);
    }
    walk_.reorder_depth = std::max(reorder_.Depth(), AnchorStream()->codecpar->video_delay);
  }

  // What comes behind the last key of the index. False when there are keys long after it: the index is not
  // the film's, but what the demuxer has met by chance while it looked at a file without one.
  bool ReadLastGroup() {
    const int64_t last = walk_.keys.back().pts;
    Seek(last);
    while (Read()) {
      const int place = TrackOf(packet_->stream_index);
      if (place < 0 || packet_->pts == AV_NOPTS_VALUE) continue;
      const bool key = place == film_.anchor && (packet_->flags & AV_PKT_FLAG_KEY) != 0;
      if (key && av_rescale_q(packet_->pts - last, Anchor().time_base, AVRational{1, 1}) >= kLongestGap) {
        return false;
      }
      NoteEnd(tracks_[static_cast<size_t>(place)]);
    }
    return true;
  }

  // ---- single key packets

  std::vector<size_t> Sample() const {
    std::vector<size_t> places;
    const size_t count = std::min(kSampledKeys, walk_.keys.size());
    for (size_t i = 0; i < count; ++i) {
      places.push_back(count == 1 ? 0 : i * (walk_.keys.size() - 1) / (count - 1));
    }
    return places;
  }

  void Judge(std::string_view packet) {
    switch (KindOfKey(AnchorStream()->codecpar->codec_id, Anchor().extradata, packet)) {
      case KeyPicture::kClean:
        return;
      case KeyPicture::kOpen:
        return walk_.Blame("its groups of pictures are open");
      case KeyPicture::kNone:
        return walk_.Blame("its key pictures cannot be made out");
    }
  }

  void SampleListed() {
    if (!HasPicture()) return;
    for (const size_t place : Sample()) {
      Judge(input_.BytesAt(walk_.keys[place].position, kKeyHead));
    }
  }

  void SampleSought() {
    if (!HasPicture()) return;
    for (const size_t place : Sample()) {
      const Key& key = walk_.keys[place];
      Seek(key.pts);
      if (!ReadAnchor() || packet_->pts != key.pts) return walk_.Blame("its index is wrong");
      Judge(Bytes(*packet_));
    }
  }

  Walk Finish() {
    const auto before = [](const Key& a, const Key& b) { return a.pts >= b.pts || a.position > b.position; };
    if (std::adjacent_find(walk_.keys.begin(), walk_.keys.end(), before) != walk_.keys.end()) {
      walk_.Blame("its key pictures lie out of order");
    }
    if (walk_.keys.empty()) walk_.Blame("it has no key pictures");
    return std::move(walk_);
  }

  MediaInput& input_;
  AVFormatContext* context_;
  Container container_;
  const FilmIndex& film_;
  const std::vector<IndexTrack>& tracks_;
  Packet packet_{av_packet_alloc()};
  Walk walk_;
  Reorder reorder_;
  std::vector<int64_t> last_dts_;
  bool hidden_ = false;  // a picture that is not to be shown has gone by
};

// Whether a movie fragment box comes among the first boxes (ISO/IEC 14496-12: 32 bits of size, four letters,
// where the size is 1 another 64 bits of it).
bool IsFragmented(const MediaInput& input) {
  int64_t position = 0;
  for (int i = 0; i < kMostBoxes; ++i) {
    const std::string header = input.BytesAt(position, 16);
    if (header.size() < 16) return false;
    const std::string_view type = std::string_view(header).substr(4, 4);
    if (type == "moof") return true;
    const auto number = [&header](size_t first, size_t count) {
      uint64_t value = 0;
      for (size_t k = first; k < first + count; ++k) value = value << 8 | static_cast<uint8_t>(header[k]);
      return value;
    };
    uint64_t size = number(0, 4);
    if (size == 1) size = number(8, 8);
    if (size < 8 || size > static_cast<uint64_t>(input.Size() - position)) return false;
    position += static_cast<int64_t>(size);
  }
  return false;
}

}  // namespace

Container ContainerOf(const MediaInput& input) {
  const std::string_view name = input.Get()->iformat->name;
  if (name.starts_with("mov")) return IsFragmented(input) ? Container::kFragmentedMp4 : Container::kMp4;
  if (name.starts_with("matroska")) return Container::kMatroska;
  return name == "mpegts" ? Container::kTransport : Container::kOther;
}

std::optional<Walk> WalkIndex(MediaInput& input, Container container, const FilmIndex& film) {
  return Walker(input, container, film).FromIndex();
}

Walk WalkPackets(MediaInput& input, Container container, const FilmIndex& film) {
  return Walker(input, container, film).FromPackets();
}

}  // namespace kinora::helper
