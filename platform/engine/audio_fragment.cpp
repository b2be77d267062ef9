#include "platform/engine/audio_fragment.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "platform/base/atomic_file.h"
#include "platform/base/log.h"
#include "platform/base/plain_file.h"
#include "platform/engine/encode_arguments.h"
#include "platform/engine/fragment_id.h"
#include "platform/engine/source_file.h"
#include "platform/system/child.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/audio_fragment";
constexpr char kEncoder[] = "bin/ffmpeg";
constexpr int kSourceNumber = 3;
constexpr size_t kTransportPacket = 188;

// A few seconds of sound are encoded in a tenth of a second.
constexpr system::ChildLimits kLimits{std::chrono::seconds(30), 4ULL << 30, 25, 0, 16U << 20};

bool IsPlausible(const system::ChildResult& result) {
  return result.Succeeded() && !result.output.empty() && result.output.size() % kTransportPacket == 0;
}

FragmentOutcome Make(const StreamPlan& plan, const AudioPlan& audio, int number, const std::string& path) {
  const base::Descriptor source = OpenSource(plan.source.identity);
  if (!source) return FragmentOutcome::kGone;
  system::Command command;
  command.arguments = AudioArguments(plan, audio, number);
  command.arguments.insert(command.arguments.begin(), system::InTarget(kEncoder));
  command.descriptors = {{source.Get(), kSourceNumber}};
  command.limits = kLimits;
  system::ChildResult result = system::RunChild(command);
  // Somebody may have killed it.
  if (result.end == system::ChildResult::End::kSignalled) result = system::RunChild(command);
  if (!IsPlausible(result)) {
    base::Log(LOG_ERR, kUnit, "[" + path + "] cannot be encoded (" + std::to_string(result.status) + ")");
    return FragmentOutcome::kFailed;
  }
  // Whoever was faster has made the same.
  if (!base::IsPlainFile(path)) base::WriteFileAtomically(path, result.output, 0600);
  return FragmentOutcome::kReady;
}

}  // namespace

FragmentOutcome PrepareEncodedAudio(const StreamFolder& folder, const StreamPlan& plan,
                                    const AudioPlan& audio, int number) {
  const std::string path = folder.WorkPath(FileName({audio.track, number}));
  if (base::IsPlainFile(path)) return FragmentOutcome::kReady;
  try {
    return Make(plan, audio, number, path);
  } catch (const std::system_error& error) {
    base::Log(LOG_ERR, kUnit, error.what());
    return OutcomeOf(error);
  } catch (const std::invalid_argument& error) {  // the plan
    base::Log(LOG_ERR, kUnit, "[" + path + "] cannot be encoded: " + error.what());
    return FragmentOutcome::kFailed;
  }
}

}  // namespace kinora::engine
