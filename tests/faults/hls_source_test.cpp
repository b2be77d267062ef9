// The film of a stream in fragments goes while it plays: with its volume, or behind a link that leads
// nowhere.
#include <gtest/gtest.h>

#include <fstream>
#include <optional>

#include "tests/faults/cgi.h"
#include "tests/faults/long_film.h"
#include "tests/http/hls_expectations.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

struct Film {
  const char* file;
  const char* format;
};
void PrintTo(const Film& film, std::ostream* out) { *out << film.file << " as " << film.format; }

// A film in a folder of the share that may go as a whole.
class HlsSource : public testing::TestWithParam<Film> {
 protected:
  HlsSource() : ann_(house_, house_.SignIn("ann")) {}

  void PutFilm() const {
    fs::copy_file(fs::path(KINORA_MEDIA_DIR) / GetParam().file, folder_ / GetParam().file);
    fs::last_write_time(folder_ / GetParam().file, fs::file_time_type::clock::now() - std::chrono::hours(1));
  }
  void Open() {
    EXPECT_EQ(CodeOf(house_.Send({"Catalog", "rescan", {}, "POST", ann_.Who().sid, ann_.Who().token})), 0);
    ASSERT_TRUE(Eventually([&] {
      return house_.Send({"Catalog", "list", {}, "GET", ann_.Who().sid}).body.find(GetParam().file) !=
             std::string::npos;
    })) << house_.Log();
    stream_ = ann_.Open(GetParam().file, GetParam().format);
    ExpectFragment(Get("0"), "before");
  }
  Reply Get(const std::string& fragment) const {
    return ann_.Get(ann_.Address(*stream_, {{"fragment", fragment}}));
  }
  void ExpectTheFilmIsGone() const {
    for (const char* fragment : {"0", "1", "3"}) {
      for (int again = 0; again < 2; ++again) ExpectRefused(Get(fragment), 404, 128, fragment);
    }
    EXPECT_EQ(CodeOf(ann_.TryToOpen(GetParam().file, {{"format", GetParam().format}})) > 0, true);
  }
  void ExpectACleanEnd() const {
    const fs::path folder = fs::canonical(stream_->Folder());
    EXPECT_EQ(CodeOf(ann_.Close(*stream_)), 0);
    EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); }));
    EXPECT_EQ(CountStreams(), 0U);
  }

  const House house_{{}, kShortRunAhead};
  const fs::path folder_ = house_.Share() / "disk";
  HlsViewer ann_;
  std::optional<HlsStream> stream_;
};
INSTANTIATE_TEST_SUITE_P(Ways, HlsSource,
                         testing::Values(Film{"h264_aac.mp4", "hls_remux"}, Film{"black_start.mp4", "hls"}),
                         [](const auto& instance) { return std::string(instance.param.format); });

}  // namespace

TEST_P(HlsSource, OnAVolumeThatIsUnmountedIsGone) {
  auto volume = std::make_unique<SmallVolume>(folder_, "32M");
  if (!*volume) GTEST_SKIP() << "nothing can be mounted here";
  PutFilm();
  ASSERT_NO_FATAL_FAILURE(Open());
  volume.reset();
  ExpectTheFilmIsGone();
  EXPECT_TRUE(fs::is_empty(folder_)) << "nothing is made in the place where it was mounted";
  volume = std::make_unique<SmallVolume>(folder_, "32M");
  PutFilm();
  ExpectRefused(Get("0"), 409, 129, "another file with the same name");
  ExpectACleanEnd();
}

TEST_P(HlsSource, BehindALinkThatLeadsNowhereIsGoneUntilItIsBack) {
  fs::create_directories(folder_);
  PutFilm();
  ASSERT_NO_FATAL_FAILURE(Open());
  const fs::path aside = house_.Share().parent_path() / "aside";
  const fs::path nowhere = house_.Share().parent_path() / "nowhere";
  fs::rename(folder_, aside);
  fs::create_directory_symlink(nowhere, folder_);
  ExpectTheFilmIsGone();
  EXPECT_FALSE(fs::exists(nowhere)) << "nothing is made where it leads";
  fs::remove(folder_);
  fs::rename(aside, folder_);
  for (const char* fragment : {"0", "1", "3"}) ExpectFragment(Get(fragment), fragment);
  ExpectACleanEnd();
}
