// What must be there before the service starts.
#pragma once

#include <optional>
#include <string>

#include "platform/base/descriptor.h"
#include "platform/system/settings.h"

namespace kinora::cli {

inline constexpr char kWebServer[] = "/usr/sbin/lighttpd";

// Throws std::runtime_error, in words for people, when a program or the page is missing.
void CheckPrograms();

// Makes the run folder, closed to others. Throws std::runtime_error.
void MakeRunFolder();

// Holds the place for one service per state, until the descriptor goes. Throws std::runtime_error when
// another one runs.
base::Descriptor LockState();

// Whether a service holds that place. Where this cannot be told, there is none.
bool IsServing();

// Where the service listens for browsers: noted by it, to be read by others.
struct Front {
  std::string address;
  unsigned int port = 0;
};
void NoteFront(const Front& front);  // throws std::system_error
// Of the running service; nothing when there is none, or it has noted nothing yet.
std::optional<Front> RunningFront();

// Whether the folder can be read by the effective identity; if not, errno says why.
bool CanRead(const std::string& folder);

// Says on standard error which shares this account cannot read. Throws LibKinora::db::Failure.
void WarnOfUnreadableShares();

// The secret by which `account`'s browser is signed in. Throws std::runtime_error when there is no such
// account, and LibKinora::db::Failure.
std::string MakeWelcome(const std::string& account, const system::Settings& settings);

}  // namespace kinora::cli
