// What the process writes to standard output, whether through stdio or to descriptor 1 itself.
#pragma once

#include <string>

namespace kinora::fakes {

// While it lives, standard output goes to a scratch file; Text gives what has arrived there.
class StandardOutput {
 public:
  StandardOutput();
  ~StandardOutput();
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  std::string Text() const;             // flushes stdio first
  std::string TextBeforeFlush() const;  // what a client has already

 private:
  int saved_;
  int scratch_;
};

}  // namespace kinora::fakes
