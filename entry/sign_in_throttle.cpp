#include "entry/sign_in_throttle.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/file.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "platform/base/descriptor.h"

namespace kinora::entry {
namespace {

constexpr size_t kSlots = 4096;
constexpr int64_t kForgottenAfter = 3600;  // seconds
constexpr int64_t kLongestDelay = 60;      // seconds

// One who guesses at one account is soon slowed down; an account or an address as a whole later, since
// several people may stand behind it.
struct Key {
  std::string text;
  int64_t allowance;
};

std::array<Key, 3> KeysOf(std::string_view account, std::string_view client) {
  const std::string name(account);
  const std::string address(client);
  return {Key{"both\n" + address + "\n" + name, 5}, Key{"client\n" + address, 30},
          Key{"account\n" + name, 50}};
}

off_t PlaceOf(const Key& key) {
  uint64_t hash = 0;
  crypto_generichash(reinterpret_cast<unsigned char*>(&hash), sizeof hash,
                     reinterpret_cast<const unsigned char*>(key.text.data()), key.text.size(), nullptr, 0);
  return static_cast<off_t>(hash % kSlots * sizeof(Attempts));
}

[[noreturn]] void Fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

base::Descriptor OpenLocked(const std::string& path) {
  base::Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) Fail("open the record of sign-in attempts");
  while (flock(file.Get(), LOCK_EX) != 0) {
    if (errno != EINTR) Fail("lock the record of sign-in attempts");
  }
  return file;
}

Attempts Load(int file, const Key& key) {
  Attempts attempts;
  const ssize_t got = pread(file, &attempts, sizeof attempts, PlaceOf(key));
  if (got < 0) Fail("read the record of sign-in attempts");
  return got == sizeof attempts ? attempts : Attempts{};
}

void Save(int file, const Key& key, const Attempts& attempts) {
  if (pwrite(file, &attempts, sizeof attempts, PlaceOf(key)) != sizeof attempts) {
    Fail("write the record of sign-in attempts");
  }
}

}  // namespace

int64_t DelayAfter(const Attempts& attempts, int64_t allowance) {
  if (attempts.count < allowance) return 0;
  const int64_t doublings = std::min<int64_t>(attempts.count - allowance, 6);
  return std::min<int64_t>(int64_t{1} << doublings, kLongestDelay);
}

Admission Admit(const Attempts& before, int64_t allowance, int64_t now) {
  // A time in the future comes from a clock that was set back.
  const bool forgotten = before.count < 0 || before.last > now || now - before.last > kForgottenAfter;
  const Attempts known = forgotten ? Attempts{} : before;
  if (known.count > 0 && now - known.last < DelayAfter(known, allowance)) return {false, known};
  return {true, {std::min<int64_t>(known.count, 1'000'000) + 1, now}};
}

bool SignInThrottle::MayTry(std::string_view account, std::string_view client, int64_t now) {
  const base::Descriptor file = OpenLocked(path_);
  const auto keys = KeysOf(account, client);
  std::array<Attempts, 3> counted;
  for (size_t i = 0; i < keys.size(); ++i) {
    const Admission admission = Admit(Load(file.Get(), keys[i]), keys[i].allowance, now);
    if (!admission.admitted) return false;
    counted[i] = admission.attempts;
  }
  for (size_t i = 0; i < keys.size(); ++i) Save(file.Get(), keys[i], counted[i]);
  return true;
}

void SignInThrottle::Withdraw(std::string_view account, std::string_view client) {
  const base::Descriptor file = OpenLocked(path_);
  for (const Key& key : KeysOf(account, client)) {
    Attempts attempts = Load(file.Get(), key);
    attempts.count = std::max<int64_t>(attempts.count - 1, 0);
    Save(file.Get(), key, attempts);
  }
}

void SignInThrottle::Succeeded(std::string_view account, std::string_view client) {
  const base::Descriptor file = OpenLocked(path_);
  for (const Key& key : KeysOf(account, client)) Save(file.Get(), key, {});
}

}  // namespace kinora::entry
