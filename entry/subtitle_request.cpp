#include "entry/subtitle_request.h"

#include <climits>

#include "entry/api_errors.h"
#include "entry/flags.h"
#include "entry/numbers.h"
#include "entry/stream_parameters.h"
#include "entry/subtitle_charsets.h"
#include "library/subtitle/subtitle_list.h"

namespace kinora::entry {
namespace {

using crvnkn::webapi::subtitle::GetMethodArguments;

[[noreturn]] void Refuse(const std::string& name) {
  throw Error(crvnkn::webapi::kErrorBadParameter, "Bad parameter " + name);
}

std::string SubtitleIdParameter(const Request& request) {
  const std::string& id = request.Get("subtitle_id");
  if (!crvnkn::webapi::subtitle::IsExternal(id)) return SubtitleParameter(request);
  if (id.size() >= PATH_MAX) Refuse("subtitle_id");
  return id;
}

std::string CharsetParameter(const Request& request) {
  const std::string& codepage = request.Get("codepage");
  if (codepage.empty()) return "auto";
  if (!IsSubtitleCharset(codepage)) Refuse("codepage");
  return codepage;
}

// Players ask for windows before the film's beginning too. -1: none.
int32_t TimeParameter(const Request& request, const char* name) {
  const std::string& text = request.Get(name);
  if (text.empty()) return -1;
  const bool negative = text[0] == '-';
  const auto seconds = ParseNumber(negative ? text.substr(1) : text, INT32_MAX);
  if (!seconds) Refuse(name);
  return static_cast<int32_t>(negative ? -*seconds : *seconds);
}

}  // namespace

GetMethodArguments MakeSubtitleArguments(const Context& context) {
  const Request& request = context.GetRequest();
  GetMethodArguments arguments;
  arguments.subtitle_id = SubtitleIdParameter(request);
  const std::string codepage = CharsetParameter(request);
  if (!arguments.IsEmbedded()) arguments.codepage = codepage;
  arguments.start_time = TimeParameter(request, "start_time");
  arguments.end_time = TimeParameter(request, "end_time");
  arguments.output_webvtt = FlagParameter(request, "output_webvtt", arguments.output_webvtt);
  arguments.preview = FlagParameter(request, "preview", arguments.preview);
  arguments.keep_basic_tags = FlagParameter(request, "keep_basic_tags", arguments.keep_basic_tags);
  arguments.strip_stray_brackets =
      FlagParameter(request, "strip_stray_brackets", arguments.strip_stray_brackets);
  arguments.uid = context.account.id;
  return arguments;
}

}  // namespace kinora::entry
