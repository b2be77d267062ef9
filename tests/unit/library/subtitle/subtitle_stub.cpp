// Asks the library for a subtitle, as a request does:
//
//   subtitle_stub FILM ID [webvtt] [preview]     prints the answer's body, or "nothing"
//   subtitle_stub FILM list                      prints the list of the film's subtitles, with pictures
//
// What is logged goes to standard error, too.
#include <syslog.h>

#include <cstdio>
#include <string>

#include "library/subtitle/output_subtitle.h"
#include "library/subtitle/subtitle_list.h"

namespace {

using namespace crvnkn::webapi::subtitle;

void PrintList(const std::string& film) {
  Json::StreamWriterBuilder style;
  style["indentation"] = "";
  for (const Json::Value& entry : GetSubtitleList(film, true))
    std::printf("%s\n", Json::writeString(style, entry).c_str());
}

void PrintSubtitle(const GetMethodArguments& wish) {
  OutputSubtitle subtitle(wish);
  if (!subtitle.Process()) {
    std::printf("nothing\n");
    return;
  }
  const std::string content = subtitle.GetContent();
  std::fputs(content.substr(content.find("\r\n\r\n") + 4).c_str(), stdout);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  ::openlog("stub", LOG_PERROR, LOG_USER);
  if (argv[2] == std::string("list")) {
    PrintList(argv[1]);
    return 0;
  }
  GetMethodArguments wish;
  wish.video_path = argv[1];
  wish.subtitle_id = argv[2];
  for (int i = 3; i < argc; ++i) {
    wish.output_webvtt = wish.output_webvtt || argv[i] == std::string("webvtt");
    wish.preview = wish.preview || argv[i] == std::string("preview");
  }
  PrintSubtitle(wish);
  return 0;
}
