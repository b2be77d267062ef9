// A subtitle file on its way to a player, with nothing doubled: Enca, the converter, clean-up, WebVTT. Needs
// the fixed places.
#pragma once

#include <filesystem>
#include <string>

namespace kinora::texts {

std::string ReadFile(const std::filesystem::path& path);
// Throws std::runtime_error when the file cannot be written.
void WriteFile(const std::filesystem::path& path, const std::string& bytes);

// The text in another charset, as iconv(3) writes it. Throws std::runtime_error when that cannot be done
// whole.
std::string Recoded(const std::string& text, const std::string& from, const std::string& to);
std::string Encoded(const std::string& utf8, const std::string& charset);

// What a player asks for.
struct Wishes {
  std::string codepage = "auto";
  int start_time = -1;
  int end_time = -1;
  bool output_webvtt = false;
  bool keep_basic_tags = false;
  bool strip_stray_brackets = true;
};

// One file at a time.
class Chain {
 public:
  Chain();
  ~Chain();
  Chain(const Chain&) = delete;
  Chain& operator=(const Chain&) = delete;

  // From now on this is the machine's code page.
  static void Speak(const std::string& codepage);

  // A subtitle file with these bytes beside a film, an hour old, which may be read by everybody.
  std::string Put(const std::string& bytes);

  // The text in UTF-8; empty when there is none.
  std::string Converted(const std::string& bytes, const std::string& charset);

  // What a player is answered that asks for the subtitle with these wishes; empty when there is nothing to
  // send.
  std::string Answer(const std::string& bytes, const Wishes& wishes);

 private:
  std::filesystem::path folder_;
  std::string bytes_;  // of the last file
  int files_ = 0;
};

}  // namespace kinora::texts
