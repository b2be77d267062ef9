// The process of one request is killed at each of its system calls in turn: no half answer passes for a whole
// one, and the next request does not notice.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "platform/system/places.h"
#include "tests/faults/cgi.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

// Every call that leaves something behind, starts something or changes who this is.
constexpr const char* kCalls[] = {"openat",    "write",  "pwrite64", "sendfile", "rename",
                                  "link",      "unlink", "mkdir",    "mkdirat",  "symlinkat",
                                  "ftruncate", "fsync",  "clone",    "clone3",   "setresuid"};

// What the loader opens does not differ from one request to the next: it is left to the long run.
int FirstOwn(const Call& call, const std::string& system_call) {
  if (system_call != "openat" || getenv("KINORA_FAULTS_LONG") != nullptr) return 1;
  const std::vector<std::string> calls = CallsMadeBy(call, "openat");
  for (size_t i = 0; i < calls.size(); ++i) {
    if (calls[i].find("kinora.conf") != std::string::npos) return static_cast<int>(i + 1);
  }
  ADD_FAILURE() << "the settings are not read";
  return 1;
}

bool IsLocked(const fs::path& file) {
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool locked = flock(descriptor, LOCK_EX | LOCK_NB) != 0;
  close(descriptor);
  return locked;
}

std::vector<std::string> LockedFiles() {
  std::vector<std::string> locked;
  for (const auto& entry : fs::recursive_directory_iterator(kinora::system::kVar)) {
    // The supervisor holds its own.
    if (entry.path().string().starts_with(kinora::system::kRunFolder) || !entry.is_regular_file()) continue;
    if (IsLocked(entry.path())) locked.push_back(entry.path());
  }
  return locked;
}

// But the zygote, whose runs bear its command line.
bool NoHelperIsLeft(const House& house) {
  const std::vector<pid_t> zygotes = DescendantsLike(house.Pid(), "--zygote");
  for (const auto& entry : fs::directory_iterator("/proc")) {
    std::error_code gone;
    const fs::path program = fs::read_symlink(entry.path() / "exe", gone);
    if (program.string().find("/libexec/") == std::string::npos) continue;
    const auto is_this = [&](pid_t pid) { return std::to_string(pid) == entry.path().filename(); };
    if (std::none_of(zygotes.begin(), zygotes.end(), is_this)) return false;
  }
  return zygotes.size() <= 1;
}

class Kill : public testing::Test {
 protected:
  void SetUp() override {
    if (!CanTrace()) GTEST_SKIP() << "programs cannot be traced here";
    house_ = std::make_unique<House>();
    ann_ = house_->SignIn("ann");
    film_ = std::to_string(house_->FilmId(ann_, "h264_aac.mp4"));
    share_ = DigestOf(house_->Share());
  }

  // `succeeded` says whether the answer, which is whole, is the right one. `prepare` comes before each run.
  void AtEveryCall(
      const std::function<Call()>& call, const std::function<bool(const CgiRun&)>& succeeded,
      const std::function<void()>& prepare = [] {}) {
    int kills = 0;
    for (const char* name : kCalls) {
      prepare();
      CgiRun run;
      for (int n = FirstOwn(call(), name);; ++n) {
        prepare();
        run = RunCgi(call(), {KilledAt(name, n), {}});
        if (!run.Killed()) break;
        ++kills;
        const std::string where = std::string(name) + " " + std::to_string(n);
        EXPECT_TRUE(!run.Whole() || run.reply.status != 200 || succeeded(run)) << where;
        const CgiRun again = RunCgi(call());
        EXPECT_TRUE(again.Whole() && succeeded(again))
            << where << again.output.substr(0, 500) << again.errors;
        EXPECT_TRUE(!scratch_goes_ || ScratchFiles().empty()) << where;
        if (HasFailure()) return;
      }
      EXPECT_TRUE(run.Whole() && succeeded(run)) << name << " untouched: " << run.output.substr(0, 500);
    }
    RecordProperty("kills", kills);
    EXPECT_GE(kills, 10);
    ExpectNothingLeft();
  }

