// kinora-index [--scan | --scan-to-file]: tells how the film that is open as descriptor 3 can be cut without
// encoding it. Takes the container's own index; with --scan it reads the whole file. Opens nothing, ends as
// exit_codes.h says.
//
// With --scan-to-file it reads the whole file and writes to descriptor 4, an empty file. The first byte comes
// last: a file that begins with a zero byte is torn. What goes wrong with the film is an answer then, too: it
// is the film's trouble.
//
// It writes one line of JSON for whoever plans the stream, and behind it the index for kinora-remux
// (helpers/common/film_index.h):
//
//   indexed       false: the file has no index and was not scanned; nothing else is told
//   video         the stream's number in the file; -1: it is cut by its sound
//   trouble       why the video cannot be copied; empty: it can
//   cuts          where fragments start and where the last one ends, on the clock of transport streams, in
//                 media time; the first is 0
//   frame_rate    of the video, numerator and denominator; 0 where it is not known
//   codec         of the video, as RFC 6381 names it
//   peak_bitrate  bits per second between two cuts, of the whole file; 0 where it is not known
#include <json/json.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <new>
#include <string_view>

#include "helpers/common/answer.h"
#include "helpers/common/exit_codes.h"
#include "helpers/index/cut_film.h"

namespace {

using kinora::helper::CutFilm;
using kinora::helper::Failure;

constexpr int64_t kWithoutScan = int64_t{512} << 20;
constexpr int kFileDescriptor = 4;
constexpr uint64_t kLargestFile = uint64_t{64} << 20;
constexpr uint64_t kScanSeconds = 600;  // of the processor; enough for some hundred gigabytes

Json::Value Summary(const CutFilm& film) {
  Json::Value summary(Json::objectValue);
  summary["indexed"] = true;
  const kinora::helper::IndexTrack& anchor = film.index.tracks[static_cast<size_t>(film.index.anchor)];
  summary["video"] = anchor.IsAudio() ? -1 : anchor.stream;
  summary["trouble"] = film.trouble;
  Json::Value& cuts = summary["cuts"] = Json::Value(Json::arrayValue);
  cuts.append(0);
  for (size_t i = 1; i < film.index.cuts.size(); ++i) {
    cuts.append(Json::Int64(film.index.TicksOf(film.index.cuts[i])));
  }
  cuts.append(Json::Int64(film.index.end));
  summary["frame_rate"].append(film.frame_rate.num);
  summary["frame_rate"].append(film.frame_rate.den);
  summary["codec"] = film.codec_string;
  summary["peak_bitrate"] = Json::Int64(film.peak_bitrate);
  return summary;
}

std::string Line(const Json::Value& summary) {
  Json::StreamWriterBuilder compact;
  compact["indentation"] = "";
  return Json::writeString(compact, summary) + "\n";
}

std::string Index(bool scan) {
  kinora::helper::InputOptions options;
  options.plain_times = true;
  options.budget = scan ? INT64_MAX : kWithoutScan;
  kinora::helper::MediaInput input(kinora::helper::kMediaDescriptor, options);
  const std::optional<CutFilm> film = kinora::helper::CutUp(input, scan);
  Json::Value summary;
  summary["indexed"] = false;
  if (film) summary = Summary(*film);
  return film ? Line(summary) + kinora::helper::Serialize(film->index) : Line(summary);
}

// Of a film in which there is nothing to be cut.
std::string Refusal(const std::string& trouble) {
  Json::Value summary(Json::objectValue);
  summary["indexed"] = true;
  summary["video"] = -1;
  summary["trouble"] = trouble;
  summary["cuts"] = Json::Value(Json::arrayValue);
  summary["frame_rate"].append(0);
  summary["frame_rate"].append(0);
  summary["codec"] = "";
  summary["peak_bitrate"] = 0;
  return Line(summary);
}

void WriteAt(std::string_view bytes, off_t place) {
  while (!bytes.empty()) {
    const ssize_t written = ::pwrite(kFileDescriptor, bytes.data(), bytes.size(), place);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) throw Failure(kinora::helper::kNoOutput, "the file takes no more");
    bytes.remove_prefix(static_cast<size_t>(written));
    place += written;
  }
}

std::string ScanToFile() {
  std::string answer;
  try {
    answer = Index(true);
  } catch (const Failure& failure) {
    answer = Refusal(failure.what());
  } catch (const std::bad_alloc&) {
    answer = Refusal("it asks for more memory than is given");
  }
  const std::string_view bytes = answer;
  WriteAt(bytes.substr(1), 1);
  if (::fdatasync(kFileDescriptor) != 0) throw Failure(kinora::helper::kNoOutput, "the file cannot be kept");
  WriteAt(bytes.substr(0, 1), 0);
  return "";
}

}  // namespace

int main(int count, char** arguments) {
  const std::string_view option = count == 2 ? arguments[1] : "";
  if (option == "--scan-to-file") return kinora::helper::Answer(ScanToFile, kLargestFile, kScanSeconds);
  const bool scan = option == "--scan";
  if (count != 1 && !scan) {
    std::fputs("usage: kinora-index [--scan | --scan-to-file] 3<FILE [4>INDEX]\n", stderr);
    return kinora::helper::kUsage;
  }
  return kinora::helper::Answer([scan] { return Index(scan); });
}
