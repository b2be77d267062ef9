#include "platform/engine/stream_opening.h"

#include <system_error>

#include "platform/base/log.h"
#include "platform/engine/look.h"
#include "platform/engine/machine_state.h"
#include "platform/engine/playlists.h"
#include "platform/engine/source_traits.h"
#include "platform/engine/stream_request.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/stream_opening";

std::variant<SourceTraits, Refusal> LookAtSource(const std::string& path) {
  const std::optional<SourceIdentity> identity = IdentifySource(path);
  if (!identity) return Refusal{"", "there is no file [" + path + "]"};
  const Probe probe = ProbeFile(path);
  if (!probe.report) return Refusal{kVideoNotSupported, "[" + path + "]: " + probe.reason};
  if (IdentifySource(path) != identity) return Refusal{"", "[" + path + "] is being replaced"};
  return ReadTraits(*probe.report, *identity);
}

std::optional<CopyDecision> DecideCopy(const SourceTraits& source, const media::TransProfile& profile) {
  if (!CopiesVideo(profile) || source.video.track < 0) return std::nullopt;
  return PlanCopy(source);
}

// Sound that cannot be copied, or not yet, is encoded as if nothing had been said about it.
StreamWishes WishesThatCanBeMet(const SourceTraits& source, const media::TransProfile& profile,
                                StreamWishes wishes) {
  if (wishes.audio_format == kCopyAc3 && !CopiesVideo(profile) && !CanCopySound(source))
    wishes.audio_format.clear();
  return wishes;
}

// The plan comes last: a stream is open when it is there.
std::optional<Refusal> WriteAll(const StreamFolder& folder, const StreamPlan& plan,
                                const Json::Value& stream_url) {
  try {
    folder.MakeWorkFolder();
    for (const Playlist& playlist : MakePlaylists(plan, StreamAddress(stream_url, folder.StreamId())))
      folder.Write(playlist.name, playlist.text);
    folder.Write(kPlanFile, ToJsonText(plan));
    return std::nullopt;
  } catch (const std::system_error& error) {
    const bool full = error.code() == std::errc::no_space_on_device;
    return Refusal{full ? kNoSpace : "", error.what()};
  }
}

}  // namespace

std::optional<Refusal> OpenHls(const StreamFolder& folder, const Json::Value& stream_url,
                               const StreamWishes& wishes) {
  if (!stream_url.isObject()) return Refusal{"", "no address to make playlists from"};
  const auto request = ReadRequest(folder, "HLS");
  if (!request) return Refusal{"", "no record of what was asked for"};
  const auto profile = media::LoadTransProfile(request->profile_file, request->profile_name);
  if (!profile) return Refusal{"", "no profile [" + request->profile_name + "]"};
  const auto source = LookAtSource(request->file_path);
  if (const auto* const refusal = std::get_if<Refusal>(&source)) return *refusal;
  const SourceTraits& traits = std::get<SourceTraits>(source);
  const auto plan = PlanStream(traits, WishesThatCanBeMet(traits, *profile, wishes), *profile,
                               DecideCopy(traits, *profile), LookAtMachine());
  if (const auto* const refusal = std::get_if<Refusal>(&plan)) return *refusal;
  return WriteAll(folder, std::get<StreamPlan>(plan), stream_url);
}

std::optional<StreamPlan> ReadPlan(const StreamFolder& folder) {
  const std::optional<std::string> text = folder.Read(kPlanFile);
  std::optional<StreamPlan> plan = text ? ParsePlan(*text) : std::nullopt;
  if (!plan) {
    base::Log(
        LOG_ERR, kUnit,
        "The stream " + folder.StreamId() + (text ? " has a plan that cannot be read" : " has no plan"));
  }
  return plan;
}

}  // namespace kinora::engine
