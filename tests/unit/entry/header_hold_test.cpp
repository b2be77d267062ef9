#include "entry/header_hold.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

using kinora::entry::HeaderHold;
using kinora::entry::HoldStandardOutput;

namespace {

using Lines = std::vector<std::string>;

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

TEST(HeaderHold, PutsTheCallersOwnLinesBeforeTheBlockOnce) {
  HeaderHold hold("Own: line\r\n");
  EXPECT_EQ(hold.Feed("A: b\r\n"), "");
  EXPECT_EQ(hold.Feed("\r\nbo"), "Own: line\r\nA: b\r\n\r\nbo");
  EXPECT_EQ(hold.Feed("dy"), "dy");
}

TEST(HeaderHold, NamesTheWholeLinesOfABlockWithoutAnEnd) {
  HeaderHold hold("Own: line\r\n");
  EXPECT_EQ(hold.Lines(), Lines());
  hold.Feed("A: b");
  EXPECT_EQ(hold.Lines(), Lines());
  hold.Feed("\r\nC: d\r\nE: torn");
  EXPECT_EQ(hold.Lines(), (Lines{"A: b", "C: d"}));
  hold.Feed("\r");
  EXPECT_EQ(hold.Lines(), (Lines{"A: b", "C: d"}));
  hold.Feed("\n");
  EXPECT_EQ(hold.Lines(), (Lines{"A: b", "C: d", "E: torn"}));
}

TEST(HoldStandardOutput, PutsOutEveryByteAndSaysWhenItBegins) {
  int status = -1;
  const std::string text = OutputOf(
      [] {
        const HeaderHold& hold = HoldStandardOutput("Own: line\r\n", [] { has_begun = true; });
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
  EXPECT_EQ(text, "Own: line\r\nAccept-Ranges: bytes\r\nContent-Length: 3\r\n\r\nabc");
}

TEST(HoldStandardOutput, PutsOutNothingOfABlockWithoutAnEnd) {
  int status = -1;
  const std::string text = OutputOf(
      [] {
        const HeaderHold& hold = HoldStandardOutput("Own: line\r\n");
        std::fputs("Accept-Ranges: bytes\r\n", stdout);
        std::fflush(nullptr);
        return hold.Lines() == Lines{"Accept-Ranges: bytes"} ? 0 : 1;
      },
      status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(text, "");
}
