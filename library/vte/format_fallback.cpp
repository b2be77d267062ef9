#include "library/vte/format_fallback.h"

#include "contract/media/video_formate_profile.h"

namespace crvnkn::webapi::vte {

OpenedStream OpenFirstAvailable(const std::vector<SetUpRoutine>& routines,
                                const std::vector<std::string>& available, Error& last_error) {
  for (const SetUpRoutine& routine : routines) {
    if (!LibKinora::VideoFormateProfile::BlMatchFormat(available, routine.format)) continue;
    try {
      const std::string id = routine.set_up();
      if (!id.empty()) return {routine.format, id};
    } catch (const Error& error) {
      last_error = error;
    }
  }
  return {};
}

}  // namespace crvnkn::webapi::vte
