// Live WebM.
#pragma once

#include <string>

#include "library/vte/streamer.h"

namespace crvnkn::webapi::vte {

// Serves the film from the seek time on, as one body that is made while it goes out.
class KINORA_EXPORT WEBM : public Streamer {
 public:
  explicit WEBM(const std::string& stream_id);
  ~WEBM() override;

  void SetSeekTime(unsigned long seconds) override;

 protected:
  // Writes straight to descriptor 1 whatever there is of the body, in pieces of at most 1024 bytes, and
  // blocks for as long as the film plays. SIGPIPE must be ignored by the process: a client that goes away is
  // noticed by the failed write, and what makes the body is then ended. false, with nothing written, only
  // when the body could not be started; once the header is out the answer counts as served.
  bool StreamImp() const override;
  bool CloseImp() const override;

 private:
  unsigned long seek_time_ = 0;  // seconds
};

}  // namespace crvnkn::webapi::vte
