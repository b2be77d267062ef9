// The encoder of a stream that goes out as one body: a child whose standard output is read as it comes. It
// ends with the object, and with the process, however that ends.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/base/descriptor.h"
#include "platform/system/line_log.h"
#include "platform/system/spawn.h"

namespace kinora::engine {

class LiveEncoder {
 public:
  // Nothing, with a line in the log, when the program cannot be started. Whenever it delivers nothing for as
  // long as `patience`, while somebody waits for it, it is ended. `stream_id` is for the log.
  static std::shared_ptr<LiveEncoder> Start(const system::Command& command, const std::string& stream_id,
                                            std::chrono::milliseconds patience);
  ~LiveEncoder();
  LiveEncoder(const LiveEncoder&) = delete;
  LiveEncoder& operator=(const LiveEncoder&) = delete;

  pid_t Pid() const { return child_.pid; }

  // Waits until there are bytes to read. false, with a line in the log, when none came: it has ended, or it
  // has taken too long and was ended.
  bool WaitForBytes();

  // Waits for bytes and takes at most `size` of them. 0: it has said all and ended well; -1, with a line in
  // the log: it failed, was killed, or delivered nothing for too long and was ended.
  int Read(char* buffer, unsigned int size);

  // At once; nothing is to be read any more.
  void End();

 private:
  LiveEncoder(std::string stream_id, std::chrono::milliseconds patience, system::Spawned child,
              base::Descriptor output, base::Descriptor errors);

  short WaitForEvents();
  bool TakeErrors();
  int Finish();
  bool EndsByItself();
  void Complain(const std::string& what) const;

  const std::string stream_id_;
  const std::chrono::milliseconds patience_;
  system::Spawned child_;
  base::Descriptor output_;  // empty: it has ended
  base::Descriptor errors_;
  std::string last_words_;
  system::LineLog log_;
};

}  // namespace kinora::engine
