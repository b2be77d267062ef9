#include "entry/subtitle_start.h"

#include <syslog.h>

#include <cstdlib>
#include <exception>

#include "contract/system/hlibc.h"
#include "entry/log.h"
#include "entry/subtitle_source.h"
#include "library/subtitle/output_subtitle.h"
#include "library/subtitle/subtitle_list.h"

namespace kinora::entry {
namespace {

namespace subtitle = crvnkn::webapi::subtitle;

constexpr char kUnit[] = "entry/subtitle_start";

// What a player's request for WebVTT does, but for the answer.
void Prepare(subtitle::GetMethodArguments& arguments) try {
  if (!RefusalOfSubtitle(arguments, false)) subtitle::OutputSubtitle(arguments).Process();
} catch (const std::exception& error) {
  Log(LOG_WARNING, kUnit, std::string("the chosen subtitle is not prepared: ") + error.what());
}

}  // namespace

void StartChosenSubtitle(const crvnkn::webapi::vte::OpenArgument& argument) {
  if (argument.subtitle_id.empty() || !subtitle::IsInternal(argument.subtitle_id)) return;
  if (HLIBCProcForkChildNoWait() != 0) return;
  subtitle::GetMethodArguments arguments;
  arguments.video_path = argument.file_path;
  arguments.subtitle_id = argument.subtitle_id;
  arguments.output_webvtt = true;
  Prepare(arguments);
  std::exit(EXIT_SUCCESS);
}

}  // namespace kinora::entry
