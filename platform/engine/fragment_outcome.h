// What came of a request for a fragment.
#pragma once

#include <system_error>

namespace kinora::engine {

enum class FragmentOutcome {
  kReady,    // the file is there, whole
  kNoJob,    // as many jobs as the settings allow are at work
  kNoSpace,  // the volume has no space left
  kGone,     // the source, or the stream, is gone or is another file now
  kFailed,   // the encoder failed there, also when it was tried again
};

// Of what the system refused while the fragment was made. What is missing then is the stream's folder.
FragmentOutcome OutcomeOf(const std::system_error& error);

}  // namespace kinora::engine
