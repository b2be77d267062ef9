#include "contract/engine/video_metadata.h"

#include <climits>

#include "platform/base/log.h"
#include "platform/engine/look.h"
#include "platform/engine/report.h"

namespace LibCrvnVTE {
namespace {

constexpr char kUnit[] = "engine/video_metadata";

using kinora::engine::FirstTrack;
using kinora::engine::FlagOf;
using kinora::engine::NumberOf;
using kinora::engine::TextOf;

Json::Value TrackEntry(const Json::Value& track) {
  Json::Value entry(Json::objectValue);
  entry["id"] = std::to_string(NumberOf(track, "id", INT_MAX));
  for (const char* key : {"codec", "profile", "language", "title"}) entry[key] = TextOf(track, key);
  entry["default"] = FlagOf(track, "default");
  return entry;
}

void AddNumber(Json::Value& entry, const Json::Value& track, const char* key) {
  entry[key] = static_cast<Json::Int>(NumberOf(track, key, INT_MAX));
}

Json::Value VideoEntry(const Json::Value& track) {
  Json::Value entry = TrackEntry(track);
  for (const char* key : {"width", "height"}) AddNumber(entry, track, key);
  return entry;
}

Json::Value AudioEntry(const Json::Value& track) {
  Json::Value entry = TrackEntry(track);
  for (const char* key : {"channels", "frequency", "bitrate"}) AddNumber(entry, track, key);
  return entry;
}

// A track without a number cannot be asked for.
bool HasNumber(const Json::Value& track) { return track["id"].isInt() && track["id"].asInt() >= 0; }

Json::Value SubtitleEntry(const Json::Value& track) {
  Json::Value entry(Json::objectValue);
  entry["track"] = std::to_string(NumberOf(track, "id", INT_MAX));
  for (const char* key : {"codec", "language", "title"}) entry[key] = TextOf(track, key);
  for (const char* key : {"default", "forced", "hearing_impaired"}) entry[key] = FlagOf(track, key);
  return entry;
}

void AppendTo(Json::Value& list, Json::Value entry) {
  if (!list.isArray()) list = Json::Value(Json::arrayValue);
  list.append(std::move(entry));
}

}  // namespace

struct VideoMetaData::State {
  std::string path;
  Json::Value report;

  std::string Text(const char* kind, const char* key) const { return TextOf(FirstTrack(report, kind), key); }
  unsigned int Number(const char* kind, const char* key) const {
    return static_cast<unsigned int>(NumberOf(FirstTrack(report, kind), key, INT_MAX));
  }
};

VideoMetaData::VideoMetaData() = default;

bool VideoMetaData::LoadFile(const std::string& path) {
  state_.reset();
  kinora::engine::Probe probe = kinora::engine::ProbeFile(path);
  if (!probe.report) {
    kinora::base::Log(LOG_ERR, kUnit, "No metadata of [" + path + "]: " + probe.reason);
    return false;
  }
  state_ = std::make_shared<const State>(State{path, std::move(*probe.report)});
  return true;
}

bool VideoMetaData::GetTrackInfo(Json::Value& video, Json::Value& audio) const {
  if (!state_) return false;
  for (const Json::Value& track : state_->report["video"]) AppendTo(video, VideoEntry(track));
  for (const Json::Value& track : state_->report["audio"]) AppendTo(audio, AudioEntry(track));
  return true;
}

bool VideoMetaData::GetSubtitleTrackInfo(Json::Value& subtitle) const {
  if (!state_) return false;
  for (const Json::Value& track : state_->report["subtitle"]) {
    if (HasNumber(track)) AppendTo(subtitle, SubtitleEntry(track));
  }
  return true;
}

std::string VideoMetaData::GetFilePath() const { return state_ ? state_->path : ""; }

std::string VideoMetaData::GetContainer() const { return state_ ? TextOf(state_->report, "container") : ""; }

uint64_t VideoMetaData::GetFileSize() const {
  return state_ ? static_cast<uint64_t>(NumberOf(state_->report, "size", INT64_MAX)) : 0;
}

unsigned int VideoMetaData::GetDuration() const {
  return state_ ? static_cast<unsigned int>(NumberOf(state_->report, "duration", UINT_MAX)) : 0;
}

unsigned int VideoMetaData::GetBitrate() const {
  return state_ ? static_cast<unsigned int>(NumberOf(state_->report, "bitrate", UINT_MAX)) : 0;
}

std::string VideoMetaData::GetVideoCodecName() const { return state_ ? state_->Text("video", "codec") : ""; }

std::string VideoMetaData::GetVideoProfile() const { return state_ ? state_->Text("video", "profile") : ""; }

unsigned int VideoMetaData::GetVideoBitrate() const {
  return state_ ? state_->Number("video", "bitrate") : 0;
}

int VideoMetaData::GetVideoFramerateNum() const {
  return state_ ? static_cast<int>(state_->Number("video", "rate_num")) : 0;
}

int VideoMetaData::GetVideoFramerateDen() const {
  return state_ ? static_cast<int>(state_->Number("video", "rate_den")) : 0;
}

unsigned int VideoMetaData::GetVideoRotate() const { return state_ ? state_->Number("video", "rotate") : 0; }

unsigned int VideoMetaData::GetVideoDisplayX() const {
  return state_ ? state_->Number("video", "display_x") : 0;
}

unsigned int VideoMetaData::GetVideoDisplayY() const {
  return state_ ? state_->Number("video", "display_y") : 0;
}

unsigned int VideoMetaData::GetVideoResolutionX() const {
  return state_ ? state_->Number("video", "width") : 0;
}

unsigned int VideoMetaData::GetVideoResolutionY() const {
  return state_ ? state_->Number("video", "height") : 0;
}

std::string VideoMetaData::GetAudioCodecName() const { return state_ ? state_->Text("audio", "codec") : ""; }

unsigned int VideoMetaData::GetAudioBitrate() const {
  return state_ ? state_->Number("audio", "bitrate") : 0;
}

unsigned int VideoMetaData::GetAudioChannel() const {
  return state_ ? state_->Number("audio", "channels") : 0;
}

unsigned int VideoMetaData::GetAudioFreqency() const {
  return state_ ? state_->Number("audio", "frequency") : 0;
}

}  // namespace LibCrvnVTE
