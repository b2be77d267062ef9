// The process of one request is killed at its system calls while it opens a stream in fragments, by HTTP Live
// Streaming or by Smooth Streaming, or makes one of them: no half answer passes for a whole one, the next
// request does not notice, and what is left goes.
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "platform/engine/housekeeping.h"
#include "platform/engine/job.h"
#include "platform/system/places.h"
#include "tests/faults/cgi.h"
#include "tests/faults/kill_points.h"
#include "tests/faults/long_film.h"
#include "tests/http/hls_viewer.h"

using namespace kinora::test;
namespace engine = kinora::engine;
namespace fs = std::filesystem;

namespace {

constexpr char kCopied[] = "h264_aac.mp4";
constexpr char kSound[] = "h264_ac3.mkv";  // its sound is a rendition of its own, encoded
constexpr char kEncoded[] = "encode_25.mkv";
constexpr char kPicture[] = "QualityLevels(1500000)/Fragments(video=0)";
constexpr char kChunkOfSound[] = "QualityLevels(128000)/Fragments(audio_1=0)";

struct Film {
  const char* file;
  const char* format;
  const char* fragment;
};
void PrintTo(const Film& film, std::ostream* out) {
  *out << film.fragment << " of " << film.file << " as " << film.format;
}

class HlsKill : public testing::TestWithParam<Film> {
 protected:
  void SetUp() override {
    if (!CanTrace()) GTEST_SKIP() << "programs cannot be traced here";
    house_ = std::make_unique<House>(std::vector<std::string>{GetParam().file});
    ann_ = std::make_unique<HlsViewer>(*house_, house_->SignIn("ann"));
    share_ = DigestOf(house_->Share());
  }

  // `succeeded` says whether the answer, which is whole, is the right one. `prepare` comes before each run.
  void AtItsCalls(const Call& call, const std::function<bool(const CgiRun&)>& succeeded,
                  const std::function<void()>& prepare) {
    prepare();
    const std::vector<KillPoint> points = KillPointsOf(call);
    ASSERT_GE(points.size(), 10U);
    size_t kills = 0;
    for (const KillPoint& point : points) {
      prepare();
      const std::string where = point.name + " " + std::to_string(point.number);
      const CgiRun run = RunCgi(call, {KilledAt(point.name, point.number), {}});
      kills += run.Killed() ? 1 : 0;
      EXPECT_TRUE(!run.Whole() || run.reply.status != 200 || succeeded(run)) << where;
      const CgiRun again = RunCgi(call);
      EXPECT_TRUE(again.Whole() && succeeded(again)) << where << again.output.substr(0, 500) << again.errors;
      if (HasFailure()) return;
    }
    // A few calls are not made every time.
    EXPECT_GE(kills, points.size() / 2);
  }

  void ExpectNothingChanged() const {
    EXPECT_EQ(DigestOf(house_->Share()), share_);
    EXPECT_EQ(CodeOf(house_->Send({"Session", "whoami", {}, "GET", ann_->Who().sid})), 0);
  }

  std::unique_ptr<House> house_;
  std::unique_ptr<HlsViewer> ann_;
  std::string share_;
};

class HlsOpenKill : public HlsKill {};
INSTANTIATE_TEST_SUITE_P(Ways, HlsOpenKill,
                         testing::Values(Film{kCopied, "hls_remux", ""}, Film{kEncoded, "hls", ""},
                                         Film{kEncoded, "ss", ""}),
                         [](const auto& instance) { return std::string(instance.param.format); });

class HlsFragmentKill : public HlsKill {};
INSTANTIATE_TEST_SUITE_P(Ways, HlsFragmentKill,
                         testing::Values(Film{kCopied, "hls_remux", "0"}, Film{kSound, "hls_remux", "a1_0"},
                                         Film{kEncoded, "hls", "0"}, Film{kEncoded, "ss", kPicture},
                                         Film{kEncoded, "ss", kChunkOfSound}),
                         [](const auto& instance) {
                           const std::string fragment = instance.param.fragment;
                           if (fragment == kPicture) return std::string("ss_picture");
                           if (fragment == kChunkOfSound) return std::string("ss_sound");
                           return std::string(instance.param.format) + "_" + fragment;
                         });

// The folder of streams of that format.
std::string TypeOf(const std::string& format) { return format == "ss" ? "SS" : "HLS"; }

std::vector<std::string> StreamsInTheWorkspace(const std::string& type) {
  std::vector<std::string> ids;
  for (const auto& entry : fs::directory_iterator(fs::path(kinora::system::kWorkspace) / type))
    ids.push_back(entry.path().filename());
  return ids;
}

}  // namespace

