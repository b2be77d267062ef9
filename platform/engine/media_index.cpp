#include "platform/engine/media_index.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "platform/base/atomic_file.h"
#include "platform/base/log.h"
#include "platform/engine/film_cache.h"
#include "platform/engine/index_scan.h"
#include "platform/engine/source_file.h"
#include "platform/system/child.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;
using system::ChildResult;

constexpr char kUnit[] = "engine/media_index";
constexpr char kProgram[] = "libexec/kinora-index";
constexpr int kMediaDescriptor = 3;
constexpr size_t kReadStep = size_t{64} << 10;
constexpr uint64_t kScannedAtOnce = uint64_t{256} << 20;  // bytes of a film, less than a second's work
constexpr time_t kUnusedFor = time_t{30} * 24 * 60 * 60;
constexpr time_t kUseNoted = time_t{24} * 60 * 60;
constexpr FilmCache kCache(system::kIndexCache, kUnit);

constexpr system::ChildLimits kLimits{std::chrono::seconds(60), 1ULL << 30, 55, 0, kLongestIndex};

std::string FileOf(const SourceIdentity& source) {
  std::string state = "1";  // the index's version
  for (const auto& number : {std::to_string(source.device), std::to_string(source.inode),
                             std::to_string(source.size), std::to_string(source.modified_ns)}) {
    state += " " + number;
  }
  return kCache.FolderOf(source.path) + "/" + Digest(state);
}

// The first line of a kept index.
std::optional<std::string> FirstLine(int file) {
  std::string text;
  while (text.size() < kLongestIndex) {
    const size_t before = text.size();
    text.resize(before + kReadStep);
    const ssize_t got = ::pread(file, text.data() + before, kReadStep, static_cast<off_t>(before));
    if (got <= 0) return std::nullopt;
    text.resize(before + static_cast<size_t>(got));
    const size_t end = text.find('\n', before);
    if (end == std::string::npos) continue;
    text.resize(end);
    return text;
  }
  return std::nullopt;
}

// Used now: noted once a day.
void NoteUse(int file, const struct stat& status) {
  if (::time(nullptr) - status.st_mtime > kUseNoted) ::futimens(file, nullptr);
}

// Empty when nothing is kept of this state of the film. A file whose first byte is zero is torn.
base::Descriptor OpenKept(const std::string& path) {
  base::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  struct stat status {};
  char first = '\0';
  if (!file || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  if (::pread(file.Get(), &first, 1, 0) != 1 || first == '\0') return {};
  NoteUse(file.Get(), status);
  return file;
}

// A torn or foreign file counts as none.
std::optional<MediaIndex> Kept(const std::string& path) {
  base::Descriptor file = OpenKept(path);
  const std::optional<std::string> line = file ? FirstLine(file.Get()) : std::nullopt;
  std::optional<FilmCuts> film = line ? ParseFilmCuts(*line) : std::nullopt;
  if (!film || !film->indexed) return std::nullopt;
  return MediaIndex{std::move(*film), std::move(file)};
}

// A helper that somebody killed, the kernel for want of memory perhaps, is given one more try.
ChildResult AskHelper(int source, bool scan) {
  system::Command command;
  command.arguments = {system::InTarget(kProgram)};
  if (scan) command.arguments.emplace_back("--scan");
  command.descriptors = {{source, kMediaDescriptor}};
  command.limits = kLimits;
  ChildResult result = system::RunChild(command);
  const bool killed = result.end == ChildResult::End::kSignalled && result.status == SIGKILL;
  return killed ? system::RunChild(command) : result;
}

// Those of films that nobody has used for long, and of which nothing is kept at all.
void RemoveUnused() {
  std::error_code error;
  const time_t now = ::time(nullptr);
  for (const fs::path& folder : kCache.Folders()) {
    bool used = false;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
      struct stat status {};
      used = used || (::lstat(entry.path().c_str(), &status) == 0 && now - status.st_mtime < kUnusedFor);
    }
    if (!used) kCache.Remove(folder);
  }
}

void RemoveEarlierStates(const std::string& path) {
  std::error_code error;
  const fs::path kept(path);
  for (const fs::directory_entry& entry : fs::directory_iterator(kept.parent_path(), error)) {
    const std::string name = entry.path().filename();
    if (name != kFilmLock && name != kScanLock && name != kept.filename()) fs::remove(entry.path(), error);
  }
}

// The film's index is in its place: everything that others have left goes.
std::optional<MediaIndex> Settle(const std::string& path) {
  RemoveEarlierStates(path);
  RemoveUnused();
  return Kept(path);
}

std::optional<MediaIndex> Make(const SourceIdentity& source, const std::string& path, std::string& reason) {
  const base::Descriptor film = OpenSource(source);
  if (!film) {
    reason = "it is gone or another file";
    return std::nullopt;
  }
  const std::string scanned = path + kScanSuffix;
  if (IsScanRunning(scanned)) return MediaIndex{};
  if (Kept(scanned)) {
    fs::rename(scanned, path);
    return Settle(path);
  }
  ChildResult result = AskHelper(film.Get(), false);
  std::optional<FilmCuts> cuts;
  for (int scan = 0; scan < 2 && result.Succeeded(); ++scan) {
    cuts = ParseFilmCuts(std::string_view(result.output).substr(0, result.output.find('\n')));
    if (!cuts || cuts->indexed || source.size > kScannedAtOnce || scan == 1) break;
    result = AskHelper(film.Get(), true);
  }
  if (!cuts || !result.Succeeded()) {
    reason = "the index helper cannot tell where it can be cut";
    return std::nullopt;
  }
  if (!cuts->indexed) {
    StartScan(film, scanned);
    return MediaIndex{};
  }
  // The helper read an open file: what it said is kept only if that is still what the name stands for.
  if (!OpenSource(source)) {
    reason = "it is gone or another file";
    return std::nullopt;
  }
  base::WriteFileAtomically(path, result.output, 0600);
  return Settle(path);
}

}  // namespace

std::optional<MediaIndex> IndexOf(const SourceIdentity& source, std::string& reason) {
  const std::string path = FileOf(source);
  try {
    if (std::optional<MediaIndex> kept = Kept(path)) return kept;
    const base::Descriptor lock = kCache.Lock(kCache.FolderOf(source.path));
    if (std::optional<MediaIndex> kept = Kept(path)) return kept;  // somebody else was at it while we waited
    return Make(source, path, reason);
  } catch (const std::system_error& error) {
    reason = error.what();
    base::Log(LOG_ERR, kUnit, "No index of [" + source.path + "]: " + reason);
    return std::nullopt;
  }
}

base::Descriptor IndexFileOf(const SourceIdentity& source, std::string& reason) {
  if (base::Descriptor kept = OpenKept(FileOf(source))) return kept;
  std::optional<MediaIndex> index = IndexOf(source, reason);
  return index ? std::move(index->file) : base::Descriptor();
}

void ForgetIndex(const SourceIdentity& source) { ::unlink(FileOf(source).c_str()); }

void KeepIndexesOf(const std::function<std::vector<std::string>()>& films) { kCache.KeepOnly(films); }

}  // namespace kinora::engine
