#include "library/subtitle/output_subtitle.h"

#include <sys/stat.h>

#include <stdexcept>

#include "contract/media/personal_setting.h"
#include "contract/system/simple_converter.h"
#include "library/if_run_as_root.h"
#include "library/log.h"
#include "library/subtitle/cache_file.h"
#include "library/subtitle/cache_names.h"
#include "library/subtitle/cached.h"
#include "library/subtitle/dlna_link.h"
#include "library/subtitle/log_unit.h"
#include "library/subtitle/tag_clean_up.h"
#include "library/subtitle/webvtt.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr char kDlna[] = "DLNA";
constexpr char kTraditionalChinese[] = "/var/packages/Kinora/target/etc/opencc/data/config/s2tw_text.json";

bool WantsTraditionalChinese(int32_t uid) {
  if (uid == -1 || uid == 0) return false;
  const LibKinora::db::api::PersonalSetting setting(static_cast<unsigned int>(uid));
  return setting.Get().convert_simplified_to_traditional();
}

// The text for the account's eyes; as it is when that cannot be told or done.
std::string ForAccount(int32_t uid, const std::string& text) {
  try {
    if (!WantsTraditionalChinese(uid)) return text;
    const std::string converted = Opencc::SimpleConverter(kTraditionalChinese).Convert(text);
    return converted.empty() ? text : converted;
  } catch (const std::runtime_error& failure) {
    KINORA_LOG(LOG_ERR, kLogUnit, "no traditional Chinese for account %d: %s", static_cast<int>(uid),
               failure.what());
    return text;
  }
}

}  // namespace

OutputSubtitle::OutputSubtitle(const GetMethodArguments& arguments) : GetMethodArguments(arguments) {}
OutputSubtitle::~OutputSubtitle() = default;

bool OutputSubtitle::Process() {
  if (ProcessAsRoot()) {
    output.str(ForAccount(uid, output.str()));
    return true;
  }
  if (output_webvtt) ApplyEmptyWebvtt();
  return output_webvtt;
}

bool OutputSubtitle::ProcessAsRoot() {
  const IfRunAsRoot root(kLogUnit, __LINE__);
  if (!root) return false;
  CheckDLNAPath();
  CheckNeedPreview();
  cached_path = BringToCache(*this);
  return ProcessOutputContant();
}

void OutputSubtitle::CheckDLNAPath() {
  if (subtitle_id == kDlna) subtitle_id = SubtitleOfDlnaRenderer(video_path);
}

void OutputSubtitle::CheckNeedPreview() {
  if (!preview || GetSubtitleEaPath().empty()) return;
  GetMethodArguments whole = WithPreview(*this, false);
  struct stat status {};
  if (::stat(V1Path(whole).c_str(), &status) == 0) preview = false;
}

bool OutputSubtitle::ProcessOutputContant() {
  if (cached_path.empty()) return false;
  const std::string text = RemoveTag();
  if (text.empty()) return false;
  if (output_webvtt) return OutputWebvtt(text);
  output << text;
  return true;
}

void OutputSubtitle::ApplyEmptyWebvtt() { output << MakeEmptyWebvtt({start_time, end_time}); }

std::string OutputSubtitle::RemoveTag() const {
  return CleanUpTags(ReadCacheFile(cached_path), {keep_basic_tags, strip_stray_brackets});
}

bool OutputSubtitle::OutputWebvtt(const std::string& text) {
  const std::string document = ConvertToWebvtt(text, {start_time, end_time});
  output << document;
  return !document.empty();
}

std::string OutputSubtitle::GetHeader() const {
  return "Access-Control-Allow-Origin: *\r\n"
         "Access-Control-Allow-Methods: GET\r\n"
         "Access-Control-Allow-Headers: origin, x-requested-with, content-type, range\r\n"
         "Content-Type: text/plain\r\n"
         "Content-Length: " +
         std::to_string(output.str().size()) + "\r\n\r\n";
}

std::string OutputSubtitle::GetContent() const { return GetHeader() + output.str(); }

}  // namespace crvnkn::webapi::subtitle
