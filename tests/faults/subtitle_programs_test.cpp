// The programs that convert and copy a subtitle die over it, or are not there: what cannot be had is not
// found, nothing of it is kept, and the next request is as if nothing had been.
#include <gtest/gtest.h>

#include "tests/faults/cgi.h"
#include "tests/faults/stand_in.h"
#include "tests/http/subtitle_reader.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFilm[] = "h264_aac.mp4";
constexpr char kPhp[] = "/usr/bin/php";
constexpr char kCp[] = "/bin/cp";
const std::string kEmptyWebvtt =
    "WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:90000, LOCAL:00:00:00.000\n\n00:00:00.000 --> 00:00:00.000\n";
const Parameters kAsWebvtt = {{"output_webvtt", "true"}};

// The first copy is of the subtitle itself.
constexpr char kKilledAtTheSecondCopy[] = R"(#!/bin/sh
case $(readlink /proc/$$/fd/3) in
*/CRVNVIDEO_utf8-2_*)
  head -c 100 "$3" >"$4"
  kill -KILL $$
esac
cat "$3" >"$4"
)";

struct Fault {
  std::string name;
  std::string program;
  std::string script;
  std::string log;  // what must stand there, once for each request
  size_t kept;      // files of the cache: what was copied whole before is of use to whoever comes next
};
void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.name; }

const Fault kFaults[] = {
    {"php_killed_at_once", kPhp, "#!/bin/sh\nkill -KILL $$\n", "failed to run", 1},
    // Its ninth argument is the file that it makes.
    {"php_killed_half_way", kPhp, "#!/bin/sh\nprintf '1\\n00:00:00,000 --> 00:0' >\"$9\"\nkill -KILL $$\n",
     "failed to run", 1},
    {"php_missing", kPhp, kMissing, "cannot start /usr/bin/php: ", 1},
    {"cp_killed_at_once", kCp, "#!/bin/sh\nkill -KILL $$\n", "cp was killed", 0},
    {"cp_killed_half_way", kCp, "#!/bin/sh\nhead -c 100 \"$3\" >\"$4\"\nkill -KILL $$\n", "cp was killed", 0},
    {"cp_killed_when_the_text_is_converted", kCp, kKilledAtTheSecondCopy, "cp was killed", 1},
    {"cp_fails", kCp, "#!/bin/sh\nhead -c 100 \"$3\" >\"$4\"\necho 'no space left' >&2\nexit 1\n",
     "cp: no space left", 0},
    {"cp_missing", kCp, kMissing, "cannot start /bin/cp: ", 0},
};

size_t CountOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

class SubtitleProgram : public testing::TestWithParam<Fault> {};
INSTANTIATE_TEST_SUITE_P(Faults, SubtitleProgram, testing::ValuesIn(kFaults),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace

TEST_P(SubtitleProgram, ThatFailsCostsTheAnswerAndNothingElse) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string text = SubRipOf(30);
  const fs::path file = ann.Put("h264_aac.srt", text);
  const fs::path other = ann.Put("h264_aac.en.srt", SubRipOf(3));
  ASSERT_EQ(ann.Get(other).body, SubRipOf(3)) << "kept from before";
  const std::string kept = DigestOf(CacheFolderOf(other));
  {
    const ProgramStandIn fault(GetParam().program, GetParam().script);
    if (!fault) GTEST_SKIP() << "nothing can be mounted here";
    const size_t said = house.Log().size();
    const auto is_told = [&](size_t times) {
      return Eventually([&] { return CountOf(house.Log().substr(said), GetParam().log) == times; });
    };
    const Reply refused = ann.Get(file);
    EXPECT_EQ(refused.status, 404) << refused.body;
    EXPECT_EQ(CodeOf(refused), 128);
    EXPECT_TRUE(is_told(1)) << house.Log().substr(said);
    const Reply empty = ann.Get(file, kAsWebvtt);
    EXPECT_EQ(empty.status, 200);
    EXPECT_EQ(empty.body, kEmptyWebvtt);
    EXPECT_TRUE(is_told(2)) << "nobody tries it again and again: " << house.Log().substr(said);
    EXPECT_EQ(CacheFilesOf(file).size(), GetParam().kept) << testing::PrintToString(CacheFilesOf(file));
    for (const std::string& name : CacheFilesOf(file)) {
      EXPECT_TRUE(name.starts_with("CRVNVIDEO_2_0_SUBTITLE_V1_")) << name;
      EXPECT_EQ(ReadWhole(CacheFolderOf(file) / name), text);
    }
    EXPECT_EQ(ann.Get(other).body, SubRipOf(3)) << "it needs no program";
  }
  EXPECT_EQ(SubtitleScratchFiles(), std::vector<std::string>{});
  EXPECT_EQ(DigestOf(CacheFolderOf(other)), kept);
  EXPECT_EQ(ann.Get(file).body, text) << "at once";
  EXPECT_EQ(CacheFilesOf(file).size(), 2U) << testing::PrintToString(CacheFilesOf(file));
}
