// Whose rights the process has at the moment. What sections with other rights are made of.
#pragma once

#include <sys/types.h>

namespace crvnkn::webapi {

struct EffectiveIdentity {
  uid_t uid = 0;
  gid_t gid = 0;
};

EffectiveIdentity CurrentIdentity() noexcept;

// Real and saved ids stay, so there is a way back. false, with errno, when it is not allowed.
bool SetEffectiveUser(uid_t uid) noexcept;
bool SetEffectiveGroup(gid_t gid) noexcept;

}  // namespace crvnkn::webapi
