// write_webvtt FOLDER FILE...: for each subtitle file NAME, in the folder, NAME.srt (clean SubRip), NAME.vtt,
// and NAME~S~E.vtt for some windows of S to E seconds, always the same ones. Needs the fixed places.
#include <cstdio>
#include <random>

#include "tests/texts/chain.h"

namespace {

using kinora::texts::Chain;
using kinora::texts::WriteFile;
namespace fs = std::filesystem;

constexpr int kWindows = 8;

void Write(Chain& chain, const fs::path& folder, const fs::path& source, std::mt19937& random) {
  const std::string bytes = kinora::texts::ReadFile(source);
  const std::string base = folder / source.stem();
  WriteFile(base + ".srt", chain.Answer(bytes, {}));
  WriteFile(base + ".vtt", chain.Answer(bytes, {.output_webvtt = true}));
  for (int i = 0; i < kWindows; ++i) {
    const int start = static_cast<int>(random() % 40) - 2;
    const int end = start + static_cast<int>(random() % 20);
    WriteFile(base + "~" + std::to_string(start) + "~" + std::to_string(end) + ".vtt",
              chain.Answer(bytes, {.start_time = start, .end_time = end, .output_webvtt = true}));
  }
}

}  // namespace

int main(int count, char** arguments) try {
  std::mt19937 random(20);
  Chain chain;
  Chain::Speak("enu");
  for (int i = 2; i < count; ++i) Write(chain, arguments[1], arguments[i], random);
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "write_webvtt: %s\n", failure.what());
  return 1;
}
