// write_webvtt FOLDER FILE...: for each subtitle file NAME, in the folder, NAME.srt (clean SubRip), NAME.vtt,
// and NAME~S~E.vtt for some windows of S to E seconds, always the same ones. Needs the fixed places.
#include <cstdio>
#include <random>

#include "library/subtitle/tag_clean_up.h"
#include "library/subtitle/webvtt.h"
#include "tests/texts/chain.h"

namespace {

using namespace crvnkn::webapi::subtitle;
using kinora::texts::WriteFile;
namespace fs = std::filesystem;

constexpr int kWindows = 8;

std::string Document(const std::string& clean, const CueWindow& window) {
  const std::string document = ConvertToWebvtt(clean, window);
  return document.empty() ? MakeEmptyWebvtt(window) : document;
}

void Write(const fs::path& folder, const fs::path& source, std::mt19937& random) {
  const kinora::texts::Chain chain;
  const std::string clean = CleanUpTags(chain.Converted(kinora::texts::ReadFile(source), "auto"), {});
  const std::string base = folder / source.stem();
  WriteFile(base + ".srt", clean);
  WriteFile(base + ".vtt", Document(clean, {}));
  for (int i = 0; i < kWindows; ++i) {
    const int start = static_cast<int>(random() % 40) - 2;
    const int end = start + static_cast<int>(random() % 20);
    WriteFile(base + "~" + std::to_string(start) + "~" + std::to_string(end) + ".vtt",
              Document(clean, {start, end}));
  }
}

}  // namespace

int main(int count, char** arguments) try {
  std::mt19937 random(20);
  kinora::texts::Chain::Speak("enu");
  for (int i = 2; i < count; ++i) Write(arguments[1], arguments[i], random);
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "write_webvtt: %s\n", failure.what());
  return 1;
}
