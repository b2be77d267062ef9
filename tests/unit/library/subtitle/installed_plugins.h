// Plug-ins as real programs in the place of the installed ones, run by the real platform.
#pragma once

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "contract/media/json_file.h"
#include "platform/system/places.h"
#include "tests/fakes/pauses.h"
#include "tests/fakes/stream_test.h"

namespace kinora::fakes {

class InstalledPluginsTest : public StreamTest {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("KINORA_PLACES"), nullptr) << "run this through tests/with-places";
    Pauses().clear();
    std::string name = "/tmp/installed-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    ::chmod(folder_.c_str(), 0777);  // plug-ins work under an account without rights
    std::filesystem::create_directory(folder_ / "plugins");
    covered_ = ::mount((folder_ / "plugins").c_str(), kPlugins, nullptr, MS_BIND, nullptr) == 0;
    // Where nothing can be mounted, the places are the machine's own, and nobody else's.
    ASSERT_TRUE(covered_ || std::filesystem::is_empty(kPlugins));
  }
  void TearDown() override {
    if (covered_) ::umount2(kPlugins, MNT_DETACH);
    if (!covered_) {
      for (const auto& entry : std::filesystem::directory_iterator(kPlugins))
        std::filesystem::remove_all(entry.path());
    }
    std::filesystem::remove_all(system::InVar("@tmp"));
    std::filesystem::remove_all(folder_);
  }

  // A plug-in whose program is this PHP.
  static void Install(const std::string& id, const std::string& program) {
    const std::filesystem::path folder = std::filesystem::path(kPlugins) / id;
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "plugin.json") << R"({"id": ")" << id << R"(", "title": "Title"})";
    std::ofstream(folder / "subtitle.php") << "<?php\n" << program;
  }
  // One that finds a single subtitle and does this for a download; $path and $id are set.
  static void InstallDownloading(const std::string& id, const std::string& download) {
    Install(id,
            "if ($argv[2] === 'search') { echo '{\"items\": [{\"id\": \"7\"}]}'; exit; }\n"
            "$path = $argv[4]; $id = $argv[6];\n" +
                download);
  }
  static std::string Content(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  static constexpr char kPlugins[] = "/var/packages/Kinora/target/subtitle_plugins";
  std::filesystem::path folder_;  // everybody may write to it

 private:
  bool covered_ = false;
};

}  // namespace kinora::fakes
