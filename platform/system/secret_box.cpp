#include "platform/system/secret_box.h"

#include <sodium.h>

#include "platform/base/log.h"
#include "platform/system/machine_key.h"

// "1." and, in URL-safe base64 without padding, a nonce and what libsodium's secretbox makes of the text.

namespace kinora::system {
namespace {

constexpr char kVersion[] = "1.";
constexpr size_t kVersionLength = sizeof kVersion - 1;
constexpr int kEncoding = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
constexpr size_t kNonce = crypto_secretbox_NONCEBYTES;
constexpr size_t kOverhead = kNonce + crypto_secretbox_MACBYTES;
static_assert(std::tuple_size_v<MachineKey> == crypto_secretbox_KEYBYTES);

unsigned char* BytesOf(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }

std::string Encode(const std::string& bytes) {
  std::string text(sodium_base64_ENCODED_LEN(bytes.size(), kEncoding), '\0');
  ::sodium_bin2base64(text.data(), text.size(), reinterpret_cast<const unsigned char*>(bytes.data()),
                      bytes.size(), kEncoding);
  text.pop_back();  // the zero at the end
  return kVersion + text;
}

// Nonce and box; nothing when the text is of another form.
std::optional<std::string> Decode(const std::string& text) {
  if (!text.starts_with(kVersion)) return std::nullopt;
  std::string bytes(text.size(), '\0');
  size_t length = 0;
  const char* end = nullptr;
  if (::sodium_base642bin(BytesOf(bytes), bytes.size(), text.data() + kVersionLength,
                          text.size() - kVersionLength, nullptr, &length, &end, kEncoding) != 0 ||
      end != text.data() + text.size() || length < kOverhead) {
    return std::nullopt;
  }
  bytes.resize(length);
  return bytes;
}

std::nullopt_t Refuse(const char* reason) {
  base::Log(LOG_ERR, "system/secret_box", std::string("cannot decrypt a secret: ") + reason);
  return std::nullopt;
}

}  // namespace

std::optional<std::string> EncryptSecret(const std::string& clear) {
  std::optional<MachineKey> key = ReadOrMakeMachineKey();
  if (!key) return std::nullopt;
  std::string bytes(kOverhead + clear.size(), '\0');
  ::randombytes_buf(bytes.data(), kNonce);
  ::crypto_secretbox_easy(BytesOf(bytes) + kNonce, reinterpret_cast<const unsigned char*>(clear.data()),
                          clear.size(), BytesOf(bytes), key->data());
  ::sodium_memzero(key->data(), key->size());
  return Encode(bytes);
}

std::optional<std::string> DecryptSecret(const std::string& encrypted) {
  std::optional<std::string> bytes = Decode(encrypted);
  if (!bytes) return Refuse("it is of another form");
  std::optional<MachineKey> key = ReadMachineKey();
  if (!key) return std::nullopt;
  std::string clear(bytes->size() - kOverhead, '\0');
  const bool opened = ::sodium_init() >= 0 &&
                      ::crypto_secretbox_open_easy(BytesOf(clear), BytesOf(*bytes) + kNonce,
                                                   bytes->size() - kNonce, BytesOf(*bytes), key->data()) == 0;
  ::sodium_memzero(key->data(), key->size());
  if (!opened) return Refuse("it was changed, or is of another machine");
  return clear;
}

}  // namespace kinora::system
