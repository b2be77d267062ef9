#include "platform/system/vaapi.h"

#include <sys/stat.h>

#include "platform/base/atomic_file.h"
#include "tests/unit/platform/system/child_fixture.h"

namespace kinora::system {
namespace {

namespace fs = std::filesystem;
using Node = std::optional<std::string>;

// A script in ffmpeg's place, and plain files in that of the render nodes.
class VaapiTest : public ChildTest {
 protected:
  VaapiTest()
      : places_{folder_ / "dri", folder_ / "ffmpeg", folder_ / "memory"}, first_(folder_ / "dri/renderD128") {
    fs::create_directory(places_.devices);
  }
  // From now on the hardware behind the node encodes; none: no hardware does.
  void Encodes(const std::string& node) {
    base::WriteFileAtomically(places_.ffmpeg,
                              "#!/bin/sh\nfor argument; do\n  [ \"$argument\" = 'vaapi=hw:" + node +
                                  "' ] && exit 0\ndone\nexit 1\n",
                              0755);
  }
  void AddNode(const std::string& name) { std::ofstream(fs::path(places_.devices) / name); }
  void Age(std::chrono::seconds age) {
    fs::last_write_time(places_.memory, fs::file_time_type::clock::now() - age);
  }

  VaapiPlaces places_;
  std::string first_;
};

TEST_F(VaapiTest, FindsTheNodeWhoseHardwareEncodes) {
  AddNode("card0");
  AddNode("renderD128");
  AddNode("renderD129");
  Encodes(first_);
  EXPECT_EQ(FindVaapiDevice(places_), Node(first_));
  Encodes(places_.devices + "/renderD129");
  EXPECT_EQ(FindVaapiDevice(places_), Node(places_.devices + "/renderD129"));
  Encodes("none");
  EXPECT_EQ(FindVaapiDevice(places_), Node());
}

TEST_F(VaapiTest, FindsNothingWithoutFFmpegOrDevices) {
  AddNode("renderD128");
  EXPECT_EQ(FindVaapiDevice(places_), Node());
  fs::remove_all(places_.devices);
  Encodes(first_);
  EXPECT_EQ(FindVaapiDevice(places_), Node());
}

TEST_F(VaapiTest, AsksNothingThatIsNoRenderNode) {
  for (const char* name : {"renderD", "renderDx", "renderD12345", "renderD128,a=b", "card0"}) {
    AddNode(name);
    Encodes(places_.devices + "/" + name);
    EXPECT_EQ(FindVaapiDevice(places_), Node()) << name;
  }
}

TEST_F(VaapiTest, RemembersTheAnswerForAnHour) {
  AddNode("renderD128");
  Encodes(first_);
  EXPECT_EQ(RememberedVaapiDevice(places_), Node(first_));
  Encodes("none");
  EXPECT_EQ(RememberedVaapiDevice(places_), Node(first_));
  Age(std::chrono::minutes(59));
  EXPECT_EQ(RememberedVaapiDevice(places_), Node(first_));
  Age(std::chrono::minutes(61));
  EXPECT_EQ(RememberedVaapiDevice(places_), Node());
  Encodes(first_);
  EXPECT_EQ(RememberedVaapiDevice(places_), Node()) << "that there is none is remembered too";
  Age(std::chrono::minutes(-5));
  EXPECT_EQ(RememberedVaapiDevice(places_), Node(first_)) << "an answer from the future is none";
}

TEST_F(VaapiTest, RemembersNothingBeyondTheNextStartOfTheMachine) {
  AddNode("renderD128");
  Encodes("none");
  base::WriteFileAtomically(places_.memory, "another start\n" + first_, 0600);
  EXPECT_EQ(RememberedVaapiDevice(places_), Node());
}

TEST_F(VaapiTest, ForgetsANodeThatIsGone) {
  AddNode("renderD128");
  Encodes(first_);
  EXPECT_EQ(RememberedVaapiDevice(places_), Node(first_));
  fs::remove(first_);
  EXPECT_EQ(RememberedVaapiDevice(places_), Node());
  AddNode("renderD129");
  Encodes(places_.devices + "/renderD129");
  EXPECT_EQ(RememberedVaapiDevice(places_), Node(places_.devices + "/renderD129"));
}

TEST_F(VaapiTest, AsksAgainWhenItsMemoryIsOfNoUse) {
  AddNode("renderD128");
  Encodes(first_);
  for (const std::string& content : {std::string(), std::string("\n"), std::string(100'000, 'x')}) {
    base::WriteFileAtomically(places_.memory, content, 0600);
    EXPECT_EQ(RememberedVaapiDevice(places_), Node(first_));
  }
  fs::remove(places_.memory);
  fs::create_directory(places_.memory);
  EXPECT_EQ(RememberedVaapiDevice(places_), Node(first_));
  places_.memory = folder_ / "none" / "memory";
  EXPECT_EQ(RememberedVaapiDevice(places_), Node(first_));
}

}  // namespace
}  // namespace kinora::system
