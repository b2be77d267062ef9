#include "tests/fakes/standard_output.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace kinora::fakes {

StandardOutput::StandardOutput() {
  std::fflush(stdout);
  saved_ = dup(STDOUT_FILENO);
  scratch_ = memfd_create("standard output", 0);
  if (saved_ < 0 || scratch_ < 0 || dup2(scratch_, STDOUT_FILENO) < 0)
    throw std::runtime_error("no scratch file");
}

StandardOutput::~StandardOutput() {
  std::fflush(stdout);
  dup2(saved_, STDOUT_FILENO);
  close(saved_);
  close(scratch_);
}

std::string StandardOutput::Text() const {
  std::fflush(stdout);
  return TextBeforeFlush();
}

std::string StandardOutput::TextBeforeFlush() const {
  std::string text;
  char buffer[4096];
  for (ssize_t count;
       (count = pread(scratch_, buffer, sizeof buffer, static_cast<off_t>(text.size()))) > 0;) {
    text.append(buffer, static_cast<size_t>(count));
  }
  return text;
}

}  // namespace kinora::fakes
