// What ffmpeg must not be given. It tells formats by the content, whatever a file's name is, and some of them
// are lists of other files and of addresses: HLS and DASH playlists, ffconcat, the composition playlists of
// IMF, SDP, VobSub's index. With these in hand it would read what the owner of the film may not.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kinora::system {

// Whether a file that begins with these bytes (as many as ffmpeg looks at, or all there are) may make it open
// others.
bool MayNameOtherFiles(std::string_view beginning);

// Whether each input on ffmpeg's command line (the arguments after "-i") is an absolute path to a plain file
// that names no others; with a line in the log when not. Other programs' command lines pass.
bool ReadsOneFile(const std::vector<std::string>& command);

}  // namespace kinora::system
