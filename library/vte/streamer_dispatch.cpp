#include "library/vte/streamer_dispatch.h"

#include <strings.h>

#include <cstring>

#include "library/log.h"
#include "library/vte/hls.h"
#include "library/vte/raw.h"
#include "library/vte/ss.h"
#include "library/vte/webm.h"

namespace crvnkn::webapi::vte {
namespace {

constexpr char kLogUnit[] = "vte/stream_initer";

struct StreamerRow {
  const char* format;
  std::unique_ptr<Streamer> (*make)(const std::string& stream_id);
};

template <typename StreamerClass>
std::unique_ptr<Streamer> Make(const std::string& stream_id) {
  return std::make_unique<StreamerClass>(stream_id);
}

// The first row whose format matches wins.
constexpr StreamerRow kStreamers[] = {
    {"hls", Make<HLS>},         {"hls_remux", Make<HLS>}, {"ss", Make<SS>},
    {"webm_remux", Make<WEBM>}, {"raw", Make<RAW>},
};

// The length is compared too: a request's text may hold a NUL.
bool EqualsIgnoringCase(const std::string& text, const char* name) {
  return text.size() == std::strlen(name) && strcasecmp(text.c_str(), name) == 0;
}

}  // namespace

std::unique_ptr<Streamer> GetStreamerAPI(const std::string& stream_id, const std::string& format) {
  for (const StreamerRow& row : kStreamers) {
    if (EqualsIgnoringCase(format, row.format)) return row.make(stream_id);
  }
  return nullptr;
}

bool CloseHandler(const std::string& stream_id, const std::string& format) {
  if (stream_id.empty() || format.empty()) {
    KINORA_LOG(LOG_ERR, kLogUnit, "Bad parameter");
    return false;
  }
  const std::unique_ptr<Streamer> streamer = GetStreamerAPI(stream_id, format);
  if (!streamer) {
    KINORA_LOG(LOG_ERR, kLogUnit, "Bad format for webapi [format = %s]", format.c_str());
    return false;
  }
  return streamer->Close();
}

}  // namespace crvnkn::webapi::vte
