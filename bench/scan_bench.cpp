// A scan of 10,000 files: the first one, and a second one that finds nothing changed; against the bare walk
// that it cannot do without (every directory read, one stat for each file). The looks into the files cost
// nothing here, so that the scanner itself is measured; how many real files a second are looked into is
// measured apart.
//
// Uses the fixed places: run it in a private view. KINORA_BENCH_MEDIA names a folder of real videos.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/engine/look.h"
#include "platform/media/scanner.h"
#include "platform/media/shares.h"
#include "platform/media/store.h"
#include "platform/system/child.h"
#include "platform/system/places.h"

namespace {

namespace fs = std::filesystem;
namespace media = kinora::media;
constexpr int kFolders = 100;
constexpr int kFilesInEach = 100;

const fs::path& Tree() {
  static const fs::path tree = [] {
    const fs::path made = "/var/packages/Kinora/var/bench-tree";
    fs::remove_all(made);
    for (int folder = 0; folder < kFolders; ++folder) {
      const fs::path inside = made / ("folder " + std::to_string(folder));
      fs::create_directories(inside);
      for (int file = 0; file < kFilesInEach; ++file) {
        const fs::path path = inside / ("film " + std::to_string(file) + ".mp4");
        std::ofstream(path) << path;
        fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(1));
      }
    }
    return made;
  }();
  return tree;
}

media::LookResult LookAtNothing(const std::string&) {
  media::LookResult result;
  result.kind = media::LookResult::Kind::kVideo;
  result.facts.container = "mp4";
  return result;
}

void RemoveDatabase() {
  for (const char* suffix : {"", "-wal", "-shm"})
    fs::remove(std::string(kinora::system::kDatabaseFile) + suffix);
}

void FirstScan(benchmark::State& state) {
  const fs::path& tree = Tree();
  for (auto _ : state) {
    state.PauseTiming();
    RemoveDatabase();
    media::Store store(kinora::system::kDatabaseFile);
    media::Shares(store).Add("bench", tree);
    state.ResumeTiming();
    const media::ScanProgress progress = media::Scan(store, LookAtNothing, nullptr);
    if (progress.added != kFolders * kFilesInEach) state.SkipWithError("not every file was taken up");
  }
  state.SetItemsProcessed(state.iterations() * kFolders * kFilesInEach);
}
BENCHMARK(FirstScan)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

void SecondScan(benchmark::State& state) {
  Tree();
  media::Store store(kinora::system::kDatabaseFile);
  for (auto _ : state) {
    const media::ScanProgress progress = media::Scan(store, LookAtNothing, nullptr);
    if (progress.looked_at != 0 || progress.found != kFolders * kFilesInEach)
      state.SkipWithError("something changed");
  }
  state.SetItemsProcessed(state.iterations() * kFolders * kFilesInEach);
}
BENCHMARK(SecondScan)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();

void BareWalk(benchmark::State& state) {
  const fs::path& tree = Tree();
  for (auto _ : state) {
    uintmax_t bytes = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(tree)) {
      if (entry.is_regular_file()) bytes += entry.file_size();
    }
    benchmark::DoNotOptimize(bytes);
  }
}
BENCHMARK(BareWalk)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();

// Calls `look` with each real file in turn.
template <typename Look>
void EachRealFile(benchmark::State& state, const Look& look) {
  const char* folder = std::getenv("KINORA_BENCH_MEDIA");
  if (folder == nullptr) return state.SkipWithError("KINORA_BENCH_MEDIA names no folder of videos");
  int64_t files = 0;
  for (auto _ : state) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
      if (!look(entry.path().string())) return state.SkipWithError("a file could not be looked into");
      ++files;
    }
  }
  state.SetItemsProcessed(files);
}

void LookIntoRealFile(benchmark::State& state) {
  EachRealFile(state, [](const std::string& path) {
    return kinora::engine::LookAt(path).kind == media::LookResult::Kind::kVideo;
  });
}
BENCHMARK(LookIntoRealFile)->Unit(benchmark::kMillisecond)->Iterations(20)->UseRealTime();

void FfprobeOfRealFile(benchmark::State& state) {
  EachRealFile(state, [](const std::string& path) {
    kinora::system::Command command;
    command.arguments = {"/usr/bin/ffprobe", "-v", "error", "-show_format", "-show_streams", path};
    return kinora::system::RunChild(command).Succeeded();
  });
}
BENCHMARK(FfprobeOfRealFile)->Unit(benchmark::kMillisecond)->Iterations(20)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
