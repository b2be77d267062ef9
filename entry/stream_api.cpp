#include "entry/stream_api.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "entry/failed_stream.h"
#include "entry/header_watch.h"
#include "entry/log.h"
#include "entry/numbers.h"
#include "entry/stream_owner.h"
#include "library/video.h"
#include "library/vte/stream_initer.h"
#include "library/vte/streamer_dispatch.h"

namespace kinora::entry {
namespace {

using crvnkn::webapi::vte::OpenArgument;
using crvnkn::webapi::vte::Streamer;

constexpr char kUnit[] = "entry/stream_api";
constexpr char kPath[] = "/webapi/entry.cgi";
constexpr char kApi[] = "CRVN.Kinora2.Stream";

// Names such as "hd_high": nothing that a path, a program's argument or a header could take for more.
std::string WordParameter(const Request& request, const char* name) {
  const std::string& word = request.Get(name);
  const bool fits =
      word.size() <= 32 && std::all_of(word.begin(), word.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
      });
  if (!fits) throw Error(crvnkn::webapi::kErrorBadParameter, std::string("Bad parameter ") + name);
  return word;
}

std::string FormatsParameter(const Request& request) {
  const std::string& formats = request.Get("format");
  const bool fits = formats.size() <= 64 && std::all_of(formats.begin(), formats.end(), [](char c) {
                      return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ',';
                    });
  if (!fits) throw Error(crvnkn::webapi::kErrorBadParameter, "Bad parameter format");
  return formats.empty() ? "auto" : formats;
}

// A number is a track of the file.
std::string TrackParameter(const Request& request, const char* name) {
  const std::string& track = request.Get(name);
  if (!track.empty()) NumberParameter(request, name, 0, 9999);
  return track;
}

std::string SubtitleParameter(const Request& request) {
  return request.Get("subtitle_id") == "DLNA" ? "DLNA" : TrackParameter(request, "subtitle_id");
}

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

}  // namespace

OpenArgument MakeOpenArgument(const Context& context) {
  const Request& request = context.GetRequest();
  OpenArgument argument;
  argument.id = static_cast<int32_t>(NumberParameter(request, "id", 1, INT32_MAX));
  argument.format = FormatsParameter(request);
  argument.audio_track = TrackParameter(request, "audio_track");
  argument.host_prefix = request.scheme + "://" + request.host;
  argument.cgi_path = kPath;
  argument.api = kApi;
  argument.profile = WordParameter(request, "profile");
  argument.client = WordParameter(request, "client");
  argument.subtitle_id = SubtitleParameter(request);
  argument.token = context.session.token;
  argument.sid = context.session.sid;
  argument.audio_format = WordParameter(request, "audio_format");
  argument.uid = context.account.id;
  return argument;
}

std::optional<Answer> OpenStream(Context& context) {
  OpenArgument argument = MakeOpenArgument(context);
  context.CloseStore();
  crvnkn::webapi::AssertVideoAllowed(argument.id, static_cast<unsigned int>(context.account.id),
                                     context.GetRequest().Get("pin"));
  argument.CheckFilePath();
  crvnkn::webapi::vte::StreamIniter initer(argument);
  initer.LegacyProcess();
  RecordOwnerOrClose(initer.stream_id, initer.stream_format, context.account.id);

  Json::Value result;
  result["stream_id"] = initer.stream_id;
  result["format"] = initer.stream_format;
  return ResultAnswer(result);
}

std::optional<Answer> SendStream(Context& context) {
  const Request& request = context.GetRequest();
  const std::unique_ptr<Streamer> streamer = OwnStreamer(context);
  streamer->SetFragmentID(WordParameter(request, "fragment"));
  streamer->SetPlaylistType(WordParameter(request, "playlist"));
  streamer->SetSubtitleID(SubtitleParameter(request));
  streamer->SetSeekTime(static_cast<unsigned long>(NumberParameter(request, "seek", 0, INT32_MAX, 0)));
  context.CloseStore();
  alarm(0);  // from here on the answer lasts as long as the viewer watches

  const HeaderWatch& watch = WatchStandardOutput();
  const bool served = streamer->Stream();
  std::fflush(stdout);
  // Once a body has begun nothing can be mended: it ends short of its announced length, and the client
  // notices.
  if (served || watch.Complete()) return std::nullopt;
  return FailedStreamAnswer(streamer->GetPathSourceFile());
}

std::optional<Answer> CloseStream(Context& context) {
  OwnStreamer(context)->Close();
  return ResultAnswer(Json::Value(Json::objectValue));
}

}  // namespace kinora::entry
