#include "contract/media/json_file.h"

#include <system_error>

#include "platform/base/atomic_file.h"
#include "platform/base/log.h"

namespace LibKinora {
namespace {

constexpr char kUnit[] = "media/json_file";
constexpr unsigned int kMode = 0600;

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

}  // namespace LibKinora
