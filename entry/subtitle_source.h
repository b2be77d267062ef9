// Whether the subtitle that a request names is one of the film's, before anything reads it.
//
// The library takes a path for what it says and reads it as root; it hands the film to ffmpeg, which follows
// whatever a "film" tells it to open. So a path must be one that the film's listing holds and that the
// service may read itself, and a film must be one inside.
#pragma once

#include <optional>
#include <string>

#include "entry/answer.h"
#include "library/subtitle/method_arguments.h"

namespace kinora::entry {

// The path of the file that the listing of the film shows under this id, itself or as the answer shows it
// (names are bytes, JSON is text). Throws Error: 128 when there is none, 105 when the service may not read
// it.
std::string FindSubtitleFile(const std::string& film, const std::string& id);

// The same of the file that the film's DLNA link leads to. Throws Error 1151 when there is no such link.
std::string FindDlnaSubtitle(const std::string& film);

// What is to be known of a track before ffmpeg gets the film.
enum class TrackKind {
  kText,
  kPictures,  // nothing that can be had as text
  kMissing,
  kNoFilm,  // what bears the film's name is not to be taken for a film
  kBusy,    // there was no time to look
};
TrackKind LookAtTrack(const std::string& film, int track);

// Turns the id in the arguments, whose film is named, into what the library may have. `film_known`: the
// film's file is the one that the last scan has looked at; a track of it that has been taken out before needs
// no look then. Gives the answer that refuses, or nothing. Throws Error as above.
std::optional<Answer> RefusalOfSubtitle(crvnkn::webapi::subtitle::GetMethodArguments& arguments,
                                        bool film_known);

}  // namespace kinora::entry
