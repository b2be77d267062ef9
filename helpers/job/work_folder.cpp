#include "helpers/job/work_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

#include "helpers/job/transport_check.h"

namespace kinora::helper {
namespace {

constexpr char kRunPrefix[] = "run-";
constexpr std::string_view kExtension = ".ts";
constexpr char kList[] = "made.m3u8";
constexpr std::string_view kEndOfFilm = "#EXT-X-ENDLIST";
constexpr size_t kLongestList = 4096;  // of two fragments

[[noreturn]] void Fail(const std::string& what, int error = errno) {
  throw std::system_error(error, std::generic_category(), what);
}

base::Descriptor OpenFolder(int parent, const std::string& name) {
  return base::Descriptor(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// The names in a folder, without "." and "..".
std::vector<std::string> NamesIn(int folder) {
  std::vector<std::string> names;
  base::Descriptor copy = OpenFolder(folder, ".");
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(copy ? ::fdopendir(copy.Get()) : nullptr, ::closedir);
  if (!listing) return names;
  [[maybe_unused]] const int closed_with_the_listing = copy.Release();
  while (const dirent* entry = ::readdir(listing.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

void RemoveFilesIn(int folder) {
  for (const std::string& name : NamesIn(folder)) ::unlinkat(folder, name.c_str(), 0);
}

void RemoveRun(int parent, const std::string& name) {
  {
    const base::Descriptor run = OpenFolder(parent, name);
    if (!run) return;
    RemoveFilesIn(run.Get());
  }
  ::unlinkat(parent, name.c_str(), AT_REMOVEDIR);
}

std::optional<int> NumberFrom(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 0) return std::nullopt;
  return number;
}

// "12.ts" and "a2_12.ts" are fragments.
std::optional<int> FragmentNumber(std::string_view name) {
  if (!name.ends_with(kExtension)) return std::nullopt;
  name.remove_suffix(kExtension.size());
  if (name.starts_with('a')) name.remove_prefix(std::min(name.find('_'), name.size() - 1) + 1);
  return NumberFrom(name);
}

std::string FileOf(int number) { return std::to_string(number) + std::string(kExtension); }

bool Exists(int folder, const std::string& name) {
  return ::faccessat(folder, name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

bool IsPlainFile(int folder, const std::string& name) {
  struct stat status {};
  return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode);
}

// Not a renaming, which would replace a fragment that is there. What else bears its name has been planted.
bool Link(int from, int to, const std::string& name) {
  const auto link = [&] { return ::linkat(from, name.c_str(), to, name.c_str(), 0) == 0; };
  if (link()) return true;
  if (errno != EEXIST) return false;
  return IsPlainFile(to, name) || (::unlinkat(to, name.c_str(), 0) == 0 && link());
}

// A file's bytes in memory.
class Mapping {
 public:
  explicit Mapping(int file) {
    struct stat status {};
    if (::fstat(file, &status) != 0) Fail("no fragment");
    size_ = static_cast<size_t>(status.st_size);
    if (size_ == 0) return;
    bytes_ = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file, 0);
    if (bytes_ == MAP_FAILED) Fail("no memory for a fragment");
  }
  ~Mapping() {
    if (size_ > 0) ::munmap(bytes_, size_);
  }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  std::string_view Bytes() const { return {static_cast<const char*>(bytes_), size_}; }

 private:
  void* bytes_ = nullptr;
  size_t size_ = 0;
};

}  // namespace

WorkFolder::WorkFolder(int folder) : folder_(folder), run_name_(kRunPrefix + std::to_string(::getpid())) {
  for (const std::string& name : NamesIn(folder_)) {
    if (name.starts_with(kRunPrefix)) RemoveRun(folder_, name);
  }
  if (::mkdirat(folder_, run_name_.c_str(), 0700) != 0) Fail("no folder for the run");
  run_ = OpenFolder(folder_, run_name_);
  if (!run_) Fail("no folder for the run");
}

WorkFolder::~WorkFolder() { RemoveRun(folder_, run_name_); }

bool WorkFolder::IsGone() const {
  struct stat status {};
  return ::fstat(folder_, &status) != 0 || status.st_nlink == 0 || !Exists(folder_, run_name_);
}

bool WorkFolder::IsWaitedFor() const {
  const base::Descriptor file(::openat(folder_, "waiting", O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct flock lock {};
  lock.l_type = F_WRLCK;
  return file && ::fcntl(file.Get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

uint64_t WorkFolder::FreeSpace() const {
  struct statvfs space {};
  if (::fstatvfs(folder_, &space) != 0) return 0;
  return uint64_t{space.f_bavail} * space.f_frsize;
}

WorkFolder::Wanted WorkFolder::ReadWanted() const {
  Wanted wanted;
  const base::Descriptor file(::openat(folder_, "wanted", O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.Get(), &status) != 0) return wanted;
  wanted.time = status.st_mtim;
  char text[16];
  const ssize_t got = ::read(file.Get(), text, sizeof text);
  std::string_view number(text, got < 0 ? 0 : static_cast<size_t>(got));
  while (!number.empty() && number.back() == '\n') number.remove_suffix(1);
  wanted.number = NumberFrom(number).value_or(-1);
  return wanted;
}

std::vector<Kept> WorkFolder::Published() const {
  std::vector<Kept> fragments;
  for (const std::string& name : NamesIn(folder_)) {
    const std::optional<int> number = FragmentNumber(name);
    struct stat status {};
    if (!number || ::fstatat(folder_, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    fragments.push_back({name, *number, static_cast<uint64_t>(status.st_size)});
  }
  return fragments;
}

void WorkFolder::Drop(const std::string& name) const { ::unlinkat(folder_, name.c_str(), 0); }

bool WorkFolder::IsMade(int number) const { return Exists(run_.Get(), FileOf(number)); }

bool WorkFolder::IsBegun(int number) const {
  return IsMade(number) || Exists(run_.Get(), FileOf(number) + ".tmp");
}

bool WorkFolder::IsCut(int number) const {
  const base::Descriptor file(::openat(run_.Get(), kList, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  std::array<char, kLongestList> bytes{};
  const ssize_t got = file ? ::read(file.Get(), bytes.data(), bytes.size()) : -1;
  const std::string_view list(bytes.data(), got < 0 ? 0 : static_cast<size_t>(got));
  return list.find("\n" + FileOf(number) + "\n") != std::string_view::npos &&
         list.find(kEndOfFilm) == std::string_view::npos;
}

uint64_t WorkFolder::Unpublished() const {
  uint64_t bytes = 0;
  for (const std::string& name : NamesIn(run_.Get())) {
    struct stat status {};
    if (::fstatat(run_.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
      bytes += static_cast<uint64_t>(status.st_size);
    }
  }
  return bytes;
}

void WorkFolder::DropUnpublished() const { RemoveFilesIn(run_.Get()); }

std::string WorkFolder::Publish(int number) const {
  const std::string name = FileOf(number);
  const base::Descriptor file(::openat(run_.Get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!file) Fail("no fragment");
  const std::string fault = FaultOfTransportStream(Mapping(file.Get()).Bytes());
  if (!fault.empty()) return fault;
  if (::fdatasync(file.Get()) != 0) Fail("a fragment cannot be written");
  if (!Link(run_.Get(), folder_, name)) Fail("a fragment cannot be published");
  ::unlinkat(run_.Get(), name.c_str(), 0);
  return "";
}

void WorkFolder::WriteRecord(const std::string& text) const {
  const std::string scratch = run_name_ + "/job.json";
  {
    const base::Descriptor file(
        ::openat(folder_, scratch.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (!file) Fail("no record");
    const ssize_t written = ::write(file.Get(), text.data(), text.size());
    if (written != static_cast<ssize_t>(text.size())) Fail("no record", written < 0 ? errno : ENOSPC);
  }
  if (::renameat(folder_, scratch.c_str(), folder_, "job.json") != 0) Fail("no record");
}

}  // namespace kinora::helper
