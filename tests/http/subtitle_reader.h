// Somebody who reads the subtitles of one film.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/http/house.h"

namespace kinora::test {

class SubtitleReader {
 public:
  SubtitleReader(const House& house, SignedIn who, const std::string& film)
      : house_(house), who_(std::move(who)), film_(house.FilmId(who_, film)) {}

  const SignedIn& Who() const { return who_; }
  int Film() const { return film_; }

  // Puts a file beside the film that is old enough for what is derived from it to be kept; gives its path.
  std::string Put(const std::string& name, const std::string& text) const;

  Call ListCall(const Parameters& further = {}) const;
  Call GetCall(const std::string& subtitle, const Parameters& further = {}) const;

  // The subtitles that the film has by now. Throws std::runtime_error when that is refused.
  Json::Value List(const Parameters& further = {}) const;
  Reply Get(const std::string& subtitle, const Parameters& further = {}) const;
  // Waits until the text of the track has been taken out of the film.
  bool Extracted(const std::string& track) const;

 private:
  const House& house_;
  SignedIn who_;
  int film_;
};

// A SubRip file of so many cues, one every ten seconds from the film's beginning, each shown for nine.
std::string SubRipOf(int cues);

// Where the cache files of a file of the house are.
std::filesystem::path CacheFolderOf(const std::filesystem::path& file);
// Names of those cache files, sorted; empty as long as there is no folder.
std::vector<std::string> CacheFilesOf(const std::filesystem::path& file);
// What the pipeline or its children have left in /tmp.
std::vector<std::string> SubtitleScratchFiles();

}  // namespace kinora::test
