#include "library/subtitle/extraction.h"

#include <strings.h>
#include <sys/stat.h>

#include <array>
#include <cstdlib>
#include <optional>

#include "contract/media/lock.h"
#include "contract/system/hlibc.h"
#include "contract/system/subtitle_files.h"
#include "library/log.h"
#include "library/subtitle/cache_file.h"
#include "library/subtitle/cache_freshness.h"
#include "library/subtitle/cache_names.h"
#include "library/subtitle/log_unit.h"
#include "library/subtitle/older_cache.h"
#include "library/subtitle/reader_text.h"
#include "library/subtitle/rip_subtitle.h"
#include "library/subtitle/scratch_file.h"
#include "library/subtitle/subtitle_list.h"
#include "library/to_utf8.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr int kForkFailed = -1;
constexpr int kForkedHere = 1;  // in the process that has asked

bool IsSubRip(const std::string& subtitle_path) {
  const std::string extension = libkn::subtitle::PathInfo(subtitle_path)["extension"].asString();
  return strcasecmp(extension.c_str(), "srt") == 0;
}

int TrackOf(const GetMethodArguments& request) {
  if (!request.IsEmbedded()) return kNoTrack;
  return static_cast<int>(std::strtol(request.subtitle_id.c_str(), nullptr, 10));
}

const std::string& SourceOf(const GetMethodArguments& request) {
  return request.IsEmbedded() ? request.video_path : request.subtitle_id;
}

// Which file it is, and in which state.
std::array<int64_t, 5> MarksOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return {};
  return {static_cast<int64_t>(status.st_dev), static_cast<int64_t>(status.st_ino), status.st_size,
          status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

bool IsEmptyFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && status.st_size == 0;
}

bool CopyRipped(const std::string& ripped, const std::string& v1_path) {
  if (CopyToCache(ripped, v1_path)) return true;
  KINORA_LOG(LOG_ERR, kLogUnit, "/bin/cp %s %s, failed", ripped.c_str(), v1_path.c_str());
  return false;
}

// What ffmpeg is given, and how many cues are in it, where that is known.
struct Input {
  std::string path;
  std::optional<size_t> cues;
};

void ReportLosses(const GetMethodArguments& request, const Input& input, const ScratchFile& ripped) {
  if (!input.cues || request.preview) return;
  const size_t left = CountCues(ripped.Read()).value_or(0);
  if (left >= *input.cues) return;
  KINORA_LOG(LOG_WARNING, kLogUnit, "ffmpeg took %zu of %zu cues from %s", left, *input.cues,
             request.subtitle_id.c_str());
}

bool Extract(const GetMethodArguments& request, const Input& input, const std::string& v1_path) {
  const std::string& source = SourceOf(request);
  const auto marks = MarksOf(source);
  const ScratchFile ripped("ffmpeg", "srt");
  if (!RipSubtitle({input.path, TrackOf(request), request.preview}, ripped.Path())) {
    KINORA_LOG(LOG_ERR, kLogUnit, "RipSubtitle failed, %s", source.c_str());
    return false;
  }
  if (MarksOf(source) != marks) {
    KINORA_LOG(LOG_ERR, kLogUnit, "%s has changed while it was read", source.c_str());
    return false;
  }
  ReportLosses(request, input, ripped);
  if (IsEmptyFile(ripped.Path())) {
    KINORA_LOG(LOG_ERR, kLogUnit, "no text in subtitle %s of %s", request.subtitle_id.c_str(),
               request.video_path.c_str());
    return false;
  }
  return CopyRipped(ripped.Path(), v1_path);
}

// Gives the number of cues.
std::optional<size_t> PutRight(const ScratchFile& text) {
  const std::string before = text.Read();
  const std::string after = ForReader(before);
  if (after != before) text.Overwrite(after);
  return CountCues(before);
}

bool ExtractFromFile(const GetMethodArguments& request, const std::string& v1_path) {
  const ScratchFile text("utf8-1", "srt");
  if (!ToUTF8(request.subtitle_id, "auto", text.Path())) return false;
  return Extract(request, {text.Path(), PutRight(text)}, v1_path);
}

// By one process at a time; who comes second finds the file made.
bool ExtractAlone(const GetMethodArguments& request, const std::string& v1_path) {
  const LibKinora::Lock lock(LockPath(v1_path), false);
  if (!lock.IsLockSucess()) return false;
  if (IsFresh(v1_path, request)) return true;
  if (request.IsEmbedded()) return Extract(request, {request.video_path, std::nullopt}, v1_path);
  return ExtractFromFile(request, v1_path);
}

// Nothing of it gets into the answer to the request, no failure either.
[[noreturn]] void ExtractAndExit(const GetMethodArguments& request, const std::string& v1_path) noexcept {
  const bool extracted = ExtractAlone(request, v1_path);
  std::exit(extracted ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace

bool GenerateV1(const GetMethodArguments& request, const std::string& v1_path) {
  if (!request.IsEmbedded() && IsSubRip(request.subtitle_id))
    return CopyToCache(request.subtitle_id, v1_path);
  std::string older;
  if (FindOlderCache(request.video_path, request.subtitle_id, TrackOf(request), older) == 1)
    return CopyToCache(older, v1_path);
  if (!request.output_webvtt) return ExtractAlone(request, v1_path);
  const int forked = HLIBCProcForkChildNoWait();
  if (forked == kForkFailed) KINORA_LOG(LOG_ERR, kLogUnit, "HLIBCProcForkChildNoWait failed");
  if (forked == kForkFailed || forked == kForkedHere) return false;
  ExtractAndExit(request, v1_path);
}

bool IsEmbeddedSubtitleHasCached(const std::string& video_path, int track) {
  GetMethodArguments request;
  request.video_path = video_path;
  request.subtitle_id = std::to_string(track);
  struct stat status {};
  const std::string v1_path = V1Path(request);
  if (!v1_path.empty() && ::stat(v1_path.c_str(), &status) == 0) return true;
  std::string older;
  return FindOlderCache(video_path, "", track, older) == 1;
}

}  // namespace crvnkn::webapi::subtitle
