#include "platform/engine/playlists.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "platform/engine/fragment_id.h"
#include "platform/engine/playlist_text.h"

namespace kinora::engine {
namespace {

constexpr char kMaster[] = "master";
constexpr char kVideo[] = "video";
constexpr char kAudioPrefix[] = "audio_";
constexpr char kSoundGroup[] = "sound";
constexpr char kSubtitleGroup[] = "subtitles";
constexpr char kFileSuffix[] = ".m3u8";

// What a subtitle for those who do not hear well has beyond the spoken words (RFC 8216, 4.3.4.1).
constexpr char kForHearingImpaired[] =
    "public.accessibility.transcribes-spoken-dialog,public.accessibility.describes-music-and-sound";

// The job's rate control may spend what two seconds have saved, and a fragment lasts two seconds and more but
// at the very start.
constexpr int64_t kPeakOfEncoded = 2;
constexpr int64_t kUnknownBitrate = 8'000'000;     // bits per second
constexpr int64_t kUnknownSoundBitrate = 192'000;  // bits per second
constexpr int64_t kContainerPercent = 110;         // with the headers of a transport stream

// RFC 6381.
std::string CodecString(const StreamPlan& plan, const AudioPlan& audio) {
  if (audio.codec == "ac3") return "ac-3";
  if (audio.codec == "eac3") return "ec-3";
  if (audio.codec == "mp3") return "mp4a.40.34";
  if (audio.way == AudioWay::kCopy) {
    for (const AudioTraits& traits : plan.source.audio) {
      if (traits.track == audio.track && traits.profile == "HE-AAC") return "mp4a.40.5";
      if (traits.track == audio.track && traits.profile == "HE-AACv2") return "mp4a.40.29";
    }
  }
  return "mp4a.40.2";
}

std::string FileOf(const std::string& type) { return type + kFileSuffix; }
std::string AudioType(const AudioPlan& audio) { return kAudioPrefix + std::to_string(audio.track); }

// ---- media playlists -------------------------------------------------------------------------------------

// The sum of the durations is that of the grid at every point: each is the difference of two rounded times.
std::string MediaPlaylist(const SegmentGrid& grid, std::optional<int> audio_track,
                          const StreamAddress& address) {
  std::string segments;
  int64_t longest = 0;
  int64_t start = 0;
  for (int n = 0; n < grid.Count(); ++n) {
    const int64_t end = Microseconds(grid.End(n));
    longest = std::max(longest, end - start);
    segments += "#EXTINF:" + Seconds(end - start) + ",\n";
    segments += address.OfFragment({audio_track, n}) + "\n";
    start = end;
  }
  return CompleteMediaPlaylist(longest, segments);
}

// ---- the master playlist ---------------------------------------------------------------------------------

bool HasRenditions(const StreamPlan& plan) { return !plan.audio.empty() && !plan.SoundIsMuxed(); }

std::string Rendition(const AudioPlan& audio, const StreamAddress& address) {
  std::string line =
      "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=" + Quoted(kSoundGroup) + ",NAME=" + Quoted(audio.name);
  if (!audio.language.empty()) line += ",LANGUAGE=" + Quoted(audio.language);
  line += audio.is_default ? ",DEFAULT=YES" : ",DEFAULT=NO";
  line += ",AUTOSELECT=YES,CHANNELS=\"" + std::to_string(audio.channels) + "\"";
  return line + ",URI=\"" + address.OfPlaylist(AudioType(audio)) + "\"\n";
}

const char* YesOrNo(bool yes) { return yes ? "YES" : "NO"; }

std::string Rendition(const OfferedSubtitle& subtitle, const StreamAddress& address) {
  std::string line =
      "#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=" + Quoted(kSubtitleGroup) + ",NAME=" + Quoted(subtitle.name);
  if (!subtitle.language.empty()) line += ",LANGUAGE=" + Quoted(subtitle.language);
  line += std::string(",DEFAULT=") + YesOrNo(subtitle.is_default);
  line += std::string(",AUTOSELECT=") + YesOrNo(subtitle.auto_select);
  line += std::string(",FORCED=") + YesOrNo(subtitle.forced);
  if (subtitle.hearing_impaired) line += ",CHARACTERISTICS=" + Quoted(kForHearingImpaired);
  return line + ",URI=\"" + address.OfSubtitle(subtitle.id) + "\"\n";
}

// Of the most demanding track.
int64_t SoundBitrate(const StreamPlan& plan) {
  int64_t bitrate = 0;
  for (const AudioPlan& audio : plan.audio)
    bitrate = std::max(bitrate, audio.bitrate > 0 ? audio.bitrate : kUnknownSoundBitrate);
  return bitrate;
}

// Of the picture and of all tracks, each once. The web API's windows of subtitles call themselves plain text:
// what they are, some players learn from here.
std::string Codecs(const StreamPlan& plan, bool has_subtitles) {
  std::vector<std::string> codecs;
  if (plan.video != VideoWay::kNone) codecs.push_back(plan.picture.codec_string);
  for (const AudioPlan& audio : plan.audio) {
    const std::string codec = CodecString(plan, audio);
    if (std::find(codecs.begin(), codecs.end(), codec) == codecs.end()) codecs.push_back(codec);
  }
  if (has_subtitles) codecs.emplace_back("wvtt");
  std::string list;
  for (const std::string& codec : codecs) list += (list.empty() ? "" : ",") + codec;
  return list;
}

int64_t PictureBitrate(const StreamPlan& plan) {
  if (plan.video == VideoWay::kNone) return 0;
  if (plan.video == VideoWay::kEncode) return plan.picture.bitrate * kPeakOfEncoded;
  if (plan.picture.bitrate > 0) return plan.picture.bitrate;
  return plan.source.bitrate > 0 ? plan.source.bitrate * kPeakOfEncoded : kUnknownBitrate;
}

std::string PictureAttributes(const StreamPlan& plan) {
  const PicturePlan& picture = plan.picture;
  std::string attributes;
  if (picture.width > 0 && picture.height > 0)
    attributes += ",RESOLUTION=" + std::to_string(picture.width) + "x" + std::to_string(picture.height);
  if (picture.frame_rate > 0) {
    const int64_t thousandths = Floor(picture.frame_rate * int64_t{1000} + MediaTime(1, 2));
    char text[48];
    std::snprintf(text, sizeof text, ",FRAME-RATE=%" PRId64 ".%03" PRId64, thousandths / 1000,
                  thousandths % 1000);
    attributes += text;
  }
  return attributes;
}

std::string Variant(const StreamPlan& plan, bool has_subtitles, const StreamAddress& address) {
  const bool pure_sound = plan.video == VideoWay::kNone;
  const int64_t bandwidth = (PictureBitrate(plan) + SoundBitrate(plan)) * kContainerPercent / 100;
  std::string line = "#EXT-X-STREAM-INF:BANDWIDTH=" + std::to_string(bandwidth);
  if (plan.video == VideoWay::kCopy && plan.source.bitrate > 0)
    line += ",AVERAGE-BANDWIDTH=" + std::to_string(std::min(plan.source.bitrate, bandwidth));
  line += ",CODECS=" + Quoted(Codecs(plan, has_subtitles));
  if (!pure_sound) line += PictureAttributes(plan);
  if (HasRenditions(plan)) line += ",AUDIO=" + Quoted(kSoundGroup);
  if (has_subtitles) line += ",SUBTITLES=" + Quoted(kSubtitleGroup);
  // The address of the rendition itself, so that a player sees that they are the same.
  return line + "\n" + address.OfPlaylist(pure_sound ? AudioType(*plan.DefaultAudio()) : kVideo) + "\n";
}

// All tracks are one group, whatever their codecs: groups of one playlist must have the same members, and
// players offer those of one group only. A group may mix codecs as long as CODECS names them all (RFC 8216,
// 4.3.4.1.1).
std::string MasterPlaylist(const StreamPlan& plan, const std::vector<OfferedSubtitle>& subtitles,
                           const StreamAddress& address) {
  std::string text = "#EXTM3U\n#EXT-X-VERSION:4\n#EXT-X-INDEPENDENT-SEGMENTS\n";
  if (HasRenditions(plan)) {
    for (const AudioPlan& audio : plan.audio) text += Rendition(audio, address);
  }
  for (const OfferedSubtitle& subtitle : subtitles) text += Rendition(subtitle, address);
  return text + Variant(plan, !subtitles.empty(), address);
}

}  // namespace

StreamAddress::StreamAddress(const Json::Value& url, const std::string& stream_id)
    : start_(WebAddress(url, {"id", "playlist", "fragment", "subtitle_id", "name"}).With("id", stream_id)) {}

std::string StreamAddress::OfPlaylist(const std::string& type) const {
  return start_.With("playlist", type).Text();
}

std::string StreamAddress::OfSubtitle(const std::string& id) const {
  return start_.With("playlist", kSubtitlePlaylist).With("subtitle_id", id).Text();
}

std::string StreamAddress::OfFragment(const FragmentId& id) const {
  return start_.With("fragment", ToText(id)).With("name", FileName(id)).Text();
}

std::string CompleteMediaPlaylist(int64_t longest_us, const std::string& segments) {
  return "#EXTM3U\n#EXT-X-VERSION:4\n#EXT-X-TARGETDURATION:" +
         std::to_string((longest_us + kMicro - 1) / kMicro) +
         "\n#EXT-X-MEDIA-SEQUENCE:0\n#EXT-X-PLAYLIST-TYPE:VOD\n" + segments + "#EXT-X-ENDLIST\n";
}

std::vector<Playlist> MakePlaylists(const StreamPlan& plan, const std::vector<OfferedSubtitle>& subtitles,
                                    const StreamAddress& address) {
  std::vector<Playlist> playlists = {{FileOf(kMaster), MasterPlaylist(plan, subtitles, address)}};
  const bool pure_sound = plan.video == VideoWay::kNone;
  const std::optional<int> main = pure_sound ? std::optional<int>(plan.DefaultAudio()->track) : std::nullopt;
  playlists.push_back({FileOf(kVideo), MediaPlaylist(plan.grid, main, address)});
  if (plan.SoundIsMuxed()) return playlists;
  for (const AudioPlan& audio : plan.audio)
    playlists.push_back({FileOf(AudioType(audio)), MediaPlaylist(plan.grid, audio.track, address)});
  return playlists;
}

bool IsWholePlaylist(std::string_view text) {
  constexpr std::string_view kHead = "#EXTM3U\n";
  constexpr std::string_view kEnd = "#EXT-X-ENDLIST\n";
  const bool bounded = text.starts_with(kHead) && text.ends_with('\n') && text.find('\0') == text.npos;
  if (!bounded || text.ends_with(kEnd)) return bounded;
  const size_t last_line = text.rfind('\n', text.size() - 2) + 1;
  return text.find("#EXT-X-STREAM-INF:") != text.npos && text[last_line] != '#';
}

std::optional<std::string> PlaylistFile(std::string_view type) {
  if (type.empty() || type == kMaster) return FileOf(kMaster);
  if (type == kVideo) return FileOf(kVideo);
  constexpr std::string_view kPrefix = kAudioPrefix;
  if (!type.starts_with(kPrefix)) return std::nullopt;
  // Written as fragment ids write their track.
  const auto id = ParseFragmentId("a" + std::string(type.substr(kPrefix.size())) + "_0");
  if (!id || !id->audio_track) return std::nullopt;
  return FileOf(std::string(type));
}

}  // namespace kinora::engine
