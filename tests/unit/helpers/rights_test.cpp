#include "helpers/common/rights.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace kinora::helper {
namespace {

std::string StatusLine(const std::string& status, const std::string& key) {
  const size_t at = status.find("\n" + key + ":\t");
  if (at == std::string::npos) return "missing";
  const size_t from = at + key.size() + 3;
  return status.substr(from, status.find('\n', from) - from);
}

void Require(bool holds, const char* what) {
  if (holds) return;
  ::write(STDERR_FILENO, what, std::char_traits<char>::length(what));
  ::_exit(1);
}

// Runs in a child of its own, which the calls below change for good.
[[noreturn]] void GiveUpAndLookAround() {
  const int self = ::open("/proc/self/status", O_RDONLY);
  Require(GiveUpRights().empty(), "not given up");
  std::string status(8192, '\0');
  status.resize(static_cast<size_t>(::read(self, status.data(), status.size())));
  for (const char* set : {"CapEff", "CapPrm", "CapInh", "CapAmb"}) {
    Require(StatusLine(status, set) == "0000000000000000", set);
  }
  Require(StatusLine(status, "NoNewPrivs") == "1", "NoNewPrivs");
  // Where the view knows one account only, this one is its root and there is none to become.
  if (::getuid() != 0) Require(::setresuid(0, 0, 0) != 0, "root again");
  Require(::open("/dev/null", O_RDONLY) < 0, "opened a file");
  Require(::socket(AF_INET, SOCK_STREAM, 0) < 0, "opened a socket");
  ::_exit(0);
}

TEST(GiveUpRightsDeathTest, LeavesNoCapabilityNoFileAndNoSocketToBeHad) {
  EXPECT_EXIT(GiveUpAndLookAround(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace kinora::helper
