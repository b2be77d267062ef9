// What a method of the web API has at hand while it answers.
#pragma once

#include <memory>

#include "entry/request.h"
#include "platform/media/accounts.h"
#include "platform/media/sessions.h"
#include "platform/media/store.h"
#include "platform/system/settings.h"

namespace kinora::entry {

class Context {
 public:
  Context(const Request& request, const system::Settings& settings)
      : request_(request), settings_(settings) {}

  const Request& GetRequest() const { return request_; }
  const system::Settings& GetSettings() const { return settings_; }

  // The database, opened when first asked for. Throws LibKinora::db::Failure.
  media::Store& GetStore();
  // Gives the database back, so that nothing is held during a long answer.
  void CloseStore() { store_.reset(); }
  media::Sessions GetSessions() { return media::Sessions(GetStore(), settings_.session_days); }

  // Who asks: set by the dispatcher for every method that wants a session, before the method is called.
  media::Account account;
  media::Session session;

 private:
  const Request& request_;
  const system::Settings& settings_;
  std::unique_ptr<media::Store> store_;
};

}  // namespace kinora::entry
