// A section of the process under another identity. Who cannot enter it gets runas_error.
#pragma once

#include "library/effective_identity.h"
#include "library/runas_error.h"

namespace crvnkn::webapi {

// From construction to destruction. The identity is that of the process as a whole: for one thread only.
class RunAs {
 public:
  // `unit` and `line` stand in front of what is logged. Throws runas_error, with a line in the log, when a
  // step of the change is refused; whatever was changed by then is put back.
  RunAs(const char* unit, int line, uid_t uid, gid_t gid);
  // Puts back whatever of it is possible; a line in the log says that not all was.
  ~RunAs();
  RunAs(const RunAs&) = delete;
  RunAs& operator=(const RunAs&) = delete;

 private:
  bool Enter(const EffectiveIdentity& target) const noexcept;
  void Leave() const noexcept;

  const char* const unit_;
  const int line_;
  const EffectiveIdentity saved_;
};

}  // namespace crvnkn::webapi

// Until the end of the block.
#define RUN_AS(unit, uid, gid) const ::crvnkn::webapi::RunAs run_as_scope(unit, __LINE__, uid, gid)
