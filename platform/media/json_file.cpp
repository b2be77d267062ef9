#include "contract/media/json_file.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <system_error>

#include "platform/base/atomic_file.h"
#include "platform/base/bounded_file.h"
#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/system/strict_json.h"

namespace LibKinora {
namespace {

constexpr char kUnit[] = "media/json_file";
constexpr unsigned int kMode = 0600;
constexpr size_t kSizeLimit = size_t{1} << 20;
constexpr int kDeepest = 64;

bool RefuseToRead(const std::string& path, const char* reason) {
  kinora::base::Log(LOG_ERR, kUnit, "cannot read " + path + ": " + reason);
  return false;
}

}  // namespace

bool WriteJsonToFile(const std::string& path, const Json::Value& value) try {
  if (!path.starts_with('/')) {
    kinora::base::Log(LOG_ERR, kUnit, "not an absolute path: " + path);
    return false;
  }
  kinora::base::WriteFileAtomically(path, Json::writeString(Json::StreamWriterBuilder(), value) + "\n",
                                    kMode);
  return true;
} catch (const std::system_error& failure) {
  kinora::base::Log(LOG_ERR, kUnit, failure.what());
  return false;
}

bool ReadJsonFromFile(const std::string& path, Json::Value& value) {
  if (!path.starts_with('/')) return RefuseToRead(path, "not an absolute path");
  const kinora::base::Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file && errno == ENOENT) return false;
  const std::optional<std::string> text =
      file ? kinora::base::ReadPlainFile(file.Get(), kSizeLimit) : std::nullopt;
  if (!text) return RefuseToRead(path, std::strerror(errno));
  std::optional<Json::Value> read = kinora::system::ParseStrictJson(*text, kDeepest);
  if (!read) return RefuseToRead(path, "not the JSON that it should hold");
  value = std::move(*read);
  return true;
}

}  // namespace LibKinora
