#include "contract/system/random_string.h"

#include <sodium.h>

#include <stdexcept>

namespace libkn::util {

std::string RandomString(const std::string& alphabet, int length) {
  static constexpr char kLettersAndDigits[] =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  const std::string characters = alphabet.empty() ? kLettersAndDigits : alphabet;
  if (::sodium_init() < 0) throw std::runtime_error("libsodium cannot start");
  std::string drawn;
  for (int i = 0; i < length; ++i) {
    drawn += characters[::randombytes_uniform(static_cast<uint32_t>(characters.size()))];
  }
  return drawn;
}

}  // namespace libkn::util
