#include "platform/media/scanner.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <map>
#include <vector>

#include "platform/base/file_time.h"
#include "platform/base/log.h"
#include "platform/media/catalog_writer.h"
#include "platform/media/content_marks.h"
#include "platform/media/look_pool.h"
#include "platform/media/scan_plan.h"
#include "platform/media/scan_progress.h"

namespace kinora::media {
namespace {

constexpr char kUnit[] = "media/scanner";
using Clock = std::chrono::steady_clock;

// What a killed scan has to do again at most.
constexpr size_t kBatch = 64;
constexpr auto kBatchTime = std::chrono::milliseconds(500);

// Gone for certain: what cannot be asked is not.
bool IsGone(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return errno == ENOENT || errno == ENOTDIR;
  return !S_ISREG(info.st_mode);
}

class ScanRun {
 public:
  ScanRun(Store& store, const LookFunction& look, const ProgressFunction& report)
      : store_(store), look_(look), reporter_(report) {}

  ScanProgress Run() {
    progress_.running = true;
    reporter_.TellLast(progress_);
    const int64_t before = base::NowInNanoseconds();
    WalkShares();
    plan_ = PlanScan(store_.Do(ReadKnownFiles), shares_, before);
    progress_.refused = plan_.refused;
    progress_.waiting = plan_.waiting;
    FollowMoves();
    Remove();
    Look();
    progress_.running = false;
    progress_.current.clear();
    reporter_.TellLast(progress_);
    return progress_;
  }

 private:
  void WalkShares() {
    shares_ = store_.Do(ReadSharesToWalk);
    for (WalkedShare& share : shares_) {
      const int64_t before = progress_.found;
      share.walk = WalkFolder(share.share.path, [&](int64_t found) {
        progress_.found = before + found;
        reporter_.Tell(progress_);
      });
      if (!IsWithinReach(share)) {
        base::Log(LOG_WARNING, kUnit,
                  "the share " + share.share.name + " is out of reach: its videos are kept");
      } else if (share.was_mounted != share.walk.mounted) {
        store_.Change([&](soci::session& sql) { WriteMounted(sql, share); });
      }
    }
  }

  // A new file with the size and the marks of a vanished one is that one; where several fit, the one with the
  // same inode.
  void FollowMoves() {
    std::multimap<int64_t, KnownPath*> by_size;
    for (KnownPath& gone : plan_.vanished) {
      if (gone.file.id != 0) by_size.emplace(gone.file.size, &gone);
    }
    const auto moved = [&](const ScanTask& task) {
      if (task.id != 0 || !by_size.contains(task.found.size)) return false;
      const std::string marks = ContentMarks(task.path);
      if (marks.empty()) return false;
      auto [first, last] = by_size.equal_range(task.found.size);
      auto match = last;
      for (auto at = first; at != last; ++at) {
        if (at->second->file.marks != marks || !IsGone(at->second->path)) continue;
        if (match == last || at->second->file.inode == task.found.inode) match = at;
      }
      if (match == last) return false;
      store_.Change([&](soci::session& sql) { WriteMove(sql, task, match->second->file.id); });
      match->second->path.clear();  // it has not vanished
      by_size.erase(match);
      ++progress_.moved;
      reporter_.Tell(progress_);
      return true;
    };
    std::erase_if(plan_.to_look_at, moved);
    std::erase_if(plan_.vanished, [](const KnownPath& gone) { return gone.path.empty(); });
  }

  void Remove() {
    std::erase_if(plan_.vanished, [](const KnownPath& gone) { return !IsGone(gone.path); });
    for (size_t begin = 0; begin < plan_.vanished.size(); begin += kBatch) {
      const size_t end = std::min(begin + kBatch, plan_.vanished.size());
      store_.Change([&](soci::session& sql) {
        for (size_t i = begin; i < end; ++i) WriteRemoval(sql, plan_.vanished[i]);
      });
      for (size_t i = begin; i < end; ++i) progress_.removed += plan_.vanished[i].file.id != 0 ? 1 : 0;
      reporter_.Tell(progress_);
    }
  }

  void Look() {
    progress_.to_look_at = static_cast<int64_t>(plan_.to_look_at.size());
    Clock::time_point written = Clock::now();
    LookAtAll(plan_.to_look_at, look_, [&](Looked looked) {
      ++progress_.looked_at;
      progress_.current = looked.task->path;
      batch_.push_back(std::move(looked));
      if (batch_.size() >= kBatch || Clock::now() - written >= kBatchTime) {
        WriteBatch();
        written = Clock::now();
      }
      reporter_.Tell(progress_);
    });
    WriteBatch();
  }

  void WriteBatch() {
    if (batch_.empty()) return;
    const int64_t now = std::time(nullptr);
    store_.Change([&](soci::session& sql) {
      for (const Looked& looked : batch_) Write(sql, looked, now);
    });
    for (const Looked& looked : batch_) Count(looked);
    batch_.clear();
  }

  static bool Waits(const Looked& looked) {
    return !looked.settled || looked.result.kind == LookResult::Kind::kUnreadable;
  }

  static void Write(soci::session& sql, const Looked& looked, int64_t now) {
    if (Waits(looked)) return;
    if (looked.result.kind == LookResult::Kind::kVideo) {
      WriteVideo(sql, *looked.task, looked.result.facts, looked.marks, now);
    } else {
      WriteRefused(sql, *looked.task, looked.result.reason);
    }
  }

  void Count(const Looked& looked) {
    const bool known = looked.task->id != 0;
    if (Waits(looked)) {
      ++progress_.waiting;
      if (looked.settled) base::Log(LOG_INFO, kUnit, looked.task->path + ": " + looked.result.reason);
    } else if (looked.result.kind == LookResult::Kind::kVideo) {
      ++(known ? progress_.changed : progress_.added);
    } else {
      ++progress_.refused;
      if (known) ++progress_.removed;
      base::Log(LOG_INFO, kUnit, looked.task->path + " is no video: " + looked.result.reason);
    }
  }

  Store& store_;
  const LookFunction& look_;
  ScanReporter reporter_;
  ScanProgress progress_;
  std::vector<WalkedShare> shares_;
  ScanPlan plan_;
  std::vector<Looked> batch_;
};

}  // namespace

ScanProgress Scan(Store& store, const LookFunction& look, const ProgressFunction& report) {
  const ScanLock lock;
  return ScanRun(store, look, report).Run();
}

}  // namespace kinora::media
