#include "tests/http/subtitle_reader.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace kinora::test {

namespace fs = std::filesystem;

std::string SubtitleReader::Put(const std::string& name, const std::string& text) const {
  const fs::path path = house_.Share() / name;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
  fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(1));
  return path;
}

Call SubtitleReader::ListCall(const Parameters& further) const {
  Call call{"Subtitle", "list", further, "GET", who_.sid};
  call.parameters.try_emplace("id", std::to_string(film_));
  return call;
}

Call SubtitleReader::GetCall(const std::string& subtitle, const Parameters& further) const {
  Call call{"Subtitle", "get", further, "GET", who_.sid};
  call.parameters.try_emplace("id", std::to_string(film_));
  call.parameters.try_emplace("subtitle_id", subtitle);
  return call;
}

Json::Value SubtitleReader::List(const Parameters& further) const {
  const Reply reply = house_.Send(ListCall(further));
  const Json::Value list = ParseJson(reply.body)["result"]["subtitles"];
  if (!list.isArray()) throw std::runtime_error("no list: " + reply.body + house_.Log());
  return list;
}

Reply SubtitleReader::Get(const std::string& subtitle, const Parameters& further) const {
  return house_.Send(GetCall(subtitle, further));
}

bool SubtitleReader::Extracted(const std::string& track) const {
  return Eventually([&] {
    const Json::Value list = List();
    return std::any_of(list.begin(), list.end(), [&](const Json::Value& subtitle) {
      return subtitle["embedded"].asBool() && subtitle["id"].asString() == track &&
             !subtitle["need_preview"].asBool();
    });
  });
}

std::string SubRipOf(int cues) {
  std::string text;
  for (int i = 0; i < cues; ++i) {
    char cue[128];
    const int start = i * 10;
    const int end = start + 9;
    std::snprintf(cue, sizeof cue, "%d\n%02d:%02d:%02d,000 --> %02d:%02d:%02d,500\nCue number %d\n\n", i + 1,
                  start / 3600, start / 60 % 60, start % 60, end / 3600, end / 60 % 60, end % 60, i);
    text += cue;
  }
  return text;
}

fs::path CacheFolderOf(const fs::path& file) { return file.parent_path() / ".kinora" / file.filename(); }

std::vector<std::string> CacheFilesOf(const fs::path& file) {
  std::vector<std::string> names;
  if (!fs::exists(CacheFolderOf(file))) return names;
  for (const auto& entry : fs::directory_iterator(CacheFolderOf(file)))
    names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::string> SubtitleScratchFiles() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator("/tmp")) {
    const std::string name = entry.path().filename();
    if (name.starts_with("CRVNVIDEO_")) names.push_back(name);
  }
  return names;
}

}  // namespace kinora::test
