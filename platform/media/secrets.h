// Secrets: random ones, their digests, and passwords as Argon2id.
#pragma once

#include <string>

namespace kinora::media {

// 256 random bits as 43 letters and digits, '-' and '_'.
std::string MakeSecret();
bool LooksLikeSecret(const std::string& text);

// What may be kept of a secret made by MakeSecret: 64 hexadecimal digits from which nobody finds it.
std::string DigestOf(const std::string& secret);
// Another secret that only who knows the first one can make; `purpose` tells several apart.
std::string DeriveSecret(const std::string& secret, const std::string& purpose);
// In a time that does not tell where they differ.
bool SameSecret(const std::string& left, const std::string& right);

// What may be kept of a password or PIN (Argon2id, RFC 9106, with 64 MiB and two passes). Throws
// std::bad_alloc when that memory cannot be had.
std::string HashPassword(const std::string& password);
bool PasswordMatches(const std::string& hash, const std::string& password);
// Takes the time of PasswordMatches, for those who are not to learn that there is nothing to compare with.
void SpendPasswordTime(const std::string& password);

}  // namespace kinora::media
