#include "library/if_run_as_root.h"

#include "library/log.h"

namespace crvnkn::webapi {
namespace {

constexpr char kName[] = "IF_RUN_AS";
constexpr EffectiveIdentity kRoot{0, 0};

}  // namespace

IfRunAsRoot::IfRunAsRoot(const char* unit, int line) noexcept
    : unit_(unit), line_(line), remembered_(CurrentIdentity()), entered_(Enter()) {
  if (entered_) return;
  WriteLogLine(LOG_AUTHPRIV | LOG_ERR, unit_, line_, "ERROR: %s(%d, %d)", kName, static_cast<int>(kRoot.uid),
               static_cast<int>(kRoot.gid));
}

IfRunAsRoot::~IfRunAsRoot() {
  if (Leave()) return;
  WriteLogLine(LOG_AUTHPRIV | LOG_CRIT, unit_, line_, "ERROR: ~%s(%d, %d)", kName,
               static_cast<int>(remembered_.uid), static_cast<int>(remembered_.gid));
}

bool IfRunAsRoot::Enter() const noexcept {
  return (remembered_.uid == kRoot.uid || SetEffectiveUser(kRoot.uid)) &&
         (remembered_.gid == kRoot.gid || SetEffectiveGroup(kRoot.gid));
}

// Whatever of it is possible. The group goes back without root's rights, since it is the saved one.
bool IfRunAsRoot::Leave() const noexcept {
  const EffectiveIdentity now = CurrentIdentity();
  const bool user_is_back = now.uid == remembered_.uid || SetEffectiveUser(remembered_.uid);
  const bool group_is_back = now.gid == remembered_.gid || SetEffectiveGroup(remembered_.gid);
  return user_is_back && group_is_back;
}

}  // namespace crvnkn::webapi
