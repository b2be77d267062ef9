// Films and profiles for tests about plans.
#pragma once

#include "platform/engine/planning.h"

namespace kinora::engine {

inline AudioTraits Track(int track, const std::string& codec, int channels = 2) {
  AudioTraits audio;
  audio.track = track;
  audio.codec = codec;
  audio.channels = channels;
  audio.frequency = 48000;
  audio.bitrate = 128'000;
  return audio;
}

// Full HD, 25 frames a second, 60 seconds, stereo AAC.
inline SourceTraits Film() {
  SourceTraits film;
  film.identity = {"/videos/film.mp4", 1, 2, 3, -4};
  film.container = "mp4";
  film.duration_ms = 60'000;
  film.bitrate = 20'000'000;
  film.video.track = 0;
  film.video.codec = "h264";
  film.video.width = 1920;
  film.video.height = 1080;
  film.video.display_x = 16;
  film.video.display_y = 9;
  film.video.frame_rate = 25;
  film.video.field_order = "progressive";
  film.video.pixel_format = "yuv420p";
  film.audio = {Track(1, "aac")};
  return film;
}

inline media::TransProfile HdProfile() {
  media::TransProfile profile;
  profile.name = "hd_high";
  profile.uses = {{"HLS", false, false}, {"VAAPI_HLS", false, false}};
  profile.width = 1280;
  profile.height = 720;
  profile.frame_rate = 30;
  profile.video_bitrate = 5'000'000;
  profile.h264_profile = "high";
  profile.h264_level = "3.1";
  profile.audio_bitrate = 192'000;
  return profile;
}

inline media::TransProfile SmoothProfile() {
  media::TransProfile profile;
  profile.name = "smooth";
  profile.uses = {{"SS", false, false}};
  profile.width = 1024;
  profile.height = 576;
  profile.frame_rate = 30;
  profile.video_bitrate = 1'500'000;
  profile.h264_profile = "high";
  profile.h264_level = "3.1";
  profile.audio_bitrate = 128'000;
  return profile;
}

// For Smooth Streaming, with made up parameter sets.
inline StreamPlan SmoothPlan(const SourceTraits& film) {
  auto plan = std::get<StreamPlan>(PlanSmoothStream(film, {}, SmoothProfile(), {}));
  if (plan.video != VideoWay::kNone) plan.picture.parameter_sets = "00000001674D000000000168EE";
  return plan;
}

inline media::TransProfile CopyProfile() {
  media::TransProfile profile;
  profile.name = "as_filmed";
  profile.uses = {{"HLS", true, false}};
  return profile;
}

inline CopyDecision Copies() {
  CopyDecision decision;
  decision.verdict = CopyVerdict::kCopies;
  decision.plan.grid = {MediaTime(1, 1000), {0, 6000, 12'120, 60'000}};
  decision.plan.frame_rate = 25;
  decision.plan.codec_string = "avc1.640028";
  decision.plan.peak_bitrate = 8'000'000;
  return decision;
}

}  // namespace kinora::engine
