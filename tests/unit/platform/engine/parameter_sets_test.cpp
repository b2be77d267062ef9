// The parameter sets that are told beforehand are those that every fragment has, whatever the film is.
#include "platform/engine/parameter_sets.h"

#include <gmock/gmock.h>

#include "platform/engine/encode_arguments.h"
#include "platform/engine/look.h"
#include "platform/engine/planning.h"
#include "platform/engine/source_traits.h"
#include "tests/unit/platform/engine/encoding.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

std::string Bytes(std::initializer_list<int> bytes) {
  std::string text;
  for (const int byte : bytes) text += static_cast<char>(byte);
  return text;
}

TEST(ParameterSetsIn, AreTheFirstOfEachKind) {
  const std::string sequence = Bytes({0, 0, 0, 1, 0x67, 0x4D, 0, 0, 3, 0xFF});
  const std::string picture = Bytes({0, 0, 1, 0x68, 0xEE});
  const std::string slice = Bytes({0, 0, 1, 0x65, 0x88});
  const std::string others = Bytes({0, 0, 1, 0x09, 0xF0, 0, 0, 1, 0x06, 5});
  const char* const sets = "00000001674D000003FF0000000168EE";
  EXPECT_EQ(ParameterSetsIn(sequence + picture), sets);
  EXPECT_EQ(ParameterSetsIn(others + sequence + others + picture + slice), sets);
  EXPECT_EQ(ParameterSetsIn(picture + sequence + slice), sets);
  EXPECT_EQ(ParameterSetsIn(sequence + picture + Bytes({0, 0, 1, 0x67, 1, 0, 0, 1, 0x68, 2})), sets);
  EXPECT_EQ(ParameterSetsIn(sequence + picture + Bytes({0, 0})), sets) << "zeros at the end";
  EXPECT_EQ(ParameterSetsIn("garbage" + sequence + picture), sets);
}

TEST(ParameterSetsIn, AreNoneWhereOneIsMissing) {
  for (const std::string& stream :
       {std::string(), Bytes({0, 0, 1}), Bytes({0, 0, 1, 0x67}), Bytes({0, 0, 1, 0x68, 0xEE}),
        Bytes({0, 0, 1, 0x67, 0x4D, 0, 0, 1}), Bytes({0, 0, 1, 0x67, 0x4D, 0, 0, 1, 0x65, 0x88}),
        Bytes({0x67, 0x4D, 0x68, 0xEE})}) {
    EXPECT_EQ(ParameterSetsIn(stream), std::nullopt);
  }
}

struct Film {
  const char* name;
  const char* picture;  // of lavfi
  Arguments encoder;
  const char* container = "mkv";
};

void PrintTo(const Film& film, std::ostream* out) { *out << film.name; }

