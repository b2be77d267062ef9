// What is kept of films on the disk, in a folder for each film:
//
//   <cache>/<first two digits>/<digest of the path>/
//     lock      held while something is made
//     ...       what is kept
//
// All of it is for the service's account only.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base/descriptor.h"

namespace kinora::engine {

inline constexpr char kFilmLock[] = "lock";

// 32 hexadecimal digits.
std::string Digest(std::string_view text);

class FilmCache {
 public:
  // `folder` is absolute; `unit` is whose lines in the log they are. Both outlive the object.
  constexpr FilmCache(const char* folder, const char* unit) : folder_(folder), unit_(unit) {}

  std::string FolderOf(const std::string& video_path) const;

  // Makes the film's folder where it is missing and waits for its lock, which is held until the descriptor is
  // closed, also by a process that dies. Throws std::system_error.
  base::Descriptor Lock(const std::string& film_folder) const;

  // The folders of all films; what else may lie in the cache is none.
  std::vector<std::filesystem::path> Folders() const;

  // Removes the folders of all films but those whose paths `films` gives. It is asked once, after it is
  // settled what there may be to remove; what it throws passes, and nothing is removed then. A folder whose
  // lock is held stays, and so does what cannot be removed, with a line in the log.
  void KeepOnly(const std::function<std::vector<std::string>()>& films) const;

  void Remove(const std::filesystem::path& film_folder) const;

 private:
  const char* folder_;
  const char* unit_;
};

}  // namespace kinora::engine
