// The workspace "/tmp/Kinora" of a test, and the verbs to put streams there.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace kinora::fakes {

// A base beside the test's own. Enter fails outside of a private view of the machine's places, and where the
// workspace holds anything, so that a test can harm nobody's streams.
class Workspace {
 protected:
  void Enter();  // for SetUp
  void Leave();  // for TearDown

  // A stream as the engine leaves it: a folder on the volume and the link to it. Gives the folder.
  std::filesystem::path PutStream(const std::string& type, const std::string& id);
  // Puts a mark of use on the stream, so many seconds old.
  void PutMark(const std::string& type, const std::string& id, std::chrono::seconds age);
  bool IsThere(const std::string& type, const std::string& id) const;  // the link itself
  static void PutFile(const std::filesystem::path& file, const std::string& content);
  static std::string Content(const std::filesystem::path& file);

  const std::filesystem::path workspace_ = "/tmp/Kinora";
  std::filesystem::path volume_;  // where the working folders are; lies outside of the workspace

 private:
  bool owns_workspace_ = false;
};

}  // namespace kinora::fakes
