#include "contract/media/md5.h"

#include "platform/media/secrets.h"

namespace LibKinora {

std::string GetMD5(const std::string& path) { return path.empty() ? "" : kinora::media::DigestOf(path); }

}  // namespace LibKinora
