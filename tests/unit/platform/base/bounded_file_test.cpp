#include "platform/base/bounded_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "platform/base/descriptor.h"

namespace kinora::base {
namespace {

class BoundedFileTest : public testing::Test {
 protected:
  BoundedFileTest() {
    std::string name = testing::TempDir() + "bounded-XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  ~BoundedFileTest() override { std::filesystem::remove_all(folder_); }

  std::string Put(const std::string& content) const {
    std::ofstream(folder_ / "file", std::ios::binary) << content;
    return folder_ / "file";
  }
  static std::optional<std::string> Read(const std::string& path, size_t limit) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    return ReadPlainFile(file.Get(), limit);
  }

  std::filesystem::path folder_;
};

TEST_F(BoundedFileTest, GivesEveryByteUpToTheLimit) {
  EXPECT_EQ(Read(Put(""), 0), "");
  const std::string bytes("a\0\xff\n", 4);
  EXPECT_EQ(Read(Put(bytes), 4), bytes);
  EXPECT_EQ(Read(Put(std::string(300'000, 'x')), 1 << 20), std::string(300'000, 'x'));
}

TEST_F(BoundedFileTest, RefusesWhatIsLarger) {
  EXPECT_EQ(Read(Put("12345"), 4), std::nullopt);
  EXPECT_EQ(errno, EFBIG);
  EXPECT_EQ(Read(Put("1"), 0), std::nullopt);
}

TEST_F(BoundedFileTest, RefusesWhatIsNoPlainFile) {
  EXPECT_EQ(Read(folder_, 100), std::nullopt);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(Read("/dev/zero", 100), std::nullopt);
  const std::string pipe = folder_ / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(Read(pipe, 100), std::nullopt);
}

TEST_F(BoundedFileTest, RefusesWhatIsNotOpen) { EXPECT_EQ(ReadPlainFile(-1, 100), std::nullopt); }

}  // namespace
}  // namespace kinora::base
