// A plan as text: one JSON object, its members named as those of the structs; a time is a list of its
// numerator and its denominator. The boundaries of a grid are one text with a blank between two of them: each
// fragment of a long film that is asked for has to read a thousand.

#include <charconv>
#include <climits>
#include <set>

#include "platform/engine/record.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {
namespace {

constexpr int kVersion = 3;
constexpr int64_t kMost = INT64_MAX;
constexpr size_t kMostFragments = 1'000'000;

Json::Value Number(int64_t number) { return Json::Value(Json::Int64{number}); }

Json::Value Write(const MediaTime& time) {
  Json::Value pair(Json::arrayValue);
  pair.append(Number(time.numerator()));
  pair.append(Number(time.denominator()));
  return pair;
}

MediaTime TimeIn(const Json::Value& object, const char* key) {
  const Json::Value& pair = ListIn(object, key);
  if (pair.size() != 2 || !pair[0U].isInt64() || !pair[1U].isInt64() || pair[0U].asInt64() < 0 ||
      pair[1U].asInt64() <= 0)
    throw MalformedRecord(std::string("\"") + key + "\" is no time");
  return {pair[0U].asInt64(), pair[1U].asInt64()};
}

int IntIn(const Json::Value& object, const char* key, int least = 0) {
  return static_cast<int>(NumberIn(object, key, least, INT_MAX));
}

Json::Value Write(const SourceIdentity& identity) {
  Json::Value record(Json::objectValue);
  record["path"] = identity.path;
  record["device"] = Json::UInt64{identity.device};
  record["inode"] = Json::UInt64{identity.inode};
  record["size"] = Json::UInt64{identity.size};
  record["modified_ns"] = Number(identity.modified_ns);
  return record;
}

SourceIdentity ReadIdentity(const Json::Value& record) {
  return {TextIn(record, "path"), CountIn(record, "device"), CountIn(record, "inode"),
          CountIn(record, "size"), NumberIn(record, "modified_ns", INT64_MIN, kMost)};
}

Json::Value Write(const VideoTraits& video) {
  Json::Value record(Json::objectValue);
  record["track"] = video.track;
  record["codec"] = video.codec;
  record["width"] = video.width;
  record["height"] = video.height;
  record["display_x"] = video.display_x;
  record["display_y"] = video.display_y;
  record["rotate"] = video.rotate;
  record["frame_rate"] = Write(video.frame_rate);
  record["field_order"] = video.field_order;
  record["hdr"] = video.hdr;
  record["color_matrix"] = video.color.matrix;
  record["color_primaries"] = video.color.primaries;
  record["color_transfer"] = video.color.transfer;
  record["pixel_format"] = video.pixel_format;
  record["profile"] = video.profile;
  record["decodable"] = video.decodable;
  return record;
}

VideoTraits ReadVideo(const Json::Value& record) {
  VideoTraits video;
  video.track = IntIn(record, "track", -1);
  video.codec = TextIn(record, "codec");
  video.width = IntIn(record, "width");
  video.height = IntIn(record, "height");
  video.display_x = IntIn(record, "display_x");
  video.display_y = IntIn(record, "display_y");
  video.rotate = IntIn(record, "rotate");
  video.frame_rate = TimeIn(record, "frame_rate");
  video.field_order = TextIn(record, "field_order");
  video.hdr = TextIn(record, "hdr");
  video.color = {TextIn(record, "color_matrix"), TextIn(record, "color_primaries"),
                 TextIn(record, "color_transfer")};
  video.pixel_format = TextIn(record, "pixel_format");
  video.profile = TextIn(record, "profile");
  video.decodable = FlagIn(record, "decodable");
  return video;
}

Json::Value Write(const AudioTraits& audio) {
  Json::Value record(Json::objectValue);
  record["track"] = audio.track;
  record["codec"] = audio.codec;
  record["channels"] = audio.channels;
  record["frequency"] = audio.frequency;
  record["bitrate"] = Number(audio.bitrate);
  record["language"] = audio.language;
  record["title"] = audio.title;
  record["is_default"] = audio.is_default;
  record["profile"] = audio.profile;
  record["decodable"] = audio.decodable;
  return record;
}

AudioTraits ReadAudio(const Json::Value& record) {
  AudioTraits audio;
  audio.track = IntIn(record, "track");
  audio.codec = TextIn(record, "codec");
  audio.channels = IntIn(record, "channels");
  audio.frequency = IntIn(record, "frequency");
  audio.bitrate = NumberIn(record, "bitrate", 0, kMost);
  audio.language = TextIn(record, "language");
  audio.title = TextIn(record, "title");
  audio.is_default = FlagIn(record, "is_default");
  audio.profile = TextIn(record, "profile");
  audio.decodable = FlagIn(record, "decodable");
  return audio;
}

Json::Value Write(const SourceTraits& source) {
  Json::Value record(Json::objectValue);
  record["identity"] = Write(source.identity);
  record["container"] = source.container;
  record["start_ms"] = Number(source.start_ms);
  record["duration_ms"] = Number(source.duration_ms);
  record["bitrate"] = Number(source.bitrate);
  record["video"] = Write(source.video);
  record["audio"] = Json::Value(Json::arrayValue);
  for (const AudioTraits& audio : source.audio) record["audio"].append(Write(audio));
  return record;
}

SourceTraits ReadSource(const Json::Value& record) {
  SourceTraits source;
  source.identity = ReadIdentity(ObjectIn(record, "identity"));
  source.container = TextIn(record, "container");
  source.start_ms = NumberIn(record, "start_ms", INT64_MIN, kMost);
  source.duration_ms = NumberIn(record, "duration_ms", 0, kMost);
  source.bitrate = NumberIn(record, "bitrate", 0, kMost);
  source.video = ReadVideo(ObjectIn(record, "video"));
  for (const Json::Value& audio : ListIn(record, "audio")) source.audio.push_back(ReadAudio(audio));
  return source;
}

Json::Value Write(const AudioPlan& audio) {
  Json::Value record(Json::objectValue);
  record["track"] = audio.track;
  record["copied"] = audio.way == AudioWay::kCopy;
  record["codec"] = audio.codec;
  record["channels"] = audio.channels;
  record["frequency"] = audio.frequency;
  record["bitrate"] = Number(audio.bitrate);
  record["language"] = audio.language;
  record["name"] = audio.name;
  record["is_default"] = audio.is_default;
  return record;
}

AudioPlan ReadAudioPlan(const Json::Value& record) {
  AudioPlan audio;
  audio.track = IntIn(record, "track");
  audio.way = FlagIn(record, "copied") ? AudioWay::kCopy : AudioWay::kEncode;
  audio.codec = TextIn(record, "codec");
  audio.channels = IntIn(record, "channels");
  audio.frequency = IntIn(record, "frequency");
  audio.bitrate = NumberIn(record, "bitrate", 0, kMost);
  audio.language = TextIn(record, "language");
  audio.name = TextIn(record, "name");
  audio.is_default = FlagIn(record, "is_default");
  return audio;
}

Json::Value Write(const PicturePlan& picture) {
  Json::Value record(Json::objectValue);
  record["width"] = picture.width;
  record["height"] = picture.height;
  record["frame_rate"] = Write(picture.frame_rate);
  record["bitrate"] = Number(picture.bitrate);
  record["codec_string"] = picture.codec_string;
  record["parameter_sets"] = picture.parameter_sets;
  return record;
}

PicturePlan ReadPicture(const Json::Value& record) {
  return {IntIn(record, "width"),         IntIn(record, "height"),
          TimeIn(record, "frame_rate"),   NumberIn(record, "bitrate", 0, kMost),
          TextIn(record, "codec_string"), TextIn(record, "parameter_sets")};
}

Json::Value Write(const SegmentGrid& grid) {
  Json::Value record(Json::objectValue);
  record["unit"] = Write(grid.unit);
  std::string boundaries;
  for (const int64_t boundary : grid.boundaries) boundaries += std::to_string(boundary) + " ";
  if (!boundaries.empty()) boundaries.pop_back();
  record["boundaries"] = boundaries;
  return record;
}

std::vector<int64_t> ReadBoundaries(const std::string& text) {
  std::vector<int64_t> boundaries;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data();; ++at) {
    int64_t boundary = 0;
    const auto [behind, error] = std::from_chars(at, end, boundary);
    const int64_t least = boundaries.empty() ? 0 : boundaries.back() + 1;
    if (error != std::errc() || boundary < least) throw MalformedRecord("its cuts are in disorder");
    boundaries.push_back(boundary);
    if (behind == end) return boundaries;
    if (*behind != ' ') throw MalformedRecord("its cuts are no numbers");
    at = behind;
  }
}

