#include "contract/system/crypt.h"

#include <sodium.h>

#include <algorithm>
#include <optional>
#include <string>

#include "platform/base/log.h"
#include "platform/system/secret_box.h"

int HLIBCCryptSzDecrypt(const char* encrypted, char* buffer, int size) {
  constexpr int kFailed = 0;
  constexpr int kDone = 1;
  if (encrypted == nullptr || buffer == nullptr || size <= 0) return kFailed;
  std::optional<std::string> clear = kinora::system::DecryptSecret(encrypted);
  if (!clear) return kFailed;
  const bool fits = clear->size() < static_cast<size_t>(size) && clear->find('\0') == std::string::npos;
  if (fits) {
    std::copy(clear->begin(), clear->end(), buffer);
    buffer[clear->size()] = '\0';
  } else {
    kinora::base::Log(LOG_ERR, "system/crypt", "a decrypted secret does not fit");
  }
  ::sodium_memzero(clear->data(), clear->size());
  return fits ? kDone : kFailed;
}
