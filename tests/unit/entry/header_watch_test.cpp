#include "entry/header_watch.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

using kinora::entry::HeaderWatch;
using kinora::entry::WatchStandardOutput;

TEST(HeaderWatch, FindsTheEndOfTheBlockWhereverThePiecesPart) {
  const std::string block = "Status: 200 OK\r\nA: b\r\n\r\n";
  for (size_t cut = 0; cut <= block.size(); ++cut) {
    HeaderWatch watch;
    watch.Feed(block.substr(0, cut));
    EXPECT_EQ(watch.Complete(), cut == block.size()) << cut;
    watch.Feed(block.substr(cut));
    EXPECT_TRUE(watch.Complete()) << cut;
  }
}

TEST(HeaderWatch, TakesNothingElseForTheEnd) {
  for (const char* text : {"", "\r\n", "A: b\r\n", "A: b\n\n", "A: b\r\n\r", "\r\r\n\n"}) {
    HeaderWatch watch;
    watch.Feed(text);
    EXPECT_FALSE(watch.Complete()) << text;
  }
}

TEST(HeaderWatch, FindsTheEndByteByByte) {
  HeaderWatch watch;
  for (const char c : std::string("A: b\r\n\r")) watch.Feed({&c, 1});
  EXPECT_FALSE(watch.Complete());
  watch.Feed("\n");
  EXPECT_TRUE(watch.Complete());
}

// In a process of its own, since it takes over that process's output.
TEST(WatchStandardOutput, PassesOnEveryByteAndSeesIt) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    const HeaderWatch& watch = WatchStandardOutput();
    std::fputs("Accept-Ranges: bytes\r\n", stdout);
    std::fflush(stdout);
    if (watch.Complete()) _exit(1);
    std::printf("Content-Length: %d\r\n\r\n", 3);
    std::fflush(stdout);
    if (!watch.Complete()) _exit(2);
    _exit(write(STDOUT_FILENO, "abc", 3) == 3 ? 0 : 3);
  }
  close(ends[1]);
  std::string text(100, '\0');
  size_t length = 0;
  ssize_t got = 0;
  while ((got = read(ends[0], text.data() + length, text.size() - length)) > 0)
    length += static_cast<size_t>(got);
  close(ends[0]);
  text.resize(length);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(text, "Accept-Ranges: bytes\r\nContent-Length: 3\r\n\r\nabc");
}
