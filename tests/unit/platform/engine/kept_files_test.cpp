#include "platform/engine/kept_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "platform/engine/scratch_file.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

using Names = std::set<std::string>;

class KeptFiles : public testing::Test {
 protected:
  KeptFiles() {
    std::string name = testing::TempDir() + "kept-XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  ~KeptFiles() override { fs::remove_all(folder_); }

  std::string Path(const std::string& name) const { return folder_ + "/" + name; }

  void Put(const std::string& name, size_t size, int seconds_ago) const {
    std::ofstream(Path(name)) << std::string(size, 'x');
    fs::last_write_time(Path(name), fs::file_time_type::clock::now() - std::chrono::seconds(seconds_ago));
  }
  // Five of 100 bytes; 1.m4s was wanted last.
  void PutFive() const {
    for (int n = 1; n <= 5; ++n) Put(std::to_string(n) + ".m4s", 100, n * 10);
  }
  Names Present() const {
    Names names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.insert(entry.path().filename());
    return names;
  }

  std::string folder_;
};

TEST_F(KeptFiles, AreThoseThatWereWantedLast) {
  const struct {
    KeptKind kind;
    uint64_t planned;
    uint64_t quota;
    Names kept;
  } cases[] = {
      {{".m4s", 16, 2}, 0, 600, {"1.m4s", "2.m4s", "3.m4s", "4.m4s", "5.m4s"}},
      {{".m4s", 16, 2}, 0, 599, {"1.m4s", "2.m4s", "3.m4s", "4.m4s"}},
      {{".m4s", 16, 2}, 300, 600, {"1.m4s", "2.m4s", "3.m4s"}},
      {{".m4s", 16, 2}, 0, 0, {"1.m4s"}},  // and the new one
      {{".m4s", 16, 4}, 0, 0, {"1.m4s", "2.m4s", "3.m4s"}},
      {{".m4s", 4, 2}, 0, 10'000, {"1.m4s", "2.m4s", "3.m4s"}},
      {{".ts", 1, 1}, 0, 0, {"1.m4s", "2.m4s", "3.m4s", "4.m4s", "5.m4s"}},  // of another kind
  };
  for (const auto& one : cases) {
    PutFive();
    MakeRoom(folder_, one.kind, one.planned, one.quota);
    EXPECT_EQ(Present(), one.kept) << one.kind.extension << one.planned << " of " << one.quota;
  }
}

TEST_F(KeptFiles, AreWantedAnewWhenTheyAreTouched) {
  PutFive();
  EXPECT_TRUE(Touch(Path("5.m4s")));
  MakeRoom(folder_, {".m4s", 16, 2}, 0, 0);
  EXPECT_EQ(Present(), Names{"5.m4s"});
  EXPECT_FALSE(Touch(Path("4.m4s"))) << "it is gone";
}

TEST_F(KeptFiles, AreRidOfWhatWritersThatWereKilledHaveLeft) {
  Put("7.m4s.Ab3dEf", 100, 601);
  Put("8.m4s.Ab3dEf", 100, 10);
  Put("9.ts.Ab3dEf", 100, 601);
  fs::create_directory(Path("10.m4s"));
  MakeRoom(folder_, {".m4s", 1, 1}, 0, 0);
  EXPECT_EQ(Present(), (Names{"8.m4s.Ab3dEf", "9.ts.Ab3dEf", "10.m4s"}));
  MakeRoom(Path("missing"), {".m4s", 1, 1}, 0, 0);
}

class Scratch : public KeptFiles {
 protected:
  void Write(const ScratchFile& file, const std::string& text) const {
    ASSERT_EQ(::write(file.File(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  std::string Content(const std::string& name) const {
    std::ifstream file(Path(name));
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

TEST_F(Scratch, GoesUnlessItIsPublished) {
  {
    const ScratchFile file(Path("1.m4s"));
    EXPECT_EQ(Present().size(), 1U);
    EXPECT_FALSE(Present().contains("1.m4s"));
  }
  EXPECT_EQ(Present(), Names{});
  EXPECT_THROW(ScratchFile(Path("missing/1.m4s")), std::system_error);
}

TEST_F(Scratch, IsPublishedOnceOrReplacesWhatIsThere) {
  for (const char* text : {"first", "second"}) {
    ScratchFile file(Path("1.m4s"));
    Write(file, "half");
    file.Empty();
    Write(file, text);
    file.PublishOnce();
  }
  EXPECT_EQ(Content("1.m4s"), "first");
  ScratchFile file(Path("1.m4s"));
  Write(file, "third");
  file.Replace();
  EXPECT_EQ(Content("1.m4s"), "third");
  EXPECT_EQ(Present(), Names{"1.m4s"});
}

TEST_F(Scratch, SaysWhenItCannotBePublished) {
  const std::string folder = Path("gone");
  fs::create_directory(folder);
  ScratchFile file(folder + "/1.m4s");
  fs::remove_all(folder);
  EXPECT_THROW(file.PublishOnce(), std::system_error);
  EXPECT_THROW(file.Replace(), std::system_error);
}

}  // namespace
}  // namespace kinora::engine
