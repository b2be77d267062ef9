#include "library/effective_identity.h"

#include <unistd.h>

namespace crvnkn::webapi {
namespace {

constexpr uid_t kSameUser = static_cast<uid_t>(-1);
constexpr gid_t kSameGroup = static_cast<gid_t>(-1);

}  // namespace

EffectiveIdentity CurrentIdentity() noexcept { return {::geteuid(), ::getegid()}; }

bool SetEffectiveUser(uid_t uid) noexcept { return ::setresuid(kSameUser, uid, kSameUser) == 0; }

bool SetEffectiveGroup(gid_t gid) noexcept { return ::setresgid(kSameGroup, gid, kSameGroup) == 0; }

}  // namespace crvnkn::webapi
