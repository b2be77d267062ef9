#include "platform/media/secrets.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>

#include "platform/base/text.h"

namespace kinora::media {
namespace {

constexpr size_t kSecretBytes = 32;
constexpr int kEncoding = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
constexpr size_t kSecretLength = sodium_base64_ENCODED_LEN(kSecretBytes, kEncoding) - 1;

using Bytes = std::array<unsigned char, kSecretBytes>;

void Prepare() {
  if (::sodium_init() < 0) throw std::runtime_error("libsodium cannot start");
}

const unsigned char* BytesOf(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

std::string Encode(const Bytes& bytes) {
  std::string text(kSecretLength + 1, '\0');
  ::sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), kEncoding);
  text.pop_back();
  return text;
}

// BLAKE2b of the text, keyed by the secret where there is one.
Bytes Hash(const std::string& text, const std::string& key) {
  Prepare();
  Bytes digest{};
  ::crypto_generichash(digest.data(), digest.size(), BytesOf(text), text.size(),
                       key.empty() ? nullptr : BytesOf(key), key.size());
  return digest;
}

}  // namespace

std::string MakeSecret() {
  Prepare();
  Bytes bytes{};
  ::randombytes_buf(bytes.data(), bytes.size());
  return Encode(bytes);
}

bool LooksLikeSecret(const std::string& text) {
  return text.size() == kSecretLength && std::all_of(text.begin(), text.end(), [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
                  c == '_';
         });
}

std::string DigestOf(const std::string& secret) {
  const Bytes digest = Hash(secret, "");
  return base::ToHex({reinterpret_cast<const char*>(digest.data()), digest.size()});
}

std::string DeriveSecret(const std::string& secret, const std::string& purpose) {
  return Encode(Hash(purpose, secret));
}

bool SameSecret(const std::string& left, const std::string& right) {
  return left.size() == right.size() && ::sodium_memcmp(left.data(), right.data(), left.size()) == 0;
}

std::string HashPassword(const std::string& password) {
  Prepare();
  std::array<char, crypto_pwhash_STRBYTES> hash{};
  if (::crypto_pwhash_str_alg(hash.data(), password.data(), password.size(),
                              crypto_pwhash_OPSLIMIT_INTERACTIVE, crypto_pwhash_MEMLIMIT_INTERACTIVE,
                              crypto_pwhash_ALG_ARGON2ID13) != 0) {
    throw std::bad_alloc();
  }
  return hash.data();
}

bool PasswordMatches(const std::string& hash, const std::string& password) {
  Prepare();
  return ::crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

void SpendPasswordTime(const std::string& password) { HashPassword(password); }

}  // namespace kinora::media
