// The encoder of a stream: one ffmpeg process, started, stopped, continued and ended as the requests for
// fragments demand.
//
// A request takes the stream's lock, notes the fragment that it wants, and, when no job is going to make it
// soon, starts one; then it waits for the file. The job is held by a small supervisor, libexec/kinora-job,
// which has a session of its own, no rights, and the lock work/job.lock as long as it lives: who can take
// that lock knows that nobody encodes, whatever work/job.json says. It is ffmpeg's parent, reads "wanted",
// stops ffmpeg (SIGSTOP) when it is far enough ahead, continues it, drops fragments far behind the viewer
// when the quota is met, and ends ffmpeg and itself when nobody has asked for so long, or the folder is gone.
#pragma once

#include <optional>
#include <string>

#include "platform/engine/fragment_outcome.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// Makes main fragment `number` of a plan whose video is encoded (it is one of the grid), and waits for it.
FragmentOutcome PrepareByJob(const StreamFolder& folder, const StreamPlan& plan, int number);

// Ends the stream's job, if there is one, and waits until it is gone. false when it would not go.
bool EndJob(const StreamFolder& folder);

// What the folder says of the job.
struct JobState {
  bool running = false;  // somebody holds the job's lock
  int pid = 0;           // of the encoder; 0: not known
  bool stopped = false;  // it waits for the viewer
  int first = 0;         // the fragment that it started with
  int newest = -1;       // the last one that is whole
};
JobState LookAtJob(const StreamFolder& folder);

// How many jobs are at work in all, on this machine, whatever the type of their streams.
int CountJobs();

}  // namespace kinora::engine
