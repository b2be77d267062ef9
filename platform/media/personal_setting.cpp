#include "contract/media/personal_setting.h"

#include "platform/media/preferences.h"
#include "platform/media/store.h"
#include "platform/system/places.h"

namespace LibKinora::db::api {

struct PersonalSetting::State {
  unsigned int uid = 0;
};

PersonalSetting::PersonalSetting(unsigned int uid) : state_(std::make_shared<State>(State{uid})) {}

record::PersonalSetting PersonalSetting::Get() const {
  kinora::media::Store store(kinora::system::kDatabaseFile);
  return record::PersonalSetting(
      kinora::media::Preferences(store).ConvertsSimplifiedToTraditional(state_->uid));
}

}  // namespace LibKinora::db::api
