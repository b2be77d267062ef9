#include "tests/texts/chain.h"

#include <iconv.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "library/subtitle/tag_clean_up.h"
#include "library/subtitle/webvtt.h"
#include "library/to_utf8.h"

namespace kinora::texts {

using crvnkn::webapi::ToUTF8;
using namespace crvnkn::webapi::subtitle;

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
}

Chain::~Chain() { std::filesystem::remove_all(folder_); }

void Chain::Speak(const std::string& codepage) {
  WriteFile("/etc/crvninfo.conf", "codepage=\"" + codepage + "\"\n");
}

std::string Chain::Put(const std::string& bytes) const {
  const std::string path = folder_ / "film.srt";
  WriteFile(path, bytes);
  ::chmod(path.c_str(), 0644);
  return path;
}

std::string Chain::Converted(const std::string& bytes, const std::string& charset) const {
  const std::string output = folder_ / "utf8.srt";
  std::filesystem::remove(output);
  return ToUTF8(Put(bytes), charset, output) ? ReadFile(output) : "";
}

std::string Chain::Answer(const std::string& bytes, const Wishes& wishes) const {
  const std::string clean = CleanUpTags(
      Converted(bytes, wishes.codepage),
      {.keep_basic_tags = wishes.keep_basic_tags, .strip_stray_brackets = wishes.strip_stray_brackets});
  if (!wishes.output_webvtt) return clean;
  const CueWindow window{wishes.start_time, wishes.end_time};
  const std::string document = ConvertToWebvtt(clean, window);
  return document.empty() ? MakeEmptyWebvtt(window) : document;
}

}  // namespace kinora::texts
