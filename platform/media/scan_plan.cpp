#include "platform/media/scan_plan.h"

#include <algorithm>
#include <unordered_set>

namespace kinora::media {
namespace {

constexpr int64_t kSettleNs = 5'000'000'000;

bool IsSettled(const FoundFile& file, int64_t now_ns) {
  const int64_t age = now_ns - file.modified_ns;
  return age >= kSettleNs || age <= -kSettleNs;
}

bool IsUnchanged(const KnownFile& known, const FoundFile& found) {
  return known.size == found.size && known.modified_ns == found.modified_ns && known.inode == found.inode;
}

class Planner {
 public:
  Planner(const KnownFiles& known, int64_t now_ns) : known_(known), now_ns_(now_ns) {}

  void Take(const WalkedShare& share) {
    for (const FoundFile& found : share.walk.files) {
      std::string path = share.share.path + "/" + found.name;
      const auto known = known_.find(path);
      const bool is_known = known != known_.end();
      if (is_known) seen_.insert(path);
      if (is_known && IsUnchanged(known->second, found)) {
        ++plan_.unchanged;
        if (known->second.id == 0) ++plan_.refused;
      } else if (!IsSettled(found, now_ns_)) {
        ++plan_.waiting;
        waiting_sizes_.insert(found.size);
      } else {
        plan_.to_look_at.push_back(
            {share.share.id, std::move(path), found.name, found, is_known ? known->second.id : 0});
      }
    }
  }

  void FindVanished(const std::vector<WalkedShare>& shares) {
    for (const auto& [path, file] : known_) {
      if (seen_.contains(path) || !IsGone(shares, path, file)) continue;
      // One that waits may be this one under its new name: its id shall not be lost meanwhile.
      if (file.id != 0 && waiting_sizes_.contains(file.size)) continue;
      plan_.vanished.push_back({path, file});
    }
    // The order of a hash table is nobody's to rely on.
    std::ranges::sort(plan_.vanished, {}, &KnownPath::path);
  }

  ScanPlan Finish() { return std::move(plan_); }

 private:
  static bool IsGone(const std::vector<WalkedShare>& shares, const std::string& path, const KnownFile& file) {
    const auto share = std::ranges::find(shares, file.share, [](const WalkedShare& s) { return s.share.id; });
    if (share == shares.end() || !IsWithinReach(*share)) return false;
    if (path.size() <= share->share.path.size()) return true;
    const std::string_view name = std::string_view(path).substr(share->share.path.size() + 1);
    return std::ranges::none_of(share->walk.unread,
                                [&](const std::string& folder) { return LiesBelow(name, folder); });
  }

  const KnownFiles& known_;
  int64_t now_ns_;
  std::unordered_set<std::string> seen_;
  std::unordered_set<int64_t> waiting_sizes_;
  ScanPlan plan_;
};

}  // namespace

bool IsWithinReach(const WalkedShare& share) {
  if (!share.walk.opened) return false;
  return !share.was_mounted || share.walk.mounted || !share.walk.files.empty();
}

ScanPlan PlanScan(const KnownFiles& known, const std::vector<WalkedShare>& shares, int64_t now_ns) {
  Planner planner(known, now_ns);
  for (const WalkedShare& share : shares) planner.Take(share);
  planner.FindVanished(shares);
  return planner.Finish();
}

}  // namespace kinora::media
