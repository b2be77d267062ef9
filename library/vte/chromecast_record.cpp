#include "library/vte/chromecast_record.h"

#include <ctime>

#include "contract/media/json_file.h"

namespace crvnkn::webapi::vte {

void RecordChromecastData(const std::string& user_agent) {
  Json::Value record(Json::objectValue);
  record["user_agent"] = user_agent;
  record["timestamp"] = Json::Int64(time(nullptr));
  LibKinora::WriteJsonToFile("/var/packages/Kinora/etc/Chromecast.userdata", record);
}

}  // namespace crvnkn::webapi::vte
