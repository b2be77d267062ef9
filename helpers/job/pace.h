// What the encoder may do and which fragments may go: decided from what is there, nothing is done here.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kinora::helper {

struct Limits {
  int64_t run_ahead_ms = 0;  // of film, between what the viewer has asked for and what is there
  uint64_t quota = 0;        // bytes of all fragments of the stream
};

// The fragments that this run makes: `times` are the milliseconds of film at which first, first + 1, ...,
// last and last + 1 start.
struct Run {
  int first = 0;
  int last = 0;
  std::vector<int64_t> times;
};

struct Progress {
  int newest = -1;          // the last one of this run that is there; first - 1: none yet
  int wanted = -1;          // what the viewer has asked for last
  bool stopped = false;     // it waits for the viewer
  bool waited_for = false;  // a request waits for a fragment of this run
};

// A fragment of the stream on disk, of the picture or of a sound track, from whatever run.
struct Kept {
  std::string name;
  int number = 0;
  uint64_t size = 0;  // bytes
};

// Whether the encoder may go on. It always may up to the fragment behind the wanted one; once stopped it
// waits until the viewer has used up a quarter of the lead. When the viewer has gone beyond the run, it goes
// on for those alone who wait for it: his turn comes then.
bool MayRun(const Run& run, const Progress& progress, const Limits& limits, const std::vector<Kept>& kept);

// Notices an encoder that may run and writes nothing. Times are milliseconds of any clock that does not jump.
class HangWatch {
 public:
  HangWatch(int64_t patience_ms, int64_t now_ms) : patience_ms_(patience_ms), since_ms_(now_ms) {}

  // `written`: bytes that it has written and that are not published yet. true when that has been the same for
  // too long; publishing makes them less, which is a change as well.
  bool Hangs(int64_t now_ms, uint64_t written, bool may_run);

 private:
  int64_t patience_ms_;
  int64_t since_ms_;
  uint64_t written_ = 0;
};

// What has to go so that one more fragment has room: those behind the viewer, the furthest first, then those
// beyond this run's newest, the furthest first. Never the wanted one, its neighbours or what lies between it
// and the newest.
std::vector<std::string> ToDrop(const Progress& progress, const Limits& limits, std::vector<Kept> kept);

}  // namespace kinora::helper
