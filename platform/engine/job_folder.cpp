#include "platform/engine/job_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "platform/base/descriptor.h"
#include "platform/base/file_time.h"
#include "platform/base/plain_file.h"
#include "platform/engine/job_lock.h"
#include "platform/engine/stream_places.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

constexpr char kWanted[] = "wanted";
constexpr char kRecord[] = "job.json";
constexpr char kLock[] = "job.lock";
constexpr char kWaiting[] = "waiting";
constexpr std::string_view kExtension = ".ts";
constexpr size_t kLongestRecord = size_t{64} << 10;
constexpr int64_t kNanosecondsInMs = 1'000'000;

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

base::Descriptor OpenForReading(const std::string& path) {
  return base::Descriptor(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

// Since the file was written. Nothing when there is none.
std::optional<int64_t> AgeOf(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
  return (base::NowInNanoseconds() - base::NanosecondsOf(status.st_mtim)) / kNanosecondsInMs;
}

std::optional<int> NumberOf(std::string_view name) {
  if (!name.ends_with(kExtension)) return std::nullopt;
  name.remove_suffix(kExtension.size());
  int number = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  if (error != std::errc() || end != name.data() + name.size()) return std::nullopt;
  return number;
}

}  // namespace

std::string FragmentPath(const StreamFolder& folder, int number) {
  return folder.WorkPath(std::to_string(number) + std::string(kExtension));
}

bool HasFragment(const StreamFolder& folder, int number) {
  return base::IsPlainFile(FragmentPath(folder, number));
}

std::vector<int> PresentFragments(const StreamFolder& folder) {
  std::vector<int> numbers;
  std::error_code error;
  for (fs::directory_iterator entry(folder.WorkPath("."), error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    const std::optional<int> number = NumberOf(entry->path().filename().native());
    if (number) numbers.push_back(*number);
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

// Overwritten in one piece of fixed length: who reads it sees the old number or the new one.
void NoteWanted(const StreamFolder& folder, int number) {
  const std::string path = folder.WorkPath(kWanted);
  const base::Descriptor file(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644));
  if (!file) Fail("cannot write " + path);
  ::fchmod(file.Get(), 0644);  // whatever the mask: the supervisor may be another account
  std::array<char, 16> text{};
  const int size = std::snprintf(text.data(), text.size(), "%06d\n", number);
  if (::pwrite(file.Get(), text.data(), static_cast<size_t>(size), 0) != size) Fail("cannot write " + path);
}

int64_t IdleMilliseconds(const StreamFolder& folder) { return AgeOf(folder.WorkPath(kWanted)).value_or(0); }

base::Descriptor WaitForJob(const StreamFolder& folder) { return ShareLock(folder.WorkPath(kWaiting)); }

bool IsJobWaitedFor(const StreamFolder& folder) { return IsJobLockHeld(folder.WorkPath(kWaiting)); }

bool IsJobRunning(const StreamFolder& folder) { return IsJobLockHeld(folder.WorkPath(kLock)); }

std::optional<JobRecord> ReadJobRecord(const StreamFolder& folder) {
  const base::Descriptor file = OpenForReading(folder.WorkPath(kRecord));
  if (!file) return std::nullopt;
  std::string text(kLongestRecord, '\0');
  const ssize_t got = ::read(file.Get(), text.data(), text.size());
  text.resize(got < 0 ? 0 : static_cast<size_t>(got));
  return ParseJobRecord(text);
}

std::optional<LastJob> ReadLastJob(const StreamFolder& folder) {
  std::optional<JobRecord> record = ReadJobRecord(folder);
  if (!record) return std::nullopt;
  return LastJob{std::move(*record), AgeOf(folder.WorkPath(kRecord)).value_or(0)};
}

void DropRuns(const StreamFolder& folder) {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder.WorkPath("."), error)) {
    std::error_code ignored;  // the encoder may be writing: whoever waits for the job comes again
    if (entry.path().filename().native().starts_with(kRunPrefix)) fs::remove_all(entry.path(), ignored);
  }
}

void WriteJobRecord(const StreamFolder& folder, const JobRecord& record) {
  const std::string scratch = folder.WorkPath("job.json.new");
  const std::string text = ToJsonText(record);
  {
    const base::Descriptor file(
        ::open(scratch.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (!file) Fail("cannot write " + scratch);
    const ssize_t written = ::write(file.Get(), text.data(), text.size());
    if (written >= 0 && written != static_cast<ssize_t>(text.size())) errno = ENOSPC;
    if (written != static_cast<ssize_t>(text.size())) Fail("cannot write " + scratch);
  }
  if (::rename(scratch.c_str(), folder.WorkPath(kRecord).c_str()) != 0) Fail("cannot write " + scratch);
}

}  // namespace kinora::engine
