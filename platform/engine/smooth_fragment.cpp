#include "platform/engine/smooth_fragment.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "platform/base/log.h"
#include "platform/base/plain_file.h"
#include "platform/engine/audio_fragment.h"
#include "platform/engine/job.h"
#include "platform/engine/job_folder.h"
#include "platform/engine/kept_files.h"
#include "platform/engine/remux_helper.h"
#include "platform/engine/scratch_file.h"
#include "platform/engine/smooth_address.h"
#include "platform/engine/smooth_times.h"
#include "platform/engine/stream_space.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/smooth_fragment";
constexpr KeptKind kKept{".m4s", 16, 4};
// Of the stream's quota, of which its fragments have one half; the rest is for what is being written.
constexpr uint64_t kPartOfQuota = 3;
// Of making a fragment that others drop before it is opened.
constexpr int kMostTries = 3;

// The helper's order: the chunk's number from 1, its first sample, their count, what each lasts, and the
// parameter sets of pictures.
std::vector<std::string> OrderOf(const StreamPlan& plan, const FragmentId& id) {
  const AudioPlan* const audio = id.audio_track ? plan.FindAudio(*id.audio_track) : nullptr;
  const SmoothChunk chunk = ChunkOf(plan, audio, id.number);
  const MediaTime unit = audio == nullptr ? plan.grid.unit : MediaTime(kSamplesInPacket, audio->frequency);
  return {"--smooth",
          std::to_string(id.number + 1),
          std::to_string(chunk.first),
          std::to_string(chunk.count),
          std::to_string(unit.numerator()) + "/" + std::to_string(unit.denominator()),
          audio == nullptr ? plan.picture.parameter_sets : "-"};
}

FragmentOutcome PrepareFragment(const StreamFolder& folder, const StreamPlan& plan, const FragmentId& id) {
  if (!id.audio_track) return PrepareByJob(folder, plan, id.number);
  return PrepareEncodedAudio(folder, plan, *plan.FindAudio(*id.audio_track), id.number);
}

FragmentOutcome Repackage(const StreamPlan& plan, const FragmentId& id, int fragment,
                          const std::string& path) {
  ScratchFile scratch(path);
  const auto result = RunRemux(OrderOf(plan, id), {fragment, scratch.File()}, scratch);
  const FragmentOutcome outcome = JudgeRemux(result, "The chunk " + path);
  if (outcome == FragmentOutcome::kReady) scratch.PublishOnce();
  return outcome;
}

// The job drops fragments behind the viewer, and a request for the same chunk its fragment of sound.
FragmentOutcome Make(const StreamFolder& folder, const StreamPlan& plan, const FragmentId& id,
                     const std::string& path) {
  const std::string source = folder.WorkPath(FileName(id));
  for (int tries = 0; tries < kMostTries; ++tries) {
    const FragmentOutcome prepared = PrepareFragment(folder, plan, id);
    if (prepared != FragmentOutcome::kReady) return prepared;
    const base::Descriptor fragment(::open(source.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (fragment) {
      const FragmentOutcome outcome = Repackage(plan, id, fragment.Get(), path);
      // Nobody but the chunk needs it, and a damaged one is not to stay. That of a picture is the job's.
      if (id.audio_track) ::unlink(source.c_str());
      return outcome;
    }
    if (base::IsPlainFile(path)) return FragmentOutcome::kReady;
  }
  base::Log(LOG_ERR, kUnit, source + " is gone again and again");
  return FragmentOutcome::kFailed;
}

}  // namespace

FragmentOutcome PrepareSmooth(const StreamFolder& folder, const StreamPlan& plan, const FragmentId& id) {
  const std::string path = folder.WorkPath(SmoothFileName(id));
  try {
    if (base::IsPlainFile(path) && Touch(path)) {
      if (!id.audio_track) NoteWanted(folder, id.number);
      return FragmentOutcome::kReady;
    }
    const system::Settings settings = system::LoadSettings(system::kSettingsFile);
    MakeRoom(folder.WorkPath(""), kKept, 0, settings.stream_quota / kPartOfQuota);
    if (HasSpaceBelow(folder, settings.free_space_floor)) return Make(folder, plan, id, path);
    base::Log(LOG_ERR, kUnit, "There is no space for " + path);
    return FragmentOutcome::kNoSpace;
  } catch (const std::system_error& error) {
    base::Log(LOG_ERR, kUnit, error.what());
    return OutcomeOf(error);
  }
}

}  // namespace kinora::engine
