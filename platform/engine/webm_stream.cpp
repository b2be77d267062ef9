#include "contract/engine/webm_stream.h"

#include <chrono>
#include <stdexcept>
#include <system_error>
#include <variant>

#include "platform/base/log.h"
#include "platform/engine/job_admission.h"
#include "platform/engine/job_end.h"
#include "platform/engine/job_lock.h"
#include "platform/engine/live_encoder.h"
#include "platform/engine/live_record.h"
#include "platform/engine/source_file.h"
#include "platform/engine/stream_opening.h"
#include "platform/engine/vte_stream_state.h"
#include "platform/engine/webm_arguments.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"

namespace LibCrvnVTE {
namespace {

namespace engine = kinora::engine;
namespace system = kinora::system;
using engine::LiveEncoder;
using engine::StreamFolder;
using engine::StreamPlan;
using kinora::base::Descriptor;
using kinora::base::Log;

constexpr char kUnit[] = "engine/webm_stream";
constexpr int kSourceNumber = 3;
constexpr int kLockNumber = 4;

// Of memory for the largest pictures and many threads. Time is bounded by the viewer's patience.
constexpr system::ChildLimits kLimits{std::chrono::milliseconds(0), 16ULL << 30, 0, 0, 0};

// The first bytes take a fraction of a second, and so do all others.
constexpr std::chrono::seconds kPatience{25};

// The encoder, or why there is none.
using Started = std::variant<std::shared_ptr<LiveEncoder>, std::string>;

// The encoder holds the job's lock itself, through a descriptor that nobody else has: it is at work exactly
// as long as the lock is held.
Started StartBeside(const StreamFolder& folder, const StreamPlan& plan, system::Command command) {
  const Descriptor one_at_a_time = engine::TakeAdmissionLock();
  std::vector<engine::OtherJob> others = engine::OtherJobs(folder.StreamId());
  if (!engine::MakePlace(others, system::LoadSettings(system::kSettingsFile).jobs))
    return "as many encoders as the settings allow are at work";
  const Descriptor source = engine::OpenSource(plan.source.identity);
  if (!source) return "the film is gone, or is another one now";
  const Descriptor lock = engine::TakeJobLock(folder.WorkPath("job.lock"));
  if (!lock) return "its lock is not to be had";
  command.descriptors = {{source.Get(), kSourceNumber}, {lock.Get(), kLockNumber}};
  std::shared_ptr<LiveEncoder> encoder = LiveEncoder::Start(command, folder.StreamId(), kPatience);
  if (!encoder) return "the encoder cannot be started";
  engine::WriteLiveEncoder(folder, encoder->Pid());
  return encoder;
}

Started Start(const StreamFolder& folder, const std::string& ffmpeg, int seconds) {
  const Descriptor deciding = folder.Lock();
  const std::optional<StreamPlan> plan = deciding ? engine::ReadPlan(folder) : std::nullopt;
  if (!plan) return "the stream is not open";
  if (seconds < 0 || engine::MediaTime(seconds) >= plan->grid.End(0))
    return "there is no film at second " + std::to_string(seconds);
  if (!engine::EndRunningJob(folder)) return "its encoder from before does not end";
  system::Command command;
  command.limits = kLimits;
  command.arguments = engine::WebMArguments(*plan, seconds);
  command.arguments.insert(command.arguments.begin(), ffmpeg);
  return StartBeside(folder, *plan, std::move(command));
}

Started StartOrSayWhyNot(const std::string& type, const std::string& stream_id, const std::string& ffmpeg,
                         int seconds) {
  const auto folder = StreamFolder::Open(type, stream_id);
  if (!folder) return "there is no such stream";
  try {
    Started started = Start(*folder, ffmpeg, seconds);
    auto* const encoder = std::get_if<std::shared_ptr<LiveEncoder>>(&started);
    if (encoder != nullptr && !(*encoder)->WaitForBytes()) return "nothing came out of the encoder";
    return started;
  } catch (const std::system_error& error) {
    return error.what();
  } catch (const std::invalid_argument& error) {  // the plan
    return error.what();
  }
}

}  // namespace

WebMStream::WebMStream(const std::string& stream_id) : DirectStream(stream_id, "WEBM") {}

bool WebMStream::Init(const std::string& audio_track) {
  const auto folder = StreamFolder::Open(state_->type, state_->stream_id);
  if (state_->IsOpen(folder ? engine::OpenWebM(*folder, audio_track) : engine::WhyNotPrepared())) return true;
  Close();
  return false;
}

bool WebMStream::Transcoding(const std::string& ffmpeg_path, int seek_time) {
  state_->encoder.reset();
  Started started = StartOrSayWhyNot(state_->type, state_->stream_id, ffmpeg_path, seek_time);
  if (auto* const encoder = std::get_if<std::shared_ptr<LiveEncoder>>(&started)) {
    state_->encoder = std::move(*encoder);
    return true;
  }
  Log(LOG_ERR, kUnit, "No body of the stream [" + state_->stream_id + "]: " + std::get<std::string>(started));
  return false;
}

}  // namespace LibCrvnVTE
