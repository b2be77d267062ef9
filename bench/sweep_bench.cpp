// The sweep that every opening makes over the streams of its kind, with 10,000 of them there and none stale;
// against the bare walk that it cannot do without: reading the directory and one stat for each entry.
//
// Uses the fixed places: run it in a private view.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "library/vte/stream_initer.h"

namespace {

namespace fs = std::filesystem;
constexpr int kStreams = 10'000;
const fs::path kFolder = "/tmp/Kinora/RAW";

// The streams as the engine lays them out: a link to a folder elsewhere, a fresh mark inside.
const fs::path& StreamFolders() {
  static const fs::path volume = [] {
    fs::path made = "/var/packages/Kinora/var/bench-streams";
    fs::remove_all(made);
    fs::remove_all(kFolder);
    fs::create_directories(kFolder);
    for (int i = 0; i < kStreams; ++i) {
      const std::string id = "bench" + std::to_string(i);
      fs::create_directories(made / id);
      std::ofstream(made / id / "access_status") << "touch";
      fs::create_directory_symlink(made / id, kFolder / id);
    }
    return made;
  }();
  return volume;
}

void Sweep(benchmark::State& state) {
  StreamFolders();
  crvnkn::webapi::vte::StreamIniter initer(LibCrvnVTE::VideoMetaData(), crvnkn::webapi::vte::OpenArgument{});
  for (auto _ : state) benchmark::DoNotOptimize(initer.RemoveTimeoutDir("RAW"));
}
BENCHMARK(Sweep)->Unit(benchmark::kMillisecond)->MinTime(1);

void BareWalk(benchmark::State& state) {
  StreamFolders();
  for (auto _ : state) {
    DIR* directory = ::opendir(kFolder.c_str());
    while (const dirent* entry = ::readdir(directory)) {
      struct stat mark {};
      benchmark::DoNotOptimize(::stat((kFolder / entry->d_name / "access_status").c_str(), &mark));
    }
    ::closedir(directory);
  }
}
BENCHMARK(BareWalk)->Unit(benchmark::kMillisecond)->MinTime(1);

}  // namespace

BENCHMARK_MAIN();
