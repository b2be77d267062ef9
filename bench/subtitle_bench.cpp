// What a subtitle costs the request process: the text of a film cleaned and put into WebVTT, as a whole and
// for the window of one segment, against the bare look at each of its characters.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "contract/system/process_runner.h"
#include "library/subtitle/tag_clean_up.h"
#include "library/subtitle/webvtt.h"
#include "library/to_utf8.h"

namespace {

using namespace crvnkn::webapi::subtitle;

std::string Clock(int seconds) {
  char text[16];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d,%03d", seconds / 3600 % 100, seconds / 60 % 60,
                seconds % 60, 500);
  return text;
}

// A cue every three seconds; some have markup, some a place, as films have them.
std::string Film(int64_t cues) {
  std::string text;
  for (int cue = 0; cue < cues; ++cue) {
    text += std::to_string(cue + 1) + "\n" + Clock(cue * 3) + " --> " + Clock(cue * 3 + 2) + "\n";
    if (cue % 5 == 0) {
      text += "<i>Somebody says it slowly,</i>\nand with feeling.\n\n";
    } else if (cue % 50 == 1) {
      text += "{\\an8}A sign over the door of the house\n\n";
    } else {
      text += "Nobody has ever seen the sea like this,\nnot even from the tower.\n\n";
    }
  }
  return text;
}

void Whole(benchmark::State& state) {
  const std::string text = Film(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(ConvertToWebvtt(CleanUpTags(text, {}), {}));
}
BENCHMARK(Whole)->Arg(2'000)->Arg(20'000)->Unit(benchmark::kMillisecond)->Iterations(50);

void Window(benchmark::State& state) {
  const std::string text = Film(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(ConvertToWebvtt(CleanUpTags(text, {}), {600, 610}));
}
BENCHMARK(Window)->Arg(2'000)->Arg(20'000)->Unit(benchmark::kMillisecond)->Iterations(50);

void BareLook(benchmark::State& state) {
  const std::string text = Film(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(std::count(text.begin(), text.end(), '\n'));
}
BENCHMARK(BareLook)->Arg(2'000)->Arg(20'000)->Unit(benchmark::kMillisecond)->Iterations(50);

// A file of 2,000 cues in the machine's own charset: found and converted.
void Conversion(benchmark::State& state) {
  const std::filesystem::path source = "/tmp/bench-source.srt";
  std::ofstream(source) << Film(2'000) << "se\xf1or\n";
  for (auto _ : state) {
    if (!crvnkn::webapi::ToUTF8(source, "auto", "/tmp/bench-utf8.srt"))
      return state.SkipWithError("not converted");
  }
  if (std::filesystem::file_size("/tmp/bench-utf8.srt") != std::filesystem::file_size(source) + 1)
    state.SkipWithError("converted to something else");
}
BENCHMARK(Conversion)->Unit(benchmark::kMillisecond)->Iterations(30)->UseRealTime();

// What none of it can do without.
void BareInterpreter(benchmark::State& state) {
  for (auto _ : state) {
    CRVNUtils::ProcessRunner php("/usr/bin/php", "/usr/bin/php");
    php.addArguments("-r", "0;");
    if (php.run(true, false) != 0) return state.SkipWithError("php does not run");
  }
}
BENCHMARK(BareInterpreter)->Unit(benchmark::kMillisecond)->Iterations(30)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
