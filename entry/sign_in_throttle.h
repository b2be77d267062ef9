// Slowing down those who guess passwords, in a file that all request processes share.
//
// The file is a table of 4,096 slots of two 64-bit numbers in the machine's byte order: how many attempts
// since the last success, and when the last of them was (seconds since the epoch). Who attempts is hashed to
// a slot, so that the file never grows; two who share a slot share the delay. An attempt is counted before
// the password is looked at: a thousand guesses made at once are a thousand attempts. A slot at rest for an
// hour is empty again.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kinora::entry {

struct Attempts {
  int64_t count = 0;
  int64_t last = 0;  // seconds since the epoch
};

// How many seconds after the last attempt the next one is looked at: none for the first `allowance` attempts,
// then doubling from one second up to a minute.
int64_t DelayAfter(const Attempts& attempts, int64_t allowance);

// The record with one more attempt at `now`, or the record as it was when this attempt comes too early.
struct Admission {
  bool admitted = false;
  Attempts attempts;
};
Admission Admit(const Attempts& before, int64_t allowance, int64_t now);

class SignInThrottle {
 public:
  explicit SignInThrottle(std::string path) : path_(std::move(path)) {}

  // Counts an attempt; false when it must be refused. Throws std::system_error when the file cannot be used:
  // then nobody is let in unlimited.
  bool MayTry(std::string_view account, std::string_view client, int64_t now);
  // Takes one attempt back that nobody has judged.
  void Withdraw(std::string_view account, std::string_view client);
  // Forgets the attempts on this account by this client.
  void Succeeded(std::string_view account, std::string_view client);

 private:
  std::string path_;
};

}  // namespace kinora::entry
