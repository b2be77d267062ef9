// The jobs of all streams, of whatever type, and room for one more. To be asked while one holds the admission
// lock (job_lock.h).
#pragma once

#include <string>
#include <vector>

#include "platform/engine/job_policy.h"

namespace kinora::engine {

// The jobs at work but for that of the stream `stream_id`.
std::vector<OtherJob> OtherJobs(const std::string& stream_id);

// Ends an idle one of them where that is what it takes. false, with a line in the log: no more than `most`
// may be at work.
bool MakePlace(std::vector<OtherJob>& others, unsigned int most);

}  // namespace kinora::engine
