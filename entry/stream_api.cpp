#include "entry/stream_api.h"

#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "entry/client_watch.h"
#include "entry/failed_stream.h"
#include "entry/header_hold.h"
#include "entry/log.h"
#include "entry/numbers.h"
#include "entry/stream_faults.h"
#include "entry/stream_opening.h"
#include "entry/stream_owner.h"
#include "entry/stream_parameters.h"
#include "library/video.h"
#include "library/vte/chromecast_record.h"
#include "library/vte/streamer_dispatch.h"
#include "platform/engine/look.h"

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

// Whether a player may keep what it gets. Playlists hold the session's id; a fragment stays what it is.
const char* CacheControl(const std::string& type, const std::string& fragment) {
  if (type == "RAW") return "private";
  return fragment.empty() ? "no-store" : "private, max-age=300";
}

}  // namespace

std::optional<Answer> OpenStream(Context& context) {
  OpenArgument argument = MakeOpenArgument(context);
  context.CloseStore();
  crvnkn::webapi::AssertVideoAllowed(argument.id, static_cast<unsigned int>(context.account.id),
                                     context.GetRequest().Get("pin"));
  argument.CheckFilePath();
  try {
    return OpenedStreamAnswer(context, argument);
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
  const std::string type = streamer->GetStreamTypeString();
  const std::string fragment = WordParameter(request, "fragment");
  streamer->SetFragmentID(fragment);
  streamer->SetPlaylistType(WordParameter(request, "playlist"));
  streamer->SetSubtitleID(SubtitleParameter(request));
  streamer->SetSeekTime(static_cast<unsigned long>(NumberParameter(request, "seek", 0, INT32_MAX, 0)));
  context.CloseStore();

  // The time limit holds for making what was asked for, and so does the client's patience. Once it goes out,
  // the answer lasts as long as the viewer takes it.
  EndWithClient(request.connection);
  const HeaderHold& hold =
      HoldStandardOutput(std::string("Cache-Control: ") + CacheControl(type, fragment) + "\r\n", [] {
        alarm(0);
        OutliveClient();
      });
  const bool served = streamer->Stream();
  std::fflush(stdout);
  // Once a body has begun nothing can be mended: it ends short of its announced length, and the client
  // notices.
  if (served || hold.Complete()) return std::nullopt;
  OutliveClient();
  Answer answer = FailedStreamAnswer(
      type == "RAW" ? FindRawFaults(streamer->GetPathSourceFile())
                    : FindAdaptiveFaults(type, request.Get("id"), fragment, context.GetSettings()));
  for (const std::string& line : hold.Lines()) AddHeader(answer, line);
  return answer;
}

std::optional<Answer> CloseStream(Context& context) {
  OwnStreamer(context)->Close();
  return ResultAnswer(Json::Value(Json::objectValue));
}

}  // namespace kinora::entry
