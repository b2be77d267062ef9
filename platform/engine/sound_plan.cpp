#include "platform/engine/sound_plan.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "platform/system/languages.h"

namespace kinora::engine {
namespace {

constexpr int kStereo = 2;
constexpr int kSurround = 6;
constexpr int kFrequency = 48'000;

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> list) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

// The containers from which packets can be taken out.
bool CanCopyFrom(const std::string& container) {
  return IsOneOf(container, {"mp4", "mov", "mkv", "webm", "mpegts"});
}

// A transport stream carries these kinds of AAC only; where the file does not say, it is the common one.
bool IsPlainAac(const AudioTraits& audio) {
  return audio.codec == "aac" && IsOneOf(audio.profile, {"", "LC", "HE-AAC", "HE-AACv2"});
}

// `mp3` tells that MP3 goes out even if nobody has asked for it.
bool IsCopied(const AudioTraits& audio, const std::string& format, int most_channels, bool copies, bool mp3) {
  if (audio.channels <= 0 || audio.frequency <= 0) return false;
  if (format == kCopyAc3 && IsOneOf(audio.codec, {"ac3", "eac3"})) return true;
  if (!copies || audio.channels > std::max(most_channels, kStereo)) return false;
  if (format == "mp3") return audio.codec == "mp3";
  return IsPlainAac(audio) || (format != "aac" && mp3 && audio.codec == "mp3");
}

bool IsMp3Alone(const SourceTraits& source) {
  return std::all_of(source.audio.begin(), source.audio.end(),
                     [](const AudioTraits& audio) { return audio.codec == "mp3"; });
}

AudioPlan Copied(const AudioTraits& audio) {
  AudioPlan plan;
  plan.track = audio.track;
  plan.way = AudioWay::kCopy;
  plan.codec = audio.codec;
  plan.channels = audio.channels;
  plan.frequency = audio.frequency;
  plan.bitrate = audio.bitrate;
  return plan;
}

AudioPlan Encoded(const AudioTraits& audio, const std::string& format, const media::TransProfile& profile) {
  AudioPlan plan;
  plan.track = audio.track;
  plan.codec = format == "mp3" ? "mp3" : "aac";
  const bool surround =
      plan.codec == "aac" && audio.channels >= kSurround && profile.audio_channels >= kSurround;
  plan.channels = surround ? kSurround : kStereo;
  plan.frequency = kFrequency;
  plan.bitrate = profile.audio_bitrate * plan.channels / kStereo;
  return plan;
}

// The title, else the language, else a number; told apart by a number where two are alike.
std::string NameOf(const AudioTraits& audio, const std::string& language, size_t position,
                   const std::set<std::string>& taken) {
  std::string name = audio.title;
  if (name.find_first_not_of(" \t\r\n") == std::string::npos) name = system::LanguageName(language);
  if (name.empty()) name = "Track " + std::to_string(position);
  std::string unique = name;
  for (int i = 2; taken.contains(unique); ++i) unique = name + " (" + std::to_string(i) + ")";
  return unique;
}

}  // namespace

bool CanBeEncoded(const AudioTraits& audio) {
  return audio.decodable && !audio.codec.empty() && audio.channels > 0 && audio.frequency > 0;
}

std::variant<std::vector<AudioPlan>, Refusal> PlanSound(const SourceTraits& source,
                                                        const StreamWishes& wishes,
                                                        const media::TransProfile& profile,
                                                        const SoundWays& ways) {
  if (!IsOneOf(wishes.audio_format, {"", kCopyAc3, "aac", "mp3"}))
    return Refusal{kAudioNotSupported, "no such audio format [" + wishes.audio_format + "]"};
  const bool can_copy = CanCopyFrom(source.container);
  // Not every player changes from one codec to another when it changes tracks.
  const bool mp3 = IsMp3Alone(source) || !ways.encodes;
  const std::string first = !wishes.audio_track.empty() ? wishes.audio_track
                            : source.audio.empty()      ? ""
                                                        : std::to_string(source.audio.front().track);
  std::vector<AudioPlan> plans;
  std::set<std::string> names;
  bool heard = first.empty();
  for (size_t i = 0; i < source.audio.size(); ++i) {
    const AudioTraits& audio = source.audio[i];
    const bool copied =
        can_copy && IsCopied(audio, wishes.audio_format, profile.audio_channels, ways.copies, mp3);
    if (!copied && !(ways.encodes && CanBeEncoded(audio))) continue;
    AudioPlan plan = copied ? Copied(audio) : Encoded(audio, wishes.audio_format, profile);
    plan.language = system::LanguageTag(audio.language);
    plan.name = NameOf(audio, plan.language, i + 1, names);
    names.insert(plan.name);
    plan.is_default = std::to_string(audio.track) == first;
    heard = heard || plan.is_default;
    plans.push_back(std::move(plan));
  }
  if (!heard) return Refusal{kAudioNotSupported, "no audio track [" + first + "] that can be decoded"};
  return plans;
}

}  // namespace kinora::engine
