#include "entry/answer_request.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "platform/base/descriptor.h"

using kinora::base::Descriptor;
using kinora::entry::AnswerScgi;
using kinora::entry::TimeLimits;
using namespace std::chrono_literals;
using namespace std::string_literals;

namespace {

struct Outcome {
  int status = -1;     // as waitpid gives it
  std::string answer;  // to the end of the connection
};

// A request process that is sent these bytes and no more, on a connection that stays open.
Outcome Answer(const std::string& request, const TimeLimits& limits) {
  int pair[2];
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
  const Descriptor client(pair[0]);
  Descriptor server(pair[1]);
  // Sent first: a process that has run out of time hangs up whenever it likes.
  EXPECT_EQ(write(client.Get(), request.data(), request.size()), static_cast<ssize_t>(request.size()));
  const pid_t child = fork();
  if (child == 0) _exit(AnswerScgi(server.Release(), {}, limits));
  server.Reset();
  Outcome outcome;
  char buffer[4096];
  ssize_t got = 0;
  while ((got = read(client.Get(), buffer, sizeof buffer)) > 0) {
    outcome.answer.append(buffer, static_cast<size_t>(got));
  }
  waitpid(child, &outcome.status, 0);
  return outcome;
}

std::string Scgi(const std::string& length, const std::string& rest) {
  const std::string content = "CONTENT_LENGTH\0"s + length + "\0SCGI\0001\0"s + rest;
  return std::to_string(content.size()) + ":" + content + ",";
}

}  // namespace

TEST(AnswerScgi, RefusesARequestThatDoesNotComeInTime) {
  for (const std::string& sent : {""s, "70:"s, Scgi("5", "REQUEST_METHOD\0POST\0"s)}) {
    const Outcome outcome = Answer(sent, {0ms, 120s});
    EXPECT_TRUE(WIFEXITED(outcome.status) && WEXITSTATUS(outcome.status) == 0) << outcome.status;
    EXPECT_TRUE(outcome.answer.starts_with("Status: 400 ")) << outcome.answer;
    EXPECT_NE(outcome.answer.find("the request did not come in time"), std::string::npos) << outcome.answer;
  }
}

TEST(AnswerScgi, EndsItselfWhenTheAnswerTakesTooLong) {
  const Outcome outcome = Answer("70:", {1h, 10ms});
  EXPECT_TRUE(WIFSIGNALED(outcome.status) && WTERMSIG(outcome.status) == SIGALRM) << outcome.status;
  EXPECT_EQ(outcome.answer, "");
}

TEST(AnswerScgi, AnswersWhatIsNoRequest) {
  const Outcome outcome = Answer("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n", {});
  EXPECT_TRUE(outcome.answer.starts_with("Status: 400 ")) << outcome.answer;
}

TEST(AnswerScgi, AnswersARequestByItsParameters) {
  const std::string variables = "REQUEST_METHOD\0GET\0HTTP_HOST\0localhost\0QUERY_STRING\0api=x\0"s;
  const Outcome outcome = Answer(Scgi("0", variables), {});
  EXPECT_TRUE(outcome.answer.starts_with("Status: 404 ")) << outcome.answer;
  EXPECT_NE(outcome.answer.find("\"code\":121"), std::string::npos) << outcome.answer;
}
