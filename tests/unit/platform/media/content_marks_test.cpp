#include "platform/media/content_marks.h"

#include <gtest/gtest.h>

#include "tests/unit/platform/media/film_folder.h"

namespace kinora::media {
namespace {

class ContentMarksTest : public testing::Test {
 protected:
  std::string MarksOf(const std::string& content) {
    films_.Put("a.mp4", content);
    return ContentMarks(films_.In("a.mp4"));
  }
  FilmFolder films_;
};

TEST_F(ContentMarksTest, AreTheSameUnderAnotherName) {
  const std::string content(300'000, 'x');
  const std::string marks = MarksOf(content);
  EXPECT_EQ(marks.size(), 64U);
  films_.Move("a.mp4", "b/c.mp4");
  EXPECT_EQ(ContentMarks(films_.In("b/c.mp4")), marks);
}

TEST_F(ContentMarksTest, DifferInSizeBeginningAndEnd) {
  const std::string content(300'000, 'x');
  const std::string marks = MarksOf(content);
  std::string other = content;
  other.front() = 'y';
  EXPECT_NE(MarksOf(other), marks);
  other = content;
  other.back() = 'y';
  EXPECT_NE(MarksOf(other), marks);
  EXPECT_NE(MarksOf(content + "x"), marks);
  EXPECT_NE(MarksOf(""), MarksOf("x"));
}

TEST_F(ContentMarksTest, AreEmptyForWhatCannotBeRead) {
  films_.Put("a.mp4");
  std::filesystem::create_symlink("a.mp4", films_.In("link.mp4"));
  ASSERT_EQ(::mkfifo(films_.In("pipe.mp4").c_str(), 0600), 0);
  EXPECT_EQ(ContentMarks(films_.In("none.mp4")), "");
  EXPECT_EQ(ContentMarks(films_.In("link.mp4")), "");
  EXPECT_EQ(ContentMarks(films_.In("pipe.mp4")), "");
  EXPECT_EQ(ContentMarks(films_.Path()), "");
}

}  // namespace
}  // namespace kinora::media
