#include "tests/texts/chain.h"

#include <iconv.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "library/subtitle/output_subtitle.h"
#include "library/to_utf8.h"

namespace kinora::texts {

namespace fs = std::filesystem;

namespace {

void PutAged(const fs::path& path, const std::string& bytes) {
  WriteFile(path, bytes);
  ::chmod(path.c_str(), 0644);
  fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(1));
}

}  // namespace

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

void WriteFile(const std::filesystem::path& path, const std::string& bytes) {
  if (!(std::ofstream(path, std::ios::binary) << bytes << std::flush))
    throw std::runtime_error("cannot write " + path.string());
}

std::string Recoded(const std::string& text, const std::string& from, const std::string& to) {
  const iconv_t converter = ::iconv_open(to.c_str(), from.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) throw std::runtime_error("from " + from + " to " + to);
  std::string recoded(text.size() * 4 + 16, '\0');
  char* source = const_cast<char*>(text.data());  // iconv only reads it
  size_t source_left = text.size();
  char* target = recoded.data();
  size_t target_left = recoded.size();
  const bool done =
      ::iconv(converter, &source, &source_left, &target, &target_left) != static_cast<size_t>(-1) &&
      ::iconv(converter, nullptr, nullptr, &target, &target_left) != static_cast<size_t>(-1);
  ::iconv_close(converter);
  if (!done) throw std::runtime_error("not in " + to + ": " + text.substr(text.size() - source_left, 16));
  recoded.resize(recoded.size() - target_left);
  return recoded;
}

std::string Encoded(const std::string& utf8, const std::string& charset) {
  return Recoded(utf8, "UTF-8", charset);
}

Chain::Chain() {
  std::string name = "/tmp/chain-XXXXXX";
  folder_ = ::mkdtemp(name.data());
  ::chmod(folder_.c_str(), 0777);  // the converter works under the service's account
  PutAged(folder_ / "film.mkv", "no film");
}

Chain::~Chain() { std::filesystem::remove_all(folder_); }

void Chain::Speak(const std::string& codepage) {
  WriteFile("/etc/crvninfo.conf", "codepage=\"" + codepage + "\"\n");
}

// The same bytes stay the same file, so that its cache is good.
std::string Chain::Put(const std::string& bytes) {
  if (files_ == 0 || bytes != bytes_) ++files_;
  bytes_ = bytes;
  const fs::path path = folder_ / ("film." + std::to_string(files_) + ".srt");
  if (!fs::exists(path)) PutAged(path, bytes);
  return path;
}

std::string Chain::Converted(const std::string& bytes, const std::string& charset) {
  const fs::path output = folder_ / "utf8.srt";
  fs::remove(output);
  return crvnkn::webapi::ToUTF8(Put(bytes), charset, output) ? ReadFile(output) : "";
}

std::string Chain::Answer(const std::string& bytes, const Wishes& wishes) {
  crvnkn::webapi::subtitle::GetMethodArguments arguments;
  arguments.video_path = folder_ / "film.mkv";
  arguments.subtitle_id = Put(bytes);
  arguments.codepage = wishes.codepage;
  arguments.start_time = wishes.start_time;
  arguments.end_time = wishes.end_time;
  arguments.output_webvtt = wishes.output_webvtt;
  arguments.keep_basic_tags = wishes.keep_basic_tags;
  arguments.strip_stray_brackets = wishes.strip_stray_brackets;
  crvnkn::webapi::subtitle::OutputSubtitle subtitle(arguments);
  if (!subtitle.Process()) return "";
  const std::string answer = subtitle.GetContent();
  return answer.substr(answer.find("\r\n\r\n") + 4);
}

}  // namespace kinora::texts
