#include <strings.h>

#include <algorithm>

#include "contract/media/database.h"
#include "contract/media/json_file.h"
#include "contract/media/personal_setting.h"
#include "contract/media/video_formate_profile.h"
#include "tests/fakes/script.h"

using kinora::fakes::Called;
using kinora::fakes::TheScript;

namespace LibKinora {
namespace db {
namespace {

struct Open {
  Open() { kinora::fakes::CountDatabase(1); }
  ~Open() { kinora::fakes::CountDatabase(-1); }
  Open(const Open&) = delete;
  Open& operator=(const Open&) = delete;
};

void FailIfScripted() {
  if (TheScript().database_fails) throw Failure("the database is out of order");
}

template <typename Record, typename Condition>
Record Find(const std::vector<Record>& records, Condition condition) {
  FailIfScripted();
  const auto found = std::find_if(records.begin(), records.end(), condition);
  return found == records.end() ? Record() : *found;
}

}  // namespace

namespace api {

struct FileAPI::State : Open {};
struct CollectionAPI::State : Open {};
struct ParentalControl::State : Open {};
struct PersonalSetting::State : Open {};

FileAPI::FileAPI() : state_(std::make_shared<State>()) {}

record::File FileAPI::GetFile(int id) const {
  Called("GetFile", id);
  return Find(TheScript().files, [&](const record::File& file) { return file.id == id; });
}

record::File FileAPI::GetFileByPath(const std::string& path) const {
  Called("GetFileByPath", path);
  return Find(TheScript().files, [&](const record::File& file) { return file.path == path; });
}

CollectionAPI::CollectionAPI(unsigned int uid) : state_(std::make_shared<State>()) {
  Called("CollectionAPI", uid);
}

record::Collection CollectionAPI::GetInfo(const std::string& sharing_id) const {
  Called("GetInfo", sharing_id);
  return Find(TheScript().collections,
              [&](const record::Collection& collection) { return collection.sharing_id == sharing_id; });
}

ParentalControl::ParentalControl(unsigned int uid) : state_(std::make_shared<State>()) {
  Called("ParentalControl", uid);
}

bool ParentalControl::IsFileAllowed(int file_id) const {
  Called("IsFileAllowed", file_id);
  FailIfScripted();
  return TheScript().file_allowed;
}

bool ParentalControl::IsPinCorrect(const std::string& pin) const {
  Called("IsPinCorrect", pin);
  FailIfScripted();
  return !pin.empty() && pin == TheScript().right_pin;
}

PersonalSetting::PersonalSetting(unsigned int uid) : state_(std::make_shared<State>()) {
  Called("PersonalSetting", uid);
}

record::PersonalSetting PersonalSetting::Get() const {
  Called("Get");
  FailIfScripted();
  return record::PersonalSetting(TheScript().traditional_chinese);
}

}  // namespace api
}  // namespace db

bool VideoFormateProfile::DetermintStreamFormat(const std::string& format, const std::string& container,
                                                const std::string& video_codec,
                                                const std::string& audio_codec,
                                                const Json::Value& audio_tracks, bool default_audio,
                                                std::vector<std::string>& formats) {
  Called("DetermintStreamFormat", format, container, video_codec, audio_codec, audio_tracks, default_audio);
  const std::vector<std::string>& allowed = TheScript().formats;
  formats.insert(formats.end(), allowed.begin(), allowed.end());
  return true;
}

bool VideoFormateProfile::BlMatchFormat(const std::vector<std::string>& available, const std::string& name) {
  Called("BlMatchFormat", available, name);
  return std::any_of(available.begin(), available.end(), [&](const std::string& format) {
    return strcasecmp(format.c_str(), name.c_str()) == 0;
  });
}

std::string VideoFormateProfile::DetermineTransProfile(const std::string& kind, const std::string& path,
                                                       const std::string& profile, bool remux,
                                                       const FrameInformation& frame) {
  Called("DetermineTransProfile", kind, path, profile, remux, frame.resolution_x, frame.resolution_y,
         frame.video_codec);
  return TheScript().trans_profile;
}

bool ForceFFmpegTranscoding(const std::string& container, const std::string& video_codec,
                            const std::string& video_profile) {
  Called("ForceFFmpegTranscoding", container, video_codec, video_profile);
  return TheScript().force_ffmpeg;
}

bool WriteJsonToFile(const std::string& path, const Json::Value& value) {
  Called("WriteJsonToFile", path, value);
  if (TheScript().write_json) TheScript().json_files[path] = value;
  return TheScript().write_json;
}

bool ReadJsonFromFile(const std::string& path, Json::Value& value) {
  Called("ReadJsonFromFile", path);
  const auto file = TheScript().json_files.find(path);
  if (file == TheScript().json_files.end()) return false;
  value = file->second;
  return true;
}

}  // namespace LibKinora
