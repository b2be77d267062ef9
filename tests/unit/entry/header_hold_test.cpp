#include "entry/header_hold.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

using kinora::entry::HeaderHold;
using kinora::entry::HoldStandardOutput;

namespace {

// What `writes` puts out, in a process of its own since it takes over that process's output; `status` is what
// it returns.
std::string OutputOf(int (*writes)(), int& status) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    _exit(writes());
  }
  close(ends[1]);
  std::string text;
  char buffer[100];
  for (ssize_t got = 0; (got = read(ends[0], buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<size_t>(got));
  close(ends[0]);
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return text;
}

bool has_begun = false;

}  // namespace

TEST(HeaderHold, LetsTheBlockGoWhenItIsWholeWhereverThePiecesPart) {
  const std::string block = "Status: 200 OK\r\nA: b\r\n\r\n";
  for (size_t cut = 0; cut < block.size(); ++cut) {
    HeaderHold hold;
    EXPECT_EQ(hold.Feed(block.substr(0, cut)), "") << cut;
    EXPECT_FALSE(hold.Complete()) << cut;
    EXPECT_EQ(hold.Feed(block.substr(cut)), block) << cut;
    EXPECT_TRUE(hold.Complete()) << cut;
    EXPECT_EQ(hold.Feed("body"), "body") << cut;
  }
}

TEST(HeaderHold, TakesNothingElseForTheEnd) {
  for (const char* text : {"", "\r\n", "A: b\r\n", "A: b\n\n", "A: b\r\n\r", "\r\r\n\n"}) {
    HeaderHold hold;
    EXPECT_EQ(hold.Feed(text), "") << text;
    EXPECT_FALSE(hold.Complete()) << text;
  }
}

TEST(HeaderHold, FindsTheEndByteByByte) {
  HeaderHold hold;
  for (const char c : std::string("A: b\r\n\r")) EXPECT_EQ(hold.Feed({&c, 1}), "");
  EXPECT_EQ(hold.Feed("\n"), "A: b\r\n\r\n");
}

TEST(HoldStandardOutput, PutsOutEveryByteAndSaysWhenItBegins) {
  int status = -1;
  const std::string text = OutputOf(
      [] {
        const HeaderHold& hold = HoldStandardOutput([] { has_begun = true; });
        std::fputs("Accept-Ranges: bytes\r\n", stdout);
        std::fflush(stdout);
        if (hold.Complete() || has_begun) return 1;
        std::printf("Content-Length: %d\r\n\r\n", 3);
        std::fflush(stdout);
        if (!hold.Complete() || !has_begun) return 2;
        return write(STDOUT_FILENO, "abc", 3) == 3 ? 0 : 3;
      },
      status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(text, "Accept-Ranges: bytes\r\nContent-Length: 3\r\n\r\nabc");
}

TEST(HoldStandardOutput, PutsOutNothingOfABlockWithoutAnEnd) {
  int status = -1;
  const std::string text = OutputOf(
      [] {
        HoldStandardOutput();
        std::fputs("Accept-Ranges: bytes\r\n", stdout);
        std::fflush(stdout);
        std::fflush(nullptr);
        return 0;
      },
      status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(text, "");
}
