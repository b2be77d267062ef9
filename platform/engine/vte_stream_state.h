// What an object that stands for a stream remembers: its name, why it failed last, and what it has started.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "contract/engine/vte_stream.h"
#include "platform/engine/refusal.h"

namespace kinora::engine {
class LiveEncoder;
}  // namespace kinora::engine

namespace LibCrvnVTE {

struct VTEStream::State {
  std::string stream_id;
  std::string type;                                      // "HLS", "SS" or "WEBM"
  std::string error;                                     // a keyword of GetErrorString
  std::shared_ptr<kinora::engine::LiveEncoder> encoder;  // of a direct stream's body

  // Whether the stream is open; why it is not is remembered, and told to the log.
  bool IsOpen(const std::optional<kinora::engine::Refusal>& refusal);
};

}  // namespace LibCrvnVTE