SegmentGrid ReadGrid(const Json::Value& record) {
  SegmentGrid grid;
  grid.unit = TimeIn(record, "unit");
  grid.boundaries = ReadBoundaries(TextIn(record, "boundaries"));
  if (grid.unit.numerator() == 0 || grid.boundaries.size() < 2 || grid.boundaries.size() > kMostFragments)
    throw MalformedRecord("it has no fragments");
  if (grid.boundaries.front() != 0) throw MalformedRecord("it does not start at 0");
  return grid;
}

Json::Value Write(const media::TransProfile& profile) {
  Json::Value record(Json::objectValue);
  record["name"] = profile.name;
  record["uses"] = Json::Value(Json::arrayValue);
  for (const media::ProfileUse& use : profile.uses) {
    Json::Value entry(Json::objectValue);
    entry["kind"] = use.kind;
    entry["remux"] = use.remux;
    entry["by_name"] = use.by_name;
    record["uses"].append(std::move(entry));
  }
  record["width"] = profile.width;
  record["height"] = profile.height;
  record["frame_rate"] = profile.frame_rate;
  record["video_bitrate"] = Number(profile.video_bitrate);
  record["h264_profile"] = profile.h264_profile;
  record["h264_level"] = profile.h264_level;
  record["preset"] = profile.preset;
  record["audio_bitrate"] = Number(profile.audio_bitrate);
  record["audio_channels"] = profile.audio_channels;
  return record;
}

