#include "library/subtitle/ownership.h"

#include <unistd.h>

namespace crvnkn::webapi::subtitle {

bool IsOurs(uid_t uid) {
  uid_t real = 0;
  uid_t effective = 0;
  uid_t saved = 0;
  ::getresuid(&real, &effective, &saved);
  return uid == real || uid == effective || uid == saved;
}

}  // namespace crvnkn::webapi::subtitle
