// kinora-probe: looks into the media file that is open as descriptor 3 and prints one JSON object (report.h).
// It takes no arguments, opens nothing, and ends as exit_codes.h says.
#include <cstdio>

#include "helpers/common/answer.h"
#include "helpers/common/exit_codes.h"
#include "helpers/probe/report.h"

namespace {

std::string Report() {
  const kinora::helper::MediaInput input(kinora::helper::kMediaDescriptor);
  Json::StreamWriterBuilder compact;
  compact["indentation"] = "";
  return Json::writeString(compact, kinora::helper::MakeReport(input)) + "\n";
}

}  // namespace

int main(int count, char**) {
  if (count != 1) {
    std::fputs("usage: kinora-probe 3<FILE\n", stderr);
    return kinora::helper::kUsage;
  }
  return kinora::helper::Answer(Report);
}
