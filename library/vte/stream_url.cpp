// The addresses by which engine and player call the web API back. The engine appends every member but "url"
// to it as a parameter of the query.
#include "library/vte/stream_initer.h"

namespace crvnkn::webapi::vte {
namespace {

// What every address of the stream API begins with.
Json::Value StreamAddress(const OpenArgument& request, const char* format) {
  Json::Value address(Json::objectValue);
  address["url"] = request.host_prefix + request.cgi_path;
  address["api"] = request.api;
  address["method"] = "stream";
  address["version"] = 1;
  address["format"] = format;
  return address;
}

// By which the web API recognises who calls: a request without a sharing link names its session, even an
// empty one.
void AddCaller(const OpenArgument& request, Json::Value& address) {
  if (!request.token.empty()) address["CrvnToken"] = request.token;
  if (request.is_sharing) {
    address["sharing_id"] = request.sharing_id;
  } else {
    address["_sid"] = request.sid;
  }
}

bool NamesAccount(int32_t uid) { return uid != -1 && uid != 0; }

}  // namespace

Json::Value StreamIniter::GetJsonStreamURL() const {
  Json::Value address = StreamAddress(*this, "hls");
  address["force_open_vte"] = force_open_vte;
  address["hls_header"] = hls_header;
  AddCaller(*this, address);
  return address;
}

Json::Value StreamIniter::GetSSJsonStreamURL() const {
  Json::Value address = StreamAddress(*this, "ss");
  if (!sid.empty()) address["_sid"] = sid;
  return address;
}

Json::Value StreamIniter::GetJsonSubtitleURL() const {
  if (!subtitle_id.empty() && !NamesAccount(uid)) throw Error(kErrorBadParameter, "Bad parameter uid");
  Json::Value address(Json::objectValue);
  address["url"] = host_prefix + "/webapi/entry.cgi";
  address["api"] = "CRVN.Kinora2.Subtitle";
  address["method"] = "get";
  address["version"] = 1;
  if (id > 0) address["id"] = id;
  if (!subtitle_id.empty()) address["subtitle_id"] = subtitle_id;
  if (NamesAccount(uid)) address["uid"] = uid;
  AddCaller(*this, address);
  return address;
}

}  // namespace crvnkn::webapi::vte
