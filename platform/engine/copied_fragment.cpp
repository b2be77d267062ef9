#include "platform/engine/copied_fragment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <system_error>
#include <vector>

#include "platform/base/log.h"
#include "platform/engine/fragment_id.h"
#include "platform/engine/kept_files.h"
#include "platform/engine/media_index.h"
#include "platform/engine/remux_helper.h"
#include "platform/engine/scratch_file.h"
#include "platform/engine/source_file.h"
#include "platform/engine/stream_space.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"

namespace kinora::engine {
namespace {

using system::ChildResult;

constexpr char kUnit[] = "engine/copied_fragment";
constexpr int kUsage = 64;             // how the helper ends when it cannot use the index
constexpr int64_t kSoundFragment = 6;  // seconds
constexpr size_t kTransportPacket = 188;
constexpr KeptKind kKept{".ts", 16, 4};

CopyDecision Never(std::string reason) { return {CopyVerdict::kNever, {}, std::move(reason)}; }

bool IsOneOf(const std::string& text, std::initializer_list<const char*> list) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

// ---- one fragment

// Which part of the film, as the helper's command line has it.
struct Part {
  std::string start = "-";
  std::string end = "-";
  std::string video = "-";
  std::string audio = "-";
};

std::string Fraction(const MediaTime& time) {
  return std::to_string(time.numerator()) + "/" + std::to_string(time.denominator());
}

Part PartOf(const SegmentGrid& grid, int number) {
  Part part;
  if (number > 0) part.start = Fraction(grid.Start(number));
  if (number + 1 < grid.Count()) part.end = Fraction(grid.End(number));
  return part;
}

// The helper's last packet carries nothing: a file that ends in another way was torn when the machine fell.
bool IsWhole(const std::string& path) {
  const base::Descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  const off_t last = status.st_size - static_cast<off_t>(kTransportPacket);
  std::array<unsigned char, kTransportPacket> packet{};
  if (last < 0 || ::pread(file.Get(), packet.data(), packet.size(), last) != kTransportPacket) return false;
  constexpr std::array<unsigned char, 4> kNullPacket = {0x47, 0x1f, 0xff, 0x10};
  return std::equal(kNullPacket.begin(), kNullPacket.end(), packet.begin());
}

FragmentOutcome Judge(const ChildResult& result, const Part& part) {
  return JudgeRemux(result, "The fragment from " + part.start + " to " + part.end);
}

// What is kept of the film may have been damaged on the disk.
bool HasRefusedTheIndex(const ChildResult& result) {
  return result.end == ChildResult::End::kExited && result.status == kUsage;
}

base::Descriptor FindIndex(const SourceIdentity& source) {
  std::string reason;
  base::Descriptor index = IndexFileOf(source, reason);
  if (!index) base::Log(LOG_ERR, kUnit, "No index of [" + source.path + "]: " + reason);
  return index;
}

FragmentOutcome Make(const SourceIdentity& source, const Part& part, const std::string& path) {
  const base::Descriptor film = OpenSource(source);
  if (!film) return FragmentOutcome::kGone;
  base::Descriptor index = FindIndex(source);
  if (!index) return FragmentOutcome::kFailed;
  ScratchFile scratch(path);
  const std::vector<std::string> arguments = {part.start, part.end, part.video, part.audio};
  ChildResult result = RunRemux(arguments, {film.Get(), scratch.File(), index.Get()}, scratch);
  if (HasRefusedTheIndex(result)) {
    ForgetIndex(source);
    index = FindIndex(source);
    if (!index) return FragmentOutcome::kFailed;
    scratch.Empty();
    result = RunRemux(arguments, {film.Get(), scratch.File(), index.Get()}, scratch);
  }
  const FragmentOutcome outcome = Judge(result, part);
  if (outcome != FragmentOutcome::kReady) return outcome;
  if (!OpenSource(source)) return FragmentOutcome::kGone;  // changed while it was read
  scratch.Replace();
  return FragmentOutcome::kReady;
}

FragmentOutcome Prepare(const StreamFolder& folder, const SourceIdentity& source, const FragmentId& id,
                        const Part& part, uint64_t planned) {
  const std::string path = folder.WorkPath(FileName(id));
  if (IsWhole(path) && Touch(path)) return FragmentOutcome::kReady;
  try {
    const system::Settings settings = system::LoadSettings(system::kSettingsFile);
    MakeRoom(folder.WorkPath(""), kKept, planned, settings.stream_quota);
    if (HasSpaceBelow(folder, settings.free_space_floor)) return Make(source, part, path);
    base::Log(LOG_ERR, kUnit, "There is no space for " + path);
    return FragmentOutcome::kNoSpace;
  } catch (const std::system_error& error) {
    base::Log(LOG_ERR, kUnit, error.what());
    return OutcomeOf(error);
  }
}

// What so much film takes at most, in bytes: the packets of a transport stream add a part of their own. The
// rate is what a file says of itself.
uint64_t BytesAt(int64_t bits_per_second, const MediaTime& length) {
  constexpr double kMost = 1e15;
  const double bytes = double(bits_per_second) / 8 * boost::rational_cast<double>(length) * 9 / 8;
  return static_cast<uint64_t>(std::clamp(bytes, 0.0, kMost));
}

bool HasFragment(const SegmentGrid& grid, int number) { return number >= 0 && number < grid.Count(); }

}  // namespace

bool IsCopiedFrom(const std::string& container) {
  return IsOneOf(container, {"mp4", "mov", "mkv", "webm", "mpegts"});
}

CopyDecision PlanCopy(const SourceTraits& source) {
  if (source.video.track < 0) return Never("it has no picture");
  if (!IsOneOf(source.video.codec, {"h264", "h264_interlaced", "hevc", "hevc_10bit"}))
    return Never("players are not given " + source.video.codec);
  if (!IsCopiedFrom(source.container)) return Never("films in " + source.container + " are not cut");
  std::string reason;
  const std::optional<MediaIndex> index = IndexOf(source.identity, reason);
  if (!index) return Never(reason);
  const FilmCuts& film = index->film;
  if (!film.indexed) return {CopyVerdict::kNotYet, {}, "it has no index and has not been scanned"};
  if (!film.trouble.empty()) return Never(film.trouble);
  if (film.video != source.video.track) return Never("another picture leads it");
  CopyPlan plan;
  plan.grid.unit = MediaTime(1, kTransportClock);
  plan.grid.boundaries = film.cuts;
  plan.frame_rate = film.frame_rate;
  plan.codec_string = film.codec;
  plan.peak_bitrate = film.peak_bitrate;
  return {CopyVerdict::kCopies, std::move(plan), ""};
}

bool CanCopySound(const SourceTraits& source) {
  if (!IsCopiedFrom(source.container)) return false;
  std::string reason;
  const std::optional<MediaIndex> index = IndexOf(source.identity, reason);
  return index && index->film.indexed && index->film.video == source.video.track;
}

SegmentGrid MakeSoundGrid(const MediaTime& duration) {
  SegmentGrid grid;
  grid.unit = MediaTime(1, kTransportClock);
  const int64_t end = std::max<int64_t>(Ceil(duration * kTransportClock), 1);
  constexpr int64_t kLength = kSoundFragment * kTransportClock;
  grid.boundaries.push_back(0);
  while (end - grid.boundaries.back() >= kLength + kLength / 2) {
    grid.boundaries.push_back(grid.boundaries.back() + kLength);
  }
  grid.boundaries.push_back(end);
  return grid;
}

FragmentOutcome PrepareCopied(const StreamFolder& folder, const StreamPlan& plan, int number) {
  if (!HasFragment(plan.grid, number)) return FragmentOutcome::kFailed;
  Part part = PartOf(plan.grid, number);
  part.video = std::to_string(plan.source.video.track);
  if (plan.SoundIsMuxed()) part.audio = std::to_string(plan.audio.front().track);
  return Prepare(folder, plan.source.identity, FragmentId{std::nullopt, number}, part,
                 BytesAt(plan.picture.bitrate, plan.grid.Duration(number)));
}

FragmentOutcome PrepareCopiedAudio(const StreamFolder& folder, const StreamPlan& plan, const AudioPlan& audio,
                                   int number) {
  if (!HasFragment(plan.grid, number)) return FragmentOutcome::kFailed;
  Part part = PartOf(plan.grid, number);
  part.audio = std::to_string(audio.track);
  return Prepare(folder, plan.source.identity, FragmentId{audio.track, number}, part,
                 BytesAt(audio.bitrate, plan.grid.Duration(number)));
}

}  // namespace kinora::engine
