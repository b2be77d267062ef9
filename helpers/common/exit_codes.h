// How the helpers end; the numbers are those of sysexits.h.
#pragma once

namespace kinora::helper {

inline constexpr int kDone = 0;         // the answer is on standard output, whole
inline constexpr int kUsage = 64;       // wrong arguments, or no regular file open as descriptor 3
inline constexpr int kNoMedia = 65;     // none of the formats that we take, or (picture) nothing to be shown
inline constexpr int kUnreadable = 66;  // one of our formats, but cut off or damaged, or the disk fails
inline constexpr int kNoOutput = 74;    // standard output took no more
inline constexpr int kNoPower = 77;     // rights could not be given up; nothing was read

}  // namespace kinora::helper
