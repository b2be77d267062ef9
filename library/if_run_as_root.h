// A section that runs as root where the process may be that. Whoever opens it asks whether it is one; nothing
// is thrown.
#pragma once

#include "library/effective_identity.h"

namespace crvnkn::webapi {

// From construction to destruction. The identity is that of the process as a whole: for one thread only.
class IfRunAsRoot {
 public:
  // `unit` and `line` stand in front of what is logged.
  IfRunAsRoot(const char* unit, int line) noexcept;
  ~IfRunAsRoot();
  IfRunAsRoot(const IfRunAsRoot&) = delete;
  IfRunAsRoot& operator=(const IfRunAsRoot&) = delete;

  // false, with a line in the log, when the process could not become root: the section's work is not to be
  // done then.
  explicit operator bool() const noexcept { return entered_; }

 private:
  bool Enter() const noexcept;
  bool Leave() const noexcept;

  const char* const unit_;
  const int line_;
  const EffectiveIdentity remembered_;
  const bool entered_;
};

}  // namespace crvnkn::webapi
