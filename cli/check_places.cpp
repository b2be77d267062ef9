#include "cli/check_places.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "cli/bytes.h"
#include "cli/serve_places.h"
#include "cli/serve_probe.h"
#include "cli/serve_sockets.h"
#include "contract/media/database.h"
#include "platform/media/shares.h"
#include "platform/media/store.h"
#include "platform/system/places.h"
#include "platform/system/volumes.h"

namespace kinora::cli {
namespace {

constexpr uint64_t kMemoryOfAnEncoder = 300ULL << 20;

Finding CheckVolume(const std::string& path, const system::Settings& settings) {
  const auto volume = system::LookAtVolume(path, settings.free_space_floor);
  if (!volume) {
    return {Grade::kFail, "volume", path + " is not there; make or mount it, or change the setting volumes"};
  }
  if (!volume->writable) {
    return {Grade::kFail, "volume",
            path + " cannot be written to by the service's account; give it that right"};
  }
  if (volume->bytes_free == 0) {
    return {Grade::kFail, "volume",
            path + " has less free than free_space_floor (" + ToBytesText(settings.free_space_floor) +
                "): no stream starts; make space, or set volumes to a larger one"};
  }
  const std::string free = path + " has " + ToBytesText(volume->bytes_free) + " free above free_space_floor";
  if (volume->bytes_free < settings.streams_quota) {
    return {Grade::kWarn, "volume",
            free + ", less than streams_quota (" + ToBytesText(settings.streams_quota) +
                "); make space, or lower it"};
  }
  return {Grade::kOk, "volume", free};
}

Finding CheckShare(const media::Share& share) {
  if (CanRead(share.path)) return {Grade::kOk, "share", share.path};
  return {Grade::kFail, "share",
          share.path + " cannot be read by the service's account: " + std::strerror(errno) +
              "; give it that right, or take the share away with `kinora share remove`"};
}

std::optional<uint64_t> MemoryAvailable() {
  std::ifstream file("/proc/meminfo");
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string name;
    uint64_t kilobytes = 0;
    if (words >> name >> kilobytes && name == "MemAvailable:") return kilobytes << 10;
  }
  return std::nullopt;
}

}  // namespace

Findings CheckSettings() {
  Findings findings;
  for (const std::string& fault : system::FaultsOfSettings(system::kSettingsFile)) {
    findings.push_back({Grade::kFail, "settings", fault + "; see kinora.conf in the package's etc folder"});
  }
  if (findings.empty()) findings.push_back({Grade::kOk, "settings", system::kSettingsFile});
  return findings;
}

Findings CheckPort(const system::Settings& settings) {
  if (const std::optional<Front> front = RunningFront()) {
    const std::string place = "port " + std::to_string(front->port) + " on " + front->address;
    if (Answers(front->address, front->port)) return {{Grade::kOk, "port", "Kinora answers at " + place}};
    return {
        {Grade::kFail, "port", "Kinora is running and does not answer at " + place + "; see the system log"}};
  }
  try {
    const FrontSocket front = ListenForBrowsers(settings.address, settings.port);
    return {{Grade::kOk, "port",
             "port " + std::to_string(front.port) + " on " + settings.address +
                 " is free; Kinora is not running"}};
  } catch (const std::runtime_error& error) {
    return {{Grade::kFail, "port", error.what()}};
  }
}

Findings CheckWorkspace() {
  const std::string path = system::kWorkspace;
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return {{Grade::kOk, "workspace", path + " is made when it is needed"}};
    return {{Grade::kFail, "workspace", path + ": " + std::strerror(errno)}};
  }
  const auto fault = [&](const std::string& words) {
    return Findings{{Grade::kFail, "workspace", path + " " + words + "; remove it, Kinora makes it anew"}};
  };
  if (!S_ISDIR(status.st_mode)) return fault("is no folder");
  if (status.st_uid != geteuid()) return fault("belongs to another account than the service's");
  if ((status.st_mode & 022) != 0) return fault("may be written to by others");
  return {{Grade::kOk, "workspace", path}};
}

Findings CheckVolumes(const system::Settings& settings) {
  Findings findings;
  for (const std::string& path : system::VolumesOf(settings)) findings.push_back(CheckVolume(path, settings));
  return findings;
}

Findings CheckDatabaseAndShares() {
  const std::string path = system::kDatabaseFile;
  if (access(path.c_str(), F_OK) != 0 && errno == ENOENT) {
    return {{Grade::kWarn, "database", path + " does not exist yet; `kinora share add FOLDER` makes it"}};
  }
  try {
    media::Store store(path);
    const std::vector<media::Share> shares = media::Shares(store).All();
    Findings findings = {{Grade::kOk, "database", path}};
    if (shares.empty()) {
      findings.push_back(
          {Grade::kWarn, "share", "nothing is served; `kinora share add FOLDER` changes that"});
    }
    for (const media::Share& share : shares) findings.push_back(CheckShare(share));
    return findings;
  } catch (const LibKinora::db::Failure& failure) {
    return {{Grade::kFail, "database",
             std::string(failure.what()) + "; restore it from a copy, or move it away"}};
  }
}

Findings CheckMemory(const system::Settings& settings) {
  const std::optional<uint64_t> available = MemoryAvailable();
  if (!available) return {{Grade::kWarn, "memory", "/proc/meminfo does not tell how much there is"}};
  const std::string words = ToBytesText(*available) + " available";
  const uint64_t wanted = settings.jobs * kMemoryOfAnEncoder;
  if (*available >= wanted) return {{Grade::kOk, "memory", words}};
  return {{Grade::kWarn, "memory",
           words + ", " + std::to_string(settings.jobs) + " encoders want " + ToBytesText(wanted) +
               "; set jobs lower, or add memory"}};
}

}  // namespace kinora::cli
