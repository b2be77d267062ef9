#include "entry/dispatch.h"

#include <sodium.h>
#include <syslog.h>

#include <algorithm>

#include "entry/host_check.h"
#include "entry/log.h"

namespace kinora::entry {
namespace {

constexpr char kUnit[] = "entry/dispatch";

bool EqualInConstantTime(const std::string& a, const std::string& b) {
  return a.size() == b.size() && sodium_memcmp(a.data(), b.data(), a.size()) == 0;
}

const char* AllowedVerbs(Verbs verbs) {
  if (verbs == Verbs::kPost) return "Allow: POST, OPTIONS";
  return verbs == Verbs::kStream ? "Allow: GET, HEAD, OPTIONS" : "Allow: GET, HEAD, POST, OPTIONS";
}

bool IsFor(const Request& request, std::string_view api, std::string_view method) {
  return request.Get("api") == api && request.Get("method") == method;
}

// A device that plays a stream, such as one that a page casts to, asks from an origin of its own. It proves
// itself by what stands in the address, never by a cookie, so any origin may read the answers.
bool MayComeFromAnyOrigin(const Request& request) {
  return IsFor(request, "CRVN.Kinora2.Stream", "stream") || IsFor(request, "CRVN.Kinora2.Subtitle", "get");
}

// The lines that streamers and subtitles have in the answers that they give themselves, for all others.
void AllowAnyOrigin(Answer& answer) {
  for (const char* line : {"Access-Control-Allow-Origin: *", "Access-Control-Allow-Methods: GET",
                           "Access-Control-Allow-Headers: origin, x-requested-with, content-type, range"})
    AddHeader(answer, line);
}

Answer RefusedVerb(const char* allow) {
  Answer answer = ErrorAnswer(kMalformedRequest, "Not with this HTTP method", 405);
  answer.headers.emplace_back(allow);
  return answer;
}

Answer PreflightAnswer(const Request& request) {
  const bool stream = IsFor(request, "CRVN.Kinora2.Stream", "stream");
  return {204, {AllowedVerbs(stream ? Verbs::kStream : Verbs::kAny)}, {}};
}

// The one place where it is decided whether somebody may call a method. Throws Error.
void CheckAccess(const Method& method, Context& context) {
  const Request& request = context.GetRequest();
  if (request.verb == "POST" && !request.origin.empty() &&
      !IsOwnOrigin(request.origin, context.GetSettings().hosts)) {
    throw Error(kTokenRefused, "Not from another site");
  }
  if (method.access == Access::kOpen) return;

  if (request.sid.empty()) throw Error(kNotSignedIn, "Not signed in");
  const std::optional<media::Session> session = context.GetSessions().Find(request.sid);
  if (!session) throw Error(kNotSignedIn, "Not signed in");
  const std::optional<media::Account> account = media::Accounts(context.GetStore()).Find(session->account);
  if (!account || account->id < 1) throw Error(kNotSignedIn, "Not signed in");
  context.session = *session;
  context.account = *account;
  if (method.access == Access::kSession) return;

  if (session->token.empty() || !EqualInConstantTime(request.token, session->token)) {
    throw Error(kTokenRefused, "The token is missing or wrong");
  }
}

void CheckParameters(const Method& method, const Request& request) {
  for (const Parameter& parameter : method.parameters) {
    if (parameter.required && request.Get(parameter.name).empty()) {
      throw Error(crvnkn::webapi::kErrorBadParameter, std::string("Missing parameter ") + parameter.name);
    }
  }
}

std::optional<Answer> Call(const Request& request, const system::Settings& settings) {
  if (!IsOwnHost(request.host, settings.hosts)) {
    throw Malformed("the Host header names another server (see \"hosts\" in the settings)");
  }
  if (!request.path_info.empty()) throw Error(kNotFound, "Not found");
  if (request.verb == "OPTIONS") return PreflightAnswer(request);
  if (request.verb != "GET" && request.verb != "HEAD" && request.verb != "POST") {
    return RefusedVerb("Allow: GET, HEAD, POST, OPTIONS");
  }
  const Method& method =
      FindMethod(AllMethods(), request.Get("api"), request.Get("method"), request.Get("version"));
  if (!TakesVerb(method, request.verb)) return RefusedVerb(AllowedVerbs(method.verbs));
  Context context(request, settings);
  CheckAccess(method, context);
  CheckParameters(method, request);
  return method.handler(context);
}

std::optional<Answer> CallOrRefuse(const Request& request, const system::Settings& settings) {
  try {
    return Call(request, settings);
  } catch (const Malformed& error) {
    Log(LOG_WARNING, kUnit, std::string("malformed request: ") + error.what());
    return ErrorAnswer(kMalformedRequest, error.what());
  } catch (const Error& error) {
    Log(LOG_NOTICE, kUnit, "refused with " + std::to_string(error.Code()) + ": " + error.Message());
    return ErrorAnswer(error.Code(), error.Message());
  } catch (const LibKinora::db::Failure& error) {
    Log(LOG_ERR, kUnit, std::string("the database cannot answer: ") + error.what());
    return ErrorAnswer(kServiceFailure, "The database cannot answer", 503);
  } catch (const std::exception& error) {
    Log(LOG_ERR, kUnit, std::string("unexpected failure: ") + error.what());
    return ErrorAnswer(kServiceFailure, "Internal failure");
  }
}

}  // namespace

const Method& FindMethod(const std::vector<Method>& methods, std::string_view api, std::string_view name,
                         std::string_view version) {
  const auto of_api = [&](const Method& method) { return api == method.api; };
  if (std::none_of(methods.begin(), methods.end(), of_api)) throw Error(kNoSuchApi, "No such API");
  const auto found = std::find_if(methods.begin(), methods.end(), [&](const Method& method) {
    return of_api(method) && name == method.name;
  });
  if (found == methods.end()) throw Error(kNoSuchMethod, "No such method");
  if (version != "1") throw Error(kNoSuchVersion, "No such version");
  return *found;
}

bool TakesVerb(const Method& method, std::string_view verb) {
  if (verb == "POST") return method.verbs != Verbs::kStream;
  return (verb == "GET" || verb == "HEAD") && method.verbs != Verbs::kPost;
}

std::optional<Answer> Dispatch(const Request& request, const system::Settings& settings) {
  std::optional<Answer> answer = CallOrRefuse(request, settings);
  if (answer && MayComeFromAnyOrigin(request)) AllowAnyOrigin(*answer);
  return answer;
}

}  // namespace kinora::entry
