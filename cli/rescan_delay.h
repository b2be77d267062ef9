// When to scan again although no change was noticed.
#pragma once

#include <chrono>

namespace kinora::cli {

// After `attempts` scans that ended with files still waiting (0: none waits), and with or without a gap in
// the watch. Files that wait are tried soon at first and ever less often; without a gap a scan an hour
// remains, for file systems of other machines that report no changes.
std::chrono::seconds RescanDelay(int attempts, bool gap);

}  // namespace kinora::cli
