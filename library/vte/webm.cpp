#include "library/vte/webm.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>

#include "contract/engine/webm_stream.h"
#include "library/log.h"
#include "library/vte/utils.h"

namespace crvnkn::webapi::vte {
namespace {

constexpr char kLogUnit[] = "vte/webm";
constexpr char kFfmpeg[] = "/var/packages/Kinora/target/bin/ffmpeg";
constexpr unsigned int kPieceSize = 1024;  // bytes; small, so that the player gets them as they are made

// A time that the engine's type cannot hold lies behind the end of any film.
int ToSeconds(unsigned long seek_time) {
  return static_cast<int>(std::min<unsigned long>(seek_time, INT_MAX));
}

void PrintHeader() {
  std::fputs(
      "Status: 200 OK\r\n"
      "Content-Type: video/webm\r\n",
      stdout);
  PrintChromecastHeader();
  std::fputs("\r\n", stdout);
  std::fflush(stdout);
}

// Until the film or the client's patience ends.
void PassOn(LibCrvnVTE::WebMStream& stream) {
  for (;;) {
    std::array<char, kPieceSize> piece{};
    const int count = stream.Read(piece.data(), kPieceSize);
    if (count < 1) {
      KINORA_LOG(LOG_ERR, kLogUnit, "Failed to WEBM VTE - Read");
      return;
    }
    if (write(STDOUT_FILENO, piece.data(), static_cast<size_t>(count)) < count) {
      stream.KillMonitor();
      KINORA_LOG(LOG_ERR, kLogUnit, "Failed to WEBM VTE - Write");
      return;
    }
  }
}

}  // namespace

WEBM::WEBM(const std::string& stream_id) : Streamer(stream_id, kWebm) {}
WEBM::~WEBM() = default;

void WEBM::SetSeekTime(unsigned long seconds) { seek_time_ = seconds; }

bool WEBM::StreamImp() const {
  LibCrvnVTE::WebMStream stream(stream_id_);
  if (!stream.Transcoding(kFfmpeg, ToSeconds(seek_time_))) {
    KINORA_LOG(LOG_ERR, kLogUnit, "Failed to WEBM VTE - Transcoding [%s]", stream_id_.c_str());
    return false;
  }
  PrintHeader();
  PassOn(stream);
  std::fflush(stdout);
  return true;
}

bool WEBM::CloseImp() const { return LibCrvnVTE::WebMStream(stream_id_).Close(); }

}  // namespace crvnkn::webapi::vte
