#include "entry/stream_opening.h"

#include <strings.h>

#include "entry/numbers.h"
#include "entry/stream_parameters.h"

namespace kinora::entry {
namespace {

using crvnkn::webapi::vte::OpenArgument;
using crvnkn::webapi::vte::StreamIniter;

constexpr char kPath[] = "/webapi/entry.cgi";
constexpr char kApi[] = "CRVN.Kinora2.Stream";

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

bool EncodingMayHelp(ErrorCode refusal) {
  switch (static_cast<int>(refusal)) {
    case crvnkn::webapi::kErrorAudioNotSupported:
    case crvnkn::webapi::kErrorVideoNotSupported:
    case crvnkn::webapi::kErrorVideoNotHardwareSupported:
    case crvnkn::webapi::kErrorResolutionBeyondCapability:
    case crvnkn::webapi::kErrorFramerateBeyondCapability:
    case crvnkn::webapi::kErrorProfileBeyondCapability:
    case crvnkn::webapi::kErrorStreamSetup:
      return true;
    default:
      return false;
  }
}

StreamIniter OpenInFormat(const OpenArgument& argument) {
  StreamIniter initer(argument);
  try {
    initer.LegacyProcess();
    return initer;
  } catch (const Error& error) {
    if (strcasecmp(argument.format.c_str(), "auto") != 0 || !EncodingMayHelp(error.Code())) throw;
  }
  OpenArgument encoded = argument;
  encoded.format = "hls";
  StreamIniter second(initer.metadata, encoded);
  second.LegacyProcess();
  return second;
}

}  // namespace kinora::entry
