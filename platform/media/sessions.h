// Sessions: who is signed in. Only digests of the secrets are kept, so that a copy of the database opens
// nothing.
#pragma once

#include <optional>
#include <string>

#include "platform/media/store.h"

namespace kinora::media {

struct Session {
  std::string sid;    // 256 random bits, 43 letters and digits, '-' and '_'
  std::string token;  // "CrvnToken": derived from the sid, proves that a request was made by the page itself
  int account = 0;
};

// Whether this is the session's token, in a time that does not tell where it differs.
bool TokenMatches(const Session& session, const std::string& token);

// All throw LibKinora::db::Failure when the database cannot answer.
class Sessions {
 public:
  // A session unused for `days` ends.
  Sessions(Store& store, unsigned int days) : store_(store), days_(days) {}

  // A new sid, whatever the browser brought along.
  Session Start(int account);
  // The session behind a sid, with its end moved on (written at most once an hour, where the
  // database can be written); nothing for one that is
  // unknown, malformed or expired.
  std::optional<Session> Find(const std::string& sid);
  void End(const std::string& sid);

  // A secret that signs one browser in, once, within ten minutes.
  std::string MakeWelcome(int account);
  std::optional<int> UseWelcome(const std::string& secret);

 private:
  Store& store_;
  unsigned int days_;
};

}  // namespace kinora::media
