// Who the process is, and who its children become.
//
// A request process keeps 0 as its real ids and works under the service's account: that is what the library's
// root sections and their ways back rely on. A child is never left with such a way back.
//
// In a user namespace that maps a single id there is nobody else to become: switching is left out there, but
// children lose all capabilities all the same.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string_view>
#include <vector>

#include "platform/system/settings.h"

namespace kinora::system {

// Real ids stay, effective and saved ids and the supplementary groups become those of the configured account.
// Nothing happens when the process is not effectively root, when no account or root itself is configured, or
// where one id only is mapped. Throws std::system_error when there is no such account or the ids could not be
// set: the process must not go on then.
void EnterServiceIdentity(const Settings& settings);

// The rights of a child, decided before the fork.
struct ChildRights {
  uid_t uid = 0;
  gid_t gid = 0;
  std::optional<std::vector<gid_t>> groups;  // nothing: they stay
  bool keep_capabilities = false;
};

// Without any rights: the account that the process works or has worked under, or the configured one, or, when
// all of these are root, nobody. Nothing, with a line in the log, when there is no account to become.
std::optional<ChildRights> DroppedRights(const Settings& settings);

// The effective identity as the only one.
ChildRights CallerRights();

// What a child needs to work for the owner of a file or folder and as nobody else: the owner's identity when
// the process is effectively root, its own effective one when not, or where there is nobody else to become.
// No capabilities, even for root.
ChildRights RightsOfOwner(uid_t uid, gid_t gid);

// Effective root for as long as it lives, in a process that has root's id as its real or saved one; changes
// nothing in any other. A process that could not go back is ended.
class RootSection {
 public:
  RootSection();
  ~RootSection();
  RootSection(const RootSection&) = delete;
  RootSection& operator=(const RootSection&) = delete;

 private:
  uid_t before_;
  bool entered_ = false;
};

// Takes the rights on for good, with no way back, and verifies that. Only for a process that is about to
// execute another program; calls nothing that a child of a threaded process may not call. false, with errno,
// when anything could not be done as it should.
bool AssumeRights(const ChildRights& rights) noexcept;

// Whether a map of ids, as /proc/self/uid_map has it, holds one id alone.
bool MapsOneId(std::string_view map);

}  // namespace kinora::system
