#include "platform/engine/audio_fragment.h"

#include "platform/base/log.h"

namespace kinora::engine {

FragmentOutcome PrepareEncodedAudio(const StreamFolder&, const StreamPlan&, const AudioPlan&, int) {
  base::Log(LOG_ERR, "engine/audio_fragment", "Sound is not encoded yet");
  return FragmentOutcome::kFailed;
}

}  // namespace kinora::engine
