// copy_stub FILM [FRAGMENT [ZYGOTE]]: plans a copy of a film and makes its fragment 1; one line: the outcome,
// and how many files the stream has then. FRAGMENT is where a fragment that is ready goes; ZYGOTE a program
// that is started as the zygote of kinora-remux before.
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>

#include "contract/engine/http_live_stream.h"
#include "platform/base/file_time.h"
#include "platform/engine/copied_fragment.h"
#include "tests/unit/platform/engine/zygote_process.h"

int main(int count, char** arguments) {
  using namespace kinora::engine;
  struct stat status {};
  if (count < 2 || ::stat(arguments[1], &status) != 0) return 64;
  if (count > 3) StartZygote(arguments[3]);
  StreamPlan plan;
  plan.source.identity = {arguments[1], status.st_dev, status.st_ino, static_cast<uint64_t>(status.st_size),
                          kinora::base::NanosecondsOf(status.st_mtim)};
  const std::string suffix = std::filesystem::path(arguments[1]).extension();
  plan.source.container = suffix == ".ts" ? "mpegts" : suffix.substr(1);
  plan.source.video.track = 0;
  plan.source.video.codec = "h264";
  const CopyDecision decision = PlanCopy(plan.source);
  if (decision.verdict != CopyVerdict::kCopies) {
    std::printf("not planned: %s\n", decision.reason.c_str());
    return 0;
  }
  plan.video = VideoWay::kCopy;
  plan.grid = decision.plan.grid;
  const LibCrvnVTE::VTEInitArgument film(arguments[1], "HLS", "/profiles", "hd_high");
  const auto folder = StreamFolder::Open("HLS", LibCrvnVTE::VTEStream::VTE_Init(film));
  if (!folder) return 66;
  folder->MakeWorkFolder();
  const FragmentOutcome outcome = PrepareCopied(*folder, plan, 1);
  const char* const outcomes[] = {"ready", "no job", "no space", "gone", "failed"};
  const auto files = std::distance(std::filesystem::directory_iterator(folder->WorkPath("")), {});
  if (count > 2 && outcome == FragmentOutcome::kReady) {
    std::filesystem::copy_file(folder->WorkPath("1.ts"), arguments[2]);
  }
  std::printf("%s, %d\n", outcomes[static_cast<int>(outcome)], static_cast<int>(files));
  return 0;
}
