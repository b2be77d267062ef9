// What tests of encoding share: plans of the films that make-media makes, ffmpeg, and what is in a fragment.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/base/file_time.h"
#include "platform/engine/segment_grid.h"
#include "platform/engine/stream_plan.h"
#include "platform/system/child.h"

namespace kinora::engine {

inline constexpr char kFfmpeg[] = "/usr/bin/ffmpeg";
inline constexpr char kFfprobe[] = "/usr/bin/ffprobe";

inline SourceIdentity IdentityOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
  return {path, status.st_dev, status.st_ino, static_cast<uint64_t>(status.st_size),
          base::NanosecondsOf(status.st_mtim)};
}

// A film of `seconds` at 25 frames a second, 160 by 90, with one stereo track, all to be encoded.
inline StreamPlan PlanOf(const std::string& path, const std::string& container, int seconds = 12) {
  StreamPlan plan;
  plan.source.identity = IdentityOf(path);
  plan.source.container = container;
  plan.source.duration_ms = int64_t{1000} * seconds;
  plan.source.video.track = 0;
  plan.source.video.width = 160;
  plan.source.video.height = 90;
  plan.source.video.frame_rate = 25;
  AudioTraits sound;
  sound.track = 1;
  sound.codec = "aac";
  sound.channels = 2;
  sound.frequency = 48000;
  plan.source.audio = {sound};
  plan.video = VideoWay::kEncode;
  plan.picture = {160, 90, 25, 500'000, "avc1.64000b", ""};
  plan.audio.resize(1);
  plan.audio[0].track = 1;
  plan.audio[0].codec = "aac";
  plan.audio[0].bitrate = 64'000;
  plan.audio[0].is_default = true;
  plan.profile.h264_profile = "high";
  plan.profile.h264_level = "3.0";
  plan.profile.preset = "ultrafast";
  plan.grid = MakeFrameGrid(plan.picture.frame_rate, seconds);
  return plan;
}

struct Packet {
  bool video = false;
  int64_t time = 0;  // ticks of 90 kHz
  bool key = false;

  bool operator==(const Packet&) const = default;
};

inline void PrintTo(const Packet& packet, std::ostream* out) {
  *out << (packet.video ? "video " : "audio ") << packet.time << (packet.key ? " key" : "");
}

// The packets of a transport stream, as ffprobe tells them: the picture's, then the sound's.
inline std::vector<Packet> PacketsOf(const std::string& path) {
  system::Command command;
  command.arguments = {kFfprobe,
                       "-v",
                       "error",
                       "-f",
                       "mpegts",
                       "-show_entries",
                       "packet=codec_type,pts,flags",
                       "-of",
                       "csv=p=0",
                       "file:/proc/self/fd/3"};
  const base::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_TRUE(file) << path;
  command.descriptors = {{file.Get(), 3}};
  const system::ChildResult result = system::RunChild(command);
  EXPECT_TRUE(result.Succeeded()) << path;
  std::vector<Packet> packets;
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);) {
    const size_t comma = line.find(',');
    if (comma == std::string::npos) continue;
    packets.push_back({line.starts_with("video"), std::atoll(line.c_str() + comma + 1),
                       line.find('K', comma) != std::string::npos});
  }
  std::stable_partition(packets.begin(), packets.end(), [](const Packet& packet) { return packet.video; });
  return packets;
}

inline int64_t Ticks(const MediaTime& time) {
  return kTransportOrigin + Floor(time * kTransportClock + MediaTime(1, 2));
}

}  // namespace kinora::engine
