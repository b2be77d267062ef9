#include "platform/engine/stream_opening.h"

#include <system_error>

#include "platform/base/log.h"
#include "platform/engine/look.h"
#include "platform/engine/machine_state.h"
#include "platform/engine/parameter_sets.h"
#include "platform/engine/playlist_text.h"
#include "platform/engine/playlists.h"
#include "platform/engine/report.h"
#include "platform/engine/smooth_manifest.h"
#include "platform/engine/source_traits.h"
#include "platform/engine/stream_request.h"
#include "platform/engine/stream_space.h"
#include "platform/engine/subtitle_playlist.h"
#include "platform/engine/subtitle_search.h"
#include "platform/engine/webm_plan.h"

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

// What a stream was prepared for, as it is now.
struct Wanted {
  media::TransProfile profile;
  SourceTraits source;
};

std::variant<Wanted, Refusal> LookAtWanted(const StreamFolder& folder, const std::string& type) {
  const auto request = ReadRequest(folder, type);
  if (!request) return Refusal{"", "no record of what was asked for"};
  const auto profile = media::LoadTransProfile(request->profile_file, request->profile_name);
  if (!profile) return Refusal{"", "no profile [" + request->profile_name + "]"};
  auto source = LookAtSource(request->file_path);
  if (const auto* const refusal = std::get_if<Refusal>(&source)) return *refusal;
  return Wanted{*profile, std::move(std::get<SourceTraits>(source))};
}

// None without an address to ask the web API for them. The film has just been looked at: the probe is not run
// again.
std::vector<OfferedSubtitle> LookForSubtitles(const std::string& film, const Json::Value& subtitle_url) {
  if (!subtitle_url.isObject() || TextOf(subtitle_url, "url").empty()) return {};
  if (NumberOf(subtitle_url, "id", INT32_MAX) == 0) return {};
  const Probe probe = ProbeFile(film);
  if (!probe.report) return {};
  const std::string chosen = TextOf(subtitle_url, "subtitle_id");
  return OfferSubtitles(FindSubtitles(*probe.report, film, chosen), chosen);
}

Playlist RecordOf(const std::vector<OfferedSubtitle>& subtitles, const Json::Value& url,
                  const StreamPlan& plan) {
  SubtitleRecord record;
  record.url = url;
  for (const OfferedSubtitle& subtitle : subtitles) record.ids.push_back(subtitle.id);
  record.length_us = Microseconds(plan.grid.End(plan.grid.Count() - 1));
  return {kSubtitlesFile, ToJsonText(record)};
}

// The plan comes last: a stream is open when it is there.
std::optional<Refusal> WriteAll(const StreamFolder& folder, const StreamPlan& plan,
                                const std::vector<Playlist>& playlists) {
  try {
    folder.MakeWorkFolder();
    for (const Playlist& playlist : playlists) folder.Write(playlist.name, playlist.text);
    folder.Write(kPlanFile, ToJsonText(plan));
    return std::nullopt;
  } catch (const std::system_error& error) {
    const bool full = error.code() == std::errc::no_space_on_device;
    return Refusal{full ? kNoSpace : "", error.what()};
  }
}

}  // namespace

std::optional<Refusal> OpenHls(const StreamFolder& folder, const Json::Value& stream_url,
                               const Json::Value& subtitle_url, const StreamWishes& wishes) {
  if (!stream_url.isObject()) return Refusal{"", "no address to make playlists from"};
  const auto wanted = LookAtWanted(folder, "HLS");
  if (const auto* const refusal = std::get_if<Refusal>(&wanted)) return *refusal;
  const auto& [profile, source] = std::get<Wanted>(wanted);
  const auto planned = PlanStream(source, WishesThatCanBeMet(source, profile, wishes), profile,
                                  DecideCopy(source, profile), LookAtMachine());
  if (const auto* const refusal = std::get_if<Refusal>(&planned)) return *refusal;
  const StreamPlan& plan = std::get<StreamPlan>(planned);
  const auto subtitles = LookForSubtitles(source.identity.path, subtitle_url);
  auto playlists = MakePlaylists(plan, subtitles, StreamAddress(stream_url, folder.StreamId()));
  if (!subtitles.empty()) playlists.push_back(RecordOf(subtitles, subtitle_url, plan));
  return WriteAll(folder, plan, playlists);
}

std::optional<Refusal> OpenSmooth(const StreamFolder& folder, const StreamWishes& wishes) {
  const auto wanted = LookAtWanted(folder, "SS");
  if (const auto* const refusal = std::get_if<Refusal>(&wanted)) return *refusal;
  const auto& [profile, source] = std::get<Wanted>(wanted);
  auto planned = PlanSmoothStream(source, wishes, profile, LookAtMachine());
  if (const auto* const refusal = std::get_if<Refusal>(&planned)) return *refusal;
  StreamPlan& plan = std::get<StreamPlan>(planned);
  if (plan.video != VideoWay::kNone) {
    const std::optional<std::string> sets = FindParameterSets(plan);
    if (!sets) return Refusal{"", "the encoder does not work"};
    plan.picture.parameter_sets = *sets;
  }
  return WriteAll(folder, plan, {{kSmoothManifest, MakeSmoothManifest(plan)}});
}

std::optional<Refusal> OpenWebM(const StreamFolder& folder, const std::string& audio_track) {
  const auto wanted = LookAtWanted(folder, "WEBM");
  if (const auto* const refusal = std::get_if<Refusal>(&wanted)) return *refusal;
  const auto& [profile, source] = std::get<Wanted>(wanted);
  const auto plan = PlanWebM(source, audio_track, profile, LookAtMachine());
  if (const auto* const refusal = std::get_if<Refusal>(&plan)) return *refusal;
  return WriteAll(folder, std::get<StreamPlan>(plan), {});
}

Refusal WhyNotPrepared() {
  if (!HasSpaceForAStream()) return {kNoSpace, "no volume has the space"};
  return {"", "no stream was prepared"};
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