TEST_P(HlsOpenKill, AtItsCallsOpensNothingHalf) {
  const std::string film = std::to_string(house_->FilmId(ann_->Who(), GetParam().file));
  const Call call{"Stream", "open",          {{"id", film}, {"format", GetParam().format}},
                  "POST",   ann_->Who().sid, ann_->Who().token};
  std::set<std::string> opened;
  AtItsCalls(
      call,
      [&](const CgiRun& run) {
        const std::string id = ParseJson(run.reply.body)["result"]["stream_id"].asString();
        if (!id.empty()) opened.insert(id);
        return !id.empty();
      },
      [] { fs::remove_all(kinora::system::kIndexCache); });
  for (const std::string& id : opened) {
    const HlsStream stream{id, GetParam().format};
    EXPECT_EQ(ann_->Get(ann_->Address(stream, {})).status, 200) << id;
    EXPECT_EQ(CodeOf(ann_->Close(stream)), 0) << id;
  }
  // What was opened half: it plays if its owner is known, has no answer if not, and goes in time.
  const std::string type = TypeOf(GetParam().format);
  for (const std::string& id : StreamsInTheWorkspace(type)) {
    const HlsStream stream{id, GetParam().format};
    const int status = ann_->Get(ann_->Address(stream, {})).status;
    EXPECT_TRUE(status == 404 || status == 200) << id << " " << status;
    EXPECT_EQ(ProcessesIn(stream.Folder()), std::vector<pid_t>()) << id;
    if (fs::exists(stream.Folder())) MakeOld(fs::canonical(stream.Folder()));
  }
  engine::Housekeeping housekeeping;
  housekeeping.Sweep();
  housekeeping.Sweep();
  EXPECT_EQ(StreamsInTheWorkspace(type), std::vector<std::string>());
  ExpectNothingChanged();
}

TEST_P(HlsFragmentKill, AtItsCallsMakesTheNextOneGiveIt) {
  const HlsStream stream = ann_->Open(GetParam().file, GetParam().format);
  const fs::path folder = fs::canonical(stream.Folder());
  const Call call{"Stream",
                  "stream",
                  {{"id", stream.id}, {"format", stream.format}, {"fragment", GetParam().fragment}},
                  "GET",
                  ann_->Who().sid};
  const auto forget = [&] {
    EXPECT_TRUE(engine::EndJob(engine::StreamFolder::Open(TypeOf(stream.format), stream.id).value()));
    for (const auto& entry : fs::directory_iterator(folder / "work")) {
      const fs::path extension = entry.path().extension();
      if (extension == ".ts" || extension == ".m4s") fs::remove(entry.path());
    }
  };
  const std::string whole = RunCgi(call).reply.body;
  ASSERT_GT(whole.size(), 10'000U);
  const std::string format = GetParam().format;
  AtItsCalls(
      call,
      [&](const CgiRun& run) {
        const std::string& body = run.reply.body;
        if (format == "hls_remux") return body == whole;
        // Not every run of an encoder makes the same bytes.
        if (format == "ss") return body.find("moof") == 4 && body.size() > whole.size() / 2;
        return body.starts_with('G') && body.size() % 188 == 0;
      },
      forget);
  EXPECT_EQ(CountStreams(TypeOf(format)), 1U);
  EXPECT_EQ(CodeOf(ann_->Close(stream)), 0);
  EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); }));
  EXPECT_FALSE(fs::exists(folder)) << "with what was being written";
  ExpectNothingChanged();
}
