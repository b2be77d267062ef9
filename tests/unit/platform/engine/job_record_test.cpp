#include "platform/engine/job_record.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

namespace kinora::engine {
namespace {

JobRecord Ours() {
  JobRecord record;
  record.boot = BootId();
  record.supervisor = MarkOf(::getpid()).value();
  record.encoder = {17, 18};
  record.first = 3;
  record.last = 9;
  record.newest = 5;
  record.stopped = true;
  record.hardware = true;
  record.tries = 2;
  record.end = "failed";
  record.words = "line\n\"quoted\" Grüße";
  return record;
}

TEST(JobRecord, IsReadAsItWasWritten) { EXPECT_EQ(ParseJobRecord(ToJsonText(Ours())), Ours()); }

TEST(JobRecord, IsNothingWhenTorn) {
  const std::string text = ToJsonText(Ours());
  for (size_t size = 0; size + 1 < text.size(); ++size) EXPECT_FALSE(ParseJobRecord(text.substr(0, size)));
  EXPECT_FALSE(ParseJobRecord(std::string(text.size(), '\0')));
}

TEST(JobRecord, MeansOneProcessOfOneBoot) {
  JobRecord record = Ours();
  EXPECT_TRUE(IsAlive(record));
  EXPECT_TRUE(SignalSupervisor(record, 0));
  ++record.supervisor.started;
  EXPECT_FALSE(IsAlive(record)) << "the number has been used again";
  EXPECT_FALSE(SignalSupervisor(record, SIGKILL));
  record = Ours();
  record.boot = "another";
  EXPECT_FALSE(IsAlive(record));
  EXPECT_FALSE(SignalSupervisor(record, SIGKILL));
  record = Ours();
  record.supervisor.pid = 0;
  EXPECT_FALSE(IsAlive(record)) << "not started yet";
  EXPECT_FALSE(SignalSupervisor(record, SIGKILL));
}

}  // namespace
}  // namespace kinora::engine
