// One StreamIndex for each track, with its one quality level and all its chunks. Players start with the first
// one of a kind. Of what the format allows to leave out there is only what players ask for; it has no place
// for a track's name for people.

#include "platform/engine/smooth_manifest.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "platform/engine/smooth_address.h"

namespace kinora::engine {
namespace {

constexpr std::string_view kHead = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<SmoothStreamingMedia ";
constexpr std::string_view kEnd = "</SmoothStreamingMedia>\n";
// Bytes: GStreamer takes a shorter one for any text. That of a song is.
constexpr size_t kShortest = 512;
constexpr int kBitsOfSample = 16;
constexpr int kAacTag = 255;  // of a format that is told by its FourCC

// An attribute's value: what would end it, and what XML cannot hold, goes.
std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    }
  }
  return escaped;
}

std::string Attribute(const char* name, std::string_view value) {
  return std::string(" ") + name + "=\"" + Escaped(value) + "\"";
}
std::string Attribute(const char* name, int64_t value) { return Attribute(name, std::to_string(value)); }

// The decoder's configuration (ISO 14496-3, 1.6.2.1) in hexadecimal digits: five bits of the object type, 2
// for LC, four of the frequency's number, four of the channels, three zeros.
std::string AudioSpecificConfig(const AudioPlan& audio) {
  constexpr int kFrequencies[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                  22050, 16000, 12000, 11025, 8000,  7350};
  const auto* const at = std::find(std::begin(kFrequencies), std::end(kFrequencies), audio.frequency);
  const auto frequency = static_cast<unsigned int>(at - std::begin(kFrequencies));
  const unsigned int config = 2U << 11U | frequency << 7U | static_cast<unsigned int>(audio.channels) << 3U;
  char text[8];
  std::snprintf(text, sizeof text, "%04X", config & 0xFFFFU);
  return text;
}

std::string Language(const AudioPlan* audio) {
  return audio == nullptr || audio->language.empty() ? "" : Attribute("Language", audio->language);
}

// `audio` is nullptr for the picture.
std::string StreamIndex(const StreamPlan& plan, const AudioPlan* audio, const std::string& level) {
  const std::string track = SmoothTrack(audio);
  std::string text = "<StreamIndex" + Attribute("Type", audio == nullptr ? "video" : "audio") +
                     Attribute("Name", track) + Language(audio) + Attribute("Chunks", plan.grid.Count()) +
                     Attribute("QualityLevels", 1) +
                     Attribute("Url", "QualityLevels({bitrate})/Fragments(" + track + "={start time})") +
                     ">\n<QualityLevel" + Attribute("Index", 0) +
                     Attribute("Bitrate", SmoothBitrate(plan, audio)) + level + "/>\n";
  for (int n = 0; n < plan.grid.Count(); ++n) {
    const SmoothChunk chunk = ChunkOf(plan, audio, n);
    text += "<c t=\"" + std::to_string(chunk.start) + "\" d=\"" + std::to_string(chunk.duration) + "\"/>\n";
  }
  return text + "</StreamIndex>\n";
}

std::string Picture(const StreamPlan& plan) {
  return StreamIndex(plan, nullptr,
                     Attribute("FourCC", "H264") + Attribute("MaxWidth", plan.picture.width) +
                         Attribute("MaxHeight", plan.picture.height) +
                         Attribute("CodecPrivateData", plan.picture.parameter_sets));
}

std::string Sound(const StreamPlan& plan, const AudioPlan& audio) {
  return StreamIndex(plan, &audio,
                     Attribute("FourCC", "AACL") + Attribute("SamplingRate", audio.frequency) +
                         Attribute("Channels", audio.channels) + Attribute("BitsPerSample", kBitsOfSample) +
                         Attribute("PacketSize", int64_t{audio.channels} * kBitsOfSample / 8) +
                         Attribute("AudioTag", kAacTag) +
                         Attribute("CodecPrivateData", AudioSpecificConfig(audio)));
}

// Where the last chunk of the longest track ends.
int64_t Duration(const StreamPlan& plan) {
  const int last = plan.grid.Count() - 1;
  int64_t end = 0;
  const auto consider = [&](const AudioPlan* audio) {
    const SmoothChunk chunk = ChunkOf(plan, audio, last);
    end = std::max(end, chunk.start + chunk.duration);
  };
  if (plan.video != VideoWay::kNone) consider(nullptr);
  for (const AudioPlan& audio : plan.audio) consider(&audio);
  return end;
}

}  // namespace

std::string MakeSmoothManifest(const StreamPlan& plan) {
  std::string text = std::string(kHead) + "MajorVersion=\"2\" MinorVersion=\"0\"" +
                     Attribute("TimeScale", kSmoothClock) + Attribute("Duration", Duration(plan)) + ">\n";
  if (plan.video != VideoWay::kNone) text += Picture(plan);
  if (const AudioPlan* const heard = plan.DefaultAudio()) text += Sound(plan, *heard);
  for (const AudioPlan& audio : plan.audio) {
    if (!audio.is_default) text += Sound(plan, audio);
  }
  text.resize(std::max(text.size(), kShortest - kEnd.size()), ' ');
  return text + std::string(kEnd);
}

bool IsWholeSmoothManifest(std::string_view text) {
  return text.starts_with(kHead) && text.ends_with(kEnd) && text.find('\0') == text.npos;
}

}  // namespace kinora::engine
