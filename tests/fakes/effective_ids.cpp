#include "tests/fakes/effective_ids.h"

#include <unistd.h>

#include <cerrno>

#include "tests/fakes/script.h"

namespace kinora::fakes {
namespace {

int Switch(const char* operation, unsigned int real, unsigned int effective, unsigned int saved,
           unsigned int& current) {
  Called(operation, static_cast<int>(real), static_cast<int>(effective), static_cast<int>(saved));
  EffectiveIds& ids = TheIds();
  if (ids.failing_calls.count(++ids.calls) != 0) {
    errno = EPERM;
    return -1;
  }
  current = effective;
  return 0;
}

}  // namespace

EffectiveIds& TheIds() {
  static EffectiveIds ids;
  return ids;
}

}  // namespace kinora::fakes

// Found before the C library's own by everything in the program.
extern "C" {

__attribute__((visibility("default"))) uid_t geteuid() noexcept { return kinora::fakes::TheIds().uid; }
__attribute__((visibility("default"))) gid_t getegid() noexcept { return kinora::fakes::TheIds().gid; }

__attribute__((visibility("default"))) int setresuid(uid_t real, uid_t effective, uid_t saved) noexcept {
  return kinora::fakes::Switch("setresuid", real, effective, saved, kinora::fakes::TheIds().uid);
}
__attribute__((visibility("default"))) int setresgid(gid_t real, gid_t effective, gid_t saved) noexcept {
  return kinora::fakes::Switch("setresgid", real, effective, saved, kinora::fakes::TheIds().gid);
}
}
