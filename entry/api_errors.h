// The error codes that the web API gives of its own accord, beside those of contract/webapi/error.h.
#pragma once

#include "contract/webapi/error.h"

namespace kinora::entry {

using crvnkn::webapi::Error;
using crvnkn::webapi::ErrorCode;

// Part of the web API as the others are: never renumbered. docs/openapi.yaml explains them to clients.
inline constexpr ErrorCode kNoSuchApi = static_cast<ErrorCode>(121);
inline constexpr ErrorCode kNoSuchMethod = static_cast<ErrorCode>(122);
inline constexpr ErrorCode kNoSuchVersion = static_cast<ErrorCode>(123);
inline constexpr ErrorCode kNotSignedIn = static_cast<ErrorCode>(124);
inline constexpr ErrorCode kTokenRefused = static_cast<ErrorCode>(125);
inline constexpr ErrorCode kWrongCredentials = static_cast<ErrorCode>(126);
inline constexpr ErrorCode kTooManyAttempts = static_cast<ErrorCode>(127);
inline constexpr ErrorCode kNotFound = static_cast<ErrorCode>(128);
inline constexpr ErrorCode kServiceFailure = static_cast<ErrorCode>(129);
inline constexpr ErrorCode kMalformedRequest = static_cast<ErrorCode>(130);

}  // namespace kinora::entry
