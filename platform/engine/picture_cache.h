// The pictures of the films, each taken once and kept.
//
//   pictures/<first two digits>/<digest of the path>/    one folder for each film (film_cache.h)
//     <digest of size and time>-<width>.jpg              the picture
//     <digest of size and time>-<width>.none             there is none; its modification time is the end
//                                                        of that knowledge
//     lock                                               held while a picture is taken
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kinora::engine {

// The path of a JPEG picture of the film at `video_path` (absolute), or nothing when none can be had: the
// film cannot be read, or holds no picture that can be shown. The width is taken up to the next of 160, 320,
// 480, 640, 960 and 1280 pixels, so that nobody fills the disk by asking for every number. A request that
// finds the picture being taken waits for it. A film that yielded no picture is not tried again for a day,
// one that met trouble on our side for a minute. The file may be replaced, never changed, while somebody
// reads it.
std::optional<std::string> PictureOf(const std::string& video_path, int width);

// Removes all that is kept of films which are gone or have moved: of all but those whose paths `films` gives
// (FilmCache::KeepOnly). A film which comes up meanwhile loses nothing; what is just being taken stays until
// the next time. Pictures of earlier states of a file
// that still exists go by themselves when its next one is taken.
void KeepPicturesOf(const std::function<std::vector<std::string>()>& films);

}  // namespace kinora::engine
