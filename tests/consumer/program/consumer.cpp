// A caller of the installed library: provides its own side of the contract and meets the library's objects
// and errors across the shared objects. Its exit status is the number of checks that failed.
#include <contract/webapi/error.h>
#include <contract/webapi/join_string.h>
#include <contract/webapi/sleep.h>
#include <library/subtitle/subtitle_discovery.h>
#include <library/subtitle/subtitle_download.h>
#include <library/video.h>
#include <library/vte/adapt_streamer.h>
#include <library/vte/open_argument.h>
#include <library/vte/stream_initer.h>
#include <library/vte/streamer_dispatch.h>
#include <library/vte/throw_vte_error.h>

#include <functional>
#include <iostream>

namespace {

int failed_checks = 0;
int joins = 0;

void Check(bool holds, const std::string& what) {
  if (holds) return;
  ++failed_checks;
  std::cerr << "failed: " << what << '\n';
}

void CheckError(int code, const std::string& message, const std::function<void()>& action) {
  try {
    action();
    Check(false, "an Error with code " + std::to_string(code));
  } catch (const crvnkn::webapi::Error& error) {
    Check(error.Code() == code && error.Message() == message,
          "Error " + std::to_string(code) + " " + message + ", not " + std::to_string(error.Code()) + " " +
              error.Message());
  }
}

}  // namespace

namespace crvnkn {

std::string JoinString(const std::vector<std::string>& parts, const std::string& separator) {
  ++joins;
  std::string joined;
  for (const std::string& part : parts) joined += (joined.empty() ? "" : separator) + part;
  return joined;
}

void SleepMillisecond(unsigned int) {}

}  // namespace crvnkn

int main() {
  using namespace crvnkn::webapi;

  CheckError(101, "Bad parameter", [] { vte::OpenArgument().CheckFilePath(); });
  CheckError(1101, "", [] { GetFilePathByID(0); });
  vte::OpenArgument missing;
  missing.file_path = "/nonexistent/film.mp4";
  missing.format = "raw";
  CheckError(1211, "Failed to get track information /nonexistent/film.mp4",
             [&] { vte::StreamIniter initer(missing); });
  AssertVideoAllowed(1, 0, "");

  Check(vte::GetStreamerAPI("id", "webm") == nullptr, "no streamer for an unknown format");
  const std::unique_ptr<vte::Streamer> streamer = vte::GetStreamerAPI("consumer", "RAW");
  Check(streamer != nullptr, "a streamer for a raw stream");
  if (streamer) {
    streamer->SetSeekTime(1);
    Check(streamer->GetPathSourceFile() == "/tmp/Kinora/RAW/consumer/filepath",
          "the path of the source's file");
    Check(!streamer->Stream(), "no answer for a stream that is not there");
  }
  const std::unique_ptr<vte::Streamer> hls = vte::GetStreamerAPI("consumer", "hls_remux");
  Check(dynamic_cast<vte::AdaptStreamer*>(hls.get()) != nullptr, "a streamer of fragments for an HLS stream");
  if (hls) Check(!hls->Stream(), "no playlist of a stream that is not there");
  CheckError(1205, "", [] { vte::ThrowVTEError("TransVideoNotSupported"); });
  Check(joins > 0, "the library joins paths by its caller's function");
  Json::Value answer;
  Check(!subtitle::DownloadSubtitle("/nonexistent/film.mp4", "plugin", "1", answer) && answer.isNull(),
        "no subtitle from a plug-in that is not there");
  Check(!subtitle::IsValidSubtitleFile(""), "no subtitle without a name");
  Check(!vte::CloseHandler("", "raw"), "no close without an id");
  return failed_checks;
}