  void ExpectNothingLeft() const {
    EXPECT_TRUE(Eventually([&] { return NoHelperIsLeft(*house_); }));
    EXPECT_TRUE(Eventually([] { return LockedFiles().empty(); })) << testing::PrintToString(LockedFiles());
    EXPECT_EQ(DigestOf(house_->Share()), share_);
    EXPECT_EQ(CodeOf(house_->Send({"Session", "whoami", {}, "GET", ann_.sid})), 0) << "through the front";
  }

  bool scratch_goes_ = true;  // with the next request of this kind
  std::unique_ptr<House> house_;
  SignedIn ann_;
  std::string film_;
  std::string share_;
};

bool IsResult(const CgiRun& run) { return CodeOf(run.reply) == 0; }

void ForgetPictures() {
  if (fs::exists(kinora::system::kPictureCache)) fs::remove_all(kinora::system::kPictureCache);
}

}  // namespace

TEST_F(Kill, AtEveryCallOfASignInLetsTheNextOneIn) {
  const Call call{"Session", "sign_in", {{"user", "ann"}, {"password", PasswordOf("ann")}}, "POST"};
  AtEveryCall([&] { return call; },
              [](const CgiRun& run) { return run.reply.Header("Set-Cookie").has_value() && IsResult(run); });
  EXPECT_EQ(ScratchFiles(), std::vector<std::string>{});
}

TEST_F(Kill, AtEveryCallOfAListLeavesTheListWhole) {
  const Call call{"Catalog", "list", {}, "GET", ann_.sid};
  AtEveryCall([&] { return call; },
              [](const CgiRun& run) { return ParseJson(run.reply.body)["result"]["total"].asInt() == 1; });
  EXPECT_EQ(ScratchFiles(), std::vector<std::string>{});
}

TEST_F(Kill, AtEveryCallOfAnOpenOpensNothingHalf) {
  const Call call{"Stream", "open", {{"id", film_}, {"format", "raw"}}, "POST", ann_.sid, ann_.token};
  scratch_goes_ = false;  // that of a half opened stream goes with its folder
  std::vector<std::string> opened;
  AtEveryCall([&] { return call; },
              [&](const CgiRun& run) {
                const std::string id = ParseJson(run.reply.body)["result"]["stream_id"].asString();
                if (!id.empty()) opened.push_back(id);
                return !id.empty();
              });
  for (const std::string& id : opened) {
    EXPECT_EQ(house_->Stream(ann_, id, {"Range: bytes=0-0"}).status, 206) << id;
    EXPECT_EQ(CodeOf(house_->Close(ann_, id)), 0) << id;
  }
  // What was opened half belongs to nobody, and has no answer.
  for (const std::string& link : StreamLinks()) {
    const std::string id = fs::path(link).filename();
    const int status = house_->Stream(ann_, id).status;
    EXPECT_TRUE(status == 404 || status == 200) << id << " " << status;
  }
}

TEST_F(Kill, AtEveryCallOfAStreamNeverPassesAPieceForTheWhole) {
  const std::string film = ReadWhole(house_->Share() / "h264_aac.mp4");
  const std::string stream = house_->OpenStream(ann_, std::stoi(film_));
  const Call call{"Stream", "stream", {{"id", stream}, {"format", "raw"}}, "GET", ann_.sid};
  AtEveryCall([&] { return call; }, [&](const CgiRun& run) { return run.reply.body == film; });
  EXPECT_EQ(StreamLinks().size(), 1U);
  EXPECT_EQ(ScratchFiles(), std::vector<std::string>{});
}

TEST_F(Kill, AtEveryCallOfAPictureKeepsNoHalfPicture) {
  const Call call{"Film", "picture", {{"id", film_}}, "GET", ann_.sid};
  AtEveryCall([&] { return call; },
              [](const CgiRun& run) {
                return run.reply.status == 200 && run.reply.body.starts_with("\xFF\xD8") &&
                       run.reply.body.ends_with("\xFF\xD9");
              },
              ForgetPictures);
  EXPECT_EQ(ScratchFiles(), std::vector<std::string>{}) << "the next one cleans up";
}
