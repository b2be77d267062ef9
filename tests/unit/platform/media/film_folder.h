// A folder of files that pass for films, gone after the test.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

namespace kinora::media {

class FilmFolder {
 public:
  FilmFolder() {
    std::string name = testing::TempDir() + "films XXXXXX";
    folder_ = std::filesystem::canonical(::mkdtemp(name.data()));
  }
  ~FilmFolder() { std::filesystem::remove_all(folder_); }
  FilmFolder(const FilmFolder&) = delete;
  FilmFolder& operator=(const FilmFolder&) = delete;

  const std::filesystem::path& Path() const { return folder_; }
  std::string In(const std::string& name) const { return folder_ / name; }

  // A file that nobody has touched for an hour; its folders are made.
  void Put(const std::string& name, const std::string& content = "film", long age_seconds = 3600) const {
    std::filesystem::create_directories((folder_ / name).parent_path());
    std::ofstream(folder_ / name, std::ios::binary | std::ios::trunc) << content;
    SetAge(name, age_seconds);
  }
  void SetAge(const std::string& name, long age_seconds) const {
    const timespec time{std::time(nullptr) - age_seconds, 0};
    const timespec times[] = {time, time};
    ASSERT_EQ(::utimensat(AT_FDCWD, In(name).c_str(), times, 0), 0);
  }
  void Move(const std::string& from, const std::string& to) const {
    std::filesystem::create_directories((folder_ / to).parent_path());
    std::filesystem::rename(folder_ / from, folder_ / to);
  }
  void Drop(const std::string& name) const { std::filesystem::remove_all(folder_ / name); }

 private:
  std::filesystem::path folder_;
};

}  // namespace kinora::media
