#include "helpers/remux/demuxed.h"

#include <algorithm>
#include <new>

#include "helpers/common/exit_codes.h"
#include "helpers/remux/frame_splitter.h"

namespace kinora::helper {
namespace {

constexpr int64_t kBudget = int64_t{2} << 30;
// Sound may lie that much behind the picture that it belongs to (seconds); behind that there is none.
constexpr int64_t kMostLag = 3;
constexpr char kTransport[] = "mpegts";

class Collector {
 public:
  Collector(int descriptor, const IndexReader& index, const Selection& selection)
      : film_(index.Film()),
        selection_(selection),
        input_(descriptor, OptionsFor(film_)),
        context_(input_.Get()),
        splits_(film_.demuxer == kTransport) {
    if (!packet_) throw std::bad_alloc();
    for (const IndexTrack& track : film_.tracks) {
      if (track.stream >= static_cast<int>(context_->nb_streams)) Mismatch();
    }
    Discard();
    if (splits_ && selection_.audio) {
      const IndexTrack& sound = film_.tracks[*selection_.audio];
      splitter_.emplace(CodecOf(sound), sound.time_base);
    }
  }

  void Collect() {
    SeekToLead();
    while (!(video_done_ && audio_done_) && !beyond_ && av_read_frame(context_, packet_.get()) >= 0) {
      Take();
      av_packet_unref(packet_.get());
    }
    if (splitter_ && !audio_done_) splitter_->Finish([this](AVPacket& frame) { HearFrame(frame); });
    if (input_.WasStopped()) throw Failure(kUnreadable, "the film cannot be read");
    const bool complete = !selection_.video || video_done_ || (in_fragment_ && !selection_.end);
    if (!complete) Mismatch();
  }

  void WriteTo(TransportWriter& out) {
    SetDecodeTimes();
    size_t sound = 0;
    for (const Packet& picture : pictures_) {
      const int64_t now = film_.Ticks(Anchor(), picture->dts);
      for (; sound < sounds_.size() && SoundTicks(sound) < now; ++sound)
        out.Write(*selection_.audio, *sounds_[sound]);
      out.Write(*selection_.video, *picture);
    }
    for (; sound < sounds_.size(); ++sound) out.Write(*selection_.audio, *sounds_[sound]);
  }

 private:
  static InputOptions OptionsFor(const FilmIndex& film) {
    InputOptions options;
    options.demuxer = film.demuxer.c_str();
    options.find_streams = false;
    options.budget = kBudget;
    options.flags = AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN | AVFMT_FLAG_IGNIDX;
    options.plain_times = true;
    return options;
  }

  [[noreturn]] static void Mismatch() { throw Failure(kUnreadable, "the film is not what its index says"); }

  // The index's word: here the demuxer has only seen the beginning, and not all files tell there.
  static AVCodecID CodecOf(const IndexTrack& track) {
    const AVCodecDescriptor* codec = avcodec_descriptor_get_by_name(track.codec.c_str());
    return codec == nullptr ? AV_CODEC_ID_NONE : codec->id;
  }

  const IndexTrack& Anchor() const { return film_.tracks[static_cast<size_t>(film_.anchor)]; }
  int64_t SoundTicks(size_t i) const { return film_.Ticks(film_.tracks[*selection_.audio], sounds_[i]->dts); }

  void Discard() {
    for (unsigned int i = 0; i < context_->nb_streams; ++i) context_->streams[i]->discard = AVDISCARD_ALL;
    context_->streams[Anchor().stream]->discard = AVDISCARD_DEFAULT;
    if (selection_.audio) {
      context_->streams[film_.tracks[*selection_.audio].stream]->discard = AVDISCARD_DEFAULT;
    }
  }

  // The demuxer is told what the index knows, so that it need not read the file's own.
  void SeekToLead() {
    const Cut& cut = film_.cuts[selection_.first_cut];
    const bool from_start = selection_.Starts() || cut.lead_pts <= film_.cuts.front().pts;
    if (splits_) {
      // Also to the start: what the demuxer has seen while it looked for the streams is gone otherwise.
      const int64_t position = from_start ? 0 : cut.lead_position;
      if (av_seek_frame(context_, -1, position, AVSEEK_FLAG_BYTE) < 0) Mismatch();
      return;
    }
    if (from_start) return;
    AVStream* stream = context_->streams[Anchor().stream];
    av_add_index_entry(stream, cut.lead_position, cut.lead_pts, 0, 0, AVINDEX_KEYFRAME);
    // One behind it: the last entry makes the demuxer look for more.
    av_add_index_entry(stream, cut.lead_position, kLatest, 0, 0, AVINDEX_KEYFRAME);
    if (av_seek_frame(context_, stream->index, cut.lead_pts, AVSEEK_FLAG_BACKWARD) < 0) Mismatch();
  }

  void Take() {
    if (packet_->stream_index == Anchor().stream) TakeAnchor();
    if (selection_.audio && packet_->stream_index == film_.tracks[*selection_.audio].stream) TakeAudio();
  }

