#include "helpers/common/rights.h"

#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace kinora::helper {
namespace {

constexpr uid_t kNobody = 65534;

using CapabilitySets = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

bool HasCapabilities() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  CapabilitySets sets{};
  if (::syscall(SYS_capget, &header, sets.data()) != 0) return true;
  for (const auto& set : sets) {
    if ((set.effective | set.permitted | set.inheritable) != 0) return true;
  }
  return false;
}

// In a view that knows one account only these calls fail; then the capabilities alone are what there is to
// lose.
void BecomeNobody() {
  if (::geteuid() != 0 && ::getuid() != 0) return;
  if (::setgroups(0, nullptr) != 0) return;
  if (::setresgid(kNobody, kNobody, kNobody) != 0) return;
  if (::setresuid(kNobody, kNobody, kNobody) != 0) return;
}

bool DropCapabilities() {
  for (unsigned long capability = 0; capability <= CAP_LAST_CAP; ++capability) {
    ::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0);
  }
  ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const CapabilitySets none{};
  return ::syscall(SYS_capset, &header, none.data()) == 0 && !HasCapabilities();
}

// A limit that is lower already stays.
bool Limit(int resource, rlim_t most) {
  rlimit limit{};
  if (::getrlimit(static_cast<__rlimit_resource>(resource), &limit) != 0) return false;
  if (limit.rlim_max > most) limit.rlim_max = most;
  limit.rlim_cur = limit.rlim_max;
  return ::setrlimit(static_cast<__rlimit_resource>(resource), &limit) == 0;
}

}  // namespace

std::string DropRights() {
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return "no-new-privileges cannot be set";
  if (!HasCapabilities()) return "";
  BecomeNobody();
  return DropCapabilities() ? "" : "capabilities cannot be dropped";
}

std::string GiveUpRights(uint64_t file_size, uint64_t seconds) {
  if (std::string trouble = DropRights(); !trouble.empty()) return trouble;
  // What is open stays open; nothing can be opened any more. One thread is all we have.
  const bool limited = Limit(RLIMIT_NOFILE, 0) && Limit(RLIMIT_NPROC, 0) && Limit(RLIMIT_CORE, 0) &&
                       Limit(RLIMIT_AS, rlim_t{1} << 30) && Limit(RLIMIT_CPU, seconds) &&
                       Limit(RLIMIT_FSIZE, file_size);
  return limited ? "" : std::string("limits cannot be set: ") + std::strerror(errno);
}

}  // namespace kinora::helper
