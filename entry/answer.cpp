#include "entry/answer.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/base/text.h"

namespace kinora::entry {
namespace {

const char* Reason(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 204:
      return "No Content";
    case 400:
      return "Bad Request";
    case 401:
      return "Unauthorized";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 409:
      return "Conflict";
    case 416:
      return "Range Not Satisfiable";
    case 429:
      return "Too Many Requests";
    case 503:
      return "Service Unavailable";
    default:
      return "Internal Server Error";
  }
}

// Strings in JSON are text; names of files are bytes.
Json::Value CleanCopy(const Json::Value& value) {
  if (value.isString()) return base::ToUtf8(value.asString());
  if (value.isArray()) {
    Json::Value copy(Json::arrayValue);
    for (const Json::Value& element : value) copy.append(CleanCopy(element));
    return copy;
  }
  if (!value.isObject()) return value;
  Json::Value copy(Json::objectValue);
  for (const std::string& name : value.getMemberNames()) copy[base::ToUtf8(name)] = CleanCopy(value[name]);
  return copy;
}

}  // namespace

int StatusOf(ErrorCode code) {
  switch (static_cast<int>(code)) {
    case kMalformedRequest:
    case crvnkn::webapi::kErrorBadParameter:
      return 400;
    case kNotSignedIn:
    case kWrongCredentials:
      return 401;
    case kTokenRefused:
    case crvnkn::webapi::kErrorNoPermission:
    case crvnkn::webapi::kErrorParentalPinMissing:
    case crvnkn::webapi::kErrorParentalPinWrong:
      return 403;
    case kNoSuchApi:
    case kNoSuchMethod:
    case kNoSuchVersion:
    case kNotFound:
    case crvnkn::webapi::kErrorNoSuchVideo:
    case crvnkn::webapi::kErrorDlnaLink:
    case crvnkn::webapi::kErrorNoSubtitleFound:
      return 404;
    case kTooManyAttempts:
      return 429;
    case crvnkn::webapi::kErrorOfflineConvertingHardware:
    case crvnkn::webapi::kErrorOfflineConvertingSoftware:
    case crvnkn::webapi::kErrorVolumeSpace:
    case crvnkn::webapi::kErrorMemoryLayout:
      return 503;
    case crvnkn::webapi::kErrorAudioUnreadable:
    case crvnkn::webapi::kErrorTracksUnreadable:
    case crvnkn::webapi::kErrorMetadataUnreadable:
    case crvnkn::webapi::kErrorFormatsUndetermined:
      return 409;
    default:
      break;
  }
  // What the engine refuses to do with this file on this machine.
  const bool refusal = code >= crvnkn::webapi::kErrorTranscodingDisabled &&
                       code <= crvnkn::webapi::kErrorProfileBeyondCapability;
  return refusal ? 409 : 500;
}

std::string ToJsonText(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, CleanCopy(value));
}

Answer ResultAnswer(const Json::Value& result) {
  Json::Value document;
  document["result"] = result;
  return {200, {}, ToJsonText(document)};
}

Answer ErrorAnswer(ErrorCode code, const std::string& message) {
  return ErrorAnswer(code, message, StatusOf(code));
}

Answer ErrorAnswer(ErrorCode code, const std::string& message, int status) {
  Json::Value document;
  document["error"]["code"] = static_cast<int>(code);
  document["error"]["message"] = message;
  return {status, {}, ToJsonText(document)};
}

void AddHeader(Answer& answer, const std::string& line) {
  const std::string name = line.substr(0, line.find(':') + 1);
  const auto same = [&](const std::string& other) {
    return strncasecmp(other.c_str(), name.c_str(), name.size()) == 0;
  };
  if (std::none_of(answer.headers.begin(), answer.headers.end(), same)) answer.headers.push_back(line);
}

std::string ToCgiText(const Answer& answer, bool with_body) {
  Answer whole = answer;
  AddHeader(whole, "Cache-Control: no-store");
  AddHeader(whole, "X-Content-Type-Options: nosniff");
  if (answer.status != 204) {
    AddHeader(whole, "Content-Type: application/json; charset=utf-8");
    if (!answer.of_unknown_length) AddHeader(whole, "Content-Length: " + std::to_string(answer.body.size()));
  }
  std::string text = "Status: " + std::to_string(answer.status) + " " + Reason(answer.status) + "\r\n";
  for (const std::string& line : whole.headers) text += line + "\r\n";
  text += "\r\n";
  if (with_body) text += answer.body;
  return text;
}

bool WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

}  // namespace kinora::entry
