// The process of one request is killed at its system calls while it opens a live WebM stream or gives one:
// whatever it had started ends, and the next request does not notice.
#include <gtest/gtest.h>

#include <set>

#include "platform/engine/housekeeping.h"
#include "platform/engine/job.h"
#include "platform/system/places.h"
#include "tests/faults/cgi.h"
#include "tests/faults/kill_points.h"
#include "tests/http/viewer.h"

using namespace kinora::test;
namespace engine = kinora::engine;
namespace fs = std::filesystem;

namespace {

constexpr char kEncoded[] = "encode_25.mkv";
constexpr char kCopied[] = "live_vp9.webm";
constexpr char kFormat[] = "webm_remux";
constexpr char kMagic[] = "\x1A\x45\xDF\xA3";  // of EBML

class WebmKill : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!CanTrace()) GTEST_SKIP() << "programs cannot be traced here";
    house_ = std::make_unique<House>(std::vector<std::string>{GetParam()});
    ann_ = std::make_unique<Viewer>(*house_, house_->SignIn("ann"));
    share_ = DigestOf(house_->Share());
  }
  void TearDown() override {
    if (!house_) return;
    EXPECT_TRUE(Eventually([&] { return EncodersIn(house_->Share()).empty(); }));
    EXPECT_EQ(DigestOf(house_->Share()), share_);
    EXPECT_EQ(CodeOf(house_->Send({"Session", "whoami", {}, "GET", ann_->Who().sid})), 0);
  }

  std::unique_ptr<House> house_;
  std::unique_ptr<Viewer> ann_;
  std::string share_;
};
INSTANTIATE_TEST_SUITE_P(Ways, WebmKill, testing::Values(kEncoded, kCopied), [](const auto& instance) {
  return instance.param == std::string(kEncoded) ? "Encoded" : "Copied";
});

std::vector<std::string> StreamsInTheWorkspace() {
  std::vector<std::string> ids;
  for (const auto& entry : fs::directory_iterator(fs::path(kinora::system::kWorkspace) / "WEBM"))
    ids.push_back(entry.path().filename());
  return ids;
}

}  // namespace

TEST_P(WebmKill, AtTheCallsOfAnOpeningOpensNothingHalf) {
  const std::string film = std::to_string(house_->FilmId(ann_->Who(), GetParam()));
  const Call call{"Stream", "open",          {{"id", film}, {"format", kFormat}},
                  "POST",   ann_->Who().sid, ann_->Who().token};
  std::set<std::string> opened;
  const auto open = [&](const CgiCircumstances& circumstances) {
    const CgiRun run = RunCgi(call, circumstances);
    const std::string id = run.Whole() ? ParseJson(run.reply.body)["result"]["stream_id"].asString() : "";
    if (!id.empty()) opened.insert(id);
    return std::make_pair(run.Killed(), !id.empty());
  };
  size_t kills = 0;
  const std::vector<KillPoint> points = KillPointsOf(call);
  ASSERT_GE(points.size(), 10U);
  for (const KillPoint& point : points) {
    kills += open({KilledAt(point.name, point.number), {}}).first ? 1 : 0;
    ASSERT_TRUE(open({}).second) << point.name << " " << point.number;
  }
  EXPECT_GE(kills, points.size() / 2) << "a few calls are not made every time";
  for (const std::string& id : opened) EXPECT_EQ(CodeOf(ann_->Close({id, kFormat})), 0) << id;
  // What was opened half goes in time.
  for (const std::string& id : StreamsInTheWorkspace()) {
    const fs::path folder = ViewedStream{id, kFormat}.Folder();
    if (fs::exists(folder)) MakeOld(fs::canonical(folder));
  }
  engine::Housekeeping housekeeping;
  housekeeping.Sweep();
  housekeeping.Sweep();
  EXPECT_EQ(StreamsInTheWorkspace(), std::vector<std::string>());
}

TEST_P(WebmKill, AtTheCallsOfABodyLeavesNoEncoder) {
  const ViewedStream stream = ann_->Open(GetParam(), kFormat);
  const fs::path folder = fs::canonical(stream.Folder());
  const auto opened = engine::StreamFolder::Open("WEBM", stream.id);
  ASSERT_TRUE(opened);
  const Call call{"Stream", "stream", {{"id", stream.id}, {"format", kFormat}}, "GET", ann_->Who().sid};
  const size_t whole = RunCgi(call).reply.body.size();
  ASSERT_GT(whole, 100'000U);
  size_t kills = 0;
  const std::vector<KillPoint> points = KillPointsOf(call);
  ASSERT_GE(points.size(), 10U);
  for (const KillPoint& point : points) {
    const std::string where = point.name + " " + std::to_string(point.number);
    const CgiRun run = RunCgi(call, {KilledAt(point.name, point.number), {}});
    kills += run.Killed() ? 1 : 0;
    EXPECT_TRUE(Eventually([&] { return EncodersIn(house_->Share()).empty(); })) << where;
    EXPECT_TRUE(Eventually([&] { return !engine::LookAtJob(*opened).running; })) << where;
    const CgiRun again = RunCgi(call);
    EXPECT_EQ(again.reply.status, 200) << where << again.errors;
    EXPECT_TRUE(again.reply.body.starts_with(kMagic)) << where;
    EXPECT_GT(again.reply.body.size(), whole * 9 / 10) << where;
    if (HasFailure()) return;
  }
  EXPECT_GE(kills, points.size() / 2) << "a few calls are not made every time";
  EXPECT_EQ(CodeOf(ann_->Close(stream)), 0);
  EXPECT_FALSE(fs::exists(folder)) << "with what was being written";
  EXPECT_EQ(StreamsInTheWorkspace(), std::vector<std::string>());
}
