#include "tests/faults/long_film.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace kinora::test {

namespace fs = std::filesystem;

void AddLongFilm(const House& house, const SignedIn& who, int times) {
  const fs::path film = house.Share() / kLongFilm;
  const fs::path making = fs::temp_directory_path() / "making.mp4";
  Process ffmpeg(
      {"/usr/bin/ffmpeg", "-nostdin", "-v", "error", "-y", "-stream_loop", std::to_string(times - 1), "-i",
       fs::path(KINORA_MEDIA_DIR) / "black_start.mp4", "-c", "copy", making},
      fs::temp_directory_path() / "ffmpeg.out", fs::temp_directory_path() / "ffmpeg.err");
  if (ffmpeg.Wait() != 0) throw std::runtime_error("no long film");
  fs::copy_file(making, film);
  fs::remove(making);
  // What has just been written is left for the next scan.
  fs::last_write_time(film, fs::file_time_type::clock::now() - std::chrono::hours(1));
  house.Send({"Catalog", "rescan", {}, "POST", who.sid, who.token});
  const bool listed = Eventually([&] {
    const Reply list = house.Send({"Catalog", "list", {{"limit", "1000"}}, "GET", who.sid});
    return list.body.find(kLongFilm) != std::string::npos;
  });
  if (!listed) throw std::runtime_error("the long film is not found: " + house.Log());
}

bool IsLong() { return getenv("KINORA_FAULTS_LONG") != nullptr; }

static bool IsWhole(const Reply& reply) {
  const auto length = reply.Header("Content-Length");
  return !length || reply.body.size() == std::stoull(*length);
}

Reply Persist(const std::function<Reply()>& request) {
  Reply reply;
  Eventually([&] {
    reply = request();
    return reply.status != 0 && reply.status < 500 && IsWhole(reply);
  });
  return reply;
}

}  // namespace kinora::test
