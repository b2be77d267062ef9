// What requests read and write in a stream's work folder about its job.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/engine/job_policy.h"
#include "platform/engine/job_record.h"
#include "platform/engine/stream_folder.h"

namespace kinora::engine {

// The name of main fragment `number` in the work folder, with its folder.
std::string FragmentPath(const StreamFolder& folder, int number);
bool HasFragment(const StreamFolder& folder, int number);
// The numbers of the main fragments that are there, growing.
std::vector<int> PresentFragments(const StreamFolder& folder);

// Notes which fragment is asked for. Throws std::system_error.
void NoteWanted(const StreamFolder& folder, int number);
// Since that was last noted, by the machine's clock. 0 when it never was.
int64_t IdleMilliseconds(const StreamFolder& folder);

// As long as what it gives is open, somebody waits for a fragment that the job at work is making.
base::Descriptor WaitForJob(const StreamFolder& folder);
bool IsJobWaitedFor(const StreamFolder& folder);

bool IsJobRunning(const StreamFolder& folder);
std::optional<JobRecord> ReadJobRecord(const StreamFolder& folder);
std::optional<LastJob> ReadLastJob(const StreamFolder& folder);
// Removes the folders in which encoders write; a job whose own is gone ends.
void DropRuns(const StreamFolder& folder);
// Throws std::system_error.
void WriteJobRecord(const StreamFolder& folder, const JobRecord& record);

}  // namespace kinora::engine
