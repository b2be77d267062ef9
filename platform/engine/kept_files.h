// What a stream keeps of files that can be made again: a few, those that were wanted last. Who does not find
// a file any more when he opens it asks again.
#pragma once

#include <cstdint>
#include <string>

namespace kinora::engine {

// Of one kind of files in a stream's work folder.
struct KeptKind {
  const char* extension;  // ".ts"
  size_t most = 0;        // files
  size_t least = 0;       // whatever their size
};

// The files that were wanted longest ago go, so that one more has its place under the quota (bytes): it may
// be as large as the largest so far, or as `planned`. One that is being read can go, its reader has it open.
// What writers that were killed have left (scratch_file.h) goes, too.
void MakeRoom(const std::string& folder, const KeptKind& kind, uint64_t planned, uint64_t quota);

// Counts as wanted just now. false when it is not there.
bool Touch(const std::string& path);

}  // namespace kinora::engine