Arguments H264(Arguments more = {}) {
  Arguments arguments = {"-c:v", "libx264", "-preset", "ultrafast"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

Arguments Labelled(const char* matrix, const char* primaries, const char* transfer) {
  return H264({"-colorspace", matrix, "-color_primaries", primaries, "-color_trc", transfer});
}

class ParameterSets : public testing::TestWithParam<Film> {
 protected:
  ParameterSets() {
    std::string name = testing::TempDir() + "sets-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    fs::permissions(folder_, fs::perms::all);
  }
  ~ParameterSets() override { fs::remove_all(folder_); }

  static std::string Ffmpeg(const Arguments& arguments, std::vector<std::pair<int, int>> descriptors = {}) {
    system::Command command;
    command.arguments = {kFfmpeg};
    command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
    command.descriptors = std::move(descriptors);
    command.limits.file_size = 64U << 20;
    command.limits.address_space = 16ULL << 30;
    system::ChildResult result = system::RunChild(command);
    EXPECT_TRUE(result.Succeeded()) << testing::PrintToString(arguments);
    return std::move(result.output);
  }

  // Two fragments of film, and its plan.
  StreamPlan Open(const Film& film) const {
    const std::string path = folder_ / ("film." + std::string(film.container));
    Arguments arguments = {"-v", "error", "-nostdin", "-f", "lavfi", "-i", film.picture, "-t", "2"};
    arguments.insert(arguments.end(), film.encoder.begin(), film.encoder.end());
    arguments.push_back(path);
    Ffmpeg(arguments);
    const Probe probe = ProbeFile(path);
    EXPECT_TRUE(probe.report) << probe.reason;
    const SourceTraits source = ReadTraits(probe.report.value(), IdentityOf(path));
    const auto profile = media::LoadTransProfile(KINORA_SOURCE_DIR "/packaging/TransProfile", "smooth");
    auto planned = PlanSmoothStream(source, {}, profile.value(), {});
    if (const auto* const refusal = std::get_if<Refusal>(&planned)) {
      ADD_FAILURE() << refusal->keyword << " " << refusal->reason;
      return {};
    }
    return std::get<StreamPlan>(std::move(planned));
  }

  void Encode(const StreamPlan& plan, int first) const {
    const base::Descriptor source(::open(plan.source.identity.path.c_str(), O_RDONLY | O_CLOEXEC));
    const base::Descriptor work(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    Ffmpeg(JobArguments(plan, {first, plan.grid.Count() - 1, false}), {{source.Get(), 3}, {work.Get(), 4}});
  }

  // Those of fragment `number`.
  std::optional<std::string> SetsOf(int number) const {
    return ParameterSetsIn(
        Ffmpeg({"-v", "error", "-nostdin", "-i", folder_ / (std::to_string(number) + ".ts"), "-c", "copy",
                "-f", "h264", "pipe:1"}));
  }

  // The luma and the chroma of a one-colored film's first fragment, in the middle of the picture.
  std::vector<int> ColorOf(const StreamPlan& plan) const {
    Encode(plan, 0);
    const std::string picture = Ffmpeg({"-v", "error", "-nostdin", "-i", folder_ / "0.ts", "-frames:v", "1",
                                        "-f", "rawvideo", "-pix_fmt", "yuv420p", "pipe:1"});
    const auto size = static_cast<size_t>(plan.picture.width) * static_cast<size_t>(plan.picture.height);
    EXPECT_EQ(picture.size(), size * 3 / 2);
    if (picture.size() != size * 3 / 2) return {};
    const auto at = [&](size_t place) { return static_cast<unsigned char>(picture[place]); };
    return {at(0), at(size), at(size * 5 / 4)};
  }

  fs::path folder_;
};

TEST_P(ParameterSets, AreThoseOfEveryFragment) {
  const StreamPlan plan = Open(GetParam());
  ASSERT_EQ(plan.grid.Count(), 2);
  const std::optional<std::string> told = FindParameterSets(plan);
  ASSERT_TRUE(told);
  Encode(plan, 0);
  EXPECT_EQ(SetsOf(0), told);
  EXPECT_EQ(SetsOf(1), told);
  Encode(plan, 1);
  EXPECT_EQ(SetsOf(1), told) << "started there";
}

INSTANTIATE_TEST_SUITE_P(
    Of, ParameterSets,
    testing::Values(
        Film{"FilmsOf25Frames", "testsrc2=s=320x240:r=25", H264()},
        Film{"FilmsOf23_976Frames", "testsrc2=s=320x240:r=24000/1001", H264()},
        Film{"FilmsOf29_97Frames", "testsrc2=s=320x240:r=30000/1001", H264()},
        Film{"FilmsOf50Frames", "testsrc2=s=320x240:r=50", H264()},
        Film{"InterlacedFilms",
             "testsrc2=s=720x576:r=25",
             {"-c:v", "mpeg2video", "-flags", "+ilme+ildct", "-top", "1", "-b:v", "2M"},
             "mpg"},
        Film{"HdFilms", "testsrc2=s=1280x720:r=25", H264()},
        Film{"HdFilmsWithTheirLabels", "testsrc2=s=1280x720:r=25", Labelled("bt709", "bt709", "bt709")},
        Film{"SdFilmsWithTheirLabels", "testsrc2=s=320x240:r=25",
             Labelled("smpte170m", "smpte170m", "smpte170m")},
        Film{"SdFilmsWithTheLabelsOfHd", "testsrc2=s=320x240:r=25", Labelled("bt709", "bt709", "bt709")},
        Film{"WideColors", "testsrc2=s=320x240:r=25",
             H264({"-pix_fmt", "yuv420p10le", "-colorspace", "bt2020nc", "-color_primaries", "bt2020",
                   "-color_trc", "bt2020-10"})},
        Film{"Hdr", "testsrc2=s=320x240:r=25",
             H264({"-pix_fmt", "yuv420p10le", "-colorspace", "bt2020nc", "-color_primaries", "bt2020",
                   "-color_trc", "smpte2084"})},
        Film{"TheFullRange", "testsrc2=s=320x240:r=25", H264({"-pix_fmt", "yuvj420p"})},
        Film{"OtherPlacesOfChroma", "testsrc2=s=320x240:r=25", H264({"-chroma_sample_location", "topleft"})},
        Film{"MotionJpeg", "testsrc2=s=320x240:r=25", {"-c:v", "mjpeg"}, "avi"},
        Film{"Rgb", "testsrc2=s=320x240:r=25", {"-c:v", "ffv1", "-pix_fmt", "bgr0"}},
        Film{"OddSizes", "testsrc2=s=317x239:r=25", H264({"-pix_fmt", "yuv444p"})},
        Film{"OblongPixels", "testsrc2=s=320x240:r=25,setsar=4/3", H264()}),
    testing::PrintToStringParamName());

TEST_F(ParameterSets, GoWithTheColorsOfFilmsWithoutLabels) {
  // Red in the matrix of SD, which is not the usual one for the size.
  const StreamPlan plan = Open({"", "color=c=red:s=1280x720:r=25", H264()});
  EXPECT_EQ(LabelsOf(plan.source.video).matrix, "bt709");
  const std::vector<int> color = ColorOf(plan);
  ASSERT_EQ(color.size(), 3U);
  EXPECT_NEAR(color[0], 81, 2);
  EXPECT_NEAR(color[1], 90, 2);
  EXPECT_NEAR(color[2], 240, 2);
}

TEST_F(ParameterSets, GoWithPicturesOfTheUsualRange) {
  const StreamPlan plan = Open({"", "color=c=white:s=320x240:r=25", H264({"-pix_fmt", "yuvj420p"})});
  const std::vector<int> color = ColorOf(plan);
  ASSERT_EQ(color.size(), 3U);
  EXPECT_NEAR(color[0], 235, 2);
}

TEST_F(ParameterSets, GoWithRgbInTheColorsOfTheirLabel) {
  const StreamPlan plan = Open({"", "color=c=red:s=1280x720:r=25", {"-c:v", "ffv1", "-pix_fmt", "bgr0"}});
  EXPECT_EQ(LabelsOf(plan.source.video).matrix, "bt709");
  const std::vector<int> color = ColorOf(plan);
  ASSERT_EQ(color.size(), 3U);
  EXPECT_NEAR(color[0], 63, 2);
  EXPECT_NEAR(color[1], 102, 2);
  EXPECT_NEAR(color[2], 240, 2);
}

}  // namespace
}  // namespace kinora::engine
