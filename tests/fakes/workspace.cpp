#include "tests/fakes/workspace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace kinora::fakes {

void Workspace::Enter() {
  ASSERT_NE(std::getenv("KINORA_PLACES"), nullptr) << "run this through tests/with-places";
  ASSERT_TRUE(!fs::exists(workspace_) || fs::is_empty(workspace_)) << workspace_ << " holds something";
  owns_workspace_ = true;
  char name[] = "/tmp/kinora-volume-XXXXXX";
  ASSERT_NE(mkdtemp(name), nullptr);
  volume_ = name;
}

void Workspace::Leave() {
  if (!owns_workspace_) return;
  fs::remove_all(volume_);
  if (!fs::exists(workspace_)) return;
  for (const fs::directory_entry& entry : fs::directory_iterator(workspace_)) fs::remove_all(entry);
}

fs::path Workspace::PutStream(const std::string& type, const std::string& id) {
  const fs::path folder = volume_ / (type + "-" + id);
  fs::create_directories(folder);
  fs::create_directories(workspace_ / type);
  fs::create_directory_symlink(folder, workspace_ / type / id);
  return folder;
}

void Workspace::PutFile(const fs::path& file, const std::string& content) {
  std::ofstream stream(file, std::ios::binary);
  stream << content;
  stream.close();
  ASSERT_TRUE(stream) << file;
}

std::string Workspace::Content(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void Workspace::PutMark(const std::string& type, const std::string& id, std::chrono::seconds age) {
  const fs::path mark = workspace_ / type / id / "access_status";
  PutFile(mark, "touch");
  const timespec when{time(nullptr) - age.count(), 0};
  const timespec times[] = {when, when};
  ASSERT_EQ(utimensat(AT_FDCWD, mark.c_str(), times, 0), 0) << mark;
}

bool Workspace::IsThere(const std::string& type, const std::string& id) const {
  return fs::is_symlink(workspace_ / type / id);
}

}  // namespace kinora::fakes
