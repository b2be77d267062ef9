// The addresses of Smooth Streaming's chunks, below that of its manifest:
//
//   QualityLevels(<bits per second>)/Fragments(<track>=<start time in ticks of 100 ns>)
//
// The picture is the track "video", audio track 2 of the film is "audio_2". The picture has one quality
// level, named by the profile's rate, whatever rate a small picture then needs: so who opens a stream can ask
// for its first chunk without having read the manifest.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/engine/fragment_id.h"
#include "platform/engine/smooth_times.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

struct SmoothAddress {
  int64_t bitrate = 0;
  std::string track;
  int64_t time = 0;

  bool operator==(const SmoothAddress&) const = default;
};

// Nothing for any other form: signs, blanks, leading zeros, numbers of more than 18 digits, anything before
// or behind.
std::optional<SmoothAddress> ParseSmoothAddress(std::string_view text);

// The name and the rate under which the plan's picture, or one of its audio tracks (nullptr: the picture),
// is asked for.
std::string SmoothTrack(const AudioPlan* audio);
int64_t SmoothBitrate(const StreamPlan& plan, const AudioPlan* audio);

// Chunk `number` of the picture, or of the audio track.
SmoothChunk ChunkOf(const StreamPlan& plan, const AudioPlan* audio, int number);

// The fragment that the address names. Nothing when the plan has no such level or track, and when the time is
// not exactly the start of a chunk.
std::optional<FragmentId> FindChunk(const StreamPlan& plan, const SmoothAddress& address);

}  // namespace kinora::engine
