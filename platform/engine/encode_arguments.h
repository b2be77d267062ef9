// What ffmpeg is told when it encodes.
//
// The source is its descriptor 3. A run may start at any fragment and gives the same times as one that has
// made all of them from the beginning: pictures start at the fragment's first frame exactly, sound is encoded
// from a frame of the absolute grid a little earlier, and the packets that belong to the fragment before are
// dropped by their count.
#pragma once

#include <string>
#include <vector>

#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// Consecutive main fragments from one process.
struct EncoderRun {
  int first = 0;
  int last = 0;  // what may come behind it is not to be used
  bool hardware = false;

  bool operator==(const EncoderRun&) const = default;
};

// The arguments behind the program's name. Whole fragments appear as <n>.ts in the folder that is descriptor
// 4; a fragment is whole when the next one has been begun, or when it is the film's last and ffmpeg has ended
// with 0. Throws std::invalid_argument for a plan that cannot be encoded.
std::vector<std::string> JobArguments(const StreamPlan& plan, const EncoderRun& run);

// One picture without content through the encoder of a job in software, on standard output as a raw H.264
// stream: for Smooth Streaming, its parameter sets are those of every fragment of the plan.
std::vector<std::string> HeaderArguments(const StreamPlan& plan);

// One fragment of one audio track (AudioWay::kEncode), on standard output. Where the track has no sound (any
// more) there is silence. Throws std::invalid_argument.
std::vector<std::string> AudioArguments(const StreamPlan& plan, const AudioPlan& audio, int number);

}  // namespace kinora::engine
