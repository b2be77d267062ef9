// Verbs for tests about streams in the workspace of their private view.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "contract/engine/http_live_stream.h"
#include "contract/system/crvn_fs.h"
#include "platform/system/places.h"

namespace kinora::engine {

inline std::string LinkOf(const std::string& stream_id, const std::string& type = "HLS") {
  return std::string(system::kWorkspace) + "/" + type + "/" + stream_id;
}

inline std::string FolderOf(const std::string& stream_id, const std::string& type = "HLS") {
  return std::filesystem::canonical(system::kVar).string() + "/@tmp/Kinora/" + type + "/" + stream_id;
}

// What children may write to.
inline std::string WorkFolderOf(const std::string& stream_id) { return FolderOf(stream_id) + "/work"; }

inline bool IsThere(const std::string& path) {
  return std::filesystem::exists(std::filesystem::symlink_status(path));
}

inline void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// The workspace and the volume are empty before and after each test.
class StreamsTest : public testing::Test {
 protected:
  void SetUp() override { Sweep(); }
  void TearDown() override { Sweep(); }

  // A prepared stream of no film; its id.
  static std::string Prepare(const std::string& path = "/videos/film.mp4") {
    return LibCrvnVTE::VTEStream::VTE_Init(LibCrvnVTE::VTEInitArgument(path, "HLS", "/profiles", "hd_high"));
  }

  // Nothing of any stream is left, neither in the workspace nor on the volume.
  static void ExpectNothingLeft() {
    for (const char* type : {"HLS", "SS", "WEBM"}) {
      for (const std::string& folder : {std::string(system::kWorkspace) + "/" + type,
                                        std::string(system::kVar) + "/@tmp/Kinora/" + type}) {
        EXPECT_TRUE(!IsThere(folder) || std::filesystem::is_empty(folder)) << folder;
      }
    }
  }

 private:
  static void Sweep() {
    for (const auto& entry : std::filesystem::directory_iterator(system::kWorkspace))
      std::filesystem::remove_all(entry.path());
    std::filesystem::remove_all(std::string(system::kVar) + "/@tmp");
    std::filesystem::remove(system::kSettingsFile);
  }
};

}  // namespace kinora::engine
