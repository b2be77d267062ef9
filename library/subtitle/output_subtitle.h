// A subtitle as a whole CGI answer: brought into a cache beside its source stage by stage, cleaned, and put
// into the form that was asked for.
#pragma once

#include <sstream>
#include <string>

#include "library/export.h"
#include "library/subtitle/method_arguments.h"

namespace crvnkn::webapi::subtitle {

// Serves one request: construct, Process once, GetContent.
class KINORA_EXPORT OutputSubtitle : public GetMethodArguments {
 public:
  explicit OutputSubtitle(const GetMethodArguments& arguments);
  ~OutputSubtitle();
  OutputSubtitle(const OutputSubtitle&) = delete;
  OutputSubtitle& operator=(const OutputSubtitle&) = delete;

  // Does all the work, as root where the process may be that; the identity is restored on every way out.
  // true when there is an answer to send: always when WebVTT is asked for, which is a valid document without
  // cues then. Failures are lines in the log. Throws Error 1151 with "GetEADirPath failed: <video>" or
  // "readlink failed: <link>" when the subtitle of a DLNA renderer cannot be found.
  bool Process();

  // The header lines and the empty line behind them.
  std::string GetHeader() const;
  // The headers and the body.
  std::string GetContent() const;

 private:
  bool ProcessAsRoot();
  void CheckDLNAPath();
  void CheckNeedPreview();
  bool ProcessOutputContant();
  void ApplyEmptyWebvtt();
  std::string RemoveTag() const;
  bool OutputWebvtt(const std::string& text);

  std::stringstream output;
  std::string cached_path;
};

}  // namespace crvnkn::webapi::subtitle
