#include "helpers/common/film_index.h"

#include <cstdlib>

#include "helpers/common/exit_codes.h"
#include "helpers/common/media_input.h"

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/mathematics.h>
}

namespace kinora::helper {
namespace {

constexpr std::string_view kMark = "KFX1";
constexpr int64_t kMostCuts = 1 << 20;
constexpr int64_t kMostPacketSize = int64_t{64} << 20;

class Writer {
 public:
  void Put(int64_t number) {
    uint64_t rest = (static_cast<uint64_t>(number) << 1) ^ static_cast<uint64_t>(number >> 63);
    for (; rest > 0x7f; rest >>= 7) bytes_ += static_cast<char>(rest | 0x80);
    bytes_ += static_cast<char>(rest);
  }
  void Put(std::string_view text) {
    Put(static_cast<int64_t>(text.size()));
    bytes_ += text;
  }
  std::string Take() { return std::move(bytes_); }
  size_t Size() const { return bytes_.size(); }

 private:
  std::string bytes_;
};

class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  int64_t Number() {
    uint64_t raw = 0;
    for (int shift = 0; shift < 64; shift += 7) {
      if (bytes_.empty()) Damaged();
      const auto byte = static_cast<unsigned char>(bytes_.front());
      bytes_.remove_prefix(1);
      raw |= static_cast<uint64_t>(byte & 0x7f) << shift;
      if ((byte & 0x80) == 0) return static_cast<int64_t>(raw >> 1) ^ -static_cast<int64_t>(raw & 1);
    }
    Damaged();
  }
  int64_t Number(int64_t least, int64_t most) {
    const int64_t number = Number();
    if (number < least || number > most) Damaged();
    return number;
  }
  int Small(int64_t least) { return static_cast<int>(Number(least, INT32_MAX)); }
  std::string Text() {
    const auto length = static_cast<size_t>(Number(0, static_cast<int64_t>(bytes_.size())));
    std::string text(bytes_.substr(0, length));
    bytes_.remove_prefix(length);
    return text;
  }
  std::string_view Rest() const { return bytes_; }

  [[noreturn]] static void Damaged() { throw Failure(kUsage, "the index is damaged"); }

