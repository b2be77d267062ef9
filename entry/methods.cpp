// The table of all methods. What is not in it is refused; what is in it can be called by those whom it names.
#include "entry/catalog_api.h"
#include "entry/film_api.h"
#include "entry/method.h"
#include "entry/preference_api.h"
#include "entry/session_api.h"
#include "entry/stream_api.h"
#include "entry/subtitle_api.h"

namespace kinora::entry {
namespace {

constexpr char kSessionApi[] = "CRVN.Kinora2.Session";
constexpr char kCatalogApi[] = "CRVN.Kinora2.Catalog";
constexpr char kFilmApi[] = "CRVN.Kinora2.Film";
constexpr char kStreamApi[] = "CRVN.Kinora2.Stream";
constexpr char kSubtitleApi[] = "CRVN.Kinora2.Subtitle";
constexpr char kPreferenceApi[] = "CRVN.Kinora2.Preference";

constexpr bool kRequired = true;
constexpr bool kOptional = false;

const char* NameOf(Access access) {
  switch (access) {
    case Access::kOpen:
      return "open";
    case Access::kSession:
      return "session";
    case Access::kSessionAndToken:
      return "session and token";
  }
  return "";
}

const char* NameOf(Verbs verbs) {
  switch (verbs) {
    case Verbs::kAny:
      return "GET POST";
    case Verbs::kPost:
      return "POST";
    case Verbs::kStream:
      return "GET";
  }
  return "";
}

// The codes that every method with this access rule can give.
std::vector<int> CommonErrors(Access access) {
  std::vector<int> codes = {kMalformedRequest, kServiceFailure};
  if (access != Access::kOpen) codes.push_back(kNotSignedIn);
  if (access == Access::kSessionAndToken) codes.push_back(kTokenRefused);
  return codes;
}

}  // namespace

const std::vector<Method>& AllMethods() {
  static const std::vector<Method> kMethods = {
      {kSessionApi,
       "sign_in",
       Access::kOpen,
       Verbs::kPost,
       {{"user", kOptional}, {"password", kOptional}, {"welcome", kOptional}},
       {101, kTokenRefused, kWrongCredentials, kTooManyAttempts},
       SignIn},
      {kSessionApi, "sign_out", Access::kSessionAndToken, Verbs::kPost, {}, {}, SignOut},
      {kSessionApi, "whoami", Access::kSession, Verbs::kAny, {}, {}, WhoAmI},

      {kCatalogApi,
       "list",
       Access::kSession,
       Verbs::kAny,
       {{"offset", kOptional}, {"limit", kOptional}, {"search", kOptional}, {"sort", kOptional}},
       {101},
       ListVideos},
      {kCatalogApi, "rescan", Access::kSessionAndToken, Verbs::kPost, {}, {}, Rescan},
      {kCatalogApi, "progress", Access::kSession, Verbs::kAny, {}, {}, ReportProgress},

      {kFilmApi,
       "picture",
       Access::kSession,
       Verbs::kAny,
       {{"id", kRequired}, {"width", kOptional}},
       {101, 1101, 1400, kNotFound},
       SendPicture},
      {kFilmApi,
       "tracks",
       Access::kSession,
       Verbs::kAny,
       {{"id", kRequired}, {"pin", kOptional}},
       {101, 1101, 1102, 1400, 1401},
       ListTracks},

      {kStreamApi,
       "open",
       Access::kSessionAndToken,
       Verbs::kPost,
       {{"id", kRequired},
        {"format", kOptional},
        {"profile", kOptional},
        {"audio_track", kOptional},
        {"audio_format", kOptional},
        {"client", kOptional},
        {"subtitle_id", kOptional},
        {"pin", kOptional}},
       {100, 101, 1101, 1200, 1201, 1202, 1203, 1204, 1205, 1206, 1207, 1208, 1209, 1210, 1211, 1212, 1400,
        1401},
       OpenStream},
      {kStreamApi,
       "stream",
       Access::kSession,
       Verbs::kStream,
       {{"id", kRequired},
        {"format", kRequired},
        {"fragment", kOptional},
        {"playlist", kOptional},
        {"subtitle_id", kOptional},
        {"seek", kOptional}},
       {101, 1203, kNotFound},
       SendStream},
      {kStreamApi,
       "close",
       Access::kSessionAndToken,
       Verbs::kPost,
       {{"id", kRequired}, {"format", kRequired}},
       {101, kNotFound},
       CloseStream},

      {kSubtitleApi,
       "list",
       Access::kSession,
       Verbs::kAny,
       {{"id", kRequired}, {"include_image", kOptional}, {"pin", kOptional}},
       {101, 1101, 1400, 1401},
       ListSubtitles},
      {kSubtitleApi,
       "get",
       Access::kSession,
       Verbs::kAny,
       {{"id", kRequired},
        {"subtitle_id", kRequired},
        {"codepage", kOptional},
        {"output_webvtt", kOptional},
        {"preview", kOptional},
        {"start_time", kOptional},
        {"end_time", kOptional},
        {"keep_basic_tags", kOptional},
        {"strip_stray_brackets", kOptional},
        {"uid", kOptional},
        {"pin", kOptional}},
       {101, 105, 1101, 1102, 1151, 1400, 1401, kNotFound},
       SendSubtitle},
      {kSubtitleApi, "charsets", Access::kSession, Verbs::kAny, {}, {}, ListCharsets},

      {kPreferenceApi, "get", Access::kSession, Verbs::kAny, {}, {}, GetPreferences},
      {kPreferenceApi,
       "set",
       Access::kSessionAndToken,
       Verbs::kPost,
       {{"convert_simplified_to_traditional", kOptional}},
       {101},
       SetPreferences},
  };
  return kMethods;
}

Json::Value DescribeMethods() {
  Json::Value methods(Json::arrayValue);
  for (const Method& method : AllMethods()) {
    Json::Value entry;
    entry["api"] = method.api;
    entry["method"] = method.name;
    entry["version"] = 1;
    entry["access"] = NameOf(method.access);
    entry["verbs"] = NameOf(method.verbs);
    entry["parameters"] = Json::Value(Json::arrayValue);
    for (const Parameter& parameter : method.parameters) {
      Json::Value description;
      description["name"] = parameter.name;
      description["required"] = parameter.required;
      entry["parameters"].append(description);
    }
    for (const int code : CommonErrors(method.access)) entry["errors"].append(code);
    for (const int code : method.errors) entry["errors"].append(code);
    methods.append(entry);
  }
  Json::Value document;
  document["methods"] = methods;
  return document;
}

}  // namespace kinora::entry
