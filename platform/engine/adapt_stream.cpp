#include "contract/engine/adapt_stream.h"

#include <optional>

#include "platform/base/log.h"
#include "platform/base/plain_file.h"
#include "platform/engine/audio_fragment.h"
#include "platform/engine/copied_fragment.h"
#include "platform/engine/fragment_lookup.h"
#include "platform/engine/job.h"
#include "platform/engine/smooth_fragment.h"
#include "platform/engine/source_traits.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_opening.h"
#include "platform/engine/vte_stream_state.h"

namespace LibCrvnVTE {
namespace {

namespace engine = kinora::engine;
using engine::FragmentOutcome;
using engine::StreamFolder;
using engine::StreamPlan;
using kinora::base::Log;

constexpr char kUnit[] = "engine/adapt_stream";

// Who makes fragments looks first whether they are there; even then an encoder must hear what is wanted.
// The plan has the fragment.
FragmentOutcome Prepare(const StreamFolder& folder, const StreamPlan& plan, const engine::FragmentId& id) {
  if (plan.delivery == engine::Delivery::kSmooth) return PrepareSmooth(folder, plan, id);
  if (!id.audio_track) {
    return plan.video == engine::VideoWay::kCopy ? PrepareCopied(folder, plan, id.number)
                                                 : PrepareByJob(folder, plan, id.number);
  }
  const engine::AudioPlan& audio = *plan.FindAudio(*id.audio_track);
  return audio.way == engine::AudioWay::kCopy ? PrepareCopiedAudio(folder, plan, audio, id.number)
                                              : PrepareEncodedAudio(folder, plan, audio, id.number);
}

const char* Describe(FragmentOutcome outcome) {
  switch (outcome) {
    case FragmentOutcome::kReady:
      return "it is there";
    case FragmentOutcome::kNoJob:
      return "as many encoders as the settings allow are at work";
    case FragmentOutcome::kNoSpace:
      return "the volume has no space left";
    case FragmentOutcome::kGone:
      return "the film or the stream is gone, or is another one now";
    case FragmentOutcome::kFailed:
      break;
  }
  return "it could not be made";
}

// Why there is no such fragment; nothing when it is there.
std::optional<std::string> Make(const std::string& type, const std::string& stream_id,
                                const std::string& fragment_id) {
  const auto folder = StreamFolder::Open(type, stream_id);
  if (!folder) return "there is no such stream";
  const std::optional<StreamPlan> plan = engine::ReadPlan(*folder);
  if (!plan) return "the stream is not open";
  if (engine::IdentifySource(plan->source.identity.path) != plan->source.identity)
    return Describe(FragmentOutcome::kGone);
  const std::optional<engine::FragmentId> id = engine::FindFragment(*plan, fragment_id);
  if (!id) return "the plan has no such fragment";
  const FragmentOutcome outcome = Prepare(*folder, *plan, *id);
  if (outcome == FragmentOutcome::kReady) return std::nullopt;
  return Describe(outcome);
}

// The name of the fragment's file; empty when there can be none.
std::string FileOf(const StreamFolder& folder, const std::string& type, const std::string& fragment_id) {
  if (type == "SS") {
    const std::optional<StreamPlan> plan = engine::ReadPlan(folder);
    const auto id = plan ? engine::FindFragment(*plan, fragment_id) : std::nullopt;
    return id ? engine::SmoothFileName(*id) : "";
  }
  const auto id = engine::ParseFragmentId(fragment_id);
  return id ? engine::FileName(*id) : "";
}

// A request that came just before may still start an encoder: then there is a second round.
constexpr int kMostRounds = 3;

}  // namespace

bool AdaptStream::Transcoding(const std::string& fragment_id) const {
  const std::optional<std::string> failure = Make(state_->type, state_->stream_id, fragment_id);
  if (!failure) return true;
  Log(LOG_ERR, kUnit,
      "No fragment [" + fragment_id + "] of the stream [" + state_->stream_id + "]: " + *failure);
  return false;
}

std::string AdaptStream::GetFragmentPath(const std::string& fragment_id) const {
  const auto folder = StreamFolder::Open(state_->type, state_->stream_id);
  const std::string file = folder ? FileOf(*folder, state_->type, fragment_id) : "";
  if (file.empty()) return "";
  std::string path = folder->WorkPath(file);
  return kinora::base::IsPlainFile(path) ? path : "";
}

bool AdaptStream::Close() const {
  for (int round = 1;; ++round) {
    const auto folder = StreamFolder::Open(state_->type, state_->stream_id);
    if (folder) {
      folder->Withdraw(engine::kPlanFile);
      engine::EndJob(*folder);
    }
    if (engine::RemoveStream(state_->type, state_->stream_id)) return true;
    if (round == kMostRounds) return false;
  }
}

}  // namespace LibCrvnVTE
