#include "helpers/job/pace.h"

#include <algorithm>
#include <numeric>

namespace kinora::helper {
namespace {

uint64_t Total(const std::vector<Kept>& kept) {
  return std::accumulate(kept.begin(), kept.end(), uint64_t{0},
                         [](uint64_t sum, const Kept& fragment) { return sum + fragment.size; });
}

// The next fragment may be as large as the largest so far.
uint64_t Room(const std::vector<Kept>& kept) {
  uint64_t largest = 0;
  for (const Kept& fragment : kept) largest = std::max(largest, fragment.size);
  return largest;
}

// How much film there is beyond what the viewer has asked for.
int64_t Lead(const Run& run, const Progress& progress) {
  const auto time = [&run](int fragment) {
    return run.times.at(static_cast<size_t>(std::clamp(fragment, run.first, run.last + 1) - run.first));
  };
  return time(progress.newest + 1) - time(progress.wanted + 1);
}

// The furthest from the viewer is the largest number; 0: it stays.
int Distance(const Kept& fragment, const Progress& progress) {
  return fragment.number < progress.wanted ? progress.wanted - fragment.number
                                           : fragment.number - progress.newest;
}

bool MayGo(const Kept& fragment, const Progress& progress) {
  const int from = progress.wanted - 1;
  const int to = std::max(progress.wanted + 1, progress.newest);
  return fragment.number < from || fragment.number > to;
}

}  // namespace

bool MayRun(const Run& run, const Progress& progress, const Limits& limits, const std::vector<Kept>& kept) {
  if (progress.wanted > run.last) return progress.waited_for;
  if (progress.newest <= progress.wanted) return true;
  const int64_t lead = progress.stopped ? limits.run_ahead_ms / 4 * 3 : limits.run_ahead_ms;
  return Lead(run, progress) < lead && Total(kept) + Room(kept) <= limits.quota;
}

bool HangWatch::Hangs(int64_t now_ms, uint64_t written, bool may_run) {
  if (!may_run || written != written_) since_ms_ = now_ms;
  written_ = written;
  return now_ms - since_ms_ >= patience_ms_;
}

std::vector<std::string> ToDrop(const Progress& progress, const Limits& limits, std::vector<Kept> kept) {
  uint64_t total = Total(kept) + Room(kept);
  std::erase_if(kept, [&](const Kept& fragment) { return !MayGo(fragment, progress); });
  std::sort(kept.begin(), kept.end(), [&](const Kept& a, const Kept& b) {
    const bool a_behind = a.number < progress.wanted;
    const bool b_behind = b.number < progress.wanted;
    if (a_behind != b_behind) return a_behind;
    return Distance(a, progress) > Distance(b, progress);
  });
  std::vector<std::string> names;
  for (const Kept& fragment : kept) {
    if (total <= limits.quota) break;
    total -= fragment.size;
    names.push_back(fragment.name);
  }
  return names;
}

}  // namespace kinora::helper
