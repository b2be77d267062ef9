// What an object that stands for a stream remembers: its name, and why it failed last.
#pragma once

#include <string>

#include "contract/engine/vte_stream.h"

namespace LibCrvnVTE {

struct VTEStream::State {
  std::string stream_id;
  std::string type;   // "HLS", "SS" or "WEBM"
  std::string error;  // a keyword of GetErrorString
};

}  // namespace LibCrvnVTE
