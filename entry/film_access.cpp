#include "entry/film_access.h"

#include "entry/numbers.h"
#include "library/video.h"

namespace kinora::entry {

int FilmParameter(const Request& request) {
  return static_cast<int>(NumberParameter(request, "id", 1, INT32_MAX));
}

std::string PathOfAllowedFilm(const Context& context, int id) {
  crvnkn::webapi::AssertVideoAllowed(id, static_cast<unsigned int>(context.account.id),
                                     context.GetRequest().Get("pin"));
  return crvnkn::webapi::GetFilePathByID(id);
}

}  // namespace kinora::entry
