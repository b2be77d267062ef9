// The verbs of tests about the delivery of subtitles: a folder with a film in it, requests, cache files.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "library/subtitle/method_arguments.h"
#include "tests/fakes/scripted_test.h"

namespace kinora::fakes {

// A folder of its own in /tmp with the film "film.mkv", ten days old. The machine's code page is "enu", and
// the converter copies.
class SubtitleTest : public ScriptedTest {
 protected:
  SubtitleTest();
  ~SubtitleTest() override;

  std::filesystem::path Film() const { return folder_ / "film.mkv"; }
  // Puts a file that was changed so long ago; gives its path.
  static std::filesystem::path Put(const std::filesystem::path& file, const std::string& content,
                                   std::chrono::seconds age);
  // The same, as the file of that name beside the film.
  std::filesystem::path PutBeside(const std::string& name, const std::string& content,
                                  std::chrono::seconds age = std::chrono::hours(24)) const;
  // The same, in the cache of `source`; "V2_auto_enu" stands for "CRVNVIDEO_2_0_SUBTITLE_V2_auto_enu.srt".
  static std::filesystem::path PutInCache(const std::filesystem::path& source, const std::string& name,
                                          const std::string& content,
                                          std::chrono::seconds age = std::chrono::hours(1));
  static std::filesystem::path CacheFile(const std::filesystem::path& source, const std::string& name);
  // What the cache of the source holds, sorted; the name's common parts left out.
  static std::vector<std::string> Cached(const std::filesystem::path& source);

  // A converter that writes this and succeeds.
  static void LetConverterWrite(const std::string& text);

  static std::string Content(const std::filesystem::path& file);
  static void SetAge(const std::filesystem::path& file, std::chrono::seconds age);
  static bool IsThere(const std::filesystem::path& file);  // be it a link that leads nowhere

  // For the film's subtitle.
  crvnkn::webapi::subtitle::GetMethodArguments Wish(const std::string& subtitle_id) const;

  // The name that scratch files of this prefix have here.
  static std::string Scratch(const std::string& prefix);
  // Scratch files of this test that are there still.
  static std::vector<std::string> LeftScratch();

  std::filesystem::path folder_;
};

}  // namespace kinora::fakes
