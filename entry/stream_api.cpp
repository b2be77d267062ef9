#include "entry/stream_api.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "entry/client_watch.h"
#include "entry/failed_stream.h"
#include "entry/header_hold.h"
#include "entry/log.h"
#include "entry/numbers.h"
#include "entry/stream_faults.h"
#include "entry/stream_opening.h"
#include "entry/stream_owner.h"
#include "entry/stream_parameters.h"
#include "entry/subtitle_start.h"
#include "library/video.h"
#include "library/vte/chromecast_record.h"
#include "library/vte/streamer_dispatch.h"
#include "platform/engine/look.h"
#include "platform/system/byte_ranges.h"

namespace kinora::entry {
namespace {

using crvnkn::webapi::vte::OpenArgument;
using crvnkn::webapi::vte::Streamer;

constexpr char kUnit[] = "entry/stream_api";

std::unique_ptr<Streamer> MakeStreamer(const std::string& id, const std::string& format) {
  if (!IsStreamId(id)) throw Error(kNotFound, "No such stream");
  std::unique_ptr<Streamer> streamer = crvnkn::webapi::vte::GetStreamerAPI(id, format);
  if (!streamer) throw Error(crvnkn::webapi::kErrorBadParameter, "Bad parameter format");
  return streamer;
}

// The streamer of a stream that the caller has opened; everybody else's does not exist for him.
std::unique_ptr<Streamer> OwnStreamer(Context& context) {
  const Request& request = context.GetRequest();
  const std::string& id = request.Get("id");
  std::unique_ptr<Streamer> streamer = MakeStreamer(id, request.Get("format"));
  const auto owner = OwnerOf(StreamFolder(streamer->GetStreamTypeString(), id));
  if (!owner || *owner != context.account.id) throw Error(kNotFound, "No such stream");
  return streamer;
}

// A stream that could not be handed to its owner must not stay behind.
void RecordOwnerOrClose(const std::string& id, const std::string& format, int account) {
  const std::unique_ptr<Streamer> streamer = MakeStreamer(id, format);
  try {
    RecordOwner(StreamFolder(streamer->GetStreamTypeString(), id), account);
  } catch (const std::exception& error) {
    streamer->Close();
    Log(LOG_ERR, kUnit, std::string("the owner of a stream cannot be recorded: ") + error.what());
    throw Error(crvnkn::webapi::kErrorStreamSetup, "The stream's owner cannot be recorded");
  }
}

Answer OpenedStreamAnswer(const Context& context, const OpenArgument& argument) {
  const crvnkn::webapi::vte::StreamIniter opened = OpenInFormat(argument);
  RecordOwnerOrClose(opened.stream_id, opened.stream_format, context.account.id);
  if (argument.client == "chromecast") {
    crvnkn::webapi::vte::RecordChromecastData(context.GetRequest().agent);
  }
  Json::Value result;
  result["stream_id"] = opened.stream_id;
  result["format"] = opened.stream_format;
  return ResultAnswer(result);
}

// What is wanted of a stream.
struct Part {
  std::string type;  // of the stream: "RAW", "HLS", "SS" or "WEBM"
  std::string stream_id;
  std::string fragment;
  int64_t seek = 0;  // seconds
};

// Whether a player may keep what it gets. Playlists hold the session's id, and a live film is another one for
// each time at which it starts; a fragment stays what it is.
const char* CacheControl(const Part& part) {
  if (part.type == "RAW") return "private";
  return part.fragment.empty() ? "no-store" : "private, max-age=300";
}

StreamFaults FindFaults(const Part& part, const Streamer& streamer, const system::Settings& settings) {
  if (part.type == "RAW") return FindRawFaults(streamer.GetPathSourceFile());
  if (part.type == "WEBM") return FindLiveFaults(part.stream_id, part.seek, settings);
  return FindAdaptiveFaults(part.type, part.stream_id, part.fragment, settings);
}

// Browsers that lost their line ask for what they lack by its bytes; a second encoding has others.
bool AsksForTheRest(const std::string& range) {
  const std::vector<system::ByteRange> ranges = system::DecideRanges(range, UINT64_MAX).ranges;
  return std::any_of(ranges.begin(), ranges.end(),
                     [](const system::ByteRange& one) { return one.first != 0; });
}

// What the answer to GET would begin with, without starting an encoder for it.
Answer LiveHeadAnswer(const StreamFaults& faults) {
  if (faults != StreamFaults()) return FailedStreamAnswer(faults);
  return {200, {"Content-Type: video/webm"}, "", true};
}

// Puts the hold before the answer. The time limit holds for making what was asked for, and so does the
// client's patience. Once it goes out, the answer lasts as long as the viewer takes it: who reads a file or a
// fragment is noticed by writing to him, but an encoder may have nothing to write for long.
const HeaderHold& HoldAnswer(const Request& request, const Part& part) {
  const std::string own = std::string("Cache-Control: ") + CacheControl(part) + "\r\n";
  EndWithClient(request.connection);
  if (part.type == "WEBM") return HoldStandardOutput(own, [] { alarm(0); });
  return HoldStandardOutput(own, [] {
    alarm(0);
    OutliveClient();
  });
}

}  // namespace

std::optional<Answer> OpenStream(Context& context) {
  OpenArgument argument = MakeOpenArgument(context);
  context.CloseStore();
  crvnkn::webapi::AssertVideoAllowed(argument.id, static_cast<unsigned int>(context.account.id),
                                     context.GetRequest().Get("pin"));
  argument.CheckFilePath();
  try {
    const Answer answer = OpenedStreamAnswer(context, argument);
    StartChosenSubtitle(argument);
    return answer;
  } catch (const Error& error) {
    if (error.Code() != crvnkn::webapi::kErrorFormatsUndetermined) throw;
    // That nothing is known about the film may be for want of time.
    if (!engine::ProbeFile(argument.file_path).busy) throw;
    Log(LOG_WARNING, kUnit, "there was no time to look at [" + argument.file_path + "]");
    return FailedStreamAnswer({.exhausted = true});
  }
}

std::optional<Answer> SendStream(Context& context) {
  const Request& request = context.GetRequest();
  const std::unique_ptr<Streamer> streamer = OwnStreamer(context);
  const Part part{streamer->GetStreamTypeString(), request.Get("id"), FragmentParameter(request),
                  NumberParameter(request, "seek", 0, INT32_MAX, 0)};
  streamer->SetFragmentID(part.fragment);
  streamer->SetPlaylistType(WordParameter(request, "playlist"));
  streamer->SetSubtitleID(OfferedSubtitleParameter(request));
  streamer->SetSeekTime(static_cast<unsigned long>(part.seek));
  context.CloseStore();
  if (part.type == "WEBM" && AsksForTheRest(request.range)) return FailedStreamAnswer({.rest_unknown = true});
  if (part.type == "WEBM" && request.verb == "HEAD") {
    return LiveHeadAnswer(FindFaults(part, *streamer, context.GetSettings()));
  }

  const HeaderHold& hold = HoldAnswer(request, part);
  const bool served = streamer->Stream();
  std::fflush(stdout);
  // Once a body has begun nothing can be mended: it ends short of its announced length, and the client
  // notices.
  if (served || hold.Complete()) return std::nullopt;
  OutliveClient();
  Answer answer = FailedStreamAnswer(FindFaults(part, *streamer, context.GetSettings()));
  for (const std::string& line : hold.Lines()) AddHeader(answer, line);
  return answer;
}

std::optional<Answer> CloseStream(Context& context) {
  OwnStreamer(context)->Close();
  return ResultAnswer(Json::Value(Json::objectValue));
}

}  // namespace kinora::entry
