#include "entry/session_api.h"

#include <syslog.h>

#include <ctime>

#include "entry/log.h"
#include "entry/sign_in_throttle.h"
#include "platform/system/places.h"

namespace kinora::entry {
namespace {

constexpr char kUnit[] = "entry/session_api";

Json::Value ToJson(const media::Account& account) {
  Json::Value json;
  json["id"] = account.id;
  json["name"] = account.name;
  json["administrator"] = account.administrator;
  return json;
}

// The cookie is out of reach for scripts, and is not sent along by other sites' forms and frames.
std::string CookieLine(const Request& request, const std::string& sid, int64_t seconds) {
  return "Set-Cookie: kinora_session=" + sid +
         "; Path=/; HttpOnly; SameSite=Lax; Max-Age=" + std::to_string(seconds) +
         (request.scheme == "https" ? "; Secure" : "");
}

std::optional<media::Account> Judge(Context& context, SignInThrottle& throttle) try {
  return media::Accounts(context.GetStore())
      .Authenticate(context.GetRequest().Get("user"), context.GetRequest().Get("password"));
} catch (const LibKinora::db::Failure&) {  // nobody has said that the password is wrong
  throttle.Withdraw(context.GetRequest().Get("user"), context.GetRequest().client);
  throw;
}

media::Account ByPassword(Context& context) {
  const std::string& user = context.GetRequest().Get("user");
  const std::string& client = context.GetRequest().client;
  SignInThrottle throttle(system::InVar("sign_in_attempts"));
  if (!throttle.MayTry(user, client, time(nullptr))) {
    throw Error(kTooManyAttempts, "Too many attempts; try again in a minute");
  }
  const std::optional<media::Account> account = Judge(context, throttle);
  if (!account) throw Error(kWrongCredentials, "Wrong name or password");
  throttle.Succeeded(user, client);
  return *account;
}

// The secret has as many random bits as a session id: nobody guesses it, so nothing is counted here.
media::Account ByWelcome(Context& context) {
  const auto id = context.GetSessions().UseWelcome(context.GetRequest().Get("welcome"));
  const auto account = id ? media::Accounts(context.GetStore()).Find(*id) : std::nullopt;
  if (!account) throw Error(kWrongCredentials, "This sign-in address was used before, or is too old");
  return *account;
}

}  // namespace

std::optional<Answer> SignIn(Context& context) {
  const Request& request = context.GetRequest();
  const bool welcome = !request.Get("welcome").empty();
  if (!welcome && request.Get("user").empty()) {
    throw Error(crvnkn::webapi::kErrorBadParameter, "Missing parameter user");
  }
  const media::Account account = welcome ? ByWelcome(context) : ByPassword(context);

  // Whoever planted an id in this browser must not share the session that begins now.
  if (!request.sid.empty()) context.GetSessions().End(request.sid);
  const media::Session session = context.GetSessions().Start(account.id);
  Log(LOG_INFO, kUnit, "account " + std::to_string(account.id) + " signed in");

  Json::Value result;
  result["sid"] = session.sid;
  result["token"] = session.token;
  result["account"] = ToJson(account);
  Answer answer = ResultAnswer(result);
  const int64_t days = context.GetSettings().session_days;
  answer.headers.push_back(CookieLine(request, session.sid, days * 24 * 3600));
  return answer;
}

std::optional<Answer> SignOut(Context& context) {
  context.GetSessions().End(context.session.sid);
  Answer answer = ResultAnswer(Json::Value(Json::objectValue));
  answer.headers.push_back(CookieLine(context.GetRequest(), "", 0));
  return answer;
}

std::optional<Answer> WhoAmI(Context& context) {
  Json::Value result;
  result["account"] = ToJson(context.account);
  result["token"] = context.session.token;
  return ResultAnswer(result);
}

}  // namespace kinora::entry
