// What a request for a fragment does about the stream's job: decided from what is known, nothing is done
// here.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/engine/encode_arguments.h"
#include "platform/engine/job_record.h"
#include "platform/system/settings.h"

namespace kinora::engine {

// Whether the job at work makes the missing fragment `number` sooner than a new one would.
bool Covers(const JobRecord& job, int number);

// The run that starts at the missing fragment `number`: up to the next one that is there (`present`,
// growing), to the film's end, or as long as its arguments may be. `count`: fragments of the film.
EncoderRun RunFrom(int number, int count, const std::vector<int>& present, bool hardware);

// The job that was at work last, when none is.
struct LastJob {
  JobRecord record;
  int64_t age_ms = 0;  // since it last wrote its record; negative when the clock jumped
};

// What to do at a missing fragment while nobody encodes.
struct Start {
  enum class Kind {
    kGo,
    kGoInSoftware,  // from now on: the hardware has failed
    kGiveUp,        // it has failed there again and again just now
    kNoSpace,
  };
  Kind kind = Kind::kGo;
  int tries = 1;  // which try at this fragment it will be

  bool operator==(const Start&) const = default;
};
Start DecideStart(const std::optional<LastJob>& last, int number);

// Another stream's job.
struct OtherJob {
  std::string stream_id;
  int64_t idle_ms = 0;  // since its viewer asked for anything; negative when the clock jumped
  uint64_t open = 0;    // bytes that it may still fill

  bool operator==(const OtherJob&) const = default;
};

// Whether a new job may start beside these; and which one has to end first.
struct Admission {
  bool admitted = false;
  std::string ends;  // a stream's id; empty: none

  bool operator==(const Admission&) const = default;
};
Admission Admit(const std::vector<OtherJob>& others, unsigned int most);

// What a new job may fill so that all streams together keep to their quota: its share of what neither lies
// there (`taken`, bytes of the other streams) nor is left open to the jobs at work, and no more than a stream
// may have.
uint64_t QuotaBeside(const std::vector<OtherJob>& others, uint64_t taken, const system::Settings& settings);

}  // namespace kinora::engine