  void TakeAnchor() {
    const int64_t pts = packet_->pts;
    if (pts == AV_NOPTS_VALUE) return;
    if (selection_.end) {
      const Moment lag{selection_.end->numerator + kMostLag * selection_.end->denominator,
                       selection_.end->denominator};
      beyond_ = film_.Reaches(Anchor(), pts, lag);
    }
    if (!selection_.video) {
      video_done_ = true;
      return;
    }
    if (video_done_) return;
    if (!in_fragment_ && pts == film_.cuts[selection_.first_cut].pts) in_fragment_ = true;
    if (selection_.end && pts == film_.cuts[selection_.last_cut + 1].pts) {
      video_done_ = true;
      if (!in_fragment_) Mismatch();
      return;
    }
    if (!in_fragment_) return before_.push_back(pts);
    packet_->flags = pictures_.empty() ? AV_PKT_FLAG_KEY : 0;
    Keep(pictures_);
  }

  void TakeAudio() {
    if (!splits_) {
      CompleteTimes();
      return Hear();
    }
    const Packet whole(av_packet_clone(packet_.get()));
    if (!whole) throw std::bad_alloc();
    splitter_->Feed(*whole, [this](AVPacket& frame) { HearFrame(frame); });
  }

  void HearFrame(AVPacket& frame) {
    av_packet_unref(packet_.get());
    av_packet_move_ref(packet_.get(), &frame);
    Hear();
  }

  // Of several frames behind one time the others follow from their length.
  void CompleteTimes() {
    const IndexTrack& track = film_.tracks[*selection_.audio];
    const AVCodecParameters* codec = context_->streams[track.stream]->codecpar;
    if (packet_->pts == AV_NOPTS_VALUE && next_sound_ != AV_NOPTS_VALUE) packet_->pts = next_sound_;
    if (packet_->pts == AV_NOPTS_VALUE || track.sample_rate <= 0) return;
    const int samples = av_get_audio_frame_duration2(const_cast<AVCodecParameters*>(codec), packet_->size);
    next_sound_ = packet_->pts + av_rescale_q(samples, AVRational{1, track.sample_rate}, track.time_base);
  }

  void Hear() {
    const IndexTrack& track = film_.tracks[*selection_.audio];
    const int64_t pts = packet_->pts;
    if (pts == AV_NOPTS_VALUE) return;
    if (selection_.start && !film_.Reaches(track, pts, *selection_.start)) return;
    if (selection_.end && film_.Reaches(track, pts, *selection_.end)) {
      audio_done_ = true;
      return;
    }
    packet_->dts = pts;
    packet_->flags = AV_PKT_FLAG_KEY;
    Keep(sounds_);
  }

  void Keep(std::vector<Packet>& where) {
    Packet kept(av_packet_alloc());
    if (!kept || av_packet_make_refcounted(packet_.get()) < 0) throw std::bad_alloc();
    av_packet_move_ref(kept.get(), packet_.get());
    where.push_back(std::move(kept));
  }

  void SetDecodeTimes() {
    if (splits_) {
      for (const Packet& picture : pictures_) {
        if (picture->dts == AV_NOPTS_VALUE) picture->dts = picture->pts;
      }
      return;
    }
    std::vector<int64_t> times;
    for (const Packet& picture : pictures_) times.push_back(picture->pts);
    times = DecodeTimes(std::move(before_), std::move(times), film_.reorder_depth, film_.frame_duration);
    for (size_t i = 0; i < times.size(); ++i) pictures_[i]->dts = std::min(times[i], pictures_[i]->pts);
  }

  const FilmIndex& film_;
  const Selection& selection_;
  MediaInput input_;
  AVFormatContext* context_;
  bool splits_;  // packets of sound hold several frames
  std::optional<FrameSplitter> splitter_;
  Packet packet_{av_packet_alloc()};
  std::vector<int64_t> before_;
  std::vector<Packet> pictures_;
  std::vector<Packet> sounds_;
  int64_t next_sound_ = AV_NOPTS_VALUE;
  bool in_fragment_ = false;
  bool video_done_ = false;
  bool audio_done_ = !selection_.audio;
  bool beyond_ = false;
};

}  // namespace

std::vector<int64_t> DecodeTimes(std::vector<int64_t> before, std::vector<int64_t> times, int reorder_depth,
                                 int64_t frame_duration) {
  if (times.empty()) return times;
  const auto depth = static_cast<size_t>(std::max(reorder_depth, 0));
  std::sort(before.begin(), before.end());
  std::sort(times.begin(), times.end());
  if (before.size() > depth) before.erase(before.begin(), before.end() - static_cast<ptrdiff_t>(depth));
  while (before.size() < depth) {
    const int64_t next = before.empty() ? times.front() : before.front();
    before.insert(before.begin(), next - frame_duration);
  }
  const size_t count = times.size();
  before.insert(before.end(), times.begin(), times.end());
  before.resize(count);
  return before;
}

void CopyDemuxed(int descriptor, const IndexReader& index, const Selection& selection, TransportWriter& out) {
  Collector collector(descriptor, index, selection);
  collector.Collect();
  collector.WriteTo(out);
}

}  // namespace kinora::helper
