#include "contract/system/simple_converter.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "platform/base/descriptor.h"
#include "platform/system/child.h"
#include "platform/system/places.h"

namespace Opencc {
namespace {

namespace system = kinora::system;
using kinora::base::Descriptor;

constexpr char kProgram[] = "libexec/kinora-hanzi";
constexpr int kTextDescriptor = 3;
constexpr size_t kLongestText = size_t{32} << 20;  // bytes, as the program has it

// Time enough for the longest text on a busy machine. A converted text is hardly ever longer than it was.
constexpr system::ChildLimits kLimits{std::chrono::seconds(120), 1ULL << 30, 60, 0, 2 * kLongestText};

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error("no conversion: " + what); }

// In a file that has no name, to be read from its beginning.
Descriptor HandOver(std::string_view text) {
  Descriptor file(::memfd_create("text", MFD_CLOEXEC));
  while (file && !text.empty()) {
    const ssize_t written = ::write(file.Get(), text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return {};
    text.remove_prefix(static_cast<size_t>(written));
  }
  if (file && ::lseek(file.Get(), 0, SEEK_SET) != 0) return {};
  return file;
}

}  // namespace

SimpleConverter::SimpleConverter(const std::string& config) : config_(config) {
  struct stat status {};
  if (!config.starts_with('/') || ::stat(config.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    Fail("there is no configuration at " + config);
  }
}

std::string SimpleConverter::Convert(const std::string& text) const {
  if (text.empty()) return text;
  if (text.size() > kLongestText) Fail("the text is too long");
  const Descriptor file = HandOver(text);
  if (!file) Fail(std::string("the text cannot be handed over: ") + std::strerror(errno));
  system::Command command;
  command.arguments = {system::InTarget(kProgram), config_};
  command.descriptors = {{file.Get(), kTextDescriptor}};
  command.limits = kLimits;
  system::ChildResult result = system::RunChild(command);
  if (!result.Succeeded()) Fail("the program failed (" + std::to_string(result.status) + ")");
  return std::move(result.output);
}

}  // namespace Opencc
