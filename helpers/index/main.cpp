// kinora-index [--scan]: tells how the film that is open as descriptor 3 can be cut without encoding it.
// Takes the container's own index; with --scan it reads the whole file. Opens nothing, ends as exit_codes.h
// says.
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

#include <cstdio>
#include <string_view>

#include "helpers/common/answer.h"
#include "helpers/common/exit_codes.h"
#include "helpers/index/cut_film.h"

namespace {

using kinora::helper::CutFilm;

constexpr int64_t kWithoutScan = int64_t{512} << 20;

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

std::string Index(bool scan) {
  kinora::helper::InputOptions options;
  options.plain_times = true;
  options.budget = scan ? INT64_MAX : kWithoutScan;
  kinora::helper::MediaInput input(kinora::helper::kMediaDescriptor, options);
  const std::optional<CutFilm> film = kinora::helper::CutUp(input, scan);
  Json::Value summary;
  summary["indexed"] = false;
  if (film) summary = Summary(*film);
  Json::StreamWriterBuilder compact;
  compact["indentation"] = "";
  const std::string line = Json::writeString(compact, summary) + "\n";
  return film ? line + kinora::helper::Serialize(film->index) : line;
}

}  // namespace

int main(int count, char** arguments) {
  const bool scan = count == 2 && std::string_view(arguments[1]) == "--scan";
  if (count != 1 && !scan) {
    std::fputs("usage: kinora-index [--scan] 3<FILE\n", stderr);
    return kinora::helper::kUsage;
  }
  return kinora::helper::Answer([scan] { return Index(scan); });
}
