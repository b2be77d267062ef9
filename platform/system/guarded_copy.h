// Copying one file to where other people may write, too.
#pragma once

#include <string>

namespace kinora::system {

// Copies the plain file `source` to `target`, which is replaced, whatever lies there but a folder, when the
// copy is whole and on the disk, and not touched before. Both are absolute names that end in one. No link is
// followed at the source, at the target, or at the last two folders of the target's path. The work is done by
// cp, as the owner of the target's folder (RightsOfOwner); the copy has the mode 0644. 0 when it is there,
// cp's exit status when that is another one, a negative number when there is no copy for another reason, with
// a line in the log. What a killed copy has left in the folder goes with a later one.
int CopyFile(const std::string& source, const std::string& target);

}  // namespace kinora::system
