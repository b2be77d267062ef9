#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/rescan_delay.h"
#include "cli/service_account.h"
#include "platform/base/text.h"
#include "platform/engine/look.h"
#include "platform/engine/media_index.h"
#include "platform/engine/picture_cache.h"
#include "platform/media/catalog.h"
#include "platform/media/folder_watch.h"
#include "platform/media/scanner.h"
#include "platform/media/shares.h"
#include "platform/media/store.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"
#include "platform/system/sidecars.h"

namespace kinora::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kQuiet{2};
constexpr std::chrono::seconds kLookAtShares{5};  // for those that were added or removed meanwhile

void ShowProgress(const media::ScanProgress& progress) {
  std::cerr << "\r\x1b[K" << progress.found << " found, " << progress.looked_at << " of "
            << progress.to_look_at << " looked at" << std::flush;
}

void ShowSummary(const media::ScanProgress& progress) {
  std::cout << progress.found << " found, " << progress.added << " added, " << progress.changed
            << " changed, " << progress.moved << " moved, " << progress.removed << " removed, "
            << progress.refused << " refused, " << progress.waiting << " waiting" << std::endl;
}

media::ScanProgress ScanOnce(media::Store& store) {
  const bool terminal = ::isatty(STDERR_FILENO) != 0;
  auto progress =
      media::Scan(store, engine::LookAt, terminal ? media::ProgressFunction(ShowProgress) : nullptr);
  if (terminal) std::cerr << "\r\x1b[K" << std::flush;
  ShowSummary(progress);
  const auto films = [&] { return media::Catalog(store).Paths(); };
  engine::KeepPicturesOf(films);
  engine::KeepIndexesOf(films);
  system::RemoveSidecarsOfMissingFiles();
  return progress;
}

std::vector<std::string> SharePaths(media::Store& store) {
  std::vector<std::string> paths;
  for (const media::Share& share : media::Shares(store).All()) paths.push_back(share.path);
  return paths;
}

void SayGap(const std::string& gap, std::string& said) {
  if (!gap.empty() && gap != said) {
    std::cerr << "kinora: " << base::ToOneLine(gap) << "; scanning every few minutes instead" << std::endl;
  }
  said = gap;
}

// Until a share has changed, shares came or went, or the time has come.
void WaitForChange(media::Store& store, media::FolderWatch& watch, const std::vector<std::string>& paths,
                   std::chrono::seconds at_most) {
  const auto until = Clock::now() + at_most;
  while (Clock::now() < until) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
    if (watch.Wait(std::min<std::chrono::milliseconds>(left, kLookAtShares)) || SharePaths(store) != paths)
      return;
  }
}

// The watch is set before each scan: what happens while it runs is the next change.
[[noreturn]] void ScanForEver(media::Store& store) {
  std::string said;
  int attempts = 0;
  while (true) {
    const std::vector<std::string> paths = SharePaths(store);
    media::FolderWatch watch(paths, kQuiet);
    SayGap(watch.Gap(), said);
    attempts = ScanOnce(store).waiting > 0 ? attempts + 1 : 0;
    WaitForChange(store, watch, paths, RescanDelay(attempts, !watch.Gap().empty()));
  }
}

}  // namespace

void AddScan(CLI::App& program) {
  CLI::App* scan = program.add_subcommand("scan", "Find the videos in the shares");
  const auto watch = std::make_shared<bool>(false);
  scan->add_flag("--watch", *watch, "Stay, and scan again whenever a share changes");
  scan->footer("Files that are still being written are left for the next scan.");
  scan->callback([watch] {
    // What a scan leaves behind (the database, its lock, its progress) is the service's, also when root
    // scans.
    WorkAsServiceAccount(system::LoadSettings(system::kSettingsFile));
    media::Store store(system::kDatabaseFile);
    if (*watch) ScanForEver(store);
    ScanOnce(store);
  });
}

}  // namespace kinora::cli
