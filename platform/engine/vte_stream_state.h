// What an object that stands for a stream remembers: its name, and why it failed last.
#pragma once

#include <optional>
#include <string>

#include "contract/engine/vte_stream.h"
#include "platform/engine/refusal.h"

namespace LibCrvnVTE {

struct VTEStream::State {
  std::string stream_id;
  std::string type;   // "HLS", "SS" or "WEBM"
  std::string error;  // a keyword of GetErrorString

  // Whether the stream is open; why it is not is remembered, and told to the log.
  bool IsOpen(const std::optional<kinora::engine::Refusal>& refusal);
};

}  // namespace LibCrvnVTE
