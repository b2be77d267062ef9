#include "entry/preference_api.h"

#include "entry/flags.h"
#include "platform/media/preferences.h"

namespace kinora::entry {
namespace {

constexpr char kToTraditional[] = "convert_simplified_to_traditional";

}  // namespace

std::optional<Answer> GetPreferences(Context& context) {
  media::Preferences preferences(context.GetStore());
  Json::Value result;
  result[kToTraditional] = preferences.ConvertsSimplifiedToTraditional(context.account.id);
  return ResultAnswer(result);
}

std::optional<Answer> SetPreferences(Context& context) {
  const Request& request = context.GetRequest();
  if (!request.Get(kToTraditional).empty()) {
    media::Preferences(context.GetStore())
        .SetConvertsSimplifiedToTraditional(context.account.id,
                                            FlagParameter(request, kToTraditional, false));
  }
  return GetPreferences(context);
}

}  // namespace kinora::entry
