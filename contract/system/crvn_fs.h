// Directories.
#pragma once

#include <string>

namespace libkn::critical::crvnsdk {

// Makes the directory `path` (absolute) and its missing parents. The mode (0 to 0777) counts for those that
// are made, not reduced by the umask; what exists keeps its mode. True when the directory is there
// afterwards. A part of the path that is a link or a plain file, or, below "/tmp/Kinora", one that another
// account owns, is refused, with a line in the system log: nobody else may lay out the service's places for
// it. "/tmp/Kinora" itself, and "@tmp" and "@tmp/Kinora" on a volume, are closed to others whatever `mode`
// says. What is made belongs to the service's account, in a section as root too.
bool CRVNFSMkdirPKinora(const std::string& path, unsigned int mode);

}  // namespace libkn::critical::crvnsdk
