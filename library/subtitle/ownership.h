// Whose files may be trusted.
#pragma once

#include <sys/types.h>

namespace crvnkn::webapi::subtitle {

// Whether the user is root or the service's account, as far as this process is one of them.
bool IsOurs(uid_t uid);

}  // namespace crvnkn::webapi::subtitle
