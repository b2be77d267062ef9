#include "platform/system/vaapi.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include "platform/base/atomic_file.h"
#include "platform/base/descriptor.h"
#include "platform/base/file_time.h"
#include "platform/base/log.h"
#include "platform/system/child.h"
#include "platform/system/places.h"

namespace kinora::system {
namespace {

constexpr char kUnit[] = "system/vaapi";
constexpr int64_t kHour = int64_t{3600} * 1'000'000'000;

bool IsRenderNode(const std::string& name) {
  constexpr std::string_view kPrefix = "renderD";
  return name.starts_with(kPrefix) && name.size() > kPrefix.size() && name.size() < kPrefix.size() + 5 &&
         std::all_of(name.begin() + kPrefix.size(), name.end(), [](unsigned char c) { return isdigit(c); });
}

std::vector<std::string> RenderNodes(const std::string& folder) {
  std::vector<std::string> nodes;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (IsRenderNode(entry->path().filename())) nodes.push_back(entry->path());
  }
  std::ranges::sort(nodes);
  return nodes;
}

bool Encodes(const std::string& ffmpeg, const std::string& node) {
  Command command;
  command.arguments = {ffmpeg,
                       "-v",
                       "error",
                       "-nostdin",
                       "-init_hw_device",
                       "vaapi=hw:" + node,
                       "-filter_hw_device",
                       "hw",
                       "-f",
                       "lavfi",
                       "-i",
                       "color=size=640x360:rate=25:duration=0.2",
                       "-vf",
                       "format=nv12,hwupload",
                       "-c:v",
                       "h264_vaapi",
                       "-f",
                       "null",
                       "-"};
  command.limits.deadline = std::chrono::seconds(20);
  command.limits.cpu_seconds = 20;
  command.limits.address_space = 8ULL << 30;  // drivers map the card's memory
  return RunChild(command).Succeeded();
}

// One line that is another one after each start of the machine.
std::string BootId() {
  std::string id;
  std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), id);
  return id;
}

// The memory is the boot's id, a line feed, and the render node, or nothing for none.
std::string ToMemory(const std::optional<std::string>& node) { return BootId() + "\n" + node.value_or(""); }

// Nothing when there is no memory, or too old a one.
std::optional<std::string> Recall(const std::string& path) {
  const base::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  struct stat info {};
  if (!file || ::fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  const int64_t age = base::NowInNanoseconds() - base::NanosecondsOf(info.st_mtim);
  if (age < 0 || age > kHour) return std::nullopt;
  std::array<char, 4096> buffer;
  const ssize_t got = ::read(file.Get(), buffer.data(), buffer.size());
  if (got < 0) return std::nullopt;
  return std::string(buffer.data(), static_cast<size_t>(got));
}

void Remember(const std::string& path, const std::optional<std::string>& node) {
  try {
    base::WriteFileAtomically(path, ToMemory(node), 0600);
  } catch (const std::system_error& error) {
    base::Log(LOG_WARNING, kUnit, std::string("cannot keep what was found out about VAAPI: ") + error.what());
  }
}

}  // namespace

VaapiPlaces InstalledVaapi() {
  return {"/dev/dri", InTarget("bin/ffmpeg"), std::string(kRunFolder) + "/vaapi"};
}

std::optional<std::string> FindVaapiDevice(const VaapiPlaces& places) {
  for (const std::string& node : RenderNodes(places.devices)) {
    if (Encodes(places.ffmpeg, node)) return node;
  }
  return std::nullopt;
}

std::optional<std::string> RememberedVaapiDevice(const VaapiPlaces& places) {
  const std::vector<std::string> nodes = RenderNodes(places.devices);
  if (nodes.empty()) return std::nullopt;
  const std::optional<std::string> memory = Recall(places.memory);
  if (memory == ToMemory(std::nullopt)) return std::nullopt;
  for (const std::string& node : nodes) {
    if (memory == ToMemory(node)) return node;
  }
  std::optional<std::string> found = FindVaapiDevice(places);
  Remember(places.memory, found);
  return found;
}

}  // namespace kinora::system
