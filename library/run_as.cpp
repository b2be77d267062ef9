#include "library/run_as.h"

#include <string>

#include "library/log.h"

namespace crvnkn::webapi {
namespace {

constexpr char kName[] = "RUN_AS";
constexpr uid_t kRoot = 0;
constexpr uid_t kNoUser = static_cast<uid_t>(-1);
constexpr gid_t kNoGroup = static_cast<gid_t>(-1);

std::string NameOf(const EffectiveIdentity& target) {
  return std::string(kName) + "(" + std::to_string(target.uid) + ", " + std::to_string(target.gid) + ")";
}

}  // namespace

RunAs::RunAs(const char* unit, int line, uid_t uid, gid_t gid)
    : unit_(unit), line_(line), saved_(CurrentIdentity()) {
  const EffectiveIdentity target{uid, gid};
  if (Enter(target)) return;
  const std::string name = NameOf(target);
  WriteLogLine(LOG_AUTH | LOG_ERR, unit_, line_, "ERROR: %s", name.c_str());
  Leave();
  throw runas_error(name);
}

RunAs::~RunAs() { Leave(); }

// Only root may change the group, so the way to any identity leads through root. Stops at what is refused.
bool RunAs::Enter(const EffectiveIdentity& target) const noexcept {
  const bool other_user = saved_.uid != target.uid;
  const bool other_group = saved_.gid != target.gid;
  if (!other_user && !other_group) return true;
  return (saved_.uid == kRoot || SetEffectiveUser(kRoot)) &&
         (!other_group || SetEffectiveGroup(target.gid)) && (!other_user || SetEffectiveUser(target.uid));
}

// What is refused keeps nothing else back: the less of the other identity stays, the better.
void RunAs::Leave() const noexcept {
  const EffectiveIdentity now = CurrentIdentity();
  const bool other_user = now.uid != saved_.uid;
  const bool other_group = now.gid != saved_.gid;
  bool done = true;
  if (other_user && now.uid != kRoot) done = SetEffectiveUser(kRoot);
  if (other_group && saved_.gid != kNoGroup) done = SetEffectiveGroup(saved_.gid) && done;
  if (other_user && saved_.uid != kNoUser) done = SetEffectiveUser(saved_.uid) && done;
  if (done) return;
  WriteLogLine(LOG_AUTH | LOG_CRIT, unit_, line_, "ERROR: ~%s(%d, %d)", kName, static_cast<int>(saved_.uid),
               static_cast<int>(saved_.gid));
}

}  // namespace crvnkn::webapi
