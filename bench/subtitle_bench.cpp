// What a subtitle in the cache costs the request process: read, cleaned and put into WebVTT, as a whole and
// for the window of one segment, against the bare look at each of its characters. What the first request for
// it waits for: its charset found, converted from, the result put into the cache, against the bare start of
// the interpreter that converts. And what traditional Chinese costs those who want it.
//
// Uses the fixed places: run it in a private view.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "contract/system/process_runner.h"
#include "contract/system/simple_converter.h"
#include "library/subtitle/output_subtitle.h"

namespace {

using namespace crvnkn::webapi::subtitle;
namespace fs = std::filesystem;

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

// A film with its subtitle beside it, an hour old.
class Library {
 public:
  explicit Library(int64_t cues) {
    fs::create_directories(kFolder);
    for (const fs::path& file : {kFilm, kSubtitle}) std::ofstream(file) << Film(cues) << "se\xf1or\n";
    Age(std::chrono::hours(1));
  }
  ~Library() { fs::remove_all(kFolder); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  static void Age(std::chrono::hours age) {
    for (const fs::path& file : {kFilm, kSubtitle})
      fs::last_write_time(file, fs::file_time_type::clock::now() - age);
  }

  // The whole answer; empty when there is none.
  static std::string Ask(int32_t start, int32_t end) {
    GetMethodArguments arguments;
    arguments.video_path = kFilm;
    arguments.subtitle_id = kSubtitle;
    arguments.output_webvtt = true;
    arguments.start_time = start;
    arguments.end_time = end;
    OutputSubtitle subtitle(arguments);
    return subtitle.Process() ? subtitle.GetContent() : "";
  }

 private:
  inline static const fs::path kFolder = "/tmp/bench-subtitle";
  inline static const fs::path kFilm = kFolder / "film.mkv";
  inline static const fs::path kSubtitle = kFolder / "film.srt";
};

// Asks for the subtitle when it is already in the cache.
void AskAgain(benchmark::State& state, int32_t start, int32_t end, size_t least) {
  const Library library(state.range(0));
  if (Library::Ask(start, end).size() < least) return state.SkipWithError("not the answer");
  for (auto _ : state) benchmark::DoNotOptimize(Library::Ask(start, end));
}

void Whole(benchmark::State& state) { AskAgain(state, -1, -1, static_cast<size_t>(state.range(0)) * 50); }
BENCHMARK(Whole)->Arg(2'000)->Arg(20'000)->Unit(benchmark::kMillisecond)->Iterations(50);

void Window(benchmark::State& state) { AskAgain(state, 600, 610, 300); }
BENCHMARK(Window)->Arg(2'000)->Arg(20'000)->Unit(benchmark::kMillisecond)->Iterations(50);

void BareLook(benchmark::State& state) {
  const std::string text = Film(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(std::count(text.begin(), text.end(), '\n'));
}
BENCHMARK(BareLook)->Arg(2'000)->Arg(20'000)->Unit(benchmark::kMillisecond)->Iterations(50);

void FirstRequest(benchmark::State& state) {
  const Library library(2'000);
  for (auto _ : state) {
    state.PauseTiming();
    Library::Age(std::chrono::hours(0));  // what the cache holds is out of date
    state.ResumeTiming();
    if (Library::Ask(-1, -1).size() < 100'000) return state.SkipWithError("not the answer");
  }
}
BENCHMARK(FirstRequest)->Unit(benchmark::kMillisecond)->Iterations(30)->UseRealTime();

// What none of it can do without.
void BareInterpreter(benchmark::State& state) {
  for (auto _ : state) {
    CRVNUtils::ProcessRunner php("/usr/bin/php", "/usr/bin/php");
    php.addArguments("-r", "0;");
    if (php.run(true, false) != 0) return state.SkipWithError("php does not run");
  }
}
BENCHMARK(BareInterpreter)->Unit(benchmark::kMillisecond)->Iterations(30)->UseRealTime();

void TraditionalChinese(benchmark::State& state) {
  std::string text;
  for (int cue = 0; cue < 2'000; ++cue) text += "00:00:01.500 --> 00:00:03.000\n还挂在门边的钥匙\n\n";
  const Opencc::SimpleConverter converter(
      "/var/packages/Kinora/target/etc/opencc/data/config/s2tw_text.json");
  if (converter.Convert(text) == text) return state.SkipWithError("not converted");
  for (auto _ : state) benchmark::DoNotOptimize(converter.Convert(text));
}
BENCHMARK(TraditionalChinese)->Unit(benchmark::kMillisecond)->Iterations(20)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
