// Golden files: cases/NAME/in.srt, whatever its charset, and beside it what players are answered. The name of
// a file says what was asked for:
//
//   clean.srt          SubRip                      document.vtt   WebVTT
//   kept.srt           ... with basic tags kept    10-20.vtt      WebVTT of the window from 10 to 20 s
//   brackets.srt       ... with stray brackets kept
//   kept-brackets.srt  ... with both kept
//
// A changed answer is a change that players see. When it is meant: KINORA_RENEW_GOLDEN=1 writes the answers
// into the checkout instead of comparing them, for this program started by hand:
//
//   KINORA_RENEW_GOLDEN=1 packaging/private-view --fresh build/dev/stage --share $PWD --
//   build/dev/tests/golden/golden_test
//
// A new case is its in.srt and empty files of the names that are wanted.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "tests/texts/chain.h"

namespace kinora::texts {
namespace {

namespace fs = std::filesystem;

const fs::path kCases = fs::path(KINORA_SOURCE_DIR) / "tests/golden/cases";

std::vector<fs::path> Sorted(const fs::path& folder) {
  std::vector<fs::path> entries(fs::directory_iterator(folder), {});
  std::sort(entries.begin(), entries.end());
  return entries;
}

// Throws std::invalid_argument for a name that says nothing.
Wishes WishesOf(const std::string& name) {
  Wishes wishes;
  wishes.output_webvtt = name.ends_with(".vtt");
  wishes.keep_basic_tags = name.starts_with("kept");
  wishes.strip_stray_brackets = name.find("brackets") == std::string::npos;
  int length = 0;
  const bool has_window =
      std::sscanf(name.c_str(), "%d-%d.vtt%n", &wishes.start_time, &wishes.end_time, &length) == 2 &&
      length == static_cast<int>(name.size());
  if (has_window) return wishes;
  for (const char* const known :
       {"clean.srt", "kept.srt", "brackets.srt", "kept-brackets.srt", "document.vtt"}) {
    if (name == known) return wishes;
  }
  throw std::invalid_argument("no golden file is called " + name);
}

class Golden : public testing::Test, protected Chain {
 protected:
  const bool renew_ = std::getenv("KINORA_RENEW_GOLDEN") != nullptr;

  void Check(const std::string& bytes, const fs::path& file) {
    const std::string answer = Answer(bytes, WishesOf(file.filename()));
    if (renew_) {
      WriteFile(file, answer);
    } else {
      EXPECT_EQ(answer, ReadFile(file)) << file;
    }
  }
};

TEST_F(Golden, AnswersAreAsTheyWere) {
  Speak("enu");
  size_t compared = 0;
  for (const fs::path& folder : Sorted(kCases)) {
    const std::string bytes = ReadFile(folder / "in.srt");
    for (const fs::path& file : Sorted(folder)) {
      if (file.filename() == "in.srt") continue;
      Check(bytes, file);
      ++compared;
    }
  }
  EXPECT_GE(compared, 70U);
  if (renew_) GTEST_SKIP() << compared << " renewed, not compared";
}

}  // namespace
}  // namespace kinora::texts
