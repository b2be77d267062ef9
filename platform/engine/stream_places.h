// Looking through the places of streams without trusting what lies there: every step is taken relative to the
// one before, through no link, and only into folders of this account.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "platform/base/descriptor.h"

namespace kinora::engine {

inline constexpr char kStreamWorkFolder[] = "work";
inline constexpr char kRunPrefix[] = "run-";  // of the folders in it, one for each encoder (helpers/job)

// Empty when it is not there, is no folder, or belongs to another account.
base::Descriptor OpenOwnFolder(int parent, const std::string& name);
// The work folder of a stream, which belongs to whoever children are.
base::Descriptor OpenWorkFolder(int stream);

// Whether somebody holds the lock (flock) on the file.
bool IsHeld(int folder, const char* name);
// Whether a job is at work there.
bool HasJob(int work_folder);

// When a stream was last used, in nanoseconds since the epoch: the latest date of what its folder holds. Of a
// raw one also when its path was read, for it bears no mark of use.
int64_t LastUse(int stream, const std::string& type);

// The streams of one type as the workspace names them.
struct StreamLinks {
  base::Descriptor folder;                     // empty: there are none
  std::map<std::string, std::string> targets;  // by id; links of this account only
};
StreamLinks ReadStreamLinks(const std::string& type);

}  // namespace kinora::engine
