// What is read of an encoder that does well, and of those that do not. A script takes its place.
#include "platform/engine/live_encoder.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "tests/unit/platform/engine/logged_lines.h"

namespace kinora::engine {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::chrono::milliseconds kShort{200};
constexpr std::chrono::seconds kEnoughToBegin{5};  // also on a busy machine
constexpr std::chrono::minutes kLong{2};

std::shared_ptr<LiveEncoder> Script(const std::string& script, std::chrono::milliseconds patience = kLong) {
  system::Command command;
  command.arguments = {"/bin/sh", "-c", script};
  std::shared_ptr<LiveEncoder> encoder = LiveEncoder::Start(command, "abc", patience);
  EXPECT_TRUE(encoder);
  return encoder;
}

// All that comes, and how it ends.
struct Body {
  std::string bytes;
  int end = 1;
};

Body ReadAll(LiveEncoder& encoder, unsigned int step = 1024) {
  Body body;
  std::array<char, 1024> buffer{};
  while ((body.end = encoder.Read(buffer.data(), step)) > 0)
    body.bytes.append(buffer.data(), static_cast<size_t>(body.end));
  return body;
}

bool IsGone(pid_t pid) { return ::kill(pid, 0) != 0; }

TEST(LiveEncoder, GivesAllBytesAndThenTheEnd) {
  const auto encoder = Script("printf abcdefgh");
  EXPECT_TRUE(encoder->WaitForBytes());
  const Body body = ReadAll(*encoder, 3);
  EXPECT_EQ(body.bytes, "abcdefgh");
  EXPECT_EQ(body.end, 0);
  EXPECT_LT(ReadAll(*encoder).end, 1) << "again";
  EXPECT_TRUE(IsGone(encoder->Pid()));
}

TEST(LiveEncoder, GivesBytesAsTheyCome) {
  const auto encoder = Script("printf abc; exec sleep 1000");
  std::array<char, 16> buffer{};
  EXPECT_EQ(encoder->Read(buffer.data(), buffer.size()), 3);
}

TEST(LiveEncoder, TellsTheLastWordsOfOneThatFails) {
  LoggedLines log;
  const auto encoder = Script("printf abc; echo 'no such filter' >&2; exit 3");
  const Body body = ReadAll(*encoder);
  EXPECT_EQ(body.bytes, "abc");
  EXPECT_EQ(body.end, -1);
  const std::string lines = log.Take();
  EXPECT_THAT(lines, HasSubstr("engine/live_encoder"));
  EXPECT_THAT(lines, HasSubstr("the encoder of stream abc failed with 3: no such filter"));
}

TEST(LiveEncoder, SaysNothingOfOneThatEndsWell) {
  LoggedLines log;
  EXPECT_EQ(ReadAll(*Script("printf abc")).end, 0);
  EXPECT_THAT(log.Take(), Not(HasSubstr("live_encoder")));
}

TEST(LiveEncoder, HasNotBegunWhereNothingComes) {
  const struct {
    const char* script;
    const char* words;
  } cases[] = {
      {"exit 0", "has said nothing"},
      {"exit 9", "failed with 9"},
      {"kill -9 $$", "was ended by signal 9"},
      {"exec sleep 1000", "delivers nothing"},
  };
  for (const auto& one : cases) {
    LoggedLines log;
    const auto encoder = Script(one.script, std::string(one.words) == "delivers nothing" ? kShort : kLong);
    EXPECT_FALSE(encoder->WaitForBytes()) << one.script;
    EXPECT_TRUE(IsGone(encoder->Pid())) << one.script;
    EXPECT_THAT(log.Take(), HasSubstr(one.words));
  }
}

TEST(LiveEncoder, EndsOneThatHangsInTheMiddle) {
  LoggedLines log;
  const auto encoder = Script("printf abc; exec sleep 1000", kEnoughToBegin);
  const Body body = ReadAll(*encoder);
  EXPECT_EQ(body.bytes, "abc");
  EXPECT_EQ(body.end, -1);
  EXPECT_TRUE(IsGone(encoder->Pid()));
  EXPECT_THAT(log.Take(), HasSubstr("delivers nothing"));
}

TEST(LiveEncoder, EndsOneThatHasClosedItsOutputAndStays) {
  LoggedLines log;
  const auto encoder = Script("printf abc; exec sleep 1000 >&-", kEnoughToBegin);
  EXPECT_EQ(ReadAll(*encoder).end, -1);
  EXPECT_TRUE(IsGone(encoder->Pid()));
  EXPECT_THAT(log.Take(), HasSubstr("does not end"));
}

TEST(LiveEncoder, ListensToOneThatComplainsALot) {
  const auto encoder = Script("head -c 1000000 /dev/zero | tr '\\0' x >&2; printf abc");
  EXPECT_TRUE(encoder->WaitForBytes());
  EXPECT_EQ(ReadAll(*encoder).bytes, "abc");
}

TEST(LiveEncoder, EndsAtOnceWhateverItDoes) {
  for (const char* script :
       {"trap '' TERM; printf abc; while :; do :; done", "exec yes", "exec sleep 1000"}) {
    const auto encoder = Script(script);
    encoder->End();
    EXPECT_TRUE(IsGone(encoder->Pid())) << script;
    std::array<char, 16> buffer{};
    EXPECT_EQ(encoder->Read(buffer.data(), buffer.size()), -1);
    encoder->End();
  }
}

TEST(LiveEncoder, EndsWithItsObject) {
  pid_t pid = 0;
  {
    const auto encoder = Script("exec yes");
    pid = encoder->Pid();
    EXPECT_TRUE(encoder->WaitForBytes());
  }
  EXPECT_TRUE(IsGone(pid));
}

TEST(LiveEncoder, IsNothingWhereTheProgramIsNone) {
  system::Command command;
  command.arguments = {"/no/such/program"};
  EXPECT_FALSE(LiveEncoder::Start(command, "abc", kLong));
  command.arguments = {"ffmpeg"};
  EXPECT_FALSE(LiveEncoder::Start(command, "abc", kLong)) << "no absolute path";
}

}  // namespace
}  // namespace kinora::engine