media::TransProfile ReadProfile(const Json::Value& record) {
  media::TransProfile profile;
  profile.name = TextIn(record, "name");
  for (const Json::Value& use : ListIn(record, "uses"))
    profile.uses.push_back({TextIn(use, "kind"), FlagIn(use, "remux"), FlagIn(use, "by_name")});
  profile.width = IntIn(record, "width");
  profile.height = IntIn(record, "height");
  profile.frame_rate = IntIn(record, "frame_rate");
  profile.video_bitrate = NumberIn(record, "video_bitrate", 0, kMost);
  profile.h264_profile = TextIn(record, "h264_profile");
  profile.h264_level = TextIn(record, "h264_level");
  profile.preset = TextIn(record, "preset");
  profile.audio_bitrate = NumberIn(record, "audio_bitrate", 0, kMost);
  profile.audio_channels = IntIn(record, "audio_channels");
  return profile;
}

const char* Name(VideoWay way) {
  switch (way) {
    case VideoWay::kCopy:
      return "copied";
    case VideoWay::kEncode:
      return "encoded";
    case VideoWay::kNone:
      break;
  }
  return "none";
}

VideoWay ReadWay(const std::string& name) {
  for (const VideoWay way : {VideoWay::kNone, VideoWay::kCopy, VideoWay::kEncode}) {
    if (name == Name(way)) return way;
  }
  throw MalformedRecord("there is no way to treat a picture as [" + name + "]");
}

const char* Name(Delivery delivery) {
  switch (delivery) {
    case Delivery::kSmooth:
      return "SS";
    case Delivery::kWebM:
      return "WEBM";
    case Delivery::kHls:
      break;
  }
  return "HLS";
}

Delivery ReadDelivery(const std::string& name) {
  for (const Delivery delivery : {Delivery::kHls, Delivery::kSmooth, Delivery::kWebM}) {
    if (name == Name(delivery)) return delivery;
  }
  throw MalformedRecord("no stream goes out as [" + name + "]");
}

// What those who carry out the plan rely on.
void Check(const StreamPlan& plan) {
  std::set<int> tracks;
  int defaults = 0;
  for (const AudioPlan& audio : plan.audio) {
    defaults += audio.is_default ? 1 : 0;
    if (!tracks.insert(audio.track).second) throw MalformedRecord("a track stands twice in it");
  }
  if (defaults != (plan.audio.empty() ? 0 : 1)) throw MalformedRecord("it has no default track, or two");
  if (plan.video == VideoWay::kNone && plan.audio.empty()) throw MalformedRecord("it holds nothing");
  if (plan.video == VideoWay::kEncode && plan.picture.frame_rate.numerator() == 0)
    throw MalformedRecord("its picture has no frames");
  const bool told = plan.delivery == Delivery::kSmooth && plan.video != VideoWay::kNone;
  if (plan.picture.parameter_sets.empty() == told)
    throw MalformedRecord("its picture is told too much of, or too little");
}

StreamPlan ReadPlan(const Json::Value& record) {
  StreamPlan plan;
  plan.delivery = ReadDelivery(TextIn(record, "delivery"));
  plan.source = ReadSource(ObjectIn(record, "source"));
  plan.video = ReadWay(TextIn(record, "video"));
  plan.picture = ReadPicture(ObjectIn(record, "picture"));
  for (const Json::Value& audio : ListIn(record, "audio")) plan.audio.push_back(ReadAudioPlan(audio));
  plan.grid = ReadGrid(ObjectIn(record, "grid"));
  plan.profile = ReadProfile(ObjectIn(record, "profile"));
  plan.hardware = FlagIn(record, "hardware");
  Check(plan);
  return plan;
}

}  // namespace

std::string ToJsonText(const StreamPlan& plan) {
  Json::Value record(Json::objectValue);
  record["version"] = kVersion;
  record["delivery"] = Name(plan.delivery);
  record["source"] = Write(plan.source);
  record["video"] = Name(plan.video);
  record["picture"] = Write(plan.picture);
  record["audio"] = Json::Value(Json::arrayValue);
  for (const AudioPlan& audio : plan.audio) record["audio"].append(Write(audio));
  record["grid"] = Write(plan.grid);
  record["profile"] = Write(plan.profile);
  record["hardware"] = plan.hardware;
  return WriteRecord(record);
}

std::optional<StreamPlan> ParsePlan(const std::string& text) {
  try {
    return ReadPlan(ParseRecord(text, kVersion));
  } catch (const MalformedRecord&) {
    return std::nullopt;
  }
}

}  // namespace kinora::engine
