#include "platform/engine/stream_plan.h"

#include <algorithm>

namespace kinora::engine {

bool StreamPlan::SoundIsMuxed() const {
  if (delivery == Delivery::kSmooth || audio.size() != 1) return false;
  const AudioPlan& only = audio.front();
  if (video == VideoWay::kCopy) return only.way == AudioWay::kCopy;
  return video == VideoWay::kEncode && only.way == AudioWay::kEncode && only.codec == "aac";
}

const AudioPlan* StreamPlan::DefaultAudio() const {
  const auto found =
      std::find_if(audio.begin(), audio.end(), [](const AudioPlan& one) { return one.is_default; });
  return found == audio.end() ? nullptr : &*found;
}

const AudioPlan* StreamPlan::FindAudio(int track) const {
  const auto found =
      std::find_if(audio.begin(), audio.end(), [track](const AudioPlan& one) { return one.track == track; });
  return found == audio.end() ? nullptr : &*found;
}

bool StreamPlan::Encodes() const {
  return video == VideoWay::kEncode || std::any_of(audio.begin(), audio.end(), [](const AudioPlan& one) {
           return one.way == AudioWay::kEncode;
         });
}

bool StreamPlan::HasFragment(const FragmentId& id) const {
  if (id.number >= grid.Count()) return false;
  if (!id.audio_track) return video != VideoWay::kNone;
  return FindAudio(*id.audio_track) != nullptr && !SoundIsMuxed();
}

}  // namespace kinora::engine
