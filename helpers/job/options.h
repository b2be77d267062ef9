// What the supervisor is told.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "helpers/job/pace.h"

namespace kinora::helper {

struct JobOptions {
  Run run;
  Limits limits;
  int64_t idle_ms = 0;      // without a request, then the job ends
  int64_t patience_ms = 0;  // with an encoder that may run and writes nothing
  uint64_t floor = 0;       // bytes that stay free on the volume
  bool hardware = false;
  int tries = 1;                     // which one it is at this fragment; only recorded
  std::vector<std::string> encoder;  // program and arguments
};

// Throws std::invalid_argument, with words for people.
JobOptions ParseJobOptions(const std::vector<std::string>& arguments);

}  // namespace kinora::helper
