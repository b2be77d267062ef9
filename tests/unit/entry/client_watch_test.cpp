#include "entry/client_watch.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/unit/entry/tcp_pair.h"

using kinora::entry::EndWithClient;
using kinora::entry::OutliveClient;

namespace {

constexpr int kPatience = 60;  // seconds until a process that should have ended ends itself, by SIGALRM

using MakeEnds = int (*)(int ends[2]);  // ends[1] becomes the answer's

int MakeSockets(int ends[2]) { return socketpair(AF_UNIX, SOCK_STREAM, 0, ends); }
int MakePipe(int ends[2]) { return pipe(ends); }

void Watch() { EndWithClient({}); }

// The status, as waitpid gives it, of a process that answers through these ends: it does `prepare`, and the
// client goes. Then it waits until it is told to go on, and ends with status 7.
int StatusWhenTheClientGoes(MakeEnds make, void (*prepare)()) {
  int ends[2];
  int ready[2];
  int go_on[2];
  if (make(ends) != 0 || pipe(ready) != 0 || pipe(go_on) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    close(go_on[1]);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
    alarm(kPatience);
    prepare();
    char byte = 0;
    if (write(ready[1], "", 1) != 1) _exit(1);
    _exit(read(go_on[0], &byte, 1) == 1 ? 7 : 1);
  }
  close(ends[1]);
  char byte = 0;
  EXPECT_EQ(read(ready[0], &byte, 1), 1);
  close(ends[0]);
  // Whoever is to end does so by himself: he is not told to go on.
  if (prepare != Watch) {
    EXPECT_EQ(write(go_on[1], "", 1), 1);
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  for (const int end : {ready[0], ready[1], go_on[0], go_on[1]}) close(end);
  return status;
}

}  // namespace

TEST(ClientWatch, EndsTheProcessWhenTheClientGoes) {
  for (const MakeEnds make : {MakeSockets, MakePipe}) {
    const int status = StatusWhenTheClientGoes(make, Watch);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_FAILURE) << status;
  }
}

TEST(ClientWatch, LeavesTheProcessAloneOnceItAnswers) {
  for (const MakeEnds make : {MakeSockets, MakePipe}) {
    const int status = StatusWhenTheClientGoes(make, [] {
      Watch();
      OutliveClient();
    });
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
  }
}

TEST(ClientWatch, EndsTheProcessAtOnceWhenTheClientIsGoneAlready) {
  int ends[2];
  ASSERT_EQ(MakeSockets(ends), 0);
  close(ends[0]);
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    Watch();
    _exit(7);
  }
  close(ends[1]);
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_FAILURE) << status;
}

TEST(ClientWatch, EndsTheProcessWhenTheClientClosesItsConnectionToTheWebServer) {
  kinora::test::TcpPair connection("127.0.0.1");
  const pid_t child = fork();
  if (child == 0) {
    alarm(kPatience);
    close(connection.peer);
    EndWithClient(connection.ends);
    while (true) pause();
  }
  connection.ClosePeer();
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_FAILURE) << status;
}

TEST(ClientWatch, LeavesTheProcessAloneOnceItAnswersThoughTheClientHasClosed) {
  kinora::test::TcpPair connection("127.0.0.1");
  const pid_t child = fork();
  if (child == 0) {
    EndWithClient(connection.ends);
    OutliveClient();
    close(connection.peer);
    connection.ClosePeer();
    const timespec longer{1, 0};  // than the kernel would have been asked
    nanosleep(&longer, nullptr);
    _exit(7);
  }
  connection.ClosePeer();
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
}
