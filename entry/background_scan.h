// A scan of the shares that outlives the request which asked for it.
#pragma once

namespace kinora::entry {

// Starts `kinora scan` on its own, under the service's account, holding nothing of this request: neither the
// connection nor any other descriptor, so that the answer can end. false, with a line in the log, when it
// cannot be started.
bool StartBackgroundScan();

}  // namespace kinora::entry
