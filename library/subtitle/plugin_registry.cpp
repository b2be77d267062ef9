#include "library/subtitle/plugin_registry.h"

#include "contract/system/plugin_folder.h"
#include "library/log.h"
#include "library/subtitle/plugin_log_unit.h"

namespace crvnkn::webapi::subtitle {

bool LoadPlugins(Json::Value& plugins) {
  constexpr char kFolder[] = "/var/packages/Kinora/target/subtitle_plugins";
  if (CRVNKinora::CRVNVideoLoadPluginFromFolder(kFolder, plugins) == 0) return true;
  KINORA_LOG(LOG_ERR, kPluginLogUnit, "Failed to load plugin info from folder [%s]", kFolder);
  return false;
}

}  // namespace crvnkn::webapi::subtitle
