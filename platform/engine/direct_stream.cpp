#include "contract/engine/direct_stream.h"

#include "platform/engine/job_end.h"
#include "platform/engine/live_encoder.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_opening.h"
#include "platform/engine/vte_stream_state.h"

namespace LibCrvnVTE {

namespace engine = kinora::engine;

int DirectStream::Read(char* buffer, unsigned int size) {
  return state_->encoder ? state_->encoder->Read(buffer, size) : -1;
}

void DirectStream::KillMonitor() const {
  if (state_->encoder) state_->encoder->End();
}

bool DirectStream::Close() const {
  const auto folder = engine::StreamFolder::Open(state_->type, state_->stream_id);
  if (folder) {
    // Who starts an encoder holds this too, so none comes up behind our back.
    const kinora::base::Descriptor deciding = folder->Lock();
    folder->Withdraw(engine::kPlanFile);
    engine::EndRunningJob(*folder);
  }
  return engine::RemoveStream(state_->type, state_->stream_id);
}

}  // namespace LibCrvnVTE
