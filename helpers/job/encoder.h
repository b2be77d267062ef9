// The encoder as a child process: it dies with us, has no descriptors but what it is given, and can be
// stopped and continued.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/base/descriptor.h"

namespace kinora::helper {

class Encoder {
 public:
  // Starts `arguments` (the first is the program) with `source` as its descriptor 3 and `folder` as 4. Throws
  // std::system_error; a program that cannot be executed ends with 127 and a word about it.
  Encoder(const std::vector<std::string>& arguments, int source, int folder);
  ~Encoder();  // kills it
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  pid_t Pid() const { return pid_; }
  int Handle() const { return handle_.Get(); }  // readable when it has ended
  int Words() const { return words_.Get(); }    // readable when it has said something; does not block

  void Kill();  // and reaps it; what it was writing is not whole
  void Stop();
  void Continue();
  bool IsStopped() const { return stopped_; }

  // Takes what it has said so far, not what it goes on to say meanwhile; the last 2,000 bytes are kept.
  void Listen();
  const std::string& Said() const { return said_; }

  // Whether it has ended; reaps it then. `Succeeded` holds only afterwards.
  bool HasEnded();
  bool Succeeded() const { return ended_ && status_ == 0; }

 private:
  pid_t pid_ = -1;
  base::Descriptor handle_;
  base::Descriptor words_;
  std::string said_;
  bool stopped_ = false;
  bool ended_ = false;
  int status_ = -1;  // as wait gives it
};

}  // namespace kinora::helper