 private:
  std::string_view bytes_;
};

void PutTrack(Writer& out, const IndexTrack& track) {
  out.Put(track.stream);
  out.Put(track.codec);
  out.Put(track.time_base.num);
  out.Put(track.time_base.den);
  out.Put(track.extradata);
  out.Put(track.profile);
  out.Put(track.sample_rate);
  out.Put(track.channels);
}

IndexTrack TakeTrack(Reader& in) {
  IndexTrack track;
  track.stream = in.Small(0);
  track.codec = in.Text();
  track.time_base.num = static_cast<int>(in.Number(1, kCoarsest));
  track.time_base.den = in.Small(1);
  track.extradata = in.Text();
  track.profile = in.Small(INT32_MIN);
  track.sample_rate = in.Small(0);
  track.channels = in.Small(0);
  return track;
}

// Sums that overflow come out as something else, not as undefined behaviour.
int64_t Sum(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

void PutList(Writer& out, const std::vector<PacketPlace>& list) {
  out.Put(static_cast<int64_t>(list.size()));
  int64_t end = 0;
  int64_t dts = 0;
  for (const PacketPlace& packet : list) {
    out.Put(packet.position - end);
    out.Put(packet.size);
    out.Put(packet.dts - dts);
    out.Put(packet.pts - packet.dts);
    end = packet.position + packet.size;
    dts = packet.dts;
  }
}

std::vector<PacketPlace> TakeList(Reader& in) {
  std::vector<PacketPlace> list(
      static_cast<size_t>(in.Number(0, static_cast<int64_t>(in.Rest().size()) / 4)));
  int64_t end = 0;
  int64_t dts = 0;
  for (PacketPlace& packet : list) {
    packet.position = Sum(end, in.Number());
    packet.size = in.Number(0, kMostPacketSize);
    packet.dts = dts = Sum(dts, in.Number());
    packet.pts = Sum(dts, in.Number());
    if (packet.position < 0 || std::abs(packet.dts) > kLatest || std::abs(packet.pts) > kLatest) {
      Reader::Damaged();
    }
    end = Sum(packet.position, packet.size);
  }
  return list;
}

}  // namespace

int64_t FilmIndex::Ticks(const IndexTrack& track, int64_t time) const {
  return av_rescale_q(time, track.time_base, kTicks) - av_rescale_q(origin, AV_TIME_BASE_Q, kTicks);
}

bool FilmIndex::Reaches(const IndexTrack& track, int64_t time, const Moment& moment) const {
  __extension__ using Wide = __int128;
  const Wide scale = Wide{track.time_base.den} * AV_TIME_BASE;
  const Wide from_origin =
      Wide{time} * track.time_base.num * AV_TIME_BASE - Wide{origin} * track.time_base.den;
  return from_origin * moment.denominator >= scale * moment.numerator;
}

std::string Serialize(const FilmIndex& index) {
  Writer out;
  out.Put(index.demuxer);
  for (const int64_t number :
       {index.origin, index.end, int64_t{index.anchor}, int64_t{index.reorder_depth}, index.frame_duration}) {
    out.Put(number);
  }
  out.Put(static_cast<int64_t>(index.tracks.size()));
  for (const IndexTrack& track : index.tracks) PutTrack(out, track);
  out.Put(static_cast<int64_t>(index.cuts.size()));
  Writer lists;
  for (const Cut& cut : index.cuts) {
    const size_t first = lists.Size();
    for (const auto& list : cut.lists) PutList(lists, list);
    for (const int64_t number : {cut.pts, cut.lead_pts, cut.lead_position, cut.position}) out.Put(number);
    out.Put(static_cast<int64_t>(first));
    out.Put(static_cast<int64_t>(lists.Size() - first));
  }
  return std::string(kMark) + out.Take() + lists.Take();
}

IndexReader::IndexReader(std::string_view bytes) {
  if (!bytes.starts_with(kMark)) Reader::Damaged();
  Reader in(bytes.substr(kMark.size()));
  film_.demuxer = in.Text();
  film_.origin = in.Number(-kLatest, kLatest);
  film_.end = in.Number();
  film_.anchor = in.Small(0);
  film_.reorder_depth = in.Small(0);
  film_.frame_duration = in.Number();
  film_.tracks.resize(static_cast<size_t>(in.Number(1, kMostStreams)));
  for (IndexTrack& track : film_.tracks) track = TakeTrack(in);
  if (static_cast<size_t>(film_.anchor) >= film_.tracks.size()) Reader::Damaged();
  film_.cuts.resize(static_cast<size_t>(in.Number(1, kMostCuts)));
  extents_.resize(film_.cuts.size());
  for (size_t i = 0; i < film_.cuts.size(); ++i) {
    Cut& cut = film_.cuts[i];
    for (int64_t* number : {&cut.pts, &cut.lead_pts, &cut.lead_position, &cut.position})
      *number = in.Number();
    extents_[i].first = static_cast<size_t>(in.Number(0, INT64_MAX));
    extents_[i].length = static_cast<size_t>(in.Number(0, INT64_MAX));
    has_lists_ = has_lists_ || extents_[i].length > 0;
  }
  lists_ = in.Rest();
}

std::vector<std::vector<PacketPlace>> IndexReader::ListsOf(size_t cut) const {
  const Extent& extent = extents_.at(cut);
  if (extent.first > lists_.size() || extent.length > lists_.size() - extent.first) Reader::Damaged();
  Reader in(lists_.substr(extent.first, extent.length));
  std::vector<std::vector<PacketPlace>> lists;
  for (size_t i = 0; i < film_.tracks.size(); ++i) lists.push_back(TakeList(in));
  return lists;
}

}  // namespace kinora::helper
