#include "tests/fakes/subtitle_test.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace kinora::fakes {

namespace fs = std::filesystem;

namespace {

constexpr char kCachePrefix[] = "CRVNVIDEO_2_0_SUBTITLE_";

fs::path OutputOf(const std::vector<std::string>& command) {
  const auto option = std::find(command.begin(), command.end(), "--output");
  return option == command.end() ? "" : *(option + 1);
}

int CopyAsConverter(const std::vector<std::string>& command) {
  std::error_code failure;
  fs::copy_file(command.back(), OutputOf(command), failure);
  return failure ? 1 : 0;
}

}  // namespace

SubtitleTest::SubtitleTest() {
  std::string name = "/tmp/subtitle-XXXXXX";
  folder_ = ::mkdtemp(name.data());
  PutBeside("film.mkv", "film", std::chrono::hours(240));
  TheScript().settings["codepage"] = "enu";
  TheScript().run = CopyAsConverter;
}

SubtitleTest::~SubtitleTest() { fs::remove_all(folder_); }

fs::path SubtitleTest::Put(const fs::path& file, const std::string& content, std::chrono::seconds age) {
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
  SetAge(file, age);
  return file;
}

fs::path SubtitleTest::PutBeside(const std::string& name, const std::string& content,
                                 std::chrono::seconds age) const {
  return Put(folder_ / name, content, age);
}

fs::path SubtitleTest::PutInCache(const fs::path& source, const std::string& name, const std::string& content,
                                  std::chrono::seconds age) {
  return Put(CacheFile(source, name), content, age);
}

fs::path SubtitleTest::CacheFile(const fs::path& source, const std::string& name) {
  return source.parent_path() / ".kinora" / source.filename() / (kCachePrefix + name + ".srt");
}

std::vector<std::string> SubtitleTest::Cached(const fs::path& source) {
  std::vector<std::string> names;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(CacheFile(source, "").parent_path(), none)) {
    std::string name = entry.path().filename();
    if (name.rfind(kCachePrefix, 0) == 0) name.erase(0, sizeof kCachePrefix - 1);
    const size_t extension = name.rfind(".srt");
    if (extension != std::string::npos) name.erase(extension, 4);
    names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

void SubtitleTest::LetConverterWrite(const std::string& text) {
  TheScript().run = [text](const std::vector<std::string>& command) {
    std::ofstream(OutputOf(command), std::ios::binary) << text;
    return 0;
  };
}

std::string SubtitleTest::Content(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

void SubtitleTest::SetAge(const fs::path& file, std::chrono::seconds age) {
  fs::last_write_time(file, fs::file_time_type::clock::now() - age);
}

bool SubtitleTest::IsThere(const fs::path& file) { return fs::exists(fs::symlink_status(file)); }

crvnkn::webapi::subtitle::GetMethodArguments SubtitleTest::Wish(const std::string& subtitle_id) const {
  crvnkn::webapi::subtitle::GetMethodArguments wish;
  wish.video_path = Film();
  wish.subtitle_id = subtitle_id;
  return wish;
}

std::string SubtitleTest::Scratch(const std::string& prefix) {
  return "/tmp/CRVNVIDEO_" + prefix + "_" + TheScript().random_string(8) + ".srt";
}

std::vector<std::string> SubtitleTest::LeftScratch() {
  std::vector<std::string> left;
  for (const char* const prefix : {"utf8-1", "utf8-2", "ffmpeg"}) {
    if (IsThere(Scratch(prefix))) left.push_back(Scratch(prefix));
  }
  return left;
}

}  // namespace kinora::fakes
