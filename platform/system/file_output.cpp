#include "contract/system/file_output.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "platform/base/descriptor.h"
#include "platform/base/file_time.h"
#include "platform/base/log.h"
#include "platform/base/text.h"
#include "platform/system/file_answer.h"
#include "platform/system/transfer.h"

namespace {

using namespace kinora::system;
using kinora::base::Descriptor;
using kinora::base::Log;
using kinora::base::NowInNanoseconds;

constexpr char kUnit[] = "system/file_output";
constexpr int64_t kNanoseconds = 1'000'000'000;
constexpr int kPipeSize = 1 << 20;

struct OpenFile {
  Descriptor descriptor;
  FileFacts facts;
};

// Opened once: what is looked at is what is sent. Links are followed, a share may consist of them; anything
// but a plain file is refused, and none can make the opening wait.
std::optional<OpenFile> Open(const std::string& path, const std::string& mime) {
  struct stat info {};
  Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  const bool has_facts = file && ::fstat(file.Get(), &info) == 0;
  if (!has_facts || !S_ISREG(info.st_mode) || path.find('\0') != std::string::npos) {
    Log(LOG_ERR, kUnit,
        std::string("cannot send a file: ") + (has_facts ? "it is no plain file" : std::strerror(errno)));
    return std::nullopt;
  }
  ::posix_fadvise(file.Get(), 0, 0, POSIX_FADV_SEQUENTIAL);
  FileFacts facts;
  facts.size = static_cast<uint64_t>(info.st_size);
  facts.validators.modified = info.st_mtim.tv_sec;
  facts.validators.etag =
      MakeEtag(info.st_ino, facts.size, kinora::base::NanosecondsOf(info.st_mtim), NowInNanoseconds());
  facts.type = mime;
  return OpenFile{std::move(file), std::move(facts)};
}

std::optional<std::string> FromEnvironment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

FileRequest RequestFromEnvironment() {
  FileRequest request;
  request.method = FromEnvironment("REQUEST_METHOD").value_or("GET");
  request.range = FromEnvironment("HTTP_RANGE");
  request.conditions.if_match = FromEnvironment("HTTP_IF_MATCH");
  request.conditions.if_none_match = FromEnvironment("HTTP_IF_NONE_MATCH");
  request.conditions.if_modified_since = FromEnvironment("HTTP_IF_MODIFIED_SINCE");
  request.conditions.if_unmodified_since = FromEnvironment("HTTP_IF_UNMODIFIED_SINCE");
  request.conditions.if_range = FromEnvironment("HTTP_IF_RANGE");
  return request;
}

// 128 random bits, so that no file holds it. Nothing when the machine yields none.
std::optional<std::string> MakeBoundary() {
  std::array<char, 16> bytes{};
  if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) return std::nullopt;
  return kinora::base::ToHex({bytes.data(), bytes.size()});
}

bool SendBody(const FileAnswer& answer, int file) {
  // Fewer, larger steps through a CGI's pipe; a socket refuses this, and nothing depends on it.
  ::fcntl(STDOUT_FILENO, F_SETPIPE_SZ, kPipeSize);
  for (const BodyPart& part : answer.parts) {
    if (!SendBytes(STDOUT_FILENO, part.heading) || !SendRange(STDOUT_FILENO, file, part.range)) return false;
  }
  return SendBytes(STDOUT_FILENO, answer.closing);
}

// What a caller adds to a broken answer must not pass for a part of the file: from here on standard output
// leads nowhere, and the client sees that the answer ended too early.
void LeadOutputNowhere() {
  const Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (!nowhere || ::dup2(nowhere.Get(), STDOUT_FILENO) < 0) ::close(STDOUT_FILENO);
}

// `first_line` comes before all that is written here, or is empty.
bool OutputOpenFile(const OpenFile& file, const std::string& first_line) {
  const std::optional<std::string> boundary = MakeBoundary();
  if (!boundary) {
    Log(LOG_ERR, kUnit, std::string("no random bytes: ") + std::strerror(errno));
    return false;
  }
  const FileAnswer answer =
      DecideFileAnswer(RequestFromEnvironment(), file.facts, NowInNanoseconds() / kNanoseconds, *boundary);
  // The headers go the way of those that the caller has written, behind them; the body goes past the buffer.
  const std::string head = first_line + answer.headers;
  const bool written = std::fwrite(head.data(), 1, head.size(), stdout) == head.size();
  if (written && std::fflush(stdout) == 0 && SendBody(answer, file.descriptor.Get())) return true;
  Log(LOG_INFO, kUnit, std::string("an answer was not sent to its end: ") + std::strerror(errno));
  LeadOutputNowhere();
  return false;
}

}  // namespace

int HTTPFileOutputer::Output(const char* path, const char* mime) {
  if (path == nullptr) return -1;
  const std::optional<OpenFile> file = Open(path, mime == nullptr ? GetMimeType(path) : mime);
  return file && OutputOpenFile(*file, "Accept-Ranges: bytes\r\n") ? 0 : -1;
}

namespace CRVN::HTTP {

// The front is never asked to send a file itself: it runs without the rights to read one.
bool FileOutputerHelper::SetFastOutputEnabled(bool enabled) { return !enabled; }

}  // namespace CRVN::HTTP

namespace libkn::critical::file_outputer {

bool OutputFile(const std::string& path, const std::string& mime) {
  const std::optional<OpenFile> file = Open(path, mime);
  return file && OutputOpenFile(*file, "");
}

}  // namespace libkn::critical::file_outputer
