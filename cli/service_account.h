// Started by root for another account, the service's own places are given to that account.
#pragma once

#include "platform/system/settings.h"

namespace kinora::cli {

// Takes on the service's identity and gives its account what is the service's own: /tmp/Kinora, var, and the
// folder of streams on each volume. What lies in them is given away without following links, and no file that
// bears a second name. Nothing but the identity where the process is not root or no account is set. Throws
// std::runtime_error, in words for people, when a place is somebody else's or cannot be used, and
// std::system_error as system::EnterServiceIdentity does.
void WorkAsServiceAccount(const system::Settings& settings);

}  // namespace kinora::cli
