// Reading a film as a whole for its index, in the background: it takes a second and more for a gigabyte, and
// whoever opens the film is not to wait for that.
#pragma once

#include <cstddef>
#include <string>

#include "platform/base/descriptor.h"

namespace kinora::engine {

inline constexpr size_t kLongestIndex = size_t{64} << 20;  // bytes
inline constexpr char kScanSuffix[] = ".scan";
// Beside the file that is written; the scan holds it, however it ends.
inline constexpr char kScanLock[] = "scan.lock";

// Whether a scan is at work in the folder of `file`, for this file or an earlier state of the film.
bool IsScanRunning(const std::string& file);

// Starts one unless it is at work, which writes into `file`: that begins with a zero byte until it is whole.
// To be called under the folder's lock. What goes wrong is a line in the log: the next one tries again.
void StartScan(const base::Descriptor& film, const std::string& file);

}  // namespace kinora::engine
