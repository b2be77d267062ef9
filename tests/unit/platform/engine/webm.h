// Live WebM streams of real films, and what is in the bytes that come out.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "contract/engine/webm_stream.h"
#include "platform/base/descriptor.h"
#include "platform/engine/job.h"
#include "platform/system/child.h"
#include "tests/unit/platform/engine/logged_lines.h"
#include "tests/unit/platform/engine/streams.h"

namespace kinora::engine {

using LibCrvnVTE::WebMStream;

inline constexpr char kEncoder[] = "/usr/bin/ffmpeg";

// One packet, in the film's own time.
struct Moment {
  std::string kind;  // "video", "audio"
  int64_t ms = 0;
  bool key = false;
};

// The bytes as somebody else's programs see them.
class WebMBody {
 public:
  explicit WebMBody(const std::string& bytes) {
    EXPECT_FALSE(bytes.empty());
    WriteText(path_, bytes);
  }
  ~WebMBody() { std::filesystem::remove(path_); }
  WebMBody(const WebMBody&) = delete;
  WebMBody& operator=(const WebMBody&) = delete;

  bool Decodes() const {
    return Run({"/usr/bin/ffmpeg", "-v", "error", "-xerror", "-f", "matroska", "-i", "file:/proc/self/fd/3",
                "-f", "null", "-"})
        .Succeeded();
  }

  // The packets of one kind in their order.
  std::vector<Moment> Moments(const std::string& kind) const {
    std::vector<Moment> moments;
    std::istringstream lines(Probe("packet=codec_type,pts_time,flags"));
    for (std::string line; std::getline(lines, line);) {
      if (!line.starts_with(kind + ",")) continue;
      const double seconds = std::atof(line.c_str() + kind.size() + 1);
      moments.push_back({kind, std::llround(seconds * 1000), line.find(",K") != std::string::npos});
    }
    return moments;
  }

  // "vp8,160,90\nopus\n"
  std::string Tracks() const { return Probe("stream=codec_name,width,height"); }

 private:
  system::ChildResult Run(std::vector<std::string> arguments) const {
    system::Command command;
    command.arguments = std::move(arguments);
    command.limits.address_space = 16ULL << 30;
    const base::Descriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    command.descriptors = {{file.Get(), 3}};
    return system::RunChild(command);
  }

  std::string Probe(const std::string& entries) const {
    const system::ChildResult result =
        Run({"/usr/bin/ffprobe", "-v", "error", "-f", "matroska", "-show_entries", entries, "-of", "csv=p=0",
             "file:/proc/self/fd/3"});
    EXPECT_TRUE(result.Succeeded());
    return result.output;
  }

  const std::string path_ = std::string(system::kVar) + "/body.webm";
};

class WebMTest : public StreamsTest {
 protected:
  void SetUp() override {
    StreamsTest::SetUp();
    std::filesystem::create_directories(films_);
    WriteText(profiles_, R"({"profiles": [
      {"name": "low", "uses": [{"kind": "WEBM", "remux": true}], "width": 640, "height": 360, "frame_rate": 30,
       "video_bitrate": 700000, "h264_profile": "main", "h264_level": "3.0", "preset": "ultrafast",
       "audio_bitrate": 96000, "audio_channels": 2},
      {"name": "surround", "uses": [{"kind": "WEBM", "remux": true}], "width": 640, "height": 360,
       "frame_rate": 30, "video_bitrate": 700000, "h264_profile": "main", "h264_level": "3.0",
       "preset": "ultrafast", "audio_bitrate": 96000, "audio_channels": 6}]})");
    Settings("");
  }
  void TearDown() override {
    std::filesystem::remove_all(films_);
    StreamsTest::TearDown();
  }

  static void Settings(const std::string& lines) {
    WriteText(system::kSettingsFile, "free_space_floor=\"0\"\n" + lines);
  }

  static std::string Media(const std::string& name) { return std::string(KINORA_MEDIA_DIR) + "/" + name; }

  // A copy of a film, which may be changed.
  std::string Film(const std::string& name = "encode_25.mkv") const {
    const std::string path = films_ + "/" + name;
    std::filesystem::copy_file(Media(name), path, std::filesystem::copy_options::overwrite_existing);
    return path;
  }

  WebMStream Prepared(const std::string& film, const std::string& profile = "low") const {
    return WebMStream(
        LibCrvnVTE::VTEStream::VTE_Init(LibCrvnVTE::VTEInitArgument(film, "WEBM", profiles_, profile)));
  }

  WebMStream Opened(const std::string& film, const std::string& profile = "low",
                    const std::string& track = "") const {
    WebMStream stream = Prepared(film, profile);
    EXPECT_TRUE(stream.Init(track)) << film << ": " << stream.GetErrorString();
    return stream;
  }

  static StreamFolder FolderOf(const WebMStream& stream) {
    return StreamFolder::Open("WEBM", stream.GetStreamID()).value();
  }
  static bool IsEncoding(const WebMStream& stream) { return LookAtJob(FolderOf(stream)).running; }

  // All that comes; the last result of reading is kept.
  int Drain(WebMStream& stream, std::string& bytes) const {
    std::array<char, 1024> buffer{};
    int got = 0;
    while ((got = stream.Read(buffer.data(), buffer.size())) > 0)
      bytes.append(buffer.data(), static_cast<size_t>(got));
    return got;
  }

  // What the film is from `seek` on.
  std::string Played(WebMStream& stream, int seek) const {
    std::string bytes;
    EXPECT_TRUE(stream.Transcoding(kEncoder, seek));
    EXPECT_EQ(Drain(stream, bytes), 0) << "a film that goes to its end";
    return bytes;
  }

  const std::string films_ = std::string(system::kVar) + "/films";
  const std::string profiles_ = films_ + "/profiles";
};

}  // namespace kinora::engine
