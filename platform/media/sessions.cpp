#include "platform/media/sessions.h"

#include <soci/soci.h>

#include <algorithm>
#include <ctime>

#include "platform/base/log.h"
#include "platform/media/secrets.h"

namespace kinora::media {
namespace {

constexpr long long kDay = 24LL * 60 * 60;
constexpr long long kRefresh = 60LL * 60;
constexpr long long kWelcomeSeconds = 10LL * 60;

// A time in the future, which a clock set back leaves behind, is taken for now.
long long Age(long long now, long long then) { return std::max(0LL, now - then); }

// A session that cannot be written to, on a full disk perhaps, is one nevertheless.
void MoveEndOn(soci::session& sql, const std::string& digest, long long now) {
  try {
    sql << "UPDATE sessions SET last_used = :now WHERE digest = :digest", soci::use(now), soci::use(digest);
  } catch (const soci::soci_error& error) {
    base::Log(LOG_ERR, "media/sessions", "a session's end is not moved on: " + error.get_error_message());
  }
}

Session SessionOf(const std::string& sid, int account) {
  return Session{sid, DeriveSecret(sid, "CrvnToken"), account};
}

}  // namespace

bool TokenMatches(const Session& session, const std::string& token) {
  return SameSecret(session.token, token);
}

Session Sessions::Start(int account) {
  const std::string sid = MakeSecret();
  const std::string digest = DigestOf(sid);
  const long long now = std::time(nullptr);
  const long long oldest = now - static_cast<long long>(days_) * kDay;
  store_.Change([&](soci::session& sql) {
    sql << "DELETE FROM sessions WHERE last_used < :oldest", soci::use(oldest);
    sql << "INSERT INTO sessions(digest, account, last_used) VALUES(:digest, :account, :now)",
        soci::use(digest), soci::use(account), soci::use(now);
  });
  return SessionOf(sid, account);
}

std::optional<Session> Sessions::Find(const std::string& sid) {
  if (!LooksLikeSecret(sid)) return std::nullopt;
  const std::string digest = DigestOf(sid);
  const long long now = std::time(nullptr);
  return store_.Do([&](soci::session& sql) -> std::optional<Session> {
    int account = 0;
    long long last_used = 0;
    sql << "SELECT account, last_used FROM sessions WHERE digest = :digest", soci::use(digest),
        soci::into(account), soci::into(last_used);
    if (!sql.got_data() || Age(now, last_used) > static_cast<long long>(days_) * kDay) return std::nullopt;
    if (last_used > now || now - last_used >= kRefresh) MoveEndOn(sql, digest, now);
    return SessionOf(sid, account);
  });
}

void Sessions::End(const std::string& sid) {
  if (!LooksLikeSecret(sid)) return;
  const std::string digest = DigestOf(sid);
  store_.Do(
      [&](soci::session& sql) { sql << "DELETE FROM sessions WHERE digest = :digest", soci::use(digest); });
}

std::string Sessions::MakeWelcome(int account) {
  std::string secret = MakeSecret();
  const std::string digest = DigestOf(secret);
  const long long now = std::time(nullptr);
  const long long oldest = now - kWelcomeSeconds;
  store_.Change([&](soci::session& sql) {
    sql << "DELETE FROM welcomes WHERE made < :oldest OR made > :now", soci::use(oldest), soci::use(now);
    sql << "INSERT INTO welcomes(digest, account, made) VALUES(:digest, :account, :now)", soci::use(digest),
        soci::use(account), soci::use(now);
  });
  return secret;
}

std::optional<int> Sessions::UseWelcome(const std::string& secret) {
  if (!LooksLikeSecret(secret)) return std::nullopt;
  const std::string digest = DigestOf(secret);
  const long long now = std::time(nullptr);
  return store_.Change([&](soci::session& sql) -> std::optional<int> {
    int account = 0;
    long long made = 0;
    sql << "SELECT account, made FROM welcomes WHERE digest = :digest", soci::use(digest),
        soci::into(account), soci::into(made);
    if (!sql.got_data()) return std::nullopt;
    sql << "DELETE FROM welcomes WHERE digest = :digest", soci::use(digest);
    // One from the future could outlive its ten minutes by years.
    if (made > now || now - made > kWelcomeSeconds) return std::nullopt;
    return account;
  });
}

}  // namespace kinora::media
