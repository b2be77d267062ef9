#include "platform/media/look_pool.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/base/file_time.h"
#include "platform/media/content_marks.h"

namespace kinora::media {
namespace {

bool IsStillTheSame(const ScanTask& task) {
  struct stat info {};
  if (::lstat(task.path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  const int64_t modified = base::NanosecondsOf(info.st_mtim);
  return info.st_size == task.found.size && modified == task.found.modified_ns &&
         static_cast<int64_t>(info.st_ino) == task.found.inode;
}

Looked LookAtOne(const ScanTask& task, const LookFunction& look) {
  Looked looked;
  looked.task = &task;
  if (!IsStillTheSame(task)) return looked;
  try {
    looked.result = look(task.path);
    if (looked.result.kind == LookResult::Kind::kVideo) looked.marks = ContentMarks(task.path);
  } catch (const std::exception& error) {  // one file shall not end the scan of the others
    looked.result.reason = error.what();
  }
  looked.settled = IsStillTheSame(task);
  return looked;
}

// What the threads hand over to the one that waits.
class Outcomes {
 public:
  void Put(Looked looked) {
    {
      const std::lock_guard lock(mutex_);
      queue_.push_back(std::move(looked));
    }
    filled_.notify_one();
  }
  Looked Take() {
    std::unique_lock lock(mutex_);
    filled_.wait(lock, [this] { return !queue_.empty(); });
    Looked looked = std::move(queue_.front());
    queue_.pop_front();
    return looked;
  }

 private:
  std::mutex mutex_;
  std::condition_variable filled_;
  std::deque<Looked> queue_;
};

}  // namespace

void LookAtAll(const std::vector<ScanTask>& tasks, const LookFunction& look,
               const std::function<void(Looked)>& take) {
  Outcomes outcomes;
  std::atomic<size_t> next{0};
  const auto work = [&](const std::stop_token& stop) {
    for (size_t i = 0; !stop.stop_requested() && (i = next.fetch_add(1)) < tasks.size();) {
      outcomes.Put(LookAtOne(tasks[i], look));
    }
  };
  const size_t cores = std::max(1U, std::thread::hardware_concurrency());
  std::vector<std::jthread> threads;  // asked to stop and joined on the way out
  for (size_t i = 0; i < std::min(cores, tasks.size()); ++i) threads.emplace_back(work);
  for (size_t i = 0; i < tasks.size(); ++i) take(outcomes.Take());
}

}  // namespace kinora::media
