// The film that was planned for, opened.
#pragma once

#include "platform/base/descriptor.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// Empty, with a line in the log, when it is gone or another file has its name now.
base::Descriptor OpenSource(const SourceIdentity& source);

}  // namespace kinora::engine
