// Fragments whose packets are copied from the source: pure functions of file, plan, number and tracks, made
// by a helper when they are asked for.
#pragma once

#include <optional>
#include <string>

#include "platform/engine/job.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// What a film must be cut by to be copied.
struct CopyPlan {
  SegmentGrid grid;
  MediaTime frame_rate{0};
  std::string codec_string;  // RFC 6381, of the video
  int64_t peak_bitrate = 0;  // bits per second, of the largest fragment, where the index tells
};

enum class CopyVerdict {
  kCopies,
  kNotYet,  // the file has no index of its own; one is being made in the background
  kNever,   // its key frames are not fit to start at, it is cut by an edit list, the codec is not one of ours
};

struct CopyDecision {
  CopyVerdict verdict = CopyVerdict::kNever;
  CopyPlan plan;       // when it copies
  std::string reason;  // for the log, when it does not
};

// Whether packets can be copied from films in this container (VideoMetaData's name), sound alone included.
bool IsCopiedFrom(const std::string& container);

// Reads the container's index through a helper, or from what is kept of an earlier time, and cuts the film at
// its own key frames, at least about six seconds apart.
CopyDecision PlanCopy(const SourceTraits& source);

// Whether sound can be copied out of the film beside a picture that is not: what its packets are found by is
// there. Of a large film without an index of its own it is being made in the background.
bool CanCopySound(const SourceTraits& source);

// For sound alone: a grid of six seconds.
SegmentGrid MakeSoundGrid(const MediaTime& duration);

// Makes main fragment `number`: the video, and the sound when the plan has it muxed. Fragments made long ago
// go before, so that a stream keeps a few only and stays under its quota: who does not find the file any more
// when he opens it asks again.
FragmentOutcome PrepareCopied(const StreamFolder& folder, const StreamPlan& plan, int number);

// Makes fragment `number` of an audio track (AudioWay::kCopy) that is a rendition of its own.
FragmentOutcome PrepareCopiedAudio(const StreamFolder& folder, const StreamPlan& plan, const AudioPlan& audio,
                                   int number);

}  // namespace kinora::engine
